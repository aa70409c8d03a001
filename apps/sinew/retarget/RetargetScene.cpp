// SPDX-License-Identifier: MIT
// Builds the scene by the commands that an artist would use: assign, retarget, then the offsets that matched
// rests give in the place of quarter turns.
#include "retarget/RetargetScene.h"

#include "retarget/SourceBake.h"
#include "retarget/Vectors.h"
#include "shared/Console.h"

#include <fmt/format.h>
#include <refhost/Commands.h>

#include <stdexcept>

namespace app {

namespace {

using formats::Role;
using refhost::Action;
using refhost::Channel;
using refhost::Item;
using refhost::Matrix34;
using refhost::TransformKind;

// Orientations have a weight of 1; those of joints between position goals give way to the stronger goals.
constexpr double kClavicleWeight = 0.3;
constexpr double kHandWeight = 0.4, kReachWeight = 1, kFootWeight = 4;
constexpr double kFirstSteps = 5000; // of the first frame
constexpr double kSpeed = 30; // hundredths of a radian in an iteration: frames may be far apart

std::size_t at(int index) { return static_cast<std::size_t>(index); }

void expect(const refhost::Result& result)
{
    if (!result.ok())
        throw std::runtime_error("the scene could not be built: " + result.message);
}

/// Between the hip joints; the origin where there are none.
Vector3 hipCentre(const RestFigure& figure)
{
    const formats::HumanoidRoles& roles = figure.file->roles;
    const int left = roles.find(Role::UpperLeg, formats::Side::Left);
    const int right = roles.find(Role::UpperLeg, formats::Side::Right);
    if (left < 0 || right < 0)
        return {};
    return times(plus(figure.joints[at(left)].position, figure.joints[at(right)].position), 0.5);
}

} // namespace

RetargetScene::RetargetScene(refhost::Host& host, const FigureFile& source, const FigureFile& target,
                             const JointMap& map, const RetargetSettings& settings)
    : m_Host(host),
      m_Scene(host.newScene("retarget")),
      m_Settings(settings),
      m_SourceFile(source),
      m_TargetFile(target),
      m_Map(map)
{
    m_Scene.journal().setStepLimit(1); // nobody undoes any of this
    run("scene.setup on:true");
    import(source, target);
    findRig();
    normalise();
    bakeSource();
    m_SourceRest = restOf(source, m_SourceItems);
    m_TargetRest = restOf(target, m_TargetItems);
    m_Fit = fitFigures(m_SourceRest, m_TargetRest, m_Map);
    layOver();
    rig();
    pair();
    tune();
    run("scene.setup on:false");
}

RetargetScene::~RetargetScene() { (void)m_Scene.host().closeScene(m_Scene); }

void RetargetScene::run(const std::string& line)
{
    const refhost::CommandResult result = refhost::Commands::of(m_Host).execute(line);
    if (!result.ok())
        throw BadInput(fmt::format("{}: the target can't be rigged: {}", m_TargetFile.path,
                                   result.message.empty() ? line : result.message));
}

void RetargetScene::import(const FigureFile& source, const FigureFile& target)
{
    const auto load = [&](const FigureFile& file, bool motion) {
        const refhost::MotionImportOptions options{
            .endSites = false, .motion = motion, .animation = m_Settings.animation};
        refhost::Step step(m_Scene.journal(), "import");
        const refhost::ResultOf<refhost::MotionImport> done = file.isGltf()
            ? refhost::importMotion(m_Scene, file.gltf(), options)
            : refhost::importMotion(m_Scene, file.bvh(), options);
        if (!done.ok())
            throw BadInput(file.path + ": " + done.message);
        expect(step.commit());
        return done.value;
    };
    refhost::MotionImport from = load(source, true);
    m_SourceItems = std::move(from.items);
    m_SourceRoots = std::move(from.roots);
    m_FrameCount = from.frameCount;
    m_FrameSeconds = from.frameSeconds;
    m_StartSeconds = from.startSeconds;
    m_TargetItems = load(target, false).items;
    const auto watch = [](const std::vector<Item*>& items) {
        std::vector<Watched> out;
        for (Item* item : items)
            out.push_back(item ? Watched{item->channel("wposMatrix"), item->channel("wrotMatrix")}
                               : Watched{});
        return out;
    };
    m_SourceJoints = watch(m_SourceItems);
    m_TargetJoints = watch(m_TargetItems);
}

/// A joint without an item, which is an end point, rests where its file has it below its parent.
RestFigure RetargetScene::restOf(const FigureFile& file, const std::vector<Item*>& items)
{
    RestFigure figure{&file, std::vector<RestJoint>(items.size())};
    refhost::Evaluation& evaluation = refhost::Evaluation::of(m_Scene);
    for (std::size_t i = 0; i < items.size(); ++i) {
        RestJoint& joint = figure.joints[i];
        if (items[i]) {
            Matrix34 position, rotation;
            evaluation.matrix(*items[i]->channel("wposMatrix"), 0, position);
            evaluation.matrix(*items[i]->channel("wrotMatrix"), 0, rotation);
            joint = {position.offset, rotation.linear};
        } else if (const int parent = file.joints[i].parent; parent >= 0 && !file.isGltf()) {
            Matrix34 above;
            evaluation.matrix(*items[at(parent)]->channel("worldMatrix"), 0, above);
            joint = {refhost::transformPoint(above, file.bvh().joints[i].offset),
                     figure.joints[at(parent)].rotation};
        }
    }
    return figure;
}

void RetargetScene::set(Item& item, const std::string& name, double value)
{
    Channel* channel = item.channel(name);
    if (!channel)
        throw std::runtime_error("the scene could not be built: " + item.label() + " has no channel " + name);
    expect(m_Scene.writeNumber(*channel, Action::Setup, 0, value, refhost::WriteMode::Plain));
}

/// Source joints that nothing of the target stands for still move those around them.
void RetargetScene::bakeSource()
{
    m_SourceRest = restOf(m_SourceFile, m_SourceItems);
    std::vector<double> times(m_FrameCount);
    for (std::size_t i = 0; i < times.size(); ++i)
        times[i] = seconds(i);
    run("scene.setup on:false");
    m_Drivers = bakeSkippedJoints(m_Scene, m_SourceRest, m_SourceItems, m_Map, times);
    run("scene.setup on:true");
    expect(m_Host.setTime(0));
}

Item* RetargetScene::transformItem(Item& item, TransformKind kind)
{
    const auto made = m_Scene.addTransformItem(item, kind);
    expect(made.result());
    return made.value;
}

/// Puts the source below a locator that turns and scales it into the target's axes and size.
void RetargetScene::layOver()
{
    refhost::Step step(m_Scene.journal(), "lay the source over the target");
    const auto space = m_Scene.createItem(m_Host.locatorType(), "SourceSpace");
    expect(space.result());
    const Vector3 angles = refhost::eulerFromMatrix(m_Fit.turn, 0);
    Item* rotation = transformItem(*space.value, TransformKind::Rotation);
    Item* scale = transformItem(*space.value, TransformKind::Scale);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        set(*rotation, std::string("rot.") + "XYZ"[axis], angles[axis]);
        set(*scale, std::string("scl.") + "XYZ"[axis], m_Fit.scale);
    }
    for (Item* root : m_SourceRoots)
        expect(m_Scene.setParent(*root, space.value));
    for (Item* driver : m_Drivers)
        if (!driver->parent())
            expect(m_Scene.setParent(*driver, space.value));
    m_SourceRest = restOf(m_SourceFile, m_SourceItems);
    if (m_Fit.trunk.first >= 0) {
        placeJoint(m_Fit.trunk.first, m_Fit.trunk.place);
        scaleItem(m_Fit.trunk.first, m_Fit.trunk.scale);
    }
    for (const ArmFit& arm : m_Fit.arms) {
        placeJoint(arm.upperArm, arm.shoulder);
        scaleItem(arm.upperArm, arm.scale);
        scaleItem(arm.lowerArm, arm.lowerScale);
    }
    m_SourceRest = restOf(m_SourceFile, m_SourceItems);
    expect(step.commit());
}

void RetargetScene::scaleItem(int source, double scale)
{
    Item* size = transformItem(*m_SourceItems[at(source)], TransformKind::Scale);
    for (const char axis : {'X', 'Y', 'Z'})
        changeChannel(*size->channel(std::string("scl.") + axis),
                      [&](double value) { return value * scale; });
}

/// Moves a joint of the source at rest, relative to between the hip joints.
void RetargetScene::placeJoint(int source, const Vector3& fromHips)
{
    Item& item = *m_SourceItems[at(source)];
    Matrix34 position, rotation, scale;
    refhost::Evaluation& evaluation = refhost::Evaluation::of(m_Scene);
    evaluation.matrix(*item.parent()->channel("wposMatrix"), 0, position);
    evaluation.matrix(*item.parent()->channel("wrotMatrix"), 0, rotation);
    evaluation.matrix(*item.parent()->channel("wsclMatrix"), 0, scale);
    const Vector3 place = refhost::transposed(rotation.linear)
        * minus(plus(hipCentre(m_SourceRest), fromHips), position.offset);
    Item* local = transformItem(item, TransformKind::Position);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const int a = static_cast<int>(axis);
        Channel& channel = *local->channel(std::string("pos.") + "XYZ"[axis]);
        const double by = place[axis] / scale.linear[a][a] - channel.number(refhost::Layer::Setup, 0);
        changeChannel(channel, [&](double value) { return value + by; });
    }
}

/// Changes the rest value of a channel, and all its keys alike.
void RetargetScene::changeChannel(Channel& channel, const std::function<double(double)>& change)
{
    expect(m_Scene.writeNumber(channel, Action::Setup, 0, change(channel.number(refhost::Layer::Setup, 0)),
                               refhost::WriteMode::Plain));
    if (const refhost::LayerValues* own = channel.values(refhost::Layer::Anim); own && own->number)
        expect(
            m_Scene.writeNumber(channel, Action::Anim, 0, change(*own->number), refhost::WriteMode::Plain));
    std::vector<refhost::Key> keys = channel.keys(refhost::Layer::Anim).keys();
    if (keys.empty())
        return;
    for (refhost::Key& key : keys)
        key.number = change(key.number);
    expect(m_Scene.setKeys(channel, Action::Anim, keys));
}

bool RetargetScene::isAbove(int above, int joint) const
{
    for (; joint >= 0; joint = parentOf(joint))
        if (joint == above)
            return true;
    return false;
}

/// One rig over all paired joints, from the lowest joint above them all.
void RetargetScene::findRig()
{
    int root = m_Map.pairs.front().target;
    for (const MapPair& pair : m_Map.pairs)
        while (root >= 0 && !isAbove(root, pair.target))
            root = parentOf(root);
    if (root < 0)
        throw BadInput(fmt::format("{}: '{}' and '{}' hang from no common joint, so they can't be one rig",
                                   m_TargetFile.path,
                                   printable(m_TargetFile.name(m_Map.pairs.front().target)),
                                   printable(m_TargetFile.name(m_Map.pairs.back().target))));
    m_InRig.assign(m_TargetFile.joints.size(), false);
    const MapPair* hips = nullptr;
    bool rootPaired = false;
    for (const MapPair& pair : m_Map.pairs) {
        hips = pair.role.role == Role::Hips ? &pair : hips;
        rootPaired = rootPaired || pair.target == root;
        for (int joint = pair.target; joint >= 0 && !m_InRig[at(joint)]; joint = parentOf(joint)) {
            m_InRig[at(joint)] = true;
            if (joint == root)
                break;
        }
    }
    // A joint that carries hips and trunk turns with the hips.
    if (!rootPaired && hips)
        m_Map.pairs.push_back({hips->source, root, {Role::Root, {}, 0, {}}, hips->why});
    // Parents first.
    m_RigJoints = {root};
    for (std::size_t i = 0; i < m_RigJoints.size(); ++i)
        for (std::size_t j = 0; j < m_InRig.size(); ++j)
            if (m_TargetFile.joints[j].parent == m_RigJoints[i] && m_InRig[j])
                m_RigJoints.push_back(static_cast<int>(j));
}

/// Takes the scale off everything above the rig: a hundredth, as many files have, can't be undone for goals,
/// and the target's own transforms don't feel it.
void RetargetScene::normalise()
{
    refhost::Step step(m_Scene.journal(), "take the scale off");
    for (int joint = parentOf(m_RigJoints.front()); joint >= 0; joint = parentOf(joint))
        if (Item* scale = itemOf(joint)->transformItem(TransformKind::Scale))
            for (const char axis : {'X', 'Y', 'Z'})
                set(*scale, std::string("scl.") + axis, 1);
    expect(step.commit());
}

void RetargetScene::rig()
{
    Item& root = *itemOf(m_RigJoints.front());
    run("select.clear");
    run(fmt::format("select.add item:#{}", root.id()));
    std::size_t count = 0;
    for (const MapPair& pair : m_Map.pairs) {
        const bool leads = std::any_of(m_Map.pairs.begin(), m_Map.pairs.end(), [&](const MapPair& other) {
            return other.target != pair.target && isAbove(pair.target, other.target);
        });
        if (leads || pair.target == m_RigJoints.front())
            continue;
        run(fmt::format("select.add item:#{}", itemOf(pair.target)->id()));
        ++count;
    }
    if (count == 0)
        throw BadInput("the map has no joint of the target below another one, so there is nothing to rig");
    run("ikfb.assign transRoot:true");
    for (Item* child : root.children())
        if (child->type().isOrDerivesFrom("ikFullBody"))
            m_Solver = child;
}

Vector3 RetargetScene::goalShift(std::size_t pair)
{
    if (static_cast<int>(pair) != m_Fit.trunk.chestPair)
        return m_Fit.goalShifts[pair];
    const RestJoint& chest = m_SourceRest.joints[at(m_Map.pairs[pair].source)];
    const Vector3 wanted = plus(hipCentre(m_SourceRest), m_Fit.trunk.chest);
    return refhost::transposed(chest.rotation) * minus(wanted, chest.position);
}

/// The driven collar bone above an upper arm of the target; -1 without one.
int RetargetScene::clavicleAbove(int upperArm) const
{
    for (const MapPair& pair : m_Map.pairs)
        if (pair.role.role == Role::Clavicle && isAbove(pair.target, upperArm))
            return pair.target;
    return -1;
}

bool RetargetScene::hasGoal(const MapPair& pair) const
{
    const Role role = pair.role.role;
    if (role == Role::Hand || role == Role::Foot)
        return m_Settings.positions;
    if (role == Role::UpperArm)
        return m_Settings.positions && clavicleAbove(pair.target) >= 0;
    if (m_Settings.positions && m_Fit.trunk.chestPair >= 0
        && &pair == &m_Map.pairs[at(m_Fit.trunk.chestPair)])
        return true;
    const bool hips = std::any_of(m_Map.pairs.begin(), m_Map.pairs.end(),
                                  [](const MapPair& other) { return other.role.role == Role::Hips; });
    return hips ? role == Role::Hips : pair.target == m_RigJoints.front();
}

void RetargetScene::pair()
{
    for (std::size_t i = 0; i < m_Map.pairs.size(); ++i) {
        const MapPair& pair = m_Map.pairs[i];
        const std::string items =
            fmt::format("ikfb.retarget itemS:#{} itemT:#{}", m_Drivers[i]->id(), itemOf(pair.target)->id());
        run(items + " type:0");
        refhost::Step step(m_Scene.journal(), "write the offset of matched rests");
        const Vector3 angles = refhost::eulerFromMatrix(m_Fit.offsets[i], 4); // turned about Z, X, Y
        for (std::size_t axis = 0; axis < 3; ++axis)
            set(*itemOf(pair.target), std::string("ikotOffset.") + "XYZ"[axis], angles[axis]);
        expect(step.commit());
        if (hasGoal(pair)) {
            run(fmt::format("ikfb.retarget itemS:#{} itemT:#{} type:1", m_SourceItems[at(pair.source)]->id(),
                            itemOf(pair.target)->id()));
            m_Goals.push_back({pair.source, pair.target, pair.role, goalShift(i)});
        }
    }
}

/// Weights, depths and the settings of the solve.
void RetargetScene::tune()
{
    refhost::Step step(m_Scene.journal(), "tune the rig");
    set(*m_Solver, "iksSteps", m_Settings.steps);
    set(*m_Solver, "iksTolerance", m_Settings.tolerance * 10000);
    // One joint that retargets with no gain keeps the solved pose from frame to frame.
    set(*m_Solver, "iksSolveContinuous", 1);
    set(*m_Solver, "iksRetargetGain", 0);
    set(*itemOf(m_RigJoints.back()), "ikjRetargeting", 1);
    std::vector<bool> paired(m_InRig.size());
    for (const MapPair& pair : m_Map.pairs) {
        paired[at(pair.target)] = true;
        if (pair.role.role == Role::Clavicle && m_Settings.positions)
            set(*itemOf(pair.target), "ikotWeight", kClavicleWeight);
    }
    for (const int joint : m_RigJoints) {
        set(*itemOf(joint), "ikjMaxVelocity", kSpeed);
        // A joint that nothing drives keeps its rest; the root still moves.
        if (!paired[at(joint)] && joint != m_RigJoints.front())
            set(*itemOf(joint), "ikjActive", 0);
    }
    for (const PositionGoal& goal : m_Goals)
        tuneGoal(goal);
    expect(step.commit());
}

void RetargetScene::tuneGoal(const PositionGoal& goal)
{
    Item& item = *itemOf(goal.target);
    for (std::size_t axis = 0; axis < 3; ++axis)
        set(item, std::string("ikptOffset.") + "XYZ"[axis], goal.shift[axis]);
    const Role role = goal.role.role;
    set(item, "ikptWeight",
        role == Role::Hand                                                   ? kHandWeight
            : role == Role::Foot || role == Role::Hips || role == Role::Root ? kFootWeight
                                                                             : kReachWeight);
    // A hand moves its arm, a shoulder its collar bone, a foot its leg, and the chest bends the spine; all
    // else is the hips' business.
    const auto isTop = [&](int joint) {
        const Role here = m_TargetFile.roles.joints[at(joint)].role;
        return role == Role::Hand    ? here == Role::UpperArm
            : role == Role::Foot     ? here == Role::UpperLeg
            : role == Role::Spine    ? joint == m_Fit.trunk.firstTarget
            : role == Role::UpperArm ? joint == clavicleAbove(goal.target)
                                     : false;
    };
    int depth = 1;
    for (int joint = goal.target; joint >= 0 && m_InRig[at(joint)]; joint = parentOf(joint), ++depth)
        if (isTop(joint)) {
            set(item, "ikptLength", depth);
            return;
        }
}

void RetargetScene::setFrame(std::size_t frame)
{
    m_Time = seconds(frame);
    expect(m_Host.setTime(m_Time));
    if (frame == 0)
        settle();
}

/// The first frame is far from rest, and no frame before it has led there: it gets as long as it takes.
void RetargetScene::settle()
{
    const auto solveWith = [&](double steps, double tolerance) {
        refhost::Step step(m_Scene.journal(), "settle");
        set(*m_Solver, "iksSteps", steps);
        set(*m_Solver, "iksTolerance", tolerance * 10000);
        expect(step.commit());
        (void)target(m_RigJoints.front());
    };
    solveWith(std::max<double>(kFirstSteps, m_Settings.steps), m_Settings.tolerance / 100);
    solveWith(m_Settings.steps, m_Settings.tolerance);
}

RestJoint RetargetScene::world(const Watched& joint)
{
    Matrix34 position, rotation;
    if (joint.position) {
        refhost::Evaluation& evaluation = refhost::Evaluation::of(m_Scene);
        evaluation.matrix(*joint.position, m_Time, position);
        evaluation.matrix(*joint.rotation, m_Time, rotation);
    }
    return {position.offset, rotation.linear};
}

RestJoint RetargetScene::source(int joint) { return world(m_SourceJoints[at(joint)]); }
RestJoint RetargetScene::target(int joint) { return world(m_TargetJoints[at(joint)]); }

Vector3 RetargetScene::goal(const PositionGoal& goal)
{
    const RestJoint joint = source(goal.source);
    return plus(joint.position, joint.rotation * goal.shift);
}

RestJoint RetargetScene::targetLocal(int joint)
{
    const RestJoint here = target(joint);
    const int parent = parentOf(joint);
    if (parent < 0)
        return here;
    const RestJoint above = target(parent);
    const Matrix33 back = refhost::transposed(above.rotation);
    return {back * minus(here.position, above.position), back * here.rotation};
}

RestJoint RetargetScene::sourceLocal(int joint)
{
    const RestJoint here = source(joint);
    const int parent = m_SourceFile.joints[at(joint)].parent;
    if (parent < 0)
        return here;
    const RestJoint above = source(parent);
    const Matrix33 back = refhost::transposed(above.rotation);
    return {back * minus(here.position, above.position), back * here.rotation};
}

double RetargetScene::floorShift() const
{
    // Soles at rest: the target's foot minus its height over the sole, and the source's likewise. The feet's
    // goals differ by just these heights.
    double shift = 0;
    int count = 0;
    for (const PositionGoal& goal : m_Goals)
        if (goal.role.role == Role::Foot) {
            const RestJoint& source = m_SourceRest.joints[at(goal.source)];
            const Vector3 at0 = plus(source.position, source.rotation * goal.shift);
            const Vector3& target = m_TargetRest.joints[at(goal.target)].position;
            shift += dot(minus(at0, target), m_TargetFile.roles.up);
            ++count;
        }
    return count > 0 ? shift / count : 0;
}

bool RetargetScene::converged()
{
    return refhost::Evaluation::of(m_Scene).figure(*m_Solver, "ikfb", "converged").value_or(0) != 0;
}

std::uint32_t RetargetScene::iterations()
{
    return static_cast<std::uint32_t>(
        refhost::Evaluation::of(m_Scene).figure(*m_Solver, "ikfb", "iterations").value_or(0));
}

} // namespace app
