// SPDX-License-Identifier: MIT
// A figure and its motion apart from any format, and what other formats make of it.
#pragma once

#include "formats/Bvh.h"
#include "formats/Gltf.h"
#include "formats/GltfWriter.h"
#include "formats/HumanoidRoles.h"

#include <array>
#include <string>
#include <vector>

namespace formats {

struct FigureJoint {
    std::string name; // unique, never empty
    int parent = -1; // index in the list, parents come first
    bool endSite = false; // a mere end point
    std::string bone; // of a VRM human, as `leftUpperArm`; empty where it is none
    WorldPose rest;
};

/// Rigid transforms in the world, in the unit and axes of the file.
struct FigureMotion {
    std::string name; // of the motion
    std::vector<FigureJoint> joints;
    std::vector<double> times; // seconds, rising
    std::vector<WorldPose> poses; // all joints of the first time, then of the next
    HumanoidRoles roles; // by joint
    double metresPerUnit = 1;
    std::array<double, 4> upright{0, 0, 0, 1}; // turns its up axis to +Y
};

/// All joints of a BVH motion, at its frames.
FigureMotion figureMotion(const BvhMotion& motion);
/// The skeleton of a glTF file in an animation at these times.
FigureMotion figureMotion(const Gltf& gltf, std::size_t animation, const std::vector<double>& times);

/// A motion of the same joints with channels for every rotation and translation, so that any pose can be
/// put into its frames, which are as many and say the same.
BvhMotion withAllChannels(const BvhMotion& motion);

/// A BVH motion of the figure: each OFFSET is the way from the parent at rest in world axes, roots stand at
/// 0. Joints move in their own channels where their distance from the parent changes. Of the times the first
/// one and the number count: frames lie `frameTime` seconds apart.
BvhMotion figureBvh(const FigureMotion& figure, double frameTime);

/// The bytes of a GLB with the joints as nodes, in metres with +Y up. Channels that would repeat what the
/// node says are left out.
GltfWriteResult figureGlb(const FigureMotion& figure, const GltfSkeletonOptions& options = {});

/// The bytes of a VRM animation: the bones of a human, resting in a T-pose that faces +Z, with the rotations
/// of all and the place of the hips as channels. What is no such bone is left out. Refused where a bone is
/// missing that the format requires.
GltfWriteResult figureVrma(const FigureMotion& figure);

} // namespace formats
