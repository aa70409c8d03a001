// SPDX-License-Identifier: MIT
// glTF files as locators: every node where the reader says, at and between the keys, and bone name tags.
#include "files/FileTesting.h"
#include "formats/Gltf.h"
#include "refhost/Evaluation.h"
#include "refhost/MotionImport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>

namespace refhost {
namespace {

std::string sample(const std::string& name)
{
    const char* set = std::getenv("SINEW_DATA");
    return std::string(set ? set : SINEW_DATA_DIR) + "/gltf/" + name;
}

double degreesBetween(const Matrix33& a, const std::array<double, 4>& q)
{
    const Matrix33 b = matrixFromQuaternion(q);
    double sum = 0;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            sum += (a[row][column] - b[row][column]) * (a[row][column] - b[row][column]);
    return 2 * std::asin(std::min(1.0, std::sqrt(sum / 8))) * 57.29577951308232;
}

/// Local transforms rather than world ones: an error must not hide behind or add up along the hierarchy.
void expectLocals(Scene& scene, const MotionImport& done, const formats::Gltf& gltf, double time,
                  const formats::GltfPose& wanted)
{
    for (std::size_t i = 0; i < gltf.nodes.size(); ++i) {
        Matrix34 local;
        ASSERT_TRUE(Evaluation::of(scene).matrix(*done.items[i]->channel("localMatrix"), time, local));
        const Decomposition parts = decompose(local);
        EXPECT_LT(degreesBetween(parts.rotation, wanted[i].rotation), 0.01)
            << gltf.nodes[i].name << " at " << time;
        for (std::size_t axis = 0; axis < 3; ++axis)
            EXPECT_NEAR(parts.position[axis], wanted[i].translation[axis], 1e-6)
                << gltf.nodes[i].name << " at " << time;
    }
}

TEST(GltfImport, NodesStandAndTurnWhereTheFileSays)
{
    for (const char* name : {"CesiumMan.glb", "Fox.glb", "RiggedSimple_blender.glb", "SimpleSkin.gltf",
                             "Animation_Node_05.gltf", "Animation_Skin_01.gltf"}) {
        if (!std::filesystem::exists(sample(name)))
            GTEST_SKIP() << "no sample files at " << sample(name);
        Host host;
        Scene& scene = host.newScene();
        must(scene.journal().begin("import"));
        const ResultOf<MotionImport> done = importMotion(scene, sample(name));
        ASSERT_TRUE(done.ok()) << name << ": " << done.message;
        must(scene.journal().commit());
        const auto gltf = std::get<formats::Gltf>(formats::readGltfFile(sample(name)));
        ASSERT_FALSE(gltf.animations.empty());
        const formats::GltfAnimation& animation = gltf.animations[0];
        for (int i = 0; i <= 97; ++i) {
            const double time = animation.start + (animation.end - animation.start) * i / 97;
            expectLocals(scene, done.value, gltf, time, formats::sampleAnimation(gltf, 0, time));
        }
        must(scene.journal().begin("setup"));
        must(scene.setSetupMode(true));
        must(scene.journal().commit());
        expectLocals(scene, done.value, gltf, 0, formats::restPose(gltf));
        EXPECT_EQ(done.value.humanoid, std::string(name) == "CesiumMan.glb");
        if (done.value.humanoid) {
            const Item* arm = scene.findByUniqueName("Skeleton_arm_joint_L__4_");
            ASSERT_TRUE(arm);
            const std::string* tag = arm->tags().find(tagCode('B', 'V', 'H', 'N'));
            ASSERT_TRUE(tag);
            EXPECT_EQ(*tag, "LeftShoulder");
        }
    }
}

} // namespace
} // namespace refhost
