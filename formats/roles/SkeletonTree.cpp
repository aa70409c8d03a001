// SPDX-License-Identifier: MIT
// Builds the tree once, in loops: files with very deep hierarchies exist.
#include "roles/SkeletonTree.h"

#include <algorithm>
#include <utility>

namespace formats {

namespace {

constexpr std::size_t kLongestChain = 24; // no limb has more joints

} // namespace

SkeletonTree::SkeletonTree(const std::vector<RoleJoint>& joints)
    : m_Joints(joints),
      m_Parents(joints.size(), -1),
      m_Children(joints.size()),
      m_Depth(joints.size()),
      m_Reach(joints.size())
{
    const auto count = static_cast<int>(joints.size());
    for (int i = 0; i < count; ++i) {
        const int parent = joints[at(i)].parent;
        if (parent >= 0 && parent < count && parent != i)
            m_Parents[at(i)] = parent;
        m_Evidence.push_back(evidenceOf(joints[at(i)].name));
    }
    for (int i = 0; i < count; ++i) {
        if (m_Parents[at(i)] < 0)
            m_Order.push_back(i);
        else
            m_Children[at(m_Parents[at(i)])].push_back(i);
    }
    // What a circle holds is never reached from a root; it stays out of the order and so out of every search.
    for (std::size_t done = 0; done < m_Order.size(); ++done)
        for (const int child : m_Children[at(m_Order[done])]) {
            m_Depth[at(child)] = m_Depth[at(m_Order[done])] + 1;
            m_Order.push_back(child);
        }
    for (auto joint = m_Order.rbegin(); joint != m_Order.rend(); ++joint)
        if (const int above = m_Parents[at(*joint)]; above >= 0)
            m_Reach[at(above)] = std::max(m_Reach[at(above)], reachOfBranch(*joint));
}

double SkeletonTree::reachOfBranch(int joint) const
{
    const int above = parent(joint);
    return reach(joint) + (above < 0 ? 0 : distance(joint, above));
}

bool SkeletonTree::isBelow(int joint, int above) const
{
    while (joint >= 0 && depth(joint) > depth(above))
        joint = parent(joint);
    return joint == above;
}

std::vector<int> SkeletonTree::chainFrom(int first) const
{
    std::vector<int> chain{first};
    while (chain.size() < kLongestChain) {
        int best = -1;
        double bestWeight = 0;
        for (const int child : children(chain.back())) {
            const NameEvidence& says = evidence(child);
            if (endSite(child) || says.helper || (says.twist && children(child).empty()))
                continue;
            // A bone of no length can still carry the limb.
            double weight = reachOfBranch(child) + 1e-12;
            if (says.fits != 0)
                weight *= says.end ? 1 : 1.5;
            if (best < 0 || weight > bestWeight * (1 + 1e-6)) {
                best = child;
                bestWeight = weight;
            }
        }
        if (best < 0)
            break;
        chain.push_back(best);
    }
    return chain;
}

std::vector<int> SkeletonTree::path(int from, int to) const
{
    std::vector<int> joints;
    for (int joint = to; joint >= 0; joint = parent(joint)) {
        joints.push_back(joint);
        if (joint == from) {
            std::reverse(joints.begin(), joints.end());
            return joints;
        }
    }
    return {};
}

int SkeletonTree::commonAncestor(int a, int b) const
{
    while (a >= 0 && b >= 0 && a != b) {
        int& deeper = depth(a) >= depth(b) ? a : b;
        deeper = parent(deeper);
    }
    return a == b ? a : -1;
}

} // namespace formats
