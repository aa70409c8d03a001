// SPDX-License-Identifier: MIT
// A scene's listeners, setup mode, tags and data.
#include "refhost/Scene.h"

#include "refhost/Host.h"
#include "scene/ItemEdits.h"

#include <algorithm>

namespace refhost {
namespace {

class SetupModeEdit final : public Edit {
public:
    explicit SetupModeEdit(bool on) : m_On(on) { }
    void redo(Scene& scene, ChangeCause cause) override { set(scene, cause, m_On); }
    void undo(Scene& scene, ChangeCause cause) override { set(scene, cause, !m_On); }

private:
    static void set(Scene& scene, ChangeCause cause, bool on)
    {
        const Notice notice(scene, {.kind = ChangeKind::SetupModeChanged, .cause = cause});
        DocumentAccess::setSetupMode(scene, on);
    }

    bool m_On;
};

/// Changes nothing, but says so in both directions.
class ModifierResetEdit final : public SwapEdit {
public:
    explicit ModifierResetEdit(std::string name) : m_Name(std::move(name)) { }
    bool changesDocument() const override { return false; }

private:
    void swap(Scene& scene, ChangeCause cause) override
    {
        const Notice notice(scene, {.kind = ChangeKind::ModifierReset, .cause = cause, .name = m_Name});
    }

    std::string m_Name;
};

bool isSame(const std::string* former, const char* value)
{
    return value ? former && *former == value : former == nullptr;
}

std::unique_ptr<std::string> textOrNull(const char* value)
{
    return value ? std::make_unique<std::string>(value) : nullptr;
}

} // namespace

Scene::Scene(Host& host, std::string name)
    : m_Host(host),
      m_Desk(&host.desk()),
      m_Name(std::move(name)),
      m_Journal(*this),
      m_ChannelGraph(kChannelGraphName)
{
}

Scene::~Scene()
{
    // A scene that was never open may go on any thread, so the desk is left alone.
    if (m_WasSelected)
        DocumentAccess::removePacketsOf(m_Desk->selection(), *this);
}

double Scene::time() const { return m_Desk->time(); }

Result Scene::setSetupMode(bool on)
{
    if (Result allowed = m_Journal.allowsEdit(); !allowed.ok() || on == m_SetupMode)
        return allowed;
    return m_Journal.perform(std::make_unique<SetupModeEdit>(on));
}

Layer Scene::layer(Action action) const
{
    switch (action) {
    case Action::Setup:
        return Layer::Setup;
    case Action::Anim:
        return Layer::Anim;
    case Action::Edit:
        break;
    }
    return evaluatedLayer();
}

Result Scene::resetModifier(std::string_view name)
{
    return m_Journal.perform(std::make_unique<ModifierResetEdit>(std::string(name)));
}

Result Scene::setTag(Item& item, TagCode code, const char* value)
{
    if (Result own = checkOwn(item); !own.ok() || isSame(item.tags().find(code), value))
        return own;
    return m_Journal.perform(std::make_unique<TagEdit>(&item, code, textOrNull(value)));
}

Result Scene::setTag(TagCode code, const char* value)
{
    if (Result allowed = m_Journal.allowsEdit(); !allowed.ok() || isSame(m_Tags.find(code), value))
        return allowed;
    return m_Journal.perform(std::make_unique<TagEdit>(nullptr, code, textOrNull(value)));
}

Result Scene::setData(Item& item, std::string_view kind, std::shared_ptr<const DocumentData> data)
{
    if (Result own = checkOwn(item); !own.ok() || item.data().find(kind) == data)
        return own;
    return m_Journal.perform(std::make_unique<DataEdit>(&item, std::string(kind), std::move(data)));
}

Result Scene::setData(std::string_view kind, std::shared_ptr<const DocumentData> data)
{
    if (Result allowed = m_Journal.allowsEdit(); !allowed.ok() || m_Data.find(kind) == data)
        return allowed;
    return m_Journal.perform(std::make_unique<DataEdit>(nullptr, std::string(kind), std::move(data)));
}

void Scene::addListener(SceneListener& listener) { m_Listeners.push_back(&listener); }

void Scene::removeListener(SceneListener& listener) { std::erase(m_Listeners, &listener); }

// By index and against the size of the moment: a listener may remove itself while it is told.
void Scene::notifyBefore(const Change& change)
{
    for (std::size_t i = 0; i < m_Listeners.size(); ++i)
        m_Listeners[i]->beforeChange(*this, change);
}

void Scene::notifyAfter(const Change& change)
{
    for (std::size_t i = 0; i < m_Listeners.size(); ++i)
        m_Listeners[i]->afterChange(*this, change);
}

void Scene::notifyStep()
{
    for (std::size_t i = 0; i < m_Listeners.size(); ++i)
        m_Listeners[i]->afterStep(*this);
}

Result Scene::checkOwn(const Item& item) const
{
    if (Result allowed = m_Journal.allowsEdit(); !allowed.ok())
        return allowed;
    if (&item.scene() != this)
        return Result::failure("The item belongs to another scene.");
    if (!item.isAlive())
        return Result::failure("The item is no longer in the scene.");
    return {};
}

Result Scene::checkOwn(const Channel& channel) const
{
    if (Result own = checkOwn(channel.item()); !own.ok())
        return own;
    if (channel.item().channel(channel.index()) != &channel)
        return Result::failure("The channel's package is no longer on '" + channel.item().label() + "'.");
    return {};
}

} // namespace refhost
