// SPDX-License-Identifier: MIT
// Counting assertion handler.
#include "support/ExpectAssert.h"

#include <cstdio>
#include <cstdlib>

namespace support {

namespace {
int seen = 0;
std::string lastSeen;
void count(const char* text, const char* source, int line)
{
    ++seen;
    lastSeen = std::string(text) + " (" + source + ", " + std::to_string(line) + ")";
}
} // namespace

ExpectAssert::ExpectAssert(int count)
    : m_Expected(count), m_Before(seen), m_Former(Sinew::setAssertHandler(support::count))
{
}

ExpectAssert::~ExpectAssert()
{
    Sinew::setAssertHandler(m_Former);
    if (seen - m_Before != m_Expected) {
        // A destructor can't fail a test by itself: end it where it is seen.
        std::fprintf(stderr, "expected %d assertions, saw %d; last: %s\n", m_Expected, seen - m_Before,
                     lastSeen.c_str());
        std::abort();
    }
}

std::string ExpectAssert::last() { return lastSeen; }

} // namespace support
