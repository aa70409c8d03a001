// SPDX-License-Identifier: MIT
// What evaluation computes: cells, which hold the value of a channel, and nodes; and what depends on what.
#pragma once

#include "refhost/Channel.h"
#include "refhost/NodeChannels.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace refhost {

class EvalGraph;
struct NodeVertex;
struct Vertex;

/// From a source to what is computed from it. It lives with the target, in the source's list.
struct Edge {
    Vertex* target = nullptr;
    Edge* next = nullptr;
    std::uint32_t slot = 0; ///< which input of the target this is
};
/// Slot of an edge that stands for no channel of a node.
inline constexpr std::uint32_t kNoSlot = ~std::uint32_t{0};

enum class VertexKind : std::uint8_t {
    Number, ///< a number channel, by its actions or its link
    Matrix, ///< a matrix channel, by its actions or its link
    Local, ///< localMatrix, by the transform items
    Position, ///< wposMatrix, by the local matrix and the parent
    Rotation, ///< wrotMatrix
    Scale, ///< wsclMatrix
    World, ///< worldMatrix, by the three
    Output, ///< a matrix channel that a node writes
    Node,
};

/// Parts of a computed matrix that are the same whatever the transforms are.
inline bool isLinearFixed(VertexKind kind) { return kind == VertexKind::Position; }
inline bool isOffsetFixed(VertexKind kind)
{
    return kind == VertexKind::Rotation || kind == VertexKind::Scale;
}

/// A valid vertex rests on valid sources only, so that invalidating stops where it finds an invalid one.
struct Vertex {
    explicit Vertex(VertexKind vertexKind) : kind(vertexKind) { }

    Edge* dependents = nullptr;
    VertexKind kind;
    bool valid = false;
    bool busy = false; ///< on the stack of what is being computed
    bool timed = false; ///< changes with time, and stands in the graph's list of such
    bool cut = false; ///< its link is left out, since it closes a circle
};

struct ChannelCell : Vertex {
    ChannelCell(VertexKind vertexKind, Channel& owner, NodeVertex* excluded)
        : Vertex(vertexKind), channel(&owner), without(excluded)
    {
    }
    Channel* channel;
    NodeVertex* without; ///< the node that this value knows nothing of; null for the value that all see
};

/// One source of a cell.
struct Dependency {
    ChannelCell* source = nullptr;
    Edge edge;
};

struct NumberCell : ChannelCell {
    using ChannelCell::ChannelCell;
    double number = 0;
    std::int32_t integer = 0;
    Dependency link;
};

inline constexpr std::uint32_t kMaximumDependencies = 4;

struct MatrixCell : ChannelCell {
    using ChannelCell::ChannelCell;
    Matrix34 value;
};

/// A matrix made of others, or by a link or the actions.
struct ComposedCell : MatrixCell {
    using MatrixCell::MatrixCell;
    Dependency sources[kMaximumDependencies];
    std::uint32_t sourceCount = 0;
};

/// The numbers that make a local matrix, in the order of LocalCell::inputs.
inline constexpr int kLocalInputCount = 10;

struct LocalCell : MatrixCell {
    LocalCell(Channel& owner, NodeVertex* excluded) : MatrixCell(VertexKind::Local, owner, excluded) { }

    struct Input {
        Channel* channel = nullptr; ///< null when the item has no such transform item
        Dependency link; ///< source set when the channel is linked
        double value = 0;
    };
    Input inputs[kLocalInputCount];
    std::uint16_t stale = 0xffff; ///< bits of inputs that must be read again
    std::uint16_t timedInputs = 0;
    Decomposition parts;
};

/// The value of a channel behind one node that writes it.
struct OutputCell : MatrixCell {
    OutputCell(Channel& owner, NodeVertex& writer, std::uint32_t index)
        : MatrixCell(VertexKind::Output, owner, nullptr), node(&writer), outputIndex(index)
    {
    }
    NodeVertex* node;
    std::uint32_t outputIndex;
    Edge nodeEdge;
    MatrixCell* before = nullptr; ///< the value without the node
    Edge beforeEdge;
    Edge readEdge; ///< from `before` to the node, once the node read it
};

/// One channel that a node writes.
struct NodeOutput {
    Channel* channel = nullptr; ///< null when it is gone
    OutputCell* cell = nullptr; ///< null until bound
    bool wroteLinear = false, wroteOffset = false; ///< in the run under way
    bool refusedLinear = false, refusedOffset = false;
    bool showsLinear = false, showsOffset = false; ///< what a run wrote, not what is without the node
};

/// Where a node's channel gets its value from; beside its slot.
struct SlotSource {
    Channel* channel = nullptr; ///< null when it is gone
    ChannelCell* source = nullptr; ///< null until bound, and for outputs
    Edge edge;
    bool cut = false; ///< shows the value without the node, since the real one closes a circle
};

struct ModifierSet;

struct NodeVertex final : Vertex, NodeChannels {
    NodeVertex(EvalGraph& owner, ModifierSet& maker)
        : Vertex(VertexKind::Node), graph(&owner), set(&maker) { }
    ~NodeVertex() { node.reset(); }

    std::optional<std::uint32_t> addChannel(Item& item, std::string_view name, ChannelMode mode);
    void setAllocating(bool on) { m_Allocating = on; }
    /// Notes that a slot must be read again.
    void markDirty(std::uint32_t slot)
    {
        if (slot != kNoSlot && !m_Slots[slot].dirty) {
            m_Slots[slot].dirty = true;
            dirty.push_back(slot);
        }
    }
    /// Takes the values of all dirty slots over from their sources, which are valid.
    void refresh();
    /// Forgets its place in a graph that is taken down.
    void unbind();
    /// The channel is about to go.
    void lose(const Channel& channel);
    /// The output at a slot; null when the slot is none.
    NodeOutput* outputAt(std::uint32_t slot)
    {
        const std::int32_t place = outputPlace(slot);
        return place < 0 ? nullptr : &outputs[static_cast<std::size_t>(place)];
    }
    std::int32_t outputPlace(std::uint32_t slot) const
    {
        return m_Slots[slot].mode == ChannelMode::Read || m_Slots[slot].state != SlotState::Matrix
            ? -1
            : m_Slots[slot].integer;
    }
    std::size_t outputIndex(const NodeOutput& output) const
    {
        return static_cast<std::size_t>(&output - outputs.data());
    }
    /// Asks for the memory that a run goes through, so that a scene of many rigs doesn't wait for each line.
    void fetch() const;
    Result run();
    /// How many steps the run may take; 0 where no channel says so.
    std::int32_t mostSteps() const { return stepsSlot ? m_Slots[*stepsSlot].integer : 0; }
    /// The user's name for it.
    std::string label() const;

    EvalGraph* graph;
    ModifierSet* set;
    std::string itemLabel;
    std::uint64_t itemId = 0;
    std::vector<SlotSource> sources;
    std::vector<NodeOutput> outputs;
    std::vector<Matrix34> written,
        shown; ///< beside `outputs`: by the run under way, and by the last good one
    std::vector<Matrix34> inputs; ///< copies of the matrices that it reads
    std::vector<std::uint32_t> dirty;
    std::optional<std::uint32_t> stepsSlot; ///< of the channel that bounds a solver's steps
    bool bound = false;
    bool failed = false; ///< in the last run: its outputs show what is without it
    bool refused = false; ///< in the last run numbers were refused
    std::unique_ptr<ModifierNode> node;
};

/// The nodes of one modifier.
struct ModifierSet {
    Modifier* modifier = nullptr;
    std::vector<std::unique_ptr<NodeVertex>> nodes;
    bool stale = true;
};

} // namespace refhost
