// SPDX-License-Identifier: MIT
// Between the poses of a motion and the matrices of the host.
#include "track/PoseMatrices.h"

namespace app {

using refhost::Matrix33;

refhost::Vector3 goalAngles(const Pose& goal)
{
    return refhost::eulerFromMatrix(refhost::matrixFromQuaternion(goal.rotation), 0);
}

void localPoses(std::span<const TrackBone> bones, std::span<const refhost::Matrix34> world,
                std::span<Pose> local)
{
    for (std::size_t i = 0; i < bones.size(); ++i) {
        const int parent = bones[i].parent;
        const Matrix33& rotation = world[i].linear;
        local[i].rotation = refhost::quaternionFromMatrix(
            parent < 0 ? rotation : transposed(world[static_cast<std::size_t>(parent)].linear) * rotation);
        local[i].translation = parent < 0 ? world[i].offset : bones[i].restTranslation;
    }
}

} // namespace app
