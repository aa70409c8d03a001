// SPDX-License-Identifier: MIT
// What packages implement for the host, and the channel set-up that they are handed.
#pragma once

#include "host/HostTie.h"

#include <glue/Reference.h>
#include <zx/ZxPackage.h>

#include <span>

/// One fact of a static description.
struct TagRow {
    const char* key;
    const char* value;
};

class CZxImpl_StaticDesc {
public:
    virtual zxresult tagCount(uint32_t* count)
    {
        *count = static_cast<uint32_t>(tags().size());
        return kZxOk;
    }
    virtual zxresult tag(uint32_t index, const char** key, const char** value)
    {
        if (index >= tags().size())
            return kZxOutOfRange;
        *key = tags()[index].key;
        *value = tags()[index].value;
        return kZxOk;
    }

    static constexpr const ZxId& id = kZxIdStaticDesc;
    template <class T>
    static constexpr ZxStaticDescTable makeTable()
    {
        return {.object = {},
                .tagCount = tiedThunk<T, &CZxImpl_StaticDesc::tagCount>,
                .tag = tiedThunk<T, &CZxImpl_StaticDesc::tag>};
    }

protected:
    ~CZxImpl_StaticDesc() = default;
    /// The server's facts; none by default.
    virtual std::span<const TagRow> tags() const { return {}; }
};
template <class T>
using CZxIfc_StaticDesc = CZxAdapter<CZxImpl_StaticDesc, T>;

class CZxImpl_Package {
public:
    virtual ~CZxImpl_Package() = default;
    virtual zxresult setupChannels(ZxObject*) { return kZxOk; }
    virtual zxresult attach(ZxObject**) { return kZxFailure; }
    virtual zxresult testInterface(const ZxId*) { return kZxFalse; }
    virtual zxresult added(ZxObject*) { return kZxOk; }
    virtual zxresult removing(ZxObject*) { return kZxOk; }

    static constexpr const ZxId& id = kZxIdPackage;
    template <class T>
    static constexpr ZxPackageTable makeTable()
    {
        return {.object = {},
                .setupChannels = tiedThunk<T, &CZxImpl_Package::setupChannels>,
                .attach = tiedThunk<T, &CZxImpl_Package::attach>,
                .testInterface = tiedThunk<T, &CZxImpl_Package::testInterface>,
                .added = tiedThunk<T, &CZxImpl_Package::added>,
                .removing = tiedThunk<T, &CZxImpl_Package::removing>};
    }
};
template <class T>
using CZxIfc_Package = CZxAdapter<CZxImpl_Package, T>;

class CZxImpl_PackageInstance {
public:
    virtual ~CZxImpl_PackageInstance() = default;
    virtual zxresult initialise(ZxObject*) { return kZxOk; }
    virtual zxresult cleanUp() { return kZxOk; }
    virtual zxresult loaded() { return kZxOk; }
    virtual zxresult copied(ZxObject*) { return kZxOk; }
    virtual zxresult renamed() { return kZxOk; }

    static constexpr const ZxId& id = kZxIdPackageInstance;
    template <class T>
    static constexpr ZxPackageInstanceTable makeTable()
    {
        return {.object = {},
                .initialise = tiedThunk<T, &CZxImpl_PackageInstance::initialise>,
                .cleanUp = tiedThunk<T, &CZxImpl_PackageInstance::cleanUp>,
                .loaded = tiedThunk<T, &CZxImpl_PackageInstance::loaded>,
                .copied = tiedThunk<T, &CZxImpl_PackageInstance::copied>,
                .renamed = tiedThunk<T, &CZxImpl_PackageInstance::renamed>};
    }
};
template <class T>
using CZxIfc_PackageInstance = CZxAdapter<CZxImpl_PackageInstance, T>;

class CZxLoc_AddChannel : public CZxLocalize<ZxAddChannelTable> {
public:
    zxresult add(const char* name, const char* type) const
    {
        return call<&ZxAddChannelTable::add>(name, type);
    }
    zxresult setStorage(const char* storage) const { return call<&ZxAddChannelTable::setStorage>(storage); }
    zxresult setVector(const char* components) const
    {
        return call<&ZxAddChannelTable::setVector>(components);
    }
    zxresult setDefault(double number, int32_t integer) const
    {
        return call<&ZxAddChannelTable::setDefault>(number, integer);
    }
    zxresult setDefaultVector(double x, double y, double z) const
    {
        return call<&ZxAddChannelTable::setDefaultVector>(x, y, z);
    }
    zxresult setHint(const ZxHint* hints) const { return call<&ZxAddChannelTable::setHint>(hints); }
    zxresult markSetupSwitch() const { return call<&ZxAddChannelTable::markSetupSwitch>(); }
};
using CZxUser_AddChannel = CZxLoc_AddChannel;
