// SPDX-License-Identifier: MIT
// Programming errors: one replaceable handler for the whole engine.
#pragma once

#pragma GCC visibility push(default)

namespace Sinew {

/// Receives a failed assertion: its text, the name of the source and the line. May return; the engine then
/// goes on in a safe way. May abort. Must not throw.
using AssertHandler = void (*)(const char* text, const char* source, int line);

/// Installs a handler and returns the former one. Null brings back the default, which writes one line to the
/// standard error stream and returns. Call it before threads start.
AssertHandler setAssertHandler(AssertHandler handler);

/// Reports a failed assertion to the handler.
void failAssertion(const char* text, const char* source, int line);

} // namespace Sinew

#pragma GCC visibility pop

/// Checks a condition; text, source name and line are part of the engine's contract and so are given, not
/// derived.
#define SINEW_ASSERT(condition, text, source, line)                                                          \
    ((condition) ? void() : ::Sinew::failAssertion(text, source, line))
