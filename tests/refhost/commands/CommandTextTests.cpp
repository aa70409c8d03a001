// SPDX-License-Identifier: MIT
// How a line is read: words, quotes, comments, argument types, and what a mistake is answered with.
#include "CommandSession.h"

namespace refhost {
namespace {

/// Takes one argument of each type and shows what it got.
class ShowArguments final : public Command {
public:
    const std::string& name() const override { return m_Name; }
    const std::string& summary() const override { return m_Name; }
    const std::vector<ArgumentSpec>& arguments() const override { return m_Arguments; }
    CommandKind kind() const override { return CommandKind::Query; }
    Result execute(Invocation& invocation) override
    {
        const Arguments& given = invocation.arguments();
        std::string text;
        for (int i = 0; i < given.count(); ++i)
            text += given.isSet(i) ? "[" + given.text(i) + "]" : "-";
        invocation.print(text + " " + std::to_string(given.integer(1)) + " " + std::to_string(given.number(2))
                         + " " + std::to_string(given.boolean(3)) + " "
                         + (given.item(4) ? given.item(4)->label() : "none"));
        return {};
    }

private:
    std::string m_Name = "show";
    std::vector<ArgumentSpec> m_Arguments = {{"text", ArgumentType::Text, false, "", {}, false},
                                             {"count", ArgumentType::Integer, false, "", {}, false},
                                             {"size", ArgumentType::Number, false, "", {}, false},
                                             {"flag", ArgumentType::Boolean, false, "", {}, false},
                                             {"item", ArgumentType::Item, false, "", {}, false},
                                             {"other", ArgumentType::Item, false, "", {}, true}};
};

class CommandTextTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(session.commands().add(std::make_unique<ShowArguments>()).ok()); }
    void expectMessage(std::string_view line, std::string_view part)
    {
        EXPECT_NE(session.fails(line).find(part), std::string::npos)
            << line << "\n  got: " << session.fails(line) << "\n  not: " << part;
    }
    CommandSession session;
};

TEST_F(CommandTextTest, WordsFillArgumentsByNameAndByPosition)
{
    session.run("item.create name:Arm");
    EXPECT_EQ(session.ask("show hello 3 0.5 yes Arm"), "[hello][3][0.5][yes][Arm]- 3 0.500000 1 Arm");
    EXPECT_EQ(session.ask("  show\tflag:on   count:-7 text:a:b "), "[a:b][-7]-[on]-- -7 0.000000 1 none");
    EXPECT_EQ(session.ask("show count:2 first"), "[first][2]---- 2 0.000000 0 none");
    EXPECT_EQ(session.ask("show item:#" + std::to_string(session.item("Arm").id())).substr(0, 6), "----[#");
}

TEST_F(CommandTextTest, QuotesEscapesAndComments)
{
    EXPECT_EQ(session.ask(R"(show "two words")").substr(0, 11), "[two words]");
    EXPECT_EQ(session.ask(R"(show text:"a \"b\" \\ c")").substr(0, 11), R"([a "b" \ c])");
    EXPECT_EQ(session.ask(R"(show text:'C:\new "x"' # rest)").substr(0, 12), R"([C:\new "x"])");
    EXPECT_EQ(session.ask("show \"a:b\"").substr(0, 5), "[a:b]");
    EXPECT_EQ(session.ask("show O'Brien#1 ").substr(0, 11), "[O'Brien#1]");
    EXPECT_EQ(session.ask("show text:").substr(0, 2), "[]");
    EXPECT_EQ(session.ask("# a comment"), "");
    EXPECT_EQ(session.ask("   "), "");
}

TEST_F(CommandTextTest, MistakesAreNamedWithAWayOut)
{
    session.run("item.create name:LeftHand");
    expectMessage("itm.create", "Did you mean 'item.create'?");
    expectMessage("frobnicate", "`commands` lists them");
    expectMessage("show cuont:1", "Did you mean 'count'?");
    expectMessage("show rig:Hips", "stand in quotes");
    expectMessage("show count:1 count:2", "given twice");
    expectMessage("show a text:b", "given twice");
    expectMessage("show a 1 2 yes LeftHand LeftHand more", "no place for 'more'");
    expectMessage("show item:LeftHnad", "Did you mean 'LeftHand'?");
    expectMessage("show item:#99", "#99");
    for (const char* bad : {"", "1.5", "2147483648", "0x10", "1 ", "--1", "+-1"})
        expectMessage("show count:\"" + std::string(bad) + "\"", "whole number");
    for (const char* bad : {"nan", "inf", "1e999", "1,5", "1.5m", "-"})
        expectMessage("show size:" + std::string(bad), "has to be a number");
    expectMessage("show flag:maybe", "true or false");
    expectMessage("show \"open", "has no partner");
    expectMessage("show \"a\"b", "a blank is missing");
    expectMessage(R"(show "a\q")", "after a backslash");
    expectMessage("show \"a\\", "after a backslash");
    expectMessage(std::string("show a\0b", 8), "control character");
    expectMessage("show a\nshow b", "control character");
    expectMessage("show \xff", "UTF-8");
}

TEST_F(CommandTextTest, AnUnknownItemReachesACommandThatAnswersItItself)
{
    EXPECT_EQ(session.ask("show other:Nobody"), "-----[Nobody] 0 0.000000 0 none");
}

TEST_F(CommandTextTest, ArgumentsSetByCodeAreChecked)
{
    const auto made = session.commands().spawn("show");
    ASSERT_TRUE(made.ok());
    Arguments& arguments = made.value->arguments();
    EXPECT_TRUE(arguments.setInteger(2, 3).ok());
    EXPECT_TRUE(arguments.setInteger(3, -1).ok());
    EXPECT_EQ(arguments.number(2), 3);
    EXPECT_TRUE(arguments.boolean(3));
    EXPECT_FALSE(arguments.setNumber(1, 3).ok());
    EXPECT_FALSE(arguments.setNumber(2, std::numeric_limits<double>::infinity()).ok());
    EXPECT_FALSE(arguments.setInteger(17, 1).ok());
    EXPECT_FALSE(arguments.setText(-1, "").ok());
}

} // namespace
} // namespace refhost
