// SPDX-License-Identifier: MIT
// What the rig commands share: flags, notifiers, the head of the enable test, and the items to work on.
#pragma once

#include "host/CZxBasicCommand.h"
#include "host/CZxPackage.h"
#include "host/Services.h"

#include <vector>

/// Codes of the item types that commands ask for.
struct RigTypes {
    uint32_t locator = TypeCode("locator");
    uint32_t solver = TypeCode("ikFullBody");

    bool isLocator(const CZxUser_Item& item) const { return item.isType(locator); }
    bool isSolver(const CZxUser_Item& item) const { return item.isType(solver); }
    bool canBeJoint(const CZxUser_Item& item) const { return isLocator(item) && !isSolver(item); }
};

/// Takes the packages of a joint and its tasks from the item.
void StripJoint(const CZxUser_Item& item);
/// Takes a joint with all joints below it out of their rigs; what is no joint stays, with all below it.
void RemoveJointBranch(const RigTypes& types, const CZxUser_ItemGraph& ikRefs, const CZxUser_Item& top);

/// Events after which the host re-tests a command.
enum class RetestOn { SelectionChange, EditOrSelection };

/// A command, as facts.
struct RigCommandFacts {
    const char* table; ///< of its messages
    std::span<const ArgumentRow> arguments;
    RetestOn events;
    bool needsSetupMode = true; ///< and with it a current scene
};

/// Base of the eight commands. Their members live for one execution or one test; nothing is kept in between.
class CRigCommand : public CZxBasicCommand {
public:
    zxresult flags(uint32_t* flags) final;
    zxresult notifier(uint32_t index, const char** name, const char** argument) final;
    /// A current scene in setup mode, unless the command does without; then the command's own tests.
    zxresult enable(ZxObject* message) final;

protected:
    explicit CRigCommand(const RigCommandFacts& facts) : CZxBasicCommand(facts.arguments), m_Facts(facts) { }

    /// The command's own tests, in the order in which their messages go before each other.
    virtual zxresult test(const CZxUser_Message& message) const = 0;
    /// Argument 0, or the first selected item. kZxTrue goes on, with the item.
    zxresult testItem(const CZxUser_Message& message, CZxUser_Item& item) const;
    /// A message of the command's own table.
    zxresult refuse(const CZxUser_Message& message, uint32_t number) const
    {
        return message.refuse(m_Facts.table, number);
    }

    /// Argument 0 when it passes the filter, or when it isn't given all selected items that do.
    template <class Filter>
    std::vector<CZxUser_Item> CollectCommandItems(Filter&& passes) const
    {
        std::vector<CZxUser_Item> items;
        for (CZxUser_Item& item : isSet(0) ? std::vector<CZxUser_Item>{this->item(0)} : SelectedItems())
            if (item && passes(item))
                items.push_back(std::move(item));
        return items;
    }

private:
    RigCommandFacts m_Facts;
};

/// Base of the commands that work on joints or on what is to become one: the item must be a locator (message
/// 1001) and no solver item (1002).
class CRigJointCommand : public CRigCommand {
protected:
    using CRigCommand::CRigCommand;

    zxresult test(const CZxUser_Message& message) const final;
    /// The tests behind those.
    virtual zxresult testLocator(const CZxUser_Message& message, const CZxUser_Item& item,
                                 const RigTypes& types) const = 0;
};
