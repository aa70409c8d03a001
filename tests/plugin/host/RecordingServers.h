// SPDX-License-Identifier: MIT
// Classes behind the plug-in's tables that note which of their operations was called.
#pragma once

#include "host/CZxChannelUI.h"
#include "host/CZxCommand.h"
#include "host/CZxDraw.h"
#include "host/CZxEvaluation.h"
#include "host/CZxMesh.h"
#include "host/CZxModule.h"
#include "host/CZxPackage.h"
#include "host/CZxTool.h"

#include <string>

// clang-format off: one operation a line, as in the tables

/// Everything that a server or one of its objects may offer, on one class.
class RecordingServer final : public CZxImpl_Package,
                              public CZxImpl_StaticDesc,
                              public CZxImpl_PackageInstance,
                              public CZxImpl_EvalModifier,
                              public CZxImpl_Modifier {
public:
    static inline std::string called; ///< the operation called last

    // Package
    zxresult setupChannels(ZxObject*) override { return note("setupChannels"); }
    zxresult attach(ZxObject**) override { return note("attach"); }
    zxresult testInterface(const ZxId*) override { return note("testInterface"); }
    zxresult added(ZxObject*) override { return note("added"); }
    zxresult removing(ZxObject*) override { return note("removing"); }
    // StaticDesc
    zxresult tagCount(uint32_t*) override { return note("tagCount"); }
    zxresult tag(uint32_t, const char**, const char**) override { return note("tag"); }
    // PackageInstance
    zxresult initialise(ZxObject*) override { return note("initialise"); }
    zxresult cleanUp() override { return note("cleanUp"); }
    zxresult loaded() override { return note("loaded"); }
    zxresult copied(ZxObject*) override { return note("copied"); }
    zxresult renamed() override { return note("renamed"); }
    // EvalModifier
    zxresult reset(ZxObject*) override { return note("reset"); }
    zxresult next(ZxObject**, uint32_t*) override { return note("next"); }
    zxresult allocate(ZxObject*, uint32_t, ZxObject*, ZxObject**) override { return note("allocate"); }
    // Modifier
    zxresult evaluate() override { return note("evaluate"); }
    zxresult test(ZxObject*, uint32_t) override { return note("test"); }
    zxresult begin() override { return note("begin"); }
    zxresult end() override { return note("end"); }
    zxresult timeJumped() override { return note("timeJumped"); }
    zxresult figure(const char*, double*) override { return note("figure"); }

private:
    static zxresult note(const char* operation)
    {
        called = operation;
        return kZxAborted;
    }
};

/// The same for what the module offers, whose tags have other arguments.
class RecordingModule final : public CZxImpl_Module,
                              public CZxImpl_TagDescription,
                              public CZxImpl_NeedContext {
public:
    static inline std::string called;

    zxresult server(const char*, const ZxId*, ZxObject**) override { return note("server"); }
    zxresult tagCount(uint32_t*) override { return note("tagCount"); }
    zxresult tag(uint32_t, const char**, const char**, const ZxId**) override { return note("tag"); }
    zxresult setContext(ZxObject*) override { return note("setContext"); }

private:
    static zxresult note(const char* operation)
    {
        called = operation;
        return kZxAborted;
    }
};

/// The same for commands and for what shows channels.
class RecordingCommand final : public CZxImpl_Command, public CZxImpl_ChannelUI {
public:
    static inline std::string called;

    // Command
    zxresult execute(uint32_t) override { return note("execute"); }
    zxresult flags(uint32_t*) override { return note("flags"); }
    zxresult notifier(uint32_t, const char**, const char**) override { return note("notifier"); }
    zxresult enable(ZxObject*) override { return note("enable"); }
    zxresult icon(const char**) override { return note("icon"); }
    // ChannelUI
    zxresult enabled(const char*, ZxObject*, ZxObject*, ZxObject*) override { return note("enabled"); }
    zxresult dependencyCount(const char*, uint32_t*) override { return note("dependencyCount"); }
    zxresult dependency(const char*, uint32_t, uint32_t*, const char**) override
    {
        return note("dependency");
    }
    zxresult visible(const char*, ZxObject*) override { return note("visible"); }
    zxresult label(const char*, const char**) override { return note("label"); }
    zxresult help(const char*, const char**) override { return note("help"); }
    zxresult group(const char*, const char**) override { return note("group"); }
    zxresult order(const char*, int32_t*) override { return note("order"); }

private:
    static zxresult note(const char* operation)
    {
        called = operation;
        return kZxAborted;
    }
};

/// The same for tools and for what an enumeration calls.
class RecordingTool final : public CZxImpl_Tool, public CZxImpl_ToolModel, public CZxImpl_Visitor {
public:
    static inline std::string called;

    // Tool
    zxresult reset() override { return note("reset"); }
    zxresult evaluate(ZxObject*) override { return note("evaluate"); }
    zxresult vectorType(ZxObject**) override { return note("vectorType"); }
    zxresult order(const char**) override { return note("order"); }
    zxresult task(uint32_t*) override { return note("task"); }
    // ToolModel
    zxresult flags(uint32_t*) override { return note("flags"); }
    zxresult draw(ZxObject*, ZxObject*) override { return note("draw"); }
    zxresult hitTest(ZxObject*, ZxObject*) override { return note("hitTest"); }
    zxresult initialise(ZxObject*) override { return note("initialise"); }
    zxresult buttonDown(ZxObject*, ZxObject*) override { return note("buttonDown"); }
    zxresult move(ZxObject*, ZxObject*) override { return note("move"); }
    zxresult buttonUp(ZxObject*, ZxObject*) override { return note("buttonUp"); }
    zxresult dropped() override { return note("dropped"); }
    zxresult enable(ZxObject*) override { return note("enable"); }
    // Visitor
    zxresult visit(ZxObject*) override { return note("visit"); }

private:
    static zxresult note(const char* operation)
    {
        called = operation;
        return kZxAborted;
    }
};

/// The same for items that draw themselves.
class RecordingView final : public CZxImpl_ViewItem3D {
public:
    static inline std::string called;

    zxresult draw(ZxObject*, ZxObject*, const float*) override { return note("draw"); }
    zxresult drawBackground(ZxObject*, ZxObject*, const float*) override { return note("drawBackground"); }
    zxresult drawsInWorld() override { return note("drawsInWorld"); }
    zxresult bounds(ZxObject*, double*, double*) override { return note("bounds"); }
    zxresult handleCount(uint32_t*) override { return note("handleCount"); }
    zxresult handle(ZxObject*, uint32_t, uint32_t*, double*) override { return note("handle"); }
    zxresult handleChannel(uint32_t, int32_t*) override { return note("handleChannel"); }
    zxresult handleValue(ZxObject*, uint32_t, const double*, double*) override { return note("handleValue"); }
    zxresult icon(const char**) override { return note("icon"); }

private:
    static zxresult note(const char* operation)
    {
        called = operation;
        return kZxAborted;
    }
};

/// The same for arguments.
class RecordingArguments final : public CZxImpl_Attributes, public CZxImpl_AttributesUI {
public:
    static inline std::string called;

    zxresult count(uint32_t*) override { return note("count"); }
    zxresult name(uint32_t, const char**) override { return note("name"); }
    zxresult type(uint32_t, const char**) override { return note("type"); }
    zxresult argumentFlags(uint32_t, uint32_t*) override { return note("argumentFlags"); }
    zxresult value(uint32_t, uint32_t, ZxObject**) override { return note("value"); }
    zxresult clear(uint32_t) override { return note("clear"); }
    zxresult argumentEnabled(uint32_t, ZxObject*) override { return note("argumentEnabled"); }
    zxresult argumentLabel(uint32_t, const char**) override { return note("argumentLabel"); }

private:
    static zxresult note(const char* operation)
    {
        called = operation;
        return kZxAborted;
    }
};

/// The same for values.
class RecordingValue final : public CZxImpl_Value, public CZxImpl_ValueReference {
public:
    static inline std::string called;

    zxresult type(const char**) override { return note("type"); }
    zxresult integer(int32_t*) override { return note("integer"); }
    zxresult number(double*) override { return note("number"); }
    zxresult text(const char**) override { return note("text"); }
    zxresult setInteger(int32_t) override { return note("setInteger"); }
    zxresult setNumber(double) override { return note("setNumber"); }
    zxresult setText(const char*) override { return note("setText"); }
    zxresult get(ZxObject**) override { return note("get"); }
    zxresult set(ZxObject*) override { return note("set"); }

private:
    static zxresult note(const char* operation)
    {
        called = operation;
        return kZxAborted;
    }
};
// clang-format on
