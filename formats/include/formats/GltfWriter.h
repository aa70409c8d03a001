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

/// A property of a node that keys can move.
struct GltfProperty {
    int node = 0;
    GltfPath path = GltfPath::Translation;

    auto operator<=>(const GltfProperty&) const = default;
};

/// A motion, each of its tracks with times of its own.
struct GltfClip {
    std::string name; // of an animation that is added; one that is replaced keeps its own
    std::vector<GltfTrack> tracks; // rotations are made unit length, and without tangents of the nearer sign
    std::vector<GltfProperty> still; // get no channel, so that they stand as their node says
};

/// From one time to another, seconds.
struct GltfSpan {
    double from = 0;
    double to = 0;
};

struct GltfWriteOptions {
    int base = -1; // animation whose channels come along, those aside that the clip has a track for
    int place = -1; // animation whose place the clip takes; -1 adds one
    std::optional<GltfSpan> span{}; // everything that is written is cut to it
};

/// Adds the values of one key to a track's.
template <std::size_t Width>
void addKey(GltfTrack& track, double time, const std::array<double, Width>& value)
{
    track.times.push_back(time);
    track.values.insert(track.values.end(), value.begin(), value.end());
}

/// Takes out of the clip what a file such as this can't hold or has no use for: keys of nodes that show a
/// skinned mesh or have a sheared matrix; in a VRM animation scales, translations of bones other than the
/// hips, keys of eyes, and all but the weight of an expression and the turn of the gaze. Tracks that only
/// repeat what their node says become still properties. Returns what was left out although it moves, a
/// sentence each.
std::vector<GltfNote> fitClip(const Gltf& gltf, GltfClip& clip);

/// A name that no animation of the file has: the wanted one, where need be with a number.
std::string freeClipName(const Gltf& gltf, const std::string& wanted);

/// The part of a track between two times; its value is held where it has no key there.
GltfTrack cutTrack(const GltfTrack& track, const GltfSpan& span);

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

/// The bytes of a GLB: the file that was read with the clip added, or put in the place of an animation.
/// Channels of the base that the clip says nothing about come along as they are (other nodes, other
/// properties, morph weights). Everything else of its JSON stays, and every byte of its buffers. A clip that
/// says nothing changes nothing.
/// Buffers in files of their own, and images that are found beside the file, go into the GLB; images that are
/// not found keep their place. Nodes with keys that had a matrix get translation, rotation and scale in its
/// place.
GltfWriteResult writeGlb(const Gltf& gltf, const GltfClip& clip, const GltfWriteOptions& options = {});

/// The bytes of a GLB that has nothing but these bones as nodes, and the clip unless it has no keys; nodes
/// have the bones' indices.
GltfWriteResult writeSkeletonGlb(const std::vector<GltfBone>& bones, const GltfClip& clip,
                                 const GltfSkeletonOptions& options = {});

} // namespace formats
