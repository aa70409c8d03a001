// SPDX-License-Identifier: MIT
// The rig of most tests: a bent arm of four joints with a branch below a movable parent, and a goal for its
// tip.
#pragma once

#include "e2e/ExpectedRig.h"

#include <gtest/gtest.h>

namespace e2e {

struct Arm : RigScene {
    explicit Arm(const LocalParts& parent = {}) : above(locator("above", nullptr, parent))
    {
        positionTask(tip, base, transformPoint(refhost::localMatrix(parent), {2.2, 1.9, 1.4}));
    }

    Item& above;
    Item& base = root("base", &above, at({0, 1, 0}, {0, 0, 20}));
    Item& a0 = joint("a0", &base, at({1, 0, 0.1}, {5, -10, 15}));
    Item& a1 = joint("a1", &a0, at({1, 0, 0.1}, {5, -10, 15}));
    Item& side = joint("side", &a0, at({0, 1, 0}, {40, 0, 0}));
    Item& tip = joint("tip", &a1, at({1, 0, 0.1}, {5, -10, 15}));
    Item& settings = solver(base);
    std::vector<Item*> bones = {&base, &a0, &a1, &tip, &side};
};

/// A parent that is moved, turned and scaled unevenly.
inline LocalParts unevenParent() { return at({3, -2, 1}, {20, -35, 50}, {0.5, 2, 1.5}); }

/// Has both evaluate once and compares; `tolerance` 0 asks for equality.
inline void expectSame(RigScene& scene, ExpectedRig& expected, double tolerance = kSolvedTolerance)
{
    const std::vector<Matrix34> shown = scene.pose(expected.items());
    expected.evaluate();
    EXPECT_LE(difference(shown, expected.pose()), tolerance);
}

/// The same with nodes made now.
inline void expectAsTold(RigScene& scene, Item& root, double tolerance = kSolvedTolerance)
{
    scene.freshNodes();
    ExpectedRig expected(scene, root);
    expectSame(scene, expected, tolerance);
}

} // namespace e2e
