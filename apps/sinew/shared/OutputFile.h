// SPDX-License-Identifier: MIT
// Files that subcommands write.
#pragma once

#include <string>
#include <string_view>

namespace app {

/// Whether two names mean one file, also where it is not there yet.
bool sameFile(const std::string& a, const std::string& b);

/// Says before a long run, not after it, that a file could never be written: throws BadInput.
void checkOutputPlace(const char* option, const std::string& path);

/// Writes the file by way of a temporary name; throws BadInput.
void writeOutput(const std::string& path, std::string_view bytes);

} // namespace app
