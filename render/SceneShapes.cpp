// SPDX-License-Identifier: MIT
// Finds what is to be seen in a scene.
#include "render/SceneShapes.h"

#include <refhost/DrawingPackage.h>
#include <refhost/Evaluation.h>
#include <refhost/Host.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace render {
namespace {

using refhost::Channel;
using refhost::Item;
using refhost::Matrix34;
using refhost::Vector3f;

constexpr Colour kBone{0.55f, 0.62f, 0.74f, 1}, kJoint{0.36f, 0.43f, 0.56f, 1},
    kInside{0.10f, 0.16f, 0.28f, 0.55f};
constexpr float kInsideWidth = 2;

class Builder {
public:
    Builder(refhost::Scene& scene, const refhost::View& view, const SceneLook& look)
        : m_Scene(scene),
          m_View(view),
          m_Look(look),
          m_Evaluation(refhost::Evaluation::of(scene)),
          m_Time(scene.host().time())
    {
    }

    Shapes build()
    {
        bool anyMesh = false;
        if (m_Look.meshes)
            for (Item* item : m_Scene.itemsOfType(m_Scene.host().meshType()))
                if (isVisible(*item))
                    if (const auto mesh = refhost::MeshPoses::of(m_Scene).at(*item, m_Time)) {
                        addMesh(m_Shapes, *mesh);
                        anyMesh = true;
                        for (const refhost::WeightMap& map : mesh->mesh->data().maps)
                            m_Bound.insert(map.joint);
                    }
        const bool inside = anyMesh && m_Look.skeleton == SceneLook::Skeleton::Auto;
        for (Item* item : m_Scene.itemsOfType(m_Scene.host().locatorType())) {
            if (!isVisible(*item) || item->isOfType("ikSolver"))
                continue;
            if (isGoal(*item)) {
                if (m_Look.goals)
                    addGoal(*item);
            } else if (m_Look.skeleton != SceneLook::Skeleton::Off) {
                addLimb(*item, inside);
            }
        }
        if (m_Look.items) {
            refhost::DrawingList list;
            refhost::recordItems(m_Scene, m_View, list);
            addDrawing(m_Shapes, list, Depth::Above);
        }
        return std::move(m_Shapes);
    }

private:
    double number(const Item& item, const char* name, double otherwise = 0)
    {
        Channel* channel = item.channel(name);
        return channel ? m_Evaluation.number(*channel, m_Time) : otherwise;
    }
    std::int32_t integer(const Item& item, const char* name, std::int32_t otherwise = 0)
    {
        Channel* channel = item.channel(name);
        return channel ? m_Evaluation.integer(*channel, m_Time) : otherwise;
    }
    bool isVisible(const Item& item) { return integer(item, "visible", 1) != 0; }
    bool isGoal(const Item& item)
    {
        return item.hasPackage(refhost::kDrawingPackage) && integer(item, "drawShape") != 0;
    }
    /// Whether the item or one above it moves points of a mesh: what lies above a skeleton is no bone.
    bool isBound(const Item& item) const
    {
        for (const Item* current = &item; current; current = current->parent())
            if (m_Bound.contains(current->id()))
                return true;
        return false;
    }
    bool place(const Item& item, Matrix34& out)
    {
        Channel* world = item.channel("worldMatrix");
        return world && m_Evaluation.matrix(*world, m_Time, out) && refhost::isFinite(out);
    }
    static Vector3f single(const refhost::Vector3& v)
    {
        return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
    }

    /// The bone from the parent to the item, and the item's joint.
    void addLimb(const Item& item, bool inside)
    {
        Matrix34 here, above;
        if (!place(item, here))
            return;
        const Item* parent = item.parent();
        const bool hasBone =
            parent && parent->isOfType("locator") && !isGoal(*parent) && place(*parent, above);
        const Vector3f to = single(here.offset);
        const double pixel = m_View.pixelSize(here.offset);
        if (inside) {
            if (hasBone && isBound(*parent))
                m_Shapes.above.segments.push_back({single(above.offset), to, kInside, kInsideWidth});
            return;
        }
        double size = 5 * pixel;
        if (hasBone) {
            const auto tint = item.tags().find(refhost::tagCode('O', 'V', 'C', 'L'));
            Colour colour = kBone;
            if (tint) {
                const auto own = refhost::itemColour(item);
                colour = {own[0], own[1], own[2], 1};
            }
            const Vector3f from = single(above.offset);
            addBone(m_Shapes, from, to, colour);
            size = std::min(size, 0.12 * std::hypot(to[0] - from[0], to[1] - from[1], to[2] - from[2]));
        }
        if (size > 0)
            addBall(m_Shapes, to, size, kJoint);
    }

    void addGoal(const Item& item)
    {
        Matrix34 here;
        if (!place(item, here))
            return;
        const Vector3f half{static_cast<float>(number(item, "isSize.X", 1) / 2),
                            static_cast<float>(number(item, "isSize.Y", 1) / 2),
                            static_cast<float>(number(item, "isSize.Z", 1) / 2)};
        const auto colour = [&](const std::string& name) {
            return Colour{static_cast<float>(number(item, (name + ".R").c_str())),
                          static_cast<float>(number(item, (name + ".G").c_str())),
                          static_cast<float>(number(item, (name + ".B").c_str())), 1};
        };
        const auto shape = static_cast<refhost::DrawShape>(integer(item, "drawShape"));
        if (integer(item, "fillOptions") != 0) {
            if (shape == refhost::DrawShape::Sphere)
                addBall(m_Shapes, single(here.offset), half[0], colour("fillColor"));
            else
                addBox(m_Shapes, here, half, colour("fillColor"));
        }
        if (integer(item, "wireOptions") != 0 || integer(item, "fillOptions") == 0)
            addBoxEdges(m_Shapes, here, half, colour("wireColor"), 1.5f);
    }

    refhost::Scene& m_Scene;
    const refhost::View& m_View;
    const SceneLook& m_Look;
    refhost::Evaluation& m_Evaluation;
    const double m_Time;
    std::set<refhost::ItemId> m_Bound; // joints of the skins
    Shapes m_Shapes;
};

} // namespace

Shapes sceneShapes(refhost::Scene& scene, const refhost::View& view, const SceneLook& look)
{
    return Builder(scene, view, look).build();
}

} // namespace render
