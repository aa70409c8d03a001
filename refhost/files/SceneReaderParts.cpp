// SPDX-License-Identifier: MIT
// Checked access to the JSON of a scene file; descriptions of types and packages; values of channels.
#include "files/SceneReader.h"
#include "scene/DocumentAccess.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <unordered_set>

namespace refhost {
namespace {

constexpr const char* kKindNames[] = {"null",   "false",    "true",      "a number",
                                      "a text", "an array", "an object", "a key"};
constexpr std::uint32_t kFirstStandInCode = 0xf0000000; // above every code that a host gives

template <class Key>
constexpr std::size_t at(Key key)
{
    return static_cast<std::size_t>(key);
}

} // namespace

void JsonAccess::expect(Index node, JsonKind kind, const char* what) const
{
    if (doc.kind(node) != kind)
        refuse(node, std::string("needs ") + what + ", but this is " + kKindNames[at(doc.kind(node))]);
}

std::string JsonAccess::string(Index node) const
{
    expect(node, JsonKind::String, "a text");
    if (doc.text(node).find('\0') != std::string_view::npos)
        refuse(node, "the text holds a zero character, which would cut it short; remove it");
    return std::string(doc.text(node));
}

bool JsonAccess::boolean(Index node) const
{
    if (doc.kind(node) != JsonKind::True)
        expect(node, JsonKind::False, "true or false");
    return doc.kind(node) == JsonKind::True;
}

double JsonAccess::number(Index node, double limit) const
{
    expect(node, JsonKind::Number, "a number");
    const std::string_view text = doc.text(node);
    double value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    // A number too small for a double is 0 nearly enough; one too large was refused before.
    if (read.ec == std::errc::result_out_of_range && std::abs(value) < 1)
        value = 0;
    else if (read.ec != std::errc() || read.ptr != text.data() + text.size())
        refuse(node, "this number can't be read");
    if (!(std::abs(value) <= limit))
        refuse(node, "the number is out of range; the largest here is " + std::to_string(limit));
    return value;
}

std::int64_t JsonAccess::integer(Index node, std::int64_t low, std::int64_t high) const
{
    expect(node, JsonKind::Number, "a whole number");
    const std::string_view text = doc.text(node);
    std::int64_t value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (read.ec == std::errc() && read.ptr != text.data() + text.size())
        refuse(node, "needs a whole number");
    if (read.ec != std::errc() || value < low || value > high)
        refuse(node,
               "the number is out of range; it must be from " + std::to_string(low) + " to "
                   + std::to_string(high));
    return value;
}

void JsonAccess::addUnknown(UnknownContent* unknown, std::string_view before, Index key) const
{
    if (!unknown)
        refuse(
            key + 1,
            "there is no such key here; check its spelling, or read the file with the program that wrote it");
    unknown->members.push_back({std::string(before), std::string(doc.text(key)), doc.inlineText(key + 1)});
}

bool Description::hasChannel(std::string_view name) const
{
    return std::any_of(channels.begin(), channels.end(),
                       [&](const auto& channel) { return channel.name == name; });
}

const Description* Descriptions::find(const Map& map, std::string_view name)
{
    const auto found = map.find(name);
    return found == map.end() ? nullptr : &found->second;
}

ChannelDefinition Descriptions::definition(JsonDocument::Index node) const
{
    constexpr double kAny = std::numeric_limits<double>::max();
    const auto member = m_Json.members(node, kDefinitionKeys);
    const auto has = [&](DefinitionKey key) { return member[at(key)] != 0; };
    const auto of = [&](DefinitionKey key) { return member[at(key)]; };
    for (const DefinitionKey key : {DefinitionKey::Name, DefinitionKey::Type}) {
        if (!has(key))
            m_Json.refuse(node, std::string("the channel needs a '") + kDefinitionKeys[at(key)] + "'");
    }
    ChannelDefinition out;
    out.name = m_Json.string(of(DefinitionKey::Name));
    if (out.name.empty())
        m_Json.refuse(of(DefinitionKey::Name), "a channel needs a name");
    const auto type = channelTypeByName(m_Json.string(of(DefinitionKey::Type)));
    if (!type)
        m_Json.refuse(of(DefinitionKey::Type), "this is no type of channels");
    out.type = *type;
    if (has(DefinitionKey::Default)) {
        if (out.type == ChannelType::Text)
            out.defaultText = m_Json.string(of(DefinitionKey::Default));
        else
            out.defaultNumber = m_Json.number(of(DefinitionKey::Default), kAny);
    }
    out.defaultInteger = integerOf(out.defaultNumber);
    if (has(DefinitionKey::Integer)) {
        using Limits = std::numeric_limits<std::int32_t>;
        out.defaultInteger = static_cast<std::int32_t>(
            m_Json.integer(of(DefinitionKey::Integer), Limits::min(), Limits::max()));
    }
    if (has(DefinitionKey::Minimum))
        out.minimum = m_Json.number(of(DefinitionKey::Minimum), kAny);
    if (has(DefinitionKey::Maximum))
        out.maximum = m_Json.number(of(DefinitionKey::Maximum), kAny);
    if (has(DefinitionKey::Hints)) {
        const JsonDocument& doc = m_Json.doc;
        const JsonDocument::Index hints = of(DefinitionKey::Hints);
        m_Json.expect(hints, JsonKind::Array, "an array");
        for (JsonDocument::Index hint = doc.first(hints); hint != doc.next(hints); hint = doc.next(hint)) {
            m_Json.expect(hint, JsonKind::Array, "an array");
            const JsonDocument::Index value = doc.first(hint), text = value + 1;
            if (text >= doc.next(hint) || doc.isContainer(value) || doc.next(text) != doc.next(hint))
                m_Json.refuse(hint, "needs a whole number and a text");
            using Limits = std::numeric_limits<std::int32_t>;
            out.textHints.push_back(
                {static_cast<std::int32_t>(m_Json.integer(value, Limits::min(), Limits::max())),
                 m_Json.string(text)});
        }
    }
    if (has(DefinitionKey::Vector))
        out.vector = m_Json.string(of(DefinitionKey::Vector));
    out.marked = has(DefinitionKey::Marked) && m_Json.boolean(of(DefinitionKey::Marked));
    return out;
}

void Descriptions::read(JsonDocument::Index node, Map& map, bool types)
{
    const JsonDocument& doc = m_Json.doc;
    m_Json.expect(node, JsonKind::Object, "an object");
    for (JsonDocument::Index key = doc.first(node); key != doc.next(node); key = doc.next(key + 1)) {
        const JsonDocument::Index value = key + 1;
        if (doc.text(key).empty() || !isStorableText(doc.text(key)))
            m_Json.refuse(value, "an item type or package needs a name without zero characters");
        const auto member = m_Json.members(value, kDescriptionKeys);
        Description out;
        out.node = value;
        if (const auto base = member[at(DescriptionKey::Base)]) {
            if (!types)
                m_Json.refuse(base, "a package has no base; remove it");
            out.base = m_Json.string(base);
        } else if (types) {
            m_Json.refuse(value, "the item type needs a 'base'");
        }
        if (const auto origin = member[at(DescriptionKey::Origin)])
            out.origin = m_Json.string(origin);
        if (const auto channels = member[at(DescriptionKey::Channels)]) {
            m_Json.expect(channels, JsonKind::Array, "an array");
            std::unordered_set<std::string> names;
            for (auto channel = doc.first(channels); channel != doc.next(channels);
                 channel = doc.next(channel)) {
                out.channels.push_back(definition(channel));
                if (!names.insert(out.channels.back().name).second)
                    m_Json.refuse(channel,
                                  "the channel '" + out.channels.back().name + "' stands twice; rename one");
            }
        }
        map.emplace(doc.text(key), std::move(out));
    }
}

const ItemType& Descriptions::type(const std::string& name, JsonDocument::Index node)
{
    return typeAtLevel(name, node, 0);
}

const ItemType& Descriptions::typeAtLevel(const std::string& name, JsonDocument::Index node, int level)
{
    if (const ItemType* registered = m_Host.findType(name)) {
        for (int kind = 0; kind < kTransformKindCount; ++kind) {
            if (registered == &m_Host.transformType(static_cast<TransformKind>(kind)))
                m_Json.refuse(
                    node, "'" + name + "' is the type of transform items, which stand inside their owner");
        }
        return *registered;
    }
    if (const auto made = m_StandInTypes.find(name); made != m_StandInTypes.end())
        return *made->second;
    const Description* description = ofType(name);
    if (!description)
        m_Json.refuse(
            node,
            "the item type '" + name
                + "' is unknown here and the file doesn't describe it; load the module that brings it, or "
                  "correct the name");
    if (level >= kMaximumTypeLevels)
        m_Json.refuse(description->node, "item types derive from each other without end; correct a base");
    const auto baseNode = m_Json.doc.member(description->node, kDescriptionKeys[at(DescriptionKey::Base)]);
    const ItemType& base = typeAtLevel(description->base, *baseNode, level + 1);
    for (const ChannelDefinition& channel : description->channels) {
        if (base.layout().find(channel.name) >= 0)
            m_Json.refuse(description->node,
                          "the channel '" + channel.name + "' is there already in the base");
    }
    m_DefinitionCount += static_cast<std::size_t>(base.layout().count()) + description->channels.size();
    if (m_DefinitionCount > kMaximumDefinitions)
        m_Json.refuse(description->node, "the item types of this file have too many channels");
    const auto code = static_cast<std::uint32_t>(kFirstStandInCode + m_StandIns.types.size());
    m_StandIns.types.push_back(std::make_unique<ItemType>(name, code, &base, description->origin,
                                                          base.hasTransforms(), description->channels));
    return *m_StandInTypes.emplace(name, m_StandIns.types.back().get()).first->second;
}

const Package& Descriptions::package(const std::string& name, JsonDocument::Index node)
{
    if (const Package* registered = m_Host.findPackage(name))
        return *registered;
    if (const auto made = m_StandInPackages.find(name); made != m_StandInPackages.end())
        return *made->second;
    const Description* description = ofPackage(name);
    if (!description)
        m_Json.refuse(
            node,
            "the package '" + name
                + "' is unknown here and the file doesn't describe it; load the module that brings it, or "
                  "correct the name");
    m_StandIns.packages.push_back(
        std::make_unique<Package>(name, description->origin, description->channels));
    return *m_StandInPackages.emplace(name, m_StandIns.packages.back().get()).first->second;
}

namespace {

class ValueReader {
public:
    ValueReader(const JsonAccess& json, const Channel& channel) : m_Json(json), m_Type(channel.type()) { }

    void layer(JsonDocument::Index node, LayerValues& out) const
    {
        if (m_Json.doc.kind(node) != JsonKind::Object)
            return plain(node, out);
        const auto member = m_Json.members(node, kLayerKeys);
        if (const auto value = member[at(LayerKey::Value)])
            plain(value, out);
        if (const auto list = member[at(LayerKey::Keys)])
            keys(list, out);
    }

private:
    double scalar(JsonDocument::Index node) const
    {
        using Limits = std::numeric_limits<std::int32_t>;
        if (m_Type == ChannelType::Boolean)
            return m_Json.boolean(node) ? 1 : 0;
        if (m_Type == ChannelType::Integer)
            return static_cast<double>(m_Json.integer(node, Limits::min(), Limits::max()));
        return m_Json.number(node, kMaximumFileNumber);
    }

    void plain(JsonDocument::Index node, LayerValues& out) const
    {
        if (m_Type == ChannelType::Text)
            out.text = std::make_unique<std::string>(m_Json.string(node));
        else if (m_Type == ChannelType::Matrix4)
            out.matrix = std::make_unique<Matrix34>(matrix(node));
        else
            out.number = scalar(node);
    }

    Matrix34 matrix(JsonDocument::Index node) const
    {
        Matrix34 out;
        const std::vector<JsonDocument::Index> rows = elements(node, 3, 3);
        for (std::size_t row = 0; row < 3; ++row) {
            const std::vector<JsonDocument::Index> numbers = elements(rows[row], 4, 4);
            for (std::size_t column = 0; column < 3; ++column)
                out.linear.m[row][column] = m_Json.number(numbers[column], kMaximumFileNumber);
            out.offset[row] = m_Json.number(numbers[3], kMaximumFileNumber);
        }
        return out;
    }

    std::vector<JsonDocument::Index> elements(JsonDocument::Index node, std::size_t least,
                                              std::size_t most) const
    {
        m_Json.expect(node, JsonKind::Array, "an array");
        std::vector<JsonDocument::Index> out;
        const JsonDocument& doc = m_Json.doc;
        for (auto child = doc.first(node); child != doc.next(node) && out.size() <= most;
             child = doc.next(child))
            out.push_back(child);
        if (out.size() < least || out.size() > most)
            m_Json.refuse(node,
                          "needs " + std::to_string(least)
                              + (most > least ? " to " + std::to_string(most) : "") + " elements");
        return out;
    }

    void keys(JsonDocument::Index node, LayerValues& out) const
    {
        if (m_Type == ChannelType::Matrix4)
            m_Json.refuse(node, "matrices have no keys; remove them");
        m_Json.expect(node, JsonKind::Array, "an array");
        const JsonDocument& doc = m_Json.doc;
        for (auto child = doc.first(node); child != doc.next(node); child = doc.next(child)) {
            const std::vector<JsonDocument::Index> parts = elements(child, 2, 5);
            Key key;
            key.time = m_Json.number(parts[0], kMaximumTimeSeconds);
            std::string text;
            if (m_Type == ChannelType::Text)
                text = m_Json.string(parts[1]);
            else
                key.number = scalar(parts[1]);
            key.interpolation = usualInterpolation(m_Type);
            if (parts.size() > 2)
                key.interpolation = interpolation(parts[2]);
            if (parts.size() == 4)
                m_Json.refuse(child, "a key has no slope or two of them");
            if (parts.size() == 5) {
                if (isStepped(m_Type))
                    m_Json.refuse(child, "keys of such a channel have no slopes");
                key.inSlope = m_Json.number(parts[3], kMaximumFileNumber);
                key.outSlope = m_Json.number(parts[4], kMaximumFileNumber);
            }
            if (!out.keys.empty() && !(key.time - out.keys.keys().back().time > kSameTimeSeconds))
                m_Json.refuse(child, "keys must stand in order of time, more than a microsecond apart");
            out.keys.put(key, text);
        }
    }

    Interpolation interpolation(JsonDocument::Index node) const
    {
        const std::string text = m_Json.string(node);
        for (std::size_t i = 0; i < std::size(kInterpolationNames); ++i) {
            if (text == kInterpolationNames[i] && (!isStepped(m_Type) || i == at(Interpolation::Step)))
                return static_cast<Interpolation>(i);
        }
        m_Json.refuse(node,
                      isStepped(m_Type) ? "keys of such a channel can only be 'step'"
                                        : "needs 'step', 'linear' or 'cubic'");
    }

    const JsonAccess& m_Json;
    const ChannelType m_Type;
};

} // namespace

void readChannelValues(const JsonAccess& json, JsonDocument::Index node, Channel& channel)
{
    constexpr std::array kLayers = {kActionNames[at(Layer::Setup)], kActionNames[at(Layer::Anim)]};
    const auto member = json.members(node, kLayers);
    const ValueReader reader(json, channel);
    for (const Layer layer : {Layer::Setup, Layer::Anim}) {
        if (const auto value = member[at(layer)])
            reader.layer(value, DocumentAccess::layerValues(channel, layer));
    }
    DocumentAccess::dropIfEmpty(channel);
}

} // namespace refhost
