// SPDX-License-Identifier: MIT
// The tool in use: its life, the gestures that reach it, and the undo steps that they make.
#pragma once

#include "refhost/Change.h"
#include "refhost/Host.h"
#include "refhost/Tool.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace refhost {

/// One tool of a host works on the current scene in one view. Each press with all that follows until the
/// release is one undo step; one that changed nothing is none, and neither is a drag whose pointer never
/// left its first pixel: what the tool made of that is taken back. The tool is evaluated after a button
/// event, a move or at its own request, never else. After undo, redo, a change of time, and every change of
/// the scene that is not its own, the tool object is made anew with its attributes carried over, so that it
/// never writes an old result again.
///
/// An event in which something fails takes back all that the tool wrote in this press; the next one may do.
/// A press that can't go on (its item was deleted, the time changed) ends with what was done so far.
class ToolHost final : public HostListener, public SceneListener {
public:
    static ToolHost& of(Host& host);

    /// Made by `of`.
    explicit ToolHost(Host& host);
    ~ToolHost() override;

    // Tools

    /// Refused when the name is taken.
    Result add(std::shared_ptr<ToolMaker> maker);
    /// A tool of it that is in use goes first.
    void remove(std::string_view name);
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

    /// The handles that could be hit when the button last went down, and the one of them that was; null for
    /// none.
    const DrawingList& pressHandles() const { return m_PressHandles; }
    const DrawElement* pressHandle() const { return m_PressHandle; }

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
        std::size_t begun; ///< place in the journal when the step was opened
        std::size_t ready = 0; ///< when the tool had been initialised
        std::size_t pressed = 0; ///< when the tool had been told of the button
        std::size_t mark = 0; ///< what came behind is the tool's
        bool shared = false; ///< somebody else changed the scene since the mark
        bool visited = false; ///< somebody else changed the scene in this press
        bool moved = false; ///< the tool was told of a move
        bool travelled = false; ///< the pointer left its first pixel
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
    bool takeBackIdle();
    template <class Do>
    void whileReady(const Do& act);

    Host& m_Host;
    std::vector<std::shared_ptr<ToolMaker>> m_Makers;
    std::string m_Name;
    std::unique_ptr<Tool> m_Tool;
    bool m_Stale = false; ///< the object is to be made anew
    bool m_Ready = false; ///< the object was initialised for what is selected
    bool m_Own = false; ///< the tool is at work: changes are its own
    bool m_Requested = false;
    std::optional<Press> m_Press;
    DrawingList m_PressHandles;
    const DrawElement* m_PressHandle = nullptr;
    View m_View = View::of(Camera::Front);
    std::uint64_t m_EvaluationCount = 0, m_MakingCount = 0;
    std::vector<Scene*> m_Watched;
};

} // namespace refhost
