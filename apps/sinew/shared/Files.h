// SPDX-License-Identifier: MIT
// The files that a subcommand reads and writes; `-` stands for the standard input and output.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace app {

inline constexpr std::string_view kStandardStream = "-";

/// A file and what the user calls it: `-o`, `--report`, `SOURCE`.
struct NamedFile {
    std::string what;
    std::string path; ///< empty: not asked for
};

/// Refuses, before anything is read or written, outputs that would destroy something: one that is also an
/// input, or another output; links are followed. Refuses outputs that could never be written, too. The
/// standard output is an output in any case. Throws BadInput, naming both.
void checkFiles(const std::vector<NamedFile>& inputs, const std::vector<NamedFile>& outputs);

/// Whether one of the outputs goes to the standard output, so that text for people must not.
bool isPiped(const std::vector<NamedFile>& outputs);

/// The files that belong to a glTF input with these bytes: buffers and images beside it.
std::vector<NamedFile> partsOf(const NamedFile& input, std::string_view bytes);

/// The bytes of an input; throws BadInput, also where an output would destroy a file that belongs to it.
std::string readInput(const NamedFile& input, const std::vector<NamedFile>& outputs);

/// Writes an output, a file by way of a temporary name; throws BadInput.
void writeOutput(const std::string& path, std::string_view bytes);

/// `.bvh` and the like: the ending of a name in lower case, or nothing.
std::string endingOf(const std::string& path);

/// The folder that a file stands in; empty for the standard input.
std::string folderOf(const std::string& path);

/// The path, or for `-` what it stands for.
std::string inputName(const std::string& path);
std::string outputName(const std::string& path);

} // namespace app
