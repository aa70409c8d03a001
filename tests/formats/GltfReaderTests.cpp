// SPDX-License-Identifier: MIT
// What files of the wild do: odd hierarchies, names, matrices, packed numbers, bind poses, humanoid bones.
#include "GltfTesting.h"

namespace formats {
namespace {

Gltf readSmall(const SmallGltf& small) { return mustReadGltf(readGltf(small.glb())); }

std::string notesOf(const Gltf& gltf)
{
    std::string text;
    for (const GltfNote& note : gltf.notes)
        text += note.place + ": " + note.text + "\n";
    return text;
}

#define EXPECT_NOTE(gltf, part) EXPECT_NE(notesOf(gltf).find(part), std::string::npos) << notesOf(gltf)

TEST(GltfReader, readsMeshSkinAndMotionOfASmallFile)
{
    const Gltf gltf = readSmall(SmallGltf::arm());
    EXPECT_TRUE(gltf.notes.size() == 1 && gltf.animations[0].start == 0.5) << notesOf(gltf);
    const GltfPrimitive& primitive = gltf.meshes.at(0).primitives.at(0);
    EXPECT_EQ(primitive.indices, (std::vector<std::uint32_t>{0, 1, 2}));
    EXPECT_EQ(primitive.positions[2], (std::array<float, 3>{0.1f, 2, 0}));
    EXPECT_EQ(primitive.joints[5], 1);
    EXPECT_EQ(primitive.weights[5], 0.5f);
    // An eighth turn a quarter of a second after the first key; held before it and after the last.
    const double quarter = std::sin(std::acos(-1.0) / 8);
    EXPECT_NEAR(sampleAnimation(gltf, 0, 0.75)[1].rotation[2], quarter, 1e-7);
    EXPECT_EQ(sampleAnimation(gltf, 0, -3)[1].rotation[3], 1);
    EXPECT_EQ(sampleAnimation(gltf, 0, 99)[1].rotation[3], 1);
    EXPECT_EQ(sampleAnimation(gltf, 7, 1)[1].translation[1], 0.5);
}

TEST(GltfReader, packedSparseAndStridedNumbersReadAsTheyAreMeant)
{
    SmallGltf small = SmallGltf::arm();
    TestJson& primitive = small.json["meshes"][0]["primitives"][0];
    const auto packed =
        small.add<std::int8_t>({127, -128, 0, 99, 64, 0, -127, 99, 0, 0, 127, 99}, "VEC3", 5120, 3, true);
    small.json["bufferViews"].back()["byteStride"] = 4;
    small.json["accessors"].back()["count"] = 3;
    primitive["attributes"]["POSITION"] = packed;
    const auto places = small.add<std::uint16_t>({2}, "SCALAR", 5123, 1);
    const auto values = small.floats({0, 0, 5}, "VEC3");
    small.json["accessors"].push_back({{"componentType", 5126}, {"count", 3}, {"type", "VEC3"}});
    small.json["accessors"].back()["sparse"] = {
        {"count", 1},
        {"indices", {{"bufferView", small.json["accessors"][places]["bufferView"]}, {"componentType", 5123}}},
        {"values", {{"bufferView", small.json["accessors"][values]["bufferView"]}}}};
    primitive["attributes"]["NORMAL"] = small.json["accessors"].size() - 1;
    primitive["attributes"]["JOINTS_1"] =
        small.add<std::uint16_t>(std::vector<std::uint16_t>(12, 1), "VEC4", 5123, 4);
    primitive["attributes"]["WEIGHTS_1"] =
        small.add<std::uint8_t>({0, 0, 0, 255, 0, 0, 0, 51, 0, 0, 0, 0}, "VEC4", 5121, 4, true);
    small.json["animations"][0]["samplers"][0]["output"] =
        small.add<std::int16_t>({0, 0, 0, 32767, 0, 0, 32767, 0, 0, 0, 0, 32767}, "VEC4", 5122, 4, true);
    const Gltf gltf = readSmall(small);
    const GltfPrimitive& read = gltf.meshes[0].primitives[0];
    EXPECT_EQ(read.positions[0], (std::array<float, 3>{1, -1, 0}));
    EXPECT_EQ(read.positions[1], (std::array<float, 3>{64 / 127.f, 0, -1}));
    EXPECT_EQ(read.normals[1], (std::array<float, 3>{0, 0, 0}));
    EXPECT_EQ(read.normals[2], (std::array<float, 3>{0, 0, 5}));
    ASSERT_EQ(read.influenceCount, 8u);
    EXPECT_EQ(read.joints[8 + 7], 1);
    EXPECT_FLOAT_EQ(read.weights[8 + 7], 0.2f);
    EXPECT_EQ(sampleAnimation(gltf, 0, 1)[1].rotation, (std::array<double, 4>{0, 0, 1, 0}));
}

TEST(GltfReader, stripsFansAndSharedVerticesBecomeListsOfTheirOwn)
{
    SmallGltf small;
    std::vector<float> places;
    for (int i = 0; i < 40; ++i)
        places.insert(places.end(), {float(i), 0, 0});
    const auto position = small.floats(places, "VEC3");
    const auto index = small.add<std::uint8_t>({30, 31, 32, 33}, "SCALAR", 5121, 1);
    for (int mode : {5, 6, 1})
        small.json["meshes"][0]["primitives"].push_back(
            {{"attributes", {{"POSITION", position}}}, {"indices", index}, {"mode", mode}});
    const Gltf gltf = readSmall(small);
    ASSERT_EQ(gltf.meshes[0].primitives.size(), 2u);
    EXPECT_NOTE(gltf, "points or lines");
    const auto corners = [&](std::size_t p) {
        std::vector<float> x;
        for (const std::uint32_t i : gltf.meshes[0].primitives[p].indices)
            x.push_back(gltf.meshes[0].primitives[p].positions.at(i)[0]);
        return x;
    };
    EXPECT_EQ(corners(0), (std::vector<float>{30, 31, 32, 31, 33, 32}));
    EXPECT_EQ(corners(1), (std::vector<float>{31, 32, 30, 32, 33, 30}));
    EXPECT_EQ(gltf.meshes[0].primitives[0].positions.size(), 4u) << "unused vertices are left out";
}

TEST(GltfReader, splinesFollowTheirTangents)
{
    SmallGltf small = SmallGltf::arm();
    // A parabola y = t * t over two seconds: in-tangent, value, out-tangent at both ends.
    const auto times = small.floats({1, 3});
    const auto keys = small.floats({9, 9, 9, 0, 0, 0, 0, 0, 0, 0, 4, 0, 0, 4, 0, 9, 9, 9}, "VEC3");
    TestJson& wave = small.json["animations"][0];
    wave["samplers"].push_back({{"input", times}, {"output", keys}, {"interpolation", "CUBICSPLINE"}});
    wave["channels"].push_back({{"sampler", 1}, {"target", {{"node", 0}, {"path", "translation"}}}});
    const Gltf gltf = readSmall(small);
    for (const double t : {0.0, 0.3, 1.0, 1.7, 2.0})
        EXPECT_NEAR(sampleAnimation(gltf, 0, 1 + t)[0].translation[1], t * t, 1e-12);
}

TEST(GltfReader, namesAreMadeUniqueWithoutTakingAnothers)
{
    SmallGltf small;
    small.json["nodes"] = {{{"name", "a"}},    {{"name", "a"}},     {{"name", "a_2"}},
                           TestJson::object(), {{"name", "node3"}}, {{"name", ""}}};
    const Gltf gltf = readSmall(small);
    const char* expected[] = {"a", "a_3", "a_2", "node3_2", "node3", "node5"};
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_EQ(gltf.nodes[i].name, expected[i]);
    EXPECT_NOTE(gltf, "nodes[1].name: the name 'a' is taken");
    EXPECT_NOTE(gltf, "2 have no name");
}

TEST(GltfReader, theSkeletonIsJointsAndWhatStandsBetweenThem)
{
    SmallGltf small;
    small.json["nodes"] = {{{"name", "world"}, {"scale", {-1, 2, 1}}, {"children", {1, 6}}},
                           {{"name", "hips"}, {"children", {2, 5}}},
                           {{"name", "between"}, {"children", {3}}},
                           {{"name", "spine"}, {"translation", {0, 1, 0}}, {"children", {4}}},
                           {{"name", "end"}},
                           {{"name", "prop"}},
                           {{"name", "second"}}};
    small.json["skins"] = {{{"joints", {1, 3, 6}}}};
    const Gltf gltf = readSmall(small);
    EXPECT_EQ(gltf.skeleton, (std::vector<int>{1, 2, 3, 6}));
    EXPECT_NOTE(gltf, "1 node stands between joints");
    EXPECT_NOTE(gltf, "2 roots");
    EXPECT_NOTE(gltf, "nodes[0]: the skeleton stands below a scale of 1, 2, 1");
    EXPECT_NOTE(gltf, "mirroring");
    EXPECT_NOTE(gltf, "'between' lies on its parent");
    small.json.erase("skins");
    EXPECT_EQ(readSmall(small).skeleton.size(), 7u) << "plain nodes are a skeleton too";
}

TEST(GltfReader, matricesComeApartAndShearIsKept)
{
    SmallGltf small;
    const double c = 0.6;
    const double s = 0.8;
    // Turned about z, mirrored along x and scaled; and one with shear.
    small.json["nodes"] = {{{"matrix", {-2 * c, -2 * s, 0, 0, -3 * s, 3 * c, 0, 0, 0, 0, 4, 0, 7, 8, 9, 1}}},
                           {{"matrix", {1, 0, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1}}, {"children", {2}}},
                           {{"translation", {0, 1, 0}}}};
    const Gltf gltf = readSmall(small);
    const GltfTransform& t = gltf.nodes[0].transform;
    EXPECT_FALSE(gltf.nodes[0].sheared);
    EXPECT_NEAR(t.scale[0], -2, 1e-12);
    EXPECT_NEAR(t.scale[1], 3, 1e-12);
    EXPECT_NEAR(std::abs(t.rotation[3]), std::sqrt(0.8), 1e-12);
    const GltfMatrix again = localMatrix(t);
    for (std::size_t i = 0; i < 16; ++i)
        EXPECT_NEAR(again[i], small.json["nodes"][0]["matrix"][i].get<double>(), 1e-12);
    EXPECT_TRUE(gltf.nodes[1].sheared);
    EXPECT_NOTE(gltf, "nodes[1].matrix: has shear");
    EXPECT_NEAR(worldMatrices(gltf, nodePose(gltf))[2][12], 6, 1e-12);
    const GltfMatrix back = multiply(inverse(again), again);
    for (std::size_t i = 0; i < 16; ++i)
        EXPECT_NEAR(back[i], kGltfIdentity[i], 1e-12);
}

TEST(GltfReader, bindMatricesGiveTheRestPoseWhereTheNodesDisagree)
{
    SmallGltf small = SmallGltf::arm();
    small.json["nodes"][1]["rotation"] = {0, 0, 0.6, 0.8}; // a frame of a motion, say
    small.json["nodes"][0]["translation"] = {10, 1, 0}; // the skin as a whole stands elsewhere
    const Gltf gltf = readSmall(small);
    EXPECT_NOTE(gltf, "skins[0]: 1 of 2 joints rest elsewhere");
    EXPECT_NEAR(std::abs(gltf.nodes[1].rest.rotation[3]), 1, 1e-6);
    EXPECT_NEAR(gltf.nodes[1].rest.translation[1], 0.5, 1e-6);
    EXPECT_EQ(gltf.nodes[0].rest.translation[0], 10);
    EXPECT_NEAR(gltf.nodes[1].transform.rotation[2], 0.6, 1e-12);
    EXPECT_EQ(notesOf(readSmall(SmallGltf::arm())).find("rest elsewhere"), std::string::npos);
}

TEST(GltfReader, humanoidBonesOfBothVrmVersionsAndItsAnimationsAreNamedAlike)
{
    SmallGltf small = SmallGltf::arm();
    small.json["extensions"]["VRM"]["humanoid"]["humanBones"] = {{{"bone", "leftThumbProximal"}, {"node", 1}},
                                                                 {{"bone", "hips"}, {"node", 0}},
                                                                 {{"bone", "jaw"}, {"node", -1}}};
    const Gltf old = readSmall(small);
    EXPECT_EQ(old.vrm, VrmKind::Vrm0);
    ASSERT_EQ(old.humanBones.size(), 2u);
    EXPECT_EQ(old.humanBones[0].bone, "leftThumbMetacarpal");
    EXPECT_EQ(old.humanBones[1].node, 0);
    for (const char* extension : {"VRMC_vrm", "VRMC_vrm_animation"}) {
        small.json["extensions"] = {{extension,
                                     {{"humanoid",
                                       {{"humanBones",
                                         {{"hips", {{"node", 0}}},
                                          {"leftThumbMetacarpal", {{"node", 1}}},
                                          {"tail", {{"node", 2}}}}}}}}}};
        const Gltf gltf = readSmall(small);
        EXPECT_EQ(gltf.vrm == VrmKind::Animation, std::string(extension) == "VRMC_vrm_animation");
        ASSERT_EQ(gltf.humanBones.size(), 2u);
        EXPECT_EQ(gltf.humanBones[0].bone, "hips");
        EXPECT_EQ(gltf.humanBones[1].node, 1);
        EXPECT_NOTE(gltf, "'tail' is no bone");
    }
}

} // namespace
} // namespace formats
