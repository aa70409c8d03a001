// SPDX-License-Identifier: MIT
// A command that this program adds to those of the host: the host itself draws nothing.
#include "shot/SessionShot.h"

#include "shot/ScenePicture.h"

#include <refhost/Commands.h>
#include <refhost/Host.h>
#include <refhost/ToolHost.h>
#include <refhost/ViewChoice.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace app {

namespace {

using refhost::Arguments;
using refhost::ArgumentSpec;
using refhost::ArgumentType;
using refhost::Result;
using refhost::View;

enum Argument { kFile, kCamera, kSize, kTime, kSheet, kSkeleton, kUp, kFloor };

std::vector<ArgumentSpec> shotArguments()
{
    return {
        {.name = "file",
         .type = ArgumentType::Text,
         .required = true,
         .help = "the picture to write, PNG or JPEG by its ending"},
        {.name = "camera",
         .help = "a camera that sees all; otherwise what view.set or a gesture chose, or else the front",
         .words = {"front", "side", "top", "free"}},
        {.name = "size", .help = "pixels, as in 1280x720, the default"},
        {.name = "time",
         .type = ArgumentType::Number,
         .help = "seconds, and where a sheet begins; the current time, of a sheet 0, otherwise"},
        {.name = "sheet",
         .type = ArgumentType::Integer,
         .help = "so many moments up to the last key side by side, each seen whole"},
        {.name = "skeleton",
         .help = "bones of figures without a mesh and lines within meshes (auto, the default), or on or off",
         .words = {"auto", "on", "off"}},
        {.name = "up", .help = "which axis is up; that of view.set otherwise", .words = {"y", "z"}},
        {.name = "floor", .type = ArgumentType::Boolean, .help = "grid and shadow; true otherwise"},
    };
}

Result refusal(const Arguments& arguments, Argument argument, const std::string& given,
               const std::string& wanted)
{
    return Result::failure("'" + arguments.spec(argument).name + "' is '" + given + "', but has to be "
                           + wanted + ".");
}

/// What the arguments say, and where they leave it open the session's view.
Result readSettings(refhost::Invocation& invocation, PictureSettings& settings)
{
    const Arguments& arguments = invocation.arguments();
    const refhost::ViewChoice& choice = refhost::ViewChoice::of(invocation.host());
    settings.camera = refhost::cameraByName(arguments.text(kCamera))
                          .value_or(choice.camera.value_or(refhost::Camera::Front));
    settings.up = choice.up;
    if (arguments.isSet(kUp))
        settings.up = arguments.text(kUp) == "z" ? refhost::UpAxis::Z : refhost::UpAxis::Y;
    settings.floor = arguments.boolean(kFloor, true);
    if (arguments.isSet(kSkeleton))
        (void)skeletonFromText(arguments.text(kSkeleton), settings);
    if (arguments.isSet(kSize) && !pictureSizeFromText(arguments.text(kSize), settings))
        return refusal(arguments, kSize, arguments.text(kSize), kPictureSizes);
    if (std::abs(arguments.number(kTime)) > refhost::kMaximumTimeSeconds)
        return refusal(arguments, kTime, std::to_string(arguments.number(kTime)),
                       "within " + std::to_string(refhost::kMaximumTimeSeconds) + " seconds");
    if (const int moments = arguments.integer(kSheet, 1); moments < 1 || moments > kMostMoments)
        return refusal(arguments, kSheet, std::to_string(moments),
                       "from 1 to " + std::to_string(kMostMoments));
    return {};
}

/// The tool's view in the picture's rectangle, which shows no less of the scene.
View toolView(refhost::Host& host, const PictureSettings& settings)
{
    View view = refhost::ToolHost::of(host).view();
    const double former = static_cast<double>(view.width) / view.height;
    view.width = settings.width;
    view.height = settings.height;
    view.size *= std::max(1.0, former * settings.height / settings.width);
    return view;
}

class SessionShot final : public refhost::Command {
public:
    const std::string& name() const override { return m_Name; }
    const std::string& summary() const override { return m_Summary; }
    const std::vector<ArgumentSpec>& arguments() const override { return m_Arguments; }
    refhost::CommandKind kind() const override { return refhost::CommandKind::Query; }
    std::string example() const override { return "shot file:drag.png camera:front"; }

    refhost::Enabled enabled(refhost::Invocation& invocation) override
    {
        return invocation.scene() ? refhost::Enabled{}
                                  : refhost::Enabled::no("There is no scene to be shown.");
    }

    Result execute(refhost::Invocation& invocation) override
    {
        PictureSettings settings;
        if (Result read = readSettings(invocation, settings); !read.ok())
            return read;
        const std::string file = invocation.filePath(kFile);
        if (!render::imageFormatOf(file))
            return Result::failure(file + ": " + render::kImageEndings + ".");
        try {
            if (const auto problem = render::writeImage(file, picture(invocation, settings)))
                return Result::failure(*problem);
        } catch (const render::RenderError& error) {
            return Result::failure(error.what());
        }
        return {};
    }

private:
    render::Image picture(refhost::Invocation& invocation, PictureSettings& settings)
    {
        if (!m_Studio)
            m_Studio = std::make_unique<render::Studio>();
        const Arguments& arguments = invocation.arguments();
        refhost::Scene& scene = *invocation.scene();
        if (arguments.isSet(kSheet)) {
            const double first = arguments.number(kTime, 0);
            return sceneSheet(*m_Studio, scene, settings, first, std::max(lastKeyTime(scene), first),
                              arguments.integer(kSheet));
        }
        const double now = invocation.host().time(), time = arguments.number(kTime, now);
        settings.look.handles = time == now; // the tool works at no other
        if (arguments.isSet(kCamera) || arguments.isSet(kUp)
            || !refhost::ViewChoice::of(invocation.host()).framed)
            return scenePicture(*m_Studio, scene, time, settings);
        const View view = toolView(invocation.host(), settings);
        return scenePicture(*m_Studio, scene, time, settings, &view);
    }

    const std::string m_Name = "shot",
                      m_Summary = "Writes a picture of the scene, with the handles of the tool in use.";
    const std::vector<ArgumentSpec> m_Arguments = shotArguments();
    std::unique_ptr<render::Studio> m_Studio; // of all pictures of the session, made for the first
};

} // namespace

void addShotCommand(refhost::Host& host)
{
    if (const Result added = refhost::Commands::of(host).add(std::make_unique<SessionShot>()); !added.ok())
        throw std::runtime_error(added.message);
}

} // namespace app
