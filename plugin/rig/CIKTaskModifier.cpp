// SPDX-License-Identifier: MIT
// Finds the joints whose tasks no goal item drives, and makes their nodes.
#include "rig/CIKTaskModifier.h"

#include "host/CZxGenericPolymorph.h"
#include "host/Services.h"
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

CIKTaskModifier::CIKTaskModifier() : m_LocatorType(TypeCode("locator")) { }

std::span<const TagRow> CIKTaskModifier::tags() const { return kTags; }

zxresult CIKTaskModifier::reset(ZxObject* scene)
{
    m_Links.clear();
    m_ItemCount = m_Index = 0;
    m_Scene.query(scene, kZxIdScene);
    if (!m_Scene)
        return kZxNotAvailable;
    if (m_LocatorType == 0)
        m_LocatorType = TypeCode("locator");
    if (failed(m_Scene.itemCount(m_LocatorType, &m_ItemCount)))
        m_ItemCount = static_cast<uint32_t>(-1); // `next` then goes by the items that come
    m_Links = m_Scene.channelGraph("chanLinks");
    return kZxOk;
}

zxresult CIKTaskModifier::next(ZxObject** item, uint32_t* attributeIndex)
{
    *item = nullptr;
    *attributeIndex = 0;
    while (m_Index < m_ItemCount) {
        CZxUser_Item joint;
        const zxresult taken = m_Scene.item(m_LocatorType, m_Index, &joint);
        if (taken == kZxOutOfRange)
            break;
        check(taken);
        ++m_Index;
        if (PositionNeedsNode(m_Links, joint) || OrientationNeedsNode(m_Links, joint)) {
            *item = joint.detach();
            return kZxOk;
        }
    }
    m_Scene.clear();
    m_Links.clear();
    m_ItemCount = m_Index = 0;
    return kZxOk;
}

zxresult CIKTaskModifier::allocate(ZxObject* item, uint32_t, ZxObject* evaluation, ZxObject** node)
{
    *node = nullptr;
    CIKTaskNode* made = nullptr;
    CZxObject face;
    face.adopt(spawnerOf<CIKTaskNode>->spawn(&made));
    CZxUser_Item joint;
    check(joint.query(item, kZxIdItem));
    CZxUser_Evaluation channels;
    check(channels.query(evaluation, kZxIdEvaluation));
    made->allocate(joint, channels);
    *node = face.detach();
    return kZxOk;
}
