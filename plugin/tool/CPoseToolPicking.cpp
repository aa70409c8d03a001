// SPDX-License-Identifier: MIT
// Picking a joint by the mesh that it moves.
#include "host/CZxGenericPolymorph.h"
#include "host/Services.h"
#include "rig/ChannelReads.h"
#include "tool/CFindMapVisitor.h"
#include "tool/CPoseTool.h"

#include <cstring>

bool CFindMapVisitor::visitMap(const CZxUser_MeshMap& map)
{
    if (m_Tool)
        m_Tool->WeighMap(map);
    return true;
}

CZxUser_Item CPoseTool::PickJointFromMesh(const CZxUser_Item& item, const ZxRayHit& hit)
{
    m_BestJoint = -1;
    m_BestWeight = 0;
    if (!HasChannel(item, "mesh"))
        return {};
    const CZxUser_ChannelRead read = EvaluatedRead(CurrentTime());
    const CZxUser_Mesh mesh = CZxUser_MeshFilter(read, item).generate();
    const CZxUser_Polygon polygon = mesh.polygons();
    const CZxUser_MeshMap maps = mesh.maps();
    CZxUser_Point point = mesh.points();
    uint64_t vertex = 0; // the polygon's first vertex stands for the polygon
    if (!polygon || !maps || !point || failed(polygon.selectHit(hit)) || failed(polygon.vertex(0, &vertex))
        || failed(point.select(vertex)))
        return {};
    m_Point = std::move(point);
    CFindMapVisitor* visitor = nullptr;
    CZxUser_Visitor face;
    face.adopt(spawnerOf<CFindMapVisitor>->spawn(&visitor));
    visitor->setTool(this);
    maps.enumerate(face);
    visitor->setTool(nullptr);
    m_Point.clear();
    return IsJoint(m_BestJoint) ? m_Joints[static_cast<std::size_t>(m_BestJoint)]->item : CZxUser_Item();
}

void CPoseTool::WeighMap(const CZxUser_MeshMap& map)
{
    uint32_t type = 0;
    const char* name = nullptr;
    if (failed(map.type(&type)) || type != kZxMapWeight || !(name = map.name()))
        return;
    for (std::size_t i = 0; i < m_Joints.size(); ++i) {
        const char* joint = nullptr;
        if (failed(m_Joints[i]->item.call<&ZxItemTable::uniqueName>(&joint)) || std::strcmp(joint, name) != 0)
            continue;
        uint64_t identifier = 0;
        float weight = 0;
        if (succeeded(map.identifier(&identifier)) && succeeded(m_Point.mapValue(identifier, &weight))
            && weight > m_BestWeight) {
            m_BestWeight = weight;
            m_BestJoint = static_cast<int32_t>(i);
        }
        return;
    }
}
