// SPDX-License-Identifier: MIT
// Packets and events of tools: what each operation answers.
#include "module/ToolObjects.h"

#include "module/SceneObjects.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace refhost {
namespace {

constexpr const char* kCategory = "tool";

enum Packet { kViewEvent, kInputEvent, kScreenEvent, kTranslate, kRaycast };
constexpr const char* kPacketNames[] = {"ToolViewEvent", "ToolInputEvent", "ToolScreenEvent",
                                        "toolEventTranslate", "ToolRaycast"};
/// Offsets are none that a module could guess from the order.
constexpr int kOffsetBase = 24, kOffsetStep = 40;

int packetByName(const char* name)
{
    const auto* found = std::find_if(std::begin(kPacketNames), std::end(kPacketNames),
                                     [&](const char* one) { return std::strcmp(one, name) == 0; });
    return found == std::end(kPacketNames) ? -1 : static_cast<int>(found - kPacketNames);
}

/// -1 for an offset that is none.
int packetAt(int32_t offset)
{
    const int index = (offset - kOffsetBase) / kOffsetStep;
    return offset >= kOffsetBase && index < static_cast<int>(std::size(kPacketNames))
            && kOffsetBase + index * kOffsetStep == offset
        ? index
        : -1;
}

constexpr unsigned kEventPhases = kEditPhase | kDrawPhase;

} // namespace

PacketServiceObject::PacketServiceObject(HostBinding& binding)
    : HostObject(binding, nullptr, kZxIdPacketService, "PacketService", kTable.object, this)
{
}

zxresult PacketServiceObject::newVectorType(const char* category, ZxObject** type)
{
    if (std::strcmp(category, kCategory) != 0)
        return kZxNotFound;
    *type = binding().make<VectorTypeObject>().face();
    return kZxOk;
}

zxresult PacketServiceObject::packetOffset(const char* category, const char* packet, int32_t* offset)
{
    const int index = std::strcmp(category, kCategory) == 0 ? packetByName(packet) : -1;
    *offset = index < 0 ? -1 : kOffsetBase + index * kOffsetStep;
    return index < 0 ? kZxNotFound : kZxOk;
}

constinit const ZxPacketServiceTable PacketServiceObject::kTable = {
    .object = HostObject::kOps,
    .newVectorType = hostSlot<PacketServiceObject, &PacketServiceObject::newVectorType>,
    .packetOffset = hostSlot<PacketServiceObject, &PacketServiceObject::packetOffset>,
};

VectorTypeObject::VectorTypeObject(HostBinding& binding)
    : HostObject(binding, nullptr, kZxIdVectorType, "VectorType", kTable.object, this)
{
}

zxresult VectorTypeObject::addPacket(const char* packet, uint32_t)
{
    if (packetByName(packet) < 0)
        return kZxNotFound;
    m_Packets.emplace_back(packet);
    return kZxOk;
}

constinit const ZxVectorTypeTable VectorTypeObject::kTable = {
    .object = HostObject::kOps,
    .addPacket = hostSlot<VectorTypeObject, &VectorTypeObject::addPacket>,
};

EventTranslateObject::EventTranslateObject(HostBinding& binding, EventTranslation& translation)
    : HostObject(binding, nullptr, kZxIdEventTranslatePacket, "EventTranslatePacket", kTable.object, this),
      m_Translation(translation)
{
}

zxresult EventTranslateObject::setStart(const double* three)
{
    return m_Translation.setStart({three[0], three[1], three[2]}) ? kZxOk : kZxInvalidArgument;
}

zxresult EventTranslateObject::setPlane(const double* normal, const double* point)
{
    const bool set =
        m_Translation.setPlane({normal[0], normal[1], normal[2]}, {point[0], point[1], point[2]});
    return set ? kZxOk : kZxInvalidArgument;
}

zxresult EventTranslateObject::viewDirection(double* three)
{
    const Vector3 direction = m_Translation.viewDirection();
    std::copy(direction.begin(), direction.end(), three);
    return kZxOk;
}

zxresult EventTranslateObject::newPosition(const double* from, double* three)
{
    const Vector3 position = m_Translation.newPosition({from[0], from[1], from[2]});
    if (!std::all_of(position.begin(), position.end(), [](double each) { return std::isfinite(each); }))
        return kZxInvalidArgument;
    std::copy(position.begin(), position.end(), three);
    return kZxOk;
}

constinit const ZxEventTranslatePacketTable EventTranslateObject::kTable = {
    .object = HostObject::kOps,
    .setStart = hostSlot<EventTranslateObject, &EventTranslateObject::setStart, kEditPhase>,
    .setPlane = hostSlot<EventTranslateObject, &EventTranslateObject::setPlane, kEditPhase>,
    .viewDirection = hostSlot<EventTranslateObject, &EventTranslateObject::viewDirection, kEditPhase>,
    .newPosition = hostSlot<EventTranslateObject, &EventTranslateObject::newPosition, kEditPhase>,
};

RaycastObject::RaycastObject(HostBinding& binding, const ToolEvent& event)
    : HostObject(binding, event.scene, kZxIdRaycastPacket, "RaycastPacket", kTable.object, this),
      m_Event(event)
{
}

zxresult RaycastObject::polygonHit(ZxObject** item, ZxRayHit* hit)
{
    RayHit found;
    if (!m_Event.rayHit(found))
        return kZxNotFound;
    *item = binding().itemObject(*found.item).face();
    std::copy(found.position.begin(), found.position.end(), hit->position);
    std::copy(found.normal.begin(), found.normal.end(), hit->normal);
    hit->distance = found.distance;
    hit->polygon = found.triangle;
    return kZxOk;
}

constinit const ZxRaycastPacketTable RaycastObject::kTable = {
    .object = HostObject::kOps,
    .polygonHit = hostSlot<RaycastObject, &RaycastObject::polygonHit, kEditPhase>,
};

VectorStackObject::VectorStackObject(HostBinding& binding, const ToolEvent& event)
    : HostObject(binding, event.scene, kZxIdVectorStack, "VectorStack", kTable.object, this),
      m_Input{event.button, event.mode, event.clicks, event.part},
      m_Screen{event.startX, event.startY, event.currentX, event.currentY},
      m_Raycast(&binding.make<RaycastObject>(event))
{
    if (event.view)
        m_View = {0, 0, 0, event.view->width, event.view->height, 0};
    if (event.translation)
        m_Translate = &binding.make<EventTranslateObject>(*event.translation);
}

void VectorStackObject::markGone()
{
    if (isGone())
        return;
    HostObject::markGone();
    for (HostObject* packet : {m_Translate, m_Raycast}) {
        if (packet) {
            packet->markGone();
            packet->releaseReference();
        }
    }
}

zxresult VectorStackObject::record(int32_t offset, const void** record)
{
    switch (packetAt(offset)) {
    case kViewEvent:
        *record = &m_View;
        return kZxOk;
    case kInputEvent:
        *record = &m_Input;
        return kZxOk;
    case kScreenEvent:
        *record = &m_Screen;
        return kZxOk;
    default:
        return kZxNotFound;
    }
}

zxresult VectorStackObject::packet(int32_t offset, ZxObject** packet)
{
    const int index = packetAt(offset);
    HostObject* found = index == kTranslate ? m_Translate : index == kRaycast ? m_Raycast : nullptr;
    if (!found)
        return kZxNotFound;
    found->addReference();
    *packet = found->face();
    return kZxOk;
}

constinit const ZxVectorStackTable VectorStackObject::kTable = {
    .object = HostObject::kOps,
    .record = hostSlot<VectorStackObject, &VectorStackObject::record, kEventPhases>,
    .packet = hostSlot<VectorStackObject, &VectorStackObject::packet, kEventPhases>,
};

AdjustToolObject::AdjustToolObject(HostBinding& binding, AdjustTool& adjust)
    : HostObject(binding, nullptr, kZxIdAdjustTool, "AdjustTool", kTable.object, this), m_Adjust(adjust)
{
}

zxresult AdjustToolObject::setNumber(uint32_t index, double value)
{
    if (!std::isfinite(value))
        return kZxInvalidArgument;
    constexpr auto kLimit = static_cast<uint32_t>(std::numeric_limits<int>::max());
    return m_Adjust.setNumber(static_cast<int>(std::min(index, kLimit)), value).ok() ? kZxOk : kZxOutOfRange;
}

zxresult AdjustToolObject::requestEvaluation()
{
    m_Adjust.requestEvaluation();
    return kZxOk;
}

zxresult AdjustToolObject::endDrag()
{
    m_Adjust.endDrag();
    return kZxOk;
}

constinit const ZxAdjustToolTable AdjustToolObject::kTable = {
    .object = HostObject::kOps,
    .setNumber = hostSlot<AdjustToolObject, &AdjustToolObject::setNumber, kEditPhase>,
    .requestEvaluation = hostSlot<AdjustToolObject, &AdjustToolObject::requestEvaluation, kEditPhase>,
    .endDrag = hostSlot<AdjustToolObject, &AdjustToolObject::endDrag, kEditPhase>,
};

} // namespace refhost
