// SPDX-License-Identifier: MIT
// Reading a whole file and replacing one safely, shared by every reader and writer of this library.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace formats {

/// Why a file could not be read, as a sentence that names the file and says what to do.
struct FileError {
    std::string reason;
};

/// The bytes of a file, or why they cannot be had; a folder, a missing file and one above 1 GiB are refused.
std::variant<std::string, FileError> readWholeFile(const std::string& path);

/// The same of what is piped into the program.
std::variant<std::string, FileError> readStandardInput();

/// Writes `text` to a temporary name in the folder of `path` and renames it, so that the old file stays whole
/// when anything fails (disk full, no permission). Returns nothing on success, else a sentence saying what
/// failed. A link is followed and the permissions of the old file are kept; a device or pipe is written to
/// directly.
std::optional<std::string> writeFileAtomically(const std::string& path, std::string_view text);

} // namespace formats
