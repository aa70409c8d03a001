// SPDX-License-Identifier: MIT
// Which host an object of the module was made for: hosts of one process share the loaded module.
#pragma once

#include <glue/Adapter.h>
#include <glue/Reference.h>
#include <zx/ZxModule.h>

#include <memory>

using CZxLoc_Context = CZxLocalize<ZxContextTable>;

/// What all objects share that one module object made, directly or through each other.
class HostTie {
public:
    HostTie() = default;
    ~HostTie();
    /// Null takes the context back.
    zxresult setContext(ZxObject* context);
    /// Lets the context go without a word to the host, whose objects may be gone already.
    void abandonContext() { m_Context.detach(); }

    /// The context of the running call's host. An object of a host that gave it to another module object, or
    /// of none, has that of the host that gave one first. Empty when nobody did.
    static const CZxLoc_Context& contextAtWork();

    HostTie(const HostTie&) = delete;
    HostTie& operator=(const HostTie&) = delete;

private:
    CZxLoc_Context m_Context;
};

/// While it lives, the calling thread works for the host that the object behind `self` was made for, and what
/// is made meanwhile is made for the same one.
class TieScope {
public:
    explicit TieScope(ZxObject* self) noexcept;
    ~TieScope();
    /// The tie of the running call; null outside of any.
    static const std::shared_ptr<HostTie>& current();

    TieScope(const TieScope&) = delete;
    TieScope& operator=(const TieScope&) = delete;

private:
    const std::shared_ptr<HostTie>* m_Former;
};

/// As `thunk`, for objects of the module: it runs in their tie.
template <class T, auto Op>
struct TiedThunk;

template <class T, class Impl, class... A, zxresult (Impl::*Op)(A...)>
struct TiedThunk<T, Op> {
    static zxresult call(ZxObject* self, A... arguments) noexcept
    {
        const TieScope scope(self);
        return Thunk<T, Op>::call(self, arguments...);
    }
};

template <class T, auto Op>
inline constexpr auto tiedThunk = &TiedThunk<T, Op>::call;
