// SPDX-License-Identifier: MIT
// The evaluation server of rigs: one node for each rig of a scene.
#pragma once

#include "rig/CRigModifier.h"

class CMarionetModifier final : public CRigModifier {
public:
    CMarionetModifier() : CRigModifier("ikFullBody") { }

    zxresult allocate(ZxObject* item, uint32_t attributeIndex, ZxObject* evaluation,
                      ZxObject** node) override;

protected:
    std::span<const TagRow> tags() const override;
    void takeGraphs(const CZxUser_Scene& scene) override;
    bool wantsNode(const CZxUser_Item& item) const override;

private:
    CZxUser_ItemGraph m_Refs;
    CZxUser_ItemGraph m_Retarget; // looked up so that the host has it; evaluation doesn't walk it
};
