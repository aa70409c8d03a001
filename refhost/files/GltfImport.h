// SPDX-License-Identifier: MIT
// A glTF file's nodes into a scene.
#pragma once

#include "formats/Gltf.h"
#include "refhost/MotionImport.h"

namespace refhost {

/// Makes a locator of every node inside the open step; throws ImportFault.
MotionImport importGltf(Scene& scene, const formats::Gltf& gltf, const MotionImportOptions& options);

/// The reader's word for it.
formats::OffsetRule offsetRule(OffsetReading reading);

} // namespace refhost
