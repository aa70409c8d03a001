// SPDX-License-Identifier: MIT
// Desks: where a thread works in a host, with the scenes that it has open, a selection and a time of its own.
#pragma once

#include "refhost/Attachments.h"
#include "refhost/Result.h"
#include "refhost/Selection.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace refhost {

class Host;
class HostListener;
class Scene;

/// What one thread works with at a time: open scenes, the selection and with it the current scene, the
/// current time, the commands that run, the tool and the view in use. A host has one from the start, and its
/// scenes, selection and time are those of the desk that the calling thread is at. To run commands and tools
/// on several threads at the same time, open a desk for each:
///
///     Desk desk(host);
///     const AtDesk here(desk);
///     Commands::of(host).execute("scene.open file:walk.sinew.json");
///
/// What concerns one scene alone (edits, undo, evaluation, saving) may be done on any thread, by one at a
/// time, whatever desk the scene stands on.
class Desk {
public:
    /// An empty desk at time 0.
    explicit Desk(Host& host);
    /// Closes its scenes. No thread may be at it any more, and scenes that were made at it and added nowhere
    /// must be gone. It goes before its host.
    ~Desk();

    Host& host() const { return m_Host; }
    const std::vector<std::unique_ptr<Scene>>& scenes() const { return m_Scenes; }
    Scene& addScene(std::unique_ptr<Scene> scene);
    Result closeScene(Scene& scene);
    Scene* currentScene() const;
    Selection& selection() { return m_Selection; }
    const Selection& selection() const { return m_Selection; }
    double time() const { return m_Time; }
    Result setTime(double seconds);
    Attachments& attachments() { return m_Attachments; }
    /// Told of scenes of this desk; to be removed before it goes.
    void addListener(HostListener& listener) { m_Listeners.push_back(&listener); }
    void removeListener(HostListener& listener) { std::erase(m_Listeners, &listener); }

    Desk(const Desk&) = delete;
    Desk& operator=(const Desk&) = delete;

private:
    friend class Host;
    void close();
    template <class Tell>
    void tellListeners(const Tell& tell);

    Host& m_Host;
    double m_Time = 0;
    std::vector<HostListener*> m_Listeners;
    Selection m_Selection{*this};
    std::vector<std::unique_ptr<Scene>> m_Scenes;
    std::recursive_mutex m_Opening; // threads without a desk of their own may open scenes at the same time
    Attachments m_Attachments; // goes first: its objects may use all the rest
};

/// The calling thread is at a desk for the length of a block.
class AtDesk {
public:
    explicit AtDesk(Desk& desk);
    ~AtDesk();
    /// The desk of the host that the calling thread is at; null when it is at none.
    static Desk* of(const Host& host);

    AtDesk(const AtDesk&) = delete;
    AtDesk& operator=(const AtDesk&) = delete;

private:
    Desk& m_Desk;
    const AtDesk* m_Former; // of this thread
};

} // namespace refhost
