// SPDX-License-Identifier: MIT
// The server table: every object that the host can ask for by name, in the order of registration.
#include "ServerTable.h"

#include "commands/CIKChainCommand.h"
#include "commands/CIKRemoveCommand.h"
#include "commands/CIKRetargetCommand.h"
#include "commands/CMarionetAssignCommand.h"
#include "commands/CMarionetAssignGoalCommand.h"
#include "commands/CMarionetGoalCommand.h"
#include "commands/CMarionetSetRestCommand.h"
#include "commands/CMarionetTaskCommand.h"
#include "rig/CIKTaskModifier.h"
#include "rig/CIKTaskNode.h"
#include "rig/CMarionetModifier.h"
#include "rig/CMarionetNode.h"
#include "rig/RigInstances.h"
#include "rig/RigPackages.h"
#include "tool/CFindMapVisitor.h"
#include "tool/CPoseTool.h"

void initialize(CZxThisModule& module)
{
    // clang-format off
    module.AddServer<CMarionetModifier, CZxIfc_EvalModifier, CZxIfc_StaticDesc>("ikfb");
    module.AddServer<CMarionetAssignCommand, CZxIfc_Command, CZxIfc_Attributes, CZxIfc_AttributesUI>("ikfb.assign");
    module.AddServer<CMarionetSetRestCommand, CZxIfc_Command, CZxIfc_Attributes, CZxIfc_AttributesUI>("ikfb.setRest");
    module.AddServer<CMarionetTaskCommand, CZxIfc_Command, CZxIfc_Attributes, CZxIfc_AttributesUI>("ikfb.task");
    module.AddServer<CMarionetGoalCommand, CZxIfc_Command, CZxIfc_Attributes, CZxIfc_AttributesUI>("ikfb.goal");
    module.AddServer<CMarionetAssignGoalCommand, CZxIfc_Command, CZxIfc_Attributes, CZxIfc_AttributesUI>("ikfb.goalAssign");
    module.AddServer<CIKChainCommand, CZxIfc_Command, CZxIfc_Attributes, CZxIfc_AttributesUI>("ikfb.chain");
    module.AddServer<CIKRemoveCommand, CZxIfc_Command, CZxIfc_Attributes, CZxIfc_AttributesUI>("ikfb.remove");
    module.AddServer<CIKRetargetCommand, CZxIfc_Command, CZxIfc_Attributes, CZxIfc_AttributesUI>("ikfb.retarget");
    module.AddServer<CMarionetJoint, CZxIfc_Package, CZxIfc_StaticDesc, CZxIfc_ChannelUI>("ik.joint");
    module.AddServer<CMarionetPositionTask, CZxIfc_Package, CZxIfc_StaticDesc>("ik.positionTask");
    module.AddServer<CMarionetOrientationTask, CZxIfc_Package, CZxIfc_StaticDesc>("ik.orientationTask");
    module.AddServer<CIKTaskModifier, CZxIfc_EvalModifier, CZxIfc_StaticDesc>("iktask");
    module.AddServer<CIKPackage, CZxIfc_Package, CZxIfc_StaticDesc, CZxIfc_ChannelUI>("ik.package");
    module.AddServer<CMarionetItem, CZxIfc_Package, CZxIfc_StaticDesc>("ikFullBody");
    module.AddServer<CPoseTool, CZxIfc_Tool, CZxIfc_ToolModel, CZxIfc_Attributes>("ik.pose");

    module.addSpawner<CMarionetNode, CZxIfc_Modifier>();
    module.addSpawner<CIKTaskNode, CZxIfc_Modifier>();
    module.addSpawner<CIKInstance, CZxIfc_PackageInstance, CZxIfc_ViewItem3D>();
    module.addSpawner<CMarionetJointInstance, CZxIfc_PackageInstance>();
    module.addSpawner<CMarionetPositionTaskInstance, CZxIfc_PackageInstance, CZxIfc_ViewItem3D>();
    module.addSpawner<CMarionetOrientationTaskInstance, CZxIfc_PackageInstance>();
    module.addSpawner<CMarionetInstance, CZxIfc_PackageInstance, CZxIfc_ViewItem3D>();
    module.addSpawner<CZxArgumentValue, CZxIfc_Value, CZxIfc_ValueReference>();
    module.addSpawner<CFindMapVisitor, CZxIfc_Visitor>();
    // clang-format on
}

void tearDown(CZxThisModule& module)
{
    spawnerOf<CMarionetNode>.reset();
    spawnerOf<CIKTaskNode>.reset();
    module.removeServers();
}
