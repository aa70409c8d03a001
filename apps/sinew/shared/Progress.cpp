// SPDX-License-Identifier: MIT
// Draws the progress bar over itself and takes it away in the end.
#include "shared/Progress.h"

#include <fmt/format.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace app {

namespace {

constexpr std::chrono::milliseconds kInterval{100};
constexpr std::size_t kWidth = 32;

bool isTerminal()
{
    const char* kind = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && kind && std::string_view(kind) != "dumb";
}

} // namespace

Progress::Progress(std::string label, std::size_t total)
    : m_Label(std::move(label)),
      m_Total(total),
      m_Shown(total > 0 && isTerminal()),
      m_Start(Clock::now()),
      m_Next(m_Start + 3 * kInterval) // short work shows nothing
{
}

Progress::~Progress()
{
    if (m_Drawn)
        fmt::print(stderr, "\r\x1b[K");
}

std::string Progress::timeLeft(std::size_t done) const
{
    if (done == 0 || done >= m_Total)
        return {};
    const double spent = secondsSince(m_Start);
    const auto left =
        static_cast<long>(spent / static_cast<double>(done) * static_cast<double>(m_Total - done));
    return fmt::format(", {}:{:02} left", left / 60, left % 60);
}

void Progress::update(std::size_t done)
{
    if (!m_Shown || Clock::now() < m_Next)
        return;
    m_Next = Clock::now() + kInterval;
    m_Drawn = true;
    const std::size_t filled = done * kWidth / m_Total;
    fmt::print(stderr, "\r{} [{:#<{}}{:<{}}] {:3}% ({} of {}{})\x1b[K", m_Label, "", filled, "",
               kWidth - filled, done * 100 / m_Total, done, m_Total, timeLeft(done));
    std::fflush(stderr);
}

} // namespace app
