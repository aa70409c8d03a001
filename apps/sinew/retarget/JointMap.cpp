// SPDX-License-Identifier: MIT
// The automatic map, and maps as text.
#include "retarget/JointMap.h"

#include "formats/JointNames.h"
#include "formats/RolePairs.h"
#include "shared/Console.h"
#include "shared/Files.h"
#include "shared/TextTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace app {

namespace {

using formats::Role;
using formats::RoleReason;

constexpr std::size_t kListedNames = 6;

const char* reasonText(RoleReason reason)
{
    switch (reason) {
    case RoleReason::Name:
        return "name";
    case RoleReason::VrmBone:
        return "VRM bone";
    default:
        return "shape";
    }
}

std::string whyText(RoleReason source, RoleReason target)
{
    const std::string a = reasonText(source), b = reasonText(target);
    return a == b ? a : a + ", " + b;
}

void requireRecognised(const FigureFile& file)
{
    if (!file.roles.recognised)
        throw BadInput(fmt::format("{}: no human figure was recognised ({}); write a map by hand, a line "
                                   "'SOURCE JOINT = TARGET JOINT' for each pair, and give it with --map FILE",
                                   file.path, file.roles.why));
}

std::string listed(const std::vector<int>& joints, const FigureFile& file)
{
    std::string text;
    for (std::size_t i = 0; i < std::min(joints.size(), kListedNames); ++i)
        text += fmt::format("{}'{}'", i == 0 ? "" : ", ", printable(file.name(joints[i])));
    if (joints.size() > kListedNames)
        text += fmt::format(" and {} more", joints.size() - kListedNames);
    return text;
}

std::vector<int> without(const std::vector<int>& joints, const FigureFile& file, bool fingers)
{
    std::vector<int> out;
    std::copy_if(joints.begin(), joints.end(), std::back_inserter(out), [&](int joint) {
        const Role role = file.roles.joints[static_cast<std::size_t>(joint)].role;
        return (role >= Role::Thumb && role <= Role::Fingers) == fingers;
    });
    return out;
}

void noteLeftOver(JointMap& map, const formats::RolePairing& pairing, const FigureFile& source,
                  const FigureFile& target)
{
    if (const std::vector<int> body = without(pairing.targetLeft, target, false); !body.empty())
        map.notes.push_back(
            fmt::format("{} of the target found no partner and will follow the joint above; --write-map "
                        "FILE and --map FILE can name one",
                        listed(body, target)));
    if (const std::vector<int> fingers = without(pairing.targetLeft, target, true); !fingers.empty())
        map.notes.push_back(fmt::format("{} finger joints of the target found no partner and keep their rest",
                                        fingers.size()));
    if (const std::vector<int> body = without(pairing.sourceLeft, source, false); !body.empty())
        map.notes.push_back(fmt::format("{} of the source move nothing by themselves: the target has no "
                                        "joint for them",
                                        listed(body, source)));
}

/// A name as a map file holds it.
std::string quoted(const std::string& name)
{
    const bool plain = !name.empty() && name.find_first_of("=#\"\n\r\t") == std::string::npos
        && name.front() != ' ' && name.back() != ' ';
    if (plain)
        return name;
    std::string text = "\"";
    for (const char c : name) {
        if (c == '"' || c == '\\')
            text += '\\';
        text += c == '\n' || c == '\r' ? ' ' : c;
    }
    return text + '"';
}

class MapReader {
public:
    MapReader(const std::string& path, const FigureFile& source, const FigureFile& target)
        : m_Path(path), m_Source(source), m_Target(target)
    {
    }

    JointMap run(std::string_view text)
    {
        while (!text.empty()) {
            const std::size_t end = text.find('\n');
            std::string_view line = text.substr(0, end);
            text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
            ++m_Line;
            if (m_Line == 1 && line.starts_with("\xEF\xBB\xBF"))
                line.remove_prefix(3);
            pair(line);
        }
        if (m_Map.pairs.empty())
            throw BadInput(fmt::format("{}: the map has no pairs; give a line 'SOURCE JOINT = TARGET JOINT' "
                                       "for each",
                                       m_Path));
        return std::move(m_Map);
    }

private:
    [[noreturn]] void refuse(const std::string& why) const { throw BadInput(atLine(m_Path, m_Line, why)); }

    void pair(std::string_view line)
    {
        const std::optional<std::string> source = name(line);
        if (!source && line.empty())
            return;
        if (!source || !line.starts_with('='))
            refuse("no pair; write 'SOURCE JOINT = TARGET JOINT', and names with = or # in double quotes");
        line.remove_prefix(1);
        const std::optional<std::string> target = name(line);
        if (!target || !line.empty())
            refuse("no pair; write 'SOURCE JOINT = TARGET JOINT', and names with = or # in double quotes");
        const int from = find(m_Source, *source, "source"), to = find(m_Target, *target, "target");
        once(m_Sources, from, m_Source, "source");
        once(m_Targets, to, m_Target, "target");
        formats::JointRole role = m_Target.roles.joints[static_cast<std::size_t>(to)];
        if (role.role == Role::None)
            role = m_Source.roles.joints[static_cast<std::size_t>(from)];
        m_Map.pairs.push_back({from, to, role, "map"});
    }

    /// Takes a name, with blanks around it, off the line; nothing when there is none. A comment empties the
    /// line.
    std::optional<std::string> name(std::string_view& line) const
    {
        const auto skip = [&] {
            while (!line.empty() && (line.front() == ' ' || line.front() == '\t' || line.front() == '\r'))
                line.remove_prefix(1);
            if (line.starts_with('#'))
                line = {};
        };
        skip();
        std::string text;
        if (line.starts_with('"')) {
            line.remove_prefix(1);
            while (!line.empty() && line.front() != '"') {
                if (line.front() == '\\' && line.size() > 1)
                    line.remove_prefix(1);
                text += line.front();
                line.remove_prefix(1);
            }
            if (line.empty())
                refuse("a double quote is never closed");
            line.remove_prefix(1);
            skip();
            return text;
        }
        while (!line.empty() && line.front() != '=' && line.front() != '#') {
            text += line.front();
            line.remove_prefix(1);
        }
        skip();
        while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r'))
            text.pop_back();
        return text.empty() ? std::nullopt : std::optional(text);
    }

    int find(const FigureFile& file, const std::string& name, const char* which) const
    {
        std::size_t least = 1000;
        std::string near;
        for (std::size_t i = 0; i < file.joints.size(); ++i) {
            if (file.joints[i].endSite || file.joints[i].name.empty())
                continue;
            if (file.joints[i].name == name)
                return static_cast<int>(i);
            if (const std::size_t d = formats::nameDistance(name, file.joints[i].name); d < least) {
                least = d;
                near = file.joints[i].name;
            }
        }
        refuse(fmt::format("the {} {} has no joint '{}'{}; `sinew info` lists them", which, file.path,
                           printable(name),
                           near.empty() ? "" : fmt::format("; did you mean '{}'?", printable(near))));
    }

    void once(std::map<int, std::size_t>& used, int joint, const FigureFile& file, const char* which) const
    {
        const auto [before, isNew] = used.emplace(joint, m_Line);
        if (!isNew)
            refuse(fmt::format("the {} joint '{}' stands on line {} already; a joint can be in one pair only",
                               which, printable(file.name(joint)), before->second));
    }

    const std::string& m_Path;
    const FigureFile& m_Source;
    const FigureFile& m_Target;
    std::size_t m_Line = 0;
    std::map<int, std::size_t> m_Sources, m_Targets; // with the line
    JointMap m_Map;
};

} // namespace

JointMap autoMap(const FigureFile& source, const FigureFile& target)
{
    requireRecognised(source);
    requireRecognised(target);
    JointMap map;
    const formats::RolePairing pairing = formats::pairByRoles(source.roles, target.roles);
    for (const formats::RolePair& pair : pairing.pairs)
        map.pairs.push_back(
            {pair.source, pair.target, pair.role,
             whyText(source.roles.joints[static_cast<std::size_t>(pair.source)].reason, pair.role.reason)});
    noteLeftOver(map, pairing, source, target);
    for (const FigureFile* file : {&source, &target})
        for (const std::string& note : file->roles.notes)
            map.notes.push_back(file->path + ": " + note);
    return map;
}

JointMap parseJointMap(std::string_view text, const std::string& path, const FigureFile& source,
                       const FigureFile& target)
{
    return MapReader(path, source, target).run(text);
}

JointMap readJointMap(const std::string& path, const FigureFile& source, const FigureFile& target)
{
    return parseJointMap(readInput({"--map", path}, {}), inputName(path), source, target);
}

std::string jointMapFile(const JointMap& map, const FigureFile& source, const FigureFile& target)
{
    std::string text =
        "# SOURCE JOINT = TARGET JOINT, a pair a line; edit, add or delete, and give this file "
        "with --map.\n";
    for (const MapPair& pair : map.pairs)
        text += fmt::format("{} = {}  # {} ({})\n", quoted(source.name(pair.source)),
                            quoted(target.name(pair.target)), formats::roleText(pair.role), pair.why);
    const auto lonely = [&](const FigureFile& file, const char* which, auto joint) {
        for (std::size_t i = 0; i < file.joints.size(); ++i) {
            const bool paired = std::any_of(map.pairs.begin(), map.pairs.end(), [&](const MapPair& pair) {
                return joint(pair) == static_cast<int>(i);
            });
            if (!paired && !file.joints[i].endSite)
                text += fmt::format("# {} without a partner: {}\n", which, quoted(file.joints[i].name));
        }
    };
    lonely(source, "source", [](const MapPair& pair) { return pair.source; });
    lonely(target, "target", [](const MapPair& pair) { return pair.target; });
    return text;
}

std::string jointMapTable(const JointMap& map, const FigureFile& source, const FigureFile& target)
{
    TextTable table({{"source joint"}, {"target joint"}, {"role"}, {"found by"}});
    for (const MapPair& pair : map.pairs)
        table.add({printable(source.name(pair.source)), printable(target.name(pair.target)),
                   formats::roleText(pair.role), pair.why});
    return table.text();
}

} // namespace app
