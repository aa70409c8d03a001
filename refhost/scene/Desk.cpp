// SPDX-License-Identifier: MIT
// Opening and closing scenes at a desk, its time, and which desk a thread is at.
#include "refhost/Desk.h"

#include "refhost/Host.h"
#include "scene/ItemEdits.h"

#include <algorithm>
#include <cmath>

namespace refhost {
namespace {

constinit thread_local const AtDesk* lastTaken = nullptr;

} // namespace

AtDesk::AtDesk(Desk& desk) : m_Desk(desk), m_Former(std::exchange(lastTaken, this)) { }

AtDesk::~AtDesk() { lastTaken = m_Former; }

Desk* AtDesk::of(const Host& host)
{
    const AtDesk* taken = lastTaken;
    while (taken && &taken->m_Desk.host() != &host)
        taken = taken->m_Former;
    return taken ? &taken->m_Desk : nullptr;
}

Desk::Desk(Host& host) : m_Host(host) { host.enlist(*this); }

Desk::~Desk()
{
    close();
    m_Host.strike(*this);
}

/// Told are those who listen to the whole host, then those who listen to this desk.
template <class Tell>
void Desk::tellListeners(const Tell& tell)
{
    m_Host.tellListeners(tell);
    for (std::size_t i = 0; i < m_Listeners.size(); ++i)
        tell(*m_Listeners[i]);
}

void Desk::close()
{
    // Scenes first: what hangs on them may use what hangs on the desk and on the host.
    while (!m_Scenes.empty()) {
        Scene& scene = *m_Scenes.back();
        tellListeners([&](HostListener& listener) { listener.sceneClosing(scene); });
        m_Scenes.pop_back();
    }
    m_Attachments.clear();
}

Scene& Desk::addScene(std::unique_ptr<Scene> scene)
{
    const std::scoped_lock lock(m_Opening);
    m_Scenes.push_back(std::move(scene));
    Scene& added = *m_Scenes.back();
    DocumentAccess::setDesk(added, *this);
    tellListeners([&](HostListener& listener) { listener.sceneAdded(added); });
    (void)m_Selection.select(packetOf(added));
    return added;
}

Result Desk::closeScene(Scene& scene)
{
    if (scene.journal().isOpen() || scene.journal().isApplying() || scene.journal().isLoading())
        return Result::failure("The scene '" + scene.name() + "' is being changed; close it afterwards.");
    const std::scoped_lock lock(m_Opening);
    const auto found =
        std::find_if(m_Scenes.begin(), m_Scenes.end(), [&](const auto& own) { return own.get() == &scene; });
    if (found == m_Scenes.end())
        return Result::failure("The scene '" + scene.name() + "' is not open here.");
    tellListeners([&](HostListener& listener) { listener.sceneClosing(scene); });
    DocumentAccess::removePacketsOf(m_Selection, scene);
    // Taken out first: what goes with the scene must not find it in the list any more.
    const std::unique_ptr<Scene> closed = std::move(*found);
    m_Scenes.erase(found);
    return {};
}

Scene* Desk::currentScene() const
{
    const auto recent = m_Selection.mostRecent(SelectionType::Cinema);
    return recent ? recent->scene : nullptr;
}

Result Desk::setTime(double seconds)
{
    if (!(std::abs(seconds) <= kMaximumTimeSeconds))
        return Result::failure("The time must be a number within " + std::to_string(kMaximumTimeSeconds)
                               + " seconds.");
    if (seconds == m_Time)
        return {};
    const Change change{.kind = ChangeKind::TimeChanged};
    for (const auto& scene : m_Scenes) {
        if (scene->journal().isApplying())
            return Result::failure(
                "A scene is telling its listeners about a change; set the time afterwards.");
    }
    for (const auto& scene : m_Scenes)
        scene->notifyBefore(change);
    m_Time = seconds;
    for (const auto& scene : m_Scenes)
        DocumentAccess::nextTimeEpoch(*scene);
    for (const auto& scene : m_Scenes)
        scene->notifyAfter(change);
    return {};
}

} // namespace refhost
