// SPDX-License-Identifier: MIT
// What a host must answer at least: one scene as objects with tables. Its user is SmallHost.cpp.
#pragma once

#include <glue/Result.h>
#include <zx/ZxChannel.h>
#include <zx/ZxEvaluation.h>
#include <zx/ZxGraph.h>
#include <zx/ZxItem.h>
#include <zx/ZxModule.h>
#include <zx/ZxPackage.h>
#include <zx/ZxScene.h>

#include <algorithm>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

// 1. Objects. The module holds pointers to a face, whose table says what can be asked. All objects here
// outlive the module's use of them; references are counted only to see that all come back. Nothing may be
// thrown into the module, so slots that could throw are noexcept.
struct Object {
    ZxObject face;
    const ZxId* id;
};
inline int references = 0;
inline Object* behind(ZxObject* o) { return reinterpret_cast<Object*>(o); }
inline zxresult put(auto* to, auto value) { return *to = value, kZxOk; }
inline zxresult give(ZxObject** to, Object* object, zxresult without = kZxNotFound)
{
    *to = object ? &object->face : nullptr;
    return object ? (++references, kZxOk) : without;
}
inline zxresult query(ZxObject* o, const ZxId* id, ZxObject** to)
{
    return give(to, *id == *behind(o)->id || *id == kZxIdObject ? behind(o) : nullptr);
}
inline zxresult addRef(ZxObject*) { return ++references, kZxOk; }
inline zxresult release(ZxObject*) { return --references, kZxOk; }
constexpr ZxObjectOps kOps = {query, addRef, release};
inline zxresult accept(ZxObject*, auto...) { return kZxOk; } // for slots that this scene has no use for

// 2. Channels: a name, and a number or a transform (3x3 for column vectors, row by row, and an offset).
struct Matrix : Object {
    static const ZxMatrixTable table;
    double nine[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1}, three[3] = {};
    Matrix() : Object{{&table.object}, &kZxIdMatrix} { }
};
inline Matrix& matrix(ZxObject* o) { return *static_cast<Matrix*>(behind(o)); }
inline zxresult copy(const double* from, int n, double* to) { return std::copy_n(from, n, to), kZxOk; }
inline const ZxMatrixTable Matrix::table = {
    kOps,
    [](ZxObject* o, double* to) { return copy(matrix(o).nine, 9, to); },
    [](ZxObject* o, double* to) { return copy(matrix(o).three, 3, to); },
    [](ZxObject* o, const double* from) { return copy(from, 9, matrix(o).nine); },
    [](ZxObject* o, const double* from) { return copy(from, 3, matrix(o).three); },
};
struct Channel {
    std::string name;
    double number = 0;
    int32_t integer = 0;
    Matrix matrix = {};
};

// 3. Items, with the links that make a rig of them: those of the graph "ikRefs", from joint to joint.
constexpr const char* kTypes[] = {"locator", "ikSolver", "ikFullBody"}; // each derives from those before it
enum : uint32_t { kLocator = 1, kFullBody = 3 };
extern Object scene;
struct Item : Object {
    static const ZxItemTable table;
    const char* name;
    uint32_t type;
    Item* parent = nullptr;
    std::vector<Item*> children = {}, forward = {}, reverse = {};
    std::vector<std::string> packages = {};
    std::deque<Channel> channels = {{"localMatrix"}, {"wposMatrix"}, {"wrotMatrix"}, {"wsclMatrix"}};

    Item(const char* n, uint32_t t) : Object{{&table.object}, &kZxIdItem}, name(n), type(t) { }
    int32_t index(const std::string& channel) const
    {
        const auto found = std::ranges::find(channels, channel, &Channel::name);
        return found == channels.end() ? -1 : static_cast<int32_t>(found - channels.begin());
    }
    Channel& operator[](const std::string& channel)
    {
        return channels.at(static_cast<size_t>(index(channel)));
    }
};
inline Item& item(ZxObject* o) { return *static_cast<Item*>(behind(o)); }
using Items = std::vector<Item*>;
inline zxresult count(uint32_t* to, const Items& items)
{
    return put(to, static_cast<uint32_t>(items.size()));
}
inline zxresult giveAt(ZxObject** to, const Items& items, uint32_t index)
{
    return give(to, index < items.size() ? items[index] : nullptr, kZxOutOfRange);
}
inline const ZxItemTable Item::table = {
    kOps,
    [](ZxObject* o, uint64_t* to) { return put(to, reinterpret_cast<uintptr_t>(o)); },
    [](ZxObject* o, const char** to) { return put(to, item(o).name); },
    [](ZxObject* o, const char** to) { return put(to, item(o).name); },
    [](ZxObject* o, uint32_t* to) { return put(to, item(o).type); },
    [](ZxObject* o, uint32_t code) { return answer(code <= item(o).type); },
    [](ZxObject* o, const char* package) {
        return answer(std::ranges::count(item(o).packages, package) > 0);
    },
    [](ZxObject* o, ZxObject** to) { return give(to, item(o).parent); },
    [](ZxObject* o, uint32_t* to) { return count(to, item(o).children); },
    [](ZxObject* o, uint32_t index, ZxObject** to) { return giveAt(to, item(o).children, index); },
    [](ZxObject* o, const char* channel, int32_t* to) noexcept {
        return (*to = item(o).index(channel)) < 0 ? kZxNotFound : kZxOk;
    },
    [](ZxObject*, ZxObject** to) { return give(to, &scene); },
};
constexpr ZxItemGraphTable kRefsTable = {
    kOps,
    [](ZxObject*, ZxObject* o, uint32_t* to) { return count(to, item(o).forward); },
    [](ZxObject*, ZxObject* o, uint32_t index, ZxObject** to) { return giveAt(to, item(o).forward, index); },
    [](ZxObject*, ZxObject* o, uint32_t* to) { return count(to, item(o).reverse); },
    [](ZxObject*, ZxObject* o, uint32_t index, ZxObject** to) { return giveAt(to, item(o).reverse, index); },
};
inline Object ikRefs{{&kRefsTable.object}, &kZxIdItemGraph};

// 4. Packages declare the channels of the items that carry them; here they go to one item at a time.
inline Item* declaring = nullptr;
inline Channel& last(int i) { return declaring->channels.end()[-i]; }
constexpr ZxAddChannelTable kAddChannelTable = {
    kOps,
    [](ZxObject*, const char* name, const char*) noexcept {
        return declaring->channels.push_back({name}), kZxOk;
    },
    accept, // every channel has room for a matrix
    [](ZxObject*, const char*) noexcept { // "XYZ": three in place of one
        const std::string name = last(1).name;
        last(1).name += ".X";
        for (const char* component : {".Y", ".Z"})
            declaring->channels.push_back({name + component});
        return kZxOk;
    },
    [](ZxObject*, double number, int32_t integer) {
        last(1).number = number;
        return put(&last(1).integer, integer);
    },
    [](ZxObject*, double x, double y, double z) {
        last(3).number = x;
        last(2).number = y;
        return put(&last(1).number, z);
    },
    accept,
    [](ZxObject*, uint32_t*) { return kZxNotAvailable; },
    accept,
};
inline Object addChannel{{&kAddChannelTable.object}, &kZxIdAddChannel};

// 5. The scene, a read of its channels outside of evaluation, and the service that knows the types.
inline Item shoulder("shoulder", kLocator), elbow("elbow", kLocator), hand("hand", kLocator),
    solver("solver", kFullBody);
inline Items ofType(uint32_t type)
{
    return type == kLocator ? Items{&shoulder, &elbow, &hand, &solver} : Items{&solver};
}
constexpr ZxChannelReadTable kReadTable = {
    kOps,
    [](ZxObject*, ZxObject* o, int32_t index, int32_t* to) {
        return put(to, item(o).channels[size_t(index)].integer);
    },
    [](ZxObject*, ZxObject* o, int32_t index, double* to) {
        return put(to, item(o).channels[size_t(index)].number);
    },
    [](ZxObject*, ZxObject* o, int32_t index, ZxObject** to) {
        return give(to, &item(o).channels[size_t(index)].matrix);
    },
};
inline Object channelRead{{&kReadTable.object}, &kZxIdChannelRead};
constexpr ZxSceneTable kSceneTable = {
    kOps,
    [](ZxObject*, uint32_t type, uint32_t* to) noexcept { return count(to, ofType(type)); },
    [](ZxObject*, uint32_t type, uint32_t index, ZxObject** to) noexcept {
        return giveAt(to, ofType(type), index);
    },
    [](ZxObject*, const char* name, ZxObject** to) {
        return give(to, name == std::string_view("ikRefs") ? &ikRefs : nullptr);
    },
    [](ZxObject*, const char*, double, ZxObject** to) { return give(to, &channelRead); },
    [](ZxObject*) -> zxresult { return kZxFalse; }, // not in setup mode
};
inline Object scene{{&kSceneTable.object}, &kZxIdScene};
constexpr ZxSceneServiceTable kServiceTable = {
    kOps, [](ZxObject*, const char* name, uint32_t* to) {
        const auto found = std::ranges::find(kTypes, std::string_view(name));
        return found == std::end(kTypes) ? kZxNotFound : put(to, uint32_t(found - kTypes) + 1);
    }};
inline Object service{{&kServiceTable.object}, &kZxIdSceneService};
constexpr ZxContextTable kContextTable = {kOps, [](ZxObject*, const ZxId* id, ZxObject** to) {
                                              return give(to, *id == kZxIdSceneService ? &service : nullptr);
                                          }};
inline Object context{{&kContextTable.object}, &kZxIdContext};

// 6. Evaluation: the channels that a node added, by index in the order of adding.
struct Evaluation : Object {
    static const ZxEvaluationTable table;
    std::vector<Channel*> channels = {};
    Evaluation() : Object{{&table.object}, &kZxIdEvaluation} { }
};
inline std::vector<Channel*>& added(ZxObject* o) { return static_cast<Evaluation*>(behind(o))->channels; }
inline const ZxEvaluationTable Evaluation::table = {
    kOps,
    [](ZxObject* o, ZxObject* of, const char* name, uint32_t, uint32_t* to) noexcept {
        const int32_t index = item(of).index(name);
        if (index < 0)
            return kZxNotFound;
        added(o).push_back(&item(of).channels[size_t(index)]);
        return put(to, uint32_t(added(o).size() - 1));
    },
    [](ZxObject* o, uint32_t index, int32_t* to) { return put(to, added(o)[index]->integer); },
    [](ZxObject* o, uint32_t index, double* to) { return put(to, added(o)[index]->number); },
    [](ZxObject* o, uint32_t index, uint32_t, ZxObject** to) { return give(to, &added(o)[index]->matrix); },
};
