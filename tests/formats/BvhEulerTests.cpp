// SPDX-License-Identifier: MIT
// Writing poses into channels: the angles say the rotation, run on without jumps, and what cannot be said is
// reported.
#include "BvhTesting.h"

#include <array>
#include <cmath>
#include <random>

namespace formats {
namespace {

using Matrix = std::array<std::array<double, 3>, 3>;
using Quaternion = std::array<double, 4>;

constexpr double kDegree = 3.14159265358979323846 / 180;

Matrix product(const Matrix& a, const Matrix& b)
{
    Matrix m{};
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c)
            m[r][c] = a[r][0] * b[0][c] + a[r][1] * b[1][c] + a[r][2] * b[2][c];
    }
    return m;
}

Matrix aboutAxis(std::size_t axis, double degrees)
{
    const std::size_t u = (axis + 1) % 3;
    const std::size_t v = (axis + 2) % 3;
    Matrix m{};
    m[axis][axis] = 1;
    m[u][u] = m[v][v] = std::cos(degrees * kDegree);
    m[v][u] = std::sin(degrees * kDegree);
    m[u][v] = -m[v][u];
    return m;
}

Matrix matrixOf(const Quaternion& q)
{
    const auto [x, y, z, w] = q;
    return {{{1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)},
             {2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)},
             {2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)}}};
}

double angleDegrees(const Matrix& a, const Matrix& b)
{
    double squares = 0; // of the difference: 8 sin(angle / 2)^2
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c)
            squares += (a[r][c] - b[r][c]) * (a[r][c] - b[r][c]);
    }
    return 2 * std::asin(std::min(1.0, std::sqrt(squares / 8))) / kDegree;
}

Quaternion turn(std::size_t axis, double degrees)
{
    Quaternion q{0, 0, 0, std::cos(degrees * kDegree / 2)};
    q[axis] = std::sin(degrees * kDegree / 2);
    return q;
}

Quaternion after(const Quaternion& second, const Quaternion& first)
{
    const auto [ax, ay, az, aw] = second;
    const auto [bx, by, bz, bw] = first;
    return {aw * bx + ax * bw + ay * bz - az * by, aw * by - ax * bz + ay * bw + az * bx,
            aw * bz + ax * by - ay * bx + az * bw, aw * bw - ax * bx - ay * by - az * bz};
}

/// One joint with the given rotation axes and no position channels.
struct OneJoint {
    BvhMotion motion;
    std::vector<std::size_t> axes;

    OneJoint(std::vector<std::size_t> order, std::size_t frames) : axes(std::move(order))
    {
        BvhJoint joint;
        joint.name = "joint";
        for (const std::size_t axis : axes)
            joint.channels.push_back(static_cast<BvhChannel>(3 + axis));
        motion.joints.push_back(joint);
        motion.channelCount = axes.size();
        resizeFrames(motion, frames);
    }

    std::vector<PoseLoss> set(std::size_t frame, const Quaternion& q)
    {
        return setLocalPose(motion, frame, {{{}, q}});
    }
    double angle(std::size_t frame, std::size_t n) const { return motion.values[frame * axes.size() + n]; }

    /// The rotation that the angles say, composed from matrices.
    Matrix said(std::size_t frame) const
    {
        Matrix m = aboutAxis(axes[0], angle(frame, 0));
        for (std::size_t n = 1; n < axes.size(); ++n)
            m = product(m, aboutAxis(axes[n], angle(frame, n)));
        return m;
    }

    double largestStep(std::size_t frame) const
    {
        double largest = 0;
        for (std::size_t n = 0; n < axes.size(); ++n)
            largest = std::max(largest, std::abs(angle(frame, n) - angle(frame - 1, n)));
        return largest;
    }
};

const std::vector<std::vector<std::size_t>> kOrders = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2},
                                                       {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};

TEST(BvhEuler, randomWalksComposeBackInEveryOrderWithoutJumps)
{
    constexpr unsigned kSeed = 7;
    SCOPED_TRACE(kSeed);
    std::mt19937 random(kSeed);
    std::uniform_real_distribution<double> step(-12, 12);
    for (const std::vector<std::size_t>& order : kOrders) {
        SCOPED_TRACE(::testing::PrintToString(order));
        OneJoint joint(order, 3000);
        Quaternion q{0, 0, 0, 1};
        for (std::size_t frame = 0; frame < 3000; ++frame) {
            q = after(turn(frame % 3, step(random)), q);
            if (frame % 5 == 0)
                q = {-q[0], -q[1], -q[2], -q[3]}; // the same rotation
            EXPECT_TRUE(joint.set(frame, q).empty());
            EXPECT_LT(angleDegrees(joint.said(frame), matrixOf(q)), 1e-4) << frame;
            EXPECT_LT(angleDegrees(matrixOf(localPose(joint.motion, frame)[0].rotation), matrixOf(q)), 1e-4)
                << frame;
            if (frame != 0) {
                EXPECT_LE(joint.largestStep(frame), 180 + 1e-9) << frame;
            }
        }
    }
}

TEST(BvhEuler, aSteadyTurnRunsOnPastFullTurnsAndThroughGimbalLock)
{
    for (const std::vector<std::size_t>& order : kOrders) {
        for (std::size_t n = 0; n < 3; ++n) {
            SCOPED_TRACE(::testing::PrintToString(order) + " channel " + std::to_string(n));
            OneJoint joint(order, 300);
            for (std::size_t frame = 0; frame < 300; ++frame) {
                joint.set(frame, turn(order[n], 3.0 * static_cast<double>(frame)));
                EXPECT_NEAR(joint.angle(frame, n), 3.0 * static_cast<double>(frame), 1e-4);
                EXPECT_NEAR(joint.angle(frame, (n + 1) % 3), 0, 1e-4);
                EXPECT_NEAR(joint.angle(frame, (n + 2) % 3), 0, 1e-4);
            }
        }
    }
}

TEST(BvhEuler, inGimbalLockTheFreeAnglesMoveNoMoreThanTheRotation)
{
    for (const std::vector<std::size_t>& order : kOrders) {
        for (const double lock : {90.0, -90.0}) {
            SCOPED_TRACE(::testing::PrintToString(order) + " at " + std::to_string(lock));
            OneJoint joint(order, 200);
            for (std::size_t frame = 0; frame < 200; ++frame) {
                const Quaternion q =
                    after(turn(order[0], 40 + static_cast<double>(frame)), turn(order[1], lock));
                joint.set(frame, q);
                EXPECT_LT(angleDegrees(joint.said(frame), matrixOf(q)), 1e-4);
                if (frame != 0) {
                    EXPECT_LE(joint.largestStep(frame), 1 + 1e-4);
                }
            }
        }
    }
}

TEST(BvhEuler, twoChannelsTakeTheNearestRotationAndSayWhatRemains)
{
    constexpr unsigned kSeed = 11;
    SCOPED_TRACE(kSeed);
    std::mt19937 random(kSeed);
    std::uniform_real_distribution<double> angle(-170, 170);
    for (const std::vector<std::size_t>& order : kOrders) {
        OneJoint joint({order[0], order[1]}, 1);
        const double a = angle(random);
        const double b = angle(random);
        EXPECT_TRUE(joint.set(0, after(turn(order[0], a), turn(order[1], b))).empty()) << "both can be said";
        EXPECT_NEAR(joint.angle(0, 0), a, 1e-4);
        EXPECT_NEAR(joint.angle(0, 1), b, 1e-4);

        const Quaternion q =
            after(turn(0, angle(random)), after(turn(1, angle(random)), turn(2, angle(random))));
        const std::vector<PoseLoss> losses = joint.set(0, q);
        const double remaining = angleDegrees(joint.said(0), matrixOf(q));
        ASSERT_EQ(losses.size(), 1u);
        EXPECT_NEAR(losses[0].rotationDegrees, remaining, 1e-4);
        double best = 180;
        for (double u = -180; u < 180; u += 3) {
            for (double v = -180; v < 180; v += 3)
                best = std::min(
                    best, angleDegrees(product(aboutAxis(order[0], u), aboutAxis(order[1], v)), matrixOf(q)));
        }
        EXPECT_LE(remaining, best + 1e-6) << "no pair of a fine grid is nearer";
        EXPECT_GE(remaining, best - 4) << "and the grid shows that it cannot be much nearer";
    }
}

TEST(BvhEuler, oneChannelTakesItsPartOfTheTurn)
{
    OneJoint hinge({0}, 2);
    EXPECT_TRUE(hinge.set(0, turn(0, 130)).empty());
    EXPECT_NEAR(hinge.angle(0, 0), 130, 1e-6);
    const std::vector<PoseLoss> losses = hinge.set(1, after(turn(0, 170), turn(2, 20)));
    EXPECT_NEAR(hinge.angle(1, 0), 170, 1e-6);
    ASSERT_EQ(losses.size(), 1u);
    EXPECT_NEAR(losses[0].rotationDegrees, 20, 1e-6);
}

TEST(BvhEuler, whatAJointCannotSayIsReportedAndWhatIsNotFiniteIsLeftOut)
{
    BvhMotion motion = mustRead(kSmallFile);
    const BvhMotion before = motion;
    std::vector<LocalPose> pose = localPose(motion, 0);
    pose[0].translation[0] += 1; // the root has position channels
    pose[1].translation[1] += 2; // Spine has none
    const std::vector<PoseLoss> losses = setLocalPose(motion, 0, pose);
    ASSERT_EQ(losses.size(), 1u);
    EXPECT_EQ(losses[0].joint, 1u);
    EXPECT_NEAR(losses[0].translation, 2, 1e-12);
    EXPECT_NEAR(motion.values[0], before.values[0] + 1, 1e-12);

    pose = localPose(motion, 1);
    pose[0].translation[2] = NAN;
    pose[2].rotation[3] = INFINITY;
    EXPECT_EQ(setLocalPose(motion, 1, pose).size(), 2u);
    for (const double value : motion.values)
        EXPECT_TRUE(std::isfinite(value));
    EXPECT_EQ(motion.values[12], motion.values[0]) << "kept from the frame before";

    EXPECT_TRUE(setLocalPose(motion, 4, pose).empty()) << "a frame that is not there";
}

} // namespace
} // namespace formats
