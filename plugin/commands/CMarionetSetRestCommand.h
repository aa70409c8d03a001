// SPDX-License-Identifier: MIT
// `ikfb.setRest`: takes the present pose of joints as their rest pose.
#pragma once

#include "commands/RigCommand.h"

class CMarionetSetRestCommand final : public CRigCommand {
public:
    CMarionetSetRestCommand();

    zxresult execute(uint32_t flags) override;

protected:
    zxresult test(const CZxUser_Message& message) const override;
};
