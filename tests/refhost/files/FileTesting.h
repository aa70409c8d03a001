// SPDX-License-Identifier: MIT
// What the tests of scene and motion files share: a host with a module's types, and reading that must
// succeed.
#pragma once

#include "refhost/Host.h"
#include "refhost/SceneFile.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace refhost {

/// Done, or the test fails with the message.
inline void must(const Result& result) { EXPECT_TRUE(result.ok()) << result.message; }

template <class T>
T must(ResultOf<T> result)
{
    EXPECT_TRUE(result.ok()) << result.message;
    return std::move(result.value);
}

inline std::string textOf(const Scene& scene) { return must(sceneText(scene)); }

inline std::unique_ptr<Scene> mustRead(Host& host, const std::string& text)
{
    return must(readSceneText(host, text, "read"));
}

/// Channels of every type, with defaults, hints and integer forms that differ from the number.
inline std::vector<ChannelDefinition> exampleChannels()
{
    std::vector<ChannelDefinition> channels = {
        numberChannel("exMode", ChannelType::Integer, 2), numberChannel("exOn", ChannelType::Boolean, 1),
        numberChannel("exWeight", ChannelType::Percent, 0.5), numberChannel("exLabel", ChannelType::Text),
        numberChannel("exFrame", ChannelType::Matrix4)};
    channels[0].textHints = {{0, "off"}, {2, "both \"ends\""}};
    channels[0].minimum = 0;
    channels[0].marked = true;
    channels[2].defaultInteger = 7;
    channels[3].defaultText = "none";
    appendVectorChannels(channels, "exGoal", ChannelType::Distance, 0.25);
    return channels;
}

/// Registers what a loaded module would.
inline void loadExampleModule(Host& host)
{
    must(host.registerType("ex.figure", "locator", "example",
                           {numberChannel("figSteps", ChannelType::Integer, 10)})
             .result());
    must(host.registerType("ex.actor", "ex.figure", "example").result());
    must(host.registerPackage("ex.joint", "example", exampleChannels()).result());
    must(host.registerPackage("ex.mark", "example", {}).result());
    must(host.registerPackage("ex.extra", "example", {numberChannel("extra", ChannelType::Angle, 1)})
             .result());
}

} // namespace refhost
