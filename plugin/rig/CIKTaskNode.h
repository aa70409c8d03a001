// SPDX-License-Identifier: MIT
// The node of a task that no goal item drives: its goal from the task's own channels, or from an item by
// index.
#pragma once

#include "host/CZxEvaluation.h"
#include "host/CZxScene.h"

#include <vector>

class CIKTaskNode final : public CZxImpl_Modifier {
public:
    /// Adds the channels of the sides of `joint` that need the node to `evaluation`. Throws the host's
    /// failures.
    void allocate(const CZxUser_Item& joint, const CZxUser_Evaluation& evaluation);

    /// Writes `ikptMatrix` and `ikotMatrix` of the enabled sides. kZxOutOfRange, and nothing written to that
    /// side, when a link index points past the linked items.
    zxresult evaluate() override;
    zxresult test(ZxObject*, uint32_t) override { return kZxFalse; }

private:
    /// One side's channels in the evaluation; -1 on a side that doesn't need the node.
    struct Side {
        int32_t enable = -1, x = -1, y = -1, z = -1, matrix = -1, linkIndex = -1;
        std::vector<uint32_t> links; ///< matrix of each item that the joint links to in `ikTasks`
    };
    void addSide(Side& side, const CZxUser_Item& joint, const CZxUser_ItemGraph& ikTasks, const char* prefix,
                 const char* vector, const char* linkMatrix);
    bool isOn(const Side& side) const;
    /// The linked item's matrix when the side goes by index; empty when it goes by its own channels.
    CZxUser_Matrix linkedMatrix(const Side& side) const;
    double component(int32_t index) const { return m_Evaluation.number(static_cast<uint32_t>(index)); }
    void evaluatePosition(const CZxUser_Matrix& output) const;
    void evaluateOrientation(const CZxUser_Matrix& output) const;

    CZxUser_Evaluation m_Evaluation;
    Side m_Position, m_Orientation;
};
