// SPDX-License-Identifier: MIT
// Which file a scene was read from or written to last, and whether it has changed since.
#pragma once

#include "refhost/Scene.h"

#include <string>

namespace refhost {

struct SceneFileState {
    std::string path; ///< empty for a scene that no file stands for
    std::uint64_t savedState = 0; ///< Journal::documentState when it was read or written

    /// The state of this scene, made at the first call.
    static SceneFileState& of(Scene& scene)
    {
        SceneFileState* known = scene.attachments().find<SceneFileState>();
        if (known)
            return *known;
        SceneFileState& made = scene.attachments().require<SceneFileState>();
        made.savedState = scene.journal().documentState();
        return made;
    }
    /// Whether saving would write something else than what is in the file.
    bool isChanged(const Scene& scene) const { return scene.journal().documentState() != savedState; }
};

} // namespace refhost
