// SPDX-License-Identifier: MIT
// `sinew run`: what a script prints, where its errors are said to be, and how it ends.
#include "ProgramRun.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

constexpr const char* kArm = "# an arm\n"
                             "item.create name:Arm\n"
                             "\n"
                             "channel.set Arm pos.Y 1.5 # up\n"
                             "query Arm pos.Y action:edit\n";

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST(RunCommand, AScriptPrintsWhatItAsksForAndNothingElse)
{
    const ProgramRun run;
    run.write("arm.txt", kArm);
    const ProgramResult plain = run({"run", "arm.txt", "--no-module"});
    EXPECT_EQ(plain.code, 0) << plain.err;
    EXPECT_EQ(plain.out, "1.5\n");
    EXPECT_EQ(plain.err, "");
    run.write("windows.txt", "\xEF\xBB\xBFitem.create name:Arm\r\nitems");
    EXPECT_EQ(run({"run", "windows.txt", "--no-module", "--echo"}).out,
              "> item.create name:Arm\n> items\nArm (locator)\n");
}

TEST(RunCommand, AnErrorNamesFileAndLineAndEndsTheScript)
{
    const ProgramRun run;
    run.write("bad.txt", "item.create name:Arm\nitem.rename Leg item:Arn\nitems\nfrobnicate\n");
    const ProgramResult stopped = run({"run", "bad.txt", "--no-module"});
    EXPECT_EQ(stopped.code, 2);
    EXPECT_EQ(stopped.out, "");
    EXPECT_EQ(stopped.err, "sinew: bad.txt:2: There is no item named 'Arn'. Did you mean 'Arm'?\n");
    const ProgramResult wentOn = run({"run", "bad.txt", "--no-module", "--keep-going"});
    EXPECT_EQ(wentOn.code, 2);
    EXPECT_EQ(wentOn.out, "Arm (locator)\n");
    EXPECT_TRUE(contains(wentOn.err, "bad.txt:2: ") && contains(wentOn.err, "bad.txt:4: ")) << wentOn.err;
}

TEST(RunCommand, ResultsForMachinesAreOneObjectALine)
{
    const ProgramRun run;
    run.write("arm.txt", std::string(kArm) + "item.delete Leg\n");
    const ProgramResult result = run({"run", "arm.txt", "--no-module", "--json"});
    EXPECT_EQ(result.code, 2);
    std::vector<app::Json> records;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);)
        records.push_back(app::Json::parse(line));
    ASSERT_EQ(records.size(), 4u);
    EXPECT_EQ(records[0]["line"], 2);
    EXPECT_EQ(records[0]["outcome"], "done");
    EXPECT_EQ(records[2]["output"][0]["value"], 1.5);
    EXPECT_EQ(records[2]["output"][0]["channel"], "pos.Y");
    EXPECT_EQ(records[3]["outcome"], "malformed");
    EXPECT_TRUE(contains(records[3]["error"], "Leg"));
}

TEST(RunCommand, TheStandardInputIsAScriptToo)
{
    const std::string program = "'" SINEW_PROGRAM "'";
    // A shell of its own, as a user pipes: the program's own runs have nothing on their standard input.
    char folder[] = "/tmp/sinew-run-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string out = std::string(folder) + "/out";
    const std::string line = "printf 'item.create name:Arm\\nitems\\nnonsense\\n' | " + program
        + " run - --no-module >" + out + " 2>&1";
    EXPECT_NE(std::system(line.c_str()), 0);
    std::ifstream file(out);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_TRUE(contains(text, "Arm (locator)\n")) << text;
    EXPECT_TRUE(contains(text, "standard input:3: There is no command 'nonsense'.")) << text;
    std::filesystem::remove_all(folder);
}

TEST(RunCommand, WhatCannotBeRunIsRefused)
{
    const ProgramRun run;
    run.write("empty.txt", "");
    EXPECT_EQ(run({"run", "empty.txt", "--no-module"}).code, 0);
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"run"},
          {"run", "missing.txt", "--no-module"},
          {"run", ".", "--no-module"},
          {"run", "empty.txt", "--module", "missing.zx"},
          {"run", "empty.txt", "--module", "empty.txt"},
          {"run", "empty.txt", "--module", "x.zx", "--no-module"}}) {
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.code, 2) << arguments.back();
        EXPECT_EQ(result.err.rfind("sinew: ", 0), 0u) << arguments.back() << ": " << result.err;
        EXPECT_EQ(result.out, "");
    }
    // Bytes that no text has: refused line by line, and nothing reaches the terminal raw.
    run.write("binary.txt", std::string("items \x1b[2J\n\0\0\n\xff\xfe\n", 16));
    const ProgramResult binary = run({"run", "binary.txt", "--no-module", "--keep-going", "--echo"});
    EXPECT_EQ(binary.code, 2);
    EXPECT_FALSE(contains(binary.out + binary.err, "\x1b"));
}

TEST(RunCommand, ASceneIsSavedAndRunAgainFromItsFile)
{
    const ProgramRun run;
    run.write("walk.bvh", walkingFigure(3));
    run.write("make.txt", "scene.import file:walk.bvh\nscene.save file:walk.sinew.json\nitems\n");
    run.write("again.txt", "scene.open walk.sinew.json\nitems\nscene.save file:again.sinew.json\n");
    const ProgramResult first = run({"run", "make.txt", "--no-module"});
    ASSERT_EQ(first.code, 0) << first.err;
    const ProgramResult second = run({"run", "again.txt", "--no-module"});
    EXPECT_EQ(second.code, 0) << second.err;
    EXPECT_FALSE(first.out.empty());
    EXPECT_EQ(first.out, second.out);
    EXPECT_EQ(run.read("walk.sinew.json"), run.read("again.sinew.json"));
}

TEST(RunCommand, FileNamesCountFromTheFolderOfTheScript)
{
    const ProgramRun run;
    for (const char* folder : {"walks", "elsewhere"})
        std::filesystem::create_directory(run.path(folder));
    run.write("walks/walk.bvh", walkingFigure(3));
    run.write("walks/make.txt",
              "scene.import file:walk.bvh\nscene.save file:walk.sinew.json\nscene.new\n"
              "scene.open file:walk.sinew.json\nscene.export file:../elsewhere/again.bvh\n"
              "scene.save file:'"
                  + run.path("whole.sinew.json")
                  + "'\n"
                    "module.load file:missing.zx\n");
    const ProgramResult result = run({"run", "walks/make.txt", "--no-module"});
    EXPECT_EQ(result.code, 2);
    EXPECT_TRUE(contains(result.err, "walks/make.txt:7: ") && contains(result.err, "walks/missing.zx"))
        << result.err;
    EXPECT_TRUE(run.exists("walks/walk.sinew.json"));
    EXPECT_TRUE(run.exists("elsewhere/again.bvh"));
    EXPECT_TRUE(run.exists("whole.sinew.json"));
}

TEST(RunCommand, TheExampleRigReachesItsGoal)
{
    const ProgramRun run;
    const ProgramResult result = run({"run", SINEW_EXAMPLES "/ArmByHand.sinew", "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    std::istringstream lines(result.out);
    std::string line, last;
    while (std::getline(lines, line))
        last = line;
    const app::Json hand = app::Json::parse(last).at("output").at(0).at("value");
    const double goal[3] = {1, 2.5, 0.5};
    for (std::size_t row = 0; row < 3; ++row)
        EXPECT_NEAR(hand.at(row).at(3).get<double>(), goal[row], 0.01);
}

} // namespace
