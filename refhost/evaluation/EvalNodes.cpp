// SPDX-License-Identifier: MIT
// When nodes are made anew, and making them.
#include "evaluation/EvalGraph.h"

#include "refhost/Host.h"

#include <algorithm>

namespace refhost {
namespace {

/// Graph lists call the item hierarchy by this name.
constexpr const char* kHierarchyGraph = "parent";

bool lists(const std::vector<std::string>& names, std::string_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool isTransformItem(const Item& item)
{
    return &item.type() == &item.scene().host().transformType(item.transformKind());
}

bool listsTypeOf(const Modifier& modifier, const Item& item)
{
    const std::vector<std::string>& types = modifier.typeList();
    return std::any_of(types.begin(), types.end(),
                       [&](const std::string& type) { return item.isOfType(type); });
}

bool concerns(const Modifier& modifier, const Change& change)
{
    switch (change.kind) {
    case ChangeKind::ItemAdded:
    case ChangeKind::ItemRemoved:
        return listsTypeOf(modifier, *change.item)
            || (change.other && !isTransformItem(*change.item)
                && lists(modifier.graphList(), kHierarchyGraph));
    case ChangeKind::PackageAdded:
    case ChangeKind::PackageRemoved:
    case ChangeKind::ItemTagChanged:
        return listsTypeOf(modifier, *change.item);
    case ChangeKind::ItemReparented:
        return lists(modifier.graphList(), kHierarchyGraph);
    case ChangeKind::ItemLinkAdded:
    case ChangeKind::ItemLinkRemoved:
        return lists(modifier.graphList(), change.name);
    case ChangeKind::ChannelLinkAdded:
    case ChangeKind::ChannelLinkRemoved:
        return lists(modifier.graphList(), kChannelGraphName);
    case ChangeKind::ModifierReset:
        return change.name == modifier.name();
    case ChangeKind::Loaded:
        return true;
    default:
        return false;
    }
}

} // namespace

void EvalGraph::markStale(const Change& change)
{
    for (const auto& set : m_Sets) {
        if (!set->stale && concerns(*set->modifier, change)) {
            set->stale = true;
            m_NodesDue = true;
        }
    }
}

void EvalGraph::loseChannels(const Change& change)
{
    const Item& item = *change.item;
    for (const auto& set : m_Sets) {
        if (set->stale)
            continue;
        for (const auto& node : set->nodes) {
            for (int i = 0; i < item.channelSlotCount(); ++i) {
                const Channel* channel = item.channel(i);
                if (channel
                    && (change.kind == ChangeKind::ItemRemoved
                        || channel->definition().package == change.name))
                    node->lose(*channel);
            }
        }
    }
    m_WritersDue = m_NodesDue = true;
}

void EvalGraph::modifierAdded(Modifier& modifier)
{
    m_Sets.push_back(std::make_unique<ModifierSet>());
    m_Sets.back()->modifier = &modifier;
    m_NodesDue = true;
}

void EvalGraph::modifierRemoving(Modifier& modifier)
{
    drop();
    std::erase_if(m_Sets,
                  [&](const std::unique_ptr<ModifierSet>& set) { return set->modifier == &modifier; });
    m_Writers.clear();
    m_WritersDue = m_NodesDue = true;
}

void EvalGraph::requireNodes()
{
    if (!m_NodesDue)
        return;
    m_NodesDue = false;
    for (const auto& set : m_Sets) {
        if (set->stale)
            makeNodes(*set);
    }
    if (m_WritersDue)
        listWriters();
    m_FailedNodes = 0;
    for (const auto& set : m_Sets) {
        for (const auto& node : set->nodes)
            m_FailedNodes += node->failed || node->refused;
    }
}

void EvalGraph::makeNodes(ModifierSet& set)
{
    drop();
    m_Writers.clear();
    m_WritersDue = true;
    set.stale = false;
    while (!set.nodes.empty())
        set.nodes.pop_back();
    Modifier& modifier = *set.modifier;
    m_Evaluation.countMaking(modifier);

    ++m_Evaluation.m_Busy;
    std::vector<std::string> problems;
    std::vector<ModifierTarget> targets;
    if (const Result listed = modifier.enumerate(m_Scene, targets); !listed.ok())
        problems.push_back("'" + modifier.name() + "' can't say which items it serves: " + listed.message);
    for (const ModifierTarget& target : targets) {
        auto node = std::make_unique<NodeVertex>(*this, set);
        node->itemLabel = target.item->label();
        node->itemId = target.item->id();
        node->setAllocating(true);
        auto made = modifier.allocate(target, *node);
        node->setAllocating(false);
        if (!made.ok() || !made.value) {
            problems.push_back(node->label()
                               + " can't be made: " + (made.ok() ? "it gave no node." : made.message)
                               + " The item shows what it would without it.");
            continue;
        }
        node->node = std::move(made.value);
        set.nodes.push_back(std::move(node));
    }
    --m_Evaluation.m_Busy;
    std::string all;
    for (const std::string& problem : problems)
        all += all.empty() ? problem : "\n" + problem;
    m_Evaluation.tellAbout(*this, "'" + modifier.name() + "'", std::move(all));
}

void EvalGraph::listWriters()
{
    m_WritersDue = false;
    drop();
    m_Writers.clear();
    for (const auto& set : m_Sets) {
        for (const auto& node : set->nodes) {
            for (std::size_t i = 0; i < node->outputs.size(); ++i) {
                if (const Channel* channel = node->outputs[i].channel)
                    m_Writers[channel].push_back({node.get(), static_cast<std::uint32_t>(i)});
            }
        }
    }
}

NodeVertex* EvalGraph::findNode(std::uint64_t itemId, std::string_view modifier) const
{
    for (const auto& set : m_Sets) {
        if (set->modifier->name() != modifier)
            continue;
        for (const auto& node : set->nodes) {
            if (node->itemId == itemId)
                return node.get();
        }
    }
    return nullptr;
}

void EvalGraph::invalidateNodes()
{
    for (const auto& set : m_Sets) {
        for (const auto& node : set->nodes)
            invalidate(*node);
    }
}

void EvalGraph::retryFailedNodes()
{
    if (m_FailedNodes == 0)
        return;
    for (const auto& set : m_Sets) {
        for (const auto& node : set->nodes) {
            if (node->failed || node->refused)
                invalidate(*node);
        }
    }
}

} // namespace refhost
