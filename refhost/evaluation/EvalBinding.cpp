// SPDX-License-Identifier: MIT
// Making cells for channels, and finding out what each of them rests on.
#include "evaluation/EvalGraph.h"

#include "refhost/Host.h"

#include <algorithm>

namespace refhost {
namespace {

// The channels of every type with transforms begin with `visible` and these five.
constexpr VertexKind kComputedKinds[] = {VertexKind::Local, VertexKind::Position, VertexKind::Rotation,
                                         VertexKind::Scale, VertexKind::World};

struct LocalInputRow {
    TransformKind kind;
    int channel; ///< on the transform item: `visible`, then x, y, z, then `order` of a rotation
};
constexpr LocalInputRow kLocalInputs[kLocalInputCount] = {
    {TransformKind::Position, 1}, {TransformKind::Position, 2}, {TransformKind::Position, 3},
    {TransformKind::Rotation, 1}, {TransformKind::Rotation, 2}, {TransformKind::Rotation, 3},
    {TransformKind::Scale, 1},    {TransformKind::Scale, 2},    {TransformKind::Scale, 3},
    {TransformKind::Rotation, 4},
};

enum class ValueClass : std::uint8_t { Number, Text, Matrix };
ValueClass classOf(ChannelType type)
{
    if (isNumber(type))
        return ValueClass::Number;
    return type == ChannelType::Text ? ValueClass::Text : ValueClass::Matrix;
}

} // namespace

Channel* transformChannel(const Item& item, TransformChannel which)
{
    return item.type().hasTransforms() ? item.channel(1 + static_cast<int>(which)) : nullptr;
}

VertexKind computedKind(const Channel& channel)
{
    const int place = channel.index() - 1;
    if (place < 0 || place >= static_cast<int>(std::size(kComputedKinds))
        || !channel.item().type().hasTransforms())
        return VertexKind::Matrix;
    return kComputedKinds[place];
}

Item* transformParent(const Item& item)
{
    Item* parent = item.parent();
    while (parent && !parent->type().hasTransforms())
        parent = parent->parent();
    return parent;
}

bool variesInTime(const Channel& channel, Layer layer)
{
    for (int i = static_cast<int>(layer); i >= 0; --i) {
        const LayerValues* values = channel.values(static_cast<Layer>(i));
        if (values && (!values->keys.empty() || values->shown))
            return true;
    }
    return false;
}

Channel* EvalGraph::linkSource(const Channel& channel) const
{
    if (channel.linkCount() == 0)
        return nullptr;
    const std::vector<Channel*>& sources = m_Scene.channelGraph().reverse(channel);
    const auto found = std::find_if(sources.rbegin(), sources.rend(), [&](const Channel* source) {
        return classOf(source->type()) == classOf(channel.type());
    });
    return found == sources.rend() ? nullptr : *found;
}

const std::vector<EvalGraph::Writer>* EvalGraph::writersOf(const Channel& channel) const
{
    if (m_Writers.empty() || channel.type() != ChannelType::Matrix4)
        return nullptr;
    const auto found = m_Writers.find(&channel);
    return found == m_Writers.end() ? nullptr : &found->second;
}

/// Numbers without a link are read from the document at once; everything else gets a cell.
bool EvalGraph::mustBind(Channel& channel) const
{
    return place(channel) || channel.type() == ChannelType::Matrix4 || linkSource(channel);
}

ChannelCell& EvalGraph::bound(Channel& channel)
{
    if (ChannelCell* cell = place(channel))
        return *cell;
    ChannelCell* cell = cellOf(channel);
    bindCells();
    return *cell;
}

/// The cell that everybody sees; it may still have to be bound.
ChannelCell* EvalGraph::cellOf(Channel& channel)
{
    ChannelCell*& cell = place(channel);
    if (cell)
        return cell;
    const std::vector<Writer>* writers = writersOf(channel);
    if (!writers)
        return cell = makeCell(channel, nullptr);
    MatrixCell* before = static_cast<MatrixCell*>(ghostOf(channel, *writers->front().node));
    for (const Writer& writer : *writers) {
        OutputCell& output = m_Outputs.emplace_back(channel, *writer.node, writer.output);
        output.before = before;
        attach(output.nodeEdge, *writer.node, output, 0);
        attach(output.beforeEdge, *before, output, 1);
        writer.node->outputs[writer.output].cell = &output;
        before = &output;
    }
    // Making the first value without its node can't have come back here: it leaves every writer out.
    return place(channel) = before;
}

/// The cell that `node` may rest on without resting on itself.
ChannelCell* EvalGraph::cellWithout(Channel& channel, NodeVertex* node)
{
    return node && dependsOn(channel, *node) ? ghostOf(channel, *node) : cellOf(channel);
}

ChannelCell* EvalGraph::ghostOf(Channel& channel, NodeVertex& node)
{
    for (const Ghost& ghost : m_Ghosts[&channel]) {
        if (ghost.without == &node)
            return ghost.cell;
    }
    ChannelCell* cell = makeCell(channel, &node);
    m_Ghosts[&channel].push_back({&node, cell});
    return cell;
}

ChannelCell* EvalGraph::makeCell(Channel& channel, NodeVertex* without)
{
    ChannelCell* cell;
    if (channel.type() != ChannelType::Matrix4) {
        cell = &m_Numbers.emplace_back(VertexKind::Number, channel, without);
    } else if (const VertexKind kind = linkSource(channel) ? VertexKind::Matrix : computedKind(channel);
               kind == VertexKind::Local) {
        cell = &m_Locals.emplace_back(channel, without);
    } else {
        cell = &m_Matrices.emplace_back(kind, channel, without);
    }
    m_Unbound.push_back(cell);
    return cell;
}

void EvalGraph::attach(Edge& edge, Vertex& source, Vertex& target, std::uint32_t slot)
{
    edge = {&target, source.dependents, slot};
    source.dependents = &edge;
}

void EvalGraph::link(Dependency& dependency, ChannelCell* source, Vertex& target, std::uint32_t slot)
{
    dependency.source = source;
    attach(dependency.edge, *source, target, slot);
}

void EvalGraph::depend(ComposedCell& cell, Channel* source)
{
    if (source) {
        link(cell.sources[cell.sourceCount], cellWithout(*source, cell.without), cell, cell.sourceCount);
        ++cell.sourceCount;
    }
}

void EvalGraph::bindCells()
{
    while (!m_Unbound.empty()) {
        ChannelCell* cell = m_Unbound.back();
        m_Unbound.pop_back();
        bindCell(*cell);
    }
}

void EvalGraph::bindCell(ChannelCell& cell)
{
    switch (cell.kind) {
    case VertexKind::Number:
        if (Channel* source = linkSource(*cell.channel))
            link(static_cast<NumberCell&>(cell).link, cellOf(*source), cell, 0);
        break;
    case VertexKind::Matrix:
        depend(static_cast<ComposedCell&>(cell), linkSource(*cell.channel));
        break;
    case VertexKind::Local:
        bindLocal(static_cast<LocalCell&>(cell));
        break;
    case VertexKind::Position:
    case VertexKind::Rotation:
    case VertexKind::Scale:
    case VertexKind::World:
        bindWorld(static_cast<ComposedCell&>(cell));
        break;
    case VertexKind::Output:
    case VertexKind::Node:
        break;
    }
}

void EvalGraph::bindLocal(LocalCell& cell)
{
    const Item& item = cell.channel->item();
    for (std::uint32_t i = 0; i < kLocalInputCount; ++i) {
        LocalCell::Input& input = cell.inputs[i];
        const Item* from = item.transformItem(kLocalInputs[i].kind);
        input.channel = from ? from->channel(kLocalInputs[i].channel) : nullptr;
        input.value = kLocalInputs[i].kind == TransformKind::Scale ? 1 : 0;
        if (input.channel && linkSource(*input.channel))
            link(input.link, cellOf(*input.channel), cell, i);
    }
}

void EvalGraph::bindWorld(ComposedCell& cell)
{
    const Item& item = cell.channel->item();
    if (cell.kind == VertexKind::World) {
        depend(cell, transformChannel(item, TransformChannel::Position));
        depend(cell, transformChannel(item, TransformChannel::Rotation));
        depend(cell, transformChannel(item, TransformChannel::Scale));
        return;
    }
    depend(cell, transformChannel(item, TransformChannel::Local));
    const Item* parent = transformParent(item);
    if (!parent)
        return;
    if (cell.kind == VertexKind::Position)
        depend(cell, transformChannel(*parent, TransformChannel::Position));
    if (cell.kind != VertexKind::Scale)
        depend(cell, transformChannel(*parent, TransformChannel::Rotation));
    if (cell.kind != VertexKind::Rotation)
        depend(cell, transformChannel(*parent, TransformChannel::Scale));
}

void EvalGraph::bindNode(NodeVertex& node)
{
    node.bound = true;
    node.dirty.clear();
    for (std::uint32_t i = 0; i < node.count(); ++i) {
        SlotSource& slot = node.sources[i];
        node.markDirty(i);
        if (!slot.channel || node.outputAt(i) || slot.channel->type() == ChannelType::Text)
            continue;
        slot.source = cellOf(*slot.channel);
        attach(slot.edge, *slot.source, node, i);
    }
    for (NodeOutput& output : node.outputs) {
        if (output.channel)
            cellOf(*output.channel);
    }
    bindCells();
}

/// What a channel rests on, whatever was bound so far.
void EvalGraph::listUpstream(Channel& channel, std::vector<Channel*>& channels,
                             std::vector<NodeVertex*>& nodes) const
{
    const auto add = [&](Channel* source) {
        if (source)
            channels.push_back(source);
    };
    if (const std::vector<Writer>* writers = writersOf(channel)) {
        for (const Writer& writer : *writers)
            nodes.push_back(writer.node);
    }
    if (Channel* source = linkSource(channel)) {
        channels.push_back(source);
        return;
    }
    if (channel.type() != ChannelType::Matrix4)
        return;
    const Item& item = channel.item();
    const VertexKind kind = computedKind(channel);
    if (kind == VertexKind::Matrix)
        return;
    if (kind == VertexKind::Local) {
        for (const LocalInputRow& row : kLocalInputs) {
            const Item* from = item.transformItem(row.kind);
            if (Channel* input = from ? from->channel(row.channel) : nullptr; input && linkSource(*input))
                channels.push_back(input);
        }
        return;
    }
    const Item* around = kind == VertexKind::World ? &item : transformParent(item);
    if (kind != VertexKind::World)
        add(transformChannel(item, TransformChannel::Local));
    if (!around)
        return;
    if (kind != VertexKind::Rotation && kind != VertexKind::Scale)
        add(transformChannel(*around, TransformChannel::Position));
    if (kind != VertexKind::Scale)
        add(transformChannel(*around, TransformChannel::Rotation));
    if (kind != VertexKind::Rotation)
        add(transformChannel(*around, TransformChannel::Scale));
}

/// Whether the value that all see rests on the node. The search goes upstream and remembers its answers.
bool EvalGraph::dependsOn(Channel& channel, NodeVertex& node)
{
    std::unordered_map<const void*, bool>& known = m_Reach[&node].known;
    struct Visit {
        Channel* channel;
        NodeVertex* node;
        std::size_t from; ///< place of the one downstream
        const void* key() const { return channel ? static_cast<const void*>(channel) : node; }
    };
    if (const auto found = known.find(&channel); found != known.end())
        return found->second;
    std::vector<Visit> visits{{&channel, nullptr, 0}};
    std::unordered_set<const void*> seen{&channel};
    std::vector<Channel*> channels;
    std::vector<NodeVertex*> nodes;
    for (std::size_t i = 0; i < visits.size(); ++i) {
        const Visit visit = visits[i];
        const auto found = known.find(visit.key());
        if (visit.node == &node || (found != known.end() && found->second)) {
            for (std::size_t at = i; at != 0; at = visits[at].from)
                known[visits[at].key()] = true;
            return known[&channel] = true;
        }
        if (found != known.end())
            continue;
        channels.clear();
        nodes.clear();
        if (visit.channel) {
            listUpstream(*visit.channel, channels, nodes);
        } else {
            for (std::uint32_t s = 0; s < visit.node->count(); ++s) {
                const SlotSource& slot = visit.node->sources[s];
                if (slot.channel && !slot.cut && !visit.node->outputAt(s) && mustBind(*slot.channel))
                    channels.push_back(slot.channel);
            }
        }
        // Nodes first: they end the search soonest.
        for (NodeVertex* next : nodes) {
            if (seen.insert(next).second)
                visits.push_back({nullptr, next, i});
        }
        for (Channel* next : channels) {
            if (seen.insert(next).second)
                visits.push_back({next, nullptr, i});
        }
    }
    for (const Visit& visit : visits)
        known[visit.key()] = false;
    return false;
}

} // namespace refhost
