// SPDX-License-Identifier: MIT
// Items, scenes, graphs and reads of channels as modules see them: what each operation answers.
#include "module/SceneObjects.h"

#include "module/HostBinding.h"
#include "module/MeshObjects.h"
#include "refhost/Host.h"

#include <cmath>
#include <cstring>

namespace refhost {

zxresult itemIn(const HostObject& self, ZxObject* object, Item*& item)
{
    const ItemObject* found = hostObject<ItemObject>(object, self.binding());
    if (!found)
        return kZxInvalidArgument;
    if (found->isGone() || found->references() == 0)
        return kZxNotAvailable;
    item = found->item();
    return found->scene() == self.scene() ? kZxOk : kZxInvalidArgument;
}

zxresult channelIn(const HostObject& self, ZxObject* object, int32_t index, Channel*& channel)
{
    Item* item = nullptr;
    if (const zxresult result = itemIn(self, object, item); failed(result))
        return result;
    channel = item->channel(index);
    return channel ? kZxOk : kZxNotFound;
}

namespace {

zxresult give(HostBinding& binding, Item& item, ZxObject** object)
{
    *object = binding.itemObject(item).face();
    return kZxOk;
}

template <class Node>
zxresult linkAt(const std::vector<Node*>& links, uint32_t index, Node*& found)
{
    if (index >= links.size())
        return kZxOutOfRange;
    found = links[index];
    return kZxOk;
}

} // namespace

// Items

ItemObject::ItemObject(HostBinding& binding, Item& item)
    : HostObject(binding, &item.scene(), kZxIdItem, "Item", kTable.object, this), m_Item(&item)
{
}

void ItemObject::markGone()
{
    HostObject::markGone();
    m_Item = nullptr;
}

ZxObject* ItemObject::faceOf(const ZxId& id)
{
    if (id == kZxIdItemEdit)
        return m_Edit.face();
    if (id == kZxIdStringTag)
        return m_Tags.face();
    if (id == kZxIdLocatorPose && m_Item->type().hasTransforms())
        return m_Pose.face();
    return id == kZxIdLocator && m_Item->type().hasTransforms() ? m_Locator.face() : nullptr;
}

zxresult ItemObject::identifier(uint64_t* identifier)
{
    *identifier = m_Item->id();
    return kZxOk;
}

zxresult ItemObject::uniqueName(const char** name)
{
    *name = m_Item->uniqueName().c_str();
    return kZxOk;
}

zxresult ItemObject::userName(const char** name)
{
    *name = m_Item->name().c_str();
    return kZxOk;
}

zxresult ItemObject::typeCode(uint32_t* code)
{
    *code = m_Item->type().code();
    return kZxOk;
}

zxresult ItemObject::isType(uint32_t code)
{
    const ItemType* type = &m_Item->type();
    while (type && type->code() != code)
        type = type->base();
    return answer(type != nullptr);
}

zxresult ItemObject::hasPackage(const char* package) { return answer(m_Item->hasPackage(package)); }

zxresult ItemObject::parent(ZxObject** parent)
{
    return m_Item->parent() ? give(binding(), *m_Item->parent(), parent) : kZxNotFound;
}

zxresult ItemObject::childCount(uint32_t* count)
{
    *count = static_cast<uint32_t>(m_Item->children().size());
    return kZxOk;
}

zxresult ItemObject::childByIndex(uint32_t index, ZxObject** child)
{
    Item* found = nullptr;
    if (const zxresult result = linkAt(m_Item->children(), index, found); failed(result))
        return result;
    return give(binding(), *found, child);
}

zxresult ItemObject::channelIndex(const char* channel, int32_t* index)
{
    *index = m_Item->channelIndex(channel);
    return *index < 0 ? kZxNotFound : kZxOk;
}

zxresult ItemObject::sceneOf(ZxObject** scene)
{
    *scene = binding().sceneObject(m_Item->scene()).face();
    return kZxOk;
}

constinit const ZxItemTable ItemObject::kTable = {
    .object = HostObject::kOps,
    .identifier = hostSlot<ItemObject, &ItemObject::identifier>,
    .uniqueName = hostSlot<ItemObject, &ItemObject::uniqueName>,
    .userName = hostSlot<ItemObject, &ItemObject::userName>,
    .typeCode = hostSlot<ItemObject, &ItemObject::typeCode>,
    .isType = hostSlot<ItemObject, &ItemObject::isType>,
    .hasPackage = hostSlot<ItemObject, &ItemObject::hasPackage>,
    .parent = hostSlot<ItemObject, &ItemObject::parent>,
    .childCount = hostSlot<ItemObject, &ItemObject::childCount>,
    .childByIndex = hostSlot<ItemObject, &ItemObject::childByIndex>,
    .channelIndex = hostSlot<ItemObject, &ItemObject::channelIndex>,
    .scene = hostSlot<ItemObject, &ItemObject::sceneOf>,
};

// Scenes

SceneObject::SceneObject(HostBinding& binding, Scene& scene)
    : HostObject(binding, &scene, kZxIdScene, "Scene", kTable.object, this), m_Target(scene)
{
}

ZxObject* SceneObject::faceOf(const ZxId& id)
{
    if (id == kZxIdSceneEdit)
        return m_Edit.face();
    return id == kZxIdStringTag ? m_Tags.face() : nullptr;
}

const std::vector<Item*>* SceneObject::itemsOf(uint32_t typeCode)
{
    if (const auto found = m_ItemsByType.find(typeCode); found != m_ItemsByType.end())
        return &found->second;
    const ItemType* type = binding().host().findType(typeCode);
    return type ? &(m_ItemsByType[typeCode] = m_Target.itemsOfType(*type)) : nullptr;
}

zxresult SceneObject::itemCount(uint32_t typeCode, uint32_t* count)
{
    const std::vector<Item*>* items = itemsOf(typeCode);
    if (!items)
        return kZxInvalidArgument;
    *count = static_cast<uint32_t>(items->size());
    return kZxOk;
}

zxresult SceneObject::itemByIndex(uint32_t typeCode, uint32_t index, ZxObject** item)
{
    const std::vector<Item*>* items = itemsOf(typeCode);
    if (!items)
        return kZxInvalidArgument;
    Item* found = nullptr;
    if (const zxresult result = linkAt(*items, index, found); failed(result))
        return result;
    return give(binding(), *found, item);
}

zxresult SceneObject::graph(const char* name, ZxObject** graph)
{
    *graph = std::strcmp(name, kChannelGraphName) == 0
        ? binding().make<ChannelGraphObject>(m_Target).face()
        : binding().make<ItemGraphObject>(m_Target, name).face();
    return kZxOk;
}

zxresult SceneObject::channelRead(const char* action, double time, ZxObject** read)
{
    if (!read || !std::isfinite(time))
        return kZxInvalidArgument;
    std::shared_ptr<EvaluatedRead> evaluated;
    Layer layer = Layer::Anim;
    if (action) {
        const std::optional<Action> known = actionByName(action);
        if (!known)
            return kZxInvalidArgument;
        layer = m_Target.layer(*known);
    } else {
        if (binding().phase() == kEvalPhase)
            return kZxNotAvailable;
        evaluated = Evaluation::of(m_Target).read(time);
        if (!evaluated)
            return kZxNotAvailable;
    }
    *read = binding().make<ChannelReadObject>(m_Target, layer, time, std::move(evaluated)).face();
    return kZxOk;
}

zxresult SceneObject::isSetupMode() { return answer(m_Target.isInSetupMode()); }

constinit const ZxSceneTable SceneObject::kTable = {
    .object = HostObject::kOps,
    .itemCount = hostSlot<SceneObject, &SceneObject::itemCount>,
    .itemByIndex = hostSlot<SceneObject, &SceneObject::itemByIndex>,
    .graph = hostSlot<SceneObject, &SceneObject::graph>,
    .channelRead = hostSlot<SceneObject, &SceneObject::channelRead, kAnyPhase, Nulls::Allowed>,
    .isSetupMode = hostSlot<SceneObject, &SceneObject::isSetupMode>,
};

// Item graphs

ItemGraphObject::ItemGraphObject(HostBinding& binding, Scene& scene, const char* name)
    : HostObject(binding, &scene, kZxIdItemGraph, "ItemGraph", kTable.object, this),
      m_Graph(scene.graph(name)),
      m_Edit(*this, scene, name)
{
}

ZxObject* ItemGraphObject::faceOf(const ZxId& id)
{
    return id == kZxIdItemGraphEdit ? m_Edit.face() : nullptr;
}

/// Number of links in one direction.
zxresult ItemGraphObject::countOf(Lists lists, ZxObject* item, uint32_t* count)
{
    Item* found = nullptr;
    if (const zxresult result = itemIn(*this, item, found); failed(result))
        return result;
    *count = static_cast<uint32_t>((m_Graph.*lists)(*found).size());
    return kZxOk;
}

/// The far end of a link in one direction.
zxresult ItemGraphObject::endOf(Lists lists, ZxObject* item, uint32_t index, ZxObject** end)
{
    Item* found = nullptr;
    Item* linked = nullptr;
    if (const zxresult result = itemIn(*this, item, found); failed(result))
        return result;
    if (const zxresult result = linkAt((m_Graph.*lists)(*found), index, linked); failed(result))
        return result;
    return give(binding(), *linked, end);
}

zxresult ItemGraphObject::forwardCount(ZxObject* item, uint32_t* count)
{
    return countOf(&ItemGraph::forward, item, count);
}

zxresult ItemGraphObject::forwardByIndex(ZxObject* item, uint32_t index, ZxObject** target)
{
    return endOf(&ItemGraph::forward, item, index, target);
}

zxresult ItemGraphObject::reverseCount(ZxObject* item, uint32_t* count)
{
    return countOf(&ItemGraph::reverse, item, count);
}

zxresult ItemGraphObject::reverseByIndex(ZxObject* item, uint32_t index, ZxObject** source)
{
    return endOf(&ItemGraph::reverse, item, index, source);
}

constinit const ZxItemGraphTable ItemGraphObject::kTable = {
    .object = HostObject::kOps,
    .forwardCount = hostSlot<ItemGraphObject, &ItemGraphObject::forwardCount>,
    .forwardByIndex = hostSlot<ItemGraphObject, &ItemGraphObject::forwardByIndex>,
    .reverseCount = hostSlot<ItemGraphObject, &ItemGraphObject::reverseCount>,
    .reverseByIndex = hostSlot<ItemGraphObject, &ItemGraphObject::reverseByIndex>,
};

// The graph of channel links

ChannelGraphObject::ChannelGraphObject(HostBinding& binding, Scene& scene)
    : HostObject(binding, &scene, kZxIdChannelGraph, "ChannelGraph", kTable.object, this),
      m_Graph(scene.channelGraph()),
      m_Edit(*this, scene)
{
}

ZxObject* ChannelGraphObject::faceOf(const ZxId& id)
{
    return id == kZxIdChannelGraphEdit ? m_Edit.face() : nullptr;
}

/// Number of links in one direction.
zxresult ChannelGraphObject::countOf(Lists lists, ZxObject* item, int32_t channel, uint32_t* count)
{
    Channel* found = nullptr;
    if (const zxresult result = channelIn(*this, item, channel, found); failed(result))
        return result;
    *count = static_cast<uint32_t>((m_Graph.*lists)(*found).size());
    return kZxOk;
}

/// The far end of a link in one direction.
zxresult ChannelGraphObject::endOf(Lists lists, ZxObject* item, int32_t channel, uint32_t index,
                                   ZxObject** end, int32_t* endChannel)
{
    Channel* found = nullptr;
    Channel* linked = nullptr;
    if (const zxresult result = channelIn(*this, item, channel, found); failed(result))
        return result;
    if (const zxresult result = linkAt((m_Graph.*lists)(*found), index, linked); failed(result))
        return result;
    *endChannel = linked->index();
    return give(binding(), linked->item(), end);
}

zxresult ChannelGraphObject::forwardCount(ZxObject* item, int32_t channel, uint32_t* count)
{
    return countOf(&ChannelGraph::forward, item, channel, count);
}

zxresult ChannelGraphObject::forwardByIndex(ZxObject* item, int32_t channel, uint32_t index,
                                            ZxObject** target, int32_t* targetChannel)
{
    return endOf(&ChannelGraph::forward, item, channel, index, target, targetChannel);
}

zxresult ChannelGraphObject::reverseCount(ZxObject* item, int32_t channel, uint32_t* count)
{
    return countOf(&ChannelGraph::reverse, item, channel, count);
}

zxresult ChannelGraphObject::reverseByIndex(ZxObject* item, int32_t channel, uint32_t index,
                                            ZxObject** source, int32_t* sourceChannel)
{
    return endOf(&ChannelGraph::reverse, item, channel, index, source, sourceChannel);
}

constinit const ZxChannelGraphTable ChannelGraphObject::kTable = {
    .object = HostObject::kOps,
    .forwardCount = hostSlot<ChannelGraphObject, &ChannelGraphObject::forwardCount>,
    .forwardByIndex = hostSlot<ChannelGraphObject, &ChannelGraphObject::forwardByIndex>,
    .reverseCount = hostSlot<ChannelGraphObject, &ChannelGraphObject::reverseCount>,
    .reverseByIndex = hostSlot<ChannelGraphObject, &ChannelGraphObject::reverseByIndex>,
};

// Reads

ChannelReadObject::ChannelReadObject(HostBinding& binding, Scene& scene, Layer layer, double time,
                                     std::shared_ptr<EvaluatedRead> evaluated)
    : HostObject(binding, &scene, kZxIdChannelRead, "ChannelRead", kTable.object, this),
      m_Layer(layer),
      m_Time(time),
      m_Evaluated(std::move(evaluated))
{
}

void ChannelReadObject::markGone()
{
    HostObject::markGone();
    m_Evaluated.reset(); // a view that nobody reads must not be kept up to date
}

/// What a call about an evaluated read answers when the view had nothing to give.
zxresult ChannelReadObject::whyNot(const Item& item, int32_t channel) const
{
    return !m_Evaluated->isFrozen() && item.channel(channel) ? kZxInvalidArgument : kZxNotFound;
}

template <class Read, class Evaluate>
zxresult ChannelReadObject::readChannel(ZxObject* object, int32_t index, Read read, Evaluate evaluate)
{
    if (m_Evaluated) {
        if (binding().phase() == kEvalPhase)
            return kZxNotAvailable;
        Item* item = nullptr;
        if (const zxresult result = itemIn(*this, object, item); failed(result))
            return result;
        return evaluate(*item) ? kZxOk : whyNot(*item, index);
    }
    Channel* channel = nullptr;
    if (const zxresult result = channelIn(*this, object, index, channel); failed(result))
        return result;
    return read(*channel) ? kZxOk : kZxInvalidArgument;
}

zxresult ChannelReadObject::integer(ZxObject* item, int32_t channel, int32_t* value)
{
    const auto read = [&](const Channel& found) {
        if (isNumber(found.type()))
            *value = found.integer(m_Layer, m_Time);
        return isNumber(found.type());
    };
    return readChannel(item, channel, read,
                       [&](const Item& found) { return m_Evaluated->integer(found, channel, *value); });
}

zxresult ChannelReadObject::number(ZxObject* item, int32_t channel, double* value)
{
    const auto read = [&](const Channel& found) {
        if (isNumber(found.type()))
            *value = found.number(m_Layer, m_Time);
        return isNumber(found.type());
    };
    return readChannel(item, channel, read,
                       [&](const Item& found) { return m_Evaluated->number(found, channel, *value); });
}

zxresult ChannelReadObject::value(ZxObject* item, int32_t channel, ZxObject** value)
{
    Item* meshItem = nullptr;
    if (succeeded(itemIn(*this, item, meshItem)) && meshOf(*meshItem)
        && channel == meshItem->channelIndex(kMeshChannel)) {
        if (!m_Evaluated)
            return kZxInvalidArgument;
        *value = binding().make<MeshFilterObject>(*meshItem, m_Time).face();
        return kZxOk;
    }
    Matrix34 matrix;
    const zxresult result = readChannel(
        item, channel, [&](const Channel& found) { return found.matrix(m_Layer, m_Time, matrix); },
        [&](const Item& found) { return m_Evaluated->matrix(found, channel, matrix); });
    if (succeeded(result))
        *value = binding().make<MatrixCopyObject>(matrix).face();
    return result;
}

namespace {

/// The placement of one item in its parent, as a layer's transforms say.
LocalParts localParts(const Item& item, Layer layer, double time)
{
    LocalParts parts;
    const auto read = [&](TransformKind kind, const char* name, Vector3& out) {
        const Item* transform = item.transformItem(kind);
        for (std::size_t a = 0; transform && a < 3; ++a)
            out[a] = transform->channel(std::string(name) + '.' + "XYZ"[a])->number(layer, time);
    };
    read(TransformKind::Position, "pos", parts.position);
    read(TransformKind::Rotation, "rot", parts.rotation);
    read(TransformKind::Scale, "scl", parts.scale);
    if (const Item* rotation = item.transformItem(TransformKind::Rotation))
        parts.order = rotation->channel("order")->integer(layer, time);
    return parts;
}

} // namespace

zxresult ChannelReadObject::world(const Item& item, WorldPlace& place) const
{
    if (!m_Evaluated) {
        std::vector<const Item*> path;
        for (const Item* each = &item; each; each = each->parent())
            path.push_back(each);
        WorldParts parts;
        for (std::size_t i = path.size(); i-- > 0;) {
            const WorldParts above = parts;
            parts = worldParts(localParts(*path[i], m_Layer, m_Time), &above);
        }
        place = {parts.rotation.linear, parts.position.offset, worldMatrix(parts)};
        return kZxOk;
    }
    if (binding().phase() == kEvalPhase)
        return kZxNotAvailable;
    Matrix34 rotation, position;
    const auto read = [&](const char* name, Matrix34& out) {
        return m_Evaluated->matrix(item, item.channelIndex(name), out);
    };
    if (!read("wrotMatrix", rotation) || !read("wposMatrix", position) || !read("worldMatrix", place.matrix))
        return kZxNotFound; // it was not there when the read was taken
    place.rotation = rotation.linear;
    place.position = position.offset;
    return kZxOk;
}

constinit const ZxChannelReadTable ChannelReadObject::kTable = {
    .object = HostObject::kOps,
    .integer = hostSlot<ChannelReadObject, &ChannelReadObject::integer>,
    .number = hostSlot<ChannelReadObject, &ChannelReadObject::number>,
    .value = hostSlot<ChannelReadObject, &ChannelReadObject::value>,
};

// Matrices

MatrixCopyObject::MatrixCopyObject(HostBinding& binding, const Matrix34& value)
    : HostObject(binding, nullptr, kZxIdMatrix, "Matrix", kTable.object, this), m_Value(value)
{
}

zxresult MatrixCopyObject::get3x3(double* nine)
{
    std::memcpy(nine, m_Value.linear.m, sizeof m_Value.linear.m);
    return kZxOk;
}

zxresult MatrixCopyObject::getOffset(double* three)
{
    std::memcpy(three, m_Value.offset.data(), sizeof m_Value.offset);
    return kZxOk;
}

zxresult MatrixCopyObject::set3x3(const double*) { return kZxNotAvailable; }
zxresult MatrixCopyObject::setOffset(const double*) { return kZxNotAvailable; }

constinit const ZxMatrixTable MatrixCopyObject::kTable = {
    .object = HostObject::kOps,
    .get3x3 = hostSlot<MatrixCopyObject, &MatrixCopyObject::get3x3, kEditPhase | kEvalPhase | kDrawPhase>,
    .getOffset =
        hostSlot<MatrixCopyObject, &MatrixCopyObject::getOffset, kEditPhase | kEvalPhase | kDrawPhase>,
    .set3x3 = hostSlot<MatrixCopyObject, &MatrixCopyObject::set3x3, kEvalPhase>,
    .setOffset = hostSlot<MatrixCopyObject, &MatrixCopyObject::setOffset, kEvalPhase>,
};

} // namespace refhost
