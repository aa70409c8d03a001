// SPDX-License-Identifier: MIT
// An outside program: only installed headers, only the installed library, every kind of task.
#include <sinew/IKSolver.h>
#include <sinew/Matrix4d.h>

#include <cmath>
#include <cstdio>

int main()
{
    Sinew::BoneDescriptor bones[4];
    const char* names[4] = {"root", "upper", "lower", "end"};
    for (int i = 0; i < 4; ++i) {
        bones[i].name = names[i];
        bones[i].parent_name = i ? names[i - 1] : nullptr;
        bones[i].rest_translation[0] = i ? 1.0f : 0.0f;
        bones[i].rest_translation[1] = i == 3 ? 0.2f : 0.0f;
    }
    Sinew::IKSolver solver;
    solver.setBones(bones, 4);
    solver.setFullRetargeting(false);
    for (unsigned i = 0; i < solver.boneCount(); ++i)
        solver.bone(i)->enableLimits(false);
    Sinew::IKPositionTask* goal = solver.addPositionTask("end");
    goal->setTarget(1.5f, 1.5f, 0.5f);
    Sinew::IKTask* orientation = solver.addOrientationTask("root");
    orientation->setActive(false, false);
    solver.setTolerance(1e-6f);
    const bool converged = solver.solve(1000);
    solver.updateFigure();
    const Sinew::SinewVector miss = goal->getTarget() - solver.findBone("end")->getGlobalPosition();
    const Sinew::Matrix4d m = Sinew::fromEngineMatrix(solver.findBone("end")->getGlobalMatrix());
    if (converged && Sinew::length(miss) < 1e-3f && std::fabs(m[3][3] - 1.0) < 1e-12)
        std::puts("reached");
}
