// SPDX-License-Identifier: MIT
// A channel of an item: what the actions say about it, and what evaluation made of it.
#pragma once

#include "refhost/ChannelDefinition.h"
#include "refhost/EvalCell.h"
#include "refhost/Keys.h"
#include "refhost/Transforms.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace refhost {

class Item;
class Package;
class Scene;

/// A layer of values. Anim lies above Setup; reading Anim falls through to Setup, then to the default.
enum class Layer : std::uint8_t { Setup, Anim };
inline constexpr int kLayerCount = 2;

/// An action as callers name it: `setup`, `anim`, or `edit`, which is the one that the user works in.
enum class Action : std::uint8_t { Setup, Anim, Edit };
inline constexpr const char* kActionNames[] = {"setup", "anim", "edit"};
/// Nothing for a name that is none of them.
std::optional<Action> actionByName(std::string_view name);

/// A value shown at one time on a keyed channel without a key there, until the current time changes.
struct ShownValue {
    double time = 0;
    double number = 0;
    std::string text;
    std::uint64_t timeEpoch = 0; ///< the scene's count of time changes when it was written

    bool operator==(const ShownValue&) const = default;
};

/// What one action says about one channel.
struct LayerValues {
    std::optional<double> number; ///< plain value of a number channel
    std::unique_ptr<std::string> text; ///< plain value of a text channel
    std::unique_ptr<Matrix34> matrix; ///< plain value of a matrix channel
    KeyList keys;
    std::unique_ptr<ShownValue> shown;

    bool hasPlain() const { return number || text || matrix; }
    bool empty() const { return !hasPlain() && keys.empty() && !shown; }
};

struct ChannelValues {
    LayerValues layers[kLayerCount];
};

/// The channels of one package (or of the type) on one item, in one piece of memory.
class ChannelBlock;

class Channel {
public:
    Item& item() const;
    /// Index on the item; 0 is `visible`.
    int index() const { return m_Index; }
    const ChannelDefinition& definition() const;
    const std::string& name() const { return definition().name; }
    ChannelType type() const { return definition().type; }
    /// `item.channel`, for messages.
    std::string label() const;

    /// Value at a time in seconds without evaluation; 0 for text and matrices.
    double number(Layer layer, double time) const;
    /// The same truncated and kept within 32 bits; an unset channel gives the integer form of its default.
    std::int32_t integer(Layer layer, double time) const;
    /// The text in force; null for a channel of another type. Valid until the next edit.
    const std::string* text(Layer layer, double time) const;
    /// False, and `out` untouched, for a channel that is no matrix. An unset matrix is the identity.
    bool matrix(Layer layer, double time, Matrix34& out) const;

    /// Whether this layer or one below says anything at this time.
    bool isSet(Layer layer, double time) const;
    /// Whether this layer itself has keys.
    bool isKeyed(Layer layer) const;
    /// Whether the layer shows a value that is in no key, see ShownValue.
    bool isShownUnkeyed(Layer layer, double time) const;
    /// What a layer itself says; null when it says nothing.
    const LayerValues* values(Layer layer) const;
    const KeyList& keys(Layer layer) const;

    /// Channel links from and to this channel; 0 answers most questions about links at once.
    std::uint32_t linkCount() const { return m_LinkCount; }

    Channel() = default;
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    EvalCell cell;

private:
    friend class ChannelBlock;
    friend struct DocumentAccess;

    const LayerValues* speaking(Layer layer, double time) const;
    bool showsValue(const LayerValues& values, double time) const;

    ChannelBlock* m_Block = nullptr;
    std::unique_ptr<ChannelValues> m_Values; // null while no action says anything
    std::int32_t m_Index = 0;
    std::uint32_t m_LinkCount = 0;
};

class ChannelBlock {
public:
    /// `package` is null for the channels that come from the item's type.
    ChannelBlock(Item& item, const ChannelLayout& layout, const Package* package, int firstIndex);

    Item& item() const { return *m_Item; }
    const ChannelLayout& layout() const { return *m_Layout; }
    const Package* package() const { return m_Package; }
    int firstIndex() const { return m_FirstIndex; }
    int count() const { return m_Layout->count(); }
    Channel& channel(int offset) const { return m_Channels[offset]; }

private:
    Item* m_Item;
    const ChannelLayout* m_Layout;
    const Package* m_Package;
    int m_FirstIndex;
    std::unique_ptr<Channel[]> m_Channels;
};

inline Item& Channel::item() const { return m_Block->item(); }
inline const ChannelDefinition& Channel::definition() const
{
    return m_Block->layout()[m_Index - m_Block->firstIndex()];
}

} // namespace refhost
