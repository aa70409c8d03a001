// SPDX-License-Identifier: MIT
// Scenes that are worked by lines of text.
#include "e2e/commands/CommandScene.h"

#include <refhost/Messages.h>

namespace e2e {

const std::vector<MessageFact> kMessageFacts = {
    {"ikfb.general", 1001},    {"ikfb.general", 1002},    {"ikfb.general", 1003},
    {"ikfb.general", 1100},    {"ikfb.general", 1101},    {"ikfb.general", 1102},
    {"ikfb.general", 1103},    {"ikfb.general", 1104},    {"ikfb.general", 1105},
    {"ikfb.assign", 1001},     {"ikfb.assign", 1002},     {"ikfb.assign", 1003},
    {"ikfb.assign", 1004},     {"ikfb.assign", 1005},     {"ikfb.task", 1001},
    {"ikfb.task", 1002},       {"ikfb.task", 1003},       {"ikfb.task", 1004},
    {"ikfb.task", 1005},       {"ikfb.task", 1006},       {"ikfb.setRest", 1003},
    {"ikfb.goal", 1001},       {"ikfb.goal", 1002},       {"ikfb.goal", 1003},
    {"ikfb.goal", 1004},       {"ikfb.goalAssign", 1001}, {"ikfb.goalAssign", 1002},
    {"ikfb.goalAssign", 1003}, {"ikfb.goalAssign", 1004}, {"ikfb.goalAssign", 1005},
    {"ikfb.goalAssign", 1006}, {"ikfb.goalAssign", 1007}, {"ikfb.chain", 1001},
    {"ikfb.chain", 1002},      {"ikfb.chain", 1003},      {"ikfb.chain", 1005},
    {"ikfb.chain", 1006},      {"ikfb.chain", 1007},      {"ikfb.chain", 1008},
    {"ikfb.remove", 1001},
};

CommandScene::CommandScene()
{
    std::string text = R"({"format": "sinew-messages", "version": 1, "tables": {)";
    std::string table;
    for (const MessageFact& fact : kMessageFacts) {
        if (table != fact.table) {
            text += (table.empty() ? "" : "},") + ('"' + std::string(fact.table)) + "\": {";
            table = fact.table;
        } else {
            text += ',';
        }
        const std::string number = std::to_string(fact.number);
        text += '"' + number + "\": \"" + table + ' ' + number + '"';
    }
    const refhost::Result read = refhost::Messages::of(host).loadText(text + "}}}", "codes");
    EXPECT_TRUE(read.ok()) << read.message;
    commands().setOutputSink([this](std::string_view line) { m_Output.emplace_back(line); });
    run("scene.setup on:true");
}

void CommandScene::run(std::initializer_list<std::string_view> lines)
{
    for (const std::string_view line : lines) {
        const refhost::CommandResult result = commands().execute(line);
        EXPECT_TRUE(result.ok()) << line << ": " << result.message;
    }
}

std::string CommandScene::answer(std::string_view line)
{
    const std::size_t before = digest();
    const std::size_t steps = scene().journal().undoCount();
    const refhost::CommandResult result = commands().execute(line);
    if (result.ok())
        return {};
    EXPECT_EQ(digest(), before) << line;
    EXPECT_EQ(scene().journal().undoCount(), steps) << line;
    return result.message.empty() ? "refused" : result.message;
}

std::string CommandScene::enabled(std::string_view line)
{
    const auto invocation = commands().parse(line);
    if (!invocation.ok())
        return invocation.message;
    const refhost::Enabled enabled = commands().test(*invocation.value);
    return enabled.yes ? "yes" : enabled.message.empty() ? "no" : enabled.message;
}

std::string CommandScene::ask(std::string_view line)
{
    m_Output.clear();
    run(line);
    std::string text;
    for (const std::string& part : m_Output)
        text += (text.empty() ? "" : "; ") + part;
    return text;
}

std::string CommandScene::packages(std::string_view name)
{
    std::string text;
    for (const refhost::Package* package : item(name).packages())
        text += (text.empty() ? "" : " ") + package->name();
    return text;
}

std::string CommandScene::selected()
{
    std::string text;
    for (const refhost::Packet& packet : host.selection().packets(refhost::SelectionType::Item))
        text += (text.empty() ? "" : " ") + packet.item->uniqueName();
    return text;
}

std::string CommandScene::tag(std::string_view name, const char (&code)[5])
{
    const std::string* found = item(name).tags().find(refhost::tagCode(code[0], code[1], code[2], code[3]));
    return found ? *found : "none";
}

double CommandScene::value(std::string_view name, std::string_view channelName, refhost::Layer layer,
                           double time)
{
    return channel(item(name), channelName).number(layer, time);
}

Vector3 CommandScene::values(std::string_view item, const std::string& name, refhost::Layer layer,
                             double time)
{
    return {value(item, name + ".X", layer, time), value(item, name + ".Y", layer, time),
            value(item, name + ".Z", layer, time)};
}

std::string CommandScene::content()
{
    const std::string word = " slots ";
    std::string text = scene().digest();
    for (std::size_t at = 0; (at = text.find(word, at)) != std::string::npos;)
        text.erase(at, text.find_first_not_of("0123456789", at + word.size()) - at);
    return text;
}

Stage::Stage()
{
    run({"item.create name:R", "item.create name:B parent:R", "item.create name:A parent:R",
         "item.create name:C parent:B", "item.create name:D parent:C", "channel.set R pos.Y 1",
         "channel.set B pos.X 1", "channel.set B rot.Z 20deg", "channel.set C pos.X 2",
         "channel.set C rot.X 10deg", "channel.set D pos.X 5", "channel.set D rot.Y 30deg",
         "channel.set A pos.Z 1"});
    run({"item.create name:N", "item.create name:S parent:N", "item.create name:S1 parent:S",
         "item.create name:S2 parent:S1", "channel.set S pos.X -3", "channel.set S1 pos.Y 2",
         "channel.set S2 pos.Y 2", "channel.set S2 rot.Z 40deg"});
    run({"item.create name:F", "item.create name:F1 parent:F", "item.create name:F2 parent:F1",
         "item.create name:L", "item.create name:M type:mesh", "item.create name:G",
         "item.create name:GM type:mesh parent:G"});
    run({"select.set R", "select.add D", "ikfb.assign", "select.set S", "ikfb.assign", "select.clear"});
}

} // namespace e2e
