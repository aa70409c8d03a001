// SPDX-License-Identifier: MIT
// Modules with one planted fault each, for the checker to find. SINEW_FAULT names the fault.
#include "ServerTable.h"
#include "rig/RigPackages.h"

#include <zx/ZxEvaluation.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

bool faultIs(const char* name) { return std::strcmp(SINEW_FAULT, name) == 0; }

/// On an item with `ik.joint`: it keeps one reference too many.
class LeakyInstance final : public CZxImpl_PackageInstance {
public:
    zxresult initialise(ZxObject* item) override { return item->table->addRef(item); }
};

class LeakyJoint final : public CZxImpl_Package, public CZxImpl_StaticDesc {
public:
    zxresult setupChannels(ZxObject* addChannel) override
    {
        return CMarionetJoint().setupChannels(addChannel);
    }
    zxresult attach(ZxObject** instance) override
    {
        static const auto polymorph = CZxPolymorph<LeakyInstance>::with<CZxIfc_PackageInstance>();
        *instance = polymorph->create();
        return kZxOk;
    }
};

/// Stands between the host and the real module.
class FaultyModule final : public CZxImpl_Module, public CZxImpl_TagDescription, public CZxImpl_NeedContext {
public:
    zxresult server(const char* name, const ZxId* interfaceId, ZxObject** server) override
    {
        if (faultIs("leak") && std::strcmp(name, "ik.joint") == 0) {
            *server = leakyJoints().create();
            return kZxOk;
        }
        const zxresult result = real().server(name, interfaceId, server);
        if (result == kZxNotFound && faultIs("crash"))
            std::abort();
        if (result == kZxNotFound && faultIs("exit"))
            std::exit(0);
        if (result == kZxNotFound && faultIs("exit-at-once"))
            std::_Exit(0);
        while (result == kZxNotFound && faultIs("chatter"))
            std::puts("still here");
        if (result == kZxNotFound && faultIs("wrong-id"))
            return real().server("ikfb", &kZxIdEvalModifier, server);
        return result;
    }
    zxresult tagCount(uint32_t* count) override { return real().tagCount(count); }
    zxresult tag(uint32_t index, const char** key, const char** value, const ZxId** interfaceId) override
    {
        uint32_t count = 0;
        real().tagCount(&count);
        if (index >= count && faultIs("past-end"))
            index = count - 1;
        if (faultIs("order") && index < 2)
            index = 1 - index;
        return real().tag(index, key, value, interfaceId);
    }
    zxresult setContext(ZxObject* context) override { return real().setContext(context); }

private:
    static CZxThisModule& real() { return CZxThisModule::instance(); }
    static CZxGenericPolymorph& leakyJoints()
    {
        static const auto polymorph = CZxPolymorph<LeakyJoint>::with<CZxIfc_Package, CZxIfc_StaticDesc>();
        return *polymorph;
    }
};

} // namespace

extern "C" __attribute__((visibility("default"))) ZxObject* _IZxModule_Create()
{
    static const auto polymorph =
        CZxPolymorph<FaultyModule>::with<CZxIfc_Module, CZxIfc_TagDescription, CZxIfc_NeedContext>();
    static bool isFirst = true;
    CZxThisModule& module = CZxThisModule::instance();
    if (isFirst || faultIs("twice"))
        initialize(module);
    isFirst = false;
    return polymorph->create();
}

extern "C" __attribute__((visibility("default"))) int secondSymbol() { return 0; }
