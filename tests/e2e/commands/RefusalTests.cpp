// SPDX-License-Identifier: MIT
// When commands are refused, and with which message: the first test that fails decides.
#include "e2e/commands/CommandScene.h"

#include <refhost/Messages.h>

#include <fstream>
#include <iterator>

using namespace e2e;

namespace {

struct Refusal {
    std::initializer_list<std::string_view> before;
    const char* line;
    const char* expected; ///< `yes`, `no`, or table and number
};

const Refusal kRefusals[] = {
    // Setup mode goes before the item, and a missing selection before what the item is.
    {{"scene.setup on:false"}, "ikfb.assign", "ikfb.general 1003"},
    {{"scene.setup on:false"}, "ikfb.assign item:Nobody", "ikfb.general 1003"},
    {{}, "ikfb.assign", "ikfb.general 1001"},
    {{}, "ikfb.assign item:Nobody", "ikfb.general 1002"},
    {{"select.set F"}, "ikfb.assign item:Nobody", "ikfb.general 1002"},
    {{}, "ikfb.assign item:M", "ikfb.assign 1001"},
    {{}, "ikfb.assign item:FullBodyIK", "ikfb.assign 1002"},
    {{}, "ikfb.assign item:R", "ikfb.assign 1003"},
    {{}, "ikfb.assign item:D", "ikfb.assign 1003"},
    {{}, "ikfb.assign item:L", "ikfb.assign 1004"},
    {{}, "ikfb.assign item:G", "ikfb.assign 1004"},
    {{}, "ikfb.assign item:N", "ikfb.assign 1004"},
    {{"select.set F1"}, "ikfb.assign item:F", "ikfb.assign 1005"},
    {{"select.set F", "select.add F1"}, "ikfb.assign", "ikfb.assign 1005"},
    {{"select.set GM"}, "ikfb.assign item:G", "ikfb.assign 1005"},
    {{"select.set F", "select.add F2"}, "ikfb.assign", "yes"},
    {{"select.set M"}, "ikfb.assign item:F", "yes"},
    {{"select.set M", "select.add F"}, "ikfb.assign", "ikfb.assign 1001"},
    {{}, "ikfb.assign item:A", "ikfb.assign 1004"},

    {{"scene.setup on:false"}, "ikfb.task", "ikfb.general 1001"},
    {{}, "ikfb.task item:Nobody", "ikfb.general 1002"},
    {{}, "ikfb.task item:M", "ikfb.task 1001"},
    {{}, "ikfb.task item:FullBodyIK", "ikfb.task 1002"},
    {{"select.set FullBodyIK", "select.add D"}, "ikfb.task mode:1", "ikfb.task 1002"},
    {{}, "ikfb.task item:F mode:1", "ikfb.task 1001"},
    {{}, "ikfb.task item:D type:0 mode:1", "yes"},
    {{"scene.setup on:false"}, "ikfb.task item:D type:0 mode:1", "yes"},
    {{}, "ikfb.task item:D", "ikfb.task 1004"},
    {{}, "ikfb.task item:D type:0 mode:7", "yes"},
    {{}, "ikfb.task item:D type:1 mode:0", "ikfb.task 1006"},
    {{}, "ikfb.task item:D type:5 mode:0", "ikfb.task 1006"},
    {{"ikfb.task item:D type:0 mode:1"}, "ikfb.task item:D type:0 mode:1", "ikfb.task 1003"},
    {{"ikfb.task item:D type:0 mode:1"}, "ikfb.task item:D type:0 mode:7", "yes"},
    {{"ikfb.task item:D type:0 mode:1"}, "ikfb.task item:D type:0 mode:0", "yes"},
    {{"ikfb.task item:D type:0 mode:1"}, "ikfb.task item:D type:1 mode:0", "ikfb.task 1006"},
    {{"ikfb.task item:D type:1 mode:1"}, "ikfb.task item:D type:1 mode:1", "ikfb.task 1005"},
    {{"ikfb.task item:D type:1 mode:1"}, "ikfb.task item:D type:2 mode:1", "ikfb.task 1005"},

    {{"scene.setup on:false"}, "ikfb.setRest item:D", "ikfb.general 1003"},
    {{}, "ikfb.setRest", "ikfb.general 1001"},
    {{}, "ikfb.setRest item:Nobody", "ikfb.general 1002"},
    {{}, "ikfb.setRest item:M", "ikfb.setRest 1003"},
    {{}, "ikfb.setRest item:A", "ikfb.setRest 1003"},
    {{}, "ikfb.setRest item:FullBodyIK", "yes"},
    {{}, "ikfb.setRest item:D", "yes"},

    {{"scene.setup on:false"}, "ikfb.goal item:D", "ikfb.general 1003"},
    {{}, "ikfb.goal", "ikfb.general 1001"},
    {{}, "ikfb.goal item:Nobody", "ikfb.general 1002"},
    {{}, "ikfb.goal item:M", "ikfb.goal 1001"},
    {{}, "ikfb.goal item:F", "ikfb.goal 1001"},
    {{}, "ikfb.goal item:FullBodyIK", "ikfb.goal 1002"},
    {{}, "ikfb.goal item:R", "ikfb.goal 1004"},
    {{"item.create type:ikFullBody parent:L"}, "ikfb.goal item:L", "ikfb.goal 1004"},
    {{}, "ikfb.goal item:D", "yes"},
    {{"ikfb.goal item:D"}, "ikfb.goal item:D", "ikfb.goal 1003"},
    {{"ikfb.task item:D type:0 mode:1", "ikfb.task item:D type:1 mode:1",
      "channel.link L.wrotMatrix D.ikotMatrix"},
     "ikfb.goal item:D",
     "ikfb.goal 1003"},
    {{"ikfb.task item:D type:0 mode:1", "channel.link M.wposMatrix D.ikptMatrix"}, "ikfb.goal item:D", "yes"},

    {{"scene.setup on:false"}, "ikfb.goalAssign item:D goal:L type:0", "ikfb.general 1003"},
    {{}, "ikfb.goalAssign type:0", "ikfb.goalAssign 1001"},
    {{}, "ikfb.goalAssign item:D type:0", "ikfb.goalAssign 1001"},
    {{}, "ikfb.goalAssign item:D goal:M type:0", "ikfb.goalAssign 1001"},
    {{}, "ikfb.goalAssign item:D goal:Nobody type:0", "ikfb.goalAssign 1001"},
    {{"select.set D", "select.add M", "select.add L", "select.add F"}, "ikfb.goalAssign type:0", "yes"},
    {{"select.set L", "select.add D"}, "ikfb.goalAssign item:B type:0", "yes"},
    {{}, "ikfb.goalAssign item:B goal:C type:0", "ikfb.goalAssign 1002"},
    {{}, "ikfb.goalAssign item:B goal:S1 type:0", "ikfb.goalAssign 1002"},
    {{}, "ikfb.goalAssign item:L goal:F type:0", "ikfb.goalAssign 1003"},
    {{}, "ikfb.goalAssign item:D goal:S2 type:0", "ikfb.goalAssign 1003"},
    {{}, "ikfb.goalAssign item:S2 goal:B type:0", "yes"},
    {{"ikfb.goalAssign item:D goal:L type:1"},
     "ikfb.goalAssign item:D goal:F type:0",
     "ikfb.goalAssign 1004"},
    {{"ikfb.goalAssign item:D goal:L type:2"},
     "ikfb.goalAssign item:D goal:F type:0",
     "ikfb.goalAssign 1004"},
    {{"ikfb.goalAssign item:D goal:L type:1"},
     "ikfb.goalAssign item:D goal:F type:1",
     "ikfb.goalAssign 1005"},
    {{"ikfb.goalAssign item:D goal:L type:1"}, "ikfb.goalAssign item:D goal:F type:2", "yes"},
    {{"ikfb.goalAssign item:D goal:L type:2"},
     "ikfb.goalAssign item:D goal:F type:2",
     "ikfb.goalAssign 1006"},
    {{"ikfb.goalAssign item:D goal:L type:2"}, "ikfb.goalAssign item:D goal:F type:1", "yes"},
    {{}, "ikfb.goalAssign item:R goal:L type:1", "ikfb.goalAssign 1007"},
    {{}, "ikfb.goalAssign item:L goal:R type:1", "yes"},

    {{"scene.setup on:false"}, "ikfb.chain item:C", "ikfb.general 1003"},
    {{}, "ikfb.chain", "ikfb.general 1001"},
    {{}, "ikfb.chain item:Nobody", "ikfb.general 1002"},
    {{}, "ikfb.chain item:M", "ikfb.chain 1001"},
    {{}, "ikfb.chain item:FullBodyIK mode:1", "ikfb.chain 1002"},
    {{}, "ikfb.chain item:C mode:1", "ikfb.chain 1003"},
    {{}, "ikfb.chain item:F mode:1", "ikfb.chain 1005"},
    {{}, "ikfb.chain item:F1 mode:1", "ikfb.chain 1005"},
    {{}, "ikfb.chain item:A mode:1", "yes"},
    {{}, "ikfb.chain item:A mode:-3", "yes"},
    {{}, "ikfb.chain item:A", "ikfb.chain 1006"},
    {{}, "ikfb.chain item:R mode:0", "ikfb.chain 1007"},
    {{}, "ikfb.chain item:B mode:0", "ikfb.chain 1008"},
    {{}, "ikfb.chain item:C", "yes"},

    {{"scene.setup on:false"}, "ikfb.remove", "ikfb.general 1003"},
    {{}, "ikfb.remove", "ikfb.remove 1001"},
    {{"select.set FullBodyIK"}, "ikfb.remove item:R", "ikfb.remove 1001"},
    {{}, "ikfb.remove item:Nobody", "ikfb.remove 1001"},
    {{"select.set R", "select.add FullBodyIK"}, "ikfb.remove", "yes"},

    {{"scene.setup on:false"}, "ikfb.retarget", "ikfb.general 1003"},
    {{}, "ikfb.retarget", "yes"},
    {{}, "ikfb.retarget itemS:M itemT:Nobody type:9", "yes"},
};

} // namespace

TEST(RefusalTests, TheFirstTestThatFailsDecides)
{
    for (const Refusal& row : kRefusals) {
        Stage stage;
        stage.run(row.before);
        std::string trace;
        for (const std::string_view line : row.before)
            trace += std::string(line) + "; ";
        EXPECT_EQ(stage.enabled(row.line), row.expected) << trace << row.line;
        if (row.expected != std::string("yes")) {
            EXPECT_EQ(stage.answer(row.line), row.expected) << trace << row.line;
        }
    }
}

TEST(RefusalTests, WithoutASceneAllButTheTaskCommandAreRefusedWithoutAWord)
{
    CommandScene empty;
    ASSERT_TRUE(empty.host.closeScene(empty.scene()).ok());
    for (const char* name : {"ikfb.assign", "ikfb.setRest", "ikfb.goal", "ikfb.goalAssign type:0",
                             "ikfb.chain", "ikfb.remove", "ikfb.retarget"})
        EXPECT_EQ(empty.enabled(name), "no") << name;
    EXPECT_EQ(empty.enabled("ikfb.task"), "ikfb.general 1001");
}

TEST(RefusalTests, TheHostAsksForARequiredArgument)
{
    Stage stage;
    EXPECT_NE(stage.answer("ikfb.goalAssign item:D goal:L").find("needs the argument 'type'"),
              std::string::npos);
}

TEST(RefusalTests, EveryMessageHasASentence)
{
    RigScene plain; // with the sentences that lie beside the module
    const refhost::Messages& messages = refhost::Messages::of(plain.host);
    std::ifstream docs(SINEW_SOURCE "/docs/commands.md");
    const std::string page{std::istreambuf_iterator<char>(docs), {}};
    for (const MessageFact& fact : kMessageFacts) {
        ASSERT_TRUE(messages.contains(fact.table, fact.number)) << fact.table << " " << fact.number;
        const std::string sentence = messages.sentence(fact.table, fact.number);
        EXPECT_GT(sentence.size(), 20u) << fact.table << " " << fact.number;
        EXPECT_EQ(sentence.back(), '.') << sentence;
        EXPECT_NE(page.find("| " + std::to_string(fact.number) + " | " + sentence + " |"), std::string::npos)
            << "docs/commands.md does not tell " << fact.table << " " << fact.number;
    }
    for (const char* command : {"ikfb.assign", "ikfb.setRest", "ikfb.task", "ikfb.goal", "ikfb.goalAssign",
                                "ikfb.chain", "ikfb.remove", "ikfb.retarget"}) {
        const refhost::Command* found = refhost::Commands::of(plain.host).find(command);
        ASSERT_NE(found, nullptr) << command;
        const std::size_t count = found->arguments().size();
        for (std::uint32_t i = 0; i <= count; ++i)
            EXPECT_TRUE(messages.contains(command + std::string(".help"), i)) << command << " " << i;
    }
}
