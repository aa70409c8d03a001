// SPDX-License-Identifier: MIT
// Files that break rules of glTF and can be read all the same: they are, and each breach is told with its
// place.
#include "GltfTesting.h"
#include "formats/Base64.h"
#include "formats/FileKind.h"
#include "formats/Files.h"

namespace formats {
namespace {

struct Chunk {
    const char* type;
    std::string bytes;
    std::size_t claimed = 0; // length; 0 for that of the bytes
};

std::string glbOf(const std::vector<Chunk>& chunks, const std::string& behind = {})
{
    std::string body;
    for (const Chunk& chunk : chunks)
        body += SmallGltf::word(chunk.claimed ? chunk.claimed : chunk.bytes.size())
            + std::string(chunk.type, 4) + chunk.bytes;
    return "glTF" + SmallGltf::word(2) + SmallGltf::word(12 + body.size()) + body + behind;
}

std::string padded(std::string text, char with = ' ')
{
    text.append((4 - text.size() % 4) % 4, with);
    return text;
}

/// The small file with one thing that is odd about it.
class GltfFileOddityTests : public ::testing::Test {
protected:
    /// Reads the file, which has to be the small one with one note more than that has.
    void expectOdd(const std::string& file, const std::string& place, const std::string& part)
    {
        SCOPED_TRACE(part);
        const Gltf gltf = mustReadGltf(readGltf(file, folder));
        ASSERT_EQ(gltf.nodes.size(), 3u);
        EXPECT_EQ(gltf.meshes.at(0).primitives.at(0).positions, clean.meshes[0].primitives[0].positions);
        EXPECT_EQ(gltf.animations.at(0).tracks.at(0).values, clean.animations[0].tracks[0].values);
        bool isTold = false;
        std::string all;
        for (const GltfNote& note : gltf.notes) {
            isTold |= note.place == place && note.text.find(part) != std::string::npos;
            all += note.place + ": " + note.text + "\n";
        }
        EXPECT_TRUE(isTold) << all;
        EXPECT_EQ(gltf.notes.size(), clean.notes.size() + 1) << all;
    }
    void expectOdd(const TestJson& json, const std::string& place, const std::string& part)
    {
        expectOdd(json.dump(), place, part);
    }
    /// As a document with its bytes in a data URI that `change` makes of the right one.
    template <class Change>
    TestJson withUri(const Change& change)
    {
        TestJson json = small.json;
        json["buffers"] = {
            {{"byteLength", small.bytes.size()},
             {"uri", change("data:application/octet-stream;base64," + base64Text(small.bytes))}}};
        return json;
    }

    SmallGltf small = SmallGltf::arm();
    Gltf clean = mustReadGltf(readGltf(small.glb()));
    std::string folder;
};

TEST_F(GltfFileOddityTests, theContainer)
{
    const std::string json = padded(small.document());
    const std::string data = padded(small.bytes, '\0');
    const std::string end = std::to_string(20 + json.size());
    EXPECT_EQ(glbOf({{"JSON", json}, {"BIN", data}}), small.glb());
    expectOdd("\xEF\xBB\xBF" + small.glb(), "byte 0", "byte order mark");
    EXPECT_TRUE(isGltf("\xEF\xBB\xBF" + small.glb()));
    expectOdd(glbOf({{"JSON", padded("\xEF\xBB\xBF" + small.document())}, {"BIN", data}}), "byte 20",
              "byte order mark");
    expectOdd("\xEF\xBB\xBF" + withUri([](const std::string& uri) { return uri; }).dump(), "byte 0",
              "byte order mark");
    // Padding within the length, behind it, and none at all.
    std::string odd = small.document();
    while (odd.size() % 4 != 3)
        odd += ' ';
    expectOdd(glbOf({{"JSON", odd}, {"BIN", data}}), "byte 12", "no multiple of four");
    expectOdd(glbOf({{"JSON", odd + ' ', odd.size()}, {"BIN", data}}), "byte 12", "no multiple of four");
    expectOdd(glbOf({{"JSON", json}, {"BIN", data + "x"}}), "byte " + end, "no multiple of four");
    expectOdd(glbOf({{"JSON", json}, {"BIN", data + "x00", data.size() + 1}}), "byte " + end,
              "no multiple of four");
    expectOdd(glbOf({{"JSON", json + std::string(4, '\0')}, {"BIN", data}}), "byte " + end, "zero bytes");
    expectOdd(glbOf({{"JSON", json}, {"BIN", data}}, "trailing"),
              "byte " + std::to_string(small.glb().size()), "8 bytes behind the end");
    expectOdd(glbOf({{"JSON", json}, {"BIN", data}, {"ABCD", "1234"}}),
              "byte " + std::to_string(28 + json.size() + data.size()), "'ABCD'");
    expectOdd(glbOf({{"JSON", json}, {"BIN", data}, {"BIN", "1234"}}),
              "byte " + std::to_string(28 + json.size() + data.size()), "second binary chunk");
    TestJson inside = withUri([](const std::string& uri) { return uri; });
    expectOdd(glbOf({{"JSON", padded(inside.dump())}, {"BIN", "1234"}}), "buffers", "belongs to none");
    // Two things at once: the chunk that stands before the binary one is odd too.
    const Gltf late = mustReadGltf(readGltf(glbOf({{"JSON", json}, {"ABCD", "1234"}, {"BIN", data}})));
    EXPECT_EQ(late.notes.size(), clean.notes.size() + 2);
    EXPECT_EQ(late.animations.size(), 1u);
}

TEST_F(GltfFileOddityTests, dataUris)
{
    using Text = const std::string&;
    const auto expectUri = [&](const std::string& part, const auto& change) {
        expectOdd(withUri(change), "buffers[0].uri", part);
    };
    const Gltf same = mustReadGltf(readGltf(withUri([](Text uri) { return uri; }).dump()));
    EXPECT_EQ(same.notes.size(), clean.notes.size());
    expectUri("text behind its base64", [](Text uri) { return uri + "{\"more\": 1}"; });
    expectUri("blanks or line ends", [](Text uri) { return uri + "\n"; });
    expectUri("blanks or line ends", [](Text uri) { return std::string(uri).insert(80, "\r\n  "); });
    expectUri("percent codes", [](Text uri) { return std::string(uri).replace(40, 1, "%41"); });
    expectUri("media type 'image/png'",
              [](Text uri) { return "data:image/png" + uri.substr(uri.find(';')); });
    expectUri("no media type", [](Text uri) { return "data:" + uri.substr(uri.find(';')); });
    TestJson longer =
        withUri([&](Text) { return "data:application/gltf-buffer;base64," + base64Text(small.bytes + "z"); });
    expectOdd(longer, "buffers[0].byteLength", "only the first");
    // Lengths that need padding: it may be missing or doubled, and the last letter hold more than its byte.
    SmallGltf three = small;
    while (three.bytes.size() % 3 != 1)
        three.bytes += 'x';
    const std::string text = base64Text(three.bytes), start = "data:application/octet-stream;base64,";
    for (const std::string& variant : {text.substr(0, text.size() - 2), text + "="}) {
        TestJson json = three.json;
        json["buffers"] = {{{"byteLength", three.bytes.size()}, {"uri", start + variant}}};
        expectOdd(json, "buffers[0].uri", "where 2 are due");
    }
    TestJson within = three.json;
    std::string last = text;
    ++last[last.size() - 3];
    within["buffers"] = {{{"byteLength", three.bytes.size()}, {"uri", start + last}}};
    expectOdd(within, "buffers[0].uri", "within a byte");
}

TEST_F(GltfFileOddityTests, theDocument)
{
    TestJson json = small.json;
    json["buffers"] = TestJson::array();
    json.erase("accessors");
    json.erase("bufferViews");
    for (const char* key : {"meshes", "skins", "animations", "scenes", "scene"})
        json.erase(key);
    const TestJson none = TestJson::array();
    json["nodes"] = {
        {{"name", "a"}, {"children", {1, 2}}},
        {{"name", "b"}, {"translation", {0, 1, 0}}, {"children", none}},
        {{"name", "c"}, {"translation", {1, 0, 0}}, {"children", none}, {"extras", {{"mine", none}}}}};
    const Gltf empty = mustReadGltf(readGltf(json.dump()));
    ASSERT_EQ(empty.notes.size(), 2u) << empty.notes.back().place << ": " << empty.notes.back().text;
    EXPECT_EQ(empty.notes[0].place, "buffers");
    EXPECT_EQ(empty.notes[1].place, "nodes[1].children");
    EXPECT_NE(empty.notes[1].text.find("so are 1 more"), std::string::npos);

    folder = ::testing::TempDir();
    ASSERT_EQ(writeFileAtomically(folder + "/odd.bin", small.bytes), std::nullopt);
    ASSERT_EQ(writeFileAtomically(folder + "/long.bin", small.bytes + "!"), std::nullopt);
    const auto named = [&](std::vector<std::string> uris) {
        TestJson whole = small.json;
        for (const std::string& uri : uris)
            whole["buffers"].push_back({{"byteLength", small.bytes.size()}, {"uri", uri}});
        return whole;
    };
    expectOdd(named({"odd.bin", "./odd.bin"}), "buffers[1].uri", "the same bytes as buffers[0]");
    expectOdd(named({"long.bin"}), "buffers[0].byteLength", "only the first");

    // An image that is no PNG, and an accessor off its grid.
    TestJson image = small.json;
    image["images"] = {{{"uri", "data:image/png;base64," + base64Text("\xFF\xD8\xFF\xE0")}}};
    SmallGltf other = small;
    other.json = image;
    expectOdd(other.glb(), "images[0].uri", "image/jpeg");
    other = small;
    other.json["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", 1}, {"byteLength", 8}});
    other.json["accessors"].push_back({{"bufferView", other.json["bufferViews"].size() - 1},
                                       {"componentType", 5126},
                                       {"count", 2},
                                       {"type", "SCALAR"}});
    expectOdd(other.glb(), "accessors[" + std::to_string(other.json["accessors"].size() - 1) + "]",
              "no multiple of the 4");
}

} // namespace
} // namespace formats
