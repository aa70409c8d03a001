// SPDX-License-Identifier: MIT
// `sinew track`: solves a captured motion from the motion of a few of its joints.
#pragma once

#include "shared/Batch.h"
#include "shared/MotionFile.h"
#include "track/TrackSolver.h"

#include <optional>
#include <string>
#include <vector>

namespace app {

struct TrackOptions {
    std::vector<std::string> files; ///< one or several
    MotionOptions motion; ///< its file is the one that is solved
    std::string output; ///< a file, `-`, or for several a folder
    BatchOptions batch; ///< for several
    std::string htmlFile, jsonFile;
    std::vector<std::string> goals; ///< JOINT or JOINT:pos|rot|both; empty: hands, feet and head
    TrackSettings settings;
    std::string frames; ///< `A:B`, both included, from 0; empty: all
    std::string maxMeanError; ///< `0.1%` of the figure's height, or a length in file units; empty: none
    std::string animation; ///< of glTF: a name or an index from 0; empty: the first
    std::optional<double> rate; ///< of glTF: frames a second; without: as the animation's keys come
    bool json = false;
};

/// Solves, writes the motion and the reports; throws BadInput.
int runTrack(const TrackOptions& options);

struct FrameRange {
    std::size_t first = 0;
    std::size_t last = 0; ///< included
};

/// Reads `A:B`; either end may be left out. Throws BadInput.
FrameRange parseFrames(const std::string& text, std::size_t frameCount);

/// Reads `0.1%` of `height` or a length; nothing for an empty text. Throws BadInput.
std::optional<double> parseMaxMeanError(const std::string& text, double height);

} // namespace app
