// SPDX-License-Identifier: MIT
// The host's global services, reached through the application context.
#include "host/Services.h"

#include "host/CZxThisModule.h"

#include <zx/ZxSelection.h>

namespace {

using SceneService = CZxLocalize<ZxSceneServiceTable>;
using SelectionService = CZxLocalize<ZxSelectionServiceTable>;
using ScenePacketTranslation = CZxLocalize<ZxScenePacketTranslationTable>;

template <class Service>
Service Find(const ZxId& id)
{
    return CZxThisModule::instance().context().fetch<&ZxContextTable::service, Service>(&id);
}

} // namespace

uint32_t TypeCode(const char* name)
{
    uint32_t code = 0;
    const auto service = Find<SceneService>(kZxIdSceneService);
    return succeeded(service.call<&ZxSceneServiceTable::typeCode>(name, &code)) ? code : 0;
}

bool CurrentScene(CZxUser_Scene& scene)
{
    scene.clear();
    const auto selection = Find<SelectionService>(kZxIdSelectionService);
    uint32_t cinema = 0;
    if (failed(selection.call<&ZxSelectionServiceTable::typeCode>("cinema", &cinema)))
        return false;
    const auto packet = selection.fetch<&ZxSelectionServiceTable::recent, CZxObject>(cinema);
    const auto translation = Find<ScenePacketTranslation>(kZxIdScenePacketTranslation);
    scene = translation.fetch<&ZxScenePacketTranslationTable::scene, CZxUser_Scene>(packet.object());
    return static_cast<bool>(scene);
}
