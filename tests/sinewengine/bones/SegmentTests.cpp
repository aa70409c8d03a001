// SPDX-License-Identifier: MIT
// Links, freedoms and frames of bones.
#include "support/TestFigure.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

TEST(Segment, RefusesTranslationWhereThereIsNothingToPush)
{
    const TestFigure figure = TestFigure::arm(3);
    IKSegment& leaf = figure["b2"];
    leaf.setActiveDof(true, true, true, false);
    EXPECT_FALSE(leaf.isTranslational() || leaf.isDofActive(3) || leaf.isDofActive(4) || leaf.isDofActive(5));
    EXPECT_EQ(leaf.getDofCount(), 3u);
    leaf.setFreeTranslation(true, true);
    EXPECT_TRUE(leaf.isTranslational());
    EXPECT_EQ(leaf.getDofCount(), 6u);
    leaf.resetTranslation(true);
    EXPECT_FALSE(leaf.isTranslational());

    leaf.setActiveDof(false, false, false, true);
    EXPECT_FALSE(leaf.isActive());
    EXPECT_EQ(leaf.getDofCount(), 0u);
    leaf.setActiveDof(false, true, false, true);
    EXPECT_TRUE(leaf.isActive());
    figure->prepare();
    EXPECT_EQ(leaf.getFirstColumn(), 6u);
    figure["b0"].setActiveDof(true, false, false, true);
    figure->prepare();
    EXPECT_EQ(leaf.getFirstColumn(), 4u);
}

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
    EXPECT_EQ(root.getChainDepth(), 1u);
    EXPECT_EQ(c.getChainDepth(), 3u);

    c.setParent(&a);
    EXPECT_EQ(b.getFirstChild(), nullptr);
    EXPECT_EQ(a.getFirstChild(), &c);
    figure->updateFigure();
    EXPECT_EQ(c.getGlobalPosition().x(), 4.0f);
    b.setParent(nullptr);
    EXPECT_EQ(root.getFirstChild(), &a);
    EXPECT_EQ(b.getParent(), nullptr);
}

TEST(Segment, TurnsByAtMostItsVelocityAboutEachAxis)
{
    const TestFigure figure = TestFigure::arm(3);
    IKSegment& bone = figure["b1"];
    for (std::uint32_t i = 0; i < figure->boneCount(); ++i)
        figure->bone(i)->setMaxVelocity(0.01f);
    // A pull far beyond the bound about all three axes.
    bone.setRetargeting(true, true);
    bone.setTargetOrientation(0.5f, 0.5f, -0.5f, 0.5f);
    figure->setRetargetGain(1000);
    figure->solve(1);
    const double turned = angleDegrees(bone.getOrientation(), SinewQuaternion());
    EXPECT_NEAR(turned, std::sqrt(3.0) * 0.01 * 57.29577951, 1e-5);
    EXPECT_LT(bone.getOrientation().z(), 0.0f);
    bone.setMaxVelocity(0);
    const SinewQuaternion before = bone.getOrientation();
    figure->solve(5);
    EXPECT_LT(angleDegrees(bone.getOrientation(), before), 1e-5);
}

TEST(Segment, KnowsItsWorldFrameAndWhetherItIsStale)
{
    std::mt19937 random(1);
    TestFigure figure = TestFigure::arm(5);
    figure.poseAtRandom(random);
    EXPECT_TRUE(figure["b4"].isDirty());
    figure->updateFigure();
    EXPECT_FALSE(figure["b4"].isDirty());
    figure["b2"].addTranslation(0.5f, 0, 0);
    EXPECT_FALSE(figure["b1"].isDirty());
    EXPECT_TRUE(figure["b4"].isDirty());
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

TEST(Segment, MeasuresItsPoseFromRest)
{
    const SinewQuaternion rest = aboutAxis(0, 70), step = aboutAxis(1, 25);
    TestFigure figure;
    figure.add("root", "", 0, 0, 0, rest).build();
    IKSegment& bone = figure["root"];
    const SinewQuaternion q = rest * step;
    bone.setOrientation(q.x() * 3, q.y() * 3, q.z() * 3, q.w() * 3);
    EXPECT_NEAR(dot(bone.getOrientation(), bone.getOrientation()), 1, 1e-6);
    EXPECT_LT(angleDegrees(bone.getOrientationFromRest(), step), 1e-3);
    bone.resetToRest();
    EXPECT_LT(angleDegrees(bone.getOrientation(), rest), 1e-3);
    const SinewQuaternion target(0, 3, 0, 4); // kept as given
    bone.setTargetOrientation(target.x(), target.y(), target.z(), target.w());
    EXPECT_EQ(bone.getTargetOrientation().w(), 4.0f);
}

TEST(Measures, TakeTheShortestChildThatIsNotNegligible)
{
    TestFigure figure;
    figure.add("root", "", 0, 5, 0).add("long", "root", 10, 0, 0).add("short", "root", 0, 2, 0);
    figure.add("twist", "long", 0.01f, 0, 0).add("tip", "long", 0, 4, 0);
    figure.build();
    EXPECT_EQ(figure["root"].getLength(), 2.0f);
    EXPECT_EQ(figure["long"].getLength(), 4.0f); // 0.01 is below a fiftieth of the mean so far
    EXPECT_EQ(figure["tip"].getLength(), 0.0f);
    EXPECT_EQ(figure->totalBoneLength(), 6.0f);
    // Masses by length; a leaf has none.
    EXPECT_NEAR(figure["long"].getMass() / figure["root"].getMass(), 2.0, 1e-5);
    EXPECT_EQ(figure["tip"].getMass(), 0.0f);
    figure->setTotalMass(30);
    EXPECT_NEAR(figure["root"].getMass(), 10.0, 1e-4);
    figure["tip"].setMass(10);
    EXPECT_NEAR(figure->totalMass(), 40.0, 1e-4);
    EXPECT_NEAR(figure["long"].getMassFraction(), 0.75, 1e-5);

    TestFigure one;
    one.add("only", "", 3, 4, 0).build();
    EXPECT_EQ(one->totalBoneLength(), 1.0f);
}

} // namespace
