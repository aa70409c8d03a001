// SPDX-License-Identifier: MIT
// The reader's state while it goes once through the text of a BVH file.
#pragma once

#include "bvh/BvhText.h"
#include "formats/Bvh.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace formats {

/// One pass over the text without recursion. Operations that can fail return false with `m_Error` set.
class BvhReader {
public:
    BvhReader(std::string_view text, const BvhReadOptions& options);

    BvhReadResult read();

private:
    struct OpenJoint {
        int index = -1;
        bool hasOffset = false;
        bool hasChannels = false;
        bool hasChild = false;
    };

    struct MotionCounts {
        std::size_t claimedFrames = 0;
        bool framesClaimed = false;
        std::size_t framesLine = 0;
        std::size_t oddLine = 0; // first line that does not hold one whole frame
        std::size_t oddLineValues = 0;
        std::size_t lastLine = 0; // last line with a value
    };

    bool checkBytes();
    bool readHierarchy();
    bool readInsideJoint(std::string_view word, std::size_t line);
    bool openJoint(std::string_view keyword, std::size_t line);
    bool closeJoint();
    bool readOffset(std::size_t line);
    bool readChannels(std::size_t line);
    bool readMotionHead(MotionCounts& counts);
    bool readFrameCount(MotionCounts& counts);
    bool readFrameTime();
    bool readValues(MotionCounts& counts);
    bool judgeCounts(const MotionCounts& counts);

    std::string nameOf(std::string_view keyword, std::string_view written, std::size_t line);
    std::string uniqueName(std::string name, std::size_t line);
    std::string mendedName(std::string_view written, std::size_t line);

    void skipBlanks();
    void skipSpace();
    std::string_view word(); // up to a space or a brace; a brace is a word of its own; empty at the end
    std::string_view restOfLine(); // up to a brace or the end of the line, without blanks around it
    std::string_view letters();
    std::string_view token(); // up to a space
    std::size_t lineAt(const char* place); // places must not go backwards
    bool fail(std::size_t line, std::string reason);
    void warn(std::size_t line, std::string text);

    const char* m_Place = nullptr;
    const char* m_End = nullptr;
    const char* m_CountedTo = nullptr;
    std::size_t m_CountedLines = 1;
    BvhReadOptions m_Options;
    BvhMotion m_Motion;
    BvhError m_Error;
    std::size_t m_UnsaidWarnings = 0;
    std::vector<OpenJoint> m_Open;
    std::unordered_set<std::string> m_Names;
    std::unordered_map<std::string, std::size_t> m_NextSuffix;
};

} // namespace formats
