// SPDX-License-Identifier: MIT
// `sinew shot`: pictures of motions and scenes, and what it refuses.
#include "ProgramRun.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

/// Width and height that a PNG states; 0 and 0 for another file.
std::pair<std::uint32_t, std::uint32_t> pngSize(const std::string& bytes)
{
    if (bytes.size() < 24 || bytes.compare(1, 3, "PNG") != 0)
        return {};
    const auto number = [&](std::size_t at) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < 4; ++i)
            value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
        return value;
    };
    return {number(16), number(20)};
}

using Size = std::pair<std::uint32_t, std::uint32_t>;

TEST(Shot, DrawsMotionsScenesAndSheets)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(10));
    const ProgramResult first = sinew({"shot", "walk.bvh", "-o", "a.png", "--size", "320x200"});
    if (first.err.find("Pictures need EGL") != std::string::npos)
        GTEST_SKIP() << "no picture can be made here: " << first.err;
    ASSERT_EQ(first.code, 0) << first.err;
    EXPECT_EQ(pngSize(sinew.read("a.png")), (Size{320, 200}));
    ASSERT_EQ(sinew({"shot", "walk.bvh", "-o", "b.png", "--size", "320x200", "--time", "0.2"}).code, 0);
    EXPECT_NE(sinew.read("a.png"), sinew.read("b.png")) << "the figure moves";
    ASSERT_EQ(sinew({"shot", "walk.bvh", "-o", "c.png", "--size", "320x200"}).code, 0);
    EXPECT_EQ(sinew.read("a.png"), sinew.read("c.png"));

    sinew.write("s.txt", "scene.import file:walk.bvh\nscene.save file:walk.sinew.json\n");
    ASSERT_EQ(sinew({"run", "s.txt"}).code, 0);
    ASSERT_EQ(sinew({"shot", "walk.sinew.json", "-o", "d.png", "--size", "320x200"}).code, 0);
    EXPECT_EQ(sinew.read("a.png"), sinew.read("d.png"));

    ASSERT_EQ(
        sinew({"shot", "walk.bvh", "-o", "e.png", "--size", "600x300", "--sheet", "6", "--camera", "side"})
            .code,
        0);
    const Size sheet = pngSize(sinew.read("e.png"));
    EXPECT_LE(sheet.first, 600u);
    EXPECT_GT(sheet.first, 550u);
    EXPECT_LE(sheet.second, 300u);
}

TEST(Shot, SaysWhatItCannotDrawAndLeavesTheOldPicture)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(2));
    sinew.write("p.png", "old");
    const auto refusal = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"shot", "walk.bvh", "-o", "p.png"});
        const ProgramResult result = sinew(words);
        EXPECT_EQ(result.code, 2);
        EXPECT_EQ(sinew.read("p.png"), "old");
        return result.err;
    };
    EXPECT_NE(refusal({"--size", "12"}).find("as in 1280x720"), std::string::npos);
    EXPECT_NE(refusal({"--size", "99999x2"}).find("as in 1280x720"), std::string::npos);
    EXPECT_NE(refusal({"--camera", "drone"}).find("front, side, top and free"), std::string::npos);
    EXPECT_NE(refusal({"--up", "x"}).find("y or z"), std::string::npos);
    EXPECT_NE(refusal({"--time", "nan"}).find("time"), std::string::npos);
    EXPECT_NE(refusal({"--sheet", "399", "--size", "32x32"}).find("ask for fewer"), std::string::npos);
    EXPECT_EQ(sinew({"shot", "none.bvh", "-o", "p.png"}).code, 2);
}

} // namespace
