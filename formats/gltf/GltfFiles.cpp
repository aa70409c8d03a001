// SPDX-License-Identifier: MIT
// Which files a glTF file names, and where they are: in its folder or below it, never elsewhere.
#include "formats/GltfFiles.h"

#include "bvh/BvhText.h"
#include "formats/FileKind.h"
#include "gltf/GlbChunks.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace formats {

namespace {

namespace fs = std::filesystem;

/// The JSON alone; throws GltfRefusal.
std::string_view documentText(std::string_view bytes)
{
    std::vector<GltfNote> ignored;
    if (isGlb(bytes))
        return glbChunks(bytes, ignored).json;
    return isGltf(bytes) ? bytes.substr(bytes.find('{')) : std::string_view();
}

} // namespace

UriPath fileOfUri(std::string_view uri, const std::string& folder)
{
    UriPath target = pathOfUri(uri);
    if (!target.fault.empty())
        return target;
    const std::string name = formats::quoted(target.path);
    if (folder.empty()) {
        target.fault = "names a file (" + name
            + "), but these bytes come without a folder; name the glTF file itself, or make it a GLB";
        return target;
    }
    target.path = (fs::path(folder) / target.path).string();
    std::error_code code;
    const fs::path home = fs::canonical(folder, code);
    const fs::path place = code ? fs::path() : fs::canonical(target.path, code);
    if (code)
        return target; // not there; whoever opens it says so
    const auto [end, ignored] = std::mismatch(home.begin(), home.end(), place.begin(), place.end());
    if (end != home.end())
        target.fault = name
            + " is a link that leaves the folder of this file; it is not opened: put the file itself there";
    return target;
}

std::vector<std::string> filesBeside(std::string_view bytes, const std::string& folder)
{
    std::set<std::string> files;
    try {
        const std::string_view text = documentText(bytes);
        if (text.empty() || folder.empty())
            return {};
        const Json document = parseGltfJson(text, 0);
        for (const char* list : {"buffers", "images"}) {
            const auto entries = document.find(list);
            if (entries == document.end() || !entries->is_array())
                continue;
            for (const Json& entry : *entries) {
                const auto uri = entry.is_object() ? entry.find("uri") : entry.end();
                if (!entry.is_object() || uri == entry.end() || !uri->is_string())
                    continue;
                const UriPath target = fileOfUri(uri->get_ref<const std::string&>(), folder);
                std::error_code ignored;
                if (target.fault.empty() && fs::is_regular_file(target.path, ignored))
                    files.insert(fs::path(target.path).lexically_normal().string());
            }
        }
    } catch (const GltfRefusal&) {
        return {};
    }
    return {files.begin(), files.end()};
}

} // namespace formats
