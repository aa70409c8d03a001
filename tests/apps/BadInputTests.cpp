// SPDX-License-Identifier: MIT
// Bad input ends in exit code 2 with a sentence that says where and what to do; nothing is written then.
#include "ProgramRun.h"

#include <gtest/gtest.h>

namespace {

struct BadCall {
    std::vector<std::string> arguments;
    std::vector<std::string> said; ///< all of these stand in the message
};

const BadCall kBadCalls[] = {
    {{}, {"no subcommand", "track", "sinew help"}},
    {{"frobnicate"}, {"'frobnicate'", "sinew --help"}},
    {{"trak", "walk.bvh"}, {"Did you mean 'track'?"}},
    {{"help", "inof"}, {"Did you mean 'info'?"}},
    {{"info"}, {"FILE", "sinew info --help"}},
    {{"info", "missing.bvh"}, {"missing.bvh", "No such file"}},
    {{"info", "."}, {"folder"}},
    {{"info", "walk.bvh", "--pose", "5"}, {"--pose 5", "0 to 4"}},
    {{"info", "walk.bvh", "--pose", "-1"}, {"--pose -1", "0 to 4"}},
    {{"info", "walk.bvh", "--offsets", "subtract"}, {"'subtract'", "guess, replace or add"}},
    {{"info", "walk.bvh", "--unit", "parsec"}, {"'parsec'", "cm"}},
    {{"info", "walk.bvh", "--up", "sideways"}, {"'sideways'", "x, y or z"}},
    {{"info", "walk.bvh", "--bogus"}, {"--bogus", "sinew info --help"}},
    {{"info", "walk.bvh", "--jsn"}, {"Did you mean '--json'?"}},
    {{"track", "walk.bvh", "--outptu=out.bvh"}, {"Did you mean '--output'?"}},
    {{"info", "picture.bvh"}, {"picture.bvh:1: ", "a PNG picture", "BVH", "glTF"}},
    {{"track", "film.fbx", "-o", "out.bvh"}, {"a binary FBX file", "BVH", "glTF"}},
    {{"retarget", "walk.bvh", "page.glb", "-o", "out.glb"}, {"a web page", "BVH", "glTF"}},
    {{"shot", "empty.glb", "-o", "out.png"}, {"the file is empty", "BVH", "glTF"}},
    {{"track", "scene.json", "-o", "out.bvh"}, {"scene of `sinew run`", "scene.export"}},
    {{"info", "cut.bvh"}, {"cut.bvh:2:"}},
    {{"info", "binary.bvh"}, {"binary.bvh:"}},
    {{"track", "walk.bvh"}, {"--output", "sinew track --help"}},
    {{"track", "cut.bvh", "-o", "out.bvh"}, {"cut.bvh:2:"}},
    {{"track", "still.bvh", "-o", "out.bvh"}, {"still.bvh", "no frames"}},
    {{"track", "heap.bvh", "-o", "out.bvh"}, {"heap.bvh", "OFFSET"}},
    {{"track", "walk.bvh", "-o", "nowhere/out.bvh"}, {"no folder nowhere"}},
    {{"track", "walk.bvh", "-o", "."}, {"folder"}},
    {{"track", "walk.bvh", "-o", ""}, {"-o", "missing"}},
    {{"track", "walk.bvh", "-o", "out.bvh", "--goal", "LeftHnad"}, {"'LeftHnad'", "'LeftHand'"}},
    {{"track", "walk.bvh", "-o", "out.bvh", "--goal", "Head", "LeftHand"}, {"LeftHand"}},
    {{"track", "walk.bvh", "-o", "out.bvh", "--frames", "2:9"}, {"--frames 2:9", "0 to 4"}},
    {{"track", "walk.bvh", "-o", "out.bvh", "--steps", "0"}, {"--steps", "1 to 1000000"}},
    {{"track", "walk.bvh", "-o", "out.bvh", "--steps", "-4"}, {"--steps", "1 to 1000000"}},
    {{"track", "walk.bvh", "-o", "out.bvh", "--steps", "4294967297"}, {"--steps", "1 to 1000000"}},
    {{"track", "walk.bvh", "-o", "out.bvh", "--precision", "0"}, {"--precision", "above 0"}},
    {{"track", "walk.bvh", "-o", "out.bvh", "--pull", "nan"}, {"--pull", "above 0"}},
    {{"track", "walk.bvh", "-o", "out.bvh", "--tolerance", "-1"}, {"--tolerance", "0 to"}},
    {{"retarget", "walk.bvh", "walk.bvh", "-o", "out.bvh", "--jobs", "0"}, {"--jobs", "1 to 256"}},
    {{"shot", "walk.bvh", "-o", "out.png", "--sheet", "many"}, {"--sheet", "1 to 400"}},
    {{"track", "walk.bvh", "-o", "out.bvh", "--max-mean-error", "much"}, {"'much'", "0.1%"}},
    {{"track", "walk.bvh", "-o", "out.bvh", "--goal", "Head:rot", "--max-mean-error", "1"}, {"positions"}},
};

} // namespace

TEST(BadInput, IsRefusedWithASentenceAndExitCodeTwo)
{
    const ProgramRun sinew;
    const std::string walk = walkingFigure(5);
    sinew.write("walk.bvh", walk);
    sinew.write("cut.bvh", "HIERARCHY\nROOT Hips");
    sinew.write("binary.bvh",
                std::string("\x7f"
                            "ELF\x00\x01\xfe\x90",
                            8));
    sinew.write("picture.bvh", "\x89PNG\r\n\x1a\n");
    sinew.write("film.fbx", std::string("Kaydara FBX Binary  \0\x1a\0", 23));
    sinew.write("page.glb", "<!DOCTYPE html><html></html>");
    sinew.write("empty.glb", "");
    sinew.write("scene.json", R"({"version": 1, "format": "sinew-scene", "items": []})");
    sinew.write("still.bvh", walkingFigure(0));
    sinew.write(
        "heap.bvh",
        "HIERARCHY\nROOT a\n{\nOFFSET 0 0 0\nCHANNELS 3 Xrotation Yrotation Zrotation\nJOINT b\n{\nOFFSET 0 "
        "0 0\n"
        "CHANNELS 3 Xrotation Yrotation Zrotation\n}\n}\nMOTION\nFrames: 1\nFrame Time: 0.1\n0 0 0 0 0 0\n");
    for (const BadCall& call : kBadCalls) {
        std::string line;
        for (const std::string& argument : call.arguments)
            line += " " + argument;
        SCOPED_TRACE("sinew" + line);
        const ProgramResult result = sinew(call.arguments);
        EXPECT_EQ(result.code, 2) << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err.substr(0, 7), "sinew: ") << result.err;
        for (const std::string& part : call.said)
            EXPECT_NE(result.err.find(part), std::string::npos) << part << " is not in: " << result.err;
        EXPECT_FALSE(sinew.exists("out.bvh"));
    }
    EXPECT_EQ(sinew.read("walk.bvh"), walk);
    EXPECT_EQ(sinew.fileCount(), 10u);
}

TEST(BadInput, HelpOfEverySubcommandHoldsAnExample)
{
    const ProgramRun sinew;
    const ProgramResult top = sinew({"--help"});
    EXPECT_EQ(top.code, 0);
    for (const std::string command : {"info", "track"}) {
        EXPECT_NE(top.out.find("\n  " + command), std::string::npos);
        const ProgramResult help = sinew({command, "--help"});
        EXPECT_EQ(help.code, 0);
        EXPECT_NE(help.out.find("\n  sinew " + command + " walk.bvh"), std::string::npos) << help.out;
        EXPECT_EQ(sinew({"help", command}).out, help.out);
    }
    EXPECT_EQ(sinew({"help"}).out, top.out);
    EXPECT_EQ(sinew({"version"}).out, sinew({"--version"}).out);
}

TEST(BadInput, DeepestHierarchyThatIsReadIsSolved)
{
    const ProgramRun sinew;
    for (const int levels : {1000, 5000}) {
        std::string text = "HIERARCHY\n", row;
        for (int i = 0; i < levels; ++i) {
            text += (i == 0 ? "ROOT j" : "JOINT j") + std::to_string(i)
                + "\n{\nOFFSET 0 1 0\nCHANNELS 3 Zrotation Xrotation Yrotation\n";
            row += "0.1 0 0 ";
        }
        text += std::string(static_cast<std::size_t>(levels), '}') + "\nMOTION\nFrames: 1\nFrame Time: 0.1\n"
            + row + "\n";
        sinew.write("deep.bvh", text);
        const ProgramResult result = sinew({"track", "deep.bvh", "-o", "out.bvh", "--steps", "5"});
        EXPECT_EQ(result.code, levels == 1000 ? 0 : 2) << result.err;
    }
}
