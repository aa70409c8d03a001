// SPDX-License-Identifier: MIT
// Finds the imported figure that is to be written, when it moves, and the format to write it in.
#include "files/BvhExport.h"
#include "files/ExportFigure.h"
#include "files/ExportTimes.h"
#include "files/GltfExport.h"
#include "formats/Files.h"
#include "formats/MotionFormat.h"
#include "refhost/MotionImport.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <utility>

namespace refhost {
namespace {

using formats::MotionFormat;

constexpr double kMostFrames = 1'000'000;
constexpr double kLowestRate = 0.01, kHighestRate = 1000; // frames a second
constexpr double kUsualStep = 1.0 / 30; // seconds, of motions that say nothing about it
constexpr double kRounding = 1e-6; // of a frame

std::string secondsText(double seconds)
{
    std::string text = std::to_string(seconds);
    text.erase(text.find_last_not_of('0') + 1);
    return text.back() == '.' ? text + "0" : text;
}

/// Whether the item and the imported hierarchy have to do with each other.
bool belongs(const Item& item, const MotionSource& source, const Item& root)
{
    return &item == &root || root.isBelow(item)
        || std::find(source.items.begin(), source.items.end(), item.id()) != source.items.end();
}

ResultOf<const MotionSource*> findSource(const Scene& scene, const Item* root)
{
    using Answer = ResultOf<const MotionSource*>;
    const Item* found = nullptr;
    Answer answer;
    for (const Item* item : scene.items()) {
        const MotionSource* source = motionSourceOf(*item);
        if (!source || (root && !belongs(*root, *source, *item)))
            continue;
        if (found)
            return Answer::failure("'" + found->label() + "' and '" + item->label()
                                   + "' both come from motion files; say which root is to be exported.");
        found = item;
        answer.value = source;
    }
    if (!found)
        return Answer::failure(
            root ? "'" + root->label() + "' has nothing to do with an imported motion file."
                 : "The scene has no imported motion file to write into; import one first.");
    return answer;
}

Result checkOptions(const MotionExportOptions& options)
{
    if (options.rate && !(*options.rate >= kLowestRate && *options.rate <= kHighestRate))
        return Result::failure("'rate' is frames a second, from 0.01 to 1000.");
    for (const std::optional<double>& time : {options.from, options.to})
        if (time && !(*time >= 0 && *time <= kMaximumTimeSeconds))
            return Result::failure("'from' and 'to' are seconds, from 0 on.");
    if (options.from && options.to && *options.from > *options.to)
        return Result::failure("'from' lies behind 'to'.");
    if (options.append && options.animation)
        return Result::failure(
            "'animation' names the clip that is replaced, and 'append' adds one; give one of the two.");
    return {};
}

class Export {
public:
    Export(Scene& scene, const MotionSource& source, ExportFigure& figure, const MotionExportOptions& options)
        : m_Scene(scene), m_Source(source), m_Figure(figure), m_Options(options)
    {
    }

    ResultOf<std::string> run(MotionFormat format)
    {
        using Answer = ResultOf<std::string>;
        if (const std::string fault = formats::formatFault(
                format, m_Source.gltf, m_Source.gltf ? m_Figure.gltf().vrm : formats::VrmKind::None);
            !fault.empty())
            return Answer::failure(fault);
        m_Done.missingJointCount = m_Figure.missingCount();
        // Whatever the figure is linked with drives it or is driven by it: that shows in its pose.
        if (Result placed = placeFrames(true); !placed.ok())
            return Answer::failure(std::move(placed.message));
        m_Figure.evaluate(m_Times);
        if (!has(PropertyState::Driven)) {
            const std::vector<double> before = m_Times;
            if (Result placed = placeFrames(false); !placed.ok())
                return Answer::failure(std::move(placed.message));
            if (m_Times != before)
                m_Figure.evaluate(m_Times);
        }
        return m_Source.gltf ? gltf(format) : bvh(format);
    }

    MotionExport takeDone() { return std::move(m_Done); }

private:
    bool has(PropertyState state) const
    {
        return std::any_of(m_Figure.joints().begin(), m_Figure.joints().end(), [&](const ExportJoint& joint) {
            return std::find(joint.states.begin(), joint.states.end(), state) != joint.states.end();
        });
    }

    /// The times at which the figure is evaluated: of a BVH file those of its frames.
    Result placeFrames(bool withLinks)
    {
        ExportTimes times = exportTimes(m_Scene, m_Source, withLinks);
        times.from = m_Options.from.value_or(m_Options.to ? std::min(times.from, *m_Options.to) : times.from);
        times.to = std::max(times.from, m_Options.to.value_or(times.to));
        m_Step = m_Options.rate      ? 1 / *m_Options.rate
            : times.frameSeconds > 0 ? times.frameSeconds
                                     : kUsualStep;
        if ((times.to - times.from) / m_Step >= kMostFrames)
            return Result::failure("From the first key, at " + secondsText(times.from)
                                   + " seconds, to the last, at " + secondsText(times.to)
                                   + ", the motion has more than 1,000,000 frames; say what of it is wanted "
                                     "with 'from', 'to' and 'rate'.");
        m_Times.clear();
        if (m_Source.gltf) {
            m_Times = times.within(m_Options.rate);
            return {};
        }
        const double first = m_Options.from ? 0 : std::floor(times.from / m_Step + kRounding);
        const double start = m_Options.from.value_or(first * m_Step);
        const double steps = (times.to - start) / m_Step;
        const double count = m_Options.to ? std::floor(steps + kRounding) : std::ceil(steps - kRounding);
        for (double i = 0; i <= count; ++i)
            m_Times.push_back(m_Options.from ? start + i * m_Step : (first + i) * m_Step);
        return {};
    }

    ResultOf<std::string> gltf(MotionFormat format)
    {
        std::size_t animation = 0;
        ResultOf<std::string> glb = exportGltf(m_Figure, m_Options, m_Times, animation, m_Done);
        if (!glb.ok())
            return glb;
        return finish(formats::writeMotion(std::move(glb.value), format, animation, m_Step),
                      format == MotionFormat::Vrma && m_Figure.gltf().vrm != formats::VrmKind::Animation
                          ? 0
                          : animation);
    }

    ResultOf<std::string> bvh(MotionFormat format)
    {
        const bool asked = m_Options.rate || m_Options.from || m_Options.to;
        for (const ExportJoint& joint : m_Figure.joints())
            m_Done.changedJointCount += !joint.kept();
        if (format == MotionFormat::Bvh && m_Done.changedJointCount == 0 && !asked)
            return finish(m_Source.text, 0);
        const BvhExport made = exportBvh(m_Figure, m_Times, m_Step, format != MotionFormat::Bvh, m_Done);
        return finish(formats::writeMotion(made.motion, format, m_Options.name, made.options), 0);
    }

    /// Reads what will be written: it has to be readable, and the user is told what is in it.
    ResultOf<std::string> finish(formats::MotionBytes bytes, std::size_t animation)
    {
        using Answer = ResultOf<std::string>;
        const auto refusal = [](const formats::GltfError& error) {
            return Answer::failure(error.place.empty() ? error.reason : error.place + ": " + error.reason);
        };
        if (const auto* error = std::get_if<formats::GltfError>(&bytes))
            return refusal(*error);
        std::string text = std::get<std::string>(std::move(bytes));
        const auto facts = formats::motionFacts(text, animation);
        if (const auto* error = std::get_if<formats::GltfError>(&facts))
            return refusal(*error);
        const auto& found = std::get<formats::MotionFacts>(facts);
        m_Done.clip = found.clip;
        m_Done.from = found.from;
        m_Done.to = found.to;
        m_Done.frameCount = found.frames;
        m_Done.keyCount = found.keys;
        m_Done.jointCount = found.joints;
        return {std::move(text), {}};
    }

    Scene& m_Scene;
    const MotionSource& m_Source;
    ExportFigure& m_Figure;
    const MotionExportOptions& m_Options;
    std::vector<double> m_Times;
    double m_Step = kUsualStep; // seconds
    MotionExport m_Done;
};

} // namespace

ResultOf<MotionExport> exportMotionText(Scene& scene, std::string& out, const MotionExportOptions& options)
{
    using Answer = ResultOf<MotionExport>;
    if (scene.evaluatedLayer() == Layer::Setup)
        return Answer::failure("The scene is in setup mode, which shows the rest pose; leave it first with "
                               "scene.setup on:false.");
    if (Result right = checkOptions(options); !right.ok())
        return Answer::failure(std::move(right.message));
    const ResultOf<const MotionSource*> source = findSource(scene, options.root);
    if (!source.ok())
        return Answer::failure(source.message);
    const std::string own = source.value->gltf ? ".glb" : ".bvh";
    const std::optional<MotionFormat> format =
        formats::motionFormat(options.ending.empty() ? own : options.ending);
    if (!format)
        return Answer::failure("a motion is written as .bvh, .glb, .vrm or .vrma");
    ResultOf<std::unique_ptr<ExportFigure>> figure = ExportFigure::open(scene, *source.value);
    if (!figure.ok())
        return Answer::failure(std::move(figure.message));
    Export made(scene, *source.value, *figure.value, options);
    ResultOf<std::string> bytes = made.run(*format);
    if (!bytes.ok())
        return Answer::failure(std::move(bytes.message));
    out = std::move(bytes.value);
    return {made.takeDone(), {}};
}

ResultOf<MotionExport> exportMotion(Scene& scene, const std::string& path, const MotionExportOptions& options)
{
    MotionExportOptions asked = options;
    const std::filesystem::path file(path);
    if (asked.ending.empty())
        asked.ending = file.extension().string();
    if (asked.name.empty())
        asked.name = file.stem().string();
    std::string text;
    ResultOf<MotionExport> answer = exportMotionText(scene, text, asked);
    if (!answer.ok()) {
        answer.message = path + ": " + answer.message;
        return answer;
    }
    if (const auto failure = formats::writeFileAtomically(path, text))
        return ResultOf<MotionExport>::failure(*failure);
    return answer;
}

} // namespace refhost
