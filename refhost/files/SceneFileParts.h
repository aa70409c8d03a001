// SPDX-License-Identifier: MIT
// What reading and writing of scene files share: key names, limits, and keepers of what a build does not
// know.
#pragma once

#include "refhost/SceneFile.h"

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace refhost {

/// Thrown inside reading and writing; the text has place, reason and what to do.
struct SceneFileFault {
    std::string text;
};

// Members in the order in which they are written.
enum class SceneKey { Format, Version, SetupMode, Tags, Types, Packages, Items, Graphs, ChannelLinks, Data };
inline constexpr std::array kSceneKeys = {"format",   "version", "setupMode", "tags",         "types",
                                          "packages", "items",   "graphs",    "channelLinks", "data"};
enum class ItemKey {
    Id,
    Name,
    Unique,
    Type,
    Parent,
    Position,
    Rotation,
    Scale,
    Values,
    Packages,
    Slots,
    Tags,
    Data
};
inline constexpr std::array kItemKeys = {"id",       "name",     "unique", "type",   "parent",
                                         "position", "rotation", "scale",  "values", "packages",
                                         "slots",    "tags",     "data"};
enum class PackageKey { Name, Index, Values };
inline constexpr std::array kPackageKeys = {"name", "index", "values"};
enum class LayerKey { Value, Keys };
inline constexpr std::array kLayerKeys = {"value", "keys"};
enum class DescriptionKey { Base, Origin, Channels };
inline constexpr std::array kDescriptionKeys = {"base", "origin", "channels"};
enum class DefinitionKey { Name, Type, Default, Integer, Minimum, Maximum, Hints, Vector, Marked };
inline constexpr std::array kDefinitionKeys = {"name", "type",  "default", "integer", "min",
                                               "max",  "hints", "vector",  "marked"};

struct TransformKey {
    ItemKey key;
    TransformKind kind;
};
inline constexpr TransformKey kTransformKeys[] = {{ItemKey::Position, TransformKind::Position},
                                                  {ItemKey::Rotation, TransformKind::Rotation},
                                                  {ItemKey::Scale, TransformKind::Scale}};

/// The member of a known kind of data that has the bytes.
inline constexpr const char* kBytesKey = "data";

/// A short text must not make gigabytes of channels, empty indices or shared definitions.
inline constexpr std::size_t kMaximumChannels = 10'000'000;
inline constexpr std::size_t kMaximumDefinitions = 200'000;
inline constexpr int kMaximumTypeLevels = 32;
/// Per item: these lists are searched from end to end.
inline constexpr std::size_t kMaximumPackages = 1000;
inline constexpr std::size_t kMaximumTags = 10'000;

inline Interpolation usualInterpolation(ChannelType type)
{
    return isStepped(type) ? Interpolation::Step : Interpolation::Linear;
}

/// False for text that JSON cannot carry or that other parts would cut short: invalid UTF-8, a zero
/// character.
bool isStorableText(std::string_view text);
/// Four printable characters, or `0x` and eight digits.
std::string tagKey(TagCode code);
/// False when the text is no tag key.
bool readTagKey(std::string_view text, TagCode& code);

/// A member of an item's or the scene's object that this build does not know.
struct UnknownMember {
    std::string after; ///< the member that it follows; empty for the first
    std::string key, json;
};
/// A value of a channel that a registered package or type does not have.
struct LeftoverValue {
    std::string package; ///< empty for the type's own channels
    std::string channel, json;
};

/// The data of kind kUnknownDataKind.
class UnknownContent final : public DocumentData {
public:
    std::vector<UnknownMember> members; ///< in the order of the file
    std::vector<LeftoverValue> values;

    bool empty() const { return members.empty() && values.empty(); }
    std::string digest() const override;
};

/// Data of a kind without a reader.
class UnknownData final : public DocumentData {
public:
    explicit UnknownData(std::string text) : json(std::move(text)) { }
    std::string json;

    std::string digest() const override { return json; }
};

/// Types and packages that a scene uses and its host does not have; they live as long as the scene.
struct StandIns {
    std::vector<std::unique_ptr<ItemType>> types;
    std::vector<std::unique_ptr<Package>> packages;
};

} // namespace refhost
