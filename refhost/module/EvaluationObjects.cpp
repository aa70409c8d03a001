// SPDX-License-Identifier: MIT
// Running a module's modifiers and nodes, and answering what the nodes ask.
#include "module/EvaluationObjects.h"

#include "module/SceneObjects.h"
#include "refhost/NodeChannels.h"
#include "refhost/Scene.h"

namespace refhost {
namespace {

zxresult resultOf(ChannelAnswer answer)
{
    switch (answer) {
    case ChannelAnswer::Ok:
        return kZxOk;
    case ChannelAnswer::NoSuchIndex:
        return kZxOutOfRange;
    case ChannelAnswer::NotNow:
    case ChannelAnswer::Unavailable:
        return kZxNotAvailable;
    case ChannelAnswer::WrongType:
    case ChannelAnswer::NotWritable:
    case ChannelAnswer::NotFinite:
        return kZxInvalidArgument;
    }
    return kZxFailure;
}

/// What a modifier that gave up says, and what to look for where its code tells.
std::string reasonOf(zxresult result)
{
    std::string reason = resultText(result) + ".";
    if (result == kZxAborted)
        reason += " The links that it follows run in a circle; delete the one that closes it.";
    else if (result == kZxOutOfRange)
        reason +=
            " An index points past the end of what it counts; look for a link index beyond the linked items.";
    else if (result == kZxNotFound)
        reason +=
            " An item lacks a channel that it needs; look at the packages of the items that it works on.";
    return reason;
}

class ModuleNode final : public ModifierNode {
public:
    /// Takes over a reference to the node, and the evaluation object.
    ModuleNode(HostBinding& binding, Scene& scene, ZxObject* node, EvaluationObject& evaluation)
        : m_Binding(binding), m_Scene(scene), m_Evaluation(evaluation)
    {
        m_Node.adopt(node);
    }
    ~ModuleNode() override
    {
        {
            const PhaseScope phase(m_Binding, kEvalPhase, &m_Scene);
            m_Node.clear();
        }
        m_Evaluation.matrices().forget(m_Evaluation);
        m_Binding.dispose(m_Evaluation);
    }
    Result evaluate(NodeChannels&) override
    {
        const PhaseScope phase(m_Binding, kEvalPhase, &m_Scene);
        m_Evaluation.beginRun();
        const zxresult result = m_Node.call<&ZxModifierTable::evaluate>();
        m_Evaluation.beginRun(); // what was taken ends here
        return failed(result) ? Result::failure(reasonOf(result)) : Result{};
    }
    std::optional<double> figure(const char* name) override
    {
        double value = 0;
        if (failed(m_Node.call<&ZxModifierTable::figure>(name, &value)))
            return std::nullopt;
        return value;
    }

private:
    HostBinding& m_Binding;
    Scene& m_Scene;
    CZxLocalize<ZxModifierTable> m_Node;
    EvaluationObject& m_Evaluation;
};

} // namespace

EvaluationObject::EvaluationObject(HostBinding& binding, Scene& scene, NodeChannels& channels)
    : HostObject(binding, &scene, kZxIdEvaluation, "Evaluation", kTable.object, this),
      m_Channels(&channels),
      m_Matrices(binding.matrices(scene))
{
}

void EvaluationObject::markGone()
{
    HostObject::markGone();
    m_Channels = nullptr;
}

zxresult EvaluationObject::addChannel(ZxObject* item, const char* channel, uint32_t mode, uint32_t* index)
{
    if (!m_Channels->isAllocating())
        return kZxNotAvailable;
    const ItemObject* found = hostObject<ItemObject>(item, binding());
    if (!found || found->scene() != scene() || mode < kZxRead || mode > kZxReadWrite)
        return kZxInvalidArgument;
    if (found->isGone() || found->references() == 0)
        return kZxNotAvailable;
    const auto added = m_Channels->add(*found->item(), channel, static_cast<ChannelMode>(mode));
    if (!added)
        return kZxNotFound;
    *index = *added;
    return kZxOk;
}

zxresult EvaluationObject::readInteger(uint32_t index, int32_t* value)
{
    return resultOf(m_Channels->integer(index, *value));
}

zxresult EvaluationObject::readDouble(uint32_t index, double* value)
{
    return resultOf(m_Channels->number(index, *value));
}

zxresult EvaluationObject::matrix(uint32_t index, uint32_t writing, ZxObject** matrix)
{
    if (writing > 1)
        return kZxInvalidArgument;
    if (const zxresult result = resultOf(m_Channels->matrix(index, writing == 1)); failed(result))
        return result;
    *matrix = m_Matrices->take(*this, index, writing == 1).face();
    return kZxOk;
}

constinit const ZxEvaluationTable EvaluationObject::kTable = {
    .object = HostObject::kOps,
    .addChannel = hostSlot<EvaluationObject, &EvaluationObject::addChannel, kEvalPhase>,
    .readInteger = hostSlot<EvaluationObject, &EvaluationObject::readInteger, kEvalPhase>,
    .readDouble = hostSlot<EvaluationObject, &EvaluationObject::readDouble, kEvalPhase>,
    .matrix = hostSlot<EvaluationObject, &EvaluationObject::matrix, kEvalPhase>,
};

SlotMatrixObject::SlotMatrixObject(HostBinding& binding, const Scene* scene)
    : HostObject(binding, scene, kZxIdMatrix, "Matrix", kTable.object, this)
{
}

void SlotMatrixObject::take(EvaluationObject& evaluation, uint32_t index, bool writing)
{
    m_Evaluation = &evaluation;
    m_Run = evaluation.run();
    m_Index = index;
    m_Writing = writing;
    addReference();
}

void SlotMatrixObject::forget(const EvaluationObject& evaluation)
{
    if (m_Evaluation == &evaluation)
        m_Evaluation = nullptr;
}

SlotMatrixObject& SlotMatrices::take(EvaluationObject& evaluation, uint32_t index, bool writing)
{
    constexpr std::size_t kLeast = 128; // turns until one that was released comes back
    constexpr int kTries = 4;
    for (int i = 0; i < kTries && m_Ring.size() >= kLeast; ++i) {
        m_Next = m_Next + 1 < m_Ring.size() ? m_Next + 1 : 0;
        if (m_Ring[m_Next]->references() == 0) {
            m_Ring[m_Next]->take(evaluation, index, writing);
            return *m_Ring[m_Next];
        }
    }
    SlotMatrixObject& made = m_Binding.make<SlotMatrixObject>(evaluation.scene());
    made.setKept(true);
    made.take(evaluation, index, writing);
    made.releaseReference(); // the maker's own
    m_Ring.push_back(&made);
    return made;
}

void SlotMatrices::forget(const EvaluationObject& evaluation)
{
    for (SlotMatrixObject* matrix : m_Ring)
        matrix->forget(evaluation);
}

void SlotMatrices::dispose()
{
    for (SlotMatrixObject* matrix : m_Ring)
        m_Binding.dispose(*matrix);
    m_Ring.clear();
}

zxresult SlotMatrixObject::get3x3(double* nine)
{
    return lasts() ? resultOf(m_Evaluation->channels()->linear(m_Index, nine)) : kZxNotAvailable;
}

zxresult SlotMatrixObject::getOffset(double* three)
{
    return lasts() ? resultOf(m_Evaluation->channels()->offset(m_Index, three)) : kZxNotAvailable;
}

zxresult SlotMatrixObject::set3x3(const double* nine)
{
    if (!m_Writing || !lasts())
        return kZxNotAvailable;
    return resultOf(m_Evaluation->channels()->setLinear(m_Index, nine));
}

zxresult SlotMatrixObject::setOffset(const double* three)
{
    if (!m_Writing || !lasts())
        return kZxNotAvailable;
    return resultOf(m_Evaluation->channels()->setOffset(m_Index, three));
}

constinit const ZxMatrixTable SlotMatrixObject::kTable = {
    .object = HostObject::kOps,
    .get3x3 = hostSlot<SlotMatrixObject, &SlotMatrixObject::get3x3, kEditPhase | kEvalPhase | kDrawPhase>,
    .getOffset =
        hostSlot<SlotMatrixObject, &SlotMatrixObject::getOffset, kEditPhase | kEvalPhase | kDrawPhase>,
    .set3x3 = hostSlot<SlotMatrixObject, &SlotMatrixObject::set3x3, kEvalPhase>,
    .setOffset = hostSlot<SlotMatrixObject, &SlotMatrixObject::setOffset, kEvalPhase>,
};

ModuleModifier::ModuleModifier(HostBinding& binding, std::string name, CZxObject server,
                               std::vector<std::string> typeList, std::vector<std::string> graphList)
    : m_Binding(binding),
      m_Name(std::move(name)),
      m_TypeList(std::move(typeList)),
      m_GraphList(std::move(graphList))
{
    m_Server.adopt(server.detach());
}

Result ModuleModifier::enumerate(Scene& scene, std::vector<ModifierTarget>& targets)
{
    const std::scoped_lock lock(m_Asking);
    const PhaseScope phase(m_Binding, kEvalPhase, &scene);
    Result result = listTargets(scene, targets);
    if (!result.ok()) {
        targets.clear();
        (void)m_Server.call<&ZxEvalModifierTable::reset>(nullptr); // takes the scene away again
    }
    return result;
}

Result ModuleModifier::listTargets(Scene& scene, std::vector<ModifierTarget>& targets)
{
    const HeldObject held(m_Binding.sceneObject(scene));
    if (const zxresult result = m_Server.call<&ZxEvalModifierTable::reset>(held.face()); failed(result))
        return Result::failure("its reset answers " + resultText(result) + ".");
    // Far more than any use, so that an enumeration that never ends doesn't hang the host.
    const std::size_t limit = 1024 + 64 * scene.itemCount();
    while (targets.size() < limit) {
        CZxObject item;
        ZxObject* found = nullptr;
        uint32_t attribute = 0;
        const zxresult result = m_Server.call<&ZxEvalModifierTable::next>(&found, &attribute);
        item.adopt(failed(result) ? nullptr : found);
        if (failed(result))
            return Result::failure("its enumeration answers " + resultText(result) + ".");
        if (!item)
            return {};
        const ItemObject* own = hostObject<ItemObject>(item.object(), m_Binding);
        if (!own || own->isGone() || own->scene() != &scene)
            return Result::failure("its enumeration gives an object that is no item of the scene.");
        targets.push_back({own->item(), attribute});
    }
    return Result::failure("its enumeration doesn't end.");
}

ResultOf<std::unique_ptr<ModifierNode>> ModuleModifier::allocate(const ModifierTarget& target,
                                                                 NodeChannels& channels)
{
    using Answer = ResultOf<std::unique_ptr<ModifierNode>>;
    Scene& scene = target.item->scene();
    const std::scoped_lock lock(m_Asking);
    const PhaseScope phase(m_Binding, kEvalPhase, &scene);
    const HeldObject item(m_Binding.itemObject(*target.item));
    EvaluationObject& evaluation = m_Binding.make<EvaluationObject>(scene, channels);
    evaluation.setKept(true);
    ZxObject* node = nullptr;
    zxresult result = m_Server.call<&ZxEvalModifierTable::allocate>(item.face(), target.attribute,
                                                                    evaluation.face(), &node);
    evaluation.releaseReference();
    if (succeeded(result) && !node)
        result = kZxFailure;
    if (failed(result)) {
        m_Binding.dispose(evaluation);
        return Answer::failure(reasonOf(result));
    }
    Answer made;
    made.value = std::make_unique<ModuleNode>(m_Binding, scene, node, evaluation);
    return made;
}

} // namespace refhost
