// SPDX-License-Identifier: MIT
// Meshes: what each operation answers.
#include "module/MeshObjects.h"

#include "refhost/Evaluation.h"

#include <glue/Reference.h>

#include <algorithm>

namespace refhost {
namespace {

/// Identifiers of points and maps are no indices, so that nobody takes them for such.
constexpr std::uint64_t kFirstPoint = 1000, kFirstMap = 1;

const MeshData& dataOf(const SharedMesh& mesh) { return mesh->deformed->mesh->data(); }

} // namespace

MeshFilterObject::MeshFilterObject(HostBinding& binding, Item& item, double time)
    : HostObject(binding, &item.scene(), kZxIdMeshFilter, "MeshFilter", kTable.object, this),
      m_Target(item.scene()),
      m_Item(item.id()),
      m_Time(time)
{
}

zxresult MeshFilterObject::generate(ZxObject** mesh)
{
    if (binding().phase() == kEvalPhase)
        return kZxNotAvailable;
    Item* item = m_Target.find(m_Item);
    if (!item)
        return kZxNotAvailable;
    auto deformed = MeshPoses::of(m_Target).at(*item, m_Time);
    if (!deformed)
        return kZxNotFound;
    Matrix34 world, toItem;
    (void)Evaluation::of(m_Target).matrix(*item->channel("worldMatrix"), m_Time, world);
    (void)invert(world, toItem);
    *mesh = binding()
                .make<MeshObject>(
                    std::make_shared<const MeshState>(MeshState{m_Target, std::move(deformed), toItem}))
                .face();
    return kZxOk;
}

constinit const ZxMeshFilterTable MeshFilterObject::kTable = {
    .object = HostObject::kOps,
    .generate = hostSlot<MeshFilterObject, &MeshFilterObject::generate>,
};

MeshObject::MeshObject(HostBinding& binding, SharedMesh mesh)
    : HostObject(binding, &mesh->scene, kZxIdMesh, "Mesh", kTable.object, this), m_Mesh(std::move(mesh))
{
}

zxresult MeshObject::polygons(ZxObject** polygons)
{
    *polygons = binding().make<PolygonObject>(m_Mesh).face();
    return kZxOk;
}

zxresult MeshObject::points(ZxObject** points)
{
    *points = binding().make<PointObject>(m_Mesh).face();
    return kZxOk;
}

zxresult MeshObject::maps(ZxObject** maps)
{
    *maps = binding().make<MeshMapObject>(m_Mesh).face();
    return kZxOk;
}

constinit const ZxMeshTable MeshObject::kTable = {
    .object = HostObject::kOps,
    .polygons = hostSlot<MeshObject, &MeshObject::polygons>,
    .points = hostSlot<MeshObject, &MeshObject::points>,
    .maps = hostSlot<MeshObject, &MeshObject::maps>,
};

PolygonObject::PolygonObject(HostBinding& binding, SharedMesh mesh)
    : HostObject(binding, &mesh->scene, kZxIdPolygon, "Polygon", kTable.object, this), m_Mesh(std::move(mesh))
{
}

zxresult PolygonObject::selectHit(const ZxRayHit* hit)
{
    if (hit->polygon >= dataOf(m_Mesh).triangles.size())
        return kZxNotFound;
    m_At = hit->polygon;
    return kZxOk;
}

zxresult PolygonObject::vertexCount(uint32_t* count)
{
    if (!m_At)
        return kZxNotAvailable;
    *count = std::tuple_size_v<Triangle>;
    return kZxOk;
}

zxresult PolygonObject::vertexByIndex(uint32_t index, uint64_t* point)
{
    if (!m_At)
        return kZxNotAvailable;
    if (index >= std::tuple_size_v<Triangle>)
        return kZxOutOfRange;
    *point = kFirstPoint + dataOf(m_Mesh).triangles[*m_At][index];
    return kZxOk;
}

constinit const ZxPolygonTable PolygonObject::kTable = {
    .object = HostObject::kOps,
    .selectHit = hostSlot<PolygonObject, &PolygonObject::selectHit>,
    .vertexCount = hostSlot<PolygonObject, &PolygonObject::vertexCount>,
    .vertexByIndex = hostSlot<PolygonObject, &PolygonObject::vertexByIndex>,
};

PointObject::PointObject(HostBinding& binding, SharedMesh mesh)
    : HostObject(binding, &mesh->scene, kZxIdPoint, "Point", kTable.object, this), m_Mesh(std::move(mesh))
{
}

zxresult PointObject::select(uint64_t point)
{
    if (point < kFirstPoint || point - kFirstPoint >= dataOf(m_Mesh).points.size())
        return kZxNotFound;
    m_At = point - kFirstPoint;
    return kZxOk;
}

zxresult PointObject::position(double* three)
{
    if (!m_At)
        return kZxNotAvailable;
    const Vector3f& world = m_Mesh->deformed->points[*m_At];
    const Vector3 place = transformPoint(m_Mesh->toItem, {world[0], world[1], world[2]});
    std::copy(place.begin(), place.end(), three);
    return kZxOk;
}

zxresult PointObject::mapValue(uint64_t map, float* value)
{
    if (!m_At)
        return kZxNotAvailable;
    const float* found = map >= kFirstMap ? m_Mesh->deformed->mesh->weight(map - kFirstMap, *m_At) : nullptr;
    if (!found)
        return kZxNotFound;
    *value = *found;
    return kZxOk;
}

constinit const ZxPointTable PointObject::kTable = {
    .object = HostObject::kOps,
    .select = hostSlot<PointObject, &PointObject::select>,
    .position = hostSlot<PointObject, &PointObject::position>,
    .mapValue = hostSlot<PointObject, &PointObject::mapValue>,
};

MeshMapObject::MeshMapObject(HostBinding& binding, SharedMesh mesh)
    : HostObject(binding, &mesh->scene, kZxIdMeshMap, "MeshMap", kTable.object, this), m_Mesh(std::move(mesh))
{
}

zxresult MeshMapObject::enumerate(ZxObject* visitor)
{
    CZxLocalize<ZxVisitorTable> visits;
    if (failed(visits.query(visitor, kZxIdVisitor)))
        return kZxInvalidArgument;
    const std::vector<WeightMap>& maps = dataOf(m_Mesh).maps;
    for (std::size_t i = 0; i < maps.size(); ++i) {
        m_At = i;
        m_Name = mapName(m_Mesh->scene, maps[i]);
        if (const zxresult result = visits.call<&ZxVisitorTable::visit>(face()); failed(result))
            return result;
    }
    return kZxOk;
}

zxresult MeshMapObject::identifier(uint64_t* map)
{
    if (!m_At)
        return kZxNotAvailable;
    *map = kFirstMap + *m_At;
    return kZxOk;
}

zxresult MeshMapObject::type(uint32_t* type)
{
    if (!m_At)
        return kZxNotAvailable;
    *type = kZxMapWeight;
    return kZxOk;
}

zxresult MeshMapObject::name(const char** name)
{
    if (!m_At)
        return kZxNotAvailable;
    *name = m_Name.c_str();
    return kZxOk;
}

constinit const ZxMeshMapTable MeshMapObject::kTable = {
    .object = HostObject::kOps,
    .enumerate = hostSlot<MeshMapObject, &MeshMapObject::enumerate>,
    .identifier = hostSlot<MeshMapObject, &MeshMapObject::identifier>,
    .type = hostSlot<MeshMapObject, &MeshMapObject::type>,
    .name = hostSlot<MeshMapObject, &MeshMapObject::name>,
};

} // namespace refhost
