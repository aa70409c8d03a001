// SPDX-License-Identifier: MIT
// Meshes as modules see them: polygons, points and weight maps.
#pragma once

#include "module/HostBinding.h"
#include "refhost/Mesh.h"

#include <zx/ZxMesh.h>

#include <memory>
#include <optional>
#include <string>

namespace refhost {

/// A mesh at one time, shared by its accessors.
struct MeshState {
    Scene& scene;
    std::shared_ptr<const DeformedMesh> deformed;
    Matrix34 toItem; ///< from the world to the item's frame
};
using SharedMesh = std::shared_ptr<const MeshState>;

class MeshFilterObject final : public HostObject {
public:
    MeshFilterObject(HostBinding& binding, Item& item, double time);

    zxresult generate(ZxObject** mesh);

    static const ZxMeshFilterTable kTable;

private:
    Scene& m_Target;
    ItemId m_Item;
    double m_Time;
};

class MeshObject final : public HostObject {
public:
    MeshObject(HostBinding& binding, SharedMesh mesh);

    zxresult polygons(ZxObject** polygons);
    zxresult points(ZxObject** points);
    zxresult maps(ZxObject** maps);

    static const ZxMeshTable kTable;

private:
    SharedMesh m_Mesh;
};

class PolygonObject final : public HostObject {
public:
    PolygonObject(HostBinding& binding, SharedMesh mesh);

    zxresult selectHit(const ZxRayHit* hit);
    zxresult vertexCount(uint32_t* count);
    zxresult vertexByIndex(uint32_t index, uint64_t* point);

    static const ZxPolygonTable kTable;

private:
    SharedMesh m_Mesh;
    std::optional<std::size_t> m_At;
};

class PointObject final : public HostObject {
public:
    PointObject(HostBinding& binding, SharedMesh mesh);

    zxresult select(uint64_t point);
    zxresult position(double* three);
    zxresult mapValue(uint64_t map, float* value);

    static const ZxPointTable kTable;

private:
    SharedMesh m_Mesh;
    std::optional<std::size_t> m_At;
};

class MeshMapObject final : public HostObject {
public:
    MeshMapObject(HostBinding& binding, SharedMesh mesh);

    zxresult enumerate(ZxObject* visitor);
    zxresult identifier(uint64_t* map);
    zxresult type(uint32_t* type);
    zxresult name(const char** name);

    static const ZxMeshMapTable kTable;

private:
    SharedMesh m_Mesh;
    std::optional<std::size_t> m_At;
    std::string m_Name;
};

} // namespace refhost
