// SPDX-License-Identifier: MIT
// The tables of the module inside the test program.
#include "FakeModule.h"

#include <memory>

namespace support {
namespace {

/// An object with up to three faces, counted like a module's.
class FakeObject {
public:
    FakeObject() { ++FakeWorld::current->livingObjects; }
    virtual ~FakeObject() { --FakeWorld::current->livingObjects; }

    ZxObject* face() { return &m_Faces[0].host; }

    static zxresult query(ZxObject* self, const ZxId* id, ZxObject** object)
    {
        FakeObject* owner = of(self);
        for (int i = 0; i < owner->m_Count; ++i) {
            if (*owner->m_Ids[i] == *id || (i == 0 && *id == kZxIdObject)) {
                ++owner->m_References;
                *object = &owner->m_Faces[i].host;
                return kZxOk;
            }
        }
        *object = nullptr;
        return kZxNotFound;
    }
    static zxresult addRef(ZxObject* self)
    {
        ++of(self)->m_References;
        return kZxOk;
    }
    static zxresult release(ZxObject* self)
    {
        FakeObject* owner = of(self);
        if (--owner->m_References == 0)
            delete owner;
        return kZxOk;
    }
    static constexpr ZxObjectOps kOps = {.query = &query, .addRef = &addRef, .release = &release};

protected:
    template <class T>
    void offer(const ZxId& id, const ZxObjectOps& table, T* self)
    {
        m_Ids[m_Count] = &id;
        m_Faces[m_Count++] = {{&table}, self, static_cast<FakeObject*>(self)};
    }

private:
    static FakeObject* of(ZxObject* self)
    {
        return static_cast<FakeObject*>(reinterpret_cast<ZxFace*>(self)->owner);
    }
    ZxFace m_Faces[3] = {};
    const ZxId* m_Ids[3] = {};
    int m_Count = 0;
    int m_References = 1;
};

/// Facts of a server.
class Described : public FakeObject {
public:
    zxresult tagCount(uint32_t* count)
    {
        *count = static_cast<uint32_t>(m_Tags.size());
        return kZxOk;
    }
    zxresult tag(uint32_t index, const char** key, const char** value)
    {
        if (index >= m_Tags.size())
            return kZxOutOfRange;
        *key = m_Tags[index].first;
        *value = m_Tags[index].second;
        return kZxOk;
    }

protected:
    void describe(std::vector<std::pair<const char*, const char*>> tags)
    {
        static const ZxStaticDescTable table = {.object = kOps,
                                                .tagCount = thunk<Described, &Described::tagCount>,
                                                .tag = thunk<Described, &Described::tag>};
        m_Tags = std::move(tags);
        offer(kZxIdStaticDesc, table.object, this);
    }

private:
    std::vector<std::pair<const char*, const char*>> m_Tags;
};

class Instance final : public FakeObject {
public:
    Instance()
    {
        static const ZxPackageInstanceTable table = {.object = kOps,
                                                     .initialise = thunk<Instance, &Instance::initialise>,
                                                     .cleanUp = thunk<Instance, &Instance::cleanUp>,
                                                     .loaded = thunk<Instance, &Instance::nothing>,
                                                     .copied = thunk<Instance, &Instance::copied>,
                                                     .renamed = thunk<Instance, &Instance::nothing>};
        offer(kZxIdPackageInstance, table.object, this);
        // A host calls `draw` alone of these.
        static const ZxViewItem3DTable view = [] {
            ZxViewItem3DTable made{};
            made.object = kOps;
            made.draw = thunk<Instance, &Instance::draw>;
            return made;
        }();
        if (FakeWorld::current->drawItem)
            offer(kZxIdViewItem3D, view.object, this);
    }
    zxresult draw(ZxObject* read, ZxObject* draw, const float* colour)
    {
        CZxLocalizedObject reads, draws;
        check(reads.query(read, kZxIdChannelRead));
        check(draws.query(draw, kZxIdStrokeDraw));
        return FakeWorld::current->drawItem(reads, draws, colour);
    }
    zxresult initialise(ZxObject* item)
    {
        const zxresult result = m_Item.query(item, kZxIdItem);
        FakeWorld::current->instances += succeeded(result);
        return result;
    }
    zxresult cleanUp()
    {
        FakeWorld::current->instances -= static_cast<bool>(m_Item);
        m_Item.clear();
        return kZxOk;
    }
    zxresult nothing() { return kZxOk; }
    zxresult copied(ZxObject*) { return kZxOk; }

private:
    Item m_Item;
};

class PackageServer final : public Described {
public:
    explicit PackageServer(bool isType)
    {
        static const ZxPackageTable table = {
            .object = kOps,
            .setupChannels = thunk<PackageServer, &PackageServer::setupChannels>,
            .attach = thunk<PackageServer, &PackageServer::attach>,
            .testInterface = thunk<PackageServer, &PackageServer::testInterface>,
            .added = thunk<PackageServer, &PackageServer::told>,
            .removing = thunk<PackageServer, &PackageServer::told>};
        offer(kZxIdPackage, table.object, this);
        if (isType)
            describe({{"super", FakeWorld::current->super.c_str()}, {"pkg.createCmd", "-"}});
        m_IsType = isType;
    }
    zxresult setupChannels(ZxObject* object)
    {
        ++FakeWorld::current->setups;
        CZxLocalize<ZxAddChannelTable> channels;
        check(channels.query(object, kZxIdAddChannel));
        if (m_IsType)
            return channels.call<&ZxAddChannelTable::add>("fakeGain", "float");
        if (FakeWorld::current->setupChannels)
            return FakeWorld::current->setupChannels(channels);
        check(channels.call<&ZxAddChannelTable::add>("fakeMatrix", "storage"));
        check(channels.call<&ZxAddChannelTable::setStorage>("matrix4"));
        check(channels.call<&ZxAddChannelTable::add>("fakeOffset", "distance"));
        check(channels.call<&ZxAddChannelTable::setVector>("XYZ"));
        return channels.call<&ZxAddChannelTable::setDefaultVector>(1.0, 2.0, 3.0);
    }
    zxresult attach(ZxObject** instance)
    {
        *instance = (new Instance)->face();
        return kZxOk;
    }
    zxresult testInterface(const ZxId* id) { return answer(*id == kZxIdPackageInstance); }
    zxresult told(ZxObject*) { return kZxOk; }

private:
    bool m_IsType = false;
};

class Node final : public FakeObject {
public:
    explicit Node(Evaluation evaluation) : m_Evaluation(std::move(evaluation))
    {
        static const ZxModifierTable table = {.object = kOps,
                                              .evaluate = thunk<Node, &Node::evaluate>,
                                              .test = thunk<Node, &Node::test>,
                                              .begin = thunk<Node, &Node::nothing>,
                                              .end = thunk<Node, &Node::nothing>,
                                              .timeJumped = thunk<Node, &Node::nothing>,
                                              .figure = thunk<Node, &Node::figure>};
        offer(kZxIdModifier, table.object, this);
    }
    zxresult evaluate()
    {
        ++FakeWorld::current->evaluations;
        return FakeWorld::current->evaluate ? FakeWorld::current->evaluate(m_Evaluation) : kZxOk;
    }
    zxresult test(ZxObject*, uint32_t) { return kZxFalse; }
    zxresult nothing() { return kZxOk; }
    zxresult figure(const char* name, double* value)
    {
        *value = 42;
        return std::string_view(name) == "answer" ? kZxOk : kZxNotFound;
    }

private:
    Evaluation m_Evaluation;
};

/// Serves every item that carries the package.
class ModifierServer final : public Described {
public:
    ModifierServer()
    {
        static const ZxEvalModifierTable table = {.object = kOps,
                                                  .reset = thunk<ModifierServer, &ModifierServer::reset>,
                                                  .next = thunk<ModifierServer, &ModifierServer::next>,
                                                  .allocate =
                                                      thunk<ModifierServer, &ModifierServer::allocate>};
        offer(kZxIdEvalModifier, table.object, this);
        describe({{"modifier.typeList", FakeWorld::current->typeList.c_str()},
                  {"modifier.graphList", FakeWorld::current->graphList.c_str()}});
    }
    zxresult reset(ZxObject* scene)
    {
        m_Scene.clear();
        if (!scene)
            return kZxNotAvailable;
        ++FakeWorld::current->resets;
        check(m_Scene.query(scene, kZxIdScene));
        CZxLocalize<ZxSceneServiceTable> service;
        ZxObject* found = nullptr;
        check(FakeWorld::current->context.call<&ZxContextTable::service>(&kZxIdSceneService, &found));
        service.adopt(found);
        check(service.call<&ZxSceneServiceTable::typeCode>("locator", &m_Type));
        m_Index = 0;
        return m_Scene.call<&ZxSceneTable::itemCount>(m_Type, &m_Count);
    }
    zxresult next(ZxObject** item, uint32_t* attribute)
    {
        *item = nullptr;
        *attribute = 0;
        while (m_Index < m_Count) {
            ZxObject* found = nullptr;
            check(m_Scene.call<&ZxSceneTable::itemByIndex>(m_Type, m_Index++, &found));
            Item holder;
            holder.adopt(found);
            const zxresult has = holder.call<&ZxItemTable::hasPackage>("fake.package");
            check(has);
            if (isTrue(has)) {
                *item = holder.detach();
                return kZxOk;
            }
        }
        m_Scene.clear();
        return kZxOk;
    }
    zxresult allocate(ZxObject* item, uint32_t, ZxObject* evaluation, ZxObject** node)
    {
        ++FakeWorld::current->allocations;
        Evaluation channels;
        check(channels.query(evaluation, kZxIdEvaluation));
        Item on;
        check(on.query(item, kZxIdItem));
        if (FakeWorld::current->allocate)
            check(FakeWorld::current->allocate(on, channels));
        if (FakeWorld::current->keepsItems)
            FakeWorld::current->leaked.push_back(on.detach());
        *node = (new Node(std::move(channels)))->face();
        return kZxOk;
    }

private:
    Scene m_Scene;
    uint32_t m_Type = 0, m_Count = 0, m_Index = 0;
};

/// A command without arguments.
class CommandServer final : public FakeObject {
public:
    CommandServer()
    {
        static const ZxCommandTable table = {.object = kOps,
                                             .execute = thunk<CommandServer, &CommandServer::execute>,
                                             .flags = thunk<CommandServer, &CommandServer::flags>,
                                             .notifier = thunk<CommandServer, &CommandServer::notifier>,
                                             .enable = thunk<CommandServer, &CommandServer::enable>,
                                             .icon = thunk<CommandServer, &CommandServer::icon>};
        offer(kZxIdCommand, table.object, this);
    }
    zxresult execute(uint32_t) { return FakeWorld::current->execute ? FakeWorld::current->execute() : kZxOk; }
    zxresult flags(uint32_t* flags)
    {
        *flags = kZxCommandChangesScene | kZxCommandUndo;
        return kZxOk;
    }
    zxresult notifier(uint32_t, const char**, const char**) { return kZxOutOfRange; }
    zxresult enable(ZxObject* message)
    {
        CZxLocalizedObject holder;
        check(holder.query(message, kZxIdMessage));
        return FakeWorld::current->enable ? FakeWorld::current->enable(holder) : kZxTrue;
    }
    zxresult icon(const char**) { return kZxNotFound; }
};

/// A tool without attributes.
class ToolServer final : public FakeObject {
public:
    ToolServer()
    {
        static const ZxToolTable tool = {.object = kOps,
                                         .reset = thunk<ToolServer, &ToolServer::reset>,
                                         .evaluate = thunk<ToolServer, &ToolServer::evaluate>,
                                         .vectorType = thunk<ToolServer, &ToolServer::vectorType>,
                                         .order = thunk<ToolServer, &ToolServer::order>,
                                         .task = thunk<ToolServer, &ToolServer::task>};
        static const ZxToolModelTable model = {.object = kOps,
                                               .flags = thunk<ToolServer, &ToolServer::number>,
                                               .draw = thunk<ToolServer, &ToolServer::draw>,
                                               .hitTest = thunk<ToolServer, &ToolServer::hitTest>,
                                               .initialise = thunk<ToolServer, &ToolServer::initialise>,
                                               .buttonDown = thunk<ToolServer, &ToolServer::buttonDown>,
                                               .move = thunk<ToolServer, &ToolServer::move>,
                                               .buttonUp = thunk<ToolServer, &ToolServer::buttonUp>,
                                               .dropped = thunk<ToolServer, &ToolServer::reset>,
                                               .enable = thunk<ToolServer, &ToolServer::enable>};
        offer(kZxIdTool, tool.object, this);
        offer(kZxIdToolModel, model.object, this);
    }
    zxresult reset() { return kZxOk; }
    zxresult vectorType(ZxObject**) { return kZxNotFound; }
    zxresult order(const char** order)
    {
        *order = "f";
        return kZxOk;
    }
    zxresult task(uint32_t* code)
    {
        *code = FakeWorld::current->toolTask;
        return kZxOk;
    }
    zxresult number(uint32_t* number)
    {
        *number = 0;
        return kZxOk;
    }
    zxresult enable(ZxObject*) { return kZxTrue; }
    zxresult evaluate(ZxObject* stack) { return call("evaluate", stack, nullptr); }
    zxresult initialise(ZxObject* stack) { return call("initialise", stack, nullptr); }
    zxresult draw(ZxObject* stack, ZxObject* draw) { return call("draw", stack, draw); }
    zxresult hitTest(ZxObject* stack, ZxObject* draw) { return call("hitTest", stack, draw); }
    zxresult buttonDown(ZxObject* stack, ZxObject* adjust) { return call("buttonDown", stack, adjust); }
    zxresult move(ZxObject* stack, ZxObject* adjust) { return call("move", stack, adjust); }
    zxresult buttonUp(ZxObject* stack, ZxObject* adjust) { return call("buttonUp", stack, adjust); }

private:
    static zxresult call(std::string_view what, ZxObject* object, ZxObject* other)
    {
        CZxLocalize<ZxVectorStackTable> stack;
        check(stack.query(object, kZxIdVectorStack));
        return FakeWorld::current->tool ? FakeWorld::current->tool(what, stack, other) : kZxOk;
    }
};

class FakeModule final : public FakeObject {
public:
    FakeModule()
    {
        static const ZxModuleTable module = {.object = kOps,
                                             .server = thunk<FakeModule, &FakeModule::server>};
        static const ZxTagDescriptionTable tags = {.object = kOps,
                                                   .tagCount = thunk<FakeModule, &FakeModule::tagCount>,
                                                   .tag = thunk<FakeModule, &FakeModule::tag>};
        static const ZxNeedContextTable context = {.object = kOps,
                                                   .setContext = thunk<FakeModule, &FakeModule::setContext>};
        offer(kZxIdModule, module.object, this);
        offer(kZxIdTagDescription, tags.object, this);
        offer(kZxIdNeedContext, context.object, this);
        m_Servers = {{"fake.modifier", kZxIdEvalModifier},
                     {FakeWorld::current->itemType, kZxIdPackage},
                     {"fake.package", kZxIdPackage}};
        for (const auto& server : FakeWorld::current->moreServers)
            m_Servers.push_back(server);
    }
    zxresult server(const char* name, const ZxId* id, ZxObject** server)
    {
        *server = nullptr;
        for (const auto& [one, first] : m_Servers) {
            if (one != name || !(first == *id))
                continue;
            if (first == kZxIdEvalModifier)
                *server = (new ModifierServer)->face();
            else if (first == kZxIdTool)
                *server = (new ToolServer)->face();
            else if (first == kZxIdCommand)
                *server = (new CommandServer)->face();
            else
                *server = (new PackageServer(one == FakeWorld::current->itemType))->face();
            return kZxOk;
        }
        return kZxNotFound;
    }
    zxresult tagCount(uint32_t* count)
    {
        *count = static_cast<uint32_t>(m_Servers.size());
        return kZxOk;
    }
    zxresult tag(uint32_t index, const char** key, const char** value, const ZxId** id)
    {
        if (index >= m_Servers.size())
            return kZxOutOfRange;
        *key = "server";
        *value = m_Servers[index].first.c_str();
        *id = &m_Servers[index].second;
        return kZxOk;
    }
    zxresult setContext(ZxObject* context)
    {
        FakeWorld& world = *FakeWorld::current;
        world.context.clear();
        if (!context)
            return kZxOk;
        const zxresult result = world.context.query(context, kZxIdContext);
        if (world.onContext)
            world.onContext(world.context);
        return result;
    }

private:
    std::vector<std::pair<std::string, ZxId>> m_Servers;
};

} // namespace

ZxObject* FakeWorld::entry() { return current->startFails ? nullptr : (new FakeModule)->face(); }

} // namespace support
