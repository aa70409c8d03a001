// SPDX-License-Identifier: MIT
// Figures, their goals, and the loop that solves them.
#include "Works.h"

#include "kit/Trigonometry.h"
#include "solver/IKSolverState.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <deque>

namespace bench {

using namespace Sinew;

namespace {

/// Collects descriptors; names live as long as the builder.
class Figure {
public:
    int add(const std::string& name, int parent, float x, float y, float z)
    {
        BoneDescriptor d;
        d.name = m_Names.emplace_back(name).c_str();
        d.parent_name = parent < 0 ? nullptr : m_Names[static_cast<std::size_t>(parent)].c_str();
        d.rest_translation[0] = x;
        d.rest_translation[1] = y;
        d.rest_translation[2] = z;
        m_Descriptors.push_back(d);
        return static_cast<int>(m_Descriptors.size()) - 1;
    }
    int chain(const std::string& name, int parent, std::uint32_t count, float x, float y, float z)
    {
        for (std::uint32_t i = 0; i < count; ++i)
            parent = add(name + std::to_string(i), parent, x, y, z);
        return parent;
    }
    Scene scene(const std::string& name, const std::string& what)
    {
        Scene s;
        s.name = name;
        s.what = what;
        s.solver->setBones(m_Descriptors.data(), static_cast<std::uint32_t>(m_Descriptors.size()));
        // Plain joints: neither pulled to a target pose nor held at rest.
        s.solver->setFullRetargeting(false);
        for (std::uint32_t i = 0; i < s.solver->boneCount(); ++i) {
            s.solver->bone(i)->setHoldOrientation(false);
            s.solver->bone(i)->enableLimits(false);
        }
        s.solver->setTolerance(1e-4f);
        s.solver->updateFigure();
        s.height = 0.0f;
        for (std::uint32_t i = 0; i < s.solver->boneCount(); ++i) {
            float sum = 0.0f;
            for (const IKSegment* b = s.solver->bone(i); b; b = b->getParent())
                sum += b->getLength();
            s.height = std::max(s.height, sum);
        }
        return s;
    }

private:
    std::deque<std::string> m_Names;
    std::vector<BoneDescriptor> m_Descriptors;
};

/// The goal's curve is centred a part of the way in from where the bone is at rest, to stay within reach.
void addGoal(Scene& scene, const std::string& bone, float reach = 0.85f, float phase = -1.0f)
{
    IKPositionTask* task = scene.solver->addPositionTask(bone.c_str());
    const SinewVector root = scene.solver->rootBone()->getGlobalPosition();
    scene.goals.push_back(task);
    scene.goalPhase.push_back(phase < 0.0f ? 1.7f * static_cast<float>(scene.goals.size() - 1) : phase);
    scene.goalCentre.push_back(root + (task->getTarget() - root) * reach);
}

/// A slightly bent 22-bone biped: pelvis, spine of three, neck, head, arms of four, legs of four.
void addBody(Figure& f)
{
    const int pelvis = f.add("pelvis", -1, 0.0f, 1.0f, 0.0f);
    const int spine = f.add("spine", pelvis, 0.0f, 0.12f, 0.01f),
              chest = f.add("chest", spine, 0.0f, 0.14f, 0.01f),
              upper = f.add("upperChest", chest, 0.0f, 0.14f, -0.01f);
    f.add("head", f.add("neck", upper, 0.0f, 0.16f, 0.0f), 0.0f, 0.1f, 0.03f);
    for (const float side : {1.0f, -1.0f}) {
        const std::string s = side > 0.0f ? "left" : "right";
        const int clavicle = f.add(s + "Clavicle", upper, side * 0.05f, 0.1f, 0.0f);
        const int arm = f.add(s + "Arm", clavicle, side * 0.13f, 0.0f, 0.0f);
        const int fore = f.add(s + "ForeArm", arm, side * 0.27f, -0.02f, -0.02f);
        f.add(s + "Hand", fore, side * 0.25f, 0.0f, 0.03f);
        const int thigh = f.add(s + "Thigh", pelvis, side * 0.09f, -0.05f, 0.0f);
        const int shin = f.add(s + "Shin", thigh, 0.0f, -0.42f, 0.02f);
        const int foot = f.add(s + "Foot", shin, 0.0f, -0.42f, -0.03f);
        f.add(s + "Toe", foot, 0.0f, -0.08f, 0.14f);
    }
}

Scene makeLimb()
{
    Figure f;
    f.chain("b", f.add("root", -1, 0.0f, 0.0f, 0.0f), 6, 0.02f, 0.3f, 0.01f);
    Scene s = f.scene("W1", "7-bone chain, one goal");
    addGoal(s, "b5", 0.6f);
    s.frames = 300;
    return s;
}

Scene makeBiped(const std::string& name, const std::string& what)
{
    Figure f;
    addBody(f);
    Scene s = f.scene(name, what);
    s.solver->setTranslateRoot(true);
    s.solver->setRootTranslationWeight(1.0f);
    for (const char* bone : {"leftHand", "rightHand", "leftFoot", "rightFoot", "head"})
        addGoal(s, bone);
    s.swing = 0.06f;
    s.frames = 300;
    return s;
}

Scene makeBipedWarm() { return makeBiped("W2", "22 bones, 69 freedoms, 5 goals, warm"); }
Scene makeBipedFromRest()
{
    Scene s = makeBiped("W2-rest", "22 bones, 69 freedoms, 5 goals, from rest");
    s.fromRest = true;
    return s;
}

Scene makeFingers()
{
    Figure f;
    addBody(f);
    // 22 of the body, ten fingers of four, a jaw and an eye: 64.
    std::vector<std::string> tips;
    for (const int hand : {9, 17})
        for (int finger = 0; finger < 5; ++finger) {
            const std::string name =
                (hand == 9 ? "leftFinger" : "rightFinger") + std::to_string(finger) + "_";
            const float side = hand == 9 ? 1.0f : -1.0f;
            f.chain(name, hand, 4, side * 0.025f, -0.002f, 0.012f * static_cast<float>(finger - 2));
            tips.push_back(name + "3");
        }
    f.add("jaw", 5, 0.0f, -0.03f, 0.06f);
    f.add("eyes", 5, 0.0f, 0.05f, 0.08f);
    Scene s = f.scene("W3", "64 bones with fingers, 15 goals, P coefficient 0.5");
    s.solver->setTranslateRoot(true);
    for (const char* bone : {"leftHand", "rightHand", "leftFoot", "rightFoot", "head"})
        addGoal(s, bone);
    // Fingers move with their hand, each a little behind the last.
    for (std::size_t i = 0; i < tips.size(); ++i) {
        const std::size_t hand = i / 5;
        addGoal(s, tips[i], 1.0f, s.goalPhase[hand] + 0.05f * static_cast<float>(i % 5));
        s.goalCentre.back() =
            s.goalCentre[hand] + (s.goalCentre.back() - s.goals[hand]->getSegment()->getGlobalPosition());
    }
    s.solver->setPCoefficient(0.5f);
    s.swing = 0.03f;
    s.frames = 100;
    return s;
}

// Scenes for the hashes: each leans on a part of the engine that the timed ones leave out.

Scene makeLimited()
{
    Scene s = makeBiped("limits", "22 bones with Euler, box and roll limits, enforced");
    for (std::uint32_t i = 1; i < s.solver->boneCount(); ++i) {
        IKSegment* bone = s.solver->bone(i);
        const float w = static_cast<float>(i);
        EulerLimits limits;
        const float range[6] = {-20.0f - w, 15.0f + w, -10.0f - w, 30.0f, -25.0f, 5.0f + w};
        std::copy(range, range + 6, limits.range);
        limits.axis = i % 3;
        bone->setEulerLimits(limits, true);
        bone->enforceLimits(i % 4 != 0);
        bone->enableLimits(true);
    }
    s.solver->setLimitsGain(4.0f);
    s.frames = 30;
    s.steps = 60;
    return s;
}

Scene makeStretching()
{
    Scene s = makeBiped("stretch", "22 bones, limbs that stretch and slide between limits");
    for (const char* name : {"leftArm", "rightShin", "spine"}) {
        IKSegment* bone = s.solver->findBone(name);
        bone->setFreeTranslation(name[0] == 's', false);
        bone->setActiveDof(true, true, name[0] != 'r', false);
        for (std::uint32_t axis = 0; axis < 3; ++axis)
            bone->setStretchLimit(axis, -0.1f, 0.2f);
        bone->enableStretchLimits(true);
        bone->enforceStretchLimits(true);
        for (std::uint32_t axis = 3; axis < 6; ++axis)
            bone->setWeight(axis, 0.02f);
    }
    s.solver->setPCoefficient(0.5f);
    s.frames = 30;
    s.steps = 60;
    return s;
}

Scene makeBalanced()
{
    Scene s = makeBiped("balance", "22 bones, centre of mass and moments, feet that carry");
    for (std::size_t i : {2u, 3u}) {
        s.goals[i]->setForceTask(true, true);
        s.goals[i]->setForceShare(0.5f);
    }
    s.goals[0]->setForceTask(true, false);
    s.goals[0]->setForce(10.0f, -40.0f, 5.0f);
    IKBalanceTask* balance = s.solver->addBalanceTask(1, true, true);
    balance->setPrecision(0.7f);
    s.frames = 30;
    s.steps = 60;
    return s;
}

Scene makeRetargeted()
{
    Scene s = makeBiped("retarget", "22 bones that follow a target pose, two goals that read it");
    s.solver->setFullRetargeting(true);
    s.solver->setRetargetGain(4.0f);
    for (std::uint32_t i = 0; i < s.solver->boneCount(); ++i) {
        const SineCosine half = sineCosine(0.02f * static_cast<float>(i));
        s.solver->bone(i)->setTargetOrientation(half.sine, 0.0f, 0.0f, half.cosine);
    }
    s.goals[0]->setTracksRetarget(true, 3);
    s.goals[4]->setTracksRetarget(true, 2);
    s.frames = 30;
    s.steps = 60;
    return s;
}

Scene makeMixed()
{
    Scene s = makeBiped("mixed", "22 bones, orientation goals, pole vectors, a floor with a follower");
    IKOrientationTask* foot = s.solver->addOrientationTask("leftFoot");
    foot->setLocalAxis(0.0f, 1.0f, 0.0f);
    foot->setAimMode(true);
    s.goals[2]->setPlaneTarget(true);
    s.goals[2]->setPlanePoint(0.0f, 0.15f, 0.0f);
    s.solver->linkTasks(foot, true, s.goals[2]);
    IKOrientationTask* head = s.solver->addOrientationTask("head");
    head->setTarget(0.0f, 0.3826834f, 0.0f, 0.9238795f);
    head->setDepth(3);
    for (const char* name : {"leftForeArm", "rightShin"})
        s.solver->addPositionTask(name)->setPoleVector(true);
    s.solver->findBone("rightShin")->setActiveDof(true, false, true, true);
    s.goals[1]->setActiveDof(true, false, true);
    s.frames = 30;
    s.steps = 60;
    return s;
}

Scene makeLargeReach()
{
    Scene s = makeLimb();
    s.name = "reach";
    s.what = "7-bone chain whose goal reaches past twice its height";
    s.goals[0]->setOffset(0.0f, 4.0f, 0.3f);
    s.swing = 1.5f;
    s.frames = 30;
    s.steps = 60;
    return s;
}

Scene named(Scene scene, const char* name, std::uint32_t frames)
{
    scene.name = name;
    scene.frames = frames;
    return scene;
}

/// FNV-1a over the bits of a float.
void addToHash(std::uint64_t& hash, float value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    for (int i = 0; i < 4; ++i, bits >>= 8)
        hash = (hash ^ (bits & 0xFFu)) * 0x100000001B3ull;
}

void hashPose(const IKSolver& solver, std::uint64_t& hash)
{
    for (std::uint32_t i = 0; i < solver.boneCount(); ++i) {
        const SinewQuaternion q = solver.bone(i)->getOrientation();
        const SinewVector t = solver.bone(i)->getTranslation();
        for (std::uint32_t k = 0; k < 4; ++k)
            addToHash(hash, q[k]);
        for (std::uint32_t k = 0; k < 3; ++k)
            addToHash(hash, t[k]);
    }
}

const IKSolverState& stateOf(const Scene& scene) { return *scene.solver->bone(0)->getSolver(); }

} // namespace

void Scene::moveGoals(std::uint32_t frame)
{
    // Each goal runs on its own slow curve around its centre.
    for (std::size_t i = 0; i < goals.size(); ++i) {
        const float t = 0.03f * static_cast<float>(frame + 20), phase = goalPhase[i];
        const float radius = swing * height;
        goals[i]->setTarget(goalCentre[i].x() + radius * sineCosine(t + phase).sine,
                            goalCentre[i].y() + radius * sineCosine(1.3f * t + 2.0f * phase).sine,
                            goalCentre[i].z() + radius * sineCosine(0.8f * t + phase).cosine);
    }
}

float Scene::residual() const
{
    float worst = 0.0f;
    for (const IKPositionTask* goal : goals) {
        const IKSegment* bone = goal->getSegment();
        const SinewVector point =
            bone->getGlobalPosition() + rotate(bone->getGlobalFrame().rotation, goal->getOffset());
        worst = std::max(worst, length(goal->getTarget() - point));
    }
    return worst / height;
}

std::uint32_t Scene::columns() const
{
    std::uint32_t count = 0;
    for (std::uint32_t i = 0; i < solver->boneCount(); ++i)
        count += solver->bone(i)->getDofCount();
    return count;
}

Scene makeTree(std::uint32_t bones)
{
    Figure f;
    const std::uint32_t perChain = (bones - 1) / 4;
    const std::uint32_t spine = bones - 4 * perChain;
    const float l = 2.0f / static_cast<float>(perChain);
    f.add("s0", -1, 0.0f, 0.0f, 0.0f);
    const int top = spine > 1 ? f.chain("t", 0, spine - 1, 0.0f, l, 0.0f) : 0;
    f.chain("a", top, perChain, l, 0.1f * l, 0.0f);
    f.chain("b", top, perChain, -l, 0.1f * l, 0.0f);
    f.chain("c", 0, perChain, 0.3f * l, -l, 0.1f * l);
    f.chain("d", 0, perChain, -0.3f * l, -l, 0.1f * l);
    Scene s = f.scene("W4-" + std::to_string(bones),
                      "tree of " + std::to_string(bones) + " bones, 4 goals, 20 iterations");
    for (const char* chain : {"a", "b", "c", "d"})
        addGoal(s, chain + std::to_string(perChain - 1));
    s.swing = 0.05f;
    s.frames = 50;
    s.steps = 20;
    s.fromRest = true;
    s.solver->setTolerance(0.0f);
    return s;
}

Scene makeFan(std::uint32_t chains, std::uint32_t bonesPerChain, std::uint32_t goals)
{
    Figure f;
    f.add("root", -1, 0.0f, 0.0f, 0.0f);
    const float l = 2.0f / static_cast<float>(bonesPerChain);
    for (std::uint32_t c = 0; c < chains; ++c) {
        const SineCosine turn = sineCosine(6.2831855f * static_cast<float>(c) / static_cast<float>(chains));
        f.chain("c" + std::to_string(c) + "_", 0, bonesPerChain, l * turn.cosine, 0.1f * l, l * turn.sine);
    }
    Scene s = f.scene("fan",
                      std::to_string(chains) + " chains of " + std::to_string(bonesPerChain) + " bones, "
                          + std::to_string(goals) + " goals");
    for (std::uint32_t c = 0; c < goals; ++c)
        addGoal(s, "c" + std::to_string(c) + "_" + std::to_string(bonesPerChain - 1));
    s.swing = 0.02f;
    s.frames = 20;
    s.steps = 50;
    s.solver->setTolerance(0.0f);
    s.solver->setPCoefficient(0.2f);
    return s;
}

const std::vector<Work>& timedWorks()
{
    static const std::vector<Work> works = {
        {"W1", makeLimb},
        {"W2", makeBipedWarm},
        {"W2-rest", makeBipedFromRest},
        {"W3", makeFingers},
        {"W4-16", [] { return makeTree(16); }},
        {"W4-64", [] { return makeTree(64); }},
        {"W4-256", [] { return makeTree(256); }},
        {"W4-1024", [] { return makeTree(1024); }},
    };
    return works;
}

const std::vector<Work>& hashedWorks()
{
    static const std::vector<Work> works = {
        {"W1-short", [] { return named(makeLimb(), "W1-short", 60); }},
        {"W2-short", [] { return named(makeBipedWarm(), "W2-short", 40); }},
        {"W2-rest-short", [] { return named(makeBipedFromRest(), "W2-rest-short", 10); }},
        {"W3-short", [] { return named(makeFingers(), "W3-short", 10); }},
        {"W4-64-short", [] { return named(makeTree(64), "W4-64-short", 10); }},
        {"W4-256-short", [] { return named(makeTree(256), "W4-256-short", 5); }},
        {"limits", makeLimited},
        {"stretch", makeStretching},
        {"balance", makeBalanced},
        {"retarget", makeRetargeted},
        {"mixed", makeMixed},
        {"reach", makeLargeReach},
    };
    return works;
}

Run run(Scene scene)
{
    Run r;
    r.name = scene.name;
    r.what = scene.what;
    r.hash = 0xCBF29CE484222325ull;
    for (std::uint32_t frame = 0; frame < scene.frames; ++frame) {
        scene.moveGoals(frame);
        if (scene.fromRest)
            scene.solver->reset();
        const auto start = std::chrono::steady_clock::now();
        const bool converged = scene.solver->solve(scene.steps);
        r.seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        r.diverged += !converged;
        ++r.solves;
        r.iterations += scene.solver->iterations();
        scene.solver->updateFigure();
        r.worstResidual = std::max(r.worstResidual, scene.residual());
        hashPose(*scene.solver, r.hash);
    }
    r.blocks = stateOf(scene).jacobian().blockCount();
    return r;
}

std::vector<std::uint32_t> iterationsTo(Scene scene, const std::vector<float>& levels, std::uint32_t limit)
{
    std::vector<std::uint32_t> reached(levels.size(), limit);
    scene.solver->setTolerance(0.0f);
    scene.moveGoals(0);
    for (std::uint32_t i = 1; i <= limit && reached.back() == limit; ++i) {
        scene.solver->solve(1);
        scene.solver->updateFigure();
        const float residual = scene.residual();
        for (std::size_t k = 0; k < levels.size(); ++k)
            if (reached[k] == limit && residual <= levels[k])
                reached[k] = i;
    }
    return reached;
}

float largestStableCoefficient(const std::function<Scene()>& make)
{
    float best = 0.0f;
    for (int tenths = 1; tenths <= 40; ++tenths) {
        Scene scene = make();
        scene.solver->setTolerance(0.0f);
        scene.solver->setPCoefficient(0.1f * static_cast<float>(tenths));
        scene.moveGoals(0);
        if (!scene.solver->solve(1000))
            break;
        best = 0.1f * static_cast<float>(tenths);
    }
    return best;
}

} // namespace bench
