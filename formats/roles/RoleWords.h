// SPDX-License-Identifier: MIT
// What a joint's name says of its role, judged by itself; names of different programs contradict each other,
// so the answer is a set.
#pragma once

#include "formats/HumanoidRoles.h"

#include <cstdint>
#include <string_view>

namespace formats {

using RoleSet = std::uint32_t;

constexpr RoleSet setOf(Role role) { return RoleSet(1) << static_cast<int>(role); }

struct NameEvidence {
    RoleSet fits = 0; ///< roles that the name is used for
    RoleSet mayFit = 0; ///< roles that it does not exclude
    Side side = Side::Middle;
    bool helper = false; ///< a control, prop or garment rather than a part of the body
    bool twist = false;
    bool end = false;
    bool face = false;

    bool says(Role role) const { return (fits & setOf(role)) != 0; }
    /// Names a part of a body, but another one.
    bool denies(Role role) const
    {
        return !helper && (fits | mayFit) != 0 && ((fits | mayFit) & setOf(role)) == 0;
    }
};

/// What the name says.
NameEvidence evidenceOf(std::string_view name);

/// Whether the word is the name of a limb's part, as far as a side is written together with it.
bool isSidedWord(std::string_view word);

} // namespace formats
