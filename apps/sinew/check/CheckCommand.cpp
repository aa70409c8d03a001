// SPDX-License-Identifier: MIT
// Runs the checks of a module, each in a process of its own.
#include "check/CheckCommand.h"

#include "check/CheckProcess.h"
#include "check/ModuleChecks.h"
#include "check/ModuleFile.h"
#include "shared/Console.h"
#include "shared/Json.h"

#include <fmt/format.h>
#include <refhost/Modules.h>

#include <chrono>
#include <cstdlib>

namespace app {

namespace {

/// The check that runs in this process; null outside of one.
const char* runningCheck = nullptr;

/// A module that ends the program in the middle of a check would look like one that passed.
void tellOfEarlyEnd()
{
    if (!runningCheck)
        return;
    print(fmt::format("the module ended the program in the middle of the check '{}'\n", runningCheck),
          stderr);
    std::_Exit(kExitMissed);
}

/// What a check says is wrong; empty when it passes.
std::string runHere(const ModuleCheck& check, const std::string& module)
{
    runningCheck = check.name;
    std::string problem;
    try {
        check.run(module);
    } catch (const std::exception& error) {
        problem = error.what();
    }
    runningCheck = nullptr;
    return problem;
}

std::vector<ModuleCheck> chosenChecks(const std::vector<std::string>& names)
{
    if (names.empty())
        return {moduleChecks().begin(), moduleChecks().end()};
    std::vector<ModuleCheck> chosen;
    for (const std::string& name : names) {
        const std::size_t before = chosen.size();
        for (const ModuleCheck& check : moduleChecks())
            if (name == check.name)
                chosen.push_back(check);
        if (chosen.size() == before)
            throw BadInput(fmt::format("there is no check '{}'; `sinew check --list` names them", name));
    }
    return chosen;
}

int listChecks(bool json)
{
    Json list = Json::array();
    std::string text;
    for (const ModuleCheck& check : moduleChecks()) {
        list.push_back({{"name", check.name}, {"promise", check.promise}});
        text += fmt::format("{:<20} {}\n", check.name, check.promise);
    }
    print(json ? list.dump(2) + "\n" : text);
    return kExitDone;
}

} // namespace

int runCheck(const CheckOptions& options)
{
    if (options.list)
        return listChecks(options.json);
    const std::string module = options.module.empty() ? refhost::Modules::defaultPath() : options.module;
    const std::vector<ModuleCheck> checks = chosenChecks(options.only);
    (void)exportedSymbols(module); // a file that is no module fails no check: it is bad input
    if (options.inProcess && (std::atexit(tellOfEarlyEnd) != 0 || std::at_quick_exit(tellOfEarlyEnd) != 0))
        throw std::runtime_error("no place for a function that runs at the end");
    Json results = Json::array();
    std::size_t failed = 0;
    for (const ModuleCheck& check : checks) {
        const std::string problem = options.inProcess
            ? runHere(check, module)
            : CheckProcess(check.name, module).problem(std::chrono::seconds(options.seconds));
        failed += problem.empty() ? 0 : 1;
        results.push_back({{"name", check.name}, {"passed", problem.empty()}, {"problem", problem}});
        if (options.json)
            continue;
        if (options.inProcess && checks.size() == 1)
            print(problem.empty() ? "" : printable(problem) + "\n");
        else
            print(fmt::format("{} {:<20} {}\n", problem.empty() ? "pass" : "FAIL", check.name,
                              problem.empty() ? check.promise : printable(problem)));
    }
    if (failed == 0 && options.passedTo >= 0)
        CheckProcess::tellPassed(options.passedTo);
    if (options.json)
        print(Json{{"module", module}, {"passed", failed == 0}, {"checks", results}}.dump(2) + "\n");
    else if (!options.inProcess || checks.size() > 1)
        print(fmt::format("{} of {} checks passed\n", checks.size() - failed, checks.size()));
    return failed == 0 ? kExitDone : kExitMissed;
}

} // namespace app
