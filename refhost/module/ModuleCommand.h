// SPDX-License-Identifier: MIT
// A module's command in the host's list.
#pragma once

#include "module/HostBinding.h"
#include "refhost/Command.h"

#include <glue/Reference.h>
#include <zx/ZxCommand.h>

#include <memory>
#include <string>
#include <vector>

namespace refhost {

class LoadedModule;

/// Each invocation has an object of the server to itself, so that commands may run each other. Sentences
/// about it stand in the message table `NAME.help`: 0 for the summary, from 1 on for the arguments.
class ModuleCommand final : public Command {
public:
    /// Reads what the server says of itself. The message names what can't be used.
    static ResultOf<std::unique_ptr<ModuleCommand>> make(HostBinding& binding, const LoadedModule& module,
                                                         std::string name, const CZxObject& server);

    const std::string& name() const override { return m_Name; }
    const std::string& summary() const override { return m_Summary; }
    const std::vector<ArgumentSpec>& arguments() const override { return m_Arguments; }
    const std::vector<Notifier>& notifiers() const override { return m_Notifiers; }
    Enabled enabled(Invocation& invocation) override;
    Result execute(Invocation& invocation) override;
    std::string icon(Invocation& invocation) override;

private:
    struct Object;
    class GivenArguments;
    ModuleCommand(HostBinding& binding, const LoadedModule& module, std::string name);

    Result readArguments(const CZxObject& server);
    Result readNotifiers(const CZxLocalize<ZxCommandTable>& server);
    ResultOf<Object*> objectOf(Invocation& invocation) const;
    Result give(const Arguments& arguments, const Object& object) const;

    HostBinding& m_Binding;
    const LoadedModule& m_Module;
    std::string m_Name, m_Summary;
    std::vector<ArgumentSpec> m_Arguments;
    std::vector<Notifier> m_Notifiers;
};

} // namespace refhost
