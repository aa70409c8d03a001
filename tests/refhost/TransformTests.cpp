// SPDX-License-Identifier: MIT
// Rotation orders against plain matrices, world transforms, and numbers that must pass through exactly.
#include <refhost/Transforms.h>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

using namespace refhost;

namespace {

constexpr double kQuarter = std::numbers::pi / 2;

void expectNear(const Matrix33& a, const Matrix33& b, double tolerance)
{
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(a[r][c], b[r][c], tolerance) << r << c;
    }
}

// Written out from the definition of a right-handed turn, for column vectors.
Matrix33 turn(int axis, double a)
{
    const double c = std::cos(a), s = std::sin(a);
    if (axis == 0)
        return {{{1, 0, 0}, {0, c, -s}, {0, s, c}}};
    if (axis == 1)
        return {{{c, 0, s}, {0, 1, 0}, {-s, 0, c}}};
    return {{{c, -s, 0}, {s, c, 0}, {0, 0, 1}}};
}

} // namespace

TEST(TransformTests, TheFirstAxisOfAnOrderTurnsFirst)
{
    const Vector3 angles{0.3, -1.1, 2.2};
    constexpr int kAxes[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    for (int order = 0; order < kRotationOrderCount; ++order) {
        Matrix33 expected;
        for (const int axis : kAxes[order])
            expected = turn(axis, angles[static_cast<std::size_t>(axis)]) * expected;
        expectNear(matrixFromEuler(angles, order), expected, 1e-15);
    }
    // x by a quarter turn, then z by one: y goes to z and stays there.
    const Vector3 y = matrixFromEuler({kQuarter, 0, kQuarter}, 0) * Vector3{0, 1, 0};
    EXPECT_NEAR(y[2], 1, 1e-15);
}

TEST(TransformTests, AnglesComeBackInEveryOrder)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> full(-3.1, 3.1), half(-1.5, 1.5);
    for (int order = 0; order < kRotationOrderCount; ++order) {
        for (int n = 0; n < 500; ++n) {
            Vector3 angles{full(random), full(random), full(random)};
            angles[static_cast<std::size_t>(kRotationOrders[order].second)] = half(random);
            const Vector3 back = eulerFromMatrix(matrixFromEuler(angles, order), order);
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_NEAR(back[i], angles[i], 1e-12) << "order " << order;
        }
    }
}

TEST(TransformTests, AtAQuarterTurnTheThirdAngleIsZeroAndTheRotationTheSame)
{
    for (int order = 0; order < kRotationOrderCount; ++order) {
        for (const double middle : {kQuarter, -kQuarter}) {
            Vector3 angles{0.4, 0.4, 0.4};
            angles[static_cast<std::size_t>(kRotationOrders[order].second)] = middle;
            const Matrix33 m = matrixFromEuler(angles, order);
            const Vector3 back = eulerFromMatrix(m, order);
            EXPECT_EQ(back[static_cast<std::size_t>(kRotationOrders[order].third)], 0);
            expectNear(matrixFromEuler(back, order), m, 1e-14);
        }
    }
}

TEST(TransformTests, AnyRotationComesBackThroughAngles)
{
    std::mt19937 random(11);
    std::uniform_real_distribution<double> one(-1, 1);
    const auto almost = [&](const Matrix33& m, double noise, const Vector3& scale) {
        Matrix33 out = m;
        for (int r = 0; r < 3; ++r) {
            for (int c = 0; c < 3; ++c)
                out[r][c] = (m[r][c] + noise * one(random)) * scale[static_cast<std::size_t>(c)];
        }
        return out;
    };
    // Quarter turns about every axis, then turns by chance, each as a computation or a file would give it.
    for (int n = 0; n < 128; ++n) {
        Vector3 angles{kQuarter * (n & 3), kQuarter * (n >> 2 & 3), kQuarter * (n >> 4 & 3)};
        for (double& angle : angles)
            angle = n < 64 ? angle : 4 * one(random);
        for (const double noise : {0.0, 1e-16, 1e-15, 3e-15, 1e-14, 1e-12, 1e-10, 1e-7, 1e-5, 1e-3}) {
            for (int order = 0; order < kRotationOrderCount; ++order) {
                const Matrix33 wanted = matrixFromEuler(angles, (order + n) % kRotationOrderCount);
                const Matrix33 given = almost(wanted, noise, n % 3 ? Vector3{1, 1, 1} : Vector3{2, 0.1, 7});
                expectNear(matrixFromEuler(eulerFromMatrix(given, order), order), wanted, 8 * noise + 1e-12);
            }
        }
    }
}

TEST(TransformTests, NumbersAtRestPassThroughBitForBit)
{
    const LocalParts root{.position = {1.25, -0.0, 0.1}};
    const Matrix34 local = localMatrix(root);
    EXPECT_EQ(local.offset, (Vector3{1.25, 0, 0.1}));
    EXPECT_EQ(local.linear, Matrix33{});
    const WorldParts parent = worldParts(root, nullptr);
    const WorldParts child =
        worldParts(LocalParts{.position = {0.5, -2, 0}, .rotation = {0.7, 0, 0}}, &parent);
    EXPECT_EQ(child.position.offset, (Vector3{1.75, -2, 0.1}));
    EXPECT_EQ(child.rotation.linear, matrixFromEuler({0.7, 0, 0}, 0));
    for (const Matrix34* m : {&local, &parent.rotation, &child.scale, &child.position}) {
        for (const auto& row : m->linear.m) {
            for (const double x : row)
                EXPECT_FALSE(x == 0 && std::signbit(x));
        }
        for (const double x : m->offset)
            EXPECT_FALSE(x == 0 && std::signbit(x));
    }
}

TEST(TransformTests, TheWorldMatrixIsComposedOfItsThreeParts)
{
    const LocalParts upper{.position = {1, 2, 3}, .rotation = {0, 0, kQuarter}, .scale = {2, 2, 2}};
    const LocalParts lower{
        .position = {1, 0, 0}, .rotation = {0.2, -0.4, 0.6}, .scale = {3, 1, 1}, .order = 4};
    const WorldParts parent = worldParts(upper, nullptr);
    const WorldParts child = worldParts(lower, &parent);
    // Two units along the parent's x, which points to world y.
    EXPECT_NEAR(child.position.offset[0], 1, 1e-15);
    EXPECT_NEAR(child.position.offset[1], 4, 1e-15);
    EXPECT_EQ(child.position.linear, Matrix33{});
    EXPECT_EQ(child.scale.linear[0][0], 6);
    EXPECT_EQ(child.scale.linear[1][1], 2);
    expectNear(child.rotation.linear, turn(2, kQuarter) * matrixFromEuler(lower.rotation, 4), 1e-15);
    // With a uniform scale above, the parts say the same as the product of the local matrices.
    const Matrix34 product = localMatrix(upper) * localMatrix(lower), world = worldMatrix(child);
    expectNear(world.linear, product.linear, 1e-14);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(world.offset[i], product.offset[i], 1e-14);
}

TEST(TransformTests, DecomposingKeepsRotationAndScaleApart)
{
    for (const Vector3& scale : {Vector3{2, 3, 4}, Vector3{-1, 1, 1}, Vector3{1e-8, 1, 1e8}}) {
        const LocalParts parts{.position = {5, 6, 7}, .rotation = {0.3, 0.5, -2}, .scale = scale, .order = 3};
        const Decomposition apart = decompose(localMatrix(parts));
        EXPECT_EQ(apart.position, parts.position);
        expectNear(apart.rotation, matrixFromEuler(parts.rotation, 3), 1e-14);
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(apart.scale[i] / scale[i], 1, 1e-14);
    }
    // Flattened axes still give a rotation.
    for (int zeros = 1; zeros < 8; ++zeros) {
        Matrix34 flat;
        flat.linear = matrixFromEuler({1, 2, 3}, 0);
        for (int c = 0; c < 3; ++c) {
            for (int r = 0; zeros >> c & 1 && r < 3; ++r)
                flat.linear[r][c] = 0;
        }
        const Matrix33 rotation = decompose(flat).rotation;
        expectNear(rotation * transposed(rotation), Matrix33{}, 1e-14);
        EXPECT_NEAR(determinant(rotation), 1, 1e-14);
    }
}

TEST(TransformTests, InverseUndoesTheTransformAndRefusesFlatOnes)
{
    const Matrix34 m = localMatrix({.position = {5, 6, 7}, .rotation = {0.3, 0.5, -2}, .scale = {2, 3, -4}});
    Matrix34 inverse;
    ASSERT_TRUE(invert(m, inverse));
    const Matrix34 round = m * inverse;
    expectNear(round.linear, Matrix33{}, 1e-14);
    for (const double x : round.offset)
        EXPECT_NEAR(x, 0, 1e-14);
    const Matrix34 before = inverse;
    EXPECT_FALSE(invert(localMatrix({.scale = {1, 0, 1}}), inverse));
    EXPECT_EQ(inverse, before);
}
