// SPDX-License-Identifier: MIT
// Views and planes: pixels to the world and back, and the pointer's motion in the scene.
#include <refhost/Tool.h>
#include <refhost/View.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace refhost;

Vector3 add(const Vector3& a, const Vector3& b, double s)
{
    return {a[0] + s * b[0], a[1] + s * b[1], a[2] + s * b[2]};
}
Vector3 axis(const View& view, std::size_t c)
{
    return {view.axes.m[0][c], view.axes.m[1][c], view.axes.m[2][c]};
}

std::vector<View> views()
{
    std::vector<View> all;
    for (const Camera camera : {Camera::Front, Camera::Side, Camera::Top, Camera::Free}) {
        for (const UpAxis up : {UpAxis::Y, UpAxis::Z}) {
            all.push_back(View::of(camera, up));
            all.back().target = {0.3, -1.7, 0.9};
            all.back().size = 3.1;
        }
    }
    return all;
}

TEST(ViewTests, RaysPassThroughWhatTheirPixelShows)
{
    for (const View& view : views()) {
        EXPECT_NEAR(determinant(view.axes), 1, 1e-12);
        Pixel middle;
        ASSERT_TRUE(view.toScreen(view.target, middle));
        EXPECT_NEAR(middle[0], 400, 1e-6);
        EXPECT_NEAR(middle[1], 300, 1e-6);
        for (const Pixel& pixel : {Pixel{400, 300}, Pixel{0, 0}, Pixel{791, 13.25}, Pixel{-70, 640}}) {
            const Ray ray = view.ray(pixel);
            const double length = view.distance();
            for (const double along : {0.5, 1.0, 1.3}) {
                Pixel back;
                ASSERT_TRUE(view.toScreen(add(ray.origin, ray.direction, along * length), back));
                EXPECT_NEAR(back[0], pixel[0], 1e-6);
                EXPECT_NEAR(back[1], pixel[1], 1e-6);
            }
        }
        // One pixel to the right and one up are as large as pixelSize says, nearer and farther away.
        for (const double depth : {0.0, 0.8, -0.8}) {
            const Vector3 at = add(view.target, axis(view, 2), depth);
            Pixel here, right, up;
            ASSERT_TRUE(view.toScreen(at, here));
            ASSERT_TRUE(view.toScreen(add(at, axis(view, 0), view.pixelSize(at)), right));
            ASSERT_TRUE(view.toScreen(add(at, axis(view, 1), view.pixelSize(at)), up));
            EXPECT_NEAR(right[0] - here[0], 1, 1e-6);
            EXPECT_NEAR(here[1] - up[1], 1, 1e-6);
        }
    }
    const View free = View::of(Camera::Free);
    EXPECT_LT(free.direction()[1], 0); // from above
    Pixel none{7, 7};
    EXPECT_FALSE(free.toScreen(add(free.eye(), free.direction(), -1), none));
    EXPECT_EQ(none, (Pixel{7, 7}));
}

TEST(ViewTests, TheCamerasStandWhereTheirNamesSay)
{
    EXPECT_EQ(View::of(Camera::Front).direction(), (Vector3{0, 0, -1}));
    EXPECT_EQ(View::of(Camera::Side).direction(), (Vector3{-1, 0, 0}));
    EXPECT_EQ(View::of(Camera::Top).direction(), (Vector3{0, -1, 0}));
    EXPECT_EQ(View::of(Camera::Front, UpAxis::Z).direction(), (Vector3{0, 1, 0}));
    EXPECT_EQ(axis(View::of(Camera::Side, UpAxis::Z), 1), (Vector3{0, 0, 1}));
}

TEST(ViewTests, ThePointerMovesWhatItDragsInThePlaneItIsKeptTo)
{
    for (const View& view : views()) {
        EventTranslation events;
        const Vector3 start = add(view.target, axis(view, 2), 0.4), from{5, 6, 7};
        events.begin(view, {420, 280});
        ASSERT_TRUE(events.setStart(start));
        EXPECT_EQ(events.newPosition(from), from); // not a bit, while the pointer stands
        const Vector3 along = events.viewDirection();
        ASSERT_TRUE(events.setPlane({-2 * along[0], -2 * along[1], -2 * along[2]}, start));
        events.movePointer({470, 250});
        const double pixel = view.pixelSize(start);
        const Vector3 expected = add(add(from, axis(view, 0), 50 * pixel), axis(view, 1), 30 * pixel);
        const Vector3 moved = events.newPosition(from);
        for (std::size_t a = 0; a < 3; ++a)
            EXPECT_NEAR(moved[a], expected[a], 1e-9);
    }
}

TEST(ViewTests, WithoutAPlaneTheMotionStaysInTheWorldPlaneThatFacesTheViewMost)
{
    View view = View::of(Camera::Free);
    EventTranslation events;
    events.begin(view, {400, 300});
    ASSERT_TRUE(events.setStart({0, 0.2, 0}));
    events.movePointer({300, 350});
    const Vector3 moved = events.newPosition({1, 1, 1});
    EXPECT_EQ(moved[2], 1); // seen from the front most of all
    EXPECT_NE(moved[0], 1);
    EXPECT_NE(moved[1], 1);

    // A ray that misses the plane leaves the last good place.
    ASSERT_TRUE(events.setPlane({0, 1, 0}, {0, -0.5, 0}));
    const Vector3 last = events.newPosition({1, 1, 1});
    events.movePointer({300, -100000});
    EXPECT_EQ(events.newPosition({1, 1, 1}), last);
    EXPECT_FALSE(events.setPlane({0, 0, 0}, {}));
    EXPECT_FALSE(events.setPlane({0, std::nan(""), 1}, {}));
    EXPECT_FALSE(events.setStart({0, std::nan(""), 1}));
}

} // namespace
