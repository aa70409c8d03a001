// SPDX-License-Identifier: MIT
// The report for the terminal.
#include "report/TrackReport.h"

#include "shared/Console.h"
#include "shared/WrittenMotion.h"

#include <fmt/format.h>

#include <algorithm>

namespace app {

namespace {

/// A column of the goal table: a figure and its share of the figure's height.
std::string distanceText(const TrackReport& report, double distance)
{
    return fmt::format("{:>10} {:>9}", rounded(distance, 3), rounded(report.percent(distance), 2) + " %");
}

std::string micros(double seconds) { return rounded(seconds * 1e6, 3); }

std::string goalRow(const TrackReport& report, const std::string& role, const std::string& joint,
                    const Spread& spread)
{
    return fmt::format("  {:<14} {:<20} {} {} {} {:>7}\n", role, joint, distanceText(report, spread.mean),
                       distanceText(report, spread.p95), distanceText(report, spread.worst),
                       spread.worstFrame);
}

std::string angleRow(const std::string& role, const std::string& joint, const Spread& spread)
{
    return fmt::format("  {:<14} {:<20} {:>16} deg {:>16} deg {:>16} deg {:>7}\n", role, joint,
                       rounded(spread.mean, 3), rounded(spread.p95, 3), rounded(spread.worst, 3),
                       spread.worstFrame);
}

std::string goalTable(const TrackReport& report)
{
    std::string text = fmt::format("\n  {:<14} {:<20} {:>20} {:>20} {:>20} {:>7}\n", "goal", "joint", "mean",
                                   "p95", "worst", "frame");
    for (const GoalReport& goal : report.goals) {
        const std::string joint = printable(goal.joint);
        if (goal.position)
            text += goalRow(report, goal.role, joint, goal.distance);
        if (goal.rotation)
            text += angleRow(goal.role, joint, goal.degrees);
    }
    if (report.hasPositionGoals() && report.goals.size() > 1)
        text += goalRow(report, "all", "", report.distance);
    return text + "\n";
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
    text += fmt::format("  written  {}\n", factsText(report.written));
    if (report.maxMeanError)
        text += fmt::format("  wanted   a mean of at most {} ({} %): {}\n", rounded(*report.maxMeanError),
                            rounded(report.percent(*report.maxMeanError)), report.missed ? "missed" : "met");
    if (!report.htmlFile.empty())
        text += fmt::format("  report   {}\n", printable(report.htmlFile));
    return text;
}

} // namespace app
