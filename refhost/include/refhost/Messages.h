// SPDX-License-Identifier: MIT
// Sentences that modules name by table and number; they stand in data files that a translator can edit.
#pragma once

#include "refhost/Result.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace refhost {

class Host;

/// A file is JSON:
///
///     { "format": "sinew-messages", "version": 1,
///       "tables": { "rig.general": { "1001": "Nothing is selected. Select an item first." } } }
///
/// Files that are read later go over sentences of the same table and number, so that a translation can stand
/// beside the original.
class Messages {
public:
    /// The tables of this host, made at the first call.
    static Messages& of(Host& host);

    /// Reads one file; a file that cannot be used changes nothing and is answered with place and reason.
    Result load(const std::string& path);
    /// Reads a file's text; `source` is its name in messages.
    Result loadText(std::string_view text, std::string_view source);
    /// Reads every `*.json` of a folder in order of the names; no such folder is no error. The message tells
    /// of all files that could not be used; the others are read.
    Result loadFolder(const std::string& folder);

    /// The sentence; `table NAME, message N` when there is none.
    std::string sentence(std::string_view table, std::uint32_t number) const;
    bool contains(std::string_view table, std::uint32_t number) const;

private:
    using Table = std::map<std::uint32_t, std::string>;
    std::map<std::string, Table, std::less<>> m_Tables;
};

} // namespace refhost
