// SPDX-License-Identifier: MIT
// Items: names, hierarchy, types, transform items, deletion.
#include "HostFixture.h"

#include <algorithm>

using namespace refhost;
using support::namesOf;
using Names = std::vector<std::string>;

namespace {
using ItemTests = support::HostFixture;
}

TEST_F(ItemTests, NamesAreMadeUniqueWithTheSmallestFreeSuffix)
{
    begin();
    make("Goal");
    Item& second = make("Goal");
    Item& third = make("Goal");
    EXPECT_EQ(second.uniqueName(), "Goal_2");
    EXPECT_EQ(third.uniqueName(), "Goal_3");
    EXPECT_EQ(third.name(), "Goal");
    ASSERT_TRUE(scene.deleteItem(second).ok());
    EXPECT_EQ(make("Goal").uniqueName(), "Goal_2");
    EXPECT_EQ(make("Goal").uniqueName(), "Goal_4");
    EXPECT_EQ(make("Goal_2").uniqueName(), "Goal_2_2");
    EXPECT_EQ(make("").uniqueName(), "locator");
    EXPECT_EQ(scene.findByUniqueName("Goal_3"), &third);
    // Its own name is no obstacle to an item that is renamed to what it is called already.
    ASSERT_TRUE(scene.rename(third, "Goal").ok());
    EXPECT_EQ(third.uniqueName(), "Goal_3");
    ASSERT_TRUE(scene.rename(third, "Hand").ok());
    EXPECT_EQ(scene.findByUniqueName("Goal_3"), nullptr);
    EXPECT_EQ(make("Goal").uniqueName(), "Goal_3");
}

TEST_F(ItemTests, NamesAndIdentifiersOfAFileAreKeptOrRefused)
{
    begin();
    const auto loaded = scene.createItem(host.locatorType(), "Arm", {.id = 70, .uniqueName = "Arm_9"});
    ASSERT_TRUE(loaded.ok()) << loaded.message;
    EXPECT_EQ(scene.find(70), loaded.value);
    EXPECT_EQ(make("next").id(), 71u);
    EXPECT_FALSE(scene.createItem(host.locatorType(), "x", {.id = 70}).ok());
    EXPECT_FALSE(scene.createItem(host.locatorType(), "x", {.id = kMaximumItemId + 1}).ok());
    EXPECT_FALSE(scene.createItem(host.locatorType(), "x", {.uniqueName = "Arm_9"}).ok());
    EXPECT_EQ(scene.itemCount(), 2u);
}

TEST_F(ItemTests, AParentGetsTheChildAtTheEndAndNeverBelowItself)
{
    begin();
    Item& a = make("a");
    Item& b = make("b", &a);
    Item& c = make("c", &b);
    Item& d = make("d");
    ASSERT_TRUE(scene.setParent(d, &a).ok());
    EXPECT_EQ(namesOf(a.children()), (Names{"b", "d"}));
    ASSERT_TRUE(scene.setParent(b, &a).ok());
    EXPECT_EQ(namesOf(a.children()), (Names{"b", "d"}));
    EXPECT_FALSE(scene.setParent(a, &c).ok());
    EXPECT_FALSE(scene.setParent(a, &a).ok());
    ASSERT_TRUE(scene.setParent(c, nullptr).ok());
    EXPECT_EQ(namesOf(scene.topItems()), (Names{"a", "c"}));
    Host other;
    Scene& elsewhere = other.newScene();
    EXPECT_FALSE(elsewhere.setParent(a, nullptr).ok());
}

TEST_F(ItemTests, TypesDeriveAndMeshesAreNoLocators)
{
    const auto body =
        host.registerType("body", "ikSolver", "test", {numberChannel("gain", ChannelType::Float, 2)});
    ASSERT_TRUE(body.ok()) << body.message;
    EXPECT_FALSE(host.registerType("body", "locator", "test").ok());
    EXPECT_FALSE(host.registerType("other", "nothing", "test").ok());
    EXPECT_FALSE(
        host.registerType("other", "locator", "test", {numberChannel("visible", ChannelType::Boolean)}).ok());
    EXPECT_EQ(host.findType(body.value->code()), body.value);
    begin();
    Item& solver = make(*body.value, "Solver");
    Item& mesh = make(host.meshType(), "Skin");
    EXPECT_TRUE(solver.hasPackage("locator") && solver.hasPackage("ikSolver") && solver.hasPackage("body"));
    EXPECT_FALSE(mesh.hasPackage("locator"));
    EXPECT_TRUE(mesh.channel("worldMatrix"));
    EXPECT_EQ(solver.channelIndex("visible"), 0);
    EXPECT_EQ(solver.channel("gain")->number(Layer::Setup, 0), 2);
    EXPECT_EQ(scene.itemsOfType(host.locatorType()), std::vector<Item*>{&solver});
    EXPECT_FALSE(scene.addPackage(mesh, "locator").ok());
    EXPECT_FALSE(scene.removePackage(solver, "body").ok());
    EXPECT_FALSE(scene.createItem(host.transformType(TransformKind::Position), "p").ok());
}

TEST_F(ItemTests, TransformItemsAreItemsButNobodysChildren)
{
    begin();
    Item& owner = make("arm");
    EXPECT_EQ(owner.transformItem(TransformKind::Rotation), nullptr);
    Item* rotation = scene.addTransformItem(owner, TransformKind::Rotation).value;
    ASSERT_TRUE(rotation);
    EXPECT_EQ(scene.addTransformItem(owner, TransformKind::Rotation).value, rotation);
    EXPECT_EQ(scene.find(rotation->id()), rotation);
    EXPECT_EQ(rotation->transformOwner(), &owner);
    EXPECT_TRUE(owner.children().empty());
    EXPECT_EQ(scene.topItems().size(), 1u);
    EXPECT_EQ(rotation->label(), "arm.rotation");
    EXPECT_TRUE(rotation->channel("rot.Z") && rotation->channel("order"));
    EXPECT_FALSE(scene.setParent(*rotation, nullptr).ok());
    EXPECT_FALSE(scene.setParent(owner, rotation).ok());
    EXPECT_FALSE(scene.rename(*rotation, "x").ok());
    EXPECT_FALSE(host.selection().select(packetOf(*rotation)).ok());
    // A joint may be called like a transform item.
    EXPECT_EQ(make("rotation").uniqueName(), "rotation");
    const ItemId id = rotation->id();
    ASSERT_TRUE(scene.deleteItem(owner).ok());
    EXPECT_EQ(scene.find(id), nullptr);
    EXPECT_EQ(scene.itemCount(), 1u);
}

TEST_F(ItemTests, DeletingTakesDescendantsAndLinksAndUndoBringsAllBack)
{
    begin();
    Item& root = make("root");
    Item& first = make("first", &root);
    Item& limb = make("limb", &root);
    Item& hand = make("hand", &limb);
    make("last", &root);
    Item& goal = make("goal");
    Item* position = scene.addTransformItem(hand, TransformKind::Position).value;
    for (Item* other : {&first, &limb, &hand, &goal})
        ASSERT_TRUE(scene.addLink("ikTasks", root, *other).ok());
    ASSERT_TRUE(scene.addLink("ikRefs", hand, hand).ok());
    ASSERT_TRUE(scene.addLink(*goal.channel("wposMatrix"), *hand.channel("worldMatrix")).ok());
    ASSERT_TRUE(scene.addLink(*first.channel("wposMatrix"), *hand.channel("worldMatrix")).ok());
    ASSERT_TRUE(scene.setTag(hand, tagCode('O', 'V', 'C', 'L'), "r=1").ok());
    ASSERT_TRUE(scene.writeNumber(*position->channel("pos.X"), Action::Anim, 0, 1.25, WriteMode::Plain).ok());
    ASSERT_TRUE(host.selection().select(packetOf(hand)).ok());
    commit();
    const std::string before = scene.digest();

    begin();
    ASSERT_TRUE(scene.deleteItem(limb).ok());
    commit();
    EXPECT_EQ(namesOf(root.children()), (Names{"first", "last"}));
    EXPECT_EQ(namesOf(scene.graph("ikTasks").forward(root)), (Names{"first", "goal"}));
    EXPECT_EQ(goal.channel("wposMatrix")->linkCount(), 0u);
    EXPECT_FALSE(host.selection().isSelected(packetOf(hand)));
    EXPECT_EQ(scene.findByUniqueName("hand"), nullptr);

    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(scene.digest(), before);
    EXPECT_TRUE(host.selection().isSelected(packetOf(hand)));
}

TEST_F(ItemTests, AHundredThousandLevelsAreBuiltSearchedDeletedAndRestored)
{
    begin();
    Item* top = &make("deep");
    Item* leaf = top;
    for (int i = 1; i < 100000; ++i)
        leaf = &make("deep", leaf);
    commit();
    EXPECT_EQ(leaf->uniqueName(), "deep_100000");
    EXPECT_TRUE(leaf->isBelow(*top));
    begin();
    EXPECT_FALSE(scene.setParent(*top, leaf).ok());
    ASSERT_TRUE(scene.deleteItem(*top).ok());
    commit();
    EXPECT_EQ(scene.itemCount(), 0u);
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(scene.itemCount(), 100000u);
    EXPECT_TRUE(leaf->isBelow(*top));
}

TEST_F(ItemTests, TagsAndDataAreReplacedAndRemoved)
{
    struct Bytes final : DocumentData {
        explicit Bytes(std::string text) : content(std::move(text)) { }
        std::string digest() const override { return content; }
        std::string content;
    };
    const TagCode code = tagCode('P', 'R', 'N', 'T');
    EXPECT_EQ(code, 0x50524E54u);
    begin();
    Item& item = make("a");
    ASSERT_TRUE(scene.setTag(item, code, "denied").ok());
    ASSERT_TRUE(scene.setTag(code, "").ok());
    ASSERT_TRUE(scene.setData(item, "mesh", std::make_shared<Bytes>("one")).ok());
    commit();
    ASSERT_TRUE(item.tags().find(code));
    EXPECT_EQ(*item.tags().find(code), "denied");
    EXPECT_EQ(*scene.tags().find(code), "");
    const std::string before = scene.digest();
    begin();
    ASSERT_TRUE(scene.setTag(item, code, nullptr).ok());
    ASSERT_TRUE(scene.setTag(code, nullptr).ok());
    ASSERT_TRUE(scene.setData(item, "mesh", std::make_shared<Bytes>("two")).ok());
    commit();
    EXPECT_EQ(item.tags().find(code), nullptr);
    EXPECT_NE(scene.digest(), before);
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(scene.digest(), before);
}
