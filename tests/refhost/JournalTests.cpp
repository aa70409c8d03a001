// SPDX-License-Identifier: MIT
// Steps: refusals, nesting, marks, notifications, loading.
#include "HostFixture.h"

using namespace refhost;

namespace {

using JournalTests = support::HostFixture;

/// Writes down what it is told.
struct Recorder final : SceneListener {
    explicit Recorder(Scene& told) : scene(told) { scene.addListener(*this); }
    ~Recorder() override { scene.removeListener(*this); }
    void beforeChange(Scene&, const Change& change) override { note("-", change); }
    void afterChange(Scene& changed, const Change& change) override
    {
        note("+", change);
        if (editsBack)
            backAnswer = changed.setSetupMode(true).message;
    }
    void note(const char* when, const Change& change)
    {
        std::string line = when + std::to_string(static_cast<int>(change.kind));
        if (change.cause != ChangeCause::Edit)
            line += change.cause == ChangeCause::Undo ? "u" : change.cause == ChangeCause::Redo ? "r" : "b";
        if (change.item)
            line += " " + std::to_string(change.item->id());
        if (!change.name.empty())
            line += " " + std::string(change.name);
        lines.push_back(line);
    }
    std::vector<std::string> take() { return std::exchange(lines, {}); }

    Scene& scene;
    std::vector<std::string> lines;
    bool editsBack = false;
    std::string backAnswer;
};

std::string kindText(ChangeKind kind) { return std::to_string(static_cast<int>(kind)); }

} // namespace

TEST_F(JournalTests, EditsOutsideAStepAreRefusedWithASentence)
{
    const auto refused = scene.createItem(host.locatorType(), "a");
    EXPECT_FALSE(refused.ok());
    EXPECT_EQ(refused.value, nullptr);
    EXPECT_FALSE(refused.message.empty());
    EXPECT_FALSE(scene.setSetupMode(true).ok());
    EXPECT_FALSE(scene.setTag(1, "x").ok());
    EXPECT_FALSE(scene.resetModifier("m").ok());
    EXPECT_FALSE(scene.journal().commit().ok());
    EXPECT_FALSE(scene.journal().rollback().ok());
    EXPECT_FALSE(scene.journal().undo().ok());
    EXPECT_EQ(scene.itemCount(), 0u);
}

TEST_F(JournalTests, InnerStepsJoinTheOuterOneAndCanFailAlone)
{
    Journal& journal = scene.journal();
    ASSERT_TRUE(journal.begin("outer").ok());
    Item& kept = make("kept");
    ASSERT_TRUE(journal.begin("inner").ok());
    EXPECT_FALSE(journal.undo().ok());
    make("lost", &kept);
    ASSERT_TRUE(scene.setTag(kept, 5, "x").ok());
    ASSERT_TRUE(journal.rollback().ok());
    EXPECT_EQ(scene.itemCount(), 1u);
    EXPECT_EQ(kept.tags().find(5), nullptr);
    const std::size_t mark = journal.mark();
    make("half", &kept);
    ASSERT_TRUE(journal.rollbackTo(mark).ok());
    EXPECT_TRUE(kept.children().empty());
    {
        Step step(journal, "second inner");
        EXPECT_FALSE(journal.rollbackTo(mark > 0 ? mark - 1 : 0).ok());
        make("child", &kept);
        EXPECT_TRUE(step.commit().ok());
    }
    ASSERT_TRUE(journal.commit().ok());
    EXPECT_EQ(journal.undoCount(), 1u);
    EXPECT_EQ(journal.undoLabel(), "outer");
    ASSERT_TRUE(journal.undo().ok());
    EXPECT_EQ(scene.itemCount(), 0u);
    EXPECT_EQ(journal.redoLabel(), "outer");
}

TEST_F(JournalTests, AStepThatGoesOutOfScopeLeavesTheSceneAsItWas)
{
    begin();
    Item& a = make("a");
    ASSERT_TRUE(scene.addPackage(a, "limits").ok());
    commit();
    const std::string before = scene.digest();
    {
        Step step(scene.journal(), "fails");
        for (int i = 0; i < 5; ++i)
            ASSERT_TRUE(
                scene.writeNumber(*a.channel("limitSpeed"), Action::Anim, 0, i, WriteMode::Plain).ok());
        ASSERT_TRUE(scene.removePackage(a, "limits").ok());
        ASSERT_TRUE(scene.deleteItem(a).ok());
        make("b");
    }
    EXPECT_EQ(scene.digest(), before);
    EXPECT_EQ(scene.journal().undoCount(), 1u);
}

TEST_F(JournalTests, RepeatedWritesOfOneChannelAreOneRecordUpToAMark)
{
    begin();
    Item& a = make("a");
    Channel& visible = *a.channel("visible");
    Item* position = scene.addTransformItem(a, TransformKind::Position).value;
    Channel& x = *position->channel("pos.X");
    const std::size_t start = scene.journal().mark();
    for (int i = 0; i < 1000; ++i) {
        ASSERT_TRUE(scene.writeNumber(x, Action::Anim, 0, i, WriteMode::Plain).ok());
        ASSERT_TRUE(scene.writeNumber(visible, Action::Anim, 0, i % 2, WriteMode::CreateKey).ok());
    }
    const std::size_t mark = scene.journal().mark();
    EXPECT_EQ(mark - start, 2u);
    ASSERT_TRUE(scene.writeNumber(x, Action::Anim, 0, -1, WriteMode::Plain).ok());
    ASSERT_TRUE(scene.journal().rollbackTo(mark).ok());
    EXPECT_EQ(x.number(Layer::Anim, 0), 999);
    ASSERT_TRUE(scene.journal().rollbackTo(start).ok());
    EXPECT_FALSE(x.isSet(Layer::Anim, 0));
    EXPECT_FALSE(visible.isSet(Layer::Anim, 0));
    for (int i = 0; i < 10; ++i)
        ASSERT_TRUE(scene.writeNumber(x, Action::Anim, i % 5, i, WriteMode::CreateKey).ok());
    EXPECT_EQ(x.keys(Layer::Anim).count(), 5u);
    ASSERT_TRUE(scene.journal().rollbackTo(start).ok());
    EXPECT_FALSE(x.isKeyed(Layer::Anim));
}

TEST_F(JournalTests, AStepInWhichAllValuesComeBackIsNone)
{
    begin();
    Item& a = make("a");
    Channel& x = *scene.addTransformItem(a, TransformKind::Position).value->channel("pos.X");
    Channel& visible = *a.channel("visible");
    commit();
    ASSERT_TRUE(scene.journal().undo().ok());
    ASSERT_TRUE(scene.journal().redo().ok());
    const auto write = [&](double number) {
        ASSERT_TRUE(scene.writeNumber(x, Action::Anim, 0, number, WriteMode::Plain).ok());
        ASSERT_TRUE(scene.writeNumber(visible, Action::Anim, 0, number > 0, WriteMode::CreateKey).ok());
    };
    const auto steps = [&](std::initializer_list<double> numbers) {
        const std::size_t before = scene.journal().undoCount();
        begin();
        for (const double number : numbers)
            write(number);
        commit();
        return scene.journal().undoCount() - before;
    };
    EXPECT_EQ(steps({1}), 1u);
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(steps({1, 2}), 1u);
    const std::uint64_t state = scene.journal().documentState();
    EXPECT_EQ(steps({5, 0, 2}), 0u);
    EXPECT_EQ(scene.journal().documentState(), state);
    EXPECT_EQ(steps({3, 2, -0.0}), 1u);
    EXPECT_EQ(steps({0.0}), 1u) << "bit by bit";
}

TEST_F(JournalTests, ListenersHearEveryChangeInBothDirections)
{
    Recorder recorder(scene);
    begin();
    Item& a = make("a");
    ASSERT_TRUE(scene.resetModifier("solve").ok());
    commit();
    const std::string id = " " + std::to_string(a.id());
    const std::string added = kindText(ChangeKind::ItemAdded), removed = kindText(ChangeKind::ItemRemoved);
    const std::string reset = kindText(ChangeKind::ModifierReset);
    using Lines = std::vector<std::string>;
    EXPECT_EQ(recorder.take(),
              (Lines{"-" + added + id, "+" + added + id, "-" + reset + " solve", "+" + reset + " solve"}));
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(recorder.take(),
              (Lines{"-" + reset + "u solve", "+" + reset + "u solve", "-" + removed + "u" + id,
                     "+" + removed + "u" + id}));
    ASSERT_TRUE(scene.journal().redo().ok());
    EXPECT_EQ(recorder.take(),
              (Lines{"-" + added + "r" + id, "+" + added + "r" + id, "-" + reset + "r solve",
                     "+" + reset + "r solve"}));
    ASSERT_TRUE(host.setTime(4).ok());
    ASSERT_TRUE(host.setTime(4).ok());
    EXPECT_EQ(recorder.take().size(), 2u);
}

TEST_F(JournalTests, AListenerCannotEditFromWithinANotification)
{
    Recorder recorder(scene);
    recorder.editsBack = true;
    begin();
    make("a");
    commit();
    EXPECT_FALSE(recorder.backAnswer.empty());
    EXPECT_FALSE(scene.isInSetupMode());
    recorder.backAnswer.clear();
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_FALSE(recorder.backAnswer.empty());
}

TEST_F(JournalTests, ANewStepForgetsWhatWasUndoneUnlessItOnlySelects)
{
    begin();
    Item& a = make("a");
    commit();
    const std::uint64_t saved = scene.journal().documentState();
    begin();
    make("b");
    commit();
    EXPECT_NE(scene.journal().documentState(), saved);
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(scene.journal().documentState(), saved);
    begin();
    ASSERT_TRUE(host.selection().select(packetOf(a)).ok());
    commit();
    EXPECT_EQ(scene.journal().documentState(), saved);
    EXPECT_TRUE(scene.journal().canRedo());
    begin();
    commit();
    EXPECT_EQ(scene.journal().undoCount(), 2u);
    begin();
    make("c");
    commit();
    EXPECT_FALSE(scene.journal().canRedo());
    scene.journal().setStepLimit(1);
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_FALSE(scene.journal().undo().ok());
    EXPECT_EQ(scene.journal().documentState(), saved);
}

TEST_F(JournalTests, LoadingNeedsNoStepAndLeavesNothingToUndo)
{
    begin();
    make("old");
    commit();
    Recorder recorder(scene);
    {
        const LoadingScope loading(scene.journal());
        EXPECT_FALSE(scene.journal().begin("x").ok());
        Item& a = make("a");
        ASSERT_TRUE(scene.addPackage(a, "note").ok());
        ASSERT_TRUE(scene.removePackage(a, "note").ok());
        ASSERT_TRUE(scene.deleteItem(make("b", &a)).ok());
    }
    EXPECT_EQ(recorder.lines.back(), "+" + kindText(ChangeKind::Loaded));
    EXPECT_FALSE(scene.journal().canUndo());
    EXPECT_EQ(support::namesOf(scene.topItems()), (std::vector<std::string>{"old", "a"}));
}
