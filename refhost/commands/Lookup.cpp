// SPDX-License-Identifier: MIT
// Finds items and channels by the words of a command, and says what was perhaps meant.
#include "commands/Lookup.h"

#include "commands/CommandText.h"
#include "refhost/Command.h"
#include "refhost/Host.h"
#include "refhost/NearMiss.h"

#include <algorithm>
#include <charconv>
#include <numbers>

namespace refhost {
namespace {

// Comparing a word with more names than this would make every typing slip slow.
constexpr std::size_t kMostSuggestions = 5000;

constexpr const char* kNothingSelected =
    "Nothing is selected. Select an item first, or name one with item:NAME.";

std::string noChannel(const Item& item, std::string_view name)
{
    NearMiss near(name);
    const auto offerAll = [&](const ChannelLayout& layout) {
        for (const ChannelDefinition& definition : layout.definitions())
            near.offer(definition.name);
    };
    for (int i = 0; i < item.channelSlotCount(); ++i) {
        if (const Channel* channel = item.channel(i))
            near.offer(channel->name());
    }
    if (item.type().hasTransforms()) {
        for (int kind = 0; kind < kTransformKindCount; ++kind)
            offerAll(item.scene().host().transformType(static_cast<TransformKind>(kind)).layout());
    }
    std::string text = "'" + item.label() + "' has no channel " + shown(name) + ".";
    return text
        + (near.best().empty() ? " `query item:" + quotedWhereNeeded(itemText(item)) + "` lists its channels."
                               : near.question());
}

/// Null when there is no such item.
Item* lookUp(const Scene& scene, std::string_view text)
{
    if (Item* item = scene.findByUniqueName(text))
        return item;
    ItemId id = 0;
    if (text.size() < 2 || text.front() != '#')
        return nullptr;
    const auto [end, error] = std::from_chars(text.data() + 1, text.data() + text.size(), id);
    return error == std::errc() && end == text.data() + text.size() ? scene.find(id) : nullptr;
}

} // namespace

ResultOf<Item*> findItem(const Scene& scene, std::string_view text)
{
    if (Item* item = lookUp(scene, text))
        return {item, {}};
    NearMiss near(text);
    if (scene.itemCount() <= kMostSuggestions) {
        for (const Item* item : scene.items())
            near.offer(item->uniqueName());
    }
    return ResultOf<Item*>::failure(
        "There is no item named " + shown(text) + "."
        + (near.best().empty() ? " `items` lists what is there." : near.question()));
}

std::string itemText(const Item& item)
{
    return item.uniqueName().empty() ? "#" + std::to_string(item.id()) : item.uniqueName();
}

std::optional<TransformChannelName> transformChannel(const Item& item, std::string_view name)
{
    if (!item.type().hasTransforms())
        return std::nullopt;
    for (int i = 0; i < kTransformKindCount; ++i) {
        const auto kind = static_cast<TransformKind>(i);
        const ItemType& type = item.scene().host().transformType(kind);
        const int index = type.layout().find(name);
        // Index 0 belongs to every item, so it is none of the transform item's own.
        if (index > 0)
            return TransformChannelName{kind, &type, &type.layout()[index]};
    }
    return std::nullopt;
}

ResultOf<Channel*> findChannel(Item& item, std::string_view name, bool make)
{
    if (Channel* channel = item.channel(name))
        return {channel, {}};
    const auto transform = transformChannel(item, name);
    if (!transform)
        return ResultOf<Channel*>::failure(noChannel(item, name));
    Item* owner = item.transformItem(transform->kind);
    if (!owner && make) {
        ResultOf<Item*> made = item.scene().addTransformItem(item, transform->kind);
        if (!made.ok())
            return ResultOf<Channel*>::failure(std::move(made.message));
        owner = made.value;
    }
    return {owner ? owner->channel(name) : nullptr, {}};
}

ResultOf<Channel*> findItemChannel(Scene& scene, std::string_view text, bool make)
{
    // Names of items may hold dots as those of channels do: the longest item name counts.
    for (std::size_t dot = text.rfind('.'); dot != std::string_view::npos && dot > 0;
         dot = text.rfind('.', dot - 1)) {
        if (Item* item = lookUp(scene, text.substr(0, dot)))
            return findChannel(*item, text.substr(dot + 1), make);
    }
    const std::size_t dot = text.find('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == text.size()) {
        return ResultOf<Channel*>::failure(
            shown(text) + " is no channel of an item. Write ITEM.CHANNEL, as in Hand.wposMatrix.");
    }
    return ResultOf<Channel*>::failure(findItem(scene, text.substr(0, dot)).message);
}

std::string channelText(const Channel& channel)
{
    const Item* owner = channel.item().transformOwner();
    // The owner's own channel of that name, when it has one, would be found in place of this.
    if (owner && channel.index() > 0 && !owner->channel(channel.name()))
        return itemText(*owner) + "." + channel.name();
    return itemText(channel.item()) + "." + channel.name();
}

ResultOf<std::vector<Item*>> itemOrSelection(const Invocation& invocation, int index)
{
    ResultOf<std::vector<Item*>> items;
    if (invocation.arguments().isSet(index)) {
        if (Item* item = invocation.arguments().item(index))
            items.value.push_back(item);
        else
            items.message = "The item of this command is not in the scene any more.";
        return items;
    }
    for (const Packet& packet : invocation.host().selection().packets(SelectionType::Item)) {
        if (packet.scene == invocation.scene())
            items.value.push_back(packet.item);
    }
    if (items.value.empty())
        items.message = kNothingSelected;
    return items;
}

ResultOf<Item*> itemOrMostRecent(const Invocation& invocation, int index)
{
    ResultOf<std::vector<Item*>> items = itemOrSelection(invocation, index);
    return {items.value.empty() ? nullptr : items.value.back(), std::move(items.message)};
}

ResultOf<TagCode> tagFromText(std::string_view text)
{
    const bool plain = text.size() == 4
        && std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
    if (!plain)
        return ResultOf<TagCode>::failure("The tag is " + shown(text)
                                          + ", but has to be four plain characters such as OVCL.");
    return {tagCode(text[0], text[1], text[2], text[3]), {}};
}

ResultOf<double> channelNumber(const ChannelDefinition& definition, std::string_view text)
{
    const auto refuse = [&](const std::string& what) {
        return ResultOf<double>::failure("The value " + shown(text) + " does not suit '" + definition.name
                                         + "': " + what);
    };
    if (definition.type == ChannelType::Boolean) {
        if (const auto flag = booleanFromText(text))
            return {*flag ? 1.0 : 0.0, {}};
        return refuse("it is true or false.");
    }
    for (const TextHint& hint : definition.textHints) {
        if (hint.text == text)
            return {static_cast<double>(hint.value), {}};
    }
    if (definition.type == ChannelType::Integer) {
        if (const auto number = integerFromText(text))
            return {static_cast<double>(*number), {}};
        std::string words;
        for (const TextHint& hint : definition.textHints)
            words += (words.empty() ? "" : ", ") + hint.text;
        return refuse(words.empty() ? "it is a whole number of 32 bits."
                                    : "it is a whole number or one of: " + words + ".");
    }
    constexpr std::string_view kDegrees = "deg";
    if (definition.type == ChannelType::Angle && text.ends_with(kDegrees)) {
        if (const auto degrees = numberFromText(text.substr(0, text.size() - kDegrees.size())))
            return {*degrees * (std::numbers::pi / 180), {}};
        return refuse("it is an angle in radians, or in degrees as in 90deg.");
    }
    if (const auto number = numberFromText(text))
        return {*number, {}};
    return refuse(definition.type == ChannelType::Angle
                      ? "it is an angle in radians, or in degrees as in 90deg."
                      : "it is a number.");
}

} // namespace refhost
