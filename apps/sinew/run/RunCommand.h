// SPDX-License-Identifier: MIT
// `sinew run`: a script of host and rig commands, without a window.
#pragma once

#include <string>

namespace app {

struct RunOptions {
    std::string script; ///< a file, or `-` for the standard input
    std::string module; ///< empty: the plug-in of this program
    bool noModule = false;
    bool keepGoing = false; ///< go on behind a line that failed
    bool json = false;
    bool echo = false; ///< write each line before what it prints
};

/// Runs the script in a scene of its own. kExitBadInput when a line failed.
int runScript(const RunOptions& options);

} // namespace app
