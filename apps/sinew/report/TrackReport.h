// SPDX-License-Identifier: MIT
// The numbers of a tracked motion: how near the goals were met, how smooth the joints moved, how long it
// took.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace app {

/// Mean, 95th percentile and worst of a figure over the frames; frames are numbered as in the source file.
struct Spread {
    double mean = 0;
    double p95 = 0;
    double worst = 0;
    std::size_t worstFrame = 0;
};

struct GoalReport {
    std::string joint;
    std::string role;
    std::size_t jointIndex = 0;
    bool position = true;
    bool rotation = false;
    Spread distance; ///< of the joint from its goal, file units
    Spread degrees; ///< between the joint's and the goal's orientation
};

struct FrameReport {
    float meanDistance = 0; ///< over the position goals, file units
    float worstDistance = 0;
    float sourceStepDegrees = 0; ///< largest turn of any joint since the frame before; 0 in the first
    float solvedStepDegrees = 0;
    float seconds = 0; ///< of the solve alone
    std::uint32_t iterations = 0; ///< of the solve, over all figures of the file
    bool diverged = false;
};

struct StepReport {
    double degrees = 0;
    std::size_t frame = 0;
    std::string joint;
};

/// How far apart a stretch of both figures points.
struct DirectionReport {
    std::string name; ///< `left upper arm` and the like
    Spread degrees;
};

/// World positions of all joints, End Sites included, for every `stride`th frame: three floats a joint.
struct TrackAnimation {
    std::size_t stride = 1;
    std::vector<std::string> names; ///< empty for End Sites
    std::vector<int> parents;
    std::vector<float> source;
    std::vector<float> solved;
};

struct TrackReport {
    std::string input;
    std::string output;
    std::string htmlFile; ///< empty when none is written
    std::size_t firstFrame = 0;
    std::size_t lastFrame = 0;
    std::size_t fileFrames = 0;
    double frameTime = 0; ///< seconds
    std::size_t jointCount = 0; ///< without End Sites
    double height = 0; ///< file units
    std::string unit;
    std::optional<double> metresPerUnit;
    std::string up; ///< `+Y` and the like
    std::uint32_t steps = 0;
    double tolerance = 0, precision = 0, pull = 0;
    bool translateRoot = true, fromRest = false;

    std::vector<GoalReport> goals;
    Spread distance; ///< over all position goals and frames
    std::string worstGoal; ///< joint of the worst distance
    Spread solveSeconds;
    Spread iterations;
    std::size_t outOfSteps = 0; ///< frames whose solve used all its steps
    std::vector<FrameReport> frames;
    StepReport sourceStep, solvedStep;
    std::vector<std::pair<std::size_t, std::size_t>> diverged; ///< ranges of frames, both ends included
    std::size_t divergedCount = 0;
    double readSeconds = 0, solveAllSeconds = 0, writeSeconds = 0, totalSeconds = 0;

    std::optional<double> maxMeanError; ///< file units, as the user stated
    std::vector<std::string> missed; ///< sentences about limits of the user that were missed
    std::vector<std::string> warnings;
    std::string title; ///< of the page, in the place of `tracked motion`
    std::vector<DirectionReport> directions; ///< of a retargeted motion
    std::vector<std::pair<std::string, std::string>> facts; ///< further lines of the page: name and text
    TrackAnimation animation; ///< empty unless asked for

    bool hasPositionGoals() const;
    double percent(double length) const { return 100 * length / height; }
};

/// What is measured while the frames are solved: per goal and frame a distance and an angle, by frame then
/// goal.
struct GoalSamples {
    std::vector<float> distances;
    std::vector<float> degrees;
};

/// Fills what follows from the frames and samples: spreads, ranges, worst frames.
void summarise(TrackReport& report, const GoalSamples& samples);

/// Mean, 95th percentile (nearest rank) and worst of `values`, whose first is of frame `firstFrame`.
Spread spreadOf(std::vector<float> values, std::size_t firstFrame);

/// The report as a table for the terminal.
std::string trackReportText(const TrackReport& report);

/// `3 to 8, 100`: at most `most` ranges, then how many there are further.
std::string rangesText(const std::vector<std::pair<std::size_t, std::size_t>>& ranges, std::size_t most);

} // namespace app
