// SPDX-License-Identifier: MIT
// A solid shape for every bone of a skeleton, so that it can be seen.
#include "gltf/BoneBody.h"

#include "bvh/Rotation.h"

#include <algorithm>
#include <cmath>

namespace formats {

namespace {

constexpr double kWaistAt = 0.2; // of the length
constexpr double kWaistRadius = 0.1;
constexpr double kStub = 0.4; // length of a bone without children, of the bone above it
constexpr double kLoneLength = 0.1; // metres: a bone with no other bone to go by
constexpr double kShortest = 1e-6; // of the skeleton's extent

Vector sum(const Vector& a, const Vector& b, double factor = 1)
{
    return {a[0] + b[0] * factor, a[1] + b[1] * factor, a[2] + b[2] * factor};
}

Vector cross(const Vector& a, const Vector& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double length(const Vector& v) { return std::hypot(v[0], v[1], v[2]); }

Vector unit(const Vector& v) { return sum({}, v, 1 / length(v)); }

Vector placeOf(const GltfMatrix& world) { return {world[12], world[13], world[14]}; }

void addTriangle(BoneBody& body, std::size_t bone, const Vector& a, const Vector& b, const Vector& c)
{
    const Vector normal = unit(cross(sum(b, a, -1), sum(c, a, -1)));
    for (const Vector& corner : {a, b, c}) {
        body.positions.insert(body.positions.end(), corner.begin(), corner.end());
        body.normals.insert(body.normals.end(), normal.begin(), normal.end());
        body.joints.push_back(static_cast<std::uint16_t>(bone));
    }
}

void addOctahedron(BoneBody& body, std::size_t bone, const Vector& from, const Vector& along)
{
    Vector least{};
    least[std::abs(along[0]) <= std::abs(along[1]) ? 0 : 1] = 1;
    const double radius = length(along) * kWaistRadius;
    const Vector side = sum({}, unit(cross(along, least)), radius);
    const Vector front = sum({}, unit(cross(along, side)), radius); // along, side, front: right-handed
    const Vector to = sum(from, along);
    const Vector waist = sum(from, along, kWaistAt);
    const Vector ring[] = {sum(waist, side), sum(waist, front), sum(waist, side, -1), sum(waist, front, -1)};
    for (std::size_t i = 0; i < 4; ++i) {
        addTriangle(body, bone, ring[i], ring[(i + 1) % 4], to);
        addTriangle(body, bone, ring[(i + 1) % 4], ring[i], from);
    }
}

} // namespace

BoneBody bodyOfBones(const std::vector<GltfBone>& bones, const std::vector<GltfMatrix>& world)
{
    Vector low = placeOf(world.front());
    Vector high = low;
    std::vector<std::vector<std::size_t>> children(bones.size());
    for (std::size_t i = 0; i < bones.size(); ++i) {
        for (std::size_t a = 0; a < 3; ++a) {
            low[a] = std::min(low[a], world[i][12 + a]);
            high[a] = std::max(high[a], world[i][12 + a]);
        }
        if (bones[i].parent >= 0)
            children[static_cast<std::size_t>(bones[i].parent)].push_back(i);
    }
    const double shortest = length(sum(high, low, -1)) * kShortest;
    BoneBody body;
    for (std::size_t i = 0; i < bones.size(); ++i) {
        const Vector from = placeOf(world[i]);
        for (const std::size_t child : children[i])
            if (const Vector along = sum(placeOf(world[child]), from, -1); length(along) > shortest)
                addOctahedron(body, i, from, along);
        if (!children[i].empty() || bones[i].parent < 0)
            continue;
        const Vector above = sum(from, placeOf(world[static_cast<std::size_t>(bones[i].parent)]), -1);
        if (length(above) > shortest)
            addOctahedron(body, i, from, sum({}, above, kStub));
    }
    if (body.joints.empty())
        addOctahedron(body, 0, placeOf(world.front()), {0, kLoneLength, 0});
    return body;
}

} // namespace formats
