// SPDX-License-Identifier: MIT
// Commands are done or not done: whatever fails on the way, and however often they are undone and redone.
#include "e2e/commands/CommandScene.h"

#include <cstdlib>
#include <random>

using namespace e2e;

namespace {

struct Case {
    std::initializer_list<std::string_view> before;
    const char* line;
};
const Case kCases[] = {
    {{"select.set F", "select.add F2"}, "ikfb.assign transRoot:1"},
    {{}, "ikfb.task item:D type:0 mode:1 scale:2"},
    {{"ikfb.task item:D type:1 mode:1"}, "ikfb.task item:D type:1 mode:0"},
    {{"channel.set C rot.X 50deg"}, "ikfb.setRest item:FullBodyIK"},
    {{"select.set D", "select.add C"}, "ikfb.goal"},
    {{"channel.set L pos.X 2"}, "ikfb.goalAssign item:L goal:D type:0 comp:1"},
    {{}, "ikfb.chain item:A mode:1"},
    {{"ikfb.goal item:D"}, "ikfb.chain item:D mode:0"},
    {{"ikfb.goal item:D", "select.set FullBodyIK"}, "ikfb.remove"},
    {{}, "ikfb.retarget itemS:L itemT:D"},
    {{"ikfb.retarget itemS:L itemT:D"}, "ikfb.retarget itemS:L itemT:D mode:0"},
    {{}, "ikfb.retarget itemS:L itemT:D type:1"},
};

/// A rig of R, C and D, with A, L and F, F1, F2 outside. Small, since every call is let fail once.
struct SmallStage : CommandScene {
    SmallStage()
    {
        run({"item.create name:R", "item.create name:A parent:R", "item.create name:C parent:R",
             "item.create name:D parent:C", "channel.set D pos.X 2", "channel.set D rot.Z 30deg",
             "item.create name:L", "item.create name:F", "item.create name:F1 parent:F",
             "item.create name:F2 parent:F1", "select.set R", "select.add D", "ikfb.assign", "select.clear",
             "channel.set FullBodyIK iksSteps 2"});
    }
};

/// All that a user can see, without identifiers: an item that is made again has another one.
std::string shape(CommandScene& scene)
{
    std::string text = scene.ask("items");
    for (const char* graph : {"ikRefs", "ikTasks", "ikRetarget", "chanLinks"})
        text += "\n" + scene.links(graph);
    for (const Item* item : scene.scene().items()) {
        if (item->transformOwner())
            continue;
        text += "\n" + item->uniqueName();
        for (const auto& [code, value] : item->tags().all())
            text += " " + refhost::tagText(code) + "=" + value;
        for (const char* action : {" action:setup", " action:anim"})
            text += "\n" + scene.ask("query item:#" + std::to_string(item->id()) + action);
    }
    return text;
}

} // namespace

TEST(RollbackTests, ACallToTheHostThatFailsTakesTheWholeCommandBack)
{
    std::uint64_t caseIndex = 0;
    for (const Case& each : kCases) {
        SCOPED_TRACE(each.line);
        SmallStage stage;
        stage.run(each.before);
        const std::size_t before = stage.digest();
        const std::string selection = stage.selected();
        // Once undisturbed, for the outcome and the number of calls; undone, and evaluated as a user would
        // see it.
        const std::uint64_t start = stage.modules().callCount();
        stage.run(each.line);
        const std::uint64_t calls = stage.modules().callCount() - start;
        const std::string done = shape(stage);
        const std::string doneSelection = stage.selected();
        EXPECT_NE(stage.digest(), before);
        stage.run("undo");
        stage.takeMessages();
        ASSERT_GT(calls, 20u);
        std::size_t noticed = 0, tried = 0;
        // Every call takes a minute; each fifth, from another start in each case, finds the same faults.
        const std::uint64_t stride = std::getenv("SINEW_THOROUGH") ? 1 : 5;
        for (std::uint64_t n = 1 + (caseIndex++ % stride); n <= calls; n += stride) {
            ++tried;
            const std::size_t steps = stage.scene().journal().undoCount();
            stage.modules().failCall(n);
            const refhost::CommandResult result = stage.commands().execute(each.line);
            stage.modules().failCall(0);
            const bool told = !stage.takeMessages().empty();
            noticed += told || !result.ok() ? 1 : 0;
            if (!result.ok()) {
                EXPECT_NE(result.message, "") << "call " << n;
                EXPECT_EQ(stage.scene().journal().undoCount(), steps) << "call " << n;
            } else {
                // Done as ever, or the user was told which inner command was not.
                EXPECT_TRUE(told || shape(stage) == done) << "call " << n;
                if (stage.scene().journal().undoCount() > steps)
                    stage.run("undo");
            }
            ASSERT_EQ(stage.digest(), before) << "call " << n;
            ASSERT_EQ(stage.selected(), selection) << "call " << n;
        }
        EXPECT_GT(noticed, tried / 2);
        stage.run(each.line);
        EXPECT_EQ(shape(stage), done);
        EXPECT_EQ(stage.selected(), doneSelection);
        const std::vector<std::string> names = stage.modules().names();
        for (const std::string& name : names)
            EXPECT_EQ(stage.modules().unload(name).message, "");
        EXPECT_TRUE(stage.modules().liveReferences().empty());
    }
}

TEST(RollbackTests, AThousandRandomSequencesUndoAndRedoToTheSameDocument)
{
    std::mt19937 random(20240229);
    const auto pick = [&](const auto& list) { return std::string(list[random() % std::size(list)]); };
    const char* const items[] = {"R", "A",  "B",  "C", "D", "S", "S1",         "S2",
                                 "F", "F1", "F2", "L", "M", "G", "FullBodyIK", "Goal"};
    const char* const numbers[] = {"0", "1", "2"};
    const char* const bySelection[] = {
        "ikfb.assign", "ikfb.goal", "ikfb.chain mode:1", "ikfb.retarget", "ikfb.goalAssign type:0",
        "select.clear"};
    const auto line = [&]() -> std::string {
        switch (random() % 12) {
        case 0:
            return "ikfb.assign item:" + pick(items);
        case 1:
        case 2:
            return "ikfb.task item:" + pick(items) + " type:" + pick(numbers) + " mode:" + pick(numbers);
        case 3:
            return "ikfb.setRest item:" + pick(items);
        case 4:
            return "ikfb.goal item:" + pick(items);
        case 5:
            return "ikfb.goalAssign item:" + pick(items) + " goal:" + pick(items) + " type:" + pick(numbers)
                + " comp:" + pick(numbers);
        case 6:
        case 7:
            return "ikfb.chain item:" + pick(items) + " mode:" + pick(numbers);
        case 8:
            return "ikfb.remove item:" + pick(items);
        case 9:
            return "ikfb.retarget itemS:" + pick(items) + " itemT:" + pick(items) + " type:" + pick(numbers)
                + " mode:" + pick(numbers);
        case 10:
            return "select.add " + pick(items);
        default:
            return pick(bySelection);
        }
    };
    Stage stage;
    stage.run(
        {"channel.set FullBodyIK iksSteps 2", "channel.set FullBodyIK_2 iksSteps 2"}); // poses don't matter
    refhost::Journal& journal = stage.scene().journal();
    const std::size_t first = stage.digest();
    int done = 0;
    for (int sequence = 0; sequence < 1000; ++sequence) {
        SCOPED_TRACE(sequence);
        const std::size_t before = stage.digest();
        const std::size_t start = journal.undoCount();
        std::vector<std::string> lines;
        for (int i = 0; i < 6; ++i) {
            lines.push_back(line());
            done += stage.commands().execute(lines.back()).ok() ? 1 : 0;
        }
        const std::size_t after = stage.digest();
        const std::size_t steps = journal.undoCount() - start;
        for (std::size_t i = 0; i < steps; ++i)
            stage.undo();
        std::string all;
        for (const std::string& each : lines)
            all += each + "; ";
        ASSERT_EQ(stage.digest(), before) << all;
        for (std::size_t i = 0; i < steps; ++i)
            ASSERT_TRUE(journal.redo().ok());
        ASSERT_EQ(stage.digest(), after) << all;
        // Every few sequences from the beginning again, so that rigs are there to work on.
        for (std::size_t i = 0; sequence % 5 == 4 && journal.undoCount() > 0 && stage.digest() != first; ++i)
            stage.undo();
    }
    EXPECT_GT(done, 1500);
}
