// SPDX-License-Identifier: MIT
// The name index: bone name to Segment, a red-black tree whose nodes own their keys.
#pragma once

#include "kit/AlignedObject.h"
#include "kit/KeyString.h"
#include "kit/PointerArray.h"

namespace Sinew {

class Segment;

struct BoneIndexEntry {
    KeyString m_Key;
    Segment* m_Segment = nullptr;
};

class SinewRedBlackTree {
public:
    struct Node : AlignedObject {
        BoneIndexEntry m_Entry;
        bool m_Black = false;
        Node* m_Left = nullptr;
        Node* m_Right = nullptr;
        Node* m_Parent = nullptr;
    };

    SinewRedBlackTree() = default;
    SinewRedBlackTree(const SinewRedBlackTree&) = delete;
    SinewRedBlackTree& operator=(const SinewRedBlackTree&) = delete;
    ~SinewRedBlackTree() { clear(); }

    /// Adds a copy of the entry. A key that is there already fails an assertion; if the handler returns, the
    /// new entry goes in behind the old one, which `find` keeps returning.
    void insert(const BoneIndexEntry& entry);
    /// The entry with the same key, or null.
    const BoneIndexEntry* find(const BoneIndexEntry& sought) const;
    /// Destroys all nodes. The root pointer isn't touched, so nothing but destruction may follow.
    void clear();

    const Node* root() const { return m_Root; }
    std::uint32_t count() const { return m_Nodes.count(); }

private:
    void rotate(Node* node, bool left);

    Node* m_Root = nullptr;
    PointerArray<Node> m_Nodes;
};

} // namespace Sinew
