// SPDX-License-Identifier: MIT
// What is measured of a retargeted motion, frame by frame, on the evaluated scene.
#pragma once

#include "retarget/RetargetReport.h"
#include "retarget/RetargetScene.h"

#include <array>
#include <vector>

namespace app {

class RetargetMeasure {
public:
    /// `report` is filled by `finish`; both must outlive this.
    RetargetMeasure(RetargetScene& scene, const FigureFile& source, const FigureFile& target,
                    const JointMap& map, RetargetReport& report, std::size_t animationFrames);

    /// Measures the frame that the scene shows; frames come in order.
    void frame(std::size_t frame, double solveSeconds);
    void finish();

private:
    struct Stretch {
        std::string name;
        // Means of one or two joints each.
        std::array<int, 2> sourceFrom, sourceTo, targetFrom, targetTo;
        std::vector<float> degrees;
    };
    struct Foot {
        std::string name;
        std::array<int, 2> source, target; ///< foot, and toes or -1
        std::array<std::vector<refhost::Vector3>, 2> positions; ///< of the foot joint: source, target
        std::array<std::vector<double>, 2> soles; ///< height of the sole: source, target
    };

    void addStretches();
    void addFeet();
    void steps(std::size_t frame, FrameReport& report);
    void keepPositions();
    void summariseFeet();
    std::vector<bool> stanceOf(const Foot& foot, double floor) const;
    double soleHeight(const std::array<int, 2>& joints, bool source);

    RetargetScene& m_Scene;
    const FigureFile& m_Source;
    const FigureFile& m_Target;
    const JointMap& m_Map;
    RetargetReport& m_Report;
    std::vector<Stretch> m_Stretches;
    std::vector<Foot> m_Feet;
    GoalSamples m_Samples;
    std::vector<refhost::Matrix33> m_LastSource, m_LastTarget; // local rotations by pair
    std::size_t m_AnimationFrames = 0;
    refhost::Vector3 m_Up{0, 1, 0};
};

} // namespace app
