// SPDX-License-Identifier: MIT
// item.* and package.*: what is in the scene and what it carries.
#include "commands/CommandText.h"
#include "commands/HostCommand.h"
#include "commands/Lookup.h"
#include "refhost/DrawingPackage.h"
#include "refhost/Host.h"
#include "refhost/NearMiss.h"

namespace refhost {
namespace {

/// The user keeps an item from being given another parent by setting this tag to kDenied.
constexpr TagCode kParentTag = tagCode('P', 'R', 'N', 'T');
constexpr const char* kDenied = "denied";

/// Does the same to the named item or to every selected one.
template <class Do>
Result forItems(const Invocation& invocation, int index, const Do& act)
{
    const ResultOf<std::vector<Item*>> items = itemOrSelection(invocation, index);
    if (!items.ok())
        return items.result();
    for (Item* item : items.value) {
        if (Result result = act(*item); !result.ok())
            return result;
    }
    return {};
}

constexpr ArgumentRow kCreateArguments[] = {
    {"type", ArgumentType::Text, false, "an item type; locator otherwise"},
    {"name", ArgumentType::Text, false, "what the item is called; the type's name otherwise"},
    {"parent", ArgumentType::Item, false, "the item below which it comes; the top otherwise"},
};
Result createItem(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    const Host& host = invocation.host();
    const std::string typeName = arguments.isSet(0) ? arguments.text(0) : host.locatorType().name();
    const ItemType* type = host.findType(typeName);
    if (!type) {
        NearMiss near(typeName);
        std::string list;
        for (const auto& known : host.types()) {
            near.offer(known->name());
            list += (list.empty() ? "" : ", ") + known->name();
        }
        return Result::failure("There is no item type " + shown(typeName) + "."
                               + (near.best().empty() ? " There are: " + list + "." : near.question()));
    }
    CreateOptions options;
    options.parent = arguments.item(2);
    return invocation.scene()
        ->createItem(*type, arguments.isSet(1) ? arguments.text(1) : type->name(), options)
        .result();
}

constexpr ArgumentRow kItemOrSelection[] = {
    {"item", ArgumentType::Item, false, "the item; every selected one otherwise"},
};
Result deleteItems(Invocation& invocation)
{
    return forItems(invocation, 0, [&](Item& item) {
        // An item that was selected with something above it has gone with that.
        return item.isAlive() ? invocation.scene()->deleteItem(item) : Result{};
    });
}

constexpr ArgumentRow kParentArguments[] = {
    {"item", ArgumentType::Item, false, "the item; every selected one otherwise"},
    {"parent", ArgumentType::Item, false, "the new parent; the top otherwise"},
};
Result setParent(Invocation& invocation)
{
    Item* parent = invocation.arguments().item(1);
    return forItems(invocation, 0, [&](Item& item) { return invocation.scene()->setParent(item, parent); });
}
Enabled mayBeParented(Invocation& invocation)
{
    const Result result = forItems(invocation, 0, [](const Item& item) {
        const std::string* tag = item.tags().find(kParentTag);
        return tag && *tag == kDenied ? Result::failure(
                   "'" + item.label() + "' is not to be given another parent: its tag PRNT is 'denied'.")
                                      : Result{};
    });
    return result.ok() ? Enabled{} : Enabled::no(result.message);
}

constexpr ArgumentRow kRenameArguments[] = {
    {"name", ArgumentType::Text, true, "the new name"},
    {"item", ArgumentType::Item, false, "the item; the one selected last otherwise"},
};
Result rename(Invocation& invocation)
{
    const ResultOf<Item*> item = itemOrMostRecent(invocation, 1);
    return item.ok() ? invocation.scene()->rename(*item.value, invocation.arguments().text(0))
                     : item.result();
}

constexpr ArgumentRow kDrawArguments[] = {
    {"mode", ArgumentType::Integer, false, "1 adds the drawing (the default), 0 removes it"},
    {"type", ArgumentType::Text, false, "the kind of drawing; there is one", kDrawingPackage},
    {"item", ArgumentType::Item, false, "the item; every selected one otherwise"},
};
Result draw(Invocation& invocation)
{
    const std::int32_t mode = invocation.arguments().integer(0, 1);
    if (mode != 0 && mode != 1)
        return Result::failure("'mode' is " + std::to_string(mode)
                               + ", but has to be 1 to add or 0 to remove.");
    return forItems(invocation, 2, [&](Item& item) {
        if (mode == 1)
            return invocation.scene()->addPackage(item, kDrawingPackage);
        return item.hasPackage(kDrawingPackage) ? invocation.scene()->removePackage(item, kDrawingPackage)
                                                : Result{};
    });
}

constexpr ArgumentRow kTagArguments[] = {
    {"tag", ArgumentType::Text, true, "four characters, such as OVCL"},
    {"value", ArgumentType::Text, false, "the tag's text; without one the tag is removed"},
    {"item", ArgumentType::Item, false, "the item; every selected one otherwise"},
};
Result setTag(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    const ResultOf<TagCode> tag = tagFromText(arguments.text(0));
    if (!tag.ok())
        return tag.result();
    return forItems(invocation, 2, [&](Item& item) {
        return invocation.scene()->setTag(item, tag.value,
                                          arguments.isSet(1) ? arguments.text(1).c_str() : nullptr);
    });
}

constexpr ArgumentRow kPackageArguments[] = {
    {"package", ArgumentType::Text, true, "the package's name"},
    {"item", ArgumentType::Item, false, "the item; every selected one otherwise"},
};
Result addPackage(Invocation& invocation)
{
    const std::string& name = invocation.arguments().text(0);
    if (!invocation.host().findPackage(name)) {
        NearMiss near(name);
        for (const auto& package : invocation.host().packages())
            near.offer(package->name());
        if (!near.best().empty())
            return Result::failure("There is no package " + shown(name) + "." + near.question());
    }
    return forItems(invocation, 1, [&](Item& item) { return invocation.scene()->addPackage(item, name); });
}
Result removePackage(Invocation& invocation)
{
    const std::string& name = invocation.arguments().text(0);
    return forItems(invocation, 1, [&](Item& item) { return invocation.scene()->removePackage(item, name); });
}

constexpr CommandRow kRows[] = {
    {"item.create", CommandKind::Edit, "Makes an item.", "item.create type:locator name:Goal parent:Figure",
     kCreateArguments, createItem},
    {"item.delete", CommandKind::Edit, "Deletes items with all below them and all links from and to them.",
     "item.delete item:Goal", kItemOrSelection, deleteItems},
    {"item.parent", CommandKind::Edit, "Gives items another parent, as its last children.",
     "item.parent item:Goal parent:Figure", kParentArguments, setParent, mayBeParented},
    {"item.rename", CommandKind::Edit, "Gives an item another name.", "item.rename name:LeftGoal item:Goal",
     kRenameArguments, rename},
    {"item.draw", CommandKind::Edit, "Gives items a shape and colours of their own in the view.",
     "item.draw item:Goal", kDrawArguments, draw},
    {"item.tag", CommandKind::Edit, "Sets or removes a text under a four-character code on items.",
     "item.tag tag:PRNT value:denied item:Goal", kTagArguments, setTag},
    {"package.add", CommandKind::Edit, "Adds a package's channels to items.",
     "package.add package:drawing item:Goal", kPackageArguments, addPackage},
    {"package.remove", CommandKind::Edit, "Removes a package with its channels' values, keys and links.",
     "package.remove package:drawing item:Goal", kPackageArguments, removePackage},
};

} // namespace

std::span<const CommandRow> itemCommandRows() { return kRows; }

} // namespace refhost
