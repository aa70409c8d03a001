// SPDX-License-Identifier: MIT
// Evaluated transforms, links and keys, without nodes.
#include "EvaluationFixture.h"

#include <chrono>
#include <random>

using namespace refhost;

namespace {
using TransformEvaluationTests = support::EvaluationFixture;
}

TEST_F(TransformEvaluationTests, WorldMatricesFollowTheHierarchyInEveryPart)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> any(-2, 2);
    Item* parent = nullptr;
    const WorldParts* above = nullptr;
    WorldParts parts[5];
    for (WorldParts& expected : parts) {
        Item& item = make("joint", parent);
        LocalParts local;
        for (std::size_t i = 0; i < 3; ++i) {
            local.position[i] = any(random);
            local.rotation[i] = any(random);
            local.scale[i] = 1.5 + 0.5 * any(random);
        }
        local.order = 3;
        place(item, local.position[0], local.position[1], local.position[2]);
        Item& rotation = transform(item, TransformKind::Rotation);
        Item& scale = transform(item, TransformKind::Scale);
        for (const char axis : std::string("XYZ")) {
            const std::size_t i = static_cast<std::size_t>(axis - 'X');
            set(rotation, (std::string("rot.") + axis).c_str(), local.rotation[i]);
            set(scale, (std::string("scl.") + axis).c_str(), local.scale[i]);
        }
        set(rotation, "order", local.order);
        expected = worldParts(local, above);
        EXPECT_EQ(matrix(item, "localMatrix"), localMatrix(local));
        EXPECT_EQ(matrix(item, "wposMatrix"), expected.position);
        EXPECT_EQ(matrix(item, "wrotMatrix"), expected.rotation);
        EXPECT_EQ(matrix(item, "wsclMatrix"), expected.scale);
        EXPECT_EQ(matrix(item, "worldMatrix"), worldMatrix(expected));
        above = &expected;
        parent = &item;
    }
}

TEST_F(TransformEvaluationTests, EditsReachTheItemAndAllBelowIt)
{
    Item& top = make("top");
    Item& child = make("child", &top);
    Item& mesh = make(host.meshType(), "mesh", &child);
    EXPECT_EQ(worldX(mesh), 0);
    place(top, 1.25); // adds the transform item after the first read
    EXPECT_EQ(worldX(mesh), 1.25);
    place(child, 0.5);
    EXPECT_EQ(worldX(mesh), 1.75);
    ASSERT_TRUE(scene.setParent(child, nullptr).ok());
    EXPECT_EQ(worldX(mesh), 0.5);
    commit();
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(scene.itemCount(), 0u);
    ASSERT_TRUE(scene.journal().redo().ok());
    EXPECT_EQ(worldX(*scene.findByUniqueName("mesh")), 0.5);
}

TEST_F(TransformEvaluationTests, KeysAreReadAtTheTimeAsked)
{
    Item& top = make("top");
    Item& child = make("child", &top);
    place(child, 1);
    Item& position = transform(top, TransformKind::Position);
    key(position, "pos.X", 0, 0);
    key(position, "pos.X", 2, 4);
    EXPECT_EQ(worldX(child, 0), 1);
    EXPECT_EQ(worldX(child, 1), 3); // another time than the host's
    EXPECT_EQ(worldX(child, 0), 1);
    ASSERT_TRUE(host.setTime(1).ok());
    EXPECT_EQ(worldX(child, 1), 3);
    EXPECT_EQ(worldX(child, 0), 1);
    // Shown without a key: only now, and only until the time changes.
    ASSERT_TRUE(scene.writeNumber(*position.channel("pos.X"), Action::Anim, 1, 10, WriteMode::Key).ok());
    EXPECT_EQ(worldX(child, 1), 11);
    ASSERT_TRUE(host.setTime(2).ok());
    ASSERT_TRUE(host.setTime(1).ok());
    EXPECT_EQ(worldX(child, 1), 3);
}

TEST_F(TransformEvaluationTests, InSetupModeOnlyTheSetupCounts)
{
    Item& item = make("item");
    Item& position = transform(item, TransformKind::Position);
    ASSERT_TRUE(scene.writeNumber(*position.channel("pos.X"), Action::Setup, 0, 1, WriteMode::Plain).ok());
    set(position, "pos.X", 5);
    EXPECT_EQ(worldX(item), 5);
    ASSERT_TRUE(scene.setSetupMode(true).ok());
    EXPECT_EQ(worldX(item), 1);
    ASSERT_TRUE(scene.setSetupMode(false).ok());
    EXPECT_EQ(worldX(item), 5);
}

TEST_F(TransformEvaluationTests, LinksFeedNumbersTextsAndMatrices)
{
    Item& a = make("a");
    Item& b = make("b");
    Item& c = make("c");
    for (Item* item : {&a, &b, &c})
        ASSERT_TRUE(scene.addPackage(*item, "note").ok() && scene.addPackage(*item, "limits").ok());
    link(a, "limitSpeed", b, "steps");
    link(b, "steps", c, "limitMax");
    set(a, "limitSpeed", 7.9);
    EXPECT_EQ(number(b, "steps"), 7); // a whole channel takes it truncated
    EXPECT_EQ(number(c, "limitMax"), 7);
    set(a, "limitSpeed", -3.5);
    EXPECT_EQ(evaluation.integer(*c.channel("limitMax"), 0), -3);
    link(a, "limitSpeed", c, "limitOn");
    EXPECT_EQ(number(c, "limitOn"), 1);

    link(a, "note", b, "note");
    link(b, "note", c, "note");
    ASSERT_TRUE(scene.writeText(*a.channel("note"), Action::Anim, 0, "hello", WriteMode::Plain).ok());
    EXPECT_EQ(*evaluation.text(*c.channel("note"), 0), "hello");

    place(a, 2, 3, 4);
    Item& below = make("below", &b);
    place(below, 1);
    EXPECT_EQ(worldX(below), 1);
    link(a, "wposMatrix", b, "wposMatrix");
    EXPECT_EQ(worldX(below), 3);
    ASSERT_TRUE(scene.deleteLink(*a.channel("wposMatrix"), *b.channel("wposMatrix")).ok());
    EXPECT_EQ(worldX(below), 1);
    // A linked local matrix is taken apart for what hangs below.
    Item& turned = transform(a, TransformKind::Rotation);
    set(turned, "rot.Z", 1.5707963267948966);
    link(a, "localMatrix", b, "localMatrix");
    const Matrix34 world = matrix(below, "worldMatrix");
    EXPECT_NEAR(world.offset[0], 2, 1e-12);
    EXPECT_NEAR(world.offset[1], 4, 1e-12);
}

TEST_F(TransformEvaluationTests, ANewerLinkGoesBeforeAnOlderOne)
{
    Item& a = make("a");
    Item& b = make("b");
    Item& c = make("c");
    set(a, "visible", 0);
    set(b, "visible", 1);
    link(a, "visible", c, "visible");
    EXPECT_EQ(number(c, "visible"), 0);
    link(b, "visible", c, "visible");
    EXPECT_EQ(number(c, "visible"), 1);
}

TEST_F(TransformEvaluationTests, LinksInACircleAreNamedOnceAndLeftOut)
{
    Item& a = make("a");
    Item& b = make("b");
    for (Item* item : {&a, &b})
        ASSERT_TRUE(scene.addPackage(*item, "limits").ok());
    set(a, "limitSpeed", 1);
    set(b, "limitSpeed", 2);
    link(a, "limitSpeed", b, "limitSpeed");
    link(b, "limitSpeed", a, "limitSpeed");
    EXPECT_EQ(number(b, "limitSpeed"), 1); // whichever is asked first
    EXPECT_EQ(number(a, "limitSpeed"), 1);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_NE(messages[0].find("a.limitSpeed -> b.limitSpeed -> a.limitSpeed"), std::string::npos)
        << messages[0];
    set(a, "limitSpeed", 5);
    EXPECT_EQ(number(a, "limitSpeed"), 5);
    EXPECT_EQ(number(b, "limitSpeed"), 5);
    EXPECT_EQ(messages.size(), 1u);
    ASSERT_TRUE(scene.deleteLink(*b.channel("limitSpeed"), *a.channel("limitSpeed")).ok());
    EXPECT_EQ(number(b, "limitSpeed"), 5);

    // A child that drives its own parent.
    Item& top = make("top");
    Item& child = make("child", &top);
    place(child, 1);
    place(top, 3);
    link(child, "worldMatrix", top, "localMatrix");
    EXPECT_EQ(worldX(child), 1);
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_NE(messages[1].find("top.localMatrix"), std::string::npos) << messages[1];
}

TEST_F(TransformEvaluationTests, AHundredThousandLevelsAndLinksAreNoDanger)
{
    constexpr int kDepth = 100000;
    commit();
    std::vector<Item*> items;
    {
        const LoadingScope loading(scene.journal());
        for (int i = 0; i < kDepth; ++i) {
            items.push_back(&make("level", items.empty() ? nullptr : items.back()));
            if (i > 0)
                link(*items[items.size() - 2], "visible", *items.back(), "visible");
        }
        place(*items.front(), 2);
        set(*items.front(), "visible", 0);
    }
    EXPECT_EQ(worldX(*items.back()), 2);
    EXPECT_EQ(number(*items.back(), "visible"), 0);
    begin();
    set(*items.front()->transformItem(TransformKind::Position), "pos.X", 3);
    EXPECT_EQ(worldX(*items.back()), 3);
}

TEST_F(TransformEvaluationTests, AReadShowsTheSceneAsItStood)
{
    Item& top = make("top");
    Item& child = make("child", &top);
    place(top, 1);
    ASSERT_TRUE(scene.addPackage(child, "limits").ok());
    const int speed = child.channelIndex("limitSpeed"), world = child.channelIndex("worldMatrix");
    const auto read = evaluation.read(0);
    const auto later = evaluation.read(1);
    set(*top.transformItem(TransformKind::Position), "pos.X", 9);
    set(child, "limitSpeed", 8);
    Matrix34 was;
    double value = 0;
    std::int32_t whole = 0;
    ASSERT_TRUE(read->matrix(child, world, was));
    EXPECT_EQ(was.offset[0], 1);
    ASSERT_TRUE(read->number(child, speed, value));
    EXPECT_EQ(value, 3.3);
    ASSERT_TRUE(later->integer(child, speed, whole));
    EXPECT_EQ(whole, 3);
    EXPECT_FALSE(read->matrix(child, speed, was));
    EXPECT_FALSE(read->number(child, world, value));
    ASSERT_TRUE(scene.removePackage(child, "limits").ok());
    EXPECT_TRUE(read->number(child, speed, value));
    Item& newcomer = make("newcomer");
    EXPECT_FALSE(read->number(newcomer, 0, value));
    EXPECT_EQ(worldX(child), 9);
    EXPECT_FALSE(evaluation.read(0)->number(child, speed, value));
    EXPECT_EQ(evaluation.read(std::nan("")), nullptr);
}
