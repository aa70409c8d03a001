// SPDX-License-Identifier: MIT
// Modules that change a scene: inside their commands alone, all or nothing.
#include "FakeModule.h"
#include "HostFixture.h"

#include <refhost/Commands.h>
#include <refhost/Evaluation.h>
#include <refhost/Messages.h>
#include <refhost/Modules.h>
#include <zx/ZxEdit.h>

#include <algorithm>
#include <limits>

using namespace refhost;
using support::FakeWorld;

namespace {

struct WorldHolder {
    FakeWorld world;
};

using SceneEdit = CZxLocalize<ZxSceneEditTable>;
using ItemEdit = CZxLocalize<ZxItemEditTable>;
using Write = CZxLocalize<ZxChannelWriteTable>;
using Read = CZxLocalize<ZxChannelReadTable>;
using Locator = CZxLocalize<ZxLocatorTable>;

template <class Face>
Face faceOf(const CZxObject& object, const ZxId& id)
{
    Face face;
    face.query(object.object(), id);
    return face;
}

class ModuleEditTests : public WorldHolder, public support::HostFixture {
protected:
    ModuleEditTests()
    {
        host.setMessageSink([this](MessageLevel, std::string_view text) { messages.emplace_back(text); });
        world.moreServers = {{"fake.command", kZxIdCommand}};
        world.allocate = [](const support::Item&, const support::Evaluation&) { return kZxOk; };
        const Result loaded = modules.loadEntry("fake", &FakeWorld::entry);
        EXPECT_TRUE(loaded.ok()) << loaded.message;
    }
    ~ModuleEditTests() override
    {
        world.execute = nullptr;
        world.enable = nullptr;
        for (const LiveReferences& held : modules.liveReferences())
            if (held.interfaceName != "Context")
                ADD_FAILURE() << held.references << " of " << held.interfaceName;
    }
    CommandResult run(std::function<zxresult()> body)
    {
        world.execute = std::move(body);
        return Commands::of(host).execute("fake.command");
    }
    template <class Table>
    CZxLocalize<Table> service(const ZxId& id)
    {
        return world.context.fetch<&ZxContextTable::service, CZxLocalize<Table>>(&id);
    }
    support::Scene currentScene()
    {
        uint32_t code = 0;
        const auto selection = service<ZxSelectionServiceTable>(kZxIdSelectionService);
        const auto translation = service<ZxScenePacketTranslationTable>(kZxIdScenePacketTranslation);
        selection.call<&ZxSelectionServiceTable::typeCode>("cinema", &code);
        const auto packet = selection.fetch<&ZxSelectionServiceTable::recent, CZxObject>(code);
        return translation.fetch<&ZxScenePacketTranslationTable::scene, support::Scene>(packet.object());
    }
    support::Item item(uint32_t index)
    {
        return currentScene().fetch<&ZxSceneTable::itemByIndex, support::Item>(host.locatorType().code(),
                                                                               index);
    }
    Write write(const char* action, double time = 0)
    {
        return faceOf<SceneEdit>(currentScene(), kZxIdSceneEdit)
            .fetch<&ZxSceneEditTable::channelWrite, Write>(action, time);
    }
    Read read(const char* action)
    {
        return currentScene().fetch<&ZxSceneTable::channelRead, Read>(action, 0.0);
    }
    Matrix34 world34(Item& of)
    {
        Matrix34 out;
        Evaluation::of(scene).matrix(*of.channel("worldMatrix"), 0, out);
        return out;
    }
    /// One way or another everything that changes something; what each answers.
    std::vector<zxresult> changes()
    {
        const support::Scene at = currentScene();
        const support::Item first = item(0);
        const auto sceneEdit = faceOf<SceneEdit>(at, kZxIdSceneEdit);
        const auto itemEdit = faceOf<ItemEdit>(first, kZxIdItemEdit);
        const auto tags = faceOf<CZxLocalize<ZxStringTagTable>>(first, kZxIdStringTag);
        const auto links = faceOf<CZxLocalize<ZxItemGraphEditTable>>(
            at.fetch<&ZxSceneTable::graph, CZxObject>("ikRefs"), kZxIdItemGraphEdit);
        const auto list = faceOf<CZxLocalize<ZxSelectionListTable>>(
            service<ZxSelectionServiceTable>(kZxIdSelectionService), kZxIdSelectionList);
        const auto packet = service<ZxItemPacketTranslationTable>(kZxIdItemPacketTranslation)
                                .fetch<&ZxItemPacketTranslationTable::packet, CZxObject>(first.object());
        const auto commands = service<ZxCommandServiceTable>(kZxIdCommandService);
        ZxObject* made = nullptr;
        std::vector<zxresult> answers = {
            sceneEdit.call<&ZxSceneEditTable::newItem>(host.locatorType().code(), &made),
            sceneEdit.call<&ZxSceneEditTable::resetModifier>("fake.modifier"),
            itemEdit.call<&ZxItemEditTable::setName>("Other"),
            itemEdit.call<&ZxItemEditTable::addPackage>("limits"),
            tags.call<&ZxStringTagTable::set>(0x41424344u, "text"),
            links.call<&ZxItemGraphEditTable::addLink>(first.object(), first.object()),
            list.call<&ZxSelectionListTable::select>(packet.object()),
            list.call<&ZxSelectionListTable::clear>(1u),
            commands.call<&ZxCommandServiceTable::executeText>("item.create name:Made", 0x109u),
        };
        CZxObject holder;
        holder.adopt(made);
        return answers;
    }

    std::vector<std::string> messages;
    Modules& modules = Modules::of(host);
};

} // namespace

TEST_F(ModuleEditTests, NothingIsChangedOutsideOfACommand)
{
    begin();
    make("A");
    commit();
    const std::string before = scene.digest();
    const std::vector<zxresult> refused(9, kZxNotAvailable), done(9, kZxOk);
    EXPECT_EQ(changes(), refused);
    begin(); // a step of somebody else is no invitation
    EXPECT_EQ(changes(), refused);
    ASSERT_TRUE(scene.journal().rollback().ok());
    std::vector<zxresult> asked, answered;
    world.enable = [&](const CZxLocalizedObject&) {
        asked = changes();
        return kZxTrue;
    };
    const std::size_t steps = scene.journal().undoCount();
    EXPECT_TRUE(run([&] {
                    answered = changes();
                    return kZxOk;
                }).ok());
    EXPECT_EQ(asked, refused);
    EXPECT_EQ(answered, done);
    EXPECT_EQ(scene.journal().undoCount(), steps + 1);
    EXPECT_NE(scene.digest(), before);
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(scene.digest(), before);
}

TEST_F(ModuleEditTests, AnItemIsPutWhereItIsWanted)
{
    // Below two parents that are moved, turned and scaled unevenly.
    begin();
    Item& above = make("above");
    Item& parent = make("parent", &above);
    const auto set = [&](Item& of, TransformKind kind, const char* name, const Vector3& value) {
        Item& transform = *scene.addTransformItem(of, kind).value;
        for (std::size_t a = 0; a < 3; ++a)
            ASSERT_TRUE(scene
                            .writeNumber(*transform.channel(std::string(name) + '.' + "XYZ"[a]),
                                         Action::Setup, 0, value[a], WriteMode::Plain)
                            .ok());
    };
    for (Item* each : {&above, &parent}) {
        set(*each, TransformKind::Position, "pos", {1, -2, 3});
        set(*each, TransformKind::Rotation, "rot", {0.3, -0.7, 1.1});
        set(*each, TransformKind::Scale, "scl", {2, 0.5, 1.5});
    }
    for (int order = 0; order < kRotationOrderCount; ++order) {
        Item& child = make("child", &parent);
        ASSERT_TRUE(
            scene
                .writeNumber(*scene.addTransformItem(child, TransformKind::Rotation).value->channel("order"),
                             Action::Setup, 0, order, WriteMode::Plain)
                .ok());
    }
    make("plain", &parent); // without transform items
    commit();
    const Vector3 place = {4, 5, -6};
    const Matrix33 turn = matrixFromEuler({-0.4, 0.9, 2.5}, 0);
    for (const char* action : {static_cast<const char*>(nullptr), "edit"}) {
        for (Item* child : parent.children()) {
            SCOPED_TRACE(child->uniqueName() + (action ? " by an action" : " evaluated"));
            zxresult result = kZxOk;
            double nine[9] = {}, three[3] = {};
            ASSERT_TRUE(run([&] {
                            const std::vector<Item*> all = scene.itemsOfType(host.locatorType());
                            const auto index = std::find(all.begin(), all.end(), child) - all.begin();
                            const auto locator =
                                faceOf<Locator>(item(static_cast<uint32_t>(index)), kZxIdLocator);
                            const Write to = write("edit");
                            const Read from = read(action);
                            result = locator.call<&ZxLocatorTable::setWorldPosition>(
                                to.object(), from.object(), place.data());
                            if (succeeded(result))
                                result = locator.call<&ZxLocatorTable::setWorldRotation>(
                                    to.object(), from.object(), &turn.m[0][0]);
                            const Read after = read(action);
                            locator.call<&ZxLocatorTable::worldTransform>(after.object(), nine, three);
                            return result;
                        }).ok());
            const Matrix34 shown = world34(*child);
            Matrix34 rotation;
            Evaluation::of(scene).matrix(*child->channel("wrotMatrix"), 0, rotation);
            for (int r = 0; r < 3; ++r) {
                EXPECT_NEAR(shown.offset[static_cast<std::size_t>(r)], place[static_cast<std::size_t>(r)],
                            1e-12);
                EXPECT_NEAR(three[r], place[static_cast<std::size_t>(r)], 1e-12);
                for (int c = 0; c < 3; ++c) {
                    EXPECT_NEAR(rotation.linear[r][c], turn[r][c], 1e-12);
                    EXPECT_NEAR(nine[3 * r + c], turn[r][c], 1e-12);
                }
            }
            ASSERT_TRUE(scene.journal().undo().ok());
        }
    }
}

TEST_F(ModuleEditTests, AnEvaluatedReadShowsTheSceneAsItWasTaken)
{
    begin();
    Item& a = make("A");
    Item& moved = *scene.addTransformItem(a, TransformKind::Position).value;
    commit();
    const int channel = moved.channelIndex("pos.X");
    double before = -1, inAction = -1, after = -1;
    ASSERT_TRUE(
        run([&] {
            ZxObject* found = nullptr;
            check(faceOf<Locator>(item(0), kZxIdLocator).call<&ZxLocatorTable::transformItem>(2u, &found));
            support::Item position;
            position.adopt(found);
            const Read evaluated = read(nullptr), edit = read("edit");
            check(write("edit").call<&ZxChannelWriteTable::number>(position.object(), channel, 7.0));
            check(evaluated.call<&ZxChannelReadTable::number>(position.object(), channel, &before));
            check(edit.call<&ZxChannelReadTable::number>(position.object(), channel, &inAction));
            return read(nullptr).call<&ZxChannelReadTable::number>(position.object(), channel, &after);
        }).ok());
    EXPECT_EQ(before, 0);
    EXPECT_EQ(inAction, 7);
    EXPECT_EQ(after, 7);
}

TEST_F(ModuleEditTests, WhatNoCallCanAcceptIsAnsweredAndHarmsNothing)
{
    begin();
    Item& a = make("A");
    make("B", &a);
    commit();
    const std::string before = scene.digest();
    std::vector<zxresult> answers;
    EXPECT_TRUE(
        run([&] {
            const support::Item top = item(0), child = item(1);
            const auto edit = faceOf<ItemEdit>(top, kZxIdItemEdit);
            const Write to = write("anim");
            const double infinite = std::numeric_limits<double>::infinity();
            ZxObject* made = nullptr;
            const auto sceneEdit = faceOf<SceneEdit>(currentScene(), kZxIdSceneEdit);
            answers = {
                edit.call<&ZxItemEditTable::setParent>(child.object()),
                edit.call<&ZxItemEditTable::addPackage>("nonsense"),
                edit.call<&ZxItemEditTable::removePackage>("limits"),
                to.call<&ZxChannelWriteTable::number>(top.object(), 0, infinite),
                to.call<&ZxChannelWriteTable::number>(top.object(), 999, 1.0),
                to.call<&ZxChannelWriteTable::number>(top.object(), a.channelIndex("worldMatrix"), 1.0),
                sceneEdit.call<&ZxSceneEditTable::newItem>(0u, &made),
                sceneEdit.call<&ZxSceneEditTable::channelWrite>("nonsense", 0.0, &made),
            };
            return kZxOk;
        }).ok());
    EXPECT_EQ(
        answers,
        (std::vector<zxresult>{kZxInvalidArgument, kZxNotFound, kZxNotFound, kZxInvalidArgument, kZxNotFound,
                               kZxInvalidArgument, kZxInvalidArgument, kZxInvalidArgument}));
    EXPECT_EQ(scene.digest(), before);
}

TEST_F(ModuleEditTests, AFailureOfTheModuleOrTheHostTakesEverythingBack)
{
    begin();
    make("A");
    commit();
    const std::string before = scene.digest();
    const auto renamed = [&](zxresult answer) {
        return [this, answer] {
            check(faceOf<ItemEdit>(item(0), kZxIdItemEdit).call<&ZxItemEditTable::setName>("B"));
            return answer;
        };
    };
    EXPECT_EQ(run(renamed(kZxOutOfMemory)).message, "'fake.command' failed: out of memory (0x80000002).");
    EXPECT_EQ(scene.digest(), before);
    // The module takes no notice of a call that fails.
    const CommandResult result = run([&] {
        check(faceOf<ItemEdit>(item(0), kZxIdItemEdit).call<&ZxItemEditTable::setName>("B"));
        modules.failCall(1);
        item(0);
        return kZxOk;
    });
    EXPECT_EQ(result.outcome, CommandResult::Outcome::Failed);
    EXPECT_EQ(scene.digest(), before);
    EXPECT_TRUE(run(renamed(kZxOk)).ok());
    EXPECT_NE(scene.digest(), before);
}

TEST_F(ModuleEditTests, ItemsThatAreDeletedAreDeafAndTheirPacketsEmpty)
{
    begin();
    make("A");
    commit();
    zxresult renamed = kZxOk, translated = kZxOk, selected = kZxOk;
    EXPECT_TRUE(run([&] {
                    const support::Item a = item(0);
                    const auto translation =
                        service<ZxItemPacketTranslationTable>(kZxIdItemPacketTranslation);
                    const auto packet =
                        translation.fetch<&ZxItemPacketTranslationTable::packet, CZxObject>(a.object());
                    const auto edit = faceOf<ItemEdit>(a, kZxIdItemEdit);
                    const auto list = faceOf<CZxLocalize<ZxSelectionListTable>>(
                        service<ZxSelectionServiceTable>(kZxIdSelectionService), kZxIdSelectionList);
                    check(service<ZxCommandServiceTable>(kZxIdCommandService)
                              .call<&ZxCommandServiceTable::executeText>("item.delete item:A", 0x109u));
                    renamed = edit.call<&ZxItemEditTable::setName>("B");
                    ZxObject* found = nullptr;
                    translated =
                        translation.call<&ZxItemPacketTranslationTable::item>(packet.object(), &found);
                    selected = list.call<&ZxSelectionListTable::select>(packet.object());
                    return kZxOk;
                }).ok());
    EXPECT_EQ(renamed, kZxNotAvailable);
    EXPECT_EQ(translated, kZxNotAvailable);
    EXPECT_EQ(selected, kZxNotAvailable);
    EXPECT_EQ(scene.itemCount(), 0u);
}

TEST_F(ModuleEditTests, ARefusalIsASentenceOrNothing)
{
    ASSERT_TRUE(
        Messages::of(host)
            .loadText(R"({"format": "sinew-messages", "version": 1, "tables": {"fake": {"7": "Not now."}}})",
                      "fake.json")
            .ok());
    const auto refuse = [](uint32_t number) {
        return [number](const CZxLocalizedObject& message) {
            CZxLocalize<ZxMessageTable> face;
            check(face.query(message.object(), kZxIdMessage));
            check(face.call<&ZxMessageTable::setCode>(kZxMessage));
            check(face.call<&ZxMessageTable::setMessage>("fake", number));
            return kZxMessage;
        };
    };
    Commands& commands = Commands::of(host);
    world.enable = refuse(7);
    EXPECT_EQ(commands.execute("fake.command").message, "Not now.");
    world.enable = refuse(8);
    EXPECT_EQ(commands.execute("fake.command").message, "table fake, message 8");
    world.enable = [](const CZxLocalizedObject&) { return kZxFalse; };
    EXPECT_EQ(commands.execute("fake.command").message, "'fake.command' cannot run now.");
    world.enable = [](const CZxLocalizedObject&) { return kZxFailure; };
    EXPECT_EQ(commands.execute("fake.command").outcome, CommandResult::Outcome::Refused);
    ASSERT_TRUE(modules.unload("fake").ok());
    EXPECT_EQ(commands.find("fake.command"), nullptr);
}
