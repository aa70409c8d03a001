// SPDX-License-Identifier: MIT
// Boxes around triangles, one inside another: the order stays while a mesh moves, the boxes follow.
#pragma once

#include "refhost/Mesh.h"

#include <cstdint>
#include <vector>

namespace refhost {

struct MeshBox {
    Vector3f low{}, high{};
};

class MeshTree {
public:
    struct Node {
        std::uint32_t first =
            0; ///< of a leaf: place in the order; otherwise the second child, the first follows
        std::uint32_t count = 0; ///< triangles of a leaf; 0 for an inner node
    };

    /// Halves the triangles by their middles along the widest axis until few are left.
    explicit MeshTree(const MeshData& data);

    const std::vector<Node>& nodes() const { return m_Nodes; }
    /// Triangles in the order of the leaves.
    const std::vector<std::uint32_t>& order() const { return m_Order; }
    /// Boxes of all nodes around the points as they stand now.
    std::vector<MeshBox> boxes(const MeshData& data, const std::vector<Vector3f>& points) const;

private:
    struct Range;
    std::vector<Node> m_Nodes;
    std::vector<std::uint32_t> m_Order;
};

} // namespace refhost
