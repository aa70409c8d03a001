// SPDX-License-Identifier: MIT
// From the options of `track` to files and reports.
#include "track/TrackCommand.h"

#include "report/TrackReportHtml.h"
#include "report/TrackReportJson.h"
#include "shared/Clock.h"
#include "shared/Console.h"
#include "shared/Files.h"
#include "shared/Json.h"
#include "track/TrackInput.h"
#include "track/TrackRun.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <filesystem>

namespace app {

namespace {

constexpr std::size_t kAnimationFrames = 3000; // keeps the page at a few megabytes

std::vector<NamedFile> outputsOf(const TrackOptions& options)
{
    return {{"-o", options.output},
            {"--report", options.htmlFile},
            {"--report-json", options.jsonFile},
            {"--json", options.json ? std::string(kStandardStream) : ""}};
}

void describe(const TrackOptions& options, TrackReport& report)
{
    report.input = inputName(options.motion.file);
    report.output = outputName(options.output);
    report.htmlFile = outputName(options.htmlFile);
    report.steps = options.settings.steps;
    report.tolerance = options.settings.tolerance;
    report.precision = options.settings.precision;
    report.pull = options.settings.pull;
    report.translateRoot = options.settings.translateRoot;
    report.fromRest = options.settings.fromRest;
}

} // namespace

FrameRange parseFrames(const std::string& text, std::size_t frameCount)
{
    FrameRange range{0, frameCount - 1};
    if (text.empty())
        return range;
    const auto refuse = [&](std::string_view why) {
        throw BadInput(
            fmt::format("--frames {}: {}; the file has frames 0 to {}", text, why, frameCount - 1));
    };
    const std::size_t mark = text.find(':');
    if (mark == std::string::npos)
        refuse("give FIRST:LAST, both included, as in 0:99");
    const auto read = [&](std::string_view part, std::size_t& value) {
        if (part.empty())
            return;
        const auto [stop, error] = std::from_chars(part.data(), part.data() + part.size(), value);
        if (error != std::errc() || stop != part.data() + part.size())
            refuse("give FIRST:LAST as whole numbers from 0, as in 0:99");
    };
    read(std::string_view(text).substr(0, mark), range.first);
    read(std::string_view(text).substr(mark + 1), range.last);
    if (range.first > range.last)
        refuse("the first frame lies behind the last");
    if (range.last >= frameCount)
        refuse("the last frame lies behind the end");
    return range;
}

std::optional<double> parseMaxMeanError(const std::string& text, double height)
{
    if (text.empty())
        return std::nullopt;
    const bool percent = text.back() == '%';
    const char* end = text.data() + text.size() - (percent ? 1 : 0);
    double value = 0;
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || !std::isfinite(value) || value < 0)
        throw BadInput(
            fmt::format("--max-mean-error: '{}' is no limit; give a share of the figure's height, as in "
                        "0.1%, or a length in the file's unit, as in 0.02",
                        text));
    return percent ? value / 100 * height : value;
}

namespace {

int trackOne(const TrackOptions& options)
{
    const Clock::time_point start = Clock::now();
    const NamedFile input{"IN", options.motion.file};
    const std::vector<NamedFile> outputs = outputsOf(options);
    checkFiles({input}, outputs);
    const std::string bytes = readMotionBytes(input, outputs);
    TrackReport report;
    describe(options, report);
    const std::unique_ptr<TrackMotion> motion = openTrackMotion(options, bytes, report);
    const FrameRange range = parseFrames(options.frames, report.fileFrames);
    report.firstFrame = range.first;
    report.lastFrame = range.last;
    report.maxMeanError = parseMaxMeanError(options.maxMeanError, report.height);
    GoalChoice choice =
        options.goals.empty() ? chooseGoals(motion->joints()) : namedGoals(motion->joints(), options.goals);
    report.warnings.insert(report.warnings.end(), choice.notes.begin(), choice.notes.end());
    TrackRequest request{std::move(choice.goals), options.settings, range.first, range.last,
                         options.htmlFile.empty() ? 0 : kAnimationFrames};
    if (report.maxMeanError && std::none_of(request.goals.begin(), request.goals.end(), [](const Goal& goal) {
            return goal.position;
        }))
        throw BadInput(
            "--max-mean-error measures positions, and no goal has one; add a goal JOINT:pos or JOINT:both");
    report.readSeconds = secondsSince(start);

    trackMotion(*motion, request, report);

    const Clock::time_point written = Clock::now();
    writeOutput(options.output, motion->bytes());
    report.writeSeconds = secondsSince(written);
    report.totalSeconds = secondsSince(start);
    if (!options.htmlFile.empty())
        writeOutput(options.htmlFile, trackReportHtml(report));
    if (!options.jsonFile.empty())
        writeOutput(options.jsonFile, jsonText(trackReportJson(report)));

    for (const std::string& warning : report.warnings)
        complain(warning);
    if (options.json)
        print(jsonText(trackReportJson(report)));
    else
        print(trackReportText(report), isPiped(outputs) ? stderr : stdout);
    return report.missed.empty() ? kExitDone : kExitMissed;
}

int trackMany(const TrackOptions& options)
{
    if (!options.htmlFile.empty() || !options.jsonFile.empty())
        throw BadInput(
            "--report and --report-json are for one file; each of several gets a report of its own beside "
            "its result");
    Batch batch;
    batch.subcommand = "track";
    batch.sources = options.files;
    batch.folder = options.output;
    batch.options = options.batch;
    batch.json = options.json;
    batch.columns = residualColumns();
    batch.columns.push_back({"joint step", TextTable::Align::Right});
    batch.cells = [](const Json& report) {
        const Json& step = report.at("joint_step").at("solved");
        std::vector<std::string> cells = residualCells(report);
        cells.push_back(step.is_null() ? "-" : rounded(step.at("degrees").get<double>(), 3) + " deg");
        return cells;
    };
    return runBatch(batch);
}

} // namespace

int runTrack(const TrackOptions& options)
{
    std::error_code code;
    if (options.files.size() > 1 || std::filesystem::is_directory(options.output, code))
        return trackMany(options);
    TrackOptions one = options;
    one.motion.file = options.files.front();
    return trackOne(one);
}

} // namespace app
