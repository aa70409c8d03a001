// SPDX-License-Identifier: MIT
// Operations by name, called with arguments from JSON.
#include "support/ScenarioReplay.h"

#include "solver/IKSolverState.h"
#include "support/Operations.h"

#include <array>
#include <cstring>
#include <deque>
#include <stdexcept>

namespace support {

using json = nlohmann::json;
using namespace Sinew;

namespace {

bool isOn(const json& j) { return j.is_boolean() ? j.get<bool>() : j.get<double>() != 0.0; }

class JsonArguments final : public Arguments {
public:
    /// The entries of a list from `first` on; absent ones are 0, false or null.
    JsonArguments(const IKSolver& solver, const json& list, std::size_t first)
        : m_Solver(solver), m_List(list), m_Next(first)
    {
    }
    bool flag() override { return has() && isOn(m_List[m_Next++]); }
    float number() override { return has() ? m_List[m_Next++].get<float>() : 0.0f; }
    std::uint32_t count() override { return has() ? m_List[m_Next++].get<std::uint32_t>() : 0; }
    const float* numbers() override
    {
        m_Numbers.clear();
        if (has() && !m_List[m_Next].is_null())
            m_Numbers = m_List[m_Next].get<std::vector<float>>();
        ++m_Next;
        return m_Numbers.empty() ? nullptr : m_Numbers.data();
    }
    IKSegment* bone() override
    {
        const json name = has() ? m_List[m_Next++] : json();
        return name.is_null() ? nullptr : m_Solver.findBone(name.get<std::string>().c_str());
    }

private:
    bool has() const { return m_Next < m_List.size(); }
    const IKSolver& m_Solver;
    const json& m_List;
    std::size_t m_Next;
    std::vector<float> m_Numbers;
};

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
            d.enforce_limits = b.contains("enforce_limits") && isOn(b["enforce_limits"]);
            // The record is packed: its arrays are filled through copies, as they may lie at odd addresses.
            const auto fill = [&](const char* field, void* to, auto values) {
                values = b.value(field, values);
                std::memcpy(to, values.data(), sizeof values);
            };
            fill("rest_translation", &d.rest_translation, std::array<float, 3>{});
            fill("rest_orientation_wxyz", &d.rest_orientation, std::array<float, 4>{1, 0, 0, 0});
            fill("free_axis", &d.free_axis, std::array<float, 3>{});
            fill("limits", &d.limits, std::array<float, 8>{-1, 1, -1, 1, -1, 1, -180, 180});
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
    /// Calls an operation of a list [..., name, arguments...]; false where the face has none of that name.
    template <class Face>
    bool apply(const Operations<Face>& table, Face* face, const json& list, std::size_t at, Values& out)
    {
        const auto operation = table.find(list[at].get<std::string>());
        if (!face || operation == table.end())
            return false;
        JsonArguments arguments(m_Solver, list, at + 1);
        out = operation->second(*face, arguments);
        return true;
    }

    /// Calls what `list` names from place `at` on: a kind, the name or key of one of that kind, an operation.
    Values call(const json& list, std::size_t at)
    {
        const std::string kind = list[at].get<std::string>();
        Values out;
        bool known = false;
        if (kind == "solver") {
            known = apply(kSolverOperations, &m_Solver, list, at + 1, out);
        } else if (kind == "bone") {
            IKSegment* bone = m_Solver.findBone(list[at + 1].get<std::string>().c_str());
            known = apply(kBoneOperations, bone, list, at + 2, out);
        } else {
            const AnyTask& any = m_Tasks.at(list[at + 1].get<std::string>());
            known = apply(kPositionOperations, any.position, list, at + 2, out)
                || apply(kOrientationOperations, any.orientation, list, at + 2, out)
                || apply(kBalanceOperations, any.balance, list, at + 2, out)
                || apply(kTaskOperations, any.task, list, at + 2, out);
        }
        if (!known)
            throw std::runtime_error("unknown operation " + list.dump());
        return out;
    }

    static std::vector<const float*> pointersTo(const std::vector<std::vector<float>>& rows)
    {
        std::vector<const float*> table;
        for (const auto& row : rows)
            table.push_back(row.empty() ? nullptr : row.data());
        return table;
    }

    void runOne(const json& o)
    {
        const std::string name = o[0].get<std::string>();
        const auto text = [&](std::size_t i) { return o[i].get<std::string>(); };
        if (name == "get") {
            m_Queries.push_back(call(o, 1));
        } else if (name == "solver" || name == "bone" || name == "task") {
            call(o, 0);
        } else if (name == "addPositionTask") {
            if (IKPositionTask* t = m_Solver.addPositionTask(text(2).c_str(), o[3].get<std::uint32_t>()))
                m_Tasks[text(1)] = t;
        } else if (name == "addOrientationTask") {
            if (IKOrientationTask* t =
                    m_Solver.addOrientationTask(text(2).c_str(), o[3].get<std::uint32_t>()))
                m_Tasks[text(1)] = t;
        } else if (name == "addBalanceTask") {
            if (IKBalanceTask* t = m_Solver.addBalanceTask(o[1].get<std::uint32_t>(), isOn(o[2]), isOn(o[3]),
                                                           o[4].get<std::uint32_t>()))
                m_Tasks["BAL"] = t;
        } else if (name == "removeTask") {
            m_Solver.removeTask(m_Tasks.at(text(1)).task);
            m_Tasks.erase(text(1));
        } else if (name == "removeBalanceTask") {
            m_Solver.removeBalanceTask();
            m_Tasks.erase("BAL");
        } else if (name == "linkTasks") {
            m_Solver.linkTasks(m_Tasks.at(text(1)).task, isOn(o[2]),
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
            const auto rows = o[1].get<std::vector<std::vector<float>>>();
            const std::vector<const float*> table = pointersTo(rows);
            const float* const* tables[] = {table.data()};
            m_Solver.setRetargetPose(tables, 1);
        } else if (name == "setTaskTargets") {
            const auto rows = o[1].get<std::vector<std::vector<float>>>();
            std::vector<const float*> table = pointersTo(rows);
            table.resize(m_Solver.taskCount(), nullptr);
            m_Solver.setTaskTargets(table.data());
        } else {
            throw std::runtime_error("unknown operation " + name);
        }
    }

    IKSolver m_Solver;
    std::map<std::string, AnyTask> m_Tasks;
    json m_Queries = json::array();
    json m_Result = nullptr;
    json m_Status = nullptr;
};

} // namespace

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
