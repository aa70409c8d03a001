// SPDX-License-Identifier: MIT
// Motion files become locators that stand where the file says, and go back into the file.
#include "FileTesting.h"
#include "formats/Bvh.h"
#include "refhost/Evaluation.h"
#include "refhost/MotionImport.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <set>
#include <sstream>

namespace refhost {
namespace {

namespace fs = std::filesystem;

fs::path dataFolder()
{
    const char* chosen = std::getenv("SINEW_DATA");
    return chosen != nullptr ? chosen : SINEW_DATA_DIR;
}

/// Two roots, every rotation order, joints with fewer channels, one that adds to its OFFSET, angles past half
/// a turn.
constexpr const char* kFigure =
    "HIERARCHY\n"
    "ROOT Hips\n{\n OFFSET 1 2 3\n"
    " CHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation Yrotation\n"
    " JOINT Spine\n {\n  OFFSET 0 10 0\n  CHANNELS 3 Yrotation Zrotation Xrotation\n"
    "  JOINT Neck\n  {\n   OFFSET 0.5 5 0\n   CHANNELS 3 Xrotation Yrotation Zrotation\n"
    "   JOINT Head\n   {\n    OFFSET 0 4 1\n    CHANNELS 2 Zrotation Yrotation\n"
    "    End Site\n    {\n     OFFSET 0 3 0\n    }\n   }\n  }\n"
    "  JOINT Arm\n  {\n   OFFSET 3 4 0\n   CHANNELS 3 Yrotation Xrotation Zrotation\n"
    "   JOINT Hand\n   {\n    OFFSET 6 0 0\n    CHANNELS 4 Yposition Xrotation Zrotation "
    "Yrotation\n"
    "    End Site\n    {\n     OFFSET 1 0 0\n    }\n   }\n  }\n }\n}\n"
    "ROOT Prop\n{\n OFFSET 0 0 9\n CHANNELS 3 Zrotation Yrotation Xrotation\n"
    " End Site\n {\n  OFFSET 1 1 1\n }\n}\n"
    "MOTION\nFrames: 3\nFrame Time: 0.025\n"
    "1 2 3 10 20 30  40 50 60  -10 -20 -30  170 15  35 -65 75  0.5 5 6 7  8 9 10\n"
    "2 3 4 11 21 31  80 51 61  -11 -21 -31  -170 25  36 -66 76  0.6 6 7 8  9 10 11\n"
    "3 4 5 12 22 32  120 52 62  -12 -22 -32  -160 35  37 -67 77  0.7 7 8 9  10 11 12\n";

struct Source {
    std::string name, text;
};

std::vector<Source> sampleFiles()
{
    std::vector<Source> found;
    std::error_code none;
    for (const fs::directory_entry& entry : fs::directory_iterator(dataFolder() / "bvh", none)) {
        if (entry.path().extension() != ".bvh")
            continue;
        std::ostringstream text;
        text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
        found.push_back({entry.path().filename().string(), text.str()});
    }
    std::sort(found.begin(), found.end(), [](const Source& a, const Source& b) { return a.name < b.name; });
    return found;
}

formats::BvhMotion readMotion(const std::string& text, OffsetReading offsets = OffsetReading::Guess)
{
    constexpr formats::OffsetRule kRules[] = {formats::OffsetRule::Guess, formats::OffsetRule::Replace,
                                              formats::OffsetRule::Add};
    formats::BvhReadResult result = formats::readBvh(text, {kRules[static_cast<int>(offsets)]});
    if (const auto* error = std::get_if<formats::BvhError>(&result))
        ADD_FAILURE() << error->line << ": " << error->reason;
    return std::holds_alternative<formats::BvhMotion>(result)
        ? std::get<formats::BvhMotion>(std::move(result))
        : formats::BvhMotion{};
}

MotionImport import(Scene& scene, const std::string& text, const MotionImportOptions& options = {})
{
    must(scene.journal().begin("import"));
    const ResultOf<MotionImport> done = importMotionText(scene, text, "a.bvh", options);
    EXPECT_TRUE(done.ok()) << done.message;
    must(scene.journal().commit());
    return done.value;
}

const MotionSource& sourceOf(const Item& root)
{
    return dynamic_cast<const MotionSource&>(*root.data().find(kMotionSourceKind));
}

/// World positions of all joints from the evaluated matrices.
void expectPositions(Scene& scene, const MotionSource& source, const formats::BvhMotion& motion,
                     std::size_t frame)
{
    const std::vector<formats::WorldPose> wanted =
        formats::worldPose(motion, formats::localPose(motion, frame));
    double size = 1e-3;
    for (const formats::WorldPose& pose : wanted) {
        for (const double x : pose.position)
            size = std::max(size, std::abs(x));
    }
    ASSERT_EQ(source.items.size(), wanted.size());
    const double time = static_cast<double>(frame) * motion.frameTime;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        Matrix34 world;
        Channel& channel = *scene.find(source.items[i])->channel("worldMatrix");
        ASSERT_TRUE(Evaluation::of(scene).matrix(channel, time, world));
        for (std::size_t a = 0; a < 3; ++a)
            EXPECT_NEAR(world.offset[a], wanted[i].position[a], 1e-9 * size)
                << motion.joints[i].name << ", frame " << frame;
    }
}

void expectSameMotion(const formats::BvhMotion& a, const formats::BvhMotion& b)
{
    ASSERT_EQ(a.joints.size(), b.joints.size());
    ASSERT_EQ(a.frameCount, b.frameCount);
    EXPECT_EQ(a.frameTimeText, b.frameTimeText);
    const double height = std::max(1.0, formats::guessFigure(a).height);
    for (std::size_t frame = 0; frame < a.frameCount; ++frame) {
        const auto left = formats::worldPose(a, formats::localPose(a, frame));
        const auto right = formats::worldPose(b, formats::localPose(b, frame));
        for (std::size_t i = 0; i < left.size(); ++i) {
            for (std::size_t axis = 0; axis < 3; ++axis)
                ASSERT_NEAR(left[i].position[axis], right[i].position[axis], 2e-6 * height)
                    << a.joints[i].name << ", frame " << frame;
        }
    }
}

TEST(MotionFile, JointsStandWhereTheFileSays)
{
    for (const OffsetReading offsets : {OffsetReading::Guess, OffsetReading::Replace, OffsetReading::Add}) {
        Host host;
        Scene& scene = host.newScene();
        const MotionImport done = import(scene, kFigure, {.offsets = offsets});
        const formats::BvhMotion motion = readMotion(kFigure, offsets);
        for (std::size_t frame = 0; frame < motion.frameCount; ++frame)
            expectPositions(scene, sourceOf(*done.roots[0]), motion, frame);
    }
}

TEST(MotionFile, TheHierarchyIsTheFilesOwn)
{
    Host host;
    Scene& scene = host.newScene();
    const MotionImport done = import(scene, kFigure);
    EXPECT_EQ(done.jointCount, 7u);
    EXPECT_EQ(done.endSiteCount, 3u);
    EXPECT_EQ(done.frameCount, 3u);
    EXPECT_EQ(scene.topItems(), done.roots);
    ASSERT_EQ(done.roots.size(), 2u);
    const Item& arm = *scene.findByUniqueName("Arm");
    EXPECT_EQ(arm.parent(), scene.findByUniqueName("Spine"));
    EXPECT_EQ(scene.findByUniqueName("Hand_end")->parent(), scene.findByUniqueName("Hand"));
    // The rest pose is in setup, and only there.
    EXPECT_EQ(arm.transformItem(TransformKind::Position)->channel("pos.X")->number(Layer::Setup, 0), 3);
    EXPECT_FALSE(arm.transformItem(TransformKind::Position)->channel("pos.X")->isKeyed(Layer::Anim));
    const KeyList& keys = arm.transformItem(TransformKind::Rotation)->channel("rot.Z")->keys(Layer::Anim);
    ASSERT_EQ(keys.count(), 3u);
    EXPECT_EQ(keys.keys()[1].interpolation, Interpolation::Linear);
    EXPECT_NEAR(keys.keys()[2].time, 0.05, 1e-15);
    // 170 and -170 degrees are 20 apart.
    const KeyList& head = scene.findByUniqueName("Head")
                              ->transformItem(TransformKind::Rotation)
                              ->channel("rot.Z")
                              ->keys(Layer::Anim);
    EXPECT_NEAR(head.keys()[1].number, 190 * std::numbers::pi / 180, 1e-14);
    // A second import gets names of its own; one undo takes it back.
    const std::string before = scene.digest();
    import(scene, kFigure, {.endSites = false});
    EXPECT_TRUE(scene.findByUniqueName("Arm_2"));
    EXPECT_FALSE(scene.findByUniqueName("Hand_end_2"));
    must(scene.journal().undo());
    EXPECT_EQ(scene.digest(), before);
}

TEST(MotionFile, SampleFilesComeInAndGoOutAgain)
{
    const std::vector<Source> files = sampleFiles();
    if (files.empty())
        GTEST_SKIP() << "no sample files in " << dataFolder()
                     << "; set SINEW_DATA to the folder that has them";
    for (const Source& file : files) {
        SCOPED_TRACE(file.name);
        Host host;
        Scene& scene = host.newScene();
        const MotionImport done = import(scene, file.text);
        const formats::BvhMotion motion = readMotion(file.text);
        for (const std::size_t frame : std::set<std::size_t>{0, motion.frameCount / 2, motion.frameCount - 1})
            expectPositions(scene, sourceOf(*done.roots[0]), motion, frame);
        std::string text;
        const MotionExport out = must(exportMotionText(scene, text));
        EXPECT_EQ(out.frameCount, motion.frameCount);
        EXPECT_EQ(out.lossCount, 0u) << out.worstLoss;
        EXPECT_EQ(out.missingJointCount, 0u);
        expectSameMotion(motion, readMotion(text));
        // The scene carries the file, so that it still goes out after a visit to disk.
        Scene& moved = host.addScene(mustRead(host, textOf(scene)));
        EXPECT_EQ(moved.digest(), scene.digest());
        std::string again;
        must(exportMotionText(moved, again).result());
        EXPECT_EQ(again, text);
    }
}

TEST(MotionFile, ExportFollowsEditsAndNamesWhatItCannotSay)
{
    Host host;
    Scene& scene = host.newScene();
    std::string text;
    EXPECT_NE(exportMotionText(scene, text).message.find("import one first"), std::string::npos);
    import(scene, kFigure);
    must(scene.journal().begin("edit"));
    Item& arm = *scene.findByUniqueName("Arm");
    must(scene.deleteItem(*scene.findByUniqueName("Hand")));
    must(scene.setKeys(*arm.transformItem(TransformKind::Rotation)->channel("rot.X"), Action::Anim,
                       {{0, 0.5}}));
    must(scene.journal().commit());
    MotionExport done = must(exportMotionText(scene, text));
    EXPECT_EQ(done.missingJointCount, 1u);
    EXPECT_EQ(done.lossCount, 0u) << done.worstLoss;
    const formats::BvhMotion motion = readMotion(text);
    const formats::BvhMotion original = readMotion(kFigure);
    for (std::size_t frame = 0; frame < 3; ++frame) {
        const double* row = motion.values.data() + frame * motion.channelCount;
        EXPECT_NEAR(row[15], 0.5 * 180 / std::numbers::pi, 1e-5) << "Xrotation of the arm";
        for (std::size_t c = 17; c < 21; ++c)
            EXPECT_NEAR(row[c], original.values[frame * original.channelCount + c], 1e-5)
                << "the hand as it was";
    }
    // The head has no X channel: what turns it that way is lost, and the worst is named.
    must(scene.journal().begin("edit"));
    Item& head = *scene.findByUniqueName("Head");
    must(scene.writeNumber(*head.transformItem(TransformKind::Rotation)->channel("rot.X"), Action::Anim, 0,
                           0.3, WriteMode::Plain));
    must(scene.journal().commit());
    done = must(exportMotionText(scene, text));
    EXPECT_EQ(done.lossCount, 3u);
    EXPECT_NE(done.worstLoss.find("'Head'"), std::string::npos) << done.worstLoss;
    // With two imports the root has to be said; any item of the hierarchy will do.
    const MotionImport second = import(scene, kFigure);
    EXPECT_NE(exportMotionText(scene, text).message.find("say which root"), std::string::npos);
    must(exportMotionText(scene, text, {.root = &arm}).result());
    must(exportMotionText(scene, text, {.root = second.roots[0]->children()[0]}).result());
    expectSameMotion(readMotion(text), original);
}

TEST(MotionFile, BadFilesAreRefusedAndLeaveTheSceneAlone)
{
    Host host;
    Scene& scene = host.newScene();
    const std::string before = scene.digest();
    const auto refusal = [&](const std::string& text) {
        must(scene.journal().begin("import"));
        const std::string message = importMotionText(scene, text, "a.bvh").message;
        must(scene.journal().commit());
        EXPECT_EQ(scene.digest(), before);
        return message;
    };
    EXPECT_EQ(refusal("HIERARCHY\nROOT A\n").find("line "), 0u);
    const auto spoilt = [](const std::string& from, const std::string& to) {
        std::string text = kFigure;
        return text.replace(text.find(from), from.size(), to);
    };
    EXPECT_NE(refusal(spoilt("Frame Time: 0.025", "Frame Time: 1e-9")).find("Frame Time"), std::string::npos);
    EXPECT_NE(refusal(spoilt("Frame Time: 0.025", "Frame Time: 1e12")).find("later than"), std::string::npos);
    EXPECT_NE(refusal(spoilt("2 3 4 11", "2 3 4e33 11")).find("'4e33' is larger"), std::string::npos);
    // So deep that only the end site is too much.
    std::string deep = "HIERARCHY\n";
    for (int level = 0; level < kMaximumImportLevels; ++level)
        deep +=
            (level == 0 ? "ROOT j" : "JOINT j") + std::to_string(level) + "\n{\nOFFSET 0 1 0\nCHANNELS 0\n";
    deep += "End Site\n{\nOFFSET 0 1 0\n}\n";
    for (int level = 0; level < kMaximumImportLevels; ++level)
        deep += "}\n";
    deep += "MOTION\nFrames: 0\nFrame Time: 0.1\n";
    EXPECT_NE(refusal(deep).find("1024 levels"), std::string::npos);
    Scene& other = host.newScene();
    EXPECT_EQ(import(other, deep, {.endSites = false}).jointCount, 1024u);
    EXPECT_TRUE(mustRead(host, textOf(other)));
    EXPECT_NE(importMotionText(scene, kFigure, "a.bvh").message.find("step"), std::string::npos)
        << "outside a step nothing is changed";
    EXPECT_EQ(importMotion(scene, "/none/at/all.bvh").message.find("step"), std::string::npos);
}

} // namespace
} // namespace refhost
