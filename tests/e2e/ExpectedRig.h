// SPDX-License-Identifier: MIT
// The pose that a rig should show, found by another road: channels straight from the scene, the solver driven
// by hand, and transforms for column vectors in doubles.
#pragma once

#include "e2e/RigScene.h"

#include <sinew/IKSolver.h>

#include <memory>
#include <string>
#include <vector>

namespace e2e {

/// Stands beside a node: made when the node is made, evaluated as often as it is.
///
/// Where nothing is solved (a blend of 0) both roads round doubles differently: kDoubleTolerance. The solved
/// pose is single precision, and the goals of a rig below a moved parent may differ by the last bit of a
/// float before the solve: kSolvedTolerance, for figures a few units in size.
class ExpectedRig {
public:
    ExpectedRig(RigScene& scene, Item& root);

    /// One evaluation, at the host's time.
    void evaluate();

    struct Bone {
        Item* item = nullptr;
        Matrix34 fk, ik, out;
    };
    /// In the order of the walk.
    const std::vector<Bone>& bones() const { return m_Bones; }
    std::vector<Item*> items() const;
    std::vector<Matrix34> pose() const;
    Sinew::IKSolver& solver() { return *m_Solver; }

private:
    struct Task {
        Item* item = nullptr;
        Sinew::IKPositionTask* position = nullptr;
        Sinew::IKOrientationTask* orientation = nullptr;
    };
    void walk(Item& item);
    void addBone(Item& item);
    void configureBones();
    void configureLimits(Item& item, Sinew::IKSegment& bone);
    void configureTasks();
    Matrix34 goal(Item& item, bool position);
    void solve();
    void placeAnimated(Sinew::IKSegment* bone);
    void blend(Sinew::IKSegment* bone, double amount);

    double number(const Item& item, const std::string& channel) { return m_Scene.number(item, channel); }
    bool flag(const Item& item, const std::string& channel) { return m_Scene.integer(item, channel) != 0; }
    Vector3 vector(const Item& item, const std::string& channel) { return m_Scene.vector(item, channel); }

    RigScene& m_Scene;
    Item& m_Root;
    Item& m_SolverItem;
    std::vector<Sinew::BoneDescriptor> m_Descriptors;
    std::vector<Bone> m_Bones;
    std::vector<Task> m_Tasks;
    std::unique_ptr<Sinew::IKSolver> m_Solver = std::make_unique<Sinew::IKSolver>();
    Matrix34 m_ParentWorld, m_ParentWorldInverse;
    Matrix33 m_ParentRotation, m_ParentRotationInverse;
};

inline constexpr double kDoubleTolerance = 1e-12;
inline constexpr double kSolvedTolerance = 2e-6;

} // namespace e2e
