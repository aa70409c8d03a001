// SPDX-License-Identifier: MIT
// All evaluated values of a scene at one moment.
#pragma once

#include "refhost/Item.h"
#include "refhost/Transforms.h"

#include <unordered_map>
#include <utility>
#include <vector>

namespace refhost {

class EvalGraph;

struct SceneSnapshot {
    struct Value {
        double number = 0;
        std::int32_t integer = 0;
        std::int32_t matrix = -1; ///< place in `matrices` of a matrix channel
        bool exists = false;
        bool isNumber = false;
    };
    struct ItemValues {
        std::vector<Value> values; ///< by channel index
        std::vector<Matrix34> matrices;
    };

    /// Evaluates whatever is not evaluated yet.
    SceneSnapshot(Scene& scene, EvalGraph& graph);
    /// Null when the item had no such channel.
    const Value* find(const Item& item, int channel) const;

    std::unordered_map<ItemId, ItemValues> items;
};

} // namespace refhost
