// SPDX-License-Identifier: MIT
// The host's own commands as rows of tables: what they are called, take and do.
#pragma once

#include "refhost/Commands.h"

#include <span>

namespace refhost {

struct ArgumentRow {
    const char* name;
    ArgumentType type;
    bool required;
    const char* help;
    const char* words = nullptr; ///< accepted texts parted by blanks; null: every text
};

struct CommandRow {
    const char* name;
    CommandKind kind;
    const char* summary;
    const char* example;
    std::span<const ArgumentRow> arguments;
    Result (*execute)(Invocation&);
    Enabled (*enabled)(Invocation&) = nullptr; ///< null: always
    bool needsScene = true;
};

class HostCommand final : public Command {
public:
    explicit HostCommand(const CommandRow& row);

    const std::string& name() const override { return m_Name; }
    const std::string& summary() const override { return m_Summary; }
    const std::vector<ArgumentSpec>& arguments() const override { return m_Arguments; }
    CommandKind kind() const override { return m_Row.kind; }
    std::string example() const override { return m_Row.example; }
    Enabled enabled(Invocation& invocation) override;
    Result execute(Invocation& invocation) override { return m_Row.execute(invocation); }

private:
    const CommandRow& m_Row;
    std::string m_Name, m_Summary;
    std::vector<ArgumentSpec> m_Arguments;
};

std::span<const CommandRow> sceneCommandRows();
std::span<const CommandRow> itemCommandRows();
std::span<const CommandRow> channelCommandRows();
std::span<const CommandRow> graphCommandRows();
std::span<const CommandRow> selectionCommandRows();
std::span<const CommandRow> historyCommandRows();
std::span<const CommandRow> queryCommandRows();
std::span<const CommandRow> meshCommandRows();
std::span<const CommandRow> toolCommandRows();
std::span<const CommandRow> viewCommandRows();

} // namespace refhost
