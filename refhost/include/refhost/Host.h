// SPDX-License-Identifier: MIT
// The host: item types, packages, scenes, selection, current time, and a way to tell the user something.
#pragma once

#include "refhost/Attachments.h"
#include "refhost/ChannelDefinition.h"
#include "refhost/Desk.h"
#include "refhost/ItemType.h"
#include "refhost/Result.h"
#include "refhost/Scene.h"
#include "refhost/Selection.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace refhost {

enum class MessageLevel : std::uint8_t { Info, Warning, Error };
inline constexpr const char* kMessageLevelNames[] = {"info", "warning", "error"};
using MessageSink = std::function<void(MessageLevel, std::string_view)>;

/// Origin of the types that every host has.
inline constexpr const char* kHostOrigin = "host";

/// Told about scenes as a whole and about the registry.
class HostListener {
public:
    virtual ~HostListener() = default;
    virtual void sceneAdded(Scene&) { }
    /// While the scene is still whole.
    virtual void sceneClosing(Scene&) { }
    virtual void typeRegistered(const ItemType&) { }
    virtual void packageRegistered(const Package&) { }
};

/// Several hosts live side by side in one process; only the modules that they load are shared.
///
/// Threads: item types, packages, commands, tools and modules are registered by one thread while no other is
/// at work. After that each thread may use the host, with scenes of its own. See Desk for what is a thread's
/// own and what is a scene's.
class Host {
public:
    Host();
    ~Host();

    // Item types and packages

    /// Null when there is no such type.
    const ItemType* findType(std::string_view name) const;
    /// Null when there is no such type.
    const ItemType* findType(std::uint32_t code) const;
    const std::vector<std::unique_ptr<ItemType>>& types() const { return m_Types; }
    /// A type derived from `super`, with channels of its own. A name that is taken, an unknown `super` and a
    /// channel name that is empty or doubled are refused.
    ResultOf<const ItemType*> registerType(std::string_view name, std::string_view super,
                                           std::string_view origin,
                                           std::vector<ChannelDefinition> channels = {});
    /// Null when there is no such package; item types are no packages here.
    const Package* findPackage(std::string_view name) const;
    const std::vector<std::unique_ptr<Package>>& packages() const { return m_Packages; }
    /// Refused as registerType does.
    ResultOf<const Package*> registerPackage(std::string_view name, std::string_view origin,
                                             std::vector<ChannelDefinition> channels);
    const ItemType& locatorType() const { return *m_Locator; }
    const ItemType& solverType() const { return *m_Solver; }
    const ItemType& meshType() const { return *m_Mesh; }
    /// Types `scale`, `rotation` and `translation`, by kind.
    const ItemType& transformType(TransformKind kind) const { return *m_Transforms[static_cast<int>(kind)]; }

    // Scenes of the desk that the calling thread is at

    Desk& desk() const
    {
        Desk* const taken = AtDesk::of(*this);
        return taken ? *taken : const_cast<Desk&>(m_FirstDesk);
    }
    const std::vector<std::unique_ptr<Scene>>& scenes() const { return desk().scenes(); }
    /// An empty scene, selected as `cinema`.
    Scene& newScene(std::string name = "Untitled");
    /// A scene that stands in no list yet, for loading a file into; null packets, no selection. Give it to
    /// addScene.
    std::unique_ptr<Scene> makeScene(std::string name);
    /// Takes the scene over and selects it as `cinema`.
    Scene& addScene(std::unique_ptr<Scene> scene) { return desk().addScene(std::move(scene)); }
    /// Takes its packets out of the selection and destroys it. Refused while a step is open in it.
    Result closeScene(Scene& scene) { return desk().closeScene(scene); }
    /// The scene of the most recent `cinema` packet; null when there is none.
    Scene* currentScene() const { return desk().currentScene(); }
    Selection& selection() { return desk().selection(); }
    const Selection& selection() const { return desk().selection(); }

    // Time of that desk

    /// Seconds.
    double time() const { return desk().time(); }
    /// Tells the listeners of every scene of the desk; the same time again changes nothing. A time that is
    /// not finite is refused.
    Result setTime(double seconds) { return desk().setTime(seconds); }

    // The user

    void setMessageSink(MessageSink sink) { m_Sink = std::move(sink); }
    /// Without a sink the text is dropped. The sink is called on the thread that tells, by one at a time.
    void tell(MessageLevel level, std::string_view text) const;

    // The rest of the host

    Attachments& attachments() { return m_Attachments; }
    /// Told of the scenes of all desks; the listener must be removed before it goes.
    void addListener(HostListener& listener);
    void removeListener(HostListener& listener);
    /// Calls `visit` with each desk, while none is opened or goes.
    template <class Visit>
    void forEachDesk(const Visit& visit)
    {
        const std::scoped_lock lock(m_DeskList);
        for (Desk* desk : m_Desks)
            visit(*desk);
    }

    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

private:
    friend class Desk;
    void enlist(Desk& desk);
    void strike(Desk& desk);
    template <class Tell>
    void tellListeners(const Tell& tell)
    {
        for (std::size_t i = 0; i < m_Listeners.size(); ++i)
            tell(*m_Listeners[i]);
    }
    const ItemType* addType(std::string_view name, const ItemType* base, std::string_view origin,
                            bool hasTransforms, std::vector<ChannelDefinition> channels);
    Result checkNew(std::string_view name, const std::vector<ChannelDefinition>& channels) const;

    MessageSink m_Sink;
    mutable std::recursive_mutex m_Telling;
    std::vector<std::unique_ptr<ItemType>> m_Types;
    std::vector<std::unique_ptr<Package>> m_Packages;
    const ItemType* m_Locator = nullptr;
    const ItemType* m_Solver = nullptr;
    const ItemType* m_Mesh = nullptr;
    const ItemType* m_Transforms[kTransformKindCount] = {};
    std::vector<HostListener*> m_Listeners;
    std::mutex m_DeskList;
    std::vector<Desk*> m_Desks;
    Desk m_FirstDesk{*this};
    Attachments m_Attachments; // goes first: its objects may use all the rest
};

} // namespace refhost
