// SPDX-License-Identifier: MIT
// The border between the host's matrices in doubles and the engine's quaternions in singles.
#pragma once

#include <sinew/Matrix4d.h>

inline constexpr double kDegreesPerRadian = 57.29577951308232;

/// Quaternion of the rotation whose host 3x3 is `nine`, row by row; computed in single precision.
Sinew::SinewQuaternion QuaternionOf(const double* nine);
/// Quaternion of the rotation in the block of `matrix`.
Sinew::SinewQuaternion QuaternionOf(const Sinew::Matrix4d& matrix);

/// Rotation about axis 0 x, 1 y or 2 z, for row vectors as Matrix4d has it.
Sinew::Matrix4d AxisRotation(double radians, uint32_t axis);
/// The same for column vectors: a host 3x3 standing in the block of a Matrix4d, untransposed.
Sinew::Matrix4d HostRotation(double radians, uint32_t axis);

/// Length of a vector.
double Length(const double* three);
double Distance(const double* from, const double* to);
bool AreFinite(const double* values, int count);
/// Angle in radians between the rotations in two blocks.
double AngleBetween(const Sinew::Matrix4d& a, const Sinew::Matrix4d& b);
/// The block with rows of length 1, where they differ from it by more than 1e-6; rows of length 0 stay.
Sinew::Matrix4d WithoutScale(Sinew::Matrix4d matrix);
/// Inverse in place of a row-vector transform of any scale above 0; false, and no change, where there is
/// none.
bool InvertTransform(Sinew::Matrix4d& matrix);

/// Spherical interpolation of the blocks of `a` and `b` at `t` of 0 to 1: weights in double, the quaternions
/// and the result in single precision and not normalised again. Only the block of the result is filled.
Sinew::Matrix4d InterpolateBlocks(const Sinew::Matrix4d& a, const Sinew::Matrix4d& b, double t);
