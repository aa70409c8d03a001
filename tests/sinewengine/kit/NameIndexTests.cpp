// SPDX-License-Identifier: MIT
// The name index: balance, order of keys, duplicates.
#include "bones/Segment.h"
#include "kit/SinewRedBlackTree.h"
#include "support/ExpectAssert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using namespace Sinew;

BoneIndexEntry entry(const std::string& name, Segment* bone = nullptr)
{
    BoneIndexEntry e;
    e.m_Key.assign(name.c_str());
    e.m_Segment = bone;
    return e;
}

struct Shape {
    int depth = 0;
    int blackDepth = 0;
    std::vector<std::string> keys; ///< in order
};

Shape walk(const SinewRedBlackTree::Node* node, const SinewRedBlackTree::Node* parent)
{
    if (!node)
        return {0, 1, {}};
    EXPECT_EQ(node->m_Parent, parent);
    EXPECT_TRUE(node->m_Black || !parent || parent->m_Black) << "red below red";
    Shape left = walk(node->m_Left, node), right = walk(node->m_Right, node);
    EXPECT_EQ(left.blackDepth, right.blackDepth);
    left.keys.push_back(node->m_Entry.m_Key.c_str());
    left.keys.insert(left.keys.end(), right.keys.begin(), right.keys.end());
    return {1 + std::max(left.depth, right.depth), left.blackDepth + (node->m_Black ? 1 : 0), left.keys};
}

std::vector<std::string> sortedNames(int count)
{
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i)
        names.push_back("bone" + std::to_string(100000 + i));
    return names;
}

TEST(NameIndex, StaysBalancedInEveryOrderOfInsertion)
{
    std::mt19937 random(1);
    for (int order = 0; order < 3; ++order) {
        const std::vector<std::string> sorted = sortedNames(777);
        std::vector<std::string> names = sorted;
        if (order == 1)
            std::reverse(names.begin(), names.end());
        if (order == 2)
            std::shuffle(names.begin(), names.end(), random);
        SinewRedBlackTree tree;
        EXPECT_EQ(tree.find(entry("bone100000")), nullptr);
        for (std::size_t n = 1; n <= names.size(); ++n) {
            tree.insert(entry(names[n - 1]));
            ASSERT_TRUE(tree.root()->m_Black);
            if (n % 37 && n != names.size())
                continue;
            const Shape shape = walk(tree.root(), nullptr);
            ASSERT_EQ(shape.keys.size(), n);
            ASSERT_LE(shape.depth, 2 * std::log2(static_cast<double>(n) + 1));
        }
        EXPECT_EQ(walk(tree.root(), nullptr).keys, sorted);
        for (const std::string& name : names)
            ASSERT_STREQ(tree.find(entry(name))->m_Key.c_str(), name.c_str());
        EXPECT_EQ(tree.find(entry("bone")), nullptr);
        EXPECT_EQ(tree.find(entry("bone1000000")), nullptr);
        tree.clear();
        EXPECT_EQ(tree.count(), 0u);
    }
}

TEST(NameIndex, SortsBytesAsSignedNumbers)
{
    SinewRedBlackTree tree;
    const std::vector<std::string> expected = {"\x80", "\xC8zzz", "\xFF", "A", "a\xE4", "a", "aB", "ab", "b"};
    for (const std::size_t i : {3, 8, 1, 5, 0, 7, 2, 6, 4})
        tree.insert(entry(expected[i]));
    EXPECT_EQ(walk(tree.root(), nullptr).keys, expected);
}

TEST(NameIndex, AssertsOnADuplicateAndKeepsFindingTheFirst)
{
    SinewRedBlackTree tree;
    Segment first, second, other;
    for (const std::string& name : sortedNames(20))
        tree.insert(entry(name, &other));
    tree.insert(entry("twin", &first));
    {
        const support::ExpectAssert one(1);
        tree.insert(entry("twin", &second));
        EXPECT_EQ(support::ExpectAssert::last(), "pNode->m_Key != (*p)->m_Key (SinewRedBlackTree, 342)");
    }
    EXPECT_EQ(tree.count(), 22u);
    EXPECT_EQ(tree.find(entry("twin"))->m_Segment, &first);
    walk(tree.root(), nullptr);
}

} // namespace
