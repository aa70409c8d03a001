// SPDX-License-Identifier: MIT
// Files that cannot be read: each is refused with the line and the reason, and nothing ever crashes.
#include "BvhTesting.h"

#include <random>

namespace formats {
namespace {

struct Refusal {
    const char* what;
    std::string text;
    std::size_t line;
    const char* reason; // part of it
};

TEST(BvhRefusal, namesLineAndReason)
{
    const std::string motionless = kSmallFile.substr(0, kSmallFile.find("MOTION"));
    const Refusal refusals[] = {
        {"empty", "", 1, "empty"},
        {"blank", " \r\n\r\n", 1, "empty"},
        {"another format", "v 0 1 0\n", 1, "text that starts with 'v'; what is read is BVH"},
        {"UTF-16", std::string("\xFF\xFEH\0I\0", 6), 1, "UTF-16"},
        {"binary", replaced(kSmallFile, "Spine", std::string("Sp\0ne", 5)), 6, "zero byte"},
        {"garbage",
         "\x7F"
         "ELF\x02\x01\x01",
         1, "a program or library"},
        {"no root", "HIERARCHY\nMOTION\nFrames: 0\n", 2, "no ROOT"},
        {"unknown word", changed("OFFSET 0 6 1", "OFSET 0 6 1"), 12, "'OFSET' is unknown"},
        {"brace missing", changed("Spine\n\t{", "Spine\n"), 8, "a { is expected"},
        {"brace too many", changed("}\n\nMOTION", "}\n}\nMOTION"), 21, "without its {"},
        {"joint not closed", changed("}\n\nMOTION", "\n\nMOTION"), 22, "joint 'Hips' on line 2"},
        {"joint below End Site", changed("OFFSET 0 3 0", "JOINT x { OFFSET 0 3 0 }"), 16, "End Site cannot"},
        {"offset of two", changed("OFFSET 0 6 1", "OFFSET 0 6"), 13, "three numbers"},
        {"offset twice", changed("OFFSET 0 6 1", "OFFSET 0 6 1 OFFSET 0 6 1"), 12, "second OFFSET"},
        {"channels twice", changed("OFFSET 0 6 1", "OFFSET 0 6 1 CHANNELS 0"), 13, "second CHANNELS"},
        {"channels behind child",
         changed("\t}\n}", "\t}\n\tJOINT b { OFFSET 0 0 0 End Site {} CHANNELS 1 Xrotation }\n}"), 20,
         "behind a child"},
        {"channel count absurd", changed("CHANNELS 3", "CHANNELS 4000000000"), 9, "at most 6"},
        {"channel count negative", changed("CHANNELS 3", "CHANNELS -3"), 9, "'-3'"},
        {"channels fewer", changed("CHANNELS 3 Z", "CHANNELS 4 Z"), 10,
         "CHANNELS says 4, but after 3 comes 'JOINT'"},
        {"channels more", changed("CHANNELS 3 Z", "CHANNELS 2 Z"), 9, "more are listed"},
        {"channel unknown", changed("3 Zrotation", "3 Zscale"), 9, "'Zscale'"},
        {"channel twice",
         changed("Zrotation Xrotation Yrotation\n\t\tJ", "Zrotation Xrotation Zrotation\n\t\tJ"), 9, "twice"},
        {"cut in the hierarchy", kSmallFile.substr(0, kSmallFile.find("OFFSET 0 6")), 11,
         "in joint 'Head' opened on line 10"},
        {"cut in a channel list", kSmallFile.substr(0, kSmallFile.find("Zrotation Xr")), 5, "cut off"},
        {"cut before MOTION", motionless, 20, "before MOTION"},
        {"cut after MOTION", motionless + "MOTION\n", 22, "without 'Frames:'"},
        {"cut after Frames", motionless + "MOTION\nFrames: 4\n", 23, "cut off"},
        {"no frames at all", kSmallFile.substr(0, kSmallFile.find("1 2 3")), 23, "no motion data"},
        {"cut in a frame", kSmallFile.substr(0, kSmallFile.size() - 9), 28,
         "ends inside frame 4: 9 values where 12"},
        {"frames missing", changed("Frames: 4", "Frames: 6"), 23, "says 6, but 4"},
        {"frames too many", changed("Frames: 4", "Frames: 2"), 23, "says 2, but 4"},
        {"frame count absurd", changed("Frames: 4", "Frames: 4000000000000000000"), 23, "but 4 are there"},
        {"frame count beyond 64 bits", changed("Frames: 4", "Frames: 99999999999999999999"), 23,
         "more than any file"},
        {"frame count negative", changed("Frames: 4", "Frames: -4"), 23, "whole number"},
        {"frame count broken", changed("Frames: 4", "Frames: 4.5"), 23, "whole number"},
        {"frame time negative", changed("0.0400", "-0.04"), 24, "negative"},
        {"frame time comma", changed("0.0400", "0,04"), 24, "'0,04' has a comma"},
        {"one row short", changed("7 8 9 10 11 13", "7 8 9 10 11"), 26, "11 values on this line where 12"},
        {"values lost in two rows", replaced(changed("9 10 11 13", "9"), "2 3 4 5 6 7 8 9 10 11 14", "2 3"),
         26, "where 12"},
        {"row in the head", changed("Frames: 4\n", "Frames: 4\nSpeed: 3\n"), 24, "'Speed:'"},
        {"no number in the motion", changed("11 13", "11 thirteen"), 26, "'thirteen' stands in the motion"},
        {"text behind the motion", kSmallFile + "the end\n", 29, "'the'"},
        {"decimal comma", changed("11 13", "11 13,5"), 26, "'13,5' has a comma; write decimals with a point"},
        {"comma in an offset", changed("10.50", "10,50"), 8, "comma"},
        {"NaN", changed("11 13", "11 nan"), 26, "not a finite number"},
        {"NaN of an old library", changed("11 13", "11 -1.#IND"), 26, "not a finite number"},
        {"infinity", changed("11 13", "-inf 13"), 26, "not a finite number"},
        {"overflow", changed("11 13", "1e999 13"), 26, "larger than any motion"},
        {"overflow written out", changed("11 13", std::string(400, '9') + "e-20 13"), 26,
         "larger than any motion"},
        {"absurd value", changed("11 13", "1e13 13"), 26, "larger than any motion"},
        {"values without channels",
         "HIERARCHY\nROOT a\n{\nOFFSET 0 0 0\nCHANNELS 0\n}\nMOTION\nFrames: 1\nFrame Time: 1\n1\n", 10,
         "no joint has channels"},
        {"1,025 levels", chainOf(1025), 1026, "1,024 levels"},
        {"100,000 levels", chainOf(100000), 1026, "1,024 levels"},
    };
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.what);
        const BvhReadResult result = readBvh(refusal.text);
        const auto* error = std::get_if<BvhError>(&result);
        ASSERT_NE(error, nullptr) << "was read";
        EXPECT_EQ(error->line, refusal.line) << error->reason;
        EXPECT_NE(error->reason.find(refusal.reason), std::string::npos) << error->reason;
    }
    EXPECT_EQ(mustRead(chainOf(1024)).joints.size(), 1024u) << "what is allowed stays allowed";
}

TEST(BvhRefusal, lineNumbersAreTheSameWithEveryLineEnd)
{
    const std::string bad = changed("11 13", "11 nan");
    for (const char* lineEnd : {"\r\n", "\r"}) {
        const BvhReadResult result = readBvh(replaced(bad, "\n", lineEnd, true));
        ASSERT_TRUE(std::holds_alternative<BvhError>(result));
        EXPECT_EQ(std::get<BvhError>(result).line, 26u);
    }
}

TEST(BvhRefusal, aFileThatCannotBeOpenedSaysSo)
{
    const std::string missing = ::testing::TempDir() + "no_such_file.bvh";
    const BvhReadResult result = readBvhFile(missing);
    ASSERT_TRUE(std::holds_alternative<BvhError>(result));
    EXPECT_NE(std::get<BvhError>(result).reason.find(missing + " cannot be opened"), std::string::npos);
    EXPECT_NE(std::get<BvhError>(readBvhFile(::testing::TempDir())).reason.find("folder"), std::string::npos);
}

TEST(BvhRefusal, aFileCutAnywhereIsRefusedUnlessOnlyTheLastFrameIsTouched)
{
    const std::size_t thirdFrame =
        kSmallFile.find("11 14") + 4; // behind "11 1", which could be a whole value
    const std::size_t fourthFrame = kSmallFile.find("4 2 3 4 5");
    const std::size_t lastValue = kSmallFile.find("11 15") + 4;
    for (std::size_t size = 0; size < kSmallFile.size(); ++size) {
        const BvhReadResult result = readBvh(std::string_view(kSmallFile).substr(0, size));
        const bool readable = (size >= thirdFrame && size <= fourthFrame) || size >= lastValue;
        EXPECT_EQ(std::holds_alternative<BvhMotion>(result), readable) << "cut at " << size;
        if (const auto* error = std::get_if<BvhError>(&result)) {
            EXPECT_GE(error->line, 1u);
            EXPECT_LE(error->line, 29u);
        }
    }
}

TEST(BvhRefusal, randomDamageIsReadOrRefusedButNothingElse)
{
    constexpr unsigned kSeed = 20240611;
    SCOPED_TRACE(kSeed);
    std::mt19937 random(kSeed);
    const std::string alphabet = "{}\n\r\t 0123456789.-+e,nJEORCx\x80\xC3";
    std::size_t readCount = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = kSmallFile;
        for (unsigned edits = 1 + random() % 4; edits > 0; --edits) {
            const std::size_t at = random() % text.size();
            switch (random() % 3) {
            case 0:
                text[at] = alphabet[random() % alphabet.size()];
                break;
            case 1:
                text.erase(at, 1 + random() % 8);
                break;
            default:
                text.insert(at, text, random() % text.size(), random() % 40);
            }
        }
        const BvhReadResult result = readBvh(text);
        if (const auto* error = std::get_if<BvhError>(&result)) {
            ASSERT_TRUE(error->line > 0 && !error->reason.empty()) << text;
            continue;
        }
        const auto& motion = std::get<BvhMotion>(result);
        ++readCount;
        ASSERT_EQ(motion.values.size(), motion.frameCount * motion.channelCount) << text;
        ASSERT_EQ(mustRead(mustWrite(motion)).frameCount, motion.frameCount) << text;
    }
    EXPECT_GT(readCount, 500u) << "the damage should leave some files readable";
}

} // namespace
} // namespace formats
