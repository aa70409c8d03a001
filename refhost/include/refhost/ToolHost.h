// SPDX-License-Identifier: MIT
// The tool in use: its life, the gestures that reach it, and the undo steps that they make.
#pragma once

#include "refhost/Change.h"
#include "refhost/Host.h"
#include "refhost/Tool.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace refhost {

/// One tool of a desk works on the current scene in one view. Each press with all that follows until the
/// release is one undo step. The tool is evaluated after a button event, a move or at its own request, never
/// else. After undo, redo, a change of time, and every change of the scene that is not its own, the tool
/// object is made anew with its attributes carried over, so that it never writes an old result again.
///
/// An event in which something fails takes back all that the tool wrote in this press; the next one may do.
/// A press that can't go on (its item was deleted, the time changed) ends with what was done so far.
class ToolHost final : public HostListener, public SceneListener {
public:
    /// That of the desk that the calling thread is at.
    static ToolHost& of(Host& host);

    /// Made by `of`.
    explicit ToolHost(Desk& desk);
    ~ToolHost() override;

    // Tools

    /// Adds a tool to the host's makers. Refused when the name is taken.
    Result add(std::shared_ptr<ToolMaker> maker)
    {
        return ToolMakers::of(m_Desk.host()).add(std::move(maker));
    }
    /// In order of adding.
    std::vector<std::string> names() const;

    /// Takes a tool in use; an empty name lays the present one down. The message names the tools there are.
    Result use(std::string_view name);
    /// Empty when none is in use.
    const std::string& inUse() const { return m_Name; }
    Enabled enabled();
    /// Of the tool in use; empty when there is none.
    std::vector<ToolAttribute> attributes();
    ResultOf<double> attribute(std::string_view name);
    Result setAttribute(std::string_view name, double value);

    // The view

    View& view() { return m_View; }
    const View& view() const { return m_View; }

    // Gestures; pixels of the view

    /// A button goes down; refused without a tool, when the tool is not enabled, and while another one is
    /// down.
    Result press(int x, int y, const Gesture& gesture);
    Result move(int x, int y);
    Result release(int x, int y);
    /// Takes the press back as if it had never been.
    Result cancel();
    bool isPressed() const { return m_Press.has_value(); }
    /// Where the pointer of the press is; nothing while no button is down.
    std::optional<std::array<int, 2>> pointer() const
    {
        return m_Press ? std::optional(std::array{m_Press->event.currentX, m_Press->event.currentY})
                       : std::nullopt;
    }

    // Drawing

    /// Appends the tool's handles to the list; nothing when it can't be used now. Changes nothing.
    void draw(DrawingList& list);
    /// The part whose handle is nearest to the pixel, among those that it lies in; -1 for none.
    int partAt(int x, int y);

    /// How often tools were evaluated and made so far.
    std::uint64_t evaluationCount() const { return m_EvaluationCount; }
    std::uint64_t makingCount() const { return m_MakingCount; }

    void sceneClosing(Scene& scene) override;
    void sceneAdded(Scene& scene) override;
    void afterChange(Scene& scene, const Change& change) override;

    ToolHost(const ToolHost&) = delete;
    ToolHost& operator=(const ToolHost&) = delete;

private:
    class Adjust;
    struct Press {
        Scene* scene;
        const Gesture* gesture;
        ToolEvent event;
        EventTranslation translation;
        std::size_t depth; ///< of the journal, with the step of this press
        std::size_t mark = 0; ///< in the journal: what came behind is the tool's
        bool shared = false; ///< somebody else changed the scene since the mark
        bool moved = false;
        bool over = false; ///< it can't go on
        bool told = false; ///< the user knows that something failed
    };
    using Operation = Result (Tool::*)(const ToolEvent&, AdjustTool&);

    void watch(Scene& scene);
    Result requireTool();
    Result make();
    ToolEvent plainEvent(int x, int y) const;
    Result handle(Operation operation, bool evaluates);
    void finish(bool keep);
    template <class Do>
    void whileReady(const Do& act);

    Desk& m_Desk;
    std::string m_Name;
    std::unique_ptr<Tool> m_Tool;
    // Scenes may change on threads of their own, which look at these alone.
    std::atomic<bool> m_Stale = false; ///< the object is to be made anew
    std::atomic<bool> m_Ready = false; ///< the object was initialised for what is selected
    std::atomic<std::thread::id> m_AtWork; ///< while the tool is at work: changes on this thread are its own
    std::atomic<const Scene*> m_Pressed = nullptr; ///< scene of the press
    bool m_Requested = false;
    std::optional<Press> m_Press;
    View m_View = View::of(Camera::Front);
    std::uint64_t m_EvaluationCount = 0, m_MakingCount = 0;
    std::vector<Scene*> m_Watched;
};

} // namespace refhost
