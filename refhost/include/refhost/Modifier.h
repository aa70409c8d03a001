// SPDX-License-Identifier: MIT
// Modifiers: what takes part in evaluating a scene, and the channels that its nodes read and write.
#pragma once

#include "refhost/Result.h"
#include "refhost/Transforms.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace refhost {

class Host;
class Item;
class NodeChannels;
class Scene;

/// How a node uses a channel.
enum class ChannelMode : std::uint8_t { Read = 1, Write = 2, ReadWrite = 3 };

/// What an operation on a node's channels answers.
enum class ChannelAnswer : std::uint8_t {
    Ok,
    NoSuchIndex, ///< or its channel is gone
    WrongType, ///< a number asked of a matrix, or the other way round
    NotNow, ///< outside the node's evaluation
    Unavailable, ///< the node that should have written the channel failed
    NotWritable, ///< the channel was added for reading
    NotFinite, ///< the numbers are refused; what was there stays
};

/// A node: it lives until the host makes the nodes of its modifier anew.
class ModifierNode {
public:
    virtual ~ModifierNode() = default;
    /// Computes the channels that the node writes. On failure they show what they would be without the node.
    virtual Result evaluate(NodeChannels& channels) = 0;
    /// A figure about the last evaluation; nothing for a name that the node knows nothing of.
    virtual std::optional<double> figure(const char* name)
    {
        (void)name;
        return std::nullopt;
    }
};

struct ModifierTarget {
    Item* item = nullptr;
    std::uint32_t attribute = 0; ///< means something to the modifier alone
};

/// A maker of nodes. Its nodes are made anew when a link of one of its graphs changes, when items of its
/// types come, go, or change packages or string tags, and when the modifier is reset.
class Modifier {
public:
    virtual ~Modifier() = default;
    virtual const std::string& name() const = 0;
    virtual const std::vector<std::string>& typeList() const = 0;
    /// `parent` stands for the item hierarchy.
    virtual const std::vector<std::string>& graphList() const = 0;
    /// Appends the items that want a node, in the order in which the nodes are to run.
    virtual Result enumerate(Scene& scene, std::vector<ModifierTarget>& targets) = 0;
    /// Makes a node and adds its channels to `channels`, which lives as long as the node.
    virtual ResultOf<std::unique_ptr<ModifierNode>> allocate(const ModifierTarget& target,
                                                             NodeChannels& channels) = 0;
};

/// Told about modifiers that come and go; evaluations listen.
class ModifierListener {
public:
    virtual ~ModifierListener() = default;
    virtual void modifierAdded(Modifier&) = 0;
    /// While the modifier is still there: its nodes must go now.
    virtual void modifierRemoving(Modifier&) = 0;
};

/// The modifiers of a host, in the order of adding, which is the order in which they write. They come and go
/// while one thread is alone; evaluations may listen and leave on any.
class Modifiers {
public:
    static Modifiers& of(Host& host);

    void add(std::shared_ptr<Modifier> modifier);
    void remove(const Modifier& modifier);
    const std::vector<std::shared_ptr<Modifier>>& all() const { return m_Modifiers; }

    /// The listener must be removed before it goes.
    void addListener(ModifierListener& listener)
    {
        const std::scoped_lock lock(m_Listening);
        m_Listeners.push_back(&listener);
    }
    void removeListener(ModifierListener& listener)
    {
        const std::scoped_lock lock(m_Listening);
        std::erase(m_Listeners, &listener);
    }

private:
    std::vector<std::shared_ptr<Modifier>> m_Modifiers;
    std::mutex m_Listening;
    std::vector<ModifierListener*> m_Listeners;
};

} // namespace refhost
