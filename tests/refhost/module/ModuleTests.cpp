// SPDX-License-Identifier: MIT
// Modules: loading and unloading, what they register, evaluating through them, and calls outside the rules.
#include "FakeModule.h"
#include "HostFixture.h"

#include <refhost/Evaluation.h>
#include <refhost/Modules.h>

#include <cmath>
#include <filesystem>
#include <fstream>

using namespace refhost;
using support::FakeWorld;

namespace {

/// Outlives the host of the fixture.
struct WorldHolder {
    FakeWorld world;
};

class ModuleTests : public WorldHolder, public support::HostFixture {
protected:
    ModuleTests()
    {
        host.setMessageSink([this](MessageLevel, std::string_view text) { messages.emplace_back(text); });
        world.allocate = [this](const support::Item& item, const support::Evaluation& channels) {
            const auto add = [&](const char* name, uint32_t mode, uint32_t& index) {
                return channels.call<&ZxEvaluationTable::addChannel>(item.object(), name, mode, &index);
            };
            check(add("fakeOffset.Y", kZxRead, input));
            check(add("localMatrix", kZxRead, local));
            return add("wposMatrix", kZxReadWrite, output);
        };
        world.evaluate = [this](const support::Evaluation& channels) {
            double value = 0, three[3] = {};
            check(channels.call<&ZxEvaluationTable::readDouble>(input, &value));
            const support::Matrix from = take(channels, local, 0), to = take(channels, output, 1);
            check(from.call<&ZxMatrixTable::getOffset>(three));
            three[1] += value;
            return to.call<&ZxMatrixTable::setOffset>(three);
        };
    }
    static support::Matrix take(const support::Evaluation& channels, uint32_t index, uint32_t writing)
    {
        ZxObject* found = nullptr;
        check(channels.call<&ZxEvaluationTable::matrix>(index, writing, &found));
        support::Matrix matrix;
        matrix.adopt(found);
        return matrix;
    }
    void load()
    {
        const Result loaded = modules.loadEntry("fake", &FakeWorld::entry);
        ASSERT_TRUE(loaded.ok()) << loaded.message;
    }
    Item& rigged(const char* name)
    {
        Item& item = make(name);
        EXPECT_TRUE(scene.addPackage(item, "fake.package").ok());
        return item;
    }
    Vector3 position(Item& item)
    {
        Matrix34 out;
        Evaluation::of(scene).matrix(*item.channel("worldMatrix"), host.time(), out);
        return out.offset;
    }
    void set(Item& item, const char* channel, double value)
    {
        ASSERT_TRUE(scene.writeNumber(*item.channel(channel), Action::Anim, 0, value, WriteMode::Plain).ok());
    }
    /// The scene service and so on, as the module reaches them.
    template <class Table>
    CZxLocalize<Table> service(const ZxId& id)
    {
        return world.context.fetch<&ZxContextTable::service, CZxLocalize<Table>>(&id);
    }
    /// The current scene as the module reaches it.
    support::Scene currentScene()
    {
        uint32_t code = 0;
        auto selection = service<ZxSelectionServiceTable>(kZxIdSelectionService);
        auto translation = service<ZxScenePacketTranslationTable>(kZxIdScenePacketTranslation);
        selection.call<&ZxSelectionServiceTable::typeCode>("cinema", &code);
        const auto packet = selection.fetch<&ZxSelectionServiceTable::recent, CZxObject>(code);
        return translation.fetch<&ZxScenePacketTranslationTable::scene, support::Scene>(packet.object());
    }
    support::Item itemOf(const support::Scene& of, uint32_t index)
    {
        return of.fetch<&ZxSceneTable::itemByIndex, support::Item>(host.locatorType().code(), index);
    }
    void expectNothingHeld()
    {
        for (const LiveReferences& held : modules.liveReferences())
            ADD_FAILURE() << held.references << " of " << held.interfaceName;
        EXPECT_EQ(world.livingObjects, 0);
        EXPECT_EQ(world.instances, 0);
    }

    std::vector<std::string> messages;
    Modules& modules = Modules::of(host);
    uint32_t input = 0, local = 0, output = 0;
};

} // namespace

TEST_F(ModuleTests, AModuleBringsTypesPackagesAndNodesAndTakesItsNodesAway)
{
    load();
    EXPECT_TRUE(modules.isLoaded("fake"));
    ASSERT_EQ(modules.servers("fake").size(), 3u);
    const ItemType* type = host.findType("fake.type");
    ASSERT_TRUE(type && type->isOrDerivesFrom("ikSolver"));
    begin();
    Item& solver = make(*type, "solver");
    EXPECT_GT(solver.channelIndex("fakeGain"), 0);
    Item& item = rigged("item");
    EXPECT_EQ(item.channel("fakeOffset.Z")->number(Layer::Anim, 0), 3);
    EXPECT_EQ(item.channel("fakeMatrix")->type(), ChannelType::Matrix4);
    EXPECT_EQ(position(item), (Vector3{0, 2, 0}));
    set(item, "fakeOffset.Y", 5);
    EXPECT_EQ(position(item), (Vector3{0, 5, 0}));
    EXPECT_EQ(world.evaluations, 2);
    EXPECT_EQ(Evaluation::of(scene).figure(item, "fake.modifier", "answer"), 42.0);
    EXPECT_EQ(Evaluation::of(scene).figure(item, "fake.modifier", "question"), std::nullopt);
    commit();
    EXPECT_EQ(world.instances, 2);
    EXPECT_EQ(world.setups, 2);

    ASSERT_TRUE(modules.unload("fake").ok());
    EXPECT_FALSE(modules.isLoaded("fake"));
    EXPECT_FALSE(world.context);
    EXPECT_EQ(position(item), (Vector3{0, 0, 0}));
    expectNothingHeld();
    EXPECT_TRUE(messages.empty()) << messages[0];
    // Again: what it registered is known, and the items carry it still.
    load();
    EXPECT_EQ(position(item), (Vector3{0, 5, 0}));
    EXPECT_EQ(world.instances, 2);
    EXPECT_FALSE(modules.loadEntry("fake", &FakeWorld::entry).ok());
}

TEST_F(ModuleTests, InstancesComeAndGoWithItemsAndPackagesAlsoByUndo)
{
    load();
    begin();
    Item& first = rigged("first");
    rigged("second");
    commit();
    EXPECT_EQ(modules.instanceCount(), 2u);
    begin();
    ASSERT_TRUE(scene.removePackage(first, "fake.package").ok());
    EXPECT_EQ(world.instances, 1);
    commit();
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(world.instances, 2);
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(world.instances, 0);
    ASSERT_TRUE(scene.journal().redo().ok());
    EXPECT_EQ(world.instances, 2);
    begin();
    ASSERT_TRUE(scene.deleteItem(first).ok());
    EXPECT_EQ(world.instances, 1);
    ASSERT_TRUE(scene.journal().rollback().ok());
    EXPECT_EQ(world.instances, 2);

    auto made = host.makeScene("file");
    {
        const LoadingScope loading(made->journal());
        auto item = made->createItem(host.locatorType(), "item");
        ASSERT_TRUE(item.ok() && made->addPackage(*item.value, "fake.package").ok());
    }
    Scene& file = host.addScene(std::move(made));
    EXPECT_EQ(world.instances, 3);
    ASSERT_TRUE(host.closeScene(file).ok());
    EXPECT_EQ(world.instances, 2);
}

TEST_F(ModuleTests, FilesThatAreNoModulesAreRefusedWithTheReason)
{
    namespace fs = std::filesystem;
    const fs::path folder = fs::temp_directory_path() / "sinew_module_tests";
    fs::create_directories(folder);
    std::ofstream(folder / "text.zx") << "not a library";
    const std::pair<std::string, const char*> cases[] = {
        {(folder / "none.zx").string(), "There is no module"},
        {folder.string(), "is a folder"},
        {(folder / "text.zx").string(), "is no module that can be loaded"},
        {"", "There is no module"},
        {"libm.so.6", "There is no module"}, // the system's folders are not searched
    };
    for (const auto& [path, text] : cases) {
        const Result loaded = modules.load(path);
        EXPECT_NE(loaded.message.find(text), std::string::npos) << path << ": " << loaded.message;
    }
    fs::remove_all(folder);
    EXPECT_TRUE(modules.names().empty());
    EXPECT_FALSE(modules.unload("none").ok());
}

TEST_F(ModuleTests, ModulesThatCannotBeTakenLeaveNothingBehind)
{
    const auto refused = [&](const char* text) {
        const Result loaded = modules.loadEntry("fake", &FakeWorld::entry);
        EXPECT_NE(loaded.message.find(text), std::string::npos) << loaded.message;
        EXPECT_TRUE(modules.names().empty());
        expectNothingHeld();
    };
    EXPECT_FALSE(modules.loadEntry("fake", nullptr).ok());
    world.startFails = true;
    refused("its entry gave nothing");
    world.startFails = false;
    world.super = "nothing";
    refused("it derives from 'nothing', which is no item type");
    world.super = "ikSolver";
    world.itemType = "locator";
    refused("'fake', server 'locator'");
    world.itemType = "fake.type";
    world.setupChannels = [](const CZxLocalize<ZxAddChannelTable>& channels) {
        return channels.call<&ZxAddChannelTable::add>("fakeMatrix", "storage");
    };
    refused("'fakeMatrix' doesn't say what it stores");
    world.setupChannels = [](const auto&) { return kZxOutOfMemory; };
    refused("its channels can't be set up: out of memory (0x80000002)");
    world.setupChannels = nullptr;
    load();
}

TEST_F(ModuleTests, ChannelSetUpKeepsDefaultsBoundsAndWords)
{
    using Table = ZxAddChannelTable;
    world.setupChannels = [](const CZxLocalize<Table>& c) {
        static const ZxHint bounds[] = {{0, "%min"}, {200, "%max"}, {-1, nullptr}};
        static const ZxHint turns[] = {{-180, "%minDegrees"}, {180, "%maxDegrees"}, {-1, nullptr}};
        static const ZxHint words[] = {{0, "off"}, {-1, "below"}, {1, "on"}, {-1, nullptr}};
        uint32_t index = 9;
        EXPECT_TRUE(failed(c.call<&Table::setDefault>(1.0, 1)));
        EXPECT_EQ(c.call<&Table::add>("a", "float"), kZxOk);
        EXPECT_EQ(c.call<&Table::setDefault>(1.0, 0), kZxOk); // the two forms may differ
        EXPECT_EQ(c.call<&Table::setHint>(static_cast<const ZxHint*>(bounds)), kZxOk);
        EXPECT_EQ(c.call<&Table::setStorage>("matrix4"), kZxInvalidArgument);
        EXPECT_EQ(c.call<&Table::add>("v", "angle"), kZxOk);
        EXPECT_EQ(c.call<&Table::setVector>("XYZ"), kZxOk);
        EXPECT_EQ(c.call<&Table::setHint>(static_cast<const ZxHint*>(turns)), kZxOk);
        EXPECT_EQ(c.call<&Table::add>("v.X", "float"), kZxInvalidArgument);
        EXPECT_EQ(c.call<&Table::add>("a", "float"), kZxInvalidArgument);
        EXPECT_EQ(c.call<&Table::add>("b", "matrix4"), kZxInvalidArgument);
        EXPECT_EQ(c.call<&Table::add>("w", "integer"), kZxOk);
        EXPECT_EQ(c.call<&Table::setHint>(static_cast<const ZxHint*>(words)), kZxOk);
        EXPECT_EQ(c.call<&Table::markSetupSwitch>(), kZxOk);
        EXPECT_EQ(c.call<&Table::index>(&index), kZxOk);
        EXPECT_EQ(index, 4u);
        return kZxOk;
    };
    load();
    const auto& made = host.findPackage("fake.package")->layout().definitions();
    ASSERT_EQ(made.size(), 5u);
    EXPECT_EQ(made[0].defaultNumber, 1);
    EXPECT_EQ(made[0].defaultInteger, 0);
    EXPECT_EQ(made[0].maximum, 200);
    EXPECT_EQ(made[3].name, "v.Z");
    EXPECT_NEAR(*made[3].minimum, -3.14159265358979, 1e-12);
    ASSERT_EQ(made[4].textHints.size(), 3u);
    EXPECT_EQ(made[4].textHints[1].text, "below");
    EXPECT_TRUE(made[4].marked);
}

TEST_F(ModuleTests, ObjectsAreDeafOnceReleasedOrGone)
{
    load();
    begin();
    Item& item = make("item");
    make("child", &item);
    {
        const support::Scene at = currentScene();
        support::Item first = itemOf(at, 0);
        support::Item again = itemOf(at, 0);
        EXPECT_EQ(first.object(), again.object());
        CZxLocalizedObject identity;
        EXPECT_EQ(identity.query(again.object(), kZxIdObject), kZxOk);
        EXPECT_EQ(identity.object(), first.object());
        EXPECT_EQ(identity.query(first.object(), kZxIdScene), kZxNotFound);
        support::Item child = first.fetch<&ZxItemTable::childByIndex, support::Item>(0u);

        ASSERT_TRUE(scene.deleteItem(item).ok());
        uint64_t id = 77;
        EXPECT_EQ(first.call<&ZxItemTable::identifier>(&id), kZxNotAvailable);
        EXPECT_EQ(child.call<&ZxItemTable::identifier>(&id), kZxNotAvailable);
        EXPECT_EQ(id, 77u);
        uint32_t count = 0;
        EXPECT_EQ(at.call<&ZxSceneTable::itemCount>(host.locatorType().code(), &count), kZxOk);
        EXPECT_EQ(count, 0u);

        make("other");
        support::Item other = itemOf(at, 0);
        ZxObject* released = other.object();
        other.clear();
        uint32_t code = 0;
        const auto* table = reinterpret_cast<const ZxItemTable*>(released->table);
        EXPECT_EQ(table->typeCode(released, &code), kZxNotAvailable);
        EXPECT_EQ(released->table->addRef(released), kZxNotAvailable);
        EXPECT_TRUE(messages.empty());
        EXPECT_EQ(released->table->release(released), kZxNotAvailable);
        EXPECT_EQ(messages.size(), 1u);

        Scene& second = host.newScene("second");
        const support::Scene closing = currentScene();
        EXPECT_NE(closing.object(), at.object());
        ASSERT_TRUE(host.closeScene(second).ok());
        EXPECT_EQ(closing.call<&ZxSceneTable::isSetupMode>(), kZxNotAvailable);
        EXPECT_EQ(at.call<&ZxSceneTable::isSetupMode>(), kZxFalse);
    }
    ASSERT_TRUE(modules.unload("fake").ok());
    expectNothingHeld();
}

TEST_F(ModuleTests, ForeignNullAndMisplacedArgumentsAreRefused)
{
    load();
    begin();
    make("item");
    const support::Scene at = currentScene();
    const support::Item item = itemOf(at, 0);
    support::Item none = itemOf(at, 1);
    EXPECT_FALSE(none);
    ZxObject* made = item.object();
    EXPECT_EQ(at.call<&ZxSceneTable::itemByIndex>(host.locatorType().code(), 1u, &made), kZxOutOfRange);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(at.call<&ZxSceneTable::itemByIndex>(0xffffffffu, 0u, &made), kZxInvalidArgument);
    EXPECT_EQ(at.call<&ZxSceneTable::itemCount>(host.locatorType().code(), nullptr), kZxInvalidArgument);
    EXPECT_EQ(at.call<&ZxSceneTable::channelRead>("nothing", 0.0, &made), kZxInvalidArgument);
    EXPECT_EQ(at.call<&ZxSceneTable::channelRead>("edit", std::nan(""), &made), kZxInvalidArgument);
    int32_t index = 5;
    EXPECT_EQ(item.call<&ZxItemTable::channelIndex>("nothing", &index), kZxNotFound);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(item.call<&ZxItemTable::parent>(&made), kZxNotFound);

    const auto graph = at.fetch<&ZxSceneTable::graph, CZxLocalize<ZxItemGraphTable>>("ikRefs");
    const auto links = at.fetch<&ZxSceneTable::graph, CZxLocalize<ZxChannelGraphTable>>("chanLinks");
    uint32_t count = 0;
    ZxObject foreign = *world.context.object(); // a host object of another kind is as foreign
    for (ZxObject* wrong : {static_cast<ZxObject*>(nullptr), at.object(), &foreign})
        EXPECT_EQ(graph.call<&ZxItemGraphTable::forwardCount>(wrong, &count), kZxInvalidArgument);
    EXPECT_EQ(links.call<&ZxChannelGraphTable::reverseCount>(item.object(), 0, &count), kZxOk);
    EXPECT_EQ(links.call<&ZxChannelGraphTable::reverseCount>(item.object(), 99, &count), kZxNotFound);
    CZxLocalizedObject wrongKind;
    EXPECT_EQ(wrongKind.query(links.object(), kZxIdItemGraph), kZxNotFound);
    Host other;
    Scene& elsewhere = other.newScene();
    (void)elsewhere;
    EXPECT_EQ(service<ZxScenePacketTranslationTable>(kZxIdScenePacketTranslation)
                  .call<&ZxScenePacketTranslationTable::scene>(item.object(), &made),
              kZxInvalidArgument);
    EXPECT_EQ(world.context.call<&ZxContextTable::service>(&kZxIdItem, &made), kZxNotFound);
}

TEST_F(ModuleTests, GraphsAndReadsShowTheScene)
{
    load();
    begin();
    Item& a = rigged("a");
    Item& b = rigged("b");
    ASSERT_TRUE(scene.addLink("ikTasks", a, b).ok());
    ASSERT_TRUE(scene.addLink(*a.channel("visible"), *b.channel("fakeOffset.X")).ok());
    const support::Scene at = currentScene();
    const support::Item first = itemOf(at, 0), second = itemOf(at, 1);
    const auto tasks = at.fetch<&ZxSceneTable::graph, CZxLocalize<ZxItemGraphTable>>("ikTasks");
    EXPECT_EQ((tasks.fetch<&ZxItemGraphTable::reverseByIndex, support::Item>(second.object(), 0u).object()),
              first.object());
    EXPECT_EQ((tasks.fetch<&ZxItemGraphTable::forwardByIndex, support::Item>(first.object(), 0u).object()),
              second.object());
    const auto links = at.fetch<&ZxSceneTable::graph, CZxLocalize<ZxChannelGraphTable>>("chanLinks");
    ZxObject* source = nullptr;
    int32_t channel = -1;
    ASSERT_EQ(links.call<&ZxChannelGraphTable::reverseByIndex>(
                  second.object(), b.channelIndex("fakeOffset.X"), 0u, &source, &channel),
              kZxOk);
    support::Item holder;
    holder.adopt(source);
    EXPECT_EQ(holder.object(), first.object());
    EXPECT_EQ(channel, 0);

    using Read = CZxLocalize<ZxChannelReadTable>;
    const Read edit = at.fetch<&ZxSceneTable::channelRead, Read>("edit", 0.0);
    const Read shown = at.fetch<&ZxSceneTable::channelRead, Read>(static_cast<const char*>(nullptr), 0.0);
    const auto valueOf = [&](const Read& read, const char* name) {
        double value = -1;
        EXPECT_EQ(read.call<&ZxChannelReadTable::number>(second.object(), b.channelIndex(name), &value),
                  kZxOk);
        return value;
    };
    EXPECT_EQ(valueOf(edit, "fakeOffset.Y"), 2);
    EXPECT_EQ(valueOf(edit, "fakeOffset.X"), 1);
    set(b, "fakeOffset.Y", 7);
    EXPECT_EQ(valueOf(edit, "fakeOffset.Y"), 7);
    EXPECT_EQ(valueOf(shown, "fakeOffset.Y"), 2); // as it stood
    ZxObject* matrix = nullptr;
    double three[3] = {};
    ASSERT_EQ(shown.call<&ZxChannelReadTable::value>(second.object(), b.channelIndex("worldMatrix"), &matrix),
              kZxOk);
    support::Matrix held;
    held.adopt(matrix);
    EXPECT_EQ(held.call<&ZxMatrixTable::getOffset>(three), kZxOk);
    EXPECT_EQ(three[1], 2);
    EXPECT_EQ(held.call<&ZxMatrixTable::setOffset>(static_cast<const double*>(three)), kZxNotAvailable);
    int32_t whole = 0;
    EXPECT_EQ(shown.call<&ZxChannelReadTable::integer>(second.object(), 999, &whole), kZxNotFound);
    EXPECT_EQ(edit.call<&ZxChannelReadTable::number>(second.object(), b.channelIndex("worldMatrix"), three),
              kZxInvalidArgument);
}

TEST_F(ModuleTests, CallsInTheWrongPhaseAreRefused)
{
    std::vector<zxresult> answers;
    support::Matrix kept;
    support::Evaluation keptEvaluation;
    const auto usual = world.evaluate;
    world.evaluate = [&](const support::Evaluation& channels) {
        uint32_t index = 0;
        const support::Scene at = currentScene();
        const support::Item item = itemOf(at, 0);
        answers.push_back(
            channels.call<&ZxEvaluationTable::addChannel>(item.object(), "visible", kZxRead, &index));
        ZxObject* read = nullptr;
        answers.push_back(at.call<&ZxSceneTable::channelRead>(static_cast<const char*>(nullptr), 0.0, &read));
        const double three[3] = {};
        answers.push_back(
            take(channels, output, 0).call<&ZxMatrixTable::setOffset>(static_cast<const double*>(three)));
        ZxObject* matrix = nullptr;
        answers.push_back(channels.call<&ZxEvaluationTable::matrix>(local, 1u, &matrix));
        kept = take(channels, output, 1);
        keptEvaluation = channels;
        return usual(channels);
    };
    load();
    begin();
    Item& item = rigged("item");
    EXPECT_EQ(position(item), (Vector3{0, 2, 0}));
    EXPECT_EQ(answers,
              (std::vector<zxresult>{kZxNotAvailable, kZxNotAvailable, kZxNotAvailable, kZxInvalidArgument}));
    double three[3] = {1, 2, 3};
    uint32_t index = 0;
    EXPECT_EQ(kept.call<&ZxMatrixTable::getOffset>(three), kZxNotAvailable);
    EXPECT_EQ(keptEvaluation.call<&ZxEvaluationTable::readDouble>(0u, three), kZxNotAvailable);
    EXPECT_EQ(keptEvaluation.call<&ZxEvaluationTable::addChannel>(nullptr, "x", kZxRead, &index),
              kZxNotAvailable);
    // A matrix of the former evaluation is no way into the next one.
    support::Matrix former = kept;
    world.evaluate = [&](const support::Evaluation&) {
        return former.call<&ZxMatrixTable::setOffset>(static_cast<const double*>(three));
    };
    set(item, "fakeOffset.Y", 3);
    EXPECT_EQ(position(item), (Vector3{0, 0, 0}));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_NE(messages[0].find("not available now (0x80000004)"), std::string::npos) << messages[0];
}

TEST_F(ModuleTests, AModuleThatKeepsReferencesIsNamed)
{
    world.keepsItems = true;
    load();
    begin();
    position(rigged("item"));
    ASSERT_TRUE(modules.unload("fake").ok());
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_NE(messages[0].find("'fake' was unloaded and still holds 1 of Item"), std::string::npos)
        << messages[0];
    uint64_t id = 0;
    ZxObject* leaked = world.leaked.at(0);
    EXPECT_EQ(reinterpret_cast<const ZxItemTable*>(leaked->table)->identifier(leaked, &id), kZxNotAvailable);
}

TEST_F(ModuleTests, EveryCallMayFailOnceWithoutHarm)
{
    const auto session = [&](std::uint64_t failing) {
        world.instances = 0;
        if (failing > 0)
            modules.failCall(failing);
        const bool loaded = modules.loadEntry("fake", &FakeWorld::entry).ok();
        if (loaded) {
            begin();
            Item& item = rigged("item");
            rigged("second");
            commit();
            const Vector3 first = position(item);
            EXPECT_TRUE(first == (Vector3{0, 2, 0}) || (failing > 0 && first == Vector3{})) << failing;
            begin();
            EXPECT_TRUE(scene.resetModifier("fake.modifier").ok());
            commit();
            modules.failCall(0);
            EXPECT_TRUE(failing > 0 || position(item) == (Vector3{0, 2, 0}));
            EXPECT_TRUE(scene.journal().undo().ok() && scene.journal().undo().ok());
            EXPECT_TRUE(modules.unload("fake").ok());
        }
        modules.failCall(0);
        expectNothingHeld();
        return loaded;
    };
    const std::uint64_t before = modules.callCount();
    ASSERT_TRUE(session(0));
    const std::uint64_t calls = modules.callCount() - before;
    EXPECT_GT(calls, 30u);
    std::uint64_t refused = 0;
    for (std::uint64_t n = 1; n <= calls; ++n)
        refused += !session(n);
    EXPECT_GT(refused, 0u);
}
