// SPDX-License-Identifier: MIT
// Fuzz target of the glTF reader and writer: whatever reads must be consistent, evaluate, take motion, and
// read again. An input that starts with neither `glTF` nor `{` is `J`, a document, a zero byte and the binary
// chunk: a GLB without the lengths that a mutation breaks.
#include "formats/GltfWriter.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

namespace {

void require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "broken promise: %s\n", what);
        std::abort();
    }
}

std::string word(std::size_t value)
{
    std::string text;
    for (unsigned shift = 0; shift < 32; shift += 8)
        text += static_cast<char>(value >> shift & 0xFF);
    return text;
}

std::string fileOf(std::string_view input)
{
    if (!input.starts_with('J'))
        return std::string(input);
    const std::size_t zero = std::min(input.find('\0'), input.size());
    const std::string json(input.substr(1, zero == 0 ? 0 : zero - 1));
    const std::string binary(zero < input.size() ? input.substr(zero + 1) : "");
    return "glTF" + word(2) + word(28 + json.size() + binary.size()) + word(json.size()) + "JSON" + json
        + word(binary.size()) + std::string("BIN\0", 4) + binary;
}

void checkFigure(const formats::Gltf& gltf)
{
    require(gltf.order.size() == gltf.nodes.size(), "every node has its place in the order");
    std::set<std::string> names;
    for (const formats::GltfNode& node : gltf.nodes)
        require(!node.name.empty() && names.insert(node.name).second, "names are unique");
    require(gltf.nodes.empty() == gltf.skeleton.empty(), "there is a skeleton where there are nodes");
    for (const formats::GltfMesh& mesh : gltf.meshes) {
        for (const formats::GltfPrimitive& primitive : mesh.primitives) {
            const std::size_t count = primitive.positions.size();
            require(primitive.normals.empty() || primitive.normals.size() == count, "normals fit");
            require(primitive.joints.size() == count * primitive.influenceCount
                        && primitive.weights.size() == primitive.joints.size(),
                    "influences fit");
            require(primitive.indices.size() % 3 == 0, "triangles are whole");
            for (const std::uint32_t index : primitive.indices)
                require(index < count, "indices name vertices");
        }
    }
    for (const formats::GltfNode& node : gltf.nodes) {
        if (node.mesh < 0 || node.skin < 0)
            continue;
        const std::size_t joints = gltf.skins[static_cast<std::size_t>(node.skin)].joints.size();
        for (const auto& primitive : gltf.meshes[static_cast<std::size_t>(node.mesh)].primitives)
            for (const std::uint16_t joint : primitive.joints)
                require(joint < joints, "vertices follow joints of their skin");
    }
    for (const formats::GltfNote& note : gltf.notes)
        require(!note.text.empty(), "notes say something");
}

void evaluate(const formats::Gltf& gltf)
{
    for (const formats::GltfMatrix& world : worldMatrices(gltf, nodePose(gltf)))
        for (const double value : world)
            require(std::isfinite(value), "the world is finite");
    worldMatrices(gltf, restPose(gltf));
    for (std::size_t i = 0; i < gltf.animations.size(); ++i) {
        const formats::GltfAnimation& animation = gltf.animations[i];
        for (const double time :
             {animation.start, (animation.start + animation.end) / 2, animation.end, 1e9}) {
            for (const formats::GltfTransform& local : sampleAnimation(gltf, i, time)) {
                double square = 0;
                for (const double c : local.rotation)
                    square += c * c;
                require(std::abs(square - 1) < 1e-6, "rotations are of unit length");
                for (const double c : local.translation)
                    require(std::isfinite(c), "translations are finite");
            }
        }
    }
}

void writeAndReadAgain(const formats::Gltf& gltf)
{
    formats::GltfClip clip{"fuzz", {}, {}};
    for (const int node : gltf.skeleton)
        if (!gltf.nodes[static_cast<std::size_t>(node)].sheared)
            clip.tracks.push_back({node,
                                   formats::GltfPath::Rotation,
                                   formats::GltfInterpolation::Linear,
                                   {0, 1},
                                   {0, 0, 0, 1, 0, 0, 0.6, 0.8}});
    const formats::GltfWriteResult written = writeGlb(gltf, clip);
    const auto* bytes = std::get_if<std::string>(&written);
    require(bytes != nullptr, "what was read can be written");
    const formats::GltfReadResult again = formats::readGltf(*bytes);
    const auto* second = std::get_if<formats::Gltf>(&again);
    if (second == nullptr)
        std::fprintf(stderr, "%s: %s\n", std::get<formats::GltfError>(again).place.c_str(),
                     std::get<formats::GltfError>(again).reason.c_str());
    require(second != nullptr, "what was written reads again");
    require(second->nodes.size() == gltf.nodes.size(), "nodes survive writing");
    for (std::size_t i = 0; i < gltf.nodes.size(); ++i)
        require(second->nodes[i].name == gltf.nodes[i].name
                    && second->nodes[i].parent == gltf.nodes[i].parent,
                "the tree survives writing");
    require(second->animations.size() == gltf.animations.size() + (clip.tracks.empty() ? 0 : 1),
            "the motion is added");
    for (std::size_t i = 0; i < gltf.animations.size(); ++i)
        for (std::size_t t = 0; t < gltf.animations[i].tracks.size(); ++t)
            require(second->animations[i].tracks[t].values == gltf.animations[i].tracks[t].values,
                    "keys survive writing");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string file = fileOf({reinterpret_cast<const char*>(data), size});
    const formats::GltfReadResult result = formats::readGltf(file);
    if (const auto* error = std::get_if<formats::GltfError>(&result)) {
        require(!error->reason.empty(), "errors say why");
        return 0;
    }
    const auto& gltf = std::get<formats::Gltf>(result);
    checkFigure(gltf);
    evaluate(gltf);
    writeAndReadAgain(gltf);
    return 0;
}
