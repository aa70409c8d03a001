// SPDX-License-Identifier: MIT
// A module's tool in the host's list.
#pragma once

#include "module/HostBinding.h"
#include "refhost/Tool.h"

#include <glue/Reference.h>
#include <zx/ZxCommand.h>
#include <zx/ZxTool.h>

#include <memory>
#include <string>
#include <vector>

namespace refhost {

class LoadedModule;

/// One object of a tool server.
class ModuleTool final : public Tool {
public:
    static ResultOf<std::unique_ptr<Tool>> make(HostBinding& binding, const LoadedModule& module,
                                                const std::string& name);
    ~ModuleTool() override;

    Enabled enabled() override;
    Result reset() override;
    const std::vector<ToolAttribute>& attributes() const override { return m_AttributeList; }
    ResultOf<double> number(int index) override;
    Result setNumber(int index, double value) override;
    Result initialise(const ToolEvent& event) override;
    Result draw(const ToolEvent& event, Recorder& recorder) override;
    Result hitTest(const ToolEvent& event, Recorder& recorder) override;
    Result buttonDown(const ToolEvent& event, AdjustTool& adjust) override;
    Result move(const ToolEvent& event, AdjustTool& adjust) override;
    Result buttonUp(const ToolEvent& event, AdjustTool& adjust) override;
    Result evaluate(const ToolEvent& event) override;
    void dropped() override;

private:
    ModuleTool(HostBinding& binding, std::string name) : m_Binding(binding), m_Name(std::move(name)) { }
    zxresult checkPackets() const;
    zxresult readAttributes();
    template <class Call>
    Result guarded(Phase phase, const char* what, const Call& call);
    template <auto Slot>
    Result handle(const ToolEvent& event, AdjustTool& adjust, const char* what);
    template <auto Slot>
    Result record(const ToolEvent& event, Recorder& recorder, const char* what);

    HostBinding& m_Binding;
    std::string m_Name;
    CZxLocalize<ZxToolTable> m_Tool;
    CZxLocalize<ZxToolModelTable> m_Model;
    CZxLocalize<ZxAttributesTable> m_Attributes; // empty for a tool without attributes
    std::vector<ToolAttribute> m_AttributeList;
};

class ModuleToolMaker final : public ToolMaker {
public:
    ModuleToolMaker(HostBinding& binding, const LoadedModule& module, std::string name)
        : m_Binding(binding), m_Module(module), m_Name(std::move(name))
    {
    }
    const std::string& name() const override { return m_Name; }
    ResultOf<std::unique_ptr<Tool>> make() override { return ModuleTool::make(m_Binding, m_Module, m_Name); }

private:
    HostBinding& m_Binding;
    const LoadedModule& m_Module;
    std::string m_Name;
};

} // namespace refhost
