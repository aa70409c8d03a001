// SPDX-License-Identifier: MIT
// Vectors and quaternions against matrices in double precision.
#include "bones/StepRotation.h"
#include "support/TestFigure.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace Sinew;
using namespace support;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

double difference(Vec3 a, Vec3 b) { return length(a - b); }
double difference(const Mat3& a, const Mat3& b)
{
    double worst = 0;
    for (int i = 0; i < 9; ++i)
        worst = std::max(worst, std::fabs(a.m[i / 3][i % 3] - b.m[i / 3][i % 3]));
    return worst;
}
Mat3 rowsOf(const SinewMatrix& m)
{
    Mat3 out;
    for (std::uint32_t i = 0; i < 9; ++i)
        out.m[i / 3][i % 3] = m[i / 3][i % 3];
    return out;
}
std::array<float, 4> components(SinewQuaternion q) { return {q.x(), q.y(), q.z(), q.w()}; }

TEST(Vector, SumsItsProductsInPairsAndCountsLaneW)
{
    // Any other order of these sums gives 1 or 2.
    const SinewVector a(1e8f, 1.0f, -1e8f, 1.0f), ones(1, 1, 1, 1);
    EXPECT_EQ(dot(a, ones), 0.0f);
    EXPECT_EQ(length(SinewVector(0, 0, 0, 3)), 3.0f);
}

TEST(Vector, ClearsLaneWInNewValuesButNotInPlace)
{
    const SinewVector a(1, 2, 3, 4), b(5, 7, 9, 11);
    for (const SinewVector& v : {a + b, a - b, a * 2.0f, cross(a, b), rotate(SinewQuaternion(), a)})
        EXPECT_EQ(v.w(), 0.0f);
    SinewVector sum = a, scaled = a, unit = SinewVector(0, 3, 0, 4);
    sum += b;
    scaled *= 2.0f;
    normalise(unit);
    EXPECT_EQ(sum.w(), 15.0f);
    EXPECT_EQ(scaled.w(), 8.0f);
    EXPECT_FLOAT_EQ(unit.w(), 0.8f);
    scaled.set(1, 2, 3);
    EXPECT_EQ(scaled.w(), 0.0f);
    EXPECT_EQ(difference(cross(SinewVector(1, 0, 0), SinewVector(0, 1, 0)), {0, 0, 1}), 0.0);
}

TEST(Scalars, GiveTheirAnswerForNaN)
{
    EXPECT_EQ(clamp(kNan, 2.0f, 3.0f), 2.0f);
    EXPECT_EQ(clamp(1.0f, 2.0f, 3.0f), 2.0f);
    EXPECT_EQ(clamp(9.0f, 2.0f, 3.0f), 3.0f);
    EXPECT_TRUE(isZero(kNan) && isZero(-0.0f) && !isZero(1e-45f));
    EXPECT_TRUE(isNearZero(kNan) && isNearZero(-1e-10f) && !isNearZero(-1.1e-9f));
}

TEST(Quaternion, MultipliesAndRotatesLikeMatrices)
{
    std::mt19937 random(1);
    for (int i = 0; i < 2000; ++i) {
        const SinewQuaternion a = randomRotation(random, 6.28f), b = randomRotation(random, 6.28f);
        const SinewVector v(uniform(random, -5, 5), uniform(random, -5, 5), uniform(random, -5, 5));
        ASSERT_LT(difference(rotate(a, v), matrixOf(a) * Vec3(v)), 4e-6);
        ASSERT_LT(difference(matrixOf(a * b), matrixOf(a) * matrixOf(b)), 1e-6);
        ASSERT_LT(difference(matrixOf(conj(a)), transposed(matrixOf(a))), 1e-6);
        ASSERT_LT(difference(rowsOf(toColumnMatrix(a)), matrixOf(a)), 1e-6);
        ASSERT_LT(difference(rowsOf(toFrameMatrix(a)), transposed(matrixOf(a))), 1e-6);
        ASSERT_LT(difference(toColumnMatrix(a) * v, rotate(a, v)), 4e-6);
        ASSERT_LT(difference(column(toColumnMatrix(a), 1), rotate(a, unitAxis(1))), 1e-6);
    }
}

TEST(Quaternion, RotateKeepsExactZerosAndDoesNotNormalise)
{
    const SinewVector turned = rotate(aboutAxis(2, 77.0), SinewVector(0, 0, 1));
    EXPECT_EQ(difference(turned, {0, 0, 1}), 0.0);
    EXPECT_EQ(rotate(aboutAxis(0, 33.0), SinewVector(0, 1, 0)).x(), 0.0f);
    EXPECT_EQ(difference(rotate(SinewQuaternion(0, 0, 2, 0), SinewVector(1, 0, 0)), {-7, 0, 0}), 0.0);
}

TEST(Matrix, HoldsARotationAndNoCorner)
{
    for (const SinewMatrix& m :
         {SinewMatrix(), toColumnMatrix(aboutAxis(1, 50)), toFrameMatrix(aboutAxis(1, 50))}) {
        EXPECT_EQ(length(m[3]), 0.0f);
        EXPECT_TRUE(m[0].w() == 0.0f && m[1].w() == 0.0f && m[2].w() == 0.0f);
    }
}

TEST(Quaternion, ComesBackFromItsMatrixOnEveryBranch)
{
    std::mt19937 random(2);
    std::vector<SinewQuaternion> samples = {SinewQuaternion(1, 0, 0, 0), SinewQuaternion(0, 1, 0, 0),
                                            SinewQuaternion(0, 0, 1, 0), SinewQuaternion()};
    for (int axis = 0; axis < 3; ++axis) // near half turns, where the largest diagonal entry decides
        for (const double degrees : {120.0, 179.9, -179.9, 240.0})
            samples.push_back(aboutAxis(axis, degrees));
    for (int i = 0; i < 500; ++i)
        samples.push_back(randomRotation(random, 6.28f));
    for (const SinewQuaternion& q : samples) {
        const SinewQuaternion back = fromColumnMatrix(toColumnMatrix(q));
        ASSERT_NEAR(std::fabs(dot(q, back)), 1.0f, 1e-6f) << q.x() << ' ' << q.y() << ' ' << q.z();
        ASSERT_NEAR(dot(back, back), 1.0f, 1e-6f);
    }
    // Equal diagonal entries: the lower index leads, so its component is positive.
    const SinewQuaternion tie =
        fromColumnMatrix(toColumnMatrix(SinewQuaternion(-0.6f, -0.6f, 0.5291503f, 0)));
    EXPECT_GT(tie.x(), 0.0f);
}

TEST(RotationVector, TakesAxesOfAnyLength)
{
    const SinewQuaternion q = fromRotationVector(SinewVector(0, -7, 0), 1.2f);
    EXPECT_LT(difference(matrixOf(q), turn({0, -1.2, 0})), 1e-6);
    EXPECT_EQ(components(fromRotationVector(SinewVector(), 5.0f)), components(SinewQuaternion()));
}

TEST(ShortestArc, TakesOneDirectionToTheOther)
{
    std::mt19937 random(3);
    for (int i = 0; i < 500; ++i) {
        const SinewVector a = rotate(randomRotation(random), SinewVector(1, 0, 0)),
                          b = rotate(randomRotation(random), SinewVector(0, 1, 0));
        const SinewQuaternion q = shortestArc(a, b);
        // Near opposite directions the sum of both is small, and the rotation less precise.
        ASSERT_LT(difference(rotate(q, a), b), 1e-6 + 1e-6 / (1 + dot(a, b)));
        // No twist: the axis is perpendicular to both.
        ASSERT_NEAR(q.x() * a.x() + q.y() * a.y() + q.z() * a.z(), 0.0f, 1e-5f);
    }
    const SinewVector x(1, 0, 0), y(0, 1, 0);
    EXPECT_EQ(components(shortestArc(y, y)), components(SinewQuaternion()));
    EXPECT_EQ(components(shortestArc(y, y * -1.0f)), components(SinewQuaternion(0, 0, 1, 0)));
    EXPECT_EQ(components(shortestArc(x, x * -1.0f)), components(SinewQuaternion(0, 0, -1, 0)));
}

TEST(TwistAngle, IsUnwrappedAndFollowsTheQuaternionsSign)
{
    const double pi = 3.14159265358979323846;
    for (int axis = 0; axis < 3; ++axis)
        for (const double degrees : {-170.0, -30.0, 0.0, 60.0, 175.0}) {
            const SinewQuaternion q = aboutAxis(axis, degrees);
            const SinewQuaternion negative(-q.x(), -q.y(), -q.z(), -q.w());
            const double twist = degrees * pi / 180;
            EXPECT_NEAR(twistAngle(q, static_cast<std::uint32_t>(axis)), twist, 1e-5);
            EXPECT_NEAR(std::fabs(twistAngle(negative, static_cast<std::uint32_t>(axis)) - twist), 2 * pi,
                        1e-5);
        }
    EXPECT_NEAR(twistAngle(SinewQuaternion(0, 0, 1, 0), 2), pi, 1e-6);
    EXPECT_EQ(twistAngle(SinewQuaternion(1, 0, 0, 0), 2), 1.0f); // undefined
    EXPECT_NEAR(twistAngle(SinewQuaternion(0, 0, 0.6f, 0.8f), 3), pi / 2, 1e-6);
}

TEST(StepRotation, AgreesWithTheRotationOfItsVector)
{
    const auto one = +[](float value) { return value; };
    std::mt19937 random(4);
    double worst = 0;
    for (int i = 0; i < 20000; ++i) {
        const float size = i % 2 ? 0.9f : 0.02f;
        const SinewVector r(uniform(random, -size, size), uniform(random, -size, size),
                            uniform(random, -size, size));
        const float h2 = dot(r, r) * 0.25f;
        if (h2 > kStepSeriesEnd)
            continue;
        const double angle = length(Vec3(r)), half = angle / 2,
                     scale = half == 0 ? 0.5 : std::sin(half) / angle;
        worst = std::max(worst, std::fabs(halfSinc(h2, one) / scale - 1));
        worst = std::max(worst, std::fabs(cosineOfSquare(h2, one) / std::cos(half) - 1));
    }
    EXPECT_LT(worst, 2.5e-7); // about two units in the last place, of which h2 itself brings one
    float worstUnit = 0;
    for (float s = 1 - kNearUnit; s <= 1 + kNearUnit; s += kNearUnit / 64)
        worstUnit = std::max(worstUnit, std::fabs(nearUnitScale(s, one) * std::sqrt(s) - 1));
    EXPECT_LT(worstUnit, 1.3e-7f);
}

} // namespace
