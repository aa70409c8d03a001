// SPDX-License-Identifier: MIT
// What is selected, per selection type and in the order of selecting.
#pragma once

#include "refhost/Result.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace refhost {

class Desk;
class Item;
class Scene;

enum class SelectionType : std::uint8_t { Item, Cinema };
inline constexpr int kSelectionTypeCount = 2;
inline constexpr const char* kSelectionTypeNames[kSelectionTypeCount] = {"item", "cinema"};
/// Nothing for a name that is none of them.
std::optional<SelectionType> selectionTypeByName(std::string_view name);

/// One selected thing: an item, or a scene (`cinema`) with a null item.
struct Packet {
    Scene* scene = nullptr;
    Item* item = nullptr;

    SelectionType type() const { return item ? SelectionType::Item : SelectionType::Cinema; }
    bool operator==(const Packet&) const = default;
};
Packet packetOf(Item& item);
Packet packetOf(Scene& scene);

/// Of one desk. Changes are recorded when a step is open in the packet's scene, and made without record
/// otherwise: the selection is no part of the document.
class Selection {
public:
    explicit Selection(Desk& desk) : m_Desk(desk) { }

    /// Packets in order of selection.
    const std::vector<Packet>& packets(SelectionType type) const { return list(type).packets; }
    /// The most recent packet; nothing when none is selected.
    std::optional<Packet> mostRecent(SelectionType type) const;
    /// The packet selected after this one; nothing after the last, and for a packet that is not selected.
    std::optional<Packet> next(const Packet& packet) const;
    bool isSelected(const Packet& packet) const;

    /// Selecting what is selected moves nothing. A transform item or a deleted item is refused.
    Result select(const Packet& packet);
    /// Unselecting what is not selected changes nothing.
    Result deselect(const Packet& packet);
    Result clear(SelectionType type);

    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;

private:
    friend struct DocumentAccess;
    struct Hash {
        std::size_t operator()(const Packet& packet) const
        {
            return std::hash<const void*>()(packet.item ? static_cast<const void*>(packet.item)
                                                        : static_cast<const void*>(packet.scene));
        }
    };
    struct List {
        std::vector<Packet> packets;
        std::unordered_set<Packet, Hash> members;
    };
    const List& list(SelectionType type) const { return m_Lists[static_cast<int>(type)]; }

    Desk& m_Desk;
    List m_Lists[kSelectionTypeCount];
};

} // namespace refhost
