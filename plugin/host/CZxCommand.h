// SPDX-License-Identifier: MIT
// What commands implement for the host, and how they run other commands.
#pragma once

#include "host/CZxItem.h"
#include "host/HostTie.h"

#include <zx/ZxCommand.h>

class CZxImpl_Command {
public:
    virtual ~CZxImpl_Command() = default;
    virtual zxresult execute(uint32_t) { return kZxFailure; }
    virtual zxresult flags(uint32_t* flags)
    {
        *flags = 0;
        return kZxOk;
    }
    virtual zxresult notifier(uint32_t, const char**, const char**) { return kZxOutOfRange; }
    virtual zxresult enable(ZxObject*) { return kZxTrue; }
    virtual zxresult icon(const char**) { return kZxNotFound; }

    static constexpr const ZxId& id = kZxIdCommand;
    template <class T>
    static constexpr ZxCommandTable makeTable()
    {
        return {.object = {},
                .execute = tiedThunk<T, &CZxImpl_Command::execute>,
                .flags = tiedThunk<T, &CZxImpl_Command::flags>,
                .notifier = tiedThunk<T, &CZxImpl_Command::notifier>,
                .enable = tiedThunk<T, &CZxImpl_Command::enable>,
                .icon = tiedThunk<T, &CZxImpl_Command::icon>};
    }
};
template <class T>
using CZxIfc_Command = CZxAdapter<CZxImpl_Command, T>;

class CZxImpl_Attributes {
public:
    virtual zxresult count(uint32_t* count)
    {
        *count = 0;
        return kZxOk;
    }
    virtual zxresult name(uint32_t, const char**) { return kZxOutOfRange; }
    virtual zxresult type(uint32_t, const char**) { return kZxOutOfRange; }
    virtual zxresult argumentFlags(uint32_t, uint32_t*) { return kZxOutOfRange; }
    virtual zxresult value(uint32_t, uint32_t, ZxObject**) { return kZxOutOfRange; }
    virtual zxresult clear(uint32_t) { return kZxOutOfRange; }

    static constexpr const ZxId& id = kZxIdAttributes;
    template <class T>
    static constexpr ZxAttributesTable makeTable()
    {
        return {.object = {},
                .count = tiedThunk<T, &CZxImpl_Attributes::count>,
                .name = tiedThunk<T, &CZxImpl_Attributes::name>,
                .type = tiedThunk<T, &CZxImpl_Attributes::type>,
                .flags = tiedThunk<T, &CZxImpl_Attributes::argumentFlags>,
                .value = tiedThunk<T, &CZxImpl_Attributes::value>,
                .clear = tiedThunk<T, &CZxImpl_Attributes::clear>};
    }

protected:
    ~CZxImpl_Attributes() = default;
};
template <class T>
using CZxIfc_Attributes = CZxAdapter<CZxImpl_Attributes, T>;

class CZxImpl_AttributesUI {
public:
    virtual zxresult argumentEnabled(uint32_t, ZxObject*) { return kZxTrue; }
    virtual zxresult argumentLabel(uint32_t, const char**) { return kZxNotFound; }

    static constexpr const ZxId& id = kZxIdAttributesUI;
    template <class T>
    static constexpr ZxAttributesUITable makeTable()
    {
        return {.object = {},
                .enabled = tiedThunk<T, &CZxImpl_AttributesUI::argumentEnabled>,
                .label = tiedThunk<T, &CZxImpl_AttributesUI::argumentLabel>};
    }

protected:
    ~CZxImpl_AttributesUI() = default;
};
template <class T>
using CZxIfc_AttributesUI = CZxAdapter<CZxImpl_AttributesUI, T>;

class CZxImpl_Value {
public:
    virtual ~CZxImpl_Value() = default;
    virtual zxresult type(const char** type) = 0;
    virtual zxresult integer(int32_t* value) = 0;
    virtual zxresult number(double* value) = 0;
    virtual zxresult text(const char** value) = 0;
    virtual zxresult setInteger(int32_t value) = 0;
    virtual zxresult setNumber(double value) = 0;
    virtual zxresult setText(const char* value) = 0;

    static constexpr const ZxId& id = kZxIdValue;
    template <class T>
    static constexpr ZxValueTable makeTable()
    {
        return {.object = {},
                .type = tiedThunk<T, &CZxImpl_Value::type>,
                .integer = tiedThunk<T, &CZxImpl_Value::integer>,
                .number = tiedThunk<T, &CZxImpl_Value::number>,
                .text = tiedThunk<T, &CZxImpl_Value::text>,
                .setInteger = tiedThunk<T, &CZxImpl_Value::setInteger>,
                .setNumber = tiedThunk<T, &CZxImpl_Value::setNumber>,
                .setText = tiedThunk<T, &CZxImpl_Value::setText>};
    }
};
template <class T>
using CZxIfc_Value = CZxAdapter<CZxImpl_Value, T>;

class CZxImpl_ValueReference {
public:
    virtual zxresult get(ZxObject** object) = 0;
    virtual zxresult set(ZxObject* object) = 0;

    static constexpr const ZxId& id = kZxIdValueReference;
    template <class T>
    static constexpr ZxValueReferenceTable makeTable()
    {
        return {.object = {},
                .get = tiedThunk<T, &CZxImpl_ValueReference::get>,
                .set = tiedThunk<T, &CZxImpl_ValueReference::set>};
    }

protected:
    ~CZxImpl_ValueReference() = default;
};
template <class T>
using CZxIfc_ValueReference = CZxAdapter<CZxImpl_ValueReference, T>;

/// The message that a refused command leaves.
class CZxUser_Message : public CZxLocalize<ZxMessageTable> {
public:
    /// Fills in the failure code and the message, and gives that code as the answer of the test.
    zxresult refuse(const char* table, uint32_t number) const
    {
        call<&ZxMessageTable::setCode>(kZxMessage);
        call<&ZxMessageTable::setMessage>(table, number);
        return kZxMessage;
    }
};

class CZxUser_ValueReference : public CZxLocalize<ZxValueReferenceTable> {
public:
    CZxUser_Item item() const
    {
        CZxUser_Item item;
        item.query(fetch<&ZxValueReferenceTable::get, CZxObject>().object(), kZxIdItem);
        return item;
    }
    zxresult set(const CZxUser_Item& item) const { return call<&ZxValueReferenceTable::set>(item.object()); }
};

class CZxUser_Value : public CZxLocalize<ZxValueTable> {
public:
    /// 0 when nothing was set.
    int32_t integer() const
    {
        int32_t value = 0;
        return succeeded(call<&ZxValueTable::integer>(&value)) ? value : 0;
    }
    /// 0 when nothing was set.
    double number() const
    {
        double value = 0;
        return succeeded(call<&ZxValueTable::number>(&value)) ? value : 0;
    }
    zxresult setInteger(int32_t value) const { return call<&ZxValueTable::setInteger>(value); }
    zxresult setNumber(double value) const { return call<&ZxValueTable::setNumber>(value); }
    CZxUser_ValueReference reference() const
    {
        CZxUser_ValueReference reference;
        reference.query(object(), kZxIdValueReference);
        return reference;
    }
};

class CZxUser_Attributes : public CZxLocalize<ZxAttributesTable> {
public:
    CZxUser_Value value(uint32_t index, bool writing) const
    {
        return fetch<&ZxAttributesTable::value, CZxUser_Value>(index, writing ? 1u : 0u);
    }
};

/// A command of the host's list.
class CZxUser_Command : public CZxLocalize<ZxSpawnedCommandTable> {
public:
    CZxUser_Value argument(uint32_t index) const
    {
        CZxUser_Attributes attributes;
        attributes.query(object(), kZxIdAttributes);
        return attributes.value(index, true);
    }
    void setInteger(uint32_t index, int32_t value) const { check(argument(index).setInteger(value)); }
    void setNumber(uint32_t index, double value) const { check(argument(index).setNumber(value)); }
    void setItem(uint32_t index, const CZxUser_Item& item) const
    {
        check(argument(index).reference().set(item));
    }
    /// Runs it as a part of the command that is running. An inner command that is refused changes nothing and
    /// fails nobody.
    void executeInside() const { call<&ZxSpawnedCommandTable::execute>(kInside); }

    static constexpr uint32_t kInside = 0x109;
};
