// SPDX-License-Identifier: MIT
// Text to numbers and back without a locale, and file text made fit to stand in a message.
#include "bvh/BvhText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <system_error>

namespace formats {

namespace {

char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool containsIgnoringCase(std::string_view text, std::string_view lower)
{
    for (std::size_t i = 0; i + lower.size() <= text.size(); ++i) {
        if (equalsIgnoringCase(text.substr(i, lower.size()), lower))
            return true;
    }
    return false;
}

/// from_chars tells overflow and underflow by one code. Which it is follows from the decimal place of the
/// first digit that is not zero, shifted by the exponent.
bool overflows(std::string_view token)
{
    long long place = 0;
    bool started = false;
    bool fraction = false;
    std::size_t i = 0;
    for (; i < token.size() && (isDigit(token[i]) || token[i] == '.'); ++i) {
        if (token[i] == '.') {
            fraction = true;
            continue;
        }
        started = started || token[i] != '0';
        if (started && !fraction)
            ++place;
        else if (!started && fraction)
            --place;
    }
    if (i < token.size())
        ++i; // the e
    const bool negative = i < token.size() && token[i] == '-';
    if (i < token.size() && (token[i] == '-' || token[i] == '+'))
        ++i;
    long long exponent = 0;
    for (; i < token.size() && isDigit(token[i]); ++i)
        exponent = std::min<long long>(exponent * 10 + (token[i] - '0'), 1'000'000'000'000'000);
    return place + (negative ? -exponent : exponent) > 0;
}

} // namespace

bool equalsIgnoringCase(std::string_view text, std::string_view lower)
{
    return text.size() == lower.size()
        && std::equal(text.begin(), text.end(), lower.begin(),
                      [](char a, char b) { return lowered(a) == b; });
}

ParsedNumber parseNumber(std::string_view token)
{
    std::string_view unsignedPart = token;
    if (!unsignedPart.empty() && (unsignedPart.front() == '+' || unsignedPart.front() == '-'))
        unsignedPart.remove_prefix(1);
    const bool startsAsNumber =
        !unsignedPart.empty() && (isDigit(unsignedPart.front()) || unsignedPart.front() == '.');
    if (!startsAsNumber) {
        const bool named = containsIgnoringCase(unsignedPart.substr(0, 3), "nan")
            || containsIgnoringCase(unsignedPart.substr(0, 3), "inf");
        return {0, named ? NumberFault::NotFinite : NumberFault::NotANumber};
    }
    double value = 0;
    const char* end = unsignedPart.data() + unsignedPart.size();
    const auto [stop, code] = std::from_chars(unsignedPart.data(), end, value);
    if (stop != end) {
        // "1.#QNAN" and "1.#INF" are how some C libraries print what is not finite.
        if (unsignedPart.find('#') != std::string_view::npos)
            return {0, NumberFault::NotFinite};
        const bool comma = unsignedPart.find(',') != std::string_view::npos;
        return {0, comma ? NumberFault::DecimalComma : NumberFault::NotANumber};
    }
    if (code == std::errc::result_out_of_range) {
        if (overflows(unsignedPart))
            return {0, NumberFault::TooLarge};
        value = 0;
    } else if (code != std::errc()) {
        return {0, NumberFault::NotANumber};
    }
    if (!(value <= kLargestValue))
        return {0, NumberFault::TooLarge};
    return {token.front() == '-' ? -value : value, NumberFault::None};
}

std::string describeFault(NumberFault fault, std::string_view token)
{
    switch (fault) {
    case NumberFault::DecimalComma:
        return quoted(token) + " has a comma; write decimals with a point and part numbers with spaces";
    case NumberFault::NotFinite:
        return quoted(token) + " is not a finite number; export the motion again without it";
    case NumberFault::TooLarge:
        return quoted(token) + " is larger than any motion can be (1e12 is the limit); correct the number";
    case NumberFault::NotANumber:
    case NumberFault::None:
        break;
    }
    return quoted(token) + " is not a number";
}

void appendFixed(std::string& out, double value, int decimals)
{
    constexpr std::uint64_t kPowers[] = {1,
                                         10,
                                         100,
                                         1'000,
                                         10'000,
                                         100'000,
                                         1'000'000,
                                         10'000'000,
                                         100'000'000,
                                         1'000'000'000,
                                         10'000'000'000,
                                         100'000'000'000,
                                         1'000'000'000'000,
                                         10'000'000'000'000,
                                         100'000'000'000'000,
                                         1'000'000'000'000'000};
    if (!std::isfinite(value)) {
        out += '0';
        return;
    }
    decimals = std::clamp(decimals, 0, 15);
    const std::uint64_t power = kPowers[decimals];
    const double scaled = std::abs(value) * static_cast<double>(power);
    if (!(scaled < 9007199254740992.0)) { // above 2^53 the product loses units: let the library round
        char buffer[400];
        char* end =
            std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals).ptr;
        if (std::find(buffer, end, '.') != end) {
            while (end[-1] == '0')
                --end;
            if (end[-1] == '.')
                --end;
        }
        out.append(buffer, end);
        return;
    }
    const auto rounded = static_cast<std::uint64_t>(std::llround(scaled));
    const std::uint64_t whole = rounded / power;
    std::uint64_t fraction = rounded % power;
    char buffer[48];
    char* end = buffer;
    if (value < 0 && rounded != 0)
        *end++ = '-';
    end = std::to_chars(end, buffer + sizeof buffer, whole).ptr;
    if (fraction != 0) {
        int places = decimals;
        for (; fraction % 10 == 0; fraction /= 10)
            --places;
        *end = '.';
        for (int i = places; i > 0; --i, fraction /= 10)
            end[i] = static_cast<char>('0' + fraction % 10);
        end += places + 1;
    }
    out.append(buffer, end);
}

std::string shortestText(double value)
{
    if (!std::isfinite(value))
        return "0";
    char buffer[64];
    return std::string(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
}

std::string textFor(double value, const std::string& text)
{
    if (!text.empty()) {
        const ParsedNumber parsed = parseNumber(text);
        if (parsed.fault == NumberFault::None && parsed.value == value)
            return text;
    }
    return shortestText(value);
}

std::size_t utf8SequenceLength(std::string_view text)
{
    if (text.empty())
        return 0;
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80)
        return 1;
    const std::size_t length = lead >= 0xF0 && lead <= 0xF4 ? 4
        : lead >= 0xE0 && lead < 0xF0                       ? 3
        : lead >= 0xC2 && lead < 0xE0                       ? 2
                                                            : 0;
    if (length == 0 || text.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    }
    // Overlong forms, surrogates and what lies above U+10FFFF show in the second byte.
    if ((lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F)
        || (lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) > 0x8F))
        return 0;
    return length;
}

std::string quoted(std::string_view text)
{
    constexpr std::size_t kLongest = 40;
    std::string out = "'";
    while (!text.empty() && out.size() < kLongest) {
        const std::size_t length = utf8SequenceLength(text);
        const auto lead = static_cast<unsigned char>(text.front());
        if (length == 0 || lead < 0x20 || lead == 0x7F)
            out += '?';
        else
            out += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return out + (text.empty() ? "'" : "...'");
}

} // namespace formats
