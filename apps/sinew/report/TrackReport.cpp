// SPDX-License-Identifier: MIT
// Summarises the measurements of a tracked motion.
#include "report/TrackReport.h"

#include "shared/Console.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace app {

bool TrackReport::hasPositionGoals() const
{
    return std::any_of(goals.begin(), goals.end(), [](const GoalReport& goal) { return goal.position; });
}

Spread spreadOf(std::vector<float> values, std::size_t firstFrame)
{
    Spread spread;
    if (values.empty())
        return spread;
    double sum = 0;
    for (const float value : values)
        sum += static_cast<double>(value);
    spread.mean = sum / static_cast<double>(values.size());
    const auto worst = std::max_element(values.begin(), values.end());
    spread.worst = static_cast<double>(*worst);
    spread.worstFrame = firstFrame + static_cast<std::size_t>(worst - values.begin());
    const auto rank = static_cast<std::size_t>(std::ceil(0.95 * static_cast<double>(values.size()))) - 1;
    const auto p95 = values.begin() + static_cast<std::ptrdiff_t>(rank);
    std::nth_element(values.begin(), p95, values.end());
    spread.p95 = static_cast<double>(*p95);
    return spread;
}

namespace {

std::vector<float> column(const std::vector<float>& samples, std::size_t goal, std::size_t goalCount)
{
    std::vector<float> values;
    values.reserve(samples.size() / goalCount);
    for (std::size_t i = goal; i < samples.size(); i += goalCount)
        values.push_back(samples[i]);
    return values;
}

} // namespace

void summarise(TrackReport& report, const GoalSamples& samples)
{
    std::vector<float> all;
    for (std::size_t g = 0; g < report.goals.size(); ++g) {
        GoalReport& goal = report.goals[g];
        if (goal.position) {
            const std::vector<float> distances = column(samples.distances, g, report.goals.size());
            goal.distance = spreadOf(distances, report.firstFrame);
            if (all.empty() || goal.distance.worst > report.distance.worst) {
                report.distance.worst = goal.distance.worst;
                report.distance.worstFrame = goal.distance.worstFrame;
                report.worstGoal = goal.joint;
            }
            all.insert(all.end(), distances.begin(), distances.end());
        }
        if (goal.rotation)
            goal.degrees = spreadOf(column(samples.degrees, g, report.goals.size()), report.firstFrame);
    }
    const Spread together = spreadOf(std::move(all), 0);
    report.distance.mean = together.mean;
    report.distance.p95 = together.p95;

    std::vector<float> seconds, iterations;
    for (std::size_t i = 0; i < report.frames.size(); ++i) {
        seconds.push_back(report.frames[i].seconds);
        iterations.push_back(static_cast<float>(report.frames[i].iterations));
        report.outOfSteps += report.frames[i].iterations >= report.steps;
        if (!report.frames[i].diverged)
            continue;
        const std::size_t frame = report.firstFrame + i;
        ++report.divergedCount;
        if (!report.diverged.empty() && report.diverged.back().second + 1 == frame)
            report.diverged.back().second = frame;
        else
            report.diverged.emplace_back(frame, frame);
    }
    report.solveSeconds = spreadOf(std::move(seconds), report.firstFrame);
    report.iterations = spreadOf(std::move(iterations), report.firstFrame);
    if (report.maxMeanError && !(report.distance.mean <= *report.maxMeanError))
        report.missed.push_back(
            fmt::format("mean residual: {} ({} %) is above the limit of {} ({} %)",
                        rounded(report.distance.mean, 3), rounded(report.percent(report.distance.mean), 3),
                        rounded(*report.maxMeanError, 3), rounded(report.percent(*report.maxMeanError), 3)));
}

} // namespace app
