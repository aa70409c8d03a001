// SPDX-License-Identifier: MIT
// Decides whether position channels replace a joint's OFFSET or are added to it.
#pragma once

#include "formats/Bvh.h"

#include <vector>

namespace formats {

/// Sets `addsOffset` of every joint by the rule, and returns what has to be said about a guess.
std::vector<BvhWarning> takeOffsetRule(BvhMotion& motion, OffsetRule rule);

} // namespace formats
