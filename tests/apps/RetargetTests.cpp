// SPDX-License-Identifier: MIT
// `sinew retarget` from end to end; what it promises is measured on the files alone, without the scene.
#include "../formats/RoleTables.h"
#include "ProgramRun.h"
#include "formats/Gltf.h"
#include "formats/RoleJoints.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using formats::HumanoidRoles;
using formats::Role;
using formats::Side;
using Point = std::array<double, 3>;

constexpr std::size_t kFrames = 40;

/// A motion of a table's figure: every joint swings about its axes, arms and legs most, hips wander.
std::string swinging(const formats::RoleTable& table)
{
    formats::BvhMotion motion;
    motion.frameTime = 1.0 / 60;
    motion.frameTimeText = "0.0166667";
    const HumanoidRoles roles = formats::findHumanoidRoles(table.joints);
    double size = 0;
    for (const formats::RoleJoint& joint : table.joints)
        for (const double x : joint.position)
            size = std::max(size, std::abs(x));
    for (const formats::RoleJoint& from : table.joints) {
        formats::BvhJoint joint;
        joint.name = from.name;
        joint.parent = from.parent;
        for (std::size_t a = 0; a < 3; ++a)
            joint.offset[a] = from.position[a]
                - (from.parent < 0 ? 0 : table.joints[static_cast<std::size_t>(from.parent)].position[a]);
        using C = formats::BvhChannel;
        joint.channels = {C::RotationZ, C::RotationX, C::RotationY};
        if (from.parent < 0)
            joint.channels.insert(joint.channels.begin(), {C::PositionX, C::PositionY, C::PositionZ});
        joint.firstChannel = motion.channelCount;
        motion.channelCount += joint.channels.size();
        motion.joints.push_back(joint);
    }
    motion.frameCount = kFrames;
    for (std::size_t frame = 0; frame < kFrames; ++frame)
        for (std::size_t i = 0; i < motion.joints.size(); ++i) {
            const double phase = 0.15 * static_cast<double>(frame) + static_cast<double>(i);
            const Role role = roles.joints[i].role;
            const double swing = role == Role::UpperArm || role == Role::LowerArm ? 35
                : role == Role::UpperLeg || role == Role::LowerLeg                ? 20
                                                                                  : 6;
            if (motion.joints[i].parent < 0)
                for (std::size_t a = 0; a < 3; ++a)
                    motion.values.push_back(motion.joints[i].offset[a] + 0.05 * size * std::sin(phase));
            for (const double ahead : {0.0, 1.1, 2.3})
                motion.values.push_back(role == Role::None ? 0 : swing * std::sin(phase + ahead));
        }
    return formats::writeBvh(motion);
}

/// World positions of a file's joints in one frame, seen along the figure's own axes.
class Figure {
public:
    explicit Figure(formats::BvhMotion motion)
        : m_Roles(formats::findHumanoidRoles(formats::roleJoints(motion))), m_Motion(std::move(motion))
    {
    }
    explicit Figure(formats::Gltf gltf)
        : m_Roles(formats::findHumanoidRoles(formats::roleJoints(gltf))), m_Gltf(std::move(gltf))
    {
    }

    void setFrame(std::size_t frame, double time)
    {
        m_Positions.clear();
        if (m_Gltf.nodes.empty())
            for (const auto& pose : worldAt(m_Motion, frame))
                m_Positions.push_back(pose.position);
        else
            for (const auto& world :
                 formats::worldMatrices(m_Gltf, formats::sampleAnimation(m_Gltf, 0, time)))
                m_Positions.push_back({world[12], world[13], world[14]});
    }
    Point direction(Role from, Role to, Side side) const
    {
        const Point &a = m_Positions[at(from, side)], &b = m_Positions[at(to, side)];
        const Point way = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
        return {along(way, m_Roles.left), along(way, m_Roles.up), along(way, m_Roles.forward)};
    }
    /// From between the hip joints to between the shoulders.
    Point trunk() const
    {
        Point way{};
        for (const Side side : {Side::Left, Side::Right})
            for (std::size_t a = 0; a < 3; ++a)
                way[a] += m_Positions[at(Role::UpperArm, side)][a] - m_Positions[at(Role::UpperLeg, side)][a];
        return {along(way, m_Roles.left), along(way, m_Roles.up), along(way, m_Roles.forward)};
    }
    bool has(Role role, Side side) const { return m_Roles.find(role, side) >= 0; }

private:
    std::size_t at(Role role, Side side) const { return static_cast<std::size_t>(m_Roles.find(role, side)); }
    /// Files stand on their axes: the nearest one is meant.
    static double along(const Point& way, const Point& axis)
    {
        std::size_t largest = 0;
        for (std::size_t a = 1; a < 3; ++a)
            if (std::abs(axis[a]) > std::abs(axis[largest]))
                largest = a;
        return axis[largest] < 0 ? -way[largest] : way[largest];
    }

    HumanoidRoles m_Roles;
    formats::BvhMotion m_Motion;
    formats::Gltf m_Gltf;
    std::vector<Point> m_Positions;
};

double degreesBetween(const Point& a, const Point& b)
{
    const double d = a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
    return std::acos(std::clamp(d / std::hypot(a[0], a[1], a[2]) / std::hypot(b[0], b[1], b[2]), -1.0, 1.0))
        * 57.29577951308232;
}

/// Every limb of the result points as the source's does.
void expectSameDirections(Figure source, Figure result, std::size_t frames, double frameTime,
                          const std::string& what)
{
    struct Bone {
        Role from, to;
    };
    double trunk = 0, worstTrunk = 0;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double time = static_cast<double>(frame) * frameTime;
        source.setFrame(frame, time);
        result.setFrame(frame, time);
        const double degrees = degreesBetween(source.trunk(), result.trunk());
        trunk += degrees;
        worstTrunk = std::max(worstTrunk, degrees);
    }
    EXPECT_LT(trunk / static_cast<double>(frames), 5) << what;
    EXPECT_LT(worstTrunk, 15) << what;
    for (const Bone& bone : {Bone{Role::UpperArm, Role::LowerArm}, Bone{Role::LowerArm, Role::Hand},
                             Bone{Role::UpperLeg, Role::LowerLeg}, Bone{Role::LowerLeg, Role::Foot},
                             Bone{Role::Neck, Role::Head}})
        for (const Side side : {Side::Middle, Side::Left, Side::Right}) {
            if (!source.has(bone.from, side) || !result.has(bone.from, side))
                continue;
            double sum = 0, worst = 0;
            for (std::size_t frame = 0; frame < frames; ++frame) {
                const double time = static_cast<double>(frame) * frameTime;
                source.setFrame(frame, time);
                result.setFrame(frame, time);
                const double degrees = degreesBetween(source.direction(bone.from, bone.to, side),
                                                      result.direction(bone.from, bone.to, side));
                sum += degrees;
                worst = std::max(worst, degrees);
            }
            const std::string name = what + ", " + formats::roleText({bone.from, side});
            EXPECT_LT(sum / static_cast<double>(frames), 5) << name;
            EXPECT_LT(worst, 15) << name;
        }
}

formats::RoleTable tableNamed(const std::string& name)
{
    for (formats::RoleTable& table : formats::skeletonTables())
        if (table.name == name)
            return std::move(table);
    ADD_FAILURE() << "no table " << name;
    return {};
}

const std::vector<std::string> kLimits = {
    "--max-direction", "5",  "--max-direction-worst", "15", "--max-foot", "1", "--max-hand", "3",
    "--max-step",      "1.5"};

ProgramResult retarget(const ProgramRun& sinew, std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "retarget");
    return sinew(arguments);
}

} // namespace

TEST(Retarget, LimbsPointAsTheSourcesDoWhateverTheTargetIs)
{
    const ProgramRun sinew;
    sinew.write("source.bvh", swinging(tableNamed("mixamo")));
    // Arms down and T-poses, Y up and Z up, other names, none, and twist bones within the limbs.
    for (const char* name : {"biovision", "motionbuilder", "numbered", "smpl", "unreal_twists", "cmu"}) {
        sinew.write("target.bvh", swinging(tableNamed(name)));
        std::vector<std::string> arguments = {"source.bvh", "target.bvh", "-o", "out.bvh", "--json"};
        arguments.insert(arguments.end(), kLimits.begin(), kLimits.end());
        const ProgramResult result = retarget(sinew, arguments);
        ASSERT_EQ(result.code, 0) << name << "\n" << result.err << result.out;
        const formats::BvhMotion out = sinew.motion("out.bvh");
        ASSERT_EQ(out.frameCount, kFrames);
        EXPECT_EQ(out.joints.size(), tableNamed(name).joints.size());
        expectSameDirections(Figure(sinew.motion("source.bvh")), Figure(out), kFrames, 1, name);
    }
}

TEST(Retarget, DrivesAGltfCharacterFromCapturedMotion)
{
    const std::string source = formats::samplePath("cmu_01_01.bvh"),
                      target = formats::samplePath("CesiumMan.glb");
    if (!std::filesystem::exists(source))
        GTEST_SKIP() << "no sample files at " << source;
    const ProgramRun sinew;
    std::vector<std::string> arguments = {
        source, target, "-o", "out.glb", "--json", "--report", "out.html", "--report-json", "out.json"};
    arguments.insert(arguments.end(), kLimits.begin(), kLimits.end());
    const ProgramResult result = retarget(sinew, arguments);
    ASSERT_EQ(result.code, 0) << result.err;
    const app::Json report = result.json();
    EXPECT_EQ(report["frames"]["count"], 2752);
    EXPECT_EQ(report["goals"].size(), 6u);
    EXPECT_EQ(report["directions"].size(), 10u);
    EXPECT_EQ(app::Json::parse(sinew.read("out.json")), report);
    EXPECT_NE(sinew.read("out.html").find("retargeted motion"), std::string::npos);

    formats::GltfReadResult read = formats::readGltf(sinew.read("out.glb"));
    ASSERT_TRUE(std::holds_alternative<formats::Gltf>(read));
    auto& gltf = std::get<formats::Gltf>(read);
    ASSERT_EQ(gltf.animations.size(), 1u);
    formats::BvhMotion motion = ProgramRun::motionAt(source);
    expectSameDirections(Figure(motion), Figure(gltf), motion.frameCount, motion.frameTime, "CesiumMan");
}

TEST(Retarget, ABvhTargetCanBeWrittenAsGlbWithABody)
{
    const ProgramRun sinew;
    const std::string characters = SINEW_EXAMPLES "/characters/", source = characters + "Walker.bvh",
                      target = characters + "Child.bvh";
    const ProgramResult plain = retarget(sinew, {source, target, "-o", "out.bvh"});
    ASSERT_EQ(plain.code, 0) << plain.err;
    const ProgramResult result = retarget(sinew, {source, target, "-o", "out.glb", "--body"});
    ASSERT_EQ(result.code, 0) << result.err;
    const formats::BvhMotion expected = sinew.motion("out.bvh");
    const formats::FigureGuess figure = formats::guessFigure(expected);
    formats::GltfReadResult read = formats::readGltf(sinew.read("out.glb"));
    ASSERT_TRUE(std::holds_alternative<formats::Gltf>(read));
    const auto& gltf = std::get<formats::Gltf>(read);
    EXPECT_EQ(gltf.meshes.size(), 1u);
    for (const std::size_t frame : {0u, 17u, 60u}) {
        const auto world = worldAt(expected, frame);
        const auto shown = formats::worldMatrices(
            gltf, formats::sampleAnimation(gltf, 0, static_cast<double>(frame) * expected.frameTime));
        for (std::size_t i = 0; i < expected.joints.size(); ++i)
            for (std::size_t a = 0; a < 3; ++a)
                EXPECT_NEAR(shown[i][12 + a], world[i].position[a] * figure.metresPerUnit,
                            1e-4 * figure.height * figure.metresPerUnit)
                    << expected.joints[i].name << ", frame " << frame;
    }
    EXPECT_EQ(retarget(sinew, {source, target, "-o", "out.bvh", "--body"}).code, 2);
}

TEST(Retarget, AWrittenMapCanBeEditedAndGivesTheSameMotion)
{
    const ProgramRun sinew;
    sinew.write("source.bvh", swinging(tableNamed("mixamo")));
    sinew.write("target.bvh", swinging(tableNamed("smpl")));
    ASSERT_EQ(retarget(sinew, {"source.bvh", "target.bvh", "--write-map", "map.txt"}).code, 0);
    EXPECT_FALSE(sinew.exists("out.bvh"));
    ASSERT_EQ(retarget(sinew, {"source.bvh", "target.bvh", "-o", "auto.bvh"}).code, 0);
    const std::string map = sinew.read("map.txt");
    EXPECT_NE(map.find("mixamorig:LeftArm = L_Shoulder  # left upper arm (name)"), std::string::npos) << map;
    ASSERT_EQ(retarget(sinew, {"source.bvh", "target.bvh", "-o", "map.bvh", "--map", "map.txt"}).code, 0);
    EXPECT_EQ(sinew.read("auto.bvh"), sinew.read("map.bvh"));

    struct Wrong {
        std::string text, line, part;
    };
    for (const Wrong& wrong :
         {Wrong{"# none\n\nmixamorig:Hips = Pelvi\n", "map.txt:3", "did you mean 'Pelvis'?"},
          Wrong{"mixamorig:Hips = Pelvis\nmixamorig:Hips = Head\n", "map.txt:2", "'mixamorig:Hips'"},
          Wrong{"mixamorig:Hips = Pelvis\nmixamorig:Head = Pelvis\n", "map.txt:2", "'Pelvis'"},
          Wrong{"mixamorig:Hips\n", "map.txt:1", "SOURCE JOINT = TARGET JOINT"},
          Wrong{"# nothing\n", "map.txt", "no pairs"}}) {
        sinew.write("map.txt", wrong.text);
        const ProgramResult result =
            retarget(sinew, {"source.bvh", "target.bvh", "-o", "out.bvh", "--map", "map.txt"});
        EXPECT_EQ(result.code, 2);
        EXPECT_NE(result.err.find(wrong.line), std::string::npos) << result.err;
        EXPECT_NE(result.err.find(wrong.part), std::string::npos) << result.err;
    }
    EXPECT_FALSE(sinew.exists("out.bvh"));
}

TEST(Retarget, ABatchGivesTheSameBytesHoweverManyRunAtOnceAndGoesOnWhereItStopped)
{
    const ProgramRun sinew;
    for (const char* name : {"mixamo", "cmu", "smpl"})
        sinew.write(std::string(name) + ".bvh", swinging(tableNamed(name)));
    sinew.write("bad.bvh", "HIERARCHY\nROOT\n");
    sinew.write("target.bvh", swinging(tableNamed("biovision")));
    const auto batch = [&](const char* folder, const char* jobs) {
        return retarget(sinew,
                        {"mixamo.bvh", "bad.bvh", "cmu.bvh", "smpl.bvh", "target.bvh", "-o", folder, "--jobs",
                         jobs, "--json"});
    };
    const ProgramResult one = batch("one", "1"), three = batch("three", "3");
    EXPECT_EQ(one.code, 2);
    EXPECT_EQ(three.code, 2);
    for (const char* name : {"mixamo", "cmu", "smpl"}) {
        const std::string file = std::string("/") + name + ".bvh";
        EXPECT_EQ(sinew.read("one" + file), sinew.read("three" + file));
    }
    const auto states = [](const ProgramResult& result) {
        std::string text;
        const app::Json report = result.json(); // which the loop must not outlive
        for (const app::Json& file : report["files"])
            text += file["state"].get<std::string>() + " ";
        return text;
    };
    EXPECT_EQ(states(one), "done failed done done ");
    EXPECT_NE(one.json()["files"][1]["message"].get<std::string>().find("bad.bvh:2"), std::string::npos)
        << one.out;
    EXPECT_FALSE(sinew.exists("one/bad.bvh"));
    // Unchanged files are left alone; a changed source and a spoilt result are made again.
    sinew.write("cmu.bvh", sinew.read("cmu.bvh") + "\n");
    sinew.write("one/smpl.bvh", "cut");
    const ProgramResult again = batch("one", "2");
    EXPECT_EQ(states(again), "kept failed done done ");
    EXPECT_NE(again.err.find("one/smpl.bvh is gone or was changed; smpl.bvh is made again"),
              std::string::npos)
        << again.err;
    EXPECT_EQ(sinew.read("one/smpl.bvh"), sinew.read("three/smpl.bvh"));
}

TEST(Retarget, ABatchOntoAVrmCharacterKeepsItsEndingAndNamesMissedLimits)
{
    const ProgramRun sinew;
    sinew.write("mixamo.bvh", swinging(tableNamed("mixamo")));
    ASSERT_EQ(retarget(sinew, {"mixamo.bvh", "mixamo.bvh", "-o", "hero.glb"}).code, 0);
    sinew.write("hero.VRM", sinew.read("hero.glb"));
    const ProgramResult result =
        retarget(sinew, {"mixamo.bvh", "hero.VRM", "-o", "out", "--max-foot=0", "--max-hand", "0"});
    EXPECT_EQ(result.code, 1) << result.err;
    EXPECT_TRUE(sinew.exists("out/mixamo.vrm"));
    EXPECT_NE(result.out.find("foot, mean residual: "), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("is above the limit of 0 %; and 2 more"), std::string::npos) << result.out;
}

TEST(Retarget, AStillClipHasNoStepsToCompare)
{
    const ProgramRun sinew;
    // A millionth of a degree from frame to frame, which the rig follows with noise of its own.
    sinew.write("still.bvh", swinging(tableNamed("mixamo")));
    formats::BvhMotion still = sinew.motion("still.bvh");
    for (std::size_t frame = 0; frame < still.frameCount; ++frame)
        for (std::size_t i = 0; i < still.channelCount; ++i)
            still.values[frame * still.channelCount + i] =
                still.values[i] + (i > 2 ? 1e-5 * static_cast<double>(frame % 2) : 0);
    sinew.write("still.bvh", formats::writeBvh(still));
    sinew.write("target.bvh", swinging(tableNamed("smpl")));
    const ProgramResult result =
        retarget(sinew, {"still.bvh", "target.bvh", "-o", "out.bvh", "--max-step", "1.1", "--json"});
    EXPECT_EQ(result.code, 0) << result.out;
    EXPECT_LT(result.json()["step_ratio"].get<double>(), 1.1);
    EXPECT_LT(result.json()["joint_step"]["source"]["degrees"].get<double>(), 0.5);
}

TEST(Retarget, MissedLimitsAndBadInputHaveTheirExitCodes)
{
    const ProgramRun sinew;
    sinew.write("source.bvh", swinging(tableNamed("mixamo")));
    sinew.write("target.bvh", swinging(tableNamed("smpl")));
    sinew.write("snake.bvh",
                "HIERARCHY\nROOT a\n{\nOFFSET 0 0 0\nCHANNELS 3 Xrotation Yrotation Zrotation\nJOINT b\n{\n"
                "OFFSET 0 1 0\nCHANNELS 3 Xrotation Yrotation Zrotation\nEnd Site\n{\nOFFSET 0 1 0\n}\n}\n}\n"
                "MOTION\nFrames: 1\nFrame Time: 0.1\n0 0 0 0 0 0\n");
    const ProgramResult missed =
        retarget(sinew, {"source.bvh", "target.bvh", "-o", "out.bvh", "--max-direction", "0.0001"});
    EXPECT_EQ(missed.code, 1);
    EXPECT_TRUE(sinew.exists("out.bvh"));
    EXPECT_NE(missed.out.find("above the limit"), std::string::npos);
    struct Bad {
        std::vector<std::string> arguments;
        std::string part;
    };
    for (const Bad& bad :
         {Bad{{"snake.bvh", "target.bvh", "-o", "a.bvh"}, "no human figure was recognised"},
          Bad{{"source.bvh", "target.bvh", "-o", "a.txt"}, "ends in .bvh"},
          Bad{{"source.bvh", "target.bvh", "-o", "a.txt"}, "ending says which format"},
          Bad{{"source.bvh", "none.glb", "-o", "a.glb"}, "none.glb"},
          Bad{{"source.bvh", "target.bvh"}, "-o FILE"}, Bad{{"source.bvh"}, "a source and a target"},
          Bad{{"source.bvh", "target.bvh", "-o", "a.bvh", "--steps", "0"}, "--steps"}}) {
        const ProgramResult result = retarget(sinew, bad.arguments);
        EXPECT_EQ(result.code, 2) << bad.part;
        EXPECT_NE(result.err.find(bad.part), std::string::npos) << result.err;
    }
    EXPECT_FALSE(sinew.exists("a.bvh"));
}
