// SPDX-License-Identifier: MIT
// Nodes: what they read and write, when they run, when they are made anew, and what happens when they fail.
#include "EvaluationFixture.h"

#include <cmath>
#include <limits>

using namespace refhost;
using support::TestModifier;

namespace {

/// A node that moves `child` of its item: writes wposMatrix of both joints, y = 10 + what it reads.
class NodeEvaluationTests : public support::EvaluationFixture {
protected:
    NodeEvaluationTests()
    {
        modifier->types = {"locator"};
        modifier->graphs = {"ikTasks"};
        place(top, 1);
        place(child, 2);
        place(below, 4);
    }
    /// Adds `root`.visible at mode 1, wposMatrix of root and child at mode 3; writes offsets (0, 10, 0), (0,
    /// 20, 0).
    void addMover()
    {
        modifier->nodes.emplace_back("top", [this](Item& item, NodeChannels& channels) {
            const auto input = channels.add(item, "visible", ChannelMode::Read);
            const auto own = channels.add(item, "wposMatrix", ChannelMode::ReadWrite);
            const auto lower = channels.add(child, "wposMatrix", ChannelMode::ReadWrite);
            return [=, this](NodeChannels& c) {
                if (!answer.ok())
                    return answer;
                const double first[3] = {offset, 10, 0}, second[3] = {0, 20, 0};
                double visible = 0;
                EXPECT_EQ(c.number(*input, visible), ChannelAnswer::Ok);
                if (visible != 0) {
                    (void)c.setOffset(*own, first);
                    (void)c.setOffset(*lower, second);
                }
                return Result{};
            };
        });
    }
    Vector3 world(Item& item, double time = 0) { return matrix(item, "worldMatrix", time).offset; }

    std::shared_ptr<TestModifier> modifier = addModifier("mover");
    Item& top = make("top");
    Item& child = make("child", &top);
    Item& below = make("below", &child);
    double offset = 0;
    Result answer;
};

} // namespace

TEST_F(NodeEvaluationTests, WrittenValuesAreSeenByAllThatHangsBelow)
{
    addMover();
    EXPECT_EQ(world(top), (Vector3{0, 10, 0}));
    EXPECT_EQ(world(child), (Vector3{0, 20, 0}));
    EXPECT_EQ(world(below), (Vector3{4, 20, 0}));
    EXPECT_EQ(modifier->runs, 1);
    // Unwritten channels hold what they would without the node: the child then doesn't follow the written
    // parent.
    set(top, "visible", 0);
    EXPECT_EQ(world(top), (Vector3{1, 0, 0}));
    EXPECT_EQ(world(child), (Vector3{3, 0, 0}));
    EXPECT_EQ(world(below), (Vector3{7, 0, 0}));
    EXPECT_EQ(modifier->runs, 2);
    EXPECT_EQ(evaluation.figure(top, "mover", "runs"), 2.0);
    EXPECT_EQ(evaluation.figure(top, "mover", "speed"), std::nullopt);
    EXPECT_EQ(evaluation.figure(child, "mover", "runs"), std::nullopt);
}

TEST_F(NodeEvaluationTests, AValueReadWhileTheNodeRunsIsTheOneWithoutIt)
{
    Vector3 seen{};
    Item& between = make("between", &child); // no output, but it hangs below one
    Item& tip = make("tip", &between);
    place(between, 8);
    place(tip, 16);
    modifier->nodes.emplace_back("top", [&](Item& item, NodeChannels& channels) {
        const auto own = channels.add(item, "wposMatrix", ChannelMode::ReadWrite);
        const auto end = channels.add(tip, "wposMatrix", ChannelMode::ReadWrite);
        return [=, &seen](NodeChannels& c) {
            const double there[3] = {100, 0, 0};
            (void)c.setOffset(*own, there);
            EXPECT_EQ(c.offset(*end, seen.data()), ChannelAnswer::Ok);
            return Result{};
        };
    });
    EXPECT_EQ(world(below), (Vector3{106, 0, 0}));
    EXPECT_EQ(seen, (Vector3{27, 0, 0}));
    EXPECT_EQ(world(between), (Vector3{110, 0, 0}));
    EXPECT_EQ(world(tip), (Vector3{27, 0, 0}));
    EXPECT_TRUE(messages.empty());
    // What the node read of its own channel makes it run again.
    set(*between.transformItem(TransformKind::Position), "pos.X", 9);
    EXPECT_EQ(world(top), (Vector3{100, 0, 0}));
    EXPECT_EQ(seen, (Vector3{28, 0, 0}));
}

TEST_F(NodeEvaluationTests, NodesRunOnlyWhenSomethingTheyReadChanged)
{
    addMover();
    Item& other = make("other");
    Item& moved = transform(other, TransformKind::Position);
    world(below);
    set(moved, "pos.X", 3);
    world(below);
    EXPECT_EQ(modifier->runs, 1);
    set(*top.transformItem(TransformKind::Position), "pos.X", 3); // written anyway
    world(below);
    EXPECT_EQ(modifier->runs, 1);
    ASSERT_TRUE(host.setTime(1).ok());
    world(below, 1);
    EXPECT_EQ(modifier->runs, 1);
    key(top, "visible", 0, 1);
    world(below, 1);
    EXPECT_EQ(modifier->runs, 2);
    ASSERT_TRUE(host.setTime(2).ok());
    world(below, 2);
    world(top, 2);
    EXPECT_EQ(modifier->runs, 3);
    EXPECT_EQ(evaluation.makingCount("mover"), 1u);
}

TEST_F(NodeEvaluationTests, AReadAtAnotherTimeUsesNodesOfItsOwn)
{
    addMover();
    offset = 1;
    EXPECT_EQ(world(top, 0)[0], 1);
    offset = 2;
    EXPECT_EQ(world(top, 5)[0], 2);
    EXPECT_EQ(modifier->living, 2);
    EXPECT_EQ(world(top, 0)[0], 1); // not disturbed
    EXPECT_EQ(modifier->runs, 2);
    EXPECT_EQ(world(top, 6)[0], 2);
    EXPECT_EQ(modifier->living, 2);
    const auto early = evaluation.read(7);
    set(top, "visible", 0);
    EXPECT_EQ(world(top, 8)[0], 1);
    Matrix34 was;
    ASSERT_TRUE(early->matrix(top, top.channelIndex("wposMatrix"), was));
    EXPECT_EQ(was.offset[1], 10);
}

TEST_F(NodeEvaluationTests, NodesAreMadeAnewForWhatTheModifierNamesAndNothingElse)
{
    addMover();
    modifier->types = {"ikSolver"};
    modifier->graphs = {"ikTasks", "chanLinks"};
    Item& solver = make(host.solverType(), "solver");
    std::uint64_t made = 1;
    world(below);
    const auto expectMade = [&](const char* what, bool anew) {
        world(below);
        made += anew;
        EXPECT_EQ(evaluation.makingCount("mover"), made) << what;
        EXPECT_EQ(modifier->living, 1) << what;
    };
    const auto edit = [&](const char* what, bool anew, const auto& change) {
        const auto mark = scene.journal().mark();
        const Result result = change();
        ASSERT_TRUE(result.ok()) << what << ": " << result.message;
        expectMade(what, anew);
        ASSERT_TRUE(scene.journal().rollbackTo(mark).ok());
        expectMade(what, anew);
    };
    expectMade("nothing", false);
    edit("a value", false,
         [&] { return scene.writeNumber(*top.channel("visible"), Action::Anim, 0, 1, WriteMode::Plain); });
    edit("a link of its graph", true, [&] { return scene.addLink("ikTasks", solver, top); });
    edit("a link of another graph", false, [&] { return scene.addLink("ikRefs", solver, top); });
    edit("a channel link", true, [&] { return scene.addLink(*below.channel(0), *solver.channel(0)); });
    edit("an item of its types", true, [&] { return scene.createItem(host.solverType(), "s").result(); });
    edit("an item of another type", false,
         [&] { return scene.createItem(host.locatorType(), "l").result(); });
    edit("a package on its types", true, [&] { return scene.addPackage(solver, "limits"); });
    edit("a package on another type", false, [&] { return scene.addPackage(below, "limits"); });
    edit("a tag on its types", true, [&] { return scene.setTag(solver, tagCode('A', 'B', 'C', 'D'), "x"); });
    edit("a parent, which is not in the list", false, [&] { return scene.setParent(solver, &top); });
    modifier->graphs = {"parent"};
    edit("a parent", true, [&] { return scene.setParent(solver, &top); });
    edit("a reset", true, [&] { return scene.resetModifier("mover"); });
    edit("a reset of another", false, [&] { return scene.resetModifier("shaker"); });
    edit("setup mode", false, [&] { return scene.setSetupMode(true); });
}

TEST_F(NodeEvaluationTests, UndoAndRedoOfAResetMakeTheNodesAnew)
{
    addMover();
    world(below);
    commit();
    begin();
    ASSERT_TRUE(scene.resetModifier("mover").ok());
    commit();
    world(below);
    ASSERT_TRUE(scene.journal().undo().ok());
    world(below);
    EXPECT_EQ(evaluation.makingCount("mover"), 3u);
    ASSERT_TRUE(scene.journal().redo().ok());
    world(below);
    EXPECT_EQ(evaluation.makingCount("mover"), 4u);
}

TEST_F(NodeEvaluationTests, TheLastOfSeveralWritersWins)
{
    addMover();
    auto second = addModifier("lifter");
    second->nodes.emplace_back("child", [&](Item& item, NodeChannels& channels) {
        const auto own = channels.add(item, "wposMatrix", ChannelMode::ReadWrite);
        return [=](NodeChannels& c) {
            double three[3];
            EXPECT_EQ(c.offset(*own, three), ChannelAnswer::Ok);
            three[2] = 30; // on top of what the first one wrote
            (void)c.setOffset(*own, three);
            return Result{};
        };
    });
    EXPECT_EQ(world(child), (Vector3{0, 20, 30}));
    EXPECT_EQ(world(top), (Vector3{0, 10, 0}));
    Modifiers::of(host).remove(*second);
    EXPECT_EQ(world(child), (Vector3{0, 20, 0}));
    EXPECT_EQ(second->living, 0);
}

TEST_F(NodeEvaluationTests, ANodeBehindAnotherSeesWhatThatWrote)
{
    addMover();
    auto second = addModifier("follower");
    Item& goal = make("goal");
    second->nodes.emplace_back("goal", [&](Item& item, NodeChannels& channels) {
        const auto from = channels.add(below, "worldMatrix", ChannelMode::Read);
        const auto to = channels.add(item, "wposMatrix", ChannelMode::Write);
        return [=](NodeChannels& c) {
            double three[3];
            const ChannelAnswer read = c.offset(*from, three);
            EXPECT_EQ(c.setOffset(*from, three), ChannelAnswer::NotWritable);
            if (read == ChannelAnswer::Ok)
                (void)c.setOffset(*to, three);
            return Result{};
        };
    });
    EXPECT_EQ(world(goal), (Vector3{4, 20, 0}));
    set(top, "visible", 0);
    EXPECT_EQ(world(goal), (Vector3{7, 0, 0}));
    EXPECT_EQ(second->runs, 2);
}

TEST_F(NodeEvaluationTests, ACircleThroughNodesIsNamedOnceAndBroken)
{
    addMover();
    auto second = addModifier("feeder");
    Item& goal = make("goal");
    ASSERT_TRUE(scene.addPackage(goal, "note").ok());
    second->nodes.emplace_back("goal", [&](Item& item, NodeChannels& channels) {
        const auto from = channels.add(below, "worldMatrix", ChannelMode::Read);
        const auto to = channels.add(item, "rest", ChannelMode::Write);
        return [=](NodeChannels& c) {
            double three[3];
            EXPECT_EQ(c.offset(*from, three), ChannelAnswer::Ok);
            (void)c.setOffset(*to, three);
            return Result{};
        };
    });
    modifier->nodes.clear();
    Vector3 read{};
    modifier->nodes.emplace_back("top", [&](Item& item, NodeChannels& channels) {
        const auto from = channels.add(goal, "rest", ChannelMode::Read);
        const auto to = channels.add(item, "wposMatrix", ChannelMode::Write);
        return [=, &read](NodeChannels& c) {
            EXPECT_EQ(c.offset(*from, read.data()), ChannelAnswer::Ok);
            const double three[3] = {read[0] + 1, 0, 0};
            (void)c.setOffset(*to, three);
            return Result{};
        };
    });
    const Vector3 first = world(below);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(world(below), first);
    ASSERT_EQ(messages.size(), 1u);
    for (const char* name : {"'mover' on 'top'", "'feeder' on 'goal'", "goal.rest", "below.worldMatrix"})
        EXPECT_NE(messages[0].find(name), std::string::npos) << messages[0];
    EXPECT_EQ(modifier->runs, 1);
    EXPECT_EQ(second->runs, 1);
}

TEST_F(NodeEvaluationTests, AFailingNodeShowsWhatIsWithoutItAndTriesAgain)
{
    addMover();
    auto second = addModifier("reader");
    std::vector<ChannelAnswer> answers;
    Item& goal = make("goal");
    second->nodes.emplace_back("goal", [&](Item& item, NodeChannels& channels) {
        const auto from = channels.add(child, "wposMatrix", ChannelMode::Read);
        channels.add(item, "wposMatrix", ChannelMode::Write);
        return [=, &answers](NodeChannels& c) {
            double three[3];
            answers.push_back(c.offset(*from, three));
            return Result{};
        };
    });
    answer = Result::failure("out of luck.");
    EXPECT_EQ(world(below), (Vector3{7, 0, 0}));
    world(goal);
    EXPECT_EQ(answers, std::vector{ChannelAnswer::Unavailable});
    EXPECT_EQ(modifier->runs, 1); // once for one state, however often it is read
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_NE(messages[0].find("'mover' on 'top' failed: out of luck."), std::string::npos) << messages[0];
    evaluation.read(0);
    EXPECT_EQ(world(below), (Vector3{7, 0, 0}));
    EXPECT_EQ(modifier->runs, 2);
    ASSERT_TRUE(scene.resetModifier("mover").ok());
    world(below);
    world(below, 3); // another node, the same news
    EXPECT_EQ(messages.size(), 1u);
    answer = {};
    evaluation.read(0);
    EXPECT_EQ(world(below), (Vector3{4, 20, 0}));
    world(goal);
    EXPECT_EQ(answers.back(), ChannelAnswer::Ok);
    answer = Result::failure("out of luck.");
    set(top, "visible", 2);
    world(below);
    EXPECT_EQ(messages.size(), 1u); // at the other time it still fails
    world(below, 3);
    answer = {};
    evaluation.invalidate();
    world(below);
    world(below, 3);
    answer = Result::failure("out of luck.");
    evaluation.invalidate();
    world(below);
    EXPECT_EQ(messages.size(), 2u); // it had worked in between
}

TEST_F(NodeEvaluationTests, NumbersThatAreNotFiniteLeaveTheLastGoodOnes)
{
    addMover();
    offset = 3;
    EXPECT_EQ(world(top), (Vector3{3, 10, 0}));
    for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity()}) {
        offset = bad;
        set(top, "visible", bad > 0 ? 1 : 2);
        evaluation.invalidate();
        EXPECT_EQ(world(top), (Vector3{3, 10, 0}));
    }
    EXPECT_EQ(messages.size(), 1u);
    offset = 4;
    evaluation.invalidate();
    EXPECT_EQ(world(top), (Vector3{4, 10, 0}));
}

TEST_F(NodeEvaluationTests, ANodeThatCannotBeMadeIsMissingAndTheOthersWork)
{
    modifier->nodes.emplace_back("child", [](Item&, NodeChannels& channels) -> TestModifier::Evaluate {
        EXPECT_EQ(channels.count(), 0u);
        return nullptr;
    });
    addMover();
    EXPECT_EQ(world(below), (Vector3{4, 20, 0}));
    EXPECT_EQ(evaluation.nodeCount("mover"), 1u);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_NE(messages[0].find("'mover' on 'child' can't be made: no luck."), std::string::npos)
        << messages[0];
}

TEST_F(NodeEvaluationTests, AnswersOutsideTheRulesAreRefused)
{
    NodeChannels* kept = nullptr;
    ASSERT_TRUE(scene.addPackage(top, "note").ok());
    modifier->types = {"ikSolver"};
    modifier->nodes.emplace_back("top", [&](Item& item, NodeChannels& channels) {
        kept = &channels;
        double value = 0;
        EXPECT_FALSE(channels.add(item, "nothing", ChannelMode::Read));
        EXPECT_EQ(channels.add(item, "steps", ChannelMode::Read), 0u);
        EXPECT_EQ(channels.add(item, "note", ChannelMode::Read), 1u);
        EXPECT_EQ(channels.add(item, "wposMatrix", ChannelMode::Write), 2u);
        EXPECT_EQ(channels.number(0, value), ChannelAnswer::NotNow);
        return [&](NodeChannels& c) {
            double nine[9] = {};
            EXPECT_EQ(c.number(3, nine[0]), ChannelAnswer::NoSuchIndex);
            if (c.number(0, nine[0]) == ChannelAnswer::NoSuchIndex) // gone with its package
                return Result{};
            EXPECT_EQ(c.number(1, nine[0]), ChannelAnswer::WrongType);
            EXPECT_EQ(c.number(2, nine[0]), ChannelAnswer::WrongType);
            EXPECT_EQ(c.linear(0, nine), ChannelAnswer::WrongType);
            EXPECT_EQ(c.setLinear(0, nine), ChannelAnswer::WrongType);
            EXPECT_FALSE(c.add(top, "visible", ChannelMode::Read));
            EXPECT_EQ(c.setOffset(2, nine), ChannelAnswer::Ok);
            return Result{};
        };
    });
    EXPECT_EQ(world(top), (Vector3{1000, 0, 0}));
    double three[3] = {};
    EXPECT_EQ(kept->setOffset(2, three), ChannelAnswer::NotNow);
    ASSERT_TRUE(scene.removePackage(top, "note").ok()); // the modifier doesn't name the type
    EXPECT_EQ(world(top), (Vector3{1, 0, 0}));
    ASSERT_TRUE(scene.deleteItem(top).ok());
    EXPECT_EQ(modifier->living, 1);
    Item& rest = make("rest");
    EXPECT_EQ(worldX(rest), 0);
}
