// SPDX-License-Identifier: MIT
// The pose tool's arithmetic: handle sizes, screen turns, angles without jumps, and the space above a chain.
#pragma once

#include <sinew/Matrix4d.h>
#include <zx/ZxEvent.h>

/// Axis along which a bone with this offset of its first child lies: 0 x, 1 y, 2 z. The signed components are
/// compared, and a tie goes to the later axis.
uint32_t MajorAxis(const double* offset);
/// Length of a vector.
double Length(const double* three);
/// Radius of a joint's handle, scene units: from its bone's length, within 4 to 12 times the view's pixel
/// size.
double HandleRadius(double boneLength, bool isLocked, double pixelSize);
/// Turn of a rotation drag in degrees: a quarter of one for each pixel, with the sign of the motion to the
/// right.
double ScreenTurnDegrees(const ZxToolScreenEvent& event);

/// Picks, of the angles (radians about x, y, z in a rotation order) that give the same rotation, those
/// without a jump from `current`: the other solution when the outer two are both half a turn ahead, then
/// whole turns.
void MatchEuler(const double* current, double* angles, int32_t order);

/// Inverse in place of a row-vector transform of any scale above 0; false, and no change, where there is
/// none.
bool InvertTransform(Sinew::Matrix4d& matrix);

/// Where a chain hangs: the world transform of the item above its top.
class ChainFrame {
public:
    /// The world itself.
    ChainFrame() = default;
    /// From `wposMatrix`, `wrotMatrix` and the diagonal of `wsclMatrix`, in row-vector form.
    ChainFrame(const double* position, const Sinew::Matrix4d& rotation, const double* scale);

    /// A world position in the frame. Not finite when the scale is 0.
    void toChain(const double* world, double* local) const;
    /// A world rotation in the frame.
    Sinew::Matrix4d toChain(const Sinew::Matrix4d& rotation) const;

private:
    double m_Position[3] = {0, 0, 0};
    Sinew::Matrix4d m_RotationInverse;
    double m_Scale[3] = {1, 1, 1};
};
