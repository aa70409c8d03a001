// SPDX-License-Identifier: MIT
// The host's own commands, by what a user sees of them.
#include "CommandSession.h"
#include "refhost/Mesh.h"

#include "refhost/Messages.h"

#include <filesystem>
#include <numbers>
#include <unistd.h>

namespace refhost {
namespace {

TEST(HostCommands, ItemsAreMadeMovedRenamedAndDeleted)
{
    CommandSession session;
    session.run("item.create name:Root");
    session.run("item.create name:Arm parent:Root");
    session.run("item.create name:Arm parent:Root");
    session.run("item.create type:mesh name:\"my skin\"");
    EXPECT_EQ(session.ask("items"), "Root (locator)\n  Arm (locator)\n  Arm_2 (locator)\n\"my skin\" (mesh)");
    session.run("item.parent item:Arm_2 parent:Arm");
    session.run("item.rename Hand item:Arm_2");
    EXPECT_EQ(session.ask("items item:Arm"), "Arm (locator)\n  Hand (locator)");
    session.run("item.parent item:Hand");
    EXPECT_EQ(session.item("Hand").parent(), nullptr);
    EXPECT_FALSE(session.fails("item.parent item:Root parent:Arm").empty()) << "below itself";
    EXPECT_NE(session.fails("item.create type:locatr").find("Did you mean 'locator'?"), std::string::npos);

    session.run("select.add Root");
    session.run("select.add Arm");
    session.run("item.delete");
    EXPECT_EQ(session.ask("items"), "\"my skin\" (mesh)\nHand (locator)");
    EXPECT_NE(session.fails("item.delete").find("Nothing is selected"), std::string::npos);
}

TEST(HostCommands, TheParentTagIsHonoured)
{
    CommandSession session;
    session.run("item.create name:A");
    session.run("item.create name:B");
    session.run("item.tag tag:PRNT value:denied item:A");
    EXPECT_NE(session.fails("item.parent item:A parent:B").find("PRNT"), std::string::npos);
    session.run("item.tag PRNT item:A");
    session.run("item.parent item:A parent:B");
    EXPECT_FALSE(session.fails("item.tag tag:TOOLONG value:x item:A").empty());
}

TEST(HostCommands, ValuesGoToTheChannelOrToTheTransformItems)
{
    CommandSession session;
    session.run("item.create name:Arm");
    session.run("channel.set Arm pos.X 1.25");
    session.run("channel.set Arm rot.Z 90deg");
    session.run("channel.set Arm order zxy");
    session.run("channel.set Arm visible off");
    Item& rotation = *session.item("Arm").transformItem(TransformKind::Rotation);
    EXPECT_DOUBLE_EQ(rotation.channel("rot.Z")->number(Layer::Anim, 0), std::numbers::pi / 2);
    EXPECT_EQ(rotation.channel("order")->integer(Layer::Anim, 0), 4);
    EXPECT_EQ(session.ask("query Arm pos.X action:anim"), "1.25");
    EXPECT_EQ(session.ask("query Arm pos.X action:setup"), "0");
    EXPECT_EQ(session.ask("query Arm visible action:edit"), "0");
    EXPECT_EQ(session.ask("query Arm scl.Y action:edit"), "1") << "a transform item that was never made";
    EXPECT_EQ(session.item("Arm").transformItem(TransformKind::Scale), nullptr) << "a query makes none";
    EXPECT_NE(session.fails("channel.set Arm pos.W 1").find("Did you mean 'pos."), std::string::npos);
    EXPECT_FALSE(session.fails("channel.set Arm pos.X 3deg").empty()) << "a distance has no degrees";
    EXPECT_FALSE(session.fails("channel.set Arm order sideways").empty());
    EXPECT_FALSE(session.fails("channel.set Arm scl.X 1e999").empty());
    session.run("channel.set Arm wposMatrix \"1 0 0 5 0 1 0 6 0 0 1 7\" action:setup");
    EXPECT_EQ(session.ask("query Arm wposMatrix action:setup"), "1 0 0 5\n0 1 0 6\n0 0 1 7\n0 0 0 1");
    EXPECT_FALSE(session.fails("channel.set Arm wposMatrix \"1 0 0\"").empty());
    session.run("scene.setup");
    session.run("channel.set Arm pos.Y 0.1");
    EXPECT_EQ(session.ask("query Arm pos.Y action:setup"), "0.1");
}

TEST(HostCommands, KeysArePutAndTakenAway)
{
    CommandSession session;
    session.run("item.create name:Arm");
    session.run("channel.key Arm pos.X 1 time:0");
    session.run("channel.key Arm pos.X value:3 time:1");
    EXPECT_EQ(session.ask("query Arm pos.X time:0.5 action:anim"), "2");
    session.run("channel.key Arm pos.X time:0 interpolation:step");
    EXPECT_EQ(session.ask("query Arm pos.X time:0.5 action:anim"), "1");
    session.run("time.set 2");
    session.run("channel.set Arm pos.X 9 mode:createKey");
    EXPECT_EQ(session.ask("query Arm pos.X time:1.5 action:anim"), "6");
    session.run("channel.set Arm pos.X 4 mode:key time:1");
    EXPECT_EQ(session.ask("query Arm pos.X time:1 action:anim"), "4");
    session.run("channel.unkey Arm pos.X time:1");
    EXPECT_FALSE(session.fails("channel.unkey Arm pos.X time:1").empty());
    EXPECT_FALSE(session.fails("channel.unkey Arm scl.X time:1").empty()) << "nothing was ever scaled";
    EXPECT_FALSE(session.fails("channel.key Arm wposMatrix").empty());
    EXPECT_FALSE(session.fails("time.set 1e300").empty());
}

TEST(HostCommands, LinksOfItemsAndChannels)
{
    CommandSession session;
    session.run("item.create name:A");
    session.run("item.create name:B.arm");
    session.run("graph.link ikRefs A B.arm");
    EXPECT_EQ(session.ask("links ikRefs"), "A -> B.arm");
    EXPECT_EQ(session.ask("links other"), "");
    session.run("channel.link from:A.pos.X to:B.arm.pos.Y");
    session.run("channel.link A.visible B.arm.visible");
    EXPECT_EQ(session.ask("links chanLinks"), "A.visible -> B.arm.visible\nA.pos.X -> B.arm.pos.Y");
    session.run("channel.unlink A.pos.X B.arm.pos.Y");
    session.run("graph.unlink ikRefs A B.arm");
    EXPECT_EQ(session.ask("links ikRefs"), "");
    EXPECT_FALSE(session.fails("graph.unlink ikRefs A B.arm").empty());
    EXPECT_FALSE(session.fails("channel.unlink A.scl.X B.arm.pos.Y").empty());
    EXPECT_NE(session.fails("channel.link A.visible Bvisible").find("ITEM.CHANNEL"), std::string::npos);
    EXPECT_NE(session.fails("graph.link chanLinks A B.arm").find("channel.link"), std::string::npos);
    EXPECT_NE(session.fails("graph.link parent A B.arm").find("item.parent"), std::string::npos);
}

TEST(HostCommands, PackagesAndTheDrawing)
{
    CommandSession session;
    session.run("item.create name:Goal");
    session.run("item.draw item:Goal mode:1");
    for (const char* channel :
         {"drawShape", "isStyle", "isSize.X", "isSize.Y", "isSize.Z", "fillOptions", "fillColor.R",
          "fillColor.G", "fillColor.B", "wireOptions", "wireColor.R", "wireColor.G", "wireColor.B"})
        EXPECT_NE(session.item("Goal").channel(channel), nullptr) << channel;
    session.run("channel.set Goal drawShape sphere");
    session.run("item.draw item:Goal mode:0");
    EXPECT_EQ(session.item("Goal").channel("fillOptions"), nullptr);
    EXPECT_FALSE(session.fails("item.draw item:Goal mode:2").empty());
    EXPECT_NE(session.fails("package.add drawin item:Goal").find("Did you mean 'drawing'?"),
              std::string::npos);
    session.run("package.add drawing item:Goal");
    session.run("package.remove drawing item:Goal");
    EXPECT_FALSE(session.fails("package.remove drawing item:Goal").empty());
}

TEST(HostCommands, MeshesAreMadeAndBoundWhereTheyStand)
{
    CommandSession session;
    session.run("item.create name:Arm");
    session.run("channel.set item:Arm channel:pos.X value:2");
    session.run("mesh.create points:\"0 0 0 1 0 0 0 1 0\" triangles:\"0 1 2\" name:Sheet");
    session.run("channel.set item:Sheet channel:pos.Y value:5");
    const auto point = [&](std::size_t index) {
        return MeshPoses::of(session.scene()).at(session.item("Sheet"), 0)->points[index];
    };
    EXPECT_EQ(point(1), (Vector3f{1, 5, 0}));
    session.run("mesh.bind item:Sheet joint:Arm points:\"1 2\" weight:0.5");
    EXPECT_EQ(point(1), (Vector3f{1, 5, 0})); // binding moves nothing
    session.run("channel.set item:Arm channel:pos.X value:3");
    session.run("channel.set item:Sheet channel:pos.Y value:0");
    EXPECT_EQ(point(0), (Vector3f{0, 0, 0}));
    EXPECT_EQ(point(1), (Vector3f{2, 5, 0}));
    session.run("undo 3");
    EXPECT_TRUE(meshOf(session.item("Sheet"))->data().maps.empty());

    EXPECT_NE(session.fails("mesh.create points:\"0 0\" triangles:\"0 1 2\"").find("points"),
              std::string::npos);
    EXPECT_NE(session.fails("mesh.create points:\"0 0 0\" triangles:\"0 1 2\"").find("has 1"),
              std::string::npos);
    EXPECT_NE(session.fails("mesh.bind item:Arm joint:Arm").find("no geometry"), std::string::npos);
    EXPECT_NE(session.fails("mesh.bind item:Sheet joint:Arm weight:-1").find("0 or more"), std::string::npos);
}

TEST(HostCommands, HistoryWalksAllOrNothing)
{
    CommandSession session;
    EXPECT_FALSE(session.fails("undo").empty());
    session.run("item.create name:A");
    session.run("item.create name:B");
    session.run("select.set A");
    EXPECT_NE(session.fails("undo 4").find("only 3 steps"), std::string::npos);
    EXPECT_FALSE(session.fails("undo 0").empty());
    session.run("history.undo count:3");
    EXPECT_EQ(session.ask("items"), "");
    session.run("redo 3");
    EXPECT_EQ(session.selected(), " A");
    EXPECT_FALSE(session.fails("redo").empty());
}

TEST(HostCommands, QueriesAnswerProgramsInJson)
{
    CommandSession session;
    session.run("item.create name:Arm");
    EXPECT_EQ(session.ask("query Arm visible action:edit json:true"),
              R"({"item":"Arm","channel":"visible","type":"boolean","value":true})");
    EXPECT_EQ(session.ask("query Arm scl.X json:on action:setup"),
              R"({"item":"Arm","channel":"scl.X","type":"float","value":1.0})");
    EXPECT_NE(
        session.ask("query Arm localMatrix action:setup json:true")
            .find(R"("value":[[1.0,0.0,0.0,0.0],[0.0,1.0,0.0,0.0],[0.0,0.0,1.0,0.0],[0.0,0.0,0.0,1.0]])"),
        std::string::npos);
    EXPECT_NE(session.ask("items json:true").find(R"("type":"locator","parent":null,"packages":[])"),
              std::string::npos);
}

TEST(HostCommands, ScenesAreSavedAndOpenedAndABadFileLeavesTheOpenOne)
{
    const std::string path =
        testing::TempDir() + "scene_of_commands_" + std::to_string(getpid()) + ".sinew.json";
    CommandSession session;
    session.run("item.create name:Keep");
    EXPECT_FALSE(session.fails("scene.save").empty()) << "no file yet";
    session.run("scene.save file:\"" + path + "\"");
    session.run("item.create name:Later");
    EXPECT_FALSE(session.fails("scene.open file:/nonexistent/scene.json").empty());
    EXPECT_NE(session.scene().findByUniqueName("Later"), nullptr);
    session.run("scene.open file:\"" + path + "\"");
    EXPECT_EQ(session.ask("items"), "Keep (locator)");
    EXPECT_EQ(session.host.scenes().size(), 1u);
    session.run("scene.save");
    session.run("scene.new Fresh");
    EXPECT_EQ(session.ask("items"), "");
    EXPECT_FALSE(session.fails("scene.import file:picture.png").empty());
    EXPECT_FALSE(session.fails("scene.export file:empty.bvh").empty());
    std::filesystem::remove(path);
}

TEST(Messages, SentencesAreFoundByTableAndNumber)
{
    Host host;
    Messages& messages = Messages::of(host);
    ASSERT_TRUE(messages
                    .loadText(R"({"format": "sinew-messages", "version": 1,
                                  "tables": {"rig": {"7": "Select a joint.", "8": "Eight."}}})",
                              "rig.json")
                    .ok());
    ASSERT_TRUE(
        messages
            .loadText(R"({"format":"sinew-messages","version":1,"tables":{"rig":{"8":"Acht."}}})", "de.json")
            .ok());
    EXPECT_EQ(messages.sentence("rig", 7), "Select a joint.");
    EXPECT_EQ(messages.sentence("rig", 8), "Acht.");
    EXPECT_EQ(messages.sentence("rig", 9), "table rig, message 9");
    EXPECT_EQ(messages.sentence("none", 1), "table none, message 1");
    const std::string head = R"({"format":"sinew-messages","version":1,"tables":)";
    for (const std::string& bad :
         {std::string("{\n  \"format\""), std::string("[]"),
          std::string(R"({"format":"sinew-messages","version":2})"), head + "[]}",
          head + R"({"rig":{"x":"text"}}})", head + R"({"rig":{"7":5}}})", head + R"({"rig":{"7":""}}})",
          head + R"({"rig":{"7":"Changed."},"other":3}})", std::string(100000, '[')}) {
        const Result result = messages.loadText(bad, "bad.json");
        EXPECT_EQ(result.message.rfind("bad.json: ", 0), 0u) << bad.substr(0, 80);
    }
    EXPECT_EQ(messages.sentence("rig", 7), "Select a joint.") << "a bad file changes nothing";
    EXPECT_TRUE(messages.loadFolder("/nonexistent/messages").ok());
    EXPECT_FALSE(messages.load("/nonexistent/messages.json").ok());
}

} // namespace
} // namespace refhost
