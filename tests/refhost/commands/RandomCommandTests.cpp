// SPDX-License-Identifier: MIT
// A thousand random commands, good ones and nonsense, taken back and done again.
#include "CommandSession.h"
#include "tool/ToyTool.h"

#include <random>

namespace refhost {
namespace {

class RandomLines {
public:
    explicit RandomLines(std::uint32_t seed) : m_Random(seed) { }

    std::string next(const Scene& scene)
    {
        switch (below(24)) {
        case 20:
        case 21:
            return "gesture drag from:" + item(scene) + " by:\"" + value() + " " + number(99)
                + "\" kind:" + pick({"move", "parent", "rotate", "free"}) + " steps:" + number(4);
        case 22:
            return "gesture " + pick({"lock ", "pin ", "clear "}) + item(scene)
                + pick({"", " view:side", " view:free"});
        case 23:
            return below(2) ? "mesh.create points:\"0 0 0 1 0 0 0 1 " + number(9) + "\" triangles:\"0 1 2\""
                            : "mesh.bind item:" + item(scene) + " joint:" + item(scene) + " weight:0.5";
        case 0:
        case 1:
        case 2:
            return "item.create name:N" + number(6)
                + " type:" + pick({"locator", "mesh", "ikSolver", "nothing"})
                + (below(2) ? " parent:" + item(scene) : "");
        case 3:
            return below(3) ? "item.rename R" + number(5) + " item:" + item(scene)
                            : "item.delete " + item(scene);
        case 4:
            return "item.parent item:" + item(scene) + (below(3) ? " parent:" + item(scene) : "");
        case 5:
            return "item.draw item:" + item(scene) + " mode:" + number(2);
        case 6:
            return "item.tag " + pick({"PRNT", "OVCL"}) + pick({"", " denied", " x"})
                + " item:" + item(scene);
        case 7:
            return pick({"package.add", "package.remove"}) + " " + pick({"drawing", "none"})
                + " item:" + item(scene);
        case 8:
            return pick({"graph.link", "graph.unlink"}) + " " + pick({"ikRefs", "ikTasks"}) + " "
                + item(scene) + " " + item(scene);
        case 9:
        case 10:
            return pick({"channel.link", "channel.link", "channel.unlink"}) + " " + item(scene) + "."
                + channel() + " " + item(scene) + "." + channel();
        case 11:
        case 12:
            return "channel.key " + item(scene) + " " + channel() + " " + value() + " time:" + number(4)
                + " action:" + pick({"setup", "anim", "edit"});
        case 13:
            return "channel.unkey " + item(scene) + " " + channel() + " time:" + number(4);
        case 14:
            return pick({"select.add ", "select.set "}) + item(scene);
        case 15:
            return pick({"select.clear", "scene.setup on", "scene.setup off"});
        case 16:
            return pick({"modifier.reset solver", "item.draw", "channel.set channel:visible value:0"});
        default:
            return "channel.set " + item(scene) + " " + channel() + " " + value() + " mode:"
                + pick({"plain", "key", "createKey"}) + " action:" + pick({"setup", "anim", "edit"});
        }
    }

private:
    std::size_t below(std::size_t count) { return m_Random() % count; }
    std::string number(std::size_t count) { return std::to_string(below(count)); }
    std::string pick(const std::vector<std::string>& words) { return words[below(words.size())]; }
    std::string item(const Scene& scene)
    {
        const std::vector<Item*>& items = scene.items();
        if (items.empty() || below(20) == 0)
            return "Nobody";
        return "#" + std::to_string(items[below(items.size())]->id());
    }
    std::string channel()
    {
        return pick({"pos.X", "pos.Y", "rot.Z", "order", "scl.X", "visible", "drawShape", "isSize.X",
                     "fillColor.R", "localMatrix", "nonsense"});
    }
    std::string value() { return pick({"0", "1", "-2.5", "30deg", "true", "xyz", "1e6", "word"}); }

    std::mt19937 m_Random;
};

TEST(RandomCommands, UndoOfEverythingGivesTheFormerDocumentAndRedoTheLaterOne)
{
    for (const std::uint32_t seed : {1u, 20u, 300u}) {
        SCOPED_TRACE(seed);
        support::ToyLog toy;
        CommandSession session;
        ASSERT_TRUE(ToolHost::of(session.host).add(std::make_shared<support::ToyMaker>(toy)).ok());
        session.run("tool.use toy");
        RandomLines lines(seed);
        Journal& journal = session.scene().journal();
        std::vector<std::string> states = {session.scene().digest()};
        int done = 0;
        for (int i = 0; i < 1000; ++i) {
            const std::string line = lines.next(session.scene());
            const std::size_t steps = journal.undoCount();
            const bool ok = session.commands().execute(line).ok();
            done += ok;
            if (!ok) {
                ASSERT_EQ(session.scene().digest(), states.back()) << line;
                ASSERT_EQ(journal.undoCount(), steps) << line;
            } else if (journal.undoCount() != steps) {
                ASSERT_EQ(journal.undoCount(), steps + 1) << line;
                states.push_back(session.scene().digest());
            } else {
                ASSERT_EQ(session.scene().digest(), states.back()) << line;
            }
        }
        EXPECT_GT(done, 400) << "too few of the lines did anything";
        ASSERT_EQ(journal.undoCount() + 1, states.size());
        for (std::size_t i = states.size(); i-- > 1;) {
            ASSERT_TRUE(session.scene().digest() == states[i]);
            session.run("undo");
        }
        EXPECT_TRUE(session.scene().digest() == states.front());
        for (std::size_t i = 1; i < states.size(); ++i) {
            session.run("redo");
            ASSERT_TRUE(session.scene().digest() == states[i]);
        }
        session.run("undo " + std::to_string(states.size() - 1));
        EXPECT_TRUE(session.scene().digest() == states.front());
    }
}

} // namespace
} // namespace refhost
