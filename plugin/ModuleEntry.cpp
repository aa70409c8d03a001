// SPDX-License-Identifier: MIT
// The module's one exported function.
#include "ServerTable.h"

namespace {

// Constant-initialised: nothing of the plug-in runs before the host calls.
bool startUpIsDue = true;

} // namespace

extern "C" __attribute__((visibility("default"))) ZxObject* _IZxModule_Create()
{
    try {
        CZxThisModule& module = CZxThisModule::instance();
        if (startUpIsDue) {
            try {
                initialize(module);
            } catch (...) {
                tearDown(module); // so that another attempt starts from nothing
                throw;
            }
            startUpIsDue = false;
        }
        return module.create();
    } catch (...) {
        return nullptr;
    }
}
