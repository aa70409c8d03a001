// SPDX-License-Identifier: MIT
// The loop over the frames: goals from the source motion, solve, write the pose, measure what was written.
#include "track/TrackRun.h"

#include "shared/Clock.h"
#include "shared/Console.h"
#include "shared/Plugin.h"
#include "shared/Progress.h"

#include <fmt/format.h>
#include <refhost/Host.h>

#include <algorithm>
#include <cmath>

namespace app {

namespace {

using formats::LocalPose;
using formats::WorldPose;

constexpr double kDegrees = 57.29577951308232;
constexpr double kLost = 1000; // figure heights from the source: nobody would call that a pose
constexpr double kMatters =
    1e-3; // of the figure's height: a smaller stretch in the source changes nothing visible

double distance(const std::array<double, 3>& a, const std::array<double, 3>& b)
{
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

/// Cosine of half the angle between two rotations.
double halfCosine(const std::array<double, 4>& a, const std::array<double, 4>& b)
{
    return std::abs(a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3]);
}

double degreesOf(double halfCosine) { return 2 * std::acos(std::min(1.0, halfCosine)) * kDegrees; }

/// One figure of the file, that is, a root with all below it, and its solver.
struct Figure {
    std::vector<std::size_t> joints; ///< joint of each bone
    std::vector<std::size_t> goals; ///< index in the request's goals
    std::unique_ptr<TrackSolver> solver;
    std::vector<Pose> targets;
    std::vector<Pose> solved;
};

/// A pose to be written: finite, and its root within `reach` of where the source has it.
bool isUsable(const std::vector<Pose>& poses, const std::array<double, 3>& sourceRoot, double reach)
{
    return distance(poses.front().translation, sourceRoot) <= reach
        && std::all_of(poses.begin(), poses.end(), [](const Pose& pose) {
               double sum = 0;
               for (const double value : pose.rotation)
                   sum += value;
               return std::isfinite(sum);
           });
}

std::vector<Figure> makeFigures(const TrackSolverMaker& makeSolver, const TrackMotion& motion,
                                const TrackRequest& request, const std::vector<LocalPose>& start,
                                TrackReport& report)
{
    const std::vector<TrackJoint>& joints = motion.joints();
    const std::vector<std::size_t> roots = rootsOf(joints);
    std::vector<Figure> figures;
    for (std::size_t root = 0; root < joints.size(); ++root) {
        if (joints[root].parent >= 0 || joints[root].endSite)
            continue;
        Figure figure;
        std::vector<TrackGoal> goals;
        std::vector<TrackBone> bones;
        std::vector<int> boneOf(joints.size(), -1);
        double length = 0;
        for (std::size_t i = root; i < joints.size(); ++i) {
            const TrackJoint& joint = joints[i];
            if (roots[i] != root || joint.endSite)
                continue;
            boneOf[i] = static_cast<int>(bones.size());
            const int parent = joint.parent < 0 ? -1 : boneOf[static_cast<std::size_t>(joint.parent)];
            bones.push_back({joint.name, parent, joint.rest.translation, joint.turns, joint.rest.rotation});
            figure.joints.push_back(i);
            if (i != root)
                length += std::hypot(joint.rest.translation[0], joint.rest.translation[1],
                                     joint.rest.translation[2]);
        }
        for (std::size_t g = 0; g < request.goals.size(); ++g) {
            const Goal& goal = request.goals[g];
            if (roots[goal.joint] != root)
                continue;
            figure.goals.push_back(g);
            goals.push_back({static_cast<std::size_t>(boneOf[goal.joint]), goal.position, goal.rotation});
        }
        if (goals.empty()) {
            report.warnings.push_back(
                fmt::format("the figure at '{}' has no goal and keeps its source motion; --goal names one",
                            joints[root].name));
            continue;
        }
        if (bones.size() > 1 && !(length > 0))
            throw BadInput(
                fmt::format("{}: every {} below '{}' is 0, so there are no bones to solve; export the "
                            "motion with a rest pose",
                            report.input, motion.words().rest, joints[root].name));
        figure.targets.resize(goals.size());
        figure.solved.resize(bones.size());
        TrackSettings settings = request.settings;
        if (settings.translateRoot && !joints[root].moves) {
            settings.translateRoot = false;
            report.warnings.push_back(fmt::format("'{}' {}, so the solve leaves it where it is",
                                                  joints[root].name, motion.words().fixed));
        }
        figure.solver = makeSolver(std::move(bones), std::move(goals), settings, start[root].translation);
        figures.push_back(std::move(figure));
    }
    return figures;
}

/// Everything that is measured from frame to frame.
class Run {
public:
    Run(const TrackSolverMaker& makeSolver, TrackMotion& motion, const TrackRequest& request,
        TrackReport& report)
        : m_Motion(motion),
          m_Joints(motion.joints()),
          m_Request(request),
          m_Report(report),
          m_LastWritten(motion.read(request.firstFrame).local),
          m_Figures(makeFigures(makeSolver, motion, request, m_LastWritten, report)),
          m_Solved(m_Joints.size()),
          m_Stretch(m_Joints.size()),
          m_Loss(m_Joints.size())
    {
        // Where the solve starts stands for the frame before the first.
        for (std::size_t i = 0; i < m_LastWritten.size(); ++i)
            m_LastWritten[i] = {m_Joints[i].parent < 0 ? m_LastWritten[i].translation
                                                       : m_Joints[i].rest.translation,
                                m_Joints[i].rest.rotation};
        const std::size_t count = request.lastFrame - request.firstFrame + 1;
        motion.cut(request.firstFrame, request.lastFrame);
        report.frames.resize(count);
        if (request.animationFrames > 0) {
            TrackAnimation& animation = report.animation;
            animation.stride = (count + request.animationFrames - 1) / request.animationFrames;
            for (const TrackJoint& joint : m_Joints) {
                animation.names.push_back(joint.endSite ? "" : joint.name);
                animation.parents.push_back(joint.parent);
            }
        }
        for (const Goal& goal : request.goals)
            report.goals.push_back(
                {m_Joints[goal.joint].name, goal.role, goal.joint, goal.position, goal.rotation, {}, {}});
        for (const Figure& figure : m_Figures)
            for (const std::size_t joint : figure.joints)
                m_Solved[joint] = true;
        for (std::size_t i = 0; i < m_Joints.size(); ++i) {
            if (!m_Joints[i].endSite)
                m_Turning.push_back(i);
            if (m_Solved[i] && m_Joints[i].parent >= 0 && m_Joints[i].moves)
                m_Translating.push_back(i);
        }
    }

    void frame(std::size_t index)
    {
        FrameReport& report = m_Report.frames[index];
        TrackPose read = m_Motion.read(index);
        std::vector<LocalPose>& source = read.local;
        const std::vector<WorldPose>& goals = read.world;
        for (const std::size_t i : m_Translating)
            m_Stretch[i] =
                std::max(m_Stretch[i], distance(source[i].translation, m_Joints[i].rest.translation));

        std::vector<LocalPose> wanted = source;
        for (std::size_t i = 0; i < wanted.size(); ++i)
            if (m_Joints[i].parent >= 0)
                wanted[i].translation = m_Joints[i].rest.translation;
        const Clock::time_point start = Clock::now();
        for (Figure& figure : m_Figures)
            solve(figure, goals, wanted, report);
        report.seconds = static_cast<float>(secondsSince(start));

        TrackPose pose = write(index, wanted);
        std::vector<LocalPose>& written = pose.local;
        const std::vector<WorldPose>& reached = pose.world;
        measureGoals(goals, reached, report);
        if (index > 0) {
            report.sourceStepDegrees = step(m_LastSource, source, index, m_Report.sourceStep);
            report.solvedStepDegrees = step(m_LastWritten, written, index, m_Report.solvedStep);
        }
        if (m_Request.animationFrames > 0 && index % m_Report.animation.stride == 0) {
            keepPositions(m_Report.animation.source, goals);
            keepPositions(m_Report.animation.solved, reached);
        }
        m_LastSource = std::move(source);
        m_LastWritten = std::move(written);
    }

    void finish()
    {
        summarise(m_Report, m_Samples);
        for (const std::size_t i : m_Translating)
            warnOfStretch(i);
        for (const std::size_t i : m_Turning)
            warnOfLoss(i);
        if (m_Report.divergedCount > 0)
            m_Report.warnings.push_back(fmt::format(
                "the solve diverged in {} of {} frames ({}); a smaller --pull may help",
                m_Report.divergedCount, m_Report.frames.size(), rangesText(m_Report.diverged, 5)));
        if (m_LostFrames > 0)
            m_Report.warnings.push_back(fmt::format(
                "the pose was lost in {} frames: they repeat the frame before, and the next starts from rest",
                m_LostFrames));
    }

private:
    void solve(Figure& figure, const std::vector<WorldPose>& goals, std::vector<LocalPose>& wanted,
               FrameReport& report)
    {
        for (std::size_t g = 0; g < figure.goals.size(); ++g) {
            const WorldPose& goal = goals[m_Request.goals[figure.goals[g]].joint];
            figure.targets[g] = {goal.position, goal.rotation};
        }
        const SolveResult result = figure.solver->solve(figure.targets, figure.solved);
        report.diverged = report.diverged || !result.converged;
        report.iterations += result.iterations;
        const std::array<double, 3>& root = goals[figure.joints.front()].position;
        if (isUsable(figure.solved, root, kLost * m_Report.height)) {
            for (std::size_t b = 0; b < figure.joints.size(); ++b)
                wanted[figure.joints[b]] = {figure.solved[b].translation, figure.solved[b].rotation};
            return;
        }
        // A pose that is lost stays lost, so this frame repeats the one before and the next starts afresh.
        report.diverged = true;
        ++m_LostFrames;
        figure.solver->restart();
        for (const std::size_t joint : figure.joints)
            wanted[joint] = m_LastWritten[joint];
    }

    TrackPose write(std::size_t index, const std::vector<LocalPose>& wanted)
    {
        WrittenPose written = m_Motion.write(index, wanted, m_Solved);
        for (const formats::PoseLoss& loss : written.losses)
            if (std::isfinite(loss.translation)) {
                m_Loss[loss.joint].degrees = std::max(m_Loss[loss.joint].degrees, loss.rotationDegrees);
                m_Loss[loss.joint].distance = std::max(m_Loss[loss.joint].distance, loss.translation);
            }
        return std::move(written.pose);
    }

    void measureGoals(const std::vector<WorldPose>& goals, const std::vector<WorldPose>& reached,
                      FrameReport& report)
    {
        double sum = 0;
        std::size_t count = 0;
        for (const Goal& goal : m_Request.goals) {
            const WorldPose& wanted = goals[goal.joint];
            const WorldPose& got = reached[goal.joint];
            const auto d = static_cast<float>(distance(wanted.position, got.position));
            m_Samples.distances.push_back(d);
            m_Samples.degrees.push_back(
                static_cast<float>(degreesOf(halfCosine(wanted.rotation, got.rotation))));
            if (goal.position) {
                sum += static_cast<double>(d);
                ++count;
                report.worstDistance = std::max(report.worstDistance, d);
            }
        }
        report.meanDistance = count > 0 ? static_cast<float>(sum / static_cast<double>(count)) : 0;
    }

    /// The largest turn of a joint between two frames, in degrees; the largest of all is kept.
    float step(const std::vector<LocalPose>& before, const std::vector<LocalPose>& now, std::size_t index,
               StepReport& largest) const
    {
        double smallest = 2;
        std::size_t joint = 0;
        for (const std::size_t i : m_Turning) {
            const double cosine = halfCosine(before[i].rotation, now[i].rotation);
            if (cosine < smallest) {
                smallest = cosine;
                joint = i;
            }
        }
        const double degrees = degreesOf(smallest);
        if (degrees > largest.degrees || index == 1)
            largest = {degrees, m_Request.firstFrame + index, m_Joints[joint].name};
        return static_cast<float>(degrees);
    }

    static void keepPositions(std::vector<float>& out, const std::vector<WorldPose>& world)
    {
        for (const WorldPose& pose : world)
            for (const double value : pose.position)
                out.push_back(static_cast<float>(value));
    }

    void warnOfStretch(std::size_t joint)
    {
        if (m_Stretch[joint] > kMatters * m_Report.height)
            m_Report.warnings.push_back(fmt::format("'{}' moves up to {} units away from its {} in the "
                                                    "source; the solved figure keeps its bone lengths, "
                                                    "so goals at or below it may stay out of reach",
                                                    m_Joints[joint].name, rounded(m_Stretch[joint], 3),
                                                    m_Motion.words().rest));
    }

    void warnOfLoss(std::size_t joint)
    {
        if (!m_Solved[joint])
            return;
        const auto& [degrees, length] = m_Loss[joint];
        const bool turned = degrees > 0.1, moved = length > kMatters * m_Report.height;
        if (turned || moved)
            m_Report.warnings.push_back(fmt::format(
                "'{}' {}; the motion as written, which is what is measured, differs by up to {}",
                m_Joints[joint].name, turned ? m_Motion.words().turnLoss : m_Motion.words().placeLoss,
                turned ? rounded(degrees, 3) + " degrees" : rounded(length, 3) + " units"));
    }

    struct Loss {
        double degrees = 0;
        double distance = 0;
    };

    TrackMotion& m_Motion;
    const std::vector<TrackJoint>& m_Joints;
    const TrackRequest& m_Request;
    TrackReport& m_Report;
    std::vector<LocalPose> m_LastWritten;
    std::vector<Figure> m_Figures;
    std::vector<bool> m_Solved; // joints of figures with a goal
    std::vector<std::size_t> m_Turning; // joints that aren't End Sites
    std::vector<std::size_t> m_Translating; // solved joints below a root that move by themselves
    std::vector<double> m_Stretch; // largest distance of a joint from where it rests
    std::vector<Loss> m_Loss; // what the file couldn't say of a joint, at most
    std::size_t m_LostFrames = 0;
    GoalSamples m_Samples;
    std::vector<LocalPose> m_LastSource;
};

} // namespace

void trackMotion(TrackMotion& motion, const TrackRequest& request, TrackReport& report)
{
    refhost::Host host;
    loadPlugin(host);
    trackMotion(motion, request, report,
                [&](std::vector<TrackBone> bones, std::vector<TrackGoal> goals, const TrackSettings& settings,
                    const std::array<double, 3>& rootStart) {
                    return makeRigSolver(host, std::move(bones), goals, settings, rootStart);
                });
}

void trackMotion(TrackMotion& motion, const TrackRequest& request, TrackReport& report,
                 const TrackSolverMaker& makeSolver)
{
    const Clock::time_point start = Clock::now();
    Run run(makeSolver, motion, request, report);
    {
        Progress progress("solving", report.frames.size());
        for (std::size_t i = 0; i < report.frames.size(); ++i) {
            run.frame(i);
            progress.update(i + 1);
        }
    }
    run.finish();
    report.solveAllSeconds = secondsSince(start);
}

} // namespace app
