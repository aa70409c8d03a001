// SPDX-License-Identifier: MIT
// Decides whether position channels replace a joint's OFFSET or are added to it.
#include "bvh/OffsetRule.h"

#include "bvh/BvhText.h"
#include "bvh/Channels.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace formats {

namespace {

constexpr double kNothing = 1e-3; // file units: positions and OFFSETs this small are absent
constexpr double kNearZero = 0.1; // of the OFFSET's height: how far an added root position may stray
// A body height lies straight along the up axis; an OFFSET with more sideways in it than this share is a
// place where the figure happened to be modelled. Figures without legs stand higher than they are tall.
constexpr double kUpright = 0.1;
constexpr double kLowestOffset = 0.3; // of the figure's height
constexpr double kTallestOffset = 3;

std::size_t axisIndex(BvhChannel channel) { return static_cast<std::size_t>(axisOf(channel)); }

bool hasPosition(const BvhJoint& joint)
{
    return std::any_of(joint.channels.begin(), joint.channels.end(),
                       [](BvhChannel c) { return !isRotation(c); });
}

/// Replacing and adding only differ where an axis has both a position channel and an OFFSET.
bool ruleMatters(const BvhJoint& joint)
{
    return std::any_of(joint.channels.begin(), joint.channels.end(), [&](BvhChannel c) {
        return !isRotation(c) && std::abs(joint.offset[axisIndex(c)]) > kNothing;
    });
}

double largestPosition(const BvhMotion& motion, const BvhJoint& joint, std::size_t frame)
{
    double largest = 0;
    for (std::size_t c = 0; c < joint.channels.size(); ++c) {
        if (!isRotation(joint.channels[c]))
            largest = std::max(largest,
                               std::abs(motion.values[frame * motion.channelCount + joint.firstChannel + c]));
    }
    return largest;
}

bool repeatsOffset(const BvhMotion& motion, const BvhJoint& joint)
{
    for (std::size_t c = 0; c < joint.channels.size(); ++c) {
        const double offset = joint.offset[axisIndex(joint.channels[c])];
        if (!isRotation(joint.channels[c])
            && std::abs(motion.values[joint.firstChannel + c] - offset) > kNothing + 1e-3 * std::abs(offset))
            return false;
    }
    return true;
}

struct RootReading {
    bool staysNearZero = false;
    bool offsetIsHeight = false;
};

RootReading readRoot(const BvhMotion& motion, const FigureGuess& figure, const BvhJoint& root)
{
    const auto up = static_cast<std::size_t>(figure.upAxis);
    const bool movesUp = std::any_of(root.channels.begin(), root.channels.end(),
                                     [up](BvhChannel c) { return !isRotation(c) && axisIndex(c) == up; });
    const double height = root.offset[up] * figure.upSign;
    const double sideways = std::hypot(root.offset[(up + 1) % 3], root.offset[(up + 2) % 3]);
    RootReading reading;
    reading.offsetIsHeight = movesUp && height >= kLowestOffset * figure.height
        && height <= kTallestOffset * figure.height && sideways <= kUpright * height;
    reading.staysNearZero = height > kNothing;
    for (std::size_t frame = 0; frame < motion.frameCount && reading.staysNearZero; ++frame)
        reading.staysNearZero = largestPosition(motion, root, frame) <= kNearZero * height;
    return reading;
}

void decideRoot(const BvhMotion& motion, const FigureGuess& figure, BvhJoint& root,
                std::vector<BvhWarning>& warnings)
{
    const RootReading reading = readRoot(motion, figure, root);
    root.addsOffset = reading.staysNearZero && reading.offsetIsHeight;
    std::string text = "root " + quoted(root.name);
    if (root.addsOffset)
        text += ": its position channels are added to its OFFSET, since they stay near 0 and the OFFSET is "
                "a body height; if that is wrong, read with the rule 'replace'";
    else if (repeatsOffset(motion, root))
        text += ": its position channels replace its OFFSET, which they repeat in the first frame";
    else if (reading.staysNearZero)
        text += ": its position channels replace its OFFSET although they stay near 0; if the figure sinks "
                "into the ground, read with the rule 'add'";
    else
        text += ": its position channels replace its OFFSET; if that is wrong, read with the rule 'add'";
    warnings.push_back({root.line, text});
}

void decideOthers(BvhMotion& motion, std::vector<BvhWarning>& warnings)
{
    bool positionsAreNothing = true;
    std::size_t mattering = 0;
    const BvhJoint* first = nullptr;
    for (const BvhJoint& joint : motion.joints) {
        if (joint.parent < 0 || !hasPosition(joint))
            continue;
        positionsAreNothing = positionsAreNothing && largestPosition(motion, joint, 0) <= kNothing;
        if (ruleMatters(joint)) {
            first = first == nullptr ? &joint : first;
            ++mattering;
        }
    }
    if (mattering == 0)
        return;
    for (BvhJoint& joint : motion.joints)
        joint.addsOffset = positionsAreNothing && joint.parent >= 0 && hasPosition(joint);
    const std::string who = mattering == 1
        ? "joint " + quoted(first->name) + " has"
        : std::to_string(mattering) + " joints, the first of them " + quoted(first->name) + ", have";
    warnings.push_back(
        {first->line,
         who + " both an OFFSET and position channels: the channels "
             + (positionsAreNothing ? "are added to the OFFSET, since all of them are 0 in the first "
                                      "frame; if that is wrong, read with the rule 'replace'"
                                    : "replace the OFFSET; if that is wrong, read with the rule 'add'")});
}

} // namespace

std::vector<BvhWarning> takeOffsetRule(BvhMotion& motion, OffsetRule rule)
{
    std::vector<BvhWarning> warnings;
    for (BvhJoint& joint : motion.joints)
        joint.addsOffset = rule == OffsetRule::Add && hasPosition(joint);
    if (rule != OffsetRule::Guess || motion.frameCount == 0)
        return warnings;
    decideOthers(motion, warnings);
    std::optional<FigureGuess> figure; // one for all roots: files with thousands of them exist
    for (BvhJoint& joint : motion.joints) {
        if (joint.parent >= 0 || !ruleMatters(joint))
            continue;
        if (!figure)
            figure = guessFigure(motion);
        decideRoot(motion, *figure, joint, warnings);
    }
    return warnings;
}

} // namespace formats
