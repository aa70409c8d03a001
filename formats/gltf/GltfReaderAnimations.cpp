// SPDX-License-Identifier: MIT
// Animations of a glTF file: keys of translations, rotations and scales.
#include "bvh/BvhText.h"
#include "gltf/GltfReader.h"

#include <algorithm>
#include <optional>

namespace formats {

namespace {

struct PathRow {
    std::string_view name;
    GltfPath path;
    std::string_view type;
    std::size_t width;
};

constexpr PathRow kPaths[] = {
    {"translation", GltfPath::Translation, "VEC3", 3},
    {"rotation", GltfPath::Rotation, "VEC4", 4},
    {"scale", GltfPath::Scale, "VEC3", 3},
};

const PathRow& rowOf(GltfPath path) { return kPaths[static_cast<std::size_t>(path)]; }

GltfInterpolation readInterpolation(const JsonView& sampler)
{
    const std::string name = sampler.textOr("interpolation", "LINEAR");
    if (name == "LINEAR")
        return GltfInterpolation::Linear;
    if (name == "STEP")
        return GltfInterpolation::Step;
    if (name == "CUBICSPLINE")
        return GltfInterpolation::CubicSpline;
    refuse(sampler.path() + ".interpolation",
           formats::quoted(name) + " is none of LINEAR, STEP and CUBICSPLINE");
}

} // namespace

void GltfReader::readAnimations()
{
    const std::size_t count = m_Root.countOf("animations");
    for (std::size_t i = 0; i < count; ++i)
        readAnimation(element("animations", i));
}

void GltfReader::readAnimation(const JsonView& view)
{
    GltfAnimation animation;
    animation.name = view.textOr("name", "");
    const JsonView channels = view.at("channels");
    const JsonView samplers = view.at("samplers");
    const std::size_t samplerCount = samplers.size();
    for (std::size_t i = 0; i < channels.size(); ++i) {
        channels[i].at("sampler").index(samplerCount, "samplers in this animation");
        readChannel(channels[i], samplers, animation);
    }
    // Two channels of one property contradict each other; the first is taken.
    std::set<std::pair<int, GltfPath>> seen;
    std::erase_if(animation.tracks, [&](const GltfTrack& track) {
        const bool doubled = !seen.insert({track.node, track.path}).second;
        if (doubled)
            note(channels.path(),
                 "a second " + std::string(rowOf(track.path).name) + " for node " + std::to_string(track.node)
                     + "; the first counts");
        return doubled;
    });
    for (std::size_t i = 0; i < animation.tracks.size(); ++i) {
        const std::vector<double>& times = animation.tracks[i].times;
        animation.start = i == 0 ? times.front() : std::min(animation.start, times.front());
        animation.end = i == 0 ? times.back() : std::max(animation.end, times.back());
    }
    if (animation.start < 0)
        note(view.path(), "starts before 0 seconds");
    m_Gltf.animations.push_back(std::move(animation));
}

void GltfReader::readChannel(const JsonView& channel, const JsonView& samplers, GltfAnimation& animation)
{
    const JsonView target = channel.at("target");
    const JsonView pathView = target.at("path");
    const auto* row = std::find_if(std::begin(kPaths), std::end(kPaths), [&](const PathRow& candidate) {
        return candidate.name == pathView.text();
    });
    const auto nodeView = target.find("node");
    GltfTrack track;
    if (nodeView)
        track.node = static_cast<int>(nodeView->index(nodeCount(), "nodes"));
    if (!nodeView || row == std::end(kPaths))
        return note(channel.path(),
                    !nodeView ? "moves no node; left out"
                              : "moves " + formats::quoted(pathView.text())
                            + ", which is not read; writing keeps it");
    if (node(track.node).sheared)
        return note(channel.path(), "moves a node whose matrix has shear; left out");
    if (m_HasMatrix[static_cast<std::size_t>(track.node)])
        note(channel.path(), "moves a node that has a matrix; the matrix is taken apart for it");
    track.path = row->path;
    readKeys(samplers[channel.at("sampler").index(samplers.size(), "samplers")], track);
    animation.tracks.push_back(std::move(track));
}

void GltfReader::readKeys(const JsonView& sampler, GltfTrack& track)
{
    track.interpolation = readInterpolation(sampler);
    const JsonView inputView = sampler.at("input");
    const JsonView outputView = sampler.at("output");
    const GltfAccessor& input = m_Accessors.named(inputView, "SCALAR");
    const GltfAccessor& output = m_Accessors.named(outputView, rowOf(track.path).type);
    const bool spline = track.interpolation == GltfInterpolation::CubicSpline;
    const std::uint64_t wanted = std::uint64_t{input.count} * (spline ? 3 : 1);
    if (output.count != wanted)
        refuse(outputView.path(),
               "has " + std::to_string(output.count) + " values for " + std::to_string(input.count)
                   + " times; " + std::to_string(wanted) + " are needed");
    track.times = m_Accessors.doubles(input);
    for (std::size_t i = 1; i < track.times.size(); ++i)
        if (!(track.times[i] > track.times[i - 1]))
            refuse(inputView.path(),
                   "names " + input.path + ", whose times do not rise at key " + std::to_string(i)
                       + "; sort the keys and keep one of those at the same time");
    track.values = m_Accessors.doubles(output);
    if (track.path != GltfPath::Rotation)
        return;
    for (std::size_t key = 0; key < track.times.size(); ++key) {
        const double* q = &track.values[(spline ? key * 3 + 1 : key) * 4];
        if (!(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3] > 1e-12))
            refuse(outputView.path(),
                   "names " + output.path + ", whose quaternion of key " + std::to_string(key)
                       + " has length 0, which is no rotation");
    }
}

} // namespace formats
