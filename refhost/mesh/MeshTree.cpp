// SPDX-License-Identifier: MIT
// Building the order of triangles, and fitting boxes to points.
#include "mesh/MeshTree.h"

#include <algorithm>
#include <numeric>

namespace refhost {
namespace {

constexpr std::uint32_t kLeafTriangles = 4;

void include(MeshBox& box, const Vector3f& point)
{
    for (std::size_t a = 0; a < 3; ++a) {
        box.low[a] = std::min(box.low[a], point[a]);
        box.high[a] = std::max(box.high[a], point[a]);
    }
}

std::size_t widestAxis(const MeshBox& box)
{
    const Vector3f size{box.high[0] - box.low[0], box.high[1] - box.low[1], box.high[2] - box.low[2]};
    return static_cast<std::size_t>(std::max_element(size.begin(), size.end()) - size.begin());
}

} // namespace

struct MeshTree::Range {
    std::uint32_t begin, end, node;
};

MeshTree::MeshTree(const MeshData& data)
{
    const auto count = static_cast<std::uint32_t>(data.triangles.size());
    if (count == 0)
        return;
    std::vector<Vector3f> middles(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        for (std::size_t a = 0; a < 3; ++a) {
            for (const std::uint32_t point : data.triangles[i])
                middles[i][a] += data.points[point][a] / 3;
        }
    }
    m_Order.resize(count);
    std::iota(m_Order.begin(), m_Order.end(), 0u);
    std::vector<Range> open{{0, count, 0}};
    while (!open.empty()) {
        const Range range = open.back();
        open.pop_back();
        const auto index = static_cast<std::uint32_t>(m_Nodes.size());
        if (range.node > 0)
            m_Nodes[range.node - 1].first = index;
        if (range.end - range.begin <= kLeafTriangles) {
            m_Nodes.push_back({range.begin, range.end - range.begin});
            continue;
        }
        MeshBox box{middles[m_Order[range.begin]], middles[m_Order[range.begin]]};
        for (std::uint32_t i = range.begin; i < range.end; ++i)
            include(box, middles[m_Order[i]]);
        const std::size_t axis = widestAxis(box);
        const std::uint32_t half = range.begin + (range.end - range.begin) / 2;
        // Equal middles fall back on the index, so that every standard library builds the same tree.
        std::nth_element(m_Order.begin() + range.begin, m_Order.begin() + half, m_Order.begin() + range.end,
                         [&](std::uint32_t a, std::uint32_t b) {
                             return middles[a][axis] != middles[b][axis] ? middles[a][axis] < middles[b][axis]
                                                                         : a < b;
                         });
        m_Nodes.push_back({0, 0});
        open.push_back({half, range.end, index + 1});
        open.push_back({range.begin, half, 0}); // comes next, right behind its parent
    }
}

std::vector<MeshBox> MeshTree::boxes(const MeshData& data, const std::vector<Vector3f>& points) const
{
    std::vector<MeshBox> boxes(m_Nodes.size());
    for (std::size_t i = m_Nodes.size(); i-- > 0;) { // children stand behind their parents
        const Node& node = m_Nodes[i];
        if (node.count == 0) {
            boxes[i] = boxes[i + 1];
            include(boxes[i], boxes[node.first].low);
            include(boxes[i], boxes[node.first].high);
            continue;
        }
        const Vector3f& start = points[data.triangles[m_Order[node.first]][0]];
        boxes[i] = {start, start};
        for (std::uint32_t t = node.first; t < node.first + node.count; ++t) {
            for (const std::uint32_t point : data.triangles[m_Order[t]])
                include(boxes[i], points[point]);
        }
    }
    return boxes;
}

} // namespace refhost
