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

using formats::BvhJoint;
using formats::BvhMotion;

constexpr double kTwigShare = 0.1; // of the longest chain: fingers, eyes and toes are shorter than this
constexpr std::size_t kNearNames = 3;

std::size_t parentOf(const BvhJoint& joint) { return static_cast<std::size_t>(joint.parent); }

/// Ends of the limbs of every figure: joints below which there is nothing but twigs.
std::vector<std::size_t> limbEnds(const BvhMotion& motion, const std::vector<std::size_t>& roots)
{
    const std::size_t count = motion.joints.size();
    std::vector<double> below(count); // the longest chain below each joint
    const auto length = [&](std::size_t i) {
        const auto& o = motion.joints[i].offset;
        return std::hypot(o[0], o[1], o[2]);
    };
    for (std::size_t i = count; i-- > 0;)
        if (motion.joints[i].parent >= 0) {
            double& above = below[parentOf(motion.joints[i])];
            above = std::max(above, length(i) + below[i]);
        }
    // Parents come first, so one pass tells what hangs on a twig.
    std::vector<bool> twig(count), hasLimb(count);
    for (std::size_t i = 0; i < count; ++i) {
        const BvhJoint& joint = motion.joints[i];
        if (joint.endSite)
            continue;
        if (joint.parent >= 0)
            twig[i] = twig[parentOf(joint)] || length(i) + below[i] < kTwigShare * below[roots[i]];
        if (!twig[i] && joint.parent >= 0)
            hasLimb[parentOf(joint)] = true;
    }
    std::vector<std::size_t> ends;
    for (std::size_t i = 0; i < count; ++i)
        if (!motion.joints[i].endSite && !twig[i] && !hasLimb[i])
            ends.push_back(i);
    return ends;
}

struct PartChoice {
    std::size_t joint = 0;
    int score = 0;
};

/// The likeliest joint of each part in the figure below `root`; a score of 0 where there is none.
std::vector<PartChoice> choosePartsByName(const BvhMotion& motion, const std::vector<std::size_t>& roots,
                                          std::size_t root)
{
    std::vector<PartChoice> chosen(std::size(kGoalParts));
    for (std::size_t i = 0; i < motion.joints.size(); ++i) {
        if (motion.joints[i].endSite || roots[i] != root)
            continue;
        const PartMatch match = partOfName(motion.joints[i].name);
        for (std::size_t p = 0; p < chosen.size(); ++p) {
            // Of two necks the one nearer to the head, which comes later.
            const bool later = match.part == BodyPart::Head && match.score == chosen[p].score;
            if (match.part == kGoalParts[p] && (match.score > chosen[p].score || later))
                chosen[p] = {i, match.score};
        }
    }
    return chosen;
}

bool covered(const BvhMotion& motion, std::size_t end, const std::vector<bool>& isGoal)
{
    for (std::size_t i = end;; i = parentOf(motion.joints[i])) {
        // A goal at the root says nothing about the limbs.
        if (motion.joints[i].parent < 0)
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

std::size_t findJoint(const BvhMotion& motion, std::string_view name)
{
    const auto found = std::find_if(motion.joints.begin(), motion.joints.end(), [&](const BvhJoint& joint) {
        return !joint.endSite && joint.name == name;
    });
    return static_cast<std::size_t>(found - motion.joints.begin());
}

[[noreturn]] void refuseJoint(const BvhMotion& motion, std::string_view name)
{
    if (name.empty())
        throw BadInput("--goal: a joint name is missing; give JOINT, JOINT:pos, JOINT:rot or JOINT:both");
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const BvhJoint& joint : motion.joints) {
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

std::vector<std::size_t> rootsOf(const BvhMotion& motion)
{
    std::vector<std::size_t> roots(motion.joints.size());
    for (std::size_t i = 0; i < roots.size(); ++i)
        roots[i] = motion.joints[i].parent < 0 ? i : roots[parentOf(motion.joints[i])];
    return roots;
}

GoalChoice chooseGoals(const BvhMotion& motion)
{
    GoalChoice choice;
    const std::vector<std::size_t> roots = rootsOf(motion);
    const std::vector<std::size_t> ends = limbEnds(motion, roots);
    std::vector<bool> isGoal(motion.joints.size());
    for (std::size_t root = 0; root < motion.joints.size(); ++root) {
        if (motion.joints[root].parent >= 0 || motion.joints[root].endSite)
            continue;
        const std::vector<PartChoice> parts = choosePartsByName(motion, roots, root);
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
            if (roots[end] != root || isGoal[end] || covered(motion, end, isGoal))
                continue;
            choice.goals.push_back({end, true, false, "end of a limb"});
            added.push_back("'" + motion.joints[end].name + "'");
        }
        choice.notes.push_back(fmt::format(
            "{} of the figure at '{}' {} found by name; {}", listed(missing), motion.joints[root].name,
            missing.size() == 1 ? "is not" : "are not",
            added.empty() ? "every limb has a goal without; --goal adds others"
                          : fmt::format("the tree's shape gives {} as goals; --goal names others",
                                        added.size() > 8 ? fmt::format("{} ends of limbs", added.size())
                                                         : listed(added))));
    }
    return choice;
}

GoalChoice namedGoals(const BvhMotion& motion, const std::vector<std::string>& texts)
{
    GoalChoice choice;
    for (const std::string& text : texts) {
        Goal goal;
        goal.joint = findJoint(motion, text);
        // Names may hold colons themselves, so the kind is only looked for where the whole is no joint.
        if (goal.joint == motion.joints.size()) {
            const std::size_t mark = text.rfind(':');
            const std::string kind = mark == std::string::npos ? "" : text.substr(mark + 1);
            const bool stated = kind == "pos" || kind == "rot" || kind == "both";
            const std::string name = stated ? text.substr(0, mark) : text;
            goal.joint = findJoint(motion, name);
            if (goal.joint == motion.joints.size() && mark != std::string::npos && !stated
                && findJoint(motion, text.substr(0, mark)) != motion.joints.size())
                throw BadInput(
                    fmt::format("--goal {}: '{}' is no kind of goal; give pos, rot or both", text, kind));
            if (goal.joint == motion.joints.size())
                refuseJoint(motion, name);
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
