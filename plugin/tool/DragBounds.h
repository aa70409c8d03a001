// SPDX-License-Identifier: MIT
// How far a drag may carry a joint before its pose counts as one that ran away.
#pragma once

#include "tool/PoseJoint.h"

#include <memory>
#include <vector>

/// The room of one drag: ten heights of the figure around where it began. A solve that diverges ends far
/// outside or at no number; what the solver says of itself depends on the unit of length, and so tells
/// nothing.
class DragBounds {
public:
    /// Takes the figure as its records stand when the button goes down, and the place of the joint that is
    /// gripped.
    void begin(const std::vector<std::unique_ptr<PoseJoint>>& joints, const double* grip);
    /// Whether every joint from `top` down is inside, in the pose that `posed` of the joints say; `above` is
    /// the world transform over `top`, `pointer` where the gripped joint is wanted; null in a turn.
    bool contain(const std::vector<std::unique_ptr<PoseJoint>>& joints, const PoseJoint& top,
                 const Sinew::Matrix4d& above, const double* pointer);

private:
    double m_Grip[3] = {0, 0, 0};
    double m_Height = 0; ///< longest side of the box around all joints, along the world's axes
    double m_Resolution = 0; ///< lengths up to this are none, where the figure stands
    std::vector<Sinew::Matrix4d> m_Worlds; ///< of the pose that is tried; kept for its memory
};
