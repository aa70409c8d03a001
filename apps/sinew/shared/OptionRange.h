// SPDX-License-Identifier: MIT
// What an option's value may be, checked before anything runs.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace app {

/// Looks at the words of the user; answers what is wrong with them and what to give instead, or nothing.
using OptionRange = std::function<std::string(const std::string&)>;

/// A whole number, both ends included.
OptionRange wholeNumber(std::uint64_t least, std::uint64_t most);
/// Any number, both ends included.
OptionRange number(double least, double most);
/// A number above 0.
OptionRange positiveNumber(double most);
/// Anything but an empty text.
OptionRange fileName();

} // namespace app
