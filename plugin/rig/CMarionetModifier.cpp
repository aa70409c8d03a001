// SPDX-License-Identifier: MIT
// Finds the rigs of a scene and makes their nodes.
#include "rig/CMarionetModifier.h"

#include "rig/CMarionetNode.h"

namespace {

constexpr TagRow kTags[] = {{"modifier.typeList", "locator"},
                            {"modifier.graphList", "parent chanLinks ikRetarget ikTasks"}};

} // namespace

std::span<const TagRow> CMarionetModifier::tags() const { return kTags; }

void CMarionetModifier::takeGraphs(const CZxUser_Scene& scene)
{
    m_Refs = scene.itemGraph("ikRefs");
    m_Retarget = scene.itemGraph("ikRetarget");
}

bool CMarionetModifier::wantsNode(const CZxUser_Item& item) const
{
    const CZxUser_Item root = item.parent();
    return root && m_Refs.reverseCount(root) == 0 && m_Refs.forwardCount(root) > 0;
}

zxresult CMarionetModifier::allocate(ZxObject* item, uint32_t, ZxObject* evaluation, ZxObject** node)
{
    return allocateNode<CMarionetNode>(item, evaluation, node);
}
