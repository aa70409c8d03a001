// SPDX-License-Identifier: MIT
// The loop over the frames: time, evaluation by the plug-in, output, measurement.
#include "retarget/RetargetRun.h"

#include "retarget/RetargetMeasure.h"
#include "shared/Clock.h"
#include "shared/Console.h"
#include "shared/Plugin.h"
#include "shared/Progress.h"

#include <fmt/format.h>

namespace app {

namespace {

void describe(const RetargetScene& scene, const JointMap& map, const RetargetSettings& settings,
              RetargetReport& report)
{
    TrackReport& motion = report.motion;
    motion.lastFrame = scene.frameCount() - 1;
    motion.fileFrames = scene.frameCount();
    motion.frameTime = scene.frameSeconds();
    motion.jointCount = scene.rigJoints().size();
    motion.height = scene.fit().height;
    motion.steps = settings.steps;
    motion.tolerance = settings.tolerance;
    motion.precision = 2;
    motion.pull = 1;
    motion.title = "retargeted motion";
    report.pairCount = map.pairs.size();
    report.legScale = scene.fit().legScale;
    report.armScale = scene.fit().armScale;
    report.limitedJoints = 0; // a new rig has no limits
    motion.warnings.insert(motion.warnings.end(), scene.fit().notes.begin(), scene.fit().notes.end());
}

} // namespace

std::string retargetMotion(const FigureFile& source, const FigureFile& target, const JointMap& map,
                           const RetargetRequest& request, RetargetReport& report)
{
    const Clock::time_point start = Clock::now();
    refhost::Host host;
    loadPlugin(host);
    RetargetScene scene(host, source, target, map, request.settings);
    if (scene.frameCount() == 0)
        throw BadInput(fmt::format("{}: the source has no motion{}", source.path,
                                   source.isGltf() ? "; --animation names one of several" : ""));
    describe(scene, map, request.settings, report);
    RetargetMeasure measure(scene, source, target, map, report, request.animationFrames);
    MotionOutput output(target, request.output, scene.frameCount(), scene.frameSeconds());
    {
        Progress progress("retargeting", scene.frameCount());
        for (std::size_t i = 0; i < scene.frameCount(); ++i) {
            scene.setFrame(i);
            // The first read of a joint evaluates the rig.
            const Clock::time_point solve = Clock::now();
            (void)scene.target(scene.rigJoints().front());
            const double seconds = secondsSince(solve);
            output.frame(i, scene);
            measure.frame(i, seconds);
            progress.update(i + 1);
        }
    }
    measure.finish();
    report.motion.solveAllSeconds = secondsSince(start);
    const Clock::time_point written = Clock::now();
    WrittenMotion made = output.finish();
    report.motion.writeSeconds = secondsSince(written);
    report.motion.written = made.facts;
    report.motion.warnings.insert(report.motion.warnings.end(), made.notes.begin(), made.notes.end());
    return std::move(made.bytes);
}

} // namespace app
