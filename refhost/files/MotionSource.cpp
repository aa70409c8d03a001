// SPDX-License-Identifier: MIT
// An imported motion file as data of its first root, and how that is stored.
#include "files/MotionSource.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace refhost {
namespace {

constexpr const char* kNameFact = "file";
constexpr const char* kFormatFact = "format";
constexpr const char* kOffsetsFact = "offsets";
constexpr const char* kItemsFact = "items";
constexpr const char* kAnimationFact = "animation"; // not there for the first one
constexpr const char* kBvhFormat = "bvh";
constexpr const char* kGlbFormat = "glb";

std::string joined(const std::vector<ItemId>& ids)
{
    std::string out;
    for (const ItemId id : ids)
        out += (out.empty() ? "" : " ") + std::to_string(id);
    return out;
}

bool readIds(std::string_view text, std::vector<ItemId>& out)
{
    while (!text.empty()) {
        ItemId id = 0;
        const auto read = std::from_chars(text.data(), text.data() + text.size(), id);
        if (read.ec != std::errc() || id > kMaximumItemId)
            return false;
        out.push_back(id);
        text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
        if (!text.empty() && (text[0] != ' ' || text.size() == 1))
            return false;
        text.remove_prefix(text.empty() ? 0 : 1);
    }
    return true;
}

StoredData write(const DocumentData& data)
{
    const auto& source = static_cast<const MotionSource&>(data);
    StoredData stored{{{kNameFact, source.fileName},
                       {kFormatFact, source.gltf ? kGlbFormat : kBvhFormat},
                       {kOffsetsFact, kOffsetReadingNames[static_cast<int>(source.offsets)]},
                       {kItemsFact, joined(source.items)}},
                      source.text};
    if (source.animation > 0)
        stored.facts.emplace_back(kAnimationFact, std::to_string(source.animation));
    return stored;
}

ResultOf<std::shared_ptr<const DocumentData>> read(const StoredData& stored)
{
    using Answer = ResultOf<std::shared_ptr<const DocumentData>>;
    auto source = std::make_shared<MotionSource>();
    source->text = stored.bytes;
    for (const auto& [fact, text] : stored.facts) {
        if (fact == kNameFact) {
            source->fileName = text;
        } else if (fact == kFormatFact) {
            source->gltf = text == kGlbFormat;
            if (!source->gltf && text != kBvhFormat)
                return Answer::failure("the motion is of the format '" + text + "', which is not known here");
        } else if (fact == kOffsetsFact) {
            const auto* names = std::begin(kOffsetReadingNames);
            const auto* name = std::find(names, std::end(kOffsetReadingNames), text);
            if (name == std::end(kOffsetReadingNames))
                return Answer::failure("'offsets' needs guess, replace or add");
            source->offsets = static_cast<OffsetReading>(name - names);
        } else if (fact == kItemsFact) {
            if (!readIds(text, source->items))
                return Answer::failure("'items' needs identifiers with a space between them");
        } else if (fact == kAnimationFact) {
            const auto parsed = std::from_chars(text.data(), text.data() + text.size(), source->animation);
            if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size())
                return Answer::failure("'animation' needs a whole number from 0");
        } else {
            return Answer::failure("there is no such key as '" + fact + "' here");
        }
    }
    return {std::move(source), {}};
}

} // namespace

std::string MotionSource::digest() const
{
    return fileName + (gltf ? "|glb|" : "|") + kOffsetReadingNames[static_cast<int>(offsets)] + '|'
        + joined(items) + '|' + std::to_string(animation) + '|' + std::to_string(text.size()) + '|'
        + std::to_string(std::hash<std::string>()(text));
}

DataKind motionSourceKind() { return {write, read}; }

} // namespace refhost
