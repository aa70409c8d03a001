// SPDX-License-Identifier: MIT
// Checks and writes output files.
#include "shared/OutputFile.h"

#include "formats/Files.h"
#include "shared/Console.h"

#include <fmt/format.h>

#include <filesystem>

namespace app {

namespace fs = std::filesystem;

bool sameFile(const std::string& a, const std::string& b)
{
    std::error_code code;
    if (fs::equivalent(a, b, code))
        return true;
    return fs::weakly_canonical(a, code) == fs::weakly_canonical(b, code);
}

void checkOutputPlace(const char* option, const std::string& path)
{
    if (path.empty())
        throw BadInput(fmt::format("{}: a file name is missing", option));
    std::error_code code;
    if (fs::is_directory(path, code))
        throw BadInput(fmt::format("{}: {} is a folder; name a file", option, path));
    const fs::path folder = fs::path(path).parent_path();
    if (!folder.empty() && !fs::is_directory(folder, code))
        throw BadInput(fmt::format("{}: there is no folder {}; make it first", option, folder.string()));
}

void writeOutput(const std::string& path, std::string_view bytes)
{
    if (const std::optional<std::string> reason = formats::writeFileAtomically(path, bytes))
        throw BadInput(*reason);
}

} // namespace app
