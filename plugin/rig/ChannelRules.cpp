// SPDX-License-Identifier: MIT
// Which channels of a joint grey which others, and why.
#include "rig/ChannelRules.h"

#include "host/CZxCommand.h"
#include "host/Services.h"
#include "rig/RigQueries.h"

#include <cstring>

namespace {

// clang-format off
#define SINEW_ACTIVE {"ikjActive", 1100}
#define SINEW_LIMITS {"ikjEnableLimits", 1101}

/// The rules of one axis; A is the axis letter.
#define SINEW_AXIS_RULES(A) \
    {"ikAxis" A "PosEnable", {SINEW_ACTIVE}, true}, \
    {"ikAxis" A "RotEnable", {SINEW_ACTIVE}}, \
    {"ikAxis" A "PosWeight", {SINEW_ACTIVE, {"ikAxis" A "PosEnable", 1102}}}, \
    {"ikAxis" A "RotWeight", {SINEW_ACTIVE, {"ikAxis" A "RotEnable", 1103}}}, \
    {"ikAxis" A "Limits", {SINEW_ACTIVE, SINEW_LIMITS, {"ikAxis" A "RotEnable", 1103}}}, \
    {"ikAxis" A "LimitsTrans", {SINEW_ACTIVE, SINEW_LIMITS, {"ikAxis" A "PosEnable", 1102}}}, \
    {"ikAxis" A "Min", {SINEW_ACTIVE, SINEW_LIMITS, {"ikAxis" A "RotEnable", 1103}, {"ikAxis" A "Limits", 1104}}}, \
    {"ikAxis" A "Max", {SINEW_ACTIVE, SINEW_LIMITS, {"ikAxis" A "RotEnable", 1103}, {"ikAxis" A "Limits", 1104}}}, \
    {"ikAxis" A "MinTrans", {SINEW_ACTIVE, SINEW_LIMITS, {"ikAxis" A "PosEnable", 1102}, {"ikAxis" A "LimitsTrans", 1104}}}, \
    {"ikAxis" A "MaxTrans", {SINEW_ACTIVE, SINEW_LIMITS, {"ikAxis" A "PosEnable", 1102}, {"ikAxis" A "LimitsTrans", 1104}}}

constexpr ChannelRule kPackageRules[] = {SINEW_AXIS_RULES("X"), SINEW_AXIS_RULES("Y"), SINEW_AXIS_RULES("Z")};

constexpr ChannelRule kJointRules[] = {
    {"ikjEnableLimits", {SINEW_ACTIVE}},
    {"ikjRetargeting", {SINEW_ACTIVE}},
    {"ikjMaxVelocity", {SINEW_ACTIVE}},
    {"ikjEnforceLimits", {SINEW_ACTIVE, SINEW_LIMITS}},
    {"ikjLimitsAxis", {SINEW_ACTIVE, SINEW_LIMITS}},
};
#undef SINEW_AXIS_RULES
#undef SINEW_LIMITS
#undef SINEW_ACTIVE
// clang-format on

constexpr uint32_t kOnRoot = 1105;

uint32_t TestCount(const ChannelRule& rule)
{
    uint32_t count = 0;
    while (count < 4 && rule.tests[count].channel)
        ++count;
    return count;
}

/// A channel that is missing or can't be read is off.
bool IsOn(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* name)
{
    int32_t value = 0;
    const int32_t channel = item.channel(name);
    return channel >= 0 && succeeded(read.integer(item, channel, &value)) && value != 0;
}

} // namespace

const ChannelRule* CChannelRules::find(const char* channel) const
{
    for (const ChannelRule& rule : m_Rules)
        if (std::strcmp(rule.channel, channel) == 0)
            return &rule;
    return nullptr;
}

zxresult CChannelRules::enabled(const char* channel, ZxObject* messageObject, ZxObject* itemObject,
                                ZxObject* readObject)
{
    const ChannelRule* rule = find(channel);
    if (!rule)
        return kZxTrue;
    CZxUser_Item item;
    check(item.query(itemObject, kZxIdItem));
    CZxUser_ChannelRead read;
    check(read.query(readObject, kZxIdChannelRead));
    CZxUser_Message message;
    message.query(messageObject, kZxIdMessage);
    zxresult result = kZxTrue;
    for (uint32_t i = 0, count = TestCount(*rule); i < count && result == kZxTrue; ++i)
        if (!IsOn(read, item, rule->tests[i].channel))
            result = message.refuse("ikfb.general", rule->tests[i].message);
    // Tested in any case: on a root this is the reason that tells the user most.
    if (rule->refusedOnRoot && HasSolverChild(item, TypeCode("ikFullBody")))
        result = message.refuse("ikfb.general", kOnRoot);
    return result;
}

zxresult CChannelRules::dependencyCount(const char* channel, uint32_t* count)
{
    const ChannelRule* rule = find(channel);
    *count = rule ? TestCount(*rule) : 0;
    return kZxOk;
}

zxresult CChannelRules::dependency(const char* channel, uint32_t index, uint32_t* typeCode, const char** name)
{
    const ChannelRule* rule = find(channel);
    if (!rule || index >= TestCount(*rule))
        return kZxOutOfRange;
    *typeCode = TypeCode("locator");
    *name = rule->tests[index].channel;
    return kZxOk;
}

std::span<const ChannelRule> PackageRules() { return kPackageRules; }
std::span<const ChannelRule> JointRules() { return kJointRules; }
