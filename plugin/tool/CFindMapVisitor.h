// SPDX-License-Identifier: MIT
// Visitors of a mesh's maps.
#pragma once

#include "host/CZxMesh.h"

class CPoseTool;

/// Base: called with each map; an answer of false ends the enumeration.
class CMapVisitor : public CZxImpl_Visitor {
public:
    zxresult visit(ZxObject* accessor) final
    {
        CZxUser_MeshMap map;
        check(map.query(accessor, kZxIdMeshMap));
        return visitMap(map) ? kZxOk : kZxAborted;
    }

protected:
    virtual bool visitMap(const CZxUser_MeshMap& map) = 0;
};

/// Lets the pose tool weigh each map.
class CFindMapVisitor final : public CMapVisitor {
public:
    /// Null once the tool is no longer interested, since the host may keep the visitor.
    void setTool(CPoseTool* tool) { m_Tool = tool; }

protected:
    bool visitMap(const CZxUser_MeshMap& map) override;

private:
    CPoseTool* m_Tool = nullptr;
};
