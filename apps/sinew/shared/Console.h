// SPDX-License-Identifier: MIT
// What every subcommand shares towards its user: exit codes, messages and text that is safe to print.
#pragma once

#include <cstddef>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

namespace app {

enum ExitCode : int {
    kExitDone = 0,
    kExitMissed = 1, ///< done, but a threshold that the user stated was missed
    kExitBadInput = 2,
    kExitInternal = 3,
};

/// Input that cannot be used: what is wrong and what to do about it. Ends the command with kExitBadInput.
class BadInput : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The text with control characters and broken UTF-8 as `?`: names from files must not steer the terminal.
std::string printable(std::string_view text);

/// `FILE:LINE: text`, without the line where it is 0.
std::string atLine(std::string_view file, std::size_t line, std::string_view text);

/// Writes `sinew: text` and a line end to the standard error stream.
void complain(std::string_view text);

/// Writes to the standard output, or where that holds an output file, to the standard error stream.
void print(std::string_view text, std::FILE* stream = stdout);

/// A number for people: `digits` significant ones, no exponent where it can be avoided.
std::string rounded(double value, int digits = 4);

} // namespace app
