// SPDX-License-Identifier: MIT
// The report for the terminal.
#include "report/TrackReport.h"

#include "shared/Console.h"
#include "shared/TextTable.h"

#include <fmt/format.h>

#include <algorithm>

namespace app {

namespace {

std::string micros(double seconds) { return rounded(seconds * 1e6, 3); }

/// A distance and its share of the figure's height.
std::string distanceText(const TrackReport& report, double distance)
{
    return fmt::format("{} {:>9}", rounded(distance, 3), rounded(report.percent(distance), 2) + " %");
}

std::string goalTable(const TrackReport& report)
{
    constexpr auto kRight = TextTable::Align::Right;
    constexpr std::size_t kDistance = 20;
    TextTable table({{"goal"},
                     {"joint"},
                     {"mean", kRight, kDistance},
                     {"p95", kRight, kDistance},
                     {"worst", kRight, kDistance},
                     {"frame", kRight, 6}});
    const auto add = [&](const std::string& role, const std::string& joint, const Spread& spread, auto text) {
        table.add({role, printable(joint), text(spread.mean), text(spread.p95), text(spread.worst),
                   std::to_string(spread.worstFrame)});
    };
    const auto distance = [&](double value) { return distanceText(report, value); };
    const auto degrees = [](double value) { return rounded(value, 3) + " deg"; };
    for (const GoalReport& goal : report.goals) {
        if (goal.position)
            add(goal.role, goal.joint, goal.distance, distance);
        if (goal.rotation)
            add(goal.role, goal.joint, goal.degrees, degrees);
    }
    if (report.hasPositionGoals() && report.goals.size() > 1)
        add("all", "", report.distance, distance);
    return "\n" + table.text() + "\n";
}

std::string stepText(const StepReport& step)
{
    return fmt::format("{} degrees ('{}', frame {})", rounded(step.degrees, 3), printable(step.joint),
                       step.frame);
}

} // namespace

std::string rangesText(const std::vector<std::pair<std::size_t, std::size_t>>& ranges, std::size_t most)
{
    std::string text;
    for (std::size_t i = 0; i < std::min(most, ranges.size()); ++i) {
        const auto& [first, last] = ranges[i];
        text += fmt::format("{}{}", i == 0 ? "" : ", ",
                            first == last ? fmt::format("{}", first) : fmt::format("{} to {}", first, last));
    }
    if (ranges.size() > most)
        text += fmt::format(" and {} further ranges", ranges.size() - most);
    return text;
}

std::string trackReportText(const TrackReport& report)
{
    const std::size_t count = report.frames.size();
    std::string text = fmt::format("{} -> {}\n", printable(report.input), printable(report.output));
    text += fmt::format("  figure   {} joints, {} units tall", report.jointCount, rounded(report.height));
    if (report.metresPerUnit)
        text += fmt::format(" ({} m in {})", rounded(report.height * *report.metresPerUnit, 3),
                            printable(report.unit));
    text += fmt::format(", {} up\n", report.up);
    text += fmt::format("  frames   {} to {} of {}, {} s each\n", report.firstFrame, report.lastFrame,
                        report.fileFrames, rounded(report.frameTime));
    text += goalTable(report);
    if (count > 1)
        text += fmt::format("  step     source {}\n           solved {}\n", stepText(report.sourceStep),
                            stepText(report.solvedStep));
    text += fmt::format("  solve    {} us a frame (p95 {}, worst {} in frame {}), {:.0f} solves a second\n",
                        micros(report.solveSeconds.mean), micros(report.solveSeconds.p95),
                        micros(report.solveSeconds.worst), report.solveSeconds.worstFrame,
                        1 / std::max(report.solveSeconds.mean, 1e-9));
    text += fmt::format("           {:.0f} iterations a frame (p95 {:.0f}, worst {:.0f} in frame {})\n",
                        report.iterations.mean, report.iterations.p95, report.iterations.worst,
                        report.iterations.worstFrame);
    if (report.outOfSteps > 0)
        text += fmt::format("           {} of {} frames ran out of steps; --steps gives them more\n",
                            report.outOfSteps, count);
    text += report.divergedCount == 0 ? "  diverged no frame\n"
                                      : fmt::format("  diverged {} of {} frames: {}\n", report.divergedCount,
                                                    count, rangesText(report.diverged, 8));
    text += fmt::format("  time     read {} s, solve and measure {} s, write {} s: {:.0f} frames a second\n",
                        rounded(report.readSeconds, 2), rounded(report.solveAllSeconds, 2),
                        rounded(report.writeSeconds, 2),
                        static_cast<double>(count) / std::max(report.totalSeconds, 1e-9));
    if (report.maxMeanError)
        text += fmt::format("  wanted   a mean of at most {} ({} %): {}\n", rounded(*report.maxMeanError),
                            rounded(report.percent(*report.maxMeanError)),
                            report.missed.empty() ? "met" : "missed");
    if (!report.htmlFile.empty())
        text += fmt::format("  report   {}\n", printable(report.htmlFile));
    return text;
}

} // namespace app
