// SPDX-License-Identifier: MIT
// Asks a module's command and runs it, with the arguments of an invocation.
#include "module/ModuleCommand.h"

#include "module/CommandObjects.h"
#include "module/LoadedModule.h"
#include "module/SceneObjects.h"
#include "refhost/Messages.h"

#include <algorithm>
#include <iterator>

namespace refhost {
namespace {

// No command has so many; a count beyond it is no count.
constexpr std::uint32_t kArgumentLimit = 1000, kNotifierLimit = 1000;

constexpr ArgumentType kTypes[] = {ArgumentType::Text, ArgumentType::Integer, ArgumentType::Number,
                                   ArgumentType::Boolean, ArgumentType::Item};

using Value = CZxLocalize<ZxValueTable>;

} // namespace

/// What one invocation runs.
struct ModuleCommand::Object {
    CZxLocalize<ZxCommandTable> command;
    CZxLocalize<ZxAttributesTable> attributes; ///< empty for a command without arguments
};

/// The invocation's arguments in the module's object for the length of a call.
class ModuleCommand::GivenArguments {
public:
    GivenArguments(const ModuleCommand& command, const Object& object, const Arguments& arguments)
        : m_Object(object), m_Count(static_cast<uint32_t>(arguments.count()))
    {
        m_Result = command.give(arguments, object);
    }
    ~GivenArguments()
    {
        for (uint32_t i = 0; i < m_Count; ++i)
            (void)m_Object.attributes.call<&ZxAttributesTable::clear>(i);
    }
    const Result& result() const { return m_Result; }
    GivenArguments(const GivenArguments&) = delete;
    GivenArguments& operator=(const GivenArguments&) = delete;

private:
    const Object& m_Object;
    uint32_t m_Count;
    Result m_Result;
};

ModuleCommand::ModuleCommand(HostBinding& binding, const LoadedModule& module, std::string name)
    : m_Binding(binding), m_Module(module), m_Name(std::move(name))
{
}

ResultOf<std::unique_ptr<ModuleCommand>> ModuleCommand::make(HostBinding& binding, const LoadedModule& module,
                                                             std::string name, const CZxObject& server)
{
    using Answer = ResultOf<std::unique_ptr<ModuleCommand>>;
    const PhaseScope phase(binding, kEditPhase); // flags of arguments may be asked for then alone
    std::unique_ptr<ModuleCommand> made(new ModuleCommand(binding, module, std::move(name)));
    CZxLocalize<ZxCommandTable> command;
    uint32_t flags = 0;
    if (failed(command.query(server.object(), kZxIdCommand))
        || failed(command.call<&ZxCommandTable::flags>(&flags)))
        return Answer::failure("its flags can't be read.");
    if (Result read = made->readArguments(server); !read.ok())
        return Answer::failure(std::move(read.message));
    if (Result read = made->readNotifiers(command); !read.ok())
        return Answer::failure(std::move(read.message));
    const Messages& messages = Messages::of(binding.host());
    const std::string table = made->m_Name + ".help";
    made->m_Summary = messages.contains(table, 0) ? messages.sentence(table, 0)
                                                  : "Command of the module '" + module.name() + "'.";
    for (std::size_t i = 0; i < made->m_Arguments.size(); ++i) {
        const auto number = static_cast<std::uint32_t>(i + 1);
        ArgumentSpec& argument = made->m_Arguments[i];
        argument.help = messages.contains(table, number)
            ? messages.sentence(table, number)
            : std::string("of type ") + argumentTypeText(argument.type);
    }
    return {std::move(made), {}};
}

Result ModuleCommand::readArguments(const CZxObject& server)
{
    CZxLocalize<ZxAttributesTable> attributes;
    if (failed(attributes.query(server.object(), kZxIdAttributes)))
        return {};
    uint32_t count = 0;
    if (failed(attributes.call<&ZxAttributesTable::count>(&count)) || count > kArgumentLimit)
        return Result::failure("the number of its arguments can't be read.");
    for (uint32_t i = 0; i < count; ++i) {
        const char *name = nullptr, *type = nullptr;
        uint32_t flags = 0;
        if (failed(attributes.call<&ZxAttributesTable::name>(i, &name)) || !name
            || failed(attributes.call<&ZxAttributesTable::type>(i, &type)) || !type
            || failed(attributes.call<&ZxAttributesTable::flags>(i, &flags)))
            return Result::failure("its argument " + std::to_string(i) + " can't be read.");
        const auto* known = std::find_if(std::begin(kTypes), std::end(kTypes), [&](ArgumentType each) {
            return std::string_view(argumentTypeText(each)) == type;
        });
        if (known == std::end(kTypes))
            return Result::failure("its argument '" + std::string(name) + "' is of the type '" + type
                                   + "', which this host doesn't have.");
        m_Arguments.push_back({.name = name,
                               .type = *known,
                               .required = !(flags & kZxArgumentOptional),
                               .mayBeUnknown = true,
                               .hidden = (flags & kZxArgumentHidden) != 0});
    }
    return {};
}

Result ModuleCommand::readNotifiers(const CZxLocalize<ZxCommandTable>& server)
{
    for (uint32_t i = 0; i < kNotifierLimit; ++i) {
        const char *name = nullptr, *argument = nullptr;
        const zxresult result = server.call<&ZxCommandTable::notifier>(i, &name, &argument);
        if (result == kZxOutOfRange)
            return {};
        if (failed(result) || !name || !argument)
            return Result::failure("its notifier " + std::to_string(i) + " can't be read.");
        m_Notifiers.push_back({name, argument});
    }
    return Result::failure("its list of notifiers doesn't end.");
}

ResultOf<ModuleCommand::Object*> ModuleCommand::objectOf(Invocation& invocation) const
{
    if (!invocation.state) {
        zxresult result = kZxOk;
        const CZxObject server = m_Module.makeServer(m_Name.c_str(), kZxIdCommand, result);
        const auto object = std::make_shared<Object>();
        if (succeeded(result))
            result = object->command.query(server.object(), kZxIdCommand);
        if (succeeded(result) && !m_Arguments.empty())
            result = object->attributes.query(server.object(), kZxIdAttributes);
        if (failed(result))
            return ResultOf<Object*>::failure("'" + m_Name + "' can't be made: " + resultText(result) + ".");
        invocation.state = object;
    }
    return {static_cast<Object*>(invocation.state.get()), {}};
}

Result ModuleCommand::give(const Arguments& arguments, const Object& object) const
{
    for (int i = 0; i < arguments.count(); ++i) {
        if (!arguments.isSet(i))
            continue;
        const ArgumentSpec& spec = arguments.spec(i);
        const auto value =
            object.attributes.fetch<&ZxAttributesTable::value, Value>(static_cast<uint32_t>(i), 1u);
        zxresult result = value ? kZxOk : kZxFailure;
        switch (value ? spec.type : ArgumentType::Text) {
        case ArgumentType::Text:
            if (value)
                result = value.call<&ZxValueTable::setText>(arguments.text(i).c_str());
            break;
        case ArgumentType::Integer:
        case ArgumentType::Boolean:
            result = value.call<&ZxValueTable::setInteger>(arguments.integer(i));
            break;
        case ArgumentType::Number:
            result = value.call<&ZxValueTable::setNumber>(arguments.number(i));
            break;
        case ArgumentType::Item:
            // An item that is not there leaves a value that is set and yields nothing.
            if (Item* item = arguments.item(i)) {
                CZxLocalize<ZxValueReferenceTable> reference;
                const HeldObject held(m_Binding.itemObject(*item));
                result = reference.query(value.object(), kZxIdValueReference);
                if (succeeded(result))
                    result = reference.call<&ZxValueReferenceTable::set>(held.face());
            }
            break;
        }
        if (failed(result))
            return Result::failure("'" + m_Name + "' doesn't take the argument '" + spec.name
                                   + "': " + resultText(result) + ".");
    }
    return {};
}

Enabled ModuleCommand::enabled(Invocation& invocation)
{
    const PhaseScope phase(m_Binding, kEditPhase);
    const TroubleScope account(m_Binding);
    const ResultOf<Object*> object = objectOf(invocation);
    if (!object.ok())
        return Enabled::no(object.message);
    const GivenArguments given(*this, *object.value, invocation.arguments());
    if (!given.result().ok())
        return Enabled::no(given.result().message);
    const HeldObject message(m_Binding.make<MessageObject>());
    const zxresult result = object.value->command.call<&ZxCommandTable::enable>(message.face());
    if (!account.trouble().empty())
        return Enabled::no("'" + m_Name + "' can't tell whether it may run: " + account.trouble());
    if (result == kZxTrue)
        return {};
    if (result == kZxFalse || result == kZxMessage)
        return Enabled::no(message.object().sentence());
    return Enabled::no("'" + m_Name + "' can't tell whether it may run: " + resultText(result) + ".");
}

Result ModuleCommand::execute(Invocation& invocation)
{
    const PhaseScope phase(m_Binding, kCommandPhase);
    const TroubleScope account(m_Binding);
    const ResultOf<Object*> object = objectOf(invocation);
    if (!object.ok())
        return object.result();
    const GivenArguments given(*this, *object.value, invocation.arguments());
    if (!given.result().ok())
        return given.result();
    const zxresult result = object.value->command.call<&ZxCommandTable::execute>(invocation.executionFlags);
    // What the host could not do, the command may have taken for an answer.
    if (!account.trouble().empty())
        return Result::failure("'" + m_Name + "' was taken back: " + account.trouble());
    return failed(result) ? Result::failure("'" + m_Name + "' failed: " + resultText(result) + ".")
                          : Result{};
}

std::string ModuleCommand::icon(Invocation& invocation)
{
    const PhaseScope phase(m_Binding, kEditPhase);
    const ResultOf<Object*> object = objectOf(invocation);
    if (!object.ok())
        return {};
    const GivenArguments given(*this, *object.value, invocation.arguments());
    const char* name = nullptr;
    return succeeded(object.value->command.call<&ZxCommandTable::icon>(&name)) && name ? name : "";
}

} // namespace refhost
