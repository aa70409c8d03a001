// SPDX-License-Identifier: MIT
// A scene: items in a hierarchy, their channels, graphs and tags; and every operation that changes them.
#pragma once

#include "refhost/Attachments.h"
#include "refhost/Change.h"
#include "refhost/Item.h"
#include "refhost/Journal.h"
#include "refhost/LinkGraph.h"
#include "refhost/Result.h"

#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace refhost {

class Host;

/// The graph of channel links; there is one.
inline constexpr const char* kChannelGraphName = "chanLinks";

/// How a value is written.
enum class WriteMode : std::uint8_t {
    Plain, ///< the action's plain value; keys, where there are some, stay and go on counting
    Key, ///< as key, creation off: an existing key takes the value, a channel without keys changes its plain
         ///< value, and a keyed channel without a key at the time shows the value until the time changes
    CreateKey, ///< as key, creation on: an existing key takes the value, otherwise a new one is made
};

/// For createItem: what a file says about an item beyond its type and name.
struct CreateOptions {
    Item* parent = nullptr;
    ItemId id = 0; ///< 0: the scene picks one. Taken or above kMaximumItemId: refused
    std::string_view uniqueName{}; ///< empty: the scene makes one. Taken: refused
};
inline constexpr ItemId kMaximumItemId = ItemId{1} << 62;

/// Reading is free; every operation that answers a Result is an edit: it needs an open step of the journal
/// (or loading), is refused with a message otherwise, and either is made in full or changes nothing. One
/// thread at a time.
class Scene {
public:
    Scene(Host& host, std::string name);
    ~Scene();

    Host& host() const { return m_Host; }
    const std::string& name() const { return m_Name; }
    /// A label for the user; no part of the document.
    void setName(std::string name) { m_Name = std::move(name); }
    Journal& journal() { return m_Journal; }
    const Journal& journal() const { return m_Journal; }
    Attachments& attachments() { return m_Attachments; }

    // Items

    std::size_t itemCount() const { return m_Items.size(); } ///< transform items included
    /// Null when the scene has no such item now.
    Item* find(ItemId id) const;
    /// Null when no item has this unique name.
    Item* findByUniqueName(std::string_view uniqueName) const;
    /// Items at the top, in order.
    const std::vector<Item*>& topItems() const { return m_TopItems; }
    /// All items, transform items included, in order of their identifiers. Valid until an item comes or goes.
    const std::vector<Item*>& items() const;
    /// Items whose type is or derives from this one, in order of their identifiers.
    std::vector<Item*> itemsOfType(const ItemType& type) const;

    ResultOf<Item*> createItem(const ItemType& type, std::string_view name,
                               const CreateOptions& options = {});
    /// Deletes the item with everything below it, its transform items, links and selection. A transform item
    /// goes alone.
    Result deleteItem(Item& item);
    /// Appends the item to the children of `parent` (null: to the top). Where it stands there already nothing
    /// changes.
    Result setParent(Item& item, Item* parent);
    /// The unique name follows the new name.
    Result rename(Item& item, std::string_view name);
    /// The transform item of a kind, made when it is not there yet; `id` as in CreateOptions.
    ResultOf<Item*> addTransformItem(Item& owner, TransformKind kind, ItemId id = 0);
    /// Null removes the tag.
    Result setTag(Item& item, TagCode code, const char* value);
    /// Null removes the tag.
    Result setTag(TagCode code, const char* value);
    const TagList& tags() const { return m_Tags; }
    /// Null removes the data.
    Result setData(Item& item, std::string_view kind, std::shared_ptr<const DocumentData> data);
    /// Null removes the data.
    Result setData(std::string_view kind, std::shared_ptr<const DocumentData> data);
    const DataList& data() const { return m_Data; }

    // Packages

    /// Adds the package's channels behind the item's last index; a package that is there changes nothing.
    /// Unknown packages, and names of item types, are refused.
    Result addPackage(Item& item, std::string_view name);
    /// Removes the package's channels with values, keys and links; other channels keep their indices. Refused
    /// when the package was not added.
    Result removePackage(Item& item, std::string_view name);

    // Values

    bool isInSetupMode() const { return m_SetupMode; }
    Result setSetupMode(bool on);
    /// The layer that an action stands for: `edit` is Setup in setup mode, otherwise Anim.
    Layer layer(Action action) const;
    /// The layer that evaluation reads: only Setup counts in setup mode.
    Layer evaluatedLayer() const { return m_SetupMode ? Layer::Setup : Layer::Anim; }

    /// Writes a number; a whole channel takes it truncated, a boolean as 0 or 1. Text and matrix channels,
    /// and numbers that are not finite, are refused. `timeSeconds` counts for keys alone.
    Result writeNumber(Channel& channel, Action action, double timeSeconds, double value, WriteMode mode);
    Result writeText(Channel& channel, Action action, double timeSeconds, std::string_view value,
                     WriteMode mode);
    /// Writes the plain value of a matrix channel; matrices have no keys.
    Result writeMatrix(Channel& channel, Action action, const Matrix34& value);
    /// Removes the plain value, so that the layers below speak; keys stay.
    Result clearValue(Channel& channel, Action action);
    /// Puts a key with its interpolation and slopes over the one at the same time. Whole channels step
    /// always.
    Result putKey(Channel& channel, Action action, const Key& key);
    /// Refused when there is no key at this time.
    Result removeKey(Channel& channel, Action action, double timeSeconds);
    /// Replaces all keys of a number channel at once; they may come in any order, the last of two at one time
    /// counts.
    Result setKeys(Channel& channel, Action action, const std::vector<Key>& keys);

    // Graphs

    /// The item graph of this name; any name may be asked for. Stays valid as long as the scene.
    const ItemGraph& graph(std::string_view name) const;
    /// Graphs that were asked for so far, in order of the name.
    std::vector<const ItemGraph*> graphs() const;
    const ChannelGraph& channelGraph() const { return m_ChannelGraph; }

    /// A link that is there changes nothing.
    Result addLink(std::string_view graph, Item& from, Item& to);
    /// Refused when there is no such link.
    Result deleteLink(std::string_view graph, Item& from, Item& to);
    /// A link that is there changes nothing.
    Result addLink(Channel& from, Channel& to);
    /// Refused when there is no such link.
    Result deleteLink(Channel& from, Channel& to);

    // Evaluation

    /// Records that a modifier is to be made anew; listeners hear of it now and at every undo and redo.
    Result resetModifier(std::string_view name);

    // Listening

    /// The listener must be removed before it goes.
    void addListener(SceneListener& listener);
    void removeListener(SceneListener& listener);
    void notifyBefore(const Change& change);
    void notifyAfter(const Change& change);
    void notifyStep();
    /// How often the current time has changed; values shown without a key count only while it stands.
    std::uint64_t timeEpoch() const { return m_TimeEpoch; }

    // The whole document

    /// Writes everything that two identical documents have in common, in one order and exact numbers; the
    /// selection is no part of it.
    void dump(std::ostream& out) const;
    std::string digest() const;

    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

private:
    friend struct DocumentAccess;
    friend class Host;

    struct StringHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
    template <class T>
    using NameMap = std::unordered_map<std::string, T, StringHash, std::equal_to<>>;

    Result checkOwn(const Item& item) const;
    Result checkOwn(const Channel& channel) const;
    std::string makeUniqueName(std::string_view name, const ItemType& type, const Item* except) const;
    Result deleteOne(Item& item);
    Result deleteLinksOf(Item& item);
    Result deleteLinksOf(Channel& channel);
    ItemGraph& mutableGraph(std::string_view name) const;
    /// The wanted identifier, which has to be free; with 0 the next free one.
    ItemId takeId(ItemId wanted);

    Host& m_Host;
    std::string m_Name;
    Journal m_Journal;
    std::unordered_map<ItemId, std::unique_ptr<Item>> m_Items;
    mutable std::vector<Item*> m_Ordered; // m_Items by identifier, mended on demand
    mutable bool m_OrderedStale = false;
    std::vector<Item*> m_TopItems;
    NameMap<Item*> m_UniqueNames;
    mutable NameMap<std::uint64_t> m_NextSuffix; // below it every suffix of the name is taken
    ItemId m_NextId = 1;
    TagList m_Tags;
    DataList m_Data;
    bool m_SetupMode = false;
    mutable std::map<std::string, std::unique_ptr<ItemGraph>, std::less<>> m_Graphs;
    ChannelGraph m_ChannelGraph;
    std::vector<SceneListener*> m_Listeners;
    std::uint64_t m_TimeEpoch = 1;
    Attachments m_Attachments; // goes first: its objects may use all the rest
};

} // namespace refhost
