// SPDX-License-Identifier: MIT
// One command of the host: its name, its arguments, when it is enabled and what it does.
#pragma once

#include "refhost/Arguments.h"
#include "refhost/Result.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace refhost {

class Commands;
class Host;
class Invocation;
class Scene;

enum class CommandKind : std::uint8_t {
    Edit, ///< changes the current scene; everything it does is one undo step
    Session, ///< opens and closes scenes, walks the history; no step, and refused inside another command
    Query, ///< changes nothing; prints
};

/// Whether a command may run now; a command that may not can say why, or keep silent.
struct Enabled {
    bool yes = true;
    std::string message;

    static Enabled no(std::string why = {}) { return {false, std::move(why)}; }
};

/// An event after which a command is tested again: `select.event` with a selection type, `action.event` with
/// `edit`; the rest of the argument says what about it.
struct Notifier {
    std::string name, argument;
};

/// One object per command, in the registry of `Commands`. It keeps nothing between two executions: what
/// belongs to one run stands in its Invocation.
class Command {
public:
    virtual ~Command() = default;
    virtual const std::string& name() const = 0;
    /// One sentence for lists and help.
    virtual const std::string& summary() const = 0;
    /// By index, the order of giving them by position.
    virtual const std::vector<ArgumentSpec>& arguments() const = 0;
    virtual CommandKind kind() const { return CommandKind::Edit; }
    /// One line as a user would type it; empty when the usage says enough.
    virtual std::string example() const { return {}; }
    /// When not empty, what `enabled` says may be remembered until one of these events.
    virtual const std::vector<Notifier>& notifiers() const;
    /// Name of the icon for the arguments as they stand; empty for none.
    virtual std::string icon(Invocation&) { return {}; }
    /// Asked before every execution, with the arguments set and checked.
    virtual Enabled enabled(Invocation&) { return {}; }
    /// A failure takes back everything the command did to the scene; the message reaches the user.
    virtual Result execute(Invocation& invocation) = 0;
};

/// A command with arguments, ready to be executed; may be executed again, with other arguments as well. Made
/// by Commands::spawn and not to be kept longer than the command is registered.
class Invocation {
public:
    Invocation(Commands& commands, Command& command);

    Command& command() const { return m_Command; }
    Commands& commands() const { return m_Commands; }
    Host& host() const;
    /// The scene of the most recent `cinema` packet; null when there is none.
    Scene* scene() const;
    Arguments& arguments() { return m_Arguments; }
    const Arguments& arguments() const { return m_Arguments; }

    /// The file that an argument names, seen from the folder that the commands work in.
    std::string filePath(int argument) const;
    /// One line of output, without its line end.
    void print(std::string_view line) const;
    /// Whether output goes to a program, so that every line is to be one JSON value.
    bool printsJson() const;

    /// As the caller gave it, for commands that hand it on to the commands that they run.
    std::uint32_t executionFlags = 0;
    /// For the command's use; lives as long as the invocation.
    std::shared_ptr<void> state;

    Invocation(const Invocation&) = delete;
    Invocation& operator=(const Invocation&) = delete;

private:
    Commands& m_Commands;
    Command& m_Command;
    Arguments m_Arguments;
};

} // namespace refhost
