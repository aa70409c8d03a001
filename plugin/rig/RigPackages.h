// SPDX-License-Identifier: MIT
// The rig's packages and item type: the servers that add its channels to items.
#pragma once

#include "host/CZxPackage.h"
#include "rig/ChannelRules.h"
#include "rig/RigInstances.h"

#include <cstdint>

struct ChannelRow;

/// A package of the rig: a table of channels, and the class of what stands on an item.
template <class Instance>
class CRigPackage : public CZxImpl_Package, public CZxImpl_StaticDesc {
public:
    zxresult setupChannels(ZxObject* addChannel) final;
    zxresult attach(ZxObject** instance) final;
    zxresult testInterface(const ZxId* interfaceId) final;

protected:
    virtual std::span<const ChannelRow> channels() const = 0;
};

/// `ik.package`: degrees of freedom, their weights and limits, and the rest pose.
class CIKPackage final : public CRigPackage<CIKInstance>, public CChannelRules {
public:
    CIKPackage();

protected:
    std::span<const ChannelRow> channels() const override;
};

/// `ik.joint`: a joint's switches.
class CMarionetJoint final : public CRigPackage<CMarionetJointInstance>, public CChannelRules {
public:
    CMarionetJoint();

protected:
    std::span<const ChannelRow> channels() const override;
};

/// `ik.positionTask`: a position goal of the joint.
class CMarionetPositionTask final : public CRigPackage<CMarionetPositionTaskInstance> {
    std::span<const ChannelRow> channels() const override;
};

/// `ik.orientationTask`: an orientation goal of the joint.
class CMarionetOrientationTask final : public CRigPackage<CMarionetOrientationTaskInstance> {
    std::span<const ChannelRow> channels() const override;
};

/// `ikFullBody`: the item type of the solver item, with the solver's settings.
class CMarionetItem final : public CRigPackage<CMarionetInstance> {
    std::span<const ChannelRow> channels() const override;
    std::span<const TagRow> tags() const override;
};
