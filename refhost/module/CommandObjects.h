// SPDX-License-Identifier: MIT
// Commands as modules see them: messages of a refusal, other commands to run, and their arguments.
#pragma once

#include "module/HostObject.h"
#include "refhost/Command.h"

#include <zx/ZxCommand.h>

#include <memory>
#include <string>

namespace refhost {

class MessageObject final : public HostObject {
public:
    explicit MessageObject(HostBinding& binding);

    /// The sentence that table and number stand for; empty when none was set.
    std::string sentence() const;

    zxresult setCode(zxresult code);
    zxresult setMessage(const char* table, uint32_t number);

    static const ZxMessageTable kTable;

private:
    std::string m_Table;
    uint32_t m_Number = 0;
    bool m_IsSet = false;
};

class SpawnedCommandObject;

class AttributesPart final : public ObjectPart {
public:
    explicit AttributesPart(SpawnedCommandObject& owner);

    zxresult count(uint32_t* count);
    zxresult name(uint32_t index, const char** name);
    zxresult type(uint32_t index, const char** type);
    zxresult flags(uint32_t index, uint32_t* flags);
    zxresult value(uint32_t index, uint32_t writing, ZxObject** value);
    zxresult clear(uint32_t index);

    static const ZxAttributesTable kTable;

private:
    Arguments& arguments() const;
    bool has(uint32_t index) const;
};

class SpawnedCommandObject final : public HostObject {
public:
    SpawnedCommandObject(HostBinding& binding, std::unique_ptr<Invocation> invocation);

    const std::shared_ptr<Invocation>& invocation() const { return m_Invocation; }
    bool runs(const Command& command) const { return m_Invocation && &m_Invocation->command() == &command; }
    ZxObject* faceOf(const ZxId& id) override;
    void markGone() override;

    zxresult execute(uint32_t flags);

    static const ZxSpawnedCommandTable kTable;

private:
    std::shared_ptr<Invocation> m_Invocation;
    AttributesPart m_Attributes{*this};
};

class ArgumentValueObject;

class ValueReferencePart final : public ObjectPart {
public:
    explicit ValueReferencePart(ArgumentValueObject& owner);

    zxresult get(ZxObject** object);
    zxresult set(ZxObject* object);

    static const ZxValueReferenceTable kTable;
};

/// One argument of a spawned command; deaf once that is gone.
class ArgumentValueObject final : public HostObject {
public:
    ArgumentValueObject(HostBinding& binding, const std::shared_ptr<Invocation>& invocation, int index);

    int index() const { return m_Index; }
    std::shared_ptr<Invocation> invocation() const { return m_Invocation.lock(); }
    ZxObject* faceOf(const ZxId& id) override;

    zxresult type(const char** type);
    zxresult integer(int32_t* value);
    zxresult number(double* value);
    zxresult text(const char** value);
    zxresult setInteger(int32_t value);
    zxresult setNumber(double value);
    zxresult setText(const char* value);

    static const ZxValueTable kTable;

private:
    std::weak_ptr<Invocation> m_Invocation;
    int m_Index;
    std::string m_Text;
    ValueReferencePart m_Reference{*this};
};

class CommandServiceObject final : public HostObject {
public:
    explicit CommandServiceObject(HostBinding& binding);

    zxresult spawn(const char* name, ZxObject** command);
    zxresult executeText(const char* line, uint32_t flags);

    static const ZxCommandServiceTable kTable;
};

/// The name that modules have for a type of arguments.
const char* argumentTypeText(ArgumentType type);

} // namespace refhost
