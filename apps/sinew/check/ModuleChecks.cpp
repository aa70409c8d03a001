// SPDX-License-Identifier: MIT
// The checks of a module, by name.
#include "check/ModuleChecks.h"

#include "check/ModuleFile.h"
#include "track/TrackSolver.h"

#include <fmt/format.h>
#include <refhost/Host.h>
#include <refhost/Modules.h>
#include <refhost/Transforms.h>
#include <zx/ZxCommand.h>
#include <zx/ZxEvaluation.h>
#include <zx/ZxPackage.h>
#include <zx/ZxTool.h>

#include <algorithm>
#include <cmath>

namespace app {

namespace {

/// The servers that a host of rigs asks for, in the order in which a module must name them.
constexpr const char* kServers[] = {
    "ikfb",       "ikfb.assign", "ikfb.setRest",  "ikfb.task", "ikfb.goal",       "ikfb.goalAssign",
    "ikfb.chain", "ikfb.remove", "ikfb.retarget", "ik.joint",  "ik.positionTask", "ik.orientationTask",
    "iktask",     "ik.package",  "ikFullBody",    "ik.pose"};

constexpr ZxId kUnknownInterface = {0x0123456789abcdefull, 0xfedcba9876543210ull};

/// A module object that is released at the end of a check.
class OpenModule {
public:
    explicit OpenModule(const std::string& path) : m_File(path), m_Object(m_File.create()) { }
    ~OpenModule() { m_Object->table->release(m_Object); }
    OpenModule(const OpenModule&) = delete;
    OpenModule& operator=(const OpenModule&) = delete;

    const ModuleFile& file() const { return m_File; }
    ZxObject* object() const { return m_Object; }

    /// A server; the caller releases it.
    ZxObject* server(const ServerTag& tag) const
    {
        ZxObject* made = nullptr;
        const zxresult result = request(tag.name.c_str(), tag.interfaceId, &made);
        if (result != kZxOk || !made)
            throw CheckFailure(fmt::format("server '{}' can't be had: {}", tag.name, codeText(result)));
        return made;
    }
    zxresult request(const char* name, const ZxId& id, ZxObject** made) const
    {
        ZxObject* module = queryInterface(m_Object, kZxIdModule, "Module");
        const zxresult result = tableOf<ZxModuleTable>(module).server(module, name, &id, made);
        releaseObject(module);
        return result;
    }

private:
    ModuleFile m_File;
    ZxObject* m_Object;
};

void expectCode(zxresult got, zxresult expected, const char* what)
{
    if (got != expected)
        throw CheckFailure(fmt::format("{} answers {} and not {}", what, codeText(got), codeText(expected)));
}

void checkLoad(const std::string& path)
{
    const OpenModule module(path);
    releaseObject(queryInterface(module.object(), kZxIdModule, "Module"));
    releaseObject(queryInterface(module.object(), kZxIdNeedContext, "NeedContext"));
    if (tagsOf(module.object()).empty())
        throw CheckFailure("it has no server");
}

void checkSymbols(const std::string& path)
{
    const std::vector<std::string> names = exportedSymbols(path);
    if (names.size() != 1 || names.front() != ZX_MODULE_ENTRY)
        throw CheckFailure(fmt::format(
            "it exports {} symbols ({}) and not " ZX_MODULE_ENTRY " alone; link it with an export list",
            names.size(), names.empty() ? "none" : names.front() + (names.size() > 1 ? ", ..." : "")));
}

void checkEntryTwice(const std::string& path)
{
    const OpenModule module(path);
    const std::vector<ServerTag> before = tagsOf(module.object());
    ZxObject* again = module.file().create();
    const std::vector<ServerTag> after = tagsOf(again);
    releaseObject(again);
    if (before != after || tagsOf(module.object()) != before)
        throw CheckFailure(fmt::format("a second call of the entry changes the list of servers from {} to {}",
                                       before.size(), after.size()));
}

void checkUnknownServer(const std::string& path)
{
    const OpenModule module(path);
    ZxObject* made = nullptr;
    expectCode(module.request("no.such.server", kZxIdPackage, &made), kZxNotFound,
               "a request for an unknown server");
}

void checkWrongId(const std::string& path)
{
    const OpenModule module(path);
    for (const ServerTag& tag : tagsOf(module.object())) {
        ZxObject* made = nullptr;
        expectCode(module.request(tag.name.c_str(), kUnknownInterface, &made), kZxNotFound,
                   fmt::format("a request for '{}' by a wrong identifier", tag.name).c_str());
    }
}

void checkTagPastEnd(const std::string& path)
{
    const OpenModule module(path);
    ZxObject* description = queryInterface(module.object(), kZxIdTagDescription, "TagDescription");
    const auto& table = tableOf<ZxTagDescriptionTable>(description);
    std::uint32_t count = 0;
    table.tagCount(description, &count);
    const char *key = nullptr, *value = nullptr;
    const ZxId* id = nullptr;
    expectCode(table.tag(description, count, &key, &value, &id), kZxOutOfRange, "a tag past the end");
    expectCode(table.tag(description, 0xffffffffu, &key, &value, &id), kZxOutOfRange,
               "a tag far past the end");
    releaseObject(description);
}

void checkNames(const std::string& path)
{
    const OpenModule module(path);
    std::vector<std::string> expected(std::begin(kServers), std::end(kServers)), found;
    for (const ServerTag& tag : tagsOf(module.object())) {
        if (tag.key != "server")
            throw CheckFailure(fmt::format("tag '{}' has the key '{}' and not 'server'", tag.name, tag.key));
        found.push_back(tag.name);
    }
    if (found != expected)
        throw CheckFailure(
            fmt::format("its servers are {} and not {}", fmt::join(found, ", "), fmt::join(expected, ", ")));
}

bool isSame(const ZxId& a, const ZxId& b) { return a.high == b.high && a.low == b.low; }

void checkDescription(ZxObject* description, const std::string& server)
{
    const auto& table = tableOf<ZxStaticDescTable>(description);
    std::uint32_t count = 0;
    const char *key = nullptr, *value = nullptr;
    expectCode(table.tagCount(description, &count), kZxOk, "the count of a static description");
    for (std::uint32_t i = 0; i < count; ++i)
        expectCode(table.tag(description, i, &key, &value), kZxOk, "a tag of a static description");
    expectCode(table.tag(description, count, &key, &value), kZxOutOfRange,
               fmt::format("a tag past the end of the description of '{}'", server).c_str());
}

void checkArguments(ZxObject* attributes, const std::string& server)
{
    const auto& table = tableOf<ZxAttributesTable>(attributes);
    std::uint32_t count = 0;
    const char* name = nullptr;
    expectCode(table.count(attributes, &count), kZxOk, "the count of a server's arguments");
    for (std::uint32_t i = 0; i < count; ++i)
        expectCode(table.name(attributes, i, &name), kZxOk, "the name of an argument");
    expectCode(table.name(attributes, count, &name), kZxOutOfRange,
               fmt::format("the name of an argument of '{}' past the end", server).c_str());
}

void checkServers(const std::string& path)
{
    const OpenModule module(path);
    for (const ServerTag& tag : tagsOf(module.object())) {
        ZxObject* server = module.server(tag);
        ZxObject* identity = queryInterface(server, kZxIdObject, "Object");
        ZxObject* unknown = nullptr;
        expectCode(server->table->query(server, &kUnknownInterface, &unknown), kZxNotFound,
                   fmt::format("'{}', asked for an unknown interface,", tag.name).c_str());
        // What a user sets, commands and tools take as attributes; all other servers have tags.
        const bool hasAttributes =
            isSame(tag.interfaceId, kZxIdCommand) || isSame(tag.interfaceId, kZxIdTool);
        ZxObject* second = hasAttributes ? queryInterface(server, kZxIdAttributes, "Attributes")
                                         : queryInterface(server, kZxIdStaticDesc, "StaticDesc");
        ZxObject* sameIdentity = queryInterface(second, kZxIdObject, "Object");
        if (identity != sameIdentity)
            throw CheckFailure(
                fmt::format("two interfaces of '{}' give different objects as its identity", tag.name));
        if (hasAttributes)
            checkArguments(second, tag.name);
        else
            checkDescription(second, tag.name);
        for (ZxObject* object : {sameIdentity, second, identity, server})
            releaseObject(object);
    }
}

void checkResetWithoutScene(const std::string& path)
{
    const OpenModule module(path);
    for (const ServerTag& tag : tagsOf(module.object())) {
        if (!isSame(tag.interfaceId, kZxIdEvalModifier))
            continue;
        ZxObject* modifier = module.server(tag);
        expectCode(tableOf<ZxEvalModifierTable>(modifier).reset(modifier, nullptr), kZxNotAvailable,
                   fmt::format("a reset of '{}' without a scene", tag.name).c_str());
        releaseObject(modifier);
    }
}

/// A chain of three joints whose tip follows a goal, in the reference host.
void solveSmallRig(refhost::Host& host)
{
    const std::vector<TrackBone> bones = {
        {"shoulder", -1, {0, 0, 0}}, {"elbow", 0, {0, 3, 0}}, {"hand", 1, {0, 2, 0}}};
    const auto solver =
        makeRigSolver(host, bones, {{.bone = 2}}, {.steps = 1000, .translateRoot = false}, {0, 0, 0});
    const Pose goal{{1.5, 3, 1}, {0, 0, 0, 1}};
    std::vector<Pose> pose(bones.size());
    for (int frame = 0; frame < 3; ++frame)
        solver->solve({&goal, 1}, pose);
    const refhost::Vector3 hand = refhost::transformPoint(
        refhost::Matrix34{refhost::matrixFromQuaternion(pose[0].rotation), bones[0].restTranslation}
            * refhost::Matrix34{refhost::matrixFromQuaternion(pose[1].rotation), bones[1].restTranslation},
        bones[2].restTranslation);
    const double distance = std::hypot(hand[0] - goal.translation[0], hand[1] - goal.translation[1],
                                       hand[2] - goal.translation[2]);
    if (!(distance < 0.01))
        throw CheckFailure(
            fmt::format("an arm of length 5 stays {:.3g} away from a goal within its reach", distance));
}

void checkEvaluation(const std::string& path)
{
    refhost::Host host;
    std::string told;
    host.setMessageSink([&](refhost::MessageLevel, std::string_view text) { told = text; });
    if (const refhost::Result loaded = refhost::Modules::of(host).load(path); !loaded.ok())
        throw CheckFailure(loaded.message);
    solveSmallRig(host);
    if (!told.empty())
        throw CheckFailure("the host had to say: " + told);
}

void checkReferences(const std::string& path)
{
    refhost::Host host;
    refhost::Modules& modules = refhost::Modules::of(host);
    if (const refhost::Result loaded = modules.load(path); !loaded.ok())
        throw CheckFailure(loaded.message);
    solveSmallRig(host);
    while (!host.scenes().empty())
        (void)host.closeScene(*host.scenes().back());
    for (const std::string& name : modules.names())
        if (const refhost::Result gone = modules.unload(name); !gone.ok())
            throw CheckFailure(gone.message);
    for (const refhost::LiveReferences& live : modules.liveReferences())
        if (live.references > 0)
            throw CheckFailure(fmt::format("{} references to the host's {} objects are left after unloading",
                                           live.references, live.interfaceName));
}

// clang-format off
constexpr ModuleCheck kChecks[] = {
    {"symbols", "exports its entry function and nothing else", checkSymbols},
    {"load", "loads, starts, and offers the interfaces of a module", checkLoad},
    {"entry-twice", "registers its servers once, however often the entry is called", checkEntryTwice},
    {"names", "names its servers in their order", checkNames},
    {"unknown-server", "answers \"not found\" to a request for a server that it hasn't", checkUnknownServer},
    {"wrong-id", "answers \"not found\" to a right name with a wrong identifier", checkWrongId},
    {"tag-past-end", "answers \"out of range\" to a tag past the end", checkTagPastEnd},
    {"servers", "makes every server, with one identity, and a static description or arguments", checkServers},
    {"reset-without-scene", "answers \"not available\" to a modifier's reset without a scene", checkResetWithoutScene},
    {"evaluation", "solves a small rig in the reference host", checkEvaluation},
    {"references", "gives back every reference to the host's objects", checkReferences},
};
// clang-format on

} // namespace

std::span<const ModuleCheck> moduleChecks() { return kChecks; }

} // namespace app
