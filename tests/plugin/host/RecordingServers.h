// SPDX-License-Identifier: MIT
// Classes behind the plug-in's tables that note which of their operations was called.
#pragma once

#include "host/CZxEvaluation.h"
#include "host/CZxModule.h"
#include "host/CZxPackage.h"

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
// clang-format on
