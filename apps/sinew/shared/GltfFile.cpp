// SPDX-License-Identifier: MIT
// Reads the glTF file that a subcommand was given.
#include "shared/GltfFile.h"

#include "shared/Console.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace app {

bool isGltfFile(const std::string& file)
{
    std::string ending = std::filesystem::path(file).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; });
    for (const char* known : {".gltf", ".glb", ".vrm", ".vrma"})
        if (ending == known)
            return true;
    std::error_code ignored;
    if (ending == ".bvh" || !std::filesystem::is_regular_file(file, ignored))
        return false;
    char start[256] = {};
    std::ifstream stream(file, std::ios::binary);
    stream.read(start, sizeof start);
    std::string_view text(start, static_cast<std::size_t>(stream.gcount()));
    text.remove_prefix(std::min(text.find_first_not_of("\xEF\xBB\xBF \t\r\n"), text.size()));
    return text.starts_with("glTF") || text.starts_with('{');
}

formats::Gltf readGltfMotion(const std::string& file)
{
    formats::GltfReadResult result = formats::readGltfFile(file);
    if (const auto* error = std::get_if<formats::GltfError>(&result))
        // Of a file that cannot be opened the reason names it already.
        throw BadInput(error->place.empty() && error->reason.starts_with(file)
                           ? error->reason
                           : atPlace(file, error->place, error->reason));
    return std::get<formats::Gltf>(std::move(result));
}

std::string atPlace(std::string_view file, std::string_view place, std::string_view text)
{
    return printable(place.empty() ? fmt::format("{}: {}", file, text)
                                   : fmt::format("{}: {}: {}", file, place, text));
}

} // namespace app
