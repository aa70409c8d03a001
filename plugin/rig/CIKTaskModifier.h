// SPDX-License-Identifier: MIT
// The evaluation server of tasks that no goal item drives: one node for each joint that has such a task.
#pragma once

#include "host/CZxEvaluation.h"
#include "host/CZxPackage.h"
#include "host/CZxScene.h"

class CIKTaskModifier final : public CZxImpl_EvalModifier, public CZxImpl_StaticDesc {
public:
    CIKTaskModifier();

    zxresult reset(ZxObject* scene) override;
    zxresult next(ZxObject** item, uint32_t* attributeIndex) override;
    zxresult allocate(ZxObject* item, uint32_t attributeIndex, ZxObject* evaluation,
                      ZxObject** node) override;

protected:
    std::span<const TagRow> tags() const override;

private:
    CZxUser_Scene m_Scene;
    CZxUser_ChannelGraph m_Links;
    uint32_t m_LocatorType = 0;
    uint32_t m_ItemCount = 0;
    uint32_t m_Index = 0;
};

/// Whether the position task of the item has a goal of its own channels rather than one by a link in
/// `chanLinks`.
bool PositionNeedsNode(const CZxUser_ChannelGraph& chanLinks, const CZxUser_Item& item);
/// The same for the orientation task.
bool OrientationNeedsNode(const CZxUser_ChannelGraph& chanLinks, const CZxUser_Item& item);
