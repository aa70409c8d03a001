// SPDX-License-Identifier: MIT
// The host's global services, reached through the application context.
#include "host/Services.h"

#include "host/HostTie.h"

#include <zx/ZxSelection.h>

namespace {

using SceneService = CZxLocalize<ZxSceneServiceTable>;
using SelectionService = CZxLocalize<ZxSelectionServiceTable>;
using ScenePacketTranslation = CZxLocalize<ZxScenePacketTranslationTable>;
using SelectionList = CZxLocalize<ZxSelectionListTable>;
using ItemPacketTranslation = CZxLocalize<ZxItemPacketTranslationTable>;
using CommandService = CZxLocalize<ZxCommandServiceTable>;
using PacketService = CZxLocalize<ZxPacketServiceTable>;

constexpr const char* kToolPackets = "tool";

template <class Service>
Service Find(const ZxId& id)
{
    return HostTie::contextAtWork().fetch<&ZxContextTable::service, Service>(&id);
}

/// The packets of the selection type "item".
struct ItemSelection {
    SelectionList list;
    ItemPacketTranslation translation;
    uint32_t type = 0;

    ItemSelection()
    {
        const auto selection = Find<SelectionService>(kZxIdSelectionService);
        list.query(selection.object(), kZxIdSelectionList);
        translation = Find<ItemPacketTranslation>(kZxIdItemPacketTranslation);
        selection.call<&ZxSelectionServiceTable::typeCode>("item", &type);
    }
    CZxUser_Item item(uint32_t index) const
    {
        const auto packet = list.fetch<&ZxSelectionListTable::byIndex, CZxObject>(type, index);
        return translation.fetch<&ZxItemPacketTranslationTable::item, CZxUser_Item>(packet);
    }
    CZxObject packet(const CZxUser_Item& item) const
    {
        return translation.fetch<&ZxItemPacketTranslationTable::packet, CZxObject>(item);
    }
};

} // namespace

uint32_t TypeCode(const char* name)
{
    uint32_t code = 0;
    const auto service = Find<SceneService>(kZxIdSceneService);
    return succeeded(service.call<&ZxSceneServiceTable::typeCode>(name, &code)) ? code : 0;
}

double CurrentTime()
{
    double seconds = 0;
    const auto selection = Find<SelectionService>(kZxIdSelectionService);
    return succeeded(selection.call<&ZxSelectionServiceTable::currentTime>(&seconds)) ? seconds : 0;
}

bool CurrentScene(CZxUser_Scene& scene)
{
    scene.clear();
    const auto selection = Find<SelectionService>(kZxIdSelectionService);
    uint32_t cinema = 0;
    if (failed(selection.call<&ZxSelectionServiceTable::typeCode>("cinema", &cinema)))
        return false;
    const auto packet = selection.fetch<&ZxSelectionServiceTable::recent, CZxObject>(cinema);
    if (!packet)
        return false;
    const auto translation = Find<ScenePacketTranslation>(kZxIdScenePacketTranslation);
    scene = translation.fetch<&ZxScenePacketTranslationTable::scene, CZxUser_Scene>(packet);
    return static_cast<bool>(scene);
}

std::vector<CZxUser_Item> SelectedItems()
{
    const ItemSelection selection;
    uint32_t count = 0;
    selection.list.call<&ZxSelectionListTable::count>(selection.type, &count);
    std::vector<CZxUser_Item> items;
    for (uint32_t i = 0; i < count; ++i)
        if (CZxUser_Item item = selection.item(i))
            items.push_back(std::move(item));
    return items;
}

CZxUser_Item FirstSelectedItem() { return ItemSelection().item(0); }

bool IsSelected(const CZxUser_Item& item)
{
    const ItemSelection selection;
    return isTrue(selection.list.call<&ZxSelectionListTable::isSelected>(selection.packet(item)));
}

void SelectItem(const CZxUser_Item& item)
{
    const ItemSelection selection;
    check(selection.list.call<&ZxSelectionListTable::select>(selection.packet(item)));
}

void ClearItemSelection()
{
    const ItemSelection selection;
    check(selection.list.call<&ZxSelectionListTable::clear>(selection.type));
}

CZxUser_Command SpawnCommand(const char* name)
{
    return Find<CommandService>(kZxIdCommandService)
        .fetch<&ZxCommandServiceTable::spawn, CZxUser_Command>(name);
}

void ExecuteText(const std::string& line, uint32_t flags)
{
    Find<CommandService>(kZxIdCommandService).call<&ZxCommandServiceTable::executeText>(line.c_str(), flags);
}

CZxUser_VectorType NewToolVectorType()
{
    return Find<PacketService>(kZxIdPacketService)
        .fetch<&ZxPacketServiceTable::newVectorType, CZxUser_VectorType>(kToolPackets);
}

int32_t ToolPacketOffset(const char* packet)
{
    int32_t offset = -1;
    const auto service = Find<PacketService>(kZxIdPacketService);
    return succeeded(service.call<&ZxPacketServiceTable::packetOffset>(kToolPackets, packet, &offset))
        ? offset
        : -1;
}
