// SPDX-License-Identifier: MIT
// The geometry of a mesh item: points, triangles, weight maps and the skin that binds them to joints.
#pragma once

#include "refhost/Item.h"
#include "refhost/Result.h"
#include "refhost/Scene.h"
#include "refhost/Transforms.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace refhost {

/// The item data under which a mesh item keeps its geometry, a Mesh. Its text channel `mesh` names it.
inline constexpr const char* kMeshDataKind = "mesh";
inline constexpr const char* kMeshChannel = "mesh";

/// More of anything is refused: points, triangles, weights.
inline constexpr std::size_t kMaximumMeshElements = std::size_t{1} << 26;

using Vector3f = std::array<float, 3>;
using Triangle = std::array<std::uint32_t, 3>;

/// A map of weights over the points. One that belongs to a skin moves its points with a joint.
struct WeightMap {
    std::string name; ///< the joint's unique name when the map was made; see mapName
    ItemId joint = 0; ///< 0 for a map that is bound to nothing
    Matrix34 inverseBind; ///< from the space of the points to the joint's space, at the time of binding
};

struct PointWeight {
    std::uint32_t map = 0; ///< index into the maps
    float weight = 0; ///< 0 or more

    bool operator==(const PointWeight&) const = default;
};

/// What makes a mesh. Points without weights follow the item's own `worldMatrix`; points with weights follow
/// their joints alone, and then the points' space is that of the binding.
struct MeshData {
    std::string name = "mesh"; ///< of the item
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles; ///< indices of points
    std::vector<Vector3f> normals; ///< one for each point, or none
    std::vector<Vector3f> colours; ///< red, green, blue from 0 to 1 for each point, or none
    Vector3f colour{0.8f, 0.8f, 0.8f}; ///< where there are no colours
    std::vector<WeightMap> maps;
    std::vector<std::uint32_t> weightStarts; ///< first weight of each point and the end of the last, or none
    std::vector<PointWeight> weights;
};

class MeshTree;

/// Checked geometry that never changes.
class Mesh final : public DocumentData {
public:
    /// Refused: indices past the end, numbers that are not finite, lists that don't fit each other, two
    /// weights of one point in one map.
    static ResultOf<std::shared_ptr<const Mesh>> make(MeshData data);
    ~Mesh() override;

    const MeshData& data() const { return m_Data; }
    std::string digest() const override;
    /// Nothing when the point has no value in the map.
    const float* weight(std::size_t map, std::size_t point) const;
    /// How the triangles lie to each other, for ray casts; made at the first call.
    const MeshTree& tree() const;

private:
    explicit Mesh(MeshData data);

    MeshData m_Data;
    mutable std::unique_ptr<MeshTree> m_Tree;
};

/// The map's name now: that of its joint, whatever it was renamed to, or the stored one without a joint.
const std::string& mapName(const Scene& scene, const WeightMap& map);

/// The geometry of a mesh item; null for an item without.
std::shared_ptr<const Mesh> meshOf(const Item& item);
/// Makes a mesh item with this geometry. The caller opens the step; a refusal leaves the scene as it was.
ResultOf<Item*> addSkinnedMesh(Scene& scene, MeshData data, Item* parent = nullptr);
/// Replaces the geometry of a mesh item.
Result setMesh(Item& item, MeshData data);

/// A mesh as it stands in the world at one time.
struct DeformedMesh {
    std::shared_ptr<const Mesh> mesh;
    std::vector<Vector3f> points; ///< world
    std::vector<Vector3f> normals; ///< world, of length 1; empty when the mesh has none
    Vector3f low{}, high{}; ///< the box around the points; all 0 without points
};

struct Ray {
    Vector3 origin{};
    Vector3 direction{0, 0, -1}; ///< any length
};

/// Where a ray meets a mesh first.
struct RayHit {
    Item* item = nullptr;
    std::uint32_t triangle = 0;
    double distance = 0; ///< from the origin, in world units
    Vector3 position{}; ///< world
    Vector3 normal{}; ///< world, of length 1, by the winding of the triangle
    std::array<double, 3> share{}; ///< of the triangle's points, summing up to 1
};

/// Deformed meshes of one scene; what stands still is not computed again.
class MeshPoses {
public:
    static MeshPoses& of(Scene& scene);

    /// Made by `of`.
    explicit MeshPoses(Scene& scene);
    ~MeshPoses();

    /// Linear blend skinning by the evaluated `worldMatrix` of the joints; weights count by their share of
    /// the point's sum, and those of joints that are gone count nothing. Null for an item without geometry.
    std::shared_ptr<const DeformedMesh> at(Item& item, double timeSeconds);
    /// The nearest triangle of this item that the ray meets nearer than `hit.distance`; false, and `hit`
    /// untouched, when there is none.
    bool cast(Item& item, double timeSeconds, const Ray& ray, RayHit& hit);

    /// Where a map takes its points.
    struct MapPlace {
        Matrix34 matrix; ///< from the points' space to the world
        bool counts = false; ///< false for a map without a joint

        bool operator==(const MapPlace&) const = default;
    };

    MeshPoses(const MeshPoses&) = delete;
    MeshPoses& operator=(const MeshPoses&) = delete;

private:
    struct Pose;
    Pose* pose(Item& item, double timeSeconds);

    Scene& m_Scene;
    std::vector<std::unique_ptr<Pose>> m_Poses; // in order of the items' identifiers
};

/// The first triangle of a visible mesh that the ray meets, from either side; false when there is none.
bool castRay(Scene& scene, double timeSeconds, const Ray& ray, RayHit& hit);

} // namespace refhost
