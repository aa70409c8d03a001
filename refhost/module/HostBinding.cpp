// SPDX-License-Identifier: MIT
// Objects on the border: handing them out, counting, retiring, and taking them back when items and scenes go.
#include "module/HostBinding.h"

#include "module/CommandObjects.h"
#include "module/EvaluationObjects.h"
#include "module/PackageInstances.h"
#include "module/SceneObjects.h"
#include "module/SceneWatch.h"
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

namespace {

// Kept by the thread, so that it outlives its binding while the thread may look at its owner.
constinit thread_local std::shared_ptr<BorderCalls> callsOfThread;

} // namespace

BorderCalls* HostBinding::lastCalls() { return callsOfThread.get(); }

BorderCalls& HostBinding::findCalls() const
{
    const std::scoped_lock lock(m_Mutex);
    std::shared_ptr<BorderCalls>& found = m_Threads[std::this_thread::get_id()];
    if (!found) {
        found = std::make_shared<BorderCalls>();
        found->owner = this;
    }
    callsOfThread = found;
    return *found;
}

std::uint64_t HostBinding::callCount() const
{
    const std::scoped_lock lock(m_Mutex);
    std::uint64_t count = 0;
    for (const auto& [thread, calls] : m_Threads)
        count += calls->count.load(std::memory_order_relaxed);
    return count;
}

void HostBinding::failCall(std::uint64_t n)
{
    BorderCalls& own = calls();
    own.failAt = n == 0 ? 0 : own.count.load(std::memory_order_relaxed) + n;
}

Scene* HostBinding::currentScene() const
{
    Scene* const evaluated = calls().scene;
    return evaluated ? evaluated : m_Host.currentScene();
}

Desk& HostBinding::desk() const
{
    Scene* const evaluated = calls().scene;
    return evaluated ? evaluated->desk() : m_Host.desk();
}

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

HostBinding::HostBinding(Host& host) : m_Host(host), m_Instances(std::make_unique<PackageInstances>(*this))
{
    host.addListener(*this);
    host.forEachDesk([&](Desk& desk) {
        for (const auto& scene : desk.scenes())
            watch(*scene);
    });
}

HostBinding::~HostBinding()
{
    m_Host.removeListener(*this);
    m_Instances.reset();
    for (SceneWatch* one : m_Watches)
        one->forget();
    for (const auto& [thread, calls] : m_Threads)
        calls->owner = nullptr;
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
    if (object.references() != 0 || std::exchange(object.m_Retired, true)) // handed out again meanwhile
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
    if (m_ToldOverRelease.exchange(true))
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

void HostBinding::commandGone(const Command& command)
{
    const std::scoped_lock lock(m_Mutex);
    for (HostObject* object = m_First; object; object = object->m_Next) {
        const auto* spawned = dynamic_cast<const SpawnedCommandObject*>(object);
        if (spawned && spawned->runs(command))
            object->markGone();
    }
}

SceneWatch& HostBinding::watch(Scene& scene) { return scene.attachments().require<SceneWatch>(scene, *this); }

void HostBinding::addWatch(SceneWatch& watch)
{
    const std::scoped_lock lock(m_Mutex);
    m_Watches.push_back(&watch);
}

void HostBinding::removeWatch(SceneWatch& watch)
{
    const std::scoped_lock lock(m_Mutex);
    std::erase(m_Watches, &watch);
}

void HostBinding::forEachWatch(const std::function<void(SceneWatch&)>& visit) const
{
    const std::scoped_lock lock(m_Mutex);
    for (SceneWatch* watch : m_Watches)
        visit(*watch);
}

const std::shared_ptr<SlotMatrices>& HostBinding::matrices(Scene& scene) { return watch(scene).matrices(); }

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
    const std::scoped_lock lock(m_Mutex);
    for (HostObject* object = m_First; object; object = object->m_Next) {
        if (object->scene() == &scene)
            object->markGone();
    }
    std::erase_if(m_Items, [&](const auto& entry) { return entry.second->scene() == &scene; });
    m_Scenes.erase(&scene);
}

void HostBinding::sceneAdded(Scene& scene)
{
    SceneWatch& watched = watch(scene);
    m_Instances->expectAll(watched);
    m_Instances->makeExpected(watched);
}

void HostBinding::sceneClosing(Scene& scene) { m_Instances->removeFrom(watch(scene)); }

} // namespace refhost
