// SPDX-License-Identifier: MIT
// The format that a motion is written in, and what there is to tell of it once it is.
#pragma once

#include "formats/MotionFormat.h"
#include "shared/Json.h"

#include <string>
#include <vector>

namespace app {

struct OutputChoice {
    formats::MotionFormat format = formats::MotionFormat::Bvh;
    bool append = false; ///< of glTF: adds an animation in the place of replacing one
};

/// By the ending of the name, of `-` the one that is asked for, else that of the input. Throws BadInput for
/// one that a figure of this file (glTF of that kind, or BVH) can't be written in.
formats::MotionFormat outputFormat(const std::string& path, bool fromGltf, formats::VrmKind vrm,
                                   const std::string& asked = {});

struct WrittenMotion {
    std::string bytes;
    formats::MotionFacts facts;
    std::vector<std::string> notes; ///< what the format can't hold
};

/// Takes the facts out of the bytes; throws BadInput where there are none, naming the file.
WrittenMotion writtenMotion(const std::string& file, formats::MotionBytes bytes, std::size_t animation);

/// `animation 'Run', 0 to 1.2 s, 500 keys of 24 joints`.
std::string factsText(const formats::MotionFacts& facts);
Json factsJson(const formats::MotionFacts& facts);

/// The clip put into the place of an animation of the file, whose other channels it takes along, and in
/// another format where that is asked for. Without animations, or with `append`, one is added.
WrittenMotion writeClip(const std::string& file, const formats::Gltf& gltf, formats::GltfClip clip,
                        std::size_t animation, const OutputChoice& choice, double frameSeconds);

} // namespace app
