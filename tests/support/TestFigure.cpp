// SPDX-License-Identifier: MIT
// Builders and small measures of figures under test.
#include "support/TestFigure.h"

namespace support {

using namespace Sinew;

TestFigure& TestFigure::add(const std::string& name, const std::string& parent, float x, float y, float z,
                            SinewQuaternion rest)
{
    BoneDescriptor d;
    d.name = m_Names.emplace_back(name).c_str();
    d.parent_name = parent.empty() ? nullptr : m_Names.emplace_back(parent).c_str();
    const float translation[3] = {x, y, z}, orientation[4] = {rest.w(), rest.x(), rest.y(), rest.z()};
    std::copy(translation, translation + 3, d.rest_translation);
    std::copy(orientation, orientation + 4, d.rest_orientation);
    m_Descriptors.push_back(d);
    return *this;
}

TestFigure& TestFigure::chain(const std::string& name, const std::string& parent, int count, float x, float y,
                              float z)
{
    for (int i = 0; i < count; ++i)
        add(name + std::to_string(i), i ? name + std::to_string(i - 1) : parent, x, y, z);
    return *this;
}

TestFigure& TestFigure::buildBare()
{
    m_Solver->setBones(m_Descriptors.data(), static_cast<std::uint32_t>(m_Descriptors.size()));
    return *this;
}

TestFigure& TestFigure::build()
{
    buildBare();
    m_Solver->setFullRetargeting(false);
    for (std::uint32_t i = 0; i < m_Solver->boneCount(); ++i) {
        m_Solver->bone(i)->setHoldOrientation(false);
        m_Solver->bone(i)->enableLimits(false);
    }
    m_Solver->updateFigure();
    return *this;
}

void TestFigure::poseAtRandom(std::mt19937& random)
{
    for (std::uint32_t i = 0; i < m_Solver->boneCount(); ++i) {
        IKSegment& bone = *m_Solver->bone(i);
        setOrientation(bone, bone.getOrientation() * randomRotation(random, 0.6f));
    }
}

std::vector<float> TestFigure::pose() const
{
    std::vector<float> values;
    for (std::uint32_t i = 0; i < m_Solver->boneCount(); ++i) {
        const SinewQuaternion q = m_Solver->bone(i)->getOrientation();
        const SinewVector t = m_Solver->bone(i)->getTranslation();
        values.insert(values.end(), {q.x(), q.y(), q.z(), q.w(), t.x(), t.y(), t.z()});
    }
    return values;
}

bool TestFigure::isFinite() const
{
    for (const float value : pose())
        if (!std::isfinite(value))
            return false;
    return true;
}

Vec3 TestFigure::point(const char* bone, Vec3 offset) const
{
    return inDouble().point(m_Solver->findBone(bone)->getIndex(), offset);
}

TestFigure TestFigure::arm(int count, float boneLength)
{
    TestFigure figure;
    figure.add("b0", "", 0, 0, 0);
    for (int i = 1; i < count; ++i)
        figure.add("b" + std::to_string(i), "b" + std::to_string(i - 1), 0.1f * boneLength, boneLength,
                   (i % 2 ? 0.05f : -0.05f) * boneLength);
    figure.build();
    return figure;
}

float poseDifference(const std::vector<float>& a, const std::vector<float>& b)
{
    float worst = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        worst = std::max(worst, std::fabs(a[i] - b[i]));
    return worst;
}

float uniform(std::mt19937& random, float low, float high)
{
    return low + (high - low) * (static_cast<float>(random() >> 8) / 16777216.0f);
}

SinewQuaternion randomRotation(std::mt19937& random, float largestAngle)
{
    // Braces fix the order of the three draws, parentheses don't.
    const SinewVector axis{uniform(random, -1, 1), uniform(random, -1, 1), uniform(random, -1, 1)};
    return fromRotationVector(axis, uniform(random, 0, largestAngle));
}

SinewQuaternion aboutAxis(int axis, double degrees)
{
    const double half = degrees * 3.14159265358979323846 / 360;
    float q[4] = {0, 0, 0, static_cast<float>(std::cos(half))};
    q[axis] = static_cast<float>(std::sin(half));
    return SinewQuaternion(q[0], q[1], q[2], q[3]);
}

void setOrientation(IKSegment& bone, const SinewQuaternion& q)
{
    bone.setOrientation(q.x(), q.y(), q.z(), q.w());
}

double angleDegrees(const SinewQuaternion& a, const SinewQuaternion& b)
{
    return length(rotationVector(transposed(matrixOf(a)) * matrixOf(b))) * 57.29577951308232;
}

} // namespace support
