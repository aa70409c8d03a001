// SPDX-License-Identifier: MIT
// Images, and PNG and JPEG files of them.
#include "render/Picture.h"

#include <formats/Files.h>
#include <stb_image_write.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <utility>

namespace render {

void Image::place(const Image& other, int x, int y)
{
    const int left = std::max(x, 0), right = std::min(x + other.width, width);
    for (int row = std::max(y, 0); row < std::min(y + other.height, height) && left < right; ++row)
        std::memcpy(&rgb[3
                         * (static_cast<std::size_t>(row) * static_cast<std::size_t>(width)
                            + static_cast<std::size_t>(left))],
                    &other.rgb[3
                               * (static_cast<std::size_t>(row - y) * static_cast<std::size_t>(other.width)
                                  + static_cast<std::size_t>(left - x))],
                    3 * static_cast<std::size_t>(right - left));
}

std::optional<ImageFormat> imageFormatOf(const std::string& path)
{
    std::string ending = std::filesystem::path(path).extension().string();
    for (char& c : ending)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    if (ending.empty() || ending == ".png")
        return ImageFormat::Png;
    return ending == ".jpg" || ending == ".jpeg" ? std::optional(ImageFormat::Jpeg) : std::nullopt;
}

std::optional<std::string> imageBytes(const Image& image, ImageFormat format)
{
    constexpr int kJpegQuality = 92; // of 100: lines and text stay clean
    std::string bytes;
    const auto append = [](void* context, void* data, int size) {
        static_cast<std::string*>(context)->append(static_cast<const char*>(data),
                                                   static_cast<std::size_t>(size));
    };
    const int done = format == ImageFormat::Png
        ? stbi_write_png_to_func(append, &bytes, image.width, image.height, 3, image.rgb.data(),
                                 3 * image.width)
        : stbi_write_jpg_to_func(append, &bytes, image.width, image.height, 3, image.rgb.data(),
                                 kJpegQuality);
    return done ? std::optional(std::move(bytes)) : std::nullopt;
}

std::optional<std::string> writeImage(const std::string& path, const Image& image)
{
    const std::optional<ImageFormat> format = imageFormatOf(path);
    if (!format)
        return path + ": " + kImageEndings;
    const std::optional<std::string> bytes = imageBytes(image, *format);
    return bytes ? formats::writeFileAtomically(path, *bytes)
                 : path + ": the picture could not be encoded; make it smaller";
}

} // namespace render
