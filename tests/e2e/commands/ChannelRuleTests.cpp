// SPDX-License-Identifier: MIT
// Which channels of a joint grey which others, as a user asks for it.
#include "e2e/commands/CommandScene.h"

using namespace e2e;

namespace {

/// Replaces every `?` by the axis letter.
std::string onAxis(std::string text, char axis)
{
    for (char& c : text)
        c = c == '?' ? axis : c;
    return text;
}

struct Rule {
    const char* channel;
    const char* dependsOn; ///< the chain, in order
    std::initializer_list<int> messages; ///< of each test of the chain
};
const Rule kRules[] = {
    {"ikAxis?PosEnable", "ikjActive", {1100}},
    {"ikAxis?RotEnable", "ikjActive", {1100}},
    {"ikAxis?PosWeight", "ikjActive ikAxis?PosEnable", {1100, 1102}},
    {"ikAxis?RotWeight", "ikjActive ikAxis?RotEnable", {1100, 1103}},
    {"ikAxis?Limits", "ikjActive ikjEnableLimits ikAxis?RotEnable", {1100, 1101, 1103}},
    {"ikAxis?LimitsTrans", "ikjActive ikjEnableLimits ikAxis?PosEnable", {1100, 1101, 1102}},
    {"ikAxis?Min", "ikjActive ikjEnableLimits ikAxis?RotEnable ikAxis?Limits", {1100, 1101, 1103, 1104}},
    {"ikAxis?Max", "ikjActive ikjEnableLimits ikAxis?RotEnable ikAxis?Limits", {1100, 1101, 1103, 1104}},
    {"ikAxis?MinTrans",
     "ikjActive ikjEnableLimits ikAxis?PosEnable ikAxis?LimitsTrans",
     {1100, 1101, 1102, 1104}},
    {"ikAxis?MaxTrans",
     "ikjActive ikjEnableLimits ikAxis?PosEnable ikAxis?LimitsTrans",
     {1100, 1101, 1102, 1104}},
    {"ikjEnableLimits", "ikjActive", {1100}},
    {"ikjRetargeting", "ikjActive", {1100}},
    {"ikjMaxVelocity", "ikjActive", {1100}},
    {"ikjEnforceLimits", "ikjActive ikjEnableLimits", {1100, 1101}},
    {"ikjLimitsAxis", "ikjActive ikjEnableLimits", {1100, 1101}},
};

struct RuleStage : Stage {
    std::string state(const std::string& item, const std::string& channel)
    {
        return ask("query item:" + item + " channel:" + channel + " enabled:true");
    }
    void switchAll(const std::string& names, bool on)
    {
        std::size_t begin = 0;
        while (begin < names.size()) {
            const std::size_t end = std::min(names.find(' ', begin), names.size());
            run("channel.set C " + names.substr(begin, end - begin) + (on ? " 1" : " 0"));
            begin = end + 1;
        }
    }
};

} // namespace

TEST(ChannelRuleTests, TheFirstSwitchThatIsOffGivesTheReason)
{
    RuleStage stage;
    for (const Rule& rule : kRules) {
        for (const char axis : {'X', 'Y', 'Z'}) {
            const std::string channel = onAxis(rule.channel, axis), chain = onAxis(rule.dependsOn, axis);
            SCOPED_TRACE(channel);
            const std::string tail = "; depends on " + chain;
            stage.switchAll(chain, true);
            EXPECT_EQ(stage.state("C", channel), "yes" + tail);
            // From the last test to the first, each with all behind it off as well.
            std::string names = chain;
            for (std::size_t i = rule.messages.size(); i-- > 0;) {
                const std::size_t cut = names.rfind(' ');
                stage.switchAll(cut == std::string::npos ? names : names.substr(cut + 1), false);
                names = cut == std::string::npos ? "" : names.substr(0, cut);
                EXPECT_EQ(stage.state("C", channel),
                          "no: ikfb.general " + std::to_string(rule.messages.begin()[i]) + tail);
            }
        }
    }
}

TEST(ChannelRuleTests, TheRootOfARigHasItsOwnReason)
{
    RuleStage stage;
    const std::string tail = "; depends on ikjActive";
    EXPECT_EQ(stage.state("R", "ikAxisXPosEnable"), "no: ikfb.general 1105" + tail);
    EXPECT_EQ(stage.state("R", "ikAxisXRotEnable"), "yes" + tail);
    stage.run("channel.set R ikjActive 0");
    EXPECT_EQ(stage.state("R", "ikAxisZPosEnable"), "no: ikfb.general 1105" + tail) << "it goes over 1100";
    EXPECT_EQ(stage.state("R", "ikAxisZRotEnable"), "no: ikfb.general 1100" + tail);
}

TEST(ChannelRuleTests, OtherChannelsAreAlwaysEnabledAndAMissingSwitchIsOff)
{
    RuleStage stage;
    stage.run("channel.set C ikjActive 0");
    for (const char* channel :
         {"ikjActive", "ikjTargetOffsetX.X", "ikRestPos.X", "ikRotOrder", "worldMatrix", "visible", "pos.X"})
        EXPECT_EQ(stage.state("C", channel), "yes") << channel;
    EXPECT_EQ(stage.state("FullBodyIK", "iksSteps"), "yes");
    stage.run({"package.remove ik.joint item:C", "package.add ik.joint item:L"});
    EXPECT_EQ(stage.state("C", "ikAxisYRotEnable"), "no: ikfb.general 1100; depends on ikjActive");
    EXPECT_EQ(stage.state("L", "ikjRetargeting"), "yes; depends on ikjActive");
    const std::string all = stage.ask("query item:C enabled:true");
    EXPECT_NE(all.find("ikAxisXMin no: ikfb.general 1100; "), std::string::npos) << all;
    EXPECT_NE(all.find("ikRestPos.X yes; "), std::string::npos) << all;
}
