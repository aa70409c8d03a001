// SPDX-License-Identifier: MIT
// Directed links in order: between items by graph name, and between channels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace refhost {

class Item;
class Channel;

/// Links from node to node; each node's forward and reverse links keep the order in which they were added.
/// Reading only; changes are operations of Scene.
template <class Node>
class LinkGraph {
public:
    explicit LinkGraph(std::string name) : m_Name(std::move(name)) { }

    const std::string& name() const { return m_Name; }
    std::size_t linkCount() const { return m_Links.size(); }
    bool contains(const Node& from, const Node& to) const { return m_Links.contains(Link{&from, &to}); }
    /// Targets of the links from this node.
    const std::vector<Node*>& forward(const Node& node) const { return listOf(m_Forward, node); }
    /// Sources of the links to this node.
    const std::vector<Node*>& reverse(const Node& node) const { return listOf(m_Reverse, node); }

    LinkGraph(const LinkGraph&) = delete;
    LinkGraph& operator=(const LinkGraph&) = delete;

private:
    friend struct DocumentAccess;
    using Lists = std::unordered_map<const Node*, std::vector<Node*>>;
    struct Link {
        const Node* from;
        const Node* to;
        bool operator==(const Link&) const = default;
    };
    struct LinkHash {
        std::size_t operator()(const Link& link) const
        {
            const auto a = reinterpret_cast<std::uintptr_t>(link.from),
                       b = reinterpret_cast<std::uintptr_t>(link.to);
            return static_cast<std::size_t>((a ^ (b << 7 | b >> 23)) * 0x9e3779b97f4a7c15ull >> 7);
        }
    };
    const std::vector<Node*>& listOf(const Lists& lists, const Node& node) const
    {
        const auto found = lists.find(&node);
        return found == lists.end() ? m_None : found->second;
    }

    std::string m_Name;
    Lists m_Forward, m_Reverse;
    std::unordered_set<Link, LinkHash> m_Links;
    std::vector<Node*> m_None;
};

using ItemGraph = LinkGraph<Item>;
using ChannelGraph = LinkGraph<Channel>;

} // namespace refhost
