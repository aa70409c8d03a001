// SPDX-License-Identifier: MIT
// Motion files (BVH, glTF) into a scene as locators with keys, and the evaluated motion of such locators back
// into a file.
#pragma once

#include "refhost/Result.h"
#include "refhost/Scene.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace formats {
struct BvhMotion;
struct Gltf;
} // namespace formats

namespace refhost {

/// What position channels do to the OFFSET of their joint; files of both kinds exist.
enum class OffsetReading : std::uint8_t { Guess, Replace, Add };
inline constexpr const char* kOffsetReadingNames[] = {"guess", "replace", "add"};

/// Deeper hierarchies are refused.
inline constexpr int kMaximumImportLevels = 1024;

/// The item data under which the first root keeps the file that it came from, a MotionSource.
inline constexpr const char* kMotionSourceKind = "motionSource";

struct MotionImportOptions {
    OffsetReading offsets = OffsetReading::Guess;
    bool endSites = true; ///< end sites become locators named `JOINT_end`
    bool motion = true; ///< without it the figure comes in its rest pose alone
    std::size_t animation = 0; ///< of a glTF file, which may have several or none
    bool meshes = true; ///< without them a glTF file's nodes come alone
};

struct MotionImport {
    std::vector<Item*> roots; ///< in file order, at the top of the scene
    std::vector<Item*> items; ///< by joint or node of the file; null for those that were left out
    std::size_t jointCount = 0; ///< end sites left out
    std::size_t endSiteCount = 0;
    std::size_t frameCount = 0;
    double frameSeconds = 0; ///< in glTF the usual step between keys
    double startSeconds = 0; ///< of the first frame
    std::size_t keyCount = 0;
    bool humanoid = false; ///< a human figure was recognised, and its joints carry bone names
    std::vector<std::string> warnings; ///< `line N: text`, what was guessed or mended
};

/// The imported file itself, its joints' items and how it was read; made by importMotion.
class MotionSource final : public DocumentData {
public:
    std::string fileName; ///< without folders
    std::string text; ///< or the bytes, as GLB with everything in it
    bool gltf = false;
    OffsetReading offsets = OffsetReading::Guess;
    std::size_t animation = 0; ///< of glTF: the one that was imported
    std::vector<ItemId>
        items; ///< by joint or node of the file, end sites included; 0 for those that were left out

    std::string digest() const override;
};

/// The tag that holds a joint's bone name, in the manner of Biovision files, where a human figure was
/// recognised.
inline constexpr const char* kBoneNameTag = "BVHN";

/// Makes a locator of every joint, in the file's hierarchy, axes and unit, with nothing above the roots: the
/// rest pose goes into `setup`, the motion into `anim` as linear keys at the frames' times from 0. Angles are
/// turned to radians, and by whole turns so that none moves more than half a turn from a frame to the next.
/// Of glTF every node becomes a locator; rotations are keyed densely enough for 0.01 degrees. The joints of a
/// human figure get their bone names as tags.
/// The caller opens the step; a refusal leaves the scene as it was.
ResultOf<MotionImport> importMotion(Scene& scene, const std::string& path,
                                    const MotionImportOptions& options = {});
/// The same from a motion that was read already; the scene keeps no copy of its file.
ResultOf<MotionImport> importMotion(Scene& scene, const formats::BvhMotion& motion,
                                    const MotionImportOptions& options = {});
ResultOf<MotionImport> importMotion(Scene& scene, const formats::Gltf& gltf,
                                    const MotionImportOptions& options = {});
/// The same from a text; messages call it `fileName`.
ResultOf<MotionImport> importMotionText(Scene& scene, std::string_view text, const std::string& fileName,
                                        const MotionImportOptions& options = {});

struct MotionExportOptions {
    Item* root = nullptr; ///< an item of the imported hierarchy or above it; null: the only imported one
    std::string ending{}; ///< .bvh, .glb, .vrm or .vrma; empty: .bvh or .glb, as the import was
    std::optional<double> rate{}; ///< frames a second; without: at the times of the source's keys
    std::optional<double> from{}, to{}; ///< seconds; without: as long as what drives the figure moves
    std::optional<std::size_t>
        animation{}; ///< of glTF: the one to replace; without: the one that was imported
    bool append = false; ///< of glTF: adds an animation
    std::string name{}; ///< of an added animation where the imported one has none
};

struct MotionExport {
    std::string clip; ///< name of the animation; of BVH empty
    double from = 0, to = 0; ///< seconds
    std::size_t frameCount = 0; ///< of BVH
    std::size_t keyCount = 0; ///< of glTF: of all its channels of nodes
    std::size_t jointCount = 0; ///< that move
    std::size_t changedJointCount = 0; ///< that don't say what the imported file says
    std::size_t missingJointCount = 0; ///< joints without an item now; they keep what the file said
    std::size_t lossCount = 0; ///< joints in frames that the file's channels could not say in full
    std::string worstLoss; ///< a sentence about the largest one; empty without losses
    std::vector<std::string> notes; ///< what the format can't hold
};

/// Writes the evaluated motion of an imported hierarchy as its file with the motion in it, or in another
/// format. What the scene doesn't move otherwise than the file does comes back as it was: channels, keys,
/// interpolation and times, to the bit. What was edited has keys where the file and the user have them, or at
/// the rate; what a rig or a link drives at the frames of the motion that drives it. Refused when the scene
/// has no imported motion, or several and no root was given, and in setup mode.
ResultOf<MotionExport> exportMotion(Scene& scene, const std::string& path,
                                    const MotionExportOptions& options = {});
/// The same; the file's bytes go to `out`.
ResultOf<MotionExport> exportMotionText(Scene& scene, std::string& out,
                                        const MotionExportOptions& options = {});

} // namespace refhost
