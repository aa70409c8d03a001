// SPDX-License-Identifier: MIT
// What part of a body a joint is, judging by its name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace app {

enum class BodyPart { None, Head, LeftHand, RightHand, LeftFoot, RightFoot };

constexpr BodyPart kGoalParts[] = {BodyPart::Head, BodyPart::LeftHand, BodyPart::RightHand,
                                   BodyPart::LeftFoot, BodyPart::RightFoot};

struct PartMatch {
    BodyPart part = BodyPart::None;
    int score = 0; ///< among joints of one figure the highest score is the likeliest
};

/// `left hand` and the like; empty for None.
const char* partName(BodyPart part);

/// The words of a joint's name in lower case, without name space and digits: `mixamorig:LHand_01` gives l,
/// hand.
std::vector<std::string> nameWords(std::string_view name);

/// The part that a name tells, in the naming manners of the usual programs.
PartMatch partOfName(std::string_view name);

/// Changes of single letters, ignoring case, that turn one name into the other.
std::size_t nameDistance(std::string_view a, std::string_view b);

} // namespace app
