// SPDX-License-Identifier: MIT
// What tools implement for the host, and what they may do while an event is handled.
#pragma once

#include "host/HostTie.h"

#include <glue/Reference.h>
#include <zx/ZxTool.h>

class CZxImpl_Tool {
public:
    virtual ~CZxImpl_Tool() = default;
    virtual zxresult reset() { return kZxOk; }
    virtual zxresult evaluate(ZxObject*) { return kZxOk; }
    virtual zxresult vectorType(ZxObject**) { return kZxNotFound; }
    virtual zxresult order(const char** order)
    {
        *order = "";
        return kZxOk;
    }
    virtual zxresult task(uint32_t* code)
    {
        *code = 0;
        return kZxOk;
    }

    static constexpr const ZxId& id = kZxIdTool;
    template <class T>
    static constexpr ZxToolTable makeTable()
    {
        return {.object = {},
                .reset = tiedThunk<T, &CZxImpl_Tool::reset>,
                .evaluate = tiedThunk<T, &CZxImpl_Tool::evaluate>,
                .vectorType = tiedThunk<T, &CZxImpl_Tool::vectorType>,
                .order = tiedThunk<T, &CZxImpl_Tool::order>,
                .task = tiedThunk<T, &CZxImpl_Tool::task>};
    }
};
template <class T>
using CZxIfc_Tool = CZxAdapter<CZxImpl_Tool, T>;

class CZxImpl_ToolModel {
public:
    virtual zxresult flags(uint32_t* flags)
    {
        *flags = 0;
        return kZxOk;
    }
    virtual zxresult draw(ZxObject*, ZxObject*) { return kZxOk; }
    virtual zxresult hitTest(ZxObject*, ZxObject*) { return kZxOk; }
    virtual zxresult initialise(ZxObject*) { return kZxOk; }
    virtual zxresult buttonDown(ZxObject*, ZxObject*) { return kZxOk; }
    virtual zxresult move(ZxObject*, ZxObject*) { return kZxOk; }
    virtual zxresult buttonUp(ZxObject*, ZxObject*) { return kZxOk; }
    virtual zxresult dropped() { return kZxOk; }
    virtual zxresult enable(ZxObject*) { return kZxTrue; }

    static constexpr const ZxId& id = kZxIdToolModel;
    template <class T>
    static constexpr ZxToolModelTable makeTable()
    {
        return {.object = {},
                .flags = tiedThunk<T, &CZxImpl_ToolModel::flags>,
                .draw = tiedThunk<T, &CZxImpl_ToolModel::draw>,
                .hitTest = tiedThunk<T, &CZxImpl_ToolModel::hitTest>,
                .initialise = tiedThunk<T, &CZxImpl_ToolModel::initialise>,
                .buttonDown = tiedThunk<T, &CZxImpl_ToolModel::buttonDown>,
                .move = tiedThunk<T, &CZxImpl_ToolModel::move>,
                .buttonUp = tiedThunk<T, &CZxImpl_ToolModel::buttonUp>,
                .dropped = tiedThunk<T, &CZxImpl_ToolModel::dropped>,
                .enable = tiedThunk<T, &CZxImpl_ToolModel::enable>};
    }

protected:
    ~CZxImpl_ToolModel() = default;
};
template <class T>
using CZxIfc_ToolModel = CZxAdapter<CZxImpl_ToolModel, T>;

/// Given with each event.
class CZxUser_AdjustTool : public CZxLocalize<ZxAdjustToolTable> {
public:
    explicit CZxUser_AdjustTool(ZxObject* adjust) { query(adjust, kZxIdAdjustTool); }

    zxresult setNumber(uint32_t index, double value) const
    {
        return call<&ZxAdjustToolTable::setNumber>(index, value);
    }
    zxresult requestEvaluation() const { return call<&ZxAdjustToolTable::requestEvaluation>(); }
    zxresult endDrag() const { return call<&ZxAdjustToolTable::endDrag>(); }
};
