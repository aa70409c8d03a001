// SPDX-License-Identifier: MIT
// Finds, tests and runs commands, and keeps each within one undo step.
#include "refhost/Commands.h"

#include "commands/CommandText.h"
#include "commands/EnableStates.h"
#include "commands/HostCommand.h"
#include "commands/NearMiss.h"
#include "refhost/Host.h"

#include <algorithm>
#include <filesystem>

namespace refhost {
namespace {

// Deeper than any honest nesting, and shallow enough for every stack.
constexpr int kMaximumDepth = 64;

struct AliasRow {
    const char* alias;
    const char* name;
};
constexpr AliasRow kAliases[] = {{"undo", "history.undo"},
                                 {"redo", "history.redo"},
                                 {"tool", "tool.use"},
                                 {"view", "view.set"},
                                 {"draw", "draw.list"}};

using Outcome = CommandResult::Outcome;

CommandResult malformed(std::string message) { return {Outcome::Malformed, std::move(message)}; }

class DepthGuard {
public:
    explicit DepthGuard(int& depth) : m_Depth(depth) { ++m_Depth; }
    ~DepthGuard() { --m_Depth; }
    DepthGuard(const DepthGuard&) = delete;
    DepthGuard& operator=(const DepthGuard&) = delete;

private:
    int& m_Depth;
};

std::string listed(const Command& command)
{
    std::string text;
    for (const ArgumentSpec& argument : command.arguments())
        text += (text.empty() ? "" : ", ") + argument.name;
    return text.empty() ? "it takes none" : "it takes " + text;
}

/// Index of the argument that a word is for; -1 with a message.
ResultOf<int> argumentOf(const Command& command, const Arguments& arguments, const CommandWord& word,
                         int position)
{
    const auto fail = [](std::string text) { return ResultOf<int>{-1, std::move(text)}; };
    if (word.name.empty()) {
        if (position < arguments.count())
            return {position, {}};
        return fail("'" + command.name() + "' has no place for " + shown(word.value) + "; " + listed(command)
                    + ". A value with blanks has to stand in quotes.");
    }
    const int index = arguments.find(word.name);
    if (index >= 0)
        return {index, {}};
    NearMiss near(word.name);
    for (const ArgumentSpec& argument : command.arguments())
        near.offer(argument.name);
    return fail("'" + command.name() + "' has no argument '" + word.name + "'; " + listed(command) + "."
                + (near.best().empty() ? " A value by position that holds a colon has to stand in quotes."
                                       : near.question()));
}

} // namespace

Invocation::Invocation(Commands& commands, Command& command)
    : m_Commands(commands), m_Command(command), m_Arguments(commands.host(), command.arguments())
{
}

Host& Invocation::host() const { return m_Commands.host(); }
Scene* Invocation::scene() const { return m_Commands.host().currentScene(); }
std::string Invocation::filePath(int argument) const
{
    const std::string& name = m_Arguments.text(argument);
    const std::string& folder = m_Commands.folder();
    return name.empty() || folder.empty() ? name : (std::filesystem::path(folder) / name).string();
}
void Invocation::print(std::string_view line) const { m_Commands.print(line); }
bool Invocation::printsJson() const { return m_Commands.printsJson(); }

Commands& Commands::of(Host& host) { return host.attachments().require<Commands>(host); }

Commands::Commands(Host& host) : m_Host(host), m_States(std::make_unique<EnableStates>(host))
{
    for (const auto rows : {sceneCommandRows(), itemCommandRows(), channelCommandRows(), graphCommandRows(),
                            selectionCommandRows(), historyCommandRows(), queryCommandRows(),
                            meshCommandRows(), toolCommandRows(), viewCommandRows()}) {
        for (const CommandRow& row : rows)
            (void)add(std::make_unique<HostCommand>(row));
    }
    for (const AliasRow& row : kAliases)
        (void)addAlias(row.alias, row.name);
}

Commands::~Commands() = default;

const std::vector<Notifier>& Command::notifiers() const
{
    static const std::vector<Notifier> kNone;
    return kNone;
}

Result Commands::add(std::unique_ptr<Command> command)
{
    const std::string& name = command->name();
    if (!isCommandWord(name)) {
        return Result::failure("The command name " + shown(name)
                               + " has to begin with a letter and hold letters, digits, '.', '_' and '-'.");
    }
    if (m_Names.contains(name))
        return Result::failure("There is a command named '" + name + "' already.");
    const std::vector<ArgumentSpec>& arguments = command->arguments();
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (!isCommandWord(arguments[i].name))
            return Result::failure("'" + name + "' has an argument named " + shown(arguments[i].name) + ".");
        for (std::size_t j = 0; j < i; ++j) {
            if (arguments[i].name == arguments[j].name) {
                return Result::failure("'" + name + "' has two arguments named '" + arguments[i].name + "'.");
            }
        }
    }
    m_Names.emplace(name, command.get());
    m_Commands.push_back(std::move(command));
    return {};
}

Result Commands::remove(std::string_view name)
{
    Command* command = find(name);
    if (!command || command->name() != name)
        return Result::failure("There is no command named " + shown(name) + ".");
    if (m_Depth > 0)
        return Result::failure("A command is running; '" + command->name() + "' has to stay until it ends.");
    m_States->forget(*command);
    std::erase_if(m_Names, [&](const auto& entry) { return entry.second == command; });
    std::erase_if(m_Commands, [&](const auto& owned) { return owned.get() == command; });
    return {};
}

Result Commands::addAlias(std::string_view alias, std::string_view name)
{
    Command* command = find(name);
    if (!command)
        return Result::failure("There is no command named " + shown(name) + ".");
    if (!isCommandWord(alias) || !m_Names.emplace(alias, command).second)
        return Result::failure(shown(alias) + " is taken, or cannot be the name of a command.");
    return {};
}

Command* Commands::find(std::string_view name) const
{
    const auto found = m_Names.find(name);
    return found == m_Names.end() ? nullptr : found->second;
}

std::vector<Command*> Commands::all() const
{
    std::vector<Command*> commands;
    for (const auto& [name, command] : m_Names) {
        if (name == command->name())
            commands.push_back(command);
    }
    return commands;
}

ResultOf<std::unique_ptr<Invocation>> Commands::spawn(std::string_view name)
{
    if (Command* command = find(name))
        return {std::make_unique<Invocation>(*this, *command), {}};
    NearMiss near(name);
    for (const auto& [known, command] : m_Names)
        near.offer(known);
    return {nullptr,
            "There is no command " + shown(name) + "."
                + (near.best().empty() ? " `commands` lists them." : near.question())};
}

ResultOf<std::unique_ptr<Invocation>> Commands::parse(std::string_view line)
{
    ResultOf<CommandText> text = parseCommandText(line);
    if (!text.ok())
        return {nullptr, std::move(text.message)};
    if (text.value.command.empty())
        return {};
    ResultOf<std::unique_ptr<Invocation>> made = spawn(text.value.command);
    if (!made.ok())
        return made;
    Invocation& invocation = *made.value;
    int position = 0;
    for (const CommandWord& word : text.value.words) {
        ResultOf<int> index = argumentOf(invocation.command(), invocation.arguments(), word, position);
        if (!index.ok())
            return {nullptr, std::move(index.message)};
        position += word.name.empty() ? 1 : 0;
        if (invocation.arguments().isSet(index.value)) {
            return {nullptr,
                    "The argument '" + invocation.arguments().spec(index.value).name
                        + "' is given twice. Leave one of the two values out."};
        }
        if (Result result = invocation.arguments().setFromText(index.value, word.value); !result.ok())
            return {nullptr, std::move(result.message)};
    }
    return made;
}

Enabled Commands::test(Invocation& invocation)
{
    const Command& command = invocation.command();
    const Arguments& arguments = invocation.arguments();
    for (int i = 0; i < arguments.count(); ++i) {
        if (arguments.spec(i).required && !arguments.isSet(i)) {
            return Enabled::no("'" + command.name() + "' needs the argument '" + arguments.spec(i).name
                               + "': " + arguments.spec(i).help + ".");
        }
    }
    if (command.kind() == CommandKind::Session && m_Depth > 0)
        return Enabled::no("'" + command.name() + "' cannot run inside another command.");
    return invocation.command().enabled(invocation);
}

CommandResult Commands::execute(std::string_view line, std::uint32_t executionFlags)
{
    ResultOf<std::unique_ptr<Invocation>> invocation = parse(line);
    if (!invocation.ok()) {
        if (m_Depth > 0)
            m_Host.tell(MessageLevel::Warning, invocation.message);
        return malformed(std::move(invocation.message));
    }
    if (!invocation.value)
        return {};
    invocation.value->executionFlags = executionFlags;
    return execute(*invocation.value);
}

CommandResult Commands::execute(Invocation& invocation)
{
    CommandResult result = run(invocation);
    // The outer command goes on whatever happened, so this is the only place where the user hears of it.
    if (m_Depth > 0 && !result.ok() && !result.message.empty())
        m_Host.tell(MessageLevel::Warning, invocation.command().name() + ": " + result.message);
    return result;
}

CommandResult Commands::run(Invocation& invocation)
{
    if (m_Depth >= kMaximumDepth) {
        return {Outcome::Refused,
                "Commands run each other more than " + std::to_string(kMaximumDepth)
                    + " deep here; one of them has to stop."};
    }
    if (Enabled enabled = test(invocation); !enabled.yes) {
        // Without a word from the command a user at the outside would be left in the dark.
        if (enabled.message.empty() && m_Depth == 0)
            enabled.message = "'" + invocation.command().name() + "' cannot run now.";
        return {Outcome::Refused, std::move(enabled.message)};
    }
    if (invocation.command().kind() == CommandKind::Edit)
        return runInStep(invocation);
    const DepthGuard guard(m_Depth);
    Result result = invocation.command().execute(invocation);
    return {result.ok() ? Outcome::Done : Outcome::Failed, std::move(result.message)};
}

CommandResult Commands::runInStep(Invocation& invocation)
{
    Scene* scene = invocation.scene();
    if (!scene)
        return {Outcome::Refused, "'" + invocation.command().name() + "' needs a scene, and there is none."};
    Journal& journal = scene->journal();
    if (Result allowed = journal.isApplying() ? journal.allowsEdit() : Result{}; !allowed.ok())
        return {Outcome::Refused, std::move(allowed.message)};
    Step step(journal, invocation.command().name());
    if (!step.isOpen())
        return {Outcome::Refused, "The scene cannot be changed while it is being loaded."};
    const DepthGuard guard(m_Depth);
    Result result = invocation.command().execute(invocation);
    if (result.ok())
        result = step.commit();
    return {result.ok() ? Outcome::Done : Outcome::Failed, std::move(result.message)};
}

const Enabled& Commands::state(Command& command)
{
    return m_States->of(command, [&] {
        Invocation invocation(*this, command);
        return command.enabled(invocation);
    });
}

void Commands::setOutputSink(OutputSink sink, bool json)
{
    m_Output = std::move(sink);
    m_PrintsJson = json;
}

void Commands::print(std::string_view line) const
{
    if (m_Output)
        m_Output(line);
}

} // namespace refhost
