// SPDX-License-Identifier: MIT
// The report as text and JSON, and whether it meets what the user asked for.
#include "retarget/RetargetReport.h"

#include "report/TrackReportJson.h"
#include "shared/Console.h"
#include "shared/TextTable.h"

#include <fmt/format.h>

#include <algorithm>

namespace app {

namespace {

// Degrees: where the source all but stands still, a ratio to its steps would tell of noise.
constexpr double kLeastStep = 0.5;

std::string percent(double share) { return rounded(100 * share, 2) + " %"; }

TextTable spreadTable(const char* head)
{
    constexpr auto kRight = TextTable::Align::Right;
    return TextTable({{head, TextTable::Align::Left, 16},
                      {"mean", kRight, 7},
                      {"p95", kRight, 7},
                      {"worst", kRight, 7},
                      {"frame", kRight, 6}});
}

void addRow(TextTable& table, const std::string& name, const Spread& spread, double factor)
{
    table.add({name, rounded(factor * spread.mean, 3), rounded(factor * spread.p95, 3),
               rounded(factor * spread.worst, 3), std::to_string(spread.worstFrame)});
}

std::string footText(const FootReport& foot)
{
    if (foot.stances == 0)
        return "never stands in the source";
    return fmt::format(
        "{} stances, {} frames; slide {} (source {}, worst {}), below the floor {} (source {})", foot.stances,
        foot.frames, percent(foot.targetSlide), percent(foot.sourceSlide), percent(foot.worstTargetSlide),
        percent(foot.targetDepth), percent(foot.sourceDepth));
}

std::string limitsText(const RetargetReport& report)
{
    return report.limitedJoints == 0
        ? "the target's joints have no limits"
        : fmt::format("{} of {} joints, in frames together", report.limitsExceeded, report.limitedJoints);
}

} // namespace

double RetargetReport::stepRatio() const
{
    return motion.solvedStep.degrees / std::max(motion.sourceStep.degrees, kLeastStep);
}

void judge(RetargetReport& report)
{
    const RetargetLimits& limits = report.limits;
    const auto check = [&](std::optional<double> limit, double value, const std::string& what,
                           const char* unit) {
        if (limit && !(value <= *limit))
            report.motion.missed.push_back(fmt::format("{}: {}{} is above the limit of {}{}", what,
                                                       rounded(value, 3), unit, rounded(*limit, 3), unit));
    };
    for (const DirectionReport& direction : report.motion.directions) {
        check(limits.directionMean, direction.degrees.mean, direction.name + ", mean direction", " degrees");
        check(limits.directionWorst, direction.degrees.worst, direction.name + ", worst direction",
              " degrees");
    }
    for (const GoalReport& goal : report.motion.goals) {
        const double mean = report.motion.percent(goal.distance.mean);
        if (goal.role.ends_with("foot"))
            check(limits.footMean, mean, goal.role + ", mean residual", " %");
        if (goal.role.ends_with("hand"))
            check(limits.handMean, mean, goal.role + ", mean residual", " %");
    }
    check(limits.stepRatio, report.stepRatio(), "largest joint step to the source's", "");

    auto& facts = report.motion.facts;
    facts.emplace_back("pairs",
                       fmt::format("{} joints; legs {} times, arms {} times as long as the source's",
                                   report.pairCount, rounded(report.legScale, 3),
                                   rounded(report.armScale, 3)));
    for (const FootReport& foot : report.feet)
        facts.emplace_back(foot.name, footText(foot));
    facts.emplace_back("limits", limitsText(report));
    for (const std::string& missed : report.motion.missed)
        facts.emplace_back("missed", missed);
}

std::string retargetReportText(const RetargetReport& report)
{
    const TrackReport& motion = report.motion;
    std::string text = fmt::format("{} + {} -> {}\n", printable(motion.input), printable(report.target),
                                   printable(motion.output));
    text += fmt::format(
        "  figure   {} joints driven by {} pairs; legs {} times, arms {} times as long as the "
        "source's\n",
        motion.jointCount, report.pairCount, rounded(report.legScale, 3), rounded(report.armScale, 3));
    text += fmt::format("  frames   {}, {} s each\n\n", motion.frames.size(), rounded(motion.frameTime));
    text += report.mapTable + "\n";
    TextTable goals = spreadTable("goal (% height)"), directions = spreadTable("direction (deg)");
    for (const GoalReport& goal : motion.goals)
        addRow(goals, goal.role, goal.distance, motion.percent(1));
    for (const DirectionReport& direction : motion.directions)
        addRow(directions, direction.name, direction.degrees, 1);
    text += goals.text() + "\n" + directions.text() + "\n";
    for (const FootReport& foot : report.feet)
        text += fmt::format("  {:<16} {}\n", foot.name, footText(foot));
    if (motion.frames.size() > 1)
        text += fmt::format(
            "  step     source {} degrees ('{}', frame {}), target {} degrees ('{}', frame {}): "
            "{} times\n",
            rounded(motion.sourceStep.degrees, 3), printable(motion.sourceStep.joint),
            motion.sourceStep.frame, rounded(motion.solvedStep.degrees, 3),
            printable(motion.solvedStep.joint), motion.solvedStep.frame, rounded(report.stepRatio(), 3));
    text += fmt::format("  limits   {}\n", limitsText(report));
    text += fmt::format("  solve    {} us a frame (p95 {}, worst {} in frame {}), {:.0f} iterations\n",
                        rounded(motion.solveSeconds.mean * 1e6, 3), rounded(motion.solveSeconds.p95 * 1e6, 3),
                        rounded(motion.solveSeconds.worst * 1e6, 3), motion.solveSeconds.worstFrame,
                        motion.iterations.mean);
    if (motion.divergedCount > 0)
        text += fmt::format("  diverged {} frames\n", motion.divergedCount);
    text += fmt::format("  time     read {} s, solve and measure {} s, write {} s: {:.0f} frames a second\n",
                        rounded(motion.readSeconds, 2), rounded(motion.solveAllSeconds, 2),
                        rounded(motion.writeSeconds, 2),
                        static_cast<double>(motion.frames.size()) / std::max(motion.totalSeconds, 1e-9));
    for (const std::string& missed : motion.missed)
        text += fmt::format("  missed   {}\n", missed);
    if (!motion.htmlFile.empty())
        text += fmt::format("  report   {}\n", printable(motion.htmlFile));
    return text;
}

Json retargetReportJson(const RetargetReport& report)
{
    Json json = trackReportJson(report.motion);
    json["target"] = report.target;
    json["pairs"] = report.pairCount;
    json["scale"] = {{"legs", report.legScale}, {"arms", report.armScale}};
    json["directions"] = directionsJson(report.motion);
    Json feet = Json::array();
    for (const FootReport& foot : report.feet)
        feet.push_back({{"name", foot.name},
                        {"stances", foot.stances},
                        {"frames", foot.frames},
                        {"slide_percent",
                         {{"source", 100 * foot.sourceSlide},
                          {"target", 100 * foot.targetSlide},
                          {"worst", 100 * foot.worstTargetSlide}}},
                        {"below_floor_percent",
                         {{"source", 100 * foot.sourceDepth}, {"target", 100 * foot.targetDepth}}}});
    json["feet"] = std::move(feet);
    json["step_ratio"] = report.stepRatio();
    json["limits_exceeded"] = {{"joints_with_limits", report.limitedJoints},
                               {"count", report.limitsExceeded}};
    return json;
}

} // namespace app
