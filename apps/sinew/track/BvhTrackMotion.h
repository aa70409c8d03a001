// SPDX-License-Identifier: MIT
// A BVH motion as `track` solves it.
#pragma once

#include "track/TrackMotion.h"

namespace app {

/// The joints of a motion, at the same indices.
std::vector<TrackJoint> trackJoints(const formats::BvhMotion& motion);

class BvhTrackMotion final : public TrackMotion {
public:
    explicit BvhTrackMotion(formats::BvhMotion motion);

    const formats::BvhMotion& motion() const { return m_Motion; }
    std::size_t frameCount() const override { return m_Motion.frameCount; }
    const TrackWords& words() const override;
    void cut(std::size_t first, std::size_t last) override;
    TrackPose read(std::size_t frame) const override;
    WrittenPose write(std::size_t frame, const std::vector<formats::LocalPose>& local,
                      const std::vector<bool>& solved) override;
    WrittenMotion finish(const std::string& file, const OutputChoice& choice) override;

private:
    formats::BvhMotion m_Motion;
    std::vector<double> m_KeptValues;
    formats::BvhWriteOptions m_Kept; // values that are the file's own
};

} // namespace app
