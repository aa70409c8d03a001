// SPDX-License-Identifier: MIT
// Source and target in one scene of the host, paired and evaluated by the plug-in.
#pragma once

#include "retarget/RetargetFit.h"

#include <refhost/Evaluation.h>
#include <refhost/Host.h>
#include <refhost/MotionImport.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace app {

struct RetargetSettings {
    std::uint32_t steps = 200; ///< bound of the iterations of a frame
    double tolerance = 1e-4; ///< largest joint step (radians, target units) that ends a solve
    std::size_t animation = 0; ///< of a glTF source
    bool positions = true; ///< hands, feet and hips follow positions too
};

/// What the target's joint is to reach.
struct PositionGoal {
    int source = 0, target = 0; ///< joints
    formats::JointRole role;
    refhost::Vector3 shift{}; ///< in the source joint's frame, target units
};

class RetargetScene {
public:
    /// Imports, rigs and pairs. Throws BadInput for figures that can't be rigged. The host must have the
    /// plug-in and outlive the scene.
    RetargetScene(refhost::Host& host, const FigureFile& source, const FigureFile& target,
                  const JointMap& map, const RetargetSettings& settings);
    ~RetargetScene();

    std::size_t frameCount() const { return m_FrameCount; }
    double frameSeconds() const { return m_FrameSeconds; }
    const RetargetFit& fit() const { return m_Fit; }
    const std::vector<PositionGoal>& goals() const { return m_Goals; }
    /// Target joints that the rig moves, parents first.
    const std::vector<int>& rigJoints() const { return m_RigJoints; }
    const RestFigure& sourceRest() const { return m_SourceRest; } ///< in the target's axes and size
    const RestFigure& targetRest() const { return m_TargetRest; }

    /// Everything below is of this frame from now on.
    void setFrame(std::size_t frame);
    double seconds(std::size_t frame) const
    {
        return m_StartSeconds + static_cast<double>(frame) * m_FrameSeconds;
    }
    /// World transform of a source joint, in the target's axes and size, its arms as long as the target's.
    RestJoint source(int joint);
    RestJoint target(int joint);
    /// Where a goal is.
    refhost::Vector3 goal(const PositionGoal& goal);
    /// Transform in the parent's space.
    RestJoint targetLocal(int joint);
    RestJoint sourceLocal(int joint);
    /// How much higher the target's feet at rest stand in the scene than the source's, when both touch the
    /// same floor; heights over the feet at rest compare across the figures with it.
    double floorShift() const;
    bool converged();
    std::uint32_t iterations();

    RetargetScene(const RetargetScene&) = delete;
    RetargetScene& operator=(const RetargetScene&) = delete;

private:
    struct Watched {
        refhost::Channel* position = nullptr;
        refhost::Channel* rotation = nullptr;
    };

    void import(const FigureFile& source, const FigureFile& target);
    void findRig();
    void normalise();
    void bakeSource();
    void layOver();
    void scaleItem(int source, double scale);
    void placeJoint(int source, const refhost::Vector3& fromHips);
    void settle();
    refhost::Vector3 goalShift(std::size_t pair);
    void rig();
    void pair();
    int clavicleAbove(int upperArm) const;
    bool hasGoal(const MapPair& pair) const;
    void tune();
    void tuneGoal(const PositionGoal& goal);
    bool isAbove(int above, int joint) const;
    int parentOf(int joint) const { return m_TargetFile.joints[static_cast<std::size_t>(joint)].parent; }
    refhost::Item* transformItem(refhost::Item& item, refhost::TransformKind kind);
    void run(const std::string& line);
    RestFigure restOf(const FigureFile& file, const std::vector<refhost::Item*>& items);
    RestJoint world(const Watched& joint);
    refhost::Item* itemOf(int target) const { return m_TargetItems[static_cast<std::size_t>(target)]; }
    void set(refhost::Item& item, const std::string& channel, double value);
    void changeChannel(refhost::Channel& channel, const std::function<double(double)>& change);

    refhost::Host& m_Host;
    refhost::Scene& m_Scene;
    RetargetSettings m_Settings;
    std::size_t m_FrameCount = 0;
    double m_FrameSeconds = 0, m_StartSeconds = 0;
    std::vector<refhost::Item*> m_Drivers; ///< by pair: what drives the target's orientation
    std::vector<refhost::Item*> m_SourceItems, m_TargetItems, m_SourceRoots;
    std::vector<Watched> m_SourceJoints, m_TargetJoints;
    const FigureFile& m_SourceFile;
    const FigureFile& m_TargetFile;
    JointMap m_Map; ///< with the rig's root, where that has no partner of its own
    refhost::Item* m_Solver = nullptr;
    RestFigure m_SourceRest, m_TargetRest;
    RetargetFit m_Fit;
    std::vector<PositionGoal> m_Goals;
    std::vector<int> m_RigJoints;
    std::vector<bool> m_InRig;
    double m_Time = 0;
};

} // namespace app
