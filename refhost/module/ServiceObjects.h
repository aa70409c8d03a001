// SPDX-License-Identifier: MIT
// The application context and the host's services as modules see them.
#pragma once

#include "module/HostObject.h"
#include "refhost/Item.h"
#include "refhost/Selection.h"

#include <zx/ZxModule.h>
#include <zx/ZxScene.h>
#include <zx/ZxSelection.h>

namespace refhost {

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

/// Of the selection service. Modules leave alone which scene is the current one.
class SelectionListPart final : public ObjectPart {
public:
    explicit SelectionListPart(HostObject& owner);

    zxresult count(uint32_t typeCode, uint32_t* count);
    zxresult byIndex(uint32_t typeCode, uint32_t index, ZxObject** packet);
    zxresult isSelected(ZxObject* packet);
    zxresult select(ZxObject* packet);
    zxresult clear(uint32_t typeCode);

    static const ZxSelectionListTable kTable;
};

class SelectionServiceObject final : public HostObject {
public:
    explicit SelectionServiceObject(HostBinding& binding);

    ZxObject* faceOf(const ZxId& id) override;

    zxresult currentTime(double* seconds);
    zxresult typeCode(const char* name, uint32_t* code);
    zxresult recent(uint32_t typeCode, ZxObject** packet);

    static const ZxSelectionServiceTable kTable;

private:
    SelectionListPart m_List{*this};
};

/// A selected thing; it has no interface of its own, since translations say what it stands for.
class PacketObject final : public HostObject {
public:
    PacketObject(HostBinding& binding, const Packet& packet);

    SelectionType type() const { return m_Item ? SelectionType::Item : SelectionType::Cinema; }
    /// Without an item when that has gone since.
    Packet packet() const;

    struct Table {
        ZxObjectOps object;
    };
    static const Table kTable;

private:
    Scene& m_Scene;
    ItemId m_Item; // 0 for a scene; by number, since items go
};

class ScenePacketTranslationObject final : public HostObject {
public:
    explicit ScenePacketTranslationObject(HostBinding& binding);

    zxresult scene(ZxObject* packet, ZxObject** scene);

    static const ZxScenePacketTranslationTable kTable;
};

class ItemPacketTranslationObject final : public HostObject {
public:
    explicit ItemPacketTranslationObject(HostBinding& binding);

    zxresult item(ZxObject* packet, ZxObject** item);
    zxresult packet(ZxObject* item, ZxObject** packet);

    static const ZxItemPacketTranslationTable kTable;
};

} // namespace refhost
