// SPDX-License-Identifier: MIT
// What a query tells of an item beside its channels: its tags, and how near a solver came to its goals.
#pragma once

#include "refhost/Command.h"

#include <nlohmann/json.hpp>

namespace refhost {

using Json = nlohmann::ordered_json;

/// One JSON value on a line of its own.
void printJson(const Invocation& invocation, const Json& json);

/// The tags of an item by their codes.
Json tagsJson(const Item& item);
/// The same as words, ` CODE=TEXT` for each.
std::string tagsText(const Item& item);

/// Each tag of the item.
void printTags(const Invocation& invocation, const Item& item, bool json);

/// How the last solve of a solver item ended, and what is left between each joint with a goal and that goal,
/// at the current time. A failure for an item that solves nothing.
Result printGoals(const Invocation& invocation, const Item& item, bool json);

} // namespace refhost
