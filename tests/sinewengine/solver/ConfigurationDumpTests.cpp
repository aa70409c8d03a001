// SPDX-License-Identifier: MIT
// The configuration dump, line for line.
#include "support/TestFigure.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using namespace Sinew;
using namespace support;

constexpr const char* kExpected = R"(Number of Bones=2
Number of Tasks=3
Solution Tolerance=0.0005
Translate Root=1
Root Translation Weight=1
Root Target Translation=1 2.5 -3
Root Translation DOF=1 1 1
Enable Root Target Translation=1
Moments Weight=1.5
Total Figure Mass=80
Use default ZMP=0
ZMP=0.1 0 -0.2
Rescale tasks=1
Limits gain=3
Solver retargetting gain=2
Solver task precision=-2
Secondary task weight=0.5
Secondary Task Precision=1.5
P coefficient=0.75

----------------------------------------------------
----------------------------------------------------
Name=hip
Parent Name=None
Rest Translation=0 1 0
Rest Orientation=0 0 0 1
Active=1
Active DOF=1 1 1
Active translation DOF=1 1 1
Translational=1
Weight=1 1 1
Stretch weight=1 1 1
Mass=80
Max Velocity=0.03
Enable retargetting=0
Retargeting gaint=0.1
Enable limits=1
Enable stretch limits=0
Limits gain=1
Enforce limits=0
Enforce stretch limits=0
Limits x min=-1 max=1
Limits y min=-1 max=1
Limits z min=-1 max=1
Limits roll min=0 max=0
Stretch limits min=0 max=0
Stretch limits min=0 max=0
Stretch limits min=0 max=0
----------------------------------------------------
Name=knee
Parent Name=hip
Rest Translation=0 -0.5 0.01
Rest Orientation=0.6 0 0 0.8
Active=1
Active DOF=1 0 1
Active translation DOF=0 0 0
Translational=0
Weight=1 0.25 1
Stretch weight=1 1 1
Mass=0
Max Velocity=0.5
Enable retargetting=0
Retargeting gaint=1
Enable limits=1
Enable stretch limits=1
Limits gain=2
Enforce limits=1
Enforce stretch limits=1
Limits x min=-0.5 max=0.5
Limits y min=-1 max=1
Limits z min=-1 max=1
Limits roll min=-0.523599 max=0.785398
Stretch limits min=-0.1 max=0.2
Stretch limits min=0 max=0
Stretch limits min=0 max=0
----------------------------------------------------
Bone attached to=hip
Task type=Orientation
Active=1
Active DOF=1 1 1
Depth=4294967295
Weight=1 1 1
Precision=1 1 1
Bone attached to=knee
Task type=Position
Force task=1
Balance Task=0
Pole Vector=0
Active=1
Active DOF=1 0 1
Depth=2
Weight=1 1 4
Precision=2 2 2
Bone attached to=hip
Task type=Orientation
Active=0
Active DOF=1 1 1
Depth=4294967295
Weight=3 3 3
Precision=1 0.001 1
)";

void configure(TestFigure& figure)
{
    figure.add("hip", "", 0, 1, 0).add("knee", "hip", 0, -0.5f, 0.01f, SinewQuaternion(0.6f, 0, 0, 0.8f));
    figure.buildBare();
    figure->setTolerance(0.0005f);
    figure->setTranslateRoot(true);
    figure->setRootTargetTranslation(1, 2.5f, -3);
    figure->setEnableRootTarget(true);
    figure->setMomentsWeight(1.5f);
    figure->setZmp(0.1f, 0, -0.2f);
    figure->setRescaleTasks(true);
    figure->setLimitsGain(3);
    figure->setRetargetGain(2);
    figure->setSecondaryTaskWeight(0.5f);
    figure->setSecondaryTaskPrecision(7); // clamped
    figure->setPCoefficient(0.75f);

    IKSegment& knee = figure["knee"];
    knee.setFullRetargeting(false);
    knee.setActiveDof(true, false, true, true);
    knee.setWeight(1, 0.25f);
    knee.setMaxVelocity(0.5f);
    knee.setLimit(0, -0.5f, 0.5f);
    knee.setLimit(3, -30, 45);
    knee.setLimitsGain(2);
    knee.enforceLimits(true);
    knee.enableStretchLimits(true);
    knee.enforceStretchLimits(true);
    knee.setStretchLimit(0, -0.1f, 0.2f);
    knee.setStretchLimit(1, 0.3f, 0.3f); // no range

    IKPositionTask* foot = figure->addPositionTask("knee");
    foot->setActiveDof(true, false, true);
    foot->setDepth(2);
    foot->setAxisWeight(2, 4);
    foot->setPrecision(5); // clamped
    foot->setForceTask(true, false);
    IKOrientationTask* hip = figure->addOrientationTask("hip");
    hip->setActive(false, false);
    hip->setWeight(3);
    hip->setAxisPrecision(1, 0);
    figure->addBalanceTask(1, true, true);
}

class ConfigurationDump : public testing::Test {
protected:
    std::filesystem::path path = std::filesystem::temp_directory_path()
        / ("sinew-dump-" + std::to_string(reinterpret_cast<std::uintptr_t>(this)) + ".txt");
    void TearDown() override { std::filesystem::remove(path); }
    std::string text() const
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

TEST_F(ConfigurationDump, WritesTheSetUpLineForLine)
{
    TestFigure figure;
    configure(figure);
    figure->dumpConfiguration(path.c_str());
    std::istringstream expected(kExpected), actual(text());
    std::string expectedLine, actualLine;
    for (int line = 1; std::getline(expected, expectedLine); ++line) {
        std::getline(actual, actualLine);
        ASSERT_EQ(actualLine, expectedLine) << "line " << line;
    }
    EXPECT_FALSE(std::getline(actual, actualLine)) << "more lines than expected";
    EXPECT_EQ(text(), kExpected);

    figure->dumpConfiguration(path.c_str()); // replaces, doesn't append
    EXPECT_EQ(text(), kExpected);
}

TEST_F(ConfigurationDump, CountsTasksAndShowsFreshValues)
{
    TestFigure figure;
    figure.add("one", "", 0, 0, 0).buildBare();
    figure->dumpConfiguration(path.c_str());
    const std::string bare = text();
    EXPECT_NE(bare.find("Number of Tasks=0\n"), std::string::npos);
    EXPECT_NE(bare.find("Root Translation DOF=0 0 0\n"), std::string::npos);
    EXPECT_NE(bare.find("Retargeting gaint=0.1\n"), std::string::npos);
    EXPECT_EQ(bare.find("Task type"), std::string::npos);
    figure->addBalanceTask(1, false, true);
    figure->dumpConfiguration(path.c_str());
    EXPECT_NE(text().find("Number of Tasks=1\n"), std::string::npos);
}

TEST_F(ConfigurationDump, IsSilentWhereThePathCannotBeOpened)
{
    TestFigure figure;
    configure(figure);
    testing::internal::CaptureStderr();
    figure->dumpConfiguration((path / "no" / "such" / "folder").c_str());
    figure->dumpConfiguration(nullptr);
    figure->dumpConfiguration("");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(std::filesystem::exists(path));
    IKSolver empty;
    empty.dumpConfiguration(path.c_str());
    EXPECT_EQ(text().substr(0, 18), "Number of Bones=0\n");
}

} // namespace
