// SPDX-License-Identifier: MIT
// How the host draws an item: a shape, its size, and the colours of its faces and edges.
#pragma once

#include "refhost/ChannelDefinition.h"

#include <vector>

namespace refhost {

class Host;

/// Channels `fillOptions`, `fillColor.R/.G/.B`, `wireOptions`, `wireColor.R/.G/.B`.
inline constexpr const char* kDrawingPackage = "drawing";

/// Values of `drawShape`. The shape stands in place of the item's marker where `isStyle` is 1.
enum class DrawShape : int { None, Box, Sphere, Pyramid, Plane, Ring };

/// Makes the package known to the host; later calls change nothing.
void registerDrawingPackage(Host& host);
/// What every locator has from birth: `drawShape`, `isStyle`, `isSize.X/.Y/.Z`.
std::vector<ChannelDefinition> markerChannels();

} // namespace refhost
