// SPDX-License-Identifier: MIT
// Thousands of random public operations with sane and absurd arguments: nothing may crash or hang.
#include "support/Operations.h"
#include "support/TestFigure.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace Sinew;
using namespace support;

class RandomCalls final : public Arguments {
public:
    explicit RandomCalls(unsigned seed) : m_Random(seed) { makeFigure(); }

    void run(int count)
    {
        while (count-- > 0)
            operate();
    }
    TestFigure& figure() { return m_Figure; }

    bool flag() override { return m_Random() & 64; }
    /// Mostly plain numbers.
    float number() override
    {
        constexpr float infinity = std::numeric_limits<float>::infinity();
        constexpr float odd[] = {0.0f,   -0.0f,    1e-38f,    1e30f,
                                 -3e38f, infinity, -infinity, std::numeric_limits<float>::quiet_NaN()};
        return index(40) == 0 ? odd[index(8)] : uniform(m_Random, -2, 2);
    }
    /// Mostly an axis.
    std::uint32_t count() override
    {
        return index(30) == 0 ? static_cast<std::uint32_t>(m_Random()) : index(7);
    }
    const float* numbers() override
    {
        for (float& value : m_Numbers)
            value = number() * (m_Degrees ? 100.0f : 1.0f);
        return index(8) ? m_Numbers : nullptr;
    }
    IKSegment* bone() override { return index(4) ? m_Figure->bone(index(m_Figure->boneCount())) : nullptr; }

private:
    std::uint32_t index(std::uint32_t end) { return end ? static_cast<std::uint32_t>(m_Random() % end) : 0; }
    std::string name()
    {
        return index(20) == 0 ? "nobody" : "n" + std::to_string(index(m_Figure->boneCount()));
    }
    AnyTask& anyTask() { return m_Tasks[index(static_cast<std::uint32_t>(m_Tasks.size()))]; }

    void makeFigure()
    {
        const std::uint32_t count = index(13);
        for (std::uint32_t i = 0; i < count; ++i) {
            // Any parent: forward, backward, itself, none, unknown.
            const std::string parent =
                index(6) == 0 ? (flag() ? "" : "nobody") : "n" + std::to_string(index(i + 2));
            const float size = index(8) == 0 ? 0.0f : 1.0f; // zero-length bones are normal
            m_Figure.add("n" + std::to_string(i), i == 0 ? "" : parent, size * number(), size * number(),
                         size * number(), randomRotation(m_Random));
            BoneDescriptor& d = m_Figure.descriptors().back();
            d.rotation_axis = index(4);
            d.projection_axis = index(3);
            d.enforce_limits = flag();
            const float axisOfRoll[3] = {number(), number(), 0};
            std::copy(axisOfRoll, axisOfRoll + 3, d.free_axis);
            if (flag())
                d.limits[index(4)][index(2)] = number();
        }
        flag() ? m_Figure.build() : m_Figure.buildBare();
    }

    template <class Face>
    void call(const Operations<Face>& table, Face* face)
    {
        const auto operation = std::next(table.begin(), index(static_cast<std::uint32_t>(table.size())));
        m_Degrees = operation->first == "setEulerLimits";
        if (face)
            operation->second(*face, *this);
    }

    void operate()
    {
        IKSolver& s = *m_Figure;
        switch (index(16)) {
        case 0:
        case 1:
        case 2:
            return call(kSolverOperations, &s);
        case 3:
            return tablesAndSearch();
        case 4:
        case 5:
        case 6:
        case 7:
            return call(kBoneOperations, bone());
        case 8:
            return addOrRemoveTasks();
        case 9:
        case 10:
        case 11:
            return operateOnTask();
        default:
            s.solve(index(6));
        }
    }

    void tablesAndSearch()
    {
        IKSolver& s = *m_Figure;
        const float* const row = numbers();
        std::vector<const float*> rows(s.boneCount() + m_Tasks.size() + 1, row);
        rows[index(static_cast<std::uint32_t>(rows.size()))] = nullptr;
        const float* const* poses[7] = {flag() ? rows.data() : nullptr, nullptr, rows.data()};
        s.setTaskTargets(flag() ? rows.data() : nullptr);
        s.setRetargetPose(index(9) ? poses : nullptr, index(8));
        s.solveAdaptive(index(3), nullptr);
    }

    void addOrRemoveTasks()
    {
        IKSolver& s = *m_Figure;
        if (m_Tasks.size() < 2 || (m_Tasks.size() < 8 && index(3))) {
            const AnyTask task = flag() ? AnyTask(s.addPositionTask(name().c_str(), index(3)))
                                        : AnyTask(s.addOrientationTask(name().c_str(), index(3)));
            if (task.task)
                m_Tasks.push_back(task);
        } else if (index(3) == 0) {
            s.balanceTask() && flag() ? s.removeBalanceTask()
                                      : void(s.addBalanceTask(index(4), flag(), flag()));
        } else {
            AnyTask& task = anyTask();
            s.removeTask(task.task);
            task = m_Tasks.back();
            m_Tasks.pop_back();
        }
    }

    void operateOnTask()
    {
        IKSolver& s = *m_Figure;
        if (IKBalanceTask* balance = s.balanceTask(); balance && index(3) == 0) {
            call(kBalanceOperations, balance);
            return call(kTaskOperations, static_cast<IKTask*>(balance));
        }
        if (m_Tasks.empty())
            return;
        const AnyTask& any = anyTask();
        call(kTaskOperations, any.task);
        call(kPositionOperations, any.position);
        call(kOrientationOperations, any.orientation);
        if (index(4) == 0)
            s.linkTasks(any.task, index(3), index(5) ? anyTask().task : s.balanceTask());
    }

    std::mt19937 m_Random;
    TestFigure m_Figure;
    std::vector<AnyTask> m_Tasks;
    float m_Numbers[16];
    bool m_Degrees = false;
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
