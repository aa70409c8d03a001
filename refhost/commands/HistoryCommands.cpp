// SPDX-License-Identifier: MIT
// history.*: back and forth through what was done.
#include "commands/HostCommand.h"
#include "refhost/Scene.h"

namespace refhost {
namespace {

constexpr ArgumentRow kCountArguments[] = {
    {"count", ArgumentType::Integer, false, "how many steps; 1 otherwise"},
};
Result walk(Invocation& invocation, bool back)
{
    Journal& journal = invocation.scene()->journal();
    const std::int32_t count = invocation.arguments().integer(0, 1);
    const std::size_t there = back ? journal.undoCount() : journal.redoCount();
    if (count < 1)
        return Result::failure("'count' is " + std::to_string(count) + ", but has to be 1 or more.");
    // All or nothing: a walk that stops on the way would leave the scene somewhere that nobody asked for.
    if (there > 0 && static_cast<std::size_t>(count) > there) {
        return Result::failure("There " + std::string(there == 1 ? "is" : "are") + " only "
                               + std::to_string(there) + (there == 1 ? " step to " : " steps to ")
                               + (back ? "undo." : "redo."));
    }
    for (std::int32_t i = 0; i < count; ++i) {
        if (Result result = back ? journal.undo() : journal.redo(); !result.ok())
            return result;
    }
    return {};
}
Result undo(Invocation& invocation) { return walk(invocation, true); }
Result redo(Invocation& invocation) { return walk(invocation, false); }

constexpr CommandRow kRows[] = {
    {"history.undo", CommandKind::Session, "Takes back the last command; `undo` for short.", "undo 3",
     kCountArguments, undo},
    {"history.redo", CommandKind::Session, "Does again what was taken back last; `redo` for short.", "redo",
     kCountArguments, redo},
};

} // namespace

std::span<const CommandRow> historyCommandRows() { return kRows; }

} // namespace refhost
