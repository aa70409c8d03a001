// SPDX-License-Identifier: MIT
// The pose tool's arithmetic: handle sizes, screen turns, and angles without jumps.
#pragma once

#include <sinew/Matrix4d.h>
#include <zx/ZxEvent.h>

/// Axis along which a bone with this offset of its first child lies: 0 x, 1 y, 2 z. The signed components are
/// compared, and z counts where the largest is there twice.
uint32_t MajorAxis(const double* offset);
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
