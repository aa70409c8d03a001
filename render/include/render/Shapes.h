// SPDX-License-Identifier: MIT
// What a picture is made of: lit triangles, flat ones, lines of a width in pixels, and points.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include <refhost/DrawingList.h>
#include <refhost/Mesh.h>

namespace render {

/// Red, green, blue from 0 to 1 as a screen shows them, and opacity.
using Colour = std::array<float, 4>;

/// Whether something is hidden by what is in front of it.
enum class Depth : std::uint8_t {
    Tested,
    Above, ///< shown over everything
};

struct SolidVertex {
    refhost::Vector3f position{}; ///< world
    refhost::Vector3f normal{0, 1, 0}; ///< world, of length 1
    Colour colour{1, 1, 1, 1};
};
struct FlatVertex {
    refhost::Vector3f position{};
    Colour colour{1, 1, 1, 1};
};
struct Segment {
    refhost::Vector3f from{}, to{};
    Colour colour{1, 1, 1, 1};
    float width = 1; ///< pixels
    std::uint32_t dashes = 0xffff; ///< pattern of 16 bits, two pixels each, the lowest first
};
struct Point {
    refhost::Vector3f position{};
    Colour colour{1, 1, 1, 1};
    float size = 4; ///< diameter in pixels
};

/// Shapes of one picture, in world space.
struct Shapes {
    std::vector<SolidVertex> solids; ///< three a triangle; lit, and casting a shadow on the floor
    struct Layer {
        std::vector<FlatVertex> panes; ///< three a triangle; not lit, may be translucent
        std::vector<Segment> segments;
        std::vector<Point> points;
    };
    Layer tested, above;

    Layer& layer(Depth depth) { return depth == Depth::Above ? above : tested; }

    /// Calls `visit` with every corner, end and middle of the shapes.
    template <class Visit>
    void forEachPoint(const Visit& visit) const
    {
        for (const SolidVertex& vertex : solids)
            visit(vertex.position);
        for (const Layer* one : {&tested, &above}) {
            for (const FlatVertex& vertex : one->panes)
                visit(vertex.position);
            for (const Segment& segment : one->segments) {
                visit(segment.from);
                visit(segment.to);
            }
            for (const Point& point : one->points)
                visit(point.position);
        }
    }
};

/// A deformed mesh in its own colours. Without normals of its own it gets those of its triangles, shared by
/// points.
void addMesh(Shapes& shapes, const refhost::DeformedMesh& mesh);
/// A bone as an eight-sided wedge from one joint to the next, thickest near its start. One of length 0 is
/// left out.
void addBone(Shapes& shapes, const refhost::Vector3f& from, const refhost::Vector3f& to,
             const Colour& colour);
/// A ball of some 80 triangles.
void addBall(Shapes& shapes, const refhost::Vector3f& centre, double radius, const Colour& colour);
/// A box around the origin of a transform, with edges 2 `half` long.
void addBox(Shapes& shapes, const refhost::Matrix34& place, const refhost::Vector3f& half,
            const Colour& colour);
/// The edges of that box.
void addBoxEdges(Shapes& shapes, const refhost::Matrix34& place, const refhost::Vector3f& half,
                 const Colour& colour, float width);
/// What items and tools drew.
void addDrawing(Shapes& shapes, const refhost::DrawingList& list, Depth depth);

/// Text on the screen: flat triangles in pixels from the upper left corner, z 0. `scale` 1 is 7 pixels of
/// height for a capital; printable ASCII alone.
void addText(std::vector<FlatVertex>& panes, float x, float y, std::string_view text, const Colour& colour,
             float scale = 1);
/// Its width in pixels.
float textWidth(std::string_view text, float scale = 1);

} // namespace render
