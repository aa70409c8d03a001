// SPDX-License-Identifier: MIT
// What evaluation remembers about a channel; it stands inside the channel so that a read needs no look-up.
#pragma once

namespace refhost {

struct ChannelCell;

/// Belongs to evaluation; the document neither reads nor writes it.
struct EvalCell {
    ChannelCell* now = nullptr; ///< at the current time; null until something asks
    ChannelCell* other = nullptr; ///< at another time
};

} // namespace refhost
