// SPDX-License-Identifier: MIT
// `ikfb.retarget`: pairs a joint of one rig with a joint of another that drives it.
#pragma once

#include "commands/RigCommand.h"

class CIKRetargetCommand final : public CRigCommand {
public:
    CIKRetargetCommand();

    zxresult execute(uint32_t flags) override;

protected:
    zxresult test(const CZxUser_Message& message) const override;

private:
    struct Pair {
        CZxUser_Item source, target;
        CZxUser_Scene scene;
    };
    /// False when arguments or selection give no pair.
    bool findPair(const RigTypes& types, Pair& pair) const;
};
