// SPDX-License-Identifier: MIT
// Changing a scene as modules do it: what each operation answers.
#include "module/EditParts.h"

#include "module/HostBinding.h"
#include "module/SceneObjects.h"
#include "refhost/Host.h"

#include <cmath>

namespace refhost {

zxresult mayEdit(const Scene& scene) { return scene.journal().allowsEdit().ok() ? kZxOk : kZxNotAvailable; }

zxresult editResult(HostBinding& binding, const Result& result)
{
    if (result.ok())
        return kZxOk;
    binding.noteTrouble(result.message);
    return kZxFailure;
}

// Scenes

SceneEditPart::SceneEditPart(SceneObject& owner) : ObjectPart(owner, kTable.object, this) { }

zxresult SceneEditPart::newItem(uint32_t typeCode, ZxObject** item)
{
    Scene& scene = static_cast<SceneObject&>(owner()).target();
    const ItemType* type = binding().host().findType(typeCode);
    for (int kind = 0; kind < kTransformKindCount; ++kind) {
        if (type == &binding().host().transformType(static_cast<TransformKind>(kind)))
            return kZxInvalidArgument; // those belong to an item
    }
    if (!type)
        return kZxInvalidArgument;
    if (const zxresult refused = mayEdit(scene); failed(refused))
        return refused;
    const ResultOf<Item*> made = scene.createItem(*type, type->name());
    if (made.ok())
        *item = binding().itemObject(*made.value).face();
    return editResult(binding(), made.result());
}

zxresult SceneEditPart::channelWrite(const char* action, double time, ZxObject** write)
{
    const std::optional<Action> known = actionByName(action);
    if (!known || !(std::abs(time) <= kMaximumTimeSeconds))
        return kZxInvalidArgument;
    *write =
        binding().make<ChannelWriteObject>(static_cast<SceneObject&>(owner()).target(), *known, time).face();
    return kZxOk;
}

zxresult SceneEditPart::resetModifier(const char* modifier)
{
    Scene& scene = static_cast<SceneObject&>(owner()).target();
    if (const zxresult refused = mayEdit(scene); failed(refused))
        return refused;
    return editResult(binding(), scene.resetModifier(modifier));
}

constinit const ZxSceneEditTable SceneEditPart::kTable = {
    .object = HostObject::kOps,
    .newItem = hostSlot<SceneEditPart, &SceneEditPart::newItem, kWritePhase>,
    .channelWrite = hostSlot<SceneEditPart, &SceneEditPart::channelWrite, kWritePhase>,
    .resetModifier = hostSlot<SceneEditPart, &SceneEditPart::resetModifier, kWritePhase>,
};

// Items

ItemEditPart::ItemEditPart(ItemObject& owner) : ObjectPart(owner, kTable.object, this) { }

zxresult ItemEditPart::setName(const char* name)
{
    Item& item = *static_cast<ItemObject&>(owner()).item();
    if (item.transformOwner())
        return kZxInvalidArgument;
    if (const zxresult refused = mayEdit(item.scene()); failed(refused))
        return refused;
    return editResult(binding(), item.scene().rename(item, name));
}

zxresult ItemEditPart::setParent(ZxObject* parent)
{
    Item& item = *static_cast<ItemObject&>(owner()).item();
    Item* above = nullptr;
    if (parent) {
        if (const zxresult result = itemIn(owner(), parent, above); failed(result))
            return result;
        if (above == &item || above->isBelow(item) || above->transformOwner())
            return kZxInvalidArgument;
    }
    if (item.transformOwner())
        return kZxInvalidArgument;
    if (const zxresult refused = mayEdit(item.scene()); failed(refused))
        return refused;
    return editResult(binding(), item.scene().setParent(item, above));
}

zxresult ItemEditPart::addPackage(const char* package)
{
    Item& item = *static_cast<ItemObject&>(owner()).item();
    if (!binding().host().findPackage(package))
        return kZxNotFound;
    if (const zxresult refused = mayEdit(item.scene()); failed(refused))
        return refused;
    return editResult(binding(), item.scene().addPackage(item, package));
}

zxresult ItemEditPart::removePackage(const char* package)
{
    Item& item = *static_cast<ItemObject&>(owner()).item();
    bool carried = false;
    for (const Package* each : item.packages())
        carried = carried || each->name() == package;
    if (!carried)
        return kZxNotFound;
    if (const zxresult refused = mayEdit(item.scene()); failed(refused))
        return refused;
    return editResult(binding(), item.scene().removePackage(item, package));
}

constinit const ZxItemEditTable ItemEditPart::kTable = {
    .object = HostObject::kOps,
    .setName = hostSlot<ItemEditPart, &ItemEditPart::setName, kWritePhase>,
    .setParent = hostSlot<ItemEditPart, &ItemEditPart::setParent, kWritePhase, Nulls::Allowed>,
    .addPackage = hostSlot<ItemEditPart, &ItemEditPart::addPackage, kWritePhase>,
    .removePackage = hostSlot<ItemEditPart, &ItemEditPart::removePackage, kWritePhase>,
};

// Tags

StringTagPart::StringTagPart(ItemObject& owner) : ObjectPart(owner, kTable.object, this), m_Item(&owner) { }

StringTagPart::StringTagPart(SceneObject& owner) : ObjectPart(owner, kTable.object, this), m_Scene(&owner) { }

zxresult StringTagPart::get(uint32_t code, const char** text)
{
    const TagList& tags = m_Item ? m_Item->item()->tags() : m_Scene->target().tags();
    const std::string* found = tags.find(code);
    if (!found)
        return kZxNotFound;
    *text = found->c_str();
    return kZxOk;
}

zxresult StringTagPart::set(uint32_t code, const char* text)
{
    Scene& scene = m_Item ? m_Item->item()->scene() : m_Scene->target();
    if (const zxresult refused = mayEdit(scene); failed(refused))
        return refused;
    return editResult(binding(),
                      m_Item ? scene.setTag(*m_Item->item(), code, text) : scene.setTag(code, text));
}

constinit const ZxStringTagTable StringTagPart::kTable = {
    .object = HostObject::kOps,
    .get = hostSlot<StringTagPart, &StringTagPart::get>,
    .set = hostSlot<StringTagPart, &StringTagPart::set, kWritePhase, Nulls::Allowed>,
};

// Graphs

ItemGraphEditPart::ItemGraphEditPart(HostObject& owner, Scene& scene, const char* name)
    : ObjectPart(owner, kTable.object, this), m_Scene(scene), m_Name(name)
{
}

zxresult ItemGraphEditPart::addLink(ZxObject* from, ZxObject* to)
{
    Item *source = nullptr, *target = nullptr;
    if (const zxresult result = itemIn(owner(), from, source); failed(result))
        return result;
    if (const zxresult result = itemIn(owner(), to, target); failed(result))
        return result;
    if (const zxresult refused = mayEdit(m_Scene); failed(refused))
        return refused;
    return editResult(binding(), m_Scene.addLink(m_Name, *source, *target));
}

zxresult ItemGraphEditPart::deleteLink(ZxObject* from, ZxObject* to)
{
    Item *source = nullptr, *target = nullptr;
    if (const zxresult result = itemIn(owner(), from, source); failed(result))
        return result;
    if (const zxresult result = itemIn(owner(), to, target); failed(result))
        return result;
    if (!m_Scene.graph(m_Name).contains(*source, *target))
        return kZxNotFound;
    if (const zxresult refused = mayEdit(m_Scene); failed(refused))
        return refused;
    return editResult(binding(), m_Scene.deleteLink(m_Name, *source, *target));
}

constinit const ZxItemGraphEditTable ItemGraphEditPart::kTable = {
    .object = HostObject::kOps,
    .addLink = hostSlot<ItemGraphEditPart, &ItemGraphEditPart::addLink, kWritePhase>,
    .deleteLink = hostSlot<ItemGraphEditPart, &ItemGraphEditPart::deleteLink, kWritePhase>,
};

ChannelGraphEditPart::ChannelGraphEditPart(HostObject& owner, Scene& scene)
    : ObjectPart(owner, kTable.object, this), m_Scene(scene)
{
}

zxresult ChannelGraphEditPart::addLink(ZxObject* from, int32_t fromChannel, ZxObject* to, int32_t toChannel)
{
    Channel *source = nullptr, *target = nullptr;
    if (const zxresult result = channelIn(owner(), from, fromChannel, source); failed(result))
        return result;
    if (const zxresult result = channelIn(owner(), to, toChannel, target); failed(result))
        return result;
    if (const zxresult refused = mayEdit(m_Scene); failed(refused))
        return refused;
    return editResult(binding(), m_Scene.addLink(*source, *target));
}

zxresult ChannelGraphEditPart::deleteLink(ZxObject* from, int32_t fromChannel, ZxObject* to,
                                          int32_t toChannel)
{
    Channel *source = nullptr, *target = nullptr;
    if (const zxresult result = channelIn(owner(), from, fromChannel, source); failed(result))
        return result;
    if (const zxresult result = channelIn(owner(), to, toChannel, target); failed(result))
        return result;
    if (!m_Scene.channelGraph().contains(*source, *target))
        return kZxNotFound;
    if (const zxresult refused = mayEdit(m_Scene); failed(refused))
        return refused;
    return editResult(binding(), m_Scene.deleteLink(*source, *target));
}

constinit const ZxChannelGraphEditTable ChannelGraphEditPart::kTable = {
    .object = HostObject::kOps,
    .addLink = hostSlot<ChannelGraphEditPart, &ChannelGraphEditPart::addLink, kWritePhase>,
    .deleteLink = hostSlot<ChannelGraphEditPart, &ChannelGraphEditPart::deleteLink, kWritePhase>,
};

// Writes

ChannelWriteObject::ChannelWriteObject(HostBinding& binding, Scene& scene, Action action, double time)
    : HostObject(binding, &scene, kZxIdChannelWrite, "ChannelWrite", kTable.object, this),
      m_Target(scene),
      m_Action(action),
      m_Time(time)
{
}

namespace {

zxresult write(const ChannelWriteObject& self, ZxObject* item, int32_t index, double value, WriteMode mode)
{
    Channel* channel = nullptr;
    if (const zxresult result = channelIn(self, item, index, channel); failed(result))
        return result;
    if (!std::isfinite(value) || !isNumber(channel->type()))
        return kZxInvalidArgument;
    if (const zxresult refused = mayEdit(self.target()); failed(refused))
        return refused;
    return editResult(self.binding(),
                      self.target().writeNumber(*channel, self.action(), self.time(), value, mode));
}

} // namespace

zxresult ChannelWriteObject::integer(ZxObject* item, int32_t channel, int32_t value)
{
    return write(*this, item, channel, value, WriteMode::Plain);
}

zxresult ChannelWriteObject::number(ZxObject* item, int32_t channel, double value)
{
    return write(*this, item, channel, value, WriteMode::Plain);
}

zxresult ChannelWriteObject::key(ZxObject* item, int32_t channel, double value, uint32_t create)
{
    return write(*this, item, channel, value, create ? WriteMode::CreateKey : WriteMode::Key);
}

constinit const ZxChannelWriteTable ChannelWriteObject::kTable = {
    .object = HostObject::kOps,
    .integer = hostSlot<ChannelWriteObject, &ChannelWriteObject::integer, kWritePhase>,
    .number = hostSlot<ChannelWriteObject, &ChannelWriteObject::number, kWritePhase>,
    .key = hostSlot<ChannelWriteObject, &ChannelWriteObject::key, kWritePhase>,
};

} // namespace refhost
