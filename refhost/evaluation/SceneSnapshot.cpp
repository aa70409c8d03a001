// SPDX-License-Identifier: MIT
// Copies what is evaluated, so that a read can outlast edits.
#include "evaluation/SceneSnapshot.h"

#include "evaluation/EvalGraph.h"
#include "refhost/Scene.h"

namespace refhost {

SceneSnapshot::SceneSnapshot(Scene& scene, EvalGraph& graph)
{
    items.reserve(scene.items().size());
    for (Item* item : scene.items()) {
        ItemValues& copy = items[item->id()];
        copy.values.resize(static_cast<std::size_t>(item->channelSlotCount()));
        for (int i = 0; i < item->channelSlotCount(); ++i) {
            Channel* channel = item->channel(i);
            if (!channel)
                continue;
            Value& value = copy.values[static_cast<std::size_t>(i)];
            value.exists = true;
            value.isNumber = isNumber(channel->type());
            if (value.isNumber) {
                value.number = graph.number(*channel);
                value.integer = graph.integer(*channel);
            } else if (channel->type() == ChannelType::Matrix4) {
                value.matrix = static_cast<std::int32_t>(copy.matrices.size());
                copy.matrices.emplace_back();
                graph.matrix(*channel, copy.matrices.back());
            }
        }
    }
}

const SceneSnapshot::Value* SceneSnapshot::find(const Item& item, int channel) const
{
    const auto found = items.find(item.id());
    if (found == items.end() || channel < 0
        || static_cast<std::size_t>(channel) >= found->second.values.size())
        return nullptr;
    const Value& value = found->second.values[static_cast<std::size_t>(channel)];
    return value.exists ? &value : nullptr;
}

} // namespace refhost
