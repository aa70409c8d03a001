// SPDX-License-Identifier: MIT
// GLB by its mark, glTF by its brace: a BVH file begins with neither. Other files by what they begin with, so
// that a message can say what was given in place of a motion.
#include "formats/FileKind.h"

#include "bvh/BvhText.h"

#include <algorithm>

namespace formats {

namespace {

struct KindRow {
    std::string_view start;
    const char* what;
};

using namespace std::string_view_literals;

/// Files that are met beside motion, and what a failed download leaves.
constexpr KindRow kBinaryKinds[] = {
    {"Kaydara FBX Binary"sv, "a binary FBX file"},
    {"\x89PNG"sv, "a PNG picture"},
    {"\xFF\xD8\xFF"sv, "a JPEG picture"},
    {"GIF8"sv, "a GIF picture"},
    {"RIFF"sv, "a RIFF file, that is, a sound, video or WebP picture"},
    {"PK\x03\x04"sv, "a ZIP archive (unpack it first)"},
    {"\x1F\x8B"sv, "a file packed by gzip (unpack it first)"},
    {"\x28\xB5\x2F\xFD"sv, "a file packed by Zstandard (unpack it first)"},
    {"7z\xBC\xAF\x27\x1C"sv, "a 7z archive (unpack it first)"},
    {"PXR-USDC"sv, "a binary USD file"},
    {"Ogawa"sv, "an Alembic file"},
    {"BLENDER"sv, "a .blend file"},
    {"%PDF"sv, "a PDF document"},
    {"\x7F"
     "ELF"sv,
     "a program or library"},
    {"\xFF\xFE"sv, "UTF-16 text (save it as UTF-8)"},
    {"\xFE\xFF"sv, "UTF-16 text (save it as UTF-8)"},
};

/// By the first word of a text, in lower case.
constexpr KindRow kTextKinds[] = {
    {"; fbx"sv, "an FBX file in text form"},
    {"<!doctype html"sv, "a web page (a download may have failed)"},
    {"<html"sv, "a web page (a download may have failed)"},
    {"version https://git-lfs"sv, "a placeholder of Git LFS (fetch the file itself)"},
    {"#usda"sv, "a USD file in text form"},
    {"mtllib"sv, "an OBJ model"},
    {"pathfiletype"sv, "a TRC file of markers"},
    {":version"sv, "an ASF skeleton"},
    {"<?xml"sv, "an XML document"},
    {"<collada"sv, "a COLLADA file"},
    {"["sv, "JSON, but no object"},
};

constexpr std::size_t kLookedAt = 4096; // bytes

/// Text that is no motion, from its start.
std::string textKind(std::string_view bytes)
{
    std::string lower(bytes.substr(0, kLookedAt));
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; });
    if (lower.starts_with("<?xml") && lower.find("<collada") != std::string::npos)
        return "a COLLADA file";
    for (const KindRow& row : kTextKinds)
        if (lower.starts_with(row.start))
            return row.what;
    return "text that starts with "
        + formats::quoted(bytes.substr(0, std::min(bytes.find_first_of(" \t\r\n"), std::size_t{40})));
}

std::string kindOf(std::string_view bytes)
{
    for (const KindRow& row : kBinaryKinds)
        if (bytes.starts_with(row.start))
            return row.what;
    if (bytes.starts_with("\xEF\xBB\xBF"))
        bytes.remove_prefix(3);
    bytes.remove_prefix(std::min(bytes.find_first_not_of(" \t\r\n\x1A"), bytes.size()));
    if (bytes.empty())
        return "empty";
    const std::string_view looked = bytes.substr(0, kLookedAt);
    const bool isText = std::none_of(looked.begin(), looked.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 && !isSpace(c);
    });
    return isText ? textKind(bytes) : "binary data of another kind";
}

} // namespace

bool isGltf(std::string_view bytes)
{
    const std::size_t first = bytes.find_first_not_of("\xEF\xBB\xBF \t\r\n");
    bytes.remove_prefix(std::min(first, bytes.size()));
    return bytes.starts_with("glTF") || bytes.starts_with('{');
}

std::string notReadText(std::string_view bytes)
{
    const std::string kind = kindOf(bytes);
    return (kind == "empty" ? "the file is empty" : "this is " + kind)
        + "; what is read is BVH, which starts with HIERARCHY, and glTF (.gltf, .glb, .vrm, .vrma)";
}

} // namespace formats
