// SPDX-License-Identifier: MIT
// Reads the hierarchy of a BVH file and holds what all of reading shares; the motion part is in
// BvhReaderMotion.cpp.
#include "bvh/BvhReader.h"

#include "bvh/OffsetRule.h"
#include "formats/FileKind.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

namespace formats {

namespace {

constexpr std::size_t kMostLevels = 1024;
constexpr std::size_t kMostWarnings = 100;
constexpr std::size_t kMostChannels = 6;

constexpr std::string_view kChannelNames[] = {"xposition", "yposition", "zposition",
                                              "xrotation", "yrotation", "zrotation"};

bool findChannel(std::string_view word, BvhChannel& channel)
{
    for (std::size_t i = 0; i < std::size(kChannelNames); ++i) {
        if (equalsIgnoringCase(word, kChannelNames[i])) {
            channel = static_cast<BvhChannel>(i);
            return true;
        }
    }
    return false;
}

} // namespace

BvhReader::BvhReader(std::string_view text, const BvhReadOptions& options) : m_Options(options)
{
    if (text.empty())
        text = " "; // so that the places are never null
    m_Place = m_CountedTo = text.data();
    m_End = m_Place + text.size();
}

BvhReadResult BvhReader::read()
{
    MotionCounts counts;
    if (!checkBytes() || !readHierarchy() || !readMotionHead(counts) || !readValues(counts)
        || !judgeCounts(counts))
        return std::move(m_Error);
    for (BvhWarning& warning : takeOffsetRule(m_Motion, m_Options.offsetRule))
        warn(warning.line, std::move(warning.text));
    std::stable_sort(m_Motion.warnings.begin(), m_Motion.warnings.end(),
                     [](const BvhWarning& a, const BvhWarning& b) { return a.line < b.line; });
    if (m_UnsaidWarnings != 0)
        m_Motion.warnings.push_back(
            {0, "and " + std::to_string(m_UnsaidWarnings) + " more warnings of these kinds"});
    return std::move(m_Motion);
}

bool BvhReader::checkBytes()
{
    const std::string_view text(m_Place, static_cast<std::size_t>(m_End - m_Place));
    if (text.starts_with("\xEF\xBB\xBF"))
        m_Place += 3;
    // \x1A is how DOS programs end a text. Without the space at the end, what is missing is missed on the
    // last line.
    while (m_End > m_Place && (isSpace(m_End[-1]) || m_End[-1] == '\x1A'))
        --m_End;
    const char* const start = m_Place;
    const std::string_view first = word();
    m_Place = start;
    if (!equalsIgnoringCase(first, "hierarchy") && !equalsIgnoringCase(first, "root"))
        return fail(1, notReadText(text));
    if (const void* zero = std::memchr(m_Place, 0, static_cast<std::size_t>(m_End - m_Place)))
        return fail(
            lineAt(static_cast<const char*>(zero)),
            "there is a zero byte, so this is not a text file; check that it is a BVH and was copied whole");
    return true;
}

bool BvhReader::readHierarchy()
{
    const std::string_view first = word();
    std::size_t line = lineAt(m_Place);
    if (equalsIgnoringCase(first, "root")) {
        warn(line, "HIERARCHY is missing before the first ROOT; read as if it stood there");
        m_Place = first.data();
    }
    for (;;) {
        const std::string_view next = word();
        line = lineAt(m_Place);
        if (next.empty()) {
            if (m_Open.empty())
                return fail(line, "the file ends before MOTION; it is cut off: get a whole copy");
            const BvhJoint& joint = m_Motion.joints[static_cast<std::size_t>(m_Open.back().index)];
            return fail(line,
                        "the file ends inside the hierarchy, in "
                            + (joint.endSite ? "the End Site" : "joint " + quoted(joint.name))
                            + " opened on line " + std::to_string(joint.line)
                            + "; it is cut off: get a whole copy");
        }
        if (!m_Open.empty()) {
            if (!readInsideJoint(next, line))
                return false;
        } else if (equalsIgnoringCase(next, "root")) {
            if (!openJoint("ROOT", line))
                return false;
        } else if (equalsIgnoringCase(next, "motion")) {
            if (m_Motion.joints.empty())
                return fail(line, "the hierarchy has no ROOT; there is nothing to move");
            return true;
        } else if (next == "}") {
            return fail(line, "there is a } without its {; remove it or close the joints in order");
        } else {
            return fail(line,
                        quoted(next) + " stands outside of any joint, where ROOT or MOTION is expected");
        }
    }
}

bool BvhReader::readInsideJoint(std::string_view next, std::size_t line)
{
    if (next == "}")
        return closeJoint();
    if (equalsIgnoringCase(next, "offset"))
        return readOffset(line);
    if (equalsIgnoringCase(next, "channels"))
        return readChannels(line);
    if (equalsIgnoringCase(next, "joint"))
        return openJoint("JOINT", line);
    if (equalsIgnoringCase(next, "endsite"))
        return openJoint("End Site", line);
    if (equalsIgnoringCase(next, "end")) {
        const std::string_view site = word();
        if (!equalsIgnoringCase(site, "site"))
            return fail(line, "'End' is followed by " + quoted(site) + " where Site is expected");
        return openJoint("End Site", line);
    }
    const BvhJoint& joint = m_Motion.joints[static_cast<std::size_t>(m_Open.back().index)];
    if (equalsIgnoringCase(next, "motion") || equalsIgnoringCase(next, "root"))
        return fail(line,
                    quoted(next) + " comes before the } of "
                        + (joint.endSite ? "the End Site" : "joint " + quoted(joint.name)) + " on line "
                        + std::to_string(joint.line) + "; close every joint");
    return fail(line,
                quoted(next) + " is unknown; inside a joint stand OFFSET, CHANNELS, JOINT, End Site or }");
}

bool BvhReader::openJoint(std::string_view keyword, std::size_t line)
{
    const bool endSite = keyword == "End Site";
    int parent = -1;
    if (!m_Open.empty()) {
        parent = m_Open.back().index;
        if (m_Motion.joints[static_cast<std::size_t>(parent)].endSite)
            return fail(line, "an End Site cannot hold a joint; make it a JOINT");
        m_Open.back().hasChild = true;
    }
    if (!endSite && m_Open.size() >= kMostLevels)
        return fail(line, "joints are nested more than 1,024 levels deep; no figure is, so check the file");

    std::string_view written = restOfLine();
    if (written.empty() && !endSite) { // the name may stand on the next line
        skipSpace();
        written = restOfLine();
    }
    BvhJoint joint;
    joint.parent = parent;
    joint.endSite = endSite;
    joint.line = line;
    joint.firstChannel = m_Motion.channelCount; // CHANNELS come before any child
    if (!endSite)
        joint.name = nameOf(keyword, written, line);
    else if (!written.empty())
        joint.endSiteName = mendedName(written, line);

    const std::string_view brace = word();
    if (brace != "{")
        return fail(lineAt(m_Place),
                    "a { is expected after " + std::string(keyword) + " on line " + std::to_string(line)
                        + (brace.empty() ? ", but the file ends; it is cut off: get a whole copy"
                                         : ", but there is " + quoted(brace)));
    m_Open.push_back({static_cast<int>(m_Motion.joints.size())});
    m_Motion.joints.push_back(std::move(joint));
    return true;
}

bool BvhReader::closeJoint()
{
    const OpenJoint open = m_Open.back();
    m_Open.pop_back();
    BvhJoint& joint = m_Motion.joints[static_cast<std::size_t>(open.index)];
    const std::string who = joint.endSite ? "the End Site" : "joint " + quoted(joint.name);
    if (!open.hasOffset) {
        joint.offsetText.fill("0");
        warn(joint.line, who + " has no OFFSET; taken as 0 0 0");
    }
    if (!open.hasChannels && !joint.endSite)
        warn(joint.line, who + " has no CHANNELS; it does not move");
    return true;
}

bool BvhReader::readOffset(std::size_t line)
{
    OpenJoint& open = m_Open.back();
    BvhJoint& joint = m_Motion.joints[static_cast<std::size_t>(open.index)];
    if (open.hasOffset)
        return fail(line, "a second OFFSET in the same joint; remove one");
    open.hasOffset = true;
    for (std::size_t a = 0; a < 3; ++a) {
        const std::string_view text = word();
        const ParsedNumber number = parseNumber(text);
        if (text.empty())
            return fail(lineAt(m_Place), "the file ends inside an OFFSET; it is cut off: get a whole copy");
        if (number.fault == NumberFault::NotANumber)
            return fail(lineAt(m_Place), "OFFSET needs three numbers, but " + quoted(text) + " is not one");
        if (number.fault != NumberFault::None)
            return fail(lineAt(m_Place), "OFFSET: " + describeFault(number.fault, text));
        joint.offset[a] = number.value;
        joint.offsetText[a] = text;
    }
    return true;
}

bool BvhReader::readChannels(std::size_t line)
{
    OpenJoint& open = m_Open.back();
    BvhJoint& joint = m_Motion.joints[static_cast<std::size_t>(open.index)];
    if (open.hasChannels)
        return fail(line, "a second CHANNELS in the same joint; remove one");
    if (open.hasChild)
        return fail(
            line,
            "CHANNELS stands behind a child joint, so the order of the motion's columns is uncertain; "
            "move it before the child");
    open.hasChannels = true;
    const std::string_view countText = word();
    std::size_t count = 0;
    const auto [stop, code] = std::from_chars(countText.data(), countText.data() + countText.size(), count);
    if (countText.empty())
        return fail(lineAt(m_Place), "the file ends inside CHANNELS; it is cut off: get a whole copy");
    if (code == std::errc::result_out_of_range || (code == std::errc() && count > kMostChannels))
        return fail(lineAt(m_Place),
                    "CHANNELS claims " + quoted(countText) + " channels; a joint has at most 6");
    if (code != std::errc() || stop != countText.data() + countText.size())
        return fail(lineAt(m_Place), "CHANNELS needs a count from 0 to 6, but there is " + quoted(countText));

    for (;;) {
        const char* before = m_Place;
        const std::string_view name = word();
        BvhChannel channel{};
        const bool known = findChannel(name, channel);
        if (!known && joint.channels.size() == count) {
            m_Place = before;
            break;
        }
        const std::size_t here = lineAt(m_Place);
        if (name.empty())
            return fail(here, "the file ends inside CHANNELS; it is cut off: get a whole copy");
        if (!known)
            return fail(here,
                        "CHANNELS says " + std::to_string(count) + ", but after "
                            + std::to_string(joint.channels.size()) + " comes " + quoted(name)
                            + ", which is no channel (Xposition, Yposition, Zposition, "
                              "Xrotation, Yrotation, Zrotation)");
        if (joint.channels.size() == count)
            return fail(
                here, "CHANNELS says " + std::to_string(count) + ", but more are listed; correct the count");
        if (std::find(joint.channels.begin(), joint.channels.end(), channel) != joint.channels.end())
            return fail(here, "channel " + quoted(name) + " is listed twice in the same joint; remove one");
        joint.channels.push_back(channel);
    }
    if (joint.endSite && count != 0)
        warn(line, "an End Site has channels; read as they stand");
    m_Motion.channelCount += count;
    return true;
}

std::string BvhReader::nameOf(std::string_view keyword, std::string_view written, std::size_t line)
{
    if (!written.empty())
        return uniqueName(mendedName(written, line), line);
    std::string name = uniqueName("joint" + std::to_string(m_Motion.joints.size()), line);
    warn(line, std::string(keyword) + " has no name; called " + quoted(name));
    return name;
}

std::string BvhReader::mendedName(std::string_view written, std::size_t line)
{
    std::string name;
    bool blanks = false;
    bool bytes = false;
    for (std::string_view rest = written; !rest.empty();) {
        const auto lead = static_cast<unsigned char>(rest.front());
        const std::size_t length = utf8SequenceLength(rest);
        if (lead <= 0x20 || lead == 0x7F) {
            blanks = true;
            name += '_';
        } else if (length == 0) { // a byte of an old one-byte code: Latin-1 is the likely one
            bytes = true;
            name += static_cast<char>(0xC0 | (lead >> 6));
            name += static_cast<char>(0x80 | (lead & 0x3F));
        } else {
            name += rest.substr(0, length);
        }
        rest.remove_prefix(std::max<std::size_t>(length, 1));
    }
    if (blanks)
        warn(line, "name " + quoted(written) + " has blanks or control characters; called " + quoted(name));
    if (bytes)
        warn(line, "name " + quoted(written) + " is not UTF-8; read as Latin-1: " + quoted(name));
    return name;
}

std::string BvhReader::uniqueName(std::string name, std::size_t line)
{
    if (m_Names.insert(name).second)
        return name;
    std::size_t& suffix = m_NextSuffix.try_emplace(name, 2).first->second;
    std::string unique;
    do {
        unique = name + "_" + std::to_string(suffix++);
    } while (!m_Names.insert(unique).second);
    warn(line, "the name " + quoted(name) + " is taken already; this joint is called " + quoted(unique));
    return unique;
}

void BvhReader::skipBlanks()
{
    while (m_Place < m_End && isBlank(*m_Place))
        ++m_Place;
}

void BvhReader::skipSpace()
{
    while (m_Place < m_End && isSpace(*m_Place))
        ++m_Place;
}

std::string_view BvhReader::word()
{
    skipSpace();
    const char* start = m_Place;
    while (m_Place < m_End && !isSpace(*m_Place) && *m_Place != '{' && *m_Place != '}')
        ++m_Place;
    if (m_Place == start && m_Place < m_End)
        ++m_Place;
    return {start, static_cast<std::size_t>(m_Place - start)};
}

std::string_view BvhReader::restOfLine()
{
    skipBlanks();
    const char* start = m_Place;
    while (m_Place < m_End && !isLineEnd(*m_Place) && *m_Place != '{' && *m_Place != '}')
        ++m_Place;
    const char* end = m_Place;
    while (end > start && isBlank(end[-1]))
        --end;
    return {start, static_cast<std::size_t>(end - start)};
}

std::string_view BvhReader::letters()
{
    skipSpace();
    const char* start = m_Place;
    while (m_Place < m_End && ((*m_Place >= 'a' && *m_Place <= 'z') || (*m_Place >= 'A' && *m_Place <= 'Z')))
        ++m_Place;
    return {start, static_cast<std::size_t>(m_Place - start)};
}

std::string_view BvhReader::token()
{
    skipSpace();
    const char* start = m_Place;
    while (m_Place < m_End && !isSpace(*m_Place))
        ++m_Place;
    return {start, static_cast<std::size_t>(m_Place - start)};
}

std::size_t BvhReader::lineAt(const char* place)
{
    for (; m_CountedTo < place; ++m_CountedTo) {
        // A line ends with LF, with CR LF or, in old files, with CR alone.
        if (*m_CountedTo == '\n' || (*m_CountedTo == '\r' && m_CountedTo[1] != '\n'))
            ++m_CountedLines;
    }
    return m_CountedLines;
}

bool BvhReader::fail(std::size_t line, std::string reason)
{
    m_Error = {line, std::move(reason)};
    return false;
}

void BvhReader::warn(std::size_t line, std::string text)
{
    if (m_Motion.warnings.size() < kMostWarnings)
        m_Motion.warnings.push_back({line, std::move(text)});
    else
        ++m_UnsaidWarnings;
}

BvhReadResult readBvh(std::string_view text, const BvhReadOptions& options)
{
    return BvhReader(text, options).read();
}

BvhReadResult readBvhFile(const std::string& path, const BvhReadOptions& options)
{
    std::variant<std::string, FileError> file = readWholeFile(path);
    if (FileError* error = std::get_if<FileError>(&file))
        return BvhError{0, std::move(error->reason)};
    return readBvh(std::get<std::string>(file), options);
}

} // namespace formats
