// SPDX-License-Identifier: MIT
// Tells files apart, and reads and writes them whole.
#include "shared/Files.h"

#include "formats/Files.h"
#include "formats/GltfFiles.h"
#include "shared/Console.h"

#include <fmt/format.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>

namespace app {

namespace fs = std::filesystem;

namespace {

bool isStream(const NamedFile& file) { return file.path == kStandardStream; }

/// The same text for two names of one file: device and inode where it is there, else the true place of its
/// folder and its name. Empty for what two names may well share, such as a terminal or /dev/null.
std::string identityOf(const NamedFile& file, int stream)
{
    struct stat status { };
    if ((isStream(file) ? fstat(stream, &status) : stat(file.path.c_str(), &status)) == 0)
        return S_ISREG(status.st_mode) ? fmt::format("{}:{}", status.st_dev, status.st_ino) : std::string();
    if (isStream(file))
        return {};
    std::error_code code;
    const fs::path absolute = fs::absolute(file.path, code);
    return (fs::weakly_canonical(absolute.parent_path(), code) / absolute.filename()).string();
}

/// As in messages: `-o out.bvh`.
std::string label(const NamedFile& file)
{
    return isStream(file) ? file.what : fmt::format("{} {}", file.what, file.path);
}

void checkPlace(const NamedFile& output)
{
    std::error_code code;
    if (fs::is_directory(output.path, code))
        throw BadInput(fmt::format("{}: {} is a folder; name a file", output.what, output.path));
    const fs::path folder = fs::path(output.path).parent_path();
    if (!folder.empty() && !fs::is_directory(folder, code))
        throw BadInput(fmt::format("{}: there is no folder {}; make it first", output.what, folder.string()));
}

void checkStreams(const std::vector<NamedFile>& files, const char* stream)
{
    const auto first = std::find_if(files.begin(), files.end(), isStream);
    if (first == files.end())
        return;
    const auto second = std::find_if(first + 1, files.end(), isStream);
    if (second != files.end())
        throw BadInput(fmt::format("{} and {} can't both be the standard {}; give one of them a file",
                                   first->what, second->what, stream));
}

} // namespace

bool isPiped(const std::vector<NamedFile>& outputs)
{
    return std::any_of(outputs.begin(), outputs.end(), isStream);
}

void checkFiles(const std::vector<NamedFile>& inputs, const std::vector<NamedFile>& outputs)
{
    checkStreams(inputs, "input");
    checkStreams(outputs, "output");
    std::map<std::string, const NamedFile*> read;
    for (const NamedFile& input : inputs)
        if (!input.path.empty())
            read.insert({identityOf(input, STDIN_FILENO), &input});
    std::map<std::string, const NamedFile*> written;
    const NamedFile text{"the standard output", std::string(kStandardStream)};
    const auto check = [&](const NamedFile& output) {
        const std::string identity = identityOf(output, STDOUT_FILENO);
        if (identity.empty())
            return;
        if (const auto found = read.find(identity); found != read.end())
            throw BadInput(fmt::format("{} is the same file as {}, which it would destroy; give another name",
                                       label(output), label(*found->second)));
        if (const auto [before, isNew] = written.insert({identity, &output}); !isNew)
            throw BadInput(fmt::format("{} and {} are the same file; give them different names",
                                       label(*before->second), label(output)));
    };
    for (const NamedFile& output : outputs) {
        if (output.path.empty())
            continue;
        if (!isStream(output))
            checkPlace(output);
        check(output);
    }
    if (!isPiped(outputs))
        check(text);
}

std::vector<NamedFile> partsOf(const NamedFile& input, std::string_view bytes)
{
    std::vector<NamedFile> parts;
    for (std::string& path : formats::filesBeside(bytes, folderOf(input.path)))
        parts.push_back({input.what + "'s", std::move(path)});
    return parts;
}

std::string readInput(const NamedFile& input, const std::vector<NamedFile>& outputs)
{
    std::variant<std::string, formats::FileError> read =
        isStream(input) ? formats::readStandardInput() : formats::readWholeFile(input.path);
    if (const auto* error = std::get_if<formats::FileError>(&read))
        throw BadInput(error->reason);
    std::string bytes = std::get<std::string>(std::move(read));
    checkFiles(partsOf(input, bytes), outputs);
    return bytes;
}

void writeOutput(const std::string& path, std::string_view bytes)
{
    if (path == kStandardStream) {
        print(bytes);
        return;
    }
    if (const std::optional<std::string> reason = formats::writeFileAtomically(path, bytes))
        throw BadInput(*reason);
}

std::string endingOf(const std::string& path)
{
    std::string ending = fs::path(path).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; });
    return ending;
}

std::string folderOf(const std::string& path)
{
    if (path == kStandardStream)
        return {};
    const fs::path folder = fs::path(path).parent_path();
    return folder.empty() ? "." : folder.string();
}

std::string inputName(const std::string& path) { return path == kStandardStream ? "standard input" : path; }

std::string outputName(const std::string& path) { return path == kStandardStream ? "standard output" : path; }

} // namespace app
