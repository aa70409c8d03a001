// SPDX-License-Identifier: MIT
// A host with an empty scene that is worked by lines of text, and remembers what it said.
#pragma once

#include "refhost/Commands.h"
#include "refhost/Host.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace refhost {

class CommandSession {
public:
    CommandSession()
    {
        host.newScene();
        host.setMessageSink([this](MessageLevel, std::string_view text) { log.emplace_back(text); });
        commands().setOutputSink([this](std::string_view line) { output.emplace_back(line); });
    }

    Commands& commands() { return Commands::of(host); }
    Scene& scene() { return *host.currentScene(); }
    Item& item(std::string_view name) { return *scene().findByUniqueName(name); }

    /// Runs a line that has to work.
    void run(std::string_view line)
    {
        const CommandResult result = commands().execute(line);
        EXPECT_TRUE(result.ok()) << line << ": " << result.message;
    }
    /// Runs a line that has to fail and change nothing; its message.
    std::string fails(std::string_view line)
    {
        const std::string before = scene().digest();
        const std::size_t steps = scene().journal().undoCount();
        const CommandResult result = commands().execute(line);
        EXPECT_FALSE(result.ok()) << line;
        EXPECT_EQ(scene().digest(), before) << line;
        EXPECT_EQ(scene().journal().undoCount(), steps) << line;
        return result.message;
    }
    /// Runs a query that has to work; its lines, parted by line ends.
    std::string ask(std::string_view line)
    {
        output.clear();
        run(line);
        std::string text;
        for (const std::string& part : output)
            text += (text.empty() ? "" : "\n") + part;
        return text;
    }
    /// Unique names of the selected items, each behind a blank.
    std::string selected() const
    {
        std::string names;
        for (const Packet& packet : host.selection().packets(SelectionType::Item))
            names += " " + packet.item->uniqueName();
        return names;
    }

    Host host;
    std::vector<std::string> log, output;
};

} // namespace refhost
