// SPDX-License-Identifier: MIT
// What a press at an item's place gripped, when that is not the item.
#pragma once

#include "refhost/DrawingList.h"

#include <string>
#include <utility>
#include <vector>

namespace refhost {

/// Made before the press, which may move what it grips.
class GestureAim {
public:
    GestureAim(const Item& wanted, double time);
    /// A sentence about what was gripped instead of the item; empty where it was the item. `handles` are
    /// those that could be hit, `hit` is the one that was, or null. An item that is no locator, such as a
    /// mesh, is gripped by what it shows.
    std::string grippedInstead(const DrawingList& handles, const DrawElement* hit) const;

private:
    const Item* itemOf(const DrawingList& handles, const DrawElement& hit) const;

    const Item& m_Wanted;
    std::vector<std::pair<const Item*, Vector3>>
        m_Places; ///< of locators, in the order in which they are had
};

} // namespace refhost
