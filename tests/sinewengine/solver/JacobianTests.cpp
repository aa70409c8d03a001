// SPDX-License-Identifier: MIT
// Jacobian columns against central differences of forward kinematics in double precision.
#include "solver/IKSolverState.h"
#include "support/TestFigure.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

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
void expectRows(const TestFigure& figure, const DoubleFigure& pose, std::uint32_t firstRow, double tolerance,
                const std::function<Vec3(const DoubleFigure&)>& quantity)
{
    const float* const* rows = figure->bone(0)->getSolver()->jacobian().rows();
    const std::vector<Vec3> expected = derivatives(pose, quantity);
    for (std::size_t column = 0; column < expected.size(); ++column)
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(rows[firstRow + static_cast<std::uint32_t>(k)][column], expected[column][k],
                        tolerance)
                << "column " << column << " axis " << k;
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
        figure->addPositionTask("hand")->setOffset(0.3f, -0.2f, 0.1f);
        IKPositionTask* shallow = figure->addPositionTask("head");
        shallow->setOffset(0, 0.2f, 0.1f);
        shallow->setDepth(2);
        figure->addOrientationTask("hand");
        const DoubleFigure pose = figure.inDouble();
        figure->solve(1);

        expectRows(figure, pose, 0, 3e-6, [](const DoubleFigure& f) { return f.point(4, {0.3, -0.2, 0.1}); });
        // Depth 2: head and chest. Everything above is held still.
        const float* const* rows = figure->bone(0)->getSolver()->jacobian().rows();
        const std::uint32_t chest = figure["chest"].getFirstColumn(), head = figure["head"].getFirstColumn();
        for (std::uint32_t c = 0; c < figure["leg"].getFirstColumn() + 3; ++c) {
            const bool reached =
                (c >= chest && c < chest + figure["chest"].getDofCount()) || (c >= head && c < head + 3);
            EXPECT_EQ(std::fabs(rows[3][c]) + std::fabs(rows[4][c]) + std::fabs(rows[5][c]) > 0, reached)
                << c;
        }
        // Shifts turn nothing.
        expectRows(figure, pose, 6, 3e-6, [&](const DoubleFigure& f) { return turnSince(pose, f, 4); });
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

        expectRows(figure, pose, 0, 3e-6, [](const DoubleFigure& f) { return f.point(4); });
        expectRows(figure, pose, 3, 3e-6, [](const DoubleFigure& f) { return f.centreOfMass(); });
        const Vec3 up(0.1, 1, -0.2);
        const Vec3 weight = up * (-9.81 * figure->totalMass() / length(up)), force(20, -70, 35);
        // Moment about the world origin; the force task's share counts rotations only.
        expectRows(figure, pose, 6, 2e-3, [&](const DoubleFigure& f) {
            const Vec3 root = f.bones()[0].position - pose.bones()[0].position;
            return cross(f.centreOfMass(), weight) + cross(f.point(4) - root, force);
        });
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
    expectRows(figure, pose, 0, 3e-6,
               [](const DoubleFigure& f) { return f.centreOfMass() - f.bones()[0].position; });
}

} // namespace
