// SPDX-License-Identifier: MIT
// A node's channels: adding them, handing their values in and out, and what a run leaves behind.
#include "evaluation/EvalGraph.h"

#include <algorithm>
#include <cstring>

namespace refhost {
namespace {

constexpr std::string_view kStepsChannel = "iksSteps";

template <std::size_t N>
bool allFinite(const double* numbers)
{
    double sum = 0; // 0 times a number that is not finite is not a number
    for (std::size_t i = 0; i < N; ++i)
        sum += numbers[i] * 0;
    return sum == 0;
}

} // namespace

std::optional<std::uint32_t> NodeChannels::add(Item& item, std::string_view channel, ChannelMode mode)
{
    return static_cast<NodeVertex*>(this)->addChannel(item, channel, mode);
}

std::optional<std::uint32_t> NodeVertex::addChannel(Item& item, std::string_view name, ChannelMode mode)
{
    Channel* channel = m_Allocating ? item.channel(name) : nullptr;
    if (!channel)
        return std::nullopt;
    Slot slot;
    slot.mode = mode;
    slot.state = isNumber(channel->type())     ? SlotState::Number
        : channel->type() == ChannelType::Text ? SlotState::Other
                                               : SlotState::Matrix;
    if (slot.state == SlotState::Matrix && mode != ChannelMode::Read) {
        const auto found = std::find_if(outputs.begin(), outputs.end(),
                                        [&](const NodeOutput& output) { return output.channel == channel; });
        slot.integer = static_cast<std::int32_t>(found - outputs.begin());
        if (found == outputs.end()) {
            outputs.emplace_back();
            outputs.back().channel = channel;
            written.emplace_back();
            shown.emplace_back();
        }
    }
    if (slot.state == SlotState::Matrix && mode == ChannelMode::Read) {
        slot.integer = static_cast<std::int32_t>(inputs.size());
        inputs.emplace_back();
    }
    if (name == kStepsChannel && slot.state == SlotState::Number)
        stepsSlot = static_cast<std::uint32_t>(m_Slots.size());
    m_Slots.push_back(slot);
    sources.emplace_back();
    sources.back().channel = channel;
    return static_cast<std::uint32_t>(m_Slots.size() - 1);
}

ChannelAnswer NodeChannels::why(std::uint32_t index, SlotState wanted) const
{
    if (!m_Running)
        return ChannelAnswer::NotNow;
    if (index >= m_Slots.size() || m_Slots[index].state == SlotState::Gone)
        return ChannelAnswer::NoSuchIndex;
    if (m_Slots[index].state == SlotState::Unavailable)
        return ChannelAnswer::Unavailable;
    return m_Slots[index].state == wanted ? ChannelAnswer::Ok : ChannelAnswer::WrongType;
}

ChannelAnswer NodeChannels::matrix(std::uint32_t index, bool writing) const
{
    const ChannelAnswer answer = why(index, SlotState::Matrix);
    if (answer == ChannelAnswer::Ok && writing && m_Slots[index].mode == ChannelMode::Read)
        return ChannelAnswer::NotWritable;
    return answer;
}

ChannelAnswer NodeChannels::linear(std::uint32_t index, double* nine)
{
    if (!ready(index, SlotState::Matrix))
        return why(index, SlotState::Matrix);
    NodeVertex& node = *static_cast<NodeVertex*>(this);
    const Matrix33* from = nullptr;
    const Matrix33 identity;
    if (NodeOutput* output = node.outputAt(index)) {
        if (output->wroteLinear)
            from = &node.written[node.outputIndex(*output)].linear;
        else if (!output->cell || isLinearFixed(output->cell->before->kind))
            from = &identity;
        else
            from = &node.graph->valueBefore(node, *output)->value.linear;
    } else {
        from = &node.inputs[static_cast<std::size_t>(m_Slots[index].integer)].linear;
    }
    std::memcpy(nine, from->m, sizeof from->m);
    return ChannelAnswer::Ok;
}

ChannelAnswer NodeChannels::offset(std::uint32_t index, double* three)
{
    if (!ready(index, SlotState::Matrix))
        return why(index, SlotState::Matrix);
    NodeVertex& node = *static_cast<NodeVertex*>(this);
    const Vector3* from = nullptr;
    const Vector3 zero{};
    if (NodeOutput* output = node.outputAt(index)) {
        if (output->wroteOffset)
            from = &node.written[node.outputIndex(*output)].offset;
        else if (!output->cell || isOffsetFixed(output->cell->before->kind))
            from = &zero;
        else
            from = &node.graph->valueBefore(node, *output)->value.offset;
    } else {
        from = &node.inputs[static_cast<std::size_t>(m_Slots[index].integer)].offset;
    }
    std::memcpy(three, from->data(), sizeof *from);
    return ChannelAnswer::Ok;
}

ChannelAnswer NodeChannels::setLinear(std::uint32_t index, const double* nine)
{
    if (const ChannelAnswer answer = matrix(index, true); answer != ChannelAnswer::Ok)
        return answer;
    NodeVertex& node = *static_cast<NodeVertex*>(this);
    NodeOutput& output = *node.outputAt(index);
    if (!allFinite<9>(nine)) {
        output.refusedLinear = node.refused = true;
        return ChannelAnswer::NotFinite;
    }
    Matrix33& linear = node.written[node.outputIndex(output)].linear;
    std::memcpy(linear.m, nine, sizeof linear.m);
    output.wroteLinear = true;
    return ChannelAnswer::Ok;
}

ChannelAnswer NodeChannels::setOffset(std::uint32_t index, const double* three)
{
    if (const ChannelAnswer answer = matrix(index, true); answer != ChannelAnswer::Ok)
        return answer;
    NodeVertex& node = *static_cast<NodeVertex*>(this);
    NodeOutput& output = *node.outputAt(index);
    if (!allFinite<3>(three)) {
        output.refusedOffset = node.refused = true;
        return ChannelAnswer::NotFinite;
    }
    Vector3& offset = node.written[node.outputIndex(output)].offset;
    std::memcpy(offset.data(), three, sizeof offset);
    output.wroteOffset = true;
    return ChannelAnswer::Ok;
}

std::string NodeVertex::label() const { return "'" + set->modifier->name() + "' on '" + itemLabel + "'"; }

void NodeVertex::refresh()
{
    for (const std::uint32_t index : dirty) {
        Slot& slot = m_Slots[index];
        slot.dirty = false;
        const ChannelCell* source = sources[index].source;
        if (!source)
            continue;
        if (slot.state == SlotState::Number) {
            const NumberCell& cell = static_cast<const NumberCell&>(*source);
            slot.number = cell.number;
            slot.integer = cell.integer;
            continue;
        }
        inputs[static_cast<std::size_t>(slot.integer)] = static_cast<const MatrixCell&>(*source).value;
        const bool isLost =
            source->kind == VertexKind::Output && static_cast<const OutputCell&>(*source).node->failed;
        slot.state = isLost ? SlotState::Unavailable : SlotState::Matrix;
    }
    dirty.clear();
}

void NodeVertex::fetch() const
{
    constexpr std::size_t kLine = 64;
    const auto fetchAll = [](const auto& list) {
        const std::size_t bytes = list.size() * sizeof list[0];
        for (std::size_t at = 0; at < bytes; at += kLine)
            __builtin_prefetch(reinterpret_cast<const char*>(list.data()) + at);
    };
    fetchAll(m_Slots);
    fetchAll(outputs);
    fetchAll(inputs);
    fetchAll(written);
}

/// What was written replaces what the channels showed; what was refused leaves it; what was left alone shows
/// what is without the node.
Result NodeVertex::run()
{
    for (NodeOutput& output : outputs)
        output.wroteLinear = output.wroteOffset = output.refusedLinear = output.refusedOffset = false;
    refused = false;
    m_Running = true;
    Result result = node->evaluate(*this);
    m_Running = false;
    failed = !result.ok();
    if (failed) {
        // A node that gave up since its numbers were refused goes on showing its last good run, whole.
        bool showsSome = false;
        for (NodeOutput& output : outputs) {
            output.showsLinear = refused && output.showsLinear;
            output.showsOffset = refused && output.showsOffset;
            showsSome = showsSome || output.showsLinear || output.showsOffset;
        }
        failed = !showsSome;
        return result;
    }
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        NodeOutput& output = outputs[i];
        if (refused && output.refusedLinear && !output.wroteLinear && output.showsLinear) {
            written[i].linear = shown[i].linear;
            output.wroteLinear = true;
        }
        if (refused && output.refusedOffset && !output.wroteOffset && output.showsOffset) {
            written[i].offset = shown[i].offset;
            output.wroteOffset = true;
        }
        output.showsLinear = output.wroteLinear;
        output.showsOffset = output.wroteOffset;
    }
    std::swap(written, shown);
    return result;
}

void NodeVertex::unbind()
{
    if (!bound && !dependents)
        return;
    dependents = nullptr;
    valid = busy = bound = false;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        sources[i].source = nullptr;
        sources[i].edge = {};
        sources[i].cut = false;
        m_Slots[i].dirty = false;
    }
    dirty.clear();
    for (NodeOutput& output : outputs)
        output.cell = nullptr;
}

void NodeVertex::lose(const Channel& channel)
{
    for (std::size_t i = 0; i < sources.size(); ++i) {
        if (sources[i].channel == &channel) {
            sources[i].channel = nullptr;
            m_Slots[i].state = SlotState::Gone;
        }
    }
    for (NodeOutput& output : outputs) {
        if (output.channel == &channel)
            output.channel = nullptr;
    }
}

} // namespace refhost
