// SPDX-License-Identifier: MIT
// One subcommand for many files: each in a process of its own, into a folder that records what is done.
#pragma once

#include "shared/Files.h"
#include "shared/Json.h"
#include "shared/TextTable.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace app {

/// What the user says about many files.
struct BatchOptions {
    std::size_t jobs = 0; ///< at a time; 0: one for each core
    bool again = false; ///< also those that are done
    std::vector<std::string> words; ///< all other options that were given, to be given to each
};

inline constexpr std::size_t kMostJobs = 256;

struct Batch {
    std::string subcommand;
    std::vector<std::string> sources;
    std::vector<NamedFile> shared; ///< files that every clip is made from too; the first is its second file
    std::string folder; ///< for the results
    BatchOptions options;
    bool json = false; ///< the summary as JSON
    std::vector<TextTable::Column> columns; ///< of the summary, between state and message
    std::function<std::vector<std::string>(const Json& report)>
        cells; ///< of those columns; may throw what Json throws
};

/// Columns for the frames and the mean residual of a report, and their cells.
std::vector<TextTable::Column> residualColumns();
std::vector<std::string> residualCells(const Json& report);

/// Runs the subcommand for every source that isn't done and unchanged, prints a summary, and returns the exit
/// code: 2 when a source could not be used, 1 when a limit was missed. A module keeps one context for a whole
/// process, hence a process for each. Throws BadInput.
int runBatch(const Batch& batch);

} // namespace app
