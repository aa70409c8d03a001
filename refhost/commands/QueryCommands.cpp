// SPDX-License-Identifier: MIT
// query, items, links, commands, help: what is in a scene and what can be said to it, as text or as JSON.
#include "commands/CommandText.h"
#include "commands/HostCommand.h"
#include "commands/ItemFacts.h"
#include "commands/Lookup.h"
#include "refhost/Evaluation.h"
#include "refhost/Host.h"
#include "refhost/Modules.h"
#include "scene/ExactText.h"

namespace refhost {
namespace {

constexpr const char* kJsonHelp = "one JSON value a line";

/// Where a value is read: evaluated when no action is given.
struct ValueSource {
    std::optional<Action> action;
    double time = 0;
};

double readNumber(Channel& channel, const ValueSource& source)
{
    Scene& scene = channel.item().scene();
    if (source.action)
        return channel.number(scene.layer(*source.action), source.time);
    return Evaluation::of(scene).number(channel, source.time);
}

std::int32_t readInteger(Channel& channel, const ValueSource& source)
{
    Scene& scene = channel.item().scene();
    if (source.action)
        return channel.integer(scene.layer(*source.action), source.time);
    return Evaluation::of(scene).integer(channel, source.time);
}

Matrix34 readMatrix(Channel& channel, const ValueSource& source)
{
    Scene& scene = channel.item().scene();
    Matrix34 matrix;
    if (source.action)
        (void)channel.matrix(scene.layer(*source.action), source.time, matrix);
    else
        (void)Evaluation::of(scene).matrix(channel, source.time, matrix);
    return matrix;
}

std::string readText(Channel& channel, const ValueSource& source)
{
    Scene& scene = channel.item().scene();
    const std::string* text = source.action ? channel.text(scene.layer(*source.action), source.time)
                                            : Evaluation::of(scene).text(channel, source.time);
    return text ? *text : std::string();
}

/// Lines of the value: four for a matrix.
std::vector<std::string> valueLines(Channel& channel, const ValueSource& source)
{
    switch (channel.type()) {
    case ChannelType::Text:
        return {quotedWhereNeeded(readText(channel, source))};
    case ChannelType::Matrix4: {
        const Matrix34 matrix = readMatrix(channel, source);
        std::vector<std::string> rows;
        rows.reserve(4);
        for (int row = 0; row < 4; ++row)
            rows.push_back(matrixRowText(matrix, row));
        return rows;
    }
    default:
        return {isWhole(channel.type()) ? std::to_string(readInteger(channel, source))
                                        : exactText(readNumber(channel, source))};
    }
}

Json valueJson(Channel& channel, const ValueSource& source)
{
    switch (channel.type()) {
    case ChannelType::Text:
        return readText(channel, source);
    case ChannelType::Boolean:
        return readInteger(channel, source) != 0;
    case ChannelType::Integer:
        return readInteger(channel, source);
    case ChannelType::Matrix4: {
        const Matrix34 matrix = readMatrix(channel, source);
        Json rows = Json::array();
        for (int row = 0; row < 3; ++row) {
            rows.push_back({matrix.linear[row][0], matrix.linear[row][1], matrix.linear[row][2],
                            matrix.offset[static_cast<std::size_t>(row)]});
        }
        rows.push_back({0.0, 0.0, 0.0, 1.0});
        return rows;
    }
    default:
        return readNumber(channel, source);
    }
}

void printChannel(const Invocation& invocation, const Item& item, Channel& channel, const ValueSource& source,
                  bool json)
{
    if (json) {
        printJson(invocation,
                  {{"item", itemText(item)},
                   {"channel", channel.name()},
                   {"type", kChannelTypeNames[static_cast<int>(channel.type())]},
                   {"value", valueJson(channel, source)}});
        return;
    }
    std::string line = channel.name();
    for (const std::string& part : valueLines(channel, source))
        line += (line.size() == channel.name().size() ? " " : " | ") + part;
    invocation.print(line);
}

constexpr ArgumentRow kQueryArguments[] = {
    {"item", ArgumentType::Item, false, "the item; the one selected last otherwise"},
    {"channel", ArgumentType::Text, false,
     "the channel, such as pos.X or worldMatrix; all of them otherwise"},
    {"time", ArgumentType::Number, false, "seconds; the current time otherwise"},
    {"action", ArgumentType::Text, false, "the layer to read; what links and modifiers make of it otherwise",
     "setup edit anim"},
    {"json", ArgumentType::Boolean, false, kJsonHelp},
    {"enabled", ArgumentType::Boolean, false,
     "whether the channel can be changed, and why not, in place of its value"},
    {"tags", ArgumentType::Boolean, false, "the item's tags, such as PSTL of a locked joint"},
    {"goals", ArgumentType::Boolean, false,
     "of a rig's solver item: how its last solve ended, and how far each joint is from its goals now"},
};

/// Whether a channel can be changed, the reason when not, and the channels that decide.
void printState(const Invocation& invocation, const Item& item, Channel& channel, double time, bool json,
                bool named)
{
    const ChannelState state = Modules::of(invocation.host()).channelState(channel, time);
    if (json) {
        Json line = {{"item", itemText(item)}, {"channel", channel.name()}, {"enabled", state.enabled}};
        if (!state.enabled)
            line["message"] = state.message;
        line["dependsOn"] = state.dependsOn;
        printJson(invocation, line);
        return;
    }
    std::string line = named ? channel.name() + " " : std::string();
    line += state.enabled ? "yes" : "no";
    if (!state.message.empty())
        line += ": " + state.message;
    if (!named && !state.dependsOn.empty()) {
        invocation.print(line);
        line = "depends on";
        for (const std::string& name : state.dependsOn)
            line += " " + name;
    }
    invocation.print(line);
}

/// A transform item that was never made has its defaults.
void printDefault(const Invocation& invocation, const Item& item, const ChannelDefinition& definition,
                  bool json)
{
    if (!json) {
        invocation.print(exactText(definition.defaultNumber));
        return;
    }
    Json value = definition.defaultNumber;
    if (isWhole(definition.type))
        value = definition.defaultInteger;
    printJson(invocation,
              {{"item", itemText(item)},
               {"channel", definition.name},
               {"type", kChannelTypeNames[static_cast<int>(definition.type)]},
               {"value", std::move(value)}});
}

/// Tags, or goals; what asks for a channel says nothing to them.
Result queryFacts(const Invocation& invocation, const Item& item, bool json)
{
    const Arguments& arguments = invocation.arguments();
    const bool goals = arguments.boolean(7);
    if (goals && arguments.boolean(6))
        return Result::failure("'tags' and 'goals' are two questions; ask one after the other.");
    for (const int other : {1, 2, 3, 5}) {
        if (arguments.isSet(other))
            return Result::failure(
                "'" + arguments.spec(other).name + "' says nothing about "
                + (goals ? "goals, which are told as they are at the current time" : "tags")
                + "; leave it out.");
    }
    if (goals)
        return printGoals(invocation, item, json);
    printTags(invocation, item, json);
    return {};
}

Result query(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    const ResultOf<Item*> item = itemOrMostRecent(invocation, 0);
    if (!item.ok())
        return item.result();
    ValueSource source;
    if (arguments.isSet(3))
        source.action = actionByName(arguments.text(3));
    source.time = arguments.number(2, invocation.host().time());
    if (source.time < -kMaximumTimeSeconds || source.time > kMaximumTimeSeconds)
        return Result::failure("'time' is " + exactText(source.time)
                               + " s, beyond the times that a scene has.");
    const bool json = invocation.printsJson() || arguments.boolean(4), state = arguments.boolean(5);
    if (arguments.boolean(6) || arguments.boolean(7))
        return queryFacts(invocation, *item.value, json);
    if (arguments.isSet(1)) {
        const ResultOf<Channel*> channel = findChannel(*item.value, arguments.text(1), false);
        if (!channel.ok())
            return channel.result();
        if (state && channel.value)
            printState(invocation, *item.value, *channel.value, source.time, json, false);
        else if (state)
            return Result::failure("'" + arguments.text(1) + "' is a transform that '" + item.value->label()
                                   + "' does not have yet; setting it makes it.");
        else if (!channel.value)
            printDefault(invocation, *item.value,
                         *transformChannel(*item.value, arguments.text(1))->definition, json);
        else if (json)
            printChannel(invocation, *item.value, *channel.value, source, true);
        else {
            for (const std::string& line : valueLines(*channel.value, source))
                invocation.print(line);
        }
        return {};
    }
    const auto printAll = [&](const Item& of, int first) {
        for (int i = first; i < of.channelSlotCount(); ++i) {
            if (Channel* channel = of.channel(i)) {
                if (state)
                    printState(invocation, *item.value, *channel, source.time, json, true);
                else
                    printChannel(invocation, *item.value, *channel, source, json);
            }
        }
    };
    printAll(*item.value, 0);
    for (int kind = kTransformKindCount - 1; kind >= 0; --kind) {
        // Their `visible` is nothing that anybody looks at.
        if (const Item* transform = item.value->transformItem(static_cast<TransformKind>(kind)))
            printAll(*transform, 1);
    }
    return {};
}

constexpr ArgumentRow kItemsArguments[] = {
    {"item", ArgumentType::Item, false, "where to begin; the whole scene otherwise"},
    {"json", ArgumentType::Boolean, false, kJsonHelp},
    {"tags", ArgumentType::Boolean, false, "also each item's tags, such as PSTL of a locked joint"},
};

void printItem(const Invocation& invocation, const Item& item, std::size_t level, bool json, bool tags)
{
    if (json) {
        Json packages = Json::array();
        for (const Package* package : item.packages())
            packages.push_back(package->name());
        printJson(invocation,
                  {{"item", itemText(item)},
                   {"name", item.name()},
                   {"id", item.id()},
                   {"type", item.type().name()},
                   {"parent", item.parent() ? Json(itemText(*item.parent())) : Json()},
                   {"packages", std::move(packages)},
                   {"tags", tagsJson(item)}});
        return;
    }
    std::string line(2 * level, ' ');
    line += quotedWhereNeeded(itemText(item)) + " (" + item.type().name() + ")";
    for (const Package* package : item.packages())
        line += " +" + package->name();
    invocation.print(tags ? line + tagsText(item) : line);
}

Result printItems(Invocation& invocation)
{
    const bool json = invocation.printsJson() || invocation.arguments().boolean(1);
    const bool tags = invocation.arguments().boolean(2);
    struct Place {
        const Item* item;
        std::size_t level;
    };
    std::vector<Place> open;
    const auto push = [&](const std::vector<Item*>& items, std::size_t level) {
        for (std::size_t i = items.size(); i-- > 0;)
            open.push_back({items[i], level});
    };
    if (const Item* item = invocation.arguments().item(0))
        open.push_back({item, 0});
    else
        push(invocation.scene()->topItems(), 0);
    while (!open.empty()) {
        const Place place = open.back();
        open.pop_back();
        printItem(invocation, *place.item, place.level, json, tags);
        push(place.item->children(), place.level + 1);
    }
    return {};
}

constexpr ArgumentRow kLinksArguments[] = {
    {"graph", ArgumentType::Text, true, "the graph's name, such as ikRefs, or chanLinks for channels"},
    {"json", ArgumentType::Boolean, false, kJsonHelp},
};
Result printLinks(Invocation& invocation)
{
    const bool json = invocation.printsJson() || invocation.arguments().boolean(1);
    const std::string& name = invocation.arguments().text(0);
    const Scene& scene = *invocation.scene();
    const auto print = [&](const std::string& from, const std::string& to) {
        if (json)
            printJson(invocation, {{"graph", name}, {"from", from}, {"to", to}});
        else
            invocation.print(from + " -> " + to);
    };
    if (name != kChannelGraphName) {
        // Asking the scene for a graph would make it.
        for (const ItemGraph* graph : scene.graphs()) {
            if (graph->name() != name)
                continue;
            for (const Item* item : scene.items()) {
                for (const Item* target : graph->forward(*item))
                    print(itemText(*item), itemText(*target));
            }
        }
        return {};
    }
    for (const Item* item : scene.items()) {
        for (int i = 0; i < item->channelSlotCount(); ++i) {
            const Channel* channel = item->channel(i);
            if (!channel || channel->linkCount() == 0)
                continue;
            for (const Channel* target : scene.channelGraph().forward(*channel))
                print(channelText(*channel), channelText(*target));
        }
    }
    return {};
}

std::string usage(const Command& command)
{
    std::string text = command.name();
    for (const ArgumentSpec& argument : command.arguments()) {
        std::string kind = kArgumentTypeNames[static_cast<int>(argument.type)];
        if (!argument.words.empty()) {
            kind.clear();
            for (const std::string& word : argument.words)
                kind += (kind.empty() ? "" : "|") + word;
        }
        const std::string part = argument.name + ":" + kind;
        text += argument.required ? " " + part : " [" + part + "]";
    }
    return text;
}

Json commandJson(const Command& command)
{
    Json arguments = Json::array();
    for (const ArgumentSpec& argument : command.arguments()) {
        Json one = {{"name", argument.name},
                    {"type", kArgumentTypeNames[static_cast<int>(argument.type)]},
                    {"required", argument.required},
                    {"help", argument.help}};
        if (argument.hidden)
            one["hidden"] = true;
        if (!argument.words.empty())
            one["words"] = argument.words;
        arguments.push_back(std::move(one));
    }
    return {{"command", command.name()},
            {"summary", command.summary()},
            {"arguments", std::move(arguments)},
            {"example", command.example()}};
}

constexpr ArgumentRow kCommandsArguments[] = {
    {"json", ArgumentType::Boolean, false, kJsonHelp},
    {"enabled", ArgumentType::Boolean, false,
     "whether each could run now, without arguments, and why not, in place of what it does"},
};
Result printCommands(Invocation& invocation)
{
    const bool json = invocation.printsJson() || invocation.arguments().boolean(0);
    const bool states = invocation.arguments().boolean(1);
    const std::vector<Command*> commands = invocation.commands().all();
    std::size_t width = 0;
    for (const Command* command : commands)
        width = std::max(width, command->name().size());
    for (Command* command : commands) {
        std::string text = command->summary();
        Json line = json ? commandJson(*command) : Json();
        if (states) {
            Invocation untold(invocation.commands(),
                              *command); // tested now: memory is for what is drawn all the time
            const Enabled state = command->enabled(untold);
            text = state.yes ? "yes" : "no";
            text += state.message.empty() ? "" : ": " + state.message;
            line["enabled"] = state.yes;
            line["message"] = state.message;
        }
        if (json)
            printJson(invocation, line);
        else
            invocation.print(command->name() + std::string(width + 2 - command->name().size(), ' ') + text);
    }
    return {};
}

constexpr const char* kLanguage[] = {
    "One line is one command: name argument:value argument:\"a value with blanks\"",
    "A word without a name is the next argument by position.",
    "In \"...\" stand \\\" \\\\ \\n \\t; '...' is taken as it is.",
    "A line that begins with # is a comment; #17 is the item with the identifier 17.",
    "`commands` lists the commands, `help NAME` explains one.",
};
constexpr ArgumentRow kHelpArguments[] = {
    {"command", ArgumentType::Text, false, "the command's name; how commands are written otherwise"},
    {"json", ArgumentType::Boolean, false, kJsonHelp},
};
Result printHelp(Invocation& invocation)
{
    const bool json = invocation.printsJson() || invocation.arguments().boolean(1);
    if (!invocation.arguments().isSet(0)) {
        for (const char* line : kLanguage) {
            if (json)
                printJson(invocation, line);
            else
                invocation.print(line);
        }
        return {};
    }
    const auto found = invocation.commands().spawn(invocation.arguments().text(0));
    if (!found.ok())
        return Result::failure(found.message);
    Command& command = found.value->command();
    const std::string icon = command.icon(*found.value);
    if (json) {
        Json line = commandJson(command);
        if (!icon.empty())
            line["icon"] = icon;
        printJson(invocation, line);
        return {};
    }
    invocation.print(usage(command));
    invocation.print("  " + command.summary());
    for (const ArgumentSpec& argument : command.arguments())
        invocation.print("  " + argument.name + ": " + argument.help);
    if (!command.example().empty())
        invocation.print("  Example: " + command.example());
    if (!icon.empty())
        invocation.print("  Icon: " + icon);
    return {};
}

constexpr CommandRow kRows[] = {
    {"query", CommandKind::Query, "Prints the value of a channel, or all channels of an item.",
     "query item:Hand channel:worldMatrix time:0.5", kQueryArguments, query},
    {"items", CommandKind::Query, "Prints the tree of items with types and packages.", "items",
     kItemsArguments, printItems},
    {"links", CommandKind::Query, "Prints the links of a graph.", "links graph:ikRefs", kLinksArguments,
     printLinks},
    {"commands", CommandKind::Query, "Lists all commands.", "commands", kCommandsArguments, printCommands,
     nullptr, false},
    {"help", CommandKind::Query, "Explains a command.", "help channel.set", kHelpArguments, printHelp,
     nullptr, false},
};

} // namespace

std::span<const CommandRow> queryCommandRows() { return kRows; }

} // namespace refhost
