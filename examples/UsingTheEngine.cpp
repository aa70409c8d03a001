// SPDX-License-Identifier: MIT
// The snippets of docs/using-the-engine.md, and the figures in it: every line that this prints stands in
// there.
#include <sinew/IKSolver.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <thread>
#include <vector>

namespace {

using namespace Sinew;

struct Row {
    const char* name;
    const char* parent;
    float x, y, z;
};

// Metres, y up, z to the front; origins from the parent's. Knees stand 1 cm before the line from hip to foot
// and elbows 1 cm behind that from shoulder to hand: so they know which way to bend.
constexpr Row kPerson[] = {
    {"hips", nullptr, 0, 0.95f, 0},
    {"spine", "hips", 0, 0.12f, 0},
    {"chest", "spine", 0, 0.16f, 0},
    {"neck", "chest", 0, 0.22f, 0},
    {"head", "neck", 0, 0.10f, 0.02f},
    {"leftArm", "chest", 0.18f, 0.18f, 0},
    {"leftForearm", "leftArm", 0.28f, 0, -0.01f},
    {"leftHand", "leftForearm", 0.26f, 0, 0.01f},
    {"rightArm", "chest", -0.18f, 0.18f, 0},
    {"rightForearm", "rightArm", -0.28f, 0, -0.01f},
    {"rightHand", "rightForearm", -0.26f, 0, 0.01f},
    {"leftThigh", "hips", 0.10f, -0.04f, 0},
    {"leftShin", "leftThigh", 0, -0.42f, 0.01f},
    {"leftFoot", "leftShin", 0, -0.42f, -0.01f},
    {"rightThigh", "hips", -0.10f, -0.04f, 0},
    {"rightShin", "rightThigh", 0, -0.42f, 0.01f},
    {"rightFoot", "rightShin", 0, -0.42f, -0.01f},
};

std::unique_ptr<IKSolver> makePerson()
{
    BoneDescriptor bones[std::size(kPerson)];
    for (std::size_t i = 0; i < std::size(kPerson); ++i) {
        bones[i].name = kPerson[i].name;
        bones[i].parent_name = kPerson[i].parent;
        bones[i].rest_translation[0] = kPerson[i].x;
        bones[i].rest_translation[1] = kPerson[i].y;
        bones[i].rest_translation[2] = kPerson[i].z;
    }
    auto solver = std::make_unique<IKSolver>();
    solver->setBones(bones, std::size(bones));
    solver->setFullRetargeting(false); // or every bone follows its rest pose softly
    for (std::uint32_t i = 0; i < solver->boneCount(); ++i)
        solver->bone(i)->enableLimits(false); // or every bone is held at rest
    return solver;
}

float distanceLeft(IKPositionTask& goal)
{
    IKSegment& bone = *goal.getSegment();
    const SinewVector point =
        bone.getGlobalPosition() + rotate(bone.getGlobalOrientation(), goal.getOffset());
    return length(goal.getTarget() - point);
}

void reach()
{
    const std::unique_ptr<IKSolver> person = makePerson();
    IKPositionTask* hand = person->addPositionTask("leftHand");
    hand->setTarget(0.4f, 1.2f, 0.4f);
    person->setTolerance(1e-4f);
    const bool stable = person->solve(500);
    person->updateFigure();
    const bool reached = distanceLeft(*hand) < 0.01f;
    const bool settled = person->iterations() < 500;

    IKSegment& forearm = *person->findBone("leftForearm");
    const SinewQuaternion local = forearm.getOrientation();
    const SinewQuaternion world = forearm.getGlobalOrientation();
    const SinewVector place = forearm.getGlobalPosition();
    const SinewMatrix axes = forearm.getGlobalMatrix(); // column i is the world direction of local axis i

    if (!stable || !reached || !settled
        || length(column(axes, 0) - rotate(world, SinewVector(1, 0, 0))) > 1e-5f || !(local.w() < 1)
        || !(place.z() > 0))
        std::puts("the hand of the first snippet didn't get there");
}

void bendKneesOneWay(IKSolver& person, float gain)
{
    for (const char* name : {"leftShin", "rightShin"}) {
        IKSegment& knee = *person.findBone(name);
        const EulerLimits limits = {.range = {0, 150, -5, 5, -5, 5}, .axis = 1}; // the shin lies along y
        knee.setEulerLimits(limits, true); // from rest
        knee.enforceLimits(true); // back to the edge of the range rather than to rest
        knee.enableLimits(true);
    }
    person.setLimitsGain(gain);
}

/// Degrees by which a bone is turned about its x axis, from rest.
float bend(IKSegment& bone)
{
    const float angle = twistAngle(bone.getOrientationFromRest(), 0) * 57.29578f;
    return angle > 180 ? angle - 360 : angle < -180 ? angle + 360 : angle;
}

/// Numbers from -1 to 1, the same everywhere.
struct Numbers {
    std::uint32_t state = 12345;
    float next()
    {
        state = state * 1664525u + 1013904223u;
        return static_cast<float>(state >> 8) / 8388608.0f - 1.0f;
    }
};

/// 100 places for the left foot within its reach, before and behind the figure, each solved with 300 steps:
/// how often the knee ends more than 5 degrees on the wrong side, by how much at worst, and how many goals
/// are missed by more than 1 cm.
void measureGain(float gain, bool fromRest)
{
    const std::unique_ptr<IKSolver> person = makePerson();
    person->findBone("hips")->setActive(false, false);
    bendKneesOneWay(*person, gain);
    IKPositionTask* foot = person->addPositionTask("leftFoot");
    person->setTolerance(1e-5f);
    Numbers numbers;
    int wrong = 0, missed = 0;
    float worst = 0;
    for (int goal = 0; goal < 100;) {
        const SinewVector hip(0.10f, 0.91f, 0);
        const SinewVector at(0.1f + 0.5f * numbers.next(), 0.4f + 0.45f * numbers.next(),
                             0.2f + 0.6f * numbers.next());
        if (length(at - hip) > 0.82f || length(at - hip) < 0.25f)
            continue;
        ++goal;
        foot->setTarget(at);
        if (fromRest)
            person->reset();
        person->solve(300);
        person->updateFigure();
        const float knee = bend(*person->findBone("leftShin"));
        wrong += knee < -5;
        worst = knee < worst ? knee : worst;
        missed += distanceLeft(*foot) > 0.01f;
    }
    std::printf("| %s | %g | %d | %.0f | %d |\n", fromRest ? "rest" : "the last goal",
                static_cast<double>(gain), wrong, static_cast<double>(std::fabs(worst)), missed);
}

/// A knee that can turn about nothing but its x axis ends there, wherever the foot goes.
void bendAsHinges()
{
    const std::unique_ptr<IKSolver> person = makePerson();
    for (const char* name : {"leftShin", "rightShin"})
        person->findBone(name)->setActiveDof(true, false, false, true); // rotation about x alone
    person->addPositionTask("leftFoot")->setTarget(0.3f, 0.5f, 0.3f);
    person->solve(500);
    const SinewQuaternion knee = person->findBone("leftShin")->getOrientationFromRest();
    if (knee.y() != 0 || knee.z() != 0 || knee.x() == 0)
        std::puts("the hinge turned about another axis");
}

/// Swings the left knee to the side while the foot stays; the angle between knee and pole, seen along the
/// leg, is what is left.
void poleVector()
{
    const std::unique_ptr<IKSolver> person = makePerson();
    person->findBone("hips")->setActive(false, false);
    IKPositionTask* foot = person->addPositionTask("leftFoot");
    foot->setTarget(0.1f, 0.4f, 0.1f);
    IKPositionTask* pole = person->addPositionTask("leftShin");
    pole->setPoleVector(true);
    pole->setTarget(0.6f, 0.6f, 0.3f); // the knee points there
    person->setTolerance(1e-5f);
    person->solve(2000);
    person->updateFigure();

    const SinewVector hip = person->findBone("leftThigh")->getGlobalPosition();
    const SinewVector knee = person->findBone("leftShin")->getGlobalPosition();
    SinewVector along = foot->getTarget() - hip;
    normalise(along);
    const auto across = [&](SinewVector v) {
        SinewVector flat = v - along * dot(along, v);
        normalise(flat);
        return flat;
    };
    const float cosine = clamp(dot(across(knee - hip), across(pole->getTarget() - hip)), -1, 1);
    std::printf("The knee points within %.0f degrees of the pole, the foot is %.1f mm from its goal.\n",
                static_cast<double>(57.29578f * std::acos(cosine)),
                static_cast<double>(1000 * distanceLeft(*foot)));
}

SinewVector centreOfMass(IKSolver& person)
{
    SinewVector sum;
    float mass = 0;
    for (std::uint32_t i = 0; i < person.boneCount(); ++i) {
        IKSegment& bone = *person.bone(i);
        sum += (bone.getGlobalPosition() + rotate(bone.getGlobalOrientation(), bone.getMassCentre()))
            * bone.getMass();
        mass += bone.getMass();
    }
    return sum * (1 / mass);
}

void leanOver(bool balanced)
{
    const std::unique_ptr<IKSolver> person = makePerson();
    person->setTranslateRoot(true);
    for (const char* foot : {"leftFoot", "rightFoot"}) {
        person->addPositionTask(foot);
        person->addOrientationTask(foot);
    }
    IKPositionTask* hand = person->addPositionTask("leftHand");
    hand->setTarget(0.3f, 0.6f, 0.7f);
    if (balanced) {
        IKBalanceTask* balance = person->addBalanceTask(1, false, true); // y is up
        balance->setTarget(0, 0, 0); // above the point between the feet
        balance->setActiveDof(true, false, true); // at any height
    }
    person->setTolerance(1e-5f);
    person->solve(3000);
    person->updateFigure();
    const SinewVector centre = centreOfMass(*person);
    std::printf("| %s | %.0f mm | %.0f mm |\n", balanced ? "with" : "without",
                static_cast<double>(1000 * centre.z()), static_cast<double>(1000 * distanceLeft(*hand)));
}

/// Head, hands and feet of the person on closed curves, a second and a half of motion at 60 frames a second.
struct Dance {
    std::unique_ptr<IKSolver> person = makePerson();
    std::vector<IKPositionTask*> goals;
    std::vector<SinewVector> centres;

    Dance()
    {
        person->setTranslateRoot(true);
        for (const char* name : {"head", "leftHand", "rightHand", "leftFoot", "rightFoot"}) {
            goals.push_back(person->addPositionTask(name));
            centres.push_back(goals.back()->getTarget());
        }
        // Where all goals can be met, with arms and legs bent.
        centres[0] += SinewVector(0, -0.08f, 0);
        centres[1] = SinewVector(0.3f, 1.2f, 0.3f);
        centres[2] = SinewVector(-0.3f, 1.2f, 0.3f);
        centres[3] += SinewVector(0, 0.12f, 0);
        centres[4] += SinewVector(0, 0.12f, 0);
        person->setTolerance(0); // all the steps of the budget
    }
    void pose(int frame)
    {
        for (std::size_t i = 0; i < goals.size(); ++i) {
            const float swing = i == 0 ? 0.03f : 0.12f;
            const float phase = 6.2831853f * static_cast<float>(frame) / 90 + static_cast<float>(i);
            goals[i]->setTarget(centres[i]
                                + SinewVector(std::sin(phase), std::cos(phase), std::sin(2 * phase)) * swing);
        }
    }
    /// The worst goal, in percent of a height of 1.6 m.
    float residual()
    {
        float worst = 0;
        for (IKPositionTask* goal : goals)
            worst = std::max(worst, distanceLeft(*goal) / 1.6f * 100);
        return worst;
    }
};

/// The worst goal of every frame when each is solved with as many steps from the frame before, or from rest:
/// mean and largest, and how often `solve` said that it diverged.
void measureBudget(std::uint32_t steps, float gain, bool fromRest)
{
    Dance dance;
    dance.person->setPCoefficient(gain);
    float sum = 0, worst = 0;
    int diverged = 0;
    for (int frame = -30; frame < 90; ++frame) {
        dance.pose(frame);
        if (fromRest)
            dance.person->reset();
        const bool stable = dance.person->solve(steps);
        dance.person->updateFigure();
        if (frame < 0)
            continue; // on the way from rest
        diverged += !stable;
        sum += dance.residual();
        worst = std::max(worst, dance.residual());
    }
    if (diverged > 0)
        std::printf("at a P coefficient of %g, `solve` returned false in %d of 90 frames",
                    static_cast<double>(gain), diverged);
    else
        std::printf(" %.2f, %.2f |", static_cast<double>(sum / 90), static_cast<double>(worst));
}

/// A crowd: characters dealt out to threads, a solver each. The poses don't depend on how many threads there
/// are.
std::vector<float> crowd(std::size_t characterCount, std::size_t threadCount)
{
    std::vector<Dance> dancers(characterCount);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < threadCount; ++t)
        threads.emplace_back([&, t] {
            for (std::size_t i = t; i < dancers.size(); i += threadCount)
                for (int frame = 0; frame < 10; ++frame) {
                    dancers[i].pose(frame + static_cast<int>(i));
                    dancers[i].person->solve(20);
                    dancers[i].person->updateFigure();
                }
        });
    for (std::thread& thread : threads)
        thread.join();
    std::vector<float> hands;
    for (Dance& dancer : dancers) {
        const SinewVector at = dancer.person->findBone("leftHand")->getGlobalPosition();
        hands.insert(hands.end(), {at.x(), at.y(), at.z()});
    }
    return hands;
}

} // namespace

int main()
{
    reach();
    for (const bool fromRest : {true, false})
        for (const float gain : {0.0f, 1.0f, 3.0f, 5.0f})
            measureGain(gain, fromRest);
    bendAsHinges();
    poleVector();
    leanOver(false);
    leanOver(true);
    for (const std::uint32_t steps : {5u, 10u, 20u, 50u, 100u, 200u, 500u}) {
        std::printf("| %u |", steps);
        measureBudget(steps, 1, true);
        for (const float gain : {1.0f, 2.0f, 3.0f})
            measureBudget(steps, gain, false);
        std::puts("");
    }
    measureBudget(50, 4, false);
    std::puts("");
    if (crowd(8, 1) != crowd(8, 4))
        std::puts("the crowd depends on its threads");
}
