// SPDX-License-Identifier: MIT
// Commands as modules see them: what each operation answers.
#include "module/CommandObjects.h"

#include "module/HostBinding.h"
#include "module/SceneObjects.h"
#include "refhost/Commands.h"
#include "refhost/Messages.h"
#include "refhost/Scene.h"

#include <cmath>

namespace refhost {
namespace {

/// By ArgumentType.
constexpr const char* kTypeTexts[] = {"text", "integer", "float", "boolean", "&item"};

zxresult resultOf(const CommandResult& result) { return result.ok() ? kZxOk : kZxFailure; }
zxresult resultOf(const Result& result) { return result.ok() ? kZxOk : kZxFailure; }

} // namespace

const char* argumentTypeText(ArgumentType type) { return kTypeTexts[static_cast<int>(type)]; }

// Messages

MessageObject::MessageObject(HostBinding& binding)
    : HostObject(binding, nullptr, kZxIdMessage, "Message", kTable.object, this)
{
}

std::string MessageObject::sentence() const
{
    return m_IsSet ? Messages::of(binding().host()).sentence(m_Table, m_Number) : std::string();
}

zxresult MessageObject::setCode(zxresult) { return kZxOk; } // the answer of the test says the same

zxresult MessageObject::setMessage(const char* table, uint32_t number)
{
    m_Table = table;
    m_Number = number;
    m_IsSet = true;
    return kZxOk;
}

constinit const ZxMessageTable MessageObject::kTable = {
    .object = HostObject::kOps,
    .setCode = hostSlot<MessageObject, &MessageObject::setCode, kEditPhase>,
    .setMessage = hostSlot<MessageObject, &MessageObject::setMessage, kEditPhase>,
};

// Commands to run

SpawnedCommandObject::SpawnedCommandObject(HostBinding& binding, std::unique_ptr<Invocation> invocation)
    : HostObject(binding, nullptr, kZxIdSpawnedCommand, "SpawnedCommand", kTable.object, this),
      m_Invocation(std::move(invocation))
{
}

ZxObject* SpawnedCommandObject::faceOf(const ZxId& id)
{
    return id == kZxIdAttributes ? m_Attributes.face() : nullptr;
}

void SpawnedCommandObject::markGone()
{
    HostObject::markGone();
    m_Invocation.reset();
}

zxresult SpawnedCommandObject::execute(uint32_t flags)
{
    const std::shared_ptr<Invocation> invocation = m_Invocation; // stays while it runs
    invocation->executionFlags = flags;
    return resultOf(Commands::of(binding().host()).execute(*invocation));
}

constinit const ZxSpawnedCommandTable SpawnedCommandObject::kTable = {
    .object = HostObject::kOps,
    .execute = hostSlot<SpawnedCommandObject, &SpawnedCommandObject::execute, kWritePhase>,
};

// Arguments

AttributesPart::AttributesPart(SpawnedCommandObject& owner) : ObjectPart(owner, kTable.object, this) { }

Arguments& AttributesPart::arguments() const
{
    return static_cast<SpawnedCommandObject&>(owner()).invocation()->arguments();
}

bool AttributesPart::has(uint32_t index) const { return index < static_cast<uint32_t>(arguments().count()); }

zxresult AttributesPart::count(uint32_t* count)
{
    *count = static_cast<uint32_t>(arguments().count());
    return kZxOk;
}

zxresult AttributesPart::name(uint32_t index, const char** name)
{
    if (!has(index))
        return kZxOutOfRange;
    *name = arguments().spec(static_cast<int>(index)).name.c_str();
    return kZxOk;
}

zxresult AttributesPart::type(uint32_t index, const char** type)
{
    if (!has(index))
        return kZxOutOfRange;
    *type = argumentTypeText(arguments().spec(static_cast<int>(index)).type);
    return kZxOk;
}

zxresult AttributesPart::flags(uint32_t index, uint32_t* flags)
{
    if (!has(index))
        return kZxOutOfRange;
    const ArgumentSpec& spec = arguments().spec(static_cast<int>(index));
    *flags = (spec.required ? 0 : kZxArgumentOptional) | (spec.hidden ? kZxArgumentHidden : 0)
        | (arguments().isSet(static_cast<int>(index)) ? kZxArgumentIsSet : 0);
    return kZxOk;
}

zxresult AttributesPart::value(uint32_t index, uint32_t writing, ZxObject** value)
{
    if (!has(index))
        return kZxOutOfRange;
    if (writing)
        arguments().markSet(static_cast<int>(index));
    *value = binding()
                 .make<ArgumentValueObject>(static_cast<SpawnedCommandObject&>(owner()).invocation(),
                                            static_cast<int>(index))
                 .face();
    return kZxOk;
}

zxresult AttributesPart::clear(uint32_t index)
{
    if (!has(index))
        return kZxOutOfRange;
    arguments().unset(static_cast<int>(index));
    return kZxOk;
}

constinit const ZxAttributesTable AttributesPart::kTable = {
    .object = HostObject::kOps,
    .count = hostSlot<AttributesPart, &AttributesPart::count, kLoadPhase | kEditPhase>,
    .name = hostSlot<AttributesPart, &AttributesPart::name, kLoadPhase | kEditPhase>,
    .type = hostSlot<AttributesPart, &AttributesPart::type, kLoadPhase | kEditPhase>,
    .flags = hostSlot<AttributesPart, &AttributesPart::flags, kEditPhase>,
    .value = hostSlot<AttributesPart, &AttributesPart::value, kEditPhase>,
    .clear = hostSlot<AttributesPart, &AttributesPart::clear, kEditPhase>,
};

ArgumentValueObject::ArgumentValueObject(HostBinding& binding, const std::shared_ptr<Invocation>& invocation,
                                         int index)
    : HostObject(binding, nullptr, kZxIdValue, "Value", kTable.object, this),
      m_Invocation(invocation),
      m_Index(index)
{
}

ZxObject* ArgumentValueObject::faceOf(const ZxId& id)
{
    const auto invocation = m_Invocation.lock();
    const bool refers = invocation && invocation->arguments().spec(m_Index).type == ArgumentType::Item;
    return refers && id == kZxIdValueReference ? m_Reference.face() : nullptr;
}

zxresult ArgumentValueObject::type(const char** type)
{
    const auto invocation = m_Invocation.lock();
    if (!invocation)
        return kZxNotAvailable;
    *type = argumentTypeText(invocation->arguments().spec(m_Index).type);
    return kZxOk;
}

zxresult ArgumentValueObject::integer(int32_t* value)
{
    const auto invocation = m_Invocation.lock();
    if (!invocation)
        return kZxNotAvailable;
    const Arguments& arguments = invocation->arguments();
    if (arguments.spec(m_Index).type == ArgumentType::Text
        || arguments.spec(m_Index).type == ArgumentType::Item
        || !(std::abs(arguments.number(m_Index)) < 2147483648.0))
        return kZxFailure;
    *value = arguments.integer(m_Index);
    return kZxOk;
}

zxresult ArgumentValueObject::number(double* value)
{
    const auto invocation = m_Invocation.lock();
    if (!invocation)
        return kZxNotAvailable;
    const Arguments& arguments = invocation->arguments();
    if (arguments.spec(m_Index).type == ArgumentType::Text
        || arguments.spec(m_Index).type == ArgumentType::Item)
        return kZxFailure;
    *value = arguments.number(m_Index);
    return kZxOk;
}

zxresult ArgumentValueObject::text(const char** value)
{
    const auto invocation = m_Invocation.lock();
    if (!invocation)
        return kZxNotAvailable;
    if (invocation->arguments().spec(m_Index).type != ArgumentType::Text)
        return kZxFailure;
    m_Text = invocation->arguments().text(m_Index);
    *value = m_Text.c_str();
    return kZxOk;
}

zxresult ArgumentValueObject::setInteger(int32_t value)
{
    const auto invocation = m_Invocation.lock();
    return invocation ? resultOf(invocation->arguments().setInteger(m_Index, value)) : kZxNotAvailable;
}

zxresult ArgumentValueObject::setNumber(double value)
{
    const auto invocation = m_Invocation.lock();
    if (!std::isfinite(value))
        return kZxInvalidArgument;
    return invocation ? resultOf(invocation->arguments().setNumber(m_Index, value)) : kZxNotAvailable;
}

zxresult ArgumentValueObject::setText(const char* value)
{
    const auto invocation = m_Invocation.lock();
    return invocation ? resultOf(invocation->arguments().setText(m_Index, value)) : kZxNotAvailable;
}

constinit const ZxValueTable ArgumentValueObject::kTable = {
    .object = HostObject::kOps,
    .type = hostSlot<ArgumentValueObject, &ArgumentValueObject::type, kEditPhase>,
    .integer = hostSlot<ArgumentValueObject, &ArgumentValueObject::integer, kEditPhase>,
    .number = hostSlot<ArgumentValueObject, &ArgumentValueObject::number, kEditPhase>,
    .text = hostSlot<ArgumentValueObject, &ArgumentValueObject::text, kEditPhase>,
    .setInteger = hostSlot<ArgumentValueObject, &ArgumentValueObject::setInteger, kEditPhase>,
    .setNumber = hostSlot<ArgumentValueObject, &ArgumentValueObject::setNumber, kEditPhase>,
    .setText = hostSlot<ArgumentValueObject, &ArgumentValueObject::setText, kEditPhase>,
};

ValueReferencePart::ValueReferencePart(ArgumentValueObject& owner)
    : ObjectPart(owner, kTable.object, this) { }

zxresult ValueReferencePart::get(ZxObject** object)
{
    const auto& value = static_cast<const ArgumentValueObject&>(owner());
    const auto invocation = value.invocation();
    if (!invocation)
        return kZxNotAvailable;
    Item* item = invocation->arguments().item(value.index());
    if (!item)
        return kZxNotFound;
    *object = binding().itemObject(*item).face();
    return kZxOk;
}

zxresult ValueReferencePart::set(ZxObject* object)
{
    const auto& value = static_cast<const ArgumentValueObject&>(owner());
    const auto invocation = value.invocation();
    if (!invocation)
        return kZxNotAvailable;
    if (!object) {
        invocation->arguments().unset(value.index());
        return kZxOk;
    }
    const auto* item = hostObject<ItemObject>(object, binding());
    if (!item)
        return kZxInvalidArgument;
    if (item->isGone() || item->references() == 0)
        return kZxNotAvailable;
    return resultOf(invocation->arguments().setItem(value.index(), *item->item()));
}

constinit const ZxValueReferenceTable ValueReferencePart::kTable = {
    .object = HostObject::kOps,
    .get = hostSlot<ValueReferencePart, &ValueReferencePart::get, kEditPhase>,
    .set = hostSlot<ValueReferencePart, &ValueReferencePart::set, kEditPhase, Nulls::Allowed>,
};

// The service

CommandServiceObject::CommandServiceObject(HostBinding& binding)
    : HostObject(binding, nullptr, kZxIdCommandService, "CommandService", kTable.object, this)
{
}

zxresult CommandServiceObject::spawn(const char* name, ZxObject** command)
{
    ResultOf<std::unique_ptr<Invocation>> made = Commands::of(binding().host()).spawn(name);
    if (!made.ok())
        return kZxNotFound;
    *command = binding().make<SpawnedCommandObject>(std::move(made.value)).face();
    return kZxOk;
}

zxresult CommandServiceObject::executeText(const char* line, uint32_t flags)
{
    return resultOf(Commands::of(binding().host()).execute(line, flags));
}

constinit const ZxCommandServiceTable CommandServiceObject::kTable = {
    .object = HostObject::kOps,
    .spawn = hostSlot<CommandServiceObject, &CommandServiceObject::spawn, kEditPhase>,
    .executeText = hostSlot<CommandServiceObject, &CommandServiceObject::executeText, kWritePhase>,
};

} // namespace refhost
