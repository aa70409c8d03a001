// SPDX-License-Identifier: MIT
// A thousand random edits: undoing and redoing all of them meets every document again.
#include "HostFixture.h"

#include <array>
#include <random>

using namespace refhost;

namespace {

class RandomEditTests : public support::HostFixture, public ::testing::WithParamInterface<unsigned> {
protected:
    std::size_t below(std::size_t count)
    {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(m_Random);
    }
    Item& anyItem() { return *scene.items()[below(scene.items().size())]; }
    Channel& anyChannel()
    {
        Item& item = anyItem();
        Channel* channel = nullptr;
        while (!channel)
            channel =
                item.channel(static_cast<int>(below(static_cast<std::size_t>(item.channelSlotCount()))));
        return *channel;
    }

    // One random edit; refusals are part of the game and must change nothing.
    void edit()
    {
        static constexpr std::array kNames = {"a", "b", "a_2", "goal", ""};
        static constexpr std::array kGraphs = {"ikRefs", "ikTasks", "ikRetarget"};
        static constexpr std::array kPackages = {"limits", "note"};
        const std::array types = {&host.locatorType(), &host.solverType(), &host.meshType()};
        const auto action = static_cast<Action>(below(3));
        const double time = static_cast<double>(below(5));
        const double number = static_cast<double>(below(1000)) / 8;
        if (scene.itemCount() < 5)
            return (void)scene.createItem(*types[below(3)], kNames[below(kNames.size())]);
        switch (below(18)) {
        case 0:
        case 1:
            return (void)scene.createItem(*types[below(3)], kNames[below(kNames.size())],
                                          {.parent = below(2) ? &anyItem() : nullptr});
        case 2:
            return below(3) ? void() : (void)scene.deleteItem(anyItem());
        case 3:
            return (void)scene.setParent(anyItem(), below(4) ? &anyItem() : nullptr);
        case 4:
            return (void)scene.rename(anyItem(), kNames[below(kNames.size())]);
        case 5:
            return (void)scene.addTransformItem(anyItem(), static_cast<TransformKind>(below(3)));
        case 6:
            return (void)scene.setTag(anyItem(), static_cast<TagCode>(below(3)),
                                      below(2) ? kNames[below(5)] : nullptr);
        case 7:
        case 8:
            return (void)scene.addPackage(anyItem(), kPackages[below(2)]);
        case 9:
            return (void)scene.removePackage(anyItem(), kPackages[below(2)]);
        case 10:
            return (void)scene.writeNumber(anyChannel(), action, time, number,
                                           static_cast<WriteMode>(below(3)));
        case 11:
            return (void)scene.setKeys(anyChannel(), action, {{time, number}, {time + 1, 2}, {time + 3, 1}});
        case 12:
            return below(2) ? (void)scene.removeKey(anyChannel(), action, time)
                            : (void)scene.clearValue(anyChannel(), action);
        case 13:
            return (void)scene.addLink(kGraphs[below(3)], anyItem(), anyItem());
        case 14:
            return (void)scene.deleteLink(kGraphs[below(3)], anyItem(), anyItem());
        case 15:
            return (void)scene.addLink(anyChannel(), anyChannel());
        case 16:
            return below(4) ? (void)host.selection().select(packetOf(anyItem()))
                            : (void)host.selection().clear(SelectionType::Item);
        default:
            return below(2) ? (void)scene.setSetupMode(below(2) == 1)
                            : (void)scene.writeText(anyChannel(), action, time, kNames[below(5)],
                                                    static_cast<WriteMode>(below(3)));
        }
    }

private:
    std::mt19937 m_Random{GetParam()};
};

} // namespace

TEST_P(RandomEditTests, UndoAndRedoMeetEveryDocumentAgain)
{
    std::vector<std::string> documents{scene.digest()};
    std::vector<std::size_t> selected{0};
    for (int i = 0; i < 1000;) {
        const std::string before = scene.digest();
        begin();
        for (std::size_t n = 1 + below(4); n > 0; --n, ++i)
            edit();
        if (below(5) == 0) {
            ASSERT_TRUE(scene.journal().rollback().ok());
            ASSERT_EQ(scene.digest(), before);
            continue;
        }
        commit();
        if (scene.journal().undoCount() == documents.size()) {
            documents.push_back(scene.digest());
            selected.push_back(host.selection().packets(SelectionType::Item).size());
        }
    }
    ASSERT_GT(documents.size(), 150u);
    for (std::size_t i = documents.size() - 1; i > 0; --i) {
        ASSERT_TRUE(scene.journal().undo().ok());
        ASSERT_EQ(scene.digest(), documents[i - 1]) << "undo of step " << i;
        ASSERT_EQ(host.selection().packets(SelectionType::Item).size(), selected[i - 1]);
    }
    EXPECT_FALSE(scene.journal().undo().ok());
    for (std::size_t i = 1; i < documents.size(); ++i) {
        ASSERT_TRUE(scene.journal().redo().ok());
        ASSERT_EQ(scene.digest(), documents[i]) << "redo of step " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomEditTests, ::testing::Values(1u, 2u, 3u, 4u, 5u, 6u));
