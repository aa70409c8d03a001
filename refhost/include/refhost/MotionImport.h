// SPDX-License-Identifier: MIT
// Motion files (BVH, glTF) into a scene as locators with keys, and the evaluated motion of such locators back
// into a file.
#pragma once

#include "refhost/Result.h"
#include "refhost/Scene.h"

#include <cstddef>
#include <cstdint>
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
};

struct MotionExport {
    std::size_t frameCount = 0;
    std::size_t missingJointCount = 0; ///< joints without an item now; they keep what the file said
    std::size_t lossCount = 0; ///< joints in frames that the file's channels could not say in full
    std::string worstLoss; ///< a sentence about the largest one; empty without losses
};

/// Writes the evaluated world transforms of an imported hierarchy into the file's own channels, frame by
/// frame; of glTF they become an animation in the place of the first. Refused when the scene has no imported
/// motion, or several and no root was given.
ResultOf<MotionExport> exportMotion(Scene& scene, const std::string& path,
                                    const MotionExportOptions& options = {});
/// The same; the file's text goes to `out`.
ResultOf<MotionExport> exportMotionText(Scene& scene, std::string& out,
                                        const MotionExportOptions& options = {});

} // namespace refhost
