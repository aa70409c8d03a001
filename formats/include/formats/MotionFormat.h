// SPDX-License-Identifier: MIT
// The formats that a motion can be written in, and writing it in another one than it came in.
#pragma once

#include "formats/FigureMotion.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace formats {

enum class MotionFormat : std::uint8_t { Bvh, Glb, Vrm, Vrma };

/// By the ending of a file's name, in capitals or not; nothing for any other.
std::optional<MotionFormat> motionFormat(std::string_view path);

/// Why a figure that came from a BVH file, or a glTF file of this kind, can't be written in the format, and
/// what to do; empty where it can.
std::string formatFault(MotionFormat format, bool fromGltf, VrmKind vrm);

/// The bytes, or why there are none.
using MotionBytes = std::variant<std::string, GltfError>;

/// A BVH motion in a format that can hold it; the name is that of the animation in glTF.
MotionBytes writeMotion(const BvhMotion& motion, MotionFormat format, const std::string& name,
                        const BvhWriteOptions& bvh = {}, const GltfSkeletonOptions& glb = {});

/// The bytes of a GLB in a format that can hold it: itself where that is glTF, else the motion of one of its
/// animations, at frames `frameSeconds` apart in BVH.
MotionBytes writeMotion(std::string glb, MotionFormat format, std::size_t animation, double frameSeconds);

/// What there is to tell of a motion in a file.
struct MotionFacts {
    std::string clip; // name of the animation; of BVH empty
    double from = 0, to = 0; // seconds
    std::size_t frames = 0; // of BVH
    std::size_t keys = 0; // of glTF: of all channels that move nodes
    std::size_t joints = 0; // with channels; mere end points are none
};

/// Of a BVH file's bytes, or of an animation of a glTF file's; an error where a reader refuses them.
std::variant<MotionFacts, GltfError> motionFacts(std::string_view bytes, std::size_t animation);

} // namespace formats
