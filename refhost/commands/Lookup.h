// SPDX-License-Identifier: MIT
// What the words of a command mean in a scene: items, channels, values.
#pragma once

#include "refhost/Result.h"
#include "refhost/Scene.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace refhost {

class Invocation;

/// By unique name, or by `#` and the identifier; the name comes first. The message suggests a near name.
ResultOf<Item*> findItem(const Scene& scene, std::string_view text);

/// The item as a command finds it again: unique name, or `#17` for a transform item.
std::string itemText(const Item& item);

/// A channel by its name on the item. `pos.X`, `rot.Y`, `scl.Z`, `order` of an item with transforms are those
/// of its transform items; one that is not there yet is made when `make` is set, which is an edit, and
/// otherwise answered with null and no message.
ResultOf<Channel*> findChannel(Item& item, std::string_view name, bool make);
/// The same from `ITEM.CHANNEL`.
ResultOf<Channel*> findItemChannel(Scene& scene, std::string_view text, bool make);
/// `ITEM.CHANNEL` as findItemChannel reads it; the channels of transform items are given as their owner's.
std::string channelText(const Channel& channel);
/// Channel of the transform item that a name such as `pos.X` means, for an item that lacks it.
struct TransformChannelName {
    TransformKind kind;
    const ItemType* type;
    const ChannelDefinition* definition;
};
std::optional<TransformChannelName> transformChannel(const Item& item, std::string_view name);

/// The item that the argument names, or the selected items of the current scene; a message when there is
/// none.
ResultOf<std::vector<Item*>> itemOrSelection(const Invocation& invocation, int index);
/// The item that the argument names, or the one selected last.
ResultOf<Item*> itemOrMostRecent(const Invocation& invocation, int index);

/// Four plain characters as the code of a tag.
ResultOf<TagCode> tagFromText(std::string_view text);

/// A number for this channel: radians, or degrees behind `deg`, for an angle; a word of the channel's hints;
/// true and false for a boolean.
ResultOf<double> channelNumber(const ChannelDefinition& definition, std::string_view text);

} // namespace refhost
