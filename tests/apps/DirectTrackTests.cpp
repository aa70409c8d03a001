// SPDX-License-Identifier: MIT
// Tracking through the plug-in equals driving the engine directly, bit for bit, on every sample motion.
#include "DirectTrack.h"
#include "ProgramRun.h"
#include "track/BvhTrackMotion.h"
#include "track/TrackRun.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

std::filesystem::path motionFolder()
{
    const char* set = std::getenv("SINEW_DATA");
    return std::filesystem::path(set ? set : SINEW_DATA_DIR) / "bvh";
}

/// Solves a copy of the motion with goals at some of its joints; the report tells what was seen on the way.
formats::BvhMotion tracked(formats::BvhMotion motion, app::TrackRequest request, app::TrackReport& report,
                           const app::TrackSolverMaker* makeSolver)
{
    report.height = 1e9; // no pose counts as lost
    app::BvhTrackMotion solved(std::move(motion));
    if (makeSolver)
        app::trackMotion(solved, request, report, *makeSolver);
    else
        app::trackMotion(solved, request, report);
    return solved.motion();
}

void expectSameMotion(const formats::BvhMotion& source, bool fromRest)
{
    app::TrackRequest request;
    request.lastFrame = std::min<std::size_t>(source.frameCount, 60) - 1;
    request.settings.fromRest = fromRest;
    request.settings.steps = 200;
    for (std::size_t i = 0; i < source.joints.size(); ++i)
        if (!source.joints[i].endSite && (i % 4 == 3 || (source.joints.size() < 8 && i > 0)))
            request.goals.push_back({i, i % 8 == 3, i % 8 != 3, "joint"});
    app::TrackReport ours, theirs;
    const app::TrackSolverMaker direct =
        [](std::vector<app::TrackBone> bones, std::vector<app::TrackGoal> goals,
           const app::TrackSettings& settings, const std::array<double, 3>& rootStart) {
            return std::make_unique<DirectTrack>(std::move(bones), std::move(goals), settings, rootStart);
        };
    const formats::BvhMotion a = tracked(source, request, ours, nullptr);
    const formats::BvhMotion b = tracked(source, request, theirs, &direct);
    ASSERT_EQ(a.values.size(), b.values.size());
    EXPECT_EQ(std::memcmp(a.values.data(), b.values.data(), a.values.size() * sizeof(a.values[0])), 0);
    EXPECT_NE(a.values,
              std::vector<double>(source.values.begin(),
                                  source.values.begin() + static_cast<std::ptrdiff_t>(a.values.size())))
        << "nothing was solved";
    for (std::size_t i = 0; i < ours.frames.size(); ++i)
        EXPECT_EQ(ours.frames[i].iterations, theirs.frames[i].iterations) << "frame " << i;
}

} // namespace

TEST(DirectTrack, EveryMotionThroughThePlugInEqualsTheEngineCalledDirectlyBitForBit)
{
    if (!std::filesystem::is_directory(motionFolder()))
        GTEST_SKIP() << "no sample motions at " << motionFolder() << "; set SINEW_DATA";
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(motionFolder())) {
        SCOPED_TRACE(entry.path().filename());
        const formats::BvhMotion motion = ProgramRun::motionAt(entry.path());
        expectSameMotion(motion, false);
        expectSameMotion(motion, true);
        ++count;
    }
    EXPECT_GT(count, 0u);
}
