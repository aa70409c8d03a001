// SPDX-License-Identifier: MIT
// Text as flat triangles.
#include "render/Shapes.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb_easy_font.h>
#pragma GCC diagnostic pop

#include <cstring>
#include <string>

namespace render {
namespace {

constexpr std::size_t kBytesPerLetter = 300; // what the font asks for

struct FontVertex {
    float position[3];
    unsigned char colour[4];
};

std::string printableAscii(std::string_view text)
{
    std::string plain(text);
    for (char& c : plain)
        if (c < 0x20 || c > 0x7e)
            c = '?';
    return plain;
}

} // namespace

void addText(std::vector<FlatVertex>& panes, float x, float y, std::string_view text, const Colour& colour,
             float scale)
{
    std::string plain = printableAscii(text);
    std::vector<char> buffer(kBytesPerLetter * (plain.size() + 1));
    const int quads =
        stb_easy_font_print(0, 0, plain.data(), nullptr, buffer.data(), static_cast<int>(buffer.size()));
    for (int quad = 0; quad < quads; ++quad)
        for (const int corner : {0, 1, 2, 0, 2, 3}) {
            FontVertex vertex;
            std::memcpy(&vertex, &buffer[sizeof vertex * static_cast<std::size_t>(4 * quad + corner)],
                        sizeof vertex);
            panes.push_back({{x + scale * vertex.position[0], y + scale * vertex.position[1], 0}, colour});
        }
}

float textWidth(std::string_view text, float scale)
{
    std::string plain = printableAscii(text);
    return scale * static_cast<float>(stb_easy_font_width(plain.data()));
}

} // namespace render
