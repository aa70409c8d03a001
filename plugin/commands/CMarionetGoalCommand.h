// SPDX-License-Identifier: MIT
// `ikfb.goal`: makes goals at the selected joints.
#pragma once

#include "commands/RigCommand.h"

class CMarionetGoalCommand final : public CRigJointCommand {
public:
    CMarionetGoalCommand();

    zxresult execute(uint32_t flags) override;

protected:
    zxresult testLocator(const CZxUser_Message& message, const CZxUser_Item& item,
                         const RigTypes& types) const override;
};
