// SPDX-License-Identifier: MIT
// Jacobian columns against central differences of forward kinematics in double precision.
#include "solver/IKSolverState.h"
#include "support/TestFigure.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace Sinew;
using namespace support;

using Quantity = std::function<Vec3(const DoubleFigure&)>;

/// Root, a spine of three, an arm with its own branch: rest orientations all over the place.
TestFigure makeTree(std::mt19937& random)
{
    TestFigure figure;
    const auto add = [&](const char* name, const char* parent, float x, float y, float z) {
        figure.add(name, parent, x, y, z, randomRotation(random));
    };
    add("root", "", 0.3f, 0.9f, -0.2f);
    add("spine", "root", 0, 0.4f, 0.1f);
    add("chest", "spine", 0.1f, 0.5f, 0);
    add("arm", "chest", 0.6f, 0.1f, 0.2f);
    add("hand", "arm", 0.5f, -0.2f, 0.1f);
    add("head", "chest", 0, 0.4f, 0.2f);
    add("leg", "root", 0.2f, -0.8f, 0);
    figure.build();
    figure.poseAtRandom(random);
    return figure;
}

/// Compares three rows with d(quantity)/d(freedom), over every column of the figure, zeros included.
void expectRows(const TestFigure& figure, const DoubleFigure& pose, std::uint32_t firstRow,
                const Quantity& quantity, double tolerance, bool alsoTranslations = true)
{
    const float* const* rows = figure->bone(0)->getSolver()->jacobian().rows();
    std::uint32_t column = 0;
    for (std::size_t b = 0; b < pose.bones().size(); ++b)
        for (int freedom = 0; freedom < 6; ++freedom) {
            if (!pose.bones()[b].freedom[freedom])
                continue;
            DoubleFigure forward = pose, backward = pose;
            const double h = 1e-5;
            forward.move(b, freedom, h);
            backward.move(b, freedom, -h);
            Vec3 expected = (quantity(forward) - quantity(backward)) * (0.5 / h);
            if (freedom >= 3 && !alsoTranslations)
                expected = Vec3();
            for (int k = 0; k < 3; ++k)
                EXPECT_NEAR(rows[firstRow + static_cast<std::uint32_t>(k)][column], expected[k], tolerance)
                    << "bone " << b << " freedom " << freedom << " axis " << k;
            ++column;
        }
}

/// -sin(angle) times the axis of the rotation from target to pose.
Vec3 orientationError(const Mat3& pose, const Mat3& target)
{
    const Mat3 m = pose * transposed(target);
    return Vec3(m.m[2][1] - m.m[1][2], m.m[0][2] - m.m[2][0], m.m[1][0] - m.m[0][1]) * -0.5;
}

enum class Freedoms { AllRotations, TranslatingRoot, StretchingAndMissing };

class JacobianColumns : public testing::TestWithParam<Freedoms> { };

TEST_P(JacobianColumns, ArePositionAndOrientationDerivatives)
{
    for (unsigned seed = 1; seed <= 5; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const TestFigure figure = makeTree(random);
        if (GetParam() != Freedoms::AllRotations)
            figure->setTranslateRoot(true);
        if (GetParam() == Freedoms::StretchingAndMissing) {
            figure["chest"].setActiveDof(true, true, true, false); // stretches both of its children
            figure["arm"].setFreeTranslation(true, true);
            figure["spine"].setActiveDof(true, false, true, true);
        }
        IKPositionTask* hand = figure->addPositionTask("hand");
        hand->setOffset(0.3f, -0.2f, 0.1f);
        IKPositionTask* shallow = figure->addPositionTask("head");
        shallow->setOffset(0, 0.2f, 0.1f);
        shallow->setDepth(2);
        // At its target, where the error's derivative is the column with the sign turned.
        figure->updateFigure();
        figure->addOrientationTask("hand")->setTarget(figure["hand"].getGlobalOrientation());
        const DoubleFigure pose = figure.inDouble();
        figure->solve(1);

        const Mat3 target = pose.bones()[4].orientation;
        expectRows(
            figure, pose, 0,
            [](const DoubleFigure& f) {
                return f.point(4, {0.3, -0.2, 0.1});
            },
            3e-6);
        // Depth 2: head and chest. Everything above is held still.
        const float* const* rows = figure->bone(0)->getSolver()->jacobian().rows();
        const std::uint32_t chest = figure["chest"].getFirstColumn(), head = figure["head"].getFirstColumn();
        for (std::uint32_t c = 0; c < figure["leg"].getFirstColumn() + 3; ++c) {
            const bool reached =
                (c >= chest && c < chest + figure["chest"].getDofCount()) || (c >= head && c < head + 3);
            EXPECT_EQ(std::fabs(rows[3][c]) + std::fabs(rows[4][c]) + std::fabs(rows[5][c]) > 0, reached)
                << c;
        }
        expectRows(
            figure, pose, 6,
            [&](const DoubleFigure& f) { return orientationError(f.bones()[4].orientation, target) * -1.0; },
            3e-6, false);
    }
}

INSTANTIATE_TEST_SUITE_P(Figures, JacobianColumns,
                         testing::Values(Freedoms::AllRotations, Freedoms::TranslatingRoot,
                                         Freedoms::StretchingAndMissing));

TEST(JacobianOfBalance, HoldsCentreOfMassAndMomentDerivatives)
{
    for (unsigned seed = 1; seed <= 5; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const TestFigure figure = makeTree(random);
        figure->setTranslateRoot(true);
        figure["spine"].setActiveDof(false, true, true, true);
        for (std::uint32_t i = 0; i < figure->boneCount(); ++i) {
            figure->bone(i)->setMass(uniform(random, 0.5f, 9));
            figure->bone(i)->setMassCentre(uniform(random, -0.3f, 0.3f), uniform(random, -0.3f, 0.3f), 0.1f);
        }
        IKPositionTask* hand = figure->addPositionTask("hand");
        hand->setForceTask(true, false);
        hand->setForce(20, -70, 35);
        IKBalanceTask* balance = figure->addBalanceTask(1, true, true);
        balance->setGravityDirection(0.1f, 1, -0.2f);
        const DoubleFigure pose = figure.inDouble();
        figure->solve(1);

        expectRows(
            figure, pose, 0, [](const DoubleFigure& f) { return f.point(4); }, 3e-6);
        expectRows(
            figure, pose, 3, [](const DoubleFigure& f) { return f.centreOfMass(); }, 3e-6);
        const Vec3 up(0.1, 1, -0.2);
        const Vec3 weight = up * (-9.81 * figure->totalMass() / length(up)), force(20, -70, 35);
        // Moment about the world origin; the force task's share counts rotations only.
        expectRows(
            figure, pose, 6,
            [&](const DoubleFigure& f) {
                const Vec3 root = f.bones()[0].position - pose.bones()[0].position;
                return cross(f.centreOfMass(), weight) + cross(f.point(4) - root, force);
            },
            2e-3);
    }
}

TEST(JacobianOfBalance, LeavesTheRootsTranslationOutWhenRelativeToIt)
{
    std::mt19937 random(1);
    const TestFigure figure = makeTree(random);
    figure->setTranslateRoot(true);
    figure->addBalanceTask(1, false, true)->setRelativeToRoot(true);
    const DoubleFigure pose = figure.inDouble();
    figure->solve(1);
    expectRows(
        figure, pose, 0, [](const DoubleFigure& f) { return f.centreOfMass() - f.bones()[0].position; },
        3e-6);
}

} // namespace
