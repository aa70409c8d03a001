// SPDX-License-Identifier: MIT
// Meshes of a glTF file: triangles, and the joints that their vertices follow.
#include "gltf/GltfReader.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace formats {

namespace {

constexpr std::size_t kNoSkin = 0;
constexpr std::uint64_t kTriangles = 4;
constexpr std::uint64_t kStrip = 5;
constexpr std::uint64_t kFan = 6;

/// Corners of a strip or fan as a list; every second triangle of a strip is turned, so that all face one way.
std::vector<std::uint32_t> unrolled(const std::vector<std::uint32_t>& corners, std::uint64_t mode)
{
    std::vector<std::uint32_t> list;
    for (std::size_t i = 0; i + 2 < corners.size(); ++i) {
        if (mode == kStrip)
            list.insert(list.end(), {corners[i], corners[i + 1 + i % 2], corners[i + 2 - i % 2]});
        else
            list.insert(list.end(), {corners[i + 1], corners[i + 2], corners[0]});
    }
    return list;
}

std::vector<std::array<float, 3>> inThrees(const std::vector<float>& values)
{
    std::vector<std::array<float, 3>> threes(values.size() / 3);
    for (std::size_t i = 0; i < threes.size(); ++i)
        threes[i] = {values[i * 3], values[i * 3 + 1], values[i * 3 + 2]};
    return threes;
}

} // namespace

/// For every mesh, the fewest joints of the skins that it is shown with; kNoSkin where there is none.
std::vector<std::size_t> GltfReader::jointLimits() const
{
    std::vector<std::size_t> limits(m_Root.countOf("meshes"), kNoSkin);
    for (const GltfNode& node : m_Gltf.nodes) {
        if (node.mesh < 0 || node.skin < 0)
            continue;
        std::size_t& limit = limits[static_cast<std::size_t>(node.mesh)];
        const std::size_t joints = m_Gltf.skins[static_cast<std::size_t>(node.skin)].joints.size();
        limit = limit == kNoSkin ? joints : std::min(limit, joints);
    }
    return limits;
}

void GltfReader::readMeshes()
{
    const std::vector<std::size_t> limits = jointLimits();
    bool morphs = false;
    for (std::size_t i = 0; i < limits.size(); ++i) {
        const JsonView view = element("meshes", i);
        m_Gltf.meshes.push_back({view.textOr("name", ""), {}});
        const JsonView primitives = view.at("primitives");
        for (std::size_t p = 0; p < primitives.size(); ++p) {
            readPrimitive(primitives[p], i, limits[i]);
            morphs = morphs || primitives[p].countOf("targets") > 0;
        }
    }
    if (morphs)
        note("meshes", "morph targets (blend shapes) are not read; writing keeps them");
}

void GltfReader::readPrimitive(const JsonView& view, std::size_t mesh, std::size_t jointLimit)
{
    GltfPrimitive primitive;
    const std::uint64_t mode = view.integerOr("mode", kTriangles, kFan);
    if (const auto material = view.find("material"))
        primitive.material = static_cast<int>(material->index(m_Root.countOf("materials"), "materials"));
    const JsonView attributes = view.at("attributes");
    const auto position = attributes.find("POSITION");
    if (mode < kTriangles || !position)
        return note(view.path(),
                    mode < kTriangles ? "is made of points or lines; left out" : "has no POSITION; left out");

    const GltfAccessor& positions = m_Accessors.named(*position, "VEC3");
    if (const auto extensions = view.find("extensions"); positions.bytes.empty() && positions.sparseCount == 0
        && extensions && extensions->find("KHR_draco_mesh_compression"))
        refuse(view.path(),
               "has its vertices in Draco compression only; export it again without compression");
    const std::size_t vertexCount = positions.count;
    if (vertexCount > std::numeric_limits<std::uint32_t>::max())
        refuse(position->path(), "has more vertices than indices can name");

    if (const auto indices = view.find("indices")) {
        primitive.indices = m_Accessors.integers(m_Accessors.named(*indices, "SCALAR"), {});
        for (std::size_t i = 0; i < primitive.indices.size(); ++i)
            if (primitive.indices[i] >= vertexCount)
                refuse(indices->path(),
                       "number " + std::to_string(i) + " is " + std::to_string(primitive.indices[i])
                           + ", but there are " + std::to_string(vertexCount) + " vertices");
    } else {
        m_Accessors.spend(position->path(), vertexCount * sizeof(std::uint32_t));
        primitive.indices.resize(vertexCount);
        std::iota(primitive.indices.begin(), primitive.indices.end(), 0u);
    }
    if (mode != kTriangles) {
        m_Accessors.spend(view.path(), primitive.indices.size() * 3 * sizeof(std::uint32_t));
        primitive.indices = unrolled(primitive.indices, mode);
    } else if (const std::size_t rest = primitive.indices.size() % 3; rest != 0) {
        note(view.path(), "ends inside a triangle; what is left of it is left out");
        primitive.indices.resize(primitive.indices.size() - rest);
    }
    if (primitive.indices.empty())
        return note(view.path(), "has no triangle; left out");

    // Primitives may share one large set of vertices and use a few each.
    std::vector<std::uint32_t> places;
    if (vertexCount > primitive.indices.size()) {
        places = primitive.indices;
        std::sort(places.begin(), places.end());
        places.erase(std::unique(places.begin(), places.end()), places.end());
        for (std::uint32_t& index : primitive.indices)
            index = static_cast<std::uint32_t>(std::lower_bound(places.begin(), places.end(), index)
                                               - places.begin());
    }
    primitive.positions = inThrees(m_Accessors.floats(positions, places));
    if (const auto normal = attributes.find("NORMAL")) {
        const GltfAccessor& normals = m_Accessors.named(*normal, "VEC3");
        if (normals.count != vertexCount)
            refuse(normal->path(),
                   "has " + std::to_string(normals.count) + " elements for " + std::to_string(vertexCount)
                       + " vertices");
        primitive.normals = inThrees(m_Accessors.floats(normals, places));
    }
    if (jointLimit != kNoSkin)
        readInfluences(attributes, places, vertexCount, jointLimit, primitive);
    m_Gltf.meshes[mesh].primitives.push_back(std::move(primitive));
}

void GltfReader::readInfluences(const JsonView& attributes, std::span<const std::uint32_t> places,
                                std::size_t vertexCount, std::size_t jointLimit, GltfPrimitive& primitive)
{
    const std::size_t count = primitive.positions.size();
    std::vector<std::vector<std::uint32_t>> joints;
    std::vector<std::vector<float>> weights;
    for (std::size_t set = 0;; ++set) {
        const auto jointView = attributes.find(("JOINTS_" + std::to_string(set)).c_str());
        const auto weightView = attributes.find(("WEIGHTS_" + std::to_string(set)).c_str());
        if (jointView.has_value() != weightView.has_value())
            refuse(attributes.path(), "has JOINTS or WEIGHTS of set " + std::to_string(set) + " alone");
        if (!jointView)
            break;
        for (const JsonView& view : {*jointView, *weightView})
            if (const GltfAccessor& accessor = m_Accessors.named(view, "VEC4"); accessor.count != vertexCount)
                refuse(view.path(),
                       "has " + std::to_string(accessor.count) + " elements for "
                           + std::to_string(vertexCount) + " vertices");
        joints.push_back(m_Accessors.integers(m_Accessors.named(*jointView, "VEC4"), places));
        weights.push_back(m_Accessors.floats(m_Accessors.named(*weightView, "VEC4"), places));
        for (std::size_t i = 0; i < joints.back().size(); ++i) {
            if (joints.back()[i] < jointLimit)
                continue;
            if (weights.back()[i] != 0)
                refuse(jointView->path(),
                       "vertex " + std::to_string(places.empty() ? i / 4 : places[i / 4]) + " follows joint "
                           + std::to_string(joints.back()[i]) + " of a skin of "
                           + std::to_string(jointLimit));
            joints.back()[i] = 0;
        }
    }
    primitive.influenceCount = joints.size() * 4;
    m_Accessors.spend(attributes.path(),
                      count * primitive.influenceCount * (sizeof(std::uint16_t) + sizeof(float)));
    primitive.joints.reserve(count * primitive.influenceCount);
    primitive.weights.reserve(count * primitive.influenceCount);
    for (std::size_t v = 0; v < count; ++v)
        for (std::size_t set = 0; set < joints.size(); ++set)
            for (std::size_t c = v * 4; c < v * 4 + 4; ++c) {
                primitive.joints.push_back(static_cast<std::uint16_t>(joints[set][c]));
                primitive.weights.push_back(weights[set][c]);
            }
}

} // namespace formats
