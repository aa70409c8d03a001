// SPDX-License-Identifier: MIT
// A module inside the test program: one item type, one package and one modifier, which do what the test says.
#pragma once

#include <glue/Reference.h>
#include <glue/Thunk.h>
#include <zx/ZxChannel.h>
#include <zx/ZxCommand.h>
#include <zx/ZxDraw.h>
#include <zx/ZxEvaluation.h>
#include <zx/ZxGraph.h>
#include <zx/ZxItem.h>
#include <zx/ZxModule.h>
#include <zx/ZxPackage.h>
#include <zx/ZxScene.h>
#include <zx/ZxSelection.h>
#include <zx/ZxTool.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace support {

using Evaluation = CZxLocalize<ZxEvaluationTable>;
using Item = CZxLocalize<ZxItemTable>;
using Matrix = CZxLocalize<ZxMatrixTable>;
using Scene = CZxLocalize<ZxSceneTable>;

/// What the module does, and what it saw; one at a time.
struct FakeWorld {
    FakeWorld() { current = this; }
    ~FakeWorld() { current = nullptr; }
    static ZxObject* entry();

    // To be set
    bool startFails = false;
    std::string itemType = "fake.type", super = "ikSolver";
    std::string typeList = "locator", graphList = "parent chanLinks";
    std::vector<std::pair<std::string, ZxId>> moreServers;
    std::function<zxresult(const CZxLocalize<ZxAddChannelTable>&)> setupChannels;
    /// Adds channels in allocate; what it throws or returns is the answer.
    std::function<zxresult(const Item&, const Evaluation&)> allocate;
    std::function<zxresult(const Evaluation&)> evaluate;
    std::function<void(const CZxLocalizedObject& context)> onContext;
    /// A server of the kind Command, which `moreServers` may name, does these; without `enable` it is
    /// enabled.
    std::function<zxresult(const CZxLocalizedObject& message)> enable;
    std::function<zxresult()> execute;
    /// A server of the kind Tool does this with each call of it (`initialise`, `draw`, `hitTest`,
    /// `buttonDown`, `move`, `buttonUp`, `evaluate`); `other` is the AdjustTool or the StrokeDraw.
    std::function<zxresult(std::string_view call, const CZxLocalize<ZxVectorStackTable>& stack,
                           ZxObject* other)>
        tool;
    /// What instances on items draw; without it they offer no view interface.
    std::function<zxresult(const CZxLocalizedObject& read, const CZxLocalizedObject& draw,
                           const float* colour)>
        drawItem;
    uint32_t toolTask = 0x41435452u;
    bool keepsItems = false; ///< a module that counts wrongly

    // What happened
    int livingObjects = 0;
    int instances = 0; ///< initialised and not cleaned up
    int evaluations = 0, allocations = 0, resets = 0, setups = 0;
    CZxLocalize<ZxContextTable> context;
    std::vector<ZxObject*> leaked;

    static inline FakeWorld* current = nullptr;
};

} // namespace support
