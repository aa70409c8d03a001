// SPDX-License-Identifier: MIT
// Matching rests. With S the source joint's rest rotation (turned into the target's axes), T the target
// joint's and A the turn that brings the source's bone into the direction of the target's, the offset is
// C = (A S)^-1 T: whenever the source's bone points somewhere, R_S C makes the target's bone point there too.
#include "retarget/RetargetFit.h"

#include "retarget/Vectors.h"

#include <fmt/format.h>

#include <limits>

namespace app {

namespace {

using formats::Role;
using formats::Side;

using Frame = formats::StandingAxes;

Matrix33 matrixOf(const Frame& frame)
{
    Matrix33 m;
    for (std::size_t row = 0; row < 3; ++row) {
        m.m[row][0] = frame.left[row];
        m.m[row][1] = frame.up[row];
        m.m[row][2] = frame.forward[row];
    }
    return m;
}

/// One figure in the axes of the target, asked by role.
class Body {
public:
    Body(const RestFigure& figure, const Matrix33& turn) : m_Roles(figure.file->roles)
    {
        for (const RestJoint& joint : figure.joints)
            m_Joints.push_back({turn * joint.position, turn * joint.rotation});
        m_Children.resize(m_Joints.size());
        for (std::size_t i = 0; i < m_Joints.size(); ++i)
            if (const int parent = figure.file->joints[i].parent; parent >= 0)
                m_Children[static_cast<std::size_t>(parent)].push_back(static_cast<int>(i));
    }

    const RestJoint& joint(int index) const { return m_Joints[static_cast<std::size_t>(index)]; }
    const formats::JointRole& role(int index) const
    {
        return m_Roles.joints[static_cast<std::size_t>(index)];
    }
    int find(Role role, Side side = Side::Middle) const { return m_Roles.find(role, side); }
    std::optional<Vector3> position(Role role, Side side = Side::Middle) const
    {
        const int found = find(role, side);
        return found < 0 ? std::nullopt : std::optional(joint(found).position);
    }
    /// Between the left and the right of a role.
    std::optional<Vector3> centre(Role role) const
    {
        const auto left = position(role, Side::Left), right = position(role, Side::Right);
        return left && right ? std::optional(times(plus(*left, *right), 0.5)) : std::nullopt;
    }
    std::optional<Vector3> direction(Role from, Role to, Side side) const
    {
        const auto a = position(from, side), b = position(to, side);
        return a && b ? std::optional(minus(*b, *a)) : std::nullopt;
    }
    /// Length of a limb of two bones, the mean of both sides.
    double limb(Role upper, Role lower, Role end) const
    {
        double sum = 0;
        for (const Side side : {Side::Left, Side::Right}) {
            const auto a = direction(upper, lower, side), b = direction(lower, end, side);
            if (!a || !b)
                return 0;
            sum += (length(*a) + length(*b)) / 2;
        }
        return sum;
    }
    /// The point below the joint farthest along a direction, end points included.
    Vector3 farthestBelow(int start, const Vector3& way) const
    {
        std::vector<int> below{start};
        Vector3 best = joint(start).position;
        for (std::size_t i = 0; i < below.size(); ++i)
            for (const int child : m_Children[static_cast<std::size_t>(below[i])]) {
                below.push_back(child);
                if (dot(joint(child).position, way) > dot(best, way))
                    best = joint(child).position;
            }
        return best;
    }
    /// Height of the ankles above the soles.
    double ankleHeight(const Vector3& up) const
    {
        double sum = 0;
        for (const Side side : {Side::Left, Side::Right}) {
            const int foot = find(Role::Foot, side);
            if (foot < 0)
                return 0;
            const Vector3 down = times(up, -1);
            sum += dot(minus(joint(foot).position, farthestBelow(foot, down)), up) / 2;
        }
        return sum;
    }
    /// Where a foot points over the floor; zero without toes.
    Vector3 heading(Side side, const Frame& frame) const
    {
        const int foot = find(Role::Foot, side);
        const Vector3 way = across(minus(farthestBelow(foot, frame.forward), joint(foot).position), frame.up);
        return way;
    }

private:
    const formats::HumanoidRoles& m_Roles;
    std::vector<RestJoint> m_Joints;
    std::vector<std::vector<int>> m_Children;
};

class Fitter {
public:
    Fitter(const RestFigure& source, const RestFigure& target, const JointMap& map)
        : m_Known(source.file->roles.recognised && target.file->roles.recognised),
          m_Axes(m_Known ? formats::standingAxes(target.file->roles)
                         : Frame{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}),
          m_Map(map)
    {
        if (m_Known)
            m_Fit.turn = matrixOf(m_Axes) * transposed(matrixOf(formats::standingAxes(source.file->roles)));
        m_Source.emplace(source, m_Fit.turn);
        m_Target.emplace(target, Matrix33{});
        m_Fit.height = heightOf(target);
    }

    RetargetFit run()
    {
        scales();
        if (m_Known)
            m_TrunkTurn = trunkTurn();
        for (const MapPair& pair : m_Map.pairs) {
            const Matrix33 rest = turnOf(pair) * m_Source->joint(pair.source).rotation;
            m_Fit.offsets.push_back(transposed(rest) * m_Target->joint(pair.target).rotation);
            m_Fit.goalShifts.push_back(transposed(rest) * goalShift(pair));
        }
        if (m_Known) {
            fitTrunk();
            for (const Side side : {Side::Left, Side::Right})
                fitArm(side);
        }
        return std::move(m_Fit);
    }

private:
    double heightOf(const RestFigure& target) const
    {
        double low = std::numeric_limits<double>::infinity(), high = -low;
        for (const RestJoint& joint : target.joints) {
            low = std::min(low, dot(joint.position, m_Axes.up));
            high = std::max(high, dot(joint.position, m_Axes.up));
        }
        return high > low ? high - low : 1;
    }

    void scales()
    {
        if (!m_Known) {
            m_Fit.scale = m_Fit.legScale = m_Fit.armScale = sizeRatio();
            m_Fit.notes.push_back(
                fmt::format("not both figures are known for human: their axes were taken as "
                            "they are, and the source {} times as large",
                            m_Fit.scale));
            return;
        }
        m_SourceAnkle = m_Source->ankleHeight(m_Axes.up);
        m_TargetAnkle = m_Target->ankleHeight(m_Axes.up);
        if (!(m_SourceAnkle > 0) || !(m_TargetAnkle > 0))
            m_SourceAnkle = m_TargetAnkle = 0;
        // Standing straight, both figures have their soles on the floor.
        m_Fit.legScale = (m_Target->limb(Role::UpperLeg, Role::LowerLeg, Role::Foot) + m_TargetAnkle)
            / (m_Source->limb(Role::UpperLeg, Role::LowerLeg, Role::Foot) + m_SourceAnkle);
        m_Fit.armScale = m_Target->limb(Role::UpperArm, Role::LowerArm, Role::Hand)
            / m_Source->limb(Role::UpperArm, Role::LowerArm, Role::Hand);
        m_Fit.scale = m_Fit.legScale;
    }
    /// Root mean square distance of the paired joints from their middle, target to source.
    double sizeRatio() const
    {
        const auto spread = [&](const Body& body, auto joint) {
            Vector3 sum{};
            for (const MapPair& pair : m_Map.pairs)
                sum = plus(sum, body.joint(joint(pair)).position);
            const Vector3 middle = times(sum, 1.0 / static_cast<double>(m_Map.pairs.size()));
            double squares = 0;
            for (const MapPair& pair : m_Map.pairs) {
                const double d = distance(body.joint(joint(pair)).position, middle);
                squares += d * d;
            }
            return std::sqrt(squares);
        };
        const double source = spread(*m_Source, [](const MapPair& pair) { return pair.source; });
        const double target = spread(*m_Target, [](const MapPair& pair) { return pair.target; });
        return source > 0 && target > 0 ? target / source : 1;
    }

    /// A: from the source's bone at rest to the target's.
    Matrix33 turnOf(const MapPair& pair) const
    {
        if (!m_Known)
            return {};
        const Side side = pair.role.side;
        switch (pair.role.role) {
        case Role::Spine:
        case Role::Clavicle:
            return m_TrunkTurn;
        case Role::Neck:
            return alike(Role::Neck, Role::Head, Side::Middle);
        case Role::UpperArm:
            return alike(Role::UpperArm, Role::LowerArm, side);
        case Role::LowerArm:
        case Role::Hand:
        case Role::Thumb:
        case Role::Index:
        case Role::Middle:
        case Role::Ring:
        case Role::Pinky:
        case Role::Fingers:
            // Hands lie in line with the arm in any rest pose that people model.
            return alike(Role::LowerArm, Role::Hand, side);
        case Role::UpperLeg:
            return alike(Role::UpperLeg, Role::LowerLeg, side);
        case Role::LowerLeg:
            return alike(Role::LowerLeg, Role::Foot, side);
        case Role::Foot:
        case Role::Toes:
            // Feet stand flat at rest, so only where they point may differ.
            if (m_Source->find(Role::Foot, side) < 0 || m_Target->find(Role::Foot, side) < 0)
                return {};
            return shortestTurn(m_Source->heading(side, m_Axes), m_Target->heading(side, m_Axes));
        default:
            return {};
        }
    }
    Matrix33 alike(Role from, Role to, Side side) const
    {
        const auto s = m_Source->direction(from, to, side), t = m_Target->direction(from, to, side);
        return s && t ? shortestTurn(*s, *t) : Matrix33{};
    }
    static std::optional<Vector3> trunk(const Body& body)
    {
        const auto hips = body.centre(Role::UpperLeg), shoulders = body.centre(Role::UpperArm);
        return hips && shoulders ? std::optional(minus(*shoulders, *hips)) : std::nullopt;
    }

    /// The lowest spine joint of the target that the source drives; -1 without one.
    int firstSpine() const
    {
        const MapPair* pair = spinePair(false);
        return pair ? pair->target : -1;
    }
    const MapPair* spinePair(bool last) const
    {
        const MapPair* found = nullptr;
        for (const MapPair& pair : m_Map.pairs)
            if (pair.role.role == Role::Spine && (!found || (pair.role.index > found->role.index) == last))
                found = &pair;
        return found;
    }
    /// Turns the trunk of the source at rest so that hips to shoulders point as the target's do, the first
    /// stretch staying as it is: with h from the target's hips to its first driven spine joint and r from
    /// there to the shoulders, A^-1 r = m d - h, where d is the source's direction and m as long as it takes.
    Matrix33 trunkTurn() const
    {
        const auto s = trunk(*m_Source), t = trunk(*m_Target);
        const int first = firstSpine();
        if (!s || !t || first < 0)
            return {};
        const Vector3 h = minus(m_Target->joint(first).position, *m_Target->centre(Role::UpperLeg));
        const Vector3 r = minus(*t, h), d = unit(*s);
        // |m d - h| = |r|
        const double along = dot(h, d), under = along * along - dot(h, h) + dot(r, r);
        if (!(under > 0))
            return shortestTurn(*s, *t);
        return shortestTurn(minus(times(d, along + std::sqrt(under)), h), r);
    }

    /// World shift at rest that a position goal needs: hips so that the hip joints meet, feet so that the
    /// soles do.
    Vector3 goalShift(const MapPair& pair) const
    {
        if (!m_Known)
            return {};
        if (pair.role.role == Role::Hips) {
            const auto s = m_Source->centre(Role::UpperLeg), t = m_Target->centre(Role::UpperLeg);
            const Vector3 source = minus(*s, m_Source->joint(pair.source).position);
            const Vector3 target = minus(*t, m_Target->joint(pair.target).position);
            return minus(times(source, m_Fit.scale), target);
        }
        if (pair.role.role == Role::Foot)
            return times(m_Axes.up, m_TargetAnkle - m_Fit.scale * m_SourceAnkle);
        return {};
    }

    /// Where a point of the target's trunk comes to lie while the source rests, from between the hip joints.
    Vector3 posed(const Vector3& point) const
    {
        const Vector3 hips = *m_Target->centre(Role::UpperLeg);
        const int first = firstSpine();
        const Vector3 pivot = first < 0 ? hips : m_Target->joint(first).position;
        return plus(minus(pivot, hips), transposed(m_TrunkTurn) * minus(point, pivot));
    }

    /// The first spine joint is put where the target's is, and the stretch from there to the chest made as
    /// long.
    void fitTrunk()
    {
        const MapPair *low = spinePair(false), *high = spinePair(true);
        const auto hips = m_Target->centre(Role::UpperLeg);
        if (!low || low == high || !hips)
            return;
        const Vector3& first = m_Target->joint(low->target).position;
        const double source =
            distance(m_Source->joint(low->source).position, m_Source->joint(high->source).position);
        const double target = distance(first, m_Target->joint(high->target).position);
        if (!(source > 0) || !(target > 0))
            return;
        TrunkFit& trunk = m_Fit.trunk;
        trunk.first = low->source;
        trunk.firstTarget = low->target;
        trunk.place = minus(first, *hips);
        trunk.scale = target / source / m_Fit.scale;
        trunk.chestPair = static_cast<int>(high - m_Map.pairs.data());
        trunk.chest = posed(m_Target->joint(high->target).position);
    }

    /// Length of a bone, target to source.
    double boneRatio(Role from, Role to, Side side) const
    {
        const auto s = m_Source->direction(from, to, side), t = m_Target->direction(from, to, side);
        return s && t ? length(*t) / length(*s) : m_Fit.armScale;
    }

    void fitArm(Side side)
    {
        const int source = m_Source->find(Role::UpperArm, side);
        const int target = m_Target->find(Role::UpperArm, side);
        const auto hipsS = m_Source->centre(Role::UpperLeg), hipsT = m_Target->centre(Role::UpperLeg);
        if (source < 0 || target < 0 || !hipsS || !hipsT)
            return;
        const double upper = boneRatio(Role::UpperArm, Role::LowerArm, side);
        const double lower = boneRatio(Role::LowerArm, Role::Hand, side);
        ArmFit arm;
        arm.upperArm = source;
        arm.lowerArm = m_Source->find(Role::LowerArm, side);
        arm.scale = upper / m_Fit.scale / m_Fit.trunk.scale;
        arm.lowerScale = lower / upper;
        arm.shoulder = posed(m_Target->joint(target).position);
        m_Fit.arms.push_back(arm);
    }

    bool m_Known;
    Frame m_Axes;
    const JointMap& m_Map;
    std::optional<Body> m_Source, m_Target;
    Matrix33 m_TrunkTurn;
    double m_SourceAnkle = 0, m_TargetAnkle = 0;
    RetargetFit m_Fit;
};

} // namespace

RetargetFit fitFigures(const RestFigure& source, const RestFigure& target, const JointMap& map)
{
    return Fitter(source, target, map).run();
}

} // namespace app
