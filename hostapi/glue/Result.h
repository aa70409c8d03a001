// SPDX-License-Identifier: MIT
// Reading result codes. True is 0, so a bare `if (result)` says the opposite of what it seems to.
#pragma once

#include <zx/ZxTypes.h>

constexpr bool failed(zxresult result) { return (result >> 31) != 0; }
constexpr bool succeeded(zxresult result) { return !failed(result); }
/// A predicate's yes.
constexpr bool isTrue(zxresult result) { return result == kZxTrue; }
/// A predicate's no; a failure is neither yes nor no.
constexpr bool isFalse(zxresult result) { return result == kZxFalse; }
/// Nothing there, which is an answer rather than a fault.
constexpr bool isAbsent(zxresult result) { return result == kZxNotFound || result == kZxOutOfRange; }
/// A predicate's answer from a condition.
constexpr zxresult answer(bool condition) { return condition ? kZxTrue : kZxFalse; }
/// Throws a failure; for allocation and set-up, where the thunk turns it back into the result.
inline void check(zxresult result)
{
    if (failed(result))
        throw result;
}
/// A predicate's yes or no; throws a failure.
inline bool decided(zxresult result)
{
    check(result);
    return isTrue(result);
}

constexpr bool operator==(const ZxId& a, const ZxId& b) { return a.high == b.high && a.low == b.low; }
