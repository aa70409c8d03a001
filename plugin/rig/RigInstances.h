// SPDX-License-Identifier: MIT
// What the rig's packages put on the items that carry them.
#pragma once

#include "host/CZxPackage.h"
#include "host/CZxScene.h"

/// Base of the rig's instances: each holds its item.
class CRigInstance : public CZxImpl_PackageInstance {
public:
    zxresult initialise(ZxObject* item) override { return m_Item.query(item, kZxIdItem); }
    zxresult cleanUp() override
    {
        m_Item.clear();
        return kZxOk;
    }

protected:
    CZxUser_Item m_Item;
};

/// On an item with `ik.package`.
class CIKInstance final : public CRigInstance {
public:
    zxresult initialise(ZxObject* item) override
    {
        const zxresult result = CRigInstance::initialise(item);
        m_Scene = sceneOf(m_Item);
        return result;
    }
    zxresult cleanUp() override
    {
        m_Scene.clear();
        return CRigInstance::cleanUp();
    }

private:
    CZxUser_Scene m_Scene;
};

/// On an item with `ik.joint`.
class CMarionetJointInstance final : public CRigInstance { };
/// On an item with `ik.positionTask`.
class CMarionetPositionTaskInstance final : public CRigInstance { };
/// On an item with `ik.orientationTask`.
class CMarionetOrientationTaskInstance final : public CRigInstance { };
/// On a solver item.
class CMarionetInstance final : public CRigInstance { };
