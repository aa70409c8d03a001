// SPDX-License-Identifier: MIT
// The plug-in's own module object with its servers registered, as the entry function leaves it.
#pragma once

#include "ServerTable.h"

/// The one module object of the process; the first call registers the servers. Never load ik.zx beside it.
inline CZxThisModule& startedPlugin()
{
    static CZxThisModule& module = [&]() -> CZxThisModule& {
        initialize(CZxThisModule::instance());
        return CZxThisModule::instance();
    }();
    return module;
}
