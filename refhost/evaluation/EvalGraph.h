// SPDX-License-Identifier: MIT
// The evaluated state of a scene at one time: cells, nodes, and the walk that brings them up to date.
#pragma once

#include "evaluation/Arena.h"
#include "evaluation/EvalVertex.h"
#include "refhost/Evaluation.h"

#include <unordered_map>
#include <unordered_set>

namespace refhost {

/// Cells are made when somebody asks and taken down together when links, hierarchy or nodes change; an edit
/// of a value invalidates what rests on it. All walks are loops, so that deep hierarchies can't exhaust the
/// stack.
class EvalGraph {
public:
    EvalGraph(Evaluation& evaluation, Scene& scene, ChannelCell* EvalCell::*place, double time);
    ~EvalGraph();

    double time() const { return m_Time; }
    /// Invalidates what depends on time.
    void setTime(double time);

    double number(Channel& channel);
    std::int32_t integer(Channel& channel);
    bool matrix(Channel& channel, Matrix34& out);
    const std::string* text(Channel& channel) const;

    /// Makes nodes that are due.
    void requireNodes();
    NodeVertex* findNode(std::uint64_t itemId, std::string_view modifier) const;
    const std::vector<std::unique_ptr<ModifierSet>>& sets() const { return m_Sets; }
    bool hasFailedNodes() const { return m_FailedNodes > 0; }
    void retryFailedNodes();

    // Invalidating
    void invalidateValue(const Channel& channel);
    void invalidateTimed();
    /// Values shown at a time where there is no key end with any change of the host's time.
    void invalidateShown();
    void invalidateNodes();
    void invalidateAll();
    /// Takes all cells down; nodes stay.
    void drop();
    /// The nodes whose modifier cares about the change are made anew before the next read.
    void markStale(const Change& change);
    void modifierAdded(Modifier& modifier);
    void modifierRemoving(Modifier& modifier);
    /// Item or package is about to go.
    void loseChannels(const Change& change);

    // For nodes
    void ensure(Vertex& vertex);
    void invalidate(Vertex& vertex);
    /// The value of an output without its node, for the node itself.
    MatrixCell* valueBefore(NodeVertex& node, NodeOutput& output);

    EvalGraph(const EvalGraph&) = delete;
    EvalGraph& operator=(const EvalGraph&) = delete;

private:
    struct Frame {
        Vertex* vertex;
        std::uint32_t next;
    };
    struct Writer {
        NodeVertex* node;
        std::uint32_t output;
    };
    struct Ghost {
        NodeVertex* without;
        ChannelCell* cell;
    };
    /// Which channels depend on a node, as far as it was asked.
    struct Reach {
        std::unordered_map<const void*, bool> known;
    };

    // Binding (EvalBinding.cpp)
    ChannelCell*& place(Channel& channel) const { return channel.cell.*m_Place; }
    ChannelCell* place(const Channel& channel) const { return channel.cell.*m_Place; }
    bool mustBind(Channel& channel) const;
    ChannelCell& bound(Channel& channel);
    ChannelCell* cellOf(Channel& channel);
    ChannelCell* cellWithout(Channel& channel, NodeVertex* node);
    ChannelCell* ghostOf(Channel& channel, NodeVertex& node);
    ChannelCell* makeCell(Channel& channel, NodeVertex* without);
    void bindCells();
    void bindCell(ChannelCell& cell);
    void bindLocal(LocalCell& cell);
    void bindWorld(ComposedCell& cell);
    void bindNode(NodeVertex& node);
    void depend(ComposedCell& cell, Channel* source);
    static void link(Dependency& dependency, ChannelCell* source, Vertex& target, std::uint32_t slot);
    static void attach(Edge& edge, Vertex& source, Vertex& target, std::uint32_t slot);
    Channel* linkSource(const Channel& channel) const;
    bool dependsOn(Channel& channel, NodeVertex& node);
    void listUpstream(Channel& channel, std::vector<Channel*>& channels,
                      std::vector<NodeVertex*>& nodes) const;
    const std::vector<Writer>* writersOf(const Channel& channel) const;

    // Computing (EvalGraph.cpp)
    Vertex* nextNeeded(Vertex& vertex, std::uint32_t& next);
    void compute(Vertex& vertex);
    void compute(NumberCell& cell);
    void compute(ComposedCell& cell);
    void compute(LocalCell& cell);
    void compute(OutputCell& cell);
    void runNode(NodeVertex& node);
    void breakCircle(std::size_t base, Vertex& again);
    void watchTime(Vertex& vertex);
    Layer layer() const;

    // Nodes (EvalNodes.cpp)
    void makeNodes(ModifierSet& set);
    void listWriters();

    Evaluation& m_Evaluation;
    Scene& m_Scene;
    ChannelCell* EvalCell::*m_Place;
    double m_Time;

    Arena<NumberCell> m_Numbers;
    Arena<ComposedCell> m_Matrices;
    Arena<LocalCell> m_Locals;
    Arena<OutputCell> m_Outputs;
    Arena<Edge> m_CutEdges; // to nodes whose slots were cut
    std::unordered_map<const Channel*, std::vector<Ghost>> m_Ghosts;
    std::unordered_map<const NodeVertex*, Reach> m_Reach;
    std::vector<ChannelCell*> m_Unbound;

    std::vector<std::unique_ptr<ModifierSet>> m_Sets;
    std::unordered_map<const Channel*, std::vector<Writer>> m_Writers;
    bool m_NodesDue = true;
    bool m_WritersDue = true;
    std::size_t m_FailedNodes = 0;

    std::vector<Vertex*> m_Timed;
    std::vector<Vertex*> m_Invalidating;
    std::vector<Frame> m_Stack;
};

/// The channels of an item that transforms are made of; null where the item has none such.
enum class TransformChannel : std::uint8_t { Local, Position, Rotation, Scale, World };
Channel* transformChannel(const Item& item, TransformChannel which);
/// The vertex kind of a computed channel; Matrix for any other.
VertexKind computedKind(const Channel& channel);
/// The nearest item above that has transforms.
Item* transformParent(const Item& item);
/// Whether the layer or one below changes this channel with time.
bool variesInTime(const Channel& channel, Layer layer);

} // namespace refhost
