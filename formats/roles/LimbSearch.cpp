// SPDX-License-Identifier: MIT
// Scores every pair of sibling branches as legs and as arms, then every pair of pairs as a body. A score is a
// product of factors around 1: shape gives a figure without names its answer, names settle what shape leaves
// open (`Shoulder`, `Hip` and `Leg` mean different joints in different programs).
#include "roles/LimbSearch.h"

#include <algorithm>
#include <cmath>

namespace formats {

namespace {

// Of the figure's reach: shorter branches are fingers, toes and faces.
constexpr double kLeastLimb = 0.08;
constexpr std::size_t kMostBranches = 16; // at one joint, the longest first
constexpr std::size_t kMostPairs = 24; // of each kind, the likeliest first
// Factors of a limb's joint whose name fits its role, or names another part of the body.
constexpr double kFits = 1.6, kDenies = 0.35;
// A joint inside a limb that isn't known for a twist makes the limb less likely.
constexpr double kSkipped = 0.55;
// Of upper and lower part together: hand with fingers and foot with toes are shorter than this.
constexpr double kLongestEnd = 0.45;
// Upper to lower part: humerus to forearm, thigh to shin.
constexpr double kArmRatio = 1.12, kLegRatio = 1.0;

constexpr Role kParts[2][3] = {{Role::UpperArm, Role::LowerArm, Role::Hand},
                               {Role::UpperLeg, Role::LowerLeg, Role::Foot}};

double nameFactor(const NameEvidence& says, Role role)
{
    if (says.twist || says.end)
        return kDenies;
    return says.says(role) ? kFits : says.denies(role) ? kDenies : 1;
}

class LimbScorer {
public:
    LimbScorer(const SkeletonTree& tree, LimbKind kind) : m_Tree(tree), m_Kind(kind) { }

    /// Of the joints of `chain` taken as root, middle and end of a limb; 0 when they can't be.
    double score(const std::vector<int>& chain, const std::array<std::size_t, 3>& at) const
    {
        const double upper = m_Tree.distance(chain[at[0]], chain[at[1]]);
        const double lower = m_Tree.distance(chain[at[1]], chain[at[2]]);
        const double whole = m_Tree.reachOfBranch(chain.front());
        const double limb = upper + lower;
        if (!(upper > 0.02 * whole) || !(lower > 0.02 * whole))
            return 0;
        const double ratio = upper / lower / (m_Kind == LimbKind::Arm ? kArmRatio : kLegRatio);
        double score = limb / whole * (limb / whole) * std::exp(-std::abs(std::log(ratio)));
        const double after = m_Tree.reach(chain[at[2]]) / limb;
        score *= std::exp(-4 * std::max(0.0, after - kLongestEnd));
        const Role* roles = kParts[m_Kind == LimbKind::Leg];
        for (std::size_t part = 0; part < 3; ++part)
            score *= nameFactor(m_Tree.evidence(chain[at[part]]), roles[part]);
        for (std::size_t i = at[0] + 1; i < at[2]; ++i)
            if (i != at[1] && !isPadding(chain, i))
                score *= m_Tree.evidence(chain[i]).fits != 0 ? kDenies : kSkipped;
        for (std::size_t i = 0; i < at[0]; ++i)
            if (isPassedOver(chain, i, at[0]))
                score *= kSkipped;
        return score;
    }

private:
    // Twists, and joints of no length.
    bool isPadding(const std::vector<int>& chain, std::size_t i) const
    {
        return m_Tree.evidence(chain[i]).twist
            || m_Tree.distance(chain[i - 1], chain[i]) < 1e-3 * m_Tree.reachOfBranch(chain.front());
    }
    // A joint above the limb whose name can only be the limb's own root, unless it stands at the trunk.
    bool isPassedOver(const std::vector<int>& chain, std::size_t i, std::size_t root) const
    {
        const NameEvidence& says = m_Tree.evidence(chain[i]);
        const Role upper = kParts[m_Kind == LimbKind::Leg][0];
        return says.says(upper) && !says.says(Role::Clavicle) && !says.twist
            && m_Tree.distance(chain[i], chain[root]) > 0.1 * m_Tree.reachOfBranch(chain.front());
    }

    const SkeletonTree& m_Tree;
    LimbKind m_Kind;
};

Limb bestLimb(const SkeletonTree& tree, LimbKind kind, std::vector<int> chain)
{
    const LimbScorer scorer(tree, kind);
    Limb best{std::move(chain), {}, 0};
    const std::size_t count = best.chain.size();
    for (std::size_t i = 0; i + 2 < count; ++i)
        for (std::size_t j = i + 1; j + 1 < count; ++j)
            for (std::size_t k = j + 1; k < count; ++k)
                if (const double score = scorer.score(best.chain, {i, j, k}); score > best.score) {
                    best.score = score;
                    best.at = {i, j, k};
                }
    return best;
}

/// The same joints of two chains of one length, so that both sides agree.
void bestLimbs(const SkeletonTree& tree, LimbKind kind, Limb& a, Limb& b)
{
    if (a.chain.size() != b.chain.size() || a.at == b.at)
        return;
    const LimbScorer scorer(tree, kind);
    const double ofA = a.score * scorer.score(b.chain, a.at), ofB = b.score * scorer.score(a.chain, b.at);
    const auto at = ofA >= ofB ? a.at : b.at;
    if (std::max(ofA, ofB) <= 0)
        return;
    for (Limb* limb : {&a, &b}) {
        limb->at = at;
        limb->score = scorer.score(limb->chain, at);
    }
}

/// The side that most names of the chain give.
int sideVotes(const SkeletonTree& tree, const Limb& limb)
{
    int votes = 0;
    for (std::size_t i = 0; i <= limb.at[2]; ++i) {
        const Side side = tree.evidence(limb.chain[i]).side;
        votes += side == Side::Left ? 1 : side == Side::Right ? -1 : 0;
    }
    return votes;
}

double likeness(double a, double b) { return std::exp(-3 * std::abs(std::log(a / b))); }

double limbLength(const SkeletonTree& tree, const Limb& limb)
{
    return tree.distance(limb.joint(0), limb.joint(1)) + tree.distance(limb.joint(1), limb.joint(2));
}
double limbLength(const SkeletonTree& tree, const LimbPair& pair)
{
    return (limbLength(tree, pair.limbs[0]) + limbLength(tree, pair.limbs[1])) / 2;
}

std::optional<LimbPair> pairOf(const SkeletonTree& tree, LimbKind kind, int node, int first, int second,
                               double figure)
{
    LimbPair pair{node, {bestLimb(tree, kind, tree.chainFrom(first)), {}}, false, 0};
    if (pair.limbs[0].score <= 0)
        return std::nullopt;
    pair.limbs[1] = bestLimb(tree, kind, tree.chainFrom(second));
    if (pair.limbs[1].score <= 0)
        return std::nullopt;
    bestLimbs(tree, kind, pair.limbs[0], pair.limbs[1]);
    pair.score = std::sqrt(pair.limbs[0].score * pair.limbs[1].score);
    for (std::size_t part = 0; part < 2; ++part)
        pair.score *= likeness(tree.distance(pair.limbs[0].joint(part), pair.limbs[0].joint(part + 1)),
                               tree.distance(pair.limbs[1].joint(part), pair.limbs[1].joint(part + 1)));
    const int votes[2] = {sideVotes(tree, pair.limbs[0]), sideVotes(tree, pair.limbs[1])};
    if (votes[0] * votes[1] < 0) {
        pair.named = true;
        pair.score *= 1.5;
        if (votes[0] < 0)
            std::swap(pair.limbs[0], pair.limbs[1]);
    } else if (votes[0] * votes[1] > 0) {
        pair.score *= 0.1;
    }
    pair.score *= std::sqrt(limbLength(tree, pair) / figure);
    return pair;
}

std::vector<int> branchesOf(const SkeletonTree& tree, int node, double figure)
{
    std::vector<int> branches;
    for (const int child : tree.children(node))
        if (!tree.endSite(child) && !tree.evidence(child).helper
            && tree.reachOfBranch(child) > kLeastLimb * figure)
            branches.push_back(child);
    std::stable_sort(branches.begin(), branches.end(),
                     [&](int a, int b) { return tree.reachOfBranch(a) > tree.reachOfBranch(b); });
    branches.resize(std::min(branches.size(), kMostBranches));
    std::sort(branches.begin(), branches.end());
    return branches;
}

std::vector<LimbPair> findPairs(const SkeletonTree& tree, LimbKind kind, double figure)
{
    std::vector<LimbPair> pairs;
    for (const int node : tree.order()) {
        if (tree.children(node).size() < 2)
            continue;
        const std::vector<int> branches = branchesOf(tree, node, figure);
        for (std::size_t a = 0; a < branches.size(); ++a)
            for (std::size_t b = a + 1; b < branches.size(); ++b)
                if (auto pair = pairOf(tree, kind, node, branches[a], branches[b], figure))
                    pairs.push_back(*std::move(pair));
        // Only the likeliest matter, and a hostile file may have any number.
        std::stable_sort(pairs.begin(), pairs.end(),
                         [](const LimbPair& a, const LimbPair& b) { return a.score > b.score; });
        if (pairs.size() > kMostPairs)
            pairs.erase(pairs.begin() + kMostPairs, pairs.end());
    }
    return pairs;
}

Vector middleOf(const SkeletonTree& tree, const LimbPair& pair, std::size_t part)
{
    return middle(tree.position(pair.limbs[0].joint(part)), tree.position(pair.limbs[1].joint(part)));
}

/// How well two pairs make a body; 0 when they don't.
double bodyScore(const SkeletonTree& tree, const LimbPair& legs, const LimbPair& arms)
{
    if (legs.node == arms.node || tree.commonAncestor(legs.node, arms.node) < 0)
        return 0;
    for (const LimbPair* pair : {&legs, &arms})
        for (const Limb& limb : pair->limbs) {
            const int other = pair == &legs ? arms.node : legs.node;
            if (tree.isBelow(other, limb.chain.front()))
                return 0;
        }
    const Vector hips = middleOf(tree, legs, 0), shoulders = middleOf(tree, arms, 0);
    const Vector trunk = shoulders - hips, down = middleOf(tree, legs, 2) - hips;
    const double leg = limbLength(tree, legs), arm = limbLength(tree, arms), spine = length(trunk);
    // A human stands upright: trunk and legs point away from each other, a quadruped's don't.
    if (!(length(down) > 0.5 * leg) || !(spine > 0.25 * leg) || spine > 2.5 * leg
        || -dot(unit(trunk), unit(down)) < 0.57)
        return 0;
    if (leg / arm < 0.55 || leg / arm > 4)
        return 0;
    const Vector acrossLegs =
        across(tree.position(legs.limbs[0].joint(0)) - tree.position(legs.limbs[1].joint(0)), unit(trunk));
    const Vector acrossArms =
        across(tree.position(arms.limbs[0].joint(0)) - tree.position(arms.limbs[1].joint(0)), unit(trunk));
    if (!(length(acrossLegs) > 0.03 * leg) || !(length(acrossArms) > 0.03 * leg))
        return 0;
    const double parallel = dot(unit(acrossLegs), unit(acrossArms));
    if (std::abs(parallel) < 0.7)
        return 0;
    double score = legs.score * arms.score * std::abs(parallel);
    if (legs.named && arms.named && parallel < 0)
        score *= 0.1;
    if (tree.depth(legs.node) > tree.depth(arms.node))
        score *= 0.3;
    // The legs are the longer limbs, and the shoulders lie wider than the hips.
    score *= std::min(1.0, leg / arm);
    // A branch must go on above the shoulders, or the shoulders are hips.
    bool head = false;
    for (int node = arms.node; node >= 0 && !head && !tree.isBelow(legs.node, node); node = tree.parent(node))
        for (const int child : tree.children(node))
            head = head
                || (!tree.isBelow(arms.limbs[0].chain.front(), child)
                    && !tree.isBelow(arms.limbs[1].chain.front(), child)
                    && dot(tree.position(child) - hips, unit(trunk)) > 0.9 * spine);
    return head ? score : 0.3 * score;
}

} // namespace

std::optional<FourLimbs> findLimbs(const SkeletonTree& tree, std::string& why)
{
    double figure = 0;
    for (const int joint : tree.order())
        figure = std::max(figure, tree.reach(joint));
    if (!(figure > 0) || !std::isfinite(figure)) {
        why = "the joints lie in one point";
        return std::nullopt;
    }
    const std::vector<LimbPair> legs = findPairs(tree, LimbKind::Leg, figure);
    if (legs.empty()) {
        why = "no two branches look like a pair of legs";
        return std::nullopt;
    }
    const std::vector<LimbPair> arms = findPairs(tree, LimbKind::Arm, figure);
    std::optional<FourLimbs> best;
    double bestScore = 1e-3; // below this everything speaks against it
    for (const LimbPair& lower : legs)
        for (const LimbPair& upper : arms)
            if (const double score = bodyScore(tree, lower, upper); score > bestScore) {
                bestScore = score;
                best = FourLimbs{lower, upper};
            }
    if (!best)
        why = "no two pairs of limbs stand to each other as the arms and legs of an upright body";
    return best;
}

} // namespace formats
