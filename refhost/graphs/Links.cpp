// SPDX-License-Identifier: MIT
// Links between items and between channels coming and going.
#include "refhost/Host.h"
#include "refhost/Scene.h"
#include "scene/ItemEdits.h"

namespace refhost {
namespace {

Change linkChange(bool adds, ChangeCause cause, const ItemGraph& graph, Item& from, Item& to)
{
    return {.kind = adds ? ChangeKind::ItemLinkAdded : ChangeKind::ItemLinkRemoved,
            .cause = cause,
            .item = &from,
            .other = &to,
            .name = graph.name()};
}

Change linkChange(bool adds, ChangeCause cause, const ChannelGraph& graph, Channel& from, Channel& to)
{
    return {.kind = adds ? ChangeKind::ChannelLinkAdded : ChangeKind::ChannelLinkRemoved,
            .cause = cause,
            .item = &from.item(),
            .other = &to.item(),
            .channel = &from,
            .otherChannel = &to,
            .name = graph.name()};
}

/// Adds a link at its places in both lists, or takes it from there.
template <class Node>
class LinkEdit final : public Edit {
public:
    LinkEdit(LinkGraph<Node>& graph, Node& from, Node& to, bool adds)
        : m_Graph(graph),
          m_From(from),
          m_To(to),
          m_FromPlace(placeOf(graph.forward(from), &to)),
          m_ToPlace(placeOf(graph.reverse(to), &from)),
          m_Adds(adds)
    {
    }
    void redo(Scene& scene, ChangeCause cause) override { set(scene, cause, m_Adds); }
    void undo(Scene& scene, ChangeCause cause) override { set(scene, cause, !m_Adds); }

private:
    void set(Scene& scene, ChangeCause cause, bool on)
    {
        const Notice notice(scene, linkChange(on, cause, m_Graph, m_From, m_To));
        if (on)
            DocumentAccess::attachLink(m_Graph, m_From, m_To, m_FromPlace, m_ToPlace);
        else
            DocumentAccess::detachLink(m_Graph, m_From, m_To);
    }

    LinkGraph<Node>& m_Graph;
    Node &m_From, &m_To;
    std::size_t m_FromPlace, m_ToPlace; // the end of the lists for a link that is new
    bool m_Adds;
};

// From the end, so that most links are the last of their lists.
template <class Node>
Result deleteAll(Journal& journal, LinkGraph<Node>& graph, Node& node)
{
    while (!graph.forward(node).empty()) {
        if (Result done = journal.perform(
                std::make_unique<LinkEdit<Node>>(graph, node, *graph.forward(node).back(), false));
            !done.ok())
            return done;
    }
    while (!graph.reverse(node).empty()) {
        if (Result done = journal.perform(
                std::make_unique<LinkEdit<Node>>(graph, *graph.reverse(node).back(), node, false));
            !done.ok())
            return done;
    }
    return {};
}

} // namespace

ItemGraph& Scene::mutableGraph(std::string_view name) const
{
    auto found = m_Graphs.find(name);
    if (found == m_Graphs.end())
        found = m_Graphs.emplace(std::string(name), std::make_unique<ItemGraph>(std::string(name))).first;
    return *found->second;
}

const ItemGraph& Scene::graph(std::string_view name) const { return mutableGraph(name); }

std::vector<const ItemGraph*> Scene::graphs() const
{
    std::vector<const ItemGraph*> out;
    for (const auto& [name, graph] : m_Graphs)
        out.push_back(graph.get());
    return out;
}

Result Scene::addLink(std::string_view graph, Item& from, Item& to)
{
    for (const Item* end : {&from, &to}) {
        if (Result own = checkOwn(*end); !own.ok())
            return own;
    }
    ItemGraph& links = mutableGraph(graph);
    if (links.contains(from, to))
        return {};
    return m_Journal.perform(std::make_unique<LinkEdit<Item>>(links, from, to, true));
}

Result Scene::deleteLink(std::string_view graph, Item& from, Item& to)
{
    for (const Item* end : {&from, &to}) {
        if (Result own = checkOwn(*end); !own.ok())
            return own;
    }
    ItemGraph& links = mutableGraph(graph);
    if (!links.contains(from, to))
        return Result::failure("The graph '" + std::string(graph) + "' has no link from '" + from.label()
                               + "' to '" + to.label() + "'.");
    return m_Journal.perform(std::make_unique<LinkEdit<Item>>(links, from, to, false));
}

Result Scene::addLink(Channel& from, Channel& to)
{
    for (const Channel* end : {&from, &to}) {
        if (Result own = checkOwn(*end); !own.ok())
            return own;
    }
    if (m_ChannelGraph.contains(from, to))
        return {};
    return m_Journal.perform(std::make_unique<LinkEdit<Channel>>(m_ChannelGraph, from, to, true));
}

Result Scene::deleteLink(Channel& from, Channel& to)
{
    for (const Channel* end : {&from, &to}) {
        if (Result own = checkOwn(*end); !own.ok())
            return own;
    }
    if (!m_ChannelGraph.contains(from, to))
        return Result::failure("There is no link from '" + from.label() + "' to '" + to.label() + "'.");
    return m_Journal.perform(std::make_unique<LinkEdit<Channel>>(m_ChannelGraph, from, to, false));
}

Result Scene::deleteLinksOf(Channel& channel)
{
    return channel.linkCount() == 0 ? Result{} : deleteAll(m_Journal, m_ChannelGraph, channel);
}

Result Scene::deleteLinksOf(Item& item)
{
    for (int i = 0; i < item.channelSlotCount(); ++i) {
        Channel* channel = item.channel(i);
        if (!channel || channel->linkCount() == 0)
            continue;
        if (Result done = deleteLinksOf(*channel); !done.ok())
            return done;
    }
    for (const auto& [name, graph] : m_Graphs) {
        if (Result done = deleteAll(m_Journal, *graph, item); !done.ok())
            return done;
    }
    return {};
}

} // namespace refhost
