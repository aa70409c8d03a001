// SPDX-License-Identifier: MIT
// Modifiers of modules: their nodes, and the channels and matrices that the nodes are handed.
#pragma once

#include "module/HostBinding.h"
#include "refhost/Modifier.h"

#include <glue/Reference.h>
#include <zx/ZxEvaluation.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace refhost {

class NodeChannels;
class SlotMatrices;
class SlotMatrixObject;

/// A node's channels as the module sees them.
class EvaluationObject final : public HostObject {
public:
    EvaluationObject(HostBinding& binding, Scene& scene, NodeChannels& channels);

    zxresult addChannel(ZxObject* item, const char* channel, uint32_t mode, uint32_t* index);
    zxresult readInteger(uint32_t index, int32_t* value);
    zxresult readDouble(uint32_t index, double* value);
    zxresult matrix(uint32_t index, uint32_t writing, ZxObject** matrix);
    void markGone() override;

    NodeChannels* channels() const { return m_Channels; }
    SlotMatrices& matrices() const { return *m_Matrices; }
    /// Counts the node's evaluations: a matrix lasts for one.
    std::uint64_t run() const { return m_Run; }
    void beginRun() { ++m_Run; }

    static const ZxEvaluationTable kTable;

private:
    NodeChannels* m_Channels;
    std::uint64_t m_Run = 0;
    std::shared_ptr<SlotMatrices> m_Matrices; // of the scene
};

/// The matrix of one slot for one evaluation. It stands for another slot later on.
class SlotMatrixObject final : public HostObject {
public:
    SlotMatrixObject(HostBinding& binding, const Scene* scene);

    /// With a reference for the taker.
    void take(EvaluationObject& evaluation, uint32_t index, bool writing);
    /// The node goes.
    void forget(const EvaluationObject& evaluation);

    zxresult get3x3(double* nine);
    zxresult getOffset(double* three);
    zxresult set3x3(const double* nine);
    zxresult setOffset(const double* three);

    static const ZxMatrixTable kTable;

private:
    bool lasts() const { return m_Evaluation && m_Run == m_Evaluation->run(); }

    EvaluationObject* m_Evaluation = nullptr;
    std::uint64_t m_Run = 0;
    uint32_t m_Index = 0;
    bool m_Writing = false;
};

/// Matrices to hand out to the nodes of one scene, in turn: taking one allocates nothing, few of them keep
/// the memory warm, and one that was released refuses calls until its turn comes again.
class SlotMatrices {
public:
    explicit SlotMatrices(HostBinding& binding) : m_Binding(binding) { }

    SlotMatrixObject& take(EvaluationObject& evaluation, uint32_t index, bool writing);
    void forget(const EvaluationObject& evaluation);
    /// Gives all of them up when the scene goes.
    void dispose();

private:
    HostBinding& m_Binding;
    std::vector<SlotMatrixObject*> m_Ring; // owned by the binding
    std::size_t m_Next = 0;
};

/// A module's modifier in the host's list.
class ModuleModifier final : public Modifier {
public:
    /// Takes over a reference to the server, seen through EvalModifier.
    ModuleModifier(HostBinding& binding, std::string name, CZxObject server,
                   std::vector<std::string> typeList, std::vector<std::string> graphList);

    const std::string& name() const override { return m_Name; }
    const std::vector<std::string>& typeList() const override { return m_TypeList; }
    const std::vector<std::string>& graphList() const override { return m_GraphList; }
    Result enumerate(Scene& scene, std::vector<ModifierTarget>& targets) override;
    ResultOf<std::unique_ptr<ModifierNode>> allocate(const ModifierTarget& target,
                                                     NodeChannels& channels) override;

private:
    Result listTargets(Scene& scene, std::vector<ModifierTarget>& targets);

    HostBinding& m_Binding;
    std::string m_Name;
    std::mutex m_Asking; // the server goes through one scene at a time
    CZxLocalize<ZxEvalModifierTable> m_Server;
    std::vector<std::string> m_TypeList, m_GraphList;
};

} // namespace refhost
