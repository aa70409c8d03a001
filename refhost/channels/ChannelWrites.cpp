// SPDX-License-Identifier: MIT
// Writing values and keys of channels.
#include "refhost/Host.h"
#include "refhost/Scene.h"
#include "scene/ItemEdits.h"

#include <bit>
#include <cmath>

namespace refhost {
namespace {

Change valueChange(ChangeCause cause, Channel& channel, Layer layer)
{
    return {.kind = ChangeKind::ValueChanged,
            .cause = cause,
            .layer = layer,
            .item = &channel.item(),
            .channel = &channel};
}

// Two bytes inside the channel per layer make keys that no other channel has.
const void* keyOf(const Channel& channel, Layer layer, int kind)
{
    static_assert(sizeof(Channel) >= 2 * kLayerCount);
    return reinterpret_cast<const char*>(&channel) + kind * kLayerCount + static_cast<int>(layer);
}

/// Exchanges the plain value and the shown value of a layer.
class PlainEdit final : public SwapEdit {
public:
    PlainEdit(Channel& channel, Layer layer, LayerValues state)
        : m_Channel(channel), m_Layer(layer), m_State(std::move(state))
    {
    }
    const void* mergeKey() const override { return keyOf(m_Channel, m_Layer, 0); }
    // The later edit came on top of this one's result; what this one holds is still the state before both.
    bool absorb(Edit&) override { return true; }

private:
    void swap(Scene& scene, ChangeCause cause) override
    {
        const Notice notice(scene, valueChange(cause, m_Channel, m_Layer));
        LayerValues& values = DocumentAccess::layerValues(m_Channel, m_Layer);
        std::swap(values.number, m_State.number);
        std::swap(values.text, m_State.text);
        std::swap(values.matrix, m_State.matrix);
        std::swap(values.shown, m_State.shown);
        // A shown value that comes back is shown again only at its own time.
        if (cause != ChangeCause::Edit && values.shown)
            values.shown->timeEpoch = sameTime(values.shown->time, scene.time()) ? scene.timeEpoch() : 0;
        DocumentAccess::dropIfEmpty(m_Channel);
    }

    Channel& m_Channel;
    Layer m_Layer;
    LayerValues m_State; // its keys stay empty
};

struct KeyAndText {
    Key key;
    std::string text;
};

/// Exchanges one key.
class KeyEdit final : public SwapEdit {
public:
    KeyEdit(Channel& channel, Layer layer, double timeSeconds, std::unique_ptr<KeyAndText> key)
        : m_Channel(channel), m_Layer(layer), m_Time(timeSeconds), m_Key(std::move(key))
    {
    }
    const void* mergeKey() const override { return keyOf(m_Channel, m_Layer, 1); }
    bool absorb(Edit& later) override { return static_cast<KeyEdit&>(later).m_Time == m_Time; }

private:
    void swap(Scene& scene, ChangeCause cause) override
    {
        const Notice notice(scene, valueChange(cause, m_Channel, m_Layer));
        KeyList& keys = DocumentAccess::layerValues(m_Channel, m_Layer).keys;
        std::unique_ptr<KeyAndText> former;
        if (const auto index = keys.find(m_Time))
            former = std::make_unique<KeyAndText>(KeyAndText{keys.keys()[*index], keys.text(*index)});
        if (m_Key)
            keys.put(m_Key->key, m_Key->text);
        else
            keys.remove(m_Time);
        m_Key = std::move(former);
        DocumentAccess::dropIfEmpty(m_Channel);
    }

    Channel& m_Channel;
    Layer m_Layer;
    double m_Time;
    std::unique_ptr<KeyAndText> m_Key;
};

/// Exchanges all keys of a layer.
class KeyListEdit final : public SwapEdit {
public:
    KeyListEdit(Channel& channel, Layer layer, KeyList keys)
        : m_Channel(channel), m_Layer(layer), m_Keys(std::move(keys))
    {
    }

private:
    void swap(Scene& scene, ChangeCause cause) override
    {
        const Notice notice(scene, valueChange(cause, m_Channel, m_Layer));
        std::swap(DocumentAccess::layerValues(m_Channel, m_Layer).keys, m_Keys);
        DocumentAccess::dropIfEmpty(m_Channel);
    }

    Channel& m_Channel;
    Layer m_Layer;
    KeyList m_Keys;
};

bool sameBits(double a, double b)
{
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// The layer's state without keys; a shown value whose time is over does not count any more.
LayerValues stateOf(const Channel& channel, Layer layer)
{
    LayerValues out;
    const LayerValues* values = channel.values(layer);
    if (!values)
        return out;
    out.number = values->number;
    if (values->text)
        out.text = std::make_unique<std::string>(*values->text);
    if (values->matrix)
        out.matrix = std::make_unique<Matrix34>(*values->matrix);
    if (values->shown && values->shown->timeEpoch == channel.item().scene().timeEpoch())
        out.shown = std::make_unique<ShownValue>(*values->shown);
    return out;
}

// Once over, a shown value must not come back when an edit is undone; dropping it changes nothing that can be
// read.
void dropLapsed(Channel& channel, Layer layer)
{
    const LayerValues* values = channel.values(layer);
    if (values && values->shown && values->shown->timeEpoch != channel.item().scene().timeEpoch())
        DocumentAccess::layerValues(channel, layer).shown.reset();
}

Result setState(Scene& scene, Channel& channel, Layer layer, LayerValues state)
{
    dropLapsed(channel, layer);
    return scene.journal().perform(std::make_unique<PlainEdit>(channel, layer, std::move(state)));
}

Result setPlainNumber(Scene& scene, Channel& channel, Layer layer, double number)
{
    if (const LayerValues* own = channel.values(layer); own && own->number && sameBits(*own->number, number))
        return {};
    LayerValues state = stateOf(channel, layer);
    state.number = number;
    return setState(scene, channel, layer, std::move(state));
}

Result setPlainText(Scene& scene, Channel& channel, Layer layer, std::string_view text)
{
    if (const LayerValues* own = channel.values(layer); own && own->text && *own->text == text)
        return {};
    LayerValues state = stateOf(channel, layer);
    state.text = std::make_unique<std::string>(text);
    return setState(scene, channel, layer, std::move(state));
}

Result showValue(Scene& scene, Channel& channel, Layer layer, double timeSeconds, double number,
                 std::string_view text)
{
    LayerValues state = stateOf(channel, layer);
    state.shown =
        std::make_unique<ShownValue>(ShownValue{timeSeconds, number, std::string(text), scene.timeEpoch()});
    return setState(scene, channel, layer, std::move(state));
}

Result stopShowing(Scene& scene, Channel& channel, Layer layer, double timeSeconds)
{
    if (!channel.isShownUnkeyed(layer, timeSeconds))
        return {};
    LayerValues state = stateOf(channel, layer);
    state.shown.reset();
    return setState(scene, channel, layer, std::move(state));
}

Result performKey(Scene& scene, Channel& channel, Layer layer, Key key, std::string_view text)
{
    if (Result done = stopShowing(scene, channel, layer, key.time); !done.ok())
        return done;
    const KeyList& keys = channel.keys(layer);
    if (const auto index = keys.find(key.time)) {
        key.time = keys.keys()[*index].time;
        if (keys.keys()[*index] == key && keys.text(*index) == text)
            return {};
    }
    return scene.journal().perform(std::make_unique<KeyEdit>(
        channel, layer, key.time, std::make_unique<KeyAndText>(KeyAndText{key, std::string(text)})));
}

Result checkTime(double timeSeconds)
{
    if (std::abs(timeSeconds) <= kMaximumTimeSeconds)
        return {};
    return Result::failure("The time of a key must be a number within " + std::to_string(kMaximumTimeSeconds)
                           + " seconds.");
}

Result checkNumber(const Channel& channel, double value)
{
    if (!isNumber(channel.type()))
        return Result::failure("'" + channel.label() + "' is of type "
                               + kChannelTypeNames[static_cast<int>(channel.type())]
                               + " and takes no number.");
    if (!std::isfinite(value))
        return Result::failure("'" + channel.label()
                               + "' was given a number that is not finite; it keeps its value.");
    return {};
}

double stored(ChannelType type, double value)
{
    if (type == ChannelType::Boolean)
        return value != 0 ? 1 : 0;
    return type == ChannelType::Integer ? integerOf(value) : value;
}

Result checkKey(const Channel& channel, const Key& key)
{
    if (Result right = checkTime(key.time); !right.ok())
        return right;
    if (Result right = checkNumber(channel, key.number); !right.ok())
        return right;
    if (!std::isfinite(key.inSlope) || !std::isfinite(key.outSlope))
        return Result::failure("A key of '" + channel.label() + "' has a slope that is not finite.");
    return {};
}

Key fitted(const Channel& channel, Key key)
{
    key.number = stored(channel.type(), key.number);
    if (isStepped(channel.type())) {
        key.interpolation = Interpolation::Step;
        key.inSlope = key.outSlope = 0;
    }
    return key;
}

// The key that stands at the time with a new value, or a new key.
Key keyWithValue(const Channel& channel, Layer layer, double timeSeconds, double number)
{
    Key key;
    if (const auto index = channel.keys(layer).find(timeSeconds))
        key = channel.keys(layer).keys()[*index];
    else
        key.time = timeSeconds;
    key.number = number;
    return fitted(channel, key);
}

} // namespace

Result Scene::writeNumber(Channel& channel, Action action, double timeSeconds, double value, WriteMode mode)
{
    if (Result own = checkOwn(channel); !own.ok())
        return own;
    if (Result right = checkNumber(channel, value); !right.ok())
        return right;
    const Layer target = layer(action);
    const double number = stored(channel.type(), value);
    const KeyList& keys = channel.keys(target);
    if (mode == WriteMode::Plain || (mode == WriteMode::Key && keys.empty()))
        return setPlainNumber(*this, channel, target, number);
    if (Result right = checkTime(timeSeconds); !right.ok())
        return right;
    if (mode == WriteMode::Key && !keys.find(timeSeconds))
        return showValue(*this, channel, target, timeSeconds, number, {});
    return performKey(*this, channel, target, keyWithValue(channel, target, timeSeconds, number), {});
}

Result Scene::writeText(Channel& channel, Action action, double timeSeconds, std::string_view value,
                        WriteMode mode)
{
    if (Result own = checkOwn(channel); !own.ok())
        return own;
    if (channel.type() != ChannelType::Text)
        return Result::failure("'" + channel.label() + "' is of type "
                               + kChannelTypeNames[static_cast<int>(channel.type())] + " and takes no text.");
    const Layer target = layer(action);
    const KeyList& keys = channel.keys(target);
    if (mode == WriteMode::Plain || (mode == WriteMode::Key && keys.empty()))
        return setPlainText(*this, channel, target, value);
    if (Result right = checkTime(timeSeconds); !right.ok())
        return right;
    if (mode == WriteMode::Key && !keys.find(timeSeconds))
        return showValue(*this, channel, target, timeSeconds, 0, value);
    return performKey(*this, channel, target, keyWithValue(channel, target, timeSeconds, 0), value);
}

Result Scene::writeMatrix(Channel& channel, Action action, const Matrix34& value)
{
    if (Result own = checkOwn(channel); !own.ok())
        return own;
    if (channel.type() != ChannelType::Matrix4)
        return Result::failure("'" + channel.label() + "' is of type "
                               + kChannelTypeNames[static_cast<int>(channel.type())]
                               + " and takes no matrix.");
    if (!isFinite(value))
        return Result::failure("'" + channel.label()
                               + "' was given a matrix that is not finite; it keeps its value.");
    const Layer target = layer(action);
    if (const LayerValues* there = channel.values(target); there && there->matrix && *there->matrix == value)
        return {};
    LayerValues state = stateOf(channel, target);
    state.matrix = std::make_unique<Matrix34>(value);
    return setState(*this, channel, target, std::move(state));
}

Result Scene::clearValue(Channel& channel, Action action)
{
    if (Result own = checkOwn(channel); !own.ok())
        return own;
    const Layer target = layer(action);
    if (const LayerValues* values = channel.values(target); !values || !values->hasPlain())
        return {};
    LayerValues state;
    state.shown = stateOf(channel, target).shown;
    return setState(*this, channel, target, std::move(state));
}

Result Scene::putKey(Channel& channel, Action action, const Key& key)
{
    if (Result own = checkOwn(channel); !own.ok())
        return own;
    if (Result right = checkKey(channel, key); !right.ok())
        return right;
    return performKey(*this, channel, layer(action), fitted(channel, key), {});
}

Result Scene::removeKey(Channel& channel, Action action, double timeSeconds)
{
    if (Result own = checkOwn(channel); !own.ok())
        return own;
    const Layer target = layer(action);
    const auto index = channel.keys(target).find(timeSeconds);
    if (!index)
        return Result::failure("'" + channel.label() + "' has no key at " + std::to_string(timeSeconds)
                               + " seconds.");
    const double time = channel.keys(target).keys()[*index].time;
    return m_Journal.perform(std::make_unique<KeyEdit>(channel, target, time, nullptr));
}

Result Scene::setKeys(Channel& channel, Action action, const std::vector<Key>& keys)
{
    if (Result own = checkOwn(channel); !own.ok())
        return own;
    KeyList list;
    for (const Key& key : keys) {
        if (Result right = checkKey(channel, key); !right.ok())
            return right;
        list.put(fitted(channel, key));
    }
    const Layer target = layer(action);
    if (list == channel.keys(target))
        return {};
    return m_Journal.perform(std::make_unique<KeyListEdit>(channel, target, std::move(list)));
}

} // namespace refhost
