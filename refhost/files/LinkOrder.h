// SPDX-License-Identifier: MIT
// An order of a graph's links from which its forward and reverse lists come back by adding one after the
// other.
#pragma once

#include "files/SceneFileParts.h"
#include "refhost/LinkGraph.h"

#include <cstddef>
#include <functional>
#include <queue>
#include <unordered_map>
#include <utility>
#include <vector>

namespace refhost {

/// Links in an order in which adding them one by one gives every node its lists, forward and reverse. The
/// order in which they once were added is such an order; of all there are, the one that goes by source is
/// taken.
template <class Node>
std::vector<std::pair<Node*, Node*>> linksInOrder(const LinkGraph<Node>& graph,
                                                  const std::vector<Node*>& nodes)
{
    std::vector<std::pair<Node*, Node*>> links;
    std::unordered_map<const Node*, std::unordered_map<const Node*, std::size_t>> places; // target, source
    for (Node* node : nodes) {
        for (Node* target : graph.forward(*node)) {
            places[target][node] = links.size();
            links.emplace_back(node, target);
        }
    }
    std::vector<std::vector<std::size_t>> after(links.size());
    std::vector<int> waits(links.size());
    const auto follow = [&](std::size_t before, std::size_t later) {
        after[before].push_back(later);
        ++waits[later];
    };
    for (std::size_t i = 1; i < links.size(); ++i) {
        if (links[i - 1].first == links[i].first)
            follow(i - 1, i);
    }
    for (const Node* node : nodes) {
        const std::vector<Node*>& sources = graph.reverse(*node);
        for (std::size_t i = 1; i < sources.size(); ++i)
            follow(places[node].at(sources[i - 1]), places[node].at(sources[i]));
    }
    std::priority_queue<std::size_t, std::vector<std::size_t>, std::greater<>> ready;
    for (std::size_t i = 0; i < links.size(); ++i) {
        if (waits[i] == 0)
            ready.push(i);
    }
    std::vector<std::pair<Node*, Node*>> order;
    while (!ready.empty()) {
        const std::size_t next = ready.top();
        ready.pop();
        order.push_back(links[next]);
        for (const std::size_t later : after[next]) {
            if (--waits[later] == 0)
                ready.push(later);
        }
    }
    if (order.size() != links.size())
        throw SceneFileFault{"graph " + graph.name()
                             + ": no order of adding gives its links their places; remove some of them"};
    return order;
}

} // namespace refhost
