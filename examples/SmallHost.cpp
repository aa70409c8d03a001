// SPDX-License-Identifier: MIT
// A small host: loads ik.zx, describes an arm of three joints with a goal, evaluates it once, prints the
// pose.
#include "SmallScene.h"

#include <glue/Reference.h>

#include <cmath>
#include <cstdio>
#include <dlfcn.h>

namespace {

// The module's objects, each held by one reference. `fetch` and `call` name the slot; `check` throws the code
// of a failure, which main reports.
using Module = CZxLocalize<ZxModuleTable>;
using NeedContext = CZxLocalize<ZxNeedContextTable>;
using Package = CZxLocalize<ZxPackageTable>;
using EvalModifier = CZxLocalize<ZxEvalModifierTable>;
using Modifier = CZxLocalize<ZxModifierTable>;

void addPackage(const Module& module, const char* name, const Items& items)
{
    const auto package = module.fetch<&ZxModuleTable::server, Package>(name, &kZxIdPackage);
    for (Item* to : items) {
        declaring = to;
        check(package.call<&ZxPackageTable::setupChannels>(&addChannel.face));
        to->packages.emplace_back(name);
    }
}

/// Rig: joints with their places in the parent's space, a goal for the hand, and the packages that say so.
void describeArm(const Module& module, const double (&goal)[3])
{
    elbow.parent = solver.parent = &shoulder;
    hand.parent = &elbow;
    shoulder.children = {&elbow, &solver};
    elbow.children = elbow.forward = {&hand};
    shoulder.forward = {&elbow};
    elbow.reverse = {&shoulder};
    hand.reverse = {&elbow};
    const Items joints = {&shoulder, &elbow, &hand};
    addPackage(module, "ik.package", joints);
    addPackage(module, "ik.joint", joints);
    addPackage(module, "ik.positionTask", {&hand});
    addPackage(module, "ikFullBody", {&solver});

    const double places[3][3] = {{0, 1.4, 0}, {0.3, 0, 0}, {0.25, 0, 0.02}}; // metres
    for (size_t c = 0; c < 3; ++c) {
        const std::string axis = {'.', char('X' + c)};
        for (size_t j = 0; j < joints.size(); ++j) {
            (*joints[j])["localMatrix"].matrix.three[c] = places[j][c]; // the animated pose
            (*joints[j])["ikRestPos" + axis].number = places[j][c];
        }
        hand["ikptPos" + axis].number = goal[c];
    }
}

/// Asks a modifier which items it serves, makes a node for each and runs it once. A host that animates keeps
/// the nodes.
void evaluate(const Module& module, const char* name)
{
    const auto modifier = module.fetch<&ZxModuleTable::server, EvalModifier>(name, &kZxIdEvalModifier);
    check(modifier.call<&ZxEvalModifierTable::reset>(&scene.face));
    CZxObject served;
    for (;;) {
        ZxObject* next = nullptr;
        uint32_t attribute = 0;
        check(modifier.call<&ZxEvalModifierTable::next>(&next, &attribute));
        if (!next)
            return;
        served.adopt(next);
        Evaluation evaluation; // outlives its node
        Modifier node;
        ZxObject* made = nullptr;
        check(modifier.call<&ZxEvalModifierTable::allocate>(next, attribute, &evaluation.face, &made));
        node.adopt(made);
        check(node.call<&ZxModifierTable::evaluate>());
    }
}

/// Distance of the hand from its goal.
double run(ZxObject* entered)
{
    const double goal[3] = {0.3, 1.7, 0.2};
    Module module;
    check(module.query(entered, kZxIdModule));
    NeedContext needContext;
    check(needContext.query(entered, kZxIdNeedContext));
    check(needContext.call<&ZxNeedContextTable::setContext>(&context.face));
    describeArm(module, goal);
    evaluate(module, "iktask"); // the goal's matrix from the goal's channels
    evaluate(module, "ikfb"); // the joints' world transforms from that
    for (Item* joint : {&shoulder, &elbow, &hand}) {
        const double* at = (*joint)["wposMatrix"].matrix.three;
        std::printf("%-8s at %.3f %.3f %.3f\n", joint->name, at[0], at[1], at[2]);
    }
    check(needContext.call<&ZxNeedContextTable::setContext>(static_cast<ZxObject*>(nullptr)));
    const double* tip = hand["wposMatrix"].matrix.three;
    return std::hypot(tip[0] - goal[0], tip[1] - goal[1], tip[2] - goal[2]);
}

} // namespace

int main(int argc, char** argv)
{
    void* library = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
    const auto entry = library ? reinterpret_cast<ZxModuleEntry>(dlsym(library, ZX_MODULE_ENTRY)) : nullptr;
    CZxObject module;
    module.adopt(entry ? entry() : nullptr);
    if (!module) {
        const char* why = argc == 2 ? dlerror() : nullptr;
        std::fprintf(stderr, "small_host: no module could be loaded%s%s; give the path of ik.zx\n",
                     why ? ": " : "", why ? why : "");
        return 2;
    }
    double distance = 0;
    try {
        distance = run(module.object());
    } catch (zxresult code) {
        std::fprintf(stderr, "small_host: a call failed with 0x%08x\n", code);
        return 3;
    }
    module.clear();
    dlclose(library);
    std::printf("%.4f from the goal, %d references left\n", distance, references);
    return distance < 1e-3 && references == 0 ? 0 : 1;
}
