// SPDX-License-Identifier: MIT
// Starts this program again for each source, a few at a time, and keeps a record of what is done.
#include "retarget/RetargetBatch.h"

#include "formats/FileKind.h"
#include "formats/Files.h"
#include "shared/Console.h"
#include "shared/Files.h"
#include "shared/Json.h"
#include "shared/Progress.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <thread>

extern char** environ;

namespace app {

namespace {

namespace fs = std::filesystem;

constexpr const char* kRecordName = "sinew-retarget.json"; // in the output folder
constexpr int kRecordVersion = 1;
constexpr std::size_t kMostJobs = 256;

enum class State { Waiting, Running, Done, Kept, Missed, Failed };

struct Work {
    std::string source, output, reportFile, errorFile;
    std::string key; ///< of everything that the output follows from
    State state = State::Waiting;
    std::string message; ///< why it failed
    Json report; ///< null without one
};

/// FNV-1a, 64 bits: tells files apart, and is no protection against anybody.
class Digest {
public:
    void add(std::string_view bytes)
    {
        for (const char c : bytes) {
            m_Hash ^= static_cast<unsigned char>(c);
            m_Hash *= 0x100000001b3ULL;
        }
        m_Hash ^= 0xff; // a border, so that parts can't run together
        m_Hash *= 0x100000001b3ULL;
    }
    std::string text() const { return fmt::format("{:016x}", m_Hash); }

private:
    std::uint64_t m_Hash = 0xcbf29ce484222325ULL;
};

/// The file's bytes; empty where it can't be read, which the run itself will say better.
std::string bytesOf(const std::string& path)
{
    std::variant<std::string, formats::FileError> read = formats::readWholeFile(path);
    return read.index() == 0 ? std::get<0>(std::move(read)) : std::string();
}

std::vector<std::string> settingArguments(const RetargetOptions& options)
{
    std::vector<std::string> arguments = {"--steps",     std::to_string(options.settings.steps),
                                          "--tolerance", fmt::format("{}", options.settings.tolerance),
                                          "--animation", std::to_string(options.settings.animation),
                                          "--offsets",   options.offsets};
    const auto limit = [&](const char* name, std::optional<double> value) {
        if (value)
            arguments.insert(arguments.end(), {name, fmt::format("{}", *value)});
    };
    limit("--max-direction", options.limits.directionMean);
    limit("--max-direction-worst", options.limits.directionWorst);
    limit("--max-foot", options.limits.footMean);
    limit("--max-hand", options.limits.handMean);
    limit("--max-step", options.limits.stepRatio);
    if (!options.settings.positions)
        arguments.emplace_back("--no-positions");
    if (options.body)
        arguments.emplace_back("--body");
    if (options.append)
        arguments.emplace_back("--append");
    if (!options.targetAnimation.empty())
        arguments.insert(arguments.end(), {"--target-animation", options.targetAnimation});
    if (!options.map.empty())
        arguments.insert(arguments.end(), {"--map", options.map});
    return arguments;
}

class Batch {
public:
    explicit Batch(const RetargetOptions& options)
        : m_Options(options), m_Target(options.files.back()), m_Settings(settingArguments(options))
    {
    }

    int run()
    {
        check();
        plan();
        readRecord();
        work();
        summary();
        const auto any = [&](State state) {
            return std::any_of(m_Works.begin(), m_Works.end(),
                               [&](const Work& item) { return item.state == state; });
        };
        return any(State::Failed) ? kExitBadInput : any(State::Missed) ? kExitMissed : kExitDone;
    }

private:
    void check() const
    {
        if (m_Options.output.empty())
            throw BadInput("several sources need a folder for the results: -o FOLDER");
        if (!m_Options.htmlFile.empty() || !m_Options.jsonFile.empty() || !m_Options.writeMap.empty())
            throw BadInput("--report, --report-json and --write-map are for one source; each source of "
                           "several gets a report of its own beside its result");
        if (m_Options.jobs > kMostJobs)
            throw BadInput(fmt::format("--jobs: {} won't do; give 1 to {}", m_Options.jobs, kMostJobs));
        std::error_code code;
        fs::create_directories(m_Options.output, code);
        if (!fs::is_directory(m_Options.output, code))
            throw BadInput(fmt::format("-o: {} is no folder and can't be made one; several sources need a "
                                       "folder for the results",
                                       m_Options.output));
        if (!fs::exists(m_Target, code))
            throw BadInput(fmt::format("{}: there is no such file; the target stands last", m_Target));
    }

    void plan()
    {
        const std::string target = bytesOf(m_Target);
        const std::string map = m_Options.map.empty() ? std::string() : bytesOf(m_Options.map);
        const bool isBvh = !formats::isGltf(target);
        std::map<std::string, std::string> names;
        std::vector<NamedFile> inputs = {{"TARGET", m_Target}, {"--map", m_Options.map}};
        std::vector<NamedFile> outputs = {{"-o: the record", recordFile()}};
        for (std::size_t i = 0; i + 1 < m_Options.files.size(); ++i) {
            Work item;
            item.source = m_Options.files[i];
            const std::string stem = fs::path(item.source).stem().string();
            const auto [before, isNew] = names.emplace(stem, item.source);
            if (!isNew)
                throw BadInput(fmt::format("{} and {} would both become {}; rename one of them",
                                           before->second, item.source, stem));
            const fs::path folder = m_Options.output;
            item.output = (folder / (stem + (isBvh ? ".bvh" : ".glb"))).string();
            item.reportFile = (folder / (stem + ".report.json")).string();
            item.errorFile = (folder / (stem + ".messages.txt")).string();
            inputs.push_back({"SOURCE", item.source});
            for (const std::string& output : {item.output, item.reportFile, item.errorFile})
                outputs.push_back({"-o: the result", output});
            Digest digest;
            digest.add(bytesOf(item.source));
            digest.add(target);
            digest.add(map);
            for (const std::string& argument : m_Settings)
                digest.add(argument);
            item.key = digest.text();
            m_Works.push_back(std::move(item));
        }
        checkFiles(inputs, outputs);
    }

    std::string recordFile() const { return (fs::path(m_Options.output) / kRecordName).string(); }

    static std::string digestOfFile(const std::string& path)
    {
        Digest digest;
        digest.add(bytesOf(path));
        return digest.text();
    }

    /// A record that can't be read makes everything anew.
    void readRecord()
    {
        const Json read = Json::parse(bytesOf(recordFile()), nullptr, false);
        if (read.is_object() && read.value("version", 0) == kRecordVersion && read.contains("done")
            && read["done"].is_object())
            m_Record = read["done"];
        if (m_Options.again)
            return;
        for (Work& item : m_Works) {
            const auto entry = m_Record.find(fs::path(item.output).filename().string());
            if (entry == m_Record.end() || !entry->is_object() || entry->value("key", "") != item.key
                || entry->value("output", "") != digestOfFile(item.output))
                continue;
            item.report = Json::parse(bytesOf(item.reportFile), nullptr, false);
            if (item.report.is_object())
                item.state = State::Kept;
        }
    }

    /// Written after each source, so that an interruption costs no more than what was running.
    void record(const Work& item)
    {
        m_Record[fs::path(item.output).filename().string()] = {{"key", item.key},
                                                               {"output", digestOfFile(item.output)}};
        const Json json = {{"version", kRecordVersion}, {"done", m_Record}};
        if (const auto failure = formats::writeFileAtomically(recordFile(), jsonText(json)))
            complain(*failure);
    }

    void work()
    {
        std::size_t jobs = m_Options.jobs;
        if (jobs == 0)
            jobs = std::max<std::size_t>(1, std::thread::hardware_concurrency());
        const auto waiting = static_cast<std::size_t>(std::count_if(
            m_Works.begin(), m_Works.end(), [](const Work& item) { return item.state == State::Waiting; }));
        Progress progress("retargeting files", waiting);
        std::map<pid_t, Work*> running;
        std::size_t done = 0;
        auto next = m_Works.begin();
        while (done < waiting) {
            for (; running.size() < jobs && next != m_Works.end(); ++next) {
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
            const pid_t child = waitpid(-1, &status, 0);
            const auto found = running.find(child);
            if (child < 0 || found == running.end())
                continue;
            finish(*found->second, status);
            running.erase(found);
            progress.update(++done);
        }
    }

    pid_t start(Work& item)
    {
        std::vector<std::string> words = {"sinew", "retarget",  item.source,     m_Target,
                                          "-o",    item.output, "--report-json", item.reportFile};
        words.insert(words.end(), m_Settings.begin(), m_Settings.end());
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&files, STDERR_FILENO, item.errorFile.c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        std::error_code code;
        fs::remove(item.reportFile, code);
        pid_t child = -1;
        const int failure = posix_spawn(&child, "/proc/self/exe", &files, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&files);
        if (failure == 0) {
            item.state = State::Running;
            return child;
        }
        item.state = State::Failed;
        item.message = "the program can't be started again for it";
        return -1;
    }

    void finish(Work& item, int status)
    {
        const int exit = WIFEXITED(status) ? WEXITSTATUS(status) : kExitInternal;
        std::error_code code;
        item.report = Json::parse(bytesOf(item.reportFile), nullptr, false);
        if ((exit == kExitDone || exit == kExitMissed) && item.report.is_object()) {
            item.state = exit == kExitDone ? State::Done : State::Missed;
            if (exit == kExitDone)
                record(item);
            if (fs::file_size(item.errorFile, code) == 0)
                fs::remove(item.errorFile, code);
            return;
        }
        item.state = State::Failed;
        item.report = nullptr;
        const std::string messages = bytesOf(item.errorFile);
        const std::size_t end = messages.find_last_not_of('\n');
        const std::size_t last = end == std::string::npos ? end : messages.rfind('\n', end);
        item.message = end == std::string::npos
            ? "it ended without a message"
            : messages.substr(last == std::string::npos ? 0 : last + 1, end + 1 - (last + 1));
        if (item.message.starts_with("sinew: "))
            item.message.erase(0, 7);
        fs::remove(item.errorFile, code);
    }

    static const char* stateText(State state)
    {
        switch (state) {
        case State::Done:
            return "done";
        case State::Kept:
            return "kept";
        case State::Missed:
            return "missed";
        default:
            return "failed";
        }
    }

    static double worstDirection(const Json& report)
    {
        double worst = 0;
        for (const Json& direction : report.at("directions"))
            worst = std::max(worst, direction.at("degrees").at("mean").get<double>());
        return worst;
    }

    void summary() const
    {
        if (m_Options.json) {
            Json files = Json::array();
            for (const Work& item : m_Works)
                files.push_back({{"source", item.source},
                                 {"output", item.output},
                                 {"state", stateText(item.state)},
                                 {"message", item.message},
                                 {"report", item.report}});
            print(jsonText({{"target", m_Target}, {"files", std::move(files)}}));
            return;
        }
        std::size_t width = 6;
        for (const Work& item : m_Works)
            width = std::max(width, printable(item.source).size());
        std::string text = fmt::format("{:<{}}  {:<7} {:>7} {:>14} {:>12}\n", "source", width, "state",
                                       "frames", "residual mean", "direction");
        for (const Work& item : m_Works) {
            text += fmt::format("{:<{}}  {:<7}", printable(item.source), width, stateText(item.state));
            if (item.report.is_object() && item.report.contains("frames")) {
                const Json& residual = item.report["residual"];
                text += fmt::format(
                    " {:>7} {:>14} {:>12}\n", item.report["frames"]["count"].get<std::size_t>(),
                    residual.is_object() ? rounded(residual["mean_percent"].get<double>(), 3) + " %"
                                         : std::string("-"),
                    rounded(worstDirection(item.report), 3) + " deg");
            } else {
                text += " " + printable(item.message) + "\n";
            }
        }
        print(text);
    }

    const RetargetOptions& m_Options;
    std::string m_Target;
    std::vector<std::string> m_Settings;
    std::vector<Work> m_Works;
    Json m_Record = Json::object();
};

} // namespace

int runRetargetBatch(const RetargetOptions& options) { return Batch(options).run(); }

} // namespace app
