// SPDX-License-Identifier: MIT
// Items with transforms as modules see them: where they stand in the world, and being put somewhere.
#include "module/EditParts.h"
#include "module/HostBinding.h"
#include "module/SceneObjects.h"
#include "refhost/Scene.h"

#include <algorithm>
#include <cmath>

namespace refhost {
namespace {

/// An object of class T in a call about the item's scene.
template <class T>
zxresult objectIn(const HostObject& self, ZxObject* object, T*& out)
{
    T* found = hostObject<T>(object, self.binding());
    if (!found)
        return kZxInvalidArgument;
    if (found->isGone() || found->references() == 0)
        return kZxNotAvailable;
    out = found;
    return found->scene() == self.scene() ? kZxOk : kZxInvalidArgument;
}

/// Who writes and what stands above.
struct Placement {
    ChannelWriteObject* write = nullptr;
    WorldPlace above;
};

zxresult placementIn(const ItemObject& self, ZxObject* write, ZxObject* read, Placement& out)
{
    ChannelReadObject* from = nullptr;
    if (const zxresult result = objectIn(self, write, out.write); failed(result))
        return result;
    if (const zxresult result = objectIn(self, read, from); failed(result))
        return result;
    const Item* parent = self.item()->parent();
    if (parent && parent->type().hasTransforms()) {
        if (const zxresult result = from->world(*parent, out.above); failed(result))
            return result;
    }
    return mayEdit(self.item()->scene());
}

/// Writes `name`.X, .Y and .Z of the transform item, which is made if it isn't there.
zxresult writeTransform(const ItemObject& self, const ChannelWriteObject& write, TransformKind kind,
                        const char* name, const Vector3& value)
{
    Scene& scene = self.item()->scene();
    const ResultOf<Item*> transform = scene.addTransformItem(*self.item(), kind);
    Result result = transform.result();
    for (std::size_t a = 0; result.ok() && a < 3; ++a) {
        Channel& channel = *transform.value->channel(std::string(name) + '.' + "XYZ"[a]);
        result = scene.writeNumber(channel, write.action(), write.time(), value[a],
                                   WriteMode::Key); // what has keys is moved all the same
    }
    return editResult(self.binding(), result);
}

bool areFinite(const double* values, int count)
{
    return std::all_of(values, values + count, [](double value) { return std::isfinite(value); });
}

} // namespace

LocatorPart::LocatorPart(ItemObject& owner) : ObjectPart(owner, kTable.object, this) { }

ItemObject& LocatorPart::item() const { return static_cast<ItemObject&>(owner()); }

zxresult LocatorPart::worldTransform(ZxObject* read, double* nine, double* three)
{
    ChannelReadObject* from = nullptr;
    if (const zxresult result = objectIn(item(), read, from); failed(result))
        return result;
    WorldPlace place;
    if (const zxresult result = from->world(*item().item(), place); failed(result))
        return result;
    std::copy_n(&place.rotation.m[0][0], 9, nine);
    std::copy_n(place.position.data(), 3, three);
    return kZxOk;
}

zxresult LocatorPart::transformItem(uint32_t kind, ZxObject** transform)
{
    if (kind >= kTransformKindCount)
        return kZxInvalidArgument;
    Item* found = item().item()->transformItem(static_cast<TransformKind>(kind));
    if (!found)
        return kZxNotFound;
    *transform = binding().itemObject(*found).face();
    return kZxOk;
}

zxresult LocatorPart::setWorldPosition(ZxObject* write, ZxObject* read, const double* three)
{
    Placement placement;
    if (!areFinite(three, 3))
        return kZxInvalidArgument;
    if (const zxresult result = placementIn(item(), write, read, placement); failed(result))
        return result;
    Matrix34 inverse;
    if (!invert(placement.above.matrix, inverse))
        return editResult(binding(),
                          Result::failure("'" + item().item()->label()
                                          + "' can't be put anywhere: something above it has no size."));
    return writeTransform(item(), *placement.write, TransformKind::Position, "pos",
                          transformPoint(inverse, {three[0], three[1], three[2]}));
}

zxresult LocatorPart::setWorldRotation(ZxObject* write, ZxObject* read, const double* nine)
{
    Placement placement;
    if (!areFinite(nine, 9))
        return kZxInvalidArgument;
    if (const zxresult result = placementIn(item(), write, read, placement); failed(result))
        return result;
    Matrix33 wanted;
    std::copy_n(nine, 9, &wanted.m[0][0]);
    const Item* rotation = item().item()->transformItem(TransformKind::Rotation);
    const Layer layer = item().item()->scene().layer(placement.write->action());
    const int order = rotation ? rotation->channel("order")->integer(layer, placement.write->time()) : 0;
    return writeTransform(item(), *placement.write, TransformKind::Rotation, "rot",
                          eulerFromMatrix(transposed(placement.above.rotation) * wanted, order));
}

constinit const ZxLocatorTable LocatorPart::kTable = {
    .object = HostObject::kOps,
    .worldTransform = hostSlot<LocatorPart, &LocatorPart::worldTransform>,
    .transformItem = hostSlot<LocatorPart, &LocatorPart::transformItem>,
    .setWorldPosition = hostSlot<LocatorPart, &LocatorPart::setWorldPosition, kWritePhase>,
    .setWorldRotation = hostSlot<LocatorPart, &LocatorPart::setWorldRotation, kWritePhase>,
};

LocatorPosePart::LocatorPosePart(ItemObject& owner) : ObjectPart(owner, kTable.object, this) { }

ItemObject& LocatorPosePart::item() const { return static_cast<ItemObject&>(owner()); }

zxresult LocatorPosePart::addTransformItem(uint32_t kind, ZxObject** transform)
{
    if (kind >= kTransformKindCount)
        return kZxInvalidArgument;
    Scene& scene = item().item()->scene();
    if (const zxresult refused = mayEdit(scene); failed(refused))
        return refused;
    const ResultOf<Item*> made = scene.addTransformItem(*item().item(), static_cast<TransformKind>(kind));
    if (made.ok())
        *transform = binding().itemObject(*made.value).face();
    return editResult(binding(), made.result());
}

/// The channels say directly how the item lies in its parent.
zxresult LocatorPosePart::handBack(ZxObject* read, TransformKind kind, const double* values, int count,
                                   double* result) const
{
    ChannelReadObject* from = nullptr;
    if (const zxresult refused = objectIn(item(), read, from); failed(refused))
        return refused;
    if (!item().item()->transformItem(kind))
        return kZxNotFound;
    if (!areFinite(values, count))
        return kZxInvalidArgument;
    std::copy_n(values, count, result);
    return kZxOk;
}

zxresult LocatorPosePart::rotationForChannels(ZxObject* read, const double* nine, double* result)
{
    return handBack(read, TransformKind::Rotation, nine, 9, result);
}

zxresult LocatorPosePart::positionForChannels(ZxObject* read, const double* three, double* result)
{
    return handBack(read, TransformKind::Position, three, 3, result);
}

constinit const ZxLocatorPoseTable LocatorPosePart::kTable = {
    .object = HostObject::kOps,
    .addTransformItem = hostSlot<LocatorPosePart, &LocatorPosePart::addTransformItem, kWritePhase>,
    .rotationForChannels = hostSlot<LocatorPosePart, &LocatorPosePart::rotationForChannels>,
    .positionForChannels = hostSlot<LocatorPosePart, &LocatorPosePart::positionForChannels>,
};

} // namespace refhost
