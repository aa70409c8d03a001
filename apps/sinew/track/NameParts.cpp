// SPDX-License-Identifier: MIT
// The words for hands, feet and head.
#include "track/NameParts.h"

#include "formats/JointNames.h"

#include <algorithm>

namespace app {

namespace {

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

} // namespace

const char* partName(BodyPart part)
{
    constexpr const char* kNames[] = {"", "head", "left hand", "right hand", "left foot", "right foot"};
    return kNames[static_cast<std::size_t>(part)];
}

PartMatch partOfName(std::string_view name)
{
    const std::vector<std::string> words = formats::nameWords(name);
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

} // namespace app
