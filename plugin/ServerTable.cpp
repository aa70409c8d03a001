// SPDX-License-Identifier: MIT
// The server table: every object that the host can ask for by name, in the order of registration.
#include "ServerTable.h"

#include "rig/CIKTaskModifier.h"
#include "rig/CIKTaskNode.h"
#include "rig/CMarionetModifier.h"
#include "rig/CMarionetNode.h"
#include "rig/RigInstances.h"
#include "rig/RigPackages.h"

void initialize(CZxThisModule& module)
{
    // clang-format off
    module.AddServer<CMarionetModifier, CZxIfc_EvalModifier, CZxIfc_StaticDesc>("ikfb");
    module.AddServer<CMarionetJoint, CZxIfc_Package, CZxIfc_StaticDesc>("ik.joint");
    module.AddServer<CMarionetPositionTask, CZxIfc_Package, CZxIfc_StaticDesc>("ik.positionTask");
    module.AddServer<CMarionetOrientationTask, CZxIfc_Package, CZxIfc_StaticDesc>("ik.orientationTask");
    module.AddServer<CIKTaskModifier, CZxIfc_EvalModifier, CZxIfc_StaticDesc>("iktask");
    module.AddServer<CIKPackage, CZxIfc_Package, CZxIfc_StaticDesc>("ik.package");
    module.AddServer<CMarionetItem, CZxIfc_Package, CZxIfc_StaticDesc>("ikFullBody");

    module.addSpawner<CMarionetNode, CZxIfc_Modifier>();
    module.addSpawner<CIKTaskNode, CZxIfc_Modifier>();
    module.addSpawner<CIKInstance, CZxIfc_PackageInstance>();
    module.addSpawner<CMarionetJointInstance, CZxIfc_PackageInstance>();
    module.addSpawner<CMarionetPositionTaskInstance, CZxIfc_PackageInstance>();
    module.addSpawner<CMarionetOrientationTaskInstance, CZxIfc_PackageInstance>();
    module.addSpawner<CMarionetInstance, CZxIfc_PackageInstance>();
    // clang-format on
}

void tearDown(CZxThisModule& module)
{
    spawnerOf<CMarionetNode>.reset();
    spawnerOf<CIKTaskNode>.reset();
    module.removeServers();
}
