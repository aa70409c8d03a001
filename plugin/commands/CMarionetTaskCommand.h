// SPDX-License-Identifier: MIT
// `ikfb.task`: adds tasks to joints of a rig, or removes them.
#pragma once

#include "commands/RigCommand.h"

class CMarionetTaskCommand final : public CRigJointCommand {
public:
    CMarionetTaskCommand();

    zxresult execute(uint32_t flags) override;
    zxresult icon(const char** name) override;

protected:
    zxresult testLocator(const CZxUser_Message& message, const CZxUser_Item& item,
                         const RigTypes& types) const override;
};
