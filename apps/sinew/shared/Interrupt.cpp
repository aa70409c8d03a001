// SPDX-License-Identifier: MIT
// Ends the program on a signal. Everything that the handler calls is allowed in one.
#include "shared/Interrupt.h"

#include "formats/Files.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstring>

namespace app {

namespace {

std::array<std::atomic<pid_t>, 256> children{};
std::atomic<bool> hasProgressLine = false;

void say(const char* text)
{
    // Nothing can be done about a terminal that is gone.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text, std::strlen(text));
}

void end(int signal)
{
    for (const std::atomic<pid_t>& child : children) {
        if (const pid_t id = child; id > 0)
            kill(id, signal);
    }
    formats::removeUnfinishedFiles();
    if (hasProgressLine)
        say("\r\x1b[K");
    say("sinew: interrupted; files that were not finished are as they were before\n");
    _exit(128 + signal);
}

} // namespace

void endCleanlyWhenInterrupted()
{
    hasProgressLine = isatty(STDERR_FILENO) == 1;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        if (sigaction(signal, nullptr, &before) != 0 || before.sa_handler == SIG_IGN)
            continue;
        struct sigaction action = {};
        action.sa_handler = end;
        sigfillset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
}

InterruptedChild::InterruptedChild(pid_t child) : m_Child(child)
{
    for (std::atomic<pid_t>& place : children) {
        pid_t none = 0;
        if (place.compare_exchange_strong(none, child))
            return;
    }
}

InterruptedChild::~InterruptedChild()
{
    for (std::atomic<pid_t>& place : children) {
        pid_t mine = m_Child;
        if (place.compare_exchange_strong(mine, 0))
            return;
    }
}

} // namespace app
