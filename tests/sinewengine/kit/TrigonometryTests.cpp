// SPDX-License-Identifier: MIT
// The engine's trigonometry and power against the standard library in double precision.
#include "kit/Trigonometry.h"
#include "support/TestFigure.h"

#include <gtest/gtest.h>

#include <bit>
#include <iostream>
#include <limits>

namespace {

using namespace Sinew;
using support::uniform;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr double kPi = 3.14159265358979323846;

/// Distance of `got` from the exact value in units of the float's last place there.
double unitsOff(float got, double exact)
{
    int exponent;
    std::frexp(std::fabs(exact), &exponent);
    return std::fabs(got - exact) / std::ldexp(1.0, std::max(exponent - 24, -149));
}

struct Worst {
    double units = 0;
    float at = 0;
    void take(double u, float x)
    {
        if (!(u <= units)) {
            units = u;
            at = x;
        }
    }
};

void takeBoth(Worst& worst, float x)
{
    const SineCosine got = sineCosine(x);
    worst.take(unitsOff(got.sine, std::sin(static_cast<double>(x))), x);
    worst.take(unitsOff(got.cosine, std::cos(static_cast<double>(x))), x);
}

TEST(Trigonometry, SineAndCosineAreWithinTheirBound)
{
    Worst worst;
    // Floats of all magnitudes, then evenly spread angles, then the floats next to multiples of a quarter
    // turn, where one of the two is nearly 0 and the reduction has to be good.
    for (std::uint32_t bits = 0; bits < std::bit_cast<std::uint32_t>(1e5f); bits += 4999) {
        takeBoth(worst, std::bit_cast<float>(bits));
        takeBoth(worst, -std::bit_cast<float>(bits));
    }
    std::mt19937 random(1);
    for (const float range : {0.8f, 7.0f, 1000.0f, 1e5f})
        for (int i = 0; i < 100000; ++i)
            takeBoth(worst, uniform(random, -range, range));
    for (int k = -63600; k <= 63600; ++k) {
        const float x = static_cast<float>(k * (kPi / 2));
        takeBoth(worst, x);
        takeBoth(worst, std::nextafter(x, kInfinity));
        takeBoth(worst, static_cast<float>(k * (kPi / 2) + kPi / 4));
    }
    std::cout << "sine, cosine: worst " << worst.units << " units at " << worst.at << '\n';
    EXPECT_LE(worst.units, 0.51) << "at " << worst.at;
}

TEST(Trigonometry, SineAndCosineStayBoundedBeyondAndAnswerSpecialValues)
{
    std::mt19937 random(2);
    for (int i = 0; i < 100000; ++i) {
        const SineCosine r =
            sineCosine(std::ldexp(uniform(random, 0.5f, 1), static_cast<int>(random() % 128)));
        ASSERT_LE(std::fabs(r.sine), 1.0f);
        ASSERT_LE(std::fabs(r.cosine), 1.0f);
        ASSERT_NEAR(r.sine * r.sine + r.cosine * r.cosine, 1.0f, 1e-6f);
    }
    EXPECT_EQ(sineCosine(0.0f).sine, 0.0f);
    EXPECT_EQ(sineCosine(0.0f).cosine, 1.0f);
    for (const float x : {kNan, kInfinity, -kInfinity})
        EXPECT_TRUE(std::isnan(sineCosine(x).sine) && std::isnan(sineCosine(x).cosine));
}

TEST(Trigonometry, ArcTangentIsWithinItsBound)
{
    Worst worst;
    std::mt19937 random(3);
    for (int i = 0; i < 600000; ++i) {
        float y = uniform(random, -1, 1), x = uniform(random, -1, 1);
        if (i % 3 == 1)
            y = std::ldexp(y, -static_cast<int>(random() % 140)); // near the x axis, down to the smallest
        if (i % 3 == 2)
            x = std::ldexp(x, -static_cast<int>(random() % 60));
        if (x != 0 || y != 0)
            worst.take(
                unitsOff(arcTangent2(y, x), std::atan2(static_cast<double>(y), static_cast<double>(x))), y);
    }
    std::cout << "arc tangent: worst " << worst.units << " units at y = " << worst.at << '\n';
    EXPECT_LE(worst.units, 0.51) << "at y = " << worst.at;

    const float specials[] = {0.0f, -0.0f, 1.0f, -1.0f, kInfinity, -kInfinity, kNan};
    for (const float y : specials)
        for (const float x : specials) {
            const float got = arcTangent2(y, x), expected = std::atan2(y, x);
            EXPECT_TRUE(std::isnan(expected) ? std::isnan(got)
                                             : got == expected && std::signbit(got) == std::signbit(expected))
                << "atan2(" << y << ", " << x << ") = " << got;
        }
}

TEST(Power, IsWithinItsBound)
{
    std::mt19937 random(4);
    double worst = 0;
    for (int i = 0; i < 200000; ++i) {
        const double mantissa = static_cast<double>(uniform(random, 0.5f, 1));
        const double x = std::ldexp(mantissa, static_cast<int>(random() % 80) - 40);
        const double y = uniform(random, -10, 10);
        worst = std::max(worst, std::fabs(power(x, y) / std::pow(x, y) - 1));
    }
    std::cout << "power: worst relative error " << worst << '\n';
    EXPECT_LE(worst, 1e-13);
    EXPECT_EQ(power(0.0, 0.1), 0.0);
    EXPECT_TRUE(std::isnan(power(-1.0, 2.0)));
    EXPECT_TRUE(std::isnan(power(static_cast<double>(kNan), 0.1)));
}

} // namespace
