// SPDX-License-Identifier: MIT
// Which channels of a joint grey which others, and why.
#pragma once

#include "host/CZxChannelUI.h"

#include <span>

/// One test of a rule: a channel that must be on, and the message of the table `ikfb.general` when it is off.
struct RuleTest {
    const char* channel = nullptr;
    uint32_t message = 0;
};

/// A channel and the tests that it must pass, in order.
struct ChannelRule {
    const char* channel;
    RuleTest tests[4];
    bool refusedOnRoot = false; ///< a root's position follows `iksTransRoot` alone
};

/// Answers the host by a table of rules; a channel that no rule names is always enabled.
class CChannelRules : public CZxImpl_ChannelUI {
public:
    zxresult enabled(const char* channel, ZxObject* message, ZxObject* item, ZxObject* read) override;
    zxresult dependencyCount(const char* channel, uint32_t* count) override;
    zxresult dependency(const char* channel, uint32_t index, uint32_t* typeCode, const char** name) override;

protected:
    explicit CChannelRules(std::span<const ChannelRule> rules) : m_Rules(rules) { }
    ~CChannelRules() = default;

private:
    const ChannelRule* find(const char* channel) const;

    std::span<const ChannelRule> m_Rules;
};

std::span<const ChannelRule> PackageRules();
std::span<const ChannelRule> JointRules();
