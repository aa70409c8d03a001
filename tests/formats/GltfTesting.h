// SPDX-License-Identifier: MIT
// What the glTF tests share: a small file to change, and reading that fails the test when it should not.
#pragma once

#include "SampleFiles.h"
#include "formats/Gltf.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>

namespace formats {

inline Gltf mustReadGltf(GltfReadResult result)
{
    if (const auto* error = std::get_if<GltfError>(&result)) {
        ADD_FAILURE() << error->place << ": " << error->reason;
        return {};
    }
    return std::get<Gltf>(std::move(result));
}

/// World positions and rotations against expected ones; a mirrored basis has no expected rotation.
inline void expectWorld(const Gltf& gltf, const GltfPose& pose, const TestJson& expected, double height)
{
    const std::vector<GltfMatrix> world = worldMatrices(gltf, pose);
    ASSERT_EQ(world.size(), expected["position"].size());
    for (std::size_t i = 0; i < world.size(); ++i) {
        SCOPED_TRACE(gltf.nodes[i].name);
        const WorldPose at = worldPose(world[i]);
        for (std::size_t a = 0; a < 3; ++a)
            EXPECT_NEAR(at.position[a], expected["position"][i][a].get<double>(), 2e-6 * height);
        const TestJson& rotation = expected["rotation_xyzw"][i];
        double cosine = 0;
        for (std::size_t c = 0; c < 4 && !rotation.is_null(); ++c)
            cosine += at.rotation[c] * rotation[c].get<double>();
        for (std::size_t c = 0; c < 4 && !rotation.is_null(); ++c)
            EXPECT_NEAR(at.rotation[c] * (cosine < 0 ? -1 : 1), rotation[c].get<double>(), 1e-6);
    }
}

/// A document that grows piece by piece, and its file.
struct SmallGltf {
    TestJson json = {{"asset", {{"version", "2.0"}}}};
    std::string bytes; // of buffer 0

    /// Adds an accessor of floats or of integers with the bytes it needs; its index.
    template <class T>
    std::size_t add(const std::vector<T>& values, const char* type, int componentType, std::size_t width,
                    bool normalised = false)
    {
        bytes.resize((bytes.size() + 3) / 4 * 4);
        json["bufferViews"].push_back(
            {{"buffer", 0}, {"byteOffset", bytes.size()}, {"byteLength", values.size() * sizeof(T)}});
        bytes.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
        TestJson accessor = {{"bufferView", json["bufferViews"].size() - 1},
                             {"componentType", componentType},
                             {"count", values.size() / width},
                             {"type", type}};
        if (normalised)
            accessor["normalized"] = true;
        json["accessors"].push_back(accessor);
        return json["accessors"].size() - 1;
    }
    std::size_t floats(const std::vector<float>& values, const char* type = "SCALAR")
    {
        const std::size_t width = std::strcmp(type, "SCALAR") == 0 ? 1
            : std::strcmp(type, "MAT4") == 0                       ? 16
                                                                   : static_cast<std::size_t>(type[3] - '0');
        return add(values, type, 5126, width);
    }

    /// Two joints, a skinned triangle, and an animation of the second joint.
    static SmallGltf arm();

    /// As a GLB.
    std::string glb() const { return glb(document()); }
    std::string glb(const std::string& text) const
    {
        std::string chunk = text + std::string((4 - text.size() % 4) % 4, ' ');
        const std::string data = bytes + std::string((4 - bytes.size() % 4) % 4, '\0');
        const std::size_t size = 12 + 8 + chunk.size() + (data.empty() ? 0 : 8 + data.size());
        std::string file = "glTF" + word(2) + word(size) + word(chunk.size()) + "JSON" + chunk;
        if (!data.empty())
            file += word(data.size()) + std::string("BIN\0", 4) + data;
        return file;
    }
    std::string document() const
    {
        TestJson whole = json;
        if (!bytes.empty())
            whole["buffers"] = {{{"byteLength", bytes.size()}}};
        return whole.dump();
    }
    static std::string word(std::size_t value)
    {
        std::string text;
        for (int i = 0; i < 4; ++i)
            text += static_cast<char>(value >> (8 * i) & 0xFF);
        return text;
    }
};

inline SmallGltf SmallGltf::arm()
{
    SmallGltf small;
    small.json["nodes"] = {{{"name", "upper"}, {"translation", {0, 1, 0}}, {"children", {1}}},
                           {{"name", "lower"}, {"translation", {0, 0.5, 0}}, {"rotation", {0, 0, 0, 1}}},
                           {{"name", "skin"}, {"mesh", 0}, {"skin", 0}}};
    small.json["scenes"] = {{{"nodes", {0, 2}}}};
    small.json["scene"] = 0;
    const auto positions = small.floats({0, 1, 0, 0, 1.5f, 0, 0.1f, 2, 0}, "VEC3");
    small.json["accessors"].back()["min"] = {0, 1, 0};
    small.json["accessors"].back()["max"] = {0.1f, 2, 0};
    const auto joints = small.add<std::uint8_t>({0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0}, "VEC4", 5121, 4);
    const auto weights = small.floats({1, 0, 0, 0, 0.5f, 0.5f, 0, 0, 1, 0, 0, 0}, "VEC4");
    small.json["meshes"] = {
        {{"primitives",
          {{{"attributes", {{"POSITION", positions}, {"JOINTS_0", joints}, {"WEIGHTS_0", weights}}}}}}}};
    const auto bind = small.floats(
        {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -1, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -1.5f, 0, 1},
        "MAT4");
    small.json["skins"] = {{{"joints", {0, 1}}, {"inverseBindMatrices", bind}}};
    const auto times = small.floats({0.5f, 1, 2});
    small.json["accessors"].back()["min"] = {0.5};
    small.json["accessors"].back()["max"] = {2};
    const float half = std::sqrt(0.5f);
    const auto turns = small.floats({0, 0, 0, 1, 0, 0, half, half, 0, 0, 0, 1}, "VEC4");
    small.json["animations"] = {
        {{"name", "wave"},
         {"samplers", {{{"input", times}, {"output", turns}}}},
         {"channels", {{{"sampler", 0}, {"target", {{"node", 1}, {"path", "rotation"}}}}}}}};
    return small;
}

} // namespace formats
