// SPDX-License-Identifier: MIT
// Finds the joints whose tasks no goal item drives, and makes their nodes.
#include "rig/CIKTaskModifier.h"

#include "rig/CIKTaskNode.h"

namespace {

constexpr TagRow kTags[] = {{"modifier.typeList", "locator"}, {"modifier.graphList", "chanLinks ikTasks"}};

bool NeedsNode(const CZxUser_ChannelGraph& chanLinks, const CZxUser_Item& item, const char* package,
               const char* matrix)
{
    if (!item.hasPackage(package))
        return false;
    const int32_t channel = item.channel(matrix);
    uint32_t count = 0;
    return channel >= 0 && (failed(chanLinks.reverseCount(item, channel, &count)) || count == 0);
}

} // namespace

bool PositionNeedsNode(const CZxUser_ChannelGraph& chanLinks, const CZxUser_Item& item)
{
    return NeedsNode(chanLinks, item, "ik.positionTask", "ikptMatrix");
}

bool OrientationNeedsNode(const CZxUser_ChannelGraph& chanLinks, const CZxUser_Item& item)
{
    return NeedsNode(chanLinks, item, "ik.orientationTask", "ikotMatrix");
}

std::span<const TagRow> CIKTaskModifier::tags() const { return kTags; }

void CIKTaskModifier::takeGraphs(const CZxUser_Scene& scene) { m_Links = scene.channelGraph("chanLinks"); }

bool CIKTaskModifier::wantsNode(const CZxUser_Item& item) const
{
    return PositionNeedsNode(m_Links, item) || OrientationNeedsNode(m_Links, item);
}

zxresult CIKTaskModifier::allocate(ZxObject* item, uint32_t, ZxObject* evaluation, ZxObject** node)
{
    return allocateNode<CIKTaskNode>(item, evaluation, node);
}
