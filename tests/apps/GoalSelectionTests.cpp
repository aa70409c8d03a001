// SPDX-License-Identifier: MIT
// Which joints become goals: by the names that programs give, by the tree, and as asked for.
#include "shared/Console.h"
#include "track/BvhTrackMotion.h"
#include "track/GoalSelection.h"
#include "track/NameParts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace {

using app::GoalChoice;

formats::BvhJoint joint(const std::string& name, int parent, double length = 1)
{
    formats::BvhJoint made;
    made.name = name;
    made.parent = parent;
    made.offset = {0, length, 0};
    return made;
}

/// A root with every other joint hanging from it.
formats::BvhMotion starOf(const std::vector<std::string>& names)
{
    formats::BvhMotion motion;
    motion.joints.push_back(joint("Root", -1));
    for (const std::string& name : names)
        motion.joints.push_back(joint(name, 0));
    return motion;
}

/// Role to joint name.
std::map<std::string, std::string> rolesOf(const formats::BvhMotion& motion, const GoalChoice& choice)
{
    std::map<std::string, std::string> roles;
    for (const app::Goal& goal : choice.goals)
        roles[goal.role] = motion.joints[goal.joint].name;
    return roles;
}

std::vector<std::string> namesOf(const formats::BvhMotion& motion, const GoalChoice& choice)
{
    std::vector<std::string> names;
    for (const app::Goal& goal : choice.goals)
        names.push_back(motion.joints[goal.joint].name);
    std::sort(names.begin(), names.end());
    return names;
}

struct NameFamily {
    const char* manner;
    std::vector<std::string> parts; ///< head, left hand, right hand, left foot, right foot
    std::vector<std::string> others; ///< joints of the same skeleton that must not be taken
};

const NameFamily kFamilies[] = {
    {"CMU",
     {"Head", "LeftHand", "RightHand", "LeftFoot", "RightFoot"},
     {"Neck1", "LeftFingerBase", "LFingers", "LThumb", "LeftForeArm", "LeftToeBase", "LHipJoint", "RThumb"}},
    {"Biovision",
     {"Head", "LeftWrist", "RightWrist", "LeftAnkle", "RightAnkle"},
     {"Neck", "LeftCollar", "LeftElbow", "LeftKnee", "LeftToes", "RightToes"}},
    {"MotionBuilder",
     {"Character1_Head", "Character1_LeftHand", "Character1_RightHand", "Character1_LeftFoot",
      "Character1_RightFoot"},
     {"Character1_LeftHandThumb1", "Character1_LeftHandIndex2", "Character1_RightToeBase",
      "Character1_Neck"}},
    {"Mixamo",
     {"mixamorig:Head", "mixamorig:LeftHand", "mixamorig:RightHand", "mixamorig:LeftFoot",
      "mixamorig:RightFoot"},
     {"mixamorig:HeadTop_End", "mixamorig:LeftHandPinky4", "mixamorig:LeftEye", "mixamorig:LeftToe_End"}},
    {"VRM",
     {"J_Bip_C_Head", "J_Bip_L_Hand", "J_Bip_R_Hand", "J_Bip_L_Foot", "J_Bip_R_Foot"},
     {"J_Bip_C_Neck", "J_Bip_L_Thumb1", "J_Bip_L_ToeBase", "J_Sec_Hair1_01", "J_Adj_L_FaceEye"}},
    {"Unreal",
     {"head", "hand_l", "hand_r", "foot_l", "foot_r"},
     {"ik_hand_l", "ik_hand_gun", "ik_foot_root", "ik_foot_l", "lowerarm_twist_01_l", "ball_l", "neck_01"}},
    {"Blender",
     {"head", "hand.L", "hand.R", "foot.L", "foot.R"},
     {"hand_ik.L", "toe.L", "heel.02.L", "palm.01.L", "f_index.01.L", "thumb.01.L"}},
    {"Rigify",
     {"DEF-head", "DEF-hand.L", "DEF-hand.R", "DEF-foot.L", "DEF-foot.R"},
     {"MCH-hand_ik.parent.L", "MCH-foot_roll.L", "DEF-toe.L", "DEF-neck"}},
    {"SMPL",
     {"head", "left_hand", "right_hand", "left_foot", "right_foot"},
     {"neck", "left_wrist", "left_ankle", "right_ankle", "left_collar"}},
    {"Biped",
     {"Bip01_Head", "Bip01_L_Hand", "Bip01_R_Hand", "Bip01_L_Foot", "Bip01_R_Foot"},
     {"Bip01_HeadNub", "Bip01_L_Finger0", "Bip01_L_Toe0", "Bip01_L_UpperArm"}},
    {"Poser",
     {"head", "lHand", "rHand", "lFoot", "rFoot"},
     {"lThumb1", "lToe", "lCollar", "leftEye", "rShin"}},
    {"sensor",
     {"Head", "HandLeft", "HandRight", "FootLeft", "FootRight"},
     {"HandTipLeft", "ThumbLeft", "WristLeft", "AnkleLeft", "SpineShoulder"}},
    {"capitals", {"HEAD", "LEFT_HAND", "RIGHT_HAND", "LEFT_FOOT", "RIGHT_FOOT"}, {"LEFT_TOE", "NECK"}},
    {"glued", {"head", "lefthand", "righthand", "lfoot", "rfoot"}, {"leftarm", "ltoe", "neck"}},
};

} // namespace

TEST(GoalSelection, FindsHandsFeetAndHeadInEveryNamingManner)
{
    for (const NameFamily& family : kFamilies) {
        SCOPED_TRACE(family.manner);
        // The right joint must win wherever it stands among the others.
        for (const bool partsFirst : {true, false}) {
            std::vector<std::string> names = partsFirst ? family.parts : family.others;
            const std::vector<std::string>& rest = partsFirst ? family.others : family.parts;
            names.insert(names.end(), rest.begin(), rest.end());
            const formats::BvhMotion motion = starOf(names);
            const GoalChoice choice = app::chooseGoals(app::trackJoints(motion));
            const std::map<std::string, std::string> expected = {{"head", family.parts[0]},
                                                                 {"left hand", family.parts[1]},
                                                                 {"right hand", family.parts[2]},
                                                                 {"left foot", family.parts[3]},
                                                                 {"right foot", family.parts[4]}};
            EXPECT_EQ(rolesOf(motion, choice), expected);
            EXPECT_TRUE(choice.notes.empty());
        }
    }
}

TEST(GoalSelection, TakesTheEndsOfLimbsThatHaveNoNameAndSaysSo)
{
    // A head by name, and four nameless limbs, one of which ends in fingers.
    formats::BvhMotion motion;
    motion.joints = {joint("root", -1), joint("Head", 0, 6), joint("a1", 0, 5),   joint("a2", 2, 5),
                     joint("b1", 0, 5), joint("b2", 4, 5),   joint("f1", 5, 0.3), joint("f2", 5, 0.3),
                     joint("c", 0, 9),  joint("d", 0, 9)};
    const GoalChoice choice = app::chooseGoals(app::trackJoints(motion));
    EXPECT_EQ(namesOf(motion, choice), (std::vector<std::string>{"Head", "a2", "b2", "c", "d"}));
    ASSERT_EQ(choice.notes.size(), 1u);
    EXPECT_NE(choice.notes[0].find("left hand"), std::string::npos) << choice.notes[0];
    EXPECT_NE(choice.notes[0].find("'b2'"), std::string::npos) << choice.notes[0];
}

TEST(GoalSelection, GivesEveryFigureAGoal)
{
    formats::BvhMotion motion;
    motion.joints = {joint("chain", -1), joint("link", 0), joint("tip", 1), joint("ball", -1),
                     joint("post", -1)};
    formats::BvhJoint end;
    end.endSite = true;
    end.parent = 4;
    motion.joints.push_back(end);
    EXPECT_EQ(namesOf(motion, app::chooseGoals(app::trackJoints(motion))),
              (std::vector<std::string>{"ball", "post", "tip"}));
}

TEST(GoalSelection, ReadsKindsAndKeepsColonsOfNames)
{
    const formats::BvhMotion motion = starOf({"rig:Hand", "Foot", "odd:rot"});
    const std::vector<app::Goal> goals =
        app::namedGoals(app::trackJoints(motion),
                        {"rig:Hand", "Foot:rot", "odd:rot", "rig:Hand:rot", "Root:both"})
            .goals;
    ASSERT_EQ(goals.size(), 4u); // a joint named twice is one goal
    EXPECT_TRUE(goals[0].joint == 1 && goals[0].position && goals[0].rotation);
    EXPECT_TRUE(goals[1].joint == 2 && !goals[1].position && goals[1].rotation);
    EXPECT_TRUE(goals[2].joint == 3 && goals[2].position && !goals[2].rotation);
    EXPECT_TRUE(goals[3].joint == 0 && goals[3].position && goals[3].rotation);
}

TEST(GoalSelection, RefusesUnknownJointsWithNamesNearby)
{
    const formats::BvhMotion motion = starOf({"rig:LeftHand", "RightHand", "Head"});
    const auto refusal = [&](const std::string& text) -> std::string {
        try {
            app::namedGoals(app::trackJoints(motion), {text});
        } catch (const app::BadInput& error) {
            return error.what();
        }
        return "accepted";
    };
    EXPECT_NE(refusal("lefthand").find("'rig:LeftHand'"), std::string::npos) << refusal("lefthand");
    EXPECT_EQ(refusal("lefthand").find("'Head'"), std::string::npos) << refusal("lefthand");
    EXPECT_NE(refusal("Head:pose").find("pos, rot or both"), std::string::npos) << refusal("Head:pose");
    EXPECT_NE(refusal("tail").find("sinew info"), std::string::npos) << refusal("tail");
    EXPECT_NE(refusal("").find("missing"), std::string::npos) << refusal("");
}
