// SPDX-License-Identifier: MIT
// Evaluated reads of a scene, and what its changes do to them.
#include "refhost/Evaluation.h"

#include "evaluation/EvalGraph.h"
#include "evaluation/SceneSnapshot.h"
#include "refhost/Host.h"

#include <algorithm>
#include <cmath>

namespace refhost {
namespace {

enum class Effect : std::uint8_t {
    None, ///< on no evaluated value
    Value, ///< on one channel and what rests on it
    Nodes, ///< on what nodes do, at most
    Additive, ///< something new that no cell rests on yet
    Structure, ///< on what rests on what
    Removal, ///< the same, and channels go
    Mode,
    Time,
};

Effect effectOf(const Change& change)
{
    switch (change.kind) {
    case ChangeKind::ValueChanged:
        return Effect::Value;
    case ChangeKind::ItemAdded:
        // A transform item changes the local matrix of an item that may have cells.
        return change.item->type().hasTransforms() ? Effect::Additive : Effect::Structure;
    case ChangeKind::PackageAdded:
        return Effect::Additive;
    case ChangeKind::ItemRemoved:
    case ChangeKind::PackageRemoved:
        return Effect::Removal;
    case ChangeKind::ItemReparented:
    case ChangeKind::ChannelLinkAdded:
    case ChangeKind::ChannelLinkRemoved:
    case ChangeKind::Loaded:
        return Effect::Structure;
    case ChangeKind::ItemTagChanged:
    case ChangeKind::ItemLinkAdded:
    case ChangeKind::ItemLinkRemoved:
    case ChangeKind::ModifierReset:
        return Effect::Nodes;
    case ChangeKind::SetupModeChanged:
        return Effect::Mode;
    case ChangeKind::SelectionChanged: // a node may ask for the current scene and its setup mode
        return change.item ? Effect::None : Effect::Mode;
    case ChangeKind::TimeChanged:
        return Effect::Time;
    default:
        return Effect::None;
    }
}

} // namespace

Modifiers& Modifiers::of(Host& host) { return host.attachments().require<Modifiers>(); }

void Modifiers::add(std::shared_ptr<Modifier> modifier)
{
    m_Modifiers.push_back(std::move(modifier));
    for (ModifierListener* listener : m_Listeners)
        listener->modifierAdded(*m_Modifiers.back());
}

void Modifiers::remove(const Modifier& modifier)
{
    const auto found = std::find_if(m_Modifiers.begin(), m_Modifiers.end(),
                                    [&](const auto& one) { return one.get() == &modifier; });
    if (found == m_Modifiers.end())
        return;
    for (ModifierListener* listener : m_Listeners)
        listener->modifierRemoving(**found);
    m_Modifiers.erase(found);
}

EvaluatedRead::EvaluatedRead(Evaluation& evaluation, EvalGraph& graph, double time)
    : m_Evaluation(&evaluation), m_Graph(&graph), m_Time(time)
{
    evaluation.m_Reads.push_back(this);
}

EvaluatedRead::~EvaluatedRead()
{
    if (m_Evaluation)
        std::erase(m_Evaluation->m_Reads, this);
}

Channel* EvaluatedRead::liveChannel(const Item& item, int channel) const
{
    if (!m_Evaluation || m_Evaluation->m_Busy || &item.scene() != &m_Evaluation->m_Scene || !item.isAlive())
        return nullptr;
    m_Graph->requireNodes();
    return item.channel(channel);
}

bool EvaluatedRead::number(const Item& item, int channel, double& out)
{
    if (m_Snapshot) {
        const SceneSnapshot::Value* value = m_Snapshot->find(item, channel);
        if (!value || !value->isNumber)
            return false;
        out = value->number;
        return true;
    }
    Channel* live = liveChannel(item, channel);
    if (!live || !isNumber(live->type()))
        return false;
    out = m_Graph->number(*live);
    return true;
}

bool EvaluatedRead::integer(const Item& item, int channel, std::int32_t& out)
{
    if (m_Snapshot) {
        const SceneSnapshot::Value* value = m_Snapshot->find(item, channel);
        if (!value || !value->isNumber)
            return false;
        out = value->integer;
        return true;
    }
    Channel* live = liveChannel(item, channel);
    if (!live || !isNumber(live->type()))
        return false;
    out = m_Graph->integer(*live);
    return true;
}

bool EvaluatedRead::matrix(const Item& item, int channel, Matrix34& out)
{
    if (m_Snapshot) {
        const SceneSnapshot::Value* value = m_Snapshot->find(item, channel);
        if (!value || value->matrix < 0)
            return false;
        out = m_Snapshot->items.at(item.id()).matrices[static_cast<std::size_t>(value->matrix)];
        return true;
    }
    Channel* live = liveChannel(item, channel);
    return live && m_Graph->matrix(*live, out);
}

Evaluation& Evaluation::of(Scene& scene) { return scene.attachments().require<Evaluation>(scene); }

Evaluation::Evaluation(Scene& scene)
    : m_Scene(scene), m_Now(std::make_unique<EvalGraph>(*this, scene, &EvalCell::now, scene.host().time()))
{
    scene.addListener(*this);
    Modifiers::of(scene.host()).addListener(*this);
}

Evaluation::~Evaluation()
{
    for (EvaluatedRead* read : m_Reads)
        read->m_Evaluation = nullptr;
    Modifiers::of(m_Scene.host()).removeListener(*this);
    m_Scene.removeListener(*this);
}

/// Tells a problem once, until there was none or another in between; both graphs may have the same one.
void Evaluation::tellAbout(const EvalGraph& graph, const std::string& what, std::string problem)
{
    if (problem.empty()) {
        if (!m_Told.empty())
            m_Told.erase({what, &graph});
        return;
    }
    const auto first = m_Told.lower_bound({what, nullptr});
    const bool isKnown = std::any_of(first, m_Told.end(), [&](const auto& told) {
        return told.first.first == what && told.second == problem;
    });
    if (!isKnown)
        m_Scene.host().tell(MessageLevel::Error, problem);
    m_Told[{what, &graph}] = std::move(problem);
}

void Evaluation::tellCircle(const std::string& text)
{
    if (m_ToldCircles.insert(text).second)
        m_Scene.host().tell(MessageLevel::Error, text);
}

/// Said before the solve, which may keep the user waiting; once, since the value may change with time.
void Evaluation::tellLongSolve(std::uint64_t itemId, const std::string& label, std::int32_t steps)
{
    if (m_ToldLongSolves.insert(itemId).second)
        m_Scene.host().tell(
            MessageLevel::Warning,
            "'" + label + "': iksSteps is " + std::to_string(steps)
                + ", and a solve of so many steps can last for minutes or hours. Lower it, unless "
                  "you mean it.");
}

void Evaluation::countMaking(const Modifier& modifier)
{
    for (auto& [name, count] : m_Makings) {
        if (name == modifier.name()) {
            ++count;
            return;
        }
    }
    m_Makings.emplace_back(modifier.name(), 1);
}

std::uint64_t Evaluation::makingCount(std::string_view modifier) const
{
    for (const auto& [name, count] : m_Makings) {
        if (name == modifier)
            return count;
    }
    return 0;
}

/// The graph at a time, with its nodes made.
EvalGraph& Evaluation::graphAt(double timeSeconds)
{
    const double now = m_Scene.host().time();
    EvalGraph* graph = m_Now.get();
    if (sameTime(timeSeconds, now)) {
        graph->setTime(now);
    } else {
        if (!m_Other)
            m_Other = std::make_unique<EvalGraph>(*this, m_Scene, &EvalCell::other, timeSeconds);
        graph = m_Other.get();
        if (graph->time() != timeSeconds) {
            freeze(graph);
            graph->setTime(timeSeconds);
        }
    }
    graph->requireNodes();
    return *graph;
}

/// Whether a value can be evaluated now; inside a node's run, and of a deleted item, the actions speak alone.
bool Evaluation::canEvaluate(const Channel& channel) const { return !m_Busy && channel.item().isAlive(); }

double Evaluation::number(Channel& channel, double timeSeconds)
{
    if (!canEvaluate(channel))
        return channel.number(m_Scene.evaluatedLayer(), timeSeconds);
    return graphAt(timeSeconds).number(channel);
}

std::int32_t Evaluation::integer(Channel& channel, double timeSeconds)
{
    if (!canEvaluate(channel))
        return channel.integer(m_Scene.evaluatedLayer(), timeSeconds);
    return graphAt(timeSeconds).integer(channel);
}

bool Evaluation::matrix(Channel& channel, double timeSeconds, Matrix34& out)
{
    if (!canEvaluate(channel))
        return channel.matrix(m_Scene.evaluatedLayer(), timeSeconds, out);
    return graphAt(timeSeconds).matrix(channel, out);
}

const std::string* Evaluation::text(Channel& channel, double timeSeconds)
{
    if (!canEvaluate(channel))
        return channel.text(m_Scene.evaluatedLayer(), timeSeconds);
    return graphAt(timeSeconds).text(channel);
}

std::shared_ptr<EvaluatedRead> Evaluation::read(double timeSeconds)
{
    if (m_Busy || !std::isfinite(timeSeconds))
        return nullptr;
    EvalGraph& graph = graphAt(timeSeconds);
    if (graph.hasFailedNodes()) {
        freeze(&graph);
        graph.retryFailedNodes();
    }
    return std::shared_ptr<EvaluatedRead>(new EvaluatedRead(*this, graph, timeSeconds));
}

std::optional<double> Evaluation::figure(const Item& item, std::string_view modifier, const char* name)
{
    if (m_Busy)
        return std::nullopt;
    m_Now->requireNodes();
    NodeVertex* node = m_Now->findNode(item.id(), modifier);
    return node ? node->node->figure(name) : std::nullopt;
}

std::size_t Evaluation::nodeCount(std::string_view modifier)
{
    if (!m_Busy)
        m_Now->requireNodes();
    for (const auto& set : m_Now->sets()) {
        if (set->modifier->name() == modifier)
            return set->nodes.size();
    }
    return 0;
}

void Evaluation::invalidate()
{
    freeze(nullptr);
    m_Now->invalidateAll();
    if (m_Other)
        m_Other->invalidateAll();
}

/// Gives the reads that are alive a copy of what they show.
void Evaluation::freeze(const EvalGraph* only)
{
    std::shared_ptr<const SceneSnapshot> copies[2];
    for (EvaluatedRead* read : m_Reads) {
        if (read->m_Snapshot || (only && read->m_Graph != only))
            continue;
        std::shared_ptr<const SceneSnapshot>& copy = copies[read->m_Graph == m_Other.get()];
        if (!copy) {
            read->m_Graph->requireNodes();
            copy = std::make_shared<SceneSnapshot>(m_Scene, *read->m_Graph);
        }
        read->m_Snapshot = copy;
    }
}

void Evaluation::beforeChange(Scene&, const Change& change)
{
    const Effect effect = effectOf(change);
    if (effect == Effect::None)
        return;
    freeze(nullptr);
    for (EvalGraph* graph : {m_Now.get(), m_Other.get()}) {
        if (!graph)
            continue;
        graph->markStale(change);
        if (effect == Effect::Structure || effect == Effect::Removal)
            graph->drop();
        if (effect == Effect::Removal)
            graph->loseChannels(change);
    }
}

void Evaluation::afterChange(Scene&, const Change& change)
{
    const Effect effect = effectOf(change);
    if (effect == Effect::None)
        return;
    for (EvalGraph* graph : {m_Now.get(), m_Other.get()}) {
        if (!graph)
            continue;
        graph->markStale(change);
        switch (effect) {
        case Effect::Value:
            graph->invalidateValue(*change.channel);
            break;
        case Effect::Structure:
        case Effect::Removal:
            graph->drop();
            break;
        case Effect::Mode:
            graph->invalidateAll();
            break;
        case Effect::Time:
            if (graph == m_Now.get())
                graph->invalidateTimed();
            else
                graph->invalidateShown();
            break;
        default:
            break;
        }
        graph->retryFailedNodes();
    }
    if (effect == Effect::Time)
        m_Now->setTime(m_Scene.host().time());
    // What can open a circle: one that is closed again is news.
    if (effect == Effect::Removal || change.kind == ChangeKind::ChannelLinkRemoved
        || change.kind == ChangeKind::ItemReparented)
        m_ToldCircles.clear();
}

void Evaluation::modifierAdded(Modifier& modifier)
{
    freeze(nullptr);
    m_Now->modifierAdded(modifier);
    if (m_Other)
        m_Other->modifierAdded(modifier);
}

void Evaluation::modifierRemoving(Modifier& modifier)
{
    freeze(nullptr);
    m_Now->modifierRemoving(modifier);
    if (m_Other)
        m_Other->modifierRemoving(modifier);
}

} // namespace refhost
