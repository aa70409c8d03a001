// SPDX-License-Identifier: MIT
// Every table of the plug-in: complete, in the order that the host expects, and tight for exceptions.
#include "RecordingServers.h"
#include "host/CZxBasicCommand.h"
#include "host/CZxChannelUI.h"
#include "host/CZxGenericPolymorph.h"
#include "plugin/support/StartedPlugin.h"
#include "rig/CIKTaskNode.h"
#include "rig/CMarionetNode.h"
#include "tool/CFindMapVisitor.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <vector>

namespace {

/// One interface that the plug-in implements. A new family is entered here.
struct Family {
    const char* name;
    const ZxId& id;
    std::size_t tableSize;
};
const Family kFamilies[] = {
    {"Module", kZxIdModule, sizeof(ZxModuleTable)},
    {"NeedContext", kZxIdNeedContext, sizeof(ZxNeedContextTable)},
    {"TagDescription", kZxIdTagDescription, sizeof(ZxTagDescriptionTable)},
    {"StaticDesc", kZxIdStaticDesc, sizeof(ZxStaticDescTable)},
    {"Package", kZxIdPackage, sizeof(ZxPackageTable)},
    {"PackageInstance", kZxIdPackageInstance, sizeof(ZxPackageInstanceTable)},
    {"EvalModifier", kZxIdEvalModifier, sizeof(ZxEvalModifierTable)},
    {"Modifier", kZxIdModifier, sizeof(ZxModifierTable)},
    {"Command", kZxIdCommand, sizeof(ZxCommandTable)},
    {"Attributes", kZxIdAttributes, sizeof(ZxAttributesTable)},
    {"AttributesUI", kZxIdAttributesUI, sizeof(ZxAttributesUITable)},
    {"Value", kZxIdValue, sizeof(ZxValueTable)},
    {"ValueReference", kZxIdValueReference, sizeof(ZxValueReferenceTable)},
    {"ChannelUI", kZxIdChannelUI, sizeof(ZxChannelUITable)},
    {"Tool", kZxIdTool, sizeof(ZxToolTable)},
    {"ToolModel", kZxIdToolModel, sizeof(ZxToolModelTable)},
    {"ViewItem3D", kZxIdViewItem3D, sizeof(ZxViewItem3DTable)},
    {"Visitor", kZxIdVisitor, sizeof(ZxVisitorTable)},
};

CZxObject adopted(ZxObject* object)
{
    CZxObject holder;
    holder.adopt(object);
    return holder;
}

/// Looks into the tables of all known interfaces of an object; the number of interfaces.
int expectFullTables(ZxObject* object)
{
    int found = 0;
    for (const Family& family : kFamilies) {
        CZxLocalizedObject face;
        if (failed(face.query(object, family.id)))
            continue;
        ++found;
        std::vector<void*> slots(family.tableSize / sizeof(void*));
        std::memcpy(slots.data(), face.object()->table, family.tableSize);
        for (std::size_t i = 0; i < slots.size(); ++i)
            EXPECT_NE(slots[i], nullptr) << family.name << ", slot " << i;
    }
    return found;
}

/// Calls a slot of the table of `Impl` on an object of class `Recorder`; the operation that it reached.
template <class Recorder, class Impl, class Table, class... A>
std::string reached(zxresult (*Table::*slot)(ZxObject*, A...))
{
    CZxPolymorph<Recorder> maker;
    maker.addInterface(std::make_unique<CZxAdapter<Impl, Recorder>>());
    const CZxObject object = adopted(maker.create());
    Recorder::called = "nothing";
    const auto* table = reinterpret_cast<const Table*>(object.object()->table);
    if (!(table->*slot))
        return "null";
    EXPECT_EQ((table->*slot)(object.object(), A{}...), kZxAborted);
    return Recorder::called;
}

/// Interfaces that a server offers.
int interfaceCount(const std::string& server)
{
    if (server.starts_with("ikfb."))
        return 3; // Command, Attributes, AttributesUI
    if (server == "ik.pose")
        return 3; // Tool, ToolModel, Attributes
    return server == "ik.joint" || server == "ik.package" ? 3 : 2; // those two have ChannelUI
}

/// Interfaces of what a package puts on an item.
int instanceInterfaceCount(const std::string& package)
{
    // The other two have no view interface.
    return package == "ik.joint" || package == "ik.orientationTask" ? 1 : 2;
}

TEST(Tables, everyServerInstanceAndNodeHasAllItsSlots)
{
    CZxThisModule& module = startedPlugin();
    EXPECT_EQ(expectFullTables(adopted(module.create()).object()), 3);
    uint32_t count = 0;
    module.tagCount(&count);
    ASSERT_GT(count, 0u);
    for (uint32_t i = 0; i < count; ++i) {
        const char *key = nullptr, *name = nullptr;
        const ZxId* id = nullptr;
        ASSERT_EQ(module.tag(i, &key, &name, &id), kZxOk);
        SCOPED_TRACE(name);
        ZxObject* made = nullptr;
        ASSERT_EQ(module.server(name, id, &made), kZxOk);
        const CZxObject server = adopted(made);
        EXPECT_EQ(expectFullTables(server.object()), interfaceCount(name));
        if (!(*id == kZxIdPackage))
            continue;
        ASSERT_EQ(reinterpret_cast<const ZxPackageTable*>(made->table)->attach(made, &made), kZxOk);
        EXPECT_EQ(expectFullTables(adopted(made).object()), instanceInterfaceCount(name));
    }
    EXPECT_EQ(expectFullTables(adopted(spawnerOf<CMarionetNode>->create()).object()), 1);
    EXPECT_EQ(expectFullTables(adopted(spawnerOf<CIKTaskNode>->create()).object()), 1);
    EXPECT_EQ(expectFullTables(adopted(spawnerOf<CZxArgumentValue>->create()).object()), 2);
    EXPECT_EQ(expectFullTables(adopted(spawnerOf<CFindMapVisitor>->create()).object()), 1);
}

#define EXPECT_SLOT(Recorder, Face, operation)                                                               \
    EXPECT_EQ((reached<Recorder, CZxImpl_##Face>(&Zx##Face##Table::operation)), #operation)

TEST(Tables, everySlotReachesTheOperationOfItsName)
{
    EXPECT_SLOT(RecordingModule, Module, server);
    EXPECT_SLOT(RecordingModule, NeedContext, setContext);
    EXPECT_SLOT(RecordingModule, TagDescription, tagCount);
    EXPECT_SLOT(RecordingModule, TagDescription, tag);
    EXPECT_SLOT(RecordingServer, StaticDesc, tagCount);
    EXPECT_SLOT(RecordingServer, StaticDesc, tag);
    EXPECT_SLOT(RecordingServer, Package, setupChannels);
    EXPECT_SLOT(RecordingServer, Package, attach);
    EXPECT_SLOT(RecordingServer, Package, testInterface);
    EXPECT_SLOT(RecordingServer, Package, added);
    EXPECT_SLOT(RecordingServer, Package, removing);
    EXPECT_SLOT(RecordingServer, PackageInstance, initialise);
    EXPECT_SLOT(RecordingServer, PackageInstance, cleanUp);
    EXPECT_SLOT(RecordingServer, PackageInstance, loaded);
    EXPECT_SLOT(RecordingServer, PackageInstance, copied);
    EXPECT_SLOT(RecordingServer, PackageInstance, renamed);
    EXPECT_SLOT(RecordingServer, EvalModifier, reset);
    EXPECT_SLOT(RecordingServer, EvalModifier, next);
    EXPECT_SLOT(RecordingServer, EvalModifier, allocate);
    EXPECT_SLOT(RecordingServer, Modifier, evaluate);
    EXPECT_SLOT(RecordingServer, Modifier, test);
    EXPECT_SLOT(RecordingServer, Modifier, begin);
    EXPECT_SLOT(RecordingServer, Modifier, end);
    EXPECT_SLOT(RecordingServer, Modifier, timeJumped);
    EXPECT_SLOT(RecordingServer, Modifier, figure);
    EXPECT_SLOT(RecordingCommand, Command, execute);
    EXPECT_SLOT(RecordingCommand, Command, flags);
    EXPECT_SLOT(RecordingCommand, Command, notifier);
    EXPECT_SLOT(RecordingCommand, Command, enable);
    EXPECT_SLOT(RecordingCommand, Command, icon);
    EXPECT_SLOT(RecordingCommand, ChannelUI, enabled);
    EXPECT_SLOT(RecordingCommand, ChannelUI, dependencyCount);
    EXPECT_SLOT(RecordingCommand, ChannelUI, dependency);
    EXPECT_SLOT(RecordingCommand, ChannelUI, visible);
    EXPECT_SLOT(RecordingCommand, ChannelUI, label);
    EXPECT_SLOT(RecordingCommand, ChannelUI, help);
    EXPECT_SLOT(RecordingCommand, ChannelUI, group);
    EXPECT_SLOT(RecordingCommand, ChannelUI, order);
    EXPECT_SLOT(RecordingTool, Tool, reset);
    EXPECT_SLOT(RecordingTool, Tool, evaluate);
    EXPECT_SLOT(RecordingTool, Tool, vectorType);
    EXPECT_SLOT(RecordingTool, Tool, order);
    EXPECT_SLOT(RecordingTool, Tool, task);
    EXPECT_SLOT(RecordingTool, ToolModel, flags);
    EXPECT_SLOT(RecordingTool, ToolModel, draw);
    EXPECT_SLOT(RecordingTool, ToolModel, hitTest);
    EXPECT_SLOT(RecordingTool, ToolModel, initialise);
    EXPECT_SLOT(RecordingTool, ToolModel, buttonDown);
    EXPECT_SLOT(RecordingTool, ToolModel, move);
    EXPECT_SLOT(RecordingTool, ToolModel, buttonUp);
    EXPECT_SLOT(RecordingTool, ToolModel, dropped);
    EXPECT_SLOT(RecordingTool, ToolModel, enable);
    EXPECT_SLOT(RecordingTool, Visitor, visit);
    EXPECT_SLOT(RecordingView, ViewItem3D, draw);
    EXPECT_SLOT(RecordingView, ViewItem3D, drawBackground);
    EXPECT_SLOT(RecordingView, ViewItem3D, drawsInWorld);
    EXPECT_SLOT(RecordingView, ViewItem3D, bounds);
    EXPECT_SLOT(RecordingView, ViewItem3D, handleCount);
    EXPECT_SLOT(RecordingView, ViewItem3D, handle);
    EXPECT_SLOT(RecordingView, ViewItem3D, handleChannel);
    EXPECT_SLOT(RecordingView, ViewItem3D, handleValue);
    EXPECT_SLOT(RecordingView, ViewItem3D, icon);
    EXPECT_SLOT(RecordingArguments, Attributes, count);
    EXPECT_SLOT(RecordingArguments, Attributes, name);
    EXPECT_SLOT(RecordingArguments, Attributes, type);
    EXPECT_SLOT(RecordingArguments, Attributes, value);
    EXPECT_SLOT(RecordingArguments, Attributes, clear);
    EXPECT_SLOT(RecordingValue, Value, type);
    EXPECT_SLOT(RecordingValue, Value, integer);
    EXPECT_SLOT(RecordingValue, Value, number);
    EXPECT_SLOT(RecordingValue, Value, text);
    EXPECT_SLOT(RecordingValue, Value, setInteger);
    EXPECT_SLOT(RecordingValue, Value, setNumber);
    EXPECT_SLOT(RecordingValue, Value, setText);
    EXPECT_SLOT(RecordingValue, ValueReference, get);
    EXPECT_SLOT(RecordingValue, ValueReference, set);
    EXPECT_EQ((reached<RecordingArguments, CZxImpl_Attributes>(&ZxAttributesTable::flags)), "argumentFlags");
    EXPECT_EQ((reached<RecordingArguments, CZxImpl_AttributesUI>(&ZxAttributesUITable::enabled)),
              "argumentEnabled");
    EXPECT_EQ((reached<RecordingArguments, CZxImpl_AttributesUI>(&ZxAttributesUITable::label)),
              "argumentLabel");
}

/// Its operations throw.
class Thrower final : public CZxImpl_Modifier {
public:
    zxresult evaluate() override { throw kZxOutOfRange; }
    zxresult begin() override { throw std::bad_alloc(); }
    zxresult end() override { throw std::runtime_error("anything else"); }
    zxresult timeJumped() override { throw 42; }
};

TEST(Tables, exceptionsLeaveAsResults)
{
    CZxPolymorph<Thrower> maker;
    maker.addInterface(std::make_unique<CZxIfc_Modifier<Thrower>>());
    const CZxObject object = adopted(maker.create());
    const auto* table = reinterpret_cast<const ZxModifierTable*>(object.object()->table);
    EXPECT_EQ(table->evaluate(object.object()), 0x80000015u);
    EXPECT_EQ(table->begin(object.object()), 0x80000002u);
    EXPECT_EQ(table->end(object.object()), 0x80000000u);
    EXPECT_EQ(table->timeJumped(object.object()), 0x80000000u);
}

} // namespace
