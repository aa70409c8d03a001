// SPDX-License-Identifier: MIT
// What the two evaluation servers share: going over the items of one type, and making a node.
#pragma once

#include "host/CZxEvaluation.h"
#include "host/CZxGenericPolymorph.h"
#include "host/CZxPackage.h"
#include "host/CZxScene.h"

/// An enumeration over a scene's items of one type, and the nodes of those that want one.
class CRigModifier : public CZxImpl_EvalModifier, public CZxImpl_StaticDesc {
public:
    zxresult reset(ZxObject* scene) final;
    zxresult next(ZxObject** item, uint32_t* attributeIndex) final;

protected:
    explicit CRigModifier(const char* typeName) : m_TypeName(typeName) { }

    /// Takes the graphs that the enumeration goes by from the scene; an empty scene gives them up.
    virtual void takeGraphs(const CZxUser_Scene& scene) = 0;
    /// Whether the item is to have a node.
    virtual bool wantsNode(const CZxUser_Item& item) const = 0;
    /// Asks the host for the type's code, unless it is known.
    void lookUpType();

    /// Makes a node and lets it add its channels. Throws the host's failures, and then nothing is kept.
    template <class Node>
    static zxresult allocateNode(ZxObject* itemObject, ZxObject* evaluation, ZxObject** node)
    {
        *node = nullptr;
        Node* made = nullptr;
        CZxObject face;
        face.adopt(spawnerOf<Node>->spawn(&made));
        CZxUser_Item item;
        check(item.query(itemObject, kZxIdItem));
        CZxUser_Evaluation channels;
        check(channels.query(evaluation, kZxIdEvaluation));
        made->allocate(item, channels);
        *node = face.detach();
        return kZxOk;
    }

private:
    void endEnumeration();

    const char* m_TypeName;
    uint32_t m_Type = 0;
    CZxUser_Scene m_Scene;
    uint32_t m_ItemCount = 0;
    uint32_t m_Index = 0;
};
