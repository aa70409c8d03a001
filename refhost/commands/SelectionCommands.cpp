// SPDX-License-Identifier: MIT
// select.*: which items the next command is about.
#include "commands/HostCommand.h"
#include "refhost/Host.h"

namespace refhost {
namespace {

constexpr ArgumentRow kItemArguments[] = {
    {"item", ArgumentType::Item, true, "the item"},
};
Result add(Invocation& invocation)
{
    Item* item = invocation.arguments().item(0);
    if (!item)
        return Result::failure("The item to select is not in the scene any more.");
    return invocation.host().selection().select(packetOf(*item));
}
Result clear(Invocation& invocation) { return invocation.host().selection().clear(SelectionType::Item); }
Result set(Invocation& invocation)
{
    const auto& packets = invocation.host().selection().packets(SelectionType::Item);
    if (packets.size() == 1 && packets.front().item == invocation.arguments().item(0))
        return {};
    Result result = clear(invocation);
    return result.ok() ? add(invocation) : result;
}

constexpr CommandRow kRows[] = {
    {"select.add", CommandKind::Edit, "Selects an item behind those that are selected.", "select.add Hand",
     kItemArguments, add},
    {"select.set", CommandKind::Edit, "Selects an item and no other.", "select.set Hand", kItemArguments,
     set},
    {"select.clear", CommandKind::Edit, "Selects nothing.", "select.clear", {}, clear},
};

} // namespace

std::span<const CommandRow> selectionCommandRows() { return kRows; }

} // namespace refhost
