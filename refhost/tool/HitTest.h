// SPDX-License-Identifier: MIT
// Which part of a drawing lies under a pixel.
#pragma once

#include "refhost/DrawingList.h"
#include "refhost/View.h"

namespace refhost {

/// The element that the pixel lies in, or within a few pixels of a line; where there are several, that whose
/// middle is nearest to the pixel, then the one nearer to the viewer, then the first. Null for none.
const DrawElement* elementAt(const DrawingList& list, const View& view, const Pixel& pixel);
/// Its part; -1 for none.
int partAt(const DrawingList& list, const View& view, const Pixel& pixel);

} // namespace refhost
