// SPDX-License-Identifier: MIT
// Adapters: one interface of one class, as a table that another side can call.
#pragma once

#include "Thunk.h"

/// Base of adapters: the interface's identifier and its table, in a list in the order of adding.
class CZxInterface {
public:
    virtual ~CZxInterface() = default;

    const ZxId& id() const { return m_Id; }
    /// Table to put into the faces of objects; complete once `setObjectOps` was called.
    virtual const ZxObjectOps* table() const = 0;
    /// Gives the table the three operations at its head, which belong to whoever counts the references.
    virtual void setObjectOps(const ZxObjectOps& ops) = 0;

    CZxInterface* next = nullptr; ///< the adapter added behind this one

protected:
    explicit CZxInterface(const ZxId& id) : m_Id(id) { }

private:
    ZxId m_Id;
};

/// Presents the operations of `Impl` on class `T`, which derives from it. `Impl` declares `id` and, for any
/// T, `table<T>`.
template <class Impl, class T>
class CZxAdapter final : public CZxInterface {
public:
    CZxAdapter() : CZxInterface(Impl::id) { }

    const ZxObjectOps* table() const override { return &m_Table.object; }
    void setObjectOps(const ZxObjectOps& ops) override { m_Table.object = ops; }

private:
    decltype(Impl::template makeTable<T>()) m_Table = Impl::template makeTable<T>();
};
