// SPDX-License-Identifier: MIT
// What an interruption from outside leaves behind: nothing half written.
#pragma once

#include <sys/types.h>

namespace app {

/// From now on SIGINT, SIGTERM and SIGHUP end the program at once, also in the middle of a solve: unfinished
/// files are removed, so that outputs are as they were before, children are told, and the exit code is 128
/// and the signal's number, as shells have it. A signal that was ignored when the program began stays so.
void endCleanlyWhenInterrupted();

/// A child process that is interrupted with this one, as long as the object lives.
class InterruptedChild {
public:
    explicit InterruptedChild(pid_t child);
    ~InterruptedChild();
    InterruptedChild(const InterruptedChild&) = delete;
    InterruptedChild& operator=(const InterruptedChild&) = delete;

private:
    pid_t m_Child;
};

} // namespace app
