// SPDX-License-Identifier: MIT
// Summary, hierarchy and poses of a glTF file, as text and as JSON.
#include "info/GltfInfo.h"

#include "info/InfoText.h"
#include "shared/Console.h"
#include "shared/Files.h"
#include "shared/GltfFile.h"
#include "shared/Json.h"
#include "shared/TextTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace app {

namespace {

using formats::Gltf;
using formats::GltfAnimation;
using formats::GltfNode;

constexpr const char* kVrmNames[] = {"", "VRM 0", "VRM 1", "VRM animation"};

const char* vrmName(const Gltf& gltf) { return kVrmNames[static_cast<std::size_t>(gltf.vrm)]; }

const GltfNode& nodeAt(const Gltf& gltf, int index) { return gltf.nodes[static_cast<std::size_t>(index)]; }

std::string counted(std::size_t count, const char* one, const char* many)
{
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

/// Extent of the skeleton along +Y in the rest pose, metres.
double heightOf(const Gltf& gltf)
{
    const std::vector<formats::GltfMatrix> world = formats::worldMatrices(gltf, formats::restPose(gltf));
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (const int index : gltf.skeleton) {
        low = std::min(low, world[static_cast<std::size_t>(index)][13]);
        high = std::max(high, world[static_cast<std::size_t>(index)][13]);
    }
    return gltf.skeleton.empty() ? 0 : high - low;
}

std::size_t mostKeys(const GltfAnimation& animation)
{
    std::size_t most = 0;
    for (const formats::GltfTrack& track : animation.tracks)
        most = std::max(most, track.times.size());
    return most;
}

struct MeshCounts {
    std::size_t vertices = 0;
    std::size_t triangles = 0;
    std::size_t influences = 0;
};

MeshCounts countsOf(const formats::GltfMesh& mesh)
{
    MeshCounts counts;
    for (const formats::GltfPrimitive& primitive : mesh.primitives) {
        counts.vertices += primitive.positions.size();
        counts.triangles += primitive.indices.size() / 3;
        counts.influences = std::max(counts.influences, primitive.influenceCount);
    }
    return counts;
}

std::string humanBone(const Gltf& gltf, int node)
{
    for (const formats::GltfHumanBone& bone : gltf.humanBones)
        if (bone.node == node)
            return bone.bone;
    return {};
}

/// `pos rot scale` of the properties that any animation has keys for.
std::string animatedText(const Gltf& gltf, int node)
{
    constexpr const char* kNames[] = {"pos", "rot", "scale"};
    bool animated[3] = {};
    for (const GltfAnimation& animation : gltf.animations)
        for (const formats::GltfTrack& track : animation.tracks)
            if (track.node == node)
                animated[static_cast<std::size_t>(track.path)] = true;
    std::string text;
    for (std::size_t i = 0; i < 3; ++i)
        if (animated[i])
            text += fmt::format("{}{}", text.empty() ? "" : " ", kNames[i]);
    return text;
}

/// Levels of the hierarchy above each node.
std::vector<std::size_t> depths(const Gltf& gltf)
{
    std::vector<std::size_t> depth(gltf.nodes.size());
    for (const int index : gltf.order)
        if (const int parent = nodeAt(gltf, index).parent; parent >= 0)
            depth[static_cast<std::size_t>(index)] = depth[static_cast<std::size_t>(parent)] + 1;
    return depth;
}

std::string indented(const Gltf& gltf, int index, const std::vector<std::size_t>& depth)
{
    return indentedName(nodeAt(gltf, index).name, depth[static_cast<std::size_t>(index)]);
}

std::string hierarchyText(const Gltf& gltf)
{
    std::vector<bool> bone(gltf.nodes.size());
    for (const int index : gltf.skeleton)
        bone[static_cast<std::size_t>(index)] = true;
    const std::vector<std::size_t> depth = depths(gltf);
    TextTable table({{"node"}, {"offset", TextTable::Align::Right}, {"is"}, {"keys"}});
    for (const int index : gltf.order) {
        const GltfNode& node = nodeAt(gltf, index);
        const auto& offset = node.rest.translation;
        const std::string human = humanBone(gltf, index);
        const std::string is = !human.empty()       ? human
            : node.joint                            ? "joint"
            : node.mesh >= 0                        ? "mesh"
            : bone[static_cast<std::size_t>(index)] ? "bone"
                                                    : "";
        table.add({indented(gltf, index, depth),
                   fmt::format("{} {} {}", rounded(offset[0]), rounded(offset[1]), rounded(offset[2])),
                   printable(is), animatedText(gltf, index)});
    }
    return table.text();
}

std::string summaryText(const InfoOptions& options, const Gltf& gltf)
{
    const std::string file = inputName(options.motion.file);
    std::string text = fmt::format("{}\n", printable(file));
    text += fmt::format("  format      glTF 2.0{}{}\n", gltf.vrm == formats::VrmKind::None ? "" : ", ",
                        vrmName(gltf));
    if (!gltf.generator.empty())
        text += fmt::format("  written by  {}\n", printable(gltf.generator));
    text +=
        fmt::format("  skeleton    {} of {}, {} m high\n", counted(gltf.skeleton.size(), "joint", "joints"),
                    counted(gltf.nodes.size(), "node", "nodes"), rounded(heightOf(gltf), 3));
    if (!gltf.humanBones.empty())
        text += fmt::format("  humanoid    {}\n", counted(gltf.humanBones.size(), "bone", "bones"));
    for (const formats::GltfMesh& mesh : gltf.meshes) {
        const MeshCounts counts = countsOf(mesh);
        text += fmt::format(
            "  mesh        {}{}, {}{}\n", mesh.name.empty() ? "" : printable(mesh.name) + ": ",
            counted(counts.vertices, "vertex", "vertices"),
            counted(counts.triangles, "triangle", "triangles"),
            counts.influences == 0 ? "" : fmt::format(", up to {} joints a vertex", counts.influences));
    }
    for (const GltfAnimation& animation : gltf.animations)
        text += fmt::format("  animation   {}{} to {} s, {} of up to {}\n",
                            animation.name.empty() ? "" : printable(animation.name) + ": ",
                            rounded(animation.start), rounded(animation.end),
                            counted(animation.tracks.size(), "track", "tracks"),
                            counted(mostKeys(animation), "key", "keys"));
    if (gltf.animations.empty())
        text += "  animation   none\n";
    text += "  unit        metres (as glTF states)\n  up          +Y (as glTF states)\n\n";
    text += hierarchyText(gltf);
    if (gltf.notes.empty())
        return text + "\nnothing odd found\n";
    text += fmt::format("\n{} found\n", counted(gltf.notes.size(), "odd thing", "odd things"));
    for (const formats::GltfNote& note : gltf.notes)
        text += fmt::format("  {}\n", atPlace(file, note.place, note.text));
    return text;
}

Json nodesJson(const Gltf& gltf)
{
    std::vector<bool> bone(gltf.nodes.size());
    for (const int index : gltf.skeleton)
        bone[static_cast<std::size_t>(index)] = true;
    Json nodes = Json::array();
    for (std::size_t i = 0; i < gltf.nodes.size(); ++i) {
        const GltfNode& node = gltf.nodes[i];
        const std::string human = humanBone(gltf, static_cast<int>(i));
        nodes.push_back({{"name", node.name},
                         {"given_name", node.givenName},
                         {"parent", node.parent},
                         {"joint", node.joint},
                         {"skeleton", static_cast<bool>(bone[i])},
                         {"human_bone", human.empty() ? Json(nullptr) : Json(human)},
                         {"mesh", node.mesh},
                         {"skin", node.skin},
                         {"rest",
                          {{"translation", node.rest.translation},
                           {"rotation", node.rest.rotation},
                           {"scale", node.rest.scale}}}});
    }
    return nodes;
}

Json summaryJson(const InfoOptions& options, const Gltf& gltf)
{
    Json animations = Json::array();
    for (const GltfAnimation& animation : gltf.animations)
        animations.push_back({{"name", animation.name},
                              {"start", animation.start},
                              {"end", animation.end},
                              {"track_count", animation.tracks.size()},
                              {"key_count", mostKeys(animation)}});
    Json meshes = Json::array();
    for (const formats::GltfMesh& mesh : gltf.meshes) {
        const MeshCounts counts = countsOf(mesh);
        meshes.push_back({{"name", mesh.name},
                          {"vertex_count", counts.vertices},
                          {"triangle_count", counts.triangles},
                          {"influence_count", counts.influences}});
    }
    Json skins = Json::array();
    for (const formats::GltfSkin& skin : gltf.skins)
        skins.push_back({{"name", skin.name}, {"joints", skin.joints}});
    Json notes = Json::array();
    for (const formats::GltfNote& note : gltf.notes)
        notes.push_back({{"place", note.place}, {"text", note.text}});
    return {{"file", inputName(options.motion.file)},
            {"format", "glTF 2.0"},
            {"vrm", gltf.vrm == formats::VrmKind::None ? Json(nullptr) : Json(vrmName(gltf))},
            {"generator", gltf.generator},
            {"node_count", gltf.nodes.size()},
            {"joint_count", gltf.skeleton.size()},
            {"height", heightOf(gltf)},
            {"unit", {{"name", "metres"}, {"metres", 1}, {"stated", true}}},
            {"up", {{"axis", "+Y"}, {"stated", true}}},
            {"animations", std::move(animations)},
            {"meshes", std::move(meshes)},
            {"skins", std::move(skins)},
            {"nodes", nodesJson(gltf)},
            {"warnings", std::move(notes)}};
}

int printPose(const InfoOptions& options, const Gltf& gltf)
{
    formats::GltfPose pose = formats::restPose(gltf);
    Json time = "rest";
    if (options.pose != "rest") {
        double seconds = 0;
        const char* end = options.pose.data() + options.pose.size();
        const auto [stop, error] = std::from_chars(options.pose.data(), end, seconds);
        if (error != std::errc() || stop != end || !std::isfinite(seconds))
            throw BadInput(fmt::format("--pose {}: of a glTF file give a time in seconds, or rest",
                                       printable(options.pose)));
        pose = formats::sampleAnimation(gltf, chosenAnimation(gltf, options.animation), seconds);
        time = seconds;
    }
    const std::vector<formats::GltfMatrix> world = formats::worldMatrices(gltf, pose);
    if (options.json) {
        Json nodes = Json::array();
        for (std::size_t i = 0; i < world.size(); ++i) {
            const formats::WorldPose at = formats::worldPose(world[i]);
            nodes.push_back({{"name", gltf.nodes[i].name},
                             {"parent", gltf.nodes[i].parent},
                             {"position", at.position},
                             {"rotation", at.rotation}});
        }
        print(jsonText(
            {{"file", inputName(options.motion.file)}, {"time", time}, {"nodes", std::move(nodes)}}));
        return kExitDone;
    }
    const std::vector<std::size_t> depth = depths(gltf);
    std::vector<std::string> names;
    std::vector<formats::WorldPose> poses;
    for (const int index : gltf.order) {
        names.push_back(indented(gltf, index, depth));
        poses.push_back(formats::worldPose(world[static_cast<std::size_t>(index)]));
    }
    print(fmt::format("{}, {}: world position; rotation x, y, z, w\n",
                      printable(inputName(options.motion.file)),
                      time.is_string() ? "rest pose" : rounded(time.get<double>()) + " s")
          + poseTable(names, poses));
    return kExitDone;
}

} // namespace

int runGltfInfo(const InfoOptions& options, std::string_view bytes)
{
    if (!options.motion.unit.empty() || !options.motion.up.empty())
        throw BadInput("glTF states its unit (metres) and its up axis (+Y); leave --unit and --up out");
    const Gltf gltf = readGltfMotion(options.motion.file, bytes);
    if (!options.pose.empty())
        return printPose(options, gltf);
    print(options.json ? jsonText(summaryJson(options, gltf)) : summaryText(options, gltf));
    return kExitDone;
}

} // namespace app
