// SPDX-License-Identifier: MIT
// A command that this program adds to those of the host: the host itself draws nothing.
#include "shot/SessionShot.h"

#include "shot/ScenePicture.h"

#include <refhost/Commands.h>
#include <refhost/Host.h>
#include <refhost/ToolHost.h>

#include <stdexcept>

namespace app {

namespace {

using refhost::ArgumentSpec;
using refhost::ArgumentType;
using refhost::Result;

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
        const std::string& camera = invocation.arguments().text(1);
        if (const Result size = readPictureSize(invocation.arguments(), settings); !size.ok())
            return size;
        try {
            render::Studio studio;
            refhost::View view = refhost::ToolHost::of(invocation.host()).view();
            if (!camera.empty())
                view = fittedView(*invocation.scene(), settingsWith(settings, camera));
            view.width = settings.width;
            view.height = settings.height;
            if (const auto problem = render::writePng(
                    invocation.arguments().text(0), toolPicture(studio, *invocation.scene(), settings, view)))
                return Result::failure(*problem);
        } catch (const render::RenderError& error) {
            return Result::failure(error.what());
        }
        return {};
    }

private:
    static Result readPictureSize(const refhost::Arguments& arguments, PictureSettings& settings)
    {
        if (arguments.isSet(2) && !pictureSizeFromText(arguments.text(2), settings))
            return Result::failure("'size' is '" + arguments.text(2) + "', but has to be " + kPictureSizes
                                   + ".");
        return {};
    }
    static PictureSettings settingsWith(PictureSettings settings, const std::string& camera)
    {
        settings.camera = refhost::cameraByName(camera).value_or(refhost::Camera::Free);
        return settings;
    }

    const std::string m_Name = "shot",
                      m_Summary = "Writes a picture of the scene, with the handles of the tool in use.";
    const std::vector<ArgumentSpec> m_Arguments = {
        {.name = "file", .type = ArgumentType::Text, .required = true, .help = "the PNG file to write"},
        {.name = "camera",
         .help = "a camera that sees all; what view.set chose otherwise",
         .words = {"front", "side", "top", "free"}},
        {.name = "size", .help = "pixels, as in 1280x720, the default"},
    };
};

} // namespace

void addShotCommand(refhost::Host& host)
{
    if (const Result added = refhost::Commands::of(host).add(std::make_unique<SessionShot>()); !added.ok())
        throw std::runtime_error(added.message);
}

} // namespace app
