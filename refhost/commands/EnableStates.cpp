// SPDX-License-Identifier: MIT
// Which changes are which events, and what they make the host forget.
#include "commands/EnableStates.h"

#include "refhost/Scene.h"

namespace refhost {
namespace {

/// What a notifier can name, as bits.
enum Event : unsigned {
    kItemSelection = 1, ///< `select.event` "item"
    kItemExistence = 2, ///< `select.event` "item exist"
    kEdit = 4, ///< `action.event` "edit"
    kEverything = 8, ///< what no command has to name
};

unsigned eventOf(const Notifier& notifier)
{
    const std::string_view argument = notifier.argument;
    if (notifier.name == "action.event")
        return argument.starts_with("edit") ? kEdit : 0u;
    if (notifier.name != "select.event" || !argument.starts_with("item"))
        return 0;
    return argument.find("exist") == std::string_view::npos ? kItemSelection : kItemExistence;
}

unsigned eventsOf(const Change& change)
{
    switch (change.kind) {
    case ChangeKind::SelectionChanged:
        // Whether anything is selected may change with every packet.
        return change.item ? kItemSelection | kItemExistence : kEverything;
    case ChangeKind::ItemAdded:
    case ChangeKind::ItemRemoved:
        return kItemExistence | kEdit;
    case ChangeKind::SetupModeChanged:
    case ChangeKind::Loaded:
        return kEverything;
    case ChangeKind::TimeChanged:
        return 0;
    default:
        return kEdit;
    }
}

} // namespace

/// Hangs on a scene and goes with it.
class EnableWatch final : public SceneListener {
public:
    EnableWatch(Scene& scene, EnableStates& states) : m_Scene(scene), m_States(states)
    {
        scene.addListener(*this);
    }
    ~EnableWatch() override { m_Scene.removeListener(*this); }
    void afterChange(Scene&, const Change& change) override { m_States.note(change); }

private:
    Scene& m_Scene;
    EnableStates& m_States; // hangs on the desk, which outlives its scenes
};

EnableStates::EnableStates(Desk& desk) : m_Desk(desk)
{
    desk.addListener(*this);
    for (const auto& scene : desk.scenes())
        sceneAdded(*scene);
}

EnableStates::~EnableStates() { m_Desk.removeListener(*this); }

const Enabled& EnableStates::of(const Command& command, const std::function<Enabled()>& test)
{
    if (const unsigned events = m_Events.exchange(0)) {
        std::erase_if(m_States, [&](const auto& entry) {
            return ((entry.second.events & events) | (events & kEverything)) != 0;
        });
    }
    if (const auto found = m_States.find(&command); found != m_States.end())
        return found->second.enabled;
    if (command.notifiers().empty())
        return m_Unremembered = test();
    State state{test(), kEverything};
    for (const Notifier& notifier : command.notifiers())
        state.events |= eventOf(notifier);
    return m_States.insert_or_assign(&command, std::move(state)).first->second.enabled;
}

void EnableStates::note(const Change& change) { m_Events |= eventsOf(change); }

void EnableStates::sceneAdded(Scene& scene)
{
    m_Events |= kEverything;
    scene.attachments().require<EnableWatch>(scene, *this);
}

void EnableStates::sceneClosing(Scene&) { m_Events |= kEverything; }

} // namespace refhost
