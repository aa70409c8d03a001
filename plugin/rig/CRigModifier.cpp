// SPDX-License-Identifier: MIT
// Going over the items of one type.
#include "rig/CRigModifier.h"

#include "host/Services.h"

void CRigModifier::lookUpType()
{
    if (m_Type == 0)
        m_Type = TypeCode(m_TypeName);
}

void CRigModifier::endEnumeration()
{
    m_Scene.clear();
    takeGraphs(m_Scene);
    m_ItemCount = m_Index = 0;
}

zxresult CRigModifier::reset(ZxObject* scene)
{
    endEnumeration();
    m_Scene.query(scene, kZxIdScene);
    if (!m_Scene)
        return kZxNotAvailable;
    lookUpType();
    if (failed(m_Scene.itemCount(m_Type, &m_ItemCount)))
        m_ItemCount = static_cast<uint32_t>(-1); // `next` then goes by the items that come
    takeGraphs(m_Scene);
    return kZxOk;
}

zxresult CRigModifier::next(ZxObject** item, uint32_t* attributeIndex)
{
    *item = nullptr;
    *attributeIndex = 0;
    while (m_Index < m_ItemCount) {
        CZxUser_Item candidate;
        const zxresult taken = m_Scene.item(m_Type, m_Index, &candidate);
        if (taken == kZxOutOfRange)
            break;
        check(taken);
        ++m_Index;
        if (wantsNode(candidate)) {
            *item = candidate.detach();
            return kZxOk;
        }
    }
    endEnumeration();
    return kZxOk;
}
