// SPDX-License-Identifier: MIT
// Changing a scene as modules do it: interfaces of items, scenes and graphs, and writes of channels.
#pragma once

#include "module/HostObject.h"
#include "refhost/Channel.h"
#include "refhost/Result.h"

#include <zx/ZxEdit.h>

#include <string>

namespace refhost {

class ItemObject;
class Scene;
class SceneObject;
enum class TransformKind : std::uint8_t;

/// Whether an edit of the scene can be recorded now.
zxresult mayEdit(const Scene& scene);
/// What an edit answers a module; a refusal is kept for the user.
zxresult editResult(HostBinding& binding, const Result& result);

class SceneEditPart final : public ObjectPart {
public:
    explicit SceneEditPart(SceneObject& owner);

    zxresult newItem(uint32_t typeCode, ZxObject** item);
    zxresult channelWrite(const char* action, double time, ZxObject** write);
    zxresult resetModifier(const char* modifier);

    static const ZxSceneEditTable kTable;
};

class ItemEditPart final : public ObjectPart {
public:
    explicit ItemEditPart(ItemObject& owner);

    zxresult setName(const char* name);
    zxresult setParent(ZxObject* parent);
    zxresult addPackage(const char* package);
    zxresult removePackage(const char* package);

    static const ZxItemEditTable kTable;
};

/// Of an item or of a scene.
class StringTagPart final : public ObjectPart {
public:
    explicit StringTagPart(ItemObject& owner);
    explicit StringTagPart(SceneObject& owner);

    zxresult get(uint32_t code, const char** text);
    zxresult set(uint32_t code, const char* text);

    static const ZxStringTagTable kTable;

private:
    ItemObject* m_Item = nullptr;
    SceneObject* m_Scene = nullptr;
};

class ItemGraphEditPart final : public ObjectPart {
public:
    ItemGraphEditPart(HostObject& owner, Scene& scene, const char* name);

    zxresult addLink(ZxObject* from, ZxObject* to);
    zxresult deleteLink(ZxObject* from, ZxObject* to);

    static const ZxItemGraphEditTable kTable;

private:
    Scene& m_Scene;
    std::string m_Name;
};

class ChannelGraphEditPart final : public ObjectPart {
public:
    ChannelGraphEditPart(HostObject& owner, Scene& scene);

    zxresult addLink(ZxObject* from, int32_t fromChannel, ZxObject* to, int32_t toChannel);
    zxresult deleteLink(ZxObject* from, int32_t fromChannel, ZxObject* to, int32_t toChannel);

    static const ZxChannelGraphEditTable kTable;

private:
    Scene& m_Scene;
};

/// An item with transforms.
class LocatorPart final : public ObjectPart {
public:
    explicit LocatorPart(ItemObject& owner);

    zxresult worldTransform(ZxObject* read, double* nine, double* three);
    zxresult transformItem(uint32_t kind, ZxObject** item);
    zxresult setWorldPosition(ZxObject* write, ZxObject* read, const double* three);
    zxresult setWorldRotation(ZxObject* write, ZxObject* read, const double* nine);

    static const ZxLocatorTable kTable;

private:
    ItemObject& item() const;
};

/// The transform channels of an item, which has no other transforms than those.
class LocatorPosePart final : public ObjectPart {
public:
    explicit LocatorPosePart(ItemObject& owner);

    zxresult addTransformItem(uint32_t kind, ZxObject** item);
    zxresult rotationForChannels(ZxObject* read, const double* nine, double* result);
    zxresult positionForChannels(ZxObject* read, const double* three, double* result);

    static const ZxLocatorPoseTable kTable;

private:
    ItemObject& item() const;
    zxresult handBack(ZxObject* read, TransformKind kind, const double* values, int count,
                      double* result) const;
};

class ChannelWriteObject final : public HostObject {
public:
    ChannelWriteObject(HostBinding& binding, Scene& scene, Action action, double time);

    Scene& target() const { return m_Target; }
    Action action() const { return m_Action; }
    double time() const { return m_Time; }

    zxresult integer(ZxObject* item, int32_t channel, int32_t value);
    zxresult number(ZxObject* item, int32_t channel, double value);
    zxresult key(ZxObject* item, int32_t channel, double value, uint32_t create);

    static const ZxChannelWriteTable kTable;

private:
    Scene& m_Target;
    Action m_Action;
    double m_Time;
};

} // namespace refhost
