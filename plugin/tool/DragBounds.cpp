// SPDX-License-Identifier: MIT
// How far a drag may carry a joint before its pose counts as one that ran away.
#include "tool/DragBounds.h"

#include "rig/RigMath.h"

#include <algorithm>

using Sinew::Matrix4d;

namespace {

constexpr double kHeights = 10;
/// Of a coordinate: what single precision, in which the drag is solved, can't tell apart.
constexpr double kSingleResolution = 1e-6;

/// The joint below its parent in the pose that is tried, with the scale that it has.
Matrix4d PosedLocal(const PoseJoint& joint)
{
    Matrix4d local = joint.posed;
    for (uint32_t r = 0; r < 3; ++r) {
        const double scale = Length(joint.localRotation[r]);
        for (uint32_t c = 0; c < 3; ++c)
            local[r][c] *= scale;
    }
    return local;
}

} // namespace

void DragBounds::begin(const std::vector<std::unique_ptr<PoseJoint>>& joints, const double* grip)
{
    std::copy_n(grip, 3, m_Grip);
    m_Height = m_Resolution = 0;
    for (uint32_t a = 0; a < 3; ++a) {
        double low = grip[a], high = grip[a];
        for (const auto& joint : joints) {
            low = std::min(low, joint->worldPosition[3][a]);
            high = std::max(high, joint->worldPosition[3][a]);
        }
        m_Height = std::max(m_Height, high - low);
        m_Resolution = std::max(m_Resolution, kSingleResolution * std::max(-low, high));
    }
}

bool DragBounds::contain(const std::vector<std::unique_ptr<PoseJoint>>& joints, const PoseJoint& top,
                         const Matrix4d& above, const double* pointer)
{
    // Joints that all stand in one place have no height; the pointer's way is the only length there is then.
    double height = std::max(m_Height, m_Resolution);
    if (pointer && !(m_Height > m_Resolution))
        height = std::max(Distance(m_Grip, pointer), m_Resolution);
    m_Worlds.resize(joints.size());
    std::size_t i = 0;
    while (joints[i].get() != &top)
        ++i;
    // What is below the top follows it without a gap, parents ahead of their children.
    const auto first = static_cast<int32_t>(i);
    for (; i < joints.size() && (joints[i].get() == &top || joints[i]->parent >= first); ++i) {
        const PoseJoint& joint = *joints[i];
        const Matrix4d& parent =
            joints[i].get() == &top ? above : m_Worlds[static_cast<std::size_t>(joint.parent)];
        m_Worlds[i] = product(PosedLocal(joint), parent);
        if (!AreFinite(m_Worlds[i].m, 16) || Distance(m_Grip, m_Worlds[i][3]) > kHeights * height)
            return false;
    }
    return true;
}
