// SPDX-License-Identifier: MIT
// Meshes of the host, as far as picking asks, and the visitors that its enumerations call.
#pragma once

#include "host/CZxScene.h"
#include "host/HostTie.h"

#include <zx/ZxMesh.h>

class CZxImpl_Visitor {
public:
    virtual ~CZxImpl_Visitor() = default;
    virtual zxresult visit(ZxObject* accessor) = 0;

    static constexpr const ZxId& id = kZxIdVisitor;
    template <class T>
    static constexpr ZxVisitorTable makeTable()
    {
        return {.object = {}, .visit = tiedThunk<T, &CZxImpl_Visitor::visit>};
    }
};
template <class T>
using CZxIfc_Visitor = CZxAdapter<CZxImpl_Visitor, T>;

/// A visitor of the plug-in, as it is handed to the host.
using CZxUser_Visitor = CZxLocalize<ZxVisitorTable>;

class CZxUser_MeshMap : public CZxLocalize<ZxMeshMapTable> {
public:
    zxresult enumerate(const CZxUser_Visitor& visitor) const
    {
        return call<&ZxMeshMapTable::enumerate>(visitor);
    }
    zxresult identifier(uint64_t* map) const { return call<&ZxMeshMapTable::identifier>(map); }
    zxresult type(uint32_t* type) const { return call<&ZxMeshMapTable::type>(type); }
    /// Null when it can't be had.
    const char* name() const
    {
        const char* name = nullptr;
        return succeeded(call<&ZxMeshMapTable::name>(&name)) ? name : nullptr;
    }
};

class CZxUser_Point : public CZxLocalize<ZxPointTable> {
public:
    zxresult select(uint64_t point) const { return call<&ZxPointTable::select>(point); }
    zxresult mapValue(uint64_t map, float* value) const { return call<&ZxPointTable::mapValue>(map, value); }
};

class CZxUser_Polygon : public CZxLocalize<ZxPolygonTable> {
public:
    zxresult selectHit(const ZxRayHit& hit) const { return call<&ZxPolygonTable::selectHit>(&hit); }
    zxresult vertex(uint32_t index, uint64_t* point) const
    {
        return call<&ZxPolygonTable::vertexByIndex>(index, point);
    }
};

/// Its accessors are empty when the host refuses them.
class CZxUser_Mesh : public CZxLocalize<ZxMeshTable> {
public:
    CZxUser_Polygon polygons() const { return fetch<&ZxMeshTable::polygons, CZxUser_Polygon>(); }
    CZxUser_Point points() const { return fetch<&ZxMeshTable::points, CZxUser_Point>(); }
    CZxUser_MeshMap maps() const { return fetch<&ZxMeshTable::maps, CZxUser_MeshMap>(); }
};

/// Value of the channel `mesh`.
class CZxUser_MeshFilter : public CZxLocalize<ZxMeshFilterTable> {
public:
    CZxUser_MeshFilter(const CZxUser_ChannelRead& read, const CZxUser_Item& item)
    {
        if (const int32_t channel = item.channel("mesh"); channel >= 0)
            query(read.fetch<&ZxChannelReadTable::value, CZxObject>(item, channel).object(), kZxIdMeshFilter);
    }
    /// Empty when there is none.
    CZxUser_Mesh generate() const { return fetch<&ZxMeshFilterTable::generate, CZxUser_Mesh>(); }
};
