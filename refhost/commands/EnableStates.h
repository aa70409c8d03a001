// SPDX-License-Identifier: MIT
// Remembers whether commands are enabled until an event that they name.
#pragma once

#include "refhost/Change.h"
#include "refhost/Command.h"
#include "refhost/Host.h"

#include <atomic>
#include <functional>
#include <map>

namespace refhost {

/// Hears of the changes of all scenes of a desk. Another current scene, setup mode and loading forget
/// everything.
class EnableStates final : public HostListener {
public:
    explicit EnableStates(Desk& desk);
    ~EnableStates() override;

    /// What is remembered of the command, or what `test` says now; valid until the next call.
    const Enabled& of(const Command& command, const std::function<Enabled()>& test);
    void forget(const Command& command) { m_States.erase(&command); }

    /// May be called on the thread of any scene; what it forgets is forgotten at the next question.
    void note(const Change& change);
    void sceneAdded(Scene& scene) override;
    void sceneClosing(Scene& scene) override;

    EnableStates(const EnableStates&) = delete;
    EnableStates& operator=(const EnableStates&) = delete;

private:
    struct State {
        Enabled enabled;
        unsigned events = 0; ///< those that forget it
    };
    Desk& m_Desk;
    std::atomic<unsigned> m_Events = 0; ///< since the last question
    std::map<const Command*, State> m_States;
    Enabled m_Unremembered;
};

} // namespace refhost
