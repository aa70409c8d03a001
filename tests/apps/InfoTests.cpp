// SPDX-License-Identifier: MIT
// `sinew info`: poses against values from another reader, and the summary.
#include "ProgramRun.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>

namespace fs = std::filesystem;

namespace {

fs::path dataFolder()
{
    const char* chosen = std::getenv("SINEW_DATA");
    return chosen ? chosen : SINEW_DATA_DIR;
}

double heightOf(const app::Json& expected)
{
    double low[3] = {1e30, 1e30, 1e30}, high[3] = {-1e30, -1e30, -1e30}, height = 0;
    for (const app::Json& position : expected["rest_position"])
        for (std::size_t a = 0; a < 3; ++a) {
            low[a] = std::min(low[a], position[a].get<double>());
            high[a] = std::max(high[a], position[a].get<double>());
            height = std::max(height, high[a] - low[a]);
        }
    return height;
}

void expectPose(const app::Json& pose, const app::Json& expected, const app::Json& frame, double tolerance)
{
    ASSERT_EQ(pose["joints"].size(), expected["joints"].size());
    for (std::size_t i = 0; i < pose["joints"].size(); ++i) {
        const app::Json& joint = pose["joints"][i];
        EXPECT_EQ(joint["name"], expected["joints"][i]["name"]) << i;
        EXPECT_EQ(joint["parent"], expected["joints"][i]["parent"]) << i;
        EXPECT_EQ(joint["end_site"], expected["joints"][i]["end_site"]) << i;
        double same = 0;
        for (std::size_t a = 0; a < 4; ++a)
            same += joint["rotation"][a].get<double>() * frame["rotation_xyzw"][i][a].get<double>();
        EXPECT_NEAR(std::abs(same), 1, 1e-6) << joint["name"];
        for (std::size_t a = 0; a < 3; ++a)
            EXPECT_NEAR(joint["position"][a].get<double>(), frame["position"][i][a].get<double>(), tolerance)
                << joint["name"];
    }
}

} // namespace

TEST(Info, PosesOfRealFilesAgreeWithAnotherReader)
{
    if (!fs::exists(dataFolder() / "bvh"))
        GTEST_SKIP() << "no sample files in " << dataFolder()
                     << "; set SINEW_DATA to the folder that has them";
    const ProgramRun sinew;
    for (const fs::directory_entry& file : fs::directory_iterator(dataFolder() / "bvh")) {
        const std::string name = file.path().filename().string();
        SCOPED_TRACE(name);
        std::ifstream text(dataFolder() / "expected" / (name + ".json"));
        const app::Json expected = app::Json::parse(text);
        for (const std::size_t index : {std::size_t{0}, expected["frames"].size() - 1}) {
            const app::Json& frame = expected["frames"][index];
            const ProgramResult result =
                sinew({"info", fs::absolute(file.path()).string(), "--pose",
                       std::to_string(frame["frame"].get<int>()), "--json", "--offsets", "replace"});
            ASSERT_EQ(result.code, 0) << result.err;
            expectPose(result.json(), expected, frame, 1e-4 * heightOf(expected));
        }
    }
}

TEST(Info, PosesOfRealGltfFilesAgreeWithAnotherReader)
{
    if (!fs::exists(dataFolder() / "gltf"))
        GTEST_SKIP() << "no sample files in " << dataFolder()
                     << "; set SINEW_DATA to the folder that has them";
    const ProgramRun sinew;
    for (const fs::directory_entry& file : fs::directory_iterator(dataFolder() / "gltf")) {
        const std::string name = file.path().filename().string();
        if (name.ends_with(".bin"))
            continue;
        SCOPED_TRACE(name);
        std::ifstream text(dataFolder() / "expected" / (name + ".json"));
        const app::Json expected = app::Json::parse(text);
        const std::string path = fs::absolute(file.path()).string();
        const app::Json info = sinew({"info", path, "--json"}).json();
        EXPECT_EQ(info["nodes"].size(), expected["nodes"].size());
        EXPECT_EQ(info["unit"]["name"], "metres");
        EXPECT_NE(sinew({"info", path}).out.find(info["nodes"].back()["name"].get<std::string>()),
                  std::string::npos);
        ASSERT_EQ(info["animations"].size(), expected["animations"].size());
        for (std::size_t i = 0; i < expected["animations"].size(); ++i) {
            const app::Json& moment = expected["animations"][i]["samples"].back();
            EXPECT_NEAR(info["animations"][i]["end"].get<double>(),
                        expected["animations"][i]["end"].get<double>(), 1e-6);
            const ProgramResult result = sinew(
                {"info", path, "--json", "--animation", std::to_string(i), "--pose", moment["time"].dump()});
            ASSERT_EQ(result.code, 0) << result.err;
            const app::Json pose = result.json();
            for (std::size_t n = 0; n < moment["position"].size(); ++n)
                for (std::size_t a = 0; a < 3; ++a)
                    EXPECT_NEAR(pose["nodes"][n]["position"][a].get<double>(),
                                moment["position"][n][a].get<double>(), 1e-4);
        }
    }
}

TEST(Info, TellsWhatIsWrongWithAGltfFileAndWhere)
{
    const ProgramRun sinew;
    sinew.write("loop.gltf",
                R"({"asset": {"version": "2.0"}, "nodes": [{"name": "a\u001b[31m", "children": [0]}]})");
    const ProgramResult result = sinew({"info", "loop.gltf"});
    EXPECT_EQ(result.code, 2);
    EXPECT_NE(result.err.find("loop.gltf: nodes[0].children[0]: "), std::string::npos) << result.err;
    sinew.write("two",
                R"({"asset": {"version": "2.0"}, "nodes": [{"name": "a\u001b[31m"}, {"name": "a"}, {}]})");
    EXPECT_EQ(sinew({"info", "two"}).out.find('\x1b'), std::string::npos);
    EXPECT_NE(sinew({"info", "two"}).out.find("two: nodes: 1 has no name"), std::string::npos);
    EXPECT_EQ(sinew({"info", "two", "--up", "z"}).code, 2);
    EXPECT_EQ(sinew({"info", "gone.glb"}).code, 2);
}

TEST(Info, SummaryTellsFramesUnitUpAndOddities)
{
    const ProgramRun sinew;
    std::string text = walkingFigure(5);
    text.replace(text.find("Frames: 5"), 9, "Frames: 6");
    sinew.write("walk.bvh", text);
    const app::Json info = sinew({"info", "walk.bvh", "--json"}).json();
    EXPECT_EQ(info["joint_count"], 13);
    EXPECT_EQ(info["end_site_count"], 5);
    EXPECT_EQ(info["frame_count"], 5);
    EXPECT_EQ(info["frame_time_text"], "0.0416667");
    EXPECT_NEAR(info["rate"].get<double>(), 24, 0.01);
    EXPECT_EQ(info["up"]["axis"], "+Y");
    EXPECT_EQ(info["joints"][0]["channels"][3], "Zrotation");
    EXPECT_GT(info["warnings"][0]["line"].get<int>(), 0); // the frame count
    const ProgramResult shown = sinew({"info", "walk.bvh"});
    EXPECT_NE(shown.out.find("LeftElbow"), std::string::npos);
    EXPECT_NE(shown.out.find("walk.bvh:" + std::to_string(info["warnings"][0]["line"].get<int>())),
              std::string::npos)
        << shown.out;
}

TEST(Info, WhatTheUserStatesReplacesTheGuess)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(2));
    const app::Json info = sinew({"info", "walk.bvh", "--json", "--unit", "in", "--up", "-x"}).json();
    EXPECT_EQ(info["unit"]["name"], "inches");
    EXPECT_DOUBLE_EQ(info["unit"]["metres"].get<double>(), 0.0254);
    EXPECT_EQ(info["up"]["axis"], "-X");
    EXPECT_NEAR(info["height"].get<double>(), 2 * (2 + 3 + 3 + 0.6), 1e-9); // from finger tip to finger tip
    EXPECT_EQ(sinew({"info", "walk.bvh", "--json", "--unit", "0.5"}).json()["unit"]["metres"], 0.5);
}

TEST(Info, StaysValidForAnyFileName)
{
    const ProgramRun sinew;
    const std::string name = "a\xff\"\x1b[31m</script>.bvh";
    const std::string folderless = "a\xff\"\x1b[31m.bvh";
    sinew.write(folderless, walkingFigure(2));
    const ProgramResult result = sinew({"info", folderless, "--json"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_NE(result.json()["file"].get<std::string>().find("\"\x1b[31m.bvh"), std::string::npos);
    EXPECT_EQ(sinew({"info", folderless}).out.find('\x1b'), std::string::npos); // the terminal isn't steered
    EXPECT_EQ(sinew({"info", name}).err.find('\x1b'), std::string::npos);
}
