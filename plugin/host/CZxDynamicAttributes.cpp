// SPDX-License-Identifier: MIT
// The store of a command's arguments, or of a tool's settings.
#include "host/CZxDynamicAttributes.h"

#include "host/CZxGenericPolymorph.h"

#include <cmath>
#include <cstring>
#include <limits>

zxresult CZxArgumentValue::type(const char** type)
{
    *type = m_Type;
    return kZxOk;
}

zxresult CZxArgumentValue::integer(int32_t* value)
{
    if (!(std::fabs(m_Number) <= std::numeric_limits<int32_t>::max()))
        return kZxFailure;
    *value = static_cast<int32_t>(m_Number);
    return kZxOk;
}

zxresult CZxArgumentValue::number(double* value)
{
    *value = m_Number;
    return kZxOk;
}

zxresult CZxArgumentValue::text(const char** value)
{
    *value = m_Text.c_str();
    return kZxOk;
}

zxresult CZxArgumentValue::setInteger(int32_t value)
{
    m_Number = value;
    return kZxOk;
}

zxresult CZxArgumentValue::setNumber(double value)
{
    if (!std::isfinite(value))
        return kZxInvalidArgument;
    m_Number = value;
    return kZxOk;
}

zxresult CZxArgumentValue::setText(const char* value)
{
    m_Text = value;
    return kZxOk;
}

zxresult CZxArgumentValue::get(ZxObject** object)
{
    CZxObject copy = m_Object;
    *object = copy.detach();
    return *object ? kZxOk : kZxNotFound;
}

zxresult CZxArgumentValue::set(ZxObject* object)
{
    m_Object.share(object);
    return kZxOk;
}

CZxDynamicAttributes::CZxDynamicAttributes(std::span<const ArgumentRow> rows)
{
    for (const ArgumentRow& row : rows)
        m_Arguments.push_back({&row, row.flags, {}});
}

zxresult CZxDynamicAttributes::count(uint32_t* count)
{
    *count = static_cast<uint32_t>(m_Arguments.size());
    return kZxOk;
}

zxresult CZxDynamicAttributes::name(uint32_t index, const char** name)
{
    if (index >= m_Arguments.size())
        return kZxOutOfRange;
    *name = m_Arguments[index].row->name;
    return kZxOk;
}

zxresult CZxDynamicAttributes::type(uint32_t index, const char** type)
{
    if (index >= m_Arguments.size())
        return kZxOutOfRange;
    *type = m_Arguments[index].row->type;
    return kZxOk;
}

zxresult CZxDynamicAttributes::argumentFlags(uint32_t index, uint32_t* flags)
{
    if (index >= m_Arguments.size())
        return kZxOutOfRange;
    *flags = m_Arguments[index].flags;
    return kZxOk;
}

zxresult CZxDynamicAttributes::value(uint32_t index, uint32_t writing, ZxObject** value)
{
    if (index >= m_Arguments.size())
        return kZxOutOfRange;
    Argument& argument = m_Arguments[index];
    if (!argument.value) {
        CZxArgumentValue* made = nullptr;
        argument.value.adopt(spawnerOf<CZxArgumentValue>->spawn(&made));
        made->setType(argument.row->type);
        made->setNumber(argument.row->initial);
    }
    if (writing)
        argument.flags |= kZxArgumentIsSet;
    CZxObject copy = argument.value;
    *value = copy.detach();
    return kZxOk;
}

zxresult CZxDynamicAttributes::clear(uint32_t index)
{
    if (index >= m_Arguments.size())
        return kZxOutOfRange;
    m_Arguments[index].flags &= ~kZxArgumentIsSet;
    m_Arguments[index].value.clear();
    return kZxOk;
}

int32_t CZxDynamicAttributes::integer(uint32_t index) const
{
    const Argument& argument = m_Arguments[index];
    return argument.value ? argument.value.integer() : static_cast<int32_t>(argument.row->initial);
}

double CZxDynamicAttributes::number(uint32_t index) const
{
    const Argument& argument = m_Arguments[index];
    return argument.value ? argument.value.number() : argument.row->initial;
}

void CZxDynamicAttributes::setDefault(uint32_t index)
{
    CZxUser_Value value;
    ZxObject* made = nullptr;
    check(this->value(index, 1, &made));
    value.adopt(made);
    check(value.setNumber(m_Arguments[index].row->initial));
}
