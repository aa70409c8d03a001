// SPDX-License-Identifier: MIT
// Splits joint names: `mixamorig:LeftHand`, `hand_l`, `Hand.L`, `lHand`, `Bip01_L_Hand`, `J_Bip_L_Hand`,
// `left_wrist`.
#include "formats/JointNames.h"

#include "roles/RoleWords.h"

#include <algorithm>

namespace formats {

namespace {

// Not the locale's: names in a file mean the same everywhere.
bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c)
{
    return isUpper(c) || (c >= 'a' && c <= 'z') || static_cast<unsigned char>(c) >= 0x80;
}
char lower(char c) { return isUpper(c) ? static_cast<char>(c - 'A' + 'a') : c; }

/// Adds a word, split where a side is glued to a limb without any sign of it: `lefthand`, `lhand`,
/// `handleft`.
void addWord(std::vector<std::string>& words, const std::string& word)
{
    for (const std::string_view side : {"left", "right", "l", "r"}) {
        if (word.size() <= side.size())
            continue;
        const std::size_t rest = word.size() - side.size();
        if (word.starts_with(side) && isSidedWord(std::string_view(word).substr(side.size()))) {
            words.insert(words.end(), {std::string(side), word.substr(side.size())});
            return;
        }
        if (side.size() > 1 && word.ends_with(side) && isSidedWord(std::string_view(word).substr(0, rest))) {
            words.insert(words.end(), {word.substr(0, rest), std::string(side)});
            return;
        }
    }
    words.push_back(word);
}

std::string_view withoutNamespace(std::string_view name)
{
    const std::size_t mark = name.find_last_of(":|");
    return mark == std::string_view::npos || mark + 1 == name.size() ? name : name.substr(mark + 1);
}

} // namespace

std::vector<std::string> nameWords(std::string_view name)
{
    name = withoutNamespace(name);
    std::vector<std::string> words;
    std::string word;
    const auto endWord = [&] {
        if (!word.empty())
            addWord(words, word);
        word.clear();
    };
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (!isLetter(name[i])) {
            endWord();
            continue;
        }
        // A word starts at handL, and before the last capital of LHand.
        const bool starts = i > 0 && isUpper(name[i])
            && (!isUpper(name[i - 1])
                || (i + 1 < name.size() && isLetter(name[i + 1]) && !isUpper(name[i + 1])));
        if (starts)
            endWord();
        word += lower(name[i]);
    }
    endWord();
    return words;
}

int nameNumber(std::string_view name)
{
    name = withoutNamespace(name);
    std::size_t end = name.size();
    while (end > 0 && !isDigit(name[end - 1]))
        --end;
    std::size_t start = end;
    while (start > 0 && isDigit(name[start - 1]))
        --start;
    int number = -1;
    for (std::size_t i = start; i < end && i < start + 6; ++i)
        number = std::max(number, 0) * 10 + (name[i] - '0');
    return number;
}

std::size_t nameDistance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j < row.size(); ++j)
        row[j] = j;
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t changed = diagonal + (lower(a[i]) == lower(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

} // namespace formats
