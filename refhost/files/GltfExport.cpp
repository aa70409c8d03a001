// SPDX-License-Identifier: MIT
// Tracks of what was edited or is driven; everything else comes along from the imported animation.
#include "files/GltfExport.h"

#include "files/KeyedTrack.h"
#include "formats/GltfWriter.h"

#include <algorithm>
#include <set>

namespace refhost {
namespace {

using formats::GltfInterpolation;
using formats::GltfPath;
using formats::GltfTrack;

const GltfTrack* trackOf(const formats::GltfAnimation* animation, int node, GltfPath path)
{
    if (animation)
        for (const GltfTrack& track : animation->tracks)
            if (track.node == node && track.path == path)
                return &track;
    return nullptr;
}

GltfTrack drivenTrack(const ExportFigure& figure, std::size_t node, GltfPath path,
                      const std::vector<double>& times)
{
    GltfTrack track{static_cast<int>(node), path, GltfInterpolation::Linear, {}, {}};
    for (std::size_t t = 0; t < times.size(); ++t) {
        const LocalPart& part = figure.part(t, node);
        if (path == GltfPath::Rotation)
            formats::addKey(track, times[t], part.rotation);
        else
            formats::addKey(track, times[t], path == GltfPath::Translation ? part.translation : part.scale);
    }
    return track;
}

} // namespace

ResultOf<std::string> exportGltf(const ExportFigure& figure, const MotionExportOptions& options,
                                 const std::vector<double>& times, std::size_t& animation, MotionExport& done)
{
    using Answer = ResultOf<std::string>;
    const formats::Gltf& gltf = figure.gltf();
    const std::size_t count = gltf.animations.size(), imported = figure.source().animation;
    const std::size_t chosen = options.animation.value_or(imported);
    if (options.animation && chosen >= count)
        return Answer::failure("there is no animation " + std::to_string(chosen) + " to replace; '"
                               + figure.source().fileName + "' has " + std::to_string(count)
                               + ", counted from 0");
    const formats::GltfAnimation* base = imported < count ? &gltf.animations[imported] : nullptr;
    const bool adds = options.append || chosen >= count;
    animation = adds ? count : chosen;
    formats::GltfClip clip{
        formats::freeClipName(gltf, base && !base->name.empty() ? base->name : options.name), {}, {}};
    const bool resamples = options.rate.has_value();
    for (std::size_t i = 0; i < figure.joints().size(); ++i) {
        const ExportJoint& joint = figure.joints()[i];
        for (const GltfPath path : {GltfPath::Translation, GltfPath::Rotation, GltfPath::Scale}) {
            const PropertyState state = joint.states[static_cast<std::size_t>(path)];
            const int node = static_cast<int>(i);
            if (state == PropertyState::Driven)
                clip.tracks.push_back(drivenTrack(figure, i, path, times));
            else if (state == PropertyState::Keyed)
                clip.tracks.push_back(keyedTrack(joint, node, path, trackOf(base, node, path),
                                                 resamples ? times : std::vector<double>{}, times.front()));
        }
    }
    for (const formats::GltfNote& note : formats::fitClip(gltf, clip))
        done.notes.push_back(note.text);
    std::set<int> changed;
    for (const GltfTrack& track : clip.tracks)
        changed.insert(track.node);
    for (const formats::GltfProperty& property : clip.still)
        changed.insert(property.node);
    done.changedJointCount = changed.size();
    std::string bytes = figure.source().text;
    const bool cuts = options.from || options.to;
    if (!changed.empty() || cuts || (base && animation != imported)) {
        formats::GltfWriteOptions how{
            base ? static_cast<int>(imported) : -1, adds ? -1 : static_cast<int>(chosen), {}};
        if (cuts)
            how.span = formats::GltfSpan{options.from.value_or(0), options.to.value_or(kMaximumTimeSeconds)};
        formats::GltfWriteResult written = formats::writeGlb(gltf, clip, how);
        if (const auto* error = std::get_if<formats::GltfError>(&written))
            return Answer::failure(error->place + ": " + error->reason);
        bytes = std::get<std::string>(std::move(written));
    }
    return {std::move(bytes), {}};
}

} // namespace refhost
