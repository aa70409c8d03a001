// SPDX-License-Identifier: MIT
// Files of ours and of seven exporters against world transforms from an independent reader, and their round
// trip.
#include "BvhTesting.h"
#include "SampleFiles.h"

namespace formats {
namespace {

BvhMotion read(const Sample& sample, OffsetRule rule = OffsetRule::Guess)
{
    BvhReadResult result = readBvhFile(sample.path, {rule});
    if (const auto* error = std::get_if<BvhError>(&result))
        ADD_FAILURE() << sample.path << ":" << error->line << ": " << error->reason;
    return std::holds_alternative<BvhMotion>(result) ? std::get<BvhMotion>(std::move(result)) : BvhMotion{};
}

void expectFrames(const Sample& sample, const BvhMotion& motion, const TestJson& frames)
{
    for (const TestJson& frame : frames) {
        const std::vector<WorldPose> world = worldAt(motion, frame["frame"].get<std::size_t>());
        ASSERT_EQ(world.size(), frame["position"].size());
        for (std::size_t i = 0; i < world.size(); ++i) {
            // The expected quaternions have seven digits and either sign.
            double cosine = 0;
            const bool rotations =
                frame.contains("rotation_xyzw"); // the rule does not touch them: given once
            for (std::size_t c = 0; c < 4 && rotations; ++c)
                cosine += world[i].rotation[c] * frame["rotation_xyzw"][i][c].get<double>();
            for (std::size_t c = 0; c < 4 && rotations; ++c)
                EXPECT_NEAR(world[i].rotation[c] * (cosine < 0 ? -1 : 1),
                            frame["rotation_xyzw"][i][c].get<double>(), 2e-7)
                    << "rotation of joint " << i << ", frame " << frame["frame"];
            for (std::size_t a = 0; a < 3; ++a)
                EXPECT_NEAR(world[i].position[a], frame["position"][i][a].get<double>(), 1e-4 * sample.height)
                    << "position of joint " << i << ", frame " << frame["frame"];
        }
    }
}

TEST(SampleFiles, ofOthersAreThere)
{
    if (!std::filesystem::exists(support::dataFolder() / "expected"))
        GTEST_SKIP() << "no sample files in " << support::dataFolder()
                     << ": only ours were read; set SINEW_DATA to the folder that has them";
}

TEST(BvhSampleFiles, hierarchyAndTimesAreAsExpected)
{
    for (const Sample& sample : bvhSamples()) {
        SCOPED_TRACE(sample.path);
        const BvhMotion motion = read(sample);
        EXPECT_EQ(motion.frameTimeText, sample.expected["frame_time_text"].get<std::string>());
        EXPECT_DOUBLE_EQ(motion.frameTime, sample.expected["frame_time"].get<double>());
        EXPECT_EQ(motion.frameCount, sample.expected["frames_used"].get<std::size_t>());
        EXPECT_EQ(motion.channelCount, sample.expected["channels"].get<std::size_t>());
        ASSERT_EQ(motion.joints.size(), sample.expected["joints"].size());
        for (std::size_t i = 0; i < motion.joints.size(); ++i) {
            const BvhJoint& joint = motion.joints[i];
            const TestJson& expected = sample.expected["joints"][i];
            EXPECT_EQ(joint.endSite, expected["end_site"].get<bool>());
            EXPECT_EQ(joint.name, expected["name"].is_null() ? "" : expected["name"].get<std::string>());
            EXPECT_EQ(joint.parent, expected["parent"].get<int>());
            EXPECT_EQ(TestJson(joint.offset), expected["offset"]);
            TestJson channels = TestJson::array();
            for (const BvhChannel channel : joint.channels) {
                const auto n = static_cast<std::size_t>(channel);
                channels.push_back(std::string(1, "XYZ"[n % 3]) + (n < 3 ? "position" : "rotation"));
            }
            EXPECT_EQ(channels, expected["channels"]);
        }
        const std::vector<WorldPose> rest = worldPose(motion, restPose(motion));
        for (std::size_t i = 0; i < rest.size(); ++i) {
            for (std::size_t a = 0; a < 3; ++a)
                EXPECT_NEAR(rest[i].position[a], sample.expected["rest_position"][i][a].get<double>(),
                            1e-4 * sample.height);
        }
    }
}

TEST(BvhSampleFiles, framesAgreeUnderBothOffsetRulesAndTheGuessTakesTheIntendedOne)
{
    for (const Sample& sample : bvhSamples()) {
        SCOPED_TRACE(sample.path);
        const TestJson& expected = sample.expected;
        expectFrames(sample, read(sample, OffsetRule::Replace), expected["frames"]);
        const bool matters = expected["position_channels_matter"].get<bool>();
        expectFrames(sample, read(sample, OffsetRule::Add),
                     matters ? expected["frames_add"] : expected["frames"]);
        const BvhMotion guessed = read(sample);
        expectFrames(sample, guessed, expected[expected["intended"] == "replace" ? "frames" : "frames_add"]);
        EXPECT_EQ(guessed.warnings.size(), matters ? 1u : 0u)
            << "what was taken is said exactly where it matters";
    }
}

TEST(BvhSampleFiles, writingKeepsTextsAndPoses)
{
    for (const Sample& sample : bvhSamples()) {
        SCOPED_TRACE(sample.path);
        const BvhMotion motion = read(sample, OffsetRule::Replace);
        const std::string text = mustWrite(motion);
        const BvhMotion again = mustRead(text, OffsetRule::Replace);
        EXPECT_EQ(mustWrite(again), text);
        EXPECT_EQ(again.frameTimeText, motion.frameTimeText);
        ASSERT_EQ(again.joints.size(), motion.joints.size());
        ASSERT_EQ(again.frameCount, motion.frameCount);
        for (std::size_t i = 0; i < motion.joints.size(); ++i) {
            EXPECT_EQ(again.joints[i].name, motion.joints[i].name);
            EXPECT_EQ(again.joints[i].parent, motion.joints[i].parent);
            EXPECT_EQ(again.joints[i].endSite, motion.joints[i].endSite);
            EXPECT_EQ(again.joints[i].channels, motion.joints[i].channels);
            EXPECT_EQ(again.joints[i].offsetText, motion.joints[i].offsetText);
        }
        for (std::size_t frame = 0; frame < motion.frameCount; frame += 7)
            EXPECT_LT(largestGap(worldAt(again, frame), worldAt(motion, frame)), 1e-6 * sample.height)
                << frame;
    }
}

TEST(BvhSampleFiles, settingEveryPoseOfARealMotionGivesItBackWithoutJumps)
{
    for (const Sample& sample : bvhSamples()) {
        SCOPED_TRACE(sample.path);
        const BvhMotion motion = read(sample);
        BvhMotion rewritten = motion;
        for (std::size_t frame = 0; frame < motion.frameCount; ++frame) {
            EXPECT_TRUE(setLocalPose(rewritten, frame, localPose(motion, frame)).empty());
            EXPECT_LT(largestGap(worldAt(rewritten, frame), worldAt(motion, frame)), 1e-6 * sample.height)
                << frame;
        }
        double largestStep = 0;
        for (const BvhJoint& joint : motion.joints) {
            for (std::size_t c = 0; c < joint.channels.size(); ++c) {
                const std::size_t column = joint.firstChannel + c;
                for (std::size_t frame = 1;
                     frame < motion.frameCount && joint.channels[c] >= BvhChannel::RotationX; ++frame)
                    largestStep =
                        std::max(largestStep,
                                 std::abs(rewritten.values[frame * motion.channelCount + column]
                                          - rewritten.values[(frame - 1) * motion.channelCount + column]));
            }
        }
        EXPECT_LE(largestStep, 180 + 1e-9);
    }
}

TEST(BvhSampleFiles, unitAndUpAxisAreGuessedWhereTheFigureIsAPerson)
{
    struct Row {
        const char* file;
        int upAxis;
        const char* unit;
    };
    const Row rows[] = {{"cmu_01_01.bvh", 1, "6.8 cm units"},
                        {"pybvh_test1.bvh", 2, "inches"},
                        {"bvhtoolbox_walk01.bvh", 1, "centimetres"},
                        {"makehuman_walk1.bvh", 2, "decimetres"},
                        {"animdraw_dab.bvh", 2, nullptr},
                        {"fairmotion_sinusoidal.bvh", 1, nullptr},
                        {"Walker.bvh", 1, "centimetres"}};
    const std::vector<Sample> all = bvhSamples();
    for (const Row& row : rows) {
        for (const Sample& sample : all) {
            if (!sample.path.ends_with(row.file))
                continue;
            const FigureGuess guess = guessFigure(read(sample));
            EXPECT_EQ(guess.upAxis, row.upAxis) << row.file << ": " << guess.why;
            EXPECT_EQ(guess.upSign, 1) << row.file;
            EXPECT_EQ(guess.confident, row.unit != nullptr) << row.file << ": " << guess.why;
            if (row.unit != nullptr) {
                EXPECT_EQ(guess.unit, row.unit) << row.file << ": " << guess.why;
            }
        }
    }
}

} // namespace
} // namespace formats
