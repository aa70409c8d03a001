// SPDX-License-Identifier: MIT
// Objects on the border: handing them out, counting, retiring, and taking them back when items and scenes go.
#include "module/HostBinding.h"

#include "module/CommandObjects.h"
#include "module/EvaluationObjects.h"
#include "module/PackageInstances.h"
#include "module/SceneObjects.h"
#include "refhost/Scene.h"

#include <algorithm>
#include <cstdio>

namespace refhost {
namespace {

// So many released objects go on refusing calls before their memory goes.
constexpr std::size_t kRetiredLimit = 65536;

struct ResultRow {
    zxresult code;
    const char* text;
};
constexpr ResultRow kResultTexts[] = {
    {kZxFailure, "general failure"},
    {kZxOutOfMemory, "out of memory"},
    {kZxNotAvailable, "not available now"},
    {kZxInvalidArgument, "invalid argument"},
    {kZxAborted, "aborted"},
    {kZxOutOfRange, "index out of range"},
    {kZxNotFound, "not found"},
    {kZxMessage, "failure with a message"},
};

} // namespace

std::string resultText(zxresult result)
{
    const auto found = std::find_if(std::begin(kResultTexts), std::end(kResultTexts),
                                    [&](const ResultRow& row) { return row.code == result; });
    char code[16];
    std::snprintf(code, sizeof code, "0x%08x", static_cast<unsigned>(result));
    return std::string(found == std::end(kResultTexts) ? "failure" : found->text) + " (" + code + ")";
}

/// Hears of a scene's changes, and of its end, for the binding.
class SceneWatch final : public SceneListener {
public:
    SceneWatch(Scene& scene, HostBinding& binding) : m_Scene(scene), m_Binding(&binding)
    {
        scene.addListener(*this);
        binding.m_Watches.push_back(this);
    }
    ~SceneWatch() override
    {
        m_Scene.removeListener(*this);
        if (m_Binding) {
            m_Binding->sceneGone(m_Scene);
            std::erase(m_Binding->m_Watches, this);
        }
    }
    void beforeChange(Scene&, const Change& change) override
    {
        if (!m_Binding)
            return;
        if (change.kind == ChangeKind::ItemRemoved)
            m_Binding->instances().removeFrom(*change.item);
        else if (change.kind == ChangeKind::PackageRemoved)
            m_Binding->instances().removeFrom(*change.item, change.name);
    }
    void afterChange(Scene&, const Change& change) override
    {
        if (!m_Binding)
            return;
        switch (change.kind) {
        case ChangeKind::ItemAdded:
            m_Binding->instances().expect(*change.item);
            m_Binding->sceneChanged(m_Scene);
            break;
        case ChangeKind::PackageAdded:
            m_Binding->instances().expect(*change.item);
            break;
        case ChangeKind::ItemRemoved:
            m_Binding->itemGone(*change.item);
            m_Binding->sceneChanged(m_Scene);
            break;
        case ChangeKind::Loaded:
            m_Binding->instances().makeExpected();
            break;
        default:
            break;
        }
    }
    void afterStep(Scene&) override
    {
        if (m_Binding)
            m_Binding->instances().makeExpected();
    }
    void forget() { m_Binding = nullptr; }

private:
    Scene& m_Scene;
    HostBinding* m_Binding;
};

void HostObject::releaseReference()
{
    if (m_References.fetch_sub(1, std::memory_order_acq_rel) == 1 && !m_Kept)
        m_Binding.retire(*this);
}

zxresult HostObject::query(ZxObject* self, const ZxId* id, ZxObject** object)
{
    HostObject* host = static_cast<HostObject*>(reinterpret_cast<ZxFace*>(self)->owner);
    detail::clearResult(object);
    if (const zxresult refused = host->enter(kAnyPhase); failed(refused))
        return refused;
    if (!id || !object)
        return kZxInvalidArgument;
    ZxObject* face = *id == kZxIdObject || *id == *host->m_Id ? host->face() : host->faceOf(*id);
    if (!face)
        return kZxNotFound;
    host->addReference();
    *object = face;
    return kZxOk;
}

zxresult HostObject::addRef(ZxObject* self)
{
    HostObject* host = static_cast<HostObject*>(reinterpret_cast<ZxFace*>(self)->owner);
    if (host->references() == 0)
        return kZxNotAvailable;
    host->addReference();
    return kZxOk;
}

zxresult HostObject::release(ZxObject* self)
{
    HostObject* host = static_cast<HostObject*>(reinterpret_cast<ZxFace*>(self)->owner);
    if (host->references() == 0) {
        host->m_Binding.noteOverRelease(*host);
        return kZxNotAvailable;
    }
    host->releaseReference();
    return kZxOk;
}

HostBinding::HostBinding(Host& host)
    : m_Host(host),
      m_Instances(std::make_unique<PackageInstances>(*this)),
      m_Matrices(std::make_unique<SlotMatrices>(*this))
{
    host.addListener(*this);
    for (const auto& scene : host.scenes())
        watch(*scene);
}

HostBinding::~HostBinding()
{
    m_Host.removeListener(*this);
    for (SceneWatch* one : m_Watches)
        one->forget();
    m_Instances.reset();
    while (m_First) {
        HostObject* object = m_First;
        unlink(*object);
        delete object;
    }
}

void HostBinding::adopt(HostObject& object)
{
    const std::scoped_lock lock(m_Mutex);
    object.m_Next = m_First;
    if (m_First)
        m_First->m_Previous = &object;
    m_First = &object;
}

void HostBinding::unlink(HostObject& object)
{
    (object.m_Previous ? object.m_Previous->m_Next : m_First) = object.m_Next;
    if (object.m_Next)
        object.m_Next->m_Previous = object.m_Previous;
    object.m_Previous = object.m_Next = nullptr;
}

void HostBinding::retire(HostObject& object)
{
    const std::scoped_lock lock(m_Mutex);
    if (object.references() != 0) // handed out again meanwhile
        return;
    if (const auto* item = dynamic_cast<const ItemObject*>(&object); item && item->item())
        m_Items.erase(item->item());
    if (dynamic_cast<const SceneObject*>(&object) && !object.isGone())
        m_Scenes.erase(object.scene());
    object.markGone();
    unlink(object);
    m_Retired.emplace_back(&object);
    if (m_Retired.size() > kRetiredLimit)
        m_Retired.pop_front();
}

void HostBinding::dispose(HostObject& object)
{
    object.markGone();
    object.setKept(false);
    if (object.references() == 0)
        retire(object);
}

ItemObject& HostBinding::itemObject(Item& item)
{
    const std::scoped_lock lock(m_Mutex);
    if (const auto found = m_Items.find(&item); found != m_Items.end()) {
        found->second->addReference();
        return *found->second;
    }
    watch(item.scene());
    ItemObject& object = make<ItemObject>(item);
    m_Items.emplace(&item, &object);
    return object;
}

SceneObject& HostBinding::sceneObject(Scene& scene)
{
    const std::scoped_lock lock(m_Mutex);
    if (const auto found = m_Scenes.find(&scene); found != m_Scenes.end()) {
        found->second->addReference();
        return *found->second;
    }
    watch(scene);
    SceneObject& object = make<SceneObject>(scene);
    m_Scenes.emplace(&scene, &object);
    return object;
}

std::vector<LiveReferences> HostBinding::liveReferences() const
{
    const std::scoped_lock lock(m_Mutex);
    std::vector<LiveReferences> list;
    for (const HostObject* object = m_First; object; object = object->m_Next) {
        if (object->references() == 0)
            continue;
        auto found = std::find_if(list.begin(), list.end(), [&](const LiveReferences& one) {
            return one.interfaceName == object->interfaceName();
        });
        if (found == list.end())
            found = list.insert(list.end(), {object->interfaceName(), 0, 0});
        ++found->objects;
        found->references += object->references();
    }
    std::sort(list.begin(), list.end(), [](const LiveReferences& a, const LiveReferences& b) {
        return a.interfaceName < b.interfaceName;
    });
    return list;
}

void HostBinding::markAllGone()
{
    const std::scoped_lock lock(m_Mutex);
    for (HostObject* object = m_First; object; object = object->m_Next)
        if (object->references() > 0)
            object->markGone();
    m_Items.clear();
    m_Scenes.clear();
}

void HostBinding::noteOverRelease(const HostObject& object)
{
    if (std::exchange(m_ToldOverRelease, true))
        return;
    m_Host.tell(
        MessageLevel::Error,
        std::string("A module released an object with the interface ") + object.interfaceName()
            + " more often than it holds references; the call was refused. The module counts wrongly.");
}

void HostBinding::noteNull(const HostObject& object)
{
    if (m_Nulls++ != 0)
        return;
    m_Host.tell(MessageLevel::Error,
                std::string("A module passed nothing to an operation of the interface ")
                    + object.interfaceName() + " that needs something; the call was refused.");
}

void HostBinding::noteTrouble(std::string_view why)
{
    if (m_Trouble.empty())
        m_Trouble = why;
}

void HostBinding::commandGone(const Command& command)
{
    const std::scoped_lock lock(m_Mutex);
    for (HostObject* object = m_First; object; object = object->m_Next) {
        const auto* spawned = dynamic_cast<const SpawnedCommandObject*>(object);
        if (spawned && spawned->runs(command))
            object->markGone();
    }
}

void HostBinding::watch(Scene& scene) { scene.attachments().require<SceneWatch>(scene, *this); }

void HostBinding::itemGone(const Item& item)
{
    const std::scoped_lock lock(m_Mutex);
    if (const auto found = m_Items.find(&item); found != m_Items.end()) {
        found->second->markGone();
        m_Items.erase(found);
    }
}

void HostBinding::sceneChanged(const Scene& scene)
{
    const std::scoped_lock lock(m_Mutex);
    if (const auto found = m_Scenes.find(&scene); found != m_Scenes.end())
        found->second->forgetItems();
}

void HostBinding::sceneGone(const Scene& scene)
{
    m_Instances->removeFrom(scene);
    const std::scoped_lock lock(m_Mutex);
    for (HostObject* object = m_First; object; object = object->m_Next) {
        if (object->scene() == &scene)
            object->markGone();
    }
    std::erase_if(m_Items, [&](const auto& entry) { return entry.second->isGone(); });
    m_Scenes.erase(&scene);
}

void HostBinding::sceneAdded(Scene& scene)
{
    watch(scene);
    m_Instances->expectAll(scene);
    m_Instances->makeExpected();
}

void HostBinding::sceneClosing(Scene& scene) { m_Instances->removeFrom(scene); }

} // namespace refhost
