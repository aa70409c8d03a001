// SPDX-License-Identifier: MIT
// The whole document as text, for telling whether two documents are identical.
#include "refhost/Host.h"
#include "refhost/Scene.h"
#include "scene/ExactText.h"

#include <ostream>
#include <sstream>

namespace refhost {
namespace {

std::string quoted(std::string_view text)
{
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            out += '\\';
        if (c == '\n')
            out += "\\n";
        else
            out += c;
    }
    return out + '"';
}

void dumpIds(std::ostream& out, const char* what, const std::vector<Item*>& items)
{
    if (items.empty())
        return;
    out << "  " << what;
    for (const Item* item : items)
        out << ' ' << item->id();
    out << '\n';
}

void dumpTags(std::ostream& out, const TagList& tags, const DataList& data)
{
    for (const auto& [code, text] : tags.all())
        out << "  tag " << tagText(code) << ' ' << code << ' ' << quoted(text) << '\n';
    for (const auto& [kind, content] : data.all())
        out << "  data " << quoted(kind) << ' ' << quoted(content->digest()) << '\n';
}

void dumpLayer(std::ostream& out, const Channel& channel, Layer layer, const Scene& scene)
{
    const LayerValues* values = channel.values(layer);
    if (!values)
        return;
    std::ostringstream line;
    if (values->number)
        line << " value " << exactText(*values->number);
    if (values->text)
        line << " text " << quoted(*values->text);
    if (values->matrix) {
        line << " matrix";
        for (const auto& row : values->matrix->linear.m) {
            for (const double x : row)
                line << ' ' << exactText(x);
        }
        for (const double x : values->matrix->offset)
            line << ' ' << exactText(x);
    }
    for (std::size_t i = 0; i < values->keys.count(); ++i) {
        const Key& key = values->keys.keys()[i];
        line << " key " << exactText(key.time) << ' ' << exactText(key.number) << ' '
             << kInterpolationNames[static_cast<int>(key.interpolation)] << ' ' << exactText(key.inSlope)
             << ' ' << exactText(key.outSlope);
        if (channel.type() == ChannelType::Text)
            line << ' ' << quoted(values->keys.text(i));
    }
    if (channel.isShownUnkeyed(layer, scene.time()))
        line << " shown " << exactText(values->shown->number) << ' ' << quoted(values->shown->text);
    if (const std::string text = line.str(); !text.empty())
        out << "  " << channel.index() << ' ' << channel.name() << ' '
            << kActionNames[static_cast<int>(layer)] << text << '\n';
}

void dumpItem(std::ostream& out, const Item& item, const Scene& scene)
{
    out << "item " << item.id() << ' ' << item.type().name() << ' ' << quoted(item.name()) << ' '
        << quoted(item.uniqueName());
    if (item.parent())
        out << " parent " << item.parent()->id();
    if (item.transformOwner())
        out << " owner " << item.transformOwner()->id();
    out << " slots " << item.channelSlotCount() << '\n';
    dumpIds(out, "children", item.children());
    for (int kind = 0; kind < kTransformKindCount; ++kind) {
        if (const Item* transform = item.transformItem(static_cast<TransformKind>(kind)))
            out << "  transform " << kind << ' ' << transform->id() << '\n';
    }
    for (const Package* package : item.packages()) {
        out << "  package " << package->name();
        if (package->layout().count() > 0)
            out << " at " << item.channelIndex(package->layout()[0].name);
        out << '\n';
    }
    dumpTags(out, item.tags(), item.data());
    for (int i = 0; i < item.channelSlotCount(); ++i) {
        if (const Channel* channel = item.channel(i)) {
            dumpLayer(out, *channel, Layer::Setup, scene);
            dumpLayer(out, *channel, Layer::Anim, scene);
        }
    }
}

void dumpEnds(std::ostream& out, const char* what, const std::vector<Channel*>& channels)
{
    if (channels.empty())
        return;
    out << "  " << what;
    for (const Channel* channel : channels)
        out << ' ' << channel->item().id() << '/' << channel->index();
    out << '\n';
}

} // namespace

void Scene::dump(std::ostream& out) const
{
    out << "scene " << (m_SetupMode ? "setup" : "anim") << '\n';
    dumpTags(out, m_Tags, m_Data);
    dumpIds(out, "top", m_TopItems);
    for (const Item* item : items())
        dumpItem(out, *item, *this);
    for (const auto& [name, graph] : m_Graphs) {
        if (graph->linkCount() == 0)
            continue;
        out << "graph " << quoted(name) << '\n';
        for (const Item* item : items()) {
            if (graph->forward(*item).empty() && graph->reverse(*item).empty())
                continue;
            out << " item " << item->id() << '\n';
            dumpIds(out, "to", graph->forward(*item));
            dumpIds(out, "from", graph->reverse(*item));
        }
    }
    if (m_ChannelGraph.linkCount() == 0)
        return;
    out << "graph " << quoted(m_ChannelGraph.name()) << '\n';
    for (const Item* item : items()) {
        for (int i = 0; i < item->channelSlotCount(); ++i) {
            const Channel* channel = item->channel(i);
            if (!channel || channel->linkCount() == 0)
                continue;
            out << " channel " << item->id() << '/' << i << ' ' << channel->name() << '\n';
            dumpEnds(out, "to", m_ChannelGraph.forward(*channel));
            dumpEnds(out, "from", m_ChannelGraph.reverse(*channel));
        }
    }
}

std::string Scene::digest() const
{
    std::ostringstream out;
    dump(out);
    return out.str();
}

} // namespace refhost
