// SPDX-License-Identifier: MIT
// Splits each stretch between two times until linear angles follow the rotation closely enough.
#include "files/RotationCurve.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace refhost {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kTolerance =
    0.008 * kPi / 180; // radians; below the promise, for points that aren't looked at
constexpr double kShortest = 1e-4; // seconds: no denser keys, whatever a file asks for
constexpr double kProbes[] = {0.5, 0.25, 0.75};

double angleBetween(const Matrix33& a, const Matrix33& b)
{
    // From the difference of the matrices, which is exact for small angles: its norm is 2 sqrt(2) sin(a/2).
    double sum = 0;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            sum += (a[row][column] - b[row][column]) * (a[row][column] - b[row][column]);
    return 2 * std::asin(std::min(1.0, std::sqrt(sum / 8)));
}

double wrappedTo(double angle, double near)
{
    return angle - 2 * kPi * std::round((angle - near) / (2 * kPi));
}

/// Of the two triples that say the same rotation, with whole turns, the one nearest to `near`.
Vector3 nearest(const Vector3& angles, int order, const Vector3& near)
{
    const RotationOrder& axes = rotationOrder(order);
    Vector3 best{}, other = angles;
    const auto at = [](Vector3& v, int axis) -> double& { return v[static_cast<std::size_t>(axis)]; };
    at(other, axes.first) += kPi;
    at(other, axes.second) = kPi - at(other, axes.second);
    at(other, axes.third) += kPi;
    double least = 1e300;
    for (const Vector3& candidate : {angles, other}) {
        Vector3 wrapped{};
        double distance = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            wrapped[axis] = wrappedTo(candidate[axis], near[axis]);
            distance += std::abs(wrapped[axis] - near[axis]);
        }
        if (distance < least) {
            least = distance;
            best = wrapped;
        }
    }
    return best;
}

struct Sample {
    double time = 0;
    Matrix33 rotation;
    Vector3 angles{};
};

class CurveMaker {
public:
    CurveMaker(const RotationAt& rotation, int order) : m_Rotation(rotation), m_Order(order) { }

    Sample at(double time, const Vector3& near) const
    {
        const Matrix33 rotation = matrixFromQuaternion(m_Rotation(time));
        return {time, rotation, nearest(eulerFromMatrix(rotation, m_Order), m_Order, near)};
    }

    /// Everything behind `from` up to and with `to`, whose angles may change to follow on.
    void split(const Sample& from, const Sample& to, std::vector<Sample>& out) const
    {
        std::vector<Sample> ahead{to};
        Sample here = from;
        while (!ahead.empty()) {
            Sample& next = ahead.back();
            next.angles = nearest(next.angles, m_Order, here.angles);
            if (next.time - here.time > kShortest && !isStraight(here, next)) {
                const Sample middle = at((here.time + next.time) / 2, here.angles);
                ahead.push_back(middle);
                continue;
            }
            here = next;
            out.push_back(here);
            ahead.pop_back();
        }
    }

private:
    bool isStraight(const Sample& a, const Sample& b) const
    {
        return std::all_of(std::begin(kProbes), std::end(kProbes), [&](double share) {
            Vector3 angles{};
            for (std::size_t axis = 0; axis < 3; ++axis)
                angles[axis] = a.angles[axis] + (b.angles[axis] - a.angles[axis]) * share;
            const Matrix33 wanted = matrixFromQuaternion(m_Rotation(a.time + (b.time - a.time) * share));
            return angleBetween(matrixFromEuler(angles, m_Order), wanted) < kTolerance;
        });
    }

    const RotationAt& m_Rotation;
    int m_Order;
};

/// The order whose middle angle stays farthest from a quarter turn.
int bestOrder(const std::vector<Matrix33>& rotations)
{
    int best = 0;
    double bestWorst = 10;
    for (int order = 0; order < kRotationOrderCount; ++order) {
        const auto middle = static_cast<std::size_t>(rotationOrder(order).second);
        double worst = 0;
        for (const Matrix33& rotation : rotations)
            worst = std::max(worst, std::abs(eulerFromMatrix(rotation, order)[middle]));
        if (worst < bestWorst - 1e-6) {
            bestWorst = worst;
            best = order;
        }
    }
    return best;
}

} // namespace

RotationCurve rotationCurve(const std::vector<double>& times, const RotationAt& rotation, bool step)
{
    RotationCurve curve;
    if (times.empty())
        return curve;
    std::vector<Matrix33> rotations;
    for (const double time : times)
        rotations.push_back(matrixFromQuaternion(rotation(time)));
    curve.order = bestOrder(rotations);
    const CurveMaker maker(rotation, curve.order);
    std::vector<Sample> samples{maker.at(times.front(), {})};
    for (std::size_t i = 1; i < times.size(); ++i) {
        const Sample next = maker.at(times[i], samples.back().angles);
        if (step)
            samples.push_back(next);
        else
            maker.split(Sample(samples.back()), next, samples);
    }
    for (const Sample& sample : samples)
        for (std::size_t axis = 0; axis < 3; ++axis)
            curve.keys[axis].push_back(
                {sample.time, sample.angles[axis], 0, 0, step ? Interpolation::Step : Interpolation::Linear});
    return curve;
}

} // namespace refhost
