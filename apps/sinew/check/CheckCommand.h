// SPDX-License-Identifier: MIT
// `sinew check`: whether a built module keeps the contract of plug-in and host.
#pragma once

#include <string>
#include <vector>

namespace app {

struct CheckOptions {
    std::string module; ///< file; empty: the plug-in that belongs to this program
    std::vector<std::string> only; ///< names of checks; empty: all
    bool list = false; ///< name the checks and run none
    bool inProcess = false; ///< run in this process, where a crash ends the program
    bool json = false;
    int seconds = 60; ///< that one check may take
    int passedTo = -1; ///< in the process of one check: the file descriptor that is told when it passed
};

/// Runs the checks, each in a process of its own. kExitMissed when one fails. Throws BadInput for a file that
/// is no module.
int runCheck(const CheckOptions& options);

} // namespace app
