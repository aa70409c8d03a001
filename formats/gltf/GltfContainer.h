// SPDX-License-Identifier: MIT
// From the bytes of a glTF file to its JSON document and its buffers.
#pragma once

#include "formats/Gltf.h"
#include "gltf/GltfJson.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace formats {

struct GltfChunk {
    std::uint32_t type = 0;
    std::string bytes;
};

/// The document as it was read, and what its buffers hold.
struct GltfSource {
    Json json;
    std::string folder; // where files that it names are; empty when there is none
    std::vector<std::shared_ptr<const std::string>> storage; // keeps the bytes of `buffers`
    std::vector<std::string_view> buffers; // by index, byteLength bytes each
    std::vector<GltfChunk> otherChunks; // of a GLB, kept for writing back
};

/// Takes the container apart and finds every buffer; throws GltfRefusal.
std::shared_ptr<GltfSource> openContainer(std::string bytes, const std::string& folder,
                                          std::vector<GltfNote>& notes);

/// The path below the file's folder that a URI means, or why it means none. Percent codes are resolved first.
struct UriPath {
    std::string path;
    std::string fault; // empty when the path can be opened
};
UriPath pathOfUri(std::string_view uri);
/// The same with the folder in front, which there must be; links are followed within it only.
UriPath fileOfUri(std::string_view uri, const std::string& folder);

bool isDataUri(std::string_view uri);

/// With codes such as %20 resolved; what is none stays as it is.
std::string withoutPercentCodes(std::string_view uri);

} // namespace formats
