// SPDX-License-Identifier: MIT
// What the subcommands do with files: no output destroys an input or another output, and `-` stands for the
// standard streams.
#include "../formats/GltfTesting.h"
#include "ProgramRun.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

using Words = std::vector<std::string>;

/// Two motions, a figure with a buffer and a picture of its own, a map, and other names for some of them.
void writeFiles(const ProgramRun& sinew)
{
    sinew.write("walk.bvh", walkingFigure(4));
    sinew.write("hero.bvh", walkingFigure(1));
    sinew.write("hero.map", "Hips = Hips\nHead = Head\n");
    formats::SmallGltf small = formats::SmallGltf::arm();
    small.json["buffers"] = {{{"uri", "arm%20data.bin"}, {"byteLength", small.bytes.size()}}};
    small.json["images"] = {{{"uri", "skin.png"}}};
    sinew.write("arm data.bin", small.bytes);
    sinew.write("arm.gltf", small.json.dump());
    sinew.write("skin.png", "\x89PNG");
    fs::create_directories(sinew.path("folder"));
    for (const char* link : {"link.bvh", "link.png"})
        fs::create_symlink("walk.bvh", sinew.path(link));
    fs::create_symlink(sinew.path(""), sinew.path("here"));
    fs::create_hard_link(sinew.path("hero.bvh"), sinew.path("hard.bvh"));
}

struct Clash {
    Words words;
    std::string output, other; ///< what the message names
};

const Clash kClashes[] = {
    {{"track", "walk.bvh", "-o", "walk.bvh"}, "-o walk.bvh", "IN walk.bvh"},
    {{"track", "walk.bvh", "-o", "here/folder/../walk.bvh"}, "-o here", "IN walk.bvh"},
    {{"track", "link.bvh", "-o", "out.bvh", "--report", "walk.bvh"}, "--report walk.bvh", "IN link.bvh"},
    {{"track", "walk.bvh", "-o", "out.bvh", "--report", "./out.bvh"}, "-o out.bvh", "--report ./out.bvh"},
    {{"track", "walk.bvh", "-o", "out.bvh", "--report-json", "here/out.bvh"}, "-o", "--report-json"},
    {{"track", "arm.gltf", "-o", "arm data.bin"}, "-o", "IN's arm data.bin"},
    {{"retarget", "walk.bvh", "hero.bvh", "-o", "hard.bvh"}, "-o hard.bvh", "TARGET hero.bvh"},
    {{"retarget", "walk.bvh", "hero.bvh", "-o", "out.bvh", "--report", "link.bvh"},
     "--report",
     "SOURCE walk.bvh"},
    {{"retarget", "walk.bvh", "arm.gltf", "-o", "out.glb", "--report-json", "skin.png"},
     "--report-json",
     "TARGET's"},
    {{"retarget", "walk.bvh", "hero.bvh", "-o", "out.bvh", "--map", "hero.map", "--write-map", "hero.map"},
     "--write-map",
     "--map"},
    {{"retarget", "walk.bvh", "hero.bvh", "link.bvh", "-o", "."}, "-o: the result", "walk.bvh"},
    {{"shot", "walk.bvh", "-o", "link.png"}, "-o link.png", "FILE walk.bvh"},
    {{"shot", "arm.gltf", "-o", "here/skin.png"}, "-o here/skin.png", "FILE's skin.png"},
    {{"track", "walk.bvh", "-o", "-", "--json"}, "-o", "--json"},
    {{"retarget", "-", "-", "-o", "out.bvh"}, "SOURCE", "TARGET"},
};

} // namespace

TEST(Files, NoOutputDestroysAnInputOrAnotherOutput)
{
    const ProgramRun sinew;
    writeFiles(sinew);
    std::map<std::string, std::string> before;
    for (const fs::directory_entry& file : fs::directory_iterator(sinew.path("")))
        if (file.is_regular_file())
            before[file.path().filename()] = ProgramRun::bytesOf(file);
    for (const Clash& clash : kClashes) {
        std::string line;
        for (const std::string& word : clash.words)
            line += " " + word;
        SCOPED_TRACE("sinew" + line);
        const ProgramResult result = sinew(clash.words);
        EXPECT_EQ(result.code, 2) << result.err;
        EXPECT_NE(result.err.find(clash.output), std::string::npos) << result.err;
        EXPECT_NE(result.err.find(clash.other), std::string::npos) << result.err;
        for (const auto& [name, bytes] : before)
            EXPECT_EQ(sinew.read(name), bytes) << name;
    }
    EXPECT_EQ(sinew.fileCount(), before.size() + 2); // the folder and the link to where all stands
    // Devices may be shared, and other files of one folder have nothing to do with each other.
    EXPECT_EQ(sinew({"track", "walk.bvh", "-o", "/dev/null", "--report", "/dev/null"}).code, 0);
}

TEST(Files, AHyphenStandsForTheStandardStreams)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", ProgramRun::bytesOf(SINEW_EXAMPLES "/characters/Walker.bvh"));
    formats::SmallGltf arm = formats::SmallGltf::arm();
    sinew.write("arm.glb", arm.glb());
    EXPECT_EQ(sinew({"info", "-", "--json"}, "walk.bvh").json()["frame_count"], 61);
    EXPECT_EQ(sinew({"info", "-", "--json"}, "arm.glb").json()["format"], "glTF 2.0");
    for (const Words& words : {Words{"track", "walk.bvh"}, Words{"track", "arm.glb", "--goal", "lower"},
                               Words{"retarget", "walk.bvh", SINEW_EXAMPLES "/characters/Child.bvh"},
                               Words{"shot", "walk.bvh", "--size", "64x64"}}) {
        SCOPED_TRACE(words[0] + " " + words[1]);
        const auto call = [&](const char* in, const char* out) {
            Words all = words;
            all[1] = in;
            all.insert(all.end(), {"-o", out});
            return sinew(all, words[1]);
        };
        const std::string out = words[0] == "shot" ? "out.png"
            : words[1].ends_with(".glb")           ? "out.glb"
                                                   : "out.bvh";
        const ProgramResult named = call(words[1].c_str(), out.c_str());
        if (named.err.find("Pictures need EGL") != std::string::npos)
            continue;
        ASSERT_EQ(named.code, 0) << named.err;
        const ProgramResult piped = call("-", "-");
        EXPECT_EQ(piped.code, 0) << piped.err;
        EXPECT_TRUE(piped.out == sinew.read(out)) << "other bytes than in a file";
        EXPECT_NE(piped.err.find("standard input"), std::string::npos) << piped.err;
    }
    const ProgramResult glb = sinew(
        {"retarget", "-", SINEW_EXAMPLES "/characters/Child.bvh", "-o", "-", "--format", "glb"}, "walk.bvh");
    EXPECT_EQ(glb.out.substr(0, 4), "glTF") << glb.err;
    EXPECT_FALSE(sinew.exists("-"));
}
