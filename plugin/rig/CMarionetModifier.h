// SPDX-License-Identifier: MIT
// The evaluation server of rigs: one node for each rig of a scene.
#pragma once

#include "host/CZxEvaluation.h"
#include "host/CZxPackage.h"
#include "host/CZxScene.h"

class CMarionetModifier final : public CZxImpl_EvalModifier, public CZxImpl_StaticDesc {
public:
    zxresult reset(ZxObject* scene) override;
    zxresult next(ZxObject** item, uint32_t* attributeIndex) override;
    zxresult allocate(ZxObject* item, uint32_t attributeIndex, ZxObject* evaluation,
                      ZxObject** node) override;

protected:
    std::span<const TagRow> tags() const override;

private:
    CZxUser_Scene m_Scene;
    CZxUser_ItemGraph m_Refs;
    uint32_t m_SolverType = 0;
    uint32_t m_ItemCount = 0;
    uint32_t m_Index = 0;
};
