// SPDX-License-Identifier: MIT
// Shapes from what was recorded.
#include <render/Renderer.h>
#include <render/Shapes.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace render;
using refhost::DrawElement;
using refhost::DrawKind;

TEST(ShapeTests, RecordedStrokesBecomeSegmentsPointsAndPanes)
{
    refhost::DrawingList list;
    DrawElement lines;
    lines.kind = DrawKind::Lines;
    lines.colour = {1, 1, 0};
    lines.alpha = 0.5f;
    lines.width = 3;
    lines.dashes = 0xf0f0;
    lines.vertices = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
    lines.transform.offset = {10, 0, 0};
    DrawElement strip = lines, points = lines;
    strip.kind = DrawKind::LineStrip;
    points.kind = DrawKind::Points;
    DrawElement sector;
    sector.kind = DrawKind::Arc;
    sector.filled = true;
    sector.radius = 2;
    sector.axis = 0;
    sector.start = 0;
    sector.end = M_PI / 2;
    list.elements = {lines, strip, points, sector};
    Shapes shapes;
    addDrawing(shapes, list, Depth::Above);

    ASSERT_EQ(shapes.above.segments.size(), 2u + 3u);
    const Segment& second = shapes.above.segments[1];
    EXPECT_EQ(second.from, (refhost::Vector3f{10, 1, 0}));
    EXPECT_EQ(second.to, (refhost::Vector3f{11, 1, 0}));
    EXPECT_EQ(second.colour, (Colour{1, 1, 0, 0.5f}));
    EXPECT_EQ(second.width, 3);
    EXPECT_EQ(second.dashes, 0xf0f0u);
    EXPECT_EQ(shapes.above.points.size(), 4u);
    // The panes of the sector have its area, a quarter of a disc.
    double area = 0;
    const auto& panes = shapes.above.panes;
    for (std::size_t i = 0; i + 2 < panes.size(); i += 3) {
        const auto &a = panes[i].position, &b = panes[i + 1].position, &c = panes[i + 2].position;
        area += std::abs((b[1] - a[1]) * (c[2] - a[2]) - (b[2] - a[2]) * (c[1] - a[1])) / 2;
    }
    EXPECT_NEAR(area, M_PI, 0.02);
    EXPECT_TRUE(shapes.tested.segments.empty());
}

/// Signed volume that the triangles enclose: that of the body when all of them look outwards.
double volume(const Shapes& shapes)
{
    double sum = 0;
    for (std::size_t i = 0; i + 2 < shapes.solids.size(); i += 3) {
        const auto &a = shapes.solids[i].position, &b = shapes.solids[i + 1].position,
                   &c = shapes.solids[i + 2].position;
        sum += (a[0] * (b[1] * c[2] - b[2] * c[1]) - a[1] * (b[0] * c[2] - b[2] * c[0])
                + a[2] * (b[0] * c[1] - b[1] * c[0]))
            / 6;
    }
    return sum;
}

TEST(ShapeTests, BodiesAreClosedAndLookOutwards)
{
    Shapes box, ball, bone, none;
    addBox(box, {}, {1, 2, 3}, {});
    EXPECT_NEAR(volume(box), 48, 1e-4);
    addBall(ball, {0, 0, 0}, 2, {});
    EXPECT_NEAR(volume(ball), 4 * M_PI / 3 * 8, 4.5);
    addBone(bone, {0, 0, 0}, {0, 0, 4}, {});
    EXPECT_NEAR(volume(bone), 2 * 0.3 * 0.3 * 4 / 3.0, 1e-4); // two pyramids on a square of diagonals 0.6
    addBone(none, {1, 1, 1}, {1, 1, 1}, {});
    EXPECT_TRUE(none.solids.empty());
}

TEST(ShapeTests, GridLinesKeepTheirDistanceAtEverySize)
{
    for (double seen = 1e-6; seen < 1e7; seen *= 1.37) {
        EXPECT_LE(gridSpacing(seen), seen / 20 * 1.0000001) << seen;
        EXPECT_GT(gridSpacing(seen), seen / 20 / 2.6) << seen;
    }
    EXPECT_EQ(gridSpacing(0), 1);
}

} // namespace
