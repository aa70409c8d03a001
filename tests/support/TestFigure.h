// SPDX-License-Identifier: MIT
// Figures for tests in a line each.
#pragma once

#include "support/DoubleFigure.h"

#include <sinew/IKSolver.h>

#include <deque>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace support {

class TestFigure {
public:
    /// An empty parent makes a root.
    TestFigure& add(const std::string& name, const std::string& parent, float x, float y, float z,
                    Sinew::SinewQuaternion rest = {});
    /// `count` bones name0, name1, ..., each below the one before and displaced by the same step.
    TestFigure& chain(const std::string& name, const std::string& parent, int count, float x, float y,
                      float z);
    /// Makes the solver. Joints are then plain: neither pulled to a pose nor limited, and as fast as a step
    /// is long.
    TestFigure& build();
    /// Makes the solver and leaves the bones as `setBones` does.
    TestFigure& buildBare();

    Sinew::IKSolver* operator->() const { return m_Solver.get(); }
    Sinew::IKSolver& operator*() const { return *m_Solver; }
    Sinew::IKSegment& operator[](const char* name) const { return *m_Solver->findBone(name); }
    std::vector<Sinew::BoneDescriptor>& descriptors() { return m_Descriptors; }

    /// Turns every bone by up to about half a radian about a random axis.
    void poseAtRandom(std::mt19937& random);
    bool isFinite() const;
    /// All orientations and translations as numbers. Reading an orientation normalises it, which may change a
    /// last bit: poses that should be equal bit for bit are read equally often.
    std::vector<float> pose() const;
    DoubleFigure inDouble() const { return DoubleFigure(*m_Solver); }
    /// World place of a point of a bone at the present pose.
    Vec3 point(const char* bone, Vec3 offset = {}) const;

    /// `chain` of bones "b0", "b1", ... with a slight bend, built.
    static TestFigure arm(int count = 4, float boneLength = 1.0f);

private:
    std::deque<std::string> m_Names;
    std::vector<Sinew::BoneDescriptor> m_Descriptors;
    std::unique_ptr<Sinew::IKSolver> m_Solver = std::make_unique<Sinew::IKSolver>();
};

/// Largest difference of two poses, number by number.
float poseDifference(const std::vector<float>& a, const std::vector<float>& b);
/// Uniform in low to high; the same on every standard library.
float uniform(std::mt19937& random, float low, float high);
Sinew::SinewQuaternion randomRotation(std::mt19937& random, float largestAngle = 3.1f);
/// Rotation by `degrees` about axis 0 x, 1 y, 2 z.
Sinew::SinewQuaternion aboutAxis(int axis, double degrees);
void setOrientation(Sinew::IKSegment& bone, const Sinew::SinewQuaternion& q);
/// Angle between two orientations, whatever their signs.
double angleDegrees(const Sinew::SinewQuaternion& a, const Sinew::SinewQuaternion& b);

} // namespace support
