// SPDX-License-Identifier: MIT
// Walking a rig: from its root along the links of `ikRefs`.
#pragma once

#include "host/CZxScene.h"

#include <unordered_map>
#include <vector>

/// Visits `root` and everything that `ikRefs` reaches from it, depth first, a parent ahead of its children,
/// in the order of the links. An item that two links reach is visited once, by the first. Throws kZxAborted
/// when the links run in a circle, before the item that closes it is visited again.
template <class Visitor>
void WalkRig(const CZxUser_ItemGraph& ikRefs, const CZxUser_Item& root, Visitor&& visit)
{
    struct Level {
        CZxUser_Item item;
        uint64_t identifier;
        uint32_t linkCount;
        uint32_t nextLink = 0;
    };
    enum class State : uint8_t { Open, Done };
    std::unordered_map<uint64_t, State> states;
    std::vector<Level> path; // no recursion: files may hold hierarchies deeper than a stack

    const auto enter = [&](CZxUser_Item item) {
        const uint64_t identifier = item.identifier();
        const auto [state, isNew] = states.emplace(identifier, State::Open);
        if (!isNew) {
            if (state->second == State::Open)
                throw kZxAborted;
            return;
        }
        visit(item);
        const uint32_t linkCount = ikRefs.forwardCount(item);
        path.push_back({std::move(item), identifier, linkCount});
    };
    enter(root);
    while (!path.empty()) {
        Level& level = path.back();
        if (level.nextLink == level.linkCount) {
            states[level.identifier] = State::Done;
            path.pop_back();
        } else if (CZxUser_Item child = ikRefs.forward(level.item, level.nextLink++)) {
            enter(std::move(child));
        }
    }
}
