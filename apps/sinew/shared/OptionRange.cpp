// SPDX-License-Identifier: MIT
// Reads numbers whole and strictly: a letter behind one, or a value that would wrap, is no number.
#include "shared/OptionRange.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <optional>

namespace app {

namespace {

template <class Number>
std::optional<Number> readNumber(const std::string& text)
{
    Number value{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

std::string refusal(const std::string& text, const std::string& wanted)
{
    return fmt::format("'{}' won't do; give {}", text, wanted);
}

} // namespace

OptionRange wholeNumber(std::uint64_t least, std::uint64_t most)
{
    return [=](const std::string& text) {
        const std::optional<std::uint64_t> value = readNumber<std::uint64_t>(text);
        return value && *value >= least && *value <= most
            ? std::string()
            : refusal(text, fmt::format("a whole number from {} to {}", least, most));
    };
}

OptionRange number(double least, double most)
{
    return [=](const std::string& text) {
        const std::optional<double> value = readNumber<double>(text);
        return value && *value >= least && *value <= most
            ? std::string()
            : refusal(text, fmt::format("a number from {} to {}", least, most));
    };
}

OptionRange positiveNumber(double most)
{
    return [=](const std::string& text) {
        const std::optional<double> value = readNumber<double>(text);
        return value && *value > 0 && *value <= most
            ? std::string()
            : refusal(text, fmt::format("a number above 0 and at most {}", most));
    };
}

OptionRange fileName()
{
    return [](const std::string& text) { return std::string(text.empty() ? "a file name is missing" : ""); };
}

} // namespace app
