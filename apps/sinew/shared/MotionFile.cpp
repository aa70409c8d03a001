// SPDX-License-Identifier: MIT
// Reads a motion file and applies what the user states about it.
#include "shared/MotionFile.h"

#include "shared/Console.h"

#include <fmt/format.h>
#include <refhost/SceneFile.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace app {

namespace {

struct UnitRow {
    const char* name;
    const char* alias;
    double metres;
};

constexpr UnitRow kUnits[] = {
    {"metres", "m", 1},
    {"decimetres", "dm", 0.1},
    {"centimetres", "cm", 0.01},
    {"millimetres", "mm", 0.001},
    {"inches", "in", 0.0254},
    {"feet", "ft", 0.3048},
    {"6.8 cm units", "cmu", 0.068},
};

void stateUnit(const std::string& text, MotionFile& file)
{
    if (text.empty())
        return;
    file.unitStated = true;
    for (const UnitRow& unit : kUnits) {
        if (text == unit.name || text == unit.alias) {
            file.figure.unit = unit.name;
            file.figure.metresPerUnit = unit.metres;
            return;
        }
    }
    double metres = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, metres);
    if (error != std::errc() || stop != end || !std::isfinite(metres) || !(metres > 0))
        throw BadInput(fmt::format("--unit: '{}' is no unit; give m, dm, cm, mm, in, ft, cmu or the length "
                                   "of one unit in metres, as in 0.068",
                                   text));
    file.figure.unit = text + " m units";
    file.figure.metresPerUnit = metres;
}

/// Extent of the joints along an axis in the rest pose, or in the first frame where position channels carry
/// the bones.
double heightAlong(const formats::BvhMotion& motion, int axis)
{
    const auto extent = [&](const std::vector<formats::LocalPose>& local) {
        double low = std::numeric_limits<double>::infinity();
        double high = -low;
        for (const formats::WorldPose& pose : formats::worldPose(motion, local)) {
            low = std::min(low, pose.position[static_cast<std::size_t>(axis)]);
            high = std::max(high, pose.position[static_cast<std::size_t>(axis)]);
        }
        return high - low;
    };
    const double rest = extent(formats::restPose(motion));
    const double first = motion.frameCount > 0 ? extent(formats::localPose(motion, 0)) : 0;
    return rest < 0.05 * first ? first : rest;
}

void stateUp(const std::string& text, MotionFile& file)
{
    if (text.empty())
        return;
    std::string_view axis = text;
    int sign = 1;
    if (axis.front() == '+' || axis.front() == '-') {
        sign = axis.front() == '-' ? -1 : 1;
        axis.remove_prefix(1);
    }
    const std::size_t index =
        axis.size() == 1 ? std::string_view("xyzXYZ").find(axis) : std::string_view::npos;
    if (index == std::string_view::npos)
        throw BadInput(
            fmt::format("--up: '{}' is no axis; give x, y or z, with a minus sign if it points down", text));
    file.upStated = true;
    file.figure.upAxis = static_cast<int>(index % 3);
    file.figure.upSign = sign;
    file.figure.height = heightAlong(file.motion, file.figure.upAxis);
}

formats::OffsetRule offsetRule(const std::string& text)
{
    if (text == "guess")
        return formats::OffsetRule::Guess;
    if (text == "replace")
        return formats::OffsetRule::Replace;
    if (text == "add")
        return formats::OffsetRule::Add;
    throw BadInput(fmt::format("--offsets: '{}' is no rule; give guess, replace or add", text));
}

} // namespace

std::string readMotionBytes(const NamedFile& file, const std::vector<NamedFile>& outputs)
{
    std::string bytes = readInput(file, outputs);
    if (refhost::isSceneText(bytes))
        throw BadInput(
            inputName(file.path)
            + ": this is a scene of `sinew run`, where scene.open and scene.export make a BVH or GLB file "
              "of its motion; what is read here is BVH and glTF");
    return bytes;
}

formats::BvhMotion readMotionText(const std::string& file, std::string_view text, const std::string& offsets)
{
    formats::BvhReadResult result = formats::readBvh(text, formats::BvhReadOptions{offsetRule(offsets)});
    if (const auto* error = std::get_if<formats::BvhError>(&result))
        throw BadInput(atLine(inputName(file), error->line, error->reason));
    return std::get<formats::BvhMotion>(std::move(result));
}

MotionFile readMotionFile(const MotionOptions& options, std::string_view text)
{
    MotionFile file;
    file.motion = readMotionText(options.file, text, options.offsets);
    file.figure = formats::guessFigure(file.motion);
    stateUp(options.up, file);
    stateUnit(options.unit, file);
    return file;
}

std::string upText(const formats::FigureGuess& figure)
{
    return {figure.upSign < 0 ? '-' : '+', "XYZ"[figure.upAxis]};
}

std::string warningText(const MotionOptions& options, const formats::BvhWarning& warning)
{
    return printable(atLine(inputName(options.file), warning.line, warning.text));
}

std::size_t jointCount(const formats::BvhMotion& motion)
{
    return static_cast<std::size_t>(
        std::count_if(motion.joints.begin(), motion.joints.end(),
                      [](const formats::BvhJoint& joint) { return !joint.endSite; }));
}

} // namespace app
