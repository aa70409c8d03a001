// SPDX-License-Identifier: MIT
// Insertion, lookup and release of the name index.
#include "kit/SinewRedBlackTree.h"

#include <sinew/Assert.h>

namespace Sinew {

const BoneIndexEntry* SinewRedBlackTree::find(const BoneIndexEntry& sought) const
{
    const Node* node = m_Root;
    while (node) {
        const int order = KeyString::compare(sought.m_Key, node->m_Entry.m_Key);
        if (order == 0)
            return &node->m_Entry;
        node = order < 0 ? node->m_Left : node->m_Right;
    }
    return nullptr;
}

void SinewRedBlackTree::insert(const BoneIndexEntry& entry)
{
    Node* node = new Node;
    node->m_Entry = entry;
    Node** link = &m_Root;
    while (*link) {
        node->m_Parent = *link;
        const int order = KeyString::compare(entry.m_Key, (*link)->m_Entry.m_Key);
        SINEW_ASSERT(order != 0, "pNode->m_Key != (*p)->m_Key", "SinewRedBlackTree", 342);
        link = order < 0 ? &(*link)->m_Left : &(*link)->m_Right;
    }
    *link = node;

    Node* x = node;
    while (x != m_Root && !x->m_Parent->m_Black) {
        Node* parent = x->m_Parent;
        Node* grandparent = parent->m_Parent;
        const bool parentIsLeft = grandparent->m_Left == parent;
        Node* uncle = parentIsLeft ? grandparent->m_Right : grandparent->m_Left;
        if (uncle && !uncle->m_Black) {
            parent->m_Black = uncle->m_Black = true;
            grandparent->m_Black = false;
            x = grandparent;
            continue;
        }
        if (x == (parentIsLeft ? parent->m_Right : parent->m_Left)) {
            rotate(parent, parentIsLeft);
            x = parent;
        }
        x->m_Parent->m_Black = true;
        grandparent->m_Black = false;
        rotate(grandparent, !parentIsLeft);
    }
    m_Root->m_Black = true;
    m_Nodes.append(node);
}

void SinewRedBlackTree::rotate(Node* node, bool left)
{
    Node* risen = left ? node->m_Right : node->m_Left;
    Node*& inner = left ? risen->m_Left : risen->m_Right;
    (left ? node->m_Right : node->m_Left) = inner;
    if (inner)
        inner->m_Parent = node;
    risen->m_Parent = node->m_Parent;
    if (!node->m_Parent)
        m_Root = risen;
    else if (node->m_Parent->m_Left == node)
        node->m_Parent->m_Left = risen;
    else
        node->m_Parent->m_Right = risen;
    inner = node;
    node->m_Parent = risen;
}

void SinewRedBlackTree::clear()
{
    for (Node* node : m_Nodes)
        delete node;
    m_Nodes.clear();
}

} // namespace Sinew
