// SPDX-License-Identifier: MIT
// An animation of a glTF file as `track` solves it: the skeleton's nodes as joints, in the world.
#pragma once

#include "formats/Gltf.h"
#include "formats/GltfWriter.h"
#include "track/TrackMotion.h"

namespace app {

/// Joints are the skeleton's nodes, in its order, and rest as the file says, below what stands above the
/// skeleton in the animation's first frame. Lengths are metres of the world, with every scale in them.
class GltfTrackMotion final : public TrackMotion {
public:
    /// An animation of the file with frames at these times in seconds, at least one.
    GltfTrackMotion(formats::Gltf gltf, std::size_t animation, std::vector<double> times);

    /// World transforms of the joints at rest.
    const std::vector<formats::WorldPose>& rest() const { return m_Rest; }
    std::size_t frameCount() const override { return m_Times.size(); }
    const TrackWords& words() const override;
    void cut(std::size_t first, std::size_t last) override;
    TrackPose read(std::size_t frame) const override;
    WrittenPose write(std::size_t frame, const std::vector<formats::LocalPose>& local,
                      const std::vector<bool>& solved) override;
    /// The solved motion in the place of the animation, at the times of the source.
    WrittenMotion finish(const std::string& file, const OutputChoice& choice) override;

private:
    void makeJoints();
    void nameParts();
    void startKeys(const std::vector<bool>& solved);
    formats::GltfClip clip() const;
    /// Of a solved joint, whose parent stands at `above` (null for none), in its parent's space.
    std::array<double, 4> nodeRotation(std::size_t node, const formats::GltfMatrix* above,
                                       const formats::WorldPose& wanted,
                                       const formats::GltfTransform& own) const;
    TrackPose poseOf(const std::vector<formats::GltfMatrix>& nodeWorlds) const;

    formats::Gltf m_Gltf;
    std::size_t m_Animation;
    std::vector<int> m_JointOf; // by node; -1 for those that are no joint
    std::vector<bool> m_Mirrored; // by joint: its axes are left-handed at rest
    std::vector<formats::WorldPose> m_Rest;
    std::vector<double> m_Times; // seconds
    struct Keys {
        int node = 0;
        bool isRoot = false;
        std::vector<std::array<double, 3>> translations; // of a root
        std::vector<std::array<double, 4>> rotations; // x, y, z, w
    };
    std::vector<Keys> m_Keys; // of solved joints
    std::vector<int> m_KeysOf; // by joint, index in m_Keys; -1 for joints that aren't solved
};

} // namespace app
