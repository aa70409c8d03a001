// SPDX-License-Identifier: MIT
// The smallest program: a chain of three bones reaches for a point.
#include <sinew/IKSolver.h>

#include <cstdio>

int main()
{
    Sinew::BoneDescriptor bones[3];
    const char* names[3] = {"shoulder", "elbow", "hand"};
    for (int i = 0; i < 3; ++i) {
        bones[i].name = names[i];
        bones[i].parent_name = i ? names[i - 1] : nullptr;
        bones[i].rest_translation[1] = i ? 1.0f : 0.0f;
        bones[i].rest_translation[2] = i == 2 ? 0.1f : 0.0f;
    }
    Sinew::IKSolver solver;
    solver.setBones(bones, 3);
    solver.setFullRetargeting(false);
    for (unsigned i = 0; i < solver.boneCount(); ++i)
        solver.bone(i)->enableLimits(false);
    solver.addPositionTask("hand")->setTarget(0.6f, 1.2f, 0.9f);
    solver.setTolerance(1e-5f);
    solver.solve(1000);
    solver.updateFigure();

    const Sinew::SinewVector hand = solver.findBone("hand")->getGlobalPosition();
    std::printf("hand at %.3f %.3f %.3f\n", hand.x(), hand.y(), hand.z());
}
