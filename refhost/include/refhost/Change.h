// SPDX-License-Identifier: MIT
// What a scene tells its listeners: one change, told before and after it is made.
#pragma once

#include "refhost/Channel.h"
#include "refhost/Item.h"

#include <string_view>

namespace refhost {

enum class ChangeKind : std::uint8_t {
    ItemAdded, ///< item (with its channels); `other` is its parent or its transform owner, or null
    ItemRemoved, ///< item; `other` as above. The object outlives the notification
    ItemReparented, ///< item; `former` and `other` are the old and the new parent, null at the top
    ItemRenamed, ///< item; `formerName` and `name` are unique names, which may be equal
    ItemTagChanged, ///< item, tag
    SceneTagChanged, ///< tag
    ItemDataChanged, ///< item; `name` is the kind of data
    SceneDataChanged, ///< `name` is the kind of data
    PackageAdded, ///< item; `name` is the package; its channels are there after the change
    PackageRemoved, ///< item; `name` is the package; its channels are there before the change
    ValueChanged, ///< item, channel, layer: a plain value, keys or a shown value
    ItemLinkAdded, ///< item is the source, `other` the target, `name` the graph
    ItemLinkRemoved, ///< as above
    ChannelLinkAdded, ///< channel is the source, `otherChannel` the target; item and `other` are theirs
    ChannelLinkRemoved, ///< as above
    SetupModeChanged,
    SelectionChanged, ///< item, or null for the scene itself
    ModifierReset, ///< `name` is the modifier; told again at undo and redo
    TimeChanged, ///< the host's current time; no edit, so it is never undone
    Loaded, ///< the end of loading: everything may have changed
};

/// Why a change happens.
enum class ChangeCause : std::uint8_t { Edit, Undo, Redo, Rollback };

struct Change {
    ChangeKind kind;
    ChangeCause cause = ChangeCause::Edit;
    Layer layer = Layer::Setup;
    TagCode tag = 0;
    Item* item = nullptr;
    Item* other = nullptr;
    Item* former = nullptr;
    Channel* channel = nullptr;
    Channel* otherChannel = nullptr;
    std::string_view name{}; ///< valid during the notification, as is the next one
    std::string_view formerName{};
};

/// Told about every change of a scene. A listener must not edit the scene from within a notification; such an
/// edit is refused.
class SceneListener {
public:
    virtual ~SceneListener() = default;
    virtual void beforeChange(Scene&, const Change&) { }
    virtual void afterChange(Scene&, const Change&) { }
    /// After the outermost step was committed or rolled back, and after an undo or a redo.
    virtual void afterStep(Scene&) { }
};

} // namespace refhost
