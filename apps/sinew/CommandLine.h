// SPDX-License-Identifier: MIT
// The command line of `sinew`: subcommands, their options and help.
#pragma once

namespace app {

/// Runs the subcommand that the arguments name; returns the exit code (see ExitCode).
int runCommandLine(int argc, const char* const* argv);

} // namespace app
