// SPDX-License-Identifier: MIT
// Builds triangles, lines and points.
#include "render/Shapes.h"

#include <algorithm>
#include <cmath>

namespace render {
namespace {

using refhost::Matrix34;
using refhost::Vector3;
using refhost::Vector3f;

Vector3f minus(const Vector3f& a, const Vector3f& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
Vector3f plus(const Vector3f& a, const Vector3f& b, float share)
{
    return {a[0] + share * b[0], a[1] + share * b[1], a[2] + share * b[2]};
}
Vector3f cross(const Vector3f& a, const Vector3f& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
float length(const Vector3f& a) { return std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]); }
Vector3f unit(const Vector3f& a)
{
    const float size = length(a);
    return size > 0 ? Vector3f{a[0] / size, a[1] / size, a[2] / size} : Vector3f{0, 1, 0};
}
Vector3f single(const Vector3& a)
{
    return {static_cast<float>(a[0]), static_cast<float>(a[1]), static_cast<float>(a[2])};
}
Vector3f across(const Vector3f& direction)
{
    std::size_t least = 0;
    for (std::size_t a = 1; a < 3; ++a)
        if (std::abs(direction[a]) < std::abs(direction[least]))
            least = a;
    Vector3f axis{};
    axis[least] = 1;
    return unit(cross(direction, axis));
}

void addFacet(Shapes& shapes, const Vector3f& a, const Vector3f& b, const Vector3f& c, const Colour& colour)
{
    const Vector3f normal = unit(cross(minus(b, a), minus(c, a)));
    for (const Vector3f& corner : {a, b, c})
        shapes.solids.push_back({corner, normal, colour});
}

std::array<Vector3f, 8> corners(const Matrix34& place, const Vector3f& half)
{
    std::array<Vector3f, 8> out;
    for (std::size_t i = 0; i < 8; ++i) {
        const Vector3 corner{i & 1 ? half[0] : -half[0], i & 2 ? half[1] : -half[1],
                             i & 4 ? half[2] : -half[2]};
        out[i] = single(refhost::transformPoint(place, corner));
    }
    return out;
}

std::vector<Vector3f> triangleNormals(const refhost::DeformedMesh& mesh)
{
    std::vector<Vector3f> normals(mesh.points.size(), Vector3f{});
    for (const refhost::Triangle& t : mesh.mesh->data().triangles) {
        const Vector3f& a = mesh.points[t[0]];
        const Vector3f normal = cross(minus(mesh.points[t[1]], a), minus(mesh.points[t[2]], a));
        for (const std::uint32_t corner : t)
            normals[corner] = plus(normals[corner], normal, 1); // by the area of the triangle
    }
    for (Vector3f& normal : normals)
        normal = unit(normal);
    return normals;
}

} // namespace

void addMesh(Shapes& shapes, const refhost::DeformedMesh& mesh)
{
    const refhost::MeshData& data = mesh.mesh->data();
    std::vector<Vector3f> made;
    if (mesh.normals.empty())
        made = triangleNormals(mesh);
    const std::vector<Vector3f>& normals = mesh.normals.empty() ? made : mesh.normals;
    shapes.solids.reserve(shapes.solids.size() + 3 * data.triangles.size());
    for (const refhost::Triangle& triangle : data.triangles)
        for (const std::uint32_t corner : triangle) {
            const Vector3f& colour = data.colours.empty() ? data.colour : data.colours[corner];
            shapes.solids.push_back(
                {mesh.points[corner], normals[corner], {colour[0], colour[1], colour[2], 1}});
        }
}

void addBone(Shapes& shapes, const Vector3f& from, const Vector3f& to, const Colour& colour)
{
    const Vector3f along = minus(to, from);
    const float size = length(along);
    if (!(size > 0) || !std::isfinite(size))
        return;
    constexpr float kThickest = 0.16f, kHalfWidth = 0.075f; // shares of the bone's length
    const Vector3f side = across(unit(along)), other = cross(unit(along), side);
    const Vector3f middle = plus(from, along, kThickest);
    Vector3f ring[4];
    for (std::size_t i = 0; i < 4; ++i) {
        const float sign = i < 2 ? 1.0f : -1.0f;
        ring[i] = plus(middle, i % 2 == 0 ? side : other, sign * kHalfWidth * size);
    }
    for (std::size_t i = 0; i < 4; ++i) {
        const Vector3f &a = ring[i], &b = ring[(i + 1) % 4];
        addFacet(shapes, from, b, a, colour);
        addFacet(shapes, to, a, b, colour);
    }
}

void addBall(Shapes& shapes, const Vector3f& centre, double radius, const Colour& colour)
{
    constexpr int kRings = 6, kSectors = 10;
    const auto at = [&](int ring, int sector) {
        const double polar = M_PI * ring / kRings, turn = 2 * M_PI * sector / kSectors;
        return single({std::sin(polar) * std::cos(turn), std::cos(polar), std::sin(polar) * std::sin(turn)});
    };
    const auto add = [&](const Vector3f& normal) {
        shapes.solids.push_back({plus(centre, normal, static_cast<float>(radius)), normal, colour});
    };
    for (int ring = 0; ring < kRings; ++ring)
        for (int sector = 0; sector < kSectors; ++sector) {
            const Vector3f a = at(ring, sector), b = at(ring + 1, sector), c = at(ring + 1, sector + 1),
                           d = at(ring, sector + 1);
            if (ring + 1 < kRings)
                for (const Vector3f& v : {a, c, b})
                    add(v);
            if (ring > 0)
                for (const Vector3f& v : {a, d, c})
                    add(v);
        }
}

void addBox(Shapes& shapes, const Matrix34& place, const Vector3f& half, const Colour& colour)
{
    constexpr std::size_t kFaces[6][4] = {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4},
                                          {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}};
    const auto c = corners(place, half);
    for (const auto& face : kFaces) {
        addFacet(shapes, c[face[0]], c[face[1]], c[face[2]], colour);
        addFacet(shapes, c[face[0]], c[face[2]], c[face[3]], colour);
    }
}

void addBoxEdges(Shapes& shapes, const Matrix34& place, const Vector3f& half, const Colour& colour,
                 float width)
{
    const auto c = corners(place, half);
    for (std::size_t i = 0; i < 8; ++i)
        for (const std::size_t bit : {1u, 2u, 4u})
            if (!(i & bit))
                shapes.tested.segments.push_back({c[i], c[i | bit], colour, width});
}

void addDrawing(Shapes& shapes, const refhost::DrawingList& list, Depth depth)
{
    using refhost::DrawKind;
    Shapes::Layer& layer = shapes.layer(depth);
    for (const refhost::DrawElement& element : list.elements) {
        const Colour colour{element.colour[0], element.colour[1], element.colour[2], element.alpha};
        std::vector<Vector3f> line;
        for (const Vector3& point : refhost::worldOutline(element))
            line.push_back(single(point));
        const bool isFan =
            element.kind == DrawKind::Disc || (element.kind == DrawKind::Arc && element.filled);
        const std::size_t step = element.kind == DrawKind::Lines ? 2 : 1;
        if (element.kind == DrawKind::Points) {
            for (const Vector3f& point : line)
                layer.points.push_back({point, colour, element.width});
        } else if (element.kind == DrawKind::Triangles) {
            for (std::size_t i = 0; i + 2 < line.size(); i += 3)
                for (std::size_t corner = 0; corner < 3; ++corner)
                    layer.panes.push_back({line[i + corner], colour});
        } else if (isFan) {
            // The outline of a sector begins and ends at its centre; that of a disc is convex.
            for (std::size_t i = 1; i + 1 < line.size(); ++i)
                for (const Vector3f& corner : {line[0], line[i], line[i + 1]})
                    layer.panes.push_back({corner, colour});
        } else if (element.kind != DrawKind::Text) {
            for (std::size_t i = 0; i + 1 < line.size(); i += step)
                layer.segments.push_back({line[i], line[i + 1], colour, element.width, element.dashes});
        }
    }
}

} // namespace render
