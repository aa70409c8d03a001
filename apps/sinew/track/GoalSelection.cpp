// SPDX-License-Identifier: MIT
// Goals by name, by the shape of the tree, and as the user names them.
#include "track/GoalSelection.h"

#include "formats/JointNames.h"
#include "shared/Console.h"
#include "track/NameParts.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace app {

namespace {

constexpr double kTwigShare = 0.1; // of the longest chain: fingers, eyes and toes are shorter than this
constexpr std::size_t kNearNames = 3;
constexpr int kKnown = 1000; // above the score of any name

std::size_t parentOf(const TrackJoint& joint) { return static_cast<std::size_t>(joint.parent); }

/// Ends of the limbs of every figure: joints below which there is nothing but twigs.
std::vector<std::size_t> limbEnds(const std::vector<TrackJoint>& joints,
                                  const std::vector<std::size_t>& roots)
{
    const std::size_t count = joints.size();
    std::vector<double> below(count); // the longest chain below each joint
    const auto length = [&](std::size_t i) {
        const auto& o = joints[i].rest.translation;
        return std::hypot(o[0], o[1], o[2]);
    };
    for (std::size_t i = count; i-- > 0;)
        if (joints[i].parent >= 0) {
            double& above = below[parentOf(joints[i])];
            above = std::max(above, length(i) + below[i]);
        }
    // Parents come first, so one pass tells what hangs on a twig.
    std::vector<bool> twig(count), hasLimb(count);
    for (std::size_t i = 0; i < count; ++i) {
        const TrackJoint& joint = joints[i];
        if (joint.endSite)
            continue;
        if (joint.parent >= 0)
            twig[i] = twig[parentOf(joint)] || length(i) + below[i] < kTwigShare * below[roots[i]];
        if (!twig[i] && joint.parent >= 0)
            hasLimb[parentOf(joint)] = true;
    }
    std::vector<std::size_t> ends;
    for (std::size_t i = 0; i < count; ++i)
        if (!joints[i].endSite && !twig[i] && !hasLimb[i])
            ends.push_back(i);
    return ends;
}

struct PartChoice {
    std::size_t joint = 0;
    int score = 0;
};

/// The likeliest joint of each part in the figure below `root`; a score of 0 where there is none.
std::vector<PartChoice> choosePartsByName(const std::vector<TrackJoint>& joints,
                                          const std::vector<std::size_t>& roots, std::size_t root)
{
    std::vector<PartChoice> chosen(std::size(kGoalParts));
    for (std::size_t i = 0; i < joints.size(); ++i) {
        if (joints[i].endSite || roots[i] != root)
            continue;
        const PartMatch match =
            joints[i].part == BodyPart::None ? partOfName(joints[i].name) : PartMatch{joints[i].part, kKnown};
        for (std::size_t p = 0; p < chosen.size(); ++p) {
            // Of two necks the one nearer to the head, which comes later.
            const bool later = match.part == BodyPart::Head && match.score == chosen[p].score;
            if (match.part == kGoalParts[p] && (match.score > chosen[p].score || later))
                chosen[p] = {i, match.score};
        }
    }
    return chosen;
}

bool covered(const std::vector<TrackJoint>& joints, std::size_t end, const std::vector<bool>& isGoal)
{
    for (std::size_t i = end;; i = parentOf(joints[i])) {
        // A goal at the root says nothing about the limbs.
        if (joints[i].parent < 0)
            return false;
        if (isGoal[i])
            return true;
    }
}

std::string listed(const std::vector<std::string>& names)
{
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        text += fmt::format("{}{}", i == 0 ? "" : i + 1 == names.size() ? " and " : ", ", names[i]);
    return text;
}

std::size_t findJoint(const std::vector<TrackJoint>& joints, std::string_view name)
{
    const auto found = std::find_if(joints.begin(), joints.end(), [&](const TrackJoint& joint) {
        return !joint.endSite && joint.name == name;
    });
    return static_cast<std::size_t>(found - joints.begin());
}

[[noreturn]] void refuseJoint(const std::vector<TrackJoint>& joints, std::string_view name)
{
    if (name.empty())
        throw BadInput("--goal: a joint name is missing; give JOINT, JOINT:pos, JOINT:rot or JOINT:both");
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const TrackJoint& joint : joints) {
        if (joint.endSite)
            continue;
        // `LeftHand` is near to `mixamorig:LeftHand`, however long the name space.
        const std::string_view whole = joint.name;
        const std::size_t mark = whole.find_last_of(":|");
        std::size_t distance = formats::nameDistance(name, whole);
        if (mark != std::string_view::npos)
            distance = std::min(distance, formats::nameDistance(name, whole.substr(mark + 1)));
        if (distance <= std::max<std::size_t>(2, name.size() / 3))
            near.emplace_back(distance, joint.name);
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> names;
    for (std::size_t i = 0; i < std::min(near.size(), kNearNames); ++i)
        names.push_back("'" + near[i].second + "'");
    throw BadInput(fmt::format("--goal: there is no joint '{}'; {}", name,
                               names.empty() ? "`sinew info` lists the joints of a file"
                                             : "near to it: " + listed(names)));
}

} // namespace

std::vector<std::size_t> rootsOf(const std::vector<TrackJoint>& joints)
{
    std::vector<std::size_t> roots(joints.size());
    for (std::size_t i = 0; i < roots.size(); ++i)
        roots[i] = joints[i].parent < 0 ? i : roots[parentOf(joints[i])];
    return roots;
}

GoalChoice chooseGoals(const std::vector<TrackJoint>& joints)
{
    GoalChoice choice;
    const std::vector<std::size_t> roots = rootsOf(joints);
    const std::vector<std::size_t> ends = limbEnds(joints, roots);
    std::vector<bool> isGoal(joints.size());
    for (std::size_t root = 0; root < joints.size(); ++root) {
        if (joints[root].parent >= 0 || joints[root].endSite)
            continue;
        const std::vector<PartChoice> parts = choosePartsByName(joints, roots, root);
        std::vector<std::string> missing;
        for (std::size_t p = 0; p < parts.size(); ++p) {
            if (parts[p].score == 0) {
                missing.emplace_back(partName(kGoalParts[p]));
                continue;
            }
            isGoal[parts[p].joint] = true;
            choice.goals.push_back({parts[p].joint, true, false, partName(kGoalParts[p])});
        }
        if (missing.empty())
            continue;
        std::vector<std::string> added;
        for (const std::size_t end : ends) {
            if (roots[end] != root || isGoal[end] || covered(joints, end, isGoal))
                continue;
            choice.goals.push_back({end, true, false, "end of a limb"});
            added.push_back("'" + joints[end].name + "'");
        }
        choice.notes.push_back(fmt::format(
            "{} of the figure at '{}' {} found by name; {}", listed(missing), joints[root].name,
            missing.size() == 1 ? "is not" : "are not",
            added.empty() ? "every limb has a goal without; --goal adds others"
                          : fmt::format("the tree's shape gives {} as goals; --goal names others",
                                        added.size() > 8 ? fmt::format("{} ends of limbs", added.size())
                                                         : listed(added))));
    }
    return choice;
}

GoalChoice namedGoals(const std::vector<TrackJoint>& joints, const std::vector<std::string>& texts)
{
    GoalChoice choice;
    for (const std::string& text : texts) {
        Goal goal;
        goal.joint = findJoint(joints, text);
        // Names may hold colons themselves, so the kind is only looked for where the whole is no joint.
        if (goal.joint == joints.size()) {
            const std::size_t mark = text.rfind(':');
            const std::string kind = mark == std::string::npos ? "" : text.substr(mark + 1);
            const bool stated = kind == "pos" || kind == "rot" || kind == "both";
            const std::string name = stated ? text.substr(0, mark) : text;
            goal.joint = findJoint(joints, name);
            if (goal.joint == joints.size() && mark != std::string::npos && !stated
                && findJoint(joints, text.substr(0, mark)) != joints.size())
                throw BadInput(
                    fmt::format("--goal {}: '{}' is no kind of goal; give pos, rot or both", text, kind));
            if (goal.joint == joints.size())
                refuseJoint(joints, name);
            goal.position = kind != "rot" || !stated;
            goal.rotation = stated && kind != "pos";
        }
        const auto same = std::find_if(choice.goals.begin(), choice.goals.end(),
                                       [&](const Goal& other) { return other.joint == goal.joint; });
        if (same == choice.goals.end()) {
            choice.goals.push_back(std::move(goal));
        } else {
            same->position = same->position || goal.position;
            same->rotation = same->rotation || goal.rotation;
        }
    }
    return choice;
}

} // namespace app
