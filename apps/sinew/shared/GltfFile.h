// SPDX-License-Identifier: MIT
// Reads the glTF file that a subcommand was given.
#pragma once

#include "formats/Gltf.h"

#include <string>
#include <string_view>

namespace app {

/// Of .gltf, .glb, .vrm and .vrma.
bool hasGltfEnding(const std::string& file);
/// Of .glb, .vrm and .vrma, whose content is a GLB.
bool isGlbName(const std::string& file);

/// Whether a file is to be read as glTF: by the ending of its name, or else by its first bytes. A pipe is not
/// looked into.
bool isGltfFile(const std::string& file);

/// Reads the file; throws BadInput where it is of no use.
formats::Gltf readGltfMotion(const std::string& file);

/// The animation that the user means: by name, else by index, else the first. Throws BadInput.
std::size_t chosenAnimation(const formats::Gltf& gltf, const std::string& animation);

/// `FILE: place: text`, made printable.
std::string atPlace(std::string_view file, std::string_view place, std::string_view text);

} // namespace app
