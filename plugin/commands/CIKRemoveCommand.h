// SPDX-License-Identifier: MIT
// `ikfb.remove`: takes whole rigs out of the scene and leaves their locators.
#pragma once

#include "commands/RigCommand.h"

class CIKRemoveCommand final : public CRigCommand {
public:
    CIKRemoveCommand();

    zxresult execute(uint32_t flags) override;

protected:
    zxresult test(const CZxUser_Message& message) const override;
};
