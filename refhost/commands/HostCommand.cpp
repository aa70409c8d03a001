// SPDX-License-Identifier: MIT
// A command of the host made from its row.
#include "commands/HostCommand.h"

namespace refhost {
namespace {

std::vector<std::string> wordsOf(std::string_view text)
{
    std::vector<std::string> words;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        words.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return words;
}

} // namespace

HostCommand::HostCommand(const CommandRow& row) : m_Row(row), m_Name(row.name), m_Summary(row.summary)
{
    for (const ArgumentRow& argument : row.arguments) {
        m_Arguments.push_back({argument.name, argument.type, argument.required, argument.help,
                               wordsOf(argument.words ? argument.words : ""), false});
    }
}

Enabled HostCommand::enabled(Invocation& invocation)
{
    if (m_Row.needsScene && !invocation.scene())
        return Enabled::no("There is no scene. Make one with scene.new, or open one with scene.open.");
    return m_Row.enabled ? m_Row.enabled(invocation) : Enabled{};
}

} // namespace refhost
