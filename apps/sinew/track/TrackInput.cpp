// SPDX-License-Identifier: MIT
// What differs between the formats before a motion is solved: options, unit, height, frames.
#include "track/TrackInput.h"

#include "formats/FileKind.h"
#include "shared/Console.h"
#include "shared/Files.h"
#include "shared/GltfFile.h"
#include "track/BvhTrackMotion.h"
#include "track/GltfTrackMotion.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace app {

namespace {

constexpr std::size_t kShownFileWarnings = 10;
constexpr double kMostFrames = 200000; // hours of motion; beyond it is a mistake in the times

/// The longest chain of bones, for figures that lie flat along the up axis; 1 where there is none.
double longestChain(const std::vector<TrackJoint>& joints)
{
    double longest = 0;
    std::vector<double> chain(joints.size());
    for (std::size_t i = 0; i < chain.size(); ++i) {
        const std::array<double, 3>& step = joints[i].rest.translation;
        if (joints[i].parent >= 0)
            chain[i] =
                chain[static_cast<std::size_t>(joints[i].parent)] + std::hypot(step[0], step[1], step[2]);
        longest = std::max(longest, chain[i]);
    }
    return longest > 0 ? longest : 1;
}

void tellOddities(const std::string& file, const std::vector<std::string>& texts, TrackReport& report)
{
    report.warnings.insert(report.warnings.end(), texts.begin(),
                           texts.begin()
                               + static_cast<std::ptrdiff_t>(std::min(texts.size(), kShownFileWarnings)));
    if (texts.size() > kShownFileWarnings)
        report.warnings.push_back(fmt::format("{}: {} further warnings; `sinew info` lists them all", file,
                                              texts.size() - kShownFileWarnings));
}

[[noreturn]] void refuseNoFrames(const std::string& file)
{
    throw BadInput(fmt::format("{}: the file has no frames, so there is no motion to track", file));
}

std::unique_ptr<TrackMotion> openBvh(const TrackOptions& options, std::string_view bytes, TrackReport& report)
{
    const std::string path = inputName(options.motion.file);
    if (!options.animation.empty() || options.rate)
        throw BadInput(
            fmt::format("--animation and --rate are for glTF; {} is a BVH file, which has one motion "
                        "and states its frame time: leave them out",
                        path));
    if (options.append)
        throw BadInput(fmt::format("--append adds an animation to a glTF file; {} is a BVH file", path));
    report.format = outputFormat(options.output, false, formats::VrmKind::None);
    MotionFile file = readMotionFile(options.motion, bytes);
    if (file.motion.frameCount == 0)
        refuseNoFrames(path);
    report.frameTime = file.motion.frameTime;
    report.unit = file.figure.unit;
    if (file.figure.unit != "unknown")
        report.metresPerUnit = file.figure.metresPerUnit;
    report.up = upText(file.figure);
    std::vector<std::string> oddities;
    for (const formats::BvhWarning& warning : file.motion.warnings)
        oddities.push_back(atLine(path, warning.line, warning.text));
    tellOddities(path, oddities, report);
    auto motion = std::make_unique<BvhTrackMotion>(std::move(file.motion));
    report.height = file.figure.height > 0 ? file.figure.height : longestChain(motion->joints());
    return motion;
}

void checkGltfOptions(const TrackOptions& options)
{
    if (!options.motion.unit.empty() || !options.motion.up.empty() || options.motion.offsets != "guess")
        throw BadInput(
            "glTF states its unit (metres), its up axis (+Y) and where every joint is; leave --unit, "
            "--up and --offsets out");
}

/// From the animation's first key to its last.
std::vector<double> frameTimes(const std::string& path, const formats::GltfAnimation& animation,
                               double frameSeconds)
{
    const double steps = std::round((animation.end - animation.start) / frameSeconds);
    if (!(steps < kMostFrames))
        throw BadInput(fmt::format(
            "{}: the animation lasts {} seconds, which makes more than {} frames of {} "
            "seconds; give a lower --rate",
            path, rounded(animation.end - animation.start, 3), kMostFrames, rounded(frameSeconds, 6)));
    std::vector<double> times(static_cast<std::size_t>(steps) + 1);
    for (std::size_t i = 0; i < times.size(); ++i)
        times[i] = animation.start + static_cast<double>(i) * frameSeconds;
    return times;
}

/// Extent along +Y of the joints at rest.
double restHeight(const std::vector<TrackJoint>& joints, const std::vector<formats::WorldPose>& world)
{
    double low = 0, high = 0;
    for (std::size_t i = 0; i < world.size(); ++i) {
        low = i == 0 ? world[i].position[1] : std::min(low, world[i].position[1]);
        high = i == 0 ? world[i].position[1] : std::max(high, world[i].position[1]);
    }
    // What is left of a sum of rotations is no height.
    const double longest = longestChain(joints);
    return high - low > 1e-6 * longest ? high - low : longest;
}

std::unique_ptr<TrackMotion> openGltf(const TrackOptions& options, std::string_view bytes,
                                      TrackReport& report)
{
    const std::string path = inputName(options.motion.file);
    formats::Gltf gltf = readGltfMotion(options.motion.file, bytes);
    checkGltfOptions(options);
    report.format = outputFormat(options.output, true, gltf.vrm);
    if (gltf.skeleton.empty())
        throw BadInput(fmt::format("{}: the file has no nodes, so there is no skeleton to solve", path));
    if (gltf.animations.empty())
        throw BadInput(fmt::format("{}: the file has no animation, so there is no motion to track; `sinew "
                                   "retarget` gives it the motion of another file",
                                   path));
    const std::size_t animation = chosenAnimation(gltf, options.animation);
    if (gltf.animations[animation].tracks.empty())
        refuseNoFrames(path);
    if (gltf.animations.size() > 1 && options.animation.empty())
        report.warnings.push_back(
            fmt::format("{}: the first of {} animations is solved; --animation names another", path,
                        gltf.animations.size()));
    report.frameTime = options.rate ? 1 / *options.rate : formats::frameStep(gltf.animations[animation]);
    report.unit = "metres";
    report.metresPerUnit = 1;
    report.up = "+Y";
    std::vector<std::string> oddities;
    for (const formats::GltfNote& note : gltf.notes)
        oddities.push_back(atPlace(path, note.place, note.text));
    tellOddities(path, oddities, report);
    std::vector<double> times = frameTimes(path, gltf.animations[animation], report.frameTime);
    auto motion = std::make_unique<GltfTrackMotion>(std::move(gltf), animation, std::move(times));
    report.height = restHeight(motion->joints(), motion->rest());
    return motion;
}

} // namespace

std::unique_ptr<TrackMotion> openTrackMotion(const TrackOptions& options, std::string_view bytes,
                                             TrackReport& report)
{
    std::unique_ptr<TrackMotion> motion =
        formats::isGltf(bytes) ? openGltf(options, bytes, report) : openBvh(options, bytes, report);
    report.fileFrames = motion->frameCount();
    report.jointCount =
        static_cast<std::size_t>(std::count_if(motion->joints().begin(), motion->joints().end(),
                                               [](const TrackJoint& joint) { return !joint.endSite; }));
    return motion;
}

} // namespace app
