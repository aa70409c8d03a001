// SPDX-License-Identifier: MIT
// `ikfb.assign`: turns a hierarchy of locators into a rig.
#pragma once

#include "commands/RigCommand.h"

class CMarionetAssignCommand final : public CRigJointCommand {
public:
    CMarionetAssignCommand();

    zxresult execute(uint32_t flags) override;

protected:
    zxresult testLocator(const CZxUser_Message& message, const CZxUser_Item& item,
                         const RigTypes& types) const override;
};
