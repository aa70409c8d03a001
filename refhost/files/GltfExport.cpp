// SPDX-License-Identifier: MIT
// Samples the nodes' items over the time that the scene has keys for.
#include "files/GltfExport.h"

#include "formats/GltfWriter.h"
#include "refhost/Evaluation.h"
#include "refhost/Host.h"

#include <algorithm>
#include <cmath>

namespace refhost {
namespace {

constexpr double kStep = 1.0 / 60; // seconds between the keys that are written
constexpr std::size_t kMostFrames = 1'000'000;

double lastKey(const Item& item)
{
    double last = 0;
    for (const TransformKind kind : {TransformKind::Scale, TransformKind::Rotation, TransformKind::Position})
        if (const Item* transform = item.transformItem(kind))
            for (int i = 0; Channel* channel = transform->channel(i); ++i)
                if (const KeyList& keys = channel->keys(Layer::Anim); !keys.empty())
                    last = std::max(last, keys.keys().back().time);
    return last;
}

/// Local transforms from what was evaluated; of a joint that a rig moves they are what the rig made of it.
Decomposition localAt(Scene& scene, const Item& item, double time)
{
    Matrix34 world, above;
    Evaluation& evaluation = Evaluation::of(scene);
    evaluation.matrix(*item.channel("worldMatrix"), time, world);
    if (item.parent() && item.parent()->channel("worldMatrix"))
        evaluation.matrix(*item.parent()->channel("worldMatrix"), time, above);
    Matrix34 back;
    return decompose(invert(above, back) ? back * world : world);
}

} // namespace

ResultOf<MotionExport> exportGltf(Scene& scene, const MotionSource& source, std::string& out)
{
    using Answer = ResultOf<MotionExport>;
    formats::GltfReadResult read = formats::readGltf(source.text);
    if (const auto* error = std::get_if<formats::GltfError>(&read))
        return Answer::failure("the imported file '" + source.fileName
                               + "' that the scene keeps can't be read: " + error->place + ": "
                               + error->reason);
    const auto& gltf = std::get<formats::Gltf>(read);
    MotionExport done;
    std::vector<std::pair<int, Item*>> nodes;
    double end = 0;
    for (std::size_t i = 0; i < source.items.size() && i < gltf.nodes.size(); ++i) {
        Item* item = source.items[i] ? scene.find(source.items[i]) : nullptr;
        if (!item) {
            ++done.missingJointCount;
            continue;
        }
        nodes.emplace_back(static_cast<int>(i), item);
        end = std::max(end, lastKey(*item));
    }
    const double count = std::ceil(end / kStep - 1e-6) + 1;
    if (!(count <= static_cast<double>(kMostFrames)))
        return Answer::failure("the last key stands at " + std::to_string(end)
                               + " seconds, too late to be written frame by frame; remove it");
    formats::GltfClip clip{"scene", {}, {}};
    for (const auto& [node, item] : nodes)
        clip.keys.push_back({node, {}, {}, {}});
    done.frameCount = static_cast<std::size_t>(count);
    for (std::size_t frame = 0; frame < done.frameCount; ++frame) {
        clip.times.push_back(static_cast<double>(frame) * kStep);
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const Decomposition local = localAt(scene, *nodes[i].second, clip.times.back());
            clip.keys[i].translations.push_back(local.position);
            clip.keys[i].rotations.push_back(quaternionFromMatrix(local.rotation));
            clip.keys[i].scales.push_back(local.scale);
        }
    }
    formats::GltfWriteResult written =
        formats::writeGlb(gltf, clip, {.replaceAnimation = gltf.animations.empty() ? -1 : 0});
    if (const auto* error = std::get_if<formats::GltfError>(&written))
        return Answer::failure(error->place + ": " + error->reason);
    out = std::get<std::string>(std::move(written));
    return {std::move(done), {}};
}

} // namespace refhost
