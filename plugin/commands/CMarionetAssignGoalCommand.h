// SPDX-License-Identifier: MIT
// `ikfb.goalAssign`: makes a locator that exists the goal of a joint.
#pragma once

#include "commands/RigCommand.h"

class CMarionetAssignGoalCommand final : public CRigCommand {
public:
    CMarionetAssignGoalCommand();

    zxresult execute(uint32_t flags) override;
    zxresult icon(const char** name) override;

protected:
    zxresult test(const CZxUser_Message& message) const override;

private:
    /// The joint and the goal among the two items, and which came first.
    struct Pair {
        CZxUser_Item first, joint, goal;
        CZxUser_ChannelGraph chanLinks;
    };
    /// 0 or 1 when the first or the second item is the joint; -1 to -6 when there is no pair.
    int ResolveGoalPair(int32_t type, const RigTypes& types, Pair& pair) const;
};
