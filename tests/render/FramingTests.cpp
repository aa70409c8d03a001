// SPDX-License-Identifier: MIT
// All that a picture draws lies in it, at every size and from every camera, and fills it.
#include <render/Picture.h>
#include <render/SceneShapes.h>

#include <refhost/Commands.h>
#include <refhost/Host.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace {

using namespace render;
using refhost::Camera;
using refhost::UpAxis;
using refhost::Vector3f;
using refhost::View;

/// Figures of three joints, 2 units tall with an arm to the side, and what else commands make of the scene.
struct Arrangement {
    const char* name;
    std::vector<refhost::Vector3> figures = {}; ///< A, B...
    bool mesh = false; ///< moved by the joints of the first
    std::vector<const char*> more = {};
};

const Arrangement kArrangements[] = {
    {"one figure", {{3, 0, 0}}},
    {"far apart sideways", {{0, 0, 0}, {60, 0, 0}}},
    {"far apart upwards", {{0, 0, 0}, {0, 60, 0}}},
    {"far apart in depth", {{0, 0, 0}, {1, 0, 900}}},
    {"a figure beside a mesh", {{0, 0, 0}, {-30, 1, 20}}, true},
    {"a skin that moved", {{0, 0, 0}}, true, {"channel.set A pos.X 40"}},
    {"a figure and a mesh in one group",
     {{0, 0, 0}, {9, 0, 0}},
     true,
     {"item.create World", "item.parent item:A parent:World", "item.parent item:B parent:World"}},
    {"goals alone",
     {},
     false,
     {"item.create Goal", "item.draw item:Goal", "channel.set Goal drawShape 1", "channel.set Goal pos.X 5"}},
};

struct Stage {
    refhost::Host host;
    refhost::Scene& scene = host.newScene();

    explicit Stage(const Arrangement& arrangement, double unit = 1)
    {
        char name = 'A';
        for (const refhost::Vector3& at : arrangement.figures) {
            const std::string root(1, name++);
            locator(root, "", {at[0] * unit, at[1] * unit, at[2] * unit});
            locator(root + "Head", root, {0, 2 * unit, 0});
            locator(root + "Hand", root + "Head", {0.7 * unit, -0.5 * unit, 0.2 * unit});
        }
        if (arrangement.mesh) {
            const std::string low = std::to_string(-0.4 * unit), high = std::to_string(2 * unit);
            run("mesh.create points:\"0 0 0 " + low + " 0 0 0 " + high
                + " 0\" triangles:\"0 1 2\" name:Skin");
            run("mesh.bind item:Skin joint:A points:\"0 1\" weight:1");
            run("mesh.bind item:Skin joint:AHead points:2 weight:1");
        }
        for (const char* line : arrangement.more)
            run(line);
    }
    void run(const std::string& line)
    {
        const refhost::CommandResult done = refhost::Commands::of(host).execute(line);
        EXPECT_TRUE(done.ok()) << line << ": " << done.message;
    }
    void locator(const std::string& name, const std::string& parent, const refhost::Vector3& at)
    {
        run("item.create name:" + name + (parent.empty() ? "" : " parent:" + parent));
        for (std::size_t a = 0; a < 3; ++a)
            run("channel.set " + name + " pos." + "XYZ"[a] + " " + std::to_string(at[a]));
    }
};

/// The part of the picture that the points take, from 0 to 1.
struct Extent {
    double low[2] = {1e9, 1e9}, high[2] = {-1e9, -1e9};

    void take(const refhost::Pixel& pixel, const View& view)
    {
        const double share[2] = {pixel[0] / view.width, pixel[1] / view.height};
        for (std::size_t a = 0; a < 2; ++a) {
            low[a] = std::min(low[a], share[a]);
            high[a] = std::max(high[a], share[a]);
        }
    }
};
Extent extentOf(const Shapes& shapes, const View& view)
{
    Extent extent;
    shapes.forEachPoint([&](const Vector3f& p) {
        refhost::Pixel pixel{-1e9, -1e9};
        (void)view.toScreen({p[0], p[1], p[2]}, pixel);
        extent.take(pixel, view);
    });
    return extent;
}

void forEachView(const std::function<void(const View&)>& act)
{
    for (const UpAxis up : {UpAxis::Y, UpAxis::Z})
        for (const Camera camera : {Camera::Front, Camera::Side, Camera::Top, Camera::Free})
            for (const auto& [width, height] : {std::pair{640, 360}, {150, 450}}) {
                View view = View::of(camera, up);
                view.width = width;
                view.height = height;
                SCOPED_TRACE(testing::Message() << refhost::kCameraNames[static_cast<int>(camera)] << " of "
                                                << width << "x" << height << ", up " << static_cast<int>(up));
                act(view);
            }
}

TEST(FramingTests, EverythingDrawnLiesInThePictureAndFillsIt)
{
    for (const double unit : {0.01, 1.0, 1e5})
        for (const Arrangement& arrangement : kArrangements) {
            SCOPED_TRACE(testing::Message() << arrangement.name << ", unit " << unit);
            Stage stage(arrangement, unit);
            forEachView([&](View view) {
                (void)frameScene(stage.scene, 0, view);
                const Extent extent = extentOf(sceneShapes(stage.scene, 0, view), view);
                double fill = 0;
                for (std::size_t a = 0; a < 2; ++a) {
                    EXPECT_GT(extent.low[a], 0.04);
                    EXPECT_LT(extent.high[a], 0.96);
                    fill = std::max(fill, extent.high[a] - extent.low[a]);
                }
                EXPECT_GT(fill, 0.8);
            });
        }
}

TEST(FramingTests, BesideMeshesFiguresAreDrawnAndCamerasAndLightsAreNot)
{
    Stage stage({"", {{0, 0, 0}}, true, {}});
    View view = View::of(Camera::Front);
    const std::size_t alone = sceneShapes(stage.scene, 0, view).solids.size();
    stage.locator("Lamp", "", {50, 50, 50});
    stage.locator("LampTurn", "Lamp", {0, 0, 0});
    EXPECT_EQ(sceneShapes(stage.scene, 0, view).solids.size(), alone);
    stage.locator("Bone", "Lamp", {0, 1, 0});
    EXPECT_GT(sceneShapes(stage.scene, 0, view).solids.size(), alone);
}

TEST(FramingTests, ATimeOfItsOwnIsDrawnAsIfItWereTheCurrentOne)
{
    Stage stage({"", {{0, 0, 0}}, false, {}});
    stage.run("channel.key item:A channel:pos.X value:0 time:0");
    stage.run("channel.key item:A channel:pos.X value:80 time:2");
    View there = View::of(Camera::Free), later = there;
    (void)frameScene(stage.scene, 2, there);
    ASSERT_TRUE(stage.host.setTime(2).ok());
    (void)frameScene(stage.scene, 2, later);
    EXPECT_NEAR(there.target[0], 80, 2);
    EXPECT_EQ(there.target, later.target);
    EXPECT_EQ(there.size, later.size);
}

TEST(FramingTests, PlacesWithoutExtentAndEmptyScenesKeepAViewThatShowsSomething)
{
    forEachView([](View view) {
        Stage empty({});
        const View former = view;
        EXPECT_TRUE(frameScene(empty.scene, 0, view).isEmpty());
        EXPECT_EQ(view.size, former.size);
        Stage single({});
        single.locator("A", "", {1e5, -3, 0.5});
        (void)frameScene(single.scene, 0, view);
        EXPECT_NEAR(view.size, 1, 1e-9);
        refhost::Pixel pixel;
        ASSERT_TRUE(view.toScreen({1e5, -3, 0.5}, pixel));
        EXPECT_NEAR(pixel[0], view.width / 2.0, 1);
        EXPECT_NEAR(pixel[1], view.height / 2.0, 1);
    });
}

TEST(FramingTests, NoPixelOfAFigureLiesOnTheBorderAndNothingIsCutInDepth)
{
    std::unique_ptr<Studio> studio;
    try {
        studio = std::make_unique<Studio>();
    } catch (const RenderError& error) {
        GTEST_SKIP() << "no picture can be made here: " << error.what();
    }
    Surroundings around;
    around.floor = around.axisCross = false;
    for (const Arrangement& arrangement : kArrangements) {
        SCOPED_TRACE(arrangement.name);
        Stage stage(arrangement);
        for (const Camera camera : {Camera::Front, Camera::Side, Camera::Free}) {
            SCOPED_TRACE(refhost::kCameraNames[static_cast<int>(camera)]);
            View view = View::of(camera);
            view.width = 160;
            view.height = 90;
            (void)frameScene(stage.scene, 0, view);
            const Shapes shapes = sceneShapes(stage.scene, 0, view);
            const Image blank = studio->picture({}, view, around),
                        image = studio->picture(shapes, view, around);
            int drawn = 0, onBorder = 0;
            Extent extent;
            for (int y = 0; y < image.height; ++y)
                for (int x = 0; x < image.width; ++x) {
                    const std::size_t at = 3 * static_cast<std::size_t>(y * image.width + x);
                    if (std::equal(&image.rgb[at], &image.rgb[at] + 3, &blank.rgb[at]))
                        continue;
                    ++drawn;
                    onBorder += x == 0 || y == 0 || x == image.width - 1 || y == image.height - 1;
                    extent.take({x + 0.5, y + 0.5}, view);
                }
            EXPECT_GT(drawn, 10);
            EXPECT_EQ(onBorder, 0);
            // What is projected is also seen: both ends of the scene, as far as thin tips fill pixels.
            const Extent expected = extentOf(shapes, view);
            for (std::size_t a = 0; a < 2; ++a) {
                EXPECT_NEAR(extent.low[a], expected.low[a], 0.03);
                EXPECT_NEAR(extent.high[a], expected.high[a], 0.03);
            }
        }
    }
}

} // namespace
