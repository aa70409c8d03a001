// SPDX-License-Identifier: MIT
// BVH motion files: reading, writing, evaluating a frame, and writing a pose back into its channels.
#pragma once

#include "formats/Files.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace formats {

// Conventions. Lengths are in the unit of the file and axes are its own; nothing is ever rescaled or turned.
// Angles are degrees in the channels and radians nowhere. Column vectors: world = parent * T * R. Rotation
// channels are intrinsic in channel order, R = R(first channel) * R(second) * R(third). Quaternions are x, y,
// z, w.

/// Something that was guessed or mended while reading; line 0 is about the whole file. The text is valid
/// UTF-8.
struct BvhWarning {
    std::size_t line = 0;
    std::string text;
};

/// Why a file was refused: the line (from 1; 0 is about the whole file), what is wrong and what to do about
/// it.
struct BvhError {
    std::size_t line = 0;
    std::string reason;
};

enum class BvhChannel : std::uint8_t { PositionX, PositionY, PositionZ, RotationX, RotationY, RotationZ };

/// What position channels do to the OFFSET of their joint; programs disagree, and files of both kinds exist.
/// Guess: replace, except where (a) the first frame's positions of all joints below the roots are within 1e-3
/// of 0 while their OFFSETs are not, which adds for those joints; (b) a root's positions stay near 0 in every
/// frame while its OFFSET is a body height (straight along the figure's up axis, between 0.3 and 3 times the
/// figure's height), which adds for that root. A warning says what was taken wherever the two readings
/// differ.
enum class OffsetRule { Guess, Replace, Add };

struct BvhJoint {
    std::string name; // unique in the file and valid UTF-8; empty for an End Site
    std::string endSiteName; // a name given to an End Site, kept for writing back
    int parent = -1; // index in joints, parents come first; -1 for a root
    bool endSite = false;
    std::size_t line = 0; // of ROOT, JOINT or End Site in the file; 0 when not read from one
    std::array<double, 3> offset{};
    std::array<std::string, 3> offsetText; // as in the file; written back while it still reads as `offset`
    std::vector<BvhChannel> channels; // in file order
    std::size_t firstChannel = 0; // column of the first channel in a row of values
    bool addsOffset = false; // position channels are added to OFFSET rather than replacing it
};

struct BvhMotion {
    std::vector<BvhJoint> joints; // file order, End Sites included; several roots are possible
    std::string frameTimeText; // as in the file; written back while it still reads as `frameTime`
    double frameTime = 0; // seconds
    std::size_t frameCount = 0;
    std::size_t channelCount = 0;
    std::vector<double> values; // frameCount x channelCount, a row per frame
    std::vector<BvhWarning> warnings;
};

struct BvhReadOptions {
    OffsetRule offsetRule = OffsetRule::Guess;
};

using BvhReadResult = std::variant<BvhMotion, BvhError>;

/// Reads the text of a BVH file; memory grows with the text itself, never with a count that it claims.
BvhReadResult readBvh(std::string_view text, const BvhReadOptions& options = {});

/// Reads a BVH file; a file that cannot be opened is an error on line 0.
BvhReadResult readBvhFile(const std::string& path, const BvhReadOptions& options = {});

struct BvhWriteOptions {
    std::vector<bool> exact; // by place in `values`: numbers that are written with all their digits
};

/// The text, or on line 0 which number a reader of it would refuse.
using BvhWriteResult = std::variant<std::string, BvhError>;

/// The file's text. Offsets and frame time keep their text. Values are rounded to 6 decimals, or to as many
/// more as it takes to keep every world position within 1e-6 of the figure's height (see `guessFigure`). What
/// is not finite is written as 0, what is larger than a reader takes is refused; in names, characters that
/// would end them are written as `_`.
BvhWriteResult writeBvh(const BvhMotion& motion, const BvhWriteOptions& options = {});

/// Rigid transform of a joint in its parent's space, or in the world for a root.
struct LocalPose {
    std::array<double, 3> translation{};
    std::array<double, 4> rotation{0, 0, 0, 1}; // x, y, z, w
};

/// Rigid transform of a joint in the axes and unit of the file.
struct WorldPose {
    std::array<double, 3> position{};
    std::array<double, 4> rotation{0, 0, 0, 1}; // x, y, z, w
};

/// Local transforms of every joint, End Sites included, at a frame; past the last frame it is the rest pose.
std::vector<LocalPose> localPose(const BvhMotion& motion, std::size_t frame);

/// Local transforms with all channels absent: OFFSETs, no rotation.
std::vector<LocalPose> restPose(const BvhMotion& motion);

/// World transforms of every joint from their local ones; joints without a local transform rest at their
/// parent.
std::vector<WorldPose> worldPose(const BvhMotion& motion, const std::vector<LocalPose>& local);

/// What the channels of a joint could not say of the pose it was given.
struct PoseLoss {
    std::size_t joint = 0;
    double translation = 0; // distance between wanted and written translation, file units
    double rotationDegrees = 0; // angle between wanted and written rotation
};

/// Writes a local pose into the channels of an existing frame (see `resizeFrames`; a frame past the end is
/// left alone), in each joint's own channel order. Of the equivalent Euler angles those nearest to the frame
/// before are chosen (for frame 0: to the values it holds), so no angle moves by more than 180 degrees from a
/// frame to the next; in gimbal lock the turn is shared out so that both free angles move least. A joint with
/// one or two rotation channels takes the angles of the nearest rotation it can say. What is not finite
/// leaves the values of the frame before. Returns what could not be said to 1e-3 degrees or 1e-5 of the
/// longest OFFSET, joint by joint.
std::vector<PoseLoss> setLocalPose(BvhMotion& motion, std::size_t frame, const std::vector<LocalPose>& local);

/// Changes the number of frames; new ones repeat the last (zeros when there is none).
void resizeFrames(BvhMotion& motion, std::size_t frameCount);

/// What a BVH file does not state, guessed from the figure; `why` is a sentence for the user.
struct FigureGuess {
    double height = 0; // extent along the up axis in the rest pose, file units
    int upAxis = 1; // 0, 1, 2
    int upSign = 1; // +1 or -1
    std::string unit; // "metres", "decimetres", "centimetres", "inches", "6.8 cm units", "millimetres",
                      // or "unknown" for a figure without height
    double metresPerUnit = 1; // 1 when the unit is unknown
    bool confident = false; // a usual unit makes the figure as tall as a person, and its head is known
    std::string why;
};

/// Guesses up axis (direction from root to head, in the rest pose and over the motion), height and unit.
FigureGuess guessFigure(const BvhMotion& motion);

} // namespace formats
