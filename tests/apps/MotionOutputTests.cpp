// SPDX-License-Identifier: MIT
// What `track` and `retarget` write beside the body's motion: nothing that isn't theirs, in any format.
#include "../formats/GltfComparison.h"
#include "ProgramRun.h"
#include "formats/FigureMotion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using formats::ChannelName;
using formats::Human;
using formats::RawAnimation;

const std::string kWalker = SINEW_EXAMPLES "/characters/Walker.bvh";

/// Channels of nodes that are no part of the body.
std::map<ChannelName, formats::RawChannel> othersOf(Human& human, const RawAnimation& animation)
{
    std::map<ChannelName, formats::RawChannel> others;
    for (const char* node : {"hair", "happy", "gaze", "lamp", "body"})
        if (human.nodes.contains(node))
            for (const auto& [name, channel] : animation.channels)
                if (name.first == human.nodes[node])
                    others[name] = channel;
    return others;
}

/// A track whose every key is what its node says moves nothing.
void expectNoIdleTracks(const formats::Gltf& gltf, std::size_t animation)
{
    for (const formats::GltfTrack& track : gltf.animations[animation].tracks) {
        const formats::GltfNode& node = gltf.nodes[static_cast<std::size_t>(track.node)];
        double largest = 0;
        for (const double time : track.times) {
            const auto value = formats::sampleTrack(track, time);
            for (std::size_t c = 0; c < (track.path == formats::GltfPath::Rotation ? 4 : 3); ++c)
                largest = std::max(
                    largest,
                    std::abs(std::abs(value[c])
                             - std::abs(track.path == formats::GltfPath::Rotation ? node.transform.rotation[c]
                                            : track.path == formats::GltfPath::Translation
                                            ? node.transform.translation[c]
                                            : node.transform.scale[c])));
        }
        EXPECT_GT(largest, 1e-6) << node.name << ", path " << static_cast<int>(track.path);
    }
}

/// A call that has to work, and the bytes that it wrote.
std::string made(const ProgramRun& sinew, std::vector<std::string> arguments, const std::string& file)
{
    arguments.insert(arguments.end(), {"-o", file, "--json"});
    const ProgramResult result = sinew(arguments);
    EXPECT_EQ(result.code, 0) << result.err;
    if (result.code == 0) {
        const app::Json written = result.json()["written"];
        EXPECT_GT(written["joints"].get<int>(), 0) << written;
        EXPECT_EQ(written["clip"].is_null(), file.ends_with(".bvh")) << written;
    }
    return sinew.read(file);
}

} // namespace

TEST(MotionOutput, WhatIsNoPartOfTheBodyKeepsItsMotionToTheBit)
{
    const ProgramRun sinew;
    std::vector<std::string> files;
    for (const std::string extension : {"", "VRMC_vrm", "VRMC_vrm_animation"}) {
        Human human(extension);
        const std::string ending = extension.empty() ? ".glb" : extension == "VRMC_vrm" ? ".vrm" : ".vrma";
        const std::string input = "human" + ending, before = human.file.glb();
        sinew.write(input, before);
        const std::vector<RawAnimation> old = formats::rawAnimations(before);
        for (const std::vector<std::string>& call :
             {std::vector<std::string>{"retarget", kWalker, input}, {"track", input}}) {
            SCOPED_TRACE(call[0] + " " + input);
            const auto check = [&](const std::vector<std::string>& more, std::size_t place,
                                   const std::string& name, std::size_t base) {
                std::vector<std::string> all = call;
                all.insert(all.end(), more.begin(), more.end());
                const std::string output = call[0] + std::to_string(files.size()) + ending;
                const std::string bytes = made(sinew, all, output);
                std::vector<RawAnimation> now = formats::rawAnimations(bytes);
                ASSERT_GT(now.size(), place);
                EXPECT_EQ(now[place].name, name);
                EXPECT_EQ(othersOf(human, now[place]), othersOf(human, old[base]));
                expectNoIdleTracks(formats::mustReadGltf(formats::readGltf(bytes)), place);
                for (const auto& [channel, raw] : now[place].channels)
                    if (ending == ".vrma" && channel.first < human.nodes["hair"]) {
                        EXPECT_TRUE(
                            channel.second == "rotation"
                            || (channel.first == human.nodes["hips"] && channel.second == "translation"))
                            << channel.first << channel.second;
                    }
                // All the other animations are as they were.
                now.erase(now.begin() + static_cast<std::ptrdiff_t>(place));
                std::vector<RawAnimation> rest = old;
                if (place < rest.size())
                    rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(place));
                ASSERT_EQ(now.size(), rest.size());
                for (std::size_t i = 0; i < now.size(); ++i)
                    formats::expectSameChannels(rest[i], now[i]);
                files.push_back(sinew.path(output));
            };
            const bool tracks = call[0] == "track";
            check({}, 0, "dance", 0);
            check({"--append"}, 2, tracks ? "dance 2" : "Walker", 0);
            check({tracks ? "--animation" : "--target-animation", "nod"}, 1, "nod", 1);
        }
    }
    VALIDATOR_OR_SKIP();
    const auto issues = formats::issuesOf(files);
    for (std::size_t i = 0; i < issues.size(); ++i)
        EXPECT_TRUE(issues[i].empty()) << files[i] << formats::TestJson(issues[i]);
}

TEST(MotionOutput, AFigureIsWrittenInAnyFormatThatCanHoldIt)
{
    const ProgramRun sinew;
    sinew.write("human.glb", Human("").file.glb());
    sinew.write("avatar.vrm", Human("VRMC_vrm").file.glb());
    std::vector<std::string> files;
    for (const std::vector<std::string>& call : {std::vector<std::string>{"retarget", kWalker, "human.glb"},
                                                 {"retarget", "human.glb", kWalker},
                                                 {"track", "avatar.vrm"},
                                                 {"track", kWalker}}) {
        std::map<std::string, formats::FigureMotion> figures;
        for (const char* ending : {".bvh", ".glb", ".vrma"}) {
            SCOPED_TRACE(call[0] + " " + call.back() + " to " + ending);
            const std::string bytes = made(sinew, call, "out" + std::to_string(files.size()) + ending);
            if (bytes.starts_with("glTF")) {
                files.push_back(sinew.path("out" + std::to_string(files.size()) + ending));
                const formats::Gltf gltf = formats::mustReadGltf(formats::readGltf(bytes));
                ASSERT_FALSE(gltf.animations.empty());
                EXPECT_EQ(gltf.vrm == formats::VrmKind::Animation, std::string(ending) == ".vrma");
                figures[ending] = formats::figureMotion(gltf, 0, {0.5});
            } else {
                formats::FigureMotion all =
                    formats::figureMotion(std::get<formats::BvhMotion>(formats::readBvh(bytes)));
                const auto frame = static_cast<std::size_t>(
                    std::lround((0.5 - (call.back() == "avatar.vrm" ? 0.25 : 0)) / all.times[1]));
                all.poses.erase(all.poses.begin(),
                                all.poses.begin() + static_cast<std::ptrdiff_t>(frame * all.joints.size()));
                figures[ending] = std::move(all);
            }
        }
        // The left forearm points the same way in all of them, whichever way the figure itself faces.
        const auto forearm = [](const formats::FigureMotion& figure) {
            std::array<double, 3> ends[2]{};
            for (std::size_t i = 0; i < figure.joints.size(); ++i)
                for (const int end : {0, 1})
                    if (figure.joints[i].bone == (end == 0 ? "leftLowerArm" : "leftHand"))
                        ends[end] = figure.poses[i].position;
            const formats::StandingAxes axes = formats::standingAxes(figure.roles);
            std::array<double, 3> way{};
            for (std::size_t a = 0; a < 3; ++a) {
                const double step = (ends[1][a] - ends[0][a]) * figure.metresPerUnit;
                way[0] += step * axes.left[a];
                way[1] += step * axes.up[a];
                way[2] += step * axes.forward[a];
            }
            return way;
        };
        const auto wanted = forearm(figures[".glb"]);
        EXPECT_GT(std::hypot(wanted[0], wanted[1], wanted[2]), 0.1);
        for (const char* ending : {".bvh", ".vrma"})
            for (std::size_t a = 0; a < 3; ++a)
                EXPECT_NEAR(forearm(figures[ending])[a], wanted[a], 5e-3) << call[0] << call.back() << ending;
    }
    EXPECT_NE(sinew({"retarget", kWalker, "human.glb", "-o", "no.vrm"}).err.find("a .vrm is an avatar"),
              std::string::npos);
    EXPECT_NE(sinew({"retarget", "human.glb", kWalker, "-o", "no.bvh", "--append"}).err.find("--append"),
              std::string::npos);
    VALIDATOR_OR_SKIP();
    const auto issues = formats::issuesOf(files);
    for (std::size_t i = 0; i < issues.size(); ++i)
        EXPECT_TRUE(issues[i].empty()) << files[i] << formats::TestJson(issues[i]);
}

TEST(MotionOutput, PropsOfABvhTargetKeepTheirMotion)
{
    const ProgramRun sinew;
    formats::BvhMotion target = ProgramRun::motionAt(SINEW_EXAMPLES "/characters/Child.bvh");
    formats::BvhJoint ball;
    ball.name = "Ball";
    ball.channels = {formats::BvhChannel::PositionX, formats::BvhChannel::RotationY};
    ball.firstChannel = target.channelCount;
    formats::BvhMotion with = target;
    with.joints.push_back(ball);
    with.channelCount += 2;
    with.frameCount = 3;
    with.frameTime = 0.1;
    with.values.clear();
    for (std::size_t frame = 0; frame < 3; ++frame) {
        with.values.insert(with.values.end(), target.channelCount, 0);
        with.values.insert(with.values.end(),
                           {10.0 * static_cast<double>(frame), 30.0 * static_cast<double>(frame)});
    }
    sinew.write("target.bvh", std::get<std::string>(formats::writeBvh(with)));
    const formats::BvhMotion out = std::get<formats::BvhMotion>(
        formats::readBvh(made(sinew, {"retarget", kWalker, "target.bvh"}, "out.bvh")));
    for (const double time : {0.0, 0.1, 0.15, 0.2, 1.0}) {
        const auto frame = static_cast<std::size_t>(std::lround(time / out.frameTime));
        const double at = std::min(static_cast<double>(frame) * out.frameTime, 0.2);
        const double* row = &out.values[frame * out.channelCount];
        EXPECT_NEAR(row[out.channelCount - 2], 100 * at, 1e-4) << time;
        EXPECT_NEAR(row[out.channelCount - 1], 300 * at, 0.2) << time;
    }
}
