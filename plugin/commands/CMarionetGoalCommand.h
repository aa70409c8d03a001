// SPDX-License-Identifier: MIT
// `ikfb.goal`: makes goals at the selected joints.
#pragma once

#include "commands/RigCommand.h"

class CMarionetGoalCommand final : public CRigCommand {
public:
    CMarionetGoalCommand();

    zxresult execute(uint32_t flags) override;
    zxresult enable(ZxObject* message) override;
};
