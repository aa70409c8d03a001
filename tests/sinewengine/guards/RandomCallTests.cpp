// SPDX-License-Identifier: MIT
// Thousands of random public operations with sane and absurd arguments: nothing may crash or hang.
#include "support/TestFigure.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace {

using namespace Sinew;
using namespace support;

class RandomCalls {
public:
    explicit RandomCalls(unsigned seed) : m_Random(seed) { makeFigure(); }

    void run(int count)
    {
        for (int i = 0; i < count; ++i)
            operate();
    }
    TestFigure& figure() { return m_Figure; }

private:
    std::uint32_t index(std::uint32_t end) { return end ? static_cast<std::uint32_t>(m_Random() % end) : 0; }
    bool coin() { return m_Random() & 64; }
    /// Mostly plain numbers.
    float number()
    {
        static constexpr float odd[] = {0.0f,
                                        -0.0f,
                                        1e-38f,
                                        1e30f,
                                        -3e38f,
                                        std::numeric_limits<float>::infinity(),
                                        -std::numeric_limits<float>::infinity(),
                                        std::numeric_limits<float>::quiet_NaN()};
        return index(40) == 0 ? odd[index(8)] : uniform(m_Random, -2, 2);
    }
    std::uint32_t axis() { return index(30) == 0 ? m_Random() : index(4); }
    std::string name() { return index(20) == 0 ? "nobody" : "n" + std::to_string(index(m_Count)); }
    IKSegment& bone() { return *m_Figure->bone(index(m_Count)); }

    void makeFigure()
    {
        m_Count = 1 + index(12);
        for (std::uint32_t i = 0; i < m_Count; ++i) {
            // Any parent: forward, backward, itself, none, unknown.
            const std::string parent =
                index(6) == 0 ? (coin() ? "" : "nobody") : "n" + std::to_string(index(i + 2));
            const bool here = index(8) == 0; // zero-length bones are normal
            m_Figure.add("n" + std::to_string(i), i == 0 ? "" : parent, here ? 0 : number(),
                         here ? 0 : number(), here ? 0 : number(), randomRotation(m_Random));
            BoneDescriptor& d = m_Figure.descriptors().back();
            d.rotation_axis = index(4);
            d.projection_axis = index(3);
            d.enforce_limits = coin();
            const float axisOfRoll[3] = {number(), number(), 0};
            std::copy(axisOfRoll, axisOfRoll + 3, d.free_axis);
            if (coin())
                d.limits[index(4)][index(2)] = number();
        }
        coin() ? m_Figure.build() : m_Figure.buildBare();
    }

    void operate()
    {
        IKSolver& s = *m_Figure;
        switch (index(8)) {
        case 0:
        case 1:
            return operateOnSolver(s);
        case 2:
        case 3:
            return operateOnBone(bone());
        case 4:
        case 5:
            return operateOnTask();
        default:
            s.solve(index(6));
            if (coin())
                s.updateFigure();
        }
    }

    // clang-format off
    void operateOnSolver(IKSolver& s)
    {
        switch (index(26)) {
        case 0: return s.setTolerance(number());
        case 1: return s.measureFigure();
        case 2: return s.setSetupDirty(coin());
        case 3: return s.computeStretchRatio(number());
        case 4: return s.rescaleFigure(coin() ? 1.01f : number());
        case 5: return s.setLimitsWithRetargeting(coin());
        case 6: return s.setPCoefficient(number());
        case 7: return s.setMomentsPrecision(number());
        case 8: return s.setMomentsWeight(number());
        case 9: return s.setFullRetargeting(coin());
        case 10: return s.setRetargetGain(number());
        case 11: return s.setLimitsGain(number());
        case 12: return s.setPrecision(number());
        case 13: return s.setUseDefaultZmp(coin());
        case 14: return s.setZmp(number(), number(), number());
        case 15: return s.setTotalMass(number());
        case 16: return s.setRootTranslationWeight(number());
        case 17: return s.setTranslateRoot(coin());
        case 18: return s.requestMeasure();
        case 19: return s.reset();
        case 20: return void(s.prepare());
        case 21: return void(s.solveAdaptive(index(3), nullptr));
        case 22: return s.setTotalBoneLength(number());
        case 23:
            if (s.balanceTask() && coin())
                return s.removeBalanceTask();
            return void(s.addBalanceTask(axis(), coin(), coin()));
        case 24: {
            const float wxyz[4] = {number(), number(), number(), number()};
            std::vector<const float*> table(m_Count, wxyz);
            table[index(m_Count)] = nullptr;
            const float* const* poses[1] = {table.data()};
            return s.setRetargetPose(poses, 1);
        }
        default: {
            const float xyz[3] = {number(), number(), number()};
            const std::vector<const float*> targets(m_Tasks.size() + 1, xyz);
            return s.setTaskTargets(targets.data());
        }
        }
    }

    void operateOnBone(IKSegment& b)
    {
        SinewVector out;
        GlobalFrame frame;
        switch (index(38)) {
        case 0: return b.setRetargeting(coin(), coin());
        case 1: return b.setFullRetargeting(coin());
        case 2: return b.enableLimits(coin());
        case 3: return b.enforceLimits(coin());
        case 4: return b.enableStretchLimits(coin());
        case 5: return b.enforceStretchLimits(coin());
        case 6: return b.resetTranslation(coin());
        case 7:
        case 8: return b.setActiveDof(coin(), coin(), coin(), coin());
        case 9: return b.setFreeTranslation(coin(), coin());
        case 10: return b.setActive(coin(), coin());
        case 11: return b.setTargetOrientation(number(), number(), number(), number());
        case 12: return b.setOrientation(number(), number(), number(), number());
        case 13: return b.setTranslation(number(), number(), number());
        case 14: return b.addTranslation(number(), number(), number());
        case 15: return b.setWeight(axis(), number());
        case 16: return b.setParent(index(4) ? &bone() : nullptr);
        case 17: return b.setRestOrientation(number(), number(), number(), number());
        case 18: return b.setRestTranslation(number(), number(), number());
        case 19: return b.updateGlobal(frame, coin());
        case 20: {
            EulerLimits limits;
            for (float& value : limits.range)
                value = 100 * number();
            limits.axis = axis();
            return b.setEulerLimits(limits, coin());
        }
        case 21: return b.setLimit(axis(), number(), number());
        case 22: {
            const float direction[3] = {number(), number(), number()};
            return b.setRotationAxis(axis(), coin() ? direction : nullptr);
        }
        case 23: return b.setProjectionAxis(axis());
        case 24: return b.setHoldOrientation(coin());
        case 25: return b.setStretchLimit(axis(), number(), number());
        case 26: return b.setLimitsGain(number());
        case 27: return b.setRetargetingAxisGain(axis(), number());
        case 28: return b.setRetargetingGain(number());
        case 29: return b.setStretchGain(number());
        case 30: return b.scale(number());
        case 31: return b.resetToRest();
        case 32: return b.setMass(number());
        case 33: return b.setMaxVelocity(number());
        case 34: return b.setMassCentre(number(), number(), number());
        case 35: return void(b.getAxis(out, axis()));
        case 36: return void(b.isDirty());
        default:
            b.getOrientation();
            b.getOrientationFromRest();
            b.getGlobalFrame();
            return void(b.getWeight(axis()) + b.getRetargetingAxisGain(axis())
                        + (b.isDofActive(axis()) ? 1.0f : 0.0f));
        }
    }

    void operateOnTask()
    {
        IKSolver& s = *m_Figure;
        if (m_Tasks.size() < 2 || (m_Tasks.size() < 8 && index(6) == 0)) {
            Any task;
            if (coin())
                task.common = task.position = s.addPositionTask(name().c_str(), index(3));
            else
                task.common = task.orientation = s.addOrientationTask(name().c_str(), index(3));
            if (task.common)
                m_Tasks.push_back(task);
            return;
        }
        const std::uint32_t chosen = index(static_cast<std::uint32_t>(m_Tasks.size()));
        const Any any = m_Tasks[chosen];
        IKBalanceTask* balance = s.balanceTask();
        IKTask& t = balance && index(4) == 0 ? *balance : *any.common;
        const float xyz[3] = {number(), number(), number()};
        switch (index(14)) {
        case 0:
            s.removeTask(any.common);
            m_Tasks.erase(m_Tasks.begin() + chosen);
            return;
        case 1: return t.setDepth(coin() ? 0xFFFFFFFFu : index(5));
        case 2: return t.setWeight(number());
        case 3: return t.setAxisWeight(axis(), number());
        case 4: return t.setPrecision(number());
        case 5: return t.setAxisPrecision(axis(), number());
        case 6: return t.setTargetVector(xyz);
        case 7: return t.scaleTarget(number());
        case 8: return t.setActive(coin(), coin());
        case 9: return t.setActiveDof(coin(), coin(), coin());
        case 10: return t.setTracksRetarget(coin(), static_cast<int>(index(6)) - 1);
        case 11:
            return s.linkTasks(&t, coin(),
                               index(5) ? m_Tasks[index(static_cast<std::uint32_t>(m_Tasks.size()))].common
                                        : nullptr);
        default: break;
        }
        if (balance && index(3) == 0)
            return operateOnBalance(*balance);
        any.position ? operateOnPosition(*any.position) : operateOnOrientation(*any.orientation);
    }

    void operateOnPosition(IKPositionTask& t)
    {
        SinewVector out;
        switch (index(13)) {
        case 0: return t.setTarget(number(), number(), number());
        case 1: return t.setOffset(number(), number(), number());
        case 2: return t.setForce(number(), number(), number());
        case 3: return t.setPositionRows(coin());
        case 4: return t.setForceTask(coin(), coin());
        case 5: return t.setForceShare(number());
        case 6: return t.setBalanceMoments(coin());
        case 7: return void(t.computeMoment(out));
        case 8: return t.setPoleVector(coin());
        case 9: return t.setPlaneConstraint(coin());
        case 10: return t.setPlaneTarget(coin());
        case 11: return t.setPlaneNormal(number(), number(), number());
        default: return t.setPlanePoint(number(), number(), number());
        }
    }
    void operateOnOrientation(IKOrientationTask& t)
    {
        switch (index(5)) {
        case 0: return t.setTarget(number(), number(), number(), number());
        case 1: return t.setTarget(randomRotation(m_Random));
        case 2: return t.setLocalAxis(number(), number(), number());
        case 3: return t.setAimDirection(number(), number(), number());
        default: return t.setAimMode(coin());
        }
    }
    void operateOnBalance(IKBalanceTask& t)
    {
        SinewVector out;
        switch (index(8)) {
        case 0: return t.setTarget(number(), number(), number());
        case 1: return t.setTargetOffset(number(), number(), number());
        case 2: return void(t.computeMoment(out));
        case 3: return t.setCentreOfMassRows(coin());
        case 4: return t.setRelativeToRoot(coin());
        case 5: return t.setMomentRows(coin());
        case 6: return t.setGravityDirection(number(), number(), number());
        default: return t.setGravityAxis(axis());
        }
    }

    // clang-format on

    struct Any {
        IKTask* common = nullptr;
        IKPositionTask* position = nullptr;
        IKOrientationTask* orientation = nullptr;
    };
    std::mt19937 m_Random;
    std::uint32_t m_Count = 0;
    TestFigure m_Figure;
    std::vector<Any> m_Tasks;
};

class RandomCallTests : public testing::TestWithParam<unsigned> { };

TEST_P(RandomCallTests, NeverCrashOrHang)
{
    // Assertions and messages about unknown bones are expected here.
    const AssertHandler former = setAssertHandler([](const char*, const char*, int) {});
    testing::internal::CaptureStderr();
    for (unsigned round = 0; round < 10; ++round) {
        SCOPED_TRACE("seed " + std::to_string(GetParam() * 10 + round));
        RandomCalls calls(GetParam() * 10 + round);
        calls.run(1500);
        const TestFigure& figure = calls.figure();
        // The tree is still one: every walk up ends at a bone without parent.
        for (std::uint32_t i = 0; i < figure->boneCount(); ++i)
            EXPECT_LE(figure->bone(i)->getChainDepth(), figure->boneCount());
    }
    testing::internal::GetCapturedStderr();
    setAssertHandler(former);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomCallTests, testing::Range(0u, 20u));

} // namespace
