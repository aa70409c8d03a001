// SPDX-License-Identifier: MIT
// `sinew bench`: the solver's speed on this machine, with pose hashes.
#pragma once

namespace app {

struct BenchOptions {
    bool json = false;
    bool hashOnly = false; ///< only the pose hashes, a line per work
    int repeat = 5; ///< runs of each work; the fastest counts
};

/// Runs the works and prints times, hashes, convergence and stability.
int runBench(const BenchOptions& options);

} // namespace app
