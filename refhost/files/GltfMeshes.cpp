// SPDX-License-Identifier: MIT
// Primitives to one mesh a node, and skins to weight maps.
#include "files/GltfMeshes.h"

#include "files/ImportFault.h"
#include "refhost/Mesh.h"

#include <algorithm>

namespace refhost {
namespace {

std::size_t at(int index) { return static_cast<std::size_t>(index); }

Matrix34 matrixOf(const formats::GltfMatrix& columns)
{
    Matrix34 out;
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c)
            out.linear.m[r][c] = columns[c * 4 + r];
        out.offset[r] = columns[12 + r];
    }
    return out;
}

class MeshImporter {
public:
    MeshImporter(const formats::Gltf& gltf, const std::vector<Item*>& items, std::size_t node)
        : m_Node(gltf.nodes[node]), m_Mesh(gltf.meshes[at(m_Node.mesh)]), m_Item(*items[node])
    {
        if (m_Node.skin >= 0)
            skin(gltf.skins[at(m_Node.skin)], items);
        m_Data.weightStarts.push_back(0);
        m_KeepNormals = std::all_of(m_Mesh.primitives.begin(), m_Mesh.primitives.end(), [](const auto& one) {
            return one.normals.size() == one.positions.size();
        });
        for (const formats::GltfPrimitive& primitive : m_Mesh.primitives)
            add(primitive);
        m_Data.name = m_Mesh.name.empty() ? m_Node.name + "_mesh" : m_Mesh.name;
        std::replace(m_Data.name.begin(), m_Data.name.end(), '\0', '_');
    }
    MeshData take() { return std::move(m_Data); }

private:
    void skin(const formats::GltfSkin& skin, const std::vector<Item*>& items)
    {
        for (std::size_t i = 0; i < skin.joints.size(); ++i) {
            const Item& joint = *items[at(skin.joints[i])];
            m_Data.maps.push_back({joint.uniqueName(), joint.id(), matrixOf(skin.inverseBind[i])});
        }
        m_JointCount = skin.joints.size();
    }

    /// What has no weights follows the node that the mesh belongs to.
    std::uint32_t nodeMap()
    {
        if (m_Data.maps.size() == m_JointCount)
            m_Data.maps.push_back({m_Item.uniqueName(), m_Item.id(), {}});
        return static_cast<std::uint32_t>(m_JointCount);
    }

    void add(const formats::GltfPrimitive& primitive)
    {
        const auto first = static_cast<std::uint32_t>(m_Data.points.size());
        m_Data.points.insert(m_Data.points.end(), primitive.positions.begin(), primitive.positions.end());
        if (m_KeepNormals)
            m_Data.normals.insert(m_Data.normals.end(), primitive.normals.begin(), primitive.normals.end());
        for (std::size_t i = 0; i + 2 < primitive.indices.size(); i += 3)
            m_Data.triangles.push_back({first + primitive.indices[i], first + primitive.indices[i + 1],
                                        first + primitive.indices[i + 2]});
        for (std::size_t i = 0; i < primitive.positions.size(); ++i)
            addWeights(primitive, i);
    }

    void addWeights(const formats::GltfPrimitive& primitive, std::size_t vertex)
    {
        const std::size_t begin = m_Data.weights.size();
        for (std::size_t k = 0; k < primitive.influenceCount; ++k) {
            const std::size_t place = vertex * primitive.influenceCount + k;
            const std::uint32_t map = primitive.joints[place];
            const float weight = primitive.weights[place];
            if (!(weight > 0) || map >= m_JointCount)
                continue;
            const auto same =
                std::find_if(m_Data.weights.begin() + static_cast<std::ptrdiff_t>(begin),
                             m_Data.weights.end(), [&](const PointWeight& one) { return one.map == map; });
            if (same != m_Data.weights.end())
                same->weight += weight;
            else
                m_Data.weights.push_back({map, weight});
        }
        if (m_Data.weights.size() == begin)
            m_Data.weights.push_back({nodeMap(), 1});
        m_Data.weightStarts.push_back(static_cast<std::uint32_t>(m_Data.weights.size()));
    }

    const formats::GltfNode& m_Node;
    const formats::GltfMesh& m_Mesh;
    const Item& m_Item;
    std::size_t m_JointCount = 0;
    bool m_KeepNormals = false;
    MeshData m_Data;
};

} // namespace

void importMeshes(Scene& scene, const formats::Gltf& gltf, const std::vector<Item*>& items)
{
    for (std::size_t i = 0; i < gltf.nodes.size(); ++i) {
        if (gltf.nodes[i].mesh < 0)
            continue;
        Item* root = items[i];
        while (root->parent())
            root = root->parent();
        (void)require(addSkinnedMesh(scene, MeshImporter(gltf, items, i).take(), root));
    }
}

} // namespace refhost
