// SPDX-License-Identifier: MIT
// The one door through which edits change the document's private parts.
#pragma once

#include "refhost/Host.h"
#include "refhost/Scene.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace refhost {

/// Place of an element in a list; searched from the end, where edits mostly happen. Size of the list when
/// missing.
template <class T>
std::size_t placeOf(const std::vector<T*>& list, const T* element)
{
    for (std::size_t i = list.size(); i-- > 0;) {
        if (list[i] == element)
            return i;
    }
    return list.size();
}

template <class T>
void insertAt(std::vector<T>& list, std::size_t place, T element)
{
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(std::min(place, list.size())), std::move(element));
}

template <class T>
T takeAt(std::vector<T>& list, std::size_t place)
{
    T taken = std::move(list[place]);
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(place));
    return taken;
}

/// Changes without record or notification; each function is the exact inverse of its neighbour.
struct DocumentAccess {
    // Items
    static std::unique_ptr<Item> makeItem(Scene& scene, ItemId id, const ItemType& type, std::string name,
                                          std::string uniqueName);
    static void makeTransformOf(Item& item, TransformKind kind) { item.m_TransformKind = kind; }
    static void attachItem(Scene& scene, std::unique_ptr<Item> item, Item* parent, std::size_t place);
    static void attachTransform(Scene& scene, std::unique_ptr<Item> item, Item& owner);
    static std::unique_ptr<Item> detachItem(Scene& scene, Item& item);
    static std::vector<Item*>& childList(Scene& scene, Item* parent)
    {
        return parent ? parent->m_Children : scene.m_TopItems;
    }
    static void setParent(Item& item, Item* parent) { item.m_Parent = parent; }
    static void swapNames(Scene& scene, Item& item, std::string& name, std::string& uniqueName);
    static ItemId& nextId(Scene& scene) { return scene.m_NextId; }

    // Tags and data
    static TagList& tags(Scene& scene, Item* item) { return item ? item->m_Tags : scene.m_Tags; }
    static void swapTag(TagList& tags, TagCode code, std::unique_ptr<std::string>& value);
    static DataList& data(Scene& scene, Item* item) { return item ? item->m_Data : scene.m_Data; }
    static void swapData(DataList& data, const std::string& kind, std::shared_ptr<const DocumentData>& value);

    // Packages
    static std::vector<std::unique_ptr<ChannelBlock>>& blocks(Item& item) { return item.m_Blocks; }
    static void attachBlock(Item& item, std::unique_ptr<ChannelBlock> block, std::size_t place);
    /// Indices stay as holes behind; `slotCount` is what the item has afterwards.
    static std::unique_ptr<ChannelBlock> detachBlock(Item& item, std::size_t place, std::size_t slotCount);

    // Values
    static LayerValues& layerValues(Channel& channel, Layer layer);
    /// Gives the memory of a channel about which nothing is said back.
    static void dropIfEmpty(Channel& channel);

    // Links
    template <class Node>
    static void attachLink(LinkGraph<Node>& graph, Node& from, Node& to, std::size_t fromPlace,
                           std::size_t toPlace)
    {
        insertAt(graph.m_Forward[&from], fromPlace, &to);
        insertAt(graph.m_Reverse[&to], toPlace, &from);
        graph.m_Links.insert({&from, &to});
        count(from, 1);
        count(to, 1);
    }
    template <class Node>
    static void detachLink(LinkGraph<Node>& graph, Node& from, Node& to)
    {
        drop(graph.m_Forward, from, to);
        drop(graph.m_Reverse, to, from);
        graph.m_Links.erase({&from, &to});
        count(from, -1);
        count(to, -1);
    }
    static ChannelGraph& channelGraph(Scene& scene) { return scene.m_ChannelGraph; }

    // The rest
    static void setSetupMode(Scene& scene, bool on) { scene.m_SetupMode = on; }
    static void setDesk(Scene& scene, Desk& desk) { scene.m_Desk = &desk; }
    static void nextTimeEpoch(Scene& scene) { ++scene.m_TimeEpoch; }
    static bool selects(const Selection& selection, const Packet& packet)
    {
        return selection.isSelected(packet);
    }
    static void insertPacket(Selection& selection, const Packet& packet, std::size_t place);
    /// The place where it stood.
    static std::size_t removePacket(Selection& selection, const Packet& packet);
    static void removePacketsOf(Selection& selection, const Scene& scene);

private:
    static void count(Item&, int) { }
    static void count(Channel& channel, int step) { channel.m_LinkCount += static_cast<std::uint32_t>(step); }
    template <class Lists, class Node>
    static void drop(Lists& lists, const Node& node, const Node& other)
    {
        const auto found = lists.find(&node);
        takeAt(found->second, placeOf(found->second, &other));
        if (found->second.empty())
            lists.erase(found);
    }
    static void claimName(Scene& scene, Item& item);
    static void releaseName(Scene& scene, const std::string& uniqueName);
};

} // namespace refhost
