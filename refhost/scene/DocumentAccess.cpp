// SPDX-License-Identifier: MIT
// Raw changes of items, names, tags, packages and values.
#include "scene/DocumentAccess.h"

#include <charconv>

namespace refhost {

std::unique_ptr<Item> DocumentAccess::makeItem(Scene& scene, ItemId id, const ItemType& type,
                                               std::string name, std::string uniqueName)
{
    std::unique_ptr<Item> item(new Item(scene, id, type));
    item->m_Name = std::move(name);
    item->m_UniqueName = std::move(uniqueName);
    return item;
}

void DocumentAccess::claimName(Scene& scene, Item& item)
{
    if (!item.m_UniqueName.empty())
        scene.m_UniqueNames.emplace(item.m_UniqueName, &item);
}

// A freed `Base_7` lowers the number from which the next suffix of `Base` is searched.
void DocumentAccess::releaseName(Scene& scene, const std::string& uniqueName)
{
    scene.m_UniqueNames.erase(uniqueName);
    const std::size_t bar = uniqueName.rfind('_');
    if (bar == std::string::npos)
        return;
    const auto next = scene.m_NextSuffix.find(std::string_view(uniqueName).substr(0, bar));
    if (next == scene.m_NextSuffix.end())
        return;
    std::uint64_t number = 0;
    const char* end = uniqueName.data() + uniqueName.size();
    const auto read = std::from_chars(uniqueName.data() + bar + 1, end, number);
    if (read.ec == std::errc() && read.ptr == end && number >= 2 && number < next->second)
        next->second = number;
}

void DocumentAccess::attachItem(Scene& scene, std::unique_ptr<Item> item, Item* parent, std::size_t place)
{
    insertAt(childList(scene, parent), place, item.get());
    item->m_Parent = parent;
    item->m_Alive = true;
    claimName(scene, *item);
    if (scene.m_Ordered.empty() || scene.m_Ordered.back()->m_Id < item->m_Id)
        scene.m_Ordered.push_back(item.get());
    else
        scene.m_OrderedStale = true;
    const ItemId id = item->m_Id;
    scene.m_Items.emplace(id, std::move(item));
}

void DocumentAccess::attachTransform(Scene& scene, std::unique_ptr<Item> item, Item& owner)
{
    item->m_TransformOwner = &owner;
    item->m_Alive = true;
    owner.m_Transforms[static_cast<int>(item->m_TransformKind)] = item.get();
    if (scene.m_Ordered.empty() || scene.m_Ordered.back()->m_Id < item->m_Id)
        scene.m_Ordered.push_back(item.get());
    else
        scene.m_OrderedStale = true;
    const ItemId id = item->m_Id;
    scene.m_Items.emplace(id, std::move(item));
}

std::unique_ptr<Item> DocumentAccess::detachItem(Scene& scene, Item& item)
{
    if (Item* owner = item.m_TransformOwner) {
        owner->m_Transforms[static_cast<int>(item.m_TransformKind)] = nullptr;
        item.m_TransformOwner = nullptr;
    } else {
        std::vector<Item*>& siblings = childList(scene, item.m_Parent);
        takeAt(siblings, placeOf(siblings, &item));
        item.m_Parent = nullptr;
        releaseName(scene, item.m_UniqueName);
    }
    item.m_Alive = false;
    if (!scene.m_OrderedStale && scene.m_Ordered.back() == &item)
        scene.m_Ordered.pop_back();
    else
        scene.m_OrderedStale = true;
    const auto found = scene.m_Items.find(item.m_Id);
    std::unique_ptr<Item> taken = std::move(found->second);
    scene.m_Items.erase(found);
    return taken;
}

void DocumentAccess::swapNames(Scene& scene, Item& item, std::string& name, std::string& uniqueName)
{
    releaseName(scene, item.m_UniqueName);
    item.m_Name.swap(name);
    item.m_UniqueName.swap(uniqueName);
    claimName(scene, item);
}

void DocumentAccess::swapTag(TagList& tags, TagCode code, std::unique_ptr<std::string>& value)
{
    auto& list = tags.m_Tags;
    const auto place = std::lower_bound(list.begin(), list.end(), code,
                                        [](const auto& tag, TagCode wanted) { return tag.first < wanted; });
    std::unique_ptr<std::string> former;
    if (place != list.end() && place->first == code) {
        former = std::make_unique<std::string>(std::move(place->second));
        if (value)
            place->second = std::move(*value);
        else
            list.erase(place);
    } else if (value) {
        list.emplace(place, code, std::move(*value));
    }
    value = std::move(former);
}

void DocumentAccess::swapData(DataList& data, const std::string& kind,
                              std::shared_ptr<const DocumentData>& value)
{
    auto& list = data.m_Data;
    const auto place =
        std::lower_bound(list.begin(), list.end(), kind,
                         [](const auto& entry, const std::string& wanted) { return entry.first < wanted; });
    std::shared_ptr<const DocumentData> former;
    if (place != list.end() && place->first == kind) {
        former = std::move(place->second);
        if (value)
            place->second = std::move(value);
        else
            list.erase(place);
    } else if (value) {
        list.emplace(place, kind, std::move(value));
    }
    value = std::move(former);
}

void DocumentAccess::attachBlock(Item& item, std::unique_ptr<ChannelBlock> block, std::size_t place)
{
    const auto end = static_cast<std::size_t>(block->firstIndex() + block->count());
    if (item.m_Slots.size() < end)
        item.m_Slots.resize(end);
    for (int i = 0; i < block->count(); ++i)
        item.m_Slots[static_cast<std::size_t>(block->firstIndex() + i)] = &block->channel(i);
    insertAt(item.m_Blocks, place, std::move(block));
}

std::unique_ptr<ChannelBlock> DocumentAccess::detachBlock(Item& item, std::size_t place,
                                                          std::size_t slotCount)
{
    std::unique_ptr<ChannelBlock> block = takeAt(item.m_Blocks, place);
    for (int i = 0; i < block->count(); ++i)
        item.m_Slots[static_cast<std::size_t>(block->firstIndex() + i)] = nullptr;
    item.m_Slots.resize(slotCount);
    return block;
}

LayerValues& DocumentAccess::layerValues(Channel& channel, Layer layer)
{
    if (!channel.m_Values)
        channel.m_Values = std::make_unique<ChannelValues>();
    return channel.m_Values->layers[static_cast<int>(layer)];
}

void DocumentAccess::dropIfEmpty(Channel& channel)
{
    if (channel.m_Values && channel.m_Values->layers[0].empty() && channel.m_Values->layers[1].empty())
        channel.m_Values.reset();
}

void DocumentAccess::insertPacket(Selection& selection, const Packet& packet, std::size_t place)
{
    packet.scene->m_WasSelected = true;
    Selection::List& list = selection.m_Lists[static_cast<int>(packet.type())];
    insertAt(list.packets, place, packet);
    list.members.insert(packet);
}

std::size_t DocumentAccess::removePacket(Selection& selection, const Packet& packet)
{
    Selection::List& list = selection.m_Lists[static_cast<int>(packet.type())];
    std::size_t place = list.packets.size();
    while (place > 0 && !(list.packets[place - 1] == packet))
        --place;
    --place;
    list.packets.erase(list.packets.begin() + static_cast<std::ptrdiff_t>(place));
    list.members.erase(packet);
    return place;
}

void DocumentAccess::removePacketsOf(Selection& selection, const Scene& scene)
{
    for (Selection::List& list : selection.m_Lists) {
        std::erase_if(list.packets, [&](const Packet& packet) { return packet.scene == &scene; });
        std::erase_if(list.members, [&](const Packet& packet) { return packet.scene == &scene; });
    }
}

} // namespace refhost
