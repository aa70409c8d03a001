// SPDX-License-Identifier: MIT
// Collects the poses of a target and writes them as its file with a new motion.
#pragma once

#include "formats/GltfWriter.h"
#include "retarget/RetargetScene.h"

#include <string>
#include <vector>

namespace app {

enum class OutputFormat { Bvh, Glb };

/// By the ending of the name; throws BadInput for any other.
OutputFormat outputFormat(const std::string& path);

class MotionOutput {
public:
    /// A BVH target can be written as GLB too: its bones as nodes, with simple solid shapes when `body` is
    /// set. Throws BadInput for a glTF target and another format.
    MotionOutput(const FigureFile& target, OutputFormat format, std::size_t frameCount, double frameSeconds,
                 std::string name, bool body = false);

    /// Takes the pose that the scene has now; frames come in order.
    void frame(std::size_t frame, RetargetScene& scene);
    /// The file's bytes; throws BadInput where they can't be made.
    std::string finish();
    /// What the file's channels can't hold, for the user.
    const std::vector<std::string>& notes() const { return m_Notes; }

private:
    void startBvh(std::size_t frameCount, double frameSeconds);
    void startGlb(std::size_t frameCount, double frameSeconds);
    formats::GltfWriteResult skeletonGlb();
    void bvhFrame(std::size_t frame, RetargetScene& scene);
    void glbFrame(RetargetScene& scene);
    std::string finishGlb();
    std::string bytesOf(formats::GltfWriteResult written) const;

    const FigureFile& m_Target;
    OutputFormat m_Format;
    bool m_Body;
    std::string m_Name;
    formats::BvhMotion m_Motion;
    std::vector<formats::LocalPose> m_Pose;
    std::vector<double> m_LossDegrees; // by joint, the worst
    std::vector<double> m_Times;
    std::vector<int> m_Nodes; // with keys
    std::vector<std::vector<std::array<double, 4>>> m_Rotations; // by m_Nodes
    std::vector<std::array<double, 3>> m_RootTranslations;
    std::vector<std::string> m_Notes;
};

} // namespace app
