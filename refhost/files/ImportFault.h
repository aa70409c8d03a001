// SPDX-License-Identifier: MIT
// How an importer gives up: the step that it runs in takes everything back.
#pragma once

#include "refhost/Result.h"

#include <string>
#include <utility>

namespace refhost {

/// Thrown inside an import; the text is for the user.
struct ImportFault {
    std::string text;
};

inline void require(Result result)
{
    if (!result.ok())
        throw ImportFault{std::move(result.message)};
}

template <class T>
T require(ResultOf<T> result)
{
    if (!result.ok())
        throw ImportFault{std::move(result.message)};
    return std::move(result.value);
}

} // namespace refhost
