// SPDX-License-Identifier: MIT
// The channels of the drawing package.
#include "refhost/DrawingPackage.h"

#include "refhost/Host.h"

namespace refhost {
namespace {

ChannelDefinition wholeChannel(const char* name, std::int32_t maximum, std::vector<TextHint> words)
{
    ChannelDefinition channel = numberChannel(name, ChannelType::Integer);
    channel.minimum = 0;
    channel.maximum = maximum;
    channel.textHints = std::move(words);
    return channel;
}

} // namespace

std::vector<ChannelDefinition> markerChannels()
{
    std::vector<ChannelDefinition> channels;
    channels.push_back(wholeChannel(
        "drawShape", 5, {{0, "none"}, {1, "box"}, {2, "sphere"}, {3, "pyramid"}, {4, "plane"}, {5, "ring"}}));
    channels.push_back(wholeChannel("isStyle", 1, {{0, "marker"}, {1, "shape"}}));
    appendVectorChannels(channels, "isSize", ChannelType::Distance, 1);
    return channels;
}

void registerDrawingPackage(Host& host)
{
    if (host.findPackage(kDrawingPackage))
        return;
    std::vector<ChannelDefinition> channels;
    channels.push_back(wholeChannel("fillOptions", 1, {{0, "default"}, {1, "own"}}));
    appendVectorChannels(channels, "fillColor", ChannelType::Percent, 0.8, "RGB");
    channels.push_back(wholeChannel("wireOptions", 1, {{0, "default"}, {1, "own"}}));
    appendVectorChannels(channels, "wireColor", ChannelType::Percent, 0, "RGB");
    (void)host.registerPackage(kDrawingPackage, kHostOrigin, std::move(channels));
}

} // namespace refhost
