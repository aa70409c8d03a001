// SPDX-License-Identifier: MIT
// From clips to the bytes of a file.
#include "shared/WrittenMotion.h"

#include "shared/Console.h"
#include "shared/Files.h"

#include <fmt/format.h>

namespace app {

formats::MotionFormat outputFormat(const std::string& path, bool fromGltf, formats::VrmKind vrm,
                                   const std::string& asked)
{
    const bool piped = path == kStandardStream;
    if (!piped && !asked.empty())
        throw BadInput("--format is for `-o -`; the ending of a file's name says which format to write");
    const std::string own = fromGltf ? "glb" : "bvh";
    const std::optional<formats::MotionFormat> format =
        formats::motionFormat(piped ? "." + (asked.empty() ? own : asked) : path);
    if (!format)
        throw BadInput(fmt::format("-o {}: the ending says which format to write; give a name that ends in "
                                   ".bvh, .glb, .vrm or .vrma",
                                   path));
    if (const std::string fault = formats::formatFault(*format, fromGltf, vrm); !fault.empty())
        throw BadInput(fmt::format("-o {}: {}", path, fault));
    return *format;
}

WrittenMotion writtenMotion(const std::string& file, formats::MotionBytes bytes, std::size_t animation)
{
    const auto fail = [&](const formats::GltfError& error) {
        throw BadInput(fmt::format("{}: the motion can't be written: {}{}{}", file, error.place,
                                   error.place.empty() ? "" : ": ", error.reason));
    };
    if (const auto* error = std::get_if<formats::GltfError>(&bytes))
        fail(*error);
    WrittenMotion written;
    written.bytes = std::get<std::string>(std::move(bytes));
    const auto facts = formats::motionFacts(written.bytes, animation);
    if (const auto* error = std::get_if<formats::GltfError>(&facts))
        fail(*error);
    written.facts = std::get<formats::MotionFacts>(facts);
    return written;
}

std::string factsText(const formats::MotionFacts& facts)
{
    const std::string clip = facts.clip.empty() ? "" : fmt::format("animation '{}', ", printable(facts.clip));
    return fmt::format("{}{} to {} s, {} {} of {} joints", clip, rounded(facts.from, 6), rounded(facts.to, 6),
                       facts.frames > 0 ? facts.frames : facts.keys, facts.frames > 0 ? "frames" : "keys",
                       facts.joints);
}

Json factsJson(const formats::MotionFacts& facts)
{
    return {{"clip", facts.clip.empty() ? Json() : Json(facts.clip)},
            {"from", facts.from},
            {"to", facts.to},
            {"frames", facts.frames},
            {"keys", facts.keys},
            {"joints", facts.joints}};
}

WrittenMotion writeClip(const std::string& file, const formats::Gltf& gltf, formats::GltfClip clip,
                        std::size_t animation, const OutputChoice& choice, double frameSeconds)
{
    const std::size_t count = gltf.animations.size();
    const bool hasBase = animation < count, adds = choice.append || !hasBase;
    clip.name = formats::freeClipName(gltf, clip.name);
    std::vector<std::string> notes;
    for (const formats::GltfNote& note : formats::fitClip(gltf, clip))
        notes.push_back(note.text);
    const formats::GltfWriteOptions how{
        hasBase ? static_cast<int>(animation) : -1, adds ? -1 : static_cast<int>(animation), {}};
    formats::MotionBytes bytes = formats::writeGlb(gltf, clip, how);
    std::size_t place = adds ? count : animation;
    if (auto* glb = std::get_if<std::string>(&bytes))
        bytes = formats::writeMotion(std::move(*glb), choice.format, place, frameSeconds);
    if (choice.format == formats::MotionFormat::Vrma && gltf.vrm != formats::VrmKind::Animation)
        place = 0; // in a file of its own
    WrittenMotion written = writtenMotion(file, std::move(bytes), place);
    written.notes = std::move(notes);
    return written;
}

} // namespace app
