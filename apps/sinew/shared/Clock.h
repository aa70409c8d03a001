// SPDX-License-Identifier: MIT
// Time spent, for reports.
#pragma once

#include <chrono>

namespace app {

using Clock = std::chrono::steady_clock;

inline double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

} // namespace app
