// SPDX-License-Identifier: MIT
// `sinew track` from end to end on motions made here.
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

TEST(Track, FramesCutTheMotionAndOutputMayBeTheInput)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(30));
    const formats::BvhMotion source = sinew.motion("walk.bvh");
    const ProgramResult result =
        sinew({"track", "walk.bvh", "-o", "walk.bvh", "--frames", "10:19", "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    const formats::BvhMotion solved = sinew.motion("walk.bvh");
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
    sinew.write("still.bvh", formats::writeBvh(still));
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
