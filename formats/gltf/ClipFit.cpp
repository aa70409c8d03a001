// SPDX-License-Identifier: MIT
// Which properties of which nodes a clip of a file may move.
#include "formats/GltfWriter.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace formats {

namespace {

constexpr double kSame = 1e-6; // of numbers that tell a node's own transform from another one
constexpr const char* kPathNames[] = {"translation", "rotation", "scale"};

/// What may be keyed of a node, by GltfPath, and why no more.
struct Allowed {
    bool paths[3] = {true, true, true};
    const char* why = "";
};

std::map<int, Allowed> allowedByNode(const Gltf& gltf)
{
    std::map<int, Allowed> allowed;
    if (gltf.vrm == VrmKind::Animation) {
        for (std::size_t i = 0; i < gltf.nodes.size(); ++i)
            allowed[static_cast<int>(i)] = {{true, true, false}, "a VRM animation has no scales"};
        for (const GltfHumanBone& bone : gltf.humanBones) {
            const bool eye = bone.bone == "leftEye" || bone.bone == "rightEye";
            allowed[bone.node] = {{bone.bone == "hips", !eye, false},
                                  eye ? "in a VRM animation the gaze turns the eyes"
                                      : "of a bone a VRM animation holds the rotation, and the hips' place"};
        }
        for (const int node : gltf.expressions)
            allowed[node] = {{true, false, false},
                             "of an expression a VRM animation holds the weight, which is the translation"};
        if (gltf.lookAt >= 0)
            allowed[gltf.lookAt] = {{false, true, false}, "of the gaze a VRM animation holds the rotation"};
    }
    for (std::size_t i = 0; i < gltf.nodes.size(); ++i) {
        const GltfNode& node = gltf.nodes[i];
        if (node.mesh >= 0 && node.skin >= 0)
            allowed[static_cast<int>(i)] = {{}, "its mesh follows the joints of a skin, not the node"};
        if (node.sheared)
            allowed[static_cast<int>(i)] = {{}, "its matrix has shear, which can't be keyed"};
    }
    return allowed;
}

/// Whether all keys say what the node says.
bool repeatsNode(const GltfTrack& track, const GltfTransform& own)
{
    const std::size_t width = track.path == GltfPath::Rotation ? 4 : 3;
    const bool spline = track.interpolation == GltfInterpolation::CubicSpline;
    const double* still = track.path == GltfPath::Rotation ? own.rotation.data()
        : track.path == GltfPath::Translation              ? own.translation.data()
                                                           : own.scale.data();
    for (std::size_t row = 0; row * width < track.values.size(); ++row) {
        const double* value = &track.values[row * width];
        const bool tangent = spline && row % 3 != 1;
        double cosine = 0;
        for (std::size_t c = 0; c < width; ++c)
            cosine += value[c] * still[c];
        const double sign = track.path == GltfPath::Rotation && cosine < 0 ? -1 : 1;
        for (std::size_t c = 0; c < width; ++c)
            if (!(std::abs(value[c] - (tangent ? 0 : sign * still[c]))
                  <= kSame * std::max(1.0, std::abs(still[c]))))
                return false;
    }
    return true;
}

} // namespace

std::vector<GltfNote> fitClip(const Gltf& gltf, GltfClip& clip)
{
    const std::map<int, Allowed> allowed = allowedByNode(gltf);
    std::vector<GltfNote> notes;
    std::vector<GltfTrack> tracks;
    for (GltfTrack& track : clip.tracks) {
        const auto index = static_cast<std::size_t>(track.node);
        if (track.node < 0 || index >= gltf.nodes.size()) {
            tracks.push_back(std::move(track)); // refused when it is written
            continue;
        }
        const bool repeats = repeatsNode(track, gltf.nodes[index].transform);
        const auto rule = allowed.find(track.node);
        if (rule != allowed.end() && !rule->second.paths[static_cast<std::size_t>(track.path)]) {
            if (!repeats)
                notes.push_back({"nodes[" + std::to_string(index) + "]",
                                 "the " + std::string(kPathNames[static_cast<std::size_t>(track.path)])
                                     + " of '" + gltf.nodes[index].name
                                     + "' is left out: " + rule->second.why});
        } else if (repeats) {
            clip.still.push_back({track.node, track.path});
        } else {
            tracks.push_back(std::move(track));
        }
    }
    clip.tracks = std::move(tracks);
    return notes;
}

std::string freeClipName(const Gltf& gltf, const std::string& wanted)
{
    const std::string stem = wanted.empty() ? "motion" : wanted;
    std::string name = stem;
    for (int suffix = 2; std::any_of(gltf.animations.begin(), gltf.animations.end(),
                                     [&](const GltfAnimation& one) { return one.name == name; });
         ++suffix)
        name = stem + " " + std::to_string(suffix);
    return name;
}

} // namespace formats
