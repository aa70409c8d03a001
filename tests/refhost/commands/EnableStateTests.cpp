// SPDX-License-Identifier: MIT
// Whether commands are enabled is remembered until an event that they name.
#include "CommandSession.h"

namespace refhost {
namespace {

/// Counts how often it is tested.
class Tested final : public Command {
public:
    Tested(std::string name, std::vector<Notifier> notifiers)
        : m_Name(std::move(name)), m_Notifiers(std::move(notifiers))
    {
    }
    const std::string& name() const override { return m_Name; }
    const std::string& summary() const override { return m_Name; }
    const std::vector<ArgumentSpec>& arguments() const override { return m_Arguments; }
    const std::vector<Notifier>& notifiers() const override { return m_Notifiers; }
    Enabled enabled(Invocation& invocation) override
    {
        ++tests;
        return invocation.host().selection().packets(SelectionType::Item).empty() ? Enabled::no("none")
                                                                                  : Enabled{};
    }
    Result execute(Invocation&) override { return {}; }

    int tests = 0;

private:
    std::string m_Name;
    std::vector<ArgumentSpec> m_Arguments;
    std::vector<Notifier> m_Notifiers;
};

struct EnableStateTest : ::testing::Test {
    Tested& add(const char* name, std::vector<Notifier> notifiers)
    {
        auto made = std::make_unique<Tested>(name, std::move(notifiers));
        Tested& command = *made;
        EXPECT_TRUE(session.commands().add(std::move(made)).ok());
        return command;
    }
    /// How many tests it takes to tell the states now.
    std::vector<int> tests()
    {
        std::vector<int> counts;
        for (Tested* each : {&always, &bySelection, &byEdit}) {
            const int before = each->tests;
            (void)session.commands().state(*each);
            counts.push_back(each->tests - before);
        }
        return counts;
    }

    CommandSession session;
    Tested& always = add("always", {});
    Tested& bySelection = add("bySelection", {{"select.event", "item +v"}, {"select.event", "item exist+d"}});
    Tested& byEdit = add("byEdit", {{"action.event", "edit +d"}});
    using Counts = std::vector<int>;
};

TEST_F(EnableStateTest, SelectionAndEditsTestThoseAgainThatNameThem)
{
    session.run("item.create name:A");
    EXPECT_EQ(tests(), (Counts{1, 1, 1}));
    EXPECT_EQ(tests(), (Counts{1, 0, 0})) << "remembered";
    session.run("select.set A");
    EXPECT_EQ(tests(), (Counts{1, 1, 0}));
    session.run("channel.set A pos.X 3"); // makes a transform item as well
    tests();
    session.run("channel.set A pos.X 4");
    EXPECT_EQ(tests(), (Counts{1, 0, 1}));
    session.run("undo");
    EXPECT_EQ(tests(), (Counts{1, 0, 1})) << "undoing is an edit too";
    session.run("item.create name:B");
    EXPECT_EQ(tests(), (Counts{1, 1, 1})) << "items exist or not";
    session.run("time.set 2");
    EXPECT_EQ(tests(), (Counts{1, 0, 0}));
    for (const char* line : {"scene.setup on:true", "scene.new"}) {
        session.run(line);
        EXPECT_EQ(tests(), (Counts{1, 1, 1})) << line;
    }
}

TEST_F(EnableStateTest, ListingAndRunningTestAnew)
{
    session.run("item.create name:A");
    tests(); // remembered: none is selected, which the next line changes without an event that is named
    session.run("select.set A");
    EXPECT_NE(session.ask("commands enabled:true").find("byEdit          yes"), std::string::npos);
    const int before = bySelection.tests;
    session.run("bySelection");
    EXPECT_EQ(bySelection.tests, before + 1);
}

} // namespace
} // namespace refhost
