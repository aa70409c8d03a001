// SPDX-License-Identifier: MIT
// A GLB that is being written: a document, its one buffer, and what is added to both.
#include "gltf/GlbBuilder.h"

#include "bvh/BvhText.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <utility>

namespace formats {

namespace {

constexpr int kFloat = 5126;
constexpr std::size_t kLargestGlb = std::numeric_limits<std::uint32_t>::max();

void pad(std::string& bytes, char with) { bytes.resize((bytes.size() + 3) / 4 * 4, with); }

void appendWord(std::string& out, std::size_t value)
{
    for (unsigned shift = 0; shift < 32; shift += 8)
        out += static_cast<char>(value >> shift & 0xFF);
}

void appendChunk(std::string& out, std::uint32_t type, std::string_view bytes)
{
    appendWord(out, bytes.size());
    appendWord(out, type);
    out += bytes;
}

std::string bytesOf(std::span<const float> values)
{
    return {reinterpret_cast<const char*>(values.data()), values.size_bytes()};
}

std::string itemPlace(const char* list, std::size_t index)
{
    return std::string(list) + "[" + std::to_string(index) + "]";
}

float single(double value, const std::string& place)
{
    if (!(std::abs(value) <= kLargestValue))
        refuse(place, "is no number that a file can hold; the motion is broken");
    return static_cast<float>(value);
}

std::vector<float> checkedTimes(const GltfClip& clip)
{
    std::vector<float> times;
    for (std::size_t i = 0; i < clip.times.size(); ++i) {
        const std::string place = itemPlace("times", i);
        times.push_back(single(clip.times[i], place));
        if (times.back() < 0)
            refuse(place, "is before 0 seconds, where no animation can have a key");
        if (i > 0 && !(times[i] > times[i - 1]))
            refuse(place,
                   "does not lie after the time before it in single precision; leave one of the keys out");
    }
    return times;
}

template <std::size_t Width>
std::vector<float> flat(const std::vector<std::array<double, Width>>& values, std::size_t count,
                        const std::string& place)
{
    if (values.size() != count)
        refuse(place,
               "has " + std::to_string(values.size()) + " values for " + std::to_string(count) + " times");
    std::vector<float> numbers;
    numbers.reserve(count * Width);
    for (std::size_t i = 0; i < count; ++i)
        for (const double value : values[i])
            numbers.push_back(single(value, itemPlace(place.c_str(), i)));
    return numbers;
}

/// Unit quaternions, each of the sign that lies nearer to the one before: players that blend component by
/// component then take the short way too.
std::vector<float> flatRotations(const std::vector<std::array<double, 4>>& rotations, std::size_t count,
                                 const std::string& place)
{
    std::vector<std::array<double, 4>> unit = rotations;
    for (std::size_t i = 0; i < unit.size(); ++i) {
        double square = 0;
        double cosine = 0;
        for (std::size_t c = 0; c < 4; ++c) {
            square += unit[i][c] * unit[i][c];
            cosine += i > 0 ? unit[i][c] * unit[i - 1][c] : 0;
        }
        if (!(square > 1e-12) || !std::isfinite(square))
            refuse(itemPlace(place.c_str(), i), "is no rotation; the motion is broken");
        const double factor = (cosine < 0 ? -1 : 1) / std::sqrt(square);
        for (double& c : unit[i])
            c *= factor;
    }
    return flat(unit, count, place);
}

struct Written {
    std::set<std::pair<int, std::string>> properties; // node and path
};

Written propertiesOf(const GltfClip& clip)
{
    Written written;
    for (const GltfNodeKeys& keys : clip.keys) {
        if (!keys.translations.empty())
            written.properties.insert({keys.node, "translation"});
        if (!keys.rotations.empty())
            written.properties.insert({keys.node, "rotation"});
        if (!keys.scales.empty())
            written.properties.insert({keys.node, "scale"});
    }
    return written;
}

} // namespace

std::size_t GlbBuilder::add(const char* array, Json element)
{
    Json& list = json[array];
    list.push_back(std::move(element));
    return list.size() - 1;
}

std::size_t GlbBuilder::addView(std::string_view bytes, int target)
{
    pad(binary, '\0');
    Json view = {{"buffer", 0}, {"byteOffset", binary.size()}, {"byteLength", bytes.size()}};
    if (target != 0)
        view["target"] = target;
    binary += bytes;
    return add("bufferViews", std::move(view));
}

std::size_t GlbBuilder::addFloats(std::span<const float> values, const char* type, std::size_t width,
                                  bool bounds, int target)
{
    Json accessor = {{"bufferView", addView(bytesOf(values), target)},
                     {"componentType", kFloat},
                     {"count", values.size() / width},
                     {"type", type}};
    for (std::size_t c = 0; c < width && bounds; ++c) {
        float low = values[c];
        float high = values[c];
        for (std::size_t i = c; i < values.size(); i += width) {
            low = std::min(low, values[i]);
            high = std::max(high, values[i]);
        }
        accessor["min"].push_back(static_cast<double>(low));
        accessor["max"].push_back(static_cast<double>(high));
    }
    return add("accessors", std::move(accessor));
}

/// The channels of an animation that the clip does not write, with the samplers that they use.
Json GlbBuilder::keptChannels(const Json& animation, const GltfClip& clip, Json& samplers) const
{
    const Written written = propertiesOf(clip);
    const JsonView view(animation, "animations");
    const JsonView oldSamplers = view.at("samplers");
    const JsonView channels = view.at("channels");
    Json kept = Json::array();
    std::vector<std::size_t> newIndex(oldSamplers.size(), oldSamplers.size());
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const JsonView target = channels[i].at("target");
        const auto node = target.find("node");
        if (node
            && written.properties.contains(
                {static_cast<int>(node->integer(std::numeric_limits<int>::max())), target.at("path").text()}))
            continue;
        const std::size_t sampler = channels[i].at("sampler").index(oldSamplers.size(), "samplers");
        if (newIndex[sampler] == oldSamplers.size()) {
            newIndex[sampler] = samplers.size();
            samplers.push_back(oldSamplers[sampler].json());
        }
        Json channel = channels[i].json();
        channel["sampler"] = newIndex[sampler];
        kept.push_back(std::move(channel));
    }
    return kept;
}

void GlbBuilder::addClip(const GltfClip& clip, std::size_t nodeCount, int replaceAnimation)
{
    if (clip.keys.empty() || clip.times.empty())
        return;
    Json animation = Json::object();
    Json samplers = Json::array();
    Json channels = Json::array();
    Json* place = nullptr;
    if (replaceAnimation >= 0) {
        Json& animations = json["animations"];
        if (static_cast<std::size_t>(replaceAnimation) >= animations.size())
            refuse(itemPlace("animations", static_cast<std::size_t>(replaceAnimation)),
                   "is to be replaced, but is not there");
        place = &animations[static_cast<std::size_t>(replaceAnimation)];
        animation = *place;
        channels = keptChannels(animation, clip, samplers);
    }
    if (!clip.name.empty())
        animation["name"] = clip.name;

    const std::vector<float> times = checkedTimes(clip);
    const std::size_t input = addFloats(times, "SCALAR", 1, true);
    const auto addTrack = [&](int node, const char* path, const std::vector<float>& values, const char* type,
                              std::size_t width) {
        const std::size_t output = addFloats(values, type, width, false);
        channels.push_back({{"sampler", samplers.size()}, {"target", {{"node", node}, {"path", path}}}});
        samplers.push_back({{"input", input}, {"interpolation", "LINEAR"}, {"output", output}});
    };
    std::set<int> nodes;
    for (std::size_t i = 0; i < clip.keys.size(); ++i) {
        const GltfNodeKeys& keys = clip.keys[i];
        const std::string item = itemPlace("keys", i);
        if (keys.node < 0 || static_cast<std::size_t>(keys.node) >= nodeCount)
            refuse(item + ".node",
                   "is " + std::to_string(keys.node) + ", but there are " + std::to_string(nodeCount)
                       + " nodes");
        if (!nodes.insert(keys.node).second)
            refuse(item + ".node", "is " + std::to_string(keys.node) + ", which has keys already");
        if (!keys.translations.empty())
            addTrack(keys.node, "translation", flat(keys.translations, times.size(), item + ".translations"),
                     "VEC3", 3);
        if (!keys.rotations.empty())
            addTrack(keys.node, "rotation", flatRotations(keys.rotations, times.size(), item + ".rotations"),
                     "VEC4", 4);
        if (!keys.scales.empty())
            addTrack(keys.node, "scale", flat(keys.scales, times.size(), item + ".scales"), "VEC3", 3);
    }
    if (channels.empty())
        refuse("keys", "have no values at all");
    animation["samplers"] = std::move(samplers);
    animation["channels"] = std::move(channels);
    if (place != nullptr)
        json["animations"][static_cast<std::size_t>(replaceAnimation)] = std::move(animation);
    else
        add("animations", std::move(animation));
}

std::string GlbBuilder::finish(const std::vector<GltfChunk>& otherChunks)
{
    if (!binary.empty()) {
        Json buffer = Json::object();
        if (const auto buffers = json.find("buffers"); buffers != json.end() && buffers->size() == 1)
            buffer = (*buffers)[0]; // its name and extras stay
        buffer.erase("uri");
        buffer["byteLength"] = binary.size();
        json["buffers"] = Json::array({std::move(buffer)});
        pad(binary, '\0');
    }
    std::string text = json.dump(-1, ' ', false, Json::error_handler_t::replace);
    pad(text, ' ');
    std::size_t size = 12 + 8 + text.size() + (binary.empty() ? 0 : 8 + binary.size());
    for (const GltfChunk& chunk : otherChunks)
        size += 8 + chunk.bytes.size();
    if (size > kLargestGlb)
        refuse("", "the file would be larger than the 4 GiB that a GLB can have; split the motion");
    std::string file;
    file.reserve(size);
    file += "glTF";
    appendWord(file, 2);
    appendWord(file, size);
    appendChunk(file, 0x4E4F534A, text);
    if (!binary.empty())
        appendChunk(file, 0x004E4942, binary);
    for (const GltfChunk& chunk : otherChunks)
        appendChunk(file, chunk.type, chunk.bytes);
    return file;
}

} // namespace formats
