// SPDX-License-Identifier: MIT
// Sets up camera and floor for a scene.
#include "shot/ScenePicture.h"

#include <fmt/format.h>
#include <refhost/Host.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

namespace app {

namespace {

using refhost::Item;
using refhost::Scene;
using refhost::View;

constexpr render::Colour kTextColour{0.20f, 0.24f, 0.32f, 1};

double lowestOf(const refhost::Framing& framing, refhost::UpAxis up)
{
    return framing.low()[up == refhost::UpAxis::Y ? 1 : 2];
}

View viewOf(const PictureSettings& settings, int width, int height)
{
    View view = View::of(settings.camera, settings.up);
    view.width = width;
    view.height = height;
    return view;
}

/// The floor lies under the lowest thing, or at 0 where that is near it anyway.
render::Surroundings surroundings(const PictureSettings& settings, const View& view, double lowest)
{
    render::Surroundings around;
    around.up = settings.up;
    around.floor = settings.floor;
    around.floorHeight = std::abs(lowest) > 0.25 * view.size ? lowest : 0;
    return around;
}

double lastKeyOf(const Item& item)
{
    double last = 0;
    for (int i = 0; i < item.channelSlotCount(); ++i)
        if (const refhost::Channel* channel = item.channel(i))
            for (const refhost::Layer layer : {refhost::Layer::Setup, refhost::Layer::Anim})
                if (const refhost::KeyList& keys = channel->keys(layer); !keys.empty())
                    last = std::max(last, keys.keys().back().time);
    return last;
}

} // namespace

bool pictureSizeFromText(std::string_view text, PictureSettings& settings)
{
    constexpr int kLeast = 16;
    const char* const end = text.data() + text.size();
    const auto width = std::from_chars(text.data(), end, settings.width);
    if (width.ec != std::errc() || width.ptr == end || (*width.ptr != 'x' && *width.ptr != 'X'))
        return false;
    const auto height = std::from_chars(width.ptr + 1, end, settings.height);
    return height.ec == std::errc() && height.ptr == end && settings.width >= kLeast
        && settings.height >= kLeast && settings.width <= render::kMaximumPictureSide
        && settings.height <= render::kMaximumPictureSide;
}

bool skeletonFromText(std::string_view text, PictureSettings& settings)
{
    constexpr std::string_view kNames[] = {"auto", "on", "off"};
    const auto* name = std::find(std::begin(kNames), std::end(kNames), text);
    settings.look.skeleton = static_cast<render::SceneLook::Skeleton>(name - kNames);
    return name != std::end(kNames);
}

render::Image scenePicture(render::Studio& studio, Scene& scene, double time, const PictureSettings& settings,
                           const View* given)
{
    View view = given ? *given : viewOf(settings, settings.width, settings.height);
    if (!given)
        (void)render::frameScene(scene, time, view, settings.look);
    const render::Shapes shapes = render::sceneShapes(scene, time, view, settings.look);
    const double lowest = lowestOf(render::framingOf(view, shapes), settings.up);
    return studio.picture(shapes, view, surroundings(settings, view, lowest));
}

render::Image sceneSheet(render::Studio& studio, Scene& scene, const PictureSettings& settings, double first,
                         double last, int count)
{
    constexpr double kUpright = 0.75; // width by height that suits a standing figure
    const double across = std::sqrt(count / kUpright * settings.width / settings.height);
    const int rows = std::max(1, static_cast<int>(std::lround(count / std::max(across, 1.0))));
    const int columns = (count + rows - 1) / rows;
    const int width = settings.width / columns, height = settings.height / rows;
    if (width < 16 || height < 16)
        throw render::RenderError(
            fmt::format("{} pictures don't fit into {} by {} pixels; ask for fewer, or for a larger sheet",
                        count, settings.width, settings.height));
    const auto timeOf = [&](int i) { return count > 1 ? first + (last - first) * i / (count - 1) : first; };
    std::vector<View> views;
    double size = 0, lowest = std::numeric_limits<double>::infinity();
    for (int i = 0; i < count; ++i) {
        views.push_back(viewOf(settings, width - 1, height - 1));
        const refhost::Framing framing = render::frameScene(scene, timeOf(i), views.back(), settings.look);
        size = std::max(size, views.back().size);
        lowest = std::min(lowest, lowestOf(framing, settings.up));
    }
    render::Image sheet{columns * width, rows * height, {}};
    sheet.rgb.assign(3 * static_cast<std::size_t>(sheet.width) * static_cast<std::size_t>(sheet.height), 255);
    for (int i = 0; i < count; ++i) {
        View& view = views[static_cast<std::size_t>(i)];
        view.size = size; // one scale for all, so that what grows is seen to grow
        render::Surroundings around = surroundings(settings, view, lowest);
        around.axisCross = false;
        render::addText(around.overlay, 8, 8, fmt::format("{:.2f} s", timeOf(i)), kTextColour, 1.5f);
        sheet.place(studio.picture(render::sceneShapes(scene, timeOf(i), view, settings.look), view, around),
                    i % columns * width, i / columns * height);
    }
    return sheet;
}

double lastKeyTime(const Scene& scene)
{
    double last = 0;
    for (const Item* item : scene.itemsOfType(scene.host().locatorType())) {
        last = std::max(last, lastKeyOf(*item));
        for (int kind = 0; kind < refhost::kTransformKindCount; ++kind)
            if (const Item* transform = item->transformItem(static_cast<refhost::TransformKind>(kind)))
                last = std::max(last, lastKeyOf(*transform));
    }
    return last;
}

} // namespace app
