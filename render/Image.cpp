// SPDX-License-Identifier: MIT
// Images, and PNG files of them.
#include "render/Picture.h"

#include <formats/Files.h>
#include <stb_image_write.h>

#include <algorithm>
#include <cstring>

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

std::optional<std::string> writePng(const std::string& path, const Image& image)
{
    std::string bytes;
    const auto append = [](void* context, void* data, int size) {
        static_cast<std::string*>(context)->append(static_cast<const char*>(data),
                                                   static_cast<std::size_t>(size));
    };
    if (!stbi_write_png_to_func(append, &bytes, image.width, image.height, 3, image.rgb.data(),
                                3 * image.width))
        return path + ": the picture could not be encoded; make it smaller";
    return formats::writeFileAtomically(path, bytes);
}

} // namespace render
