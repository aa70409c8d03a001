// SPDX-License-Identifier: MIT
// Scene files give back the same document and the same text, also where the module that made parts of it is
// missing.
#include "FileTesting.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>

namespace refhost {
namespace {

namespace fs = std::filesystem;

/// A document with something of everything that a file stores.
Scene& makeRichScene(Host& host)
{
    Scene& scene = host.newScene();
    const LoadingScope loading(scene.journal());
    Item& figure = *must(scene.createItem(*host.findType("ex.actor"), "Figure \"one\"\n\xc3\xa9"));
    Item& hand = *must(scene.createItem(host.locatorType(), "Hand", {.parent = &figure, .id = 40}));
    Item& twin = *must(scene.createItem(host.locatorType(), "Hand", {.parent = &figure}));
    Item& late = *must(scene.createItem(host.meshType(), "", {.parent = &figure, .id = 7}));
    Item& gone = *must(scene.createItem(host.solverType(), "Solver"));
    must(scene.setParent(hand, &figure)); // stands there already
    must(scene.setParent(late, &hand));
    must(scene.setParent(late, &figure));
    for (const char* package : {"ex.joint", "ex.extra", "ex.mark"})
        must(scene.addPackage(hand, package));
    must(scene.removePackage(hand, "ex.joint")); // indices stay empty in the middle ...
    must(scene.addPackage(hand, "ex.joint"));
    must(scene.addPackage(twin, "ex.extra"));
    must(scene.removePackage(twin, "ex.extra")); // ... and at the end

    Item& position = *must(scene.addTransformItem(hand, TransformKind::Position));
    Item& rotation = *must(scene.addTransformItem(hand, TransformKind::Rotation, 1000));
    must(scene.addTransformItem(late, TransformKind::Scale).result());
    must(scene.writeNumber(*position.channel("pos.X"), Action::Setup, 0, 0.1, WriteMode::Plain));
    must(scene.writeNumber(*position.channel("pos.Y"), Action::Setup, 0, -0.0, WriteMode::Plain));
    must(scene.writeNumber(*position.channel("pos.Z"), Action::Anim, 0, 1e-300, WriteMode::Plain));
    must(scene.setKeys(*rotation.channel("rot.X"), Action::Anim,
                       {{0, 1, 0, 0, Interpolation::Linear},
                        {1.0 / 3, 2, 0.5, -0.0, Interpolation::Cubic},
                        {2, 3, 0, 0, Interpolation::Step},
                        {3, 4, 7, 8, Interpolation::Linear}}));
    must(scene.writeNumber(*rotation.channel("rot.X"), Action::Anim, 0, 5, WriteMode::Plain));
    must(scene.writeNumber(*rotation.channel("order"), Action::Setup, 0, 4, WriteMode::Plain));
    must(scene.writeNumber(*hand.channel("exMode"), Action::Anim, 0.5, -3, WriteMode::CreateKey));
    must(scene.writeNumber(*hand.channel("exOn"), Action::Setup, 0, 0, WriteMode::Plain));
    must(scene.writeText(*hand.channel("exLabel"), Action::Anim, 0, "\tfirst \\", WriteMode::CreateKey));
    must(scene.writeText(*hand.channel("exLabel"), Action::Anim, 1, "", WriteMode::CreateKey));
    must(scene.writeText(*hand.channel("exLabel"), Action::Setup, 1, "plain", WriteMode::Plain));
    Matrix34 matrix;
    matrix.linear[0][1] = 0.1;
    matrix.offset = {1, -2.5, 1e-7};
    must(scene.writeMatrix(*hand.channel("exFrame"), Action::Setup, matrix));
    must(scene.writeNumber(*figure.channel("visible"), Action::Setup, 0, 0, WriteMode::Plain));
    must(scene.setTag(hand, tagCode('P', 'R', 'N', 'T'), "denied"));
    must(scene.setTag(hand, 0x01020304, "odd"));
    must(scene.setTag(tagCode('a', 'b', ' ', '"'), ""));

    // Reverse lists in another order than by source.
    must(scene.addLink("ikRefs", twin, figure));
    must(scene.addLink("ikRefs", hand, figure));
    must(scene.addLink("ikRefs", figure, late));
    must(scene.addLink("ikRefs", figure, hand));
    must(scene.addLink("ikRefs", gone, figure));
    must(scene.addLink("chanLinks", gone, gone)); // an item graph may have this name too
    must(scene.addLink(*late.channel("wposMatrix"), *hand.channel("exFrame")));
    must(scene.addLink(*figure.channel("figSteps"), *hand.channel("exMode")));
    must(scene.addLink(*hand.channel("exGoal.X"), *hand.channel("exMode")));
    must(scene.deleteItem(gone));
    must(scene.setSetupMode(true));
    return scene;
}

TEST(SceneFile, GivesBackTheSameDocumentAndTheSameText)
{
    Host host;
    loadExampleModule(host);
    const Scene& scene = makeRichScene(host);
    const std::string text = textOf(scene);
    const std::unique_ptr<Scene> read = mustRead(host, text);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->digest(), scene.digest());
    EXPECT_EQ(textOf(*read), text);
    EXPECT_EQ(host.scenes().size(), 1u) << "the caller adds the scene";
    EXPECT_FALSE(read->journal().canUndo());
    // Identifiers go on behind those of the file, and names are looked up.
    EXPECT_EQ(read->findByUniqueName("Hand_2")->name(), "Hand");
    const LoadingScope loading(read->journal());
    EXPECT_EQ(must(read->createItem(host.locatorType(), "Hand"))->id(), 1002u);
}

TEST(SceneFile, IsReadableAndHoldsNoDefaults)
{
    Host host;
    loadExampleModule(host);
    Scene& scene = host.newScene();
    EXPECT_EQ(textOf(scene), "{\"format\": \"sinew-scene\", \"version\": 1}\n");
    const LoadingScope loading(scene.journal());
    Item& root = *must(scene.createItem(host.locatorType(), "Root"));
    must(scene.createItem(host.locatorType(), "Root", {.parent = &root}).result());
    must(scene.addPackage(root, "ex.extra"));
    EXPECT_EQ(
        textOf(scene),
        "{\n"
        "  \"format\": \"sinew-scene\",\n"
        "  \"version\": 1,\n"
        "  \"packages\": {\n"
        "    \"ex.extra\": {\"origin\": \"example\", \"channels\": [{\"name\": \"extra\", \"type\": "
        "\"angle\", "
        "\"default\": 1}]}\n"
        "  },\n"
        "  \"items\": [\n"
        "    {\"id\": 1, \"name\": \"Root\", \"type\": \"locator\", \"packages\": [{\"name\": "
        "\"ex.extra\"}]},\n"
        "    {\"id\": 2, \"name\": \"Root\", \"unique\": \"Root_2\", \"type\": \"locator\", \"parent\": 1}\n"
        "  ]\n"
        "}\n");
}

TEST(SceneFile, KeepsWhatAMissingModuleMade)
{
    Host host;
    loadExampleModule(host);
    const Scene& scene = makeRichScene(host);
    const std::string text = textOf(scene);

    Host without; // no module
    const std::unique_ptr<Scene> read = mustRead(without, text);
    ASSERT_TRUE(read);
    EXPECT_EQ(textOf(*read), text);
    EXPECT_EQ(read->digest(), scene.digest());
    // The stand-ins behave as the real ones would towards the user.
    Item& hand = *read->findByUniqueName("Hand");
    const Item& figure = *read->topItems()[0];
    EXPECT_TRUE(hand.hasPackage("ex.joint"));
    EXPECT_TRUE(figure.isOfType("ex.figure") && figure.isOfType("locator"));
    EXPECT_EQ(figure.type().name(), "ex.actor");
    EXPECT_EQ(hand.channel("exWeight")->definition().defaultInteger, 7);
    EXPECT_EQ(hand.channel("exMode")->definition().textHints[1].text, "both \"ends\"");
    EXPECT_FALSE(without.findPackage("ex.joint")) << "a module that is loaded later must find its names free";
    // Undo works on them as well.
    const std::string before = read->digest();
    must(read->journal().begin("remove"));
    must(read->removePackage(hand, "ex.joint"));
    must(read->journal().commit());
    EXPECT_NE(read->digest(), before);
    must(read->journal().undo());
    EXPECT_EQ(read->digest(), before);
    // With the module again, all is real.
    Host with;
    loadExampleModule(with);
    const std::unique_ptr<Scene> again = mustRead(with, textOf(*read));
    EXPECT_EQ(&again->topItems()[0]->type(), with.findType("ex.actor"));
    EXPECT_EQ(again->digest(), scene.digest());
}

constexpr const char* kForeign =
    "{\n"
    "  \"format\": \"sinew-scene\",\n"
    "  \"camera\": {\"fov\": 1.50, \"near\": 1e-05},\n"
    "  \"version\": 1,\n"
    "  \"items\": [\n"
    "    {\n"
    "      \"color\": [1, 0.10, 0],\n"
    "      \"id\": 1,\n"
    "      \"name\": \"A\",\n"
    "      \"type\": \"locator\",\n"
    "      \"position\": {\"id\": 2, \"locked\": true, \"values\": {\"pos.X\": {\"setup\": "
    "1}}},\n"
    "      \"layer\": null,\n"
    "      \"note\": 12345678901234567890123,\n"
    "      \"values\": {\"visible\": {\"setup\": false}, \"glow\": {\"anim\": 3}},\n"
    "      \"data\": {\"cloth\": {\"weave\": [\"a\", {}]}}\n"
    "    }\n"
    "  ],\n"
    "  \"data\": {\"sky\": \"blue\"},\n"
    "  \"zoom\": 2\n"
    "}\n";

TEST(SceneFile, KeepsKeysDataAndChannelsThatItDoesNotKnow)
{
    Host host;
    std::vector<std::string> told;
    host.setMessageSink([&](MessageLevel, std::string_view text) { told.emplace_back(text); });
    const std::unique_ptr<Scene> read = mustRead(host, kForeign);
    ASSERT_TRUE(read);
    EXPECT_EQ(textOf(*read), kForeign);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_NE(told[0].find("'glow' of 'locator'"), std::string::npos) << told[0];
    // Known parts are edited between them.
    const LoadingScope loading(read->journal());
    must(read->clearValue(*read->findByUniqueName("A")->channel("visible"), Action::Setup));
    std::string expected = kForeign;
    expected.replace(expected.find("\"visible\": {\"setup\": false}, "), 29, "");
    EXPECT_EQ(textOf(*read), expected);
}

TEST(SceneFile, LeavesIndicesAloneWhenARegisteredPackageHasGrownOrShrunk)
{
    Host old;
    must(old.registerPackage("p", "m",
                             {numberChannel("a", ChannelType::Float), numberChannel("b", ChannelType::Float)})
             .result());
    must(old.registerPackage("q", "m", {numberChannel("c", ChannelType::Float)}).result());
    Scene& scene = old.newScene();
    const LoadingScope loading(scene.journal());
    Item& item = *must(scene.createItem(old.locatorType(), "A"));
    must(scene.addPackage(item, "p"));
    must(scene.addPackage(item, "q"));
    must(scene.writeNumber(*item.channel("b"), Action::Setup, 0, 3, WriteMode::Plain));
    must(scene.writeNumber(*item.channel("c"), Action::Setup, 0, 4, WriteMode::Plain));
    must(scene.addLink(*item.channel("b"), *item.channel("c")));

    Host grown;
    std::vector<std::string> told;
    grown.setMessageSink([&](MessageLevel, std::string_view text) { told.emplace_back(text); });
    must(grown
             .registerPackage("p", "m",
                              {numberChannel("n1", ChannelType::Float),
                               numberChannel("n2", ChannelType::Float),
                               numberChannel("a", ChannelType::Float)})
             .result());
    const std::unique_ptr<Scene> read = mustRead(grown, textOf(scene));
    ASSERT_TRUE(read);
    const Item& again = *read->findByUniqueName("A");
    EXPECT_EQ(again.channel("c")->number(Layer::Setup, 0), 4);
    EXPECT_EQ(again.channelIndex("c"), again.channelIndex("n1") + 3);
    EXPECT_EQ(again.channel("b"), nullptr);
    EXPECT_EQ(told.size(), 2u) << "a value that is kept aside and a link that is left out";
    // The value of the channel that is no more is still in the file for the older module.
    const std::unique_ptr<Scene> back = mustRead(old, textOf(*read));
    EXPECT_EQ(back->findByUniqueName("A")->channel("b")->number(Layer::Setup, 0), 3);
}

class SceneFolder : public testing::Test {
protected:
    void SetUp() override
    {
        m_Folder = fs::temp_directory_path() / ("sinew_scene_" + std::to_string(std::random_device{}()));
        fs::create_directories(m_Folder);
    }
    void TearDown() override { fs::remove_all(m_Folder); }
    std::string path(const char* name) const { return (m_Folder / name).string(); }
    std::size_t fileCount() const
    {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(m_Folder), fs::directory_iterator()));
    }

    fs::path m_Folder;
};

TEST_F(SceneFolder, FilesAreReplacedWholeAndNamedInMessages)
{
    Host host;
    loadExampleModule(host);
    Scene& scene = makeRichScene(host);
    const std::string file = path("walk.sinew.json");
    must(writeSceneFile(scene, file));
    const std::unique_ptr<Scene> read = must(readSceneFile(host, file));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->name(), "walk");
    EXPECT_EQ(read->digest(), scene.digest());

    // A scene that could not be read again is refused and the old file stays.
    {
        const LoadingScope loading(scene.journal());
        must(scene.rename(*scene.findByUniqueName("Hand"), "H\xff"));
    }
    const Result refused = writeSceneFile(scene, file);
    EXPECT_NE(refused.message.find("item 40"), std::string::npos) << refused.message;
    EXPECT_TRUE(readSceneFile(host, file).ok());
    EXPECT_EQ(fileCount(), 1u);

    std::ofstream(path("bad.json")) << "{\"format\": \"sinew-scene\",\n  \"version\" 1}";
    const std::string message = readSceneFile(host, path("bad.json")).message;
    EXPECT_EQ(message.find(path("bad.json") + ": line 2, column 13: "), 0u) << message;
    EXPECT_NE(readSceneFile(host, path("none.json")).message.find("none.json"), std::string::npos);
    EXPECT_FALSE(readSceneFile(host, m_Folder.string()).ok());
    EXPECT_FALSE(writeSceneFile(*read, path("no/such/folder.json")).ok());
}

TEST(SceneFile, RefusesToWriteWhatCouldNotBeReadAgain)
{
    struct Opaque final : DocumentData {
        std::string digest() const override { return "opaque"; }
    };
    Host host;
    loadExampleModule(host);
    Scene& scene = host.newScene();
    const LoadingScope loading(scene.journal());
    Item& item = *must(scene.createItem(host.locatorType(), "A"));
    must(scene.addPackage(item, "ex.joint"));
    Channel& goal = *item.channel("exGoal.Y");
    must(scene.writeNumber(goal, Action::Setup, 0, 1.0001e30, WriteMode::Plain));
    EXPECT_NE(sceneText(scene).message.find("item 1 'A', channel exGoal.Y"), std::string::npos);
    must(scene.clearValue(goal, Action::Setup));
    must(scene.setData(item, "opaque", std::make_shared<Opaque>()));
    EXPECT_NE(sceneText(scene).message.find("'opaque'"), std::string::npos);
    must(scene.setData(item, "opaque", nullptr));
    must(scene.writeText(*item.channel("exLabel"), Action::Setup, 0, std::string_view("a\0b", 3),
                         WriteMode::Plain));
    EXPECT_NE(sceneText(scene).message.find("channel exLabel"), std::string::npos);
    must(scene.clearValue(*item.channel("exLabel"), Action::Setup));
    EXPECT_TRUE(sceneText(scene).ok());
    Item* below = &item;
    for (int level = 2; level <= kMaximumItemLevels + 1; ++level)
        below = must(scene.createItem(host.locatorType(), "B", {.parent = below}));
    EXPECT_NE(sceneText(scene).message.find("1024 levels"), std::string::npos);
    must(scene.deleteItem(*below));
    EXPECT_TRUE(mustRead(host, textOf(scene)));
}

/// One random change; refusals are part of it.
void change(Scene& scene, std::mt19937& random)
{
    Host& host = scene.host();
    const auto pick = [&](std::size_t count) { return static_cast<std::size_t>(random()) % count; };
    const std::vector<Item*>& items = scene.items();
    const char* types[] = {"locator", "ikSolver", "mesh", "ex.figure", "ex.actor"};
    const char* names[] = {"A", "B", "", "Arm_2", "\xe2\x82\xac"};
    const char* packages[] = {"ex.joint", "ex.mark", "ex.extra"};
    if (items.size() < 4) {
        (void)scene.createItem(*host.findType(types[pick(5)]), names[pick(5)]);
        return;
    }
    Item& item = *items[pick(items.size())];
    Item& other = *items[pick(items.size())];
    const auto anyChannel = [&](Item& of) {
        Channel* channel =
            of.channel(static_cast<int>(pick(static_cast<std::size_t>(of.channelSlotCount()))));
        return channel ? channel : of.channel(0);
    };
    Channel& channel = *anyChannel(item);
    const Action action = static_cast<Action>(pick(3));
    const double time = static_cast<double>(pick(50)) / 7;
    const double value = std::ldexp(static_cast<double>(random()) - 2e9, static_cast<int>(pick(80)) - 60);
    switch (pick(16)) {
    case 0:
    case 1:
        (void)scene.createItem(*host.findType(types[pick(5)]), names[pick(5)], {.parent = &item});
        break;
    case 2:
        (void)(pick(4) == 0 ? scene.deleteItem(item) : scene.rename(item, names[pick(5)]));
        break;
    case 3:
        (void)scene.setParent(item, pick(5) == 0 ? nullptr : &other);
        break;
    case 4:
        (void)scene.addTransformItem(item, static_cast<TransformKind>(pick(3)));
        break;
    case 5:
    case 6:
        (void)scene.addPackage(item, packages[pick(3)]);
        break;
    case 7:
        (void)scene.removePackage(item, packages[pick(3)]);
        break;
    case 8:
    case 9:
        (void)scene.writeNumber(channel, action, time, value, static_cast<WriteMode>(pick(3) == 0 ? 0 : 2));
        break;
    case 10:
        (void)scene.writeText(channel, action, time, names[pick(5)], static_cast<WriteMode>(pick(2) * 2));
        (void)scene.writeMatrix(channel, action,
                                {{{{value, 1, 0}, {0, 1, value}, {2, 0, 1}}}, {value, 0, -0.0}});
        break;
    case 11:
        (void)scene.putKey(
            channel, action,
            {time, value, value / 3, pick(2) ? 0 : -value, static_cast<Interpolation>(pick(3))});
        break;
    case 12:
        (void)scene.addLink(pick(2) ? "ikRefs" : "ikTasks", item, other);
        break;
    case 13:
        (void)scene.addLink(channel, *anyChannel(other));
        break;
    case 14:
        (void)scene.deleteLink("ikRefs", item, other);
        (void)scene.setTag(item, static_cast<TagCode>(random()), names[pick(5)]);
        break;
    default:
        (void)scene.setSetupMode(pick(2) == 0);
        (void)scene.journal().undo();
    }
}

TEST(SceneFile, ItemsMadeBesideTheLargestIdentifierAreReadAgain)
{
    Host host;
    std::string text = R"({"format": "sinew-scene", "version": 1, "items": [)"
                       R"({"id": #, "name": "Last", "type": "locator"},)"
                       R"({"id": 1, "name": "First", "type": "locator"}]})";
    text.replace(text.find('#'), 1, std::to_string(kMaximumItemId));
    const auto scene = mustRead(host, text);
    std::set<ItemId> ids;
    {
        const LoadingScope loading(scene->journal());
        for (int i = 0; i < 3; ++i) {
            Item& made = *must(scene->createItem(host.locatorType(), "New"));
            Item& moved = *must(scene->addTransformItem(made, TransformKind::Position));
            EXPECT_TRUE(ids.insert(made.id()).second);
            EXPECT_TRUE(ids.insert(moved.id()).second);
        }
    }
    const auto again = mustRead(host, textOf(*scene));
    EXPECT_EQ(again->digest(), scene->digest());
}

TEST(SceneFile, RandomScenesSurviveWithAndWithoutTheModule)
{
    for (unsigned seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        Host host, without;
        loadExampleModule(host);
        Scene& scene = host.newScene();
        for (int step = 0; step < 120; ++step) {
            must(scene.journal().begin("change"));
            for (int i = 0; i < 5; ++i)
                change(scene, random);
            must(scene.journal().commit());
            if (random() % 6 == 0)
                must(scene.journal().undo());
        }
        const std::string text = textOf(scene);
        for (Host* reader : {&host, &without}) {
            const std::unique_ptr<Scene> read = mustRead(*reader, text);
            ASSERT_TRUE(read);
            ASSERT_EQ(textOf(*read), text);
            ASSERT_EQ(read->digest(), scene.digest());
        }
    }
}

} // namespace
} // namespace refhost
