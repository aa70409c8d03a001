// SPDX-License-Identifier: MIT
// The keys of an item's own channels as a track of a glTF node.
#pragma once

#include "files/ExportFigure.h"
#include "formats/Gltf.h"

#include <vector>

namespace refhost {

/// A property that was edited on its own channels. `original` is its track in the file, null where it has
/// none. Keys stand at the file's times and where the user has set some; steps and splines stay what they
/// are. What glTF can't say, such as turns beyond half a circle and kinds of curves side by side, gets keys
/// in between. With times given the keys stand there instead. A property without keys has one at `start`.
formats::GltfTrack keyedTrack(const ExportJoint& joint, int node, formats::GltfPath path,
                              const formats::GltfTrack* original, const std::vector<double>& times,
                              double start);

} // namespace refhost
