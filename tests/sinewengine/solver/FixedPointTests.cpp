// SPDX-License-Identifier: MIT
// The converged joint step of a frozen pose against the closed formula, solved densely in double precision.
#include "support/TestFigure.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

using Matrix = std::vector<std::vector<double>>;

/// x of a x = b by elimination. As `a` is a positive definite matrix times a diagonal, rows stay in their
/// order.
std::vector<double> solveDense(Matrix a, std::vector<double> b)
{
    for (std::size_t i = 0; i < b.size(); ++i)
        for (std::size_t r = 0; r < b.size(); ++r) {
            const double f = r == i ? 0 : a[r][i] / a[i][i];
            for (std::size_t c = i; c < b.size(); ++c)
                a[r][c] -= f * a[i][c];
            b[r] -= f * b[i];
        }
    for (std::size_t i = 0; i < b.size(); ++i)
        b[i] /= a[i][i];
    return b;
}

struct System {
    Matrix J;
    std::vector<double> W, C, L, e, z;

    /// dq = C Jt W (J C Jt W + L)^-1 e + (I - C Jt W (J C Jt W + L)^-1 J) z: one solve for e - J z.
    std::vector<double> step() const
    {
        const std::size_t R = e.size(), n = z.size();
        Matrix A(R, std::vector<double>(R));
        std::vector<double> right = e;
        for (std::size_t r = 0; r < R; ++r) {
            for (std::size_t s = 0; s < R; ++s)
                for (std::size_t c = 0; c < n; ++c)
                    A[r][s] += J[r][c] * C[c] * J[s][c] * W[s];
            A[r][r] += L[r];
            for (std::size_t c = 0; c < n; ++c)
                right[r] -= J[r][c] * z[c];
        }
        const std::vector<double> y = solveDense(A, right);
        std::vector<double> dq = z;
        for (std::size_t c = 0; c < n; ++c)
            for (std::size_t r = 0; r < R; ++r)
                dq[c] += C[c] * J[r][c] * W[r] * y[r];
        return dq;
    }
};

constexpr double kPull = 0.7, kPrecision = 1.5; // user values
constexpr double kRootShare = 0.25; // weight of the root's translations

/// A figure with three goals, pulls on two bones and uneven weights.
struct Bench {
    TestFigure figure;
    IKPositionTask* hand;
    IKPositionTask* elbow;
    IKOrientationTask* wrist;
    bool fast;

    explicit Bench(bool fastPath) : fast(fastPath)
    {
        figure.add("root", "", 0, 1, 0).chain("s", "root", 2, 0.1f, 0.5f, 0);
        figure.chain("a", "s1", 3, 0.4f, 0.1f, 0.1f).add("head", "s1", 0, 0.6f, 0);
        figure.build();
        std::mt19937 random(7);
        figure.poseAtRandom(random);
        figure->setTranslateRoot(true);
        figure->setRootTranslationWeight(static_cast<float>(kRootShare));
        if (!fast)
            figure["a0"].setActiveDof(true, false, true, true);
        figure["s0"].setWeight(1, 0.3f);
        figure["a1"].setWeight(2, 0.0f); // no task moves it, and its pull passes through
        figure->setPCoefficient(static_cast<float>(kPull));
        figure->setPrecision(static_cast<float>(-kPrecision));
        figure->setTolerance(0);
        figure->setRetargetGain(6); // times the unit of 0.05
        for (const char* name : {"a1", "s1"}) {
            figure[name].setRetargeting(true, false);
            const SinewQuaternion q = randomRotation(random, 1.2f);
            figure[name].setTargetOrientation(q.x(), q.y(), q.z(), q.w());
            figure[name].setRetargetingAxisGain(1, 0.5f);
        }

        figure->updateFigure();
        hand = figure->addPositionTask("a2");
        hand->setOffset(0.2f, 0.1f, 0);
        hand->setTarget(1.3f, 1.6f, 0.5f);
        hand->setAxisWeight(2, 3);
        hand->setPrecision(1.6f);
        wrist = figure->addOrientationTask("a2");
        wrist->setTarget(wrist->getTarget() * randomRotation(random, 0.8f));
        wrist->setWeight(0.6f);
        elbow = figure->addPositionTask("head");
        elbow->setTarget(0.1f, 2.1f, 0.2f);
        elbow->setAxisPrecision(0, 0.4f);
    }

    System system() const
    {
        const DoubleFigure pose = figure.inDouble();
        double height = 0;
        for (int bone = 5; bone > 0; bone = pose.bones()[static_cast<std::size_t>(bone)].parent)
            height += length(pose.bones()[static_cast<std::size_t>(bone)].translation);
        const double size = height * 0.0612,
                     positionRow = 0.018181818 / (size * size) * 0.082 * 0.445 * kPull,
                     orientationRow = 2.0 * kPull * 0.082 * 0.018181818;
        const double translation = height * 3.366 * 0.011111111;

        System s;
        for (std::size_t b = 0; b < pose.bones().size(); ++b) {
            IKSegment& bone = *figure->bone(static_cast<std::uint32_t>(b));
            const Vec3 way =
                rotationVector(transposed(pose.bones()[b].rotation) * matrixOf(bone.getTargetOrientation()));
            const double angle = length(way);
            for (int f = 0; f < 6; ++f) {
                if (!pose.bones()[b].freedom[f])
                    continue;
                s.C.push_back(f < 3 ? static_cast<double>(bone.getWeight(static_cast<std::uint32_t>(f)))
                                    : translation * translation * 10 * kRootShare);
                // Half the sine of the way to the target, about its axis.
                s.z.push_back(f < 3 && bone.isRetargeting()
                                  ? 0.05 * 6 * (f == 1 ? 0.5 : 1.0) * 0.5 * std::sin(angle) / angle * way[f]
                                  : 0.0);
            }
        }
        const auto addRows = [&](IKTask* task, double row, Vec3 error,
                                 const std::function<Vec3(const DoubleFigure&)>& quantity) {
            const std::vector<Vec3> columns = derivatives(pose, quantity);
            for (int k = 0; k < 3; ++k) {
                const auto axis = static_cast<std::uint32_t>(k);
                std::vector<double>& J = s.J.emplace_back();
                for (const Vec3& column : columns)
                    J.push_back(column[k]);
                s.e.push_back(error[k]);
                s.W.push_back(row * static_cast<double>(task->getAxisWeight(axis)));
                s.L.push_back(kPrecision * 0.082 / static_cast<double>(task->getAxisPrecision(axis)));
            }
        };
        const auto addPosition = [&](IKPositionTask* task, std::size_t bone) {
            const auto at = [=](const DoubleFigure& f) { return f.point(bone, task->getOffset()); };
            addRows(task, positionRow, Vec3(task->getTarget()) - at(pose), at);
        };
        addPosition(hand, 5);
        const Vec3 off =
            rotationVector(pose.bones()[5].orientation * transposed(matrixOf(wrist->getTarget())));
        addRows(wrist, orientationRow, off * ((fast ? -0.5 : -1.0) * std::sin(length(off)) / length(off)),
                [&](const DoubleFigure& f) { return turnSince(pose, f, 5); });
        addPosition(elbow, 6);
        return s;
    }

    /// Sweeps at the pose as it stands until the duals have settled, then lets one step through and reads it.
    std::vector<double> settledStep()
    {
        const SinewVector root = figure["root"].getTranslation();
        const DoubleFigure before = figure.inDouble();
        for (std::uint32_t i = 0; i < figure->boneCount(); ++i)
            figure->bone(i)->setMaxVelocity(0);
        for (int sweep = 0; sweep < 400; ++sweep) {
            figure->solve(1);
            figure["root"].setTranslation(root.x(), root.y(), root.z());
        }
        for (std::uint32_t i = 0; i < figure->boneCount(); ++i)
            figure->bone(i)->setMaxVelocity(10);
        figure->solve(1);
        const DoubleFigure after = figure.inDouble();
        std::vector<double> dq;
        for (std::size_t b = 0; b < before.bones().size(); ++b) {
            const Vec3 turned =
                rotationVector(transposed(before.bones()[b].rotation) * after.bones()[b].rotation);
            const Vec3 moved = transposed(after.bones()[b].rotation)
                * (after.bones()[b].translation - before.bones()[b].translation);
            for (int f = 0; f < 6; ++f)
                if (before.bones()[b].freedom[f])
                    dq.push_back(f < 3 ? turned[f] : moved[f - 3]);
        }
        return dq;
    }
};

void expectFixedPoint(bool fast)
{
    Bench bench(fast);
    const std::vector<double> expected = bench.system().step(), actual = bench.settledStep();
    ASSERT_EQ(expected.size(), actual.size());
    double largest = 0;
    for (std::size_t c = 0; c < expected.size(); ++c) {
        EXPECT_NEAR(actual[c], expected[c], 3e-6) << "column " << c;
        largest = std::max(largest, std::fabs(expected[c]));
    }
    EXPECT_GT(largest, 0.05); // so the comparison means something
}

TEST(FixedPoint, IsTheDampedProjectedSolutionOnTheGeneralPath) { expectFixedPoint(false); }
TEST(FixedPoint, IsTheDampedProjectedSolutionOnTheFastPath) { expectFixedPoint(true); }

} // namespace
