// SPDX-License-Identifier: MIT
// From the options of `retarget` to files and reports.
#include "retarget/RetargetCommand.h"

#include "report/TrackReportHtml.h"
#include "retarget/RetargetBatch.h"
#include "retarget/RetargetRun.h"
#include "shared/Clock.h"
#include "shared/Console.h"
#include "shared/MotionFile.h"
#include "shared/OutputFile.h"
#include "shared/Plugin.h"

#include <fmt/format.h>

#include <cmath>
#include <filesystem>

namespace app {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kAnimationFrames = 3000; // keeps the page at a few megabytes
constexpr std::size_t kShownWarnings = 10;
constexpr std::uint32_t kMostSteps = 1'000'000;

void checkOptions(const RetargetOptions& options)
{
    if (options.settings.steps == 0 || options.settings.steps > kMostSteps)
        throw BadInput(fmt::format("--steps: {} won't do; give 1 to {}", options.settings.steps, kMostSteps));
    warnOfManySteps(options.settings.steps);
    if (!std::isfinite(options.settings.tolerance) || !(options.settings.tolerance >= 0)
        || options.settings.tolerance > 1e6)
        throw BadInput("--tolerance: give a number from 0 and at most 1000000");
    const auto limit = [](const char* name, std::optional<double> value) {
        if (value && (!std::isfinite(*value) || *value < 0))
            throw BadInput(fmt::format("{}: give a number from 0", name));
    };
    limit("--max-direction", options.limits.directionMean);
    limit("--max-direction-worst", options.limits.directionWorst);
    limit("--max-foot", options.limits.footMean);
    limit("--max-hand", options.limits.handMean);
    limit("--max-step", options.limits.stepRatio);
    struct Named {
        const char* option;
        const std::string& path;
    };
    const Named outputs[] = {{"-o", options.output},
                             {"--report", options.htmlFile},
                             {"--report-json", options.jsonFile},
                             {"--write-map", options.writeMap}};
    for (const Named& output : outputs) {
        if (output.path.empty())
            continue;
        checkOutputPlace(output.option, output.path);
        for (const Named& other : outputs)
            if (&other < &output && !other.path.empty() && sameFile(output.path, other.path))
                throw BadInput(fmt::format("{} and {} name the same file; give them different names",
                                           other.option, output.option));
    }
}

void noteWarnings(const FigureFile& file, std::vector<std::string>& warnings)
{
    for (std::size_t i = 0; i < std::min(file.warnings.size(), kShownWarnings); ++i)
        warnings.push_back(file.warnings[i]);
    if (file.warnings.size() > kShownWarnings)
        warnings.push_back(fmt::format("{}: {} further warnings; `sinew info` lists them all", file.path,
                                       file.warnings.size() - kShownWarnings));
}

std::string upOf(const FigureFile& target)
{
    const auto& up = target.roles.up;
    std::size_t axis = 0;
    for (std::size_t a = 1; a < 3; ++a)
        if (std::abs(up[a]) > std::abs(up[axis]))
            axis = a;
    return {up[axis] < 0 ? '-' : '+', "XYZ"[axis]};
}

int retargetOne(const RetargetOptions& options)
{
    const Clock::time_point start = Clock::now();
    checkOptions(options);
    const FigureFile source = readFigure(options.files[0], {options.offsets});
    const FigureFile target = readFigure(options.files[1], {options.offsets});
    const JointMap map =
        options.map.empty() ? autoMap(source, target) : readJointMap(options.map, source, target);
    if (!options.writeMap.empty())
        writeOutput(options.writeMap, jointMapFile(map, source, target));
    if (options.output.empty()) {
        for (const std::string& note : map.notes)
            complain(note);
        print(jointMapTable(map, source, target));
        return kExitDone;
    }

    RetargetReport report;
    report.target = options.files[1];
    report.limits = options.limits;
    report.mapTable = jointMapTable(map, source, target);
    report.motion.input = options.files[0];
    report.motion.output = options.output;
    report.motion.htmlFile = options.htmlFile;
    report.motion.up = upOf(target);
    report.motion.unit = "unknown";
    noteWarnings(source, report.motion.warnings);
    noteWarnings(target, report.motion.warnings);
    report.motion.warnings.insert(report.motion.warnings.end(), map.notes.begin(), map.notes.end());
    RetargetRequest request;
    request.settings = options.settings;
    request.format = outputFormat(options.output);
    request.motionName = fs::path(options.files[0]).stem().string();
    request.animationFrames = options.htmlFile.empty() ? 0 : kAnimationFrames;
    report.motion.readSeconds = secondsSince(start);

    const std::string bytes = retargetMotion(source, target, map, request, report);
    const Clock::time_point written = Clock::now();
    writeOutput(options.output, bytes);
    report.motion.writeSeconds += secondsSince(written);
    report.motion.totalSeconds = secondsSince(start);
    judge(report);
    if (!options.htmlFile.empty())
        writeOutput(options.htmlFile, trackReportHtml(report.motion));
    if (!options.jsonFile.empty())
        writeOutput(options.jsonFile, jsonText(retargetReportJson(report)));
    for (const std::string& warning : report.motion.warnings)
        complain(warning);
    print(options.json ? jsonText(retargetReportJson(report)) : retargetReportText(report));
    return report.missed.empty() ? kExitDone : kExitMissed;
}

} // namespace

int runRetarget(const RetargetOptions& options)
{
    if (options.files.size() < 2)
        throw BadInput("give a source and a target, as in `sinew retarget walk.bvh hero.glb -o out.glb`");
    std::error_code code;
    const bool folder = fs::is_directory(options.output, code);
    if (options.files.size() > 2 || folder)
        return runRetargetBatch(options);
    if (options.output.empty() && options.writeMap.empty())
        throw BadInput("give an output with -o FILE, or --write-map FILE for the map alone");
    return retargetOne(options);
}

} // namespace app
