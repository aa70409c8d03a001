// SPDX-License-Identifier: MIT
// Bringing cells up to date: the walk to what is missing, the formulas of each kind, circles, and
// invalidating.
#include "evaluation/EvalGraph.h"

#include "refhost/Host.h"

#include <algorithm>

namespace refhost {
namespace {

// Order of LocalCell::inputs.
constexpr std::uint32_t kPositionInput = 0, kRotationInput = 3, kScaleInput = 6, kOrderInput = 9;
constexpr unsigned kTurningInputs = 7u << kRotationInput | 1u << kOrderInput;

Matrix33 scaledColumns(const Matrix33& m, const Vector3& scale)
{
    Matrix33 out;
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c)
            out[r][c] = m[r][c] * scale[static_cast<std::size_t>(c)] + 0.0; // no negative zeros
    }
    return out;
}

const MatrixCell& matrixAt(const ComposedCell& cell, std::uint32_t source)
{
    return static_cast<const MatrixCell&>(*cell.sources[source].source);
}

/// The local transform that a cell rests on; exact where the transform items alone make it.
Decomposition localPartsOf(const MatrixCell& local)
{
    return local.kind == VertexKind::Local ? static_cast<const LocalCell&>(local).parts
                                           : decompose(local.value);
}

} // namespace

EvalGraph::EvalGraph(Evaluation& evaluation, Scene& scene, ChannelCell* EvalCell::*place, double time)
    : m_Evaluation(evaluation), m_Scene(scene), m_Place(place), m_Time(time)
{
    for (const auto& modifier : Modifiers::of(scene.host()).all())
        modifierAdded(*modifier);
}

EvalGraph::~EvalGraph()
{
    drop();
    while (!m_Sets.empty()) {
        while (!m_Sets.back()->nodes.empty())
            m_Sets.back()->nodes.pop_back();
        m_Sets.pop_back();
    }
}

Layer EvalGraph::layer() const { return m_Scene.evaluatedLayer(); }

double EvalGraph::number(Channel& channel)
{
    if (!isNumber(channel.type()))
        return 0;
    if (!mustBind(channel))
        return channel.number(layer(), m_Time);
    ChannelCell& cell = bound(channel);
    if (!cell.valid)
        ensure(cell);
    return static_cast<NumberCell&>(cell).number;
}

std::int32_t EvalGraph::integer(Channel& channel)
{
    if (!isNumber(channel.type()))
        return 0;
    if (!mustBind(channel))
        return channel.integer(layer(), m_Time);
    ChannelCell& cell = bound(channel);
    if (!cell.valid)
        ensure(cell);
    return static_cast<NumberCell&>(cell).integer;
}

bool EvalGraph::matrix(Channel& channel, Matrix34& out)
{
    if (channel.type() != ChannelType::Matrix4)
        return false;
    ChannelCell& cell = bound(channel);
    if (!cell.valid)
        ensure(cell);
    out = static_cast<MatrixCell&>(cell).value;
    return true;
}

const std::string* EvalGraph::text(Channel& channel) const
{
    if (channel.type() != ChannelType::Text)
        return nullptr;
    const Channel* at = &channel;
    std::unordered_set<const Channel*> seen;
    while (const Channel* source = linkSource(*at)) {
        if (!seen.insert(at).second) // links in a circle: nothing comes from outside
            return channel.text(layer(), m_Time);
        at = source;
    }
    return at->text(layer(), m_Time);
}

/// Computes what the vertex rests on, then the vertex, with a stack of its own in place of recursion. A node
/// that runs may ask for more; that nests.
void EvalGraph::ensure(Vertex& vertex)
{
    if (vertex.valid)
        return;
    const std::size_t base = m_Stack.size();
    const auto push = [&](Vertex& next) {
        next.busy = true;
        m_Stack.push_back({&next, 0});
    };
    push(vertex);
    while (m_Stack.size() > base) {
        Vertex& at = *m_Stack.back().vertex;
        Vertex* needed = nextNeeded(at, m_Stack.back().next);
        if (!needed) {
            compute(at);
            at.valid = true;
            at.busy = false;
            m_Stack.pop_back();
        } else if (!needed->busy) {
            push(*needed);
        } else {
            breakCircle(base, *needed);
            if (m_Stack.size() == base)
                push(vertex);
        }
    }
}

Vertex* EvalGraph::nextNeeded(Vertex& vertex, std::uint32_t& next)
{
    const auto missing = [](Vertex* source) { return source && !source->valid; };
    switch (vertex.kind) {
    case VertexKind::Number: {
        ChannelCell* source = static_cast<NumberCell&>(vertex).link.source;
        return next == 0 && !vertex.cut && missing(source) ? source : nullptr;
    }
    case VertexKind::Local: {
        LocalCell& cell = static_cast<LocalCell&>(vertex);
        for (; next < kLocalInputCount; ++next) {
            if (ChannelCell* source = cell.inputs[next].link.source; missing(source))
                return source;
        }
        return nullptr;
    }
    case VertexKind::Matrix:
    case VertexKind::Position:
    case VertexKind::Rotation:
    case VertexKind::Scale:
    case VertexKind::World: {
        ComposedCell& cell = static_cast<ComposedCell&>(vertex);
        for (; next < cell.sourceCount && !cell.cut; ++next) {
            if (ChannelCell* source = cell.sources[next].source; missing(source))
                return source;
        }
        return nullptr;
    }
    case VertexKind::Output: {
        OutputCell& cell = static_cast<OutputCell&>(vertex);
        if (next == 0 && !cell.node->valid)
            return cell.node;
        if (next > 1)
            return nullptr;
        const NodeOutput& output = cell.node->outputs[cell.outputIndex];
        const bool isWhole = (output.showsLinear || isLinearFixed(cell.before->kind))
            && (output.showsOffset || isOffsetFixed(cell.before->kind));
        return !isWhole && missing(cell.before) ? cell.before : nullptr;
    }
    case VertexKind::Node: {
        NodeVertex& node = static_cast<NodeVertex&>(vertex);
        if (!node.bound)
            bindNode(node);
        for (; next < node.dirty.size(); ++next) {
            if (ChannelCell* source = node.sources[node.dirty[next]].source; missing(source))
                return source;
        }
        return nullptr;
    }
    }
    return nullptr;
}

void EvalGraph::compute(Vertex& vertex)
{
    switch (vertex.kind) {
    case VertexKind::Number:
        return compute(static_cast<NumberCell&>(vertex));
    case VertexKind::Local:
        return compute(static_cast<LocalCell&>(vertex));
    case VertexKind::Output:
        return compute(static_cast<OutputCell&>(vertex));
    case VertexKind::Node:
        return runNode(static_cast<NodeVertex&>(vertex));
    default:
        return compute(static_cast<ComposedCell&>(vertex));
    }
}

void EvalGraph::compute(NumberCell& cell)
{
    const Channel& channel = *cell.channel;
    if (cell.link.source && !cell.cut) {
        const NumberCell& source = static_cast<const NumberCell&>(*cell.link.source);
        cell.integer = source.integer;
        cell.number = source.number;
        if (channel.type() == ChannelType::Boolean)
            cell.number = cell.integer = source.number != 0;
        else if (channel.type() == ChannelType::Integer)
            cell.number = cell.integer;
        return;
    }
    cell.number = channel.number(layer(), m_Time);
    cell.integer = channel.integer(layer(), m_Time);
    if (variesInTime(channel, layer()))
        watchTime(cell);
}

void EvalGraph::compute(LocalCell& cell)
{
    const unsigned stale = cell.stale;
    cell.stale = 0;
    for (std::uint32_t i = 0; i < kLocalInputCount; ++i) {
        LocalCell::Input& input = cell.inputs[i];
        if (!(stale >> i & 1) || !input.channel)
            continue;
        if (input.link.source) {
            input.value = static_cast<const NumberCell&>(*input.link.source).number;
            continue;
        }
        input.value = input.channel->number(layer(), m_Time);
        const unsigned bit = 1u << i;
        const bool varies = variesInTime(*input.channel, layer());
        cell.timedInputs =
            static_cast<std::uint16_t>(varies ? cell.timedInputs | bit : cell.timedInputs & ~bit);
    }
    if (cell.timedInputs)
        watchTime(cell);
    const auto three = [&](std::uint32_t first) {
        return Vector3{cell.inputs[first].value, cell.inputs[first + 1].value, cell.inputs[first + 2].value};
    };
    if (stale & kTurningInputs)
        cell.parts.rotation =
            matrixFromEuler(three(kRotationInput), integerOf(cell.inputs[kOrderInput].value));
    cell.parts.position = three(kPositionInput);
    cell.parts.scale = three(kScaleInput);
    cell.value.linear = scaledColumns(cell.parts.rotation, cell.parts.scale);
    for (std::size_t i = 0; i < 3; ++i)
        cell.value.offset[i] = cell.parts.position[i] + 0.0;
}

void EvalGraph::compute(ComposedCell& cell)
{
    const auto source = [&](std::uint32_t place) -> const Matrix34& { return matrixAt(cell, place).value; };
    const bool hasParent = cell.sourceCount > 1;
    switch (cell.kind) {
    case VertexKind::Matrix:
        if (cell.sourceCount > 0 && !cell.cut) {
            cell.value = source(0);
            return;
        }
        if (cell.sourceCount > 0 && computedKind(*cell.channel) != VertexKind::Matrix)
            cell.value = Matrix34{}; // a link in a circle, and what lies under it would close one as well
        else
            cell.channel->matrix(layer(), m_Time, cell.value);
        return;
    case VertexKind::Position: {
        const Decomposition local = localPartsOf(matrixAt(cell, 0));
        Vector3 position = local.position;
        if (hasParent)
            position = transformPoint(worldMatrix({source(1), source(2), source(3)}), position);
        for (std::size_t i = 0; i < 3; ++i)
            cell.value.offset[i] = position[i] + 0.0;
        return;
    }
    case VertexKind::Rotation: {
        const Matrix33 rotation = localPartsOf(matrixAt(cell, 0)).rotation;
        cell.value.linear = hasParent ? scaledColumns(source(1).linear * rotation, {1, 1, 1}) : rotation;
        return;
    }
    case VertexKind::Scale: {
        const Vector3 scale = localPartsOf(matrixAt(cell, 0)).scale;
        for (int i = 0; i < 3; ++i) {
            const double own = scale[static_cast<std::size_t>(i)];
            cell.value.linear[i][i] = (hasParent ? source(1).linear[i][i] * own : own) + 0.0;
        }
        return;
    }
    case VertexKind::World:
        cell.value = worldMatrix({source(0), source(1), source(2)});
        return;
    default:
        return;
    }
}

void EvalGraph::compute(OutputCell& cell)
{
    const NodeOutput& output = cell.node->outputs[cell.outputIndex];
    const Matrix34 rest;
    const Matrix34& before = cell.before->valid ? cell.before->value : rest;
    const Matrix34& shown = cell.node->shown[cell.outputIndex];
    cell.value.linear = output.showsLinear ? shown.linear : before.linear;
    cell.value.offset = output.showsOffset ? shown.offset : before.offset;
}

void EvalGraph::runNode(NodeVertex& node)
{
    node.refresh();
    node.fetch();
    ++m_Evaluation.m_EvaluationCount;
    const bool failedBefore = node.failed || node.refused;
    if (node.mostSteps() > kManySteps)
        m_Evaluation.tellLongSolve(node.itemId, node.itemLabel, node.mostSteps());
    ++m_Evaluation.m_Busy;
    const Result result = node.run();
    --m_Evaluation.m_Busy;
    m_FailedNodes += static_cast<std::size_t>(node.failed || node.refused);
    m_FailedNodes -= static_cast<std::size_t>(failedBefore);
    std::string problem;
    if (node.refused)
        problem = node.label()
            + " computed numbers that are not finite. They are refused, and its channels keep what they "
              "last showed; look for extreme values on what it reads.";
    else if (node.failed)
        problem =
            node.label() + " failed: " + result.message + " Its channels show what they would be without it.";
    if (!problem.empty() || !m_Evaluation.m_Told.empty())
        m_Evaluation.tellAbout(*this, node.label(), std::move(problem));
}

void EvalGraph::watchTime(Vertex& vertex)
{
    if (!vertex.timed) {
        vertex.timed = true;
        m_Timed.push_back(&vertex);
    }
}

MatrixCell* EvalGraph::valueBefore(NodeVertex& node, NodeOutput& output)
{
    if (!output.cell)
        return nullptr;
    MatrixCell& before = *output.cell->before;
    ensure(before);
    if (Edge& edge = output.cell->readEdge; !edge.target)
        attach(edge, before, node, kNoSlot);
    return &before;
}

/// Takes one link out of the circle that ends in `again`, tells the user, and takes the walk back to its
/// start. The choice depends on the circle alone, not on where the walk entered it.
void EvalGraph::breakCircle(std::size_t base, Vertex& again)
{
    std::size_t first = base;
    for (std::size_t i = base; i < m_Stack.size(); ++i) {
        if (m_Stack[i].vertex == &again)
            first = i;
    }
    struct Choice {
        Vertex* vertex = nullptr;
        const Channel* channel = nullptr;
        std::uint32_t slot = 0;
        bool isBefore(const Choice& other) const
        {
            if (!other.vertex
                || (vertex->kind == VertexKind::Node) != (other.vertex->kind == VertexKind::Node))
                return !other.vertex || vertex->kind == VertexKind::Node;
            const std::uint64_t id = channel->item().id(), otherId = other.channel->item().id();
            return id != otherId ? id < otherId : channel->index() < other.channel->index();
        }
    };
    Choice best;
    std::vector<std::string> names;
    for (std::size_t i = first; i < m_Stack.size(); ++i) {
        Vertex& vertex = *m_Stack[i].vertex;
        Choice choice;
        if (vertex.kind == VertexKind::Node) {
            NodeVertex& node = static_cast<NodeVertex&>(vertex);
            names.push_back(node.label());
            if (m_Stack[i].next < node.dirty.size()) {
                const std::uint32_t slot = node.dirty[m_Stack[i].next];
                if (!node.sources[slot].cut)
                    choice = {&vertex, node.sources[slot].channel, slot};
            }
        } else {
            const ChannelCell& cell = static_cast<const ChannelCell&>(vertex);
            if (names.empty() || names.back() != cell.channel->label())
                names.push_back(cell.channel->label());
            const bool isLink =
                (vertex.kind == VertexKind::Number || vertex.kind == VertexKind::Matrix) && !vertex.cut;
            if (isLink)
                choice = {&vertex, cell.channel, 0};
        }
        if (choice.vertex && choice.isBefore(best))
            best = choice;
    }
    if (!best.vertex) { // all is cut already: go on with what the value was
        ++m_Stack.back().next;
        return;
    }
    // From source to target, beginning with the smallest name, so that one circle has one sentence.
    std::reverse(names.begin(), names.end());
    std::rotate(names.begin(), std::min_element(names.begin(), names.end()), names.end());
    std::string text = "Values go in a circle: ";
    for (const std::string& name : names)
        text += name + " -> ";
    text += names.front() + ". ";
    if (best.vertex->kind == VertexKind::Node) {
        NodeVertex& node = static_cast<NodeVertex&>(*best.vertex);
        SlotSource& slot = node.sources[best.slot];
        slot.cut = true;
        text += node.label() + " reads '" + slot.channel->label() + "' without its own effect on it";
        m_Reach.clear(); // its answers counted the slot
        slot.source = ghostOf(*slot.channel, node);
        attach(m_CutEdges.emplace_back(), *slot.source, node, best.slot);
        bindCells();
    } else {
        best.vertex->cut = true;
        text += "The link to '" + best.channel->label() + "' is left out";
    }
    m_Evaluation.tellCircle(text + "; take one of these links away.");
    while (m_Stack.size() > base) {
        m_Stack.back().vertex->busy = false;
        m_Stack.pop_back();
    }
}

void EvalGraph::invalidate(Vertex& vertex)
{
    if (!vertex.valid)
        return;
    vertex.valid = false;
    m_Invalidating.push_back(&vertex);
    while (!m_Invalidating.empty()) {
        const Vertex& at = *m_Invalidating.back();
        m_Invalidating.pop_back();
        for (const Edge* edge = at.dependents; edge; edge = edge->next) {
            Vertex& target = *edge->target;
            if (target.kind == VertexKind::Node)
                static_cast<NodeVertex&>(target).markDirty(edge->slot);
            else if (target.kind == VertexKind::Local)
                static_cast<LocalCell&>(target).stale |= static_cast<std::uint16_t>(1u << edge->slot);
            if (target.valid) {
                target.valid = false;
                m_Invalidating.push_back(&target);
            }
        }
    }
}

void EvalGraph::invalidateValue(const Channel& channel)
{
    if (ChannelCell* cell = place(channel))
        invalidate(*cell);
    if (channel.type() == ChannelType::Matrix4) {
        if (const auto found = m_Ghosts.find(&channel); found != m_Ghosts.end()) {
            for (const Ghost& ghost : found->second)
                invalidate(*ghost.cell);
        }
    }
    const Item* owner = channel.item().transformOwner();
    Channel* local = owner ? transformChannel(*owner, TransformChannel::Local) : nullptr;
    if (!local)
        return;
    const auto staleAll = [&](ChannelCell* cell) {
        if (cell && cell->kind == VertexKind::Local) {
            static_cast<LocalCell*>(cell)->stale = 0xffff;
            invalidate(*cell);
        }
    };
    staleAll(place(*local));
    if (const auto found = m_Ghosts.find(local); found != m_Ghosts.end()) {
        for (const Ghost& ghost : found->second)
            staleAll(ghost.cell);
    }
}

void EvalGraph::invalidateTimed()
{
    for (Vertex* vertex : m_Timed) {
        vertex->timed = false;
        if (vertex->kind == VertexKind::Local) {
            LocalCell& cell = static_cast<LocalCell&>(*vertex);
            cell.stale |= cell.timedInputs;
        }
        invalidate(*vertex);
    }
    m_Timed.clear();
}

void EvalGraph::invalidateShown()
{
    std::vector<const Channel*> shown;
    const auto note = [&](const Channel* channel) {
        for (int i = 0; channel && i < kLayerCount; ++i) {
            if (const LayerValues* values = channel->values(static_cast<Layer>(i)); values && values->shown)
                shown.push_back(channel);
        }
    };
    for (Vertex* vertex : m_Timed) {
        if (vertex->kind == VertexKind::Number)
            note(static_cast<NumberCell*>(vertex)->channel);
        else
            for (const LocalCell::Input& input : static_cast<LocalCell*>(vertex)->inputs)
                note(input.channel);
    }
    for (const Channel* channel : shown)
        invalidateValue(*channel);
}

void EvalGraph::setTime(double time)
{
    if (time == m_Time)
        return;
    m_Time = time;
    invalidateTimed();
    retryFailedNodes();
}

void EvalGraph::invalidateAll()
{
    const auto spoil = [&](Vertex& cell) { invalidate(cell); };
    m_Locals.forEach([](LocalCell& cell) { cell.stale = 0xffff; });
    m_Numbers.forEach(spoil);
    m_Matrices.forEach(spoil);
    m_Locals.forEach(spoil);
    invalidateNodes();
}

void EvalGraph::drop()
{
    const auto forget = [&](auto& cells) {
        cells.forEach([&](const ChannelCell& cell) { place(*cell.channel) = nullptr; });
        cells.clear();
    };
    for (const auto& set : m_Sets) {
        for (const auto& node : set->nodes)
            node->unbind();
    }
    forget(m_Numbers);
    forget(m_Matrices);
    forget(m_Locals);
    forget(m_Outputs);
    m_Ghosts.clear();
    m_Reach.clear();
    m_Unbound.clear();
    m_Timed.clear();
    m_CutEdges.clear();
}

} // namespace refhost
