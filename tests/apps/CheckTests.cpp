// SPDX-License-Identifier: MIT
// `sinew check`: the built plug-in passes, and each planted fault fails the check that it breaks.
#include "ProgramRun.h"

#include <gtest/gtest.h>

namespace {

struct Fault {
    const char* name;
    const char* check; ///< the check that must find it
};
constexpr Fault kFaults[] = {
    {"leak", "references"},       {"order", "names"},          {"twice", "entry-twice"},
    {"past-end", "tag-past-end"}, {"crash", "unknown-server"}, {"wrong-id", "wrong-id"},
    {"symbols", "symbols"},       {"exit", "unknown-server"},  {"exit-at-once", "unknown-server"},
};

std::string faultyModule(const char* fault)
{
    return std::string(SINEW_FAULTY_MODULES) + "/faulty_" + fault + ".zx";
}

/// Whether the named check passed; its problem when not.
std::pair<bool, std::string> outcome(const app::Json& report, const std::string& check)
{
    for (const app::Json& result : report.at("checks"))
        if (result.at("name") == check)
            return {result.at("passed").get<bool>(), result.at("problem").get<std::string>()};
    ADD_FAILURE() << "no check " << check;
    return {};
}

} // namespace

TEST(Check, TheBuiltPlugInPassesEveryCheck)
{
    const ProgramRun sinew;
    const ProgramResult result = sinew({"check", SINEW_MODULE_FILE});
    EXPECT_EQ(result.code, 0) << result.out << result.err;
    EXPECT_EQ(result.out.find("FAIL"), std::string::npos);
    const ProgramResult list = sinew({"check", "--list", "--json"});
    ASSERT_EQ(list.code, 0);
    for (const app::Json& check : list.json())
        EXPECT_NE(result.out.find("pass " + check.at("name").get<std::string>()), std::string::npos) << check;
}

TEST(Check, EachPlantedFaultFailsTheCheckThatItBreaks)
{
    const ProgramRun sinew;
    for (const Fault& fault : kFaults) {
        SCOPED_TRACE(fault.name);
        const ProgramResult result = sinew({"check", faultyModule(fault.name), "--json"});
        ASSERT_EQ(result.code, 1) << result.out << result.err;
        const auto [passed, problem] = outcome(result.json(), fault.check);
        EXPECT_FALSE(passed);
        EXPECT_FALSE(problem.empty());
        EXPECT_EQ(problem.find("crashed") != std::string::npos, fault.name == std::string("crash"))
            << problem;
        EXPECT_TRUE(outcome(result.json(), "load").first) << "the other checks still run";
    }
}

TEST(Check, OneCheckAloneAndFilesThatAreNoModule)
{
    const ProgramRun sinew;
    EXPECT_EQ(sinew({"check", faultyModule("leak"), "--only", "names"}).code, 0);
    EXPECT_EQ(sinew({"check", faultyModule("leak"), "--only", "references", "--in-process"}).code, 1);
    const ProgramResult unknown = sinew({"check", SINEW_MODULE_FILE, "--only", "nonsense"});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_NE(unknown.err.find("--list"), std::string::npos);

    EXPECT_EQ(sinew({"check", faultyModule("exit"), "--only", "unknown-server", "--in-process"}).code, 1);
}

TEST(Check, AModuleThatNeverEndsIsEndedEvenWhileItTalks)
{
    const ProgramRun sinew;
    const ProgramResult result =
        sinew({"check", faultyModule("chatter"), "--only", "unknown-server", "--time-limit", "1"});
    EXPECT_EQ(result.code, 1) << result.err;
    EXPECT_NE(result.out.find("no answer in 1 second"), std::string::npos) << result.out.substr(0, 500);
}

TEST(Check, AFileThatIsNoWholeModuleIsNeverLoaded)
{
    const ProgramRun sinew;
    const std::string whole = ProgramRun::bytesOf(SINEW_MODULE_FILE);
    const auto changed = [&](std::size_t at, char byte) {
        std::string bytes = whole;
        bytes[at] = byte;
        return bytes;
    };
    std::map<std::string, std::string> files = {
        {"text.zx", "this is no module"}, {"empty.zx", ""},
        {"class.zx", changed(4, 1)},      {"order.zx", changed(5, 2)},
        {"program.zx", changed(16, 2)},   {"machine.zx", changed(18, '\x7f')}};
    for (std::size_t part = 1; part < 12; ++part)
        files["cut" + std::to_string(part) + ".zx"] = whole.substr(0, whole.size() * part / 12);
    files["end.zx"] = whole.substr(0, whole.size() - 1);
    files["head.zx"] = whole.substr(0, 30);
    files["zeros.zx"] =
        whole.substr(0, whole.size() / 2) + std::string(whole.size() - whole.size() / 2, '\0');
    sinew.write("empty.txt", "");
    for (const auto& [name, bytes] : files)
        sinew.write(name, bytes);
    files["missing.zx"] = files["."] = "";
    for (const auto& [name, bytes] : files)
        for (const std::vector<std::string>& words :
             {std::vector<std::string>{"check", name}, {"run", "empty.txt", "--module", name}}) {
            const ProgramResult result = sinew(words);
            EXPECT_EQ(result.code, 2) << words[0] << " " << name << result.out;
            EXPECT_NE(result.err.find(name), std::string::npos) << result.err;
        }
}
