// SPDX-License-Identifier: MIT
// What holds a joint while others are dragged: locks, which are marks on items, and pins, which are keyed
// tasks.
#pragma once

#include "host/CZxScene.h"

/// What to do with a mark.
enum class MarkChange { Clear = 0, Set = 1, Toggle = 2 };

/// Whether the item has a position task that is on. Throws the host's failure.
bool IsTaskEnabled(const CZxUser_ChannelRead& read, const CZxUser_Item& item);
/// Whether the item has such a task or the lock mark. Throws the host's failure.
bool IsLocked(const CZxUser_ChannelRead& read, const CZxUser_Item& item);
/// Changes the lock mark, except on an item that an enabled task holds. Throws the host's failure.
void SetLock(const CZxUser_ChannelRead& read, const CZxUser_Item& item, MarkChange change);

/// Pins or unpins a joint of a rig where it stands at `time`, as keys; an item outside of rigs gets or loses
/// a lock instead. Channels from the joint up to `toolItem` are keyed, so that the pose stays. Throws the
/// host's failure.
void SetPin(const CZxUser_Item& item, MarkChange change, const CZxUser_Item& toolItem, double time,
            uint32_t solverType);
/// Keys the transform channels of the item and of those above it, up to `toolItem`, at the pose that `read`
/// shows. Throws the host's failure.
void BakeToRoot(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const CZxUser_Item& toolItem);
