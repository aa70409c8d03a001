// SPDX-License-Identifier: MIT
// What a folder of results remembers: from which bytes and settings each was made.
#pragma once

#include "shared/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace app {

/// FNV-1a, 64 bits: tells files apart, and is no protection against anybody.
class Digest {
public:
    void add(std::string_view bytes);
    std::string text() const;

private:
    std::uint64_t m_Hash = 0xcbf29ce484222325ULL;
};

/// The file's bytes; empty where it can't be read or is no file, which whoever needs it says better.
std::string bytesOrNone(const std::string& path);

/// A clip as it is planned: its key stands for all that its result follows from.
struct RecordedClip {
    std::string source, output, report; ///< paths
    std::string key;
};

class BatchRecord {
public:
    /// Reads the record; one that is damaged is told to the user and counts as none.
    explicit BatchRecord(std::string path);

    /// The clip's report where clip, result and report are as they were recorded. What was damaged is told to
    /// the user, since the clip is made again then.
    std::optional<Json> reportOf(const RecordedClip& clip) const;
    /// Written after each clip, so that an interruption costs no more than what was running.
    void add(const RecordedClip& clip);

private:
    std::string m_Path;
    Json m_Clips = Json::object();
};

} // namespace app
