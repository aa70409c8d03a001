// SPDX-License-Identifier: MIT
// `sinew track` from end to end on motions made here.
#include "../formats/GltfTesting.h"
#include "ProgramRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr const char* kGoals[] = {"Head", "LeftHand", "RightHand", "LeftFoot", "RightFoot"};

std::string replaced(std::string text, const std::string& what, const std::string& with)
{
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return at == std::string::npos ? text : text.replace(at, what.size(), with);
}

bool anyContains(const app::Json& texts, const std::string& part)
{
    for (const app::Json& text : texts)
        if (text.get<std::string>().find(part) != std::string::npos)
            return true;
    return false;
}

double degreesBetween(const std::array<double, 4>& a, const std::array<double, 4>& b)
{
    const double same = std::abs(a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3]);
    return 2 * std::acos(std::min(1.0, same)) * 57.29577951308232;
}

formats::WorldPose nodeAt(const formats::Gltf& gltf, const std::string& name, double time)
{
    const std::vector<formats::GltfMatrix> world =
        formats::worldMatrices(gltf, formats::sampleAnimation(gltf, 0, time));
    for (std::size_t i = 0; i < world.size(); ++i)
        if (gltf.nodes[i].name == name)
            return formats::worldPose(world[i]);
    ADD_FAILURE() << "no node " << name;
    return {};
}

double nodeDistance(const formats::Gltf& a, const formats::Gltf& b, const std::string& name, double time)
{
    const auto p = nodeAt(a, name, time).position, q = nodeAt(b, name, time).position;
    return std::hypot(p[0] - q[0], p[1] - q[1], p[2] - q[2]);
}

constexpr std::size_t kCraneFrames = 20;

/// Three joints that turn, none of which rests straight, below a node that stands them up, mirrors them,
/// doubles their size and moves.
formats::SmallGltf crane()
{
    formats::SmallGltf small;
    const double half = std::sqrt(0.5);
    small.json["nodes"] = {
        {{"name", "Z_UP"}, {"rotation", {-half, 0, 0, half}}, {"scale", {-2, 2, 2}}, {"children", {1}}},
        {{"name", "base"}, {"rotation", {0, 0.6, 0, 0.8}}, {"scale", {1.5, 1.5, 1.5}}, {"children", {2}}},
        {{"name", "boom"}, {"rotation", {0, 0, half, half}}, {"translation", {0, 0, 1}}, {"children", {3}}},
        {{"name", "tip"}, {"rotation", {0.28, 0, 0, 0.96}}, {"translation", {1, 0, 0}}, {"children", {4}}},
        {{"name", "hook"}, {"rotation", {0, 1, 0, 0}}, {"translation", {0, 1, 0}}}};
    small.json["scenes"] = {{{"nodes", {0}}}};
    small.json["skins"] = {{{"joints", {1, 2, 3, 4}}}};
    std::vector<float> times, moves;
    for (std::size_t i = 0; i < kCraneFrames; ++i) {
        const auto time = 0.5f + static_cast<float>(i) / 24;
        times.push_back(time);
        moves.insert(moves.end(), {time, 0.3f * time, 1 - time});
    }
    const std::size_t input = small.floats(times);
    small.json["accessors"].back()["min"] = {times.front()};
    small.json["accessors"].back()["max"] = {times.back()};
    formats::TestJson animation = {{"name", "swing"}};
    const auto channel = [&](int node, const char* path, std::size_t output) {
        animation["samplers"].push_back({{"input", input}, {"output", output}});
        animation["channels"].push_back(
            {{"sampler", animation["samplers"].size() - 1}, {"target", {{"node", node}, {"path", path}}}});
    };
    channel(0, "translation", small.floats(moves, "VEC3"));
    for (const int node : {1, 2, 3}) {
        std::vector<float> turns;
        for (const float time : times) {
            const float angle = 0.5f * std::sin(3 * time + static_cast<float>(node));
            const float x = std::sin(angle) * 0.6f, y = std::sin(angle) * 0.8f;
            turns.insert(turns.end(), {node == 2 ? 0 : x, y, node == 2 ? x : 0, std::cos(angle)});
        }
        channel(node, "rotation", small.floats(turns, "VEC4"));
    }
    small.json["animations"] = {animation};
    return small;
}

} // namespace

TEST(Track, ReachesHandsFeetAndHeadAndReportsWhatTheFileHolds)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(40));
    const ProgramResult result = sinew(
        {"track", "walk.bvh", "-o", "out.bvh", "--report", "out.html", "--json", "--max-mean-error", "0.5%"});
    ASSERT_EQ(result.code, 0) << result.err;
    const formats::BvhMotion source = sinew.motion("walk.bvh"), solved = sinew.motion("out.bvh");
    ASSERT_EQ(solved.frameCount, 40u);
    EXPECT_EQ(solved.frameTimeText, source.frameTimeText);
    ASSERT_EQ(solved.joints.size(), source.joints.size());
    for (std::size_t i = 0; i < source.joints.size(); ++i) {
        EXPECT_EQ(solved.joints[i].name, source.joints[i].name);
        EXPECT_EQ(solved.joints[i].channels, source.joints[i].channels);
        EXPECT_EQ(solved.joints[i].offset, source.joints[i].offset);
    }
    // The report must say what a reader of the written file finds.
    double sum = 0, worst = 0;
    for (std::size_t frame = 0; frame < 40; ++frame)
        for (const char* goal : kGoals) {
            const double distance = jointDistance(source, frame, solved, frame, goal);
            sum += distance;
            worst = std::max(worst, distance);
        }
    const app::Json report = result.json();
    EXPECT_NEAR(report["residual"]["mean"].get<double>(), sum / 200, 1e-4);
    EXPECT_NEAR(report["residual"]["worst"].get<double>(), worst, 1e-4);
    EXPECT_LT(worst, 0.02 * 16);
    EXPECT_LT(sum / 200, 0.005 * 16);
    EXPECT_EQ(report["goals"].size(), 5u);
    EXPECT_EQ(report["goals"][1]["role"], "left hand");
    EXPECT_EQ(report["diverged"]["count"], 0);
    EXPECT_EQ(report["frames"]["count"], 40);
    EXPECT_EQ(report["met"], true);
    EXPECT_GT(report["joint_step"]["source"]["degrees"].get<double>(), 0);
    EXPECT_GT(report["time"]["frames_per_second"].get<double>(), 0);
    EXPECT_EQ(sinew.read("out.html").find("http"), std::string::npos);
    EXPECT_EQ(sinew.fileCount(), 3u); // nothing temporary is left
}

TEST(Track, MissedThresholdEndsWithOneAndStillWrites)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(10));
    const ProgramResult result =
        sinew({"track", "walk.bvh", "-o", "out.bvh", "--steps", "2", "--max-mean-error", "0.001%"});
    EXPECT_EQ(result.code, 1);
    EXPECT_NE(result.out.find("missed"), std::string::npos) << result.out;
    EXPECT_EQ(sinew.motion("out.bvh").frameCount, 10u);
}

TEST(Track, FramesCutTheMotion)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(30));
    const formats::BvhMotion source = sinew.motion("walk.bvh");
    const ProgramResult result = sinew({"track", "walk.bvh", "-o", "out.bvh", "--frames", "10:19", "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    const formats::BvhMotion solved = sinew.motion("out.bvh");
    ASSERT_EQ(solved.frameCount, 10u);
    EXPECT_LT(jointDistance(source, 15, solved, 5, "LeftHand"), 0.1);
    EXPECT_GT(jointDistance(source, 5, solved, 5, "LeftHand"), 0.5);
    const std::size_t worst = result.json()["residual"]["worst_frame"].get<std::size_t>();
    EXPECT_TRUE(worst >= 10 && worst <= 19) << worst; // numbered as in the source
}

TEST(Track, OrientationGoalsTurnTheJoint)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(12));
    const ProgramResult result = sinew({"track", "walk.bvh", "-o", "out.bvh", "--goal", "LeftHand:both",
                                        "--goal", "Head:rot", "--json", "--steps", "5000"});
    ASSERT_EQ(result.code, 0) << result.err;
    const formats::BvhMotion source = sinew.motion("walk.bvh"), solved = sinew.motion("out.bvh");
    for (std::size_t i = 0; i < source.joints.size(); ++i) {
        const std::string& name = source.joints[i].name;
        const double degrees =
            degreesBetween(worldAt(source, 11)[i].rotation, worldAt(solved, 11)[i].rotation);
        EXPECT_TRUE(degrees < 3 || (name != "LeftHand" && name != "Head"))
            << name << " is " << degrees << " off";
    }
    EXPECT_LT(jointDistance(source, 11, solved, 11, "LeftHand"), 0.2);
    const app::Json report = result.json();
    EXPECT_TRUE(report["goals"][1]["residual"].is_null());
    EXPECT_LT(report["goals"][1]["degrees"]["mean"].get<double>(), 5);
}

TEST(Track, FixedRootStaysAndFromRestForgetsTheFrameBefore)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(12));
    const formats::BvhMotion source = sinew.motion("walk.bvh");
    ASSERT_EQ(sinew({"track", "walk.bvh", "-o", "fixed.bvh", "--fixed-root"}).code, 0);
    const formats::BvhMotion fixed = sinew.motion("fixed.bvh");
    EXPECT_LT(jointDistance(source, 0, fixed, 11, "Hips"), 1e-4);
    EXPECT_GT(jointDistance(source, 11, fixed, 11, "Hips"), 0.1);

    // From rest a pose depends on its own frame alone, so the last one comes out alike after any frames
    // before it.
    const auto track = [&](const char* frames, bool fromRest) {
        std::vector<std::string> arguments = {"track",    "still.bvh", "-o",      "out.bvh",
                                              "--frames", frames,      "--steps", "20"};
        if (fromRest)
            arguments.emplace_back("--from-rest");
        EXPECT_EQ(sinew(arguments).code, 0);
        return sinew.motion("out.bvh");
    };
    // The root starts where it is in the first frame of the range: here it is the same place in all of them.
    formats::BvhMotion still = source;
    for (std::size_t frame = 0; frame < still.frameCount; ++frame)
        std::fill_n(still.values.begin() + static_cast<std::ptrdiff_t>(frame * still.channelCount), 3, 8.0);
    sinew.write("still.bvh", std::get<std::string>(formats::writeBvh(still)));
    const formats::BvhMotion all = track("2:6", true), alone = track("6:6", true), warm = track("2:6", false);
    EXPECT_LT(jointDistance(all, 4, alone, 0, "LeftElbow"), 1e-4);
    EXPECT_GT(jointDistance(all, 4, warm, 4, "LeftElbow"), 1e-2);
}

TEST(Track, SaysInWhichFramesTheSolveDiverged)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(10));
    const ProgramResult result =
        sinew({"track", "walk.bvh", "-o", "out.bvh", "--pull", "100", "--json", "--report", "r.html"});
    ASSERT_EQ(result.code, 0) << result.err;
    const app::Json report = result.json();
    EXPECT_GT(report["diverged"]["count"].get<int>(), 0);
    EXPECT_FALSE(report["diverged"]["ranges"].empty());
    EXPECT_NE(result.err.find("diverged"), std::string::npos);
    // Whatever the solver gave, the file can be read and holds the figure somewhere near.
    EXPECT_LT(jointDistance(sinew.motion("walk.bvh"), 9, sinew.motion("out.bvh"), 9, "Hips"), 1001 * 16);
}

TEST(Track, SolvesOnlyWhatTheFileCanSay)
{
    // A knee that bends about one axis, a wrist that can't turn, a root that can't move.
    std::string text = walkingFigure(1);
    text = text.substr(0, text.find("MOTION"));
    const std::size_t hip = text.find("CHANNELS 3", text.find("JOINT LeftHip"));
    text.replace(hip, std::string("CHANNELS 3 Zrotation Xrotation Yrotation").size(), "CHANNELS 1 Xrotation");
    text = replaced(text, "CHANNELS 6 Xposition Yposition Zposition", "CHANNELS 3");
    text += "MOTION\nFrames: 3\nFrame Time: 0.1\n";
    for (int frame = 0; frame < 3; ++frame) {
        for (int i = 0; i < 37; ++i)
            text += std::to_string(5 * std::sin(frame + i)) + " ";
        text += "\n";
    }
    const ProgramRun sinew;
    sinew.write("stiff.bvh", text);
    const ProgramResult result = sinew({"track", "stiff.bvh", "-o", "out.bvh", "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    const formats::BvhMotion source = sinew.motion("stiff.bvh"), solved = sinew.motion("out.bvh");
    for (const char* goal : kGoals)
        EXPECT_LT(jointDistance(source, 2, solved, 2, goal), 0.1) << goal;
    EXPECT_TRUE(anyContains(result.json()["warnings"], "no position channels"));
    EXPECT_FALSE(anyContains(result.json()["warnings"], "too few rotation channels"));
}

TEST(Track, WarnsOfBonesThatStretchInTheSource)
{
    const ProgramRun sinew;
    std::string text = walkingFigure(1);
    text = text.substr(0, text.find("MOTION"));
    const std::size_t elbow = text.find("CHANNELS 3", text.find("JOINT LeftElbow"));
    text.replace(elbow, 10, "CHANNELS 6 Xposition Yposition Zposition");
    text += "MOTION\nFrames: 2\nFrame Time: 0.1\n";
    for (const double stretch : {3.0, 4.0}) {
        std::string row;
        for (int i = 0; i < 45; ++i)
            row += i == 15 ? std::to_string(stretch) + " " : "0 "; // the elbow's x
        text += row + "\n";
    }
    sinew.write("stretch.bvh", text);
    const ProgramResult result = sinew({"track", "stretch.bvh", "-o", "out.bvh", "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_TRUE(anyContains(result.json()["warnings"], "'LeftElbow' moves up to 1 units")) << result.err;
    EXPECT_NEAR(formats::localPose(sinew.motion("out.bvh"), 1)[6].translation[0], 3, 1e-4);
}

TEST(Track, FiguresWithoutGoalKeepTheirMotion)
{
    const ProgramRun sinew;
    const std::string prop =
        "ROOT Ball\n{\nOFFSET 0 0 0\nCHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation "
        "Yrotation\nEnd Site\n{\nOFFSET 0 1 0\n}\n}\nMOTION\n";
    std::string text = replaced(walkingFigure(0), "Frames: 0", "Frames: 2");
    text = replaced(text, "MOTION\n", prop);
    const std::string walk = walkingFigure(2);
    std::string rows = walk.substr(walk.find("Frame Time"));
    rows = rows.substr(rows.find('\n') + 1);
    for (std::size_t at = rows.find('\n'); at != std::string::npos; at = rows.find('\n', at + 20))
        rows.insert(at, " 1 2 3 200 0 370");
    sinew.write("two.bvh", text + rows);
    const ProgramResult result = sinew({"track", "two.bvh", "-o", "out.bvh", "--goal", "Head", "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    const formats::BvhMotion solved = sinew.motion("out.bvh");
    const std::vector<double> kept(solved.values.end() - 6, solved.values.end());
    EXPECT_EQ(kept, (std::vector<double>{1, 2, 3, 200, 0, 370}));
    EXPECT_TRUE(anyContains(result.json()["warnings"], "'Ball' has no goal"));
    // By default the ball is followed as well.
    EXPECT_EQ(sinew({"track", "two.bvh", "-o", "out.bvh", "--json"}).json()["goals"].size(), 6u);
}

TEST(Track, SolvesGltfInTheWorldWhateverStandsAboveTheSkeleton)
{
    const ProgramRun sinew;
    sinew.write("crane.glb", crane().glb());
    const ProgramResult result = sinew({"track", "crane.glb", "-o", "out.glb", "--json", "--steps", "5000",
                                        "--goal", "tip:both", "--goal", "boom", "--goal", "hook"});
    ASSERT_EQ(result.code, 0) << result.err;
    const formats::Gltf source = formats::mustReadGltf(formats::readGltf(sinew.read("crane.glb"))),
                        solved = formats::mustReadGltf(formats::readGltf(sinew.read("out.glb")));
    ASSERT_EQ(solved.animations.size(), 1u);
    EXPECT_EQ(solved.animations[0].name, "swing");
    double sum = 0;
    for (std::size_t i = 0; i < kCraneFrames; ++i) {
        SCOPED_TRACE(i);
        const double time = 0.5 + static_cast<double>(i) / 24;
        for (const char* goal : {"boom", "tip", "hook"}) {
            const double distance = nodeDistance(source, solved, goal, time);
            EXPECT_LT(distance, 0.03) << goal; // of an arm of 9
            sum += distance / (3.0 * kCraneFrames);
        }
        EXPECT_LT(nodeDistance(source, solved, "Z_UP", time), 1e-6);
        EXPECT_LT(degreesBetween(nodeAt(source, "tip", time).rotation, nodeAt(solved, "tip", time).rotation),
                  1.5);
    }
    const app::Json report = result.json();
    EXPECT_NEAR(report["residual"]["mean"].get<double>(), sum, 1e-5);
    EXPECT_EQ(report["frames"]["count"], kCraneFrames);
    EXPECT_NEAR(report["frames"]["frame_time"].get<double>(), 1.0 / 24, 1e-6);
    // The skeleton's scale and mirroring are odd enough to be told, but cost the motion nothing.
    EXPECT_FALSE(anyContains(report["warnings"], "moves up to")) << report["warnings"];
    EXPECT_FALSE(anyContains(report["warnings"], "differs by")) << report["warnings"];

    ASSERT_EQ(sinew({"track", "crane.glb", "-o", "cut.glb", "--rate", "12", "--frames", "2:5"}).code, 0);
    const formats::Gltf cut = formats::mustReadGltf(formats::readGltf(sinew.read("cut.glb")));
    for (const formats::GltfTrack& track : cut.animations[0].tracks)
        if (track.node == 1) {
            ASSERT_EQ(track.times.size(), 4u);
            EXPECT_NEAR(track.times[0], 0.5 + 2.0 / 12, 1e-6); // where the source has it
        }
}

TEST(Track, FollowsHandsFeetAndHeadOfAGltfCharacter)
{
    const std::filesystem::path file = support::dataFolder() / "gltf" / "CesiumMan.glb";
    if (!std::filesystem::exists(file))
        GTEST_SKIP() << "no sample file " << file << "; set SINEW_DATA to the folder that has it";
    const ProgramRun sinew;
    const ProgramResult result =
        sinew({"track", file.string(), "-o", "out.glb", "--json", "--max-mean-error", "0.2%"});
    ASSERT_EQ(result.code, 0) << result.err << result.out;
    const formats::Gltf source = formats::mustReadGltf(formats::readGltfFile(file.string())),
                        solved = formats::mustReadGltf(formats::readGltf(sinew.read("out.glb")));
    const app::Json report = result.json();
    EXPECT_EQ(report["frames"]["count"], 48);
    ASSERT_EQ(report["goals"].size(), 5u);
    double sum = 0;
    for (const app::Json& goal : report["goals"])
        for (std::size_t i = 0; i < 48; ++i)
            sum += nodeDistance(source, solved, goal["joint"],
                                source.animations[0].start + static_cast<double>(i) / 24);
    EXPECT_NEAR(report["residual"]["mean"].get<double>(), sum / (5 * 48), 1e-5);
    EXPECT_EQ(solved.meshes.size(), source.meshes.size());
    EXPECT_EQ(solved.nodes.size(), source.nodes.size());
}

TEST(Track, SaysWhatItCannotDoWithAGltfFile)
{
    const ProgramRun sinew;
    formats::SmallGltf still = crane();
    sinew.write("crane.glb", still.glb());
    still.json.erase("animations");
    sinew.write("still.glb", still.glb());
    sinew.write("walk.bvh", walkingFigure(3));
    const std::vector<std::pair<std::vector<std::string>, std::string>> calls = {
        {{"crane.glb", "-o", "out.gltf"}, ".bvh, .glb, .vrm or .vrma"},
        {{"crane.glb", "-o", "out.vrm"}, "a .vrm is an avatar"},
        {{"walk.bvh", "-o", "out.bvh", "--append"}, "--append adds an animation to a glTF file"},
        {{"walk.bvh", "-o", "out.bvh", "--rate", "30"}, "leave them out"},
        {{"still.glb", "-o", "out.glb"}, "no animation"},
        {{"none.glb", "-o", "out.glb"}, "none.glb"},
        {{"crane.glb", "-o", "out.glb", "--up", "z"}, "leave --unit, --up"},
        {{"crane.glb", "-o", "out.glb", "--rate", "0"},
         "--rate: '0' won't do; give a number from 0.01 to 1000"},
        {{"crane.glb", "-o", "out.glb", "--animation", "run"}, "--animation run: the file has 1 animation"},
        {{"crane.glb", "-o", "out.glb", "--goal", "Hook"}, "'hook'"},
        {{"crane.glb", "-o", "out.glb", "--frames", "0:20"}, "--frames"},
    };
    for (const auto& [arguments, part] : calls) {
        std::vector<std::string> all = {"track"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const ProgramResult result = sinew(all);
        EXPECT_EQ(result.code, 2) << part << result.err;
        EXPECT_NE(result.err.find(part), std::string::npos) << part << " is not in: " << result.err;
    }
    EXPECT_EQ(sinew.fileCount(), 3u);
}
