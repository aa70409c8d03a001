// SPDX-License-Identifier: MIT
// From four limbs to the roles of all joints: trunk, neck and head between them, then sides, ends and
// twists.
#include "formats/HumanoidRoles.h"

#include "formats/JointNames.h"
#include "roles/Fingers.h"
#include "roles/LimbSearch.h"
#include "roles/VrmBones.h"

#include <algorithm>
#include <cmath>

namespace formats {

namespace {

// Of hips to shoulders: a joint as high above the shoulders is the top of the head, not its root.
constexpr double kHeadTop = 0.55;
// Of a leg: toes or bent knees that stand out less tell nothing of where the figure looks.
constexpr double kFacing = 0.02;

std::size_t index(int joint) { return static_cast<std::size_t>(joint); }

class RoleFinder {
public:
    RoleFinder(const SkeletonTree& tree, FourLimbs limbs) : m_Tree(tree), m_Limbs(std::move(limbs))
    {
        m_Out.joints.resize(tree.size());
    }

    HumanoidRoles run(std::string& why)
    {
        if (!findTrunk()) {
            why = "the legs hang from the shoulders rather than the shoulders from the hips";
            return {};
        }
        findAxes();
        orderSides();
        for (std::size_t side = 0; side < 2; ++side) {
            setArm(m_Limbs.arms.limbs[side], side == 0 ? Side::Left : Side::Right);
            setLeg(m_Limbs.legs.limbs[side], side == 0 ? Side::Left : Side::Right);
        }
        setTrunk();
        setHead();
        setTwists();
        m_Out.recognised = true;
        return std::move(m_Out);
    }

private:
    JointRole& role(int joint) { return m_Out.joints[index(joint)]; }

    void set(int joint, Role role, Side side = Side::Middle, int place = 0)
    {
        const NameEvidence& says = m_Tree.evidence(joint);
        const bool named = says.says(role) && (side == Side::Middle || says.side == side);
        this->role(joint) = {role, side, place, named ? RoleReason::Name : RoleReason::Shape};
    }

    Vector middleOf(const LimbPair& pair, std::size_t part) const
    {
        return middle(m_Tree.position(pair.limbs[0].joint(part)), m_Tree.position(pair.limbs[1].joint(part)));
    }

    bool findTrunk()
    {
        const int legs = m_Limbs.legs.node, arms = m_Limbs.arms.node;
        const int all = m_Tree.commonAncestor(legs, arms);
        if (all == arms)
            return false;
        // The joint that carries legs and trunk, unless a name says that it is the one above or below.
        m_Hips = all;
        const auto isHips = [&](int joint) { return m_Tree.evidence(joint).says(Role::Hips); };
        if (!isHips(all)) {
            for (int joint = legs; joint != all; joint = m_Tree.parent(joint))
                if (isHips(joint))
                    m_Hips = joint;
            for (int joint = m_Tree.parent(all); joint >= 0 && m_Hips == all; joint = m_Tree.parent(joint))
                if (isHips(joint))
                    m_Hips = joint;
        }
        // What hangs below the hips when they lie above the common joint, else from that joint on.
        m_Trunk = m_Tree.path(m_Tree.isBelow(all, m_Hips) ? m_Hips : all, arms);
        return true;
    }

    void findAxes()
    {
        const Vector hips = middleOf(m_Limbs.legs, 0);
        m_Up = unit(middleOf(m_Limbs.arms, 0) - hips);
        m_Leg = distance(hips, middleOf(m_Limbs.legs, 2));
        findHeadChain();
    }

    /// Where the figure looks by its shape alone; zero when nothing tells.
    Vector facing() const
    {
        Vector forward{};
        for (const Limb& leg : m_Limbs.legs.limbs) {
            const int foot = leg.joint(2);
            forward = forward + across(farthestBelow(foot) - m_Tree.position(foot), m_Up);
        }
        if (length(forward) > kFacing * m_Leg)
            return unit(forward);
        // Knees bend forwards, elbows backwards.
        Vector bend{};
        for (const Limb& leg : m_Limbs.legs.limbs)
            bend = bend + bendOf(leg);
        for (const Limb& arm : m_Limbs.arms.limbs)
            bend = bend - bendOf(arm);
        bend = across(bend, m_Up);
        return length(bend) > kFacing * m_Leg ? unit(bend) : Vector{};
    }
    Vector bendOf(const Limb& limb) const
    {
        const Vector& root = m_Tree.position(limb.joint(0));
        const Vector axis = unit(m_Tree.position(limb.joint(2)) - root);
        return across(m_Tree.position(limb.joint(1)) - root, axis);
    }
    /// The point below the joint that lies farthest from it, end points included: the tip of a foot.
    Vector farthestBelow(int joint) const
    {
        Vector tip = m_Tree.position(joint);
        double farthest = 0;
        std::vector<int> below{joint};
        for (std::size_t i = 0; i < below.size(); ++i)
            for (const int child : m_Tree.children(below[i])) {
                if (m_Tree.evidence(child).helper)
                    continue;
                below.push_back(child);
                const double far = length(across(m_Tree.position(child) - m_Tree.position(joint), m_Up));
                if (far > farthest) {
                    farthest = far;
                    tip = m_Tree.position(child);
                }
            }
        return tip;
    }

    Vector acrossPair(const LimbPair& pair) const
    {
        return across(m_Tree.position(pair.limbs[0].joint(0)) - m_Tree.position(pair.limbs[1].joint(0)),
                      m_Up);
    }

    void orderSides()
    {
        Vector left{};
        bool named = false;
        for (const LimbPair* pair : {&m_Limbs.legs, &m_Limbs.arms})
            if (pair->named && !named) {
                left = unit(acrossPair(*pair));
                named = true;
            }
        const Vector forward = facing();
        const bool faces = length(forward) > 0;
        if (!named) {
            left = faces ? cross(m_Up, forward) : assumedLeft();
            if (!faces)
                m_Out.notes.push_back("nothing in the skeleton tells where it looks, so left and right are a "
                                      "guess; check them before use");
        } else if (faces && dot(cross(m_Up, forward), left) < -0.2) {
            m_Out.notes.push_back("the names of left and right stand against the direction of the feet; the "
                                  "names were taken");
        }
        for (LimbPair* pair : {&m_Limbs.legs, &m_Limbs.arms})
            if (dot(acrossPair(*pair), left) < 0)
                std::swap(pair->limbs[0], pair->limbs[1]);
        left = unit(acrossPair(m_Limbs.legs));
        m_Out.up = m_Up;
        m_Out.left = left;
        m_Out.forward = unit(cross(left, m_Up));
    }
    // Figures look along +Z in files with Y up, and along -Y in those with Z up.
    Vector assumedLeft() const
    {
        return cross(m_Up, std::abs(m_Up[2]) > std::abs(m_Up[1]) ? Vector{0, -1, 0} : Vector{0, 0, 1});
    }

    void setArm(const Limb& arm, Side side)
    {
        setParts(arm, side, {Role::UpperArm, Role::LowerArm, Role::Hand});
        // The last joint above the arm that isn't a mere pad; a name wins.
        int clavicle = -1;
        for (std::size_t i = 0; i < arm.at[0]; ++i)
            if (clavicle < 0 || !m_Tree.evidence(clavicle).says(Role::Clavicle)
                || m_Tree.evidence(arm.chain[i]).says(Role::Clavicle))
                clavicle = arm.chain[i];
        if (clavicle >= 0)
            set(clavicle, Role::Clavicle, side);
        for (const FingerRole& finger : findFingers(m_Tree, arm.joint(2), side))
            role(finger.joint) = finger.role;
    }

    void setLeg(const Limb& leg, Side side)
    {
        setParts(leg, side, {Role::UpperLeg, Role::LowerLeg, Role::Foot});
        bool toes = false;
        for (std::size_t i = leg.at[2] + 1; i < leg.chain.size(); ++i) {
            const NameEvidence& says = m_Tree.evidence(leg.chain[i]);
            if (!toes && !says.end && !says.twist) {
                set(leg.chain[i], Role::Toes, side);
                toes = true;
            } else {
                set(leg.chain[i], Role::End, side);
            }
        }
    }

    void setParts(const Limb& limb, Side side, const std::array<Role, 3>& roles)
    {
        for (std::size_t part = 0; part < 3; ++part)
            set(limb.joint(part), roles[part], side);
        int twists = 0;
        for (std::size_t i = limb.at[0] + 1; i < limb.at[2]; ++i)
            if (i != limb.at[1])
                set(limb.chain[i], Role::Twist, side, twists++);
    }

    void setTrunk()
    {
        set(m_Hips, Role::Hips);
        for (int joint = m_Tree.parent(m_Hips); joint >= 0; joint = m_Tree.parent(joint))
            if (role(joint).role == Role::None)
                set(joint, Role::Root);
        int spine = 0;
        for (const int joint : m_Trunk) {
            if (joint == m_Hips || role(joint).role == Role::Root)
                continue;
            const NameEvidence& says = m_Tree.evidence(joint);
            // Shoulders may hang from the neck.
            if (says.says(Role::Neck) && spine > 0)
                m_Neck.push_back(joint);
            else if (joint == m_Trunk.front())
                set(joint, Role::Root);
            else
                set(joint, Role::Spine, Side::Middle, spine++);
        }
        std::size_t first = 0;
        for (; first < m_HeadChain.size() && m_HeadChain[first] != m_Head; ++first) {
            const NameEvidence& says = m_Tree.evidence(m_HeadChain[first]);
            if (says.says(Role::Spine) && !says.says(Role::Neck) && m_Neck.empty() && !spineIsNeck())
                set(m_HeadChain[first], Role::Spine, Side::Middle, spine++);
            else
                m_Neck.push_back(m_HeadChain[first]);
        }
        for (std::size_t i = 0; i < m_Neck.size(); ++i)
            set(m_Neck[i], Role::Neck, Side::Middle, static_cast<int>(i));
    }
    /// Some skeletons number one chain from the hips to the head and call it all spine.
    bool spineIsNeck() const { return m_Head >= 0 && m_Tree.evidence(m_Head).says(Role::Spine); }

    void findHeadChain()
    {
        const double spine = distance(middleOf(m_Limbs.legs, 0), middleOf(m_Limbs.arms, 0));
        const Vector shoulders = middleOf(m_Limbs.arms, 0);
        int best = -1;
        double bestScore = 0;
        for (int node = m_Limbs.arms.node;; node = m_Tree.parent(node)) {
            for (const int child : m_Tree.children(node)) {
                if (!canBeHead(child))
                    continue;
                const Vector way = m_Tree.position(child) - shoulders;
                double score = dot(way, m_Up) - length(across(way, m_Up)) + m_Tree.reach(child) * 0.5 + spine;
                score *= namesHead(child) ? 10 : 1;
                // A chain of no length, as above a neck, still leads there.
                if (score > bestScore && (dot(way, m_Up) > -0.3 * spine)) {
                    best = child;
                    bestScore = score;
                }
            }
            if (best >= 0 || node == m_Trunk.front())
                break;
        }
        if (best < 0)
            return;
        const int named = headByName(best);
        if (named >= 0) {
            m_HeadChain = m_Tree.path(best, named);
            m_Head = named;
            return;
        }
        headByShape(best, shoulders, spine);
    }
    bool canBeHead(int child) const
    {
        if (m_Tree.endSite(child) || m_Tree.evidence(child).helper || m_Tree.evidence(child).end)
            return false;
        for (const LimbPair* pair : {&m_Limbs.legs, &m_Limbs.arms})
            for (const Limb& limb : pair->limbs)
                if (m_Tree.isBelow(limb.chain.front(), child))
                    return false;
        return true;
    }
    bool namesHead(int child) const
    {
        return m_Tree.evidence(child).says(Role::Neck) || headByName(child) >= 0;
    }
    /// The topmost joint of the branch that is called head.
    int headByName(int branch) const
    {
        std::vector<int> below{branch};
        for (std::size_t i = 0; i < below.size() && i < 64; ++i) {
            const NameEvidence& says = m_Tree.evidence(below[i]);
            if (says.says(Role::Head) && !says.says(Role::Neck) && !says.end && !says.helper && !says.face)
                return below[i];
            for (const int child : m_Tree.children(below[i]))
                if (!m_Tree.endSite(child))
                    below.push_back(child);
        }
        return -1;
    }
    /// Up to where the branch forks into a face; the top of a head is no head.
    void headByShape(int branch, const Vector& shoulders, double spine)
    {
        m_HeadChain = {branch};
        for (;;) {
            int next = -1, count = 0;
            for (const int child : m_Tree.children(m_HeadChain.back()))
                if (!m_Tree.endSite(child) && !m_Tree.evidence(child).helper && !m_Tree.evidence(child).end) {
                    next = child;
                    ++count;
                }
            if (count != 1 || m_HeadChain.size() > 16)
                break;
            m_HeadChain.push_back(next);
        }
        if (m_HeadChain.size() > 2
            && dot(m_Tree.position(m_HeadChain.back()) - shoulders, m_Up) > kHeadTop * spine)
            m_HeadChain.pop_back();
        m_Head = m_HeadChain.back();
    }

    void setHead()
    {
        if (m_Head < 0)
            return;
        set(m_Head, Role::Head);
        std::vector<int> below{m_Head};
        for (std::size_t i = 0; i < below.size(); ++i)
            for (const int child : m_Tree.children(below[i])) {
                below.push_back(child);
                const NameEvidence& says = m_Tree.evidence(child);
                if (m_Tree.endSite(child) || says.helper || role(child).role != Role::None)
                    continue;
                if (says.face)
                    role(child) = {Role::Face, says.side, 0, RoleReason::Name};
                else if (says.end || (m_Tree.children(m_Head).size() == 1 && below[i] == m_Head))
                    set(child, Role::End);
            }
    }

    /// Leaves beside a limb that turn with it, by name or because they lie on the bone.
    void setTwists()
    {
        for (const LimbPair* pair : {&m_Limbs.arms, &m_Limbs.legs})
            for (std::size_t side = 0; side < 2; ++side) {
                const Limb& limb = pair->limbs[side];
                int count = 0;
                for (std::size_t part = 0; part < 2; ++part)
                    for (const int child : m_Tree.children(limb.joint(part)))
                        if (isTwist(child, limb, part))
                            role(child) = {Role::Twist, side == 0 ? Side::Left : Side::Right, count++,
                                           m_Tree.evidence(child).twist ? RoleReason::Name
                                                                        : RoleReason::Shape};
            }
    }
    bool isTwist(int child, const Limb& limb, std::size_t part) const
    {
        if (m_Out.joints[index(child)].role != Role::None || m_Tree.endSite(child))
            return false;
        if (m_Tree.evidence(child).twist)
            return true;
        const Vector& start = m_Tree.position(limb.joint(part));
        const Vector bone = m_Tree.position(limb.joint(part + 1)) - start;
        const Vector way = m_Tree.position(child) - start;
        const double along = dot(way, unit(bone));
        return m_Tree.children(child).empty() && !m_Tree.evidence(child).helper && along >= 0
            && along <= length(bone) && length(across(way, unit(bone))) < 0.02 * length(bone);
    }

    const SkeletonTree& m_Tree;
    FourLimbs m_Limbs; // left first, once the sides are ordered
    HumanoidRoles m_Out;
    int m_Hips = -1;
    int m_Head = -1;
    std::vector<int> m_Trunk; // from the hips, or from the joint that carries hips and trunk, to the arms
    std::vector<int> m_HeadChain; // from behind the trunk to the head
    std::vector<int> m_Neck;
    Vector m_Up{};
    double m_Leg = 0;
};

bool isFinite(const RoleJoint& joint)
{
    return std::isfinite(joint.position[0]) && std::isfinite(joint.position[1])
        && std::isfinite(joint.position[2]);
}

} // namespace

int HumanoidRoles::find(Role role, Side side, int place) const
{
    for (std::size_t i = 0; i < joints.size(); ++i)
        if (joints[i].role == role && joints[i].side == side && joints[i].index == place)
            return static_cast<int>(i);
    return -1;
}

std::vector<int> HumanoidRoles::chain(Role role, Side side) const
{
    std::vector<int> found;
    for (std::size_t i = 0; i < joints.size(); ++i)
        if (joints[i].role == role && joints[i].side == side)
            found.push_back(static_cast<int>(i));
    std::stable_sort(found.begin(), found.end(),
                     [&](int a, int b) { return joints[index(a)].index < joints[index(b)].index; });
    return found;
}

HumanoidRoles findHumanoidRoles(const std::vector<RoleJoint>& joints)
{
    HumanoidRoles out;
    if (!std::all_of(joints.begin(), joints.end(), isFinite)) {
        out.why = "a rest position is no number";
    } else {
        const SkeletonTree tree(joints);
        if (auto limbs = findLimbs(tree, out.why))
            out = RoleFinder(tree, *std::move(limbs)).run(out.why);
    }
    std::string why = std::move(out.why);
    out.joints.resize(joints.size());
    if (!takeVrmBones(joints, out) && !out.recognised)
        out.why = std::move(why);
    return out;
}

} // namespace formats
