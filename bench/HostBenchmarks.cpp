// SPDX-License-Identifier: MIT
// What a rig costs in a host: frames of rigs through the loaded plug-in, loading it, scene files and undo.
// Labels are hashes of what was computed: a speed-up that changes an answer shows.
#include <refhost/Commands.h>
#include <refhost/Evaluation.h>
#include <refhost/Host.h>
#include <refhost/Modules.h>
#include <refhost/SceneFile.h>

#include <benchmark/benchmark.h>
#include <sinew/IKSolver.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace refhost;

void require(const Result& result)
{
    if (!result.ok())
        throw std::runtime_error(result.message);
}
template <class T>
T require(const ResultOf<T>& result)
{
    require(result.result());
    return result.value;
}

/// A number for the pose's bits, as text.
class PoseHash {
public:
    void add(const Matrix34& matrix)
    {
        const auto add = [&](double value) {
            std::uint64_t bits = 0;
            std::memcpy(&bits, &value, sizeof bits);
            m_Hash = (m_Hash ^ bits) * 0x100000001b3ull;
        };
        for (const auto& row : matrix.linear.m)
            for (const double value : row)
                add(value);
        for (const double value : matrix.offset)
            add(value);
    }
    std::string text() const
    {
        char text[17];
        std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(m_Hash));
        return text;
    }

private:
    std::uint64_t m_Hash = 0xcbf29ce484222325ull;
};

constexpr int kKeys = 50;
constexpr double kKeySeconds = 0.1;
constexpr int kFrames = kKeys * 4; // four between two keys

enum class Animated { Goals, GoalsAndJoints };

/// Rigs of 60 joints: a spine of 10 with five limbs of 10, a goal at the end of each limb.
class RigScene {
public:
    RigScene(int count, int steps, Animated animated) : host(std::make_unique<Host>())
    {
        require(Modules::of(*host).load(Modules::defaultPath()));
        scene = &host->newScene();
        const LoadingScope loading(scene->journal());
        for (int i = 0; i < count; ++i)
            addRig(steps, animated);
    }

    /// Reads every joint's world matrix at the time of a frame.
    void frame(int index, PoseHash* hash = nullptr)
    {
        require(host->setTime(index * kKeySeconds / 4));
        Evaluation& evaluation = Evaluation::of(*scene);
        Matrix34 matrix;
        for (Channel* world : worlds) {
            evaluation.matrix(*world, host->time(), matrix);
            benchmark::DoNotOptimize(matrix);
            if (hash)
                hash->add(matrix);
        }
    }

    std::unique_ptr<Host> host;
    Scene* scene = nullptr;
    std::vector<Channel*> worlds;

private:
    Item& create(const char* type, const char* name, Item* parent)
    {
        return *require(scene->createItem(*host->findType(type), name, {.parent = parent}));
    }
    void set(Item& item, const char* channel, double value)
    {
        require(scene->writeNumber(*item.channel(channel), Action::Setup, 0, value, WriteMode::Plain));
    }
    void key(Item& item, TransformKind kind, const char* channel, double centre, double reach, double phase)
    {
        std::vector<Key> keys(kKeys);
        for (int k = 0; k < kKeys; ++k) {
            keys[static_cast<std::size_t>(k)].time = k * kKeySeconds;
            keys[static_cast<std::size_t>(k)].number = centre + reach * std::sin(0.3 * k + phase);
        }
        Item& transform = *require(scene->addTransformItem(item, kind));
        require(scene->setKeys(*transform.channel(channel), Action::Anim, keys));
    }
    Item& addJoint(Item* parent, double x, double y, Animated animated)
    {
        Item& joint = create("locator", "joint", parent);
        Item& position = *require(scene->addTransformItem(joint, TransformKind::Position));
        set(position, "pos.X", x);
        set(position, "pos.Y", y);
        require(scene->addPackage(joint, "ik.package"));
        require(scene->addPackage(joint, "ik.joint"));
        set(joint, "ikRestPos.X", x);
        set(joint, "ikRestPos.Y", y);
        if (parent)
            require(scene->addLink("ikRefs", *parent, joint));
        if (animated == Animated::GoalsAndJoints)
            for (const char* axis : {"rot.X", "rot.Y", "rot.Z"})
                key(joint, TransformKind::Rotation, axis, 0, 0.05,
                    x + 2 * y + static_cast<double>(worlds.size()));
        worlds.push_back(joint.channel("worldMatrix"));
        return joint;
    }
    void addRig(int steps, Animated animated)
    {
        Item* spine = &addJoint(nullptr, 0, 0, animated);
        Item& root = *spine;
        for (int i = 1; i < 10; ++i)
            spine = &addJoint(spine, 0, 1, animated);
        Item& solver = create("ikFullBody", "FullBodyIK", &root);
        set(solver, "iksSteps", steps);
        set(solver, "iksTransRoot", 1);
        if (animated == Animated::Goals) { // warm, as a motion is tracked
            set(solver, "iksSolveContinuous", 1);
            set(solver, "iksRetargetGain", 0);
        }
        for (int limb = 0; limb < 5; ++limb) {
            Item* joint = limb < 2 ? &root : spine;
            const double side = limb % 2 == 0 ? 1 : -1, x = limb == 4 ? 0 : side,
                         y = limb == 4 ? 1
                : limb < 2             ? -1
                                       : 0;
            for (int i = 0; i < 10; ++i)
                joint = &addJoint(joint, x, y, animated);
            if (animated == Animated::Goals && limb == 4)
                set(*joint, "ikjRetargeting", 1);
            require(scene->addPackage(*joint, "ik.positionTask"));
            require(scene->addLink("ikTasks", solver, *joint));
            Item& goal = create("locator", "Goal", nullptr);
            const double height = (limb < 2 ? 0 : 9) + 9 * y;
            key(goal, TransformKind::Position, "pos.X", 8 * x, 1, limb);
            key(goal, TransformKind::Position, "pos.Y", height, 1, limb + 1.0);
            key(goal, TransformKind::Position, "pos.Z", 1, 2, limb + 2.0);
            require(scene->addLink(*goal.channel("wposMatrix"), *joint->channel("ikptMatrix")));
        }
    }
};

/// A cycle of frames. Arguments: rigs, most steps of a solve, whether the joints are keyed too. 0 steps shows
/// what everything but the solver costs.
void rigFrame(benchmark::State& state)
{
    RigScene rigs(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                  state.range(2) ? Animated::GoalsAndJoints : Animated::Goals);
    PoseHash hash;
    const auto cycle = [&](PoseHash* to) {
        for (int frame = 0; frame < kFrames; ++frame)
            rigs.frame(frame, to);
    };
    cycle(&hash);
    for (auto _ : state)
        cycle(nullptr);
    state.SetLabel(hash.text());
    state.counters["per rig and frame"] =
        benchmark::Counter(static_cast<double>(state.iterations() * state.range(0) * kFrames),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(rigFrame)
    ->ArgNames({"rigs", "steps", "keyed"})
    ->Args({1, 0, 0})
    ->Args({1, 0, 1})
    ->Args({100, 0, 0})
    ->Args({1, 1000, 0})
    ->Args({10, 1000, 0})
    ->Args({100, 1000, 0})
    ->Args({1, 1000, 1})
    ->Args({100, 1000, 1})
    ->Unit(benchmark::kMillisecond);

/// The engine's share of a frame of the rig above with 0 steps: the calls that a node makes on bones, tasks
/// and solver.
void solverAlone(benchmark::State& state)
{
    std::vector<Sinew::BoneDescriptor> bones(60);
    std::vector<std::string> names(60);
    for (std::size_t i = 0; i < bones.size(); ++i) {
        names[i] = "joint" + std::to_string(i);
        bones[i].name = names[i].c_str();
        const std::size_t limb = i / 10, parent = i % 10 != 0 ? i - 1 : limb < 3 ? 0 : 9;
        bones[i].parent_name = i == 0 ? nullptr : names[parent].c_str();
        bones[i].rest_translation[limb == 0 ? 1 : 0] = i == 0 ? 0.0f : 1.0f;
    }
    Sinew::IKSolver solver;
    solver.setBones(bones.data(), 60);
    std::vector<Sinew::IKPositionTask*> tasks;
    for (std::size_t limb = 1; limb < 6; ++limb)
        tasks.push_back(solver.addPositionTask(names[10 * limb + 9].c_str()));
    float x = 0;
    for (auto _ : state) {
        for (std::uint32_t i = 0; i < 60; ++i) {
            Sinew::IKSegment& bone = *solver.bone(i);
            bone.setActive(true, false);
            bone.setRetargeting(i == 59, true);
            bone.setActiveDof(true, true, true, true);
            bone.setActiveDof(false, false, false, false);
            for (std::uint32_t a = 0; a < 6; ++a)
                bone.setWeight(a, 1);
            bone.setHoldOrientation(false);
            bone.enableLimits(false);
            bone.enableStretchLimits(false);
            bone.setMaxVelocity(0.033f);
        }
        for (Sinew::IKPositionTask* task : tasks) {
            task->setActive(true, false);
            task->setTarget(x += 0.001f, 5, 1);
            task->setWeight(1);
            task->setPrecision(1);
            task->setDepth(0xFFFFFFFFu);
            task->setLevel(0);
            task->scaleTarget(1);
        }
        solver.setTranslateRoot(true);
        solver.setPrecision(-2);
        solver.solve(0);
        solver.updateFigure();
        for (std::uint32_t i = 0; i < 60; ++i) {
            benchmark::DoNotOptimize(solver.bone(i)->getGlobalMatrix());
            benchmark::DoNotOptimize(solver.bone(i)->getGlobalTranslation());
        }
    }
}
BENCHMARK(solverAlone)->Unit(benchmark::kMicrosecond);

void loadModule(benchmark::State& state)
{
    for (auto _ : state) {
        Host host;
        require(Modules::of(host).load(Modules::defaultPath()));
        benchmark::DoNotOptimize(&host);
        state.PauseTiming();
        Modules::of(host).unloadAll();
        state.ResumeTiming();
    }
}
BENCHMARK(loadModule)->Unit(benchmark::kMicrosecond);

/// A spine of 20 locators with limbs of 10, 500 in all, in setup mode.
class Hierarchy {
public:
    Hierarchy()
    {
        require(Modules::of(host).load(Modules::defaultPath()));
        const LoadingScope loading(scene.journal());
        require(scene.setSetupMode(true));
        for (int i = 0; i < 500; ++i) {
            Item* parent = i == 0       ? nullptr
                : i < 20 || i % 10 != 0 ? items.back()
                                        : items[static_cast<std::size_t>(i / 10 % 20)];
            items.push_back(require(scene.createItem(host.locatorType(), "joint", {.parent = parent})));
            Item& position = *require(scene.addTransformItem(*items.back(), TransformKind::Position));
            require(scene.writeNumber(*position.channel("pos.Y"), Action::Setup, 0, 1, WriteMode::Plain));
            require(scene.addTransformItem(*items.back(), TransformKind::Rotation));
        }
    }

    Host host;
    Scene& scene = host.newScene();
    std::vector<Item*> items;
};

void assignRig(benchmark::State& state)
{
    Hierarchy figure;
    Commands& commands = Commands::of(figure.host);
    for (auto _ : state) {
        if (!commands.execute("ikfb.assign item:joint").ok())
            throw std::runtime_error("ikfb.assign was refused");
        state.PauseTiming();
        require(figure.scene.journal().undo());
        state.ResumeTiming();
    }
}
BENCHMARK(assignRig)->Unit(benchmark::kMillisecond);

/// The enable tests of the eight commands with 100 joints of a rig selected. The label has a 1 for each that
/// is enabled.
void enableTests(benchmark::State& state)
{
    Hierarchy figure;
    Commands& commands = Commands::of(figure.host);
    if (!commands.execute("ikfb.assign item:joint").ok())
        throw std::runtime_error("ikfb.assign was refused");
    for (std::size_t i = 100; i < 200; ++i)
        require(figure.host.selection().select({&figure.scene, figure.items[i]}));
    std::vector<std::unique_ptr<Invocation>> eight;
    for (const char* name : {"ikfb.assign", "ikfb.chain", "ikfb.goal", "ikfb.goalAssign", "ikfb.remove",
                             "ikfb.retarget", "ikfb.setRest", "ikfb.task"})
        eight.push_back(std::move(commands.spawn(name).value));
    std::string answers;
    for (auto _ : state) {
        answers.clear();
        for (const auto& invocation : eight)
            answers += commands.test(*invocation).yes ? '1' : '0';
    }
    state.SetLabel(answers);
}
BENCHMARK(enableTests)->Unit(benchmark::kMicrosecond);

/// 10,000 locators and 50 rigs.
RigScene& largeScene()
{
    static RigScene large = [] {
        RigScene rigs(50, 20, Animated::Goals);
        const LoadingScope loading(rigs.scene->journal());
        Item* parent = nullptr;
        for (int i = 0; i < 10000; ++i) {
            Item* item =
                require(rigs.scene->createItem(rigs.host->locatorType(), "locator", {.parent = parent}));
            require(rigs.scene->addTransformItem(*item, TransformKind::Position));
            parent = i % 100 == 0 ? item : parent;
        }
        return rigs;
    }();
    return large;
}

void saveScene(benchmark::State& state)
{
    const std::string path = std::filesystem::temp_directory_path() / "sinew_bench.sinew.json";
    for (auto _ : state)
        require(writeSceneFile(*largeScene().scene, path));
}
BENCHMARK(saveScene)->Unit(benchmark::kMillisecond);

void loadScene(benchmark::State& state)
{
    const std::string path = std::filesystem::temp_directory_path() / "sinew_bench.sinew.json";
    require(writeSceneFile(*largeScene().scene, path));
    for (auto _ : state) {
        std::unique_ptr<Scene> scene = std::move(readSceneFile(*largeScene().host, path).value);
        benchmark::DoNotOptimize(scene.get());
        state.PauseTiming();
        scene.reset();
        state.ResumeTiming();
    }
    std::filesystem::remove(path);
}
BENCHMARK(loadScene)->Unit(benchmark::kMillisecond);

void undoDelete(benchmark::State& state)
{
    Host host;
    Scene& scene = host.newScene();
    {
        Step step(scene.journal(), "make");
        for (int i = 0; i < 10000; ++i)
            require(scene.createItem(host.locatorType(), "locator"));
        require(step.commit());
    }
    for (auto _ : state) {
        state.PauseTiming();
        {
            Step step(scene.journal(), "delete");
            while (!scene.topItems().empty())
                require(scene.deleteItem(*scene.topItems().back()));
            require(step.commit());
        }
        state.ResumeTiming();
        require(scene.journal().undo());
    }
}
BENCHMARK(undoDelete)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
