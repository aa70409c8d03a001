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

std::string triple(double x, double y, double z)
{
    return std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(z);
}

/// A scene that commands make.
struct Stage {
    refhost::Host host;
    refhost::Scene& scene = host.newScene();
    double unit = 1;

    void run(const std::string& line)
    {
        const refhost::CommandResult done = refhost::Commands::of(host).execute(line);
        ASSERT_TRUE(done.ok()) << line << ": " << done.message;
    }
    void locator(const std::string& name, double x, double y, double z, const std::string& parent = {})
    {
        run("item.create name:" + name + (parent.empty() ? "" : " parent:" + parent));
        for (const auto& [axis, value] : {std::pair{"X", x}, {"Y", y}, {"Z", z}})
            run("channel.set " + name + " pos." + axis + " " + std::to_string(value * unit));
    }
    /// Three joints, 2 units tall, with an arm to the side.
    void figure(const std::string& name, double x, double y, double z)
    {
        locator(name, x, y, z);
        locator(name + "Head", 0, 2, 0, name);
        locator(name + "Hand", 0.7, -0.5, 0.2, name + "Head");
    }
    /// A triangle that the first joints of a figure move.
    void skin(const std::string& figure, double x, double y, double z)
    {
        const auto at = [&](double dx, double dy) {
            return triple((x + dx) * unit, (y + dy) * unit, z * unit);
        };
        run("mesh.create points:\"" + at(-0.4, 0) + " " + at(0.4, 0) + " " + at(0, 2)
            + "\" triangles:\"0 1 2\" name:" + figure + "Skin");
        run("mesh.bind item:" + figure + "Skin joint:" + figure + " points:\"0 1\" weight:1");
        run("mesh.bind item:" + figure + "Skin joint:" + figure + "Head points:\"2\" weight:1");
    }
};

struct Arrangement {
    const char* name;
    std::function<void(Stage&)> make;
};

const Arrangement kArrangements[] = {
    {"one figure", [](Stage& s) { s.figure("A", 3, 0, 0); }},
    {"far apart sideways",
     [](Stage& s) {
         s.figure("A", 0, 0, 0);
         s.figure("B", 60, 0, 0);
     }},
    {"far apart upwards",
     [](Stage& s) {
         s.figure("A", 0, 0, 0);
         s.figure("B", 0, 60, 0);
     }},
    {"far apart in depth",
     [](Stage& s) {
         s.figure("A", 0, 0, 0);
         s.figure("B", 1, 0, 900);
     }},
    {"a figure beside a mesh",
     [](Stage& s) {
         s.figure("A", 0, 0, 0);
         s.skin("A", 0, 0, 0);
         s.figure("B", -30, 1, 20);
     }},
    {"a figure and a mesh in one group",
     [](Stage& s) {
         s.locator("World", 0, 0, 0);
         s.figure("A", 0, 0, 0);
         s.skin("A", 0, 0, 0);
         s.figure("B", 9, 0, 0);
         s.run("item.parent item:A parent:World");
         s.run("item.parent item:B parent:World");
     }},
    {"a moved skin",
     [](Stage& s) {
         s.figure("A", 0, 0, 0);
         s.skin("A", 0, 0, 0);
         s.run("channel.set A pos.X " + std::to_string(40 * s.unit));
     }},
    {"goals alone",
     [](Stage& s) {
         s.locator("Goal", 5, 5, 5);
         s.run("item.draw item:Goal");
         s.run("channel.set Goal drawShape 1");
     }},
};

/// The part of the picture that the points take, from 0 to 1.
struct Extent {
    double low[2] = {1e9, 1e9}, high[2] = {-1e9, -1e9};
};
Extent extentOf(const Shapes& shapes, const View& view)
{
    Extent extent;
    shapes.forEachPoint([&](const Vector3f& p) {
        refhost::Pixel pixel;
        if (!view.toScreen({p[0], p[1], p[2]}, pixel))
            pixel = {-1e9, -1e9};
        const double share[2] = {pixel[0] / view.width, pixel[1] / view.height};
        for (std::size_t a = 0; a < 2; ++a) {
            extent.low[a] = std::min(extent.low[a], share[a]);
            extent.high[a] = std::max(extent.high[a], share[a]);
        }
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
            Stage stage;
            stage.unit = unit;
            arrangement.make(stage);
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
    Stage stage;
    stage.figure("A", 0, 0, 0);
    stage.skin("A", 0, 0, 0);
    const View view = View::of(Camera::Front);
    const std::size_t alone = sceneShapes(stage.scene, 0, view).solids.size();
    stage.locator("Lamp", 50, 50, 50);
    stage.locator("LampTurn", 0, 0, 0, "Lamp");
    EXPECT_EQ(sceneShapes(stage.scene, 0, view).solids.size(), alone);
    stage.figure("B", 5, 0, 0);
    EXPECT_GT(sceneShapes(stage.scene, 0, view).solids.size(), alone);
    stage.run("channel.set ASkin visible 0");
    View fitted = view;
    (void)frameScene(stage.scene, 0, fitted);
    EXPECT_GT(fitted.size, 30) << "without its mesh the scene is one of joints, the lamp's among them";
}

TEST(FramingTests, ATimeOfItsOwnIsDrawnAsIfItWereTheCurrentOne)
{
    Stage stage;
    stage.figure("A", 0, 0, 0);
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
        Stage empty;
        const View former = view;
        EXPECT_TRUE(frameScene(empty.scene, 0, view).isEmpty());
        EXPECT_EQ(view.size, former.size);
        Stage single;
        single.locator("A", 1e5, -3, 0.5);
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
        Stage stage;
        arrangement.make(stage);
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
                    const double place[2] = {(x + 0.5) / image.width, (y + 0.5) / image.height};
                    for (std::size_t a = 0; a < 2; ++a) {
                        extent.low[a] = std::min(extent.low[a], place[a]);
                        extent.high[a] = std::max(extent.high[a], place[a]);
                    }
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
