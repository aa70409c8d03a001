// SPDX-License-Identifier: MIT
// Takes the container of a GLB apart.
#pragma once

#include "gltf/GltfContainer.h"

namespace formats {

/// The parts of a GLB; views into its bytes.
struct GlbChunks {
    std::size_t jsonStart = 0; ///< where in the file the JSON begins
    std::string_view json;
    std::optional<std::string_view> binary;
    std::vector<GltfChunk> others; ///< in order
};

/// Whether bytes are a GLB, whatever stands before its mark that does not matter.
bool isGlb(std::string_view bytes);

/// Reads what can be read and notes what is not as the format demands; throws GltfRefusal where the rest
/// would be a guess.
GlbChunks glbChunks(std::string_view bytes, std::vector<GltfNote>& notes);

} // namespace formats
