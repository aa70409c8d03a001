// SPDX-License-Identifier: MIT
// `sinew shot`: pictures of motions and scenes, and what it refuses.
#include "../formats/GltfTesting.h"
#include "ProgramRun.h"
#include "shot/SessionShot.h"

#include <refhost/Commands.h>
#include <refhost/Host.h>
#include <render/Picture.h>

#include <epoxy/egl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

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

#define NEEDS_PICTURES(result)                                                                               \
    if ((result).err.find("Pictures need EGL") != std::string::npos)                                         \
    GTEST_SKIP() << "no picture can be made here: " << (result).err

TEST(Shot, DrawsMotionsScenesAndSheets)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(10));
    const ProgramResult first = sinew({"shot", "walk.bvh", "-o", "a.png", "--size", "320x200"});
    NEEDS_PICTURES(first);
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
    EXPECT_NE(refusal({"--animation", "0"}).find("glTF"), std::string::npos);
    EXPECT_EQ(sinew({"shot", "none.bvh", "-o", "p.png"}).code, 2);
    for (const char* name : {"p.gif", "p.bmp", "p.png.txt"}) {
        const ProgramResult other = sinew({"shot", "walk.bvh", "-o", name});
        EXPECT_EQ(other.code, 2);
        EXPECT_NE(other.err.find("PNG or JPEG"), std::string::npos) << other.err;
        EXPECT_FALSE(sinew.exists(name));
    }
}

TEST(Shot, TheEndingOfTheNameIsTheFormat)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(2));
    sinew.write("s.txt",
                "scene.import walk.bvh\nshot file:s.jpeg size:64x64\nshot file:no.tiff size:64x64\n");
    const ProgramResult session = sinew({"run", "s.txt"});
    NEEDS_PICTURES(session);
    EXPECT_EQ(session.code, 2);
    EXPECT_NE(session.err.find("s.txt:3: no.tiff: pictures are written as PNG or JPEG"), std::string::npos)
        << session.err;
    EXPECT_FALSE(sinew.exists("no.tiff"));
    ASSERT_EQ(sinew({"shot", "walk.bvh", "-o", "p.JPG", "--size", "64x64"}).code, 0);
    ASSERT_EQ(sinew({"shot", "walk.bvh", "-o", "plain", "--size", "64x64"}).code, 0);
    for (const char* name : {"p.JPG", "s.jpeg"})
        EXPECT_EQ(sinew.read(name).substr(0, 3), "\xFF\xD8\xFF") << name;
    EXPECT_EQ(pngSize(sinew.read("plain")), (Size{64, 64}));
}

TEST(Shot, ASessionMakesThePicturesThatTheProgramMakes)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(10));
    sinew.write("s.txt",
                "view.set width:500 height:500\n" // of an empty scene
                "scene.import file:walk.bvh\n"
                "shot file:first.png size:320x200\n"
                "shot file:front.png camera:front size:320x200\n"
                "shot file:late.png camera:side time:0.2 size:320x200 floor:false\n"
                "shot file:sheet.png camera:free sheet:6 size:600x300\n"
                "shot file:lying.png camera:top up:z skeleton:on size:320x200\n"
                "shot file:bare.png camera:front skeleton:off size:320x200\n"
                "shot file:last.png size:320x200\n"
                "time.set 0.2\n"
                "shot file:then.png camera:side size:320x200 floor:false\n"
                "scene.new\n"
                "item.create name:Far\n"
                "channel.set Far pos.X 500\n"
                "shot file:far.png size:320x200\n"
                "shot file:farther.png camera:front size:320x200\n");
    const ProgramResult session = sinew({"run", "s.txt"});
    NEEDS_PICTURES(session);
    ASSERT_EQ(session.code, 0) << session.err;
    const auto shot = [&](std::vector<std::string> words, const char* size) {
        words.insert(words.begin(), {"shot", "walk.bvh", "-o", "p.png", "--size", size});
        const ProgramResult result = sinew(words);
        EXPECT_EQ(result.code, 0) << result.err;
        return sinew.read("p.png");
    };
    const std::string front = shot({"--camera", "front"}, "320x200");
    EXPECT_EQ(sinew.read("first.png"), front);
    EXPECT_EQ(sinew.read("front.png"), front);
    EXPECT_EQ(sinew.read("last.png"), front) << "other moments and cameras leave the session's view";
    EXPECT_NE(sinew.read("bare.png"), front);
    const std::string late = shot({"--camera", "side", "--time", "0.2", "--no-floor"}, "320x200");
    EXPECT_EQ(sinew.read("late.png"), late);
    EXPECT_EQ(sinew.read("then.png"), late);
    EXPECT_EQ(sinew.read("sheet.png"), shot({"--sheet", "6"}, "600x300"));
    EXPECT_EQ(sinew.read("lying.png"), shot({"--camera", "top", "--up", "z"}, "320x200"));
    EXPECT_EQ(sinew.read("far.png"), sinew.read("farther.png")) << "the former scene's view";
    for (const char* wrong : {"time:1e300", "sheet:0", "sheet:401", "size:4", "up:x"}) {
        sinew.write("s.txt", std::string("shot file:w.png ") + wrong + "\n");
        EXPECT_EQ(sinew({"run", "s.txt"}).code, 2) << wrong;
        EXPECT_FALSE(sinew.exists("w.png"));
    }
}

TEST(Shot, EveryAnimationOfAFileCanBeSeen)
{
    formats::SmallGltf arm = formats::SmallGltf::arm();
    formats::TestJson other = arm.json["animations"][0];
    other["name"] = "nod";
    other["channels"][0]["target"]["node"] = 0;
    arm.json["animations"].push_back(other);
    const ProgramRun sinew;
    sinew.write("arm.glb", arm.glb());
    const auto picture = [&](const std::string& animation) {
        std::vector<std::string> words = {"shot",   "arm.glb", "-o",     "p.png",
                                          "--size", "200x200", "--time", "1"};
        if (!animation.empty())
            words.insert(words.end(), {"--animation", animation});
        const ProgramResult result = sinew(words);
        return result.code == 0 ? sinew.read("p.png") : result.err;
    };
    NEEDS_PICTURES((ProgramResult{0, "", picture("")}));
    EXPECT_EQ(picture(""), picture("wave"));
    EXPECT_EQ(picture("1"), picture("nod"));
    EXPECT_NE(picture("1"), picture("0"));
    EXPECT_NE(picture("run").find("the file has 2 animations"), std::string::npos);
}

TEST(Shot, ReadsItsFileOnce)
{
    const ProgramRun sinew;
    sinew.write("walk.bvh", walkingFigure(2));
    sinew.write("arm.glb", formats::SmallGltf::arm().glb());
    for (const char* name : {"walk.bvh", "arm.glb"}) {
        const int watch = inotify_init1(IN_NONBLOCK);
        ASSERT_GE(inotify_add_watch(watch, sinew.path(name).c_str(), IN_OPEN | IN_CLOSE), 0);
        NEEDS_PICTURES(sinew({"shot", name, "-o", "p.png", "--size", "64x64"}));
        char events[4096];
        const ssize_t size = read(watch, events, sizeof events);
        close(watch);
        EXPECT_EQ(size, static_cast<ssize_t>(2 * sizeof(inotify_event)))
            << name << ": opened once, closed once";
    }
}

int contextsMade = 0;
decltype(epoxy_eglCreateContext) makeContext = nullptr;
EGLContext countedContext(EGLDisplay display, EGLConfig config, EGLContext shared, const EGLint* wanted)
{
    ++contextsMade;
    return makeContext(display, config, shared, wanted);
}

TEST(Shot, ThePicturesOfASessionShareOneContext)
{
    try {
        const render::Studio
            first; // finds the driver's functions, which are asked for by their names until then
    } catch (const render::RenderError& error) {
        GTEST_SKIP() << "no picture can be made here: " << error.what();
    }
    makeContext = std::exchange(epoxy_eglCreateContext, countedContext);
    const ProgramRun folder;
    {
        refhost::Host host;
        host.newScene();
        app::addShotCommand(host);
        for (const char* name : {"a.png", "b.png", "c.png"}) {
            const auto done =
                refhost::Commands::of(host).execute("shot size:64x64 file:" + folder.path(name));
            EXPECT_TRUE(done.ok()) << done.message;
        }
    }
    epoxy_eglCreateContext = makeContext;
    EXPECT_EQ(contextsMade, 1);
}

} // namespace
