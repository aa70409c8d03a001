// SPDX-License-Identifier: MIT
// One check in a process of its own, which may crash, hang, talk without end or end early.
#pragma once

#include <chrono>
#include <string>

#include <sys/types.h>

namespace app {

class CheckProcess {
public:
    /// Starts this program again for one check of a module; throws runtime_error where the system has no
    /// process for it.
    CheckProcess(const char* check, const std::string& module);
    ~CheckProcess();
    CheckProcess(const CheckProcess&) = delete;
    CheckProcess& operator=(const CheckProcess&) = delete;

    /// Waits for its end, at most so long, and answers what is wrong; empty when the check passed.
    std::string problem(std::chrono::seconds limit);

    /// Said by the process of a check that ran to its end and passed: an exit code is not proof enough, since
    /// any code can end a program with any exit code.
    static void tellPassed(int descriptor);

private:
    void end();
    bool hasEnded();
    void listen();

    pid_t m_Child = -1;
    int m_Output = -1, m_Passed = -1; // ends to read from
    int m_Status = 0;
    bool m_HasEnded = false;
    std::string m_Said; // the end of it
};

} // namespace app
