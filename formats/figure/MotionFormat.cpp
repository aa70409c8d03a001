// SPDX-License-Identifier: MIT
// Which file can become which.
#include "formats/MotionFormat.h"

#include "bvh/BvhText.h"
#include "formats/FileKind.h"

#include <cmath>
#include <set>

namespace formats {

namespace {

constexpr const char* kEndings[] = {".bvh", ".glb", ".vrm", ".vrma"};
constexpr double kMostFrames = 1e6;

MotionBytes bytesOf(BvhWriteResult written)
{
    if (auto* error = std::get_if<BvhError>(&written))
        return GltfError{"", std::move(error->reason)};
    return std::get<std::string>(std::move(written));
}

} // namespace

std::optional<MotionFormat> motionFormat(std::string_view path)
{
    const std::size_t dot = path.rfind('.');
    for (std::size_t i = 0; dot != std::string_view::npos && i < std::size(kEndings); ++i)
        if (equalsIgnoringCase(path.substr(dot), kEndings[i]))
            return static_cast<MotionFormat>(i);
    return std::nullopt;
}

std::string formatFault(MotionFormat format, bool fromGltf, VrmKind vrm)
{
    if (format != MotionFormat::Vrm || (fromGltf && (vrm == VrmKind::Vrm0 || vrm == VrmKind::Vrm1)))
        return {};
    return "a .vrm is an avatar with its licence, bones and expressions, and this figure comes from "
        + std::string(!fromGltf                  ? "a BVH file"
                          : vrm == VrmKind::None ? "a glTF file without them"
                                                 : "a VRM animation")
        + "; name a file that ends in .glb, or in .vrma for the motion of a human";
}

MotionBytes writeMotion(const BvhMotion& motion, MotionFormat format, const std::string& name,
                        const BvhWriteOptions& bvh, const GltfSkeletonOptions& glb)
{
    if (const std::string fault = formatFault(format, false, VrmKind::None); !fault.empty())
        return GltfError{"", fault};
    if (format == MotionFormat::Bvh)
        return bytesOf(writeBvh(motion, bvh));
    FigureMotion figure = figureMotion(motion);
    figure.name = name;
    return format == MotionFormat::Vrma ? figureVrma(figure) : figureGlb(figure, glb);
}

MotionBytes writeMotion(std::string glb, MotionFormat format, std::size_t animation, double frameSeconds)
{
    GltfReadResult read = readGltf(glb);
    if (auto* error = std::get_if<GltfError>(&read))
        return std::move(*error);
    const auto& gltf = std::get<Gltf>(read);
    if (const std::string fault = formatFault(format, true, gltf.vrm); !fault.empty())
        return GltfError{"", fault};
    if (format == MotionFormat::Glb || format == MotionFormat::Vrm
        || (format == MotionFormat::Vrma && gltf.vrm == VrmKind::Animation))
        return glb;
    if (gltf.skeleton.empty())
        return GltfError{"nodes", "are none, so there is no figure to write"};
    const bool moves = animation < gltf.animations.size() && !gltf.animations[animation].tracks.empty();
    if (format == MotionFormat::Vrma)
        return figureVrma(figureMotion(
            gltf, animation, moves ? frameTimes(gltf.animations[animation]) : std::vector<double>{}));
    std::vector<double> times;
    const double start = moves ? gltf.animations[animation].start : 0;
    const double steps = moves ? std::round((gltf.animations[animation].end - start) / frameSeconds) : 0;
    if (!(steps < kMostFrames))
        return GltfError{"", "the motion makes more than 1,000,000 frames; ask for fewer a second"};
    for (double i = 0; i <= steps; ++i)
        times.push_back(start + i * frameSeconds);
    return bytesOf(writeBvh(figureBvh(figureMotion(gltf, animation, times), frameSeconds)));
}

std::variant<MotionFacts, GltfError> motionFacts(std::string_view bytes, std::size_t animation)
{
    MotionFacts facts;
    if (!isGltf(bytes)) {
        const BvhReadResult read = readBvh(bytes);
        if (const auto* error = std::get_if<BvhError>(&read))
            return GltfError{"line " + std::to_string(error->line), error->reason};
        const auto& motion = std::get<BvhMotion>(read);
        facts.frames = motion.frameCount;
        facts.to = motion.frameCount > 0 ? static_cast<double>(motion.frameCount - 1) * motion.frameTime : 0;
        for (const BvhJoint& joint : motion.joints)
            facts.joints += !joint.channels.empty();
        return facts;
    }
    GltfReadResult read = readGltf(bytes);
    if (auto* error = std::get_if<GltfError>(&read))
        return std::move(*error);
    const auto& gltf = std::get<Gltf>(read);
    if (animation >= gltf.animations.size())
        return facts;
    const GltfAnimation& clip = gltf.animations[animation];
    std::set<int> nodes;
    for (const GltfTrack& track : clip.tracks) {
        nodes.insert(track.node);
        facts.keys += track.times.size();
    }
    facts.clip = clip.name;
    facts.from = clip.start;
    facts.to = clip.end;
    facts.joints = nodes.size();
    return facts;
}

} // namespace formats
