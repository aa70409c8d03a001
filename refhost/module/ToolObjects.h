// SPDX-License-Identifier: MIT
// What tools of modules are handed: packets, events, and what they may do while one is handled.
#pragma once

#include "module/HostBinding.h"
#include "refhost/Tool.h"

#include <zx/ZxEvent.h>
#include <zx/ZxTool.h>

#include <string>
#include <vector>

namespace refhost {

/// A reference of the host's own to an object that lasts for one call: whoever keeps it longer holds one that
/// refuses every call.
template <class T>
class CallObject {
public:
    explicit CallObject(T& object) : m_Object(object) { }
    ~CallObject()
    {
        m_Object.markGone();
        m_Object.releaseReference();
    }
    ZxObject* face() const { return m_Object.face(); }
    T& object() const { return m_Object; }
    CallObject(const CallObject&) = delete;
    CallObject& operator=(const CallObject&) = delete;

private:
    T& m_Object;
};

class PacketServiceObject final : public HostObject {
public:
    explicit PacketServiceObject(HostBinding& binding);

    zxresult newVectorType(const char* category, ZxObject** type);
    zxresult packetOffset(const char* category, const char* packet, int32_t* offset);

    static const ZxPacketServiceTable kTable;
};

class VectorTypeObject final : public HostObject {
public:
    explicit VectorTypeObject(HostBinding& binding);

    zxresult addPacket(const char* packet, uint32_t flags);
    const std::vector<std::string>& packets() const { return m_Packets; }

    static const ZxVectorTypeTable kTable;

private:
    std::vector<std::string> m_Packets;
};

class EventTranslateObject final : public HostObject {
public:
    EventTranslateObject(HostBinding& binding, EventTranslation& translation);

    zxresult setStart(const double* three);
    zxresult setPlane(const double* normal, const double* point);
    zxresult viewDirection(double* three);
    zxresult newPosition(const double* from, double* three);

    static const ZxEventTranslatePacketTable kTable;

private:
    EventTranslation& m_Translation; // not touched once this is gone
};

class RaycastObject final : public HostObject {
public:
    RaycastObject(HostBinding& binding, const ToolEvent& event);

    zxresult polygonHit(ZxObject** item, ZxRayHit* hit);

    static const ZxRaycastPacketTable kTable;

private:
    const ToolEvent& m_Event; // not touched once this is gone
};

/// The packets of one call, all of them whatever the tool's vector type names.
class VectorStackObject final : public HostObject {
public:
    VectorStackObject(HostBinding& binding, const ToolEvent& event);

    void markGone() override;

    zxresult record(int32_t offset, const void** record);
    zxresult packet(int32_t offset, ZxObject** packet);

    static const ZxVectorStackTable kTable;

private:
    ZxToolViewEvent m_View{};
    ZxToolInputEvent m_Input{};
    ZxToolScreenEvent m_Screen{};
    HostObject* m_Translate = nullptr; // null while no button is down
    HostObject* m_Raycast;
};

class AdjustToolObject final : public HostObject {
public:
    AdjustToolObject(HostBinding& binding, AdjustTool& adjust);

    zxresult setNumber(uint32_t index, double value);
    zxresult requestEvaluation();
    zxresult endDrag();

    static const ZxAdjustToolTable kTable;

private:
    AdjustTool& m_Adjust; // not touched once this is gone
};

} // namespace refhost
