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

/// The part that a name tells, in the naming manners of the usual programs.
PartMatch partOfName(std::string_view name);

} // namespace app
