// SPDX-License-Identifier: MIT
// From a table slot to a member function: one forwarding template, which no exception passes.
#pragma once

#include <zx/ZxTypes.h>

#include <new>

/// The head of every object that this side implements: what the other side sees, and what stands behind it.
struct ZxFace {
    ZxObject host; ///< must come first: its address is the object that the other side holds
    void* object =
        nullptr; ///< the implementing object, as the pointer type that the thunks of its tables name
    void* owner = nullptr; ///< who counts the references
};

/// The implementing object of type T behind an interface pointer.
template <class T>
inline T* objectBehind(ZxObject* self)
{
    return static_cast<T*>(reinterpret_cast<ZxFace*>(self)->object);
}

/// Slot function that calls member function `Op` on the T behind `self`. Exceptions become results: a thrown
/// zxresult itself, bad_alloc out of memory, anything else the general failure.
template <class T, auto Op>
struct Thunk;

template <class T, class Impl, class... A, zxresult (Impl::*Op)(A...)>
struct Thunk<T, Op> {
    static zxresult call(ZxObject* self, A... arguments) noexcept
    {
        try {
            return (objectBehind<T>(self)->*Op)(arguments...);
        } catch (zxresult code) {
            return code;
        } catch (const std::bad_alloc&) {
            return kZxOutOfMemory;
        } catch (...) {
            return kZxFailure;
        }
    }
};

template <class T, auto Op>
inline constexpr auto thunk = &Thunk<T, Op>::call;
