// SPDX-License-Identifier: MIT
// The module's interfaces towards the host, and the application context that it receives.
#pragma once

#include "host/HostTie.h"

#include <glue/Reference.h>
#include <zx/ZxModule.h>

class CZxImpl_Module {
public:
    virtual zxresult server(const char*, const ZxId*, ZxObject**) { return kZxNotFound; }

    static constexpr const ZxId& id = kZxIdModule;
    template <class T>
    static constexpr ZxModuleTable makeTable()
    {
        return {.object = {}, .server = tiedThunk<T, &CZxImpl_Module::server>};
    }

protected:
    ~CZxImpl_Module() = default;
};
template <class T>
using CZxIfc_Module = CZxAdapter<CZxImpl_Module, T>;

class CZxImpl_NeedContext {
public:
    virtual zxresult setContext(ZxObject*) { return kZxOk; }

    static constexpr const ZxId& id = kZxIdNeedContext;
    template <class T>
    static constexpr ZxNeedContextTable makeTable()
    {
        return {.object = {}, .setContext = tiedThunk<T, &CZxImpl_NeedContext::setContext>};
    }

protected:
    ~CZxImpl_NeedContext() = default;
};
template <class T>
using CZxIfc_NeedContext = CZxAdapter<CZxImpl_NeedContext, T>;

class CZxImpl_TagDescription {
public:
    virtual zxresult tagCount(uint32_t* count)
    {
        *count = 0;
        return kZxOk;
    }
    virtual zxresult tag(uint32_t, const char**, const char**, const ZxId**) { return kZxOutOfRange; }

    static constexpr const ZxId& id = kZxIdTagDescription;
    template <class T>
    static constexpr ZxTagDescriptionTable makeTable()
    {
        return {.object = {},
                .tagCount = tiedThunk<T, &CZxImpl_TagDescription::tagCount>,
                .tag = tiedThunk<T, &CZxImpl_TagDescription::tag>};
    }

protected:
    ~CZxImpl_TagDescription() = default;
};
template <class T>
using CZxIfc_TagDescription = CZxAdapter<CZxImpl_TagDescription, T>;
