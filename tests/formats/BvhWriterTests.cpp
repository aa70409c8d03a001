// SPDX-License-Identifier: MIT
// What is written: texts kept, precision enough for the figure, hand-made motions, and files replaced safely.
#include "BvhTesting.h"

#include <csignal>
#include <filesystem>
#include <random>
#include <sys/resource.h>

namespace formats {
namespace {

namespace fs = std::filesystem;

TEST(BvhWriter, keepsTextsUntilTheirNumbersChange)
{
    BvhMotion motion = mustRead(changed("End Site", "End Site tip"));
    std::string text = mustWrite(motion);
    for (const char* kept : {"OFFSET 0 10.50 0\n", "Frame Time: 0.0400\n", "End Site tip\n",
                             "CHANNELS 3 Yrotation Zrotation Xrotation\n"})
        EXPECT_NE(text.find(kept), std::string::npos) << kept;
    motion.joints[1].offset[1] = 11;
    motion.frameTime = 0.05;
    text = mustWrite(motion);
    EXPECT_NE(text.find("OFFSET 0 11 0\n"), std::string::npos);
    EXPECT_NE(text.find("Frame Time: 0.05\n"), std::string::npos);
}

TEST(BvhWriter, posesComeBackWithinAMillionthOfTheHeightForFiguresOfAnySize)
{
    constexpr unsigned kSeed = 5;
    SCOPED_TRACE(kSeed);
    std::mt19937 random(kSeed);
    std::uniform_real_distribution<double> value(-1, 1);
    for (const double scale : {1e-4, 0.02, 1.0, 300.0, 1e6}) {
        for (const std::size_t jointCount : {3u, 40u, 400u}) {
            SCOPED_TRACE(::testing::Message() << jointCount << " joints of length " << scale);
            BvhMotion motion;
            for (std::size_t i = 0; i < jointCount; ++i) {
                BvhJoint joint;
                joint.name = std::to_string(i);
                joint.parent = static_cast<int>(i) - 1;
                joint.offset = {scale * 0.1, scale, 0};
                joint.channels = {BvhChannel::PositionX, BvhChannel::RotationY, BvhChannel::RotationX,
                                  BvhChannel::RotationZ};
                joint.firstChannel = 4 * i;
                joint.addsOffset = true;
                motion.joints.push_back(joint);
            }
            motion.channelCount = 4 * jointCount;
            motion.frameTime = 1.0 / 120;
            resizeFrames(motion, 5);
            for (std::size_t i = 0; i < motion.values.size(); ++i)
                motion.values[i] = i % 4 == 0 ? value(random) * scale : value(random) * 180;
            // In the first frame all errors of rounding to six decimals would point the same way.
            for (std::size_t i = 0; i < motion.channelCount; ++i)
                motion.values[i] = i % 4 == 0 ? 0 : 4.9e-7;
            const BvhMotion again = mustRead(mustWrite(motion), OffsetRule::Add);
            EXPECT_EQ(again.frameTime, motion.frameTime);
            for (std::size_t frame = 0; frame < 5; ++frame)
                EXPECT_LT(largestGap(worldAt(again, frame), worldAt(motion, frame)),
                          1e-6 * guessFigure(motion).height);
        }
    }
}

TEST(BvhWriter, handMadeMotionsAreWrittenSoThatTheyReadAgain)
{
    BvhMotion motion;
    const auto add = [&motion](const char* name, int parent, std::vector<BvhChannel> channels) {
        BvhJoint joint;
        joint.name = name;
        joint.parent = parent;
        joint.firstChannel = motion.channelCount;
        motion.channelCount += channels.size();
        joint.channels = std::move(channels);
        motion.joints.push_back(joint);
    };
    add("left arm{", -1, {BvhChannel::RotationX});
    add("first", 0, {BvhChannel::RotationY});
    add("second", 0, {BvhChannel::RotationZ});
    add("below first", 1, {BvhChannel::PositionX}); // not depth first: the file has it before "second"
    add("", 9, {BvhChannel::RotationX}); // no such parent
    motion.frameTime = 0.02;
    motion.frameCount = 3;
    motion.values = {1, 2, 3, 4, 5, -1e-9, 1e11, -0.5, NAN, 1.0000004}; // the third frame is not there
    const BvhMotion again = mustRead(mustWrite(motion));
    std::vector<std::string> names;
    for (const BvhJoint& joint : again.joints)
        names.push_back(joint.name);
    EXPECT_EQ(names, (std::vector<std::string>{"left_arm_", "first", "below_first", "second", "joint4"}));
    EXPECT_EQ(again.joints[4].parent, -1);
    ASSERT_EQ(again.frameCount, 2u);
    EXPECT_EQ(again.values, (std::vector<double>{1, 2, 4, 3, 5, 0, 1e11, 0, -0.5, 1}));
    EXPECT_EQ(mustRead(mustWrite(mustRead(chainOf(1024)))).joints.size(), 1024u) << "depth needs no stack";
}

/// Counts the entries of a folder, so that left-over temporary files show.
std::size_t entriesIn(const fs::path& folder)
{
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(FileWriting, replacesWholeFilesAndKeepsTheOldOneOnFailure)
{
    const fs::path folder = fs::path(::testing::TempDir()) / "sinew_formats_files";
    fs::remove_all(folder);
    fs::create_directory(folder);
    const std::string path = (folder / "walk.bvh").string();
    const auto content = [&path] { return std::get<std::string>(readWholeFile(path)); };

    EXPECT_EQ(writeFileAtomically(path, "old"), std::nullopt);
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    const fs::path link = folder / "link.bvh";
    fs::create_symlink("walk.bvh", link);
    EXPECT_EQ(writeFileAtomically(link.string(), "new"), std::nullopt);
    EXPECT_EQ(content(), "new");
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);

    // A file size limit stands for a full disk: writing fails midway.
    rlimit former{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &former), 0);
    const auto formerHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{4096, former.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::optional<std::string> error = writeFileAtomically(path, std::string(100000, 'x'));
    setrlimit(RLIMIT_FSIZE, &former);
    std::signal(SIGXFSZ, formerHandler);
    ASSERT_TRUE(error.has_value());
    EXPECT_NE(error->find(path + " cannot be written"), std::string::npos) << *error;
    EXPECT_EQ(content(), "new");
    EXPECT_EQ(entriesIn(folder), 2u);

    EXPECT_NE(writeFileAtomically((folder / "none" / "a.bvh").string(), "x").value_or("").find("no folder"),
              std::string::npos);
    EXPECT_NE(writeFileAtomically(folder.string(), "x").value_or("").find("folder"), std::string::npos);
    if (fs::exists("/dev/full")) {
        EXPECT_TRUE(writeFileAtomically("/dev/full", "x").has_value());
    }
    fs::remove_all(folder);
}

} // namespace
} // namespace formats
