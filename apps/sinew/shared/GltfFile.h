// SPDX-License-Identifier: MIT
// The glTF file that a subcommand was given.
#pragma once

#include "formats/Gltf.h"

#include <string>
#include <string_view>

namespace app {

/// Of .gltf, .glb, .vrm and .vrma.
bool hasGltfEnding(const std::string& file);
/// Of .glb, .vrm and .vrma, whose content is a GLB.
bool isGlbName(const std::string& file);

/// Reads the bytes of a file; throws BadInput where they are of no use.
formats::Gltf readGltfMotion(const std::string& file, std::string_view bytes);

/// The animation that the user means with this option: by name, else by index, else the first. Throws
/// BadInput.
std::size_t chosenAnimation(const formats::Gltf& gltf, const std::string& animation,
                            const char* option = "--animation");

/// `FILE: place: text`, made printable.
std::string atPlace(std::string_view file, std::string_view place, std::string_view text);

} // namespace app
