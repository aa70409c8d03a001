// SPDX-License-Identifier: MIT
// Reading a whole file and replacing one safely, shared by every reader and writer of this library.
#pragma once

#include <cstddef>
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

/// Writes `text` to a temporary name in the folder of `path` and renames it, so that the old file stays whole
/// when anything fails (disk full, no permission). Returns nothing on success, else a sentence saying what
/// failed. A link is followed and the permissions of the old file are kept; a device or pipe is written to
/// directly.
std::optional<std::string> writeFileAtomically(const std::string& path, std::string_view text);

/// A file that must not stay behind when the program is interrupted; tells `removeUnfinishedFiles` of it as
/// long as the object lives. It is for files under a temporary name and for logs of work under way.
class UnfinishedFile {
public:
    explicit UnfinishedFile(const std::string& path);
    ~UnfinishedFile();
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

private:
    std::size_t m_Slot;
};

/// Removes every file that is unfinished now, those of `writeFileAtomically` among them. It may be called in
/// a signal handler; the program has to end then.
void removeUnfinishedFiles() noexcept;

} // namespace formats
