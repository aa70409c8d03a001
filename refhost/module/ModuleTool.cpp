// SPDX-License-Identifier: MIT
// Asks a module's tool and tells it what happens.
#include "module/ModuleTool.h"

#include "module/CommandObjects.h"
#include "module/DrawObjects.h"
#include "module/LoadedModule.h"
#include "module/ToolObjects.h"

#include <cstring>

namespace refhost {
namespace {

// No tool has so many; a count beyond it is no count.
constexpr std::uint32_t kAttributeLimit = 1000;

using Value = CZxLocalize<ZxValueTable>;

} // namespace

/// A call of the module in a phase; what failed on the host's side in it counts as its failure.
template <class Call>
Result ModuleTool::guarded(Phase phase, const char* what, const Call& call)
{
    const PhaseScope scope(m_Binding, phase);
    const TroubleScope account(m_Binding);
    const zxresult result = call();
    if (!account.trouble().empty())
        return Result::failure(account.trouble());
    return failed(result) ? Result::failure(std::string(what) + " failed: " + resultText(result) + ".")
                          : Result{};
}

ResultOf<std::unique_ptr<Tool>> ModuleTool::make(HostBinding& binding, const LoadedModule& module,
                                                 const std::string& name)
{
    std::unique_ptr<ModuleTool> tool(new ModuleTool(binding, name));
    const Result made = tool->guarded(kEditPhase, "Making it", [&] {
        zxresult result = kZxOk;
        const CZxObject server = module.makeServer(name.c_str(), kZxIdTool, result);
        if (succeeded(result))
            result = tool->m_Tool.query(server.object(), kZxIdTool);
        if (succeeded(result))
            result = tool->m_Model.query(server.object(), kZxIdToolModel);
        if (succeeded(result))
            result = tool->checkPackets();
        if (succeeded(result) && succeeded(tool->m_Attributes.query(server.object(), kZxIdAttributes)))
            result = tool->readAttributes();
        return result;
    });
    if (!made.ok())
        return ResultOf<std::unique_ptr<Tool>>::failure("The tool '" + name + "' can't be used. "
                                                        + made.message);
    return {std::move(tool), {}};
}

ModuleTool::~ModuleTool()
{
    const PhaseScope phase(m_Binding, kEditPhase);
    m_Attributes.clear();
    m_Model.clear();
    m_Tool.clear();
}

/// A tool gets every packet that there is, so what it wants is only looked at.
zxresult ModuleTool::checkPackets() const
{
    ZxObject* type = nullptr;
    const zxresult result = m_Tool.call<&ZxToolTable::vectorType>(&type);
    CZxObject holder;
    holder.adopt(type);
    if (failed(result))
        return result == kZxNotFound ? kZxOk : result;
    return hostObject<VectorTypeObject>(type, m_Binding) ? kZxOk : kZxInvalidArgument;
}

zxresult ModuleTool::readAttributes()
{
    uint32_t count = 0;
    zxresult result = m_Attributes.call<&ZxAttributesTable::count>(&count);
    if (succeeded(result) && count > kAttributeLimit)
        result = kZxFailure;
    for (uint32_t i = 0; succeeded(result) && i < count; ++i) {
        const char *name = nullptr, *type = nullptr;
        result = m_Attributes.call<&ZxAttributesTable::name>(i, &name);
        if (succeeded(result))
            result = m_Attributes.call<&ZxAttributesTable::type>(i, &type);
        if (succeeded(result) && (!name || !type))
            result = kZxFailure;
        if (succeeded(result))
            m_AttributeList.push_back({name, std::strcmp(type, "float") != 0});
    }
    return result;
}

Enabled ModuleTool::enabled()
{
    const HeldObject message(m_Binding.make<MessageObject>());
    zxresult answered = kZxFailure;
    const Result asked = guarded(kEditPhase, "Its test", [&] {
        answered = m_Model.call<&ZxToolModelTable::enable>(message.face());
        return answered == kZxMessage ? kZxOk : answered;
    });
    if (answered == kZxMessage || (asked.ok() && answered == kZxFalse))
        return Enabled::no(message.object().sentence());
    return asked.ok()
        ? Enabled{}
        : Enabled::no("The tool '" + m_Name + "' can't tell whether it can be used. " + asked.message);
}

Result ModuleTool::reset()
{
    return guarded(kEditPhase, "Resetting it", [&] { return m_Tool.call<&ZxToolTable::reset>(); });
}

ResultOf<double> ModuleTool::number(int index)
{
    double out = 0;
    const Result read = guarded(kEditPhase, "Reading an attribute", [&] {
        const auto value =
            m_Attributes.fetch<&ZxAttributesTable::value, Value>(static_cast<uint32_t>(index), 0u);
        return value.call<&ZxValueTable::number>(&out);
    });
    return {out, read.message};
}

Result ModuleTool::setNumber(int index, double number)
{
    return guarded(kEditPhase, "Setting an attribute", [&] {
        const auto value =
            m_Attributes.fetch<&ZxAttributesTable::value, Value>(static_cast<uint32_t>(index), 1u);
        return m_AttributeList[static_cast<std::size_t>(index)].whole
            ? value.call<&ZxValueTable::setInteger>(integerOf(number))
            : value.call<&ZxValueTable::setNumber>(number);
    });
}

Result ModuleTool::initialise(const ToolEvent& event)
{
    const CallObject stack(m_Binding.make<VectorStackObject>(event));
    return guarded(kCommandPhase, "Initialising it",
                   [&] { return m_Model.call<&ZxToolModelTable::initialise>(stack.face()); });
}

template <auto Slot>
Result ModuleTool::record(const ToolEvent& event, Recorder& recorder, const char* what)
{
    const CallObject stack(m_Binding.make<VectorStackObject>(event));
    const CallObject draw(m_Binding.make<DrawObject>(recorder));
    return guarded(kDrawPhase, what, [&] { return m_Model.call<Slot>(stack.face(), draw.face()); });
}

Result ModuleTool::draw(const ToolEvent& event, Recorder& recorder)
{
    return record<&ZxToolModelTable::draw>(event, recorder, "Drawing it");
}

Result ModuleTool::hitTest(const ToolEvent& event, Recorder& recorder)
{
    return record<&ZxToolModelTable::hitTest>(event, recorder, "Its hit test");
}

template <auto Slot>
Result ModuleTool::handle(const ToolEvent& event, AdjustTool& adjust, const char* what)
{
    const CallObject stack(m_Binding.make<VectorStackObject>(event));
    const CallObject adjusts(m_Binding.make<AdjustToolObject>(adjust));
    return guarded(kCommandPhase, what, [&] { return m_Model.call<Slot>(stack.face(), adjusts.face()); });
}

Result ModuleTool::buttonDown(const ToolEvent& event, AdjustTool& adjust)
{
    return handle<&ZxToolModelTable::buttonDown>(event, adjust, "Pressing the button");
}

Result ModuleTool::move(const ToolEvent& event, AdjustTool& adjust)
{
    return handle<&ZxToolModelTable::move>(event, adjust, "A move");
}

Result ModuleTool::buttonUp(const ToolEvent& event, AdjustTool& adjust)
{
    return handle<&ZxToolModelTable::buttonUp>(event, adjust, "Releasing the button");
}

Result ModuleTool::evaluate(const ToolEvent& event)
{
    const CallObject stack(m_Binding.make<VectorStackObject>(event));
    return guarded(kCommandPhase, "Evaluating it",
                   [&] { return m_Tool.call<&ZxToolTable::evaluate>(stack.face()); });
}

void ModuleTool::dropped()
{
    (void)guarded(kEditPhase, "Dropping it", [&] { return m_Model.call<&ZxToolModelTable::dropped>(); });
}

} // namespace refhost
