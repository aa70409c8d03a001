// SPDX-License-Identifier: MIT
// Fuzz target of the command service: a script of any bytes. A line that fails leaves the document alone, one
// that works is one undo step at most, and undo and redo of everything give the same documents again.
#include "refhost/Commands.h"
#include "refhost/Host.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

void require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "broken promise: %s\n", what);
        std::abort();
    }
}

// What reads and writes files of the machine is no business of a fuzzer; a new scene would hide the old one's
// history, and a change of time drops values that are shown without a key.
constexpr const char* kLeftOut[] = {"scene.new",    "scene.open",  "scene.save", "scene.import",
                                    "scene.export", "module.load", "time.set"};

/// Both documents in full at every line would make long scripts quadratic.
constexpr int kMostLines = 200;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    refhost::Host host;
    refhost::Commands& commands = refhost::Commands::of(host);
    for (const char* name : kLeftOut)
        require(commands.remove(name).ok(), "the commands that are left out exist");
    refhost::Scene& scene = host.newScene();
    refhost::Journal& journal = scene.journal();
    const std::string first = scene.digest();
    std::string last = first;
    std::string_view text(reinterpret_cast<const char*>(data), size);
    for (int line = 0; line < kMostLines && !text.empty(); ++line) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::size_t steps = journal.undoCount() + journal.redoCount();
        const refhost::CommandResult result = commands.execute(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        const std::string now = scene.digest();
        require(!journal.isOpen(), "no step stays open behind a command");
        if (!result.ok()) {
            require(now == last, "a command that fails changes nothing");
            require(journal.undoCount() + journal.redoCount() == steps, "a command that fails is no step");
        }
        last = now;
    }
    while (journal.canRedo())
        require(journal.redo().ok(), "what can be done again is");
    last = scene.digest();
    const std::size_t steps = journal.undoCount();
    while (journal.canUndo())
        require(journal.undo().ok(), "what can be undone is");
    require(scene.digest() == first, "undo of everything gives the first document");
    while (journal.canRedo())
        require(journal.redo().ok(), "what was undone can be done again");
    require(journal.undoCount() == steps && scene.digest() == last, "redo gives the last document");
    return 0;
}
