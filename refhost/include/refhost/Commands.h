// SPDX-License-Identifier: MIT
// The command service of a host: the registry of commands, and the execution of lines of text.
#pragma once

#include "refhost/Command.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace refhost {

struct [[nodiscard]] CommandResult {
    enum class Outcome : std::uint8_t {
        Done,
        Malformed, ///< no such command, or an argument that cannot be used
        Refused, ///< the enable test said no
        Failed, ///< began and was taken back
    };
    Outcome outcome = Outcome::Done;
    std::string message; ///< for the user; may be empty when the command was refused without a word

    bool ok() const { return outcome == Outcome::Done; }
};

class EnableStates;

using OutputSink = std::function<void(std::string_view)>;

/// One line is one command:
///
///     name argument:value argument:"a value with spaces" "first argument by position"
///
/// Words are parted by blanks. A word `argument:value` names its argument; any other word is the next
/// argument by position, counting all of the command's arguments. A value that begins with `"` ends at the
/// next `"` and knows the escapes \" \\ \n \t; one that begins with `'` ends at the next `'` and is taken as
/// it stands. Inside an unquoted value quotes and backslashes are plain characters. A line that begins with
/// `#` is a comment, and so is the rest of a line from a word that begins with `#` and no digit (`#17` is the
/// item with the identifier 17). Lines are UTF-8 without control characters other than tabs.
///
/// An outermost Edit command is one undo step with everything it runs inside; when it fails, the scene is as
/// it was. A command that is executed while another one runs joins its step; one that is refused or fails
/// changes nothing, its message goes to the host's log, and the outer one goes on.
class Commands {
public:
    /// The service of this host, with the host's own commands; made at the first call.
    static Commands& of(Host& host);
    explicit Commands(Host& host);
    ~Commands();

    Host& host() const { return m_Host; }

    /// Refused when the name or an argument's name is no word of letters, digits, `.`, `_`, `-`, or is taken.
    Result add(std::unique_ptr<Command> command);
    /// Refused when there is no such command, or while a command is running.
    Result remove(std::string_view name);
    /// Another name for a command.
    Result addAlias(std::string_view alias, std::string_view name);
    /// By name or alias; null when there is none.
    Command* find(std::string_view name) const;
    /// In order of their names.
    std::vector<Command*> all() const;
    /// Names (aliases too) and their commands, in order.
    const std::map<std::string, Command*, std::less<>>& names() const { return m_Names; }

    /// Runs a line. An empty line and a comment are done at once. Never throws for what the line says.
    CommandResult execute(std::string_view line) { return execute(line, 0); }
    /// The same with the flags that the invocation is to have.
    CommandResult execute(std::string_view line, std::uint32_t executionFlags);
    /// A command without arguments yet. An unknown name is answered with the one that was perhaps meant.
    ResultOf<std::unique_ptr<Invocation>> spawn(std::string_view name);
    /// Reads the line into an invocation without running it; null and no message for an empty line.
    ResultOf<std::unique_ptr<Invocation>> parse(std::string_view line);
    /// Whether execute would run it now: required arguments, then the command's own test.
    Enabled test(Invocation& invocation);
    CommandResult execute(Invocation& invocation);
    /// What the command's own test says without arguments, for lists; remembered where the command names the
    /// events that may change it.
    const Enabled& state(Command& command);
    /// Where relative names of files count from, such as the folder of a script; empty: the program's own.
    void setFolder(std::string folder) { m_Folder = std::move(folder); }
    const std::string& folder() const { return m_Folder; }
    /// Commands that are running now, one inside the other.
    int depth() const { return m_Depth; }

    /// Where queries print, line by line; without a sink the lines are dropped.
    void setOutputSink(OutputSink sink, bool json = false);
    void print(std::string_view line) const;
    bool printsJson() const { return m_PrintsJson; }

    Commands(const Commands&) = delete;
    Commands& operator=(const Commands&) = delete;

private:
    CommandResult run(Invocation& invocation);
    CommandResult runInStep(Invocation& invocation);

    Host& m_Host;
    std::vector<std::unique_ptr<Command>> m_Commands;
    std::map<std::string, Command*, std::less<>> m_Names;
    std::unique_ptr<EnableStates> m_States;
    OutputSink m_Output;
    std::string m_Folder;
    bool m_PrintsJson = false;
    int m_Depth = 0;
};

} // namespace refhost
