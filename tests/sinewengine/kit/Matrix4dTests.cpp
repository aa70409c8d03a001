// SPDX-License-Identifier: MIT
// The double-precision matrix: inverse, conventions, conversions.
#include "support/TestFigure.h"

#include <sinew/Matrix4d.h>

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

double difference(const Matrix4d& a, const Matrix4d& b)
{
    double worst = 0;
    for (int i = 0; i < 16; ++i)
        worst = std::max(worst, std::fabs(a.m[i] - b.m[i]));
    return worst;
}

/// v' = v M, with a 1 behind the point.
Vec3 transform(Vec3 v, const Matrix4d& m)
{
    double out[3];
    for (int c = 0; c < 3; ++c)
        out[c] = v.x * m[0][c] + v.y * m[1][c] + v.z * m[2][c] + m[3][c];
    return {out[0], out[1], out[2]};
}

Matrix4d diagonal(double a)
{
    Matrix4d m;
    m[0][0] = a;
    return m;
}

TEST(Matrix4d, InverseUndoesTheMatrix)
{
    std::mt19937 random(1);
    for (int i = 0; i < 500; ++i) {
        Matrix4d m;
        for (double& value : m.m)
            value = static_cast<double>(uniform(random, -2, 2));
        Matrix4d inverse = m;
        if (!inverse.invert())
            continue;
        double size = 0;
        for (const double value : inverse.m)
            size = std::max(size, std::fabs(value));
        EXPECT_LT(difference(product(m, inverse), Matrix4d()), 1e-14 * (1 + size * size));
        m.multiply(inverse);
        EXPECT_LT(difference(m, Matrix4d()), 1e-14 * (1 + size * size));
    }
}

TEST(Matrix4d, InverseFailsUpToADeterminantOfOneHundredThousandth)
{
    for (const double singular : {1e-5, -1e-5, 0.0, std::nan("")}) {
        Matrix4d m = diagonal(singular);
        EXPECT_FALSE(m.invert()) << singular;
        EXPECT_EQ(m[1][1], 1.0);
        EXPECT_TRUE(m[0][0] == singular || std::isnan(singular));
    }
    Matrix4d above = diagonal(std::nextafter(1e-5, 1.0));
    EXPECT_TRUE(above.invert());
    EXPECT_NEAR(above[0][0], 1e5, 1e-3);
}

TEST(Matrix4d, RotationTurnsRowVectors)
{
    EXPECT_LT(length(transform({1, 0, 0}, rotation(90, 0, 0, 1)) - Vec3(0, 1, 0)), 1e-15);
    std::mt19937 random(2);
    for (int i = 0; i < 100; ++i) {
        Vec3 n(uniform(random, -1, 1), uniform(random, -1, 1), uniform(random, -1, 1));
        n = n * (1 / length(n));
        const double degrees = static_cast<double>(uniform(random, -180, 180));
        const Vec3 v(1, 2, 3);
        const Vec3 expected = turn(n * (degrees * 3.14159265358979323846 / 180)) * v;
        ASSERT_LT(length(transform(v, rotation(degrees, n.x, n.y, n.z)) - expected), 1e-13);
    }
    // Rotation about an axis by index has its sines the other way round.
    for (std::uint32_t axis = 0; axis < 3; ++axis) {
        const Matrix4d about = rotation(-40, axis == 0, axis == 1, axis == 2);
        EXPECT_LT(difference(axisRotation(40 * 3.14159265358979323846 / 180, axis), about), 1e-15);
    }
}

TEST(Matrix4d, ConvertsBothWaysAndKeepsItsTranslation)
{
    std::mt19937 random(3);
    const SinewQuaternion q = randomRotation(random);
    const Vec3 v(1, -2, 0.5);
    Matrix4d m = fromEngineMatrix(toColumnMatrix(q));
    EXPECT_LT(length(transform(v, m) - matrixOf(q) * v), 1e-6);

    double nine[9];
    m.get3x3(nine); // row-major and transposed: the rotation for column vectors again
    const Mat3 expected = matrixOf(q);
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(nine[i], expected.m[i / 3][i % 3], 1e-6);
    Matrix4d back;
    back.setTranslation(4, 5, 6);
    back.set3x3(nine);
    EXPECT_LT(length(transform({0, 0, 0}, back) - Vec3(4, 5, 6)), 1e-15);
    back.setTranslation(0, 0, 0);
    EXPECT_EQ(difference(back, m), 0.0);

    back.transpose3x3();
    back.multiply(m);
    EXPECT_LT(difference(back, Matrix4d()), 1e-6);
}

} // namespace
