// SPDX-License-Identifier: MIT
// Feeds the lines of a script to a host's command service and tells the user what comes of them.
#include "run/RunCommand.h"

#include "shared/Console.h"
#include "shared/Json.h"
#include "shot/SessionShot.h"

#include <refhost/Commands.h>
#include <refhost/Host.h>
#include <refhost/Modules.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace app {

namespace {

using refhost::CommandResult;
using refhost::MessageLevel;

const char* outcomeName(CommandResult::Outcome outcome)
{
    switch (outcome) {
    case CommandResult::Outcome::Done:
        return "done";
    case CommandResult::Outcome::Malformed:
        return "malformed";
    case CommandResult::Outcome::Refused:
        return "refused";
    case CommandResult::Outcome::Failed:
        break;
    }
    return "failed";
}

class Session {
public:
    explicit Session(const RunOptions& options)
        : m_Options(options), m_Source(options.script == "-" ? "standard input" : options.script)
    {
        m_Host.setMessageSink([this](MessageLevel level, std::string_view text) { hear(level, text); });
        refhost::Commands& commands = refhost::Commands::of(m_Host);
        commands.setOutputSink([this](std::string_view line) { show(line); }, options.json);
        addShotCommand(m_Host);
        if (!options.noModule)
            loadModule(commands);
        // Only now: the module's name comes from the command line.
        if (options.script != "-")
            commands.setFolder(std::filesystem::path(options.script).parent_path().string());
        m_Host.newScene();
    }

    int run(std::istream& input)
    {
        std::string line;
        bool good = true;
        while ((good || m_Options.keepGoing) && std::getline(input, line)) {
            if (m_Line++ == 0 && line.starts_with("\xEF\xBB\xBF"))
                line.erase(0, 3);
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            good = runLine(line) && good;
        }
        if (input.bad())
            throw BadInput(atLine(m_Source, m_Line, "reading stopped here with an error of the system"));
        return good ? kExitDone : kExitBadInput;
    }

private:
    void loadModule(refhost::Commands& commands)
    {
        const std::string path =
            m_Options.module.empty() ? refhost::Modules::defaultPath() : m_Options.module;
        const auto load = commands.spawn("module.load");
        CommandResult result{CommandResult::Outcome::Malformed, load.message};
        if (load.ok()) {
            const refhost::Result set = load.value->arguments().setText(0, path);
            result = set.ok() ? commands.execute(*load.value)
                              : CommandResult{CommandResult::Outcome::Malformed, set.message};
        }
        if (!result.ok())
            throw BadInput(result.message + " Name another module with --module, or use --no-module.");
    }

    /// False when the line failed.
    bool runLine(const std::string& line)
    {
        if (m_Options.echo && !m_Options.json)
            print("> " + printable(line) + "\n");
        m_Output = Json::array();
        m_Messages = Json::array();
        CommandResult result = refhost::Commands::of(m_Host).execute(line);
        if (!result.ok() && result.message.empty())
            result.message = "The command did not run, and did not say why.";
        if (m_Options.json)
            report(line, result);
        if (!result.ok())
            tellLine(result.message);
        std::fflush(stdout); // for who feeds lines one by one, and for when a later line is interrupted
        return result.ok();
    }

    void report(const std::string& line, const CommandResult& result)
    {
        const std::size_t start = line.find_first_not_of(" \t");
        if (result.ok() && (start == std::string::npos || line[start] == '#'))
            return;
        Json record = {{"line", m_Line}, {"command", line}, {"outcome", outcomeName(result.outcome)}};
        if (!result.ok())
            record["error"] = result.message;
        if (!m_Output.empty())
            record["output"] = std::move(m_Output);
        if (!m_Messages.empty())
            record["messages"] = std::move(m_Messages);
        print(jsonText(record, -1));
    }

    /// What a query prints.
    void show(std::string_view line)
    {
        if (!m_Options.json) {
            print(printable(line) + "\n");
            return;
        }
        Json value = Json::parse(line, nullptr, false);
        m_Output.push_back(value.is_discarded() ? Json(line) : std::move(value));
    }

    /// What the host tells its user.
    void hear(MessageLevel level, std::string_view text)
    {
        const char* name = refhost::kMessageLevelNames[static_cast<int>(level)];
        if (m_Options.json && m_Line > 0)
            m_Messages.push_back({{"level", name}, {"text", text}});
        else
            tellLine(level == MessageLevel::Info ? std::string(text)
                                                 : std::string(name) + ": " + std::string(text));
    }

    void tellLine(std::string_view text) const
    {
        while (!text.empty()) {
            const std::size_t end = std::min(text.find('\n'), text.size());
            complain(m_Line > 0 ? atLine(m_Source, m_Line, text.substr(0, end))
                                : std::string(text.substr(0, end)));
            text.remove_prefix(std::min(end + 1, text.size()));
        }
    }

    const RunOptions& m_Options;
    std::string m_Source;
    std::size_t m_Line = 0; // 0 before the first one
    Json m_Output, m_Messages; // of the line that runs
    refhost::Host m_Host; // goes first: it speaks through the rest
};

} // namespace

int runScript(const RunOptions& options)
{
    if (options.noModule && !options.module.empty())
        throw BadInput("--module and --no-module contradict each other; leave one out");
    if (options.script == "-")
        return Session(options).run(std::cin);
    std::error_code error;
    if (std::filesystem::is_directory(options.script, error))
        throw BadInput(options.script + ": this is a folder; name a text file with one command a line");
    std::ifstream file(options.script, std::ios::binary);
    if (!file)
        throw BadInput(
            options.script
            + ": cannot be opened; check the name and the rights, or use - for the standard input");
    return Session(options).run(file);
}

} // namespace app
