// SPDX-License-Identifier: MIT
// What the rig's packages put on the items that carry them.
#pragma once

#include "host/CZxDraw.h"
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

/// On an item with `ik.package`: draws the joint's angular limits while it is selected.
class CIKInstance final : public CRigInstance, public CZxImpl_ViewItem3D {
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
    zxresult draw(ZxObject* read, ZxObject* draw, const float* colour) override;

private:
    CZxUser_Scene m_Scene;
};

/// On an item with `ik.joint`.
class CMarionetJointInstance final : public CRigInstance { };
/// On an item with `ik.positionTask`: it has nothing to draw, and says whether it could.
class CMarionetPositionTaskInstance final : public CRigInstance, public CZxImpl_ViewItem3D {
public:
    zxresult draw(ZxObject* read, ZxObject* draw, const float* colour) override;
};
/// On an item with `ik.orientationTask`.
class CMarionetOrientationTaskInstance final : public CRigInstance { };
/// On a solver item: draws a marker and the rig's chains.
class CMarionetInstance final : public CRigInstance, public CZxImpl_ViewItem3D {
public:
    zxresult draw(ZxObject* read, ZxObject* draw, const float* colour) override;
};
