// SPDX-License-Identifier: MIT
// What a file does not state: whether positions are added to OFFSETs, which way is up, how tall the figure
// is.
#include "BvhTesting.h"

#include <cmath>

namespace formats {
namespace {

/// A legged figure 170 units tall with y up; the root stands at `rootOffset` and has the given row of 15
/// values.
std::string standing(const std::string& rootOffset, const std::string& firstFrame,
                     const std::string& secondFrame)
{
    return "HIERARCHY\nROOT Hips\n{ OFFSET " + rootOffset
        + " CHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation Yrotation\n"
          "JOINT Spine { OFFSET 0 40 0 CHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation "
          "Yrotation\n"
          "JOINT Head { OFFSET 0 25 0 CHANNELS 3 Zrotation Xrotation Yrotation End Site { OFFSET 0 12 0 } } "
          "}\n"
          "JOINT Foot { OFFSET 0 -93 0 CHANNELS 0 } }\n"
          "MOTION\nFrames: 2\nFrame Time: 0.04\n"
        + firstFrame + "\n" + secondFrame + "\n";
}

struct RuleRow {
    const char* what;
    const char* rootOffset;
    const char* root; // positions in both frames
    const char* spine;
    bool rootAdds;
    bool spineAdds;
    std::size_t warningCount;
};

TEST(BvhOffsetRule, replacesUnlessPositionsThatAreNothingMeetOffsetsThatAreNot)
{
    const RuleRow rows[] = {
        {"no offset at the root, spine repeats its own", "0 0 0", "5 93 2", "0 40 0", false, false, 1},
        {"root repeats its offset", "0 93 0", "0 93 0", "0 40 0", false, false, 2},
        {"root near 0 and offset a body height", "0 93 0", "1 -2 3", "0 40 0", true, false, 2},
        {"root away from 0", "0 93 0", "60 0 0", "0 40 0", false, false, 2},
        {"offset too low to stand on", "0 20 0", "0 0 0", "0 40 0", false, false, 2},
        {"offset to the side", "93 0 0", "0 0 0", "0 40 0", false, false, 2},
        {"positions below the root are nothing", "0 0 0", "5 93 2", "0.0005 0 0", false, true, 1},
        {"both", "0 93 0", "0 0 0", "0 0 0", true, true, 2},
    };
    for (const RuleRow& row : rows) {
        SCOPED_TRACE(row.what);
        const std::string values = std::string(row.root) + " 0 0 0 " + row.spine + " 0 0 0 0 0 0";
        const std::string text = standing(row.rootOffset, values, values);
        const BvhMotion guessed = mustRead(text);
        EXPECT_EQ(guessed.joints[0].addsOffset, row.rootAdds);
        EXPECT_EQ(guessed.joints[1].addsOffset, row.spineAdds);
        EXPECT_EQ(guessed.warnings.size(), row.warningCount);
        EXPECT_FALSE(mustRead(text, OffsetRule::Replace).joints[0].addsOffset);
        const BvhMotion added = mustRead(text, OffsetRule::Add);
        EXPECT_TRUE(added.joints[0].addsOffset && added.joints[1].addsOffset);
    }
    // Only the first frame decides below the root, but a root has to stay near 0 all along.
    const std::string still = "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0";
    const BvhMotion later = mustRead(standing("0 93 0", still, "0 50 0 0 0 0 0 9 0 0 0 0 0 0 0"));
    EXPECT_FALSE(later.joints[0].addsOffset);
    EXPECT_TRUE(later.joints[1].addsOffset);
    EXPECT_NEAR(worldAt(later, 1)[1].position[1], 50 + 40 + 9, 1e-12);

    BvhMotion rewritten = later;
    EXPECT_TRUE(setLocalPose(rewritten, 1, localPose(later, 1)).empty());
    EXPECT_EQ(rewritten.values, later.values) << "added positions are written without the OFFSET";
}

TEST(BvhFigure, unitsFollowFromTheHeight)
{
    struct Row {
        double height;
        const char* unit;
        bool confident;
    };
    for (const Row& row :
         {Row{1.8, "metres", true}, Row{16, "decimetres", true}, Row{25, "6.8 cm units", true},
          Row{65, "inches", true}, Row{170, "centimetres", true}, Row{1750, "millimetres", true},
          Row{40000, "millimetres", false}, Row{0, "unknown", false}}) {
        const std::string text = "HIERARCHY ROOT Hips { OFFSET 0 0 0 CHANNELS 0 JOINT Head { OFFSET 0 0 "
            + std::to_string(-row.height) + " CHANNELS 0 } } MOTION Frames: 0 Frame Time: 0.04";
        const FigureGuess guess = guessFigure(mustRead(text));
        EXPECT_NEAR(guess.height, row.height, 1e-5);
        EXPECT_EQ(guess.unit, row.unit) << guess.why;
        EXPECT_EQ(guess.confident, row.confident) << guess.why;
        if (row.height > 0) {
            EXPECT_EQ(guess.upAxis, 2) << guess.why;
            EXPECT_EQ(guess.upSign, -1) << guess.why;
        }
    }
}

TEST(BvhFigure, aRootThatTurnsTheFigureAllThroughTheMotionDecidesWhatIsUp)
{
    const auto upIn = [](const std::string& first, const std::string& second) {
        const std::string tail = " 0 40 0 0 0 0 0 0 0";
        return guessFigure(mustRead(standing("0 0 0", "0 0 93 " + first + tail, "0 0 93 " + second + tail),
                                    OffsetRule::Replace));
    };
    EXPECT_EQ(upIn("0 90 0", "0 88 3").upAxis, 2) << "a quarter turn about x takes y to z";
    EXPECT_EQ(upIn("0 90 0", "0 0 0").upAxis, 1) << "lying for a while does not";
    EXPECT_EQ(upIn("0 90 0", "0 90 0").height, 170) << "the height is of the figure, however it is turned";
}

TEST(BvhFigure, aFigureCarriedByPositionsIsMeasuredInItsFirstFrame)
{
    const FigureGuess guess =
        guessFigure(mustRead("HIERARCHY ROOT Hips { OFFSET 0 0 0 CHANNELS 0 JOINT Head { OFFSET 0 0 0 "
                             "CHANNELS 3 Xposition Yposition Zposition } }"
                             " MOTION Frames: 1 Frame Time: 0.04 0 0 1.7"));
    EXPECT_EQ(guess.upAxis, 2);
    EXPECT_NEAR(guess.height, 1.7, 1e-12);
}

} // namespace
} // namespace formats
