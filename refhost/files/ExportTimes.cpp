// SPDX-License-Identifier: MIT
// Follows every link from a figure's items to what may drive them, and collects when that moves.
#include "files/ExportTimes.h"

#include "formats/Bvh.h"
#include "formats/Gltf.h"
#include "refhost/Keys.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <unordered_set>

namespace refhost {
namespace {

constexpr double kSameFrame = 5e-4; // seconds: times of two files that lie nearer are the same frame

/// Everything that may have a say in where the items are: what is above, below and linked, and so on from
/// there upwards.
class Followed {
public:
    Followed(Scene& scene, const MotionSource& source, bool withLinks)
    {
        for (const ItemId id : source.items)
            if (Item* item = id ? scene.find(id) : nullptr)
                add(*item, withLinks);
        while (!m_Ahead.empty()) {
            Item& item = *m_Ahead.back();
            m_Ahead.pop_back();
            visit(scene, item, withLinks);
        }
    }

    const std::vector<Item*>& items() const { return m_Items; }
    bool contains(const Item& item) const { return m_Seen.contains(&item); }

private:
    void add(Item& item, bool withChildren)
    {
        if (!m_Seen.insert(&item).second)
            return;
        m_Items.push_back(&item);
        m_Ahead.push_back(&item);
        for (Item* child : item.children())
            if (withChildren)
                add(*child, true);
    }

    void visit(Scene& scene, Item& item, bool withLinks)
    {
        for (const TransformKind kind :
             {TransformKind::Scale, TransformKind::Rotation, TransformKind::Position})
            if (Item* transform = item.transformItem(kind))
                add(*transform, false);
        if (!withLinks)
            return;
        if (item.parent())
            add(*item.parent(), false);
        if (item.transformOwner())
            add(*item.transformOwner(), false);
        for (const ItemGraph* graph : scene.graphs())
            for (const auto* list : {&graph->forward(item), &graph->reverse(item)})
                for (Item* other : *list)
                    add(*other, false);
        for (int i = 0; i < item.channelSlotCount(); ++i)
            if (const Channel* channel = item.channel(i); channel && channel->linkCount() > 0)
                for (Channel* other : scene.channelGraph().reverse(*channel))
                    add(other->item(), false);
    }

    std::unordered_set<const Item*> m_Seen;
    std::vector<Item*> m_Items, m_Ahead;
};

struct Frames {
    std::vector<double> times;
    double step = 0;
};

/// The frames of an imported file.
Frames framesOf(const MotionSource& source)
{
    Frames frames;
    if (source.gltf) {
        const formats::GltfReadResult read = formats::readGltf(source.text);
        const auto* gltf = std::get_if<formats::Gltf>(&read);
        if (gltf && source.animation < gltf->animations.size()) {
            frames.times = formats::frameTimes(gltf->animations[source.animation]);
            frames.step = formats::frameStep(gltf->animations[source.animation]);
        }
        return frames;
    }
    const formats::BvhReadResult read = formats::readBvh(source.text);
    if (const auto* motion = std::get_if<formats::BvhMotion>(&read)) {
        for (std::size_t i = 0; i < motion->frameCount; ++i)
            frames.times.push_back(static_cast<double>(i) * motion->frameTime);
        frames.step = motion->frameCount > 0 ? motion->frameTime : 0;
    }
    return frames;
}

/// Adds rising times, those aside that lie beside one that is there.
void merge(std::vector<double>& times, const std::vector<double>& others)
{
    std::vector<double> added;
    for (const double time : others) {
        const auto after = std::lower_bound(times.begin(), times.end(), time - kSameFrame);
        if (after == times.end() || *after > time + kSameFrame)
            added.push_back(time);
    }
    const auto middle = times.insert(times.end(), added.begin(), added.end());
    std::inplace_merge(times.begin(), middle, times.end());
}

} // namespace

const MotionSource* motionSourceOf(const Item& item)
{
    return dynamic_cast<const MotionSource*>(item.data().find(kMotionSourceKind).get());
}

ExportTimes exportTimes(Scene& scene, const MotionSource& source, bool withLinks)
{
    const Followed followed(scene, source, withLinks);
    std::set<const Item*> mine; // of an imported figure, whose frames stand for its keys
    std::vector<const MotionSource*> sources;
    for (Item* item : scene.items())
        if (const MotionSource* one = motionSourceOf(*item)) {
            bool taken = false;
            for (const ItemId id : one->items)
                if (const Item* joint = id ? scene.find(id) : nullptr) {
                    mine.insert(joint);
                    taken = taken || followed.contains(*joint);
                }
            if (taken && one != &source)
                sources.push_back(one);
        }
    sources.push_back(&source);
    ExportTimes out;
    for (const MotionSource* one : sources) {
        const Frames frames = framesOf(*one);
        merge(out.times, frames.times);
        out.frameSeconds = out.frameSeconds > 0 ? out.frameSeconds : frames.step;
    }
    std::vector<double> first, keys;
    for (const Item* item : followed.items())
        for (int i = 0; i < item->channelSlotCount(); ++i) {
            const Channel* channel = item->channel(i);
            const std::vector<Key>* own = channel ? &channel->keys(Layer::Anim).keys() : nullptr;
            if (!own || own->empty())
                continue;
            const Item* owner = item->transformOwner() ? item->transformOwner() : item;
            for (const Key& key : *own)
                if (!mine.contains(owner) || out.times.empty() || key.time < out.times.front()
                    || key.time > out.times.back())
                    keys.push_back(key.time);
            first.insert(first.end(), {own->front().time, own->back().time});
        }
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end(), sameTime), keys.end());
    merge(out.times, keys);
    out.times = formats::withoutGaps(out.times);
    if (!first.empty()) {
        out.from = *std::min_element(first.begin(), first.end());
        out.to = *std::max_element(first.begin(), first.end());
    }
    return out;
}

std::vector<double> ExportTimes::within(std::optional<double> rate) const
{
    std::vector<double> out;
    if (rate) {
        for (double i = 0; from + i / *rate < to - kSameFrame; ++i)
            out.push_back(from + i / *rate);
        out.push_back(std::max(from, to));
        return out;
    }
    out.push_back(from);
    for (const double time : times)
        if (time > from + kSameFrame && time < to - kSameFrame)
            out.push_back(time);
    if (to > from)
        out.push_back(to);
    return out;
}

} // namespace refhost
