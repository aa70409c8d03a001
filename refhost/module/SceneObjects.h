// SPDX-License-Identifier: MIT
// Items, scenes, graphs and reads of channels as modules see them.
#pragma once

#include "module/EditParts.h"
#include "module/HostObject.h"
#include "refhost/Channel.h"
#include "refhost/Evaluation.h"
#include "refhost/LinkGraph.h"
#include "refhost/Transforms.h"

#include <zx/ZxChannel.h>
#include <zx/ZxEvaluation.h>
#include <zx/ZxGraph.h>
#include <zx/ZxItem.h>
#include <zx/ZxScene.h>

#include <map>
#include <memory>
#include <vector>

namespace refhost {

class Item;
class ItemType;
class Scene;

/// The item that a module means in a call about the scene of `self`.
zxresult itemIn(const HostObject& self, ZxObject* object, Item*& item);
/// The same for a channel of it.
zxresult channelIn(const HostObject& self, ZxObject* object, int32_t index, Channel*& channel);

class ItemObject final : public HostObject {
public:
    ItemObject(HostBinding& binding, Item& item);

    /// Null when the item is gone.
    Item* item() const { return m_Item; }
    void markGone() override;
    ZxObject* faceOf(const ZxId& id) override;

    zxresult identifier(uint64_t* identifier);
    zxresult uniqueName(const char** name);
    zxresult userName(const char** name);
    zxresult typeCode(uint32_t* code);
    zxresult isType(uint32_t typeCode);
    zxresult hasPackage(const char* package);
    zxresult parent(ZxObject** parent);
    zxresult childCount(uint32_t* count);
    zxresult childByIndex(uint32_t index, ZxObject** child);
    zxresult channelIndex(const char* channel, int32_t* index);
    zxresult sceneOf(ZxObject** scene);

    static const ZxItemTable kTable;

private:
    Item* m_Item;
    ItemEditPart m_Edit{*this};
    StringTagPart m_Tags{*this};
    LocatorPart m_Locator{*this};
    LocatorPosePart m_Pose{*this};
};

class SceneObject final : public HostObject {
public:
    SceneObject(HostBinding& binding, Scene& scene);

    Scene& target() const { return m_Target; }
    void forgetItems() { m_ItemsByType.clear(); }
    ZxObject* faceOf(const ZxId& id) override;

    zxresult itemCount(uint32_t typeCode, uint32_t* count);
    zxresult itemByIndex(uint32_t typeCode, uint32_t index, ZxObject** item);
    zxresult graph(const char* name, ZxObject** graph);
    zxresult channelRead(const char* action, double time, ZxObject** read);
    zxresult isSetupMode();

    static const ZxSceneTable kTable;

private:
    const std::vector<Item*>* itemsOf(uint32_t typeCode);

    Scene& m_Target;
    std::map<uint32_t, std::vector<Item*>> m_ItemsByType; // until an item comes or goes
    SceneEditPart m_Edit{*this};
    StringTagPart m_Tags{*this};
};

class ItemGraphObject final : public HostObject {
public:
    ItemGraphObject(HostBinding& binding, Scene& scene, const char* name);

    ZxObject* faceOf(const ZxId& id) override;

    zxresult forwardCount(ZxObject* item, uint32_t* count);
    zxresult forwardByIndex(ZxObject* item, uint32_t index, ZxObject** target);
    zxresult reverseCount(ZxObject* item, uint32_t* count);
    zxresult reverseByIndex(ZxObject* item, uint32_t index, ZxObject** source);

    static const ZxItemGraphTable kTable;

private:
    using Lists = const std::vector<Item*>& (ItemGraph::*)(const Item&) const;
    zxresult countOf(Lists lists, ZxObject* item, uint32_t* count);
    zxresult endOf(Lists lists, ZxObject* item, uint32_t index, ZxObject** end);

    const ItemGraph& m_Graph;
    ItemGraphEditPart m_Edit;
};

class ChannelGraphObject final : public HostObject {
public:
    ChannelGraphObject(HostBinding& binding, Scene& scene);

    ZxObject* faceOf(const ZxId& id) override;

    zxresult forwardCount(ZxObject* item, int32_t channel, uint32_t* count);
    zxresult forwardByIndex(ZxObject* item, int32_t channel, uint32_t index, ZxObject** target,
                            int32_t* targetChannel);
    zxresult reverseCount(ZxObject* item, int32_t channel, uint32_t* count);
    zxresult reverseByIndex(ZxObject* item, int32_t channel, uint32_t index, ZxObject** source,
                            int32_t* sourceChannel);

    static const ZxChannelGraphTable kTable;

private:
    using Lists = const std::vector<Channel*>& (ChannelGraph::*)(const Channel&) const;
    zxresult countOf(Lists lists, ZxObject* item, int32_t channel, uint32_t* count);
    zxresult endOf(Lists lists, ZxObject* item, int32_t channel, uint32_t index, ZxObject** end,
                   int32_t* endChannel);

    const ChannelGraph& m_Graph;
    ChannelGraphEditPart m_Edit;
};

/// Where an item stands in the world.
struct WorldPlace {
    Matrix33 rotation; ///< without scale
    Vector3 position{};
    Matrix34 matrix; ///< with everything
};

class ChannelReadObject final : public HostObject {
public:
    /// Reads one layer at a time; without a layer what `evaluated` shows.
    ChannelReadObject(HostBinding& binding, Scene& scene, Layer layer, double time,
                      std::shared_ptr<EvaluatedRead> evaluated);

    zxresult integer(ZxObject* item, int32_t channel, int32_t* value);
    zxresult number(ZxObject* item, int32_t channel, double* value);
    zxresult value(ZxObject* item, int32_t channel, ZxObject** value);
    void markGone() override;
    /// The place of an item with transforms, as this read shows it.
    zxresult world(const Item& item, WorldPlace& place) const;

    static const ZxChannelReadTable kTable;

private:
    template <class Read, class Evaluate>
    zxresult readChannel(ZxObject* object, int32_t index, Read read, Evaluate evaluate);
    zxresult whyNot(const Item& item, int32_t channel) const;

    Layer m_Layer;
    double m_Time;
    std::shared_ptr<EvaluatedRead> m_Evaluated;
};

/// A matrix for reading, which nothing changes.
class MatrixCopyObject final : public HostObject {
public:
    MatrixCopyObject(HostBinding& binding, const Matrix34& value);

    zxresult get3x3(double* nine);
    zxresult getOffset(double* three);
    zxresult set3x3(const double* nine);
    zxresult setOffset(const double* three);

    static const ZxMatrixTable kTable;

private:
    Matrix34 m_Value;
};

} // namespace refhost
