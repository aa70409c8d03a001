// SPDX-License-Identifier: MIT
// Written files: the motion is there, all else is as it was, and the Khronos validator has nothing to add.
#include "GltfComparison.h"
#include "formats/GltfWriter.h"

namespace formats {
namespace {

namespace fs = std::filesystem;

std::string written(GltfWriteResult result)
{
    if (const auto* error = std::get_if<GltfError>(&result)) {
        ADD_FAILURE() << error->place << ": " << error->reason;
        return {};
    }
    return std::get<std::string>(std::move(result));
}

std::string save(const std::string& name, const std::string& bytes)
{
    const fs::path folder = fs::path(::testing::TempDir()) / "sinew_gltf_writer";
    fs::create_directories(folder);
    const std::string path = (folder / name).string();
    EXPECT_EQ(writeFileAtomically(path, bytes), std::nullopt);
    return path;
}

std::string bytesOfFile(const std::string& path) { return std::get<std::string>(readWholeFile(path)); }

using Turn = std::array<double, 4>;

GltfTrack trackOf(int node, GltfPath path, std::vector<double> times, std::vector<double> values)
{
    return {node, path, GltfInterpolation::Linear, std::move(times), std::move(values)};
}

/// Half a second in which all of the skeleton turns, and its roots, and what is above them, move and grow.
GltfClip clipFor(const Gltf& gltf)
{
    GltfClip clip{"swing", {}, {}};
    std::set<int> nodes(gltf.skeleton.begin(), gltf.skeleton.end());
    for (int above = gltf.nodes[static_cast<std::size_t>(gltf.skeleton.front())].parent; above >= 0;
         above = gltf.nodes[static_cast<std::size_t>(above)].parent)
        nodes.insert(above);
    for (const int index : nodes) {
        GltfTrack turns = trackOf(index, GltfPath::Rotation, {}, {});
        GltfTrack places = trackOf(index, GltfPath::Translation, {}, {});
        GltfTrack sizes = trackOf(index, GltfPath::Scale, {}, {});
        for (std::size_t k = 0; k < 3; ++k) {
            const double time = 0.25 * static_cast<double>(k);
            const double turn = 0.3 * static_cast<double>(k) + 0.01 * index;
            addKey(turns, time, Turn{0, std::sin(turn), 0, std::cos(turn)});
            addKey(places, time, std::array<double, 3>{turn, 1 - turn, 0.5});
            addKey(sizes, time, std::array<double, 3>{1 + turn, 1, 1});
        }
        clip.tracks.push_back(std::move(turns));
        if (gltf.nodes[static_cast<std::size_t>(index)].parent < 0) {
            clip.tracks.push_back(std::move(places));
            clip.tracks.push_back(std::move(sizes));
        }
    }
    fitClip(gltf, clip); // keys of skinned meshes are warned of
    return clip;
}

void expectClip(const Gltf& gltf, std::size_t animation, const GltfClip& clip)
{
    ASSERT_LT(animation, gltf.animations.size());
    for (const GltfTrack& wanted : clip.tracks) {
        const auto& tracks = gltf.animations[animation].tracks;
        const auto found = std::find_if(tracks.begin(), tracks.end(), [&](const GltfTrack& track) {
            return track.node == wanted.node && track.path == wanted.path;
        });
        ASSERT_NE(found, tracks.end());
        for (const double time : wanted.times) {
            const Turn a = sampleTrack(wanted, time), b = sampleTrack(*found, time);
            double cosine = 0;
            for (std::size_t c = 0; c < 4; ++c)
                cosine += a[c] * b[c];
            for (std::size_t c = 0; c < 4; ++c)
                EXPECT_NEAR(b[c], wanted.path == GltfPath::Rotation && cosine < 0 ? -a[c] : a[c], 1e-6);
        }
    }
}

/// The bytes behind every buffer view, in the order of the views.
std::vector<std::string> viewBytes(const TestJson& document, const std::vector<std::string>& buffers)
{
    std::vector<std::string> bytes;
    for (const TestJson& view : document.value("bufferViews", TestJson::array()))
        bytes.push_back(buffers[view["buffer"].get<std::size_t>()].substr(
            view.value("byteOffset", std::size_t{0}), view["byteLength"].get<std::size_t>()));
    return bytes;
}

/// All that a motion does not touch is as it was.
void expectKept(const TestJson& before, const TestJson& after, bool matricesGo)
{
    for (const auto& [key, value] : before.items()) {
        SCOPED_TRACE(key);
        if (key == "buffers" || key == "bufferViews" || key == "animations")
            continue;
        if (key == "accessors") {
            for (std::size_t i = 0; i < value.size(); ++i)
                EXPECT_EQ(after[key][i], value[i]) << i;
        } else if (key == "nodes" && matricesGo) {
            for (std::size_t i = 0; i < value.size(); ++i) {
                EXPECT_EQ(after[key][i].value("name", ""), value[i].value("name", ""));
                EXPECT_EQ(after[key][i].value("children", TestJson()),
                          value[i].value("children", TestJson()));
            }
        } else {
            EXPECT_EQ(after[key], value);
        }
    }
}

TEST(GltfWriter, realFilesKeepEverythingAndPassTheValidatorAsBefore)
{
    std::vector<std::string> files;
    for (const Sample& sample : gltfSamples()) {
        SCOPED_TRACE(sample.path);
        const Gltf gltf = mustReadGltf(readGltfFile(sample.path));
        const GltfClip clip = clipFor(gltf);
        for (const int replaced : {-1, 0}) {
            if (replaced >= static_cast<int>(gltf.animations.size()))
                continue;
            const std::string glb = written(writeGlb(gltf, clip, {replaced, replaced}));
            const std::string name = fs::path(sample.path).stem().string();
            files.push_back(sample.path);
            files.push_back(save(name + std::to_string(replaced) + ".glb", glb));
            const Gltf again = mustReadGltf(readGltf(glb));
            expectClip(again, replaced < 0 ? gltf.animations.size() : 0, clip);
            EXPECT_EQ(again.animations.size(), gltf.animations.size() + (replaced < 0 ? 1 : 0));
            EXPECT_EQ(again.meshes.size(), gltf.meshes.size());
            const std::string input = bytesOfFile(sample.path);
            const TestJson before = documentOf(input);
            const TestJson after = documentOf(glb);
            expectKept(before, after, name == "CesiumMan" || name == "Lamp");
            for (std::size_t i = 0; i < gltf.animations.size() && replaced < 0; ++i)
                EXPECT_EQ(after["animations"][i], before["animations"][i]);
            if (input.starts_with("glTF")) {
                const auto views = viewBytes(before, {binaryChunk(input)});
                const auto kept = viewBytes(after, {binaryChunk(glb)});
                EXPECT_TRUE(std::equal(views.begin(), views.end(), kept.begin()));
            }
        }
    }
    VALIDATOR_OR_SKIP();
    const std::vector<std::multiset<std::string>> issues = issuesOf(files);
    for (std::size_t i = 0; i < files.size(); i += 2)
        EXPECT_TRUE(
            std::includes(issues[i].begin(), issues[i].end(), issues[i + 1].begin(), issues[i + 1].end()))
            << files[i + 1] << ": " << TestJson(issues[i + 1]) << " where the input had "
            << TestJson(issues[i]);
}

TEST(GltfWriter, severalBuffersBecomeOneAndImagesBesideTheFileComeAlong)
{
    SmallGltf small = SmallGltf::arm();
    const std::string path = save("parts.gltf", "");
    const std::string png("\x89PNG\r\n\x1a\n and more", 17);
    save("skin.png", png);
    std::error_code exists;
    save("second buffer.bin", "abcdefgh" + small.bytes);
    small.json["images"] = {
        {{"uri", "skin.png"}}, {{"uri", "gone.png"}}, {{"uri", "../parts.gltf"}}, {{"uri", "linked.png"}}};
    fs::create_symlink(save("../sinew_outside.png", png), fs::path(path).replace_filename("linked.png"),
                       exists);
    small.json["extras"] = {{"note", {1, 2.5, nullptr, "\u00e4"}}};
    for (TestJson& view : small.json["bufferViews"]) {
        view["buffer"] = 1;
        view["byteOffset"] = view["byteOffset"].get<int>() + 8;
    }
    small.json["bufferViews"].push_back({{"buffer", 0}, {"byteLength", 5}});
    small.json["buffers"] = {{{"uri", "data:application/octet-stream;base64,SGVsbG8="}, {"byteLength", 5}},
                             {{"uri", "second%20buffer.bin"}, {"byteLength", small.bytes.size() + 8}}};
    save("parts.gltf", small.json.dump());

    const Gltf gltf = mustReadGltf(readGltfFile(path));
    const GltfClip clip = clipFor(gltf);
    const std::string glb = written(writeGlb(gltf, clip));
    const TestJson after = documentOf(glb);
    const auto before = viewBytes(small.json, {"Hello", "abcdefgh" + small.bytes});
    const auto kept = viewBytes(after, {binaryChunk(glb)});
    EXPECT_TRUE(std::equal(before.begin(), before.end(), kept.begin()));
    EXPECT_EQ(after["buffers"].size(), 1u);
    EXPECT_EQ(after["extras"], small.json["extras"]);
    EXPECT_EQ(after["images"][1], small.json["images"][1]);
    EXPECT_EQ(after["images"][2], small.json["images"][2]);
    EXPECT_EQ(after["images"][3], small.json["images"][3]) << "a link that leaves the folder is not followed";
    EXPECT_EQ(after["images"][0]["mimeType"], "image/png");
    EXPECT_EQ(kept[after["images"][0]["bufferView"].get<std::size_t>()], png);
    expectClip(mustReadGltf(readGltf(glb)), 1, clip);
}

TEST(GltfWriter, replacingKeepsChannelsThatTheClipHasNoKeysFor)
{
    SmallGltf small = SmallGltf::arm();
    TestJson& wave = small.json["animations"][0];
    wave["extras"] = "kept";
    const auto places = small.floats({0, 1, 0, 0, 2, 0, 0, 3, 0}, "VEC3");
    wave["samplers"].push_back({{"input", wave["samplers"][0]["input"]}, {"output", places}});
    wave["channels"].push_back({{"sampler", 1}, {"target", {{"node", 0}, {"path", "translation"}}}});
    const Gltf gltf = mustReadGltf(readGltf(small.glb()));
    const GltfClip clip{"", {trackOf(1, GltfPath::Rotation, {0, 1}, {0, 0, 0, 1, 1, 0, 0, 0})}, {}};
    const std::string glb = written(writeGlb(gltf, clip, {0, 0}));
    const Gltf again = mustReadGltf(readGltf(glb));
    ASSERT_EQ(again.animations.size(), 1u);
    EXPECT_EQ(again.animations[0].name, "wave");
    EXPECT_EQ(documentOf(glb)["animations"][0]["extras"], "kept");
    EXPECT_EQ(documentOf(glb)["animations"][0]["samplers"].size(), 2u);
    const GltfPose pose = sampleAnimation(again, 0, 1.5);
    EXPECT_DOUBLE_EQ(pose[0].translation[1], 2.5);
    EXPECT_DOUBLE_EQ(std::abs(pose[1].rotation[0]), 1);
}

std::vector<GltfBone> testBones()
{
    const double half = std::sqrt(0.5);
    return {{"Hips", -1, {{0, 1, 0}, {0, half, 0, half}, {1, 1, 1}}},
            {"Spine", 0, {{0, 0.4, 0.1}, {half, 0, 0, half}, {2, 2, 2}}},
            {"Head", 1, {{0, 0.2, 0.1}}},
            {"Same", 1, {}},
            {"Tail", -1, {{1, 0, 0}}},
            {"Body", 4, {{0.5, 0, 0}}}};
}

GltfClip boneClip()
{
    GltfClip clip{"nod", {}, {}};
    for (int bone : {0, 1, 4})
        clip.tracks.push_back(trackOf(bone, GltfPath::Rotation, {0, 0.5}, {0, 0, 0.6, 0.8, 0, 0.6, 0, 0.8}));
    return clip;
}

TEST(GltfWriter, skeletonsFromScratchReadBackAndTheirBodyFollowsTheBones)
{
    const std::vector<GltfBone> bones = testBones();
    std::vector<std::string> files;
    for (const bool body : {false, true}) {
        const std::string glb = written(writeSkeletonGlb(bones, boneClip(), {body}));
        files.push_back(save(body ? "body.glb" : "bones.glb", glb));
        const Gltf gltf = mustReadGltf(readGltf(glb));
        ASSERT_GE(gltf.nodes.size(), bones.size());
        EXPECT_EQ(gltf.skeleton.size(), bones.size());
        for (std::size_t i = 0; i < bones.size(); ++i) {
            EXPECT_EQ(gltf.nodes[i].name, bones[i].name);
            EXPECT_EQ(gltf.nodes[i].transform.translation, bones[i].rest.translation);
            EXPECT_NEAR(gltf.nodes[i].rest.scale[0], bones[i].rest.scale[0], 1e-6);
        }
        expectClip(gltf, 0, boneClip());
        if (!body)
            continue;
        // Skinned as a player does it, the tip of the spine's shape comes to lie on the head.
        const auto world = worldMatrices(gltf, sampleAnimation(gltf, 0, 0.3));
        const GltfPrimitive& primitive = gltf.meshes.at(0).primitives.at(0);
        EXPECT_EQ(primitive.normals.size(), primitive.positions.size());
        double nearest = 1;
        for (std::size_t v = 0; v < primitive.positions.size(); ++v) {
            const std::size_t joint = primitive.joints[v * 4];
            EXPECT_FLOAT_EQ(primitive.weights[v * 4], 1);
            if (joint != 1)
                continue;
            const auto& p = primitive.positions[v];
            GltfMatrix place = kGltfIdentity;
            std::copy(p.begin(), p.end(), place.begin() + 12);
            const GltfMatrix moved = multiply(multiply(world[1], gltf.skins[0].inverseBind[1]), place);
            nearest = std::min(
                nearest,
                std::hypot(moved[12] - world[2][12], moved[13] - world[2][13], moved[14] - world[2][14]));
        }
        EXPECT_LT(nearest, 1e-6);
    }
    const GltfBone lone{"Alone", -1, {}};
    files.push_back(save("lone.glb", written(writeSkeletonGlb({lone}, {}, {true}))));
    VALIDATOR_OR_SKIP();
    for (const std::multiset<std::string>& issues : issuesOf(files))
        EXPECT_TRUE(issues.empty()) << TestJson(issues);
}

TEST(GltfWriter, refusesMotionThatAFileCannotHold)
{
    struct Row {
        const char* place;
        std::vector<GltfTrack> tracks;
    };
    constexpr GltfPath kTurn = GltfPath::Rotation;
    const std::vector<double> two = {0, 0, 0, 1, 0, 0, 0, 1};
    const Row rows[] = {
        {"tracks[0].times[1]", {trackOf(0, kTurn, {1, 1 + 1e-9}, two)}},
        {"tracks[0].times[0]", {trackOf(0, kTurn, {-1, 1}, two)}},
        {"tracks[0].times[1]", {trackOf(0, kTurn, {0, NAN}, two)}},
        {"tracks[0].values[1]", {trackOf(0, kTurn, {0, 1}, {0, 0, 0, 1, 0, 0, 0, 0})}},
        {"tracks[0].values", {trackOf(0, kTurn, {0}, two)}},
        {"tracks[0].values[1]", {trackOf(0, GltfPath::Scale, {0}, {1, INFINITY, 1})}},
        {"tracks[1].node", {trackOf(0, kTurn, {0, 1}, two), trackOf(0, kTurn, {0, 1}, two)}},
        {"tracks[0].node", {trackOf(6, kTurn, {0, 1}, two)}},
    };
    const Gltf arm = mustReadGltf(readGltf(SmallGltf::arm().glb()));
    for (const Row& row : rows) {
        for (const GltfWriteResult& result :
             {writeSkeletonGlb(testBones(), {"", row.tracks, {}}), writeGlb(arm, {"", row.tracks, {}})}) {
            const auto* error = std::get_if<GltfError>(&result);
            ASSERT_NE(error, nullptr) << row.place;
            EXPECT_EQ(error->place, row.place) << error->reason;
        }
    }
    const GltfWriteResult late = writeSkeletonGlb({{"a", 1, {}}, {"b", -1, {}}}, {});
    EXPECT_EQ(std::get<GltfError>(late).place, "bones[0].parent");
    EXPECT_EQ(std::get<GltfError>(writeGlb(arm, {"", rows[0].tracks, {}}, {3, 3})).place, "animations[3]");
}

} // namespace
} // namespace formats
