// SPDX-License-Identifier: MIT
// Collects the poses of a target and writes them as its file with a new motion.
#pragma once

#include "retarget/RetargetScene.h"
#include "shared/WrittenMotion.h"

#include <string>
#include <vector>

namespace app {

struct MotionOutputSettings {
    OutputChoice choice;
    std::string animation; ///< of a glTF target: the one that is replaced, by name or index; empty: the first
    std::string name; ///< of an animation that is added
    bool body = false; ///< gives the bones of a BVH target simple solid shapes in a GLB
};

class MotionOutput {
public:
    /// Throws BadInput for settings that don't fit the target.
    MotionOutput(const FigureFile& target, const MotionOutputSettings& settings, std::size_t frameCount,
                 double frameSeconds);

    /// Takes the pose that the scene has now; frames come in order.
    void frame(std::size_t frame, RetargetScene& scene);
    /// The file; throws BadInput where it can't be made.
    WrittenMotion finish();

private:
    void startBvh(std::size_t frameCount);
    void findParts(const RetargetScene& scene);
    std::vector<formats::LocalPose> ownPose(std::size_t frame) const;
    void bvhFrame(std::size_t frame, RetargetScene& scene);
    WrittenMotion finishBvh();
    formats::GltfClip clip();

    const FigureFile& m_Target;
    MotionOutputSettings m_Settings;
    std::size_t m_Animation = 0; // of a glTF target
    formats::BvhMotion m_Motion;
    std::vector<double> m_LossDegrees; // by joint of a BVH target, the worst
    std::vector<double> m_Times;
    double m_FrameSeconds;
    std::vector<int> m_Nodes; // that the rig moves, parents first
    std::vector<bool> m_Rests; // by joint: what it moves by itself is not to shine through
    std::vector<std::vector<std::array<double, 4>>> m_Rotations; // by m_Nodes
    std::vector<std::array<double, 3>> m_RootTranslations;
};

} // namespace app
