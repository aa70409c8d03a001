// SPDX-License-Identifier: MIT
// tool.*, tools and gesture: the tool in use, and what the user's hand does with it.
#include "commands/CommandText.h"
#include "commands/GestureAim.h"
#include "commands/HostCommand.h"
#include "commands/Lookup.h"
#include "refhost/Evaluation.h"
#include "refhost/Host.h"
#include "refhost/NearMiss.h"
#include "refhost/ToolHost.h"
#include "refhost/ViewChoice.h"
#include "scene/ExactText.h"

#include <cmath>
#include <optional>

namespace refhost {
namespace {

constexpr ArgumentRow kUseArguments[] = {
    {"name", ArgumentType::Text, false, "the tool, as `tools` lists it; without one the tool is laid down"},
};
Result useTool(Invocation& invocation)
{
    ToolHost& tools = ToolHost::of(invocation.host());
    const std::string& name = invocation.arguments().text(0);
    const Result used = tools.use(name);
    NearMiss near(name);
    for (const std::string& one : tools.names())
        near.offer(one);
    return used.ok() || near.best().empty()
        ? used
        : Result::failure("There is no tool " + shown(name) + "." + near.question());
}

constexpr ArgumentRow kSetArguments[] = {
    {"attribute", ArgumentType::Text, true, "one of those that `tools` lists"},
    {"value", ArgumentType::Number, true, "a number"},
};
Result setAttribute(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    return ToolHost::of(invocation.host()).setAttribute(arguments.text(0), arguments.number(1));
}

Result printTools(Invocation& invocation)
{
    ToolHost& tools = ToolHost::of(invocation.host());
    for (const std::string& name : tools.names()) {
        invocation.print(name + (name == tools.inUse() ? " in use" : ""));
        if (name != tools.inUse())
            continue;
        for (const ToolAttribute& attribute : tools.attributes())
            invocation.print("  " + attribute.name + " " + exactText(tools.attribute(attribute.name).value));
    }
    return {};
}

// Gestures

struct Place {
    int x = 0, y = 0;
};

Result placeOf(const Pixel& pixel, const std::string& what, Place& out)
{
    constexpr double kLimit = 1e6; // pixels; far outside any view
    if (!(std::abs(pixel[0]) <= kLimit && std::abs(pixel[1]) <= kLimit))
        return Result::failure(what + " is too far outside the view.");
    out = {static_cast<int>(std::lround(pixel[0])), static_cast<int>(std::lround(pixel[1]))};
    return {};
}

/// Two numbers are a pixel; anything else is an item, whose place in the view is meant and which is told in
/// `named`.
Result placeArgument(const Invocation& invocation, int index, Place& out, const Item** named = nullptr)
{
    const std::string& text = invocation.arguments().text(index);
    if (const auto numbers = numbersFromText(text); numbers && numbers->size() == 2)
        return placeOf({(*numbers)[0], (*numbers)[1]}, "The pixel " + shown(text), out);
    const ResultOf<Item*> item = findItem(*invocation.scene(), text);
    if (!item.ok())
        return Result::failure(item.message + " Or give a pixel, as in \"400 300\".");
    Channel* channel = item.value->channel("wposMatrix");
    Matrix34 place;
    Pixel pixel;
    if (!channel || !Evaluation::of(*invocation.scene()).matrix(*channel, invocation.host().time(), place)
        || !ToolHost::of(invocation.host()).view().toScreen(place.offset, pixel))
        return Result::failure("'" + item.value->label() + "' has no place in the view.");
    if (named)
        *named = item.value;
    return placeOf(pixel, "'" + item.value->label() + "'", out);
}

enum Argument { kWhat, kFrom, kBy, kTo, kKind, kSteps, kView };

/// Where the gesture ends, from where it starts.
Result endOf(const Invocation& invocation, const Place& start, Place& end)
{
    const Arguments& arguments = invocation.arguments();
    end = start;
    if (arguments.isSet(kTo) && arguments.isSet(kBy))
        return Result::failure("Both 'by' and 'to' say where the drag ends; give one of them.");
    if (arguments.isSet(kTo))
        return placeArgument(invocation, kTo, end);
    if (!arguments.isSet(kBy))
        return {};
    const auto by = numbersFromText(arguments.text(kBy));
    if (!by || by->size() != 2)
        return Result::failure("'by' needs two numbers, the pixels to the right and down, as in \"80 -20\".");
    return placeOf({start.x + (*by)[0], start.y + (*by)[1]}, "The end of the drag", end);
}

/// A pixel under which there is neither handle nor mesh.
Result emptyPlace(const Invocation& invocation, Place& out)
{
    constexpr int kSteps = 9;
    ToolHost& tools = ToolHost::of(invocation.host());
    const View& view = tools.view();
    for (int i = 0; i < kSteps * kSteps; ++i) {
        out = {(view.width - 1) * (i % kSteps) / (kSteps - 1),
               (view.height - 1) * (i / kSteps) / (kSteps - 1)};
        RayHit hit;
        const Pixel pixel{static_cast<double>(out.x), static_cast<double>(out.y)};
        if (tools.partAt(out.x, out.y) < 0
            && !castRay(*invocation.scene(), invocation.host().time(), view.ray(pixel), hit))
            return {};
    }
    return Result::failure("The view has no empty place to click on. Show more with view.set size:5");
}

/// Presses, and tells the user when something else than the item that the gesture names is gripped.
Result press(Invocation& invocation, const Place& start, const Item* wanted, const Gesture& gesture)
{
    ToolHost& tools = ToolHost::of(invocation.host());
    std::optional<GestureAim> aim;
    if (wanted)
        aim.emplace(*wanted, invocation.host().time());
    if (Result result = tools.press(start.x, start.y, gesture); !result.ok() || !aim)
        return result;
    const std::string told = aim->grippedInstead(tools.pressHandles(), tools.pressHandle());
    if (!told.empty())
        invocation.host().tell(MessageLevel::Warning, told);
    return {};
}

Result drag(Invocation& invocation, const Place& start, const Item* wanted, const Gesture& gesture)
{
    constexpr std::int32_t kMaximumSteps = 100000;
    ToolHost& tools = ToolHost::of(invocation.host());
    const std::int32_t steps = invocation.arguments().integer(kSteps, 10);
    Place end;
    if (steps < 1 || steps > kMaximumSteps)
        return Result::failure("'steps' is " + std::to_string(steps) + ", but has to be from 1 to "
                               + std::to_string(kMaximumSteps) + ".");
    if (Result result = endOf(invocation, start, end); !result.ok())
        return result;
    if (Result result = press(invocation, start, wanted, gesture); !result.ok())
        return result;
    for (std::int32_t i = 1; i <= steps; ++i) {
        const double share = static_cast<double>(i) / steps;
        if (Result result = tools.move(static_cast<int>(std::lround(start.x + share * (end.x - start.x))),
                                       static_cast<int>(std::lround(start.y + share * (end.y - start.y))));
            !result.ok())
            return result;
    }
    return tools.release(end.x, end.y);
}

Result click(Invocation& invocation, const Place& place, const Item* wanted, const Gesture& gesture)
{
    const Result pressed = press(invocation, place, wanted, gesture);
    return pressed.ok() ? ToolHost::of(invocation.host()).release(place.x, place.y) : pressed;
}

constexpr ArgumentRow kGestureArguments[] = {
    {"what", ArgumentType::Text, true, "the whole gesture, or a part of it",
     "drag lock pin clear press move release cancel"},
    {"from", ArgumentType::Text, false, "where it begins, or where to click: an item, or a pixel \"x y\""},
    {"by", ArgumentType::Text, false, "how far the pointer moves: pixels to the right and down"},
    {"to", ArgumentType::Text, false, "where the pointer goes: an item, or a pixel"},
    {"kind", ArgumentType::Text, false,
     "move in the plane facing the viewer (otherwise too), with the parent alone, rotate, or free: in the "
     "world plane that faces the viewer most",
     "move parent rotate free"},
    {"steps", ArgumentType::Integer, false, "moves of the pointer on the way; 10 otherwise"},
    {"view", ArgumentType::Text, false, "the camera to see it with; that of view.set, or front, otherwise",
     "front side top free"},
};
Result gesture(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    ToolHost& tools = ToolHost::of(invocation.host());
    const std::string& what = arguments.text(kWhat);
    if (what == "release" || what == "cancel") {
        const Place last = tools.pointer() ? Place{(*tools.pointer())[0], (*tools.pointer())[1]} : Place{};
        return what == "cancel" ? tools.cancel() : tools.release(last.x, last.y);
    }
    if (tools.inUse().empty())
        return Result::failure("No tool is in use. Take one first, as in tool.use ik.pose");
    ViewChoice& choice = ViewChoice::of(invocation.host());
    if (!tools.isPressed() && arguments.isSet(kView))
        choice.look(invocation.host(), cameraByName(arguments.text(kView)).value_or(Camera::Front));
    else if (!tools.isPressed())
        choice.settle(invocation.host());
    Place start, end;
    if (what == "move") {
        if (!tools.isPressed())
            return Result::failure("No button is down. Begin with gesture press.");
        start = {(*tools.pointer())[0], (*tools.pointer())[1]};
        const Result result = endOf(invocation, start, end);
        return result.ok() ? tools.move(end.x, end.y) : result;
    }
    if (what == "clear") {
        const Result result = emptyPlace(invocation, start);
        return result.ok() ? click(invocation, start, nullptr, *gestureByName("lock")) : result;
    }
    if (!arguments.isSet(kFrom))
        return Result::failure("'from' is missing: say where the gesture begins, as in from:LeftHand");
    const Item* item = nullptr;
    if (Result result = placeArgument(invocation, kFrom, start, &item); !result.ok())
        return result;
    if (what == "lock" || what == "pin")
        return click(invocation, start, item, *gestureByName(what));
    const Gesture& kind = *gestureByName(arguments.isSet(kKind) ? arguments.text(kKind) : "move");
    return what == "press" ? press(invocation, start, item, kind) : drag(invocation, start, item, kind);
}

constexpr CommandRow kRows[] = {
    {"tool.use", CommandKind::Session, "Takes a tool of a module in hand; `tool` for short.",
     "tool.use ik.pose", kUseArguments, useTool, nullptr, false},
    {"tool.set", CommandKind::Session, "Sets an attribute of the tool in use.",
     "tool.set attribute:rootWeight value:0.5", kSetArguments, setAttribute, nullptr, false},
    {"tools",
     CommandKind::Query,
     "Lists the tools, and the attributes of the one in use.",
     "tools",
     {},
     printTools,
     nullptr,
     false},
    {"gesture", CommandKind::Session, "Does with the tool what a hand would do in the view.",
     "gesture drag from:LeftHand by:\"80 -20\" kind:move steps:20 view:front", kGestureArguments, gesture},
};

} // namespace

std::span<const CommandRow> toolCommandRows() { return kRows; }

} // namespace refhost
