// SPDX-License-Identifier: MIT
// Rays against deformed meshes.
#include "channels/Vectors.h"
#include "mesh/MeshPose.h"
#include "refhost/Evaluation.h"
#include "refhost/Host.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace refhost {
namespace {

Vector3 wide(const Vector3f& v) { return {v[0], v[1], v[2]}; }

/// A ray with a direction of length 1 and the reciprocals that the box test wants.
struct SlabRay {
    Vector3 origin, direction, inverse;
};

/// Distance at which the ray enters the box; infinite where it passes by or enters beyond `limit`.
double enters(const MeshBox& box, const SlabRay& ray, double limit)
{
    double from = 0, to = limit;
    for (std::size_t a = 0; a < 3; ++a) {
        double near = (static_cast<double>(box.low[a]) - ray.origin[a]) * ray.inverse[a];
        double far = (static_cast<double>(box.high[a]) - ray.origin[a]) * ray.inverse[a];
        if (near > far)
            std::swap(near, far);
        // 0 times infinity, for a ray that runs along a side, is no bound.
        from = near > from ? near : from;
        to = far < to ? far : to;
    }
    return from <= to ? from : std::numeric_limits<double>::infinity();
}

/// Moeller and Trumbore's test ("Fast, Minimum Storage Ray/Triangle Intersection", 1997), two-sided.
bool meets(const Vector3& a, const Vector3& b, const Vector3& c, const SlabRay& ray, RayHit& hit)
{
    const Vector3 ab = minus(b, a), ac = minus(c, a);
    const Vector3 p = cross(ray.direction, ac);
    const double det = dot(ab, p);
    if (det == 0)
        return false;
    const Vector3 s = minus(ray.origin, a);
    const double u = dot(s, p) / det;
    const Vector3 q = cross(s, ab);
    const double v = dot(ray.direction, q) / det;
    const double distance = dot(ac, q) / det;
    if (!(u >= 0 && v >= 0 && u + v <= 1 && distance >= 0 && distance < hit.distance))
        return false;
    hit.distance = distance;
    hit.share = {1 - u - v, u, v};
    hit.position = plus(ray.origin, times(ray.direction, distance));
    const Vector3 normal = cross(ab, ac);
    const double size = length(normal);
    hit.normal = size > 0 ? times(normal, 1 / size) : Vector3{};
    return true;
}

bool slabRay(const Ray& ray, SlabRay& out)
{
    const double size = length(ray.direction);
    if (!(size > 0) || !std::isfinite(size))
        return false;
    out.origin = ray.origin;
    for (std::size_t a = 0; a < 3; ++a) {
        out.direction[a] = ray.direction[a] / size;
        out.inverse[a] = 1 / (out.direction[a] == 0 ? 0.0 : out.direction[a]); // no negative zero
        if (!std::isfinite(out.origin[a]))
            return false;
    }
    return true;
}

} // namespace

bool MeshPoses::cast(Item& item, double timeSeconds, const Ray& ray, RayHit& hit)
{
    SlabRay slab;
    Pose* found = slabRay(ray, slab) ? pose(item, timeSeconds) : nullptr;
    if (!found)
        return false;
    const Mesh& mesh = *found->deformed->mesh;
    const std::vector<Vector3f>& points = found->deformed->points;
    const MeshTree& tree = mesh.tree();
    if (tree.nodes().empty())
        return false;
    if (found->boxes.empty())
        found->boxes = tree.boxes(mesh.data(), points);
    bool any = false;
    std::vector<std::uint32_t> open{0};
    while (!open.empty()) {
        const std::uint32_t index = open.back();
        open.pop_back();
        if (enters(found->boxes[index], slab, hit.distance) > hit.distance)
            continue;
        const MeshTree::Node& node = tree.nodes()[index];
        if (node.count == 0) {
            const std::uint32_t first = index + 1, second = node.first;
            const bool firstIsNearer = enters(found->boxes[first], slab, hit.distance)
                <= enters(found->boxes[second], slab, hit.distance);
            open.push_back(firstIsNearer ? second : first);
            open.push_back(firstIsNearer ? first : second);
            continue;
        }
        for (std::uint32_t i = node.first; i < node.first + node.count; ++i) {
            const std::uint32_t triangle = tree.order()[i];
            const Triangle& corners = mesh.data().triangles[triangle];
            if (!meets(wide(points[corners[0]]), wide(points[corners[1]]), wide(points[corners[2]]), slab,
                       hit))
                continue;
            hit.item = &item;
            hit.triangle = triangle;
            any = true;
        }
    }
    return any;
}

bool castRay(Scene& scene, double timeSeconds, const Ray& ray, RayHit& hit)
{
    RayHit nearest;
    nearest.distance = std::numeric_limits<double>::max();
    for (Item* item : scene.itemsOfType(scene.host().meshType())) {
        Channel* visible = item->channel("visible");
        if (visible && Evaluation::of(scene).integer(*visible, timeSeconds) == 0)
            continue;
        MeshPoses::of(scene).cast(*item, timeSeconds, ray, nearest);
    }
    if (nearest.item)
        hit = nearest;
    return nearest.item != nullptr;
}

} // namespace refhost
