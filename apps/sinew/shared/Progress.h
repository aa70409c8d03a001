// SPDX-License-Identifier: MIT
// A progress bar on the terminal; silent where the standard error stream is none.
#pragma once

#include "shared/Clock.h"

#include <cstddef>
#include <string>

namespace app {

class Progress {
public:
    Progress(std::string label, std::size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Cheap enough for every frame: draws ten times a second at most, with the time left once it can be
    /// told.
    void update(std::size_t done);

private:
    std::string timeLeft(std::size_t done) const;

    std::string m_Label;
    std::size_t m_Total;
    bool m_Shown; // the stream is a terminal
    bool m_Drawn = false;
    Clock::time_point m_Start, m_Next;
};

} // namespace app
