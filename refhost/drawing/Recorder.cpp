// SPDX-License-Identifier: MIT
// Recording strokes and shapes, and the outlines of what was recorded.
#include "refhost/Recorder.h"

#include "channels/Vectors.h"
#include "refhost/View.h"

#include <algorithm>
#include <cmath>

namespace refhost {
namespace {

bool isDrawable(const DrawElement& element)
{
    return std::isfinite(element.colour[0]) && std::isfinite(element.colour[1])
        && std::isfinite(element.colour[2]) && std::isfinite(element.alpha) && std::isfinite(element.width)
        && std::isfinite(element.radius) && std::isfinite(element.start) && std::isfinite(element.end)
        && isFinite(element.centre) && element.axis >= 0 && element.axis < 3;
}

Vector3 onCircle(const DrawElement& element, double angle)
{
    const auto axis = static_cast<std::size_t>(element.axis);
    Vector3 point = element.centre;
    point[(axis + 1) % 3] += element.radius * std::cos(angle);
    point[(axis + 2) % 3] += element.radius * std::sin(angle);
    return point;
}

} // namespace

Recorder::Recorder(DrawingList& list, const View& view, const Matrix34& base, ItemId item)
    : m_List(list), m_View(view), m_Item(item), m_Transforms{base}
{
}

bool Recorder::push(const Matrix34& transform)
{
    const Matrix34 world = this->transform() * transform;
    if (!isFinite(world))
        return false;
    m_Open = false; // a stroke lies in one space
    m_Transforms.push_back(world);
    return true;
}

bool Recorder::pop()
{
    if (m_Transforms.size() == 1)
        return false;
    m_Open = false;
    m_Transforms.pop_back();
    return true;
}

double Recorder::pixelSize() const { return m_View.pixelSize(transform().offset); }

bool Recorder::begin(DrawKind kind, const std::array<float, 3>& colour, float alpha, float width,
                     std::uint16_t dashes)
{
    DrawElement pen;
    pen.kind = kind;
    pen.colour = colour;
    pen.alpha = alpha;
    pen.width = width;
    pen.dashes = dashes;
    m_Open = false;
    m_Pen.reset();
    if (!isDrawable(pen))
        return false;
    m_Pen = pen;
    return true;
}

/// A stroke that goes on behind a transform, a part or a shape is another element of the list.
bool Recorder::vertex(const Vector3& position)
{
    if (!m_Pen || !isFinite(position))
        return false;
    if (!m_Open || m_List.elements.back().part != m_Part)
        add(*m_Pen);
    m_Open = true;
    m_List.elements.back().vertices.push_back(position);
    return true;
}

bool Recorder::shape(DrawElement element)
{
    if (!isDrawable(element))
        return false;
    m_Open = false;
    add(std::move(element));
    return true;
}

DrawElement& Recorder::add(DrawElement element)
{
    element.part = m_Part;
    element.item = m_Item;
    element.transform = transform();
    m_List.elements.push_back(std::move(element));
    return m_List.elements.back();
}

std::vector<Vector3> worldOutline(const DrawElement& element, int circleSteps)
{
    constexpr double kTurn = 2 * 3.14159265358979323846;
    std::vector<Vector3> points = element.vertices;
    const bool isArc = element.kind == DrawKind::Arc;
    if (isArc || element.kind == DrawKind::Circle || element.kind == DrawKind::Disc) {
        const double start = isArc ? element.start : 0, end = isArc ? element.end : kTurn;
        const double share = std::min(1.0, std::abs(end - start) / kTurn);
        const int steps = std::max(2, static_cast<int>(std::ceil(share * std::max(circleSteps, 3))));
        const bool sector = isArc && element.filled;
        if (sector)
            points.push_back(element.centre);
        for (int i = 0; i <= steps; ++i)
            points.push_back(onCircle(element, start + (end - start) * i / steps));
        if (sector)
            points.push_back(element.centre);
    } else if (element.kind == DrawKind::Text) {
        points = {element.centre};
    }
    for (Vector3& point : points)
        point = transformPoint(element.transform, point);
    return points;
}

} // namespace refhost
