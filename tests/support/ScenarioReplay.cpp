// SPDX-License-Identifier: MIT
// Operations by name, called with arguments from JSON.
#include "support/ScenarioReplay.h"

#include "solver/IKSolverState.h"

#include <sinew/IKSolver.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <stdexcept>
#include <tuple>
#include <vector>

namespace support {

using json = nlohmann::json;
using namespace Sinew;

namespace {

using Values = std::vector<double>;

// Arguments and results between JSON and the engine's types.

template <class T>
struct Argument {
    T value;
    explicit Argument(const json& j)
        : value(j.is_boolean() ? static_cast<T>(j.get<bool>()) : static_cast<T>(j.get<double>()))
    {
    }
    T get() { return value; }
};
template <>
struct Argument<bool> {
    bool value;
    explicit Argument(const json& j) : value(j.is_boolean() ? j.get<bool>() : j.get<double>() != 0.0) { }
    bool get() { return value; }
};
template <>
struct Argument<const float*> {
    std::vector<float> values;
    explicit Argument(const json& j)
    {
        if (!j.is_null())
            values = j.get<std::vector<float>>();
    }
    const float* get() { return values.empty() ? nullptr : values.data(); }
};
template <>
struct Argument<const EulerLimits&> {
    EulerLimits limits;
    explicit Argument(const json& j)
    {
        for (std::size_t i = 0; i < 6; ++i)
            limits.range[i] = j[i].get<float>();
    }
    const EulerLimits& get() { return limits; }
};
template <>
struct Argument<SinewVector&> {
    SinewVector out;
    explicit Argument(const json&) { }
    SinewVector& get() { return out; }
};
Values flatten(bool v) { return {v ? 1.0 : 0.0}; }
Values flatten(float v) { return {static_cast<double>(v)}; }
Values flatten(std::uint32_t v) { return {static_cast<double>(v)}; }
Values flatten(const SinewVector& v) { return {v.x(), v.y(), v.z()}; }
Values flatten(SinewVector* v) { return v ? flatten(*v) : Values(); }
Values flatten(const SinewQuaternion& q) { return {q.x(), q.y(), q.z(), q.w()}; }

template <class Face>
using Operation = std::function<Values(Face&, const json&)>;

template <class Face, class Method, class Result, class... A, std::size_t... I>
Values call(Face& face, Method method, const json& arguments, std::index_sequence<I...>, Result (*)(A...))
{
    std::tuple<Argument<A>...> values{Argument<A>(I < arguments.size() ? arguments[I] : json())...};
    if constexpr (std::is_void_v<Result>) {
        (face.*method)(std::get<I>(values).get()...);
        return {};
    } else {
        return flatten((face.*method)(std::get<I>(values).get()...));
    }
}
template <class Face, class Owner, class Result, class... A>
Operation<Face> wrap(Result (Owner::*method)(A...))
{
    return [method](Face& face, const json& arguments) {
        return call<Face>(face, method, arguments, std::index_sequence_for<A...>(),
                          static_cast<Result (*)(A...)>(nullptr));
    };
}
template <class Face, class Owner, class Result, class... A>
Operation<Face> wrap(Result (Owner::*method)(A...) const)
{
    return [method](Face& face, const json& arguments) {
        return call<Face>(face, method, arguments, std::index_sequence_for<A...>(),
                          static_cast<Result (*)(A...)>(nullptr));
    };
}
template <class Face>
Operation<Face> floats(const float* (Face::*method)() const, std::size_t count)
{
    return [=](Face& face, const json&) {
        const float* v = (face.*method)();
        return Values(v, v + count);
    };
}

template <class Face>
using Table = std::map<std::string, Operation<Face>>;

// clang-format off
#define OP(Face, name)                                                                                       \
    {                                                                                                        \
#name, wrap < Face>(&Face::name)                                                                     \
    }

const Table<IKSolver> kSolverOperations = {
    OP(IKSolver, setTolerance), OP(IKSolver, tolerance), OP(IKSolver, totalBoneLength),
    OP(IKSolver, setTotalBoneLength), OP(IKSolver, measureFigure), OP(IKSolver, framesCurrent),
    OP(IKSolver, computeStretchRatio), OP(IKSolver, rescaleFigure), OP(IKSolver, limitsWithRetargeting),
    OP(IKSolver, setLimitsWithRetargeting), OP(IKSolver, pCoefficient), OP(IKSolver, setPCoefficient),
    OP(IKSolver, momentsPrecision), OP(IKSolver, setMomentsPrecision), OP(IKSolver, momentsWeight),
    OP(IKSolver, setMomentsWeight), OP(IKSolver, secondaryTaskPrecision),
    OP(IKSolver, setSecondaryTaskPrecision), OP(IKSolver, secondaryTaskWeight),
    OP(IKSolver, setSecondaryTaskWeight), OP(IKSolver, setFullRetargeting), OP(IKSolver, retargetGain),
    OP(IKSolver, setRetargetGain), OP(IKSolver, limitsGain), OP(IKSolver, setLimitsGain),
    OP(IKSolver, precision), OP(IKSolver, setPrecision), OP(IKSolver, useDefaultZmp),
    OP(IKSolver, setUseDefaultZmp), OP(IKSolver, zmp), OP(IKSolver, setZmp), OP(IKSolver, totalMass),
    OP(IKSolver, setTotalMass), OP(IKSolver, rootTranslationWeight), OP(IKSolver, setRootTranslationWeight),
    OP(IKSolver, rootTranslation), OP(IKSolver, translateRoot), OP(IKSolver, setTranslateRoot),
    OP(IKSolver, enableRootTarget), OP(IKSolver, setEnableRootTarget), OP(IKSolver, rescaleTasks),
    OP(IKSolver, setRescaleTasks), OP(IKSolver, rootTargetTranslation),
    OP(IKSolver, setRootTargetTranslation), OP(IKSolver, requestMeasure), OP(IKSolver, prepare),
    OP(IKSolver, reset), OP(IKSolver, taskCount), OP(IKSolver, boneCount), OP(IKSolver, setSetupDirty),
    OP(IKSolver, zmpPointer), OP(IKSolver, centreOfMass),
};

const Table<IKSegment> kBoneOperations = {
    OP(IKSegment, setRetargeting), OP(IKSegment, isRetargeting), OP(IKSegment, setFullRetargeting),
    OP(IKSegment, getFullRetargeting), OP(IKSegment, enableLimits), OP(IKSegment, limitsEnabled),
    OP(IKSegment, enforceLimits), OP(IKSegment, limitsEnforced), OP(IKSegment, enableStretchLimits),
    OP(IKSegment, stretchLimitsEnabled), OP(IKSegment, enforceStretchLimits),
    OP(IKSegment, stretchLimitsEnforced), OP(IKSegment, resetTranslation), OP(IKSegment, setActiveDof),
    OP(IKSegment, isTranslational), OP(IKSegment, setFreeTranslation), OP(IKSegment, hasFreeTranslation),
    OP(IKSegment, setActive), OP(IKSegment, setTargetOrientation), OP(IKSegment, getTargetOrientation),
    OP(IKSegment, setOrientation), OP(IKSegment, setTranslation), OP(IKSegment, addTranslation),
    OP(IKSegment, setWeight), OP(IKSegment, getOrientation), OP(IKSegment, getOrientationFromRest),
    OP(IKSegment, getTranslation), OP(IKSegment, setRestOrientation), OP(IKSegment, setRestTranslation),
    OP(IKSegment, getDofCount), OP(IKSegment, getFirstColumn), OP(IKSegment, getIndex),
    OP(IKSegment, getGlobalPosition), OP(IKSegment, getFramePosition), OP(IKSegment, getGlobalOrientation),
    OP(IKSegment, getGlobalTranslation), OP(IKSegment, getSubtreeCentreOffset), OP(IKSegment, setLimit),
    {"getLimits", floats(&IKSegment::getLimits, 8)},
    OP(IKSegment, setRotationAxis), OP(IKSegment, setProjectionAxis), OP(IKSegment, setHoldOrientation),
    OP(IKSegment, setStretchLimit),
    {"getStretchLimits", floats(&IKSegment::getStretchLimits, 6)},
    OP(IKSegment, setLimitsGain), OP(IKSegment, getLimitsGain), OP(IKSegment, setRetargetingAxisGain),
    OP(IKSegment, setRetargetingGain), OP(IKSegment, getRetargetingAxisGain),
    OP(IKSegment, getRetargetingGain), OP(IKSegment, setStretchGain), OP(IKSegment, getStretchGain),
    OP(IKSegment, getLength), OP(IKSegment, getWeight), OP(IKSegment, scale), OP(IKSegment, resetToRest),
    OP(IKSegment, getRestTranslation), OP(IKSegment, getRestOrientation), OP(IKSegment, isRetargetingAny),
    OP(IKSegment, isActive), OP(IKSegment, isDofActive), OP(IKSegment, isDirty),
    OP(IKSegment, getMassFraction), OP(IKSegment, setMass), OP(IKSegment, getMass),
    OP(IKSegment, setMaxVelocity), OP(IKSegment, getMaxVelocity), OP(IKSegment, setMassCentre),
    OP(IKSegment, getMassCentre), OP(IKSegment, getChainDepth), OP(IKSegment, getStretchRatio),
    OP(IKSegment, getStretchScale),
    {"getAxis",
     [](IKSegment& bone, const json& a) {
         SinewVector out;
         return flatten(bone.getAxis(out, a[0].get<std::uint32_t>()));
     }},
    {"setEulerLimits",
     [](IKSegment& bone, const json& a) {
         EulerLimits limits = Argument<const EulerLimits&>(a[0]).get();
         limits.axis = a[1].get<std::uint32_t>();
         bone.setEulerLimits(limits, a[2].get<bool>());
         return Values();
     }},
};

const Table<IKTask> kTaskOperations = {
    OP(IKTask, getFirstRow), OP(IKTask, getId), OP(IKTask, getRowCount), OP(IKTask, getActiveDofCount),
    OP(IKTask, isActive), OP(IKTask, getWeight), OP(IKTask, setDepth), OP(IKTask, getDepth),
    OP(IKTask, setWeight), OP(IKTask, setAxisWeight), OP(IKTask, getAxisWeight), OP(IKTask, setPrecision),
    OP(IKTask, setAxisPrecision), OP(IKTask, getAxisPrecision), OP(IKTask, getCreationDepth),
    OP(IKTask, getAxisLevel), OP(IKTask, setLevel), OP(IKTask, setAxisLevel), OP(IKTask, scaleTarget),
    OP(IKTask, setActive), OP(IKTask, setActiveDof), OP(IKTask, isDofActive), OP(IKTask, isPositionTask),
    OP(IKTask, isOrientationTask), OP(IKTask, isForceTask), OP(IKTask, isReactionTask),
    OP(IKTask, isBalanceTask), OP(IKTask, setTracksRetarget), OP(IKTask, tracksRetarget),
    OP(IKTask, follows), OP(IKTask, setTargetVector),
};
const Table<IKPositionTask> kPositionOperations = {
    {"setTarget",
     wrap<IKPositionTask>(
         static_cast<void (IKPositionTask::*)(float, float, float)>(&IKPositionTask::setTarget))},
    OP(IKPositionTask, getTarget), OP(IKPositionTask, setOffset), OP(IKPositionTask, getOffset),
    OP(IKPositionTask, setForce), OP(IKPositionTask, getForce), OP(IKPositionTask, setPositionRows),
    OP(IKPositionTask, setForceTask), OP(IKPositionTask, setForceShare), OP(IKPositionTask, getForceShare),
    OP(IKPositionTask, setBalanceMoments), OP(IKPositionTask, getError), OP(IKPositionTask, computeMoment),
    OP(IKPositionTask, setPoleVector), OP(IKPositionTask, getPoleVector),
    OP(IKPositionTask, getPlaneConstraint), OP(IKPositionTask, getPlaneTarget),
    OP(IKPositionTask, setPlaneConstraint), OP(IKPositionTask, setPlaneTarget),
    OP(IKPositionTask, setPlaneNormal), OP(IKPositionTask, getPlaneNormal),
    OP(IKPositionTask, setPlanePoint), OP(IKPositionTask, getPlanePoint),
};
const Table<IKOrientationTask> kOrientationOperations = {
    {"setTarget",
     wrap<IKOrientationTask>(static_cast<void (IKOrientationTask::*)(float, float, float, float)>(
         &IKOrientationTask::setTarget))},
    {"setTargetQ",
     [](IKOrientationTask& task, const json& a) {
         task.setTarget(
             SinewQuaternion(a[0].get<float>(), a[1].get<float>(), a[2].get<float>(), a[3].get<float>()));
         return Values();
     }},
    OP(IKOrientationTask, getTarget), OP(IKOrientationTask, setLocalAxis),
    OP(IKOrientationTask, getLocalAxis), OP(IKOrientationTask, setAimDirection),
    OP(IKOrientationTask, getAimDirection), OP(IKOrientationTask, setAimMode),
    OP(IKOrientationTask, getAimMode), OP(IKOrientationTask, setTargetMatrix),
};
const Table<IKBalanceTask> kBalanceOperations = {
    OP(IKBalanceTask, setTarget), OP(IKBalanceTask, setTargetOffset), OP(IKBalanceTask, getTarget),
    OP(IKBalanceTask, computeMoment), OP(IKBalanceTask, getGravityAxis),
    OP(IKBalanceTask, setCentreOfMassRows), OP(IKBalanceTask, setRelativeToRoot),
    OP(IKBalanceTask, setMomentRows), OP(IKBalanceTask, setGravityDirection),
    OP(IKBalanceTask, setGravityAxis), OP(IKBalanceTask, getGravityDirection),
    OP(IKBalanceTask, momentRows), OP(IKBalanceTask, centreOfMassRows),
};
#undef OP
// clang-format on

template <class Face>
bool apply(const Table<Face>& table, Face* face, const std::string& name, const json& arguments, Values& out)
{
    const auto operation = table.find(name);
    if (!face || operation == table.end())
        return false;
    out = operation->second(*face, arguments);
    return true;
}

class Player {
public:
    explicit Player(const json& scenario)
    {
        std::deque<std::string> names;
        std::vector<BoneDescriptor> descriptors;
        const auto keep = [&](const json& j) { return names.emplace_back(j.get<std::string>()).c_str(); };
        for (const json& b : scenario["bones"]) {
            BoneDescriptor d;
            if (b.contains("name") && b["name"].is_string())
                d.name = keep(b["name"]);
            if (b.contains("parent") && b["parent"].is_string())
                d.parent_name = keep(b["parent"]);
            d.projection_axis = b.value("projection_axis", 2u);
            d.rotation_axis = b.value("rotation_axis", 2u);
            d.enforce_limits = b.contains("enforce_limits") && Argument<bool>(b["enforce_limits"]).get();
            // The record is packed: its arrays are filled through copies, as they may lie at odd addresses.
            const auto fill = [&]<std::size_t N>(const char* field, void* to, const float(&defaults)[N]) {
                float values[N];
                std::copy(defaults, defaults + N, values);
                for (std::size_t k = 0; b.contains(field) && k < N; ++k)
                    values[k] = b[field][k].template get<float>();
                std::memcpy(to, values, sizeof values);
            };
            fill("rest_translation", &d.rest_translation, {0, 0, 0});
            fill("rest_orientation_wxyz", &d.rest_orientation, {1, 0, 0, 0});
            fill("free_axis", &d.free_axis, {0, 0, 0});
            fill("limits", &d.limits, {-1, 1, -1, 1, -1, 1, -180, 180});
            descriptors.push_back(d);
        }
        m_Solver.setBones(descriptors.data(), static_cast<std::uint32_t>(descriptors.size()));
    }

    void forgetQueries() { m_Queries = json::array(); }

    void run(const json& operations)
    {
        for (const json& operation : operations)
            runOne(operation);
    }

    json record(const std::string& label)
    {
        json r = {{"label", label}, {"queries", m_Queries}, {"com", flatten(*m_Solver.centreOfMass())}};
        r["result"] = m_Result;
        r["status"] = m_Status;
        r["bones"] = json::array();
        for (std::uint32_t i = 0; i < m_Solver.boneCount(); ++i) {
            IKSegment* bone = m_Solver.bone(i);
            r["bones"].push_back({{"q", flatten(bone->getOrientation())},
                                  {"t", flatten(bone->getTranslation())},
                                  {"gp", flatten(bone->getGlobalPosition())},
                                  {"gq", flatten(bone->getGlobalOrientation())}});
        }
        r["tasks"] = json::object();
        for (const auto& [key, task] : m_Tasks)
            if (task.position)
                r["tasks"][key] = flatten(task.position->getError());
        if (const IKSolverState* state = m_Solver.boneCount() ? m_Solver.bone(0)->getSolver() : nullptr)
            r["internal"] = {{"iteration", state->iteration()}, {"maxJointStep", state->maxJointStep()}};
        m_Queries = json::array();
        m_Result = m_Status = nullptr;
        return r;
    }

private:
    struct Handle {
        IKTask* task = nullptr;
        IKPositionTask* position = nullptr;
        IKOrientationTask* orientation = nullptr;
        IKBalanceTask* balance = nullptr;
    };

    static json tail(const json& operation, std::size_t from)
    {
        return json(
            std::vector<json>(operation.begin() + static_cast<std::ptrdiff_t>(from), operation.end()));
    }

    Values onTask(const std::string& key, const std::string& name, const json& arguments)
    {
        Values out;
        const Handle& handle = m_Tasks.at(key);
        if (!apply(kPositionOperations, handle.position, name, arguments, out)
            && !apply(kOrientationOperations, handle.orientation, name, arguments, out)
            && !apply(kBalanceOperations, handle.balance, name, arguments, out)
            && !apply(kTaskOperations, handle.task, name, arguments, out))
            throw std::runtime_error("unknown task operation " + name);
        return out;
    }
    Values onBone(const std::string& bone, const std::string& name, const json& arguments)
    {
        Values out;
        if (!apply(kBoneOperations, m_Solver.findBone(bone.c_str()), name, arguments, out))
            throw std::runtime_error("unknown bone " + bone + " or operation " + name);
        return out;
    }
    Values onSolver(const std::string& name, const json& arguments)
    {
        Values out;
        if (!apply(kSolverOperations, &m_Solver, name, arguments, out))
            throw std::runtime_error("unknown solver operation " + name);
        return out;
    }

    void runOne(const json& o)
    {
        const std::string name = o[0].get<std::string>();
        const auto text = [&](std::size_t i) { return o[i].get<std::string>(); };
        if (name == "get") {
            const std::string kind = text(1);
            m_Queries.push_back(kind == "solver"     ? onSolver(text(2), tail(o, 3))
                                    : kind == "bone" ? onBone(text(2), text(3), tail(o, 4))
                                                     : onTask(text(2), text(3), tail(o, 4)));
        } else if (name == "solver") {
            onSolver(text(1), tail(o, 2));
        } else if (name == "bone") {
            onBone(text(1), text(2), tail(o, 3));
        } else if (name == "task") {
            onTask(text(1), text(2), tail(o, 3));
        } else if (name == "addPositionTask") {
            if (IKPositionTask* t = m_Solver.addPositionTask(text(2).c_str(), o[3].get<std::uint32_t>()))
                m_Tasks[text(1)] = {t, t, nullptr, nullptr};
        } else if (name == "addOrientationTask") {
            if (IKOrientationTask* t =
                    m_Solver.addOrientationTask(text(2).c_str(), o[3].get<std::uint32_t>()))
                m_Tasks[text(1)] = {t, nullptr, t, nullptr};
        } else if (name == "addBalanceTask") {
            if (IKBalanceTask* t =
                    m_Solver.addBalanceTask(o[1].get<std::uint32_t>(), Argument<bool>(o[2]).get(),
                                            Argument<bool>(o[3]).get(), o[4].get<std::uint32_t>()))
                m_Tasks["BAL"] = {t, nullptr, nullptr, t};
        } else if (name == "removeTask") {
            m_Solver.removeTask(m_Tasks.at(text(1)).task);
            m_Tasks.erase(text(1));
        } else if (name == "removeBalanceTask") {
            m_Solver.removeBalanceTask();
            m_Tasks.erase("BAL");
        } else if (name == "linkTasks") {
            m_Solver.linkTasks(m_Tasks.at(text(1)).task, Argument<bool>(o[2]).get(),
                               o[3].is_string() ? m_Tasks.at(text(3)).task : nullptr);
        } else if (name == "solve") {
            m_Result = m_Solver.solve(o[1].get<std::uint32_t>());
        } else if (name == "solveAdaptive") {
            int status = -1;
            m_Result = m_Solver.solveAdaptive(o[1].get<std::uint32_t>(), &status);
            m_Status = status;
        } else if (name == "updateFigure") {
            m_Solver.updateFigure();
        } else if (name == "reset") {
            m_Solver.reset();
        } else if (name == "setRetargetPose") {
            const auto poses = o[1].get<std::vector<std::vector<float>>>();
            std::vector<const float*> table;
            for (const auto& q : poses)
                table.push_back(q.empty() ? nullptr : q.data());
            const float* const* tables[] = {table.data()};
            m_Solver.setRetargetPose(tables, 1);
        } else if (name == "setTaskTargets") {
            const auto targets = o[1].get<std::vector<std::vector<float>>>();
            std::vector<const float*> table;
            for (const auto& target : targets)
                table.push_back(target.empty() ? nullptr : target.data());
            table.resize(m_Solver.taskCount(), nullptr);
            m_Solver.setTaskTargets(table.data());
        } else {
            throw std::runtime_error("unknown operation " + name);
        }
    }

    IKSolver m_Solver;
    std::map<std::string, Handle> m_Tasks;
    json m_Queries = json::array();
    json m_Result = nullptr;
    json m_Status = nullptr;
};

} // namespace

std::string dataFolder()
{
    const char* chosen = std::getenv("SINEW_DATA");
    return chosen && *chosen ? chosen : SINEW_DATA_DIR;
}

json replayScenario(const json& scenario)
{
    Player player(scenario);
    player.run(scenario.value("setup", json::array()));
    player.forgetQueries(); // traces keep what is asked in actions
    json records = json::array();
    for (const json& action : scenario["actions"]) {
        player.run(action.value("once", json::array()));
        for (int i = 0; i < action.value("repeat", 1); ++i) {
            player.run(action["do"]);
            records.push_back(player.record(action["label"].get<std::string>() + "#" + std::to_string(i)));
        }
    }
    return records;
}

} // namespace support
