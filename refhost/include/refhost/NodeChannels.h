// SPDX-License-Identifier: MIT
// The channels of one node, as it adds, reads and writes them.
#pragma once

#include "refhost/Modifier.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace refhost {

/// Channels are added while the node is made, and read and written while it is evaluated. A channel added for
/// writing holds what it would have without the node until the node writes it.
class NodeChannels {
public:
    /// The index of the channel, counted from 0; nothing when the item has no such channel, or when the node
    /// is not being made now.
    std::optional<std::uint32_t> add(Item& item, std::string_view channel, ChannelMode mode);
    std::uint32_t count() const { return static_cast<std::uint32_t>(m_Slots.size()); }

    ChannelAnswer number(std::uint32_t index, double& out) const
    {
        const Slot* slot = ready(index, SlotState::Number);
        if (!slot)
            return why(index, SlotState::Number);
        out = slot->number;
        return ChannelAnswer::Ok;
    }
    /// Truncated.
    ChannelAnswer integer(std::uint32_t index, std::int32_t& out) const
    {
        const Slot* slot = ready(index, SlotState::Number);
        if (!slot)
            return why(index, SlotState::Number);
        out = slot->integer;
        return ChannelAnswer::Ok;
    }
    /// Whether a matrix can be read, or written, at this index now.
    ChannelAnswer matrix(std::uint32_t index, bool writing) const;
    /// The 3x3 part into nine doubles, row by row.
    ChannelAnswer linear(std::uint32_t index, double* nine);
    /// The offset into three doubles.
    ChannelAnswer offset(std::uint32_t index, double* three);
    ChannelAnswer setLinear(std::uint32_t index, const double* nine);
    ChannelAnswer setOffset(std::uint32_t index, const double* three);

    /// The node is being made: channels can be added.
    bool isAllocating() const { return m_Allocating; }
    /// The node is being evaluated: channels can be read and written.
    bool isRunning() const { return m_Running; }

    NodeChannels(const NodeChannels&) = delete;
    NodeChannels& operator=(const NodeChannels&) = delete;

protected:
    enum class SlotState : std::uint8_t { Number, Matrix, Other, Unavailable, Gone };
    /// Small, because a rig reads a thousand of them in every frame.
    struct Slot {
        double number = 0;
        std::int32_t integer = 0; ///< of a matrix: place among the node's inputs or outputs
        SlotState state = SlotState::Gone;
        ChannelMode mode = ChannelMode::Read;
        bool dirty = false;
    };

    NodeChannels() = default;
    ~NodeChannels() = default;

    const Slot* ready(std::uint32_t index, SlotState wanted) const
    {
        if (!m_Running || index >= m_Slots.size() || m_Slots[index].state != wanted)
            return nullptr;
        return &m_Slots[index];
    }
    ChannelAnswer why(std::uint32_t index, SlotState wanted) const;

    std::vector<Slot> m_Slots;
    bool m_Allocating = false;
    bool m_Running = false;
};

} // namespace refhost
