// SPDX-License-Identifier: MIT
// Finds the rigs of a scene and makes their nodes.
#include "rig/CMarionetModifier.h"

#include "host/CZxGenericPolymorph.h"
#include "host/Services.h"
#include "rig/CMarionetNode.h"

namespace {

constexpr TagRow kTags[] = {{"modifier.typeList", "locator"},
                            {"modifier.graphList", "parent chanLinks ikRetarget ikTasks"}};

} // namespace

std::span<const TagRow> CMarionetModifier::tags() const { return kTags; }

zxresult CMarionetModifier::reset(ZxObject* scene)
{
    m_Refs.clear();
    m_ItemCount = m_Index = 0;
    m_Scene.query(scene, kZxIdScene);
    if (!m_Scene)
        return kZxNotAvailable;
    if (m_SolverType == 0)
        m_SolverType = TypeCode("ikFullBody");
    if (failed(m_Scene.itemCount(m_SolverType, &m_ItemCount)))
        m_ItemCount = static_cast<uint32_t>(-1); // `next` then goes by the items that come
    m_Refs = m_Scene.itemGraph("ikRefs");
    return kZxOk;
}

zxresult CMarionetModifier::next(ZxObject** item, uint32_t* attributeIndex)
{
    *item = nullptr;
    *attributeIndex = 0;
    while (m_Index < m_ItemCount) {
        CZxUser_Item solver;
        const zxresult taken = m_Scene.item(m_SolverType, m_Index, &solver);
        if (taken == kZxOutOfRange)
            break;
        check(taken);
        ++m_Index;
        const CZxUser_Item root = solver.parent();
        if (!root)
            continue;
        if (m_Refs.reverseCount(root) == 0 && m_Refs.forwardCount(root) > 0) {
            *item = solver.detach();
            return kZxOk;
        }
    }
    m_Scene.clear();
    m_Refs.clear();
    m_ItemCount = m_Index = 0;
    return kZxOk;
}

zxresult CMarionetModifier::allocate(ZxObject* item, uint32_t, ZxObject* evaluation, ZxObject** node)
{
    *node = nullptr;
    CMarionetNode* made = nullptr;
    CZxObject face;
    face.adopt(spawnerOf<CMarionetNode>->spawn(&made));
    CZxUser_Item solver;
    check(solver.query(item, kZxIdItem));
    CZxUser_Evaluation channels;
    check(channels.query(evaluation, kZxIdEvaluation));
    made->allocate(solver, channels);
    *node = face.detach();
    return kZxOk;
}
