// SPDX-License-Identifier: MIT
// The configuration dump, line for line.
#include "support/TestFigure.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

using namespace Sinew;
using namespace support;

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
    static std::string textOf(const std::filesystem::path& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    std::string dump(TestFigure& figure) const
    {
        figure->dumpConfiguration(path.c_str());
        return textOf(path);
    }
};

TEST_F(ConfigurationDump, WritesTheSetUpLineForLineAndReplacesTheFile)
{
    TestFigure figure;
    configure(figure);
    const std::string expected = textOf(SINEW_TEST_DATA "/dump.txt");
    EXPECT_EQ(dump(figure), expected);
    EXPECT_EQ(dump(figure), expected);

    TestFigure fresh;
    fresh.add("one", "", 0, 0, 0).buildBare();
    const std::string bare = dump(fresh);
    for (const char* line : {"Number of Tasks=0", "Root Translation DOF=0 0 0", "Retargeting gaint=0.1"})
        EXPECT_NE(bare.find(std::string(line) + "\n"), std::string::npos) << line;
    EXPECT_EQ(bare.find("Task type"), std::string::npos);
    fresh->addBalanceTask(1, false, true);
    EXPECT_NE(dump(fresh).find("Number of Tasks=1\n"), std::string::npos);
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
    TestFigure empty;
    EXPECT_EQ(dump(empty).substr(0, 18), "Number of Bones=0\n");
}

} // namespace
