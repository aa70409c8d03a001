// SPDX-License-Identifier: MIT
// Fingers by name and number; five nameless ones by their roots: the thumb's lies nearest to the wrist, the
// others follow across the palm.
#include "roles/Fingers.h"

#include "formats/JointNames.h"

#include <algorithm>

namespace formats {

namespace {

constexpr Role kFingerRoles[] = {Role::Thumb, Role::Index, Role::Middle, Role::Ring, Role::Pinky};
constexpr int kFingerJoints = 3;

Role fingerByName(const NameEvidence& says)
{
    for (const Role role : kFingerRoles)
        if (says.fits == setOf(role))
            return role;
    return says.says(Role::Fingers) || says.says(Role::Hand) ? Role::Fingers : Role::None;
}

/// The place in the finger that words such as `proximal` give; -1 without one.
int placeByWord(const std::string& name, bool thumb)
{
    for (const std::string& word : nameWords(name)) {
        if (word == "metacarpal")
            return thumb ? 1 : 0;
        if (word == "proximal")
            return thumb ? 2 : 1;
        if (word == "intermediate")
            return 2;
        if (word == "distal")
            return 3;
    }
    return -1;
}

class HandFingers {
public:
    HandFingers(const SkeletonTree& tree, Side side) : m_Tree(tree), m_Side(side) { }

    std::vector<FingerRole> run(int hand)
    {
        std::vector<std::vector<int>> chains;
        collect(hand, chains);
        const bool named = std::any_of(chains.begin(), chains.end(), [&](const std::vector<int>& chain) {
            return roleOf(chain) != Role::None;
        });
        if (!named && chains.size() == std::size(kFingerRoles))
            orderByShape(hand, chains);
        for (std::size_t i = 0; i < chains.size(); ++i) {
            const Role role = roleOf(chains[i]);
            if (role != Role::None)
                number(chains[i], role, RoleReason::Name);
            else if (!named && chains.size() == std::size(kFingerRoles))
                number(chains[i], kFingerRoles[i], RoleReason::Shape);
            else if (chains.size() == 1)
                number(chains[i], Role::Fingers, RoleReason::Shape);
        }
        return std::move(m_Out);
    }

private:
    /// Chains without a fork below the hand; a joint that forks is palm rather than finger.
    void collect(int hand, std::vector<std::vector<int>>& chains) const
    {
        std::vector<int> starts = usable(hand);
        for (std::size_t i = 0; i < starts.size(); ++i) {
            std::vector<int> chain{starts[i]};
            for (std::vector<int> next = usable(starts[i]); !next.empty(); next = usable(chain.back())) {
                if (next.size() > 1) {
                    starts.insert(starts.end(), next.begin(), next.end());
                    break;
                }
                chain.push_back(next.front());
            }
            chains.push_back(std::move(chain));
        }
    }
    std::vector<int> usable(int joint) const
    {
        std::vector<int> out;
        for (const int child : m_Tree.children(joint))
            if (!m_Tree.endSite(child) && !m_Tree.evidence(child).helper && !m_Tree.evidence(child).twist)
                out.push_back(child);
        return out;
    }

    Role roleOf(const std::vector<int>& chain) const
    {
        Role role = Role::None;
        for (const int joint : chain)
            if (const Role here = fingerByName(m_Tree.evidence(joint));
                role == Role::None || (role == Role::Fingers && here != Role::None))
                role = here;
        return role;
    }

    void orderByShape(int hand, std::vector<std::vector<int>>& chains) const
    {
        const auto root = [&](const std::vector<int>& chain) { return m_Tree.position(chain.front()); };
        const auto tip = [&](const std::vector<int>& chain) { return m_Tree.position(chain.back()); };
        std::stable_sort(
            chains.begin(), chains.end(), [&](const std::vector<int>& a, const std::vector<int>& b) {
                return distance(tip(a), m_Tree.position(hand)) < distance(tip(b), m_Tree.position(hand));
            });
        // The nearest two tips are the thumb's and the little finger's: the thumb stands farther off.
        const auto apart = [&](std::size_t which) {
            double least = 1e300;
            for (std::size_t i = 0; i < chains.size(); ++i)
                if (i != which)
                    least = std::min(least, distance(tip(chains[i]), tip(chains[which])));
            return least;
        };
        if (apart(1) > apart(0))
            std::swap(chains[0], chains[1]);
        const Vector thumb = root(chains[0]);
        std::stable_sort(chains.begin() + 1, chains.end(),
                         [&](const std::vector<int>& a, const std::vector<int>& b) {
                             return distance(root(a), thumb) < distance(root(b), thumb);
                         });
    }

    /// Numbers from the names where they rise, else in order. What stands before the finger in its chain, as
    /// a palm or a pad with the finger's own name, is none of its joints.
    void number(std::vector<int> chain, Role role, RoleReason reason)
    {
        if (reason == RoleReason::Name && role != Role::Fingers)
            while (chain.size() > 1 && isBase(chain, role)) {
                const bool palm = fingerByName(m_Tree.evidence(chain.front())) == Role::Fingers;
                if (palm)
                    m_Out.push_back({chain.front(), {Role::Fingers, m_Side, 0, reason}});
                chain.erase(chain.begin());
            }
        std::vector<int> places;
        for (const int joint : chain) {
            const int place = placeByWord(m_Tree.name(joint), role == Role::Thumb);
            places.push_back(place < 0 ? nameNumber(m_Tree.name(joint)) : place);
        }
        bool usable = reason == RoleReason::Name && role != Role::Fingers && places.front() >= 0
            && places.back() <= kFingerJoints + 1;
        for (std::size_t i = 1; i < places.size(); ++i)
            usable = usable && places[i] > places[i - 1];
        for (std::size_t i = 0; i < chain.size(); ++i) {
            const int place = usable ? places[i] : static_cast<int>(i) + (role == Role::Fingers ? 0 : 1);
            if (m_Tree.evidence(chain[i]).end || place > kFingerJoints)
                m_Out.push_back({chain[i], {Role::End, m_Side, 0, reason}});
            else
                m_Out.push_back({chain[i], {role, m_Side, place, reason}});
        }
    }
    bool isBase(const std::vector<int>& chain, Role role) const
    {
        const int number = nameNumber(m_Tree.name(chain[0]));
        return fingerByName(m_Tree.evidence(chain[0])) != role
            || (number >= 0 && number == nameNumber(m_Tree.name(chain[1])));
    }

    const SkeletonTree& m_Tree;
    Side m_Side;
    std::vector<FingerRole> m_Out;
};

} // namespace

std::vector<FingerRole> findFingers(const SkeletonTree& tree, int hand, Side side)
{
    return HandFingers(tree, side).run(hand);
}

} // namespace formats
