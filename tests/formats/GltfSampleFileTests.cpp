// SPDX-License-Identifier: MIT
// Files of ours and of several exporters against world transforms from an independent reader.
#include "GltfTesting.h"

namespace formats {
namespace {

TEST(GltfSampleFiles, hierarchySkinsAndRestAreAsExpected)
{
    for (const Sample& sample : gltfSamples()) {
        SCOPED_TRACE(sample.path);
        const Gltf gltf = mustReadGltf(readGltfFile(sample.path));
        const TestJson& expected = sample.expected;
        ASSERT_EQ(gltf.nodes.size(), expected["nodes"].size());
        std::set<std::string> names;
        for (std::size_t i = 0; i < gltf.nodes.size(); ++i) {
            const TestJson& node = expected["nodes"][i];
            EXPECT_EQ(gltf.nodes[i].givenName, node["name"].is_null() ? "" : node["name"].get<std::string>());
            EXPECT_EQ(gltf.nodes[i].parent, node["parent"].is_null() ? -1 : node["parent"].get<int>());
            EXPECT_EQ(gltf.nodes[i].joint, node["joint"].get<bool>());
            EXPECT_EQ(gltf.nodes[i].mesh >= 0, node["mesh"].get<bool>());
            EXPECT_TRUE(!gltf.nodes[i].name.empty() && names.insert(gltf.nodes[i].name).second);
        }
        ASSERT_EQ(gltf.skins.size(), expected["skins"].size());
        for (std::size_t i = 0; i < gltf.skins.size(); ++i)
            EXPECT_EQ(TestJson(gltf.skins[i].joints), expected["skins"][i]["joints"]);
        expectWorld(gltf, nodePose(gltf), expected["rest"], sample.height);
    }
}

TEST(GltfSampleFiles, animationsAreAsExpected)
{
    for (const Sample& sample : gltfSamples()) {
        const Gltf gltf = mustReadGltf(readGltfFile(sample.path));
        ASSERT_EQ(gltf.animations.size(), sample.expected["animations"].size());
        for (std::size_t i = 0; i < gltf.animations.size(); ++i) {
            const TestJson& expected = sample.expected["animations"][i];
            EXPECT_EQ(gltf.animations[i].name,
                      expected["name"].is_null() ? "" : expected["name"].get<std::string>());
            EXPECT_EQ(gltf.animations[i].tracks.size(), expected["channels"].get<std::size_t>());
            EXPECT_NEAR(gltf.animations[i].start, expected["start"].get<double>(), 1e-6);
            EXPECT_NEAR(gltf.animations[i].end, expected["end"].get<double>(), 1e-6);
            for (const TestJson& moment : expected["samples"]) {
                SCOPED_TRACE(sample.path + " at " + moment["time"].dump());
                expectWorld(gltf, sampleAnimation(gltf, i, moment["time"].get<double>()), moment,
                            sample.height);
            }
        }
    }
}

} // namespace
} // namespace formats
