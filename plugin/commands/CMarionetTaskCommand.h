// SPDX-License-Identifier: MIT
// `ikfb.task`: adds tasks to joints of a rig, or removes them.
#pragma once

#include "commands/RigCommand.h"

class CMarionetTaskCommand final : public CRigCommand {
public:
    CMarionetTaskCommand();

    zxresult execute(uint32_t flags) override;
    zxresult enable(ZxObject* message) override;
    zxresult icon(const char** name) override;
};
