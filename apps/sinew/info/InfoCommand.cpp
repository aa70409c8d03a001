// SPDX-License-Identifier: MIT
// Summary, hierarchy and poses of a motion file, as text and as JSON.
#include "info/InfoCommand.h"

#include "formats/FileKind.h"
#include "info/GltfInfo.h"
#include "info/InfoText.h"
#include "info/SceneInfo.h"
#include "shared/Console.h"
#include "shared/Files.h"
#include "shared/Json.h"
#include "shared/TextTable.h"

#include <fmt/format.h>
#include <refhost/SceneFile.h>

#include <algorithm>
#include <charconv>

namespace app {

namespace {

using formats::BvhJoint;
using formats::BvhMotion;

constexpr const char* kChannelNames[] = {"Xposition", "Yposition", "Zposition",
                                         "Xrotation", "Yrotation", "Zrotation"};

const char* channelName(formats::BvhChannel channel)
{
    return kChannelNames[static_cast<std::size_t>(channel)];
}

/// `pos XYZ rot ZYX`: the channels in file order, as runs of one kind.
std::string channelText(const BvhJoint& joint)
{
    std::string text;
    char kind = 0;
    for (const formats::BvhChannel channel : joint.channels) {
        const char* name = channelName(channel);
        if (name[1] != kind)
            text += fmt::format("{}{} ", text.empty() ? "" : " ", name[1] == 'p' ? "pos" : "rot");
        kind = name[1];
        text += name[0];
    }
    return text;
}

std::string jointName(const BvhJoint& joint)
{
    if (!joint.endSite)
        return joint.name;
    return joint.endSiteName.empty() ? "(end)" : fmt::format("(end {})", joint.endSiteName);
}

Json nameOf(const BvhJoint& joint) { return joint.endSite ? Json(nullptr) : Json(joint.name); }

/// By level in the hierarchy; parents come first in a file.
std::vector<std::string> indentedNames(const BvhMotion& motion)
{
    std::vector<std::size_t> levels(motion.joints.size());
    std::vector<std::string> names;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        if (motion.joints[i].parent >= 0)
            levels[i] = levels[static_cast<std::size_t>(motion.joints[i].parent)] + 1;
        names.push_back(indentedName(jointName(motion.joints[i]), levels[i]));
    }
    return names;
}

std::string hierarchyText(const BvhMotion& motion)
{
    const std::vector<std::string> names = indentedNames(motion);
    TextTable table({{"joint"}, {"offset", TextTable::Align::Right}, {"channels"}});
    for (std::size_t i = 0; i < motion.joints.size(); ++i) {
        const BvhJoint& joint = motion.joints[i];
        const std::string offset = fmt::format("{} {} {}", rounded(joint.offset[0]), rounded(joint.offset[1]),
                                               rounded(joint.offset[2]));
        table.add(
            {names[i], offset, channelText(joint) + (joint.addsOffset ? " (added to the offset)" : "")});
    }
    return table.text();
}

std::string whyText(const MotionFile& file)
{
    if (file.unitStated && file.upStated)
        return "as stated";
    std::string why = printable(file.figure.why);
    if (file.unitStated)
        why += "; the unit is as stated";
    if (file.upStated)
        why += "; the up axis is as stated";
    return why;
}

std::string summaryText(const InfoOptions& options, const MotionFile& file)
{
    const BvhMotion& motion = file.motion;
    const std::size_t joints = jointCount(motion);
    const double rate = motion.frameTime > 0 ? 1 / motion.frameTime : 0;
    std::string text = fmt::format("{}\n", printable(inputName(options.motion.file)));
    text += fmt::format("  joints  {} and {} End Site{}\n", joints, motion.joints.size() - joints,
                        motion.joints.size() - joints == 1 ? "" : "s");
    text += fmt::format("  frames  {} of {} s ({} a second), {} s in all\n", motion.frameCount,
                        printable(motion.frameTimeText), rounded(rate),
                        rounded(motion.frameTime * static_cast<double>(motion.frameCount)));
    text += fmt::format("  height  {} units", rounded(file.figure.height));
    if (file.figure.unit != "unknown")
        text += fmt::format(", {} m", rounded(file.figure.height * file.figure.metresPerUnit, 3));
    text += fmt::format("\n  unit    {} ({})\n", printable(file.figure.unit),
                        file.unitStated             ? "as stated"
                            : file.figure.confident ? "a guess"
                                                    : "an unsure guess");
    text += fmt::format("  up      {} ({})\n", upText(file.figure), file.upStated ? "as stated" : "a guess");
    text += fmt::format("  why     {}\n\n", whyText(file));
    text += hierarchyText(motion);
    if (motion.warnings.empty())
        return text + "\nnothing odd found\n";
    text += fmt::format("\n{} odd thing{} found\n", motion.warnings.size(),
                        motion.warnings.size() == 1 ? "" : "s");
    for (const formats::BvhWarning& warning : motion.warnings)
        text += fmt::format("  {}\n", warningText(options.motion, warning));
    return text;
}

Json summaryJson(const InfoOptions& options, const MotionFile& file)
{
    const BvhMotion& motion = file.motion;
    Json joints = Json::array();
    for (const BvhJoint& joint : motion.joints) {
        Json channels = Json::array();
        for (const formats::BvhChannel channel : joint.channels)
            channels.push_back(channelName(channel));
        joints.push_back({{"name", nameOf(joint)},
                          {"end_site", joint.endSite},
                          {"parent", joint.parent},
                          {"offset", joint.offset},
                          {"channels", std::move(channels)},
                          {"adds_offset", joint.addsOffset},
                          {"line", joint.line}});
    }
    Json warnings = Json::array();
    for (const formats::BvhWarning& warning : motion.warnings)
        warnings.push_back({{"line", warning.line}, {"text", warning.text}});
    const std::size_t count = jointCount(motion);
    return {{"file", inputName(options.motion.file)},
            {"joint_count", count},
            {"end_site_count", motion.joints.size() - count},
            {"frame_count", motion.frameCount},
            {"frame_time", motion.frameTime},
            {"frame_time_text", motion.frameTimeText},
            {"rate", motion.frameTime > 0 ? Json(1 / motion.frameTime) : Json(nullptr)},
            {"channel_count", motion.channelCount},
            {"height", file.figure.height},
            {"unit",
             {{"name", file.figure.unit},
              {"metres", file.figure.unit == "unknown" ? Json(nullptr) : Json(file.figure.metresPerUnit)},
              {"stated", file.unitStated}}},
            {"up", {{"axis", upText(file.figure)}, {"stated", file.upStated}}},
            {"confident", file.figure.confident},
            {"why", whyText(file)},
            {"joints", std::move(joints)},
            {"warnings", std::move(warnings)}};
}

int printPose(const InfoOptions& options, const MotionFile& file)
{
    const BvhMotion& motion = file.motion;
    std::size_t frame = 0;
    const char* end = options.pose.data() + options.pose.size();
    const auto [stop, error] = std::from_chars(options.pose.data(), end, frame);
    if (error != std::errc() || stop != end || frame >= motion.frameCount)
        throw BadInput(fmt::format("--pose {}: {}", options.pose,
                                   motion.frameCount == 0
                                       ? "the file has no frames; leave --pose out"
                                       : fmt::format("give a frame from 0 to {}", motion.frameCount - 1)));
    const std::vector<formats::WorldPose> world =
        formats::worldPose(motion, formats::localPose(motion, frame));
    if (options.json) {
        Json joints = Json::array();
        for (std::size_t i = 0; i < world.size(); ++i)
            joints.push_back({{"name", nameOf(motion.joints[i])},
                              {"end_site", motion.joints[i].endSite},
                              {"parent", motion.joints[i].parent},
                              {"position", world[i].position},
                              {"rotation", world[i].rotation}});
        print(jsonText({{"file", inputName(options.motion.file)},
                        {"frame", frame},
                        {"time", motion.frameTime * static_cast<double>(frame)},
                        {"joints", std::move(joints)}}));
        return kExitDone;
    }
    print(fmt::format("{}, frame {}: world position; rotation x, y, z, w\n",
                      printable(inputName(options.motion.file)), frame)
          + poseTable(indentedNames(motion), world));
    return kExitDone;
}

} // namespace

int runInfo(const InfoOptions& options)
{
    const NamedFile file{"FILE", options.motion.file};
    checkFiles({file}, {});
    const std::string bytes = readInput(file, {});
    if (refhost::isSceneText(bytes))
        return runSceneInfo(options, bytes);
    if (formats::isGltf(bytes))
        return runGltfInfo(options, bytes);
    if (!options.animation.empty())
        throw BadInput("--animation is for glTF files; a BVH file has one motion");
    const MotionFile motion = readMotionFile(options.motion, bytes);
    if (!options.pose.empty())
        return printPose(options, motion);
    print(options.json ? jsonText(summaryJson(options, motion)) : summaryText(options, motion));
    return kExitDone;
}

} // namespace app
