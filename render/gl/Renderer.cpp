// SPDX-License-Identifier: MIT
// Draws one picture: background, floor, shadow, solids, lines and points, and what lies over all of it.
#include "render/Renderer.h"

#include "gl/Program.h"
#include "gl/Shaders.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace render {
namespace {

using refhost::Matrix33;
using refhost::Vector3;
using refhost::View;

constexpr Field kSolidFields[] = {{3, offsetof(SolidVertex, position)},
                                  {3, offsetof(SolidVertex, normal)},
                                  {4, offsetof(SolidVertex, colour)}};
constexpr Field kFlatFields[] = {{3, offsetof(FlatVertex, position)}, {4, offsetof(FlatVertex, colour)}};
constexpr Field kSegmentFields[] = {{3, offsetof(Segment, from)},
                                    {3, offsetof(Segment, to)},
                                    {4, offsetof(Segment, colour)},
                                    {1, offsetof(Segment, width)},
                                    {1, offsetof(Segment, dashes), true}};
constexpr Field kPointFields[] = {
    {3, offsetof(Point, position)}, {4, offsetof(Point, colour)}, {1, offsetof(Point, size)}};

constexpr Colour kShadow{0.16f, 0.18f, 0.24f, 0.30f};
constexpr float kCrossPixels = 64; // side of the square that the axis cross has
constexpr float kNearer = 4e-5f; // that lines stand out of the surfaces on which they lie

Vector3 column(const Matrix33& m, int c) { return {m[0][c], m[1][c], m[2][c]}; }

/// Distances along the view, from the eye of a perspective or from the target of a parallel view, between
/// which everything is drawn.
struct DepthRange {
    double nearest, farthest;

    /// How much finer or coarser the depths of a parallel view are than those of its usual range.
    double share(const View& view) const
    {
        return view.perspective ? 1 : 80 * view.size / (farthest - nearest);
    }
};

/// Wide enough for the floor in every case, and for figures far in front of the target or behind it.
DepthRange depthRange(const View& view, const Shapes& shapes)
{
    const double away = view.perspective ? view.distance() : 0;
    DepthRange range{view.perspective ? 0.02 * away : -40 * view.size,
                     view.perspective ? 60 * away : 40 * view.size};
    const Vector3 along = view.direction();
    double nearest = range.farthest, farthest = range.nearest;
    shapes.forEachPoint([&](const refhost::Vector3f& p) {
        double depth = away;
        for (std::size_t a = 0; a < 3; ++a)
            depth += along[a] * (p[a] - view.target[a]);
        if (!std::isfinite(depth))
            return;
        nearest = std::min(nearest, depth);
        farthest = std::max(farthest, depth);
    });
    constexpr double kRoom = 1.01, kNearestShare = 1e-3;
    if (!view.perspective)
        return {std::min(range.nearest, nearest * kRoom), std::max(range.farthest, farthest * kRoom)};
    // What is nearer to the eye than this is cut: the nearer the plane, the coarser all depths.
    if (nearest < range.nearest)
        range.nearest = std::max(nearest / kRoom, kNearestShare * away);
    return {range.nearest, std::max(range.farthest, farthest * kRoom)};
}

/// World to clip space of OpenGL.
GlMatrix clipMatrix(const View& view, const DepthRange& depths)
{
    const Vector3 eye = view.perspective ? view.eye() : view.target;
    double toView[4][4] = {};
    for (int r = 0; r < 3; ++r) {
        const Vector3 axis = column(view.axes, r);
        for (int c = 0; c < 3; ++c) {
            toView[r][c] = axis[static_cast<std::size_t>(c)];
            toView[r][3] -= axis[static_cast<std::size_t>(c)] * eye[static_cast<std::size_t>(c)];
        }
    }
    toView[3][3] = 1;
    const double aspect = static_cast<double>(view.width) / view.height;
    double projection[4][4] = {};
    if (view.perspective) {
        const double cotangent = 1 / std::tan(view.fieldOfView / 2);
        const auto [nearest, farthest] = depths;
        projection[0][0] = cotangent / aspect;
        projection[1][1] = cotangent;
        projection[2][2] = -(farthest + nearest) / (farthest - nearest);
        projection[2][3] = -2 * farthest * nearest / (farthest - nearest);
        projection[3][2] = -1;
    } else {
        projection[0][0] = 2 / (view.size * aspect);
        projection[1][1] = 2 / view.size;
        projection[2][2] = -2 / (depths.farthest - depths.nearest);
        projection[2][3] = -(depths.farthest + depths.nearest) / (depths.farthest - depths.nearest);
        projection[3][3] = 1;
    }
    GlMatrix out{};
    for (std::size_t r = 0; r < 4; ++r)
        for (std::size_t c = 0; c < 4; ++c) {
            double sum = 0;
            for (std::size_t k = 0; k < 4; ++k)
                sum += projection[r][k] * toView[k][c];
            out[4 * c + r] = static_cast<float>(sum);
        }
    return out;
}

GlMatrix pixelMatrix(const View& view)
{
    GlMatrix out{};
    out[0] = 2 / static_cast<float>(view.width);
    out[5] = -2 / static_cast<float>(view.height);
    out[12] = -1;
    out[13] = 1;
    out[15] = 1;
    return out;
}

Vector3 normalised(const Vector3& v)
{
    const double size = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    return {v[0] / size, v[1] / size, v[2] / size};
}

void setVector(const Program& program, const char* name, const Vector3& v)
{
    program.set(name, static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2]));
}

/// The view of the axis cross: the same directions around the origin.
View crossView(const View& view)
{
    View cross = view;
    cross.perspective = false;
    cross.target = {};
    cross.width = cross.height = static_cast<int>(kCrossPixels);
    cross.size = 2.9;
    return cross;
}

Shapes::Layer crossShapes()
{
    constexpr Colour kAxes[3] = {
        {0.80f, 0.22f, 0.22f, 1}, {0.25f, 0.60f, 0.25f, 1}, {0.22f, 0.40f, 0.85f, 1}};
    Shapes::Layer layer;
    for (std::size_t a = 0; a < 3; ++a) {
        refhost::Vector3f tip{};
        tip[a] = 1;
        layer.segments.push_back({{}, tip, kAxes[a], 2.5f});
        layer.points.push_back({tip, kAxes[a], 5});
    }
    return layer;
}

/// The floor as a parallel view along it sees it: a line.
Shapes::Layer floorEdge(const View& view, const Surroundings& around, const Vector3& right)
{
    constexpr Colour kEdge{0.25f, 0.29f, 0.36f, 0.6f};
    const std::size_t up = around.up == refhost::UpAxis::Y ? 1 : 2;
    refhost::Vector3f ends[2];
    for (std::size_t a = 0; a < 3; ++a)
        for (std::size_t end = 0; end < 2; ++end)
            ends[end][a] = static_cast<float>(
                a == up ? around.floorHeight : view.target[a] + (end ? 40 : -40) * view.size * right[a]);
    Shapes::Layer layer;
    layer.segments.push_back({ends[0], ends[1], kEdge, 1.5f});
    return layer;
}

} // namespace

struct Renderer::Parts {
    Program background{kBackgroundVertex, kBackgroundFragment}, floor{kFloorVertex, kFloorFragment},
        solid{kSolidVertex, kSolidFragment}, shadow{kShadowVertex, kShadowFragment},
        flat{kFlatVertex, kFlatFragment}, segment{kSegmentVertex, kSegmentFragment},
        point{kPointVertex, kPointFragment};
    Buffer solids{kSolidFields, sizeof(SolidVertex), false}, flats{kFlatFields, sizeof(FlatVertex), false},
        segments{kSegmentFields, sizeof(Segment), true}, points{kPointFields, sizeof(Point), true},
        nothing{{}, 0, false};

    void drawBackground(const Surroundings& around) const;
    void drawFloor(const View& view, const Surroundings& around, const GlMatrix& clip) const;
    void drawShadow(const Shapes& shapes, const Vector3& light, const Vector3& up, const Surroundings& around,
                    const GlMatrix& clip) const;
    void drawSolids(const Shapes& shapes, const View& view, const Vector3& light, const Vector3& up,
                    const GlMatrix& clip) const;
    void drawLayer(const Shapes::Layer& layer, const View& view, const DepthRange& depths,
                   const GlMatrix& clip, int scale) const;
};

void Renderer::Parts::drawBackground(const Surroundings& around) const
{
    background.use();
    background.set("top", around.skyTop);
    background.set("bottom", around.skyBottom);
    const char none = 0;
    nothing.drawTriangles(&none, 3);
}

void Renderer::Parts::drawFloor(const View& view, const Surroundings& around, const GlMatrix& clip) const
{
    const std::size_t up = around.up == refhost::UpAxis::Y ? 1 : 2, other = 3 - up;
    const double reach = view.size * 4;
    FlatVertex square[6];
    constexpr double kCorners[6][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, -1}, {1, 1}, {-1, 1}};
    for (std::size_t i = 0; i < 6; ++i) {
        square[i].position[0] = static_cast<float>(view.target[0] + reach * kCorners[i][0]);
        square[i].position[other] = static_cast<float>(view.target[other] + reach * kCorners[i][1]);
        square[i].position[up] = static_cast<float>(around.floorHeight);
    }
    floor.use();
    floor.set("viewProjection", clip);
    floor.set("spacing", static_cast<float>(gridSpacing(view.size)));
    floor.set("reach", static_cast<float>(reach));
    setVector(floor, "centre", view.target);
    floor.set("upIsZ", up == 2 ? 1.0f : 0.0f);
    flats.drawTriangles(square, 6);
}

void Renderer::Parts::drawShadow(const Shapes& shapes, const Vector3& light, const Vector3& up,
                                 const Surroundings& around, const GlMatrix& clip) const
{
    // Each pixel is darkened once, however many triangles lie over it.
    glEnable(GL_STENCIL_TEST);
    glStencilFunc(GL_EQUAL, 0, 0xff);
    glStencilOp(GL_KEEP, GL_KEEP, GL_INCR);
    shadow.use();
    shadow.set("viewProjection", clip);
    setVector(shadow, "light", light);
    setVector(shadow, "up", up);
    shadow.set("floorHeight", static_cast<float>(around.floorHeight));
    shadow.set("tint", kShadow);
    solids.drawTriangles(shapes.solids.data(), shapes.solids.size());
    glDisable(GL_STENCIL_TEST);
}

void Renderer::Parts::drawSolids(const Shapes& shapes, const View& view, const Vector3& light,
                                 const Vector3& up, const GlMatrix& clip) const
{
    solid.use();
    solid.set("viewProjection", clip);
    setVector(solid, "light", light);
    setVector(solid, "up", up);
    setVector(solid, "eye", view.eye());
    setVector(solid, "toViewer", column(view.axes, 2));
    solid.set("perspective", view.perspective ? 1.0f : 0.0f);
    solids.drawTriangles(shapes.solids.data(), shapes.solids.size());
}

void Renderer::Parts::drawLayer(const Shapes::Layer& layer, const View& view, const DepthRange& depths,
                                const GlMatrix& clip, int scale) const
{
    flat.use();
    flat.set("viewProjection", clip);
    flats.drawTriangles(layer.panes.data(), layer.panes.size());
    for (const Program* program : {&segment, &point}) {
        program->use();
        program->set("viewProjection", clip);
        program->set("halfSize", static_cast<float>(view.width * scale) / 2,
                     static_cast<float>(view.height * scale) / 2);
        program->set("scale", static_cast<float>(scale));
        program->set("nearest", view.perspective ? static_cast<float>(depths.nearest) : -1.0f);
        program->set("nearer", kNearer * static_cast<float>(depths.share(view)));
        if (program == &segment)
            segments.drawQuads(layer.segments.data(), layer.segments.size());
        else
            points.drawQuads(layer.points.data(), layer.points.size());
    }
}

Renderer::Renderer()
{
    if (epoxy_gl_version() < 33 || !epoxy_is_desktop_gl())
        throw RenderError(
            "pictures need OpenGL 3.3; this machine's driver offers less. Update it, or install a "
            "software renderer (Debian: libgl1-mesa-dri).");
    m_Parts = std::make_unique<Parts>();
}

Renderer::~Renderer() = default;

void Renderer::draw(const Shapes& shapes, const View& view, const Surroundings& around, int x, int y,
                    int scale)
{
    const Parts& parts = *m_Parts;
    const int width = view.width * scale, height = view.height * scale;
    const Vector3 up = around.up == refhost::UpAxis::Y ? Vector3{0, 1, 0} : Vector3{0, 0, 1};
    const Vector3 right = column(view.axes, 0), back = column(view.axes, 2);
    Vector3 light;
    for (std::size_t a = 0; a < 3; ++a)
        light[a] = up[a] - 0.35 * right[a] + 0.45 * back[a];
    light = normalised(light);
    const DepthRange depths = depthRange(view, shapes);
    const GlMatrix clip = clipMatrix(view, depths);

    glEnable(GL_SCISSOR_TEST);
    glScissor(x, y, width, height);
    glViewport(x, y, width, height);
    glEnable(GL_BLEND);
    glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glDisable(GL_CULL_FACE);
    glDisable(GL_DEPTH_TEST);
    glDepthMask(GL_TRUE);
    glClear(GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    parts.drawBackground(around);
    const double slant = back[0] * up[0] + back[1] * up[1] + back[2] * up[2];
    if (around.floor && !view.perspective && std::abs(slant) <= 0.02)
        parts.drawLayer(floorEdge(view, around, right), view, depths, clip, scale);
    if (around.floor && (view.perspective || std::abs(slant) > 0.02)) {
        parts.drawFloor(view, around, clip);
        if (light[0] * up[0] + light[1] * up[1] + light[2] * up[2] > 0.2)
            parts.drawShadow(shapes, light, up, around, clip);
    }
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    parts.drawSolids(shapes, view, light, up, clip);
    glDepthMask(GL_FALSE);
    parts.drawLayer(shapes.tested, view, depths, clip, scale);
    glDisable(GL_DEPTH_TEST);
    parts.drawLayer(shapes.above, view, depths, clip, scale);
    parts.flat.use();
    parts.flat.set("viewProjection", pixelMatrix(view));
    parts.flats.drawTriangles(around.overlay.data(), around.overlay.size());
    if (around.axisCross && view.width >= 2 * kCrossPixels && view.height >= 2 * kCrossPixels) {
        const View cross = crossView(view);
        glViewport(x + 8 * scale, y + 8 * scale, cross.width * scale, cross.height * scale);
        const DepthRange crossDepths = depthRange(cross, {});
        parts.drawLayer(crossShapes(), cross, crossDepths, clipMatrix(cross, crossDepths), scale);
    }
    glDepthMask(GL_TRUE);
    glDisable(GL_SCISSOR_TEST);
    glBindVertexArray(0);
}

} // namespace render
