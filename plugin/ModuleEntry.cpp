// SPDX-License-Identifier: MIT
// The module's one exported function.
#include "ServerTable.h"

#include <mutex>

namespace {

// Constant-initialised: nothing of the plug-in runs before a host calls. Several may load it at once.
constinit std::mutex startUp;
bool startUpIsDue = true;

} // namespace

extern "C" __attribute__((visibility("default"))) ZxObject* _IZxModule_Create()
{
    try {
        CZxThisModule& module = CZxThisModule::instance();
        const std::scoped_lock lock(startUp);
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
