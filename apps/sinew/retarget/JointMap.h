// SPDX-License-Identifier: MIT
// Which joint of the source drives which of the target: found by itself, or read from a file that the user
// edits.
#pragma once

#include "retarget/FigureFile.h"

#include <string>
#include <string_view>
#include <vector>

namespace app {

struct MapPair {
    int source = 0; ///< joint of the source file
    int target = 0;
    formats::JointRole role; ///< that the target's joint has, or where it has none the source's
    std::string why; ///< `name`, `shape`, `VRM bone` of source and target, or `map`
};

struct JointMap {
    std::vector<MapPair> pairs; ///< no joint of either side twice
    std::vector<std::string> notes; ///< what found no partner, and what to do about it
};

/// Pairs joints of the same role; throws BadInput when one of the figures isn't recognised.
JointMap autoMap(const FigureFile& source, const FigureFile& target);

/// Reads a map: `SOURCE = TARGET` a line, `#` starts a comment; names with `=`, `#` or blanks at an end stand
/// in double quotes. Throws BadInput with the line for unknown and doubled joints.
JointMap readJointMap(const std::string& path, const FigureFile& source, const FigureFile& target);
/// The same from a text that messages call `path`.
JointMap parseJointMap(std::string_view text, const std::string& path, const FigureFile& source,
                       const FigureFile& target);

/// The map as such a file, with what found no partner in comments.
std::string jointMapFile(const JointMap& map, const FigureFile& source, const FigureFile& target);

/// The map as a table for the terminal.
std::string jointMapTable(const JointMap& map, const FigureFile& source, const FigureFile& target);

} // namespace app
