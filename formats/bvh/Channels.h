// SPDX-License-Identifier: MIT
// Small questions about channels that reading, posing and writing all ask.
#pragma once

#include "formats/Bvh.h"

#include <cstddef>

namespace formats {

inline bool isRotation(BvhChannel channel) { return channel >= BvhChannel::RotationX; }

/// 0, 1 or 2 for x, y or z.
inline int axisOf(BvhChannel channel) { return static_cast<int>(channel) % 3; }

/// Motions may be built by hand: a row is only read where the values reach that far.
inline bool holdsFrame(const BvhMotion& motion, std::size_t frame)
{
    return frame < motion.frameCount && motion.channelCount != 0
        && motion.values.size() / motion.channelCount > frame;
}

inline bool channelsInRow(const BvhMotion& motion, const BvhJoint& joint)
{
    return joint.channels.size() <= motion.channelCount
        && joint.firstChannel <= motion.channelCount - joint.channels.size();
}

} // namespace formats
