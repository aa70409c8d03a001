// SPDX-License-Identifier: MIT
// How an imported motion file is stored in a scene file.
#pragma once

#include "refhost/MotionImport.h"
#include "refhost/SceneFile.h"

namespace refhost {

DataKind motionSourceKind();

} // namespace refhost
