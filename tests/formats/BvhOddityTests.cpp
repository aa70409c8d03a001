// SPDX-License-Identifier: MIT
// Files that break the letter of the format but can be read: what is mended, and what is said about it.
#include "BvhTesting.h"

namespace formats {
namespace {

struct Oddity {
    const char* what;
    std::string text;
    std::size_t line; // of the one warning, or 0 for none at all
    const char* warning;
};

TEST(BvhOddity, readsTheSameMotionAndWarnsWithTheLine)
{
    const std::string lower = [] {
        std::string text = kSmallFile;
        for (const char* word : {"HIERARCHY", "ROOT", "JOINT", "OFFSET", "CHANNELS", "End Site", "MOTION",
                                 "Frames", "Frame Time"}) {
            std::string small = word;
            std::transform(small.begin(), small.end(), small.begin(),
                           [](char c) { return static_cast<char>(c | 0x20); });
            text = replaced(text, word, small, true);
        }
        return replaced(replaced(text, "Xrotation", "XROTATION", true), "Yposition", "yPosition", true);
    }();
    const Oddity oddities[] = {
        {"CRLF", replaced(kSmallFile, "\n", "\r\n", true), 0, ""},
        {"lone CR", replaced(kSmallFile, "\n", "\r", true), 0, ""},
        {"blanks at line ends", replaced(kSmallFile, "\n", " \t\n", true), 0, ""},
        {"tabs in rows", replaced(kSmallFile, " 2 3 4 ", "\t2\t3\t 4 ", true), 0, ""},
        {"byte order mark", "\xEF\xBB\xBF" + kSmallFile, 0, ""},
        {"lower case", lower, 0, ""},
        {"no newline at the end", kSmallFile.substr(0, kSmallFile.size() - 1), 0, ""},
        {"end mark of old systems", kSmallFile + "\x1A", 0, ""},
        {"exponents, signs and bare points", changed("1 2 3 4 5", "1e0 +2 .3E+1 4. 5.0000000000000000000"), 0,
         ""},
        {"too small to be anything but 0", changed("OFFSET 0 3 0", "OFFSET 1e-999 3 -0.0e5"), 0, ""},
        {"braces on the same line", replaced(kSmallFile, "\n\t{", "{", true), 0, ""},
        {"counts without colon", changed("Frames: 4\nFrame Time: ", "Frames 4\nFRAME TIME "), 0, ""},
        {"counts with blanks", changed("Frames: 4\nFrame Time: ", "  Frames :\t4\nFrameTime:"), 0, ""},
        {"time before count", changed("Frames: 4\nFrame Time: 0.0400", "Frame Time: 0.0400\nFrames: 4"), 0,
         ""},
        {"name on the next line", changed("JOINT Spine", "JOINT\n\tSpine"), 0, ""},
        {"named End Site", changed("End Site", "EndSite tip"), 0, ""},
        {"HIERARCHY missing", changed("HIERARCHY", ""), 2, "HIERARCHY is missing"},
        {"one frame more", changed("Frames: 4", "Frames: 3"), 23, "says 3, but 4 are there"},
        {"one frame less", changed("Frames: 4", "Frames: 5"), 23, "says 5, but 4 are there"},
        {"count missing", changed("Frames: 4\n", ""), 24, "'Frames:' is missing"},
        {"rows over several lines", changed("6 7 8", "6\n7 8"), 25, "6 values on this line where 12"},
        {"several rows on a line", changed("12\n2", "12 2"), 25, "24 values on this line"},
        {"offset missing", changed("OFFSET 0 0 0\n", "\n"), 2, "joint 'Hips' has no OFFSET"},
    };
    const BvhMotion plain = mustRead(kSmallFile);
    EXPECT_TRUE(plain.warnings.empty());
    for (const Oddity& oddity : oddities) {
        SCOPED_TRACE(oddity.what);
        const BvhMotion motion = mustRead(oddity.text);
        EXPECT_EQ(motion.values, plain.values);
        EXPECT_EQ(motion.frameTimeText, "0.0400");
        ASSERT_EQ(motion.joints.size(), plain.joints.size());
        for (std::size_t i = 0; i < plain.joints.size(); ++i) {
            EXPECT_EQ(motion.joints[i].name, plain.joints[i].name);
            EXPECT_EQ(motion.joints[i].parent, plain.joints[i].parent);
            EXPECT_EQ(motion.joints[i].offset, plain.joints[i].offset);
            EXPECT_EQ(motion.joints[i].channels, plain.joints[i].channels);
        }
        ASSERT_EQ(motion.warnings.size(), oddity.line == 0 ? 0u : 1u);
        if (oddity.line != 0) {
            EXPECT_EQ(motion.warnings[0].line, oddity.line);
            EXPECT_NE(motion.warnings[0].text.find(oddity.warning), std::string::npos)
                << motion.warnings[0].text;
        }
    }
}

TEST(BvhOddity, namesAreMadeUniqueWholeAndReadable)
{
    const std::string text = "HIERARCHY\n"
                             "ROOT Left Arm { OFFSET 0 0 0 CHANNELS 1 Xrotation\n"
                             "JOINT a { OFFSET 0 0 0 CHANNELS 1 Xrotation\n"
                             "JOINT a { OFFSET 0 0 0 CHANNELS 1 Xrotation End Site {OFFSET 0 1 0} }\n"
                             "JOINT a_2 { OFFSET 0 0 0 CHANNELS 1 Xrotation }\n"
                             "JOINT { OFFSET 0 0 0 CHANNELS 1 Xrotation }\n"
                             "JOINT R\xFC"
                             "cken:\xC3\xBC { OFFSET 0 0 0 CHANNELS 1 Xrotation } } }\n"
                             "MOTION Frames: 0 Frame Time: 0.04";
    const BvhMotion motion = mustRead(text);
    std::vector<std::string> names;
    for (const BvhJoint& joint : motion.joints)
        names.push_back(joint.name);
    EXPECT_EQ(names,
              (std::vector<std::string>{"Left_Arm", "a", "a_2", "", "a_2_2", "joint5",
                                        "R\xC3\xBC"
                                        "cken:\xC3\xBC"}));
    std::vector<std::size_t> lines;
    for (const BvhWarning& warning : motion.warnings)
        lines.push_back(warning.line);
    EXPECT_EQ(lines, (std::vector<std::size_t>{2, 4, 5, 6, 7}));
}

TEST(BvhOddity, treesAreReadAsTheyAre)
{
    const std::string twoRoots =
        "HIERARCHY ROOT a { OFFSET 0 0 0 CHANNELS 0 JOINT b { OFFSET 0 0 0 CHANNELS 2 Yrotation Zposition"
        " End Site { OFFSET 1 0 0 } End Site { OFFSET 2 0 0 } } }"
        " ROOT c { OFFSET 5 0 0 CHANNELS 1 Xposition } MOTION Frames: 1 Frame Time: 0.04 90 7 3";
    const BvhMotion motion = mustRead(twoRoots, OffsetRule::Replace);
    std::vector<int> parents;
    for (const BvhJoint& joint : motion.joints)
        parents.push_back(joint.parent);
    EXPECT_EQ(parents, (std::vector<int>{-1, 0, 1, 1, -1}));
    EXPECT_EQ(motion.joints[4].firstChannel, 2u);
    const std::vector<WorldPose> world = worldAt(motion, 0);
    EXPECT_NEAR(world[3].position[2], 7 - 2, 1e-12) << "a quarter turn about y takes x to -z";
    EXPECT_EQ(world[4].position[0], 3);
}

TEST(BvhOddity, framesThatAreNotThereAreNoFrames)
{
    const std::string head = kSmallFile.substr(0, kSmallFile.find("MOTION"));
    const BvhMotion none = mustRead(head + "MOTION\nFrames: 0\nFrame Time: 0\n");
    EXPECT_EQ(none.frameCount, 0u);
    EXPECT_GT(none.frameTime, 0);
    ASSERT_EQ(none.warnings.size(), 1u) << "a frame time of 0 is mended";
    EXPECT_EQ(none.warnings[0].line, 24u);
    EXPECT_EQ(largestGap(worldAt(none, 0), worldPose(none, restPose(none))), 0);

    const BvhMotion still =
        mustRead("HIERARCHY ROOT a { OFFSET 0 0 0 CHANNELS 0 } MOTION Frames: 9000000000000 Frame Time: 1");
    EXPECT_EQ(still.frameCount, 0u) << "frames without values are not to be walked through";
    EXPECT_EQ(still.warnings.size(), 1u);
}

TEST(BvhOddity, aFloodOfWarningsIsCutShort)
{
    std::string text = "HIERARCHY ROOT a { OFFSET 0 0 0 CHANNELS 1 Xrotation\n";
    for (int i = 0; i < 500; ++i)
        text += "JOINT a { OFFSET 0 0 0 CHANNELS 0 }\n";
    const BvhMotion motion = mustRead(text + "} MOTION Frames: 0 Frame Time: 1");
    ASSERT_EQ(motion.warnings.size(), 101u);
    EXPECT_EQ(motion.warnings.back().text.substr(0, 12), "and 400 more");
    EXPECT_EQ(motion.joints[500].name, "a_501");
}

} // namespace
} // namespace formats
