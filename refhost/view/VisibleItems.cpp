// SPDX-License-Identifier: MIT
// Tells the figures of a scene apart: those that a mesh shows from those that only their bones can show.
#include "refhost/VisibleItems.h"

#include "refhost/DrawingPackage.h"
#include "refhost/Evaluation.h"
#include "refhost/Host.h"

#include <algorithm>
#include <map>
#include <set>

namespace refhost {
namespace {

using Look = VisibleItems::Look;
using Path = std::vector<const Item*>; // from the top down

Path pathTo(const Item& item)
{
    Path path;
    for (const Item* one = &item; one; one = one->parent())
        path.push_back(one);
    std::reverse(path.begin(), path.end());
    return path;
}

bool isAnyAbove(const Item& item, const std::set<const Item*>& items)
{
    for (const Item* one = &item; one; one = one->parent())
        if (items.contains(one))
            return true;
    return false;
}

/// Which locators belong to the figures that meshes show. A mesh shows all that stands below the item in
/// which the ways to its joints part: helpers and ends too, but not another figure in the same group.
class ShownByMeshes {
public:
    void add(const Item& meshItem, const MeshData& mesh)
    {
        std::map<const Item*, Path> common; // by the top of the hierarchy
        const auto take = [&](const Item& item) {
            const Path path = pathTo(item);
            const auto [known, isFirst] = common.try_emplace(path.front(), path);
            Path& shared = known->second;
            if (!isFirst)
                shared.erase(std::mismatch(shared.begin(), shared.end(), path.begin(), path.end()).first,
                             shared.end());
        };
        for (const WeightMap& map : mesh.maps)
            if (const Item* joint = meshItem.scene().find(map.joint)) {
                take(*joint);
                m_Bound.insert(joint);
            }
        if (common.empty() && meshItem.parent())
            take(*meshItem.parent());
        for (const auto& [top, path] : common) {
            m_Figures.insert(path.back());
            m_Above.insert(path.begin(), path.end());
        }
    }

    Look look(const Item& item) const
    {
        if (isAnyAbove(item, m_Bound))
            return Look::Inside;
        return m_Above.contains(&item) || isAnyAbove(item, m_Figures) ? Look::Plain : Look::Bone;
    }

private:
    std::set<const Item*> m_Bound, m_Figures, m_Above;
};

/// Beside meshes a locator by itself is no figure: files have cameras and lights, with nodes that turn them.
void dropSingles(VisibleItems& items)
{
    std::set<const Item*> bones;
    for (const VisibleItems::Locator& locator : items.locators) {
        const VisibleItems::Locator* parent = items.find(locator.item->parent());
        if (locator.look == Look::Bone && parent && parent->look == Look::Bone
            && locator.world.offset != parent->world.offset)
            bones.insert({locator.item, parent->item});
    }
    for (VisibleItems::Locator& locator : items.locators)
        if (locator.look == Look::Bone && !bones.contains(locator.item))
            locator.look = Look::Plain;
}

} // namespace

const VisibleItems::Locator* VisibleItems::find(const Item* item) const
{
    // In order of identifiers, as the scene lists them.
    const auto found =
        std::lower_bound(locators.begin(), locators.end(), item ? item->id() : 0,
                         [](const Locator& locator, ItemId id) { return locator.item->id() < id; });
    return found != locators.end() && found->item == item ? &*found : nullptr;
}

VisibleItems visibleItems(Scene& scene, double timeSeconds, bool meshes)
{
    Evaluation& evaluation = Evaluation::of(scene);
    const auto integer = [&](const Item& item, const char* name, std::int32_t otherwise) {
        Channel* channel = item.channel(name);
        return channel ? evaluation.integer(*channel, timeSeconds) : otherwise;
    };
    VisibleItems out;
    ShownByMeshes shown;
    if (meshes)
        for (Item* item : scene.itemsOfType(scene.host().meshType()))
            if (integer(*item, "visible", 1) != 0)
                if (auto mesh = MeshPoses::of(scene).at(*item, timeSeconds); mesh && !mesh->points.empty()) {
                    shown.add(*item, mesh->mesh->data());
                    out.meshes.push_back(std::move(mesh));
                }
    for (Item* item : scene.itemsOfType(scene.host().locatorType())) {
        Channel* world = item->channel("worldMatrix");
        VisibleItems::Locator locator{item, Look::Bone, {}};
        if (item->isOfType("ikSolver") || integer(*item, "visible", 1) == 0 || !world
            || !evaluation.matrix(*world, timeSeconds, locator.world) || !isFinite(locator.world))
            continue;
        const bool isGoal = item->hasPackage(kDrawingPackage) && integer(*item, "drawShape", 0) != 0;
        locator.look = isGoal ? Look::Goal : shown.look(*item);
        out.locators.push_back(locator);
    }
    if (!out.meshes.empty())
        dropSingles(out);
    return out;
}

} // namespace refhost
