// SPDX-License-Identifier: MIT
// Reads the motion file that a subcommand was given, and what is known or assumed of the figure in it.
#pragma once

#include "formats/Bvh.h"
#include "shared/Files.h"

#include <string>
#include <string_view>

namespace app {

/// What the user may know better than a guess; empty texts leave it to the guess.
struct MotionOptions {
    std::string file; ///< `-` for the standard input
    std::string offsets = "guess"; ///< guess, replace or add
    std::string unit; ///< name of a unit, or its length in metres
    std::string up; ///< x, y, z with an optional sign
};

struct MotionFile {
    formats::BvhMotion motion;
    formats::FigureGuess figure; ///< with what the user stated in place of what was guessed
    bool unitStated = false;
    bool upStated = false;
};

/// The bytes of a file that must hold a motion or a character; throws BadInput where they can't be had, or
/// are those of a scene. See readInput.
std::string readMotionBytes(const NamedFile& file, const std::vector<NamedFile>& outputs);

/// Reads the text of the BVH file; throws BadInput where it or an option is of no use.
MotionFile readMotionFile(const MotionOptions& options, std::string_view text);

/// Reads the text of a BVH file, which messages call `file`; `offsets` is guess, replace or add. Throws
/// BadInput.
formats::BvhMotion readMotionText(const std::string& file, std::string_view text, const std::string& offsets);

/// `+Y` and the like.
std::string upText(const formats::FigureGuess& figure);

/// The file's position in messages: a name, made printable.
std::string warningText(const MotionOptions& options, const formats::BvhWarning& warning);

/// Number of joints, End Sites left out.
std::size_t jointCount(const formats::BvhMotion& motion);

} // namespace app
