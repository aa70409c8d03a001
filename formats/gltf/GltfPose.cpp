// SPDX-License-Identifier: MIT
// Poses of a glTF file: rest, animations at a time, and the world.
#include "bvh/Rotation.h"
#include "formats/Gltf.h"

#include <algorithm>
#include <cmath>

namespace formats {

namespace {

using Value = std::array<double, 4>;

// Seconds between frames.
constexpr double kShortestStep = 1e-3, kLongestStep = 0.1;
constexpr double kUsualStep = 1.0 / 30; // where the keys tell nothing
constexpr double kMostFrames =
    1e6; // animations that claim to last longer get no more times than they have keys

/// Value, or tangent, number `part` of a key; three components leave the fourth 0.
Value partOf(const GltfTrack& track, std::size_t key, std::size_t part, std::size_t partCount)
{
    const std::size_t width = track.path == GltfPath::Rotation ? 4 : 3;
    Value value{};
    for (std::size_t c = 0; c < width; ++c)
        value[c] = track.values[(key * partCount + part) * width + c];
    return value;
}

Value mixed(const Value& a, double weightA, const Value& b, double weightB)
{
    Value value;
    for (std::size_t c = 0; c < 4; ++c)
        value[c] = a[c] * weightA + b[c] * weightB;
    return value;
}

/// Along the shorter arc: sin((1-t) w) / sin(w) a + sin(t w) / sin(w) b; near 0 the weights are linear.
Value slerp(const Value& a, Value b, double t)
{
    double cosine = a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
    if (cosine < 0) {
        b = mixed(b, -1, b, 0);
        cosine = -cosine;
    }
    if (cosine > 0.9999995)
        return normalised(mixed(a, 1 - t, b, t));
    const double angle = std::acos(std::min(cosine, 1.0));
    const double sine = std::sin(angle);
    return normalised(mixed(a, std::sin((1 - t) * angle) / sine, b, std::sin(t * angle) / sine));
}

/// Hermite spline between two keys `span` seconds apart:
/// (2t3 - 3t2 + 1) v0 + span (t3 - 2t2 + t) out0 + (-2t3 + 3t2) v1 + span (t3 - t2) in1.
Value cubic(const GltfTrack& track, std::size_t key, double t, double span)
{
    const double t2 = t * t;
    const double t3 = t2 * t;
    const Value values =
        mixed(partOf(track, key, 1, 3), 2 * t3 - 3 * t2 + 1, partOf(track, key + 1, 1, 3), -2 * t3 + 3 * t2);
    const Value tangents = mixed(partOf(track, key, 2, 3), span * (t3 - 2 * t2 + t),
                                 partOf(track, key + 1, 0, 3), span * (t3 - t2));
    return mixed(values, 1, tangents, 1);
}

Value valueAt(const GltfTrack& track, double time)
{
    const bool spline = track.interpolation == GltfInterpolation::CubicSpline;
    const auto key = [&](std::size_t index) { return partOf(track, index, spline ? 1 : 0, spline ? 3 : 1); };
    // Written so that a time that is no number takes the first key.
    if (!(time > track.times.front()))
        return key(0);
    if (time >= track.times.back())
        return key(track.times.size() - 1);
    const auto after = std::upper_bound(track.times.begin(), track.times.end(), time);
    const auto index = static_cast<std::size_t>(after - track.times.begin()) - 1;
    if (track.interpolation == GltfInterpolation::Step)
        return key(index);
    const double span = track.times[index + 1] - track.times[index];
    const double t = (time - track.times[index]) / span;
    if (spline)
        return cubic(track, index, t, span);
    if (track.path == GltfPath::Rotation)
        return slerp(normalised(key(index)), normalised(key(index + 1)), t);
    return mixed(key(index), 1 - t, key(index + 1), t);
}

void apply(const GltfTrack& track, double time, GltfTransform& transform)
{
    const Value value = sampleTrack(track, time);
    if (track.path == GltfPath::Rotation)
        transform.rotation = value;
    else
        (track.path == GltfPath::Translation ? transform.translation : transform.scale) = {value[0], value[1],
                                                                                           value[2]};
}

} // namespace

GltfPose nodePose(const Gltf& gltf)
{
    GltfPose pose;
    for (const GltfNode& node : gltf.nodes)
        pose.push_back(node.transform);
    return pose;
}

GltfPose restPose(const Gltf& gltf)
{
    GltfPose pose;
    for (const GltfNode& node : gltf.nodes)
        pose.push_back(node.rest);
    return pose;
}

GltfPose sampleAnimation(const Gltf& gltf, std::size_t animation, double time)
{
    GltfPose pose = nodePose(gltf);
    if (animation < gltf.animations.size())
        for (const GltfTrack& track : gltf.animations[animation].tracks)
            apply(track, time, pose[static_cast<std::size_t>(track.node)]);
    return pose;
}

Value sampleTrack(const GltfTrack& track, double time)
{
    const Value value = valueAt(track, time);
    return track.path == GltfPath::Rotation ? normalised(value) : value;
}

double frameStep(const GltfAnimation& animation)
{
    const GltfTrack* longest = nullptr;
    for (const GltfTrack& track : animation.tracks)
        if (!longest || track.times.size() > longest->times.size())
            longest = &track;
    if (!longest || longest->times.size() < 2)
        return kUsualStep;
    std::vector<double> steps;
    for (std::size_t i = 1; i < longest->times.size(); ++i)
        steps.push_back(longest->times[i] - longest->times[i - 1]);
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    return *middle >= kShortestStep && *middle <= kLongestStep ? *middle : kUsualStep;
}

std::vector<double> withoutGaps(const std::vector<double>& times)
{
    if (times.empty() || (times.back() - times.front()) / kUsualStep > kMostFrames)
        return times;
    std::vector<double> out;
    for (const double time : times) {
        const double gap = out.empty() ? 0 : time - out.back();
        const double parts = gap > kLongestStep ? std::ceil(gap / kUsualStep - 1e-9) : 1;
        for (double i = 1; i < parts; ++i)
            out.push_back(time - gap * (1 - i / parts));
        out.push_back(time);
    }
    return out;
}

std::vector<double> frameTimes(const GltfAnimation& animation)
{
    std::vector<double> keys;
    for (const GltfTrack& track : animation.tracks)
        keys.insert(keys.end(), track.times.begin(), track.times.end());
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    return withoutGaps(keys);
}

std::vector<GltfMatrix> worldMatrices(const Gltf& gltf, const GltfPose& pose)
{
    std::vector<GltfMatrix> world(gltf.nodes.size(), kGltfIdentity);
    for (const int index : gltf.order) {
        const auto i = static_cast<std::size_t>(index);
        const GltfNode& node = gltf.nodes[i];
        const GltfMatrix local =
            node.sheared ? node.matrix : localMatrix(i < pose.size() ? pose[i] : node.transform);
        world[i] = node.parent < 0 ? local : multiply(world[static_cast<std::size_t>(node.parent)], local);
    }
    return world;
}

} // namespace formats
