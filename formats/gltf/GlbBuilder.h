// SPDX-License-Identifier: MIT
// A GLB that is being written: a document, its one buffer, and what is added to both.
#pragma once

#include "formats/GltfWriter.h"
#include "gltf/GltfContainer.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace formats {

/// Throws GltfRefusal where something cannot be written.
class GlbBuilder {
public:
    Json json = Json::object();
    std::string binary; // buffer 0

    /// Element of a top-level array by the index it gets.
    std::size_t add(const char* array, Json element);

    /// Appends bytes at a multiple of four; the index of their buffer view.
    std::size_t addView(std::string_view bytes, int target = 0);

    /// Adds numbers in single precision as an accessor with a view of its own, `width` of them an element.
    std::size_t addFloats(std::span<const float> values, const char* type, std::size_t width, bool bounds,
                          int target = 0);

    /// The file; `otherChunks` follow the usual two.
    std::string finish(const std::vector<GltfChunk>& otherChunks = {});
};

inline constexpr int kVertexTarget = 34962;

} // namespace formats
