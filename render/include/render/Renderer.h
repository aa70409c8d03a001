// SPDX-License-Identifier: MIT
// Shows shapes through OpenGL 3.3, in the context that is current.
#pragma once

#include "render/Shapes.h"

#include <refhost/View.h>

#include <memory>
#include <stdexcept>

namespace render {

/// Why there is no picture, as a sentence.
class RenderError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Surroundings {
    refhost::UpAxis up = refhost::UpAxis::Y;
    bool floor = true;
    double floorHeight = 0; ///< along the up axis
    bool axisCross = true; ///< in the lower left corner
    Colour skyTop{0.88f, 0.90f, 0.93f, 1}, skyBottom{0.70f, 0.73f, 0.78f, 1};
    std::vector<FlatVertex> overlay; ///< in pixels of the view, from its upper left corner; for text
};

/// Programs and buffers of one context.
class Renderer {
public:
    /// Needs a current context. Throws RenderError when it is older than OpenGL 3.3.
    Renderer();
    ~Renderer();

    /// Draws over the rectangle of the current framebuffer that begins at `x`, `y` (from the lower left) and
    /// is `scale` times as large as the view; widths in pixels grow with it.
    void draw(const Shapes& shapes, const refhost::View& view, const Surroundings& around, int x = 0,
              int y = 0, int scale = 1);

    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

private:
    struct Parts;
    std::unique_ptr<Parts> m_Parts;
};

/// Spacing of the floor's thin lines for a view: 1, 2 or 5 times a power of ten of the scene's unit, some
/// twentieth of what is seen.
double gridSpacing(double seenSize);

} // namespace render
