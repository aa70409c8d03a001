// SPDX-License-Identifier: MIT
// Opens a file in a host and writes a picture of it.
#include "shot/ShotCommand.h"

#include "shared/Console.h"
#include "shared/MotionFile.h"
#include "shared/Plugin.h"
#include "shot/ScenePicture.h"

#include <refhost/Commands.h>
#include <refhost/Host.h>

#include <algorithm>

namespace app {

namespace {

using refhost::Host;
using refhost::Scene;

bool endsWith(const std::string& text, std::string_view end)
{
    return text.size() >= end.size()
        && std::equal(end.rbegin(), end.rend(), text.rbegin(),
                      [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b - 'A' + 'a' : b); });
}

refhost::UpAxis upAxis(const ShotOptions& options)
{
    if (options.up == "z" || options.up == "Z")
        return refhost::UpAxis::Z;
    if (!options.up.empty() || !endsWith(options.file, ".bvh"))
        return refhost::UpAxis::Y;
    MotionOptions motion;
    motion.file = options.file;
    return readMotionFile(motion).figure.upAxis == 2 ? refhost::UpAxis::Z : refhost::UpAxis::Y;
}

PictureSettings settingsOf(const ShotOptions& options)
{
    PictureSettings settings;
    if (!pictureSizeFromText(options.size, settings))
        throw BadInput("--size " + printable(options.size) + ": give " + kPictureSizes);
    const auto camera = refhost::cameraByName(options.camera);
    if (!camera)
        throw BadInput("--camera " + printable(options.camera) + ": there are front, side, top and free");
    settings.camera = *camera;
    if (!options.up.empty() && options.up != "y" && options.up != "Y" && options.up != "z"
        && options.up != "Z")
        throw BadInput("--up " + printable(options.up) + ": a picture's up axis is y or z");
    using Skeleton = render::SceneLook::Skeleton;
    if (options.skeleton == "on")
        settings.look.skeleton = Skeleton::On;
    else if (options.skeleton == "off")
        settings.look.skeleton = Skeleton::Off;
    else if (options.skeleton != "auto")
        throw BadInput("--skeleton " + printable(options.skeleton) + ": there are auto, on and off");
    settings.floor = !options.noFloor;
    settings.up = upAxis(options);
    return settings;
}

/// Opens a scene file, or imports any other file into an empty scene.
Scene& openScene(Host& host, const std::string& file)
{
    const bool isScene = endsWith(file, ".json");
    if (isScene)
        loadPlugin(host); // rigs are shown as they are solved
    host.newScene();
    refhost::Commands& commands = refhost::Commands::of(host);
    const auto command = commands.spawn(isScene ? "scene.open" : "scene.import");
    if (const refhost::Result set = command.value->arguments().setText(0, file); !set.ok())
        throw BadInput(set.message);
    if (const refhost::CommandResult done = commands.execute(*command.value); !done.ok())
        throw BadInput(done.message);
    return *host.currentScene();
}

} // namespace

int runShot(const ShotOptions& options)
{
    const PictureSettings settings = settingsOf(options);
    constexpr int kMostPictures = 400;
    if (options.sheet < 0 || options.sheet > kMostPictures)
        throw BadInput("--sheet: a sheet has 1 to " + std::to_string(kMostPictures) + " pictures");
    Host host;
    host.setMessageSink([](refhost::MessageLevel, std::string_view text) { complain(printable(text)); });
    Scene& scene = openScene(host, options.file);
    try {
        render::Studio studio;
        render::Image image;
        if (options.sheet > 0) {
            image = sceneSheet(studio, scene, settings, options.time,
                               std::max(lastKeyTime(scene), options.time), options.sheet);
        } else {
            if (const refhost::Result set = host.setTime(options.time); !set.ok())
                throw BadInput(set.message);
            image = scenePicture(studio, scene, settings);
        }
        if (const auto problem = render::writePng(options.output, image))
            throw BadInput(*problem);
    } catch (const render::RenderError& error) {
        throw BadInput(error.what());
    }
    return kExitDone;
}

} // namespace app
