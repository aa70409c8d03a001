// SPDX-License-Identifier: MIT
// Hostile and broken glTF files: each is refused with the place and the reason, quickly and in little memory.
#include "GltfTesting.h"
#include "formats/Files.h"

#include <functional>
#include <random>
#include <sys/resource.h>

namespace formats {
namespace {

struct Refusal {
    const char* what;
    std::function<void(SmallGltf&)> change;
    std::string place;
    const char* reason; // part of it
};

void expectRefused(const GltfReadResult& result, const std::string& place, const std::string& reason)
{
    const auto* error = std::get_if<GltfError>(&result);
    ASSERT_NE(error, nullptr) << "was read";
    EXPECT_EQ(error->place, place) << error->reason;
    EXPECT_NE(error->reason.find(reason), std::string::npos) << error->reason;
}

TEST(GltfRefusal, namesThePathInTheDocumentAndTheReason)
{
    const auto values = [](SmallGltf& s, std::size_t accessor, std::size_t index, float value) {
        const std::size_t view = s.json["accessors"][accessor]["bufferView"].get<std::size_t>();
        std::memcpy(s.bytes.data() + s.json["bufferViews"][view]["byteOffset"].get<std::size_t>() + index * 4,
                    &value, 4);
    };
    // Accessors of the small file: 0 positions, 1 joints, 2 weights, 3 bind matrices, 4 times, 5 rotations.
    const Refusal refusals[] = {
        {"its own child", [](auto& s) { s.json["nodes"][1]["children"] = {1}; }, "nodes[1].children[0]",
         "is a child of node 0 already"},
        {"a ring", [](auto& s) { s.json["nodes"][1]["children"] = {0}; }, "nodes[1].children[0]",
         "its own ancestor"},
        {"two parents", [](auto& s) { s.json["nodes"][2]["children"] = {1}; }, "nodes[2].children[0]",
         "child of node 0 already"},
        {"child out of bounds", [](auto& s) { s.json["nodes"][1]["children"] = {3}; }, "nodes[1].children[0]",
         "the file has 3 nodes"},
        {"negative index", [](auto& s) { s.json["nodes"][1]["children"] = {-1}; }, "nodes[1].children[0]",
         "-1"},
        {"index that wraps", [](auto& s) { s.json["nodes"][2]["mesh"] = 4294967296; }, "nodes[2].mesh",
         "1 meshes"},
        {"half an index", [](auto& s) { s.json["nodes"][2]["mesh"] = 0.5; }, "nodes[2].mesh", "whole number"},
        {"index as text", [](auto& s) { s.json["nodes"][2]["mesh"] = "0"; }, "nodes[2].mesh", "'0'"},
        {"nodes no array", [](auto& s) { s.json["nodes"] = 3; }, "nodes", "array"},
        {"zero rotation",
         [](auto& s) {
             s.json["nodes"][1]["rotation"] = {0, 0, 0, 0};
         },
         "nodes[1].rotation", "length 0"},
        {"three numbers of rotation",
         [](auto& s) {
             s.json["nodes"][1]["rotation"] = {0, 0, 1};
         },
         "nodes[1].rotation", "4 numbers"},
        {"huge number",
         [](auto& s) {
             s.json["nodes"][1]["translation"] = {0, 1e300, 0};
         },
         "nodes[1].translation[1]", "larger than any motion"},
        {"projection",
         [](auto& s) { s.json["nodes"][1]["matrix"] = {1, 0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}; },
         "nodes[1].matrix", "affine"},
        {"joint out of bounds",
         [](auto& s) {
             s.json["skins"][0]["joints"] = {0, 7};
         },
         "skins[0].joints[1]", "3 nodes"},
        {"joint twice",
         [](auto& s) {
             s.json["skins"][0]["joints"] = {0, 0};
         },
         "skins[0].joints[1]", "twice"},
        {"bind matrices too few",
         [](auto& s) {
             s.json["skins"][0]["joints"] = {0, 1, 2};
         },
         "skins[0].inverseBindMatrices", "2 matrices for 3 joints"},
        {"bind matrix no number", [&](auto& s) { values(s, 3, 17, NAN); }, "accessors[3]", "element 1"},
        {"weight of a joint that is not there", [](auto& s) { s.json["skins"][0]["joints"] = {0}; },
         "meshes[0].primitives[0].attributes.JOINTS_0", "follows joint 1 of a skin of 1"},
        {"fewer weights than vertices", [](auto& s) { s.json["accessors"][2]["count"] = 2; },
         "meshes[0].primitives[0].attributes.WEIGHTS_0", "2 elements for 3 vertices"},
        {"index of a vertex that is not there",
         [](auto& s) {
             s.json["meshes"][0]["primitives"][0]["indices"] =
                 s.template add<std::uint16_t>({0, 1, 3}, "SCALAR", 5123, 1);
         },
         "meshes[0].primitives[0].indices", "number 2 is 3"},
        {"times no number", [&](auto& s) { values(s, 4, 1, NAN); }, "accessors[4]", "not a finite number"},
        {"times unsorted", [&](auto& s) { values(s, 4, 1, 0.25f); }, "animations[0].samplers[0].input",
         "do not rise at key 1"},
        {"zero key", [&](auto& s) { values(s, 5, 3, 0); }, "animations[0].samplers[0].output", "key 0"},
        {"keys without times", [](auto& s) { s.json["accessors"][4]["count"] = 2; },
         "animations[0].samplers[0].output", "3 values for 2 times"},
        {"unknown interpolation",
         [](auto& s) { s.json["animations"][0]["samplers"][0]["interpolation"] = "BEZIER"; },
         "animations[0].samplers[0].interpolation", "'BEZIER'"},
        {"sampler out of bounds", [](auto& s) { s.json["animations"][0]["channels"][0]["sampler"] = 1; },
         "animations[0].channels[0].sampler", "1 samplers"},
        {"rotation of three", [](auto& s) { s.json["animations"][0]["samplers"][0]["output"] = 0; },
         "animations[0].samplers[0].output", "VEC4 is needed"},
        {"range past its view", [](auto& s) { s.json["accessors"][0]["count"] = 4; }, "accessors[0]",
         "ends at byte 48 of a bufferView of 36"},
        {"offset that wraps", [](auto& s) { s.json["accessors"][0]["byteOffset"] = 18446744073709551612u; },
         "accessors[0].byteOffset", "at most"},
        {"view that wraps", [](auto& s) { s.json["bufferViews"][0]["byteOffset"] = 18446744073709551612u; },
         "bufferViews[0].byteOffset", "at most"},
        {"view past its buffer", [](auto& s) { s.json["bufferViews"][0]["byteLength"] = 100000; },
         "bufferViews[0]", "100000"},
        {"count of gigabytes", [](auto& s) { s.json["accessors"][0]["count"] = 4294967295u; }, "accessors[0]",
         "bufferView of 36"},
        {"gigabytes of zeros",
         [](auto& s) {
             s.json["accessors"][0].erase("bufferView");
             s.json["accessors"][0]["count"] = 4294967295u;
         },
         "meshes[0].primitives[0].attributes.POSITION", "more than the bytes"},
        {"absurd stride", [](auto& s) { s.json["bufferViews"][0]["byteStride"] = 1000; },
         "bufferViews[0].byteStride", "252"},
        {"stride below the element", [](auto& s) { s.json["bufferViews"][0]["byteStride"] = 4; },
         "accessors[0]", "12 bytes"},
        {"sparse places unsorted",
         [](auto& s) {
             const auto at = s.template add<std::uint8_t>({2, 1}, "SCALAR", 5121, 1);
             s.json["accessors"][0]["sparse"] = {
                 {"count", 2},
                 {"indices",
                  {{"bufferView", s.json["accessors"][at]["bufferView"]}, {"componentType", 5121}}},
                 {"values", {{"bufferView", 0}}}};
         },
         "accessors[0].sparse.indices", "must rise"},
        {"no version", [](auto& s) { s.json["asset"].erase("version"); }, "asset.version", "missing"},
        {"version 1", [](auto& s) { s.json["asset"]["version"] = "1.0"; }, "asset.version", "convert"},
        {"unknown extension", [](auto& s) { s.json["extensionsRequired"] = {"ACME_secret"}; },
         "extensionsRequired[0]", "'ACME_secret'"},
        {"Draco", [](auto& s) { s.json["extensionsRequired"] = {"KHR_draco_mesh_compression"}; },
         "extensionsRequired[0]", "without compression"},
        {"meshopt", [](auto& s) { s.json["extensionsRequired"] = {"EXT_meshopt_compression"}; },
         "extensionsRequired[0]", "without compression"},
        {"bone out of bounds",
         [](auto& s) { s.json["extensions"]["VRMC_vrm"]["humanoid"]["humanBones"]["hips"]["node"] = 3; },
         "extensions.VRMC_vrm.humanoid.humanBones.hips.node", "3 nodes"},
        {"world without end",
         [](auto& s) {
             s.json["nodes"][0]["scale"] = {1e12, 1e12, 1e12};
             s.json["nodes"][1]["translation"] = {1e12, 0, 0};
         },
         "nodes[1]", "further out"},
    };
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.what);
        SmallGltf small = SmallGltf::arm();
        refusal.change(small);
        expectRefused(readGltf(small.glb()), refusal.place, refusal.reason);
    }
}

TEST(GltfRefusal, namesTheByteOfBrokenContainersAndTexts)
{
    const SmallGltf small = SmallGltf::arm();
    const std::string glb = small.glb();
    const auto with = [&](std::size_t at, const std::string& bytes) {
        return std::string(glb).replace(at, bytes.size(), bytes);
    };
    expectRefused(readGltf(""), "", "empty");
    expectRefused(readGltf("; FBX 7.4.0 project file"), "", "an FBX file");
    expectRefused(readGltf(R"({"format": "other", "version": 1})"), "", "format 'other'");
    expectRefused(readGltf(glb.substr(0, 10)), "byte 10", "header");
    expectRefused(readGltf(glb.substr(0, 400)), "byte 8", "cut off");
    expectRefused(readGltf(with(4, SmallGltf::word(1))), "byte 4", "version 1");
    expectRefused(readGltf(with(12, SmallGltf::word(0xFFFFFFF0))), "byte 12", "only");
    expectRefused(readGltf(with(16, "BIN ")), "byte 12", "must be JSON");
    expectRefused(readGltf(small.glb(small.document().substr(0, 300))), "byte 320", "ends too early");
    expectRefused(readGltf(R"({"asset": {"version": "2.0"}, "nodes": [{"name": )"
                           "\"\xC3(\"}]}"),
                  "byte 51", "not UTF-8");
    expectRefused(readGltf(R"({"asset": {"version": "2.0"}, "nodes": [{"name": 1e999}]})"), "byte 53",
                  "too large");
    expectRefused(readGltf(R"({"asset": {"version": "2.0"}, "extras": {"a": [0, {"b": 1, "b": 2}]}})"),
                  "extras.a[1].b", "twice");
    SmallGltf shorter = small;
    shorter.bytes.resize(shorter.bytes.size() - 8);
    expectRefused(readGltf(shorter.glb(small.document())), "buffers[0].byteLength", "claims");
}

TEST(GltfRefusal, opensNothingOutsideTheFolderOfTheFile)
{
    namespace fs = std::filesystem;
    const fs::path outer = fs::path(::testing::TempDir()) / "sinew_gltf_uri";
    const fs::path folder = outer / "inner";
    fs::create_directories(folder / "below");
    const SmallGltf small = SmallGltf::arm();
    for (const fs::path& place : {outer / "data.bin", folder / "below" / "my data%.bin"})
        ASSERT_EQ(writeFileAtomically(place.string(), small.bytes), std::nullopt);
    const auto readWith = [&](const std::string& uri) {
        TestJson json = small.json;
        json["buffers"] = {{{"uri", uri}, {"byteLength", small.bytes.size()}}};
        EXPECT_EQ(writeFileAtomically((folder / "figure.gltf").string(), json.dump()), std::nullopt);
        return readGltfFile((folder / "figure.gltf").string());
    };
    EXPECT_EQ(mustReadGltf(readWith("below/my%20data%.bin")).nodes.size(), 3u);
    EXPECT_EQ(mustReadGltf(readWith("./below/my data%25.bin")).nodes.size(), 3u);
    const std::string absolute = (outer / "data.bin").string();
    for (const std::string& uri :
         {std::string("../data.bin"), std::string("%2e%2e/data.bin"), std::string("below/../../data.bin"),
          std::string("below%2F..%2F..%2Fdata.bin"), std::string("..\\data.bin"), absolute,
          "%2F" + absolute.substr(1), "file%3A//" + absolute})
        expectRefused(readWith(uri), "buffers[0].uri", "leaves the folder");
    for (const std::string& uri :
         {"file://" + absolute, std::string("https://example.org/data.bin"), std::string("C:/data.bin")})
        expectRefused(readWith(uri), "buffers[0].uri", "another place");
    // Links count as what they lead to.
    std::error_code exists;
    fs::create_symlink(outer / "data.bin", folder / "out.bin", exists);
    fs::create_directory_symlink(outer, folder / "up", exists);
    fs::create_symlink("below/my data%.bin", folder / "in.bin", exists);
    for (const char* uri : {"out.bin", "up/data.bin", "./out.bin"})
        expectRefused(readWith(uri), "buffers[0].uri", "leaves the folder");
    EXPECT_EQ(mustReadGltf(readWith("in.bin")).nodes.size(), 3u);
    expectRefused(readWith("gone.bin"), "buffers[0].uri", "not there");
    expectRefused(readWith("below"), "buffers[0].uri", "not there");
    expectRefused(readWith("data:application/octet-stream;base64,@@@@"), "buffers[0].uri", "base64");
    expectRefused(readGltf(TestJson::parse(std::ifstream(folder / "figure.gltf")).dump()), "buffers[0].uri",
                  "base64");
}

TEST(GltfRefusal, depthAndCountsAreBoundedInTimeAndMemory)
{
    const auto nested = [](std::size_t levels) {
        return R"({"asset": {"version": "2.0"}, "extras": )" + std::string(levels, '[')
            + std::string(levels, ']') + "}";
    };
    mustReadGltf(readGltf(nested(200)));
    const auto chain = [](std::size_t levels) {
        std::string text = R"({"asset": {"version": "2.0"}, "nodes": [{})";
        for (std::size_t i = 1; i < levels; ++i)
            text += R"(,{"children": [)" + std::to_string(i - 1) + "]}";
        return text + "]}";
    };
    EXPECT_EQ(mustReadGltf(readGltf(chain(1024))).order.size(), 1024u);
    // A thousand primitives that use one accessor: little in the file, gigabytes out of it.
    SmallGltf shared = SmallGltf::arm();
    const auto many = shared.add<float>(std::vector<float>(3 * 100'000), "VEC3", 5126, 3);
    TestJson& primitives = shared.json["meshes"][0]["primitives"];
    primitives = TestJson::array();
    for (std::size_t i = 0; i < 1000; ++i)
        primitives.push_back({{"attributes", {{"POSITION", many}}}});
    std::string commas = R"({"asset": {"version": "2.0"}, "extras": [0)";
    for (std::size_t i = 0; i < 1'100'000; ++i)
        commas += ",0";

    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    const auto start = before.ru_utime.tv_sec;
    const auto place = [](const GltfReadResult& result) { return std::get<GltfError>(result).place; };
    EXPECT_TRUE(place(readGltf(nested(300))).starts_with("extras[0][0]"));
    EXPECT_TRUE(place(readGltf(nested(1'000'000))).starts_with("extras[0][0]"));
    EXPECT_EQ(place(readGltf(chain(1025))), "nodes[0]");
    EXPECT_EQ(place(readGltf(chain(100'000))).substr(0, 6), "nodes[");
    EXPECT_TRUE(place(readGltf(shared.glb())).starts_with("accessors["));
    EXPECT_EQ(place(readGltf(R"({"asset": {"version": ")" + std::string(9'000, '1') + R"("}, "extras": )"
                             + std::string(50'000'000, '9') + "}")),
              "byte 9037");
    EXPECT_TRUE(place(readGltf(commas + "]}")).starts_with("extras["));
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_utime.tv_sec - start, 6 * 2 * 5)
        << "two seconds for each, and five times that in slow builds";
#ifdef NDEBUG
    EXPECT_LT(after.ru_maxrss, 300 * 1024) << "kibibytes";
#endif
}

TEST(GltfRefusal, randomDamageIsReadOrRefusedButNothingElse)
{
    constexpr unsigned kSeed = 20240611;
    SCOPED_TRACE(kSeed);
    std::mt19937 random(kSeed);
    const std::string whole = SmallGltf::arm().glb();
    std::size_t readCount = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string bytes = whole;
        for (unsigned edits = 1 + random() % 3; edits > 0; --edits)
            bytes[random() % bytes.size()] = "0123456789[]{},:-\"x\xC3"[random() % 20];
        const GltfReadResult result = readGltf(bytes);
        if (const auto* gltf = std::get_if<Gltf>(&result)) {
            ++readCount;
            ASSERT_EQ(gltf->order.size(), gltf->nodes.size());
        } else {
            ASSERT_FALSE(std::get<GltfError>(result).reason.empty());
        }
    }
    EXPECT_GT(readCount, 100u) << "the damage should leave some files readable";
}

} // namespace
} // namespace formats
