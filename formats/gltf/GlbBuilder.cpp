// SPDX-License-Identifier: MIT
// A GLB that is being written: a document, its one buffer, and what is added to both.
#include "gltf/GlbBuilder.h"

#include <algorithm>
#include <limits>
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
