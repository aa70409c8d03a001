// SPDX-License-Identifier: MIT
// Starts the process, drains what it says, and ends it and whatever it started when its time is over.
#include "check/CheckProcess.h"

#include "shared/Clock.h"
#include "shared/Console.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace app {

namespace {

constexpr std::size_t kKept = 4096; // bytes of what is said
constexpr int kFirstFree = 10; // of descriptors, behind the standard streams
constexpr int kTick = 20; // milliseconds

/// The program that is running, on Linux.
constexpr const char* kThisProgram = "/proc/self/exe";

struct Pipe {
    int read = -1, write = -1;
};

Pipe makePipe()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error(fmt::format("no pipe: {}", std::strerror(errno)));
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return {ends[0], ends[1]};
}

} // namespace

CheckProcess::CheckProcess(const char* check, const std::string& module)
{
    const Pipe output = makePipe(), passed = makePipe();
    const pid_t parent = getpid();
    m_Child = fork();
    if (m_Child < 0)
        throw std::runtime_error(fmt::format("no process: {}", std::strerror(errno)));
    if (m_Child == 0) {
        setpgid(0, 0); // so that what the module starts can be ended with it
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent)
            _exit(127);
        dup2(output.write, STDOUT_FILENO);
        dup2(output.write, STDERR_FILENO);
        const std::string descriptor = std::to_string(fcntl(passed.write, F_DUPFD, kFirstFree));
        execl(kThisProgram, "sinew", "check", "--in-process", "--only", check, "--passed-to",
              descriptor.c_str(), "--", module.c_str(), nullptr);
        _exit(127);
    }
    setpgid(m_Child, m_Child); // whichever of the two comes first
    close(output.write);
    close(passed.write);
    m_Output = output.read;
    m_Passed = passed.read;
}

CheckProcess::~CheckProcess()
{
    if (!m_HasEnded)
        end();
    close(m_Output);
    close(m_Passed);
}

/// Ends the process and what it started, and waits for it.
void CheckProcess::end()
{
    kill(-m_Child, SIGKILL);
    while (waitpid(m_Child, &m_Status, 0) < 0 && errno == EINTR) { }
    m_HasEnded = true;
}

bool CheckProcess::hasEnded()
{
    // Its number stays its own until it is waited for: what it started can be ended by that.
    siginfo_t info{};
    if (!m_HasEnded && waitid(P_PID, static_cast<id_t>(m_Child), &info, WEXITED | WNOHANG | WNOWAIT) == 0
        && info.si_pid == m_Child)
        end();
    return m_HasEnded;
}

/// Takes what there is to read now.
void CheckProcess::listen()
{
    char buffer[4096];
    // Bounded, since a module may talk faster than anybody listens.
    for (int i = 0; i < 64; ++i) {
        const ssize_t got = read(m_Output, buffer, sizeof buffer);
        if (got <= 0)
            return;
        m_Said.append(buffer, static_cast<std::size_t>(got));
        if (m_Said.size() > 2 * kKept)
            m_Said.erase(0, m_Said.size() - kKept);
    }
}

std::string CheckProcess::problem(std::chrono::seconds limit)
{
    const Clock::time_point start = Clock::now();
    while (!hasEnded() && Clock::now() - start < limit) {
        pollfd waiting{m_Output, POLLIN, 0};
        poll(&waiting, 1, kTick);
        listen();
        if ((waiting.revents & POLLIN) == 0)
            poll(nullptr, 0, 1); // closed: only its end is waited for
    }
    if (!m_HasEnded)
        return fmt::format("no answer in {} second{}", limit.count(), limit.count() == 1 ? "" : "s");
    listen();
    const std::size_t end = m_Said.find_last_not_of('\n');
    m_Said.resize(end == std::string::npos ? 0 : end + 1);
    if (WIFSIGNALED(m_Status))
        return fmt::format("it crashed ({})", strsignal(WTERMSIG(m_Status)));
    const int code = WEXITSTATUS(m_Status);
    char mark = 0;
    const bool isPassed = read(m_Passed, &mark, 1) == 1;
    if (isPassed && code == kExitDone)
        return {};
    return m_Said.empty() || code == kExitDone
        ? fmt::format("the module ended the program with exit code {} before the check was over", code)
        : m_Said;
}

void CheckProcess::tellPassed(int descriptor)
{
    const char mark = 'p';
    (void)!write(descriptor, &mark, 1);
}

} // namespace app
