// SPDX-License-Identifier: MIT
// The converged joint step of a frozen pose against the closed formula, solved densely in double precision.
#include "support/TestFigure.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

using Matrix = std::vector<std::vector<double>>;

/// x of a x = b by elimination with row exchange.
std::vector<double> solveDense(Matrix a, std::vector<double> b)
{
    const std::size_t n = b.size();
    for (std::size_t i = 0; i < n; ++i) {
        std::size_t best = i;
        for (std::size_t r = i; r < n; ++r)
            if (std::fabs(a[r][i]) > std::fabs(a[best][i]))
                best = r;
        std::swap(a[i], a[best]);
        std::swap(b[i], b[best]);
        for (std::size_t r = i + 1; r < n; ++r) {
            const double f = a[r][i] / a[i][i];
            for (std::size_t c = i; c < n; ++c)
                a[r][c] -= f * a[i][c];
            b[r] -= f * b[i];
        }
    }
    for (std::size_t i = n; i-- > 0;) {
        for (std::size_t c = i + 1; c < n; ++c)
            b[i] -= a[i][c] * b[c];
        b[i] /= a[i][i];
    }
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
        const auto addRows = [&](const auto& value, IKTask* task, double row) {
            for (int k = 0; k < 3; ++k) {
                std::vector<double> J;
                for (std::size_t b = 0; b < pose.bones().size(); ++b)
                    for (int f = 0; f < 6; ++f) {
                        if (!pose.bones()[b].freedom[f])
                            continue;
                        DoubleFigure forward = pose, backward = pose;
                        forward.move(b, f, 1e-5);
                        backward.move(b, f, -1e-5);
                        J.push_back((value(forward, backward) * 5e4)[k]);
                    }
                const auto axis = static_cast<std::uint32_t>(k);
                s.J.push_back(J);
                s.W.push_back(row * static_cast<double>(task->getAxisWeight(axis)));
                s.L.push_back(kPrecision * 0.082 / static_cast<double>(task->getAxisPrecision(axis)));
            }
        };
        const auto positions = [&](IKPositionTask* task, std::size_t bone) {
            const auto at = [=](const DoubleFigure& f) { return f.point(bone, task->getOffset()); };
            addRows([=](const DoubleFigure& f, const DoubleFigure& b) { return at(f) - at(b); }, task,
                    positionRow);
            const Vec3 error = Vec3(task->getTarget()) - at(pose);
            s.e.insert(s.e.end(), {error.x, error.y, error.z});
        };
        positions(hand, 5);
        addRows(
            [](const DoubleFigure& f, const DoubleFigure& b) {
                return rotationVector(f.bones()[5].orientation * transposed(b.bones()[5].orientation));
            },
            wrist, orientationRow);
        const Vec3 off =
            rotationVector(pose.bones()[5].orientation * transposed(matrixOf(wrist->getTarget())));
        const double angle = length(off), half = fast ? 0.5 : 1.0;
        const Vec3 error = off * (-half * std::sin(angle) / angle);
        s.e.insert(s.e.end(), {error.x, error.y, error.z});
        positions(elbow, 6);
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
