// SPDX-License-Identifier: MIT
// Gestures: what a tool is told, which undo steps come of it, and when the tool is made anew.
#include "ToyTool.h"
#include "commands/CommandSession.h"

#include <cmath>

namespace {

using namespace refhost;

class ToolTest : public ::testing::Test, public CommandSession {
protected:
    ToolTest()
    {
        EXPECT_TRUE(tools.add(std::make_shared<support::ToyMaker>(toy)).ok());
        run("item.create name:A");
        run("item.create name:B");
        run("channel.set item:B channel:pos.X value:1");
        run("tool.use toy");
        run("view.set camera:front size:6");
        EXPECT_EQ(toy.take(), "make");
    }
    Vector3 place(const char* name)
    {
        Matrix34 out;
        Evaluation::of(scene()).matrix(*item(name).channel("wposMatrix"), host.time(), out);
        return out.offset;
    }
    std::size_t steps() { return scene().journal().undoCount(); }

    support::ToyLog toy; // outlives the tools
    ToolHost& tools = ToolHost::of(host);
};

constexpr double kPixel = 6.0 / 600;

TEST_F(ToolTest, theToolIsEvaluatedAfterEachEventAndToldOfOneMoveAtLeast)
{
    run("gesture press A");
    EXPECT_EQ(toy.take(), "initialise hitTest down20 evaluate");
    run("gesture move by:\"10 0\"");
    run("gesture move by:\"0 5\"");
    EXPECT_EQ(toy.take(), "move evaluate move evaluate");
    run("gesture release");
    EXPECT_EQ(toy.take(), "up evaluate");
    run("gesture drag from:B steps:1");
    EXPECT_EQ(toy.take(), "initialise hitTest down20 evaluate move evaluate up evaluate");
    run("gesture press B");
    run("gesture release");
    EXPECT_EQ(toy.take(), "make initialise hitTest down20 evaluate move evaluate up evaluate")
        << "what it made of a pointer that stood was taken back";
    run("gesture lock B");
    EXPECT_EQ(toy.take(), "make initialise hitTest down21 evaluate up");
    run("gesture pin \"5 5\"");
    EXPECT_EQ(toy.take(), "make initialise hitTest down27 evaluate up");
    EXPECT_EQ(tools.evaluationCount(), 4u + 3 + 3 + 1 + 1);
}

TEST_F(ToolTest, everyGestureOfTheTableReachesTheToolWithItsMode)
{
    for (const Gesture& gesture : kGestures) {
        toy.take();
        EXPECT_EQ(gestureOf(gesture.button, gesture.keys), &gesture) << "two gestures are the same";
        ASSERT_TRUE(tools.press(400, 300, gesture).ok());
        EXPECT_NE(toy.take().find("down" + std::to_string(gesture.mode)), std::string::npos);
        EXPECT_FALSE(tools.press(0, 0, gesture).ok());
        ASSERT_TRUE(tools.release(400, 300).ok());
    }
    EXPECT_EQ(gestureOf(1, kShiftKey | kControlKey), nullptr);
}

TEST_F(ToolTest, oneDragIsOneUndoStepWithTheTransformItemsItNeeded)
{
    const std::string before = scene().digest();
    const std::size_t count = steps();
    run("gesture drag from:A by:\"-100 50\" steps:7");
    EXPECT_NEAR(place("A")[0], -100 * kPixel, 1e-9);
    EXPECT_NEAR(place("A")[1], -50 * kPixel, 1e-9);
    EXPECT_EQ(steps(), count + 1);
    EXPECT_EQ(scene().journal().undoLabel(), "toy");
    const std::string after = scene().digest();
    run("undo");
    EXPECT_EQ(scene().digest(), before);
    run("redo");
    EXPECT_EQ(scene().digest(), after);
    run("gesture lock A");
    run("gesture lock B");
    EXPECT_EQ(steps(), count + 3);
}

TEST_F(ToolTest, aPressThatChangesNothingIsNoStep)
{
    const std::string before = scene().digest();
    const std::size_t count = steps();
    const auto expectNothing = [&](const char* what) {
        EXPECT_EQ(scene().digest(), before) << what;
        EXPECT_EQ(steps(), count) << what;
    };
    run("gesture press A"); // A has no position item yet
    run("gesture release");
    expectNothing("a click");
    run("gesture drag from:A steps:3");
    expectNothing("a drag that goes nowhere");
    run("gesture lock \"5 5\"");
    expectNothing("a click on nothing");
    run("gesture drag from:B by:\"40 0\"");
    run("undo");
    run("gesture clear");
    expectNothing("what the tool remembers is not written again");
    EXPECT_TRUE(scene().journal().canRedo());
    run("gesture press B");
    run("item.create name:C"); // by somebody else, and stays
    run("gesture release");
    EXPECT_EQ(steps(), count + 1);
    EXPECT_TRUE(scene().findByUniqueName("C"));
}

TEST_F(ToolTest, aGestureThatGripsAnotherItemSaysSo)
{
    const auto told = [&](const char* line) {
        log.clear();
        run(line);
        run("undo");
        return log.empty() ? std::string() : log.front();
    };
    run("item.create name:Tip parent:B");
    EXPECT_EQ(told("gesture drag from:A by:\"1 0\""), "");
    EXPECT_NE(told("gesture drag from:Tip by:\"1 0\"").find("'B' lies in front of 'Tip'"), std::string::npos)
        << "the one above, where two are in one place";
    EXPECT_EQ(told("gesture lock B"), "");
    run("channel.set item:B channel:pos.X value:0");
    run("channel.set item:B channel:pos.Z value:1");
    run("channel.set item:Tip channel:pos.Y value:2");
    for (const char* line : {"gesture lock A", "gesture pin A", "gesture drag from:A by:\"1 0\""})
        EXPECT_NE(told(line).find("'B' lies in front of 'A'"), std::string::npos) << line;
    EXPECT_EQ(told("gesture drag from:A by:\"1 0\" view:side"), "");
    EXPECT_EQ(told("gesture lock \"400 300\""), "") << "a pixel means what is there";
}

TEST_F(ToolTest, whatTheToolRemembersIsGoneAfterUndoTimeAndForeignEditsAndItsAttributesAreNot)
{
    run("tool.set attribute:count value:3");
    const auto remade = [&](const char* line) {
        run("gesture drag from:B by:\"30 0\" steps:1");
        toy.take();
        run(line);
        const Vector3 shown = place("B");
        run("gesture pin \"5 5\""); // evaluates without a drag
        EXPECT_EQ(toy.take(), "make initialise hitTest down27 evaluate up") << line;
        EXPECT_EQ(place("B"), shown) << line << ": an old result was written again";
        EXPECT_EQ(tools.attribute("count").value, 3) << line;
    };
    remade("undo");
    remade("time.set 1");
    remade("channel.set item:B channel:pos.X value:-1");
    remade("item.tag tag:ABCD value:x item:B");

    run("gesture drag from:B steps:1");
    run("select.set A");
    toy.take();
    tools.partAt(0, 0);
    EXPECT_EQ(toy.take(), "initialise hitTest"); // the same object, asked again
}

TEST_F(ToolTest, aDragEndsWhereItCannotGoOnAndUndoStaysWhole)
{
    const std::string before = scene().digest();
    for (const char* line : {"item.delete B", "time.set 2", "item.parent item:B parent:A"}) {
        run("gesture press B");
        run("gesture move by:\"10 0\"");
        EXPECT_FALSE(commands().execute("undo").ok()) << "a step is open";
        run(line);
        toy.take();
        run("gesture move by:\"10 0\"");
        run("gesture release");
        EXPECT_EQ(toy.take(), "") << line;
        EXPECT_FALSE(tools.isPressed());
        run("undo");
        run("time.set 0");
        EXPECT_EQ(scene().digest(), before) << line;
    }
    run("gesture press B");
    run("gesture move by:\"10 0\"");
    run("gesture cancel");
    EXPECT_EQ(scene().digest(), before);
    EXPECT_FALSE(commands().execute("gesture move by:\"1 1\"").ok());
    EXPECT_FALSE(commands().execute("gesture release").ok());
}

TEST_F(ToolTest, anEventThatFailsChangesNothingAndTheNextMayDo)
{
    run("gesture press B");
    run("gesture move by:\"-30 0\"");
    run("item.create name:C"); // by somebody else, and stays
    run("gesture move by:\"-30 0\"");
    toy.evaluateFails = true;
    run("gesture move by:\"100 0\"");
    run("gesture move by:\"100 0\"");
    EXPECT_NEAR(place("B")[0], 1 - 30 * kPixel, 1e-9);
    EXPECT_TRUE(scene().findByUniqueName("C"));
    ASSERT_EQ(log.size(), 1u); // once a drag
    EXPECT_NE(log[0].find("the toy broke"), std::string::npos);
    toy.evaluateFails = false;
    run("gesture move by:\"-50 0\"");
    run("gesture release");
    EXPECT_NEAR(place("B")[0], 1 + 90 * kPixel, 1e-9);
}

TEST_F(ToolTest, lookingAtHandlesChangesNothing)
{
    run("gesture drag from:A by:\"10 0\"");
    run("undo"); // A has no position item now
    const std::string before = scene().digest();
    const std::size_t count = steps();
    DrawingList list;
    tools.draw(list);
    tools.draw(list);
    EXPECT_EQ(list.elements.size(), 4u);
    EXPECT_EQ(scene().digest(), before);
    EXPECT_EQ(steps(), count);
    EXPECT_TRUE(scene().journal().canRedo());

    toy.disabled = "Nothing is selected.";
    tools.draw(list);
    EXPECT_EQ(list.elements.size(), 4u);
    EXPECT_EQ(fails("gesture drag from:A by:\"1 0\""), "Nothing is selected.");
}

TEST_F(ToolTest, thePartUnderThePointerIsThatOfTheNearestHandle)
{
    run("view.set target:A");
    run("channel.set item:B channel:pos.X value:0.1"); // ten pixels beside A
    EXPECT_EQ(tools.partAt(400, 300), 0);
    EXPECT_EQ(tools.partAt(404, 300), 0);
    EXPECT_EQ(tools.partAt(406, 300), 1);
    EXPECT_EQ(tools.partAt(418, 300), 1);
    EXPECT_EQ(tools.partAt(419, 300), -1);
    run("channel.set item:B channel:pos.X value:0");
    run("channel.set item:B channel:pos.Z value:1"); // in front
    EXPECT_EQ(tools.partAt(400, 300), 1);
}

TEST_F(ToolTest, gestureCommandsSayWhatIsWrong)
{
    EXPECT_NE(fails("gesture drag from:C by:\"1 0\"").find("'C'"), std::string::npos);
    EXPECT_NE(fails("gesture drag from:A by:\"1\"").find("two numbers"), std::string::npos);
    EXPECT_NE(fails("gesture drag from:A by:\"1 0\" to:B").find("one of them"), std::string::npos);
    EXPECT_NE(fails("gesture drag from:A by:\"1e9 0\"").find("outside"), std::string::npos);
    EXPECT_NE(fails("gesture drag from:A by:\"1 0\" steps:0").find("steps"), std::string::npos);
    EXPECT_NE(fails("gesture drag by:\"1 0\"").find("from"), std::string::npos);
    EXPECT_NE(fails("tool.use toys").find("toy"), std::string::npos);
    EXPECT_NE(fails("tool.set attribute:w value:1").find("'w'"), std::string::npos);
    EXPECT_NE(fails("view.set width:0").find("width"), std::string::npos);
    EXPECT_EQ(ask("tools"), "toy in use\n  x 0\n  y 0\n  z 0\n  count 0");
    run("tool");
    EXPECT_NE(fails("gesture clear").find("No tool"), std::string::npos);
    EXPECT_EQ(ask("draw tool"), "");
}

TEST_F(ToolTest, theFirstGestureShowsWhatCameAfterTheViewWasChosen)
{
    for (const char* chosen : {"view.set camera:side width:300", "view.set width:300"}) {
        run("scene.new");
        run(chosen);
        run("item.create name:Far");
        run("channel.set Far pos.Z 500");
        run("gesture press Far");
        run("gesture release");
        EXPECT_EQ(tools.view().target, (Vector3{0, 0, 500})) << chosen;
        EXPECT_EQ(tools.view().width, 300);
        run("view.set target:Far size:7");
        run("channel.set Far pos.Z 900");
        run("gesture press Far");
        run("gesture release");
        EXPECT_EQ(tools.view().target[2], 500) << "it stays where the user put it";
    }
}

TEST_F(ToolTest, closingTheSceneInTheMiddleOfAPressIsRefusedAndTheHostMayGoAnyTime)
{
    run("gesture press A");
    EXPECT_FALSE(commands().execute("scene.new").ok());
    EXPECT_FALSE(commands().execute("scene.save file:never.sinew.json").ok());
    run("gesture move by:\"4 4\""); // the fixture goes with the button down
}

} // namespace
