// SPDX-License-Identifier: MIT
// Opens a file in a host and writes a picture of it.
#include "shot/ShotCommand.h"

#include "shared/Console.h"
#include "shared/GltfFile.h"
#include "shared/MotionFile.h"
#include "shared/Plugin.h"
#include "shot/ScenePicture.h"

#include <refhost/Commands.h>
#include <refhost/Host.h>
#include <refhost/MotionImport.h>

#include <algorithm>
#include <filesystem>

namespace app {

namespace {

using refhost::Host;
using refhost::Scene;

/// What was read of a file: a scene, or a figure that is put into an empty one.
struct Opened {
    Scene& scene;
    refhost::UpAxis up = refhost::UpAxis::Y;
};

bool isSceneFile(const std::string& file)
{
    std::string ending = std::filesystem::path(file).extension().string();
    for (char& c : ending)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return ending == ".json";
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
    if (!skeletonFromText(options.skeleton, settings))
        throw BadInput("--skeleton " + printable(options.skeleton) + ": there are auto, on and off");
    settings.floor = !options.noFloor;
    return settings;
}

Scene& openScene(Host& host, const std::string& file)
{
    loadPlugin(host); // rigs are shown as they are solved
    host.newScene();
    refhost::Commands& commands = refhost::Commands::of(host);
    const auto command = commands.spawn("scene.open");
    if (const refhost::Result set = command.value->arguments().setText(0, file); !set.ok())
        throw BadInput(set.message);
    if (const refhost::CommandResult done = commands.execute(*command.value); !done.ok())
        throw BadInput(done.message);
    return *host.currentScene();
}

Opened open(Host& host, const ShotOptions& options)
{
    const std::string& file = options.file;
    const bool isGltf = !isSceneFile(file) && isGltfFile(file);
    if (!isGltf && !options.animation.empty())
        throw BadInput("--animation is for glTF files; a BVH file has one motion, a scene its own");
    if (isSceneFile(file))
        return {openScene(host, file)};
    Opened opened{host.newScene()};
    refhost::ResultOf<refhost::MotionImport> done;
    refhost::Step step(opened.scene.journal(), "import");
    if (isGltf) {
        const formats::Gltf gltf = readGltfMotion(file);
        done = refhost::importMotion(opened.scene, gltf,
                                     {.animation = chosenAnimation(gltf, options.animation)});
    } else {
        MotionOptions motion;
        motion.file = file;
        const MotionFile read = readMotionFile(motion);
        done = refhost::importMotion(opened.scene, read.motion);
        opened.up = read.figure.upAxis == 2 ? refhost::UpAxis::Z : refhost::UpAxis::Y;
    }
    if (!done.ok())
        throw BadInput(atPlace(file, "", done.message));
    if (const refhost::Result kept = step.commit(); !kept.ok())
        throw BadInput(atPlace(file, "", kept.message));
    for (const std::string& warning : done.value.warnings)
        complain(atPlace(file, "", warning));
    return opened;
}

} // namespace

int runShot(const ShotOptions& options)
{
    PictureSettings settings = settingsOf(options);
    if (options.sheet < 0 || options.sheet > kMostMoments)
        throw BadInput("--sheet: a sheet has 1 to " + std::to_string(kMostMoments) + " moments");
    if (!render::imageFormatOf(options.output))
        throw BadInput(atPlace("--output " + options.output, "", render::kImageEndings));
    Host host;
    host.setMessageSink([](refhost::MessageLevel, std::string_view text) { complain(printable(text)); });
    const Opened opened = open(host, options);
    settings.up = options.up.empty()             ? opened.up
        : options.up == "z" || options.up == "Z" ? refhost::UpAxis::Z
                                                 : refhost::UpAxis::Y;
    if (const refhost::Result set = host.setTime(options.time); !set.ok())
        throw BadInput(set.message);
    try {
        render::Studio studio;
        const render::Image image = options.sheet > 0
            ? sceneSheet(studio, opened.scene, settings, options.time,
                         std::max(lastKeyTime(opened.scene), options.time), options.sheet)
            : scenePicture(studio, opened.scene, options.time, settings);
        if (const auto problem = render::writeImage(options.output, image))
            throw BadInput(*problem);
    } catch (const render::RenderError& error) {
        throw BadInput(error.what());
    }
    return kExitDone;
}

} // namespace app
