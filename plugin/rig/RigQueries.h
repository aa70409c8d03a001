// SPDX-License-Identifier: MIT
// Small questions about rigs, and the world transforms of items, that several commands ask.
#pragma once

#include "host/CZxScene.h"

#include <sinew/Matrix4d.h>

#include <utility>
#include <vector>

/// Whether the item has links in `ikRefs`: a joint, or a root with at least one joint below it.
bool IsInRig(const CZxUser_ItemGraph& ikRefs, const CZxUser_Item& item);
/// Whether a direct child is a solver item: the root of a rig.
bool HasSolverChild(const CZxUser_Item& item, uint32_t solverType);
/// The solver item among the children of the item or of the nearest locator above it that has one; empty at
/// the top.
CZxUser_Item FindSolverForItem(const CZxUser_Item& item, uint32_t solverType);
/// The item that feeds the position task of the joint, or else its orientation task, if it is a locator.
CZxUser_Item FindLinkedGoal(const CZxUser_ChannelGraph& chanLinks, const CZxUser_Item& joint,
                            uint32_t locatorType);

/// Axes that turn first, second and third in each rotation order, xyz, xzy, yxz, yzx, zxy, zyx.
inline constexpr uint32_t kEulerAxes[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2},
                                              {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
/// Angles in radians about x, y and z of a rotation `m[row][column]` in a rotation order, 0 to 5 for xyz,
/// xzy, yxz, yzx, zxy, zyx; the axis named first turns first. The matrix is made orthonormal first. Always
/// succeeds; at a quarter turn of the middle axis the third angle is 0.
bool MatrixToEuler(const double (&m)[3][3], uint32_t order, double* out);

/// World rotation and position of an item as `read` shows them.
struct WorldTransform {
    double rotation[3][3]; ///< for column vectors
    double position[3];
};
/// False when the item has no transform.
bool ReadWorldTransform(const CZxUser_ChannelRead& read, const CZxUser_Item& item, WorldTransform& out);
/// `item` relative to `base`, both in the world: item times the inverse of base, for row vectors. Throws the
/// host's failure.
Sinew::Matrix4d RelativeTransform(const CZxUser_ChannelRead& read, const CZxUser_Item& item,
                                  const CZxUser_Item& base);
/// The rotation in the block of a row-vector matrix as angles in a rotation order.
void BlockToEuler(const Sinew::Matrix4d& matrix, uint32_t order, double* out);

/// Writes the rest pose that `localMatrix` shows into the joint's rest channels; with `addPackages` makes it
/// a joint first. Throws the host's failure.
void CaptureRestPose(const CZxUser_ChannelRead& read, const CZxUser_ChannelWrite& write,
                     const CZxUser_Item& item, bool addPackages);

/// `name`.X, .Y and .Z as keys at the write's time, made where there are none.
void CreateVectorKeys(const CZxUser_ChannelWrite& write, const CZxUser_Item& item, const char* name,
                      const double* xyz);

/// `name`.X, .Y and .Z; a channel that is missing is skipped. Throws the host's failure.
void WriteVector(const CZxUser_ChannelWrite& write, const CZxUser_Item& item, const char* name,
                 const double* xyz);

/// Calls `enter(parent, child)` for everything below `top`, a parent ahead of its children and those in
/// order; what `enter` answers no to is not gone below.
template <class Enter>
void ForEachBelow(const CZxUser_Item& top, Enter&& enter)
{
    std::vector<std::pair<CZxUser_Item, uint32_t>> path{
        {top, 0}}; // no recursion: hierarchies may be deeper than a stack
    while (!path.empty()) {
        auto& [item, next] = path.back();
        if (next >= item.childCount()) {
            path.pop_back();
            continue;
        }
        CZxUser_Item child = item.child(next++);
        if (child && enter(item, child))
            path.emplace_back(std::move(child), 0);
    }
}
