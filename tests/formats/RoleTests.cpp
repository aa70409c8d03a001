// SPDX-License-Identifier: MIT
// Roles of skeletons from many programs, with names and without, and what isn't human.
#include "RoleTables.h"
#include "formats/RolePairs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <random>
#include <set>

namespace formats {

namespace {

std::vector<RoleTable> allTables()
{
    std::vector<RoleTable> tables = skeletonTables();
    for (RoleTable& table : sampleTables())
        tables.push_back(std::move(table));
    return tables;
}

void expectRoles(const RoleTable& table, const HumanoidRoles& found, const std::string& how)
{
    ASSERT_TRUE(found.recognised) << table.name << how << ": " << found.why;
    for (std::size_t i = 0; i < table.joints.size(); ++i) {
        if (table.expected[i] != "*") {
            EXPECT_EQ(roleText(found.joints[i]), table.expected[i])
                << table.name << how << ": " << table.joints[i].name << " (" << i << ")";
        }
    }
}

bool isLimbOrTrunk(const std::string& role)
{
    for (const char* part : {"hips", "head", "upper", "lower", "hand", "foot", "clavicle", "toes"})
        if (role.find(part) != std::string::npos)
            return true;
    return false;
}

/// The role without its place in a chain.
std::string kindOf(const std::string& role)
{
    const std::size_t last = role.find_last_not_of("0123456789 ");
    return role.substr(0, last + 1);
}

/// A quaternion of any direction, the same each time.
std::array<double, 4> randomTurn(std::mt19937& random)
{
    std::array<double, 4> q{};
    double sum = 0;
    for (double& part : q) {
        part = static_cast<double>(random()) / 2147483648.0 - 1;
        sum += part * part;
    }
    for (double& part : q)
        part /= std::sqrt(sum);
    return q;
}

std::array<double, 3> turned(const std::array<double, 4>& q, const std::array<double, 3>& v)
{
    const auto [x, y, z, w] = q;
    return {(1 - 2 * (y * y + z * z)) * v[0] + 2 * (x * y - w * z) * v[1] + 2 * (x * z + w * y) * v[2],
            2 * (x * y + w * z) * v[0] + (1 - 2 * (x * x + z * z)) * v[1] + 2 * (y * z - w * x) * v[2],
            2 * (x * z - w * y) * v[0] + 2 * (y * z + w * x) * v[1] + (1 - 2 * (x * x + y * y)) * v[2]};
}

TEST(HumanoidRoles, AreRightForTheNamesOfManyPrograms)
{
    for (const RoleTable& table : allTables())
        expectRoles(table, findHumanoidRoles(table.joints), "");
}

TEST(HumanoidRoles, AreRightWithoutNamesWhicheverWayTheFigureStands)
{
    std::mt19937 random(7);
    for (RoleTable table : allTables()) {
        const auto turn = randomTurn(random);
        for (std::size_t i = 0; i < table.joints.size(); ++i) {
            table.joints[i].name = "joint" + std::to_string(i);
            table.joints[i].vrmBone.clear();
            table.joints[i].position = turned(turn, table.joints[i].position);
            // Names alone tell a hand's end, a finger, a hip pad or a control bone from the like of them.
            if (!isLimbOrTrunk(table.expected[i]))
                table.expected[i] = "*";
        }
        // Without toes and bends nothing tells left from right; which of the spine's joints is the hips
        // is a name's business where legs and trunk hang from a joint above.
        if (table.name == "biovision_plain" || table.name == "makehuman_walk1.bvh" || table.name == "biped")
            continue;
        expectRoles(table, findHumanoidRoles(table.joints), " without names");
    }
}

TEST(HumanoidRoles, EveryPairOfFiguresIsPairedJointByJoint)
{
    const std::vector<RoleTable> tables = allTables();
    for (const RoleTable& source : tables)
        for (const RoleTable& target : tables) {
            const RolePairing pairing =
                pairByRoles(findHumanoidRoles(source.joints), findHumanoidRoles(target.joints));
            std::set<std::string> paired;
            for (const RolePair& pair : pairing.pairs) {
                const std::string& from = source.expected[static_cast<std::size_t>(pair.source)];
                const std::string& to = target.expected[static_cast<std::size_t>(pair.target)];
                if (from != "*" && to != "*") {
                    EXPECT_EQ(kindOf(from), kindOf(to)) << source.name << " to " << target.name;
                }
                paired.insert(kindOf(to));
            }
            for (const std::string& role : target.expected)
                if (std::find(source.expected.begin(), source.expected.end(), role) != source.expected.end()
                    && isLimbOrTrunk(role)) {
                    EXPECT_TRUE(paired.contains(kindOf(role)))
                        << source.name << " to " << target.name << " lacks " << role;
                }
        }
}

TEST(HumanoidRoles, StatedBonesWinOverNames)
{
    for (RoleTable table : skeletonTables()) {
        if (table.name != "vrm_assigned")
            continue;
        for (RoleJoint& joint : table.joints)
            joint.name = "LeftFoot";
        const HumanoidRoles found = findHumanoidRoles(table.joints);
        expectRoles(table, found, " with misleading names");
        EXPECT_EQ(found.joints[0].reason, RoleReason::VrmBone);
    }
}

std::vector<RoleJoint> chainOfJoints(int count)
{
    std::vector<RoleJoint> joints;
    for (int i = 0; i < count; ++i)
        joints.push_back({"j", i - 1, {0.0, static_cast<double>(i), 0.0}, false, ""});
    return joints;
}

void addLimb(std::vector<RoleJoint>& joints, int parent, const std::vector<std::array<double, 3>>& points)
{
    for (const auto& point : points) {
        joints.push_back({"b" + std::to_string(joints.size()), parent, point, false, ""});
        parent = static_cast<int>(joints.size()) - 1;
    }
}

TEST(HumanoidRoles, WhatIsNotHumanIsNotRecognised)
{
    std::vector<RoleJoint> dog{{"root", -1, {0, 0.6, 0}, false, ""}};
    addLimb(dog, 0, {{0, 0.65, 0.3}, {0, 0.62, 0.6}, {0, 0.8, 0.75}, {0, 0.85, 0.9}});
    for (const double side : {-0.1, 0.1}) {
        addLimb(dog, 0, {{side, 0.58, 0}, {side, 0.3, 0.03}, {side, 0.1, -0.05}, {side, 0, 0.03}});
        addLimb(dog, 2, {{side, 0.58, 0.6}, {side, 0.3, 0.57}, {side, 0.1, 0.6}, {side, 0, 0.65}});
    }
    std::vector<RoleJoint> spider{{"body", -1, {0, 0.3, 0}, false, ""}};
    for (int leg = 0; leg < 8; ++leg) {
        const double a = leg * 0.785 + 0.39, x = std::cos(a), z = std::sin(a);
        addLimb(spider, 0, {{0.1 * x, 0.3, 0.1 * z}, {0.4 * x, 0.5, 0.4 * z}, {0.7 * x, 0, 0.7 * z}});
    }
    std::vector<RoleJoint> circle = chainOfJoints(4);
    circle[0].parent = 3;
    std::vector<RoleJoint> broken = skeletonTables().front().joints;
    broken[3].position[1] = std::numeric_limits<double>::quiet_NaN();
    std::vector<RoleJoint> point = skeletonTables().front().joints;
    for (RoleJoint& joint : point)
        joint.position = {1, 1, 1};
    for (const auto& joints :
         {dog, spider, circle, broken, point, chainOfJoints(9), std::vector<RoleJoint>()}) {
        const HumanoidRoles found = findHumanoidRoles(joints);
        EXPECT_FALSE(found.recognised) << joints.size() << " joints";
        EXPECT_FALSE(found.why.empty());
        EXPECT_EQ(found.joints.size(), joints.size());
    }
    // Twelve thousand joints in one chain: slow would be a fault, a crash a worse one.
    EXPECT_FALSE(findHumanoidRoles(chainOfJoints(12000)).recognised);
    for (const char* name : {"fairmotion_sinusoidal.bvh", "pybvh_rotation_first_root.bvh", "Fox.glb",
                             "RiggedSimple_blender.glb", "webxr_hand_left.glb"})
        if (std::filesystem::exists(samplePath(name))) {
            EXPECT_FALSE(findHumanoidRoles(sampleJoints(name)).recognised) << name;
        }
}

TEST(HumanoidRoles, BiovisionNamesAreThoseThatRigsKnow)
{
    EXPECT_EQ(biovisionName({Role::Hips}), "Hips");
    EXPECT_EQ(biovisionName({Role::Spine, Side::Middle, 0}), "Chest");
    EXPECT_EQ(biovisionName({Role::Spine, Side::Middle, 2}), "Chest2");
    EXPECT_EQ(biovisionName({Role::Clavicle, Side::Right}), "RightCollar");
    EXPECT_EQ(biovisionName({Role::Foot, Side::Left}), "LeftAnkle");
    EXPECT_EQ(biovisionName({Role::Thumb, Side::Left, 1}), "");
}

} // namespace

} // namespace formats
