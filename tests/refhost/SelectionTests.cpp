// SPDX-License-Identifier: MIT
// The selection's order and its undo, and scenes coming, going and being current.
#include "HostFixture.h"

#include <limits>

using namespace refhost;

namespace {
using SelectionTests = support::HostFixture;
}

TEST_F(SelectionTests, PacketsStandInOrderOfSelecting)
{
    begin();
    Item &a = make("a"), &b = make("b"), &c = make("c");
    Selection& selection = host.selection();
    for (Item* item : {&b, &a, &c, &b})
        ASSERT_TRUE(selection.select(packetOf(*item)).ok());
    EXPECT_EQ(selection.packets(SelectionType::Item),
              (std::vector<Packet>{packetOf(b), packetOf(a), packetOf(c)}));
    EXPECT_EQ(selection.mostRecent(SelectionType::Item), packetOf(c));
    EXPECT_EQ(selection.next(packetOf(b)), packetOf(a));
    EXPECT_FALSE(selection.next(packetOf(c)));
    commit();
    begin();
    ASSERT_TRUE(selection.deselect(packetOf(a)).ok());
    EXPECT_EQ(selection.next(packetOf(b)), packetOf(c));
    ASSERT_TRUE(selection.clear(SelectionType::Item).ok());
    ASSERT_TRUE(selection.select(packetOf(a)).ok());
    commit();
    const std::string document = scene.digest();
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(selection.packets(SelectionType::Item),
              (std::vector<Packet>{packetOf(b), packetOf(a), packetOf(c)}));
    EXPECT_EQ(scene.digest(), document);
    EXPECT_EQ(selectionTypeByName("cinema"), SelectionType::Cinema);
    EXPECT_FALSE(selectionTypeByName("Item"));
}

TEST_F(SelectionTests, ASelectionWithoutRecordNeverOutlivesItsItem)
{
    begin();
    Item& a = make("a");
    commit();
    ASSERT_TRUE(host.selection().select(packetOf(a)).ok());
    EXPECT_EQ(scene.journal().undoCount(), 1u);
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_TRUE(host.selection().packets(SelectionType::Item).empty());
    EXPECT_FALSE(host.selection().select(packetOf(a)).ok());
}

TEST_F(SelectionTests, TheSceneOpenedLastIsCurrentUntilItCloses)
{
    EXPECT_EQ(host.currentScene(), &scene);
    Scene& second = host.newScene("second");
    EXPECT_EQ(host.currentScene(), &second);
    {
        Step step(second.journal(), "make");
        Item* item = second.createItem(host.locatorType(), "x").value;
        ASSERT_TRUE(host.selection().select(packetOf(*item)).ok());
        EXPECT_FALSE(host.closeScene(second).ok());
        ASSERT_TRUE(step.commit().ok());
    }
    ASSERT_TRUE(host.closeScene(second).ok());
    EXPECT_EQ(host.currentScene(), &scene);
    EXPECT_TRUE(host.selection().packets(SelectionType::Item).empty());
    EXPECT_FALSE(host.setTime(std::numeric_limits<double>::quiet_NaN()).ok());
    EXPECT_EQ(host.time(), 0);
}
