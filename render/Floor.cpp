// SPDX-License-Identifier: MIT
// Spacing of the floor's lines.
#include "render/Renderer.h"

#include <cmath>

namespace render {

double gridSpacing(double seenSize)
{
    const double wanted = seenSize > 0 && std::isfinite(seenSize) ? seenSize / 20 : 1;
    const double ten = std::pow(10, std::floor(std::log10(wanted)));
    const double rest = wanted / ten;
    return ten * (rest < 2 ? 1 : rest < 5 ? 2 : 5);
}

} // namespace render
