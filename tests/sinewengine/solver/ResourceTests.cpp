// SPDX-License-Identifier: MIT
// Memory: solves allocate nothing, bones are small, solvers don't know of each other.
#include "Works.h"
#include "solver/IKSolverState.h"
#include "support/AllocationCount.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;

/// A work cut down to what a test needs.
bench::Scene sceneOf(const bench::Work& work, std::uint32_t frames)
{
    bench::Scene scene = work.make();
    scene.frames = std::min(scene.frames, frames);
    scene.steps = std::min(scene.steps, 40u);
    return scene;
}

TEST(Memory, IsNotAllocatedBySolvesOfUnchangedDimensions)
{
    support::countAllocations();
    for (const bench::Work& work : bench::hashedWorks()) {
        bench::Scene scene = sceneOf(work, 4);
        scene.moveGoals(0);
        scene.solver->solve(scene.steps);
        const std::size_t before = support::allocationCount();
        for (std::uint32_t frame = 1; frame < scene.frames; ++frame) {
            scene.moveGoals(frame);
            if (frame == 2)
                scene.solver->reset();
            if (frame == 3)
                scene.solver->setPCoefficient(0.5f); // lays out again, in the same arrays
            scene.solver->solve(scene.steps);
            scene.solver->updateFigure();
        }
        EXPECT_EQ(support::allocationCount(), before) << work.name;
    }
}

TEST(Memory, IsAtMostFourKibibytesPerBoneBesideTheJacobian)
{
    support::countAllocations();
    std::vector<bench::Work> works = {{"64 bones", [] { return bench::makeTree(64); }},
                                      {"1024 bones", [] { return bench::makeTree(1024); }}};
    for (const bench::Work& work : bench::timedWorks())
        if (work.name == "W2")
            works.push_back(work);
    ASSERT_EQ(works.size(), 3u);
    for (const bench::Work& work : works) {
        const std::size_t before = support::liveBytes();
        bench::Scene scene = work.make();
        scene.moveGoals(0);
        scene.solver->solve(1);
        const std::size_t used = support::liveBytes() - before;
        const std::size_t rows = 3 * scene.goals.size(), stride = (scene.columns() + 4) / 4 * 4;
        const std::size_t jacobian = (rows + 4) / 4 * 4 * stride * sizeof(float);
        ASSERT_EQ(scene.solver->bone(0)->getSolver()->jacobian().columnStride(), stride);
        ASSERT_GT(used, jacobian);
        EXPECT_LE((used - jacobian) / scene.solver->boneCount(), 4096u) << work.name;
    }
}

} // namespace
