// SPDX-License-Identifier: MIT
// Reads the motion part of a BVH file and judges whether its counts agree with the values that are there.
#include "bvh/BvhReader.h"

#include <algorithm>
#include <charconv>

namespace formats {

namespace {

constexpr double kUsualFrameTime = 0.0333333; // taken where a file states none; 30 frames a second

bool startsNumber(char c) { return isDigit(c) || c == '-' || c == '+' || c == '.'; }

} // namespace

bool BvhReader::readMotionHead(MotionCounts& counts)
{
    bool haveFrames = false;
    bool haveTime = false;
    while (!haveFrames || !haveTime) {
        skipSpace();
        if (m_Place == m_End || startsNumber(*m_Place))
            break;
        const char* start = m_Place;
        const std::string_view label = letters();
        if (!haveFrames && equalsIgnoringCase(label, "frames")) {
            haveFrames = true;
            if (!readFrameCount(counts))
                return false;
            continue;
        }
        const bool whole = equalsIgnoringCase(label, "frametime");
        if (!haveTime
            && (whole || (equalsIgnoringCase(label, "frame") && equalsIgnoringCase(letters(), "time")))) {
            haveTime = true;
            if (!readFrameTime())
                return false;
            continue;
        }
        m_Place = start;
        const std::string_view found = token();
        return fail(lineAt(m_Place),
                    "after MOTION, 'Frames:' and 'Frame Time:' are expected, but there is " + quoted(found));
    }
    const std::size_t line = lineAt(m_Place);
    if (m_Place == m_End && !haveFrames)
        return fail(line, "the file ends after MOTION, without 'Frames:'; it is cut off: get a whole copy");
    if (m_Place == m_End && !haveTime && counts.claimedFrames != 0)
        return fail(line, "the file ends before 'Frame Time:'; it is cut off: get a whole copy");
    if (!haveFrames)
        warn(line, "'Frames:' is missing; the frames that are there are counted");
    if (!haveTime) {
        m_Motion.frameTime = kUsualFrameTime;
        m_Motion.frameTimeText = shortestText(kUsualFrameTime);
        warn(line, "'Frame Time:' is missing; 30 frames a second are assumed");
    }
    return true;
}

bool BvhReader::readFrameCount(MotionCounts& counts)
{
    skipBlanks();
    if (m_Place < m_End && *m_Place == ':')
        ++m_Place;
    const std::string_view text = token();
    counts.framesLine = lineAt(m_Place);
    counts.framesClaimed = true;
    if (text.empty())
        return fail(counts.framesLine, "the file ends after 'Frames:'; it is cut off: get a whole copy");
    const char* first = text.data() + (text.front() == '+' ? 1 : 0);
    const char* last = text.data() + text.size();
    const auto [stop, code] = std::from_chars(first, last, counts.claimedFrames);
    if (code == std::errc::result_out_of_range)
        return fail(counts.framesLine,
                    "'Frames:' claims " + quoted(text) + ", more than any file can hold; correct the count");
    if (code != std::errc() || stop != last)
        return fail(counts.framesLine,
                    "'Frames:' needs a whole number of frames, but there is " + quoted(text));
    return true;
}

bool BvhReader::readFrameTime()
{
    skipBlanks();
    if (m_Place < m_End && *m_Place == ':')
        ++m_Place;
    const std::string_view text = token();
    const std::size_t line = lineAt(m_Place);
    if (text.empty())
        return fail(line, "the file ends after 'Frame Time:'; it is cut off: get a whole copy");
    const ParsedNumber number = parseNumber(text);
    if (number.fault != NumberFault::None)
        return fail(line, "'Frame Time:' needs seconds: " + describeFault(number.fault, text));
    if (number.value < 0)
        return fail(line,
                    "the frame time " + quoted(text)
                        + " is negative; give the seconds from one frame to the next");
    m_Motion.frameTime = number.value;
    m_Motion.frameTimeText = text;
    if (number.value < 1e-9) {
        m_Motion.frameTime = kUsualFrameTime;
        m_Motion.frameTimeText = shortestText(kUsualFrameTime);
        warn(line, "the frame time is 0; 30 frames a second are assumed");
    } else if (number.value > 1) {
        warn(line,
             "the frame time is " + quoted(text) + " seconds; if that is a rate, write 1 divided by it");
    }
    return true;
}

bool BvhReader::readValues(MotionCounts& counts)
{
    // Room for what is claimed, but never for more numbers than the text that follows can hold.
    const std::size_t width = m_Motion.channelCount;
    const std::size_t possible = static_cast<std::size_t>(m_End - m_Place) / 2 + 1;
    const bool fits = width == 0 || counts.claimedFrames <= possible / width;
    std::vector<double>& values = m_Motion.values;
    values.reserve(counts.framesClaimed && fits ? counts.claimedFrames * width + width : possible);

    std::size_t line = lineAt(m_Place);
    std::size_t before = 0; // values up to the start of this line
    const auto endLine = [&] {
        const std::size_t count = values.size() - before;
        if (count != 0) {
            counts.lastLine = line;
            if (count != width && counts.oddLine == 0) {
                counts.oddLine = line;
                counts.oddLineValues = count;
            }
        }
        before = values.size();
    };
    const char* place = m_Place;
    const char* const end = m_End;
    while (place < end) {
        if (isBlank(*place)) {
            ++place;
            continue;
        }
        if (isLineEnd(*place)) {
            endLine();
            place += *place == '\r' && place + 1 < end && place[1] == '\n' ? 2 : 1;
            ++line;
            continue;
        }
        double value = 0;
        if (const char* next = parsePlainNumber(place, end, value);
            next != nullptr && (next == end || isSpace(*next))) {
            place = next;
        } else {
            m_Place = place;
            const std::string_view text = token();
            const ParsedNumber number = parseNumber(text);
            if (number.fault == NumberFault::NotANumber)
                return fail(line,
                            quoted(text)
                                + " stands in the motion data, where only numbers may follow; remove it");
            if (number.fault != NumberFault::None)
                return fail(line, describeFault(number.fault, text));
            value = number.value;
            place = m_Place;
        }
        if (width == 0)
            return fail(line,
                        "there is motion data, but no joint has channels; add CHANNELS to the hierarchy");
        values.push_back(value);
    }
    endLine();
    m_Place = end;
    return true;
}

bool BvhReader::judgeCounts(const MotionCounts& counts)
{
    const std::size_t width = m_Motion.channelCount;
    const std::string claimed = std::to_string(counts.claimedFrames);
    if (width == 0) {
        if (counts.claimedFrames != 0)
            warn(counts.framesLine,
                 "no joint has channels, so the " + claimed + " frames hold nothing; read as none");
        return true;
    }
    const std::size_t total = m_Motion.values.size();
    const std::size_t rows = total / width;
    const std::string wanted = std::to_string(width) + " values make a frame";
    if (total == 0 && counts.claimedFrames != 0)
        return fail(counts.framesLine,
                    "'Frames:' says " + claimed
                        + ", but no motion data follow; the file is cut off: get a whole copy");
    const bool whole = total % width == 0;
    const bool agrees = !counts.framesClaimed || rows == counts.claimedFrames;
    // Where lines are not frames, a count that differs could as well come from values lost somewhere inside.
    const bool offByOne = !agrees && counts.oddLine == 0
        && (rows + 1 == counts.claimedFrames || rows == counts.claimedFrames + 1);
    if (!whole || !(agrees || offByOne)) {
        if (counts.oddLine != 0 && counts.oddLine == counts.lastLine && counts.oddLineValues < width)
            return fail(counts.oddLine,
                        "the motion ends inside frame " + std::to_string(rows + 1) + ": "
                            + std::to_string(counts.oddLineValues) + " values where " + wanted
                            + "; the file is cut off: get a whole copy");
        if (counts.oddLine != 0)
            return fail(counts.oddLine,
                        std::to_string(counts.oddLineValues) + " values on this line where " + wanted
                            + ", and " + std::to_string(total) + " in all"
                            + (counts.framesClaimed ? " do not make the " + claimed + " frames of 'Frames:'"
                                                    : " do not make whole frames")
                            + "; correct CHANNELS or the motion data");
        return fail(counts.framesLine,
                    "'Frames:' says " + claimed + ", but " + std::to_string(rows) + " are there; "
                        + (rows < counts.claimedFrames
                               ? "the file is cut off: get a whole copy, or correct the count"
                               : "correct the count"));
    }
    m_Motion.frameCount = rows;
    if (offByOne)
        warn(counts.framesLine,
             "'Frames:' says " + claimed + ", but " + std::to_string(rows) + " are there; those are read");
    if (counts.oddLine != 0)
        warn(counts.oddLine,
             std::to_string(counts.oddLineValues) + " values on this line where " + wanted
                 + "; the frames do not follow the lines, and are read by counting values");
    return true;
}

} // namespace formats
