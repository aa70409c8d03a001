// SPDX-License-Identifier: MIT
// `ikfb.assign`: turns a hierarchy of locators into a rig.
#pragma once

#include "commands/RigCommand.h"

class CMarionetAssignCommand final : public CRigCommand {
public:
    CMarionetAssignCommand();

    zxresult execute(uint32_t flags) override;
    zxresult enable(ZxObject* message) override;
};
