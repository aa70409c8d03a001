// SPDX-License-Identifier: MIT
// Animations of glTF files compared accessor by accessor, the Khronos validator, and a human to animate.
#pragma once

#include "GltfTesting.h"
#include "formats/Files.h"

#include <cstdio>
#include <map>
#include <memory>
#include <set>
#include <utility>

namespace formats {

inline TestJson documentOf(const std::string& bytes)
{
    if (!bytes.starts_with("glTF"))
        return TestJson::parse(bytes);
    std::uint32_t size = 0;
    std::memcpy(&size, bytes.data() + 12, 4);
    return TestJson::parse(bytes.substr(20, size));
}

inline std::string binaryChunk(const std::string& glb)
{
    std::uint32_t size = 0;
    std::memcpy(&size, glb.data() + 12, 4);
    return glb.size() > size + 28 ? glb.substr(size + 28) : "";
}

/// Node and path of a channel.
using ChannelName = std::pair<int, std::string>;

/// Everything that a channel says: interpolation, component types, and the bytes of times and values.
using RawChannel = std::array<std::string, 4>;

struct RawAnimation {
    std::string name;
    std::map<ChannelName, RawChannel> channels;
};

/// Of a GLB whose animations have views of their own, without strides.
inline std::vector<RawAnimation> rawAnimations(const std::string& glb)
{
    const TestJson document = documentOf(glb);
    const std::string binary = binaryChunk(glb);
    const auto bytesOf = [&](const TestJson& accessor) {
        static const std::map<std::string, std::size_t> kWidths = {{"SCALAR", 1}, {"VEC3", 3}, {"VEC4", 4}};
        const TestJson& view = document["bufferViews"][accessor["bufferView"].get<std::size_t>()];
        EXPECT_FALSE(view.contains("byteStride"));
        const int type = accessor["componentType"].get<int>();
        const std::size_t size = type == 5126 ? 4 : type < 5122 ? 1 : 2;
        return binary.substr(view.value("byteOffset", std::size_t{0})
                                 + accessor.value("byteOffset", std::size_t{0}),
                             accessor["count"].get<std::size_t>() * kWidths.at(accessor["type"]) * size);
    };
    std::vector<RawAnimation> animations;
    for (const TestJson& animation : document.value("animations", TestJson::array())) {
        RawAnimation raw{animation.value("name", ""), {}};
        for (const TestJson& channel : animation["channels"]) {
            const TestJson& sampler = animation["samplers"][channel["sampler"].get<std::size_t>()];
            const TestJson& input = document["accessors"][sampler["input"].get<std::size_t>()];
            const TestJson& output = document["accessors"][sampler["output"].get<std::size_t>()];
            raw.channels[{channel["target"].value("node", -1), channel["target"]["path"]}] = {
                sampler.value("interpolation", "LINEAR"), output["componentType"].dump(), bytesOf(input),
                bytesOf(output)};
        }
        animations.push_back(std::move(raw));
    }
    return animations;
}

/// The same channels with the same keys, to the bit, but for those that `changed` names.
inline void expectSameChannels(const RawAnimation& before, const RawAnimation& after,
                               const std::set<ChannelName>& changed = {})
{
    EXPECT_EQ(after.name, before.name);
    std::set<ChannelName> names;
    for (const auto* animation : {&before, &after})
        for (const auto& [name, channel] : animation->channels)
            names.insert(name);
    for (const ChannelName& name : names)
        if (!changed.contains(name)) {
            EXPECT_TRUE(before.channels.contains(name) && after.channels.contains(name)
                        && before.channels.at(name) == after.channels.at(name))
                << before.name << ": node " << name.first << ", " << name.second;
        }
}

/// The first `count` animations are the same to the bit; of animation `edited` those channels may differ.
inline void expectSameAnimations(const std::string& before, const std::string& after,
                                 std::size_t edited = ~std::size_t{0},
                                 const std::set<ChannelName>& changed = {})
{
    const std::vector<RawAnimation> a = rawAnimations(before), b = rawAnimations(after);
    ASSERT_EQ(b.size(), a.size());
    for (std::size_t i = 0; i < a.size(); ++i)
        expectSameChannels(a[i], b[i], i == edited ? changed : std::set<ChannelName>{});
}

inline std::vector<float> floatsOf(const std::string& bytes)
{
    std::vector<float> values(bytes.size() / 4);
    std::memcpy(values.data(), bytes.data(), values.size() * 4);
    return values;
}

inline bool validatorIsThere()
{
    return std::filesystem::exists(std::filesystem::path(SINEW_NODE_TOOLS) / "node_modules"
                                   / "gltf-validator")
        && std::system("node --version > /dev/null 2>&1") == 0;
}

#define VALIDATOR_OR_SKIP()                                                                                  \
    if (!formats::validatorIsThere())                                                                        \
    GTEST_SKIP() << "no gltf-validator in " << SINEW_NODE_TOOLS << "; scripts/test installs it"

/// Errors and warnings of the validator for each file, as texts.
inline std::vector<std::multiset<std::string>> issuesOf(const std::vector<std::string>& files)
{
    std::string command = "node '" SINEW_TEST_TOOLS "/ValidateGltf.js' '" SINEW_NODE_TOOLS "'";
    for (const std::string& file : files)
        command += " '" + file + "'";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    char buffer[4096];
    while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, pipe.get()))
        text.append(buffer, got);
    const TestJson found = TestJson::parse(text, nullptr, false);
    EXPECT_EQ(found.size(), files.size()) << text;
    std::vector<std::multiset<std::string>> issues(files.size());
    for (std::size_t i = 0; i < std::min(files.size(), found.size()); ++i)
        for (const TestJson& issue : found[i])
            issues[i].insert(issue.get<std::string>());
    return issues;
}

/// A human of 1.7 metres in a T-pose, facing +Z, with a lock of hair, an expression, a gaze and a lamp, and
/// an animation in which all of them and most bones move: linear, in steps and in splines.
struct Human {
    SmallGltf file;
    std::map<std::string, int> nodes;

    /// `extension` is VRMC_vrm_animation, VRMC_vrm, or empty for a character without either. All but the
    /// first get a skinned mesh, "body", whose morph weights move.
    explicit Human(const std::string& extension);

private:
    void addNodes();
    void addMotion(bool mesh);
    std::size_t times(const std::vector<float>& seconds);
    void channel(TestJson& animation, const std::string& node, const char* path, const char* interpolation,
                 const std::vector<float>& seconds, const std::vector<float>& values, const char* type);
    void addMesh();
};

inline Human::Human(const std::string& extension)
{
    addNodes();
    const bool mesh = extension != "VRMC_vrm_animation";
    if (mesh)
        addMesh();
    addMotion(mesh);
    if (extension.empty())
        return;
    TestJson bones;
    for (const auto& [name, node] : nodes)
        if (name != "hair" && name != "happy" && name != "gaze" && name != "lamp" && name != "body")
            bones[name] = {{"node", node}};
    TestJson vrm = {{"specVersion", "1.0"}, {"humanoid", {{"humanBones", bones}}}};
    if (mesh) {
        vrm["meta"] = {{"name", "A"}, {"authors", {"B"}}, {"licenseUrl", "https://vrm.dev/licenses/1.0/"}};
    } else {
        vrm["expressions"]["preset"]["happy"] = {{"node", nodes["happy"]}};
        vrm["lookAt"] = {{"node", nodes["gaze"]}, {"offsetFromHeadBone", {0, 0.06, 0}}};
    }
    file.json["extensionsUsed"] = {extension};
    file.json["extensions"][extension] = vrm;
}

inline void Human::addNodes()
{
    struct Row {
        const char* name;
        const char* parent;
        double x, y, z;
    };
    const Row rows[] = {
        {"hips", "", 0, 1, 0},
        {"spine", "hips", 0, 1.15, 0},
        {"neck", "spine", 0, 1.45, 0},
        {"head", "neck", 0, 1.55, 0},
        {"leftUpperArm", "spine", 0.18, 1.4, 0},
        {"leftLowerArm", "leftUpperArm", 0.43, 1.4, 0},
        {"leftHand", "leftLowerArm", 0.68, 1.4, 0},
        {"rightUpperArm", "spine", -0.18, 1.4, 0},
        {"rightLowerArm", "rightUpperArm", -0.43, 1.4, 0},
        {"rightHand", "rightLowerArm", -0.68, 1.4, 0},
        {"leftUpperLeg", "hips", 0.1, 0.95, 0},
        {"leftLowerLeg", "leftUpperLeg", 0.1, 0.5, 0.01},
        {"leftFoot", "leftLowerLeg", 0.1, 0.08, 0},
        {"leftToes", "leftFoot", 0.1, 0.02, 0.14},
        {"rightUpperLeg", "hips", -0.1, 0.95, 0},
        {"rightLowerLeg", "rightUpperLeg", -0.1, 0.5, 0.01},
        {"rightFoot", "rightLowerLeg", -0.1, 0.08, 0},
        {"rightToes", "rightFoot", -0.1, 0.02, 0.14},
        {"hair", "head", 0, 1.7, -0.1},
        {"happy", "", 0, 0, 0},
        {"gaze", "", 0, 0, 0},
        {"lamp", "", 1, 0, 1},
    };
    std::map<std::string, const Row*> byName;
    TestJson roots = TestJson::array();
    for (const Row& row : rows) {
        const int index = static_cast<int>(file.json["nodes"].size());
        const Row none{"", "", 0, 0, 0};
        const Row& above = *row.parent ? *byName.at(row.parent) : none;
        file.json["nodes"].push_back(
            {{"name", row.name}, {"translation", {row.x - above.x, row.y - above.y, row.z - above.z}}});
        if (*row.parent)
            file.json["nodes"][static_cast<std::size_t>(nodes[row.parent])]["children"].push_back(index);
        else
            roots.push_back(index);
        nodes[row.name] = index;
        byName[row.name] = &row;
    }
    file.json["scenes"] = {{{"nodes", roots}}};
    file.json["scene"] = 0;
}

inline std::size_t Human::times(const std::vector<float>& seconds)
{
    const std::size_t input = file.floats(seconds);
    file.json["accessors"].back()["min"] = {seconds.front()};
    file.json["accessors"].back()["max"] = {seconds.back()};
    return input;
}

inline void Human::channel(TestJson& animation, const std::string& node, const char* path,
                           const char* interpolation, const std::vector<float>& seconds,
                           const std::vector<float>& values, const char* type)
{
    const std::size_t input = times(seconds), output = file.floats(values, type);
    animation["channels"].push_back(
        {{"sampler", animation["samplers"].size()}, {"target", {{"node", nodes.at(node)}, {"path", path}}}});
    animation["samplers"].push_back({{"input", input}, {"interpolation", interpolation}, {"output", output}});
}

inline void Human::addMotion(bool mesh)
{
    TestJson dance = {{"name", "dance"}, {"samplers", TestJson::array()}, {"channels", TestJson::array()}};
    const std::vector<float> four = {0.25f, 0.5f, 0.75f, 1.25f};
    const auto turns = [](float size, bool spline) {
        std::vector<float> values;
        for (const float share : {0.0f, 0.7f, 1.0f, -0.5f}) {
            const float angle = size * share;
            const std::vector<float> value = {std::sin(angle) * 0.6f, 0, std::sin(angle) * 0.8f,
                                              std::cos(angle)};
            const std::vector<float> slope = {0.6f * size, 0, 0.8f * size, 0};
            if (spline)
                values.insert(values.end(), slope.begin(), slope.end());
            values.insert(values.end(), value.begin(), value.end());
            if (spline)
                values.insert(values.end(), slope.begin(), slope.end());
        }
        return values;
    };
    for (const char* name :
         {"hips", "spine", "leftLowerArm", "rightUpperArm", "leftUpperLeg", "rightLowerLeg", "hair"})
        channel(dance, name, "rotation", "LINEAR", four,
                turns(0.2f + 0.01f * static_cast<float>(nodes[name]), false), "VEC4");
    channel(dance, "head", "rotation", "STEP", four, turns(0.3f, false), "VEC4");
    channel(dance, "gaze", "rotation", "STEP", four, turns(0.1f, false), "VEC4");
    channel(dance, "leftUpperArm", "rotation", "CUBICSPLINE", four, turns(0.5f, true), "VEC4");
    channel(dance, "hips", "translation", "CUBICSPLINE", {0, 1},
            {0, 0, 0, 0, 1, 0, 0.3f, 0, 0.5f, 0.3f, 0, 0, 0.2f, 1.1f, 0.4f, 0, 0, 0}, "VEC3");
    channel(dance, "happy", "translation", "STEP", {0, 0.5f, 1}, {0, 0, 0, 1, 0, 0, 0.25f, 0, 0}, "VEC3");
    channel(dance, "lamp", "translation", "LINEAR", {0.1f, 1.7f}, {1, 0, 1, 2, 0.5f, 1}, "VEC3");
    channel(dance, "lamp", "rotation", "LINEAR", {0, 2}, {0, 0, 0, 1, 0, 0.6f, 0, 0.8f}, "VEC4");
    if (mesh)
        channel(dance, "body", "weights", "LINEAR", {0, 0.6f}, {0, 1, 0.5f, 0.25f}, "SCALAR");
    TestJson nod = {{"name", "nod"}, {"samplers", TestJson::array()}, {"channels", TestJson::array()}};
    channel(nod, "head", "rotation", "LINEAR", four, turns(0.2f, false), "VEC4");
    file.json["animations"] = {dance, nod};
}

inline void Human::addMesh()
{
    const int body = static_cast<int>(file.json["nodes"].size());
    TestJson joints;
    for (int node = 0; node < nodes["happy"]; ++node)
        joints.push_back(node);
    file.json["nodes"].push_back({{"name", "body"}, {"mesh", 0}, {"skin", 0}});
    file.json["scenes"][0]["nodes"].push_back(body);
    nodes["body"] = body;
    file.json["skins"] = {{{"joints", joints}, {"skeleton", 0}}};
    const auto place = [&](const std::vector<float>& positions) {
        const std::size_t accessor = file.floats(positions, "VEC3");
        for (const char* bound : {"min", "max"})
            for (std::size_t a = 0; a < 3; ++a) {
                const auto values = {positions[a], positions[3 + a], positions[6 + a]};
                file.json["accessors"].back()[bound].push_back(
                    *bound == 'm' && bound[1] == 'i' ? std::min(values) : std::max(values));
            }
        return accessor;
    };
    const std::size_t positions = place({0, 1, 0, 0.5f, 1.5f, 0, -0.5f, 1.5f, 0});
    const std::size_t one = place({0, 0, 0.1f, 0, 0, 0, 0, 0, 0}),
                      two = place({0, 0, 0, 0.1f, 0, 0, 0, 0, 0});
    const std::size_t bones = file.add<std::uint8_t>({0, 0, 0, 0, 5, 0, 0, 0, 8, 0, 0, 0}, "VEC4", 5121, 4);
    const std::size_t weights = file.floats({1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}, "VEC4");
    file.json["meshes"] = {
        {{"primitives",
          {{{"attributes", {{"POSITION", positions}, {"JOINTS_0", bones}, {"WEIGHTS_0", weights}}},
            {"targets", {{{"POSITION", one}}, {{"POSITION", two}}}}}}}}};
}

} // namespace formats
