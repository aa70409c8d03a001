// SPDX-License-Identifier: MIT
// Points of meshes in the world: linear blend skinning by the joints as they are evaluated.
#include "mesh/MeshPose.h"

#include "refhost/Evaluation.h"

#include <algorithm>
#include <cmath>

namespace refhost {
namespace {

/// From the points' space to the world; false for a joint that is gone.
bool skinMatrix(Scene& scene, const WeightMap& map, double time, Matrix34& out)
{
    Item* joint = map.joint ? scene.find(map.joint) : nullptr;
    Channel* channel = joint ? joint->channel("worldMatrix") : nullptr;
    Matrix34 world;
    if (!channel || !Evaluation::of(scene).matrix(*channel, time, world))
        return false;
    out = world * map.inverseBind;
    return true;
}

/// Rows of a matrix, and what the points' sums of such rows are.
using Rows = std::array<double, 12>;

Rows rowsOf(const Matrix34& matrix)
{
    Rows rows;
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c)
            rows[r * 4 + c] = matrix.linear.m[r][c];
        rows[r * 4 + 3] = matrix.offset[r];
    }
    return rows;
}

Vector3f moved(const Rows& rows, const Vector3f& p, double w)
{
    Vector3f out;
    for (std::size_t r = 0; r < 3; ++r)
        out[r] = static_cast<float>(rows[r * 4] * p[0] + rows[r * 4 + 1] * p[1] + rows[r * 4 + 2] * p[2]
                                    + rows[r * 4 + 3] * w);
    return out;
}

/// A normal goes by the cofactors, which is the inverse transposed up to length.
Vector3f movedNormal(const Rows& m, const Vector3f& n)
{
    const auto cofactor = [&](std::size_t r, std::size_t c) {
        const std::size_t r1 = (r + 1) % 3 * 4, r2 = (r + 2) % 3 * 4, c1 = (c + 1) % 3, c2 = (c + 2) % 3;
        return m[r1 + c1] * m[r2 + c2] - m[r1 + c2] * m[r2 + c1];
    };
    double v[3];
    for (std::size_t r = 0; r < 3; ++r)
        v[r] = cofactor(r, 0) * n[0] + cofactor(r, 1) * n[1] + cofactor(r, 2) * n[2];
    const double length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    if (!(length > 0))
        return n;
    return {static_cast<float>(v[0] / length), static_cast<float>(v[1] / length),
            static_cast<float>(v[2] / length)};
}

class Deformer {
public:
    Deformer(const MeshData& data, const Matrix34& own, const std::vector<MeshPoses::MapPlace>& places)
        : m_Data(data), m_Own(rowsOf(own)), m_Places(places)
    {
        for (const MeshPoses::MapPlace& place : places)
            m_Rows.push_back(rowsOf(place.matrix));
    }

    Rows blend(std::size_t point) const
    {
        if (m_Data.weightStarts.empty())
            return m_Own;
        Rows sum{};
        double total = 0;
        for (std::uint32_t i = m_Data.weightStarts[point]; i < m_Data.weightStarts[point + 1]; ++i) {
            const PointWeight& weight = m_Data.weights[i];
            if (!m_Places[weight.map].counts)
                continue;
            for (std::size_t k = 0; k < sum.size(); ++k)
                sum[k] += weight.weight * m_Rows[weight.map][k];
            total += weight.weight;
        }
        if (!(total > 0))
            return m_Own;
        for (double& value : sum)
            value /= total;
        return sum;
    }

private:
    const MeshData& m_Data;
    Rows m_Own;
    const std::vector<MeshPoses::MapPlace>& m_Places;
    std::vector<Rows> m_Rows;
};

void deform(DeformedMesh& out, const Matrix34& own, const std::vector<MeshPoses::MapPlace>& places)
{
    const MeshData& data = out.mesh->data();
    const Deformer deformer(data, own, places);
    out.points.resize(data.points.size());
    out.normals.resize(data.normals.size());
    for (std::size_t i = 0; i < data.points.size(); ++i) {
        const Rows rows = deformer.blend(i);
        out.points[i] = moved(rows, data.points[i], 1);
        if (!data.normals.empty())
            out.normals[i] = movedNormal(rows, data.normals[i]);
    }
    if (!out.points.empty())
        out.low = out.high = out.points[0];
    for (const Vector3f& point : out.points) {
        for (std::size_t a = 0; a < 3; ++a) {
            out.low[a] = std::min(out.low[a], point[a]);
            out.high[a] = std::max(out.high[a], point[a]);
        }
    }
}

} // namespace

MeshPoses& MeshPoses::of(Scene& scene) { return scene.attachments().require<MeshPoses>(scene); }

MeshPoses::MeshPoses(Scene& scene) : m_Scene(scene) { }
MeshPoses::~MeshPoses() = default;

MeshPoses::Pose* MeshPoses::pose(Item& item, double timeSeconds)
{
    const std::shared_ptr<const Mesh> mesh = meshOf(item);
    if (!mesh)
        return nullptr;
    Matrix34 own;
    if (Channel* channel = item.channel("worldMatrix"))
        (void)Evaluation::of(m_Scene).matrix(*channel, timeSeconds, own);
    std::vector<MapPlace> places(mesh->data().maps.size());
    for (std::size_t i = 0; i < places.size(); ++i)
        places[i].counts = skinMatrix(m_Scene, mesh->data().maps[i], timeSeconds, places[i].matrix);

    auto found = std::lower_bound(m_Poses.begin(), m_Poses.end(), item.id(),
                                  [](const auto& pose, ItemId id) { return pose->item < id; });
    if (found == m_Poses.end() || (*found)->item != item.id()) {
        std::erase_if(m_Poses, [&](const auto& pose) { return !m_Scene.find(pose->item); });
        found = std::lower_bound(m_Poses.begin(), m_Poses.end(), item.id(),
                                 [](const auto& pose, ItemId id) { return pose->item < id; });
        found = m_Poses.insert(found, std::make_unique<Pose>());
        (*found)->item = item.id();
    }
    Pose& pose = **found;
    if (!pose.deformed || pose.deformed->mesh != mesh || pose.own != own || pose.places != places) {
        auto deformed = std::make_shared<DeformedMesh>();
        deformed->mesh = mesh;
        deform(*deformed, own, places);
        pose.deformed = std::move(deformed);
        pose.own = own;
        pose.places = std::move(places);
        pose.boxes.clear();
    }
    return &pose;
}

std::shared_ptr<const DeformedMesh> MeshPoses::at(Item& item, double timeSeconds)
{
    const Pose* found = pose(item, timeSeconds);
    return found ? found->deformed : nullptr;
}

} // namespace refhost
