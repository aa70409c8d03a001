// SPDX-License-Identifier: MIT
// The tool's life, and the way of a gesture through it.
#include "refhost/ToolHost.h"

#include "tool/HitTest.h"

#include <algorithm>
#include <cmath>

namespace refhost {
namespace {

/// The calling thread is the one at work for a block.
class WorkScope {
public:
    explicit WorkScope(std::atomic<std::thread::id>& atWork)
        : m_AtWork(atWork), m_Former(atWork.exchange(std::this_thread::get_id()))
    {
    }
    ~WorkScope() { m_AtWork = m_Former; }
    WorkScope(const WorkScope&) = delete;
    WorkScope& operator=(const WorkScope&) = delete;

private:
    std::atomic<std::thread::id>& m_AtWork;
    std::thread::id m_Former;
};

/// After such a change the joints of a drag may not be what they were.
bool endsDrag(ChangeKind kind)
{
    constexpr ChangeKind kKinds[] = {ChangeKind::ItemRemoved,  ChangeKind::ItemReparented,
                                     ChangeKind::PackageAdded, ChangeKind::PackageRemoved,
                                     ChangeKind::TimeChanged,  ChangeKind::SetupModeChanged,
                                     ChangeKind::Loaded};
    return std::find(std::begin(kKinds), std::end(kKinds), kind) != std::end(kKinds);
}

} // namespace

class ToolHost::Adjust final : public AdjustTool {
public:
    explicit Adjust(ToolHost& host) : m_Host(host) { }

    Result setNumber(int index, double value) override
    {
        const auto count = static_cast<int>(m_Host.m_Tool->attributes().size());
        if (index < 0 || index >= count)
            return Result::failure("There is no attribute " + std::to_string(index) + "; the tool has "
                                   + std::to_string(count) + ".");
        if (!std::isfinite(value))
            return Result::failure("An attribute of a tool has to be a finite number.");
        return m_Host.m_Tool->setNumber(index, value);
    }
    void requestEvaluation() override { m_Host.m_Requested = true; }
    void endDrag() override { } // the release that this comes with ends the step

private:
    ToolHost& m_Host;
};

ToolMakers& ToolMakers::of(Host& host) { return host.attachments().require<ToolMakers>(host); }

Result ToolMakers::add(std::shared_ptr<ToolMaker> maker)
{
    for (const auto& known : m_Makers) {
        if (known->name() == maker->name())
            return Result::failure("There is a tool named '" + maker->name() + "' already.");
    }
    m_Makers.push_back(std::move(maker));
    return {};
}

void ToolMakers::remove(std::string_view name)
{
    m_Host.forEachDesk([&](Desk& desk) {
        auto* tools = desk.attachments().find<ToolHost>();
        if (tools && tools->inUse() == name)
            (void)tools->use({});
    });
    std::erase_if(m_Makers, [&](const auto& maker) { return maker->name() == name; });
}

ToolHost& ToolHost::of(Host& host)
{
    Desk& desk = host.desk();
    return desk.attachments().require<ToolHost>(desk);
}

ToolHost::ToolHost(Desk& desk) : m_Desk(desk)
{
    desk.addListener(*this);
    for (const auto& scene : desk.scenes())
        watch(*scene);
}

ToolHost::~ToolHost()
{
    m_Desk.removeListener(*this);
    for (Scene* scene : m_Watched)
        scene->removeListener(*this);
}

void ToolHost::watch(Scene& scene)
{
    scene.addListener(*this);
    m_Watched.push_back(&scene);
}

void ToolHost::sceneAdded(Scene& scene)
{
    watch(scene);
    m_Stale = true;
}

void ToolHost::sceneClosing(Scene& scene)
{
    if (m_Pressed == &scene) {
        m_Pressed = nullptr;
        m_Press.reset(); // its step goes with the scene
    }
    scene.removeListener(*this);
    std::erase(m_Watched, &scene);
    m_Stale = true;
    m_Ready = false;
}

void ToolHost::afterChange(Scene& scene, const Change& change)
{
    if (m_AtWork.load() == std::this_thread::get_id() || change.kind == ChangeKind::ModifierReset)
        return;
    if (m_Pressed == &scene) {
        m_Press->over = m_Press->over || endsDrag(change.kind);
        m_Press->shared = true;
    }
    m_Ready = false;
    // What is selected is asked for by `initialise`, and is no result that could be written again.
    if (change.kind != ChangeKind::SelectionChanged)
        m_Stale = true;
}

// Tools

std::vector<std::string> ToolHost::names() const
{
    std::vector<std::string> names;
    for (const auto& maker : ToolMakers::of(m_Desk.host()).all())
        names.push_back(maker->name());
    return names;
}

Result ToolHost::use(std::string_view name)
{
    std::string list;
    bool known = name.empty();
    for (const std::string& one : names()) {
        known = known || one == name;
        list += (list.empty() ? "" : ", ") + one;
    }
    if (!known)
        return Result::failure("There is no tool '" + std::string(name) + "'. "
                               + (list.empty() ? "No module brought one." : "There are: " + list + "."));
    if (m_Press)
        finish(true);
    if (m_Tool) {
        const WorkScope own(m_AtWork);
        m_Tool->dropped();
    }
    m_Tool.reset();
    m_Name = name;
    m_Stale = false;
    m_Ready = false;
    return m_Name.empty() ? Result{} : make();
}

/// A new object of the tool in use, with the attributes of the one before.
Result ToolHost::make()
{
    const auto& makers = ToolMakers::of(m_Desk.host()).all();
    const auto maker =
        std::find_if(makers.begin(), makers.end(), [&](const auto& one) { return one->name() == m_Name; });
    const WorkScope own(m_AtWork);
    ResultOf<std::unique_ptr<Tool>> made = (*maker)->make();
    if (!made.ok()) {
        m_Tool.reset();
        m_Name.clear();
        return made.result();
    }
    ++m_MakingCount;
    Result result = made.value->reset();
    for (int i = 0; m_Tool && i < static_cast<int>(m_Tool->attributes().size()); ++i) {
        const ResultOf<double> value = m_Tool->number(i);
        if (result.ok() && value.ok())
            result = made.value->setNumber(i, value.value);
    }
    m_Tool = std::move(made.value);
    m_Stale = false;
    m_Ready = false;
    return result;
}

Result ToolHost::requireTool()
{
    if (m_Name.empty())
        return Result::failure("No tool is in use. Take one first, as in tool.use ik.pose");
    return m_Stale && !m_Press ? make() : Result{};
}

Enabled ToolHost::enabled()
{
    if (Result tool = requireTool(); !tool.ok())
        return Enabled::no(tool.message);
    return m_Tool->enabled();
}

std::vector<ToolAttribute> ToolHost::attributes()
{
    return requireTool().ok() ? m_Tool->attributes() : std::vector<ToolAttribute>{};
}

ResultOf<double> ToolHost::attribute(std::string_view name)
{
    if (Result tool = requireTool(); !tool.ok())
        return ResultOf<double>::failure(tool.message);
    const auto& list = m_Tool->attributes();
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (list[i].name == name)
            return m_Tool->number(static_cast<int>(i));
    }
    return ResultOf<double>::failure("The tool '" + m_Name + "' has no attribute '" + std::string(name)
                                     + "'.");
}

Result ToolHost::setAttribute(std::string_view name, double value)
{
    if (const ResultOf<double> there = attribute(name); !there.ok())
        return there.result();
    const auto& list = m_Tool->attributes();
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const ToolAttribute& one) { return one.name == name; });
    return Adjust(*this).setNumber(static_cast<int>(found - list.begin()), value);
}

// Gestures

ToolEvent ToolHost::plainEvent(int x, int y) const
{
    ToolEvent event;
    event.view = &m_View;
    event.startX = event.currentX = x;
    event.startY = event.currentY = y;
    event.scene = m_Desk.currentScene();
    event.time = m_Desk.time();
    return event;
}

Result ToolHost::press(int x, int y, const Gesture& gesture)
{
    if (m_Press)
        return Result::failure("A button is down already; release it first.");
    Scene* scene = m_Desk.currentScene();
    if (!scene)
        return Result::failure("There is no scene to work on. Open one first.");
    if (Enabled can = enabled(); !can.yes)
        return Result::failure(can.message.empty() ? "The tool '" + m_Name + "' can't be used now."
                                                   : can.message);
    if (Result begun = scene->journal().begin(m_Name); !begun.ok())
        return begun;
    m_Press.emplace(Press{scene, &gesture, plainEvent(x, y), {}, scene->journal().depth()});
    m_Pressed = scene;
    ToolEvent& event = m_Press->event;
    m_Press->translation.begin(m_View, {static_cast<double>(x), static_cast<double>(y)});
    event.translation = &m_Press->translation;
    event.mode = gesture.mode;
    Result ready;
    DrawingList handles;
    {
        const WorkScope own(m_AtWork);
        ready = m_Tool->initialise(event);
        Recorder recorder(handles, m_View);
        if (ready.ok())
            ready = m_Tool->hitTest(event, recorder);
    }
    if (!ready.ok()) {
        finish(false);
        return ready;
    }
    m_Ready = true;
    event.button = gesture.button;
    event.part = refhost::partAt(handles, m_View, {static_cast<double>(x), static_cast<double>(y)});
    m_Press->mark = scene->journal().mark();
    return handle(&Tool::buttonDown, true);
}

/// Gives an event to the tool and evaluates it. When either fails, all that the tool wrote in this press is
/// taken back: a mark for each event would keep every step of a drag apart in the journal.
Result ToolHost::handle(Operation operation, bool evaluates)
{
    const WorkScope own(m_AtWork);
    Journal& journal = m_Press->scene->journal();
    if (std::exchange(m_Press->shared, false))
        m_Press->mark = journal.mark();
    Adjust adjust(*this);
    m_Requested = false;
    m_Press->event.time = m_Desk.time();
    Result result = ((*m_Tool).*operation)(m_Press->event, adjust);
    if (result.ok() && (evaluates || m_Requested)) {
        ++m_EvaluationCount;
        result = m_Tool->evaluate(m_Press->event);
    }
    if (result.ok())
        return result;
    if (journal.depth() == m_Press->depth)
        (void)journal.rollbackTo(m_Press->mark);
    if (!std::exchange(m_Press->told, true))
        m_Desk.host().tell(MessageLevel::Warning,
                           "The tool '" + m_Name + "' could not go on: " + result.message);
    return {}; // the next event may do
}

Result ToolHost::move(int x, int y)
{
    if (!m_Press)
        return Result::failure("No button is down. Press one first.");
    if (m_Press->over || !m_Press->gesture->drags)
        return {};
    m_Press->event.currentX = x;
    m_Press->event.currentY = y;
    m_Press->translation.movePointer({static_cast<double>(x), static_cast<double>(y)});
    m_Press->moved = true;
    return handle(&Tool::move, true);
}

Result ToolHost::release(int x, int y)
{
    if (!m_Press)
        return Result::failure("No button is down; there is nothing to release.");
    const bool drags = m_Press->gesture->drags;
    // A tool may count on one move, also of a pointer that stands.
    if (!m_Press->moved || m_Press->event.currentX != x || m_Press->event.currentY != y)
        (void)move(x, y);
    // What a click asked for was done when the button went down.
    if (!m_Press->over)
        (void)handle(&Tool::buttonUp, drags);
    finish(true);
    return {};
}

Result ToolHost::cancel()
{
    if (!m_Press)
        return Result::failure("No button is down; there is nothing to cancel.");
    finish(false);
    return {};
}

/// Closes the step of the press, and lets the tool forget a press that did not come to its end.
void ToolHost::finish(bool keep)
{
    const WorkScope own(m_AtWork);
    Journal& journal = m_Press->scene->journal();
    // Whoever opened a step meanwhile and left it open lost the right to take it back.
    while (journal.depth() > m_Press->depth && journal.commit().ok()) { }
    if (journal.depth() == m_Press->depth)
        (void)(keep ? journal.commit() : journal.rollback());
    // After a click the tool still remembers the drag before it, which may be out of date now.
    if (!keep || m_Press->over || !m_Press->gesture->drags)
        m_Stale = true;
    m_Ready = m_Ready && !m_Stale;
    m_Pressed = nullptr;
    m_Press.reset();
}

// Drawing

/// Does something with a tool that is initialised. What initialising adds to the scene is taken back at once:
/// looking at handles is no change.
template <class Do>
void ToolHost::whileReady(const Do& act)
{
    Scene* scene = m_Desk.currentScene();
    if (!scene || m_Name.empty() || !enabled().yes)
        return;
    const WorkScope own(m_AtWork);
    const ToolEvent event = m_Press ? m_Press->event : plainEvent(0, 0);
    if (m_Ready || m_Press)
        return act(event);
    Journal& journal = scene->journal();
    if (journal.isOpen() || journal.isLoading())
        return;
    Step step(journal, m_Name);
    if (!step.isOpen())
        return;
    const std::size_t mark = journal.mark();
    if (!m_Tool->initialise(event).ok())
        return;
    act(event);
    m_Stale = journal.mark() != mark;
    m_Ready = !m_Stale;
}

void ToolHost::draw(DrawingList& list)
{
    whileReady([&](const ToolEvent& event) {
        Recorder recorder(list, m_View);
        (void)m_Tool->draw(event, recorder);
    });
}

int ToolHost::partAt(int x, int y)
{
    DrawingList handles;
    whileReady([&](const ToolEvent& event) {
        Recorder recorder(handles, m_View);
        (void)m_Tool->hitTest(event, recorder);
    });
    return refhost::partAt(handles, m_View, {static_cast<double>(x), static_cast<double>(y)});
}

} // namespace refhost
