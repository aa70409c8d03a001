// SPDX-License-Identifier: MIT
// Reads joint names: `mixamorig:LeftHand`, `hand_l`, `Hand.L`, `lHand`, `Bip01_L_Hand`, `J_Bip_L_Hand`,
// `left_wrist`.
#include "track/NameParts.h"

#include <algorithm>

namespace app {

namespace {

// Not the locale's: names in a file mean the same everywhere.
bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool isLetter(char c)
{
    return isUpper(c) || (c >= 'a' && c <= 'z') || static_cast<unsigned char>(c) >= 0x80;
}
char lower(char c) { return isUpper(c) ? static_cast<char>(c - 'A' + 'a') : c; }

enum class Limb { Head, Hand, Foot };

struct LimbWord {
    std::string_view word;
    Limb limb;
    int score;
};

// Some skeletons have both a wrist and a hand: the further end makes the better goal.
constexpr LimbWord kLimbWords[] = {
    {"hand", Limb::Hand, 30},  {"wrist", Limb::Hand, 20}, {"palm", Limb::Hand, 10},  {"foot", Limb::Foot, 30},
    {"ankle", Limb::Foot, 20}, {"head", Limb::Head, 30},  {"skull", Limb::Head, 20}, {"neck", Limb::Head, 10},
};

// A name with one of these is something at, in or on the part, or steers it.
constexpr std::string_view kOtherWords[] = {
    "thumb",  "index",  "middle",   "ring",   "pinky", "little", "finger", "fingers", "end",    "tip",
    "nub",    "top",    "toe",      "toes",   "ball",  "heel",   "jaw",    "eye",     "eyes",   "ear",
    "hair",   "nose",   "tongue",   "twist",  "roll",  "bend",   "ik",     "fk",      "mch",    "pole",
    "target", "ctrl",   "control",  "helper", "site",  "prop",   "weapon", "socket",  "attach", "slot",
    "goal",   "null",   "effector", "hold",   "hat",   "helmet", "item",   "offset",  "jiggle", "controller",
    "gun",    "marker", "dummy",    "center", "thigh",
};

const LimbWord* findLimb(std::string_view word)
{
    const auto* found = std::find_if(std::begin(kLimbWords), std::end(kLimbWords),
                                     [&](const LimbWord& row) { return row.word == word; });
    return found == std::end(kLimbWords) ? nullptr : found;
}

/// Adds a word, split where a side is glued to a limb without any sign of it: `lefthand`, `lhand`,
/// `handleft`.
void addWord(std::vector<std::string>& words, const std::string& word)
{
    for (const std::string_view side : {"left", "right", "l", "r"}) {
        if (word.size() <= side.size())
            continue;
        const std::size_t rest = word.size() - side.size();
        if (word.starts_with(side) && findLimb(std::string_view(word).substr(side.size()))) {
            words.insert(words.end(), {std::string(side), word.substr(side.size())});
            return;
        }
        if (side.size() > 1 && word.ends_with(side) && findLimb(std::string_view(word).substr(0, rest))) {
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

const char* partName(BodyPart part)
{
    constexpr const char* kNames[] = {"", "head", "left hand", "right hand", "left foot", "right foot"};
    return kNames[static_cast<std::size_t>(part)];
}

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

PartMatch partOfName(std::string_view name)
{
    const std::vector<std::string> words = nameWords(name);
    const LimbWord* limb = nullptr;
    bool left = false, right = false;
    for (const std::string& word : words) {
        if (std::find(std::begin(kOtherWords), std::end(kOtherWords), word) != std::end(kOtherWords))
            return {};
        left = left || word == "l" || word == "left";
        right = right || word == "r" || word == "right";
        const LimbWord* here = findLimb(word);
        if (here && limb && here->limb != limb->limb)
            return {};
        if (here && (!limb || here->score > limb->score))
            limb = here;
    }
    if (!limb || (limb->limb == Limb::Head ? left || right : left == right))
        return {};
    PartMatch match;
    // Every further word makes it less plain: `hand.L` before `ORG-hand.L`.
    match.score = limb->score - static_cast<int>(std::min<std::size_t>(words.size(), 9));
    match.part = limb->limb == Limb::Head ? BodyPart::Head
        : limb->limb == Limb::Hand        ? (left ? BodyPart::LeftHand : BodyPart::RightHand)
                                          : (left ? BodyPart::LeftFoot : BodyPart::RightFoot);
    return match;
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

} // namespace app
