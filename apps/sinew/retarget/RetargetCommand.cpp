// SPDX-License-Identifier: MIT
// From the options of `retarget` to files and reports.
#include "retarget/RetargetCommand.h"

#include "report/TrackReportHtml.h"
#include "retarget/RetargetRun.h"
#include "shared/Clock.h"
#include "shared/Console.h"
#include "shared/Files.h"
#include "shared/MotionFile.h"

#include <fmt/format.h>

#include <cmath>
#include <filesystem>

namespace app {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kAnimationFrames = 3000; // keeps the page at a few megabytes
constexpr std::size_t kShownWarnings = 10;

std::vector<NamedFile> outputsOf(const RetargetOptions& options)
{
    return {{"-o", options.output},
            {"--report", options.htmlFile},
            {"--report-json", options.jsonFile},
            {"--write-map", options.writeMap},
            {"--json", options.json ? std::string(kStandardStream) : ""}};
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

/// What the standard output gets where no ending says it: the target's format, or what the user asks for.
OutputFormat formatOf(const RetargetOptions& options, const FigureFile& target)
{
    if (options.output != kStandardStream) {
        if (!options.format.empty())
            throw BadInput("--format is for `-o -`; the ending of a file's name says which format to write");
        return outputFormat(options.output);
    }
    const std::string format = options.format.empty() ? target.isGltf() ? "glb" : "bvh" : options.format;
    return outputFormat("-." + format);
}

int retargetOne(const RetargetOptions& options)
{
    const Clock::time_point start = Clock::now();
    const std::vector<NamedFile> outputs = outputsOf(options);
    const NamedFile sourceFile{"SOURCE", options.files[0]}, targetFile{"TARGET", options.files[1]};
    checkFiles({sourceFile, targetFile, {"--map", options.map}}, outputs);
    std::FILE* const textStream = isPiped(outputs) ? stderr : stdout;
    const FigureFile source = readFigure(sourceFile, outputs, options.offsets);
    const FigureFile target = readFigure(targetFile, outputs, options.offsets);
    const JointMap map =
        options.map.empty() ? autoMap(source, target) : readJointMap(options.map, source, target);
    if (!options.writeMap.empty())
        writeOutput(options.writeMap, jointMapFile(map, source, target));
    if (options.output.empty()) {
        for (const std::string& note : map.notes)
            complain(note);
        print(jointMapTable(map, source, target), textStream);
        return kExitDone;
    }

    RetargetReport report;
    report.target = target.path;
    report.limits = options.limits;
    report.mapTable = jointMapTable(map, source, target);
    report.motion.input = source.path;
    report.motion.output = outputName(options.output);
    report.motion.htmlFile = outputName(options.htmlFile);
    report.motion.up = upOf(target);
    report.motion.unit = "unknown";
    noteWarnings(source, report.motion.warnings);
    noteWarnings(target, report.motion.warnings);
    report.motion.warnings.insert(report.motion.warnings.end(), map.notes.begin(), map.notes.end());
    RetargetRequest request;
    request.settings = options.settings;
    request.format = formatOf(options, target);
    request.motionName =
        options.files[0] == kStandardStream ? "motion" : fs::path(options.files[0]).stem().string();
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
    if (options.json)
        print(jsonText(retargetReportJson(report)));
    else
        print(retargetReportText(report), textStream);
    return report.motion.missed.empty() ? kExitDone : kExitMissed;
}

double worstDirection(const Json& report)
{
    double worst = 0;
    for (const Json& direction : report.at("directions"))
        worst = std::max(worst, direction.at("degrees").at("mean").get<double>());
    return worst;
}

int retargetMany(const RetargetOptions& options)
{
    if (options.output.empty())
        throw BadInput("several sources need a folder for the results: -o FOLDER");
    if (!options.htmlFile.empty() || !options.jsonFile.empty() || !options.writeMap.empty()
        || !options.format.empty())
        throw BadInput(
            "--report, --report-json, --write-map and --format are for one source; each source of several "
            "gets a report of its own beside its result");
    Batch batch;
    batch.subcommand = "retarget";
    batch.sources.assign(options.files.begin(), options.files.end() - 1);
    batch.shared = {{"TARGET", options.files.back()}, {"--map", options.map}};
    batch.folder = options.output;
    batch.options = options.batch;
    batch.json = options.json;
    batch.columns = residualColumns();
    batch.columns.push_back({"direction", TextTable::Align::Right});
    batch.cells = [](const Json& report) {
        std::vector<std::string> cells = residualCells(report);
        cells.push_back(rounded(worstDirection(report), 3) + " deg");
        return cells;
    };
    return runBatch(batch);
}

} // namespace

int runRetarget(const RetargetOptions& options)
{
    if (options.files.size() < 2)
        throw BadInput("give a source and a target, as in `sinew retarget walk.bvh hero.glb -o out.glb`");
    std::error_code code;
    const bool folder = fs::is_directory(options.output, code);
    if (options.files.size() > 2 || folder)
        return retargetMany(options);
    if (options.output.empty() && options.writeMap.empty())
        throw BadInput("give an output with -o FILE, or --write-map FILE for the map alone");
    return retargetOne(options);
}

} // namespace app
