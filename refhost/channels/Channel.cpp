// SPDX-License-Identifier: MIT
// Reading what the actions say about a channel.
#include "refhost/Channel.h"

#include "refhost/Item.h"
#include "refhost/Scene.h"

namespace refhost {
namespace {

const KeyList kNoKeys;

} // namespace

std::optional<Action> actionByName(std::string_view name)
{
    for (std::size_t i = 0; i < std::size(kActionNames); ++i) {
        if (name == kActionNames[i])
            return static_cast<Action>(i);
    }
    return std::nullopt;
}

ChannelBlock::ChannelBlock(Item& item, const ChannelLayout& layout, const Package* package, int firstIndex)
    : m_Item(&item),
      m_Layout(&layout),
      m_Package(package),
      m_FirstIndex(firstIndex),
      m_Channels(std::make_unique<Channel[]>(static_cast<std::size_t>(layout.count())))
{
    for (int i = 0; i < layout.count(); ++i) {
        m_Channels[i].m_Block = this;
        m_Channels[i].m_Index = firstIndex + i;
    }
}

std::string Channel::label() const { return item().label() + "." + name(); }

bool Channel::showsValue(const LayerValues& values, double time) const
{
    return values.shown && values.shown->timeEpoch == item().scene().timeEpoch()
        && sameTime(values.shown->time, time);
}

const LayerValues* Channel::speaking(Layer layer, double time) const
{
    if (!m_Values)
        return nullptr;
    for (int i = static_cast<int>(layer); i >= 0; --i) {
        const LayerValues& values = m_Values->layers[i];
        if (values.hasPlain() || !values.keys.empty() || showsValue(values, time))
            return &values;
    }
    return nullptr;
}

double Channel::number(Layer layer, double time) const
{
    const LayerValues* values = speaking(layer, time);
    if (!values)
        return definition().defaultNumber;
    if (!isNumber(type()))
        return 0;
    if (showsValue(*values, time))
        return values->shown->number;
    if (!values->keys.empty())
        return values->keys.sample(time);
    return *values->number;
}

std::int32_t Channel::integer(Layer layer, double time) const
{
    return speaking(layer, time) ? integerOf(number(layer, time)) : definition().defaultInteger;
}

const std::string* Channel::text(Layer layer, double time) const
{
    if (type() != ChannelType::Text)
        return nullptr;
    const LayerValues* values = speaking(layer, time);
    if (!values)
        return &definition().defaultText;
    if (showsValue(*values, time))
        return &values->shown->text;
    if (!values->keys.empty())
        return &values->keys.sampleText(time);
    return values->text.get();
}

bool Channel::matrix(Layer layer, double time, Matrix34& out) const
{
    if (type() != ChannelType::Matrix4)
        return false;
    const LayerValues* values = speaking(layer, time);
    out = values && values->matrix ? *values->matrix : Matrix34{};
    return true;
}

bool Channel::isSet(Layer layer, double time) const { return speaking(layer, time) != nullptr; }

bool Channel::isKeyed(Layer layer) const { return !keys(layer).empty(); }

bool Channel::isShownUnkeyed(Layer layer, double time) const
{
    const LayerValues* own = values(layer);
    return own && showsValue(*own, time);
}

const LayerValues* Channel::values(Layer layer) const
{
    if (!m_Values || m_Values->layers[static_cast<int>(layer)].empty())
        return nullptr;
    return &m_Values->layers[static_cast<int>(layer)];
}

const KeyList& Channel::keys(Layer layer) const
{
    return m_Values ? m_Values->layers[static_cast<int>(layer)].keys : kNoKeys;
}

} // namespace refhost
