// SPDX-License-Identifier: MIT
// One scene a thread: what a thread does comes out bit for bit as it does alone, whether the threads share
// the loaded module, a host too, or even its desk. Built with the thread sanitizer it also finds what only
// luck would have kept right.
#include <gtest/gtest.h>
#include <refhost/Commands.h>
#include <refhost/Evaluation.h>
#include <refhost/Modules.h>
#include <refhost/SceneFile.h>

#include <atomic>
#include <bit>
#include <filesystem>
#include <functional>
#include <latch>
#include <thread>
#include <unistd.h>

namespace {

using namespace refhost;

constexpr int kThreads = 4;

/// All that a run showed: numbers by their bits, texts by their hashes.
using Shown = std::vector<std::uint64_t>;

std::string failure; // the first; guarded by its flag
std::atomic_flag failed;

void must(const Result& result)
{
    if (!result.ok() && !failed.test_and_set())
        failure = result.message;
}

void show(Scene& scene, Shown& out)
{
    out.push_back(std::hash<std::string>()(scene.digest()));
    for (const Item* item : scene.items()) {
        for (const char* name : {"wposMatrix", "wrotMatrix", "worldMatrix"}) {
            Channel* channel = item->channel(name);
            Matrix34 matrix;
            if (!channel || !Evaluation::of(scene).matrix(*channel, scene.host().time(), matrix))
                continue;
            for (const double number : matrix.offset)
                out.push_back(std::bit_cast<std::uint64_t>(number));
            for (const double number : matrix.linear.m[1])
                out.push_back(std::bit_cast<std::uint64_t>(number));
        }
    }
}

/// A file that goes with the test.
struct TemporaryFile {
    explicit TemporaryFile(int index)
        : path((std::filesystem::temp_directory_path()
                / ("sinew-threads-" + std::to_string(getpid()) + "-" + std::to_string(index) + ".sinew.json"))
                   .string())
    {
    }
    ~TemporaryFile()
    {
        std::error_code none;
        std::filesystem::remove(path, none);
    }
    std::string path;
};

void run(Host& host, std::initializer_list<std::string> lines)
{
    for (const std::string& line : lines) {
        const CommandResult result = Commands::of(host).execute(line);
        must(result.ok() ? Result{} : Result::failure(line + ": " + result.message));
    }
}

/// A child with a rig that reaches for a moving goal; each index another one.
void build(Host& host, int index)
{
    const std::string number = std::to_string(index), reach = std::to_string(80 + 9 * index);
    run(host,
        {"scene.import file:\"" SINEW_SOURCE "/examples/characters/Child.bvh\"", "scene.setup on:true",
         "ikfb.assign item:pelvis transRoot:true", "select.set foot_l", "select.add foot_r",
         "select.add hand_l", "ikfb.goal", "ikfb.task item:hand_l type:1 mode:0",
         "item.create name:Extra" + number, "scene.setup on:false",
         "channel.key item:Goal_3 channel:pos.Y value:" + reach + " time:1",
         "channel.key item:Goal_3 channel:pos.Y value:57 time:0",
         "channel.set item:FullBodyIK channel:iksSteps value:" + std::to_string(15 + index)});
    if (index % 2)
        run(host,
            {"channel.set item:FullBodyIK channel:iksSolveContinuous value:1",
             "channel.set item:head channel:ikjRetargeting value:1"});
}

/// A whole session by commands: rig, playback, drags, locks, undo, files.
Shown session(Host& host, int index)
{
    Shown shown;
    const TemporaryFile file(index);
    const auto look = [&] { show(*host.currentScene(), shown); };
    run(host, {"scene.new name:Session" + std::to_string(index)});
    build(host, index);
    for (int frame = 0; frame <= 6; ++frame) {
        run(host, {"time.set " + std::to_string(0.2 * frame)});
        look();
    }
    run(host,
        {"tool ik.pose", "select.set hand_r", "gesture lock foot_l",
         "gesture drag from:hand_r by:\"" + std::to_string(20 + 5 * index) + " -30\" steps:3 view:front"});
    look();
    run(host, {"gesture drag from:head by:\"4 -6\" kind:rotate steps:2", "undo", "undo", "redo"});
    look();
    run(host,
        {"scene.save file:\"" + file.path + '"', "item.delete item:thigh_l", "undo", "scene.setup on:true",
         "ikfb.remove item:FullBodyIK", "undo", "draw.list", "commands enabled:true"});
    look();
    run(host, {"scene.open file:\"" + file.path + '"', "time.set 0.7"});
    look();
    return shown;
}

/// Work on one scene that needs nothing of its host but the loaded module: edits, playback, undo, files.
Shown evaluateAndEdit(Scene& scene, int index)
{
    Shown shown;
    const TemporaryFile file(index);
    Channel& height =
        *scene.findByUniqueName("Goal_3")->transformItem(TransformKind::Position)->channel("pos.Y");
    for (int round = 0; round < 6; ++round) {
        Step step(scene.journal(), "reach");
        must(scene.putKey(height, Action::Anim, {.time = 0, .number = 60.0 + 7 * round + index}));
        must(scene.createItem(scene.host().locatorType(), "Guest").result());
        must(step.commit());
        show(scene, shown);
        must(scene.journal().undo());
        show(scene, shown);
        must(scene.journal().redo());
    }
    must(writeSceneFile(scene, file.path));
    const ResultOf<std::unique_ptr<Scene>> read = readSceneFile(scene.host(), file.path);
    must(read.result());
    if (read.ok())
        show(*read.value, shown);
    return shown;
}

/// Every work alone, one behind the other, and then all at once.
void expectAsAlone(const std::function<Shown(int index, bool alone)>& work)
{
    std::vector<Shown> alone, together(kThreads);
    for (int i = 0; i < kThreads; ++i)
        alone.push_back(work(i, true));
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            together[static_cast<std::size_t>(i)] = work(i, false);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (std::size_t i = 0; i < alone.size(); ++i) {
        EXPECT_GT(alone[i].size(), 1000u);
        EXPECT_TRUE(together[i] == alone[i]) << "thread " << i << " shows something else than it does alone";
        EXPECT_TRUE(i == 0 || alone[i] != alone[0]) << "the works don't differ";
    }
    EXPECT_EQ(failure, "");
}

} // namespace

TEST(ThreadTests, HostsSideBySideShareTheLoadedModule)
{
    expectAsAlone([](int index, bool) {
        Host host;
        must(Modules::of(host).load(SINEW_MODULE_PATH));
        const Shown shown = session(host, index);
        Modules::of(host).unloadAll();
        EXPECT_TRUE(Modules::of(host).liveReferences().empty());
        return shown;
    });
}

TEST(ThreadTests, ScenesOfOneHostAreEvaluatedEditedAndKeptAtOnce)
{
    Host host;
    must(Modules::of(host).load(SINEW_MODULE_PATH));
    std::vector<Scene*> scenes;
    for (int i = 0; i < 2 * kThreads; ++i) {
        scenes.push_back(&host.newScene());
        build(host, i % kThreads);
    }
    must(host.setTime(0.4));
    expectAsAlone([&](int index, bool alone) {
        return evaluateAndEdit(*scenes[static_cast<std::size_t>(alone ? index : kThreads + index)], index);
    });
}

TEST(ThreadTests, DesksOfOneHostWorkAtOnce)
{
    Host host;
    must(Modules::of(host).load(SINEW_MODULE_PATH));
    Scene& own = host.newScene();
    expectAsAlone([&](int index, bool) {
        Desk desk(host);
        const AtDesk here(desk);
        return session(host, index);
    });
    EXPECT_EQ(host.currentScene(), &own);
    EXPECT_EQ(host.scenes().size(), 1u);
    EXPECT_EQ(host.time(), 0);
    EXPECT_EQ(own.itemCount(), 0u);
}
