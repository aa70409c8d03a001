// SPDX-License-Identifier: MIT
// The numbers and the page of a track report.
#include "report/TrackReportHtml.h"
#include "report/TrackReportJson.h"
#include "retarget/RetargetReport.h"
#include "track/TrackCommand.h"

#include "shared/Console.h"

#include <gtest/gtest.h>

namespace {

/// Two goals, one for position and one for both, over frames 10 to 13; the third frame is bad.
app::TrackReport smallReport()
{
    app::TrackReport report;
    report.input = "in.bvh";
    report.output = "</script><b>.bvh";
    report.firstFrame = 10;
    report.lastFrame = 13;
    report.height = 50;
    report.up = "+Z";
    report.goals.resize(2);
    report.goals[0].joint = "Hand";
    report.goals[1].joint = "Foot";
    report.goals[1].rotation = true;
    report.frames.resize(4);
    report.frames[2].diverged = true;
    report.animation.names = {"Root", "Hand", "Foot", ""};
    report.animation.parents = {-1, 0, 0, 2};
    report.animation.source.assign(4 * 4 * 3, 1.0f);
    report.animation.solved.assign(4 * 4 * 3, 1e30f);
    const app::GoalSamples samples{{1, 2, 1, 2, 9, 4, 1, 2}, {0, 5, 0, 6, 0, 7, 0, 6}};
    report.maxMeanError = 2.0;
    app::summarise(report, samples);
    return report;
}

/// What a page shows.
app::Json dataOf(const std::string& page)
{
    const std::size_t from = page.find('{', page.find("id=\"data\"")), to = page.find("</script>", from);
    return app::Json::parse(page.substr(from, to - from));
}

} // namespace

TEST(TrackReport, SummarisesGoalsAndDivergedFrames)
{
    const app::TrackReport report = smallReport();
    EXPECT_DOUBLE_EQ(report.goals[0].distance.mean, 3);
    EXPECT_DOUBLE_EQ(report.goals[0].distance.worst, 9);
    EXPECT_EQ(report.goals[0].distance.worstFrame, 12u);
    EXPECT_DOUBLE_EQ(report.goals[1].degrees.mean, 6);
    EXPECT_DOUBLE_EQ(report.goals[1].degrees.worst, 7);
    EXPECT_DOUBLE_EQ(report.distance.mean, 2.75);
    EXPECT_EQ(report.worstGoal, "Hand");
    EXPECT_TRUE(report.missed);
    ASSERT_EQ(report.diverged.size(), 1u);
    EXPECT_EQ(report.diverged[0], (std::pair<std::size_t, std::size_t>{12, 12}));
    const app::Json json = app::trackReportJson(report);
    EXPECT_DOUBLE_EQ(json["residual"]["mean_percent"].get<double>(), 5.5);
    EXPECT_EQ(json["residual"]["worst_frame"], 12);
    EXPECT_TRUE(json["goals"][0]["degrees"].is_null());
    EXPECT_EQ(json["met"], false);
    EXPECT_NE(app::trackReportText(report).find("diverged 1 of 4 frames: 12"), std::string::npos);
}

TEST(TrackReport, PercentileIsTheNearestRank)
{
    std::vector<float> values;
    for (int i = 0; i < 100; ++i)
        values.push_back(static_cast<float>((i * 37) % 100));
    const app::Spread spread = app::spreadOf(values, 5);
    EXPECT_DOUBLE_EQ(spread.p95, 94); // 95 of the 100 values are not above it
    EXPECT_DOUBLE_EQ(spread.mean, 49.5);
    EXPECT_DOUBLE_EQ(spread.worst, 99);
    EXPECT_EQ(spread.worstFrame, 5u + 27u);
}

TEST(TrackReport, PageStandsAloneWhateverTheNames)
{
    const std::string page = app::trackReportHtml(smallReport());
    EXPECT_EQ(page.find("http"), std::string::npos);
    EXPECT_EQ(page.find("</script><b>"), std::string::npos); // a file name can't end the data
    EXPECT_EQ(page.find("/*DATA*/"), std::string::npos);
    EXPECT_EQ(page.find("/*SCRIPT*/"), std::string::npos);
    const app::Json data = dataOf(page);
    EXPECT_EQ(data["report"]["output"], "</script><b>.bvh");
    EXPECT_EQ(data["source"].get<std::string>().size(), 4u * 4 * 3 * 2 / 3 * 4); // 16 bits a number
    EXPECT_EQ(data["series"]["micros"].size(), 4u);
    EXPECT_TRUE(data["directions"].empty());
}

TEST(TrackReport, ThePageOfARetargetedMotionHasItsDirectionsAndWhatWasMissed)
{
    app::RetargetReport report;
    report.motion = smallReport();
    report.motion.directions = {{"left upper arm", {1.5, 2, 4.5, 12}}, {"trunk", {0.1, 0.2, 0.3, 13}}};
    report.limits.directionMean = 1;
    app::judge(report);
    const app::Json data = dataOf(app::trackReportHtml(report.motion));
    ASSERT_EQ(data["directions"].size(), 2u);
    EXPECT_EQ(data["directions"][0]["name"], "left upper arm");
    EXPECT_EQ(data["directions"][0]["degrees"]["worst"], 4.5);
    EXPECT_EQ(data["directions"][0]["degrees"]["worst_frame"], 12);
    EXPECT_EQ(data["report"]["met"], false);
    EXPECT_EQ(data["facts"].back()[0], "missed");
    for (const app::Json& fact : data["facts"])
        EXPECT_NE(fact[0], "left upper arm") << "it stands in its table";
}

TEST(TrackReport, ReadsFrameRangesAndLimits)
{
    const auto range = [](const char* text) {
        const app::FrameRange r = app::parseFrames(text, 100);
        return std::pair(r.first, r.last);
    };
    EXPECT_EQ(range(""), std::pair(std::size_t{0}, std::size_t{99}));
    EXPECT_EQ(range("3:9"), std::pair(std::size_t{3}, std::size_t{9}));
    EXPECT_EQ(range("90:"), std::pair(std::size_t{90}, std::size_t{99}));
    EXPECT_EQ(range(":0"), std::pair(std::size_t{0}, std::size_t{0}));
    for (const char* bad : {"5", "9:3", "0:100", "-1:4", "1:2:3", "a:b", "1 :2", "99999999999999999999:"})
        EXPECT_THROW(app::parseFrames(bad, 100), app::BadInput) << bad;
    EXPECT_DOUBLE_EQ(*app::parseMaxMeanError("0.5%", 200), 1.0);
    EXPECT_DOUBLE_EQ(*app::parseMaxMeanError("0.5", 200), 0.5);
    EXPECT_FALSE(app::parseMaxMeanError("", 200));
    for (const char* bad : {"%", "x", "1%%", "-1", "nan", "inf", "1 %"})
        EXPECT_THROW(app::parseMaxMeanError(bad, 200), app::BadInput) << bad;
}
