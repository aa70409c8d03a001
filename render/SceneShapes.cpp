// SPDX-License-Identifier: MIT
// Finds what is to be seen in a scene.
#include "render/SceneShapes.h"

#include <refhost/DrawingPackage.h>
#include <refhost/Evaluation.h>
#include <refhost/Host.h>
#include <refhost/ToolHost.h>
#include <refhost/VisibleItems.h>

#include <algorithm>
#include <cmath>
#include <utility>

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
    Builder(refhost::Scene& scene, double time, const refhost::View& view, const SceneLook& look)
        : m_Scene(scene),
          m_View(view),
          m_Look(look),
          m_Evaluation(refhost::Evaluation::of(scene)),
          m_Time(time),
          m_Visible(refhost::visibleItems(scene, time, look.meshes))
    {
    }

    Shapes build()
    {
        for (const auto& mesh : m_Visible.meshes)
            addMesh(m_Shapes, *mesh);
        for (const Locator& locator : m_Visible.locators) {
            const bool isHidden =
                locator.look == Look::Goal ? !m_Look.goals : m_Look.skeleton == SceneLook::Skeleton::Off;
            if (isHidden)
                continue;
            if (locator.look == Look::Goal)
                addGoal(locator);
            else if (locator.look == Look::Bone || m_Look.skeleton == SceneLook::Skeleton::On)
                addLimb(locator);
            else if (locator.look == Look::Inside)
                addInside(locator);
        }
        refhost::DrawingList items, handles;
        if (m_Look.items)
            refhost::recordItems(m_Scene, m_View, items, m_Time);
        addDrawing(m_Shapes, items, Depth::Above);
        if (m_Look.handles)
            recordHandles(handles);
        addDrawing(m_Shapes, handles, Depth::Above);
        return std::move(m_Shapes);
    }

private:
    using Locator = refhost::VisibleItems::Locator;
    using Look = refhost::VisibleItems::Look;

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
    /// Handles have their size in pixels: of the view that shows them, not of the one they are gripped in.
    void recordHandles(refhost::DrawingList& list)
    {
        refhost::ToolHost& tools = refhost::ToolHost::of(m_Scene.host());
        const refhost::View gripped = std::exchange(tools.view(), m_View);
        tools.draw(list);
        tools.view() = gripped;
    }
    static Vector3f single(const refhost::Vector3& v)
    {
        return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
    }

    /// The place of the joint that the bone to this one starts at; false for a joint without a bone.
    bool boneStart(const Locator& joint, Vector3f& out)
    {
        const Item* parent = joint.item->parent();
        const Locator* above = m_Visible.find(parent);
        // Beside meshes what stands above a figure is no part of it.
        if (!above || above->look == Look::Goal
            || (m_Look.skeleton == SceneLook::Skeleton::Auto && above->look != joint.look))
            return false;
        out = single(above->world.offset);
        return true;
    }

    void addInside(const Locator& joint)
    {
        if (Vector3f from; boneStart(joint, from))
            m_Shapes.above.segments.push_back({from, single(joint.world.offset), kInside, kInsideWidth});
    }

    /// The bone from the parent to the joint, and the joint.
    void addLimb(const Locator& joint)
    {
        const Vector3f to = single(joint.world.offset);
        double size = 5 * m_View.pixelSize(joint.world.offset);
        if (Vector3f from; boneStart(joint, from)) {
            Colour colour = kBone;
            if (joint.item->tags().find(refhost::tagCode('O', 'V', 'C', 'L'))) {
                const auto own = refhost::itemColour(*joint.item);
                colour = {own[0], own[1], own[2], 1};
            }
            addBone(m_Shapes, from, to, colour);
            size = std::min(size, 0.12 * std::hypot(to[0] - from[0], to[1] - from[1], to[2] - from[2]));
        }
        if (size > 0)
            addBall(m_Shapes, to, size, kJoint);
    }

    void addGoal(const Locator& goal)
    {
        const Item& item = *goal.item;
        const Matrix34& here = goal.world;
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
    const refhost::VisibleItems m_Visible;
    Shapes m_Shapes;
};

} // namespace

Shapes sceneShapes(refhost::Scene& scene, double timeSeconds, const refhost::View& view,
                   const SceneLook& look)
{
    return Builder(scene, timeSeconds, view, look).build();
}

refhost::Framing framingOf(const refhost::View& view, const Shapes& shapes)
{
    constexpr double kSoftEdge = 2; // pixels
    float widest = 0;
    for (const Shapes::Layer* layer : {&shapes.tested, &shapes.above}) {
        for (const Segment& segment : layer->segments)
            widest = std::max(widest, segment.width);
        for (const Point& point : layer->points)
            widest = std::max(widest, point.size);
    }
    refhost::Framing framing(view, widest / 2 + kSoftEdge);
    shapes.forEachPoint([&](const Vector3f& p) { framing.include({p[0], p[1], p[2]}); });
    return framing;
}

refhost::Framing frameScene(refhost::Scene& scene, double timeSeconds, refhost::View& view,
                            const SceneLook& look)
{
    (void)view.fit(scene, timeSeconds);
    const refhost::View usual = view;
    // What has its size in pixels depends on the view, and the view on what is shown: first the shapes alone
    // that have a size in the world, then with the pixels that they lead to.
    refhost::View fine = usual;
    fine.perspective = false;
    fine.size *= 1e-9;
    framingOf(usual, sceneShapes(scene, timeSeconds, fine, look)).apply(view);
    if (view.size < 1e-6 * usual.size)
        view = usual; // nothing but places
    const refhost::Framing framing = framingOf(usual, sceneShapes(scene, timeSeconds, view, look));
    const double least = view.size;
    framing.apply(view);
    view.size = std::max(view.size, least);
    return framing;
}

} // namespace render
