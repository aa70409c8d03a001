// SPDX-License-Identifier: MIT
// Checking geometry, and mesh items in a scene.
#include "refhost/Mesh.h"

#include "mesh/MeshStorage.h"
#include "mesh/MeshTree.h"
#include "refhost/Host.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace refhost {
namespace {

bool areFinite(const std::vector<Vector3f>& list)
{
    return std::all_of(list.begin(), list.end(), [](const Vector3f& v) {
        return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
    });
}

Result checkSizes(const MeshData& data)
{
    const struct {
        const char* what;
        std::size_t count;
    } kCounts[] = {{"points", data.points.size()},
                   {"triangles", data.triangles.size()},
                   {"weights", data.weights.size()},
                   {"weight maps", data.maps.size()}};
    for (const auto& row : kCounts) {
        if (row.count > kMaximumMeshElements)
            return Result::failure("A mesh can't have " + std::to_string(row.count) + " " + row.what
                                   + "; divide it.");
    }
    if (!data.normals.empty() && data.normals.size() != data.points.size())
        return Result::failure("The mesh has " + std::to_string(data.points.size()) + " points but "
                               + std::to_string(data.normals.size()) + " normals.");
    if (!data.colours.empty() && data.colours.size() != data.points.size())
        return Result::failure("The mesh has " + std::to_string(data.points.size()) + " points but "
                               + std::to_string(data.colours.size()) + " colours.");
    if (!areFinite(data.points) || !areFinite(data.normals) || !areFinite(data.colours)
        || !areFinite({data.colour}))
        return Result::failure("The mesh has numbers that are not finite; repair it.");
    return {};
}

Result checkWeightsOf(const MeshData& data, std::size_t point)
{
    const std::uint32_t begin = data.weightStarts[point], end = data.weightStarts[point + 1];
    const std::string at = "Point " + std::to_string(point) + " of the mesh ";
    for (std::uint32_t i = begin; i < end; ++i) {
        const PointWeight& weight = data.weights[i];
        if (weight.map >= data.maps.size())
            return Result::failure(at + "has a weight in map " + std::to_string(weight.map)
                                   + ", but there are " + std::to_string(data.maps.size()) + " maps.");
        if (!(std::isfinite(weight.weight) && weight.weight >= 0))
            return Result::failure(at + "has a weight that is no number from 0 up.");
        for (std::uint32_t j = begin; j < i; ++j) {
            if (data.weights[j].map == weight.map)
                return Result::failure(at + "has two weights in one map.");
        }
    }
    return {};
}

Result checkWeights(const MeshData& data)
{
    for (const WeightMap& map : data.maps) {
        if (!isFinite(map.inverseBind))
            return Result::failure("The weight map '" + map.name
                                   + "' has a binding that is not finite; repair it.");
    }
    if (data.weightStarts.empty())
        return data.weights.empty() ? Result{}
                                    : Result::failure("The mesh has weights that belong to no point.");
    const bool fits = data.weightStarts.size() == data.points.size() + 1 && data.weightStarts.front() == 0
        && data.weightStarts.back() == data.weights.size()
        && std::is_sorted(data.weightStarts.begin(), data.weightStarts.end());
    if (!fits)
        return Result::failure("The mesh's weights don't fit its points.");
    for (std::size_t i = 0; i < data.points.size(); ++i) {
        if (Result result = checkWeightsOf(data, i); !result.ok())
            return result;
    }
    return {};
}

} // namespace

Mesh::Mesh(MeshData data) : m_Data(std::move(data)) { }
Mesh::~Mesh() = default;

ResultOf<std::shared_ptr<const Mesh>> Mesh::make(MeshData data)
{
    using Answer = ResultOf<std::shared_ptr<const Mesh>>;
    if (Result result = checkSizes(data); !result.ok())
        return Answer::failure(result.message);
    for (std::size_t i = 0; i < data.triangles.size(); ++i) {
        for (const std::uint32_t point : data.triangles[i]) {
            if (point >= data.points.size())
                return Answer::failure("Triangle " + std::to_string(i) + " of the mesh names point "
                                       + std::to_string(point) + ", but there are "
                                       + std::to_string(data.points.size()) + " points.");
        }
    }
    if (Result result = checkWeights(data); !result.ok())
        return Answer::failure(result.message);
    return {std::shared_ptr<const Mesh>(new Mesh(std::move(data))), {}};
}

std::string Mesh::digest() const
{
    const StoredData stored = storedMesh(m_Data);
    return std::to_string(stored.bytes.size()) + '|' + std::to_string(std::hash<std::string>()(stored.bytes));
}

const float* Mesh::weight(std::size_t map, std::size_t point) const
{
    if (m_Data.weightStarts.empty() || point >= m_Data.points.size())
        return nullptr;
    for (std::uint32_t i = m_Data.weightStarts[point]; i < m_Data.weightStarts[point + 1]; ++i) {
        if (m_Data.weights[i].map == map)
            return &m_Data.weights[i].weight;
    }
    return nullptr;
}

const MeshTree& Mesh::tree() const
{
    if (!m_Tree)
        m_Tree = std::make_unique<MeshTree>(m_Data);
    return *m_Tree;
}

const std::string& mapName(const Scene& scene, const WeightMap& map)
{
    const Item* joint = map.joint ? scene.find(map.joint) : nullptr;
    return joint ? joint->uniqueName() : map.name;
}

std::shared_ptr<const Mesh> meshOf(const Item& item)
{
    return std::dynamic_pointer_cast<const Mesh>(item.data().find(kMeshDataKind));
}

Result setMesh(Item& item, MeshData data)
{
    if (&item.type() != &item.scene().host().meshType())
        return Result::failure("'" + item.label() + "' is no mesh and can have no geometry.");
    auto mesh = Mesh::make(std::move(data));
    return mesh.ok() ? item.scene().setData(item, kMeshDataKind, std::move(mesh.value)) : mesh.result();
}

ResultOf<Item*> addSkinnedMesh(Scene& scene, MeshData data, Item* parent)
{
    using Answer = ResultOf<Item*>;
    const std::string name = data.name;
    auto mesh = Mesh::make(std::move(data));
    if (!mesh.ok())
        return Answer::failure(mesh.message);
    const Answer item = scene.createItem(scene.host().meshType(), name, {.parent = parent});
    if (!item.ok())
        return item;
    if (Result result = scene.setData(*item.value, kMeshDataKind, std::move(mesh.value)); !result.ok())
        return Answer::failure(result.message);
    return item;
}

} // namespace refhost
