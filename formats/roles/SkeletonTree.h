// SPDX-License-Identifier: MIT
// A skeleton as a tree with lengths: children, reach of each branch, and the chains that limbs are made of.
#pragma once

#include "roles/Points.h"
#include "roles/RoleWords.h"

#include <vector>

namespace formats {

class SkeletonTree {
public:
    /// Joints in parent circles, or whose parent isn't there, count as roots.
    explicit SkeletonTree(const std::vector<RoleJoint>& joints);

    std::size_t size() const { return m_Parents.size(); }
    int parent(int joint) const { return m_Parents[at(joint)]; }
    const std::vector<int>& children(int joint) const { return m_Children[at(joint)]; }
    const NameEvidence& evidence(int joint) const { return m_Evidence[at(joint)]; }
    const std::string& name(int joint) const { return m_Joints[at(joint)].name; }
    const Vector& position(int joint) const { return m_Joints[at(joint)].position; }
    bool endSite(int joint) const { return m_Joints[at(joint)].endSite; }
    /// Length of the longest path from the joint down.
    double reach(int joint) const { return m_Reach[at(joint)]; }
    /// The same from its parent on.
    double reachOfBranch(int joint) const;
    /// Levels above the joint.
    int depth(int joint) const { return m_Depth[at(joint)]; }
    double distance(int a, int b) const { return formats::distance(position(a), position(b)); }
    bool isBelow(int joint, int above) const;
    /// All joints, parents first.
    const std::vector<int>& order() const { return m_Order; }

    /// From `first` down to the end of the longest branch, names of limbs preferred to twists and props; end
    /// points left out.
    std::vector<int> chainFrom(int first) const;
    /// Joints from `from` down to `to`, both included; empty when `to` isn't below.
    std::vector<int> path(int from, int to) const;
    /// The lowest joint above or at both; -1 in different trees.
    int commonAncestor(int a, int b) const;

private:
    static std::size_t at(int joint) { return static_cast<std::size_t>(joint); }

    const std::vector<RoleJoint>& m_Joints;
    std::vector<int> m_Parents;
    std::vector<std::vector<int>> m_Children;
    std::vector<int> m_Order;
    std::vector<int> m_Depth;
    std::vector<double> m_Reach;
    std::vector<NameEvidence> m_Evidence;
};

} // namespace formats
