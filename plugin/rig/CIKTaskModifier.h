// SPDX-License-Identifier: MIT
// The evaluation server of tasks that no goal item drives: one node for each joint that has such a task.
#pragma once

#include "rig/CRigModifier.h"

class CIKTaskModifier final : public CRigModifier {
public:
    CIKTaskModifier() : CRigModifier("locator") { lookUpType(); }

    zxresult allocate(ZxObject* item, uint32_t attributeIndex, ZxObject* evaluation,
                      ZxObject** node) override;

protected:
    std::span<const TagRow> tags() const override;
    void takeGraphs(const CZxUser_Scene& scene) override;
    bool wantsNode(const CZxUser_Item& item) const override;

private:
    CZxUser_ChannelGraph m_Links;
};

/// Whether the position task of the item has a goal of its own channels rather than one by a link in
/// `chanLinks`.
bool PositionNeedsNode(const CZxUser_ChannelGraph& chanLinks, const CZxUser_Item& item);
/// The same for the orientation task.
bool OrientationNeedsNode(const CZxUser_ChannelGraph& chanLinks, const CZxUser_Item& item);
