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
};

/// Events after which the host re-tests a command.
enum class RetestOn { SelectionChange, EditOrSelection };

/// Base of the eight commands. Their members live for one execution or one test; nothing is kept in between.
class CRigCommand : public CZxBasicCommand {
public:
    zxresult flags(uint32_t* flags) override;
    zxresult notifier(uint32_t index, const char** name, const char** argument) override;

protected:
    CRigCommand(std::span<const ArgumentRow> rows, RetestOn events) : CZxBasicCommand(rows), m_Events(events)
    {
    }

    /// The first steps of the enable tests: a current scene, in setup mode. kZxTrue goes on.
    static zxresult testSceneInSetupMode(const CZxUser_Message& message);
    /// The next step: argument 0, or the first selected item. kZxTrue goes on, with the item.
    zxresult testItem(const CZxUser_Message& message, CZxUser_Item& item) const;

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
    RetestOn m_Events;
};

/// A message object by the interface that the tests use.
CZxUser_Message MessageOf(ZxObject* object);
