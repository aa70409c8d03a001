// SPDX-License-Identifier: MIT
// Writes a BVH motion as text.
#include "bvh/BvhText.h"
#include "bvh/Channels.h"
#include "bvh/Rotation.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace formats {

namespace {

constexpr const char* kChannelNames[] = {"Xposition", "Yposition", "Zposition",
                                         "Xrotation", "Yrotation", "Zrotation"};

/// The tree as lists, so that walking it needs no recursion. A parent that does not come before its joint is
/// none.
struct Tree {
    std::vector<int> firstChild;
    std::vector<int> nextSibling;
    std::vector<int> parent;
    int firstRoot = -1;
};

Tree treeOf(const BvhMotion& motion)
{
    const std::size_t count = motion.joints.size();
    Tree tree{std::vector<int>(count, -1), std::vector<int>(count, -1), std::vector<int>(count, -1), -1};
    for (std::size_t i = count; i-- > 0;) { // backwards, so that lists run in file order
        const int parent = motion.joints[i].parent;
        const bool child = parent >= 0 && static_cast<std::size_t>(parent) < i;
        tree.parent[i] = child ? parent : -1;
        int& head = child ? tree.firstChild[static_cast<std::size_t>(parent)] : tree.firstRoot;
        tree.nextSibling[i] = head;
        head = static_cast<int>(i);
    }
    return tree;
}

struct Decimals {
    int positions = 6;
    int rotations = 6;
};

int placesFor(double wanted)
{
    return std::isfinite(wanted) ? static_cast<int>(std::clamp(std::ceil(wanted), 6.0, 15.0)) : 6;
}

/// Rounding by half of 10^-d moves a joint by at most sqrt(3) times the sum over the joints above it, a
/// rotation by as much again times the reach below it. Half a millionth of the height is left to each of the
/// two.
Decimals decimalsFor(const BvhMotion& motion, const Tree& tree)
{
    const std::vector<LocalPose> rest = restPose(motion);
    const std::vector<LocalPose> first = localPose(motion, 0);
    std::vector<double> reach(motion.joints.size());
    std::vector<double> moving(motion.joints.size());
    std::vector<double> turning(motion.joints.size());
    double longestReach = 0;
    double mostMoving = 0;
    double mostTurning = 0;
    for (std::size_t i = 0; i < motion.joints.size(); ++i) {
        const auto length = [i](const std::vector<LocalPose>& pose) {
            const Vector& v = pose[i].translation;
            return std::hypot(v[0], v[1], v[2]);
        };
        const auto& channels = motion.joints[i].channels;
        if (tree.parent[i] >= 0) {
            const auto above = static_cast<std::size_t>(tree.parent[i]);
            reach[i] = reach[above] + std::max(length(rest), length(first));
            moving[i] = moving[above];
            turning[i] = turning[above];
        }
        moving[i] +=
            std::any_of(channels.begin(), channels.end(), [](BvhChannel c) { return !isRotation(c); });
        turning[i] += std::any_of(channels.begin(), channels.end(), isRotation);
        longestReach = std::max(longestReach, reach[i]);
        mostMoving = std::max(mostMoving, moving[i]);
        mostTurning = std::max(mostTurning, turning[i]);
    }
    const double allowed = 0.5e-6 * guessFigure(motion).height;
    const double half = 0.5 * std::sqrt(3.0);
    Decimals decimals;
    decimals.positions = placesFor(std::log10(mostMoving * half / allowed));
    decimals.rotations =
        placesFor(std::log10(mostTurning * half * kRadiansPerDegree * longestReach / allowed));
    return decimals;
}

/// A name as one word that a reader gets back: blanks, braces and control characters would end it.
std::string wordFor(const std::string& name, std::size_t index)
{
    std::string word = name.empty() ? "joint" + std::to_string(index) : name;
    for (char& c : word) {
        if (static_cast<unsigned char>(c) <= 0x20 || c == 0x7F || c == '{' || c == '}')
            c = '_';
    }
    return word;
}

class BvhWriter {
public:
    BvhWriter(const BvhMotion& motion, const BvhWriteOptions& options)
        : m_Motion(motion),
          m_Options(options),
          m_Tree(treeOf(motion)),
          m_Decimals(decimalsFor(motion, m_Tree))
    {
    }

    std::string write()
    {
        m_Out.reserve(m_Motion.values.size() * 10 + m_Motion.joints.size() * 200 + 100);
        m_Out += "HIERARCHY\n";
        writeHierarchy();
        writeMotion();
        return std::move(m_Out);
    }

private:
    struct Column {
        std::size_t index;
        int decimals;
    };

    void writeHierarchy()
    {
        std::size_t depth = 0;
        for (int next = m_Tree.firstRoot; next >= 0;) {
            const auto i = static_cast<std::size_t>(next);
            openJoint(i, depth);
            if (m_Tree.firstChild[i] >= 0) {
                next = m_Tree.firstChild[i];
                ++depth;
                continue;
            }
            closeBrace(depth);
            while (next >= 0 && m_Tree.nextSibling[static_cast<std::size_t>(next)] < 0) {
                next = m_Tree.parent[static_cast<std::size_t>(next)];
                if (next >= 0)
                    closeBrace(--depth);
            }
            if (next >= 0)
                next = m_Tree.nextSibling[static_cast<std::size_t>(next)];
        }
    }

    void openJoint(std::size_t i, std::size_t depth)
    {
        const BvhJoint& joint = m_Motion.joints[i];
        const bool endSite = joint.endSite && m_Tree.parent[i] >= 0 && m_Tree.firstChild[i] < 0;
        indent(depth);
        if (endSite) {
            m_Out += joint.endSiteName.empty() ? "End Site" : "End Site " + wordFor(joint.endSiteName, i);
        } else {
            m_Out += m_Tree.parent[i] < 0 ? "ROOT " : "JOINT ";
            m_Out += wordFor(joint.name, i);
        }
        m_Out += '\n';
        indent(depth) += "{\n";
        indent(depth + 1) += "OFFSET";
        for (std::size_t a = 0; a < 3; ++a)
            m_Out += ' ' + textFor(joint.offset[a], joint.offsetText[a]);
        m_Out += '\n';
        if (endSite && joint.channels.empty())
            return;
        indent(depth + 1) += "CHANNELS " + std::to_string(joint.channels.size());
        const bool inRow = channelsInRow(m_Motion, joint);
        for (std::size_t c = 0; c < joint.channels.size(); ++c) {
            const BvhChannel channel = joint.channels[c];
            m_Out += ' ';
            m_Out += kChannelNames[static_cast<std::size_t>(channel)];
            m_Columns.push_back({inRow ? joint.firstChannel + c : m_Motion.channelCount,
                                 isRotation(channel) ? m_Decimals.rotations : m_Decimals.positions});
        }
        m_Out += '\n';
    }

    /// Not endless, so that a file of many deep joints is not mostly tabs.
    std::string& indent(std::size_t depth) { return m_Out.append(std::min<std::size_t>(depth, 40), '\t'); }

    void closeBrace(std::size_t depth) { indent(depth) += "}\n"; }

    void writeMotion()
    {
        const std::size_t width = m_Motion.channelCount;
        const std::size_t held = width == 0 ? 0 : m_Motion.values.size() / width;
        const std::size_t frames = m_Columns.empty() ? 0 : std::min(m_Motion.frameCount, held);
        m_Out += "MOTION\nFrames: " + std::to_string(frames)
            + "\nFrame Time: " + textFor(m_Motion.frameTime, m_Motion.frameTimeText) + '\n';
        for (std::size_t frame = 0; frame < frames; ++frame) {
            const double* row = m_Motion.values.data() + frame * width;
            for (const Column& column : m_Columns) {
                const std::size_t place = frame * width + column.index;
                if (column.index < width && place < m_Options.exact.size() && m_Options.exact[place])
                    m_Out += shortestText(row[column.index]);
                else
                    appendFixed(m_Out, column.index < width ? row[column.index] : 0, column.decimals);
                m_Out += ' ';
            }
            m_Out.back() = '\n';
        }
    }

    const BvhMotion& m_Motion;
    const BvhWriteOptions& m_Options;
    Tree m_Tree;
    Decimals m_Decimals;
    std::vector<Column> m_Columns;
    std::string m_Out;
};

/// The first number that is larger than a reader takes.
std::optional<BvhError> tooLarge(const BvhMotion& motion)
{
    const auto check = [](double value, const std::string& what) -> std::optional<BvhError> {
        if (!std::isfinite(value) || std::abs(value) <= kLargestValue)
            return std::nullopt;
        return BvhError{
            0, what + " is " + shortestText(value) + ", larger than any motion can be (1e12 is the limit)"};
    };
    if (auto error = check(motion.frameTime, "the frame time"))
        return error;
    for (const BvhJoint& joint : motion.joints) {
        for (const double offset : joint.offset)
            if (auto error = check(offset, "the OFFSET of " + quoted(joint.name)))
                return error;
        for (std::size_t c = 0; channelsInRow(motion, joint) && c < joint.channels.size(); ++c)
            for (std::size_t place = joint.firstChannel + c; place < motion.values.size();
                 place += motion.channelCount)
                if (!(std::abs(motion.values[place]) <= kLargestValue))
                    if (auto error = check(motion.values[place],
                                           "in frame " + std::to_string(place / motion.channelCount) + " the "
                                               + kChannelNames[static_cast<std::size_t>(joint.channels[c])]
                                               + " of " + quoted(joint.name)))
                        return error;
    }
    return std::nullopt;
}

} // namespace

BvhWriteResult writeBvh(const BvhMotion& motion, const BvhWriteOptions& options)
{
    if (std::optional<BvhError> error = tooLarge(motion))
        return *std::move(error);
    return BvhWriter(motion, options).write();
}

} // namespace formats
