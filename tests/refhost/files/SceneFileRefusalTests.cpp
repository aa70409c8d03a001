// SPDX-License-Identifier: MIT
// Bad scene files are refused with place and reason, and what is open stays as it is.
#include "FileTesting.h"

#include <ostream>

namespace refhost {
namespace {

constexpr const char* kGood =
    R"({"format": "sinew-scene", "version": 1,
 "types": {"m.kind": {"base": "locator", "origin": "m", "channels": [{"name": "k", "type": "integer"}]}},
 "packages": {"m.pack": {"origin": "m", "channels": [{"name": "f", "type": "float"}, {"name": "t", "type": "text"}]}},
 "items": [
  {"id": 1, "name": "A", "type": "m.kind", "values": {"k": {"setup": 3}}},
  {"id": 2, "name": "B", "type": "locator", "parent": 1, "position": {"id": 3, "values": {"pos.X": {"anim": {"keys": [[0, 1], [1, 2]]}}}}},
  {"id": 4, "name": "C", "type": "locator", "parent": 2, "packages": [{"name": "m.pack", "values": {"f": {"setup": 0.5}, "t": {"setup": "x"}}}], "tags": {"ABCD": "v"}}
 ],
 "graphs": {"ikRefs": [[1, 2], [2, 4]]}, "channelLinks": [[1, "k", 4, "f"]]})";

struct Spoiling {
    const char* what;
    const char* from;
    std::string to;
    const char* place;
    const char* reason;

    friend void PrintTo(const Spoiling& spoiling, std::ostream* out) { *out << spoiling.what; }
};

const Spoiling kSpoilings[] = {
    {"unknown version", "\"version\": 1", "\"version\": 2", "/version: ", "newer program"},
    {"version that wraps", "\"version\": 1", "\"version\": 4294967297", "/version: ", "not known here"},
    {"other format", "sinew-scene", "other", "/format: ", "no scene file"},
    {"no version", "\"version\": 1,", "", "/: ", "missing"},
    {"number for a text", "\"name\": \"A\"", "\"name\": 5", "/items/0/name: ", "needs a text"},
    {"text for a number", "\"setup\": 0.5", "\"setup\": \"0.5\"",
     "/items/2/packages/0/values/f/setup: ", "needs a number"},
    {"null for a number", "\"setup\": 0.5", "\"setup\": null",
     "/items/2/packages/0/values/f/setup: ", "null"},
    {"infinite number", "\"setup\": 0.5", "\"setup\": 1e999", "line 7, column", "too large"},
    {"not a number", "\"setup\": 0.5", "\"setup\": NaN", "line 7, column", "no JSON"},
    {"number too large to square", "\"setup\": 0.5", "\"setup\": -1e31",
     "/items/2/packages/0/values/f/setup: ", "out of range"},
    {"fraction for a whole number", "{\"setup\": 3}", "{\"setup\": 3.5}",
     "/items/0/values/k/setup: ", "whole number"},
    {"whole number that wraps", "{\"setup\": 3}", "{\"setup\": 4294967299}",
     "/items/0/values/k/setup: ", "out of range"},
    {"its own parent", "\"parent\": 1", "\"parent\": 2", "/items/1/parent: ", "own ancestor"},
    {"circle of parents", "\"parent\": 1", "\"parent\": 4", "/items/1/parent: ", "own ancestor"},
    {"parent that is not there", "\"parent\": 2", "\"parent\": 9", "/items/2/parent: ", "no item"},
    {"parent is a transform item", "\"parent\": 2", "\"parent\": 3", "/items/2/parent: ", "no item"},
    {"link to nothing", "[2, 4]]", "[2, 5]]", "/graphs/ikRefs/1/1: ", "no item"},
    {"link with one end", "[2, 4]]", "[2]]", "/graphs/ikRefs/1: ", "2 parts"},
    {"link twice", "[2, 4]]", "[1, 2]]", "/graphs/ikRefs/1: ", "twice"},
    {"link to no channel", "4, \"f\"", "4, \"g\"", "/channelLinks/0/3: ", "no channel 'g'"},
    {"link to no index", "4, \"f\"", "4, -1", "/channelLinks/0/3: ", "out of range"},
    {"link to an index too far", "4, \"f\"", "4, 13", "/channelLinks/0/3: ", "no channel"},
    {"identifier twice", "\"id\": 4", "\"id\": 1", "/items/2/id: ", "already"},
    {"identifier of a transform item twice", "\"id\": 3", "\"id\": 4", "/items/1/position/id: ", "already"},
    {"identifier 0", "\"id\": 4", "\"id\": 0", "/items/2/id: ", "out of range"},
    {"negative identifier", "\"id\": 4", "\"id\": -4", "/items/2/id: ", "out of range"},
    {"identifier that wraps", "\"id\": 4", "\"id\": 18446744073709551620", "/items/2/id: ", "out of range"},
    {"unique name twice", "\"name\": \"C\"", "\"name\": \"C\", \"unique\": \"A\"",
     "/items/2/unique: ", "already"},
    {"no name", "\"name\": \"C\", ", "", "/items/2: ", "needs a 'name'"},
    {"no type", "\"type\": \"m.kind\", ", "", "/items/0: ", "'type'"},
    {"type that nobody describes", "\"type\": \"m.kind\"", "\"type\": \"m.kin\"",
     "/items/0/type: ", "load the module"},
    {"type of a transform item", "\"type\": \"m.kind\"", "\"type\": \"rotation\"",
     "/items/0/type: ", "inside"},
    {"types without end", "\"base\": \"locator\"", "\"base\": \"m.kind\"", "/types/m.kind: ", "without end"},
    {"package that nobody describes", "\"name\": \"m.pack\"", "\"name\": \"m.pac\"",
     "/items/2/packages/0/name: ", "load the module"},
    {"package index on others", "\"name\": \"m.pack\"", "\"name\": \"m.pack\", \"index\": 5",
     "/items/2/packages/0/index: ", "next free one is 11"},
    {"package index out of reach", "\"name\": \"m.pack\"", "\"name\": \"m.pack\", \"index\": 2147483647",
     "/items/2/packages/0/index: ", "out of range"},
    {"millions of empty indices", "\"name\": \"C\"", "\"name\": \"C\", \"slots\": 10000000",
     "/items/2/slots: ", "channels"},
    {"channel type unknown", "\"type\": \"float\"", "\"type\": \"flat\"",
     "/packages/m.pack/channels/0/type: ", "no type"},
    {"channel twice", "\"name\": \"t\"", "\"name\": \"f\"", "/packages/m.pack/channels/1: ", "twice"},
    {"keys out of order", "[1, 2]]", "[-1, 2]]",
     "/items/1/position/values/pos.X/anim/keys/1: ", "order of time"},
    {"two keys at one time", "[1, 2]]", "[1e-7, 2]]",
     "/items/1/position/values/pos.X/anim/keys/1: ", "microsecond"},
    {"key too late", "[1, 2]]", "[1e10, 2]]",
     "/items/1/position/values/pos.X/anim/keys/1/0: ", "out of range"},
    {"key with one slope", "[1, 2]]", "[1, 2, \"cubic\", 4]]",
     "/items/1/position/values/pos.X/anim/keys/1: ", "slope"},
    {"interpolation unknown", "[1, 2]]", "[1, 2, \"spline\"]]",
     "/items/1/position/values/pos.X/anim/keys/1/2: ", "'cubic'"},
    {"unknown key inside values", "{\"anim\": {", "{\"anym\": {",
     "/items/1/position/values/pos.X/anym: ", "spelling"},
    {"tag with five characters", "ABCD", "ABCDE", "/items/2/tags/ABCDE: ", "four"},
    {"key twice", "\"name\": \"A\"", "\"name\": \"A\", \"id\": 8", "/items/0: ", "'id' stands twice"},
    {"invalid UTF-8", "\"name\": \"A\"", "\"name\": \"A\xc3\"", "line 5, column", "UTF-8"},
    {"surrogate half", "\"name\": \"A\"", "\"name\": \"\\ud800\"", "line 5, column", "no JSON"},
    {"zero character", "\"name\": \"A\"", "\"name\": \"A\\u0000\"", "/items/0/name: ", "zero character"},
    {"text behind the end", "\"f\"]]}", "\"f\"]]} x", "line 9, column", "no JSON"},
};

class SpoiltSceneFile : public testing::TestWithParam<Spoiling> { };

TEST_P(SpoiltSceneFile, IsRefusedWithPlaceAndReason)
{
    Host host;
    Scene& open = host.addScene(mustRead(host, kGood));
    const std::string before = open.digest();
    std::string text = kGood;
    const std::size_t at = text.find(GetParam().from);
    ASSERT_NE(at, std::string::npos);
    text.replace(at, std::string(GetParam().from).size(), GetParam().to);
    const auto answer = readSceneText(host, text, "bad");
    EXPECT_FALSE(answer.ok());
    EXPECT_FALSE(answer.value);
    EXPECT_EQ(answer.message.find(GetParam().place), 0u) << answer.message;
    EXPECT_NE(answer.message.find(GetParam().reason), std::string::npos) << answer.message;
    EXPECT_EQ(open.digest(), before);
    EXPECT_EQ(host.scenes().size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(OneFault, SpoiltSceneFile, testing::ValuesIn(kSpoilings));

TEST(SpoiltSceneFile, CutOffAnywhereIsRefused)
{
    Host host;
    const std::string good = kGood;
    for (std::size_t length = 0; length < good.size(); ++length) {
        const auto answer = readSceneText(host, good.substr(0, length), "cut");
        ASSERT_FALSE(answer.ok()) << length;
        ASSERT_EQ(answer.message.find("line "), 0u) << answer.message;
    }
    EXPECT_NE(readSceneText(host, good.substr(0, 500), "cut").message.find("cut off"), std::string::npos);
}

TEST(SpoiltSceneFile, DepthIsLimitedInBracketsAndInItems)
{
    Host host;
    const std::string brackets = readSceneText(host, std::string(100'000, '['), "deep").message;
    EXPECT_EQ(brackets.find("line 1, column 65: "), 0u) << brackets;
    const std::string start = R"({"format": "sinew-scene", "version": 1, "x": )";
    EXPECT_TRUE(readSceneText(host, start + std::string(63, '[') + std::string(63, ']') + "}", "deep").ok());
    EXPECT_FALSE(readSceneText(host, start + std::string(64, '[') + std::string(64, ']') + "}", "deep").ok());

    // Children first, so that every level has to be found upwards.
    std::string items;
    for (int i = 100'000; i > 0; --i) {
        items += (items.empty() ? "" : ",") + std::string("{\"type\": \"locator\", \"name\": \"n")
            + std::to_string(i) + "\", \"id\": " + std::to_string(i)
            + (i > 1 ? ", \"parent\": " + std::to_string(i - 1) : "") + "}";
    }
    const std::string levels =
        readSceneText(host, R"({"format": "sinew-scene", "version": 1, "items": [)" + items + "]}", "deep")
            .message;
    EXPECT_EQ(levels, "/items/98975/parent: items stand more than 1024 levels deep");
}

} // namespace
} // namespace refhost
