// SPDX-License-Identifier: MIT
// Puts the report into JSON fields.
#include "report/TrackReportJson.h"

#include <algorithm>

namespace app {

namespace {

Json distanceJson(const TrackReport& report, const Spread& spread)
{
    return {{"mean", spread.mean},
            {"p95", spread.p95},
            {"worst", spread.worst},
            {"worst_frame", spread.worstFrame},
            {"mean_percent", report.percent(spread.mean)},
            {"p95_percent", report.percent(spread.p95)},
            {"worst_percent", report.percent(spread.worst)}};
}

Json spreadJson(const Spread& spread)
{
    return {{"mean", spread.mean},
            {"p95", spread.p95},
            {"worst", spread.worst},
            {"worst_frame", spread.worstFrame}};
}

Json goalsJson(const TrackReport& report)
{
    Json goals = Json::array();
    for (const GoalReport& goal : report.goals) {
        Json entry = {{"joint", goal.joint},
                      {"role", goal.role.empty() ? Json(nullptr) : Json(goal.role)},
                      {"position", goal.position},
                      {"rotation", goal.rotation}};
        entry["residual"] = goal.position ? distanceJson(report, goal.distance) : Json(nullptr);
        entry["degrees"] = goal.rotation ? spreadJson(goal.degrees) : Json(nullptr);
        goals.push_back(std::move(entry));
    }
    return goals;
}

Json stepJson(const TrackReport& report, const StepReport& step)
{
    if (report.frames.size() < 2)
        return nullptr;
    return {{"degrees", step.degrees}, {"frame", step.frame}, {"joint", step.joint}};
}

Json residualJson(const TrackReport& report)
{
    if (!report.hasPositionGoals())
        return nullptr;
    Json residual = distanceJson(report, report.distance);
    residual["worst_joint"] = report.worstGoal;
    return residual;
}

} // namespace

Json directionsJson(const TrackReport& report)
{
    Json directions = Json::array();
    for (const DirectionReport& direction : report.directions)
        directions.push_back({{"name", direction.name}, {"degrees", spreadJson(direction.degrees)}});
    return directions;
}

Json trackReportJson(const TrackReport& report)
{
    const auto count = static_cast<double>(report.frames.size());
    Json diverged = Json::array();
    for (const auto& [first, last] : report.diverged)
        diverged.push_back({first, last});
    Json solve = spreadJson(report.solveSeconds);
    solve["per_second"] = 1 / std::max(report.solveSeconds.mean, 1e-9);
    return {
        {"input", report.input},
        {"output", report.output},
        {"report", report.htmlFile.empty() ? Json(nullptr) : Json(report.htmlFile)},
        {"frames",
         {{"first", report.firstFrame},
          {"last", report.lastFrame},
          {"count", report.frames.size()},
          {"in_file", report.fileFrames},
          {"frame_time", report.frameTime}}},
        {"figure",
         {{"joint_count", report.jointCount},
          {"height", report.height},
          {"unit", report.unit},
          {"metres_per_unit", report.metresPerUnit ? Json(*report.metresPerUnit) : Json(nullptr)},
          {"up", report.up}}},
        {"settings",
         {{"steps", report.steps},
          {"tolerance", report.tolerance},
          {"precision", report.precision},
          {"pull", report.pull},
          {"translate_root", report.translateRoot},
          {"from_rest", report.fromRest}}},
        {"goals", goalsJson(report)},
        {"residual", residualJson(report)},
        {"joint_step",
         {{"source", stepJson(report, report.sourceStep)}, {"solved", stepJson(report, report.solvedStep)}}},
        {"solve_seconds", std::move(solve)},
        {"iterations", spreadJson(report.iterations)},
        {"frames_out_of_steps", report.outOfSteps},
        {"diverged", {{"count", report.divergedCount}, {"ranges", std::move(diverged)}}},
        {"time",
         {{"read", report.readSeconds},
          {"solve", report.solveAllSeconds},
          {"write", report.writeSeconds},
          {"total", report.totalSeconds},
          {"frames_per_second", count / std::max(report.totalSeconds, 1e-9)}}},
        {"max_mean_error", report.maxMeanError ? Json(*report.maxMeanError) : Json(nullptr)},
        {"met", report.missed.empty()},
        {"missed", report.missed},
        {"warnings", report.warnings},
    };
}

} // namespace app
