// SPDX-License-Identifier: MIT
// The text form of commands: a line taken apart into words, and values read from and written as text.
#pragma once

#include "refhost/Result.h"
#include "refhost/Transforms.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace refhost {

struct CommandWord {
    std::string name; ///< empty for a word by position
    std::string value;
};

struct CommandText {
    std::string command; ///< empty for an empty line and a comment
    std::vector<CommandWord> words;
};

/// Takes a line apart, see Commands. A message says which character is at fault, from 1.
ResultOf<CommandText> parseCommandText(std::string_view line);

/// Letters, digits, `.`, `_` and `-`, beginning with a letter.
bool isCommandWord(std::string_view text);

/// The whole text as a number; nothing for anything else, infinities and not-a-number included.
std::optional<double> numberFromText(std::string_view text);
/// The same for a whole number of 32 bits.
std::optional<std::int32_t> integerFromText(std::string_view text);
/// Numbers parted by blanks; nothing when one of them is none.
std::optional<std::vector<double>> numbersFromText(std::string_view text);
/// true, on, yes, 1, false, off, no, 0.
std::optional<bool> booleanFromText(std::string_view text);

/// A name as a command takes it: quoted where it has to be.
std::string quotedWhereNeeded(std::string_view text);
/// A text for a message: in single quotes, shortened when it is long.
std::string shown(std::string_view text);

/// One of the four rows of a matrix for column vectors, numbers parted by blanks.
std::string matrixRowText(const Matrix34& matrix, int row);

} // namespace refhost
