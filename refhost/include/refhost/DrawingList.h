// SPDX-License-Identifier: MIT
// What items and the tool draw, recorded: strokes and shapes that a window, a picture or a test shows.
#pragma once

#include "refhost/Item.h"
#include "refhost/Transforms.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace refhost {

class Host;
class Scene;
class View;

enum class DrawKind : std::uint8_t {
    Points, ///< each vertex is a point
    LineStrip, ///< the vertices are joined
    Lines, ///< each two vertices are a segment
    Triangles, ///< each three vertices are a filled triangle
    Circle, ///< about `axis`
    Arc, ///< about `axis`, from `start` to `end`
    Disc, ///< a filled circle: a handle to be gripped
    Text, ///< `text` at `centre`
};
/// By DrawKind.
inline constexpr const char* kDrawKindNames[] = {"points", "lineStrip", "lines", "triangles",
                                                 "circle", "arc",       "disc",  "text"};

/// One stroke or shape. Positions and lengths are in its own space, which `transform` takes to the world.
struct DrawElement {
    DrawKind kind = DrawKind::Lines;
    std::array<float, 3> colour{1, 1, 1}; ///< red, green, blue from 0 to 1
    float alpha = 1;
    float width = 1; ///< of lines and outlines, or the size of points; pixels
    std::uint16_t dashes = 0xffff; ///< pattern of 16 bits, the lowest first; all on is a solid line
    bool filled = false; ///< of an arc: a sector, without outline
    std::uint32_t part = 0; ///< what the drawer calls it; a handle's number in a tool's drawing
    ItemId item = 0; ///< who drew it; 0 for the tool
    Matrix34 transform;
    std::vector<Vector3> vertices; ///< of strokes
    Vector3 centre{}; ///< of shapes and text
    double radius = 0;
    int axis = 2; ///< 0 x, 1 y, 2 z
    double start = 0, end = 0; ///< radians about the axis: about x from y to z, about y from z to x, about z
                               ///< from x to y
    std::string text;

    bool operator==(const DrawElement&) const = default;
};

struct DrawingList {
    std::vector<DrawElement> elements;
};

/// World positions of the vertices, or along the outline of a shape in so many steps (a full circle's first
/// point comes again at its end; a filled arc begins and ends at its centre); the place of a text.
std::vector<Vector3> worldOutline(const DrawElement& element, int circleSteps = 48);

/// Appends what the visible items of the scene draw at a time, the host's current one unless another is
/// given, in order of their identifiers: what modules put on them.
void recordItems(Scene& scene, const View& view, DrawingList& list, std::optional<double> timeSeconds = {});
/// The colour that an item draws in: its tag `OVCL` ("r=0.3 g=0.8 b=0.3") where it has one.
std::array<float, 3> itemColour(const Item& item);

} // namespace refhost
