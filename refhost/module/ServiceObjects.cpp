// SPDX-License-Identifier: MIT
// The application context and the host's services: what each operation answers.
#include "module/ServiceObjects.h"

#include "module/CommandObjects.h"
#include "module/HostBinding.h"
#include "module/SceneObjects.h"
#include "module/ToolObjects.h"
#include "refhost/Host.h"

namespace refhost {
namespace {

/// Codes of selection types count from 1: 0 is no code.
std::uint32_t codeOf(SelectionType type) { return static_cast<std::uint32_t>(type) + 1; }

std::optional<SelectionType> typeOf(std::uint32_t code)
{
    if (code < 1 || code > kSelectionTypeCount)
        return std::nullopt;
    return static_cast<SelectionType>(code - 1);
}

zxresult packetIn(const HostObject& self, ZxObject* object, const PacketObject*& packet)
{
    packet = hostObject<PacketObject>(object, self.binding());
    if (!packet)
        return kZxInvalidArgument;
    return packet->isGone() || packet->references() == 0 ? kZxNotAvailable : kZxOk;
}

} // namespace

ContextObject::ContextObject(HostBinding& binding)
    : HostObject(binding, nullptr, kZxIdContext, "Context", kTable.object, this)
{
}

zxresult ContextObject::service(const ZxId* interfaceId, ZxObject** service)
{
    if (*interfaceId == kZxIdSceneService)
        *service = binding().make<SceneServiceObject>().face();
    else if (*interfaceId == kZxIdSelectionService)
        *service = binding().make<SelectionServiceObject>().face();
    else if (*interfaceId == kZxIdScenePacketTranslation)
        *service = binding().make<ScenePacketTranslationObject>().face();
    else if (*interfaceId == kZxIdItemPacketTranslation)
        *service = binding().make<ItemPacketTranslationObject>().face();
    else if (*interfaceId == kZxIdCommandService)
        *service = binding().make<CommandServiceObject>().face();
    else if (*interfaceId == kZxIdPacketService)
        *service = binding().make<PacketServiceObject>().face();
    return *service ? kZxOk : kZxNotFound;
}

constinit const ZxContextTable ContextObject::kTable = {
    .object = HostObject::kOps,
    .service = hostSlot<ContextObject, &ContextObject::service>,
};

SceneServiceObject::SceneServiceObject(HostBinding& binding)
    : HostObject(binding, nullptr, kZxIdSceneService, "SceneService", kTable.object, this)
{
}

zxresult SceneServiceObject::typeCode(const char* name, uint32_t* code)
{
    const ItemType* type = binding().host().findType(std::string_view(name));
    if (!type)
        return kZxNotFound;
    *code = type->code();
    return kZxOk;
}

constinit const ZxSceneServiceTable SceneServiceObject::kTable = {
    .object = HostObject::kOps,
    .typeCode = hostSlot<SceneServiceObject, &SceneServiceObject::typeCode>,
};

SelectionServiceObject::SelectionServiceObject(HostBinding& binding)
    : HostObject(binding, nullptr, kZxIdSelectionService, "SelectionService", kTable.object, this)
{
}

zxresult SelectionServiceObject::currentTime(double* seconds)
{
    *seconds = binding().desk().time();
    return kZxOk;
}

zxresult SelectionServiceObject::typeCode(const char* name, uint32_t* code)
{
    const auto type = selectionTypeByName(name);
    if (!type)
        return kZxNotFound;
    *code = codeOf(*type);
    return kZxOk;
}

zxresult SelectionServiceObject::recent(uint32_t typeCode, ZxObject** packet)
{
    const auto type = typeOf(typeCode);
    if (!type)
        return kZxInvalidArgument;
    // A node's scene is the current one for it, whatever the user looks at on another thread.
    Scene* const scene = binding().currentScene();
    const auto found = *type == SelectionType::Cinema
        ? (scene ? std::optional(packetOf(*scene)) : std::nullopt)
        : binding().desk().selection().mostRecent(*type);
    if (!found)
        return kZxNotFound;
    *packet = binding().make<PacketObject>(*found).face();
    return kZxOk;
}

ZxObject* SelectionServiceObject::faceOf(const ZxId& id)
{
    return id == kZxIdSelectionList ? m_List.face() : nullptr;
}

constinit const ZxSelectionServiceTable SelectionServiceObject::kTable = {
    .object = HostObject::kOps,
    .currentTime = hostSlot<SelectionServiceObject, &SelectionServiceObject::currentTime>,
    .typeCode = hostSlot<SelectionServiceObject, &SelectionServiceObject::typeCode>,
    .recent = hostSlot<SelectionServiceObject, &SelectionServiceObject::recent>,
};

SelectionListPart::SelectionListPart(HostObject& owner) : ObjectPart(owner, kTable.object, this) { }

zxresult SelectionListPart::count(uint32_t typeCode, uint32_t* count)
{
    const auto type = typeOf(typeCode);
    if (!type)
        return kZxInvalidArgument;
    *count = static_cast<uint32_t>(binding().desk().selection().packets(*type).size());
    return kZxOk;
}

zxresult SelectionListPart::byIndex(uint32_t typeCode, uint32_t index, ZxObject** packet)
{
    const auto type = typeOf(typeCode);
    if (!type)
        return kZxInvalidArgument;
    const std::vector<Packet>& packets = binding().desk().selection().packets(*type);
    if (index >= packets.size())
        return kZxOutOfRange;
    *packet = binding().make<PacketObject>(packets[index]).face();
    return kZxOk;
}

zxresult SelectionListPart::isSelected(ZxObject* packet)
{
    const PacketObject* found = nullptr;
    if (const zxresult result = packetIn(owner(), packet, found); failed(result))
        return result;
    const Packet asked = found->packet();
    return answer(found->type() == asked.type() && binding().desk().selection().isSelected(asked));
}

zxresult SelectionListPart::select(ZxObject* packet)
{
    const PacketObject* found = nullptr;
    if (const zxresult result = packetIn(owner(), packet, found); failed(result))
        return result;
    const Packet wanted = found->packet();
    if (!wanted.item)
        return kZxNotAvailable;
    if (const zxresult refused = mayEdit(*wanted.scene); failed(refused))
        return refused;
    return editResult(binding(), binding().desk().selection().select(wanted));
}

zxresult SelectionListPart::clear(uint32_t typeCode)
{
    const auto type = typeOf(typeCode);
    if (!type)
        return kZxInvalidArgument;
    Selection& selection = binding().desk().selection();
    if (*type != SelectionType::Item)
        return kZxNotAvailable;
    // What is selected in another scene could not be selected again when the command is undone.
    for (const Packet& packet : selection.packets(*type)) {
        if (const zxresult refused = mayEdit(*packet.scene); failed(refused))
            return refused;
    }
    return editResult(binding(), selection.clear(*type));
}

constinit const ZxSelectionListTable SelectionListPart::kTable = {
    .object = HostObject::kOps,
    .count = hostSlot<SelectionListPart, &SelectionListPart::count>,
    .byIndex = hostSlot<SelectionListPart, &SelectionListPart::byIndex>,
    .isSelected = hostSlot<SelectionListPart, &SelectionListPart::isSelected>,
    .select = hostSlot<SelectionListPart, &SelectionListPart::select, kWritePhase>,
    .clear = hostSlot<SelectionListPart, &SelectionListPart::clear, kWritePhase>,
};

PacketObject::PacketObject(HostBinding& binding, const Packet& packet)
    : HostObject(binding, packet.scene, kZxIdObject, "Packet", kTable.object, this),
      m_Scene(*packet.scene),
      m_Item(packet.item ? packet.item->id() : 0)
{
    binding.watch(*packet.scene);
}

Packet PacketObject::packet() const { return {&m_Scene, m_Item ? m_Scene.find(m_Item) : nullptr}; }

constinit const PacketObject::Table PacketObject::kTable = {.object = HostObject::kOps};

ScenePacketTranslationObject::ScenePacketTranslationObject(HostBinding& binding)
    : HostObject(binding, nullptr, kZxIdScenePacketTranslation, "ScenePacketTranslation", kTable.object, this)
{
}

zxresult ScenePacketTranslationObject::scene(ZxObject* packet, ZxObject** scene)
{
    const PacketObject* found = hostObject<PacketObject>(packet, binding());
    if (!found || found->type() != SelectionType::Cinema)
        return kZxInvalidArgument;
    if (found->isGone() || found->references() == 0)
        return kZxNotAvailable;
    *scene = binding().sceneObject(*found->packet().scene).face();
    return kZxOk;
}

constinit const ZxScenePacketTranslationTable ScenePacketTranslationObject::kTable = {
    .object = HostObject::kOps,
    .scene = hostSlot<ScenePacketTranslationObject, &ScenePacketTranslationObject::scene>,
};

ItemPacketTranslationObject::ItemPacketTranslationObject(HostBinding& binding)
    : HostObject(binding, nullptr, kZxIdItemPacketTranslation, "ItemPacketTranslation", kTable.object, this)
{
}

zxresult ItemPacketTranslationObject::item(ZxObject* packet, ZxObject** item)
{
    const PacketObject* found = nullptr;
    if (const zxresult result = packetIn(*this, packet, found); failed(result))
        return result;
    if (found->type() != SelectionType::Item)
        return kZxInvalidArgument;
    const Packet target = found->packet();
    if (!target.item)
        return kZxNotAvailable;
    *item = binding().itemObject(*target.item).face();
    return kZxOk;
}

zxresult ItemPacketTranslationObject::packet(ZxObject* item, ZxObject** packet)
{
    const ItemObject* found = hostObject<ItemObject>(item, binding());
    if (!found)
        return kZxInvalidArgument;
    if (found->isGone() || found->references() == 0)
        return kZxNotAvailable;
    *packet = binding().make<PacketObject>(packetOf(*found->item())).face();
    return kZxOk;
}

constinit const ZxItemPacketTranslationTable ItemPacketTranslationObject::kTable = {
    .object = HostObject::kOps,
    .item = hostSlot<ItemPacketTranslationObject, &ItemPacketTranslationObject::item>,
    .packet = hostSlot<ItemPacketTranslationObject, &ItemPacketTranslationObject::packet>,
};

} // namespace refhost
