// SPDX-License-Identifier: MIT
// What `track` needs of a motion, whatever file it comes from: joints at rest, poses in, solved poses out.
#pragma once

#include "formats/Bvh.h"
#include "shared/WrittenMotion.h"
#include "track/NameParts.h"

#include <array>
#include <string>
#include <vector>

namespace app {

struct TrackJoint {
    std::string name; ///< unique; empty for an end point
    int parent = -1; ///< index of a joint before this one; -1 for a root
    bool endSite = false; ///< a mere end point, which is no bone
    formats::LocalPose rest; ///< in the parent's space, or in the world for a root
    std::array<bool, 3> turns{true, true, true}; ///< freedom to rotate about local x, y and z
    bool moves = true; ///< the file can say where it is, rather than how it is turned alone
    BodyPart part = BodyPart::None; ///< where it is known; else the name may tell
};

/// A transform for every joint: rigid ones, so a scale is in the translations of the joints below it.
struct TrackPose {
    std::vector<formats::LocalPose> local;
    std::vector<formats::WorldPose> world;
};

struct WrittenPose {
    TrackPose pose; ///< as the file will have it
    std::vector<formats::PoseLoss> losses; ///< what it couldn't say of the pose that it was given
};

/// Parts of the messages, in the words of the file's format.
struct TrackWords {
    const char* rest; ///< what says where a joint is below its parent
    const char* fixed; ///< a root that can't move, as in `it has no position channels`
    const char* turnLoss; ///< a joint that can't have its solved orientation
    const char* placeLoss; ///< a joint that can't have its solved position
};

class TrackMotion {
public:
    virtual ~TrackMotion() = default;

    const std::vector<TrackJoint>& joints() const { return m_Joints; }
    virtual std::size_t frameCount() const = 0;
    virtual const TrackWords& words() const = 0;
    /// Keeps the frames from `first` to `last`, both included; the first becomes frame 0.
    virtual void cut(std::size_t first, std::size_t last) = 0;
    /// The pose of a frame that was not written yet.
    virtual TrackPose read(std::size_t frame) const = 0;
    /// Puts the local transforms of the joints that are `solved` in the place of a frame; frames come in
    /// order.
    virtual WrittenPose write(std::size_t frame, const std::vector<formats::LocalPose>& local,
                              const std::vector<bool>& solved) = 0;
    /// The file with all frames as written; throws BadInput where it can't be made. Messages call it `file`.
    virtual WrittenMotion finish(const std::string& file, const OutputChoice& choice) = 0;

protected:
    std::vector<TrackJoint> m_Joints;
};

} // namespace app
