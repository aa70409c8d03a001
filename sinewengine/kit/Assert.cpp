// SPDX-License-Identifier: MIT
// The replaceable assertion handler.
#include <sinew/Assert.h>

#include <atomic>
#include <cstdio>

namespace Sinew {

namespace {

void reportAssertion(const char* text, const char* source, int line)
{
    std::fprintf(stderr, "Assertion failed: %s (%s, line %d)\n", text, source, line);
}

std::atomic<AssertHandler> currentHandler = reportAssertion;

} // namespace

AssertHandler setAssertHandler(AssertHandler handler)
{
    return currentHandler.exchange(handler ? handler : reportAssertion);
}

void failAssertion(const char* text, const char* source, int line) { currentHandler.load()(text, source, line); }

} // namespace Sinew
