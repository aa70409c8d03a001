// SPDX-License-Identifier: MIT
// The store of a command's arguments, or of a tool's settings, and the values in it.
#pragma once

#include "host/CZxCommand.h"

#include <span>
#include <string>
#include <vector>

/// One argument, as a fact.
struct ArgumentRow {
    const char* name;
    const char* type; ///< "integer", "boolean", "float", "text" or "&item"
    uint32_t flags; ///< kZxArgumentOptional and kZxArgumentHidden
    double initial = 0; ///< what it reads while it isn't set
};

/// The value of one argument, which the host fills in.
class CZxArgumentValue final : public CZxImpl_Value, public CZxImpl_ValueReference {
public:
    zxresult type(const char** type) override;
    zxresult integer(int32_t* value) override;
    zxresult number(double* value) override;
    zxresult text(const char** value) override;
    zxresult setInteger(int32_t value) override;
    zxresult setNumber(double value) override;
    zxresult setText(const char* value) override;
    zxresult get(ZxObject** object) override;
    zxresult set(ZxObject* object) override;

    void setType(const char* literal) { m_Type = literal; }

private:
    const char* m_Type = "integer";
    double m_Number = 0;
    std::string m_Text;
    CZxObject m_Object;
};

/// Arguments that are declared as rows of a table.
class CZxDynamicAttributes : public CZxImpl_Attributes {
public:
    zxresult count(uint32_t* count) override;
    zxresult name(uint32_t index, const char** name) override;
    zxresult type(uint32_t index, const char** type) override;
    zxresult argumentFlags(uint32_t index, uint32_t* flags) override;
    zxresult value(uint32_t index, uint32_t writing, ZxObject** value) override;
    zxresult clear(uint32_t index) override;

protected:
    explicit CZxDynamicAttributes(std::span<const ArgumentRow> rows);
    ~CZxDynamicAttributes() = default;

    bool isSet(uint32_t index) const { return (m_Arguments[index].flags & kZxArgumentIsSet) != 0; }
    /// The initial value for an argument that is not set.
    int32_t integer(uint32_t index) const;
    /// The initial value for an argument that is not set.
    double number(uint32_t index) const;
    /// Sets the initial value.
    void setDefault(uint32_t index);
    /// Empty for an argument that is not set or yields no item.
    CZxUser_Item item(uint32_t index) const { return m_Arguments[index].value.reference().item(); }

private:
    struct Argument {
        const ArgumentRow* row;
        uint32_t flags;
        CZxUser_Value value; ///< made when it is first asked for
    };
    std::vector<Argument> m_Arguments;
};
