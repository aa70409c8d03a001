// SPDX-License-Identifier: MIT
// Guesses what a BVH file does not state from the figure in it: up axis, height and unit.
#include "bvh/BvhText.h"
#include "bvh/Channels.h"
#include "bvh/Rotation.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace formats {

namespace {

constexpr double kPersonMetres = 1.7;
constexpr double kLikelyRatio = 1.36; // a person is 1.25 to 2.31 metres tall
constexpr double kUprightShare = 0.9; // of root to head, along the up axis of a figure that stands
constexpr std::size_t kSampledFrames = 7;
constexpr const char* kAxisNames[] = {"X", "Y", "Z"};

struct UnitRow {
    const char* name;
    double metres;
};

constexpr UnitRow kUnits[] = {
    {"metres", 1},      {"decimetres", 0.1},     {"centimetres", 0.01},
    {"inches", 0.0254}, {"6.8 cm units", 0.068}, {"millimetres", 0.001},
};

struct Direction {
    int axis = 1;
    int sign = 1;
    double share = 0; // of the length that lies along the axis

    bool along(const Direction& other) const { return axis == other.axis && sign == other.sign; }
};

Direction directionOf(const Vector& v)
{
    Direction direction;
    double largest = -1;
    for (int a = 0; a < 3; ++a) {
        const double part = v[static_cast<std::size_t>(a)];
        // Y wins a tie, being the commoner up axis.
        if (std::abs(part) > largest || (a == 1 && std::abs(part) == largest)) {
            largest = std::abs(part);
            direction.axis = a;
            direction.sign = part < 0 ? -1 : 1;
        }
    }
    const double length = std::hypot(v[0], v[1], v[2]);
    direction.share = length > 0 ? largest / length : 0;
    return direction;
}

/// The joint with the shortest name that holds `part`, so that "Head" wins over "HeadTop" and "Forehead"; -1
/// if none.
int findNamed(const BvhMotion& motion, std::string_view part)
{
    int found = -1;
    for (std::size_t i = 0; i < motion.joints.size(); ++i) {
        const std::string& name = motion.joints[i].name;
        if (found >= 0 && name.size() >= motion.joints[static_cast<std::size_t>(found)].name.size())
            continue;
        for (std::size_t at = 0; at + part.size() <= name.size(); ++at) {
            if (equalsIgnoringCase(std::string_view(name).substr(at, part.size()), part)) {
                found = static_cast<int>(i);
                break;
            }
        }
    }
    return found;
}

/// The root above each joint.
std::vector<int> rootsOf(const BvhMotion& motion)
{
    std::vector<int> roots(motion.joints.size());
    for (std::size_t i = 0; i < roots.size(); ++i) {
        const int parent = motion.joints[i].parent;
        const bool child = parent >= 0 && static_cast<std::size_t>(parent) < i;
        roots[i] = child ? roots[static_cast<std::size_t>(parent)] : static_cast<int>(i);
    }
    return roots;
}

int largestTree(const std::vector<int>& roots)
{
    std::vector<std::size_t> counts(roots.size());
    for (const int root : roots)
        ++counts[static_cast<std::size_t>(root)];
    return static_cast<int>(std::max_element(counts.begin(), counts.end()) - counts.begin());
}

Vector between(const std::vector<WorldPose>& world, int from, int to)
{
    Vector v{};
    for (std::size_t a = 0; a < 3; ++a)
        v[a] = world[static_cast<std::size_t>(to)].position[a]
            - world[static_cast<std::size_t>(from)].position[a];
    return v;
}

Vector extentOf(const std::vector<WorldPose>& world, const std::vector<int>& roots, int root)
{
    Vector low;
    Vector high;
    low.fill(std::numeric_limits<double>::infinity());
    high.fill(-std::numeric_limits<double>::infinity());
    for (std::size_t i = 0; i < world.size(); ++i) {
        for (std::size_t a = 0; a < 3 && roots[i] == root; ++a) {
            low[a] = std::min(low[a], world[i].position[a]);
            high[a] = std::max(high[a], world[i].position[a]);
        }
    }
    return {high[0] - low[0], high[1] - low[1], high[2] - low[2]};
}

/// Whether the figure stands along one and the same axis in every sampled frame, and which.
bool standsAlong(const BvhMotion& motion, int root, int head, Direction& direction)
{
    const std::size_t samples = std::min(kSampledFrames, motion.frameCount);
    for (std::size_t i = 0; i < samples; ++i) {
        const std::size_t frame = samples == 1 ? 0 : (motion.frameCount - 1) / (samples - 1) * i;
        const Direction here = directionOf(between(worldPose(motion, localPose(motion, frame)), root, head));
        if (here.share < kUprightShare || (i != 0 && !here.along(direction)))
            return false;
        direction = here;
    }
    return samples != 0;
}

std::string rounded(double value)
{
    char buffer[32];
    return std::string(
        buffer, std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 3).ptr);
}

std::string axisText(int axis, int sign) { return std::string(sign < 0 ? "-" : "+") + kAxisNames[axis]; }

void guessUnit(FigureGuess& guess, bool headKnown)
{
    guess.unit = "unknown";
    if (!(guess.height > 0)) {
        guess.why += "; the figure has no height, so its unit is unknown";
        return;
    }
    double best = std::numeric_limits<double>::infinity();
    for (const UnitRow& unit : kUnits) {
        const double ratio = std::abs(std::log(guess.height * unit.metres / kPersonMetres));
        if (ratio < best) {
            best = ratio;
            guess.unit = unit.name;
            guess.metresPerUnit = unit.metres;
        }
    }
    const bool likely = best <= std::log(kLikelyRatio);
    guess.confident = likely && headKnown;
    guess.why += "; it is " + rounded(guess.height) + " units tall, which in " + guess.unit + " is "
        + rounded(guess.height * guess.metresPerUnit) + " m";
    if (!likely)
        guess.why += ": no usual unit makes it as tall as a person, this one comes nearest";
}

} // namespace

FigureGuess guessFigure(const BvhMotion& motion)
{
    FigureGuess guess;
    if (motion.joints.empty()) {
        guess.unit = "unknown";
        guess.why = "there is no figure";
        return guess;
    }
    const std::vector<int> roots = rootsOf(motion);
    int head = findNamed(motion, "head");
    if (head < 0)
        head = findNamed(motion, "neck");
    const int root = head >= 0 ? roots[static_cast<std::size_t>(head)] : largestTree(roots);

    // Where position channels carry the bones, the rest pose is a heap of joints; the first frame shows the
    // figure.
    std::vector<WorldPose> world = worldPose(motion, restPose(motion));
    Vector extent = extentOf(world, roots, root);
    const char* pose = "rest pose";
    if (motion.frameCount != 0) {
        std::vector<WorldPose> first = worldPose(motion, localPose(motion, 0));
        const Vector firstExtent = extentOf(first, roots, root);
        if (std::hypot(extent[0], extent[1], extent[2])
            < 0.05 * std::hypot(firstExtent[0], firstExtent[1], firstExtent[2])) {
            world = std::move(first);
            extent = firstExtent;
            pose = "first frame";
        }
    }
    const Vector toHead = head >= 0 ? between(world, root, head) : Vector{};
    const bool headKnown = std::hypot(toHead[0], toHead[1], toHead[2]) > 0;
    Direction up = headKnown ? directionOf(toHead) : directionOf(extent);
    guess.height = extent[static_cast<std::size_t>(up.axis)];
    if (headKnown)
        guess.why = "in the " + std::string(pose) + " "
            + quoted(motion.joints[static_cast<std::size_t>(head)].name) + " lies along "
            + axisText(up.axis, up.sign) + " from the root";
    else
        guess.why = "no head is named, so the longest side of the " + std::string(pose) + ", "
            + axisText(up.axis, up.sign) + ", is taken as up";
    Direction stands;
    if (headKnown && standsAlong(motion, root, head, stands) && !stands.along(up)) {
        // A root that turns the figure onto another axis all through the motion says more than the rest pose.
        up = stands;
        guess.why += ", but all through the motion along " + axisText(up.axis, up.sign);
    }
    guess.upAxis = up.axis;
    guess.upSign = up.sign;
    guessUnit(guess, headKnown);
    return guess;
}

} // namespace formats
