// SPDX-License-Identifier: MIT
// The replaceable assertion handler.
#include <sinew/Assert.h>

#include <cstdio>

namespace Sinew {

namespace {

void reportAssertion(const char* text, const char* source, int line)
{
    std::fprintf(stderr, "Assertion failed: %s (%s, line %d)\n", text, source, line);
}

AssertHandler currentHandler = reportAssertion;

} // namespace

AssertHandler setAssertHandler(AssertHandler handler)
{
    const AssertHandler former = currentHandler;
    currentHandler = handler ? handler : reportAssertion;
    return former;
}

void failAssertion(const char* text, const char* source, int line) { currentHandler(text, source, line); }

} // namespace Sinew
