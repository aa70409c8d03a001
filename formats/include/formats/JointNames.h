// SPDX-License-Identifier: MIT
// Reads the names of joints, whichever program gave them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace formats {

/// The words of a joint's name in lower case, without name space and digits: `mixamorig:LHand_01` gives l,
/// hand. A side that is glued to a part of a body is a word of its own: `lefthand` gives left, hand.
std::vector<std::string> nameWords(std::string_view name);

/// The last number in a name, as 2 in `Spine2` or `spine.002`; -1 where there is none.
int nameNumber(std::string_view name);

/// Changes of single letters, ignoring case, that turn one name into the other.
std::size_t nameDistance(std::string_view a, std::string_view b);

} // namespace formats
