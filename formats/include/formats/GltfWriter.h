// SPDX-License-Identifier: MIT
// Writing glTF 2.0 binaries: motion into a file that was read, or a character of bones from scratch.
#pragma once

#include "formats/Gltf.h"

#include <array>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace formats {

/// Keys of a node, linear between them. Each list of values is empty or has one for every time.
struct GltfNodeKeys {
    int node = 0;
    std::vector<std::array<double, 3>> translations;
    std::vector<std::array<double, 4>> rotations; // x, y, z, w; made unit length and of the nearer sign
    std::vector<std::array<double, 3>> scales;
};

/// A motion: all its nodes have keys at the same times.
struct GltfClip {
    std::string name;
    std::vector<double> times; // seconds, from 0 up, rising; told apart in single precision
    std::vector<GltfNodeKeys> keys; // every node at most once
};

struct GltfWriteOptions {
    int replaceAnimation = -1; // index of the animation that the clip takes the place of; -1 adds one
};

/// A bone of a character written from scratch; parents come first.
struct GltfBone {
    std::string name;
    int parent = -1;
    GltfTransform rest; // local, metres, +Y up
};

struct GltfSkeletonOptions {
    bool body = false; // gives every bone a simple solid shape, so that viewers show the character
};

using GltfWriteResult = std::variant<std::string, GltfError>;

/// The bytes of a GLB: the file that was read with the clip added, or put in the place of an animation, of
/// which channels that the clip has no keys for stay (other nodes, other properties, morph weights).
/// Everything else of its JSON stays, and every byte of its buffers. A clip without keys changes nothing.
/// Buffers in files of their own, and images that are found beside the file, go into the GLB; images that are
/// not found keep their place. Nodes with keys that had a matrix get translation, rotation and scale in its
/// place.
GltfWriteResult writeGlb(const Gltf& gltf, const GltfClip& clip, const GltfWriteOptions& options = {});

/// The bytes of a GLB that has nothing but these bones as nodes, and the clip unless it has no keys; nodes
/// have the bones' indices.
GltfWriteResult writeSkeletonGlb(const std::vector<GltfBone>& bones, const GltfClip& clip,
                                 const GltfSkeletonOptions& options = {});

} // namespace formats
