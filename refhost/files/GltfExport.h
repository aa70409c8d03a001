// SPDX-License-Identifier: MIT
// The evaluated motion of an imported glTF file back into it.
#pragma once

#include "refhost/MotionImport.h"

namespace refhost {

/// The file's bytes with the scene's motion in the place of its first animation.
ResultOf<MotionExport> exportGltf(Scene& scene, const MotionSource& source, std::string& out);

} // namespace refhost
