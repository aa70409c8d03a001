// SPDX-License-Identifier: MIT
// The space above the chain of a drag.
#pragma once

#include <sinew/Matrix4d.h>

/// Where a chain hangs: the world transform of the item above its top.
class ChainFrame {
public:
    /// The world itself.
    ChainFrame() = default;
    /// From `wposMatrix`, `wrotMatrix` and the diagonal of `wsclMatrix`, in row-vector form.
    ChainFrame(const double* position, const Sinew::Matrix4d& rotation, const double* scale);

    /// A world position in the frame. Not finite when the scale is 0.
    void toChain(const double* world, double* local) const;
    /// The same without the scale.
    void turnToChain(const double* world, double* local) const;
    /// A world rotation in the frame.
    Sinew::Matrix4d toChain(const Sinew::Matrix4d& rotation) const;
    /// What takes the frame into the world.
    const Sinew::Matrix4d& world() const { return m_World; }

private:
    Sinew::Matrix4d m_World;
    Sinew::Matrix4d m_RotationInverse;
    double m_Scale[3] = {1, 1, 1};
};
