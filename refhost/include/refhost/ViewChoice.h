// SPDX-License-Identifier: MIT
// Which camera the user's commands chose for the tool's view.
#pragma once

#include "refhost/View.h"

#include <optional>

namespace refhost {

class Host;

struct ViewChoice {
    std::optional<Camera> camera; ///< empty until one was chosen; then it is the front
    UpAxis up = UpAxis::Y;
    bool framed = false; ///< it shows what there was to be shown, or what the user named

    /// That of the desk that the calling thread is at.
    static ViewChoice& of(Host& host);
    /// Takes a camera and shows everything with it; the rectangle stays. One that is in use stays as it is.
    void look(Host& host, Camera wanted);
    /// Shows everything, unless it was framed before; what a gesture does first.
    void settle(Host& host);
};

} // namespace refhost
