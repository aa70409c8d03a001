// SPDX-License-Identifier: MIT
// The module's list of servers: growth, names, lookup and what a failed start leaves.
#include "RecordingServers.h"
#include "host/CZxThisModule.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace {

int reallocationsThatWork = -1; // all

} // namespace

// The linker sends the plug-in's calls of realloc here.
extern "C" void* __real_realloc(void* block, std::size_t size);
extern "C" void* __wrap_realloc(void* block, std::size_t size)
{
    if (reallocationsThatWork == 0)
        return nullptr;
    if (reallocationsThatWork > 0)
        --reallocationsThatWork;
    return __real_realloc(block, size);
}

namespace {

constexpr const char* kNames[] = {"s01", "s02", "s03", "s04", "s05", "s06", "s07", "s08", "s09", "s10", "s11",
                                  "s12", "s13", "s14", "s15", "s16", "s17", "s18", "s19", "s20", "s21"};

void addServers(CZxThisModule& module, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        if (i % 2)
            module.AddServer<RecordingServer, CZxIfc_EvalModifier, CZxIfc_StaticDesc>(kNames[i]);
        else
            module.AddServer<RecordingServer, CZxIfc_Package, CZxIfc_StaticDesc>(kNames[i]);
    }
}

void expectServers(CZxThisModule& module, std::size_t count)
{
    uint32_t tags = 0;
    EXPECT_EQ(module.tagCount(&tags), kZxOk);
    EXPECT_EQ(tags, count);
    for (uint32_t i = 0; i < count; ++i) {
        const ZxId& first = i % 2 ? kZxIdEvalModifier : kZxIdPackage;
        const char *key = nullptr, *name = nullptr;
        const ZxId* id = nullptr;
        EXPECT_EQ(module.tag(i, &key, &name, &id), kZxOk);
        EXPECT_STREQ(key, "server");
        EXPECT_EQ(name, kNames[i]) << "the pointer is kept, not the characters";
        EXPECT_TRUE(id && *id == first);
        CZxObject server;
        ZxObject* made = nullptr;
        EXPECT_EQ(module.server(kNames[i], &first, &made), kZxOk);
        server.adopt(made);
        EXPECT_TRUE(server);
    }
    const char *key = nullptr, *name = nullptr;
    const ZxId* id = nullptr;
    EXPECT_EQ(module.tag(static_cast<uint32_t>(count), &key, &name, &id), kZxOutOfRange);
}

TEST(ServerList, aTwentyFirstServerKeepsTheFirstTwenty)
{
    CZxThisModule module;
    addServers(module, 20);
    expectServers(module, 20);
    module.AddServer<RecordingServer, CZxIfc_Package, CZxIfc_StaticDesc>(kNames[20]);
    expectServers(module, 21);
}

TEST(ServerList, aPolymorphKeepsItsFirstName)
{
    CZxPolymorph<RecordingServer> polymorph;
    EXPECT_EQ(polymorph.name(), nullptr);
    polymorph.setName(kNames[0]);
    polymorph.setName(kNames[1]);
    EXPECT_EQ(polymorph.name(), kNames[0]);
}

TEST(ServerList, aGrowthThatFailsEmptiesTheListAndIsReported)
{
    for (int working = 0; working < 3; ++working) { // of the three parallel arrays
        CZxThisModule module;
        addServers(module, 20);
        zxresult thrown = kZxOk;
        reallocationsThatWork = working;
        try {
            module.AddServer<RecordingServer, CZxIfc_Package>(kNames[20]);
        } catch (zxresult code) {
            thrown = code;
        }
        reallocationsThatWork = -1;
        EXPECT_EQ(thrown, 0x80000002u);
        expectServers(module, 0);
        addServers(module, 21); // and it is fit for another start
        expectServers(module, 21);
    }
}

/// Can't be made.
class Unmakeable final : public CZxImpl_Package {
public:
    Unmakeable() { throw std::bad_alloc(); }
};

TEST(ServerList, aServerThatCantBeMadeIsAFailureNotAnUnknownName)
{
    CZxThisModule module;
    module.AddServer<Unmakeable, CZxIfc_Package>("unmakeable");
    ZxObject somewhere{}, *server = &somewhere;
    EXPECT_EQ(module.server("unmakeable", &kZxIdPackage, &server), 0x80000000u);
    EXPECT_EQ(server, nullptr);
    server = &somewhere;
    EXPECT_EQ(module.server("unmakeable", &kZxIdStaticDesc, &server), 0x80000017u);
    EXPECT_EQ(server, nullptr);
}

} // namespace
