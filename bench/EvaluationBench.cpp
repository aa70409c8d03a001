// SPDX-License-Identifier: MIT
// What the reference host costs beside a solver: frames of rigs whose nodes read and write as a rig does.
#include <refhost/Evaluation.h>
#include <refhost/Host.h>
#include <refhost/NodeChannels.h>

#include <benchmark/benchmark.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace refhost;

constexpr int kJoints = 60;
constexpr int kNumbers = 24; // a joint's channels that are read in every frame

void require(bool done, const std::string& message)
{
    if (!done)
        throw std::runtime_error(message);
}

/// One node for each rig: reads all numbers and the local matrix of each joint, and writes two matrices of
/// each.
class RigModifier final : public Modifier {
public:
    const std::string& name() const override { return m_Name; }
    const std::vector<std::string>& typeList() const override { return m_None; }
    const std::vector<std::string>& graphList() const override { return m_None; }
    Result enumerate(Scene&, std::vector<ModifierTarget>& targets) override
    {
        for (Item* root : roots)
            targets.push_back({root, 0});
        return {};
    }
    ResultOf<std::unique_ptr<ModifierNode>> allocate(const ModifierTarget& target,
                                                     NodeChannels& channels) override
    {
        auto node = std::make_unique<Node>();
        Item* item = target.item;
        for (int j = 0; j < kJoints; ++j) {
            node->first.push_back(channels.count());
            channels.add(*item, "localMatrix", ChannelMode::Read);
            channels.add(*item, "wposMatrix", ChannelMode::ReadWrite);
            channels.add(*item, "wrotMatrix", ChannelMode::ReadWrite);
            channels.add(*item, "wsclMatrix", ChannelMode::ReadWrite);
            for (int n = 0; n < kNumbers; ++n)
                channels.add(*item, "rig" + std::to_string(n), ChannelMode::Read);
            item = item->children().empty() ? nullptr : item->children().front();
        }
        ResultOf<std::unique_ptr<ModifierNode>> made;
        made.value = std::move(node);
        return made;
    }
    std::vector<Item*> roots;

private:
    struct Node final : ModifierNode {
        Result evaluate(NodeChannels& channels) override
        {
            for (const std::uint32_t base : first) {
                double nine[9], three[3], sum = 0, value = 0;
                (void)channels.linear(base, nine);
                (void)channels.offset(base, three);
                for (std::uint32_t n = 0; n < kNumbers; ++n) {
                    (void)channels.number(base + 4 + n, value);
                    sum += value;
                }
                three[0] += sum;
                (void)channels.setOffset(base + 1, three);
                (void)channels.setLinear(base + 2, nine);
            }
            return {};
        }
        std::vector<std::uint32_t> first;
    };
    std::string m_Name = "rig";
    std::vector<std::string> m_None;
};

struct Rigs {
    explicit Rigs(int count)
    {
        std::vector<ChannelDefinition> channels;
        for (int n = 0; n < kNumbers; ++n)
            channels.push_back(numberChannel("rig" + std::to_string(n), ChannelType::Float, 1));
        require(host.registerPackage("rig", "bench", std::move(channels)).ok(), "package");
        const LoadingScope loading(scene.journal());
        for (int r = 0; r < count; ++r) {
            Item* parent = nullptr;
            for (int j = 0; j < kJoints; ++j) {
                auto item = scene.createItem(host.locatorType(), "joint", {.parent = parent});
                require(item.ok() && scene.addPackage(*item.value, "rig").ok(), item.message);
                auto rotation = scene.addTransformItem(*item.value, TransformKind::Rotation);
                require(rotation.ok(), rotation.message);
                for (const char* axis : {"rot.X", "rot.Y", "rot.Z"})
                    turns.push_back(rotation.value->channel(axis));
                worlds.push_back(item.value->channel("worldMatrix"));
                if (!parent)
                    modifier->roots.push_back(item.value);
                parent = item.value;
            }
        }
        Modifiers::of(host).add(modifier);
    }
    void readAll()
    {
        Matrix34 matrix;
        for (Channel* world : worlds) {
            evaluation.matrix(*world, host.time(), matrix);
            benchmark::DoNotOptimize(matrix);
        }
    }
    Host host;
    Scene& scene = host.newScene();
    Evaluation& evaluation = Evaluation::of(scene);
    std::shared_ptr<RigModifier> modifier = std::make_shared<RigModifier>();
    std::vector<Channel*> worlds, turns;
};

/// One goal of each rig is edited, then all joints are read.
void editedFrame(benchmark::State& state)
{
    Rigs rigs(static_cast<int>(state.range(0)));
    std::vector<Channel*> goals;
    for (Item* root : rigs.modifier->roots)
        goals.push_back(root->channel("rig0"));
    rigs.readAll();
    const Step step(rigs.scene.journal(), "frames");
    double value = 0;
    for (auto _ : state) {
        value += 0.001;
        for (Channel* goal : goals)
            benchmark::DoNotOptimize(
                rigs.scene.writeNumber(*goal, Action::Anim, 0, value, WriteMode::Plain).ok());
        rigs.readAll();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(editedFrame)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond);

/// Every joint's rotation is keyed; the time runs.
void playedFrame(benchmark::State& state)
{
    Rigs rigs(static_cast<int>(state.range(0)));
    {
        const LoadingScope loading(rigs.scene.journal());
        std::vector<Key> keys;
        for (int k = 0; k < 100; ++k)
            keys.push_back({.time = k / 30.0, .number = 0.01 * (k % 7)});
        for (Channel* turn : rigs.turns)
            require(rigs.scene.setKeys(*turn, Action::Anim, keys).ok(), "keys");
    }
    rigs.readAll();
    int frame = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(rigs.host.setTime(++frame % 100 / 30.0).ok());
        rigs.readAll();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(playedFrame)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond);

/// Nothing changed since the last read.
void unchangedRead(benchmark::State& state)
{
    Rigs rigs(1);
    rigs.readAll();
    for (auto _ : state)
        rigs.readAll();
    state.SetItemsProcessed(state.iterations() * kJoints);
}
BENCHMARK(unchangedRead);

/// The first edit while a view of the evaluated scene is alive.
void editUnderARead(benchmark::State& state)
{
    Rigs rigs(static_cast<int>(state.range(0)));
    rigs.readAll();
    const Step step(rigs.scene.journal(), "edits");
    Channel& goal = *rigs.modifier->roots.front()->channel("rig0");
    double value = 0;
    for (auto _ : state) {
        const auto read = rigs.evaluation.read(0);
        value += 0.001;
        benchmark::DoNotOptimize(rigs.scene.writeNumber(goal, Action::Anim, 0, value, WriteMode::Plain).ok());
    }
}
BENCHMARK(editUnderARead)->Arg(1)->Arg(50)->Unit(benchmark::kMicrosecond);

} // namespace
