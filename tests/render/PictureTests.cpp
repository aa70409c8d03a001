// SPDX-License-Identifier: MIT
// A picture shows things where the view projects them, in front of what is behind them.
#include <render/Picture.h>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>

namespace {

using namespace render;
using refhost::Camera;
using refhost::UpAxis;
using refhost::Vector3;
using refhost::Vector3f;
using refhost::View;

constexpr Colour kRed{1, 0, 0, 1}, kBlue{0, 0, 1, 1};

/// Mean position of the clearly red pixels, and how many there are.
struct RedSpot {
    double x = 0, y = 0;
    int count = 0;
};
RedSpot redSpot(const Image& image)
{
    RedSpot spot;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            const std::uint8_t* p = &image.rgb[3 * static_cast<std::size_t>(y * image.width + x)];
            if (p[0] > 180 && p[1] < 80 && p[2] < 80) {
                spot.x += x + 0.5;
                spot.y += y + 0.5;
                ++spot.count;
            }
        }
    spot.x /= std::max(spot.count, 1);
    spot.y /= std::max(spot.count, 1);
    return spot;
}

class PictureTests : public testing::Test {
protected:
    void SetUp() override
    {
        try {
            m_Studio = std::make_unique<Studio>();
        } catch (const RenderError& error) {
            GTEST_SKIP() << "no picture can be made here: " << error.what();
        }
    }
    Image picture(const Shapes& shapes, const View& view)
    {
        Surroundings around;
        around.axisCross = around.floor = false;
        return m_Studio->picture(shapes, view, around);
    }

    std::unique_ptr<Studio> m_Studio;
};

TEST_F(PictureTests, PointsLieWhereTheViewProjectsThem)
{
    for (const UpAxis up : {UpAxis::Y, UpAxis::Z})
        for (const Camera camera : {Camera::Front, Camera::Side, Camera::Top, Camera::Free}) {
            View view = View::of(camera, up);
            view.width = 320;
            view.height = 200;
            view.target = {10, -3, 4};
            view.size = 5;
            for (const Vector3& place :
                 {Vector3{10, -3, 4}, Vector3{11.2, -2.1, 3.2}, Vector3{8.7, -3.9, 4.9}}) {
                Shapes shapes;
                shapes.tested.points.push_back({{static_cast<float>(place[0]), static_cast<float>(place[1]),
                                                 static_cast<float>(place[2])},
                                                kRed,
                                                9});
                refhost::Pixel expected;
                ASSERT_TRUE(view.toScreen(place, expected));
                const RedSpot spot = redSpot(picture(shapes, view));
                EXPECT_NEAR(spot.x, expected[0], 0.3) << refhost::kCameraNames[static_cast<int>(camera)];
                EXPECT_NEAR(spot.y, expected[1], 0.3) << refhost::kCameraNames[static_cast<int>(camera)];
                EXPECT_NEAR(spot.count, M_PI * 4.5 * 4.5, 12);
            }
        }
}

TEST_F(PictureTests, WhatIsInFrontHidesWhatIsBehindButNotWhatLiesAbove)
{
    View view = View::of(Camera::Front);
    view.perspective = true;
    view.width = view.height = 200;
    Shapes shapes;
    addBox(shapes, {}, {0.4f, 0.4f, 0.4f}, kBlue);
    const Segment behind{{-0.2f, 0, -3}, {0.2f, 0, -3}, kRed, 5};
    shapes.tested.segments.push_back(behind);
    EXPECT_EQ(redSpot(picture(shapes, view)).count, 0);
    shapes.above.segments.push_back(behind);
    EXPECT_GT(redSpot(picture(shapes, view)).count, 20);
    // From the other side the line comes first. One that begins behind the eye is cut, not thrown across the
    // picture.
    shapes.above = {};
    shapes.tested.segments.front() = {{-0.2f, 0, 0.6f}, {0.2f, 0, 0.6f}, kRed, 5};
    EXPECT_GT(redSpot(picture(shapes, view)).count, 20);
    const Vector3 eye = view.eye();
    const auto beyond = [&](double share) {
        return Vector3f{static_cast<float>(share * eye[0]), static_cast<float>(share * eye[1]),
                        static_cast<float>(share * eye[2])};
    };
    shapes.tested.segments.front() = {beyond(0.5), beyond(3), kRed, 5};
    EXPECT_LT(redSpot(picture(shapes, view)).count, 60);
}

TEST_F(PictureTests, DashesLeaveGaps)
{
    View view = View::of(Camera::Front);
    view.width = view.height = 200;
    Shapes shapes;
    shapes.tested.segments.push_back({{-0.8f, 0, 0}, {0.8f, 0, 0}, kRed, 4});
    const int solid = redSpot(picture(shapes, view)).count;
    shapes.tested.segments.front().dashes = 0xf0f0;
    EXPECT_NEAR(redSpot(picture(shapes, view)).count, solid / 2, solid / 8);
}

TEST_F(PictureTests, SizesThatCannotBeAreRefused)
{
    View view = View::of(Camera::Front);
    view.width = kMaximumPictureSide + 1;
    EXPECT_THROW((void)picture({}, view), RenderError);
}

TEST(ImageTests, AFailedPictureLeavesTheOldFile)
{
    const auto folder = std::filesystem::temp_directory_path() / "sinew_render_tests";
    std::filesystem::create_directories(folder);
    const std::string path = folder / "p.png";
    Image image{2, 1, {255, 0, 0, 0, 0, 255}};
    ASSERT_FALSE(writeImage(path, image));
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(bytes.substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_TRUE(writeImage(folder / "none" / "p.png", image));
    Image sheet{3, 3, std::vector<std::uint8_t>(27, 9)};
    sheet.place(image, 2, -1); // outside above
    sheet.place(image, 2, 1); // half of it
    EXPECT_EQ(sheet.rgb[3 * 5], 255);
    EXPECT_EQ(std::count(sheet.rgb.begin(), sheet.rgb.end(), 9), 24);
    std::filesystem::remove_all(folder);
}

} // namespace
