// SPDX-License-Identifier: MIT
// channel.*: values, keys and links of channels.
#include "commands/CommandText.h"
#include "commands/HostCommand.h"
#include "commands/Lookup.h"
#include "refhost/Host.h"

#include <algorithm>
#include <iterator>

namespace refhost {
namespace {

constexpr const char* kActionWords = "setup edit anim";
constexpr const char* kInterpolationWords = "step linear cubic";
constexpr const char* kTimeHelp = "seconds; the current time otherwise";
constexpr const char* kActionHelp = "which layer of values; edit, the one the user works in, otherwise";
constexpr const char* kItemHelp = "the item; every selected one otherwise";
constexpr const char* kChannelHelp = "the channel's name, such as pos.X or visible";

Action actionArgument(const Arguments& arguments, int index)
{
    return actionByName(arguments.text(index)).value_or(Action::Edit);
}

double timeArgument(const Invocation& invocation, int index)
{
    return invocation.arguments().number(index, invocation.host().time());
}

ResultOf<Matrix34> matrixFromText(const ChannelDefinition& definition, std::string_view text)
{
    const std::vector<double> numbers = numbersFromText(text).value_or(std::vector<double>{});
    constexpr double kLastRow[] = {0, 0, 0, 1};
    const bool lastRow =
        numbers.size() == 16 && std::equal(std::begin(kLastRow), std::end(kLastRow), numbers.begin() + 12);
    if (numbers.size() != 12 && !lastRow) {
        return ResultOf<Matrix34>::failure("The value " + shown(text) + " does not suit '" + definition.name
                                           + "': it is a matrix, three rows of four numbers (the fourth is "
                                             "the position) in quotes; a fourth "
                                             "row would be 0 0 0 1.");
    }
    Matrix34 matrix;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column)
            matrix.linear[row][column] = numbers[static_cast<std::size_t>(4 * row + column)];
        matrix.offset[static_cast<std::size_t>(row)] = numbers[static_cast<std::size_t>(4 * row + 3)];
    }
    return {matrix, {}};
}

/// Does the same to the channel of the named item or of every selected one.
template <class Do>
Result forChannels(const Invocation& invocation, bool make, const Do& act)
{
    const ResultOf<std::vector<Item*>> items = itemOrSelection(invocation, 0);
    if (!items.ok())
        return items.result();
    for (Item* item : items.value) {
        const std::string& name = invocation.arguments().text(1);
        const ResultOf<Channel*> channel = findChannel(*item, name, make);
        if (!channel.ok())
            return channel.result();
        if (!channel.value) {
            return Result::failure("'" + item->label() + "' has no keys on '" + name
                                   + "': nothing was written there yet.");
        }
        if (Result result = act(*channel.value); !result.ok())
            return result;
    }
    return {};
}

constexpr ArgumentRow kSetArguments[] = {
    {"item", ArgumentType::Item, false, kItemHelp},
    {"channel", ArgumentType::Text, true, kChannelHelp},
    {"value", ArgumentType::Text, true,
     "a number, word, text or matrix; an angle in radians, or in degrees as in 90deg"},
    {"action", ArgumentType::Text, false, kActionHelp, kActionWords},
    {"time", ArgumentType::Number, false, kTimeHelp},
    {"mode", ArgumentType::Text, false,
     "plain writes the plain value (the default); key changes the key at the time, or the value where there "
     "are "
     "no keys; createKey makes a key",
     "plain key createKey"},
};
Result setChannel(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    const std::string& text = arguments.text(2);
    const Action action = actionArgument(arguments, 3);
    const double time = timeArgument(invocation, 4);
    const WriteMode mode = arguments.text(5) == "key" ? WriteMode::Key
        : arguments.text(5) == "createKey"            ? WriteMode::CreateKey
                                                      : WriteMode::Plain;
    Scene& scene = *invocation.scene();
    return forChannels(invocation, true, [&](Channel& channel) -> Result {
        if (channel.type() == ChannelType::Text)
            return scene.writeText(channel, action, time, text, mode);
        if (channel.type() == ChannelType::Matrix4) {
            if (mode != WriteMode::Plain)
                return Result::failure("'" + channel.label() + "' is a matrix, and matrices have no keys.");
            const ResultOf<Matrix34> matrix = matrixFromText(channel.definition(), text);
            return matrix.ok() ? scene.writeMatrix(channel, action, matrix.value) : matrix.result();
        }
        const ResultOf<double> number = channelNumber(channel.definition(), text);
        return number.ok() ? scene.writeNumber(channel, action, time, number.value, mode) : number.result();
    });
}

constexpr ArgumentRow kKeyArguments[] = {
    {"item", ArgumentType::Item, false, kItemHelp},
    {"channel", ArgumentType::Text, true, kChannelHelp},
    {"value", ArgumentType::Text, false, "the key's value; what the channel has at the time otherwise"},
    {"time", ArgumentType::Number, false, kTimeHelp},
    {"interpolation", ArgumentType::Text, false,
     "how the value goes on from the key; as the key was before, or linear, otherwise", kInterpolationWords},
    {"inSlope", ArgumentType::Number, false, "change per second where the curve arrives, after a cubic key"},
    {"outSlope", ArgumentType::Number, false, "change per second where the curve leaves a cubic key"},
    {"action", ArgumentType::Text, false, kActionHelp, kActionWords},
};
Result keyChannel(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    const double time = timeArgument(invocation, 3);
    const Action action = actionArgument(arguments, 7);
    Scene& scene = *invocation.scene();
    const Layer layer = scene.layer(action);
    return forChannels(invocation, true, [&](Channel& channel) -> Result {
        if (channel.type() == ChannelType::Text) {
            const std::string text = arguments.isSet(2) ? arguments.text(2) : *channel.text(layer, time);
            return scene.writeText(channel, action, time, text, WriteMode::CreateKey);
        }
        if (channel.type() == ChannelType::Matrix4)
            return Result::failure("'" + channel.label() + "' is a matrix, and matrices have no keys.");
        Key key;
        const KeyList& keys = channel.keys(layer);
        if (const auto former = keys.find(time))
            key = keys.keys()[*former];
        key.time = time;
        key.number = channel.number(layer, time);
        if (arguments.isSet(2)) {
            const ResultOf<double> number = channelNumber(channel.definition(), arguments.text(2));
            if (!number.ok())
                return number.result();
            key.number = number.value;
        }
        for (int i = 0; arguments.isSet(4) && i < static_cast<int>(std::size(kInterpolationNames)); ++i) {
            if (arguments.text(4) == kInterpolationNames[i])
                key.interpolation = static_cast<Interpolation>(i);
        }
        key.inSlope = arguments.number(5, key.inSlope);
        key.outSlope = arguments.number(6, key.outSlope);
        return scene.putKey(channel, action, key);
    });
}

constexpr ArgumentRow kUnkeyArguments[] = {
    {"item", ArgumentType::Item, false, kItemHelp},
    {"channel", ArgumentType::Text, true, kChannelHelp},
    {"time", ArgumentType::Number, false, kTimeHelp},
    {"action", ArgumentType::Text, false, kActionHelp, kActionWords},
};
Result unkeyChannel(Invocation& invocation)
{
    const double time = timeArgument(invocation, 2);
    const Action action = actionArgument(invocation.arguments(), 3);
    return forChannels(invocation, false, [&](Channel& channel) {
        return invocation.scene()->removeKey(channel, action, time);
    });
}

constexpr ArgumentRow kLinkArguments[] = {
    {"from", ArgumentType::Text, true, "the channel that feeds the other, as ITEM.CHANNEL"},
    {"to", ArgumentType::Text, true, "the channel that is fed, as ITEM.CHANNEL"},
};
Result linkOrUnlink(Invocation& invocation, bool link)
{
    Scene& scene = *invocation.scene();
    Channel* ends[2] = {};
    for (int i = 0; i < 2; ++i) {
        const ResultOf<Channel*> end = findItemChannel(scene, invocation.arguments().text(i), link);
        if (!end.ok())
            return end.result();
        if (!end.value)
            return Result::failure(shown(invocation.arguments().text(i)) + " has no links.");
        ends[i] = end.value;
    }
    return link ? scene.addLink(*ends[0], *ends[1]) : scene.deleteLink(*ends[0], *ends[1]);
}
Result linkChannels(Invocation& invocation) { return linkOrUnlink(invocation, true); }
Result unlinkChannels(Invocation& invocation) { return linkOrUnlink(invocation, false); }

constexpr CommandRow kRows[] = {
    {"channel.set", CommandKind::Edit,
     "Writes a channel's value; pos, rot, scl and order are written on the item's transform items.",
     "channel.set item:Arm channel:rot.Z value:45deg action:setup", kSetArguments, setChannel},
    {"channel.key", CommandKind::Edit, "Puts a key on a channel, or changes the one at the same time.",
     "channel.key item:Arm channel:rot.Z value:45deg time:1.5 interpolation:cubic", kKeyArguments,
     keyChannel},
    {"channel.unkey", CommandKind::Edit, "Removes the key at a time.",
     "channel.unkey item:Arm channel:rot.Z time:1.5", kUnkeyArguments, unkeyChannel},
    {"channel.link", CommandKind::Edit, "Feeds a channel from another one.",
     "channel.link from:Goal.wposMatrix to:Hand.ikptMatrix", kLinkArguments, linkChannels},
    {"channel.unlink", CommandKind::Edit, "Removes a link between two channels.",
     "channel.unlink from:Goal.wposMatrix to:Hand.ikptMatrix", kLinkArguments, unlinkChannels},
};

} // namespace

std::span<const CommandRow> channelCommandRows() { return kRows; }

} // namespace refhost
