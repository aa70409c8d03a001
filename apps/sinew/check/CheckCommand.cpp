// SPDX-License-Identifier: MIT
// Runs the checks of a module, each in a process of its own.
#include "check/CheckCommand.h"

#include "check/ModuleChecks.h"
#include "check/ModuleFile.h"
#include "shared/Console.h"
#include "shared/Json.h"

#include <fmt/format.h>
#include <refhost/Modules.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace app {

namespace {

constexpr int kSeconds = 60; // of one check

/// What a check says is wrong; empty when it passes.
std::string runHere(const ModuleCheck& check, const std::string& module)
{
    try {
        check.run(module);
        return {};
    } catch (const std::exception& error) {
        return error.what();
    }
}

/// The program that is running, on Linux.
constexpr const char* kThisProgram = "/proc/self/exe";

std::string runApart(const ModuleCheck& check, const std::string& module)
{
    int ends[2];
    if (pipe(ends) != 0)
        throw std::runtime_error(fmt::format("no pipe: {}", std::strerror(errno)));
    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error(fmt::format("no process: {}", std::strerror(errno)));
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        execl(kThisProgram, "sinew", "check", module.c_str(), "--in-process", "--only", check.name, nullptr);
        _exit(127);
    }
    close(ends[1]);
    std::string said;
    char buffer[4096];
    bool isLate = false;
    for (;;) {
        pollfd waiting{ends[0], POLLIN, 0};
        const int ready = poll(&waiting, 1, kSeconds * 1000);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready == 0) {
            isLate = true;
            kill(child, SIGKILL);
        }
        const ssize_t got = ready > 0 ? read(ends[0], buffer, sizeof buffer) : 0;
        if (got <= 0)
            break;
        said.append(buffer, static_cast<std::size_t>(got));
    }
    close(ends[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    while (!said.empty() && said.back() == '\n')
        said.pop_back();
    if (isLate)
        return fmt::format("no answer in {} seconds", kSeconds);
    if (WIFSIGNALED(status))
        return fmt::format("it crashed ({})", strsignal(WTERMSIG(status)));
    if (WEXITSTATUS(status) == kExitDone)
        return {};
    return said.empty() ? fmt::format("the check ended with {}", WEXITSTATUS(status)) : said;
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
    Json results = Json::array();
    std::size_t failed = 0;
    for (const ModuleCheck& check : checks) {
        const std::string problem = options.inProcess ? runHere(check, module) : runApart(check, module);
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
    if (options.json)
        print(Json{{"module", module}, {"passed", failed == 0}, {"checks", results}}.dump(2) + "\n");
    else if (!options.inProcess || checks.size() > 1)
        print(fmt::format("{} of {} checks passed\n", checks.size() - failed, checks.size()));
    return failed == 0 ? kExitDone : kExitMissed;
}

} // namespace app
