// SPDX-License-Identifier: MIT
// Pictures without a display.
#pragma once

#include "render/Renderer.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace render {

/// Rows from the top, red, green, blue a pixel.
struct Image {
    int width = 0, height = 0;
    std::vector<std::uint8_t> rgb;

    /// Copies another one into this, its upper left corner at x, y; what doesn't fit is cut off.
    void place(const Image& other, int x, int y);
};

enum class ImageFormat : std::uint8_t { Png, Jpeg };
/// By the ending of a name: .png, .jpg or .jpeg; a name without one is that of a PNG. Nothing for others.
std::optional<ImageFormat> imageFormatOf(const std::string& path);
/// What to say of such others.
inline constexpr const char* kImageEndings =
    "pictures are written as PNG or JPEG; give a name that ends in .png, .jpg or .jpeg";

/// The file's bytes; nothing when it can't be encoded.
std::optional<std::string> imageBytes(const Image& image, ImageFormat format);
/// Writes the format that the name asks for, by way of a temporary name; a sentence when it can't.
std::optional<std::string> writeImage(const std::string& path, const Image& image);

/// Largest width and height of a picture, in pixels.
inline constexpr int kMaximumPictureSide = 8192;

/// An OpenGL context of its own, without a window, and a framebuffer in it. Current in the thread that made
/// it as long as it lives.
class Studio {
public:
    /// Throws RenderError when the machine has no EGL or no OpenGL 3.3.
    Studio();
    ~Studio();

    /// The view's pixels, antialiased. Throws RenderError when there is no memory for it.
    Image picture(const Shapes& shapes, const refhost::View& view, const Surroundings& around);

    Studio(const Studio&) = delete;
    Studio& operator=(const Studio&) = delete;

private:
    struct Context;
    std::unique_ptr<Context> m_Context; // goes last
    std::unique_ptr<Renderer> m_Renderer;
};

} // namespace render
