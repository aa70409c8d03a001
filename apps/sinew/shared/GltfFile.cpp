// SPDX-License-Identifier: MIT
// Reads the glTF file that a subcommand was given.
#include "shared/GltfFile.h"

#include "shared/Console.h"
#include "shared/Files.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <filesystem>

namespace app {

bool hasGltfEnding(const std::string& file)
{
    const std::string ending = endingOf(file);
    return ending == ".gltf" || isGlbName(file);
}

bool isGlbName(const std::string& file)
{
    const std::string ending = endingOf(file);
    return ending == ".glb" || ending == ".vrm" || ending == ".vrma";
}

formats::Gltf readGltfMotion(const std::string& file, std::string_view bytes)
{
    formats::GltfReadResult result = formats::readGltf(bytes, folderOf(file));
    if (const auto* error = std::get_if<formats::GltfError>(&result))
        throw BadInput(atPlace(inputName(file), error->place, error->reason));
    return std::get<formats::Gltf>(std::move(result));
}

std::size_t chosenAnimation(const formats::Gltf& gltf, const std::string& animation)
{
    if (animation.empty())
        return 0;
    const std::size_t count = gltf.animations.size();
    for (std::size_t i = 0; i < count; ++i)
        if (gltf.animations[i].name == animation)
            return i;
    std::size_t index = 0;
    const char* end = animation.data() + animation.size();
    const auto [stop, error] = std::from_chars(animation.data(), end, index);
    if (error != std::errc() || stop != end || index >= count)
        throw BadInput(
            fmt::format("--animation {}: the file has {} animation{}; give a name, or an index from 0",
                        printable(animation), count, count == 1 ? "" : "s"));
    return index;
}

std::string atPlace(std::string_view file, std::string_view place, std::string_view text)
{
    return printable(place.empty() ? fmt::format("{}: {}", file, text)
                                   : fmt::format("{}: {}: {}", file, place, text));
}

} // namespace app
