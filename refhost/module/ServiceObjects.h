// SPDX-License-Identifier: MIT
// The application context and the host's services as modules see them.
#pragma once

#include "module/HostObject.h"
#include "refhost/Selection.h"

#include <zx/ZxModule.h>
#include <zx/ZxScene.h>
#include <zx/ZxSelection.h>

namespace refhost {

class Item;

class ContextObject final : public HostObject {
public:
    explicit ContextObject(HostBinding& binding);

    zxresult service(const ZxId* interfaceId, ZxObject** service);

    static const ZxContextTable kTable;
};

class SceneServiceObject final : public HostObject {
public:
    explicit SceneServiceObject(HostBinding& binding);

    zxresult typeCode(const char* name, uint32_t* code);

    static const ZxSceneServiceTable kTable;
};

class SelectionServiceObject final : public HostObject {
public:
    explicit SelectionServiceObject(HostBinding& binding);

    zxresult currentTime(double* seconds);
    zxresult typeCode(const char* name, uint32_t* code);
    zxresult recent(uint32_t typeCode, ZxObject** packet);

    static const ZxSelectionServiceTable kTable;
};

/// A selected thing; it has no interface of its own, since translations say what it stands for.
class PacketObject final : public HostObject {
public:
    PacketObject(HostBinding& binding, const Packet& packet);

    const Packet& packet() const { return m_Packet; }

    struct Table {
        ZxObjectOps object;
    };
    static const Table kTable;

private:
    Packet m_Packet;
};

class ScenePacketTranslationObject final : public HostObject {
public:
    explicit ScenePacketTranslationObject(HostBinding& binding);

    zxresult scene(ZxObject* packet, ZxObject** scene);

    static const ZxScenePacketTranslationTable kTable;
};

} // namespace refhost
