// SPDX-License-Identifier: MIT
// Building a rig's node: bones, tasks and channels by a walk along `ikRefs`.
#include "rig/CMarionetNode.h"

#include "host/Services.h"
#include "rig/RigMath.h"
#include "rig/RigWalk.h"

#include <cmath>
#include <cstring>

namespace {

constexpr char kAxisLetters[3] = {'X', 'Y', 'Z'};

/// `ikAxis` X `suffix` and its Y and Z forms.
void AddAxisChannels(const CZxUser_Evaluation& evaluation, const CZxUser_Item& item, const char* suffix,
                     uint32_t (&indices)[3])
{
    for (uint32_t a = 0; a < 3; ++a)
        indices[a] =
            evaluation.addChannel(item, (std::string("ikAxis") + kAxisLetters[a] + suffix).c_str(), kZxRead);
}

/// `ikAxisXMin` and `ikAxisXMax`, or with the tail `Trans` those of the translation, axis by axis.
void AddRangeChannels(const CZxUser_Evaluation& evaluation, const CZxUser_Item& item, const char* tail,
                      uint32_t (&minima)[3], uint32_t (&maxima)[3])
{
    for (uint32_t a = 0; a < 3; ++a) {
        const std::string axis = std::string("ikAxis") + kAxisLetters[a];
        minima[a] = evaluation.addChannel(item, (axis + "Min" + tail).c_str(), kZxRead);
        maxima[a] = evaluation.addChannel(item, (axis + "Max" + tail).c_str(), kZxRead);
    }
}

/// `name`.X, .Y and .Z.
void AddVectorChannels(const CZxUser_Evaluation& evaluation, const CZxUser_Item& item, const char* name,
                       uint32_t* indices)
{
    for (uint32_t a = 0; a < 3; ++a)
        indices[a] =
            evaluation.addChannel(item, (std::string(name) + '.' + kAxisLetters[a]).c_str(), kZxRead);
}

/// The three components of a rest channel; false when one of them is missing. Throws the host's failure to
/// read.
bool ReadRestVector(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* name, double* out)
{
    for (uint32_t a = 0; a < 3; ++a) {
        const int32_t channel = item.channel((std::string(name) + '.' + kAxisLetters[a]).c_str());
        if (channel < 0)
            return false;
        check(read.number(item, channel, &out[a]));
    }
    return true;
}

/// The rest pose as the solver's bones are first built from it.
struct RestPose {
    double position[3];
    double axes[3][3]; ///< columns of the rest rotation
};

bool ReadRestPose(const CZxUser_ChannelRead& read, const CZxUser_Item& item, RestPose& rest)
{
    double euler[3]; // present in every joint, and for drawing alone
    int32_t order = 0;
    if (!ReadRestVector(read, item, "ikRestPos", rest.position)
        || !ReadRestVector(read, item, "ikRestXAxis", rest.axes[0])
        || !ReadRestVector(read, item, "ikRestYAxis", rest.axes[1])
        || !ReadRestVector(read, item, "ikRestZAxis", rest.axes[2])
        || !ReadRestVector(read, item, "ikRestRot", euler))
        return false;
    const int32_t orderChannel = item.channel("ikRotOrder");
    if (orderChannel < 0)
        return false;
    check(read.integer(item, orderChannel, &order));
    for (double& component : rest.position)
        if (std::fabs(component) < 1e-7)
            component = 0;
    return true;
}

} // namespace

CMarionetNode::CMarionetNode() = default;
CMarionetNode::~CMarionetNode() = default;

void CMarionetNode::allocate(const CZxUser_Item& solver, const CZxUser_Evaluation& evaluation)
{
    m_Evaluation = evaluation;
    const CZxUser_Item root = solver.parent();
    const CZxUser_Scene scene = sceneOf(solver);
    const CZxUser_ItemGraph ikRefs = scene.itemGraph("ikRefs");
    const CZxUser_ChannelRead rest = scene.channelRead("edit", 0.0);
    const uint32_t solverType = TypeCode("ikFullBody");
    if (!root || !ikRefs || !rest || solverType == 0)
        throw kZxFailure;
    WalkRig(ikRefs, root, [&](const CZxUser_Item& item) { visit(ikRefs, rest, item, solverType); });

    for (std::size_t i = 0; i < m_Bones.size(); ++i) { // not before: the records moved while they were added
        m_Descriptors[i].name = m_Bones[i].name.c_str();
        m_Descriptors[i].parent_name =
            m_Bones[i].parentName.empty() ? nullptr : m_Bones[i].parentName.c_str();
    }
    for (TaskRecord& task : m_Tasks)
        task.name = task.item.uniqueName();
    makeSolver();
    orderTree();
}

void CMarionetNode::makeSolver()
{
    m_Solver = std::make_unique<Sinew::IKSolver>();
    m_Solver->setBones(m_Descriptors.data(), static_cast<uint32_t>(m_Descriptors.size()));
    for (TaskRecord& task : m_Tasks) {
        if (task.hasPosition)
            task.position = m_Solver->addPositionTask(task.name.c_str(), 0);
        if (task.hasOrientation)
            task.orientation = m_Solver->addOrientationTask(task.name.c_str(), 0);
    }
}

void CMarionetNode::visit(const CZxUser_ItemGraph& ikRefs, const CZxUser_ChannelRead& rest,
                          const CZxUser_Item& item, uint32_t solverType)
{
    if (ikRefs.reverseCount(item) != 0) {
        addBone(ikRefs, rest, item);
        return;
    }
    if (ikRefs.forwardCount(item) == 0)
        return;
    if (const CZxUser_Item parent = item.parent()) {
        m_ParentPosition = static_cast<int32_t>(m_Evaluation.addChannel(parent, "wposMatrix", kZxRead));
        m_ParentRotation = static_cast<int32_t>(m_Evaluation.addChannel(parent, "wrotMatrix", kZxRead));
        m_ParentScale = static_cast<int32_t>(m_Evaluation.addChannel(parent, "wsclMatrix", kZxRead));
    }
    for (uint32_t i = 0, count = item.childCount(); i < count; ++i) {
        const CZxUser_Item child = item.child(i);
        if (child.isType(solverType)) {
            addSolverChannels(child);
            addBone(ikRefs, rest, item);
            return;
        }
    }
}

void CMarionetNode::addSolverChannels(const CZxUser_Item& solver)
{
    const auto add = [&](const char* name) { return m_Evaluation.addChannel(solver, name, kZxRead); };
    m_Settings.blend = add("iksIKFKBlend");
    m_Settings.solveContinuous = add("iksSolveContinuous");
    m_Settings.steps = add("iksSteps");
    m_Settings.precision = add("iksPrecision");
    m_Settings.taskPull = add("iksTaskPull");
    m_Settings.useTolerance = add("iksUseTolerance");
    m_Settings.tolerance = add("iksTolerance");
    m_Settings.transRoot = add("iksTransRoot");
    m_Settings.transRootWeight = add("iksTransRootWeight");
    m_Settings.retargetGain = add("iksRetargetGain");
    m_Settings.retargetScale = add("iksRetargetScale");
    AddVectorChannels(m_Evaluation, solver, "iksRetargetOffset", m_Settings.retargetOffset);
    m_Settings.limitsGain = add("iksLimitsGain");
    m_Settings.enabled = add("iksEnabled");
}

void CMarionetNode::addBone(const CZxUser_ItemGraph& ikRefs, const CZxUser_ChannelRead& rest,
                            const CZxUser_Item& item)
{
    const std::string name = item.uniqueName();
    for (const BoneRecord& bone : m_Bones)
        if (bone.name == name)
            return;
    std::string parentName;
    if (const CZxUser_Item parent = ikRefs.reverse(item, 0); parent && !parent.hasPackage("ikFullBody"))
        parentName = parent.uniqueName();
    RestPose pose{};
    if (!ReadRestPose(rest, item, pose))
        return;

    BoneRecord bone;
    bone.item = item;
    bone.name = name;
    bone.parentName = parentName;
    m_Bones.push_back(std::move(bone));

    Sinew::BoneDescriptor descriptor;
    descriptor.projection_axis = 2;
    for (uint32_t a = 0; a < 3; ++a)
        descriptor.rest_translation[a] = static_cast<float>(pose.position[a]);
    double nine[9];
    for (uint32_t r = 0; r < 3; ++r)
        for (uint32_t c = 0; c < 3; ++c)
            nine[3 * r + c] = pose.axes[c][r];
    const Sinew::SinewQuaternion q = QuaternionOf(nine);
    const float wxyz[4] = {q.w(), q.x(), q.y(), q.z()};
    std::memcpy(descriptor.rest_orientation, wxyz, sizeof wxyz);
    m_Descriptors.push_back(descriptor);

    addBoneChannels(m_Bones.back());
    addTask(item);
}

void CMarionetNode::addBoneChannels(BoneRecord& bone)
{
    const auto add = [&](const char* name, uint32_t mode) {
        return m_Evaluation.addChannel(bone.item, name, mode);
    };
    bone.localMatrix = add("localMatrix", kZxRead);
    bone.wposMatrix = add("wposMatrix", kZxReadWrite);
    bone.wrotMatrix = add("wrotMatrix", kZxReadWrite);
    bone.wsclMatrix = add("wsclMatrix", kZxReadWrite);
    AddAxisChannels(m_Evaluation, bone.item, "RotEnable", bone.rotationEnable);
    AddAxisChannels(m_Evaluation, bone.item, "PosEnable", bone.positionEnable);
    AddAxisChannels(m_Evaluation, bone.item, "RotWeight", bone.rotationWeight);
    AddAxisChannels(m_Evaluation, bone.item, "PosWeight", bone.positionWeight);
    AddAxisChannels(m_Evaluation, bone.item, "Limits", bone.limits);
    AddRangeChannels(m_Evaluation, bone.item, "", bone.limitMin, bone.limitMax);
    AddAxisChannels(m_Evaluation, bone.item, "LimitsTrans", bone.stretchLimits);
    AddRangeChannels(m_Evaluation, bone.item, "Trans", bone.stretchMin, bone.stretchMax);
    bone.active = add("ikjActive", kZxRead);
    bone.enableLimits = add("ikjEnableLimits", kZxRead);
    bone.enforceLimits = add("ikjEnforceLimits", kZxRead);
    bone.retargeting = add("ikjRetargeting", kZxRead);
    bone.maxVelocity = add("ikjMaxVelocity", kZxRead);
    bone.limitsAxis = add("ikjLimitsAxis", kZxRead);
    AddVectorChannels(m_Evaluation, bone.item, "ikjTargetOffsetX", bone.targetOffset);
    AddVectorChannels(m_Evaluation, bone.item, "ikjTargetOffsetY", bone.targetOffset + 3);
    AddVectorChannels(m_Evaluation, bone.item, "ikjTargetOffsetZ", bone.targetOffset + 6);
}

void CMarionetNode::addTask(const CZxUser_Item& item)
{
    TaskRecord task;
    task.hasPosition = item.hasPackage("ik.positionTask");
    task.hasOrientation = item.hasPackage("ik.orientationTask");
    if (!task.hasPosition && !task.hasOrientation)
        return;
    const auto add = [&](const char* name) { return m_Evaluation.addChannel(item, name, kZxRead); };
    task.item = item;
    task.bone = static_cast<uint32_t>(m_Bones.size() - 1);
    if (task.hasPosition) {
        task.ikptEnable = add("ikptEnable");
        task.ikptMatrix = add("ikptMatrix");
        task.ikptWeight = add("ikptWeight");
        task.ikptPrecision = add("ikptPrecision");
        task.ikptLength = add("ikptLength");
        AddVectorChannels(m_Evaluation, item, "ikptOffset", task.ikptOffset);
        task.ikptScale = add("ikptScale");
    }
    if (task.hasOrientation) {
        task.ikotEnable = add("ikotEnable");
        task.ikotMatrix = add("ikotMatrix");
        task.ikotWeight = add("ikotWeight");
        task.ikotPrecision = add("ikotPrecision");
        task.ikotLength = add("ikotLength");
        AddVectorChannels(m_Evaluation, item, "ikotOffset", task.ikotOffset);
    }
    m_Tasks.push_back(std::move(task));
}

void CMarionetNode::orderTree()
{
    const uint32_t count = m_Solver->boneCount();
    m_Parents.assign(count, -1);
    const Sinew::IKSegment* root = nullptr;
    for (uint32_t i = 0; i < count; ++i) {
        const Sinew::IKSegment* segment = m_Solver->bone(i);
        if (const Sinew::IKSegment* parent = segment->getParent())
            m_Parents[i] = static_cast<int32_t>(parent->getIndex());
        else if (!root)
            root = segment;
    }
    // A bone first, then its next sibling, then its first child: the child waits on the stack.
    std::vector<const Sinew::IKSegment*> waiting;
    if (root)
        waiting.push_back(root);
    while (!waiting.empty()) {
        const Sinew::IKSegment* segment = waiting.back();
        waiting.pop_back();
        m_TreeOrder.push_back(segment->getIndex());
        if (const Sinew::IKSegment* child = segment->getFirstChild())
            waiting.push_back(child);
        if (const Sinew::IKSegment* sibling = segment->getNextSibling())
            waiting.push_back(sibling);
    }
}
