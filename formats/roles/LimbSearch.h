// SPDX-License-Identifier: MIT
// Finds the two legs and two arms of a skeleton: pairs of branches that are alike, of human proportions.
#pragma once

#include "roles/SkeletonTree.h"

#include <array>
#include <optional>

namespace formats {

/// A chain of joints, of which three are the root, the middle and the end of a limb.
struct Limb {
    std::vector<int> chain;
    std::array<std::size_t, 3> at{}; ///< of upper part, lower part, and hand or foot, in the chain
    double score = 0; ///< the likelier, the larger

    int joint(std::size_t part) const { return chain[at[part]]; }
};

enum class LimbKind { Arm, Leg };

struct LimbPair {
    int node = -1; ///< the joint that both branches hang from
    std::array<Limb, 2> limbs; ///< left, right if the names tell, else in the order of the file
    bool named = false; ///< the names tell left from right
    double score = 0;
};

struct FourLimbs {
    LimbPair legs, arms;
};

/// Nothing when no four limbs stand to each other as a human's do; `why` then says what is missing.
std::optional<FourLimbs> findLimbs(const SkeletonTree& tree, std::string& why);

} // namespace formats
