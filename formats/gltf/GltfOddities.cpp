// SPDX-License-Identifier: MIT
// What a user should know about a figure and its motion before trusting a rig made of them.
#include "bvh/BvhText.h"
#include "gltf/GltfReader.h"

#include <algorithm>
#include <cmath>

namespace formats {

namespace {

constexpr double kTallest = 10; // metres; above it a figure is hardly in metres
constexpr double kEqualScale = 1e-3;
constexpr double kZeroLength = 1e-6; // of the extent of the skeleton

std::string shortNumber(double value)
{
    std::string text;
    appendFixed(text, value, std::abs(value) < 0.1 ? 6 : 3);
    return text;
}

double axisLength(const GltfMatrix& m, std::size_t c)
{
    return std::hypot(m[c * 4], m[c * 4 + 1], m[c * 4 + 2]);
}

bool mirrored(const GltfMatrix& m)
{
    return m[0] * (m[5] * m[10] - m[6] * m[9]) + m[1] * (m[6] * m[8] - m[4] * m[10])
        + m[2] * (m[4] * m[9] - m[5] * m[8])
        < 0;
}

class Oddities {
public:
    explicit Oddities(Gltf& gltf) : m_Gltf(gltf), m_World(worldMatrices(gltf, restPose(gltf)))
    {
        m_Member.resize(gltf.nodes.size());
        for (const int index : gltf.skeleton)
            m_Member[static_cast<std::size_t>(index)] = true;
        for (const int index : gltf.skeleton) {
            const int parent = at(index).parent;
            if (parent < 0 || !m_Member[static_cast<std::size_t>(parent)])
                m_Roots.push_back(index);
        }
    }

    void tellAll()
    {
        tellRoots();
        tellAbove();
        tellScales();
        tellSize();
        tellStarts();
    }

private:
    const GltfNode& at(int index) const { return m_Gltf.nodes[static_cast<std::size_t>(index)]; }
    const GltfMatrix& worldAt(int index) const { return m_World[static_cast<std::size_t>(index)]; }
    void tell(std::string place, std::string text)
    {
        m_Gltf.notes.push_back({std::move(place), std::move(text)});
    }
    static std::string nodePlace(int index) { return "nodes[" + std::to_string(index) + "]"; }

    void tellRoots()
    {
        if (m_Roots.size() < 2)
            return;
        if (m_Roots.size() == m_Gltf.skeleton.size())
            tell("nodes",
                 "none of the " + std::to_string(m_Roots.size())
                     + " joints stands below another: the skeleton has no hierarchy");
        else
            tell("nodes", "the skeleton has " + std::to_string(m_Roots.size()) + " roots");
    }

    /// What stands above the skeleton turns or scales all of it.
    void tellAbove()
    {
        if (m_Roots.empty() || at(m_Roots.front()).parent < 0)
            return;
        const int parent = at(m_Roots.front()).parent;
        const GltfMatrix& above = worldAt(parent);
        const double x = axisLength(above, 0);
        const double y = axisLength(above, 1);
        const double z = axisLength(above, 2);
        const double largest = std::max({x, y, z});
        if (std::min({x, y, z}) < largest * (1 - kEqualScale))
            tell(nodePlace(parent),
                 "the skeleton stands below a scale of " + shortNumber(x) + ", " + shortNumber(y) + ", "
                     + shortNumber(z) + ", which is not the same along all axes");
        else if (std::abs(largest - 1) > kEqualScale)
            tell(nodePlace(parent), "the skeleton stands below a scale of " + shortNumber(largest));
        if (mirrored(above))
            tell(nodePlace(parent), "the skeleton stands below a mirroring");
    }

    void tellScales()
    {
        std::size_t scaled = 0;
        std::size_t flipped = 0;
        std::size_t onParent = 0;
        int firstOnParent = 0;
        const double extent = skeletonExtent();
        for (const int index : m_Gltf.skeleton) {
            const GltfNode& node = at(index);
            const auto [low, high] = std::minmax(
                {std::abs(node.rest.scale[0]), std::abs(node.rest.scale[1]), std::abs(node.rest.scale[2])});
            scaled += std::abs(low - 1) > kEqualScale || std::abs(high - 1) > kEqualScale;
            flipped += node.rest.scale[0] * node.rest.scale[1] * node.rest.scale[2] < 0;
            const bool isRoot = node.parent < 0 || !m_Member[static_cast<std::size_t>(node.parent)];
            if (!isRoot && distance(index, node.parent) <= kZeroLength * extent && onParent++ == 0)
                firstOnParent = index;
        }
        if (scaled > 0)
            tell("nodes", std::to_string(scaled) + " joint" + (scaled == 1 ? " has" : "s have") + " a scale");
        if (flipped > 0)
            tell("nodes",
                 std::to_string(flipped) + " joint" + (flipped == 1 ? " is" : "s are") + " mirrored");
        if (onParent > 0)
            tell(nodePlace(firstOnParent),
                 formats::quoted(at(firstOnParent).name) + " lies on its parent: a bone without length"
                     + (onParent > 1 ? "; so do " + std::to_string(onParent - 1) + " more" : ""));
    }

    double distance(int a, int b) const
    {
        return std::hypot(worldAt(a)[12] - worldAt(b)[12], worldAt(a)[13] - worldAt(b)[13],
                          worldAt(a)[14] - worldAt(b)[14]);
    }

    double skeletonExtent() const
    {
        double extent = 0;
        for (std::size_t a = 12; a < 15; ++a) {
            double low = INFINITY;
            double high = -INFINITY;
            for (const int index : m_Gltf.skeleton) {
                low = std::min(low, worldAt(index)[a]);
                high = std::max(high, worldAt(index)[a]);
            }
            extent = std::max(extent, high - low);
        }
        return extent;
    }

    void tellSize()
    {
        if (const double extent = skeletonExtent(); extent > kTallest)
            tell("nodes",
                 "the skeleton extends over " + shortNumber(extent)
                     + " metres; the file is probably not in metres, as glTF demands");
    }

    void tellStarts()
    {
        for (std::size_t i = 0; i < m_Gltf.animations.size(); ++i)
            if (const GltfAnimation& animation = m_Gltf.animations[i]; animation.start > 0)
                tell("animations[" + std::to_string(i) + "]",
                     "the first key is at " + shortNumber(animation.start) + " s; it is held from 0 on");
    }

    Gltf& m_Gltf;
    std::vector<GltfMatrix> m_World;
    std::vector<bool> m_Member;
    std::vector<int> m_Roots;
};

} // namespace

void noteOddities(Gltf& gltf) { Oddities(gltf).tellAll(); }

} // namespace formats
