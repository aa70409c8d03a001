// SPDX-License-Identifier: MIT
// graph.* and modifier.reset: links between items, and modifiers made anew.
#include "commands/CommandText.h"
#include "commands/HostCommand.h"
#include "refhost/Host.h"

namespace refhost {
namespace {

constexpr ArgumentRow kLinkArguments[] = {
    {"graph", ArgumentType::Text, true, "the graph's name, such as ikRefs"},
    {"from", ArgumentType::Item, true, "the item that the link leaves"},
    {"to", ArgumentType::Item, true, "the item that the link reaches"},
};
Enabled isItemGraph(Invocation& invocation)
{
    const std::string& graph = invocation.arguments().text(0);
    if (graph == kChannelGraphName)
        return Enabled::no("The graph 'chanLinks' links channels. Use channel.link and channel.unlink.");
    if (graph == "parent")
        return Enabled::no("The graph 'parent' is the hierarchy of items. Use item.parent.");
    return graph.empty() ? Enabled::no("The graph has to have a name, such as ikRefs.") : Enabled{};
}
/// The items are looked up before the test and may have gone since only in a repeated execution.
Result linkOrUnlink(Invocation& invocation, bool link)
{
    const Arguments& arguments = invocation.arguments();
    Item *from = arguments.item(1), *to = arguments.item(2);
    if (!from || !to)
        return Result::failure("One of the items of this link is not in the scene any more.");
    Scene& scene = *invocation.scene();
    return link ? scene.addLink(arguments.text(0), *from, *to)
                : scene.deleteLink(arguments.text(0), *from, *to);
}
Result linkItems(Invocation& invocation) { return linkOrUnlink(invocation, true); }
Result unlinkItems(Invocation& invocation) { return linkOrUnlink(invocation, false); }

constexpr ArgumentRow kModifierArguments[] = {
    {"name", ArgumentType::Text, true, "the modifier's name"},
};
Result resetModifier(Invocation& invocation)
{
    return invocation.scene()->resetModifier(invocation.arguments().text(0));
}

constexpr CommandRow kRows[] = {
    {"graph.link", CommandKind::Edit, "Links two items in a graph.",
     "graph.link graph:ikRefs from:Hip to:Knee", kLinkArguments, linkItems, isItemGraph},
    {"graph.unlink", CommandKind::Edit, "Removes a link between two items of a graph.",
     "graph.unlink graph:ikRefs from:Hip to:Knee", kLinkArguments, unlinkItems, isItemGraph},
    {"modifier.reset", CommandKind::Edit, "Has a modifier set up anew at the next evaluation.",
     "modifier.reset name:ik.solver", kModifierArguments, resetModifier},
};

} // namespace

std::span<const CommandRow> graphCommandRows() { return kRows; }

} // namespace refhost
