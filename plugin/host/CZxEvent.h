// SPDX-License-Identifier: MIT
// Tool events of the host: the packets of a call, and what a tool asks about them.
#pragma once

#include "host/CZxItem.h"

#include <glue/Reference.h>
#include <zx/ZxEvent.h>

class CZxUser_VectorType : public CZxLocalize<ZxVectorTypeTable> {
public:
    zxresult addPacket(const char* packet, uint32_t flags) const
    {
        return call<&ZxVectorTypeTable::addPacket>(packet, flags);
    }
};

/// Packet "toolEventTranslate".
class CZxUser_EventTranslatePacket : public CZxLocalize<ZxEventTranslatePacketTable> {
public:
    zxresult setStart(const double* three) const
    {
        return call<&ZxEventTranslatePacketTable::setStart>(three);
    }
    zxresult setPlane(const double* normal, const double* point) const
    {
        return call<&ZxEventTranslatePacketTable::setPlane>(normal, point);
    }
    zxresult viewDirection(double* three) const
    {
        return call<&ZxEventTranslatePacketTable::viewDirection>(three);
    }
    zxresult newPosition(const double* from, double* three) const
    {
        return call<&ZxEventTranslatePacketTable::newPosition>(from, three);
    }
};

/// Packet "ToolRaycast".
class CZxUser_RaycastPacket : public CZxLocalize<ZxRaycastPacketTable> {
public:
    /// The item whose mesh is under the pointer; empty for none.
    CZxUser_Item polygonHit(ZxRayHit* hit) const
    {
        CZxUser_Item item;
        ZxObject* found = nullptr;
        if (succeeded(call<&ZxRaycastPacketTable::polygonHit>(&found, hit)))
            item.adopt(found);
        return item;
    }
};

/// The packets of one call; a packet that isn't there is null or empty.
class CZxUser_VectorStack : public CZxLocalize<ZxVectorStackTable> {
public:
    explicit CZxUser_VectorStack(ZxObject* stack) { query(stack, kZxIdVectorStack); }

    template <class Record>
    const Record* record(int32_t offset) const
    {
        const void* found = nullptr;
        if (offset < 0 || failed(call<&ZxVectorStackTable::record>(offset, &found)))
            return nullptr;
        return static_cast<const Record*>(found);
    }
    CZxUser_EventTranslatePacket translatePacket(int32_t offset) const
    {
        return packet<CZxUser_EventTranslatePacket>(offset, kZxIdEventTranslatePacket);
    }
    CZxUser_RaycastPacket raycastPacket(int32_t offset) const
    {
        return packet<CZxUser_RaycastPacket>(offset, kZxIdRaycastPacket);
    }

private:
    template <class Packet>
    Packet packet(int32_t offset, const ZxId& id) const
    {
        Packet packet;
        if (offset >= 0)
            packet.query(fetch<&ZxVectorStackTable::packet, CZxObject>(offset).object(), id);
        return packet;
    }
};
