// SPDX-License-Identifier: MIT
// Channel definitions, shared layouts and packages.
#include "refhost/ChannelDefinition.h"

#include <cmath>
#include <limits>

namespace refhost {

std::optional<ChannelType> channelTypeByName(std::string_view name)
{
    for (std::size_t i = 0; i < std::size(kChannelTypeNames); ++i) {
        if (name == kChannelTypeNames[i])
            return static_cast<ChannelType>(i);
    }
    return std::nullopt;
}

ChannelDefinition numberChannel(std::string_view name, ChannelType type, double initial)
{
    ChannelDefinition definition;
    definition.name = name;
    definition.type = type;
    definition.defaultNumber = initial;
    definition.defaultInteger = integerOf(initial);
    return definition;
}

void appendVectorChannels(std::vector<ChannelDefinition>& out, std::string_view name, ChannelType type,
                          double initial, std::string_view letters)
{
    for (const char letter : letters) {
        out.push_back(numberChannel(name, type, initial));
        out.back().vector = name;
        out.back().name += '.';
        out.back().name += letter;
    }
}

std::int32_t integerOf(double number)
{
    using Limits = std::numeric_limits<std::int32_t>;
    if (std::isnan(number))
        return 0;
    if (number >= Limits::max())
        return Limits::max();
    if (number <= Limits::min())
        return Limits::min();
    return static_cast<std::int32_t>(number);
}

ChannelLayout::ChannelLayout(std::vector<ChannelDefinition> definitions)
    : m_Definitions(std::move(definitions))
{
    m_Index.reserve(m_Definitions.size());
    for (std::size_t i = 0; i < m_Definitions.size(); ++i)
        m_Index.emplace(m_Definitions[i].name, static_cast<int>(i));
}

int ChannelLayout::find(std::string_view name) const
{
    const auto found = m_Index.find(name);
    return found == m_Index.end() ? -1 : found->second;
}

namespace {

std::vector<ChannelDefinition> named(std::vector<ChannelDefinition> channels, const std::string& package)
{
    for (ChannelDefinition& channel : channels)
        channel.package = package;
    return channels;
}

} // namespace

Package::Package(std::string name, std::string origin, std::vector<ChannelDefinition> channels)
    : m_Name(std::move(name)), m_Origin(std::move(origin)), m_Layout(named(std::move(channels), m_Name))
{
}

} // namespace refhost
