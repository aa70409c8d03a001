// SPDX-License-Identifier: MIT
// Starts this program again for each source, a few at a time.
#include "shared/Batch.h"

#include "formats/FileKind.h"
#include "shared/BatchRecord.h"
#include "shared/Console.h"
#include "shared/GltfFile.h"
#include "shared/Progress.h"
#include "shared/Version.h"

#include <fmt/format.h>

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <thread>

extern char** environ;

namespace app {

namespace {

namespace fs = std::filesystem;

enum class State : std::uint8_t { Waiting, Done, Kept, Missed, Failed };
constexpr const char* kStateNames[] = {"waiting", "done", "kept", "missed", "failed"};

struct Clip {
    RecordedClip files;
    std::string messages; ///< file
    State state = State::Waiting;
    std::string message; ///< why it failed, or what limit it missed
    Json report; ///< null without one
    std::vector<std::string> cells;
};

/// What a clip becomes: in the format of the file whose motion or figure it has, under its kind of name.
std::string resultEnding(const std::string& path, std::string_view bytes)
{
    if (!formats::isGltf(bytes))
        return ".bvh";
    const std::string ending = endingOf(path);
    return ending == ".vrm" || ending == ".vrma" ? ending : ".glb";
}

/// Behind the last message that a process left; its own prefix is not repeated.
std::string lastMessage(const std::string& messages)
{
    const std::size_t end = messages.find_last_not_of('\n');
    if (end == std::string::npos)
        return "it ended without a message";
    const std::size_t before = messages.rfind('\n', end);
    std::string line = messages.substr(before == std::string::npos ? 0 : before + 1);
    line.resize(line.find_last_not_of('\n') + 1);
    return line.starts_with("sinew: ") ? line.substr(7) : line;
}

/// The limits that a report says were missed.
std::string missedText(const Json& report)
{
    constexpr std::size_t kShown = 2;
    const Json& missed = report.at("missed");
    std::string text;
    for (std::size_t i = 0; i < std::min(missed.size(), kShown); ++i)
        text += (i == 0 ? "" : "; ") + missed.at(i).get<std::string>();
    return missed.size() > kShown ? fmt::format("{}; and {} more", text, missed.size() - kShown) : text;
}

class BatchRun {
public:
    explicit BatchRun(const Batch& batch) : m_Batch(batch) { }

    int run()
    {
        makeFolder();
        plan();
        BatchRecord record(inFolder(recordName()));
        if (!m_Batch.options.again)
            for (Clip& clip : m_Clips)
                if (std::optional<Json> report = record.reportOf(clip.files))
                    if (!take(clip, std::move(*report), State::Kept))
                        complain(fmt::format("{} is damaged; {} is made again", clip.files.report,
                                             clip.files.source));
        work(record);
        print(m_Batch.json ? summaryJson() : summaryText());
        const auto any = [&](State state) {
            return std::any_of(m_Clips.begin(), m_Clips.end(),
                               [&](const Clip& clip) { return clip.state == state; });
        };
        return any(State::Failed) ? kExitBadInput : any(State::Missed) ? kExitMissed : kExitDone;
    }

private:
    std::string recordName() const { return fmt::format("sinew-{}.json", m_Batch.subcommand); }
    std::string inFolder(const std::string& name) const { return (fs::path(m_Batch.folder) / name).string(); }

    void makeFolder() const
    {
        std::error_code code;
        if (std::find(m_Batch.sources.begin(), m_Batch.sources.end(), kStandardStream)
            != m_Batch.sources.end())
            throw BadInput("the standard input can't be one of several sources; give each as a file");
        for (const NamedFile& file : m_Batch.shared)
            if (!file.path.empty() && !fs::exists(file.path, code))
                throw BadInput(fmt::format("{} {}: there is no such file", file.what, file.path));
        const std::string ending = endingOf(m_Batch.folder);
        const bool isThere = fs::is_directory(m_Batch.folder, code);
        if (m_Batch.folder == kStandardStream
            || (!isThere && (ending == ".bvh" || hasGltfEnding(m_Batch.folder))))
            throw BadInput(
                fmt::format("-o {}: that is no folder, which the results of several sources ({}) need",
                            m_Batch.folder, fmt::join(m_Batch.sources, ", ")));
        fs::create_directories(m_Batch.folder, code);
        if (!fs::is_directory(m_Batch.folder, code))
            throw BadInput(
                fmt::format("-o {}: that is no folder and can't be made one; several sources need a "
                            "folder for the results",
                            m_Batch.folder));
    }

    /// Adds a file, and what belongs to it, to the inputs and to what a result follows from. Answers the
    /// ending of a result that is made from it.
    std::string addInput(const NamedFile& file, Digest& digest)
    {
        const std::string bytes = bytesOrNone(file.path);
        digest.add(bytes);
        m_Inputs.push_back(file);
        for (NamedFile& part : partsOf(file, bytes)) {
            digest.add(fs::path(part.path).lexically_relative(folderOf(file.path)).string());
            digest.add(bytesOrNone(part.path));
            m_Inputs.push_back(std::move(part));
        }
        return resultEnding(file.path, bytes);
    }

    void plan()
    {
        Digest common;
        common.add(kVersion);
        for (const std::string& word : m_Batch.options.words)
            common.add(word);
        std::string ending; // of the target's kind, where there is one
        for (const NamedFile& file : m_Batch.shared)
            if (!file.path.empty()) {
                const std::string its = addInput(file, common);
                ending = ending.empty() ? its : ending;
            }
        std::vector<NamedFile> outputs = {{"-o: the record", inFolder(recordName())}};
        std::map<std::string, std::string> stems;
        for (const std::string& source : m_Batch.sources) {
            const std::string stem = fs::path(source).stem().string();
            if (const auto [before, isNew] = stems.emplace(stem, source); !isNew)
                throw BadInput(fmt::format("{} and {} would both become {}; rename one of them",
                                           before->second, source, stem));
            Digest digest = common;
            const std::string own = addInput({"SOURCE", source}, digest);
            Clip clip;
            clip.files = {source, inFolder(stem + (ending.empty() ? own : ending)),
                          inFolder(stem + ".report.json"), digest.text()};
            clip.messages = inFolder(stem + ".messages.txt");
            for (const std::string& output : {clip.files.output, clip.files.report, clip.messages})
                outputs.push_back({"-o: the result", output});
            m_Clips.push_back(std::move(clip));
        }
        checkFiles(m_Inputs, outputs);
        // Nothing but a file can be kept and compared; a pipe would wait for a reader for ever.
        std::error_code code;
        for (const NamedFile& output : outputs)
            if (fs::exists(output.path, code) && !fs::is_regular_file(output.path, code))
                throw BadInput(fmt::format("{} {}: this is no ordinary file; give another folder",
                                           output.what, output.path));
    }

    void work(BatchRecord& record)
    {
        std::signal(SIGCHLD, SIG_DFL); // a shell that ignores its children would hide ours from us
        const std::size_t cores = std::max<std::size_t>(1, std::thread::hardware_concurrency());
        const std::size_t jobs = m_Batch.options.jobs == 0 ? cores : m_Batch.options.jobs;
        const auto waiting = static_cast<std::size_t>(std::count_if(
            m_Clips.begin(), m_Clips.end(), [](const Clip& clip) { return clip.state == State::Waiting; }));
        Progress progress("files", waiting);
        std::map<pid_t, Clip*> running;
        std::size_t done = 0;
        auto next = m_Clips.begin();
        while (done < waiting) {
            for (; running.size() < jobs && next != m_Clips.end(); ++next) {
                if (next->state != State::Waiting)
                    continue;
                if (const pid_t child = start(*next); child > 0)
                    running[child] = &*next;
                else
                    ++done;
            }
            if (running.empty())
                continue;
            int status = 0;
            const auto found = running.find(waitpid(-1, &status, 0));
            if (found == running.end())
                continue;
            finish(*found->second, status, record);
            running.erase(found);
            progress.update(++done);
        }
    }

    pid_t start(Clip& clip) const
    {
        std::vector<std::string> words = {"sinew",           m_Batch.subcommand, "-o",
                                          clip.files.output, "--report-json",    clip.files.report};
        words.insert(words.end(), m_Batch.options.words.begin(), m_Batch.options.words.end());
        words.insert(words.end(), {"--", clip.files.source});
        if (!m_Batch.shared.empty())
            words.push_back(m_Batch.shared.front().path);
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&files, STDERR_FILENO, clip.messages.c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        std::error_code code;
        fs::remove(clip.files.report, code);
        pid_t child = -1;
        const int failure = posix_spawn(&child, "/proc/self/exe", &files, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&files);
        if (failure == 0)
            return child;
        clip.state = State::Failed;
        clip.message = "the program can't be started again for it";
        return -1;
    }

    /// False for a report that lacks what the summary shows.
    bool take(Clip& clip, Json report, State state) const
    {
        try {
            clip.cells = m_Batch.cells(report);
            if (state == State::Missed)
                clip.message = missedText(report);
        } catch (const Json::exception&) {
            return false;
        }
        clip.report = std::move(report);
        clip.state = state;
        return true;
    }

    void finish(Clip& clip, int status, BatchRecord& record) const
    {
        const int exit = WIFEXITED(status) ? WEXITSTATUS(status) : kExitInternal;
        std::error_code code;
        const bool isDone = exit == kExitDone || exit == kExitMissed;
        if (isDone
            && take(clip, parsedJson(bytesOrNone(clip.files.report)),
                    exit == kExitDone ? State::Done : State::Missed)) {
            if (exit == kExitDone)
                record.add(clip.files);
            if (fs::file_size(clip.messages, code) == 0)
                fs::remove(clip.messages, code);
            return;
        }
        clip.state = State::Failed;
        clip.message = isDone ? "it left no usable report" : lastMessage(bytesOrNone(clip.messages));
        fs::remove(clip.messages, code);
    }

    std::string summaryJson() const
    {
        Json files = Json::array();
        for (const Clip& clip : m_Clips)
            files.push_back({{"source", clip.files.source},
                             {"output", clip.files.output},
                             {"state", kStateNames[static_cast<std::size_t>(clip.state)]},
                             {"message", clip.message},
                             {"report", clip.report}});
        Json json = Json::object();
        if (!m_Batch.shared.empty())
            json["target"] = m_Batch.shared.front().path;
        json["files"] = std::move(files);
        return jsonText(json);
    }

    std::string summaryText() const
    {
        std::vector<TextTable::Column> columns = {{"source"}, {"state"}};
        columns.insert(columns.end(), m_Batch.columns.begin(), m_Batch.columns.end());
        columns.push_back({});
        TextTable table(std::move(columns), 0);
        for (const Clip& clip : m_Clips) {
            std::vector<std::string> row = {printable(clip.files.source),
                                            kStateNames[static_cast<std::size_t>(clip.state)]};
            row.insert(row.end(), clip.cells.begin(), clip.cells.end());
            row.resize(2 + m_Batch.columns.size());
            row.push_back(printable(clip.message));
            table.add(std::move(row));
        }
        return table.text();
    }

    const Batch& m_Batch;
    std::vector<NamedFile> m_Inputs;
    std::vector<Clip> m_Clips;
};

} // namespace

std::vector<TextTable::Column> residualColumns()
{
    return {{"frames", TextTable::Align::Right}, {"residual mean", TextTable::Align::Right}};
}

std::vector<std::string> residualCells(const Json& report)
{
    const Json& residual = report.at("residual");
    return {std::to_string(report.at("frames").at("count").get<std::size_t>()),
            residual.is_null() ? "-" : rounded(residual.at("mean_percent").get<double>(), 3) + " %"};
}

int runBatch(const Batch& batch) { return BatchRun(batch).run(); }

} // namespace app
