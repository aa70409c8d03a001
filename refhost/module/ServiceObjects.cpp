// SPDX-License-Identifier: MIT
// The application context and the host's services: what each operation answers.
#include "module/ServiceObjects.h"

#include "module/HostBinding.h"
#include "module/SceneObjects.h"
#include "refhost/Host.h"

namespace refhost {
namespace {

/// Codes of selection types count from 1: 0 is no code.
std::uint32_t codeOf(SelectionType type) { return static_cast<std::uint32_t>(type) + 1; }

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
    *seconds = binding().host().time();
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
    for (int i = 0; i < kSelectionTypeCount; ++i) {
        const auto type = static_cast<SelectionType>(i);
        if (codeOf(type) != typeCode)
            continue;
        const auto found = binding().host().selection().mostRecent(type);
        if (!found)
            return kZxNotFound;
        *packet = binding().make<PacketObject>(*found).face();
        return kZxOk;
    }
    return kZxInvalidArgument;
}

constinit const ZxSelectionServiceTable SelectionServiceObject::kTable = {
    .object = HostObject::kOps,
    .currentTime = hostSlot<SelectionServiceObject, &SelectionServiceObject::currentTime>,
    .typeCode = hostSlot<SelectionServiceObject, &SelectionServiceObject::typeCode>,
    .recent = hostSlot<SelectionServiceObject, &SelectionServiceObject::recent>,
};

PacketObject::PacketObject(HostBinding& binding, const Packet& packet)
    : HostObject(binding, packet.scene, kZxIdObject, "Packet", kTable.object, this), m_Packet(packet)
{
    binding.watch(*packet.scene);
}

constinit const PacketObject::Table PacketObject::kTable = {.object = HostObject::kOps};

ScenePacketTranslationObject::ScenePacketTranslationObject(HostBinding& binding)
    : HostObject(binding, nullptr, kZxIdScenePacketTranslation, "ScenePacketTranslation", kTable.object, this)
{
}

zxresult ScenePacketTranslationObject::scene(ZxObject* packet, ZxObject** scene)
{
    const PacketObject* found = hostObject<PacketObject>(packet, binding());
    if (!found || found->packet().type() != SelectionType::Cinema)
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

} // namespace refhost
