// SPDX-License-Identifier: MIT
// Fuzz target of the BVH reader: whatever reads must evaluate, write, and read again as the same motion.
#include "formats/Bvh.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "broken promise: %s\n", what);
        std::abort();
    }
}

void evaluate(const formats::BvhMotion& motion)
{
    const std::size_t frames[] = {0, motion.frameCount / 2, motion.frameCount};
    for (const std::size_t frame : frames) {
        for (const formats::WorldPose& pose : formats::worldPose(motion, formats::localPose(motion, frame))) {
            for (std::size_t a = 0; a < 3; ++a)
                require(std::isfinite(pose.position[a]) && std::isfinite(pose.rotation[a]),
                        "poses are finite");
        }
    }
    const formats::FigureGuess figure = formats::guessFigure(motion);
    require(std::isfinite(figure.height) && !figure.unit.empty() && !figure.why.empty(),
            "every figure has a guess");
}

void setAndGet(formats::BvhMotion motion)
{
    if (motion.frameCount < 2)
        return;
    const std::vector<formats::LocalPose> wanted = formats::localPose(motion, 0);
    require(formats::setLocalPose(motion, 1, wanted).empty(), "the channels can say what they said before");
}

void comparePair(const formats::BvhMotion& first, const formats::BvhMotion& second)
{
    require(first.joints.size() == second.joints.size(), "joints survive writing");
    require(first.frameCount == second.frameCount, "frames survive writing");
    require(first.frameTimeText == second.frameTimeText, "the frame time survives writing");
    for (std::size_t i = 0; i < first.joints.size(); ++i) {
        const formats::BvhJoint& a = first.joints[i];
        const formats::BvhJoint& b = second.joints[i];
        require(a.name == b.name && a.endSiteName == b.endSiteName, "names survive writing");
        require(a.parent == b.parent && a.endSite == b.endSite, "the tree survives writing");
        require(a.channels == b.channels && a.firstChannel == b.firstChannel, "channels survive writing");
        require(a.offsetText == b.offsetText && a.offset == b.offset, "offsets survive writing");
    }
    for (std::size_t i = 0; i < first.values.size(); ++i) {
        const double allowed = 0.51e-6 + 1e-15 * std::abs(first.values[i]);
        require(std::abs(first.values[i] - second.values[i]) <= allowed, "values survive writing");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const formats::BvhReadResult result = formats::readBvh(text);
    if (const auto* error = std::get_if<formats::BvhError>(&result)) {
        require(error->line > 0 && error->line <= size + 1 && !error->reason.empty(),
                "errors say where and why");
        return 0;
    }
    const auto& motion = std::get<formats::BvhMotion>(result);
    evaluate(motion);
    setAndGet(motion);
    const formats::BvhWriteResult written = formats::writeBvh(motion);
    require(std::holds_alternative<std::string>(written), "what was read can be written");
    const formats::BvhReadResult again = formats::readBvh(std::get<std::string>(written));
    require(std::holds_alternative<formats::BvhMotion>(again), "what was written reads again");
    comparePair(motion, std::get<formats::BvhMotion>(again));
    return 0;
}
