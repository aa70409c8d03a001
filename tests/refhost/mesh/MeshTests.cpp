// SPDX-License-Identifier: MIT
// Mesh items: skinning, ray casts, names of maps, files and undo.
#include "HostFixture.h"

#include <refhost/Mesh.h>
#include <refhost/SceneFile.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using namespace refhost;

/// Two triangles between an upper and a lower joint.
class MeshTest : public support::HostFixture {
protected:
    MeshTest()
    {
        begin();
        upper = &make("Upper");
        lower = &make("Lower", upper);
        write(*lower, TransformKind::Position, "pos.Y", 2);
    }
    void write(Item& item, TransformKind kind, const char* channel, double value)
    {
        const auto transform = scene.addTransformItem(item, kind);
        ASSERT_TRUE(transform.ok());
        ASSERT_TRUE(
            scene.writeNumber(*transform.value->channel(channel), Action::Edit, 0, value, WriteMode::Plain)
                .ok());
    }
    MeshData strip() const
    {
        MeshData data;
        data.points = {{0, 0, 0}, {1, 0, 0}, {0, 3, 0}, {1, 3, 0}};
        data.triangles = {{0, 1, 2}, {1, 3, 2}};
        data.normals.assign(4, {0, 0, 1});
        data.maps = {{"Upper", upper->id(), {}}, {"Lower", lower->id(), {}}};
        data.maps[1].inverseBind.offset = {0, -2, 0};
        data.weightStarts = {0, 1, 1, 3, 4};
        data.weights = {{0, 1}, {0, 0.5f}, {1, 1.5f}, {1, 1}};
        return data;
    }
    Item& add(MeshData data)
    {
        const auto item = addSkinnedMesh(scene, std::move(data));
        if (!item.ok())
            throw std::runtime_error(item.message);
        return *item.value;
    }
    std::vector<Vector3f> pointsOf(Item& item)
    {
        const auto deformed = MeshPoses::of(scene).at(item, host.time());
        return deformed ? deformed->points : std::vector<Vector3f>{};
    }

    Item* upper = nullptr;
    Item* lower = nullptr;
};

void expectPoint(const Vector3f& point, double x, double y, double z)
{
    EXPECT_NEAR(point[0], x, 1e-6);
    EXPECT_NEAR(point[1], y, 1e-6);
    EXPECT_NEAR(point[2], z, 1e-6);
}

TEST_F(MeshTest, pointsFollowTheirJointsByTheShareOfTheirWeights)
{
    Item& mesh = add(strip());
    write(mesh, TransformKind::Position, "pos.X", 10); // moves the point without weights alone
    write(*lower, TransformKind::Rotation, "rot.Z", std::acos(-1.0) / 2);
    const auto points = pointsOf(mesh);
    ASSERT_EQ(points.size(), 4u);
    expectPoint(points[0], 0, 0, 0);
    expectPoint(points[1], 11, 0, 0);
    // A quarter of the way from where it was to (0, 2) + (-1, 0): (0, 3, 0) to a quarter, (-1, 2, 0) to
    // three.
    expectPoint(points[2], -0.75, 2.25, 0);
    expectPoint(points[3], -1, 3, 0);
    EXPECT_EQ(MeshPoses::of(scene).at(mesh, 0)->low, (Vector3f{-1, 0, 0}));

    ASSERT_TRUE(scene.deleteItem(*lower).ok());
    expectPoint(pointsOf(mesh)[2], 0, 3, 0);
    expectPoint(pointsOf(mesh)[3], 11, 3, 0);
}

TEST_F(MeshTest, renamingAJointCarriesItsMapAlongAndUndoBringsTheNameBack)
{
    Item& mesh = add(strip());
    commit();
    begin();
    make("Elbow");
    ASSERT_TRUE(scene.rename(*lower, "Elbow").ok());
    commit();
    const WeightMap& map = meshOf(mesh)->data().maps[1];
    EXPECT_EQ(mapName(scene, map), lower->uniqueName());
    EXPECT_NE(mapName(scene, map), "Elbow");
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(mapName(scene, map), "Lower");
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_FALSE(mesh.isAlive());
    ASSERT_TRUE(scene.journal().redo().ok());
    EXPECT_EQ(pointsOf(mesh).size(), 4u);
}

TEST_F(MeshTest, sceneFilesHoldGeometryExactly)
{
    MeshData data = strip();
    data.points[3] = {0.1f, std::numeric_limits<float>::denorm_min(), -1e30f};
    data.colours.assign(4, {0.25f, 0.5f, 1.0f / 3});
    add(data);
    commit();
    const auto text = sceneText(scene);
    ASSERT_TRUE(text.ok()) << text.message;
    const auto read = readSceneText(host, text.value, "again");
    ASSERT_TRUE(read.ok()) << read.message;
    EXPECT_EQ(read.value->digest(), scene.digest());
    const auto mesh = meshOf(*read.value->findByUniqueName("mesh"));
    ASSERT_TRUE(mesh);
    EXPECT_EQ(mesh->data().points, data.points);
    EXPECT_EQ(mesh->data().weights, data.weights);
    EXPECT_EQ(mesh->data().maps[1].inverseBind, data.maps[1].inverseBind);

    for (const char* fact : {"\"points\":", "\"maps\":"}) {
        std::string changed = text.value;
        const std::size_t digit = changed.find('"', changed.find(fact) + std::string(fact).size()) + 1;
        changed[digit] = '9';
        EXPECT_FALSE(readSceneText(host, changed, "changed").ok()) << fact;
    }
}

TEST_F(MeshTest, geometryThatCannotBeIsRefusedWithAReason)
{
    const std::string before = scene.digest();
    const auto refuse = [&](auto&& spoil, const char* word) {
        MeshData data = strip();
        spoil(data);
        const auto made = addSkinnedMesh(scene, data);
        EXPECT_FALSE(made.ok()) << word;
        EXPECT_NE(made.message.find(word), std::string::npos) << made.message;
    };
    refuse([](MeshData& d) { d.triangles[1][2] = 4; }, "point 4");
    refuse([](MeshData& d) { d.points[0][1] = std::nanf(""); }, "finite");
    refuse([](MeshData& d) { d.normals.pop_back(); }, "normals");
    refuse([](MeshData& d) { d.weights[2].map = 7; }, "map 7");
    refuse([](MeshData& d) { d.weights[2].map = 0; }, "two weights");
    refuse([](MeshData& d) { d.weights[0].weight = -1; }, "from 0");
    refuse([](MeshData& d) { d.weightStarts[1] = 9; }, "fit");
    EXPECT_EQ(scene.digest(), before);
    EXPECT_FALSE(setMesh(*upper, strip()).ok());
}

/// Every triangle by another road than the tested one: the plane's crossing inside all three edges.
double bruteForce(const DeformedMesh& mesh, const Ray& ray)
{
    using V = Vector3;
    const auto sub = [](const V& a, const V& b) { return V{a[0] - b[0], a[1] - b[1], a[2] - b[2]}; };
    const auto dot = [](const V& a, const V& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; };
    const auto cross = [](const V& a, const V& b) {
        return V{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    };
    double best = std::numeric_limits<double>::infinity();
    for (const Triangle& triangle : mesh.mesh->data().triangles) {
        V p[3];
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t a = 0; a < 3; ++a)
                p[i][a] = mesh.points[triangle[i]][a];
        const V n = cross(sub(p[1], p[0]), sub(p[2], p[0]));
        const double t = dot(n, sub(p[0], ray.origin)) / dot(n, ray.direction);
        V at;
        for (std::size_t a = 0; a < 3; ++a)
            at[a] = ray.origin[a] + t * ray.direction[a];
        bool inside = t >= 0;
        for (std::size_t i = 0; i < 3; ++i)
            inside = inside && dot(n, cross(sub(p[(i + 1) % 3], p[i]), sub(at, p[i]))) >= 0;
        if (inside)
            best = std::min(best, t * std::sqrt(dot(ray.direction, ray.direction)));
    }
    return best;
}

TEST_F(MeshTest, raysMeetTheTriangleThatIsNearest)
{
    constexpr unsigned kSeed = 7;
    std::mt19937 random(kSeed);
    std::uniform_real_distribution<float> any(-1, 1);
    MeshData data;
    for (std::uint32_t i = 0; i < 1500; ++i) {
        const Vector3f middle{any(random), any(random), any(random)};
        for (int corner = 0; corner < 3; ++corner)
            data.points.push_back({middle[0] + 0.1f * any(random), middle[1] + 0.1f * any(random),
                                   middle[2] + 0.1f * any(random)});
        data.triangles.push_back({3 * i, 3 * i + 1, 3 * i + 2});
    }
    Item& mesh = add(std::move(data));
    int hits = 0;
    for (int pass = 0; pass < 2; ++pass) {
        const auto deformed = MeshPoses::of(scene).at(mesh, 0);
        for (int i = 0; i < 300; ++i) {
            Ray ray{{any(random), any(random), any(random)}, {any(random), any(random), any(random)}};
            if (i % 3 == 0)
                ray.direction = {0, 0, i % 2 ? 1.0 : -1.0};
            const double expected = bruteForce(*deformed, ray);
            RayHit hit;
            ASSERT_EQ(castRay(scene, 0, ray, hit), std::isfinite(expected)) << "seed " << kSeed << ", " << i;
            if (!std::isfinite(expected))
                continue;
            ++hits;
            EXPECT_NEAR(hit.distance, expected, 1e-9);
            for (std::size_t a = 0; a < 3; ++a) {
                double at = 0;
                for (std::size_t c = 0; c < 3; ++c)
                    at +=
                        hit.share[c] * deformed->points[deformed->mesh->data().triangles[hit.triangle][c]][a];
                EXPECT_NEAR(hit.position[a], at, 1e-9);
            }
        }
        write(mesh, TransformKind::Rotation, "rot.X", 1); // the boxes follow
    }
    EXPECT_GT(hits, 200);

    RayHit hit;
    ASSERT_TRUE(scene.writeNumber(*mesh.channel("visible"), Action::Edit, 0, 0, WriteMode::Plain).ok());
    EXPECT_FALSE(castRay(scene, 0, {{0, 0, 5}, {0, 0, -1}}, hit));
    EXPECT_FALSE(castRay(scene, 0, {{0, 0, 5}, {0, 0, 0}}, hit));
}

} // namespace
