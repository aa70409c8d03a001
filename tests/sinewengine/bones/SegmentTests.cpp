// SPDX-License-Identifier: MIT
// Links and frames of bones.
#include "support/TestFigure.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

TEST(Segment, ListsItsChildrenInReverseOrderOfLinking)
{
    TestFigure figure;
    figure.add("root", "", 0, 0, 0)
        .add("a", "root", 1, 0, 0)
        .add("b", "root", 2, 0, 0)
        .add("c", "b", 3, 0, 0);
    figure.build();
    IKSegment &root = figure["root"], &a = figure["a"], &b = figure["b"], &c = figure["c"];
    EXPECT_EQ(root.getFirstChild(), &b);
    EXPECT_EQ(b.getNextSibling(), &a);
    EXPECT_EQ(a.getNextSibling(), nullptr);
    a.setParent(&root); // once more: nothing changes
    EXPECT_EQ(root.getFirstChild(), &b);
    EXPECT_EQ(b.getNextSibling(), &a);

    c.setParent(&a);
    EXPECT_EQ(b.getFirstChild(), nullptr);
    EXPECT_EQ(a.getFirstChild(), &c);
    figure->updateFigure();
    EXPECT_EQ(c.getGlobalPosition().x(), 4.0f);
    b.setParent(nullptr);
    EXPECT_EQ(root.getFirstChild(), &a);
    EXPECT_EQ(b.getParent(), nullptr);
}

TEST(Segment, KnowsItsWorldFrame)
{
    std::mt19937 random(1);
    TestFigure figure = TestFigure::arm(5);
    figure.poseAtRandom(random);
    figure["b2"].addTranslation(0.5f, 0, 0);
    figure->updateFigure();
    IKSegment& tip = figure["b4"];
    const DoubleFigure::Bone expected = figure.inDouble().bones()[4];
    EXPECT_LT(length(Vec3(tip.getGlobalPosition()) - expected.position), 1e-5);
    const Mat3 world = matrixOf(tip.getGlobalOrientation());
    SinewVector axis;
    for (int i = 0; i < 3; ++i) {
        const Vec3 unit(i == 0, i == 1, i == 2), direction = expected.orientation * unit;
        const auto index = static_cast<std::uint32_t>(i);
        EXPECT_LT(length(world * unit - direction), 1e-5);
        EXPECT_LT(length(Vec3(tip.getAxis(axis, index)) - direction), 1e-5);
        EXPECT_LT(length(Vec3(row(tip.getGlobalFrame().matrix, index)) - direction), 1e-5);
        EXPECT_LT(length(Vec3(column(tip.getGlobalMatrix(), index)) - direction), 1e-5);
    }
    // A frame of the client's own.
    GlobalFrame shifted;
    shifted.rotation = aboutAxis(2, 90);
    shifted.position.set(10, 0, 0);
    figure["b0"].updateGlobal(shifted, false);
    const Vec3 moved = Vec3(10, 0, 0) + turn({0, 0, 1.5707963267948966}) * expected.position;
    EXPECT_LT(length(Vec3(tip.getGlobalPosition()) - moved), 1e-5);
}

} // namespace
