// SPDX-License-Identifier: MIT
// An item of a scene: name, type, place in the hierarchy, packages, channels, tags and transform items.
#pragma once

#include "refhost/Channel.h"
#include "refhost/ItemType.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace refhost {

class Scene;

/// Identifies an item in its scene, across undo, save and load; 0 is none.
using ItemId = std::uint64_t;

/// A four-character code, first character in the highest byte.
using TagCode = std::uint32_t;
constexpr TagCode tagCode(char a, char b, char c, char d)
{
    return static_cast<TagCode>(static_cast<unsigned char>(a)) << 24
        | static_cast<TagCode>(static_cast<unsigned char>(b)) << 16
        | static_cast<TagCode>(static_cast<unsigned char>(c)) << 8 | static_cast<unsigned char>(d);
}
/// The four characters; a byte that is no printable character shows as '?'.
std::string tagText(TagCode code);

/// Tags in order of their code.
class TagList {
public:
    /// Null when there is no such tag.
    const std::string* find(TagCode code) const;
    const std::vector<std::pair<TagCode, std::string>>& all() const { return m_Tags; }

private:
    friend struct DocumentAccess;
    std::vector<std::pair<TagCode, std::string>> m_Tags;
};

/// Data that other parts of the host keep on an item or a scene (a mesh, an imported file); replaced as a
/// whole, never changed in place, so that undo can bring the former one back.
class DocumentData {
public:
    virtual ~DocumentData() = default;
    /// A short text that tells two different contents apart, for Scene::digest.
    virtual std::string digest() const = 0;
};

/// Named data of an item or a scene, in order of the name.
class DataList {
public:
    std::shared_ptr<const DocumentData> find(std::string_view kind) const;
    const std::vector<std::pair<std::string, std::shared_ptr<const DocumentData>>>& all() const
    {
        return m_Data;
    }

private:
    friend struct DocumentAccess;
    std::vector<std::pair<std::string, std::shared_ptr<const DocumentData>>> m_Data;
};

/// By kind of a transform item.
enum class TransformKind : std::uint8_t { Scale = 0, Rotation = 1, Position = 2 };
inline constexpr int kTransformKindCount = 3;

/// Owned by its scene, or by the scene's journal while it is deleted. Everything here reads; changes are
/// operations of Scene.
class Item {
public:
    Scene& scene() const { return *m_Scene; }
    ItemId id() const { return m_Id; }
    const ItemType& type() const { return *m_Type; }
    /// The name as the user gave it; several items may share it.
    const std::string& name() const { return m_Name; }
    /// The name that the host made of it; no other item of the scene has it. Empty for a transform item.
    const std::string& uniqueName() const { return m_UniqueName; }
    /// The unique name, or for a transform item that of its owner and its type: for messages.
    std::string label() const;
    /// Whether the item is in the scene now; a deleted one that undo can bring back is not.
    bool isAlive() const { return m_Alive; }

    Item* parent() const { return m_Parent; }
    const std::vector<Item*>& children() const { return m_Children; }
    /// Whether `other` is this item's parent, the parent of that, and so on.
    bool isBelow(const Item& other) const;

    bool isOfType(std::string_view typeName) const { return m_Type->isOrDerivesFrom(typeName); }
    /// True when the package was added, or when the item's type is or derives from that name.
    bool hasPackage(std::string_view name) const;
    /// Added packages, in order of adding.
    std::vector<const Package*> packages() const;

    /// Null when the item has no such transform item (yet).
    Item* transformItem(TransformKind kind) const { return m_Transforms[static_cast<int>(kind)]; }
    /// The item that this transform item belongs to; null for every other item.
    Item* transformOwner() const { return m_TransformOwner; }
    TransformKind transformKind() const { return m_TransformKind; }

    /// Indices run from 0 to this; removed packages leave holes.
    int channelSlotCount() const { return static_cast<int>(m_Slots.size()); }
    /// Null for an index without a channel.
    Channel* channel(int index) const
    {
        return index >= 0 && index < channelSlotCount() ? m_Slots[static_cast<std::size_t>(index)] : nullptr;
    }
    /// Null when there is no such channel.
    Channel* channel(std::string_view name) const;
    /// -1 when there is no such channel.
    int channelIndex(std::string_view name) const;

    const TagList& tags() const { return m_Tags; }
    const DataList& data() const { return m_Data; }

    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;
    ~Item();

private:
    friend class Scene;
    friend struct DocumentAccess;
    Item(Scene& scene, ItemId id, const ItemType& type);

    Scene* m_Scene;
    ItemId m_Id;
    const ItemType* m_Type;
    std::string m_Name, m_UniqueName;
    Item* m_Parent = nullptr;
    std::vector<Item*> m_Children;
    std::vector<std::unique_ptr<ChannelBlock>> m_Blocks; // that of the type first
    std::vector<Channel*> m_Slots;
    TagList m_Tags;
    DataList m_Data;
    Item* m_Transforms[kTransformKindCount] = {};
    Item* m_TransformOwner = nullptr;
    TransformKind m_TransformKind = TransformKind::Scale;
    bool m_Alive = false;
};

} // namespace refhost
