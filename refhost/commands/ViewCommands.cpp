// SPDX-License-Identifier: MIT
// view.set and draw.list: what the tool's view shows, and what is drawn in it.
#include "commands/CommandText.h"
#include "commands/HostCommand.h"
#include "commands/Lookup.h"
#include "refhost/Evaluation.h"
#include "refhost/Host.h"
#include "refhost/ToolHost.h"
#include "refhost/ViewChoice.h"
#include "scene/ExactText.h"

#include <nlohmann/json.hpp>

namespace refhost {

ViewChoice& ViewChoice::of(Host& host) { return host.desk().attachments().require<ViewChoice>(); }

void ViewChoice::look(Host& host, Camera wanted)
{
    framed = framed && camera == wanted;
    camera = wanted;
    settle(host);
}

void ViewChoice::settle(Host& host)
{
    camera = camera.value_or(Camera::Front);
    if (framed)
        return;
    View& view = ToolHost::of(host).view();
    View made = View::of(*camera, up);
    made.width = view.width;
    made.height = view.height;
    Scene* scene = host.currentScene();
    framed = scene && made.fit(*scene, host.time());
    view = made;
}

namespace {

using Json = nlohmann::ordered_json;

constexpr std::int32_t kMaximumPixels = 32768;
constexpr const char* kUpNames[] = {"y", "z"};

Result pixelArgument(const Arguments& arguments, int index, int& out)
{
    const std::int32_t value = arguments.integer(index, out);
    if (value < 1 || value > kMaximumPixels)
        return Result::failure("'" + arguments.spec(index).name + "' is " + std::to_string(value)
                               + ", but has to be from 1 to " + std::to_string(kMaximumPixels) + ".");
    out = value;
    return {};
}

std::string vectorText(const Vector3& v)
{
    // Adding 0 takes the sign off a zero.
    return exactText(v[0] + 0.0) + ' ' + exactText(v[1] + 0.0) + ' ' + exactText(v[2] + 0.0);
}

void printView(const Invocation& invocation, const View& view)
{
    const ViewChoice& choice = ViewChoice::of(invocation.host());
    const Vector3 direction = view.direction();
    const char* camera = choice.camera ? kCameraNames[static_cast<int>(*choice.camera)] : "front";
    if (invocation.printsJson()) {
        invocation.print(Json({{"camera", camera},
                               {"up", kUpNames[static_cast<int>(choice.up)]},
                               {"width", view.width},
                               {"height", view.height},
                               {"target", view.target},
                               {"direction", direction},
                               {"size", view.size},
                               {"perspective", view.perspective}})
                             .dump());
        return;
    }
    invocation.print(std::string(camera) + ", " + kUpNames[static_cast<int>(choice.up)] + " up, "
                     + std::to_string(view.width) + " x " + std::to_string(view.height) + " pixels, shows "
                     + exactText(view.size) + " around " + vectorText(view.target) + " along "
                     + vectorText(direction));
}

constexpr ArgumentRow kViewArguments[] = {
    {"camera", ArgumentType::Text, false, "where the viewer stands; everything is shown then",
     "front side top free"},
    {"up", ArgumentType::Text, false, "which axis of the world is up", "y z"},
    {"width", ArgumentType::Integer, false, "pixels"},
    {"height", ArgumentType::Integer, false, "pixels"},
    {"target", ArgumentType::Item, false, "an item to put in the middle"},
    {"size", ArgumentType::Number, false, "height of what is seen there, in the scene's unit"},
};
Result setView(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    Host& host = invocation.host();
    ViewChoice& choice = ViewChoice::of(host);
    View view = ToolHost::of(host).view();
    for (const auto& [index, out] : {std::pair{2, &view.width}, {3, &view.height}}) {
        if (Result result = pixelArgument(arguments, index, *out); !result.ok())
            return result;
    }
    const double size = arguments.number(5, view.size);
    if (!(size > 0))
        return Result::failure("'size' is " + exactText(size) + ", but has to be above 0.");
    if (ToolHost::of(host).isPressed())
        return Result::failure("A button is down in the view. Release it first.");
    bool any = false;
    for (int i = 0; i < arguments.count(); ++i)
        any = any || arguments.isSet(i);
    ToolHost::of(host).view() = view;
    if (arguments.isSet(1))
        choice.up = arguments.text(1) == kUpNames[1] ? UpAxis::Z : UpAxis::Y;
    if (arguments.isSet(0) || arguments.isSet(1)) {
        choice.framed = false;
        choice.look(host, cameraByName(arguments.text(0)).value_or(choice.camera.value_or(Camera::Front)));
    } else if (any) {
        choice.settle(host);
    }
    View& now = ToolHost::of(host).view();
    if (Item* item = arguments.item(4)) {
        Matrix34 place;
        if (Channel* channel = item->channel("wposMatrix"))
            (void)Evaluation::of(item->scene()).matrix(*channel, host.time(), place);
        now.target = place.offset;
    }
    if (arguments.isSet(5))
        now.size = size;
    choice.framed = choice.framed || arguments.isSet(4) || arguments.isSet(5);
    if (!any)
        printView(invocation, now);
    return {};
}

Json elementJson(const Scene& scene, const DrawElement& element)
{
    const Item* item = element.item ? scene.find(element.item) : nullptr;
    Json json = {{"kind", kDrawKindNames[static_cast<int>(element.kind)]},
                 {"by", item ? itemText(*item) : "tool"},
                 {"part", element.part},
                 {"colour", element.colour},
                 {"alpha", element.alpha},
                 {"width", element.width},
                 {"dashes", element.dashes}};
    if (element.vertices.empty()) {
        json["centre"] = transformPoint(element.transform, element.centre);
        json["radius"] = element.radius;
        json["axis"] = element.axis;
        json["filled"] = element.filled;
        if (element.kind == DrawKind::Arc) {
            json["start"] = element.start;
            json["end"] = element.end;
        }
    } else {
        json["vertices"] = worldOutline(element);
    }
    return json;
}

std::string elementText(const Scene& scene, const DrawElement& element)
{
    const Item* item = element.item ? scene.find(element.item) : nullptr;
    std::string text = (item ? itemText(*item) : "tool") + " part " + std::to_string(element.part) + ": "
        + kDrawKindNames[static_cast<int>(element.kind)];
    if (element.vertices.empty())
        text += " at " + vectorText(transformPoint(element.transform, element.centre)) + ", radius "
            + exactText(element.radius);
    for (const Vector3& vertex : element.vertices.empty() ? std::vector<Vector3>{} : worldOutline(element))
        text += " (" + vectorText(vertex) + ")";
    return text;
}

constexpr ArgumentRow kDrawArguments[] = {
    {"what", ArgumentType::Text, false, "what items draw, or the tool's handles; both otherwise",
     "items tool"},
    {"json", ArgumentType::Boolean, false, "one JSON value a line"},
};
Result printDrawing(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    ToolHost& tools = ToolHost::of(invocation.host());
    Scene& scene = *invocation.scene();
    DrawingList list;
    if (arguments.text(0) != "tool")
        recordItems(scene, tools.view(), list);
    if (arguments.text(0) != "items")
        tools.draw(list);
    const bool json = invocation.printsJson() || arguments.boolean(1);
    for (const DrawElement& element : list.elements)
        invocation.print(json ? elementJson(scene, element).dump() : elementText(scene, element));
    return {};
}

constexpr CommandRow kRows[] = {
    {"view.set", CommandKind::Query,
     "Turns the view that gestures happen in; `view` for short, and shows it.",
     "view.set camera:front width:1280 height:720", kViewArguments, setView, nullptr, false},
    {"draw.list", CommandKind::Query, "Prints what items and the tool draw; `draw` for short.",
     "draw.list what:items", kDrawArguments, printDrawing},
};

} // namespace

std::span<const CommandRow> viewCommandRows() { return kRows; }

} // namespace refhost
