// SPDX-License-Identifier: MIT
// Opens a file in a host and writes a picture of it.
#include "shot/ShotCommand.h"

#include "formats/FileKind.h"
#include "shared/Console.h"
#include "shared/Files.h"
#include "shared/GltfFile.h"
#include "shared/MotionFile.h"
#include "shared/Plugin.h"
#include "shot/ScenePicture.h"

#include <refhost/Host.h>
#include <refhost/MotionImport.h>
#include <refhost/SceneFile.h>

#include <algorithm>

namespace app {

namespace {

using refhost::Host;
using refhost::Scene;

/// What was read of a file: a scene, or a figure that is put into an empty one.
struct Opened {
    Scene& scene;
    refhost::UpAxis up = refhost::UpAxis::Y;
};

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

Scene& openScene(Host& host, const std::string& name, std::string_view text)
{
    loadPlugin(host); // rigs are shown as they are solved
    refhost::ResultOf<std::unique_ptr<Scene>> scene = refhost::readSceneText(host, text, name);
    if (!scene.ok())
        throw BadInput(atPlace(name, "", scene.message));
    return host.addScene(std::move(scene.value));
}

Opened open(Host& host, const ShotOptions& options)
{
    const NamedFile file{"FILE", options.file}, output{"-o", options.output};
    checkFiles({file}, {output});
    const std::string name = inputName(options.file), bytes = readInput(file, {output});
    const bool isScene = refhost::isSceneText(bytes), isGltf = !isScene && formats::isGltf(bytes);
    if (!isGltf && !options.animation.empty())
        throw BadInput("--animation is for glTF files; a BVH file has one motion, a scene its own");
    if (isScene)
        return {openScene(host, name, bytes)};
    Opened opened{host.newScene()};
    refhost::ResultOf<refhost::MotionImport> done;
    refhost::Step step(opened.scene.journal(), "import");
    if (isGltf) {
        const formats::Gltf gltf = readGltfMotion(options.file, bytes);
        done = refhost::importMotion(opened.scene, gltf,
                                     {.animation = chosenAnimation(gltf, options.animation)});
    } else {
        MotionOptions motion;
        motion.file = options.file;
        const MotionFile read = readMotionFile(motion, bytes);
        done = refhost::importMotion(opened.scene, read.motion);
        opened.up = read.figure.upAxis == 2 ? refhost::UpAxis::Z : refhost::UpAxis::Y;
    }
    if (!done.ok())
        throw BadInput(atPlace(name, "", done.message));
    if (const refhost::Result kept = step.commit(); !kept.ok())
        throw BadInput(atPlace(name, "", kept.message));
    for (const std::string& warning : done.value.warnings)
        complain(atPlace(name, "", warning));
    return opened;
}

} // namespace

int runShot(const ShotOptions& options)
{
    PictureSettings settings = settingsOf(options);
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
        const auto bytes = render::imageBytes(image, *render::imageFormatOf(options.output));
        if (!bytes)
            throw BadInput(outputName(options.output)
                           + ": the picture could not be encoded; make it smaller");
        writeOutput(options.output, *bytes);
    } catch (const render::RenderError& error) {
        throw BadInput(error.what());
    }
    return kExitDone;
}

} // namespace app
