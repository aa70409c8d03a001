// SPDX-License-Identifier: MIT
// Declares the rig's channels to the host and makes its instances.
#include "rig/RigPackages.h"

#include "host/CZxGenericPolymorph.h"
#include "rig/ChannelTables.h"

#include <cstring>

namespace {

/// Declares one channel. Throws the host's failure.
void Declare(const CZxUser_AddChannel& host, const ChannelRow& row)
{
    const bool isMatrix = std::strcmp(row.type, "matrix4") == 0;
    check(host.add(row.name, isMatrix ? "storage" : row.type));
    if (isMatrix) {
        check(host.setStorage(row.type));
    } else if (row.vector) {
        check(host.setVector("XYZ"));
        check(host.setDefaultVector(row.xyz[0], row.xyz[1], row.xyz[2]));
    } else {
        check(host.setDefault(row.number, row.integer));
    }
    if (row.hints)
        check(host.setHint(row.hints));
    if (row.setupSwitch)
        check(host.markSetupSwitch());
}

constexpr TagRow kSolverItemTags[] = {
    {"super", "ikSolver"}, {"pkg.createCmd", "-"}, {"pkg.graphs", "ikRetarget;ikTasks"}};

} // namespace

template <class Instance>
zxresult CRigPackage<Instance>::setupChannels(ZxObject* addChannel)
{
    CZxUser_AddChannel host;
    check(host.query(addChannel, kZxIdAddChannel));
    for (const ChannelRow& row : channels())
        Declare(host, row);
    return kZxOk;
}

template <class Instance>
zxresult CRigPackage<Instance>::attach(ZxObject** instance)
{
    *instance = spawnerOf<Instance>->create();
    return *instance ? kZxOk : kZxFailure;
}

template <class Instance>
zxresult CRigPackage<Instance>::testInterface(const ZxId* interfaceId)
{
    return answer(spawnerOf<Instance>->offers(*interfaceId));
}

template class CRigPackage<CIKInstance>;
template class CRigPackage<CMarionetJointInstance>;
template class CRigPackage<CMarionetPositionTaskInstance>;
template class CRigPackage<CMarionetOrientationTaskInstance>;
template class CRigPackage<CMarionetInstance>;

CIKPackage::CIKPackage() : CChannelRules(PackageRules()) { }
CMarionetJoint::CMarionetJoint() : CChannelRules(JointRules()) { }

std::span<const ChannelRow> CIKPackage::channels() const { return PackageChannels(); }
std::span<const ChannelRow> CMarionetJoint::channels() const { return JointChannels(); }
std::span<const ChannelRow> CMarionetPositionTask::channels() const { return PositionTaskChannels(); }
std::span<const ChannelRow> CMarionetOrientationTask::channels() const { return OrientationTaskChannels(); }
std::span<const ChannelRow> CMarionetItem::channels() const { return SolverChannels(); }
std::span<const TagRow> CMarionetItem::tags() const { return kSolverItemTags; }
