// SPDX-License-Identifier: MIT
// What packages implement so that the host can show which channel greys which.
#pragma once

#include "host/HostTie.h"

#include <zx/ZxChannelUI.h>

class CZxImpl_ChannelUI {
public:
    virtual zxresult enabled(const char*, ZxObject*, ZxObject*, ZxObject*) { return kZxTrue; }
    virtual zxresult dependencyCount(const char*, uint32_t* count)
    {
        *count = 0;
        return kZxOk;
    }
    virtual zxresult dependency(const char*, uint32_t, uint32_t*, const char**) { return kZxOutOfRange; }
    virtual zxresult visible(const char*, ZxObject*) { return kZxTrue; }
    virtual zxresult label(const char*, const char**) { return kZxNotFound; }
    virtual zxresult help(const char*, const char**) { return kZxNotFound; }
    virtual zxresult group(const char*, const char**) { return kZxNotFound; }
    virtual zxresult order(const char*, int32_t*) { return kZxNotFound; }

    static constexpr const ZxId& id = kZxIdChannelUI;
    template <class T>
    static constexpr ZxChannelUITable makeTable()
    {
        return {.object = {},
                .enabled = tiedThunk<T, &CZxImpl_ChannelUI::enabled>,
                .dependencyCount = tiedThunk<T, &CZxImpl_ChannelUI::dependencyCount>,
                .dependency = tiedThunk<T, &CZxImpl_ChannelUI::dependency>,
                .visible = tiedThunk<T, &CZxImpl_ChannelUI::visible>,
                .label = tiedThunk<T, &CZxImpl_ChannelUI::label>,
                .help = tiedThunk<T, &CZxImpl_ChannelUI::help>,
                .group = tiedThunk<T, &CZxImpl_ChannelUI::group>,
                .order = tiedThunk<T, &CZxImpl_ChannelUI::order>};
    }

protected:
    ~CZxImpl_ChannelUI() = default;
};
template <class T>
using CZxIfc_ChannelUI = CZxAdapter<CZxImpl_ChannelUI, T>;
