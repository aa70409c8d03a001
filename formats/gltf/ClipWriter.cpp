// SPDX-License-Identifier: MIT
// From tracks to channels, samplers and accessors; channels that come along keep theirs.
#include "gltf/ClipWriter.h"

#include "bvh/BvhText.h"
#include "gltf/GltfAccessors.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <utility>

namespace formats {

namespace {

constexpr const char* kPathNames[] = {"translation", "rotation", "scale"};
constexpr const char* kInterpolationNames[] = {"LINEAR", "STEP", "CUBICSPLINE"};
constexpr double kUnit = 1e-6; // squares of lengths this near to 1 are those of unit quaternions in a file

using Property = std::pair<int, std::string>; // node and path

std::string itemPlace(const std::string& list, std::size_t index)
{
    return list + "[" + std::to_string(index) + "]";
}

float single(double value, const std::string& place)
{
    if (!(std::abs(value) <= kLargestValue))
        refuse(place, "is no number that a file can hold; the motion is broken");
    return static_cast<float>(value);
}

std::vector<float> singles(const std::vector<double>& values, const std::string& place)
{
    std::vector<float> numbers;
    numbers.reserve(values.size());
    for (std::size_t i = 0; i < values.size(); ++i)
        numbers.push_back(single(values[i], itemPlace(place, i)));
    return numbers;
}

std::vector<float> checkedTimes(const std::vector<double>& values, const std::string& place)
{
    std::vector<float> times = singles(values, place);
    for (std::size_t i = 0; i < times.size(); ++i) {
        if (times[i] < 0)
            refuse(itemPlace(place, i), "is before 0 seconds, where no animation can have a key");
        if (i > 0 && !(times[i] > times[i - 1]))
            refuse(itemPlace(place, i),
                   "does not lie after the time before it in single precision; leave one of the keys out");
    }
    return times;
}

/// Unit quaternions, each of the sign that lies nearer to the one before: players that blend component by
/// component then take the short way too. What is of unit length already keeps its numbers. Tangents rule
/// out another sign.
std::vector<double> unitRotations(const GltfTrack& track, const std::string& place)
{
    std::vector<double> unit = track.values;
    const bool spline = track.interpolation == GltfInterpolation::CubicSpline;
    for (std::size_t row = spline ? 1 : 0; row * 4 + 3 < unit.size(); row += spline ? 3 : 1) {
        double* q = &unit[row * 4];
        double square = 0;
        double cosine = 0;
        for (std::size_t c = 0; c < 4; ++c) {
            square += q[c] * q[c];
            cosine += row > 0 && !spline ? q[c] * q[c - 4] : 0;
        }
        if (!(square > 1e-12) || !std::isfinite(square))
            refuse(itemPlace(place, spline ? row / 3 : row), "is no rotation; the motion is broken");
        const double factor =
            (cosine < 0 ? -1 : 1) * (std::abs(square - 1) <= kUnit || spline ? 1 : 1 / std::sqrt(square));
        for (std::size_t c = 0; c < 4; ++c)
            q[c] *= factor;
    }
    return unit;
}

class ClipWriter {
public:
    ClipWriter(GlbBuilder& glb, const GltfClip& clip, const GltfWriteOptions& options,
               const GltfSource* source)
        : m_Glb(glb), m_Clip(clip), m_Options(options), m_Source(source)
    {
    }

    void write(std::size_t nodeCount)
    {
        findProperties(nodeCount);
        Json animation = Json::object();
        if (m_Options.place >= 0)
            animation = existing(m_Options.place);
        else if (!m_Clip.name.empty())
            animation["name"] = m_Clip.name;
        if (m_Options.base >= 0)
            takeChannels(existing(m_Options.base));
        for (std::size_t i = 0; i < m_Clip.tracks.size(); ++i)
            if (!m_Written.contains(i))
                addTrack(i);
        if (m_Channels.empty() && !m_Still.empty())
            addStill();
        if (m_Channels.empty())
            refuse("tracks", "are none, and an animation without channels can't be written");
        animation["samplers"] = std::move(m_Samplers);
        animation["channels"] = std::move(m_Channels);
        if (m_Options.place >= 0)
            m_Glb.json["animations"][static_cast<std::size_t>(m_Options.place)] = std::move(animation);
        else
            m_Glb.add("animations", std::move(animation));
    }

private:
    void findProperties(std::size_t nodeCount)
    {
        for (std::size_t i = 0; i < m_Clip.tracks.size(); ++i) {
            const GltfTrack& track = m_Clip.tracks[i];
            const std::string place = itemPlace("tracks", i);
            if (track.node < 0 || static_cast<std::size_t>(track.node) >= nodeCount)
                refuse(place + ".node",
                       "is " + std::to_string(track.node) + ", but there are " + std::to_string(nodeCount)
                           + " nodes");
            const std::size_t width = track.path == GltfPath::Rotation ? 4 : 3;
            const std::size_t parts = track.interpolation == GltfInterpolation::CubicSpline ? 3 : 1;
            if (track.times.empty() || track.values.size() != track.times.size() * width * parts)
                refuse(place + ".values",
                       "has " + std::to_string(track.values.size()) + " numbers for "
                           + std::to_string(track.times.size()) + " times");
            if (!m_TrackOf.emplace(Property{track.node, kPathNames[static_cast<std::size_t>(track.path)]}, i)
                     .second)
                refuse(place + ".node", "is " + std::to_string(track.node) + ", which has such keys already");
        }
        for (const GltfProperty& property : m_Clip.still)
            if (property.node >= 0 && static_cast<std::size_t>(property.node) < nodeCount)
                m_Still.insert({property.node, kPathNames[static_cast<std::size_t>(property.path)]});
    }

    const Json& existing(int index) const
    {
        const auto animations = m_Glb.json.find("animations");
        const auto place = static_cast<std::size_t>(index);
        if (animations == m_Glb.json.end() || place >= animations->size())
            refuse(itemPlace("animations", place), "is not there");
        return (*animations)[place];
    }

    /// An animation can't be without channels: where all stands still, one says so.
    void addStill()
    {
        const auto& [node, path] = *m_Still.begin();
        const Json& json = m_Glb.json["nodes"][static_cast<std::size_t>(node)];
        GltfTrack track{node, GltfPath::Rotation, GltfInterpolation::Linear, {}, {}};
        if (path == "rotation") {
            addKey(track, 0, json.value(path, std::array<double, 4>{0, 0, 0, 1}));
        } else {
            track.path = path == "scale" ? GltfPath::Scale : GltfPath::Translation;
            const double none = path == "scale" ? 1 : 0;
            addKey(track, 0, json.value(path, std::array<double, 3>{none, none, none}));
        }
        addTrack(track, "still");
    }

    /// The base's channels, in its order, those with keys of the clip in the place of the old ones.
    void takeChannels(const Json& animation)
    {
        const JsonView view(animation, "animations");
        const JsonView samplers = view.at("samplers");
        const JsonView channels = view.at("channels");
        std::map<std::size_t, std::size_t> newIndex;
        for (std::size_t i = 0; i < channels.size(); ++i) {
            const JsonView target = channels[i].at("target");
            const std::string path = target.at("path").text();
            if (const auto node = target.find("node")) {
                const Property property{static_cast<int>(node->integer(std::numeric_limits<int>::max())),
                                        path};
                if (m_Still.contains(property))
                    continue;
                if (const auto track = m_TrackOf.find(property); track != m_TrackOf.end()) {
                    if (m_Written.insert(track->second).second)
                        addTrack(track->second);
                    continue;
                }
            }
            const std::size_t sampler = channels[i].at("sampler").index(samplers.size(), "samplers");
            const auto [known, isNew] = newIndex.emplace(sampler, m_Samplers.size());
            if (isNew)
                m_Samplers.push_back(cutSampler(samplers[sampler], path == "rotation"));
            Json channel = channels[i].json();
            channel["sampler"] = known->second;
            m_Channels.push_back(std::move(channel));
        }
    }

    /// The sampler as it is, or with accessors of its own where the span cuts it.
    Json cutSampler(const JsonView& sampler, bool rotation)
    {
        Json json = sampler.json();
        if (!m_Options.span || m_Source == nullptr)
            return json;
        if (!m_Accessors)
            m_Accessors.emplace(JsonView(m_Source->json, ""), *m_Source);
        const GltfAccessor& output = m_Accessors->named(sampler.at("output"), "SCALAR,VEC3,VEC4");
        GltfTrack track;
        track.path = rotation ? GltfPath::Rotation : GltfPath::Translation;
        const std::string kind = sampler.textOr("interpolation", "LINEAR");
        track.interpolation = kind == "STEP" ? GltfInterpolation::Step
            : kind == "CUBICSPLINE"          ? GltfInterpolation::CubicSpline
                                             : GltfInterpolation::Linear;
        track.times = m_Accessors->doubles(m_Accessors->named(sampler.at("input"), "SCALAR"));
        track.values = m_Accessors->doubles(output);
        const std::size_t keys = track.times.size();
        if (keys == 0 || track.values.size() % keys != 0)
            refuse(sampler.path(), "has values that don't fit its times");
        const GltfTrack cut = cutTrack(track, *m_Options.span);
        if (cut.times == track.times)
            return json;
        const std::size_t elements = output.count / keys * cut.times.size();
        json["input"] = addTimes(cut.times, "times");
        json["output"] = m_Glb.addFloats(singles(cut.values, "values"), output.type.c_str(),
                                         cut.values.size() / elements, false);
        return json;
    }

    std::size_t addTimes(const std::vector<double>& times, const std::string& place)
    {
        std::vector<float> checked = checkedTimes(times, place);
        const auto found = m_Times.find(checked);
        if (found != m_Times.end())
            return found->second;
        const std::size_t accessor = m_Glb.addFloats(checked, "SCALAR", 1, true);
        m_Times.emplace(std::move(checked), accessor);
        return accessor;
    }

    void addTrack(std::size_t index) { addTrack(m_Clip.tracks[index], itemPlace("tracks", index)); }

    void addTrack(const GltfTrack& whole, const std::string& place)
    {
        const GltfTrack track = m_Options.span ? cutTrack(whole, *m_Options.span) : whole;
        const bool rotation = track.path == GltfPath::Rotation;
        const std::size_t input = addTimes(track.times, place + ".times");
        const std::vector<float> values =
            singles(rotation ? unitRotations(track, place + ".values") : track.values, place + ".values");
        const std::size_t output =
            m_Glb.addFloats(values, rotation ? "VEC4" : "VEC3", rotation ? 4 : 3, false);
        m_Channels.push_back(
            {{"sampler", m_Samplers.size()},
             {"target", {{"node", track.node}, {"path", kPathNames[static_cast<std::size_t>(track.path)]}}}});
        m_Samplers.push_back(
            {{"input", input},
             {"interpolation", kInterpolationNames[static_cast<std::size_t>(track.interpolation)]},
             {"output", output}});
    }

    GlbBuilder& m_Glb;
    const GltfClip& m_Clip;
    const GltfWriteOptions& m_Options;
    const GltfSource* m_Source;
    std::optional<GltfAccessors> m_Accessors; // of the source
    std::map<Property, std::size_t> m_TrackOf;
    std::set<Property> m_Still;
    std::set<std::size_t> m_Written; // tracks
    std::map<std::vector<float>, std::size_t> m_Times; // accessors; tracks with the same times share one
    Json m_Samplers = Json::array(), m_Channels = Json::array();
};

} // namespace

void addClip(GlbBuilder& glb, const GltfClip& clip, std::size_t nodeCount, const GltfWriteOptions& options,
             const GltfSource* source)
{
    if (clip.tracks.empty() && clip.still.empty() && options.base < 0)
        return;
    ClipWriter(glb, clip, options, source).write(nodeCount);
}

} // namespace formats
