// SPDX-License-Identifier: MIT
// What a press at an item's place gripped, when that is not the item.
#include "commands/GestureAim.h"

#include "refhost/Evaluation.h"
#include "refhost/Host.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace refhost {
namespace {

struct Position {
    const Item* top; ///< of the tree that the item is in
    std::size_t depth; ///< below it
};

Position positionOf(const Item& item)
{
    Position position{&item, 0};
    for (; position.top->parent(); position.top = position.top->parent())
        ++position.depth;
    return position;
}

} // namespace

/// The tree of the wanted item comes last, and what is above ahead of what is below.
GestureAim::GestureAim(const Item& wanted, double time) : m_Wanted(wanted)
{
    Scene& scene = wanted.scene();
    const Item* own = positionOf(wanted).top;
    std::vector<std::tuple<bool, std::size_t, const Item*>> order;
    for (const Item* item : scene.itemsOfType(scene.host().locatorType())) {
        const auto [top, depth] = positionOf(*item);
        if (!item->isOfType("ikSolver"))
            order.emplace_back(top == own, depth, item);
    }
    std::stable_sort(order.begin(), order.end(), [](const auto& a, const auto& b) {
        return std::tie(std::get<0>(a), std::get<1>(a)) < std::tie(std::get<0>(b), std::get<1>(b));
    });
    for (const auto& [isOwn, depth, item] : order) {
        Matrix34 world;
        if (Evaluation::of(scene).matrix(*item->channel("wposMatrix"), time, world))
            m_Places.emplace_back(item, world.offset);
    }
}

/// The item of a handle. Handles say where they are and not whose they are; so of several in one place the
/// n-th is taken for that of the n-th item there, counted from the end, since a tool need not begin at the
/// top.
const Item* GestureAim::itemOf(const DrawingList& handles, const DrawElement& hit) const
{
    std::set<std::uint32_t> parts;
    for (const DrawElement& handle : handles.elements)
        if (handle.transform.offset == hit.transform.offset)
            parts.insert(handle.part);
    std::vector<const Item*> items;
    for (const auto& [item, place] : m_Places)
        if (place == hit.transform.offset)
            items.push_back(item);
    const auto fromEnd = static_cast<std::size_t>(std::distance(parts.find(hit.part), parts.end()));
    return fromEnd <= items.size() ? items[items.size() - fromEnd] : nullptr;
}

std::string GestureAim::grippedInstead(const DrawingList& handles, const DrawElement* hit) const
{
    if (!m_Wanted.isOfType("locator"))
        return {};
    if (!hit)
        return "The tool has no handle on '" + m_Wanted.label()
            + "', so the gesture meant what is seen there, or nothing. Joints from the selected locator down "
              "have handles.";
    const Item* gripped = itemOf(handles, *hit);
    if (gripped == &m_Wanted)
        return {};
    return (gripped ? "'" + gripped->label() + "'" : "Another joint") + " lies in front of '"
        + m_Wanted.label()
        + "' in this view, and was gripped instead. Turn the view with view.set, or by view:.";
}

} // namespace refhost
