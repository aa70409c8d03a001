// SPDX-License-Identifier: MIT
// What the BVH tests share: a small file to change, and reading that fails the test when it should not.
#pragma once

#include "formats/Bvh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace formats {

/// A figure of three joints with four frames; MOTION stands on line 22, the first frame on line 25.
inline const std::string kSmallFile =
    "HIERARCHY\n"
    "ROOT Hips\n"
    "{\n"
    "\tOFFSET 0 0 0\n"
    "\tCHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation Yrotation\n"
    "\tJOINT Spine\n"
    "\t{\n"
    "\t\tOFFSET 0 10.50 0\n"
    "\t\tCHANNELS 3 Zrotation Xrotation Yrotation\n"
    "\t\tJOINT Head\n"
    "\t\t{\n"
    "\t\t\tOFFSET 0 6 1\n"
    "\t\t\tCHANNELS 3 Yrotation Zrotation Xrotation\n"
    "\t\t\tEnd Site\n"
    "\t\t\t{\n"
    "\t\t\t\tOFFSET 0 3 0\n"
    "\t\t\t}\n"
    "\t\t}\n"
    "\t}\n"
    "}\n"
    "\n"
    "MOTION\n"
    "Frames: 4\n"
    "Frame Time: 0.0400\n"
    "1 2 3 4 5 6 7 8 9 10 11 12\n"
    "2 2 3 4 5 6 7 8 9 10 11 13\n"
    "3 2 3 4 5 6 7 8 9 10 11 14\n"
    "4 2 3 4 5 6 7 8 9 10 11 15\n";

inline std::string replaced(std::string text, const std::string& from, const std::string& to,
                            bool everywhere = false)
{
    std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << "nothing to replace: " << from;
    for (; at != std::string::npos; at = everywhere ? text.find(from, at + to.size()) : std::string::npos)
        text.replace(at, from.size(), to);
    return text;
}

inline std::string changed(const std::string& from, const std::string& to)
{
    return replaced(kSmallFile, from, to);
}

inline BvhMotion mustRead(const std::string& text, OffsetRule rule = OffsetRule::Guess)
{
    BvhReadResult result = readBvh(text, {rule});
    if (const auto* error = std::get_if<BvhError>(&result)) {
        ADD_FAILURE() << "line " << error->line << ": " << error->reason;
        return {};
    }
    return std::get<BvhMotion>(std::move(result));
}

inline std::string mustWrite(const BvhMotion& motion, const BvhWriteOptions& options = {})
{
    BvhWriteResult result = writeBvh(motion, options);
    if (const auto* error = std::get_if<BvhError>(&result)) {
        ADD_FAILURE() << error->reason;
        return {};
    }
    return std::get<std::string>(std::move(result));
}

inline std::vector<WorldPose> worldAt(const BvhMotion& motion, std::size_t frame)
{
    return worldPose(motion, localPose(motion, frame));
}

/// The largest distance between the same joints of two poses; a different number of joints is a failure.
inline double largestGap(const std::vector<WorldPose>& a, const std::vector<WorldPose>& b)
{
    EXPECT_EQ(a.size(), b.size());
    double largest = 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis)
            largest = std::max(largest, std::abs(a[i].position[axis] - b[i].position[axis]));
    }
    return largest;
}

/// A chain of joints named j0, j1, ... without motion, for tests of depth.
inline std::string chainOf(std::size_t levels)
{
    std::string text = "HIERARCHY\n";
    for (std::size_t i = 0; i < levels; ++i)
        text +=
            (i == 0 ? "ROOT j" : "JOINT j") + std::to_string(i) + " { OFFSET 0 1 0 CHANNELS 1 Xrotation\n";
    return text + std::string(levels, '}') + "\nMOTION\nFrames: 0\nFrame Time: 0.04\n";
}

} // namespace formats
