// SPDX-License-Identifier: MIT
// `ikfb.chain`: takes a locator with all below it into a rig, or a joint with all below it out of it.
#pragma once

#include "commands/RigCommand.h"

class CIKChainCommand final : public CRigJointCommand {
public:
    CIKChainCommand();

    zxresult execute(uint32_t flags) override;
    zxresult icon(const char** name) override;

protected:
    zxresult testLocator(const CZxUser_Message& message, const CZxUser_Item& item,
                         const RigTypes& types) const override;
};
