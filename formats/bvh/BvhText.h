// SPDX-License-Identifier: MIT
// Text to numbers and back without a locale, and file text made fit to stand in a message.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace formats {

inline bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }
inline bool isLineEnd(char c) { return c == '\n' || c == '\r'; }
inline bool isSpace(char c) { return isBlank(c) || isLineEnd(c); }
inline bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// ASCII letters compare equal in either case; `lower` must be in lower case already.
bool equalsIgnoringCase(std::string_view text, std::string_view lower);

enum class NumberFault { None, NotANumber, DecimalComma, NotFinite, TooLarge };

struct ParsedNumber {
    double value = 0;
    NumberFault fault = NumberFault::None;
};

/// Largest magnitude a file may hold: far above any motion, and far below where sums and squares overflow a
/// float.
inline constexpr double kLargestValue = 1e12;

/// The number that a whole token spells, correctly rounded; too small ones are 0.
ParsedNumber parseNumber(std::string_view token);

/// Says what is wrong with a token that is no usual number, and what to do; a half sentence without full
/// stop.
std::string describeFault(NumberFault fault, std::string_view token);

/// Reads a number in plain decimal notation at `p`, where what follows it is left to the caller. Returns the
/// place behind it, or null for anything else (exponent, too many digits, no number), which `parseNumber`
/// then judges.
inline const char* parsePlainNumber(const char* p, const char* end, double& value)
{
    // A mantissa below 2^53 and a power of ten up to 10^22 are exact doubles, so that one division rounds
    // correctly.
    constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                  1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const bool negative = p < end && *p == '-';
    if (negative)
        ++p;
    unsigned long long mantissa = 0;
    const char* digits = p;
    while (p < end && isDigit(*p))
        mantissa = mantissa * 10 + static_cast<unsigned>(*p++ - '0');
    std::ptrdiff_t digitCount = p - digits;
    std::ptrdiff_t decimals = 0;
    if (p < end && *p == '.') {
        const char* fraction = ++p;
        while (p < end && isDigit(*p))
            mantissa = mantissa * 10 + static_cast<unsigned>(*p++ - '0');
        decimals = p - fraction;
        digitCount += decimals;
    }
    if (digitCount == 0 || digitCount > 15)
        return nullptr;
    const double magnitude = static_cast<double>(mantissa) / kPowers[decimals];
    value = negative ? -magnitude : magnitude;
    return magnitude <= kLargestValue ? p : nullptr;
}

/// Appends `value` rounded to `decimals` places (at most 15) without trailing zeros; what is not finite
/// becomes 0.
void appendFixed(std::string& out, double value, int decimals);

/// The shortest text that reads as exactly `value`; what is not finite becomes 0.
std::string shortestText(double value);

/// `text` if it is one token that reads as `value`, else the shortest text that does.
std::string textFor(double value, const std::string& text);

/// A file's word in quotes, cut to a line's length, with everything unprintable replaced: safe in any
/// message.
std::string quoted(std::string_view text);

/// Length of the valid UTF-8 sequence at the start of `text`, or 0.
std::size_t utf8SequenceLength(std::string_view text);

} // namespace formats
