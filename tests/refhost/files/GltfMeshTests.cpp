// SPDX-License-Identifier: MIT
// Meshes of glTF files in a scene: where their points stand, against the file's own skins and animation.
#include "files/FileTesting.h"
#include "formats/Gltf.h"

#include <refhost/Mesh.h>
#include <refhost/MotionImport.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>

namespace {

using namespace refhost;
using namespace formats;

std::string dataFolder()
{
    const char* chosen = std::getenv("SINEW_DATA");
    return std::string(chosen ? chosen : SINEW_DATA_DIR) + "/gltf/";
}

/// World points of one node's mesh as glTF defines them.
std::vector<std::array<double, 3>> expectedPoints(const Gltf& gltf, std::size_t node, double time)
{
    const GltfPose pose = gltf.animations.empty() ? nodePose(gltf) : sampleAnimation(gltf, 0, time);
    const std::vector<GltfMatrix> world = worldMatrices(gltf, pose);
    const int skin = gltf.nodes[node].skin;
    std::vector<std::array<double, 3>> points;
    for (const GltfPrimitive& primitive :
         gltf.meshes[static_cast<std::size_t>(gltf.nodes[node].mesh)].primitives) {
        for (std::size_t v = 0; v < primitive.positions.size(); ++v) {
            GltfMatrix blend{};
            double total = 0;
            for (std::size_t k = 0; skin >= 0 && k < primitive.influenceCount; ++k) {
                const GltfSkin& from = gltf.skins[static_cast<std::size_t>(skin)];
                const std::size_t at = v * primitive.influenceCount + k;
                const std::size_t joint = primitive.joints[at];
                const GltfMatrix one =
                    multiply(world[static_cast<std::size_t>(from.joints[joint])], from.inverseBind[joint]);
                for (std::size_t i = 0; i < 16; ++i)
                    blend[i] += primitive.weights[at] * one[i];
                total += primitive.weights[at];
            }
            if (total == 0)
                blend = world[node];
            const auto& p = primitive.positions[v];
            std::array<double, 3> out{};
            for (std::size_t r = 0; r < 3; ++r)
                out[r] = (blend[r] * p[0] + blend[4 + r] * p[1] + blend[8 + r] * p[2] + blend[12 + r])
                    / (total == 0 ? 1 : total);
            points.push_back(out);
        }
    }
    return points;
}

class GltfMeshFile : public ::testing::TestWithParam<const char*> { };

TEST_P(GltfMeshFile, pointsStandWhereTheFileSaysAtAnyTime)
{
    const std::string path = dataFolder() + GetParam();
    if (!std::filesystem::exists(path))
        GTEST_SKIP() << "no " << path << "; set SINEW_DATA to the folder that has it";
    auto read = readGltfFile(path);
    ASSERT_TRUE(std::holds_alternative<Gltf>(read));
    const Gltf& gltf = std::get<Gltf>(read);
    Host host;
    Scene& scene = host.newScene();
    must(scene.journal().begin("import"));
    must(importMotion(scene, path).result());
    must(scene.journal().commit());
    const std::vector<Item*> meshes = scene.itemsOfType(host.meshType());
    std::size_t next = 0;
    for (std::size_t node = 0; node < gltf.nodes.size(); ++node) {
        if (gltf.nodes[node].mesh < 0)
            continue;
        ASSERT_LT(next, meshes.size());
        Item& mesh = *meshes[next++];
        for (const double time : {0.0, 0.317, 0.9}) {
            const auto expected = expectedPoints(gltf, node, time);
            const auto deformed = MeshPoses::of(scene).at(mesh, time);
            ASSERT_TRUE(deformed);
            ASSERT_EQ(deformed->points.size(), expected.size());
            double size = 0, worst = 0;
            for (std::size_t i = 0; i < expected.size(); ++i) {
                for (std::size_t a = 0; a < 3; ++a) {
                    size = std::max(size, std::abs(expected[i][a]));
                    worst = std::max(worst, std::abs(expected[i][a] - deformed->points[i][a]));
                }
            }
            EXPECT_LT(worst, 2e-4 * size) << mesh.uniqueName() << " at " << time;
        }
    }
    EXPECT_EQ(next, meshes.size());
    must(scene.journal().undo());
    EXPECT_EQ(scene.itemCount(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Files, GltfMeshFile,
                         ::testing::Values("CesiumMan.glb", "Fox.glb", "RiggedSimple_blender.glb",
                                           "Animation_Skin_01.gltf", "Animation_Node_03.gltf",
                                           "webxr_hand_left.glb"),
                         [](const auto& one) {
                             std::string name = one.param;
                             std::replace(name.begin(), name.end(), '.', '_');
                             return name;
                         });

} // namespace
