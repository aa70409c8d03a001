// SPDX-License-Identifier: MIT
// glTF 2.0 files (.gltf, .glb, and the containers .vrm and .vrma): what is read from them, and evaluating it.
#pragma once

#include "formats/Bvh.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace formats {

// Conventions. Metres, +Y up, right-handed, seconds, as glTF says; nothing is ever rescaled or turned. Column
// vectors: world = parent * T * R * S. Matrices are 16 numbers column by column. Quaternions are x, y, z, w.
// Nodes, meshes, skins and animations have the indices of the file.

/// Something that was guessed, mended or left out while reading. `place` is a path in the file's JSON such as
/// `nodes[3].name`, or empty for the whole file. Both texts are valid UTF-8.
struct GltfNote {
    std::string place;
    std::string text;
};

/// Why a file was refused: a path in its JSON such as `nodes[3].children[0]`, or `byte 20`, or nothing for
/// the whole file; and what is wrong and what to do about it.
struct GltfError {
    std::string place;
    std::string reason;
};

using GltfMatrix = std::array<double, 16>;

inline constexpr GltfMatrix kGltfIdentity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

/// A local transform, T * R * S; the rotation is of unit length.
struct GltfTransform {
    std::array<double, 3> translation{};
    std::array<double, 4> rotation{0, 0, 0, 1}; // x, y, z, w
    std::array<double, 3> scale{1, 1, 1};
};

/// A local transform for every node.
using GltfPose = std::vector<GltfTransform>;

struct GltfNode {
    std::string name; // unique in the file, never empty
    std::string givenName; // as in the file; may be empty or doubled
    int parent = -1;
    std::vector<int> children;
    GltfTransform transform; // the node's own, a matrix taken apart
    GltfTransform rest; // the rest pose: `transform`, or for joints what the inverse bind matrices say
    bool sheared = false; // `matrix` is no T * R * S: it holds at all times and cannot be animated
    GltfMatrix matrix = kGltfIdentity; // when sheared: the local matrix
    bool joint = false; // of any skin
    int mesh = -1;
    int skin = -1;
};

/// Triangles, lists in every case: strips and fans are unrolled, vertices without indices are numbered.
/// Vertices are in the mesh's own space. Where there are more vertices than indices, the unused ones are left
/// out.
struct GltfPrimitive {
    std::vector<std::array<float, 3>> positions;
    std::vector<std::array<float, 3>> normals; // as many as positions, or none
    std::vector<std::uint32_t> indices; // three a triangle, into positions
    std::size_t influenceCount = 0; // joints a vertex can follow, four a set in the file; 0 without a skin
    std::vector<std::uint16_t> joints; // vertex by vertex, influenceCount each: index in GltfSkin::joints
    std::vector<float> weights; // as many as joints; the sum of a vertex is as in the file, 1 within rounding
    int material = -1;
};

struct GltfMesh {
    std::string name; // as in the file
    std::vector<GltfPrimitive> primitives;
};

struct GltfSkin {
    std::string name; // as in the file
    std::vector<int> joints; // nodes
    std::vector<GltfMatrix> inverseBind; // one a joint; identities where the file has none
    bool hasInverseBind = false; // in the file
    int skeleton = -1; // a node, or -1
};

enum class GltfPath : std::uint8_t { Translation, Rotation, Scale };
enum class GltfInterpolation : std::uint8_t { Linear, Step, CubicSpline };

/// The keys of one property of one node.
struct GltfTrack {
    int node = 0;
    GltfPath path = GltfPath::Translation;
    GltfInterpolation interpolation = GltfInterpolation::Linear;
    std::vector<double> times; // seconds, rising, at least one
    std::vector<double>
        values; // 3 numbers a key, 4 for rotations; cubic: in-tangent, value, out-tangent a key
};

struct GltfAnimation {
    std::string name; // as in the file
    std::vector<GltfTrack> tracks;
    double start = 0; // seconds: the first key of any track
    double end = 0; // seconds: the last
};

enum class VrmKind : std::uint8_t { None, Vrm0, Vrm1, Animation };

/// A bone of a humanoid, named as VRM 1 names it (`hips`, `leftUpperArm`, ...); the thumbs of VRM 0, which it
/// names one joint further out, are renamed to match.
struct GltfHumanBone {
    std::string bone;
    int node = 0;
};

struct GltfSource; // JSON and bytes of the file, kept for writing

struct Gltf {
    std::vector<GltfNode> nodes;
    std::vector<int> order; // every node, parents first, depth first
    std::vector<int> skeleton; // what a rig is made of, parents first; see docs/formats.md
    std::vector<GltfMesh> meshes;
    std::vector<GltfSkin> skins;
    std::vector<GltfAnimation> animations;
    VrmKind vrm = VrmKind::None;
    std::vector<GltfHumanBone> humanBones; // in the file's order
    std::vector<int> expressions; // of a VRM animation: nodes whose x translation is an expression's weight
    int lookAt = -1; // of a VRM animation: the node whose rotation is the gaze
    std::string generator;
    std::vector<GltfNote> notes;
    std::shared_ptr<const GltfSource> source; // null when not read from a file
};

using GltfReadResult = std::variant<Gltf, GltfError>;

/// Reads a file by its content, whatever its name ends in. Buffers in files of their own are looked for in
/// the file's folder and below it, nowhere else; images are never opened. What is odd is told in the notes;
/// what cannot be trusted is an error.
GltfReadResult readGltfFile(const std::string& path);

/// Reads the bytes of a file; `folder` is where buffers in files of their own are, and with an empty one such
/// buffers are refused.
GltfReadResult readGltf(std::string_view bytes, const std::string& folder = {});

/// The nodes' own transforms.
GltfPose nodePose(const Gltf& gltf);

/// The rest pose; see GltfNode::rest.
GltfPose restPose(const Gltf& gltf);

/// An animation at a time in seconds: the first and last keys are held outside, nodes without keys have their
/// own transform. Linear rotations by the shorter arc. An animation that isn't there gives the nodes' own
/// transforms.
GltfPose sampleAnimation(const Gltf& gltf, std::size_t animation, double time);

/// A track's value at a time, held outside its keys: a unit quaternion, or three numbers and a 0.
std::array<double, 4> sampleTrack(const GltfTrack& track, double time);

/// Seconds between the frames that an animation was made of: the middle one of the steps between keys of its
/// longest track. Steps under 1 or over 100 milliseconds are poses rather than frames: then it is 1/30.
double frameStep(const GltfAnimation& animation);

/// Adds times 1/30 of a second apart wherever rising times lie more than 100 milliseconds apart; whoever
/// keeps the pose at all of them keeps the motion. What lasts for hours is left as it is.
std::vector<double> withoutGaps(const std::vector<double>& times);

/// The times of all keys of an animation, rising and without gaps.
std::vector<double> frameTimes(const GltfAnimation& animation);

/// T * R * S.
GltfMatrix localMatrix(const GltfTransform& transform);

/// The nearest T * R * S of an affine matrix; a mirrored one has a negative x scale. `sheared` (may be null)
/// tells when the result is more than 1e-4 of the matrix's size away from it.
GltfTransform decompose(const GltfMatrix& matrix, bool* sheared = nullptr);

/// World matrices of all nodes; nodes without a transform in the pose have their own.
std::vector<GltfMatrix> worldMatrices(const Gltf& gltf, const GltfPose& pose);

/// World position, and the rotation of the basis' normalised columns; for a mirrored basis that of the basis
/// with its x axis turned round.
WorldPose worldPose(const GltfMatrix& world);

/// Product of two matrices: first `right`, then `left`.
GltfMatrix multiply(const GltfMatrix& left, const GltfMatrix& right);

/// Inverse of an affine matrix; the identity where there is none.
GltfMatrix inverse(const GltfMatrix& matrix);

} // namespace formats
