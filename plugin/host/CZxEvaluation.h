// SPDX-License-Identifier: MIT
// What modifiers and their nodes implement for the host, and the channels and matrices that they are handed.
#pragma once

#include "host/CZxItem.h"
#include "host/HostTie.h"

#include <sinew/Matrix4d.h>
#include <zx/ZxEvaluation.h>

#include <cstring>

class CZxImpl_EvalModifier {
public:
    virtual ~CZxImpl_EvalModifier() = default;
    virtual zxresult reset(ZxObject*) { return kZxNotAvailable; }
    virtual zxresult next(ZxObject** item, uint32_t*)
    {
        *item = nullptr;
        return kZxOk;
    }
    virtual zxresult allocate(ZxObject*, uint32_t, ZxObject*, ZxObject**) { return kZxFailure; }

    static constexpr const ZxId& id = kZxIdEvalModifier;
    template <class T>
    static constexpr ZxEvalModifierTable makeTable()
    {
        return {.object = {},
                .reset = tiedThunk<T, &CZxImpl_EvalModifier::reset>,
                .next = tiedThunk<T, &CZxImpl_EvalModifier::next>,
                .allocate = tiedThunk<T, &CZxImpl_EvalModifier::allocate>};
    }
};
template <class T>
using CZxIfc_EvalModifier = CZxAdapter<CZxImpl_EvalModifier, T>;

class CZxImpl_Modifier {
public:
    virtual ~CZxImpl_Modifier() = default;
    virtual zxresult evaluate() { return kZxOk; }
    virtual zxresult test(ZxObject*, uint32_t) { return kZxFalse; }
    virtual zxresult begin() { return kZxOk; }
    virtual zxresult end() { return kZxOk; }
    virtual zxresult timeJumped() { return kZxOk; }
    virtual zxresult figure(const char* name, double* value)
    {
        for (const Figure& figure : m_Figures) {
            if (figure.name && std::strcmp(figure.name, name) == 0) {
                *value = figure.value;
                return kZxOk;
            }
        }
        return kZxNotFound;
    }

    static constexpr const ZxId& id = kZxIdModifier;
    template <class T>
    static constexpr ZxModifierTable makeTable()
    {
        return {.object = {},
                .evaluate = tiedThunk<T, &CZxImpl_Modifier::evaluate>,
                .test = tiedThunk<T, &CZxImpl_Modifier::test>,
                .begin = tiedThunk<T, &CZxImpl_Modifier::begin>,
                .end = tiedThunk<T, &CZxImpl_Modifier::end>,
                .timeJumped = tiedThunk<T, &CZxImpl_Modifier::timeJumped>,
                .figure = tiedThunk<T, &CZxImpl_Modifier::figure>};
    }

protected:
    /// Notes a figure about this evaluation; the name must be a literal. At most four different ones are
    /// kept.
    void noteFigure(const char* name, double value)
    {
        for (Figure& figure : m_Figures) {
            if (!figure.name || figure.name == name) {
                figure = {name, value};
                return;
            }
        }
    }

private:
    struct Figure {
        const char* name;
        double value;
    };
    Figure m_Figures[4] = {};
};
template <class T>
using CZxIfc_Modifier = CZxAdapter<CZxImpl_Modifier, T>;

/// A matrix value. The 3x3 part passes as the transposed block of a Matrix4d, the offset as its last row.
class CZxUser_Matrix : public CZxLocalize<ZxMatrixTable> {
public:
    zxresult get3x3(double* nine) const { return call<&ZxMatrixTable::get3x3>(nine); }
    zxresult getOffset(double* three) const { return call<&ZxMatrixTable::getOffset>(three); }
    zxresult set3x3(const double* nine) const { return call<&ZxMatrixTable::set3x3>(nine); }
    zxresult setOffset(const double* three) const { return call<&ZxMatrixTable::setOffset>(three); }

    /// Reads the 3x3 part into the block of `matrix`. Throws the host's failure.
    void readBlock(Sinew::Matrix4d& matrix) const
    {
        double nine[9];
        check(get3x3(nine));
        matrix.set3x3(nine);
    }
    /// Reads the offset into the last row of `matrix`. Throws the host's failure.
    void readTranslation(Sinew::Matrix4d& matrix) const
    {
        double three[3];
        check(getOffset(three));
        matrix.setTranslation(three[0], three[1], three[2]);
    }
    /// Writes the block of `matrix` into the 3x3 part. Throws the host's failure.
    void writeBlock(const Sinew::Matrix4d& matrix) const
    {
        double nine[9];
        matrix.get3x3(nine);
        check(set3x3(nine));
    }
    /// Writes the last row of `matrix` into the offset. Throws the host's failure.
    void writeTranslation(const Sinew::Matrix4d& matrix) const { check(setOffset(matrix[3])); }
};

class CZxUser_Evaluation : public CZxLocalize<ZxEvaluationTable> {
public:
    /// Adds a channel and gives its index; `mode` is kZxRead, kZxWrite or kZxReadWrite. Throws the host's
    /// failure.
    uint32_t addChannel(const CZxUser_Item& item, const char* channel, uint32_t mode) const
    {
        uint32_t index = 0;
        check(call<&ZxEvaluationTable::addChannel>(item, channel, mode, &index));
        return index;
    }
    zxresult readInteger(uint32_t index, int32_t* value) const
    {
        return call<&ZxEvaluationTable::readInteger>(index, value);
    }
    /// 0 when the read fails.
    int32_t integer(uint32_t index) const
    {
        int32_t value = 0;
        return succeeded(readInteger(index, &value)) ? value : 0;
    }
    /// Off when the read fails.
    bool isOn(uint32_t index) const { return integer(index) != 0; }
    /// 0 when the read fails.
    double number(uint32_t index) const
    {
        double value = 0;
        return succeeded(call<&ZxEvaluationTable::readDouble>(index, &value)) ? value : 0;
    }
    /// As `number`, narrowed.
    float single(uint32_t index) const { return static_cast<float>(number(index)); }
    /// Throws the host's failure.
    CZxUser_Matrix matrix(uint32_t index, bool writing) const
    {
        CZxUser_Matrix matrix;
        ZxObject* found = nullptr;
        check(call<&ZxEvaluationTable::matrix>(index, writing ? 1u : 0u, &found));
        matrix.adopt(found);
        return matrix;
    }
};
