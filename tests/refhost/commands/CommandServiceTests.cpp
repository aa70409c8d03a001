// SPDX-License-Identifier: MIT
// What the service promises of every command: one undo step, nothing left by a failure, inner commands.
#include "CommandSession.h"

#include <algorithm>

namespace refhost {
namespace {

/// Runs lines inside itself, then ends as it was told.
class Outer final : public Command {
public:
    explicit Outer(std::vector<std::string> lines) : m_Lines(std::move(lines)) { }
    const std::string& name() const override { return m_Name; }
    const std::string& summary() const override { return m_Name; }
    const std::vector<ArgumentSpec>& arguments() const override { return m_Arguments; }
    Enabled enabled(Invocation& invocation) override
    {
        return invocation.arguments().boolean(1) ? Enabled::no() : Enabled{};
    }
    Result execute(Invocation& invocation) override
    {
        for (const std::string& line : m_Lines)
            outcomes.push_back(invocation.commands().execute(line).outcome);
        return invocation.arguments().boolean(0) ? Result::failure("Told to fail.") : Result{};
    }
    std::vector<CommandResult::Outcome> outcomes;

private:
    std::string m_Name = "outer";
    std::vector<std::string> m_Lines;
    std::vector<ArgumentSpec> m_Arguments = {{"fail", ArgumentType::Boolean, false, "", {}, false},
                                             {"refuse", ArgumentType::Boolean, false, "", {}, false}};
};

using Outcome = CommandResult::Outcome;

TEST(CommandService, ACommandIsOneStepWithAllItRunsInside)
{
    CommandSession session;
    const std::string before = session.scene().digest();
    ASSERT_TRUE(session.commands()
                    .add(std::make_unique<Outer>(std::vector<std::string>{
                        "item.create name:A", "item.create name:B parent:A", "select.add B", "item.draw"}))
                    .ok());
    session.run("outer");
    EXPECT_EQ(session.scene().journal().undoCount(), 1u);
    EXPECT_EQ(session.scene().journal().undoLabel(), "outer");
    EXPECT_EQ(session.selected(), " B");
    EXPECT_TRUE(session.item("B").hasPackage("drawing"));
    const std::string after = session.scene().digest();
    session.run("undo");
    EXPECT_EQ(session.scene().digest(), before);
    EXPECT_EQ(session.selected(), "");
    session.run("redo");
    EXPECT_EQ(session.scene().digest(), after);
    EXPECT_EQ(session.selected(), " B");
}

TEST(CommandService, AnInnerCommandThatIsRefusedOrFailsChangesNothingAndIsLogged)
{
    CommandSession session;
    auto owned = std::make_unique<Outer>(
        std::vector<std::string>{"item.create name:A", "channel.set item:A channel:pos.X value:1",
                                 "item.create type:nothing", "item.delete item:Nobody", "item.parent", "undo",
                                 "channel.set item:A channel:rot.X value:nonsense", "item.create name:Last"});
    Outer& outer = *owned;
    ASSERT_TRUE(session.commands().add(std::move(owned)).ok());
    session.run("outer");
    EXPECT_EQ(outer.outcomes,
              (std::vector<Outcome>{Outcome::Done, Outcome::Done, Outcome::Failed, Outcome::Malformed,
                                    Outcome::Refused, Outcome::Refused, Outcome::Failed, Outcome::Done}));
    EXPECT_EQ(session.log.size(), 5u);
    EXPECT_EQ(session.scene().journal().undoCount(), 1u);
    // The refused value made no rotation item: the failed command was taken back, and only it.
    EXPECT_EQ(session.item("A").transformItem(TransformKind::Rotation), nullptr);
    EXPECT_NE(session.item("A").transformItem(TransformKind::Position), nullptr);
    EXPECT_NE(session.scene().findByUniqueName("Last"), nullptr);
}

TEST(CommandService, AFailingCommandLeavesSceneAndSelectionAsTheyWere)
{
    CommandSession session;
    session.run("item.create name:Old");
    session.run("select.add Old");
    ASSERT_TRUE(session.commands()
                    .add(std::make_unique<Outer>(
                        std::vector<std::string>{"item.create name:A", "select.set A", "item.delete Old"}))
                    .ok());
    EXPECT_EQ(session.fails("outer fail:true"), "Told to fail.");
    EXPECT_EQ(session.selected(), " Old");
    EXPECT_EQ(session.fails("outer refuse:true"), "'outer' cannot run now.");
}

TEST(CommandService, CommandsThatRunThemselvesEnd)
{
    CommandSession session;
    ASSERT_TRUE(session.commands().add(std::make_unique<Outer>(std::vector<std::string>{"outer"})).ok());
    session.run("outer");
    EXPECT_EQ(session.commands().depth(), 0);
    EXPECT_FALSE(session.log.empty());
}

TEST(CommandService, AnInvocationRunsAgainWithOtherArguments)
{
    CommandSession session;
    session.run("item.create name:A");
    session.run("item.create name:B");
    const auto draw = session.commands().spawn("item.draw");
    ASSERT_TRUE(draw.ok());
    ASSERT_TRUE(draw.value->arguments().setItem(2, session.item("A")).ok());
    ASSERT_TRUE(draw.value->arguments().setInteger(0, 1).ok());
    EXPECT_TRUE(session.commands().execute(*draw.value).ok());
    ASSERT_TRUE(draw.value->arguments().setItem(2, session.item("B")).ok());
    EXPECT_TRUE(session.commands().execute(*draw.value).ok());
    EXPECT_TRUE(session.item("A").hasPackage("drawing") && session.item("B").hasPackage("drawing"));
    // The item goes: the invocation notices instead of reaching for it.
    session.run("item.delete B");
    EXPECT_FALSE(session.commands().execute(*draw.value).ok());
    session.run("scene.new");
    EXPECT_FALSE(session.commands().execute(*draw.value).ok());
}

TEST(CommandService, RequiredArgumentsAndSessionCommandsAreGuarded)
{
    CommandSession session;
    EXPECT_NE(session.fails("select.add").find("needs the argument 'item'"), std::string::npos);
    ASSERT_TRUE(session.commands()
                    .add(std::make_unique<Outer>(std::vector<std::string>{"scene.new", "history.undo"}))
                    .ok());
    session.run("item.create name:A");
    session.run("outer");
    EXPECT_NE(session.scene().findByUniqueName("A"), nullptr);
    EXPECT_EQ(session.log.size(), 2u);
    EXPECT_FALSE(session.commands().add(std::make_unique<Outer>(std::vector<std::string>{})).ok())
        << "name taken";
    EXPECT_TRUE(session.commands().remove("outer").ok());
    EXPECT_EQ(session.commands().find("outer"), nullptr);
}

TEST(CommandService, EveryCommandExplainsItselfAndItsExampleIsWellFormed)
{
    CommandSession session;
    const std::string list = session.ask("commands");
    for (Command* command : session.commands().all()) {
        EXPECT_NE(list.find(command->name()), std::string::npos);
        EXPECT_EQ(session.ask("help " + command->name()).rfind(command->name(), 0), 0u);
        ASSERT_FALSE(command->example().empty()) << command->name();
        // Items of the examples aren't there, and that is the only thing that may be wrong with them.
        const auto parsed = session.commands().parse(command->example());
        EXPECT_TRUE(parsed.ok() || parsed.message.find("no item named") != std::string::npos)
            << command->example() << ": " << parsed.message;
    }
}

} // namespace
} // namespace refhost
