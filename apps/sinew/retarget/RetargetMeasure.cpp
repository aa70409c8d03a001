// SPDX-License-Identifier: MIT
// Goals, directions, steps and feet. Everything is compared in the target's axes and size.
#include "retarget/RetargetMeasure.h"

#include "retarget/Vectors.h"

#include <algorithm>
#include <cmath>

namespace app {

namespace {

using formats::Role;
using formats::Side;

// A foot stands while it is this near to the floor, in lengths of a leg, and this slow, in such a second.
constexpr double kStanceHeight = 0.06, kStanceSpeed = 0.35;
constexpr double kFloorShare = 0.05; // of the frames that lie below the floor's height, as outliers

std::size_t at(int index) { return static_cast<std::size_t>(index); }

double degreesBetween(const Matrix33& a, const Matrix33& b)
{
    const auto p = refhost::quaternionFromMatrix(a), q = refhost::quaternionFromMatrix(b);
    const double c = std::abs(p[0] * q[0] + p[1] * q[1] + p[2] * q[2] + p[3] * q[3]);
    return 2 * std::acos(std::min(1.0, c)) * kDegreesPerRadian;
}

} // namespace

RetargetMeasure::RetargetMeasure(RetargetScene& scene, const FigureFile& source, const FigureFile& target,
                                 const JointMap& map, RetargetReport& report, std::size_t animationFrames)
    : m_Scene(scene),
      m_Source(source),
      m_Target(target),
      m_Map(map),
      m_Report(report),
      m_LastSource(map.pairs.size()),
      m_LastTarget(map.pairs.size()),
      m_AnimationFrames(animationFrames)
{
    if (source.roles.recognised && target.roles.recognised) {
        m_Up = target.roles.up;
        addStretches();
        addFeet();
    }
    TrackReport& motion = report.motion;
    motion.frames.resize(scene.frameCount());
    for (const PositionGoal& goal : scene.goals()) {
        const auto pair = std::find_if(map.pairs.begin(), map.pairs.end(),
                                       [&](const MapPair& p) { return p.target == goal.target; });
        motion.goals.push_back({target.name(goal.target),
                                formats::roleText(goal.role),
                                static_cast<std::size_t>(pair - map.pairs.begin()),
                                true,
                                false,
                                {},
                                {}});
    }
    if (animationFrames == 0)
        return;
    // The figures are drawn by their pairs, the joints that both have.
    motion.animation.stride = (scene.frameCount() + animationFrames - 1) / animationFrames;
    for (const MapPair& pair : map.pairs) {
        motion.animation.names.push_back(target.name(pair.target));
        int parent = -1;
        for (int joint = target.joints[at(pair.target)].parent; joint >= 0 && parent < 0;
             joint = target.joints[at(joint)].parent)
            for (std::size_t i = 0; i < map.pairs.size(); ++i)
                if (map.pairs[i].target == joint)
                    parent = static_cast<int>(i);
        motion.animation.parents.push_back(parent);
    }
}

void RetargetMeasure::addStretches()
{
    const auto one = [&](const std::string& name, Role from, Role to, Side side) {
        const std::array<int, 4> joints = {m_Source.roles.find(from, side), m_Source.roles.find(to, side),
                                           m_Target.roles.find(from, side), m_Target.roles.find(to, side)};
        if (std::all_of(joints.begin(), joints.end(), [](int joint) { return joint >= 0; }))
            m_Stretches.push_back({name,
                                   {joints[0], joints[0]},
                                   {joints[1], joints[1]},
                                   {joints[2], joints[2]},
                                   {joints[3], joints[3]},
                                   {}});
    };
    for (const Side side : {Side::Left, Side::Right}) {
        one(formats::roleText({Role::UpperArm, side}), Role::UpperArm, Role::LowerArm, side);
        one(formats::roleText({Role::LowerArm, side}), Role::LowerArm, Role::Hand, side);
        one(formats::roleText({Role::UpperLeg, side}), Role::UpperLeg, Role::LowerLeg, side);
        one(formats::roleText({Role::LowerLeg, side}), Role::LowerLeg, Role::Foot, side);
    }
    const auto both = [](const formats::HumanoidRoles& roles, Role role) {
        return std::array<int, 2>{roles.find(role, Side::Left), roles.find(role, Side::Right)};
    };
    m_Stretches.push_back({"trunk",
                           both(m_Source.roles, Role::UpperLeg),
                           both(m_Source.roles, Role::UpperArm),
                           both(m_Target.roles, Role::UpperLeg),
                           both(m_Target.roles, Role::UpperArm),
                           {}});
    one("head", Role::Neck, Role::Head, Side::Middle);
}

void RetargetMeasure::addFeet()
{
    for (const Side side : {Side::Left, Side::Right})
        m_Feet.push_back({formats::roleText({Role::Foot, side}),
                          {m_Source.roles.find(Role::Foot, side), m_Source.roles.find(Role::Toes, side)},
                          {m_Target.roles.find(Role::Foot, side), m_Target.roles.find(Role::Toes, side)},
                          {},
                          {}});
}

/// Height of the lowest of foot and toes over where it rests, so that 0 is the floor at rest.
double RetargetMeasure::soleHeight(const std::array<int, 2>& joints, bool source)
{
    const RestFigure& rest = source ? m_Scene.sourceRest() : m_Scene.targetRest();
    double lowest = 1e300;
    for (const int joint : joints)
        if (joint >= 0) {
            const RestJoint now = source ? m_Scene.source(joint) : m_Scene.target(joint);
            lowest = std::min(lowest, dot(minus(now.position, rest.joints[at(joint)].position), m_Up));
        }
    return lowest;
}

void RetargetMeasure::frame(std::size_t index, double solveSeconds)
{
    FrameReport& report = m_Report.motion.frames[index];
    report.seconds = static_cast<float>(solveSeconds);
    report.iterations = m_Scene.iterations();
    report.diverged = !m_Scene.converged();
    double sum = 0;
    for (const PositionGoal& goal : m_Scene.goals()) {
        const auto d = static_cast<float>(distance(m_Scene.goal(goal), m_Scene.target(goal.target).position));
        m_Samples.distances.push_back(d);
        m_Samples.degrees.push_back(0);
        sum += static_cast<double>(d);
        report.worstDistance = std::max(report.worstDistance, d);
    }
    report.meanDistance =
        static_cast<float>(sum / static_cast<double>(std::max<std::size_t>(1, m_Scene.goals().size())));
    const auto middle = [&](const std::array<int, 2>& joints, bool source) {
        const auto place = [&](int joint) {
            return source ? m_Scene.source(joint).position : m_Scene.target(joint).position;
        };
        return times(plus(place(joints[0]), place(joints[1])), 0.5);
    };
    for (Stretch& stretch : m_Stretches)
        stretch.degrees.push_back(static_cast<float>(
            app::degreesBetween(minus(middle(stretch.sourceTo, true), middle(stretch.sourceFrom, true)),
                                minus(middle(stretch.targetTo, false), middle(stretch.targetFrom, false)))));
    for (Foot& foot : m_Feet) {
        foot.positions[0].push_back(m_Scene.source(foot.source[0]).position);
        foot.positions[1].push_back(m_Scene.target(foot.target[0]).position);
        foot.soles[0].push_back(soleHeight(foot.source, true));
        foot.soles[1].push_back(soleHeight(foot.target, false));
    }
    steps(index, report);
    if (m_AnimationFrames > 0 && index % m_Report.motion.animation.stride == 0)
        keepPositions();
}

/// The largest turn of any paired joint against its parent since the frame before.
void RetargetMeasure::steps(std::size_t index, FrameReport& report)
{
    for (std::size_t i = 0; i < m_Map.pairs.size(); ++i) {
        const MapPair& pair = m_Map.pairs[i];
        const Matrix33 source = m_Scene.sourceLocal(pair.source).rotation;
        const Matrix33 target = m_Scene.targetLocal(pair.target).rotation;
        if (index > 0) {
            const double from = degreesBetween(m_LastSource[i], source);
            const double to = degreesBetween(m_LastTarget[i], target);
            report.sourceStepDegrees = std::max(report.sourceStepDegrees, static_cast<float>(from));
            report.solvedStepDegrees = std::max(report.solvedStepDegrees, static_cast<float>(to));
            TrackReport& motion = m_Report.motion;
            if (from > motion.sourceStep.degrees)
                motion.sourceStep = {from, index, m_Source.name(pair.source)};
            if (to > motion.solvedStep.degrees)
                motion.solvedStep = {to, index, m_Target.name(pair.target)};
        }
        m_LastSource[i] = source;
        m_LastTarget[i] = target;
    }
}

void RetargetMeasure::keepPositions()
{
    TrackAnimation& animation = m_Report.motion.animation;
    for (const MapPair& pair : m_Map.pairs)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            animation.source.push_back(static_cast<float>(m_Scene.source(pair.source).position[axis]));
            animation.solved.push_back(static_cast<float>(m_Scene.target(pair.target).position[axis]));
        }
}

std::vector<bool> RetargetMeasure::stanceOf(const Foot& foot, double floor) const
{
    const std::vector<Vector3>& positions = foot.positions[0];
    double leg = 0;
    const formats::HumanoidRoles& roles = m_Target.roles;
    const auto rest = [&](Role role) {
        return m_Scene.targetRest().joints[at(roles.find(role, Side::Left))].position;
    };
    leg = distance(rest(Role::UpperLeg), rest(Role::LowerLeg))
        + distance(rest(Role::LowerLeg), rest(Role::Foot));
    std::vector<bool> stands(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const std::size_t before = i > 0 ? i - 1 : i, after = std::min(i + 1, positions.size() - 1);
        const double seconds = static_cast<double>(after - before) * m_Scene.frameSeconds();
        const double speed =
            seconds > 0 ? length(across(minus(positions[after], positions[before]), m_Up)) / seconds : 0;
        stands[i] = foot.soles[0][i] - floor < kStanceHeight * leg && speed < kStanceSpeed * leg;
    }
    return stands;
}

void RetargetMeasure::summariseFeet()
{
    const double height = m_Report.motion.height;
    // One floor for both feet: where nearly all of the source's soles stay above.
    std::vector<double> soles;
    for (const Foot& foot : m_Feet)
        soles.insert(soles.end(), foot.soles[0].begin(), foot.soles[0].end());
    if (soles.empty())
        return;
    const auto rank = static_cast<std::ptrdiff_t>(kFloorShare * static_cast<double>(soles.size()));
    std::nth_element(soles.begin(), soles.begin() + rank, soles.end());
    const double floor = soles[static_cast<std::size_t>(rank)];
    // Standing at rest, the target's soles are on that floor when the source's are.
    const double shift = m_Scene.floorShift();
    for (const Foot& foot : m_Feet) {
        FootReport report;
        report.name = foot.name;
        const std::vector<bool> stands = stanceOf(foot, floor);
        double slides[2] = {0, 0};
        for (std::size_t i = 0; i < stands.size();) {
            if (!stands[i]) {
                ++i;
                continue;
            }
            std::size_t end = i;
            double way[2] = {0, 0};
            for (; end < stands.size() && stands[end]; ++end)
                for (std::size_t which = 0; which < 2; ++which) {
                    way[which] = std::max(
                        way[which],
                        length(across(minus(foot.positions[which][end], foot.positions[which][i]), m_Up)));
                    const double above = which == 0 ? floor : floor + shift;
                    double& depth = which == 0 ? report.sourceDepth : report.targetDepth;
                    depth = std::max(depth, (above - foot.soles[which][end]) / height);
                }
            ++report.stances;
            report.frames += end - i;
            slides[0] += way[0];
            slides[1] += way[1];
            report.worstTargetSlide = std::max(report.worstTargetSlide, way[1] / height);
            i = end;
        }
        if (report.stances > 0) {
            report.sourceSlide = slides[0] / height / static_cast<double>(report.stances);
            report.targetSlide = slides[1] / height / static_cast<double>(report.stances);
        }
        m_Report.feet.push_back(std::move(report));
    }
}

void RetargetMeasure::finish()
{
    summarise(m_Report.motion, m_Samples);
    for (const Stretch& stretch : m_Stretches)
        m_Report.motion.directions.push_back({stretch.name, spreadOf(stretch.degrees, 0)});
    summariseFeet();
}

} // namespace app
