// SPDX-License-Identifier: MIT
// What a drag of the pose tool costs: a humanoid of 60 joints with both feet and hands locked, dragged
// through the built plug-in in the reference host. Labels are hashes of the last pose.
#include <refhost/Commands.h>
#include <refhost/Evaluation.h>
#include <refhost/Host.h>
#include <refhost/Modules.h>
#include <refhost/ToolHost.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace refhost;

struct JointRow {
    const char* name;
    const char* parent;
    double x, y, z; ///< metres
};
constexpr JointRow kBody[] = {
    {"Hips", "", 0, 0.95, 0},
    {"Spine", "Hips", 0, 0.1, 0},
    {"Chest", "Spine", 0, 0.15, 0},
    {"Neck", "Chest", 0, 0.28, 0},
    {"Head", "Neck", 0, 0.1, 0.02},
    {"Jaw", "Head", 0, 0.05, 0.1},
    {"LeftUpLeg", "Hips", 0.09, -0.04, 0},
    {"LeftLeg", "LeftUpLeg", 0, -0.42, 0.01},
    {"LeftFoot", "LeftLeg", 0, -0.41, -0.02},
    {"LeftToe", "LeftFoot", 0, -0.06, 0.13},
    {"RightUpLeg", "Hips", -0.09, -0.04, 0},
    {"RightLeg", "RightUpLeg", 0, -0.42, 0.01},
    {"RightFoot", "RightLeg", 0, -0.41, -0.02},
    {"RightToe", "RightFoot", 0, -0.06, 0.13},
    {"LeftShoulder", "Chest", 0.04, 0.22, 0},
    {"LeftArm", "LeftShoulder", 0.14, 0, 0},
    {"LeftForeArm", "LeftArm", 0.28, 0, -0.01},
    {"LeftHand", "LeftForeArm", 0.25, 0, 0.02},
    {"RightShoulder", "Chest", -0.04, 0.22, 0},
    {"RightArm", "RightShoulder", -0.14, 0, 0},
    {"RightForeArm", "RightArm", -0.28, 0, -0.01},
    {"RightHand", "RightForeArm", -0.25, 0, 0.02},
};
constexpr int kFingers = 5, kPhalanges = 4; // less two, for 60 joints in all

void require(const Result& result)
{
    if (!result.ok())
        throw std::runtime_error(result.message);
}

class Figure {
public:
    explicit Figure(bool withRig)
    {
        require(Modules::of(host).load(Modules::defaultPath()));
        {
            const LoadingScope loading(scene.journal());
            for (const JointRow& row : kBody)
                add(row.name, row.parent, row.x, row.y, row.z);
            for (const char* side : {"Left", "Right"})
                for (int finger = 0; finger < kFingers; ++finger)
                    addFinger(side, finger);
        }
        if (withRig) {
            run("scene.setup on:true");
            run("ikfb.assign item:Hips transRoot:true");
            for (const char* joint : {"LeftFoot", "RightFoot", "LeftHand", "RightHand"})
                run(std::string("select.set item:") + joint), run("ikfb.goal");
            run("scene.setup on:false");
        }
        run("select.set item:Hips");
        run("tool.use ik.pose");
        run("view.set camera:front width:1280 height:960");
        if (!withRig)
            for (const char* joint : {"LeftFoot", "RightFoot", "LeftHand", "RightHand"})
                run(std::string("gesture lock from:") + joint);
    }

    void run(const std::string& line)
    {
        if (const CommandResult done = Commands::of(host).execute(line); !done.ok())
            throw std::runtime_error(line + ": " + done.message);
    }
    void press(const char* joint)
    {
        Matrix34 place;
        Evaluation::of(scene).matrix(*find(joint).channel("wposMatrix"), host.time(), place);
        Pixel pixel{};
        ToolHost& tools = ToolHost::of(host);
        tools.view().toScreen(place.offset, pixel);
        m_X = static_cast<int>(pixel[0] + 0.5);
        m_Y = static_cast<int>(pixel[1] + 0.5);
        require(tools.press(m_X, m_Y, *gestureByName("move")));
    }
    void move(int index)
    {
        require(ToolHost::of(host).move(m_X + index % 7 * 4 - 12, m_Y + index % 5 * 5 - 10));
    }
    void release()
    {
        require(ToolHost::of(host).release(m_X, m_Y));
        require(scene.journal().undo());
    }
    /// Reads what a view shows after the move; a hash of it.
    std::uint64_t look()
    {
        std::uint64_t hash = 0xcbf29ce484222325ull;
        Matrix34 matrix;
        for (Item* joint : joints) {
            Evaluation::of(scene).matrix(*joint->channel("worldMatrix"), host.time(), matrix);
            for (const double value : matrix.offset) {
                std::uint64_t bits = 0;
                std::memcpy(&bits, &value, sizeof bits);
                hash = (hash ^ bits) * 0x100000001b3ull;
            }
        }
        return hash;
    }

    Host host;
    Scene& scene = host.newScene();
    std::vector<Item*> joints;

private:
    Item& find(std::string_view name) const
    {
        return **std::find_if(joints.begin(), joints.end(),
                              [&](const Item* joint) { return joint->uniqueName() == name; });
    }
    Item& add(const std::string& name, std::string_view parent, double x, double y, double z)
    {
        Item* above = parent.empty() ? nullptr : &find(parent);
        const auto made = scene.createItem(host.locatorType(), name, {.parent = above});
        require(made.result());
        const auto position = scene.addTransformItem(*made.value, TransformKind::Position);
        require(position.result());
        const double xyz[] = {x, y, z};
        for (std::size_t a = 0; a < 3; ++a)
            require(scene.writeNumber(*position.value->channel(std::string("pos.") + "XYZ"[a]), Action::Setup,
                                      0, xyz[a], WriteMode::Plain));
        joints.push_back(made.value);
        return *made.value;
    }
    void addFinger(const std::string& side, int finger)
    {
        const double out = side == "Left" ? 1 : -1;
        std::string above = side + "Hand";
        for (int i = 0; i < (finger == 0 ? kPhalanges - 1 : kPhalanges); ++i) {
            const std::string name = side + "Finger" + std::to_string(finger) + std::to_string(i);
            add(name, above, out * (i == 0 ? 0.09 : 0.03), 0, i == 0 ? 0.02 * (finger - 2) : 0);
            above = name;
        }
    }

    int m_X = 0, m_Y = 0;
};

using Clock = std::chrono::steady_clock;

double microseconds(Clock::time_point since)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - since).count();
}

/// Moves in drags of several joints. Counters in microseconds: of the move event, the tool's evaluation in
/// it, without the first one of a drag; and of that first one, which builds the solver. With a rig the goals
/// of hands and feet stand in for locks, and reading every joint afterwards is counted as well.
void dragMoves(benchmark::State& state)
{
    const bool withRig = state.range(0) != 0;
    Figure figure(withRig);
    std::vector<double> first, later;
    std::uint64_t hash = 0;
    constexpr int kMoves = 100;
    for (auto _ : state)
        for (const char* joint : {"Hips", "Head", "Chest", "LeftForeArm", "LeftFinger12"}) {
            figure.press(joint);
            for (int i = 0; i < kMoves; ++i) {
                const auto start = Clock::now();
                figure.move(i);
                if (withRig)
                    hash = figure.look();
                (i == 0 ? first : later).push_back(microseconds(start));
            }
            if (!withRig)
                hash = figure.look();
            figure.release();
        }
    std::sort(first.begin(), first.end());
    std::sort(later.begin(), later.end());
    state.counters["median"] = later[later.size() / 2];
    state.counters["p99"] = later[later.size() * 99 / 100];
    state.counters["first"] = first[first.size() / 2];
    state.counters["first worst"] = first.back();
    state.counters["joints"] = static_cast<double>(figure.joints.size());
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
    state.SetLabel(text);
}
BENCHMARK(dragMoves)->ArgName("rig")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

} // namespace
