// SPDX-License-Identifier: MIT
// Fills a drawing list: the stack of transforms, the part, and the strokes and shapes of one drawer.
#pragma once

#include "refhost/DrawingList.h"

#include <optional>

namespace refhost {

/// Numbers that are not finite are refused, so that a list never holds any.
class Recorder {
public:
    /// `base` is the transform that the drawer starts in; `item` is who draws.
    Recorder(DrawingList& list, const View& view, const Matrix34& base = {}, ItemId item = 0);

    const View& view() const { return m_View; }
    const Matrix34& transform() const { return m_Transforms.back(); }
    void setPart(std::uint32_t part) { m_Part = part; }
    /// False for a transform that is not finite.
    bool push(const Matrix34& transform);
    /// False when only the drawer's first one is left.
    bool pop();
    /// Size of a pixel of the view in the scene's unit at the origin of the current transform.
    double pixelSize() const;

    /// Begins a stroke; vertices go to it until the next one begins or a shape is drawn.
    bool begin(DrawKind kind, const std::array<float, 3>& colour, float alpha, float width,
               std::uint16_t dashes = 0xffff);
    /// False without a stroke.
    bool vertex(const Vector3& position);
    /// A shape with everything but part, item and transform filled in.
    bool shape(DrawElement element);

private:
    DrawElement& add(DrawElement element);

    DrawingList& m_List;
    const View& m_View;
    ItemId m_Item;
    std::uint32_t m_Part = 0;
    std::vector<Matrix34> m_Transforms;
    std::optional<DrawElement> m_Pen; ///< what the stroke began with
    bool m_Open = false; ///< the last element of the list takes vertices
};

} // namespace refhost
