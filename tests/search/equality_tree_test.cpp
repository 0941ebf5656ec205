#include "search/equalitytree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

using Tree = CEqualityTree<intptr_t>;
using Node = Tree::Node;

// Orders elements by their value divided by the context's divisor (1 when no context), so that elements can be
// made equal on purpose; counts its calls.
struct NumericContext {
    intptr_t nDivisor = 1;
    int nCalls = 0;
    int nAbortAtCall = 0; // abort on this call (1-based); 0 never
};

int32_t CompareNumbers(intptr_t nNew, intptr_t nNode, bool *pbAbort, void *pContext)
{
    auto *pCtx = static_cast<NumericContext *>(pContext);
    intptr_t nDivisor = pCtx ? pCtx->nDivisor : 1;
    if (pCtx && ++pCtx->nCalls == pCtx->nAbortAtCall)
        *pbAbort = true;
    intptr_t a = nNew / nDivisor, b = nNode / nDivisor;
    return a < b ? -1 : (a > b ? 1 : 0);
}

Node *InsertNumber(Tree &tree, intptr_t n, NumericContext *pCtx = nullptr, bool *pbEqual = nullptr)
{
    bool bEqual = true;
    Node *pNode = tree.Insert(CompareNumbers, n, &bEqual, pCtx);
    if (pbEqual)
        *pbEqual = bEqual;
    return pNode;
}

std::vector<intptr_t> Items(const Tree &tree)
{
    std::vector<intptr_t> out;
    tree.GetItems(out);
    return out;
}

int Depth(const Node *pNode)
{
    return pNode ? 1 + std::max(Depth(pNode->m_pLeft), Depth(pNode->m_pRight)) : 0;
}

void CollectLinked(const Node *pNode, std::vector<intptr_t> &out)
{
    if (!pNode)
        return;
    CollectLinked(pNode->m_pLeft, out);
    out.insert(out.end(), pNode->m_Items.begin(), pNode->m_Items.end());
    CollectLinked(pNode->m_pRight, out);
}

// The links Root() hands out reach every element once and in the tree's order.
bool LinksMatchOrder(const Tree &tree)
{
    std::vector<intptr_t> linked;
    CollectLinked(tree.Root(), linked);
    return linked == Items(tree);
}

TEST(EqualityTreeTest, NewTreeIsEmpty)
{
    Tree tree;
    EXPECT_EQ(tree.Root(), nullptr);
    EXPECT_EQ(tree.Distinct(), 0);
    EXPECT_EQ(tree.ItemCount(), 0);
    EXPECT_EQ(tree.Comparisons(), 0);
    EXPECT_EQ(tree.Rebuilds(), 0);
    EXPECT_EQ(tree.EfficiencyMean(), 0.0);
    EXPECT_TRUE(Items(tree).empty());
}

TEST(EqualityTreeTest, FirstInsertMakesRootWithoutComparing)
{
    Tree tree;
    NumericContext ctx;
    bool bEqual = true;
    Node *pNode = InsertNumber(tree, 5, &ctx, &bEqual);
    ASSERT_NE(pNode, nullptr);
    EXPECT_EQ(tree.Root(), pNode);
    EXPECT_FALSE(bEqual);
    EXPECT_EQ(ctx.nCalls, 0);
    EXPECT_EQ(tree.LastDepth(), 0);
    EXPECT_EQ(tree.ItemCount(), 1);
    EXPECT_EQ(tree.Distinct(), 1);
    EXPECT_EQ(tree.FindNode(5), pNode);
}

TEST(EqualityTreeTest, EqualElementsShareANodeInArrivalOrder)
{
    Tree tree;
    NumericContext ctx{10};
    Node *pFirst = InsertNumber(tree, 21, &ctx);
    bool bEqual = false;
    Node *pSecond = InsertNumber(tree, 25, &ctx, &bEqual);
    EXPECT_TRUE(bEqual);
    EXPECT_EQ(pFirst, pSecond);
    InsertNumber(tree, 29, &ctx);
    InsertNumber(tree, 3, &ctx, &bEqual);
    EXPECT_FALSE(bEqual);
    EXPECT_EQ(pFirst->m_Items, (std::vector<intptr_t>{21, 25, 29}));
    EXPECT_EQ(tree.Distinct(), 2);
    EXPECT_EQ(tree.ItemCount(), 4);
    EXPECT_EQ(Items(tree), (std::vector<intptr_t>{3, 21, 25, 29}));
}

TEST(EqualityTreeTest, AllEqualElementsNeverRebuild)
{
    Tree tree;
    NumericContext ctx{1000};
    for (intptr_t i = 0; i < 100; i++)
        InsertNumber(tree, i, &ctx);
    ASSERT_NE(tree.Root(), nullptr);
    EXPECT_EQ(tree.Root()->m_Items.size(), 100u);
    EXPECT_EQ(tree.Root()->m_pLeft, nullptr);
    EXPECT_EQ(tree.Root()->m_pRight, nullptr);
    EXPECT_EQ(tree.Distinct(), 1);
    EXPECT_EQ(tree.ItemCount(), 100);
    EXPECT_EQ(tree.Rebuilds(), 0);
    EXPECT_EQ(tree.Comparisons(), 99);
    EXPECT_EQ(Items(tree).front(), 0);
    EXPECT_EQ(Items(tree).back(), 99);
}

TEST(EqualityTreeTest, SortedInputRebuildsFirstAtTheNinthInsert)
{
    Tree tree;
    for (intptr_t i = 1; i <= 8; i++)
        InsertNumber(tree, i);
    EXPECT_EQ(tree.Rebuilds(), 0);
    EXPECT_EQ(tree.LastDepth(), 7);
    EXPECT_EQ(Depth(tree.Root()), 8);
    EXPECT_EQ(tree.Comparisons(), 0 + 1 + 2 + 3 + 4 + 5 + 6 + 7);

    InsertNumber(tree, 9);
    EXPECT_EQ(tree.Rebuilds(), 1);
    // The rebuild reset the mean to a perfect 100 with one sample; the ninth insert adds no sample itself.
    EXPECT_EQ(tree.EfficiencyMean(), 100.0);
    EXPECT_EQ(tree.Samples(), 1);
    // Balanced over 1..8 the root is 4 (mid of 0..7 is 3), and 9 lands below 8 at depth 4.
    EXPECT_EQ(tree.Root()->m_Items[0], 4);
    EXPECT_EQ(tree.LastDepth(), 4);
    EXPECT_TRUE(LinksMatchOrder(tree));
}

TEST(EqualityTreeTest, SampleIsMeasuredAgainstPerfectDepth)
{
    Tree tree;
    for (intptr_t i = 1; i <= 9; i++)
        InsertNumber(tree, i);
    // The tenth insert samples the ninth: 9 items, depth 4.
    InsertNumber(tree, 10);
    EXPECT_EQ(tree.Samples(), 2);
    EXPECT_DOUBLE_EQ(tree.Efficiency(), 100.0 * std::log2(9.0) / 4);
    EXPECT_DOUBLE_EQ(tree.EfficiencyMean(), (100.0 + 100.0 * std::log2(9.0) / 4) / 2);
}

TEST(EqualityTreeTest, SortedInputStaysShallowAndOrdered)
{
    Tree tree;
    const intptr_t n = 4096;
    for (intptr_t i = 1; i <= n; i++) {
        InsertNumber(tree, i);
        EXPECT_LE(tree.LastDepth(), 3 * 12) << "at insert " << i;
    }
    EXPECT_GT(tree.Rebuilds(), 1);
    EXPECT_LE(tree.Comparisons(), 2 * 12 * n);
    std::vector<intptr_t> expected(n);
    for (intptr_t i = 0; i < n; i++)
        expected[static_cast<size_t>(i)] = i + 1;
    EXPECT_EQ(Items(tree), expected);
    EXPECT_TRUE(LinksMatchOrder(tree));
}

TEST(EqualityTreeTest, ListingsRunBothWays)
{
    // Nodes {a1, a2} < {b}: forward a1 a2 b, reverse b a1 a2.
    Tree tree;
    NumericContext ctx{10};
    InsertNumber(tree, 21, &ctx); // b
    InsertNumber(tree, 11, &ctx); // a1
    InsertNumber(tree, 12, &ctx); // a2
    std::vector<intptr_t> out{99};
    tree.GetItems(out);
    EXPECT_EQ(out, (std::vector<intptr_t>{11, 12, 21}));
    tree.GetItemsReverse(out);
    EXPECT_EQ(out, (std::vector<intptr_t>{21, 11, 12}));

    std::vector<Node *> nodes{nullptr};
    tree.GetNodes(nodes);
    ASSERT_EQ(nodes.size(), 2u);
    EXPECT_EQ(nodes[0]->m_Items[0], 11);
    EXPECT_EQ(nodes[1]->m_Items[0], 21);
}

TEST(EqualityTreeTest, AbortLeavesElementOut)
{
    Tree tree;
    NumericContext ctx;
    InsertNumber(tree, 10, &ctx);
    InsertNumber(tree, 20, &ctx);
    ASSERT_EQ(ctx.nCalls, 1);
    int32_t nComparisons = tree.Comparisons();
    ctx.nAbortAtCall = 3; // the second level of the next insert
    bool bEqual = true;
    EXPECT_EQ(InsertNumber(tree, 30, &ctx, &bEqual), nullptr);
    EXPECT_FALSE(bEqual);
    EXPECT_EQ(tree.FindNode(30), nullptr);
    EXPECT_EQ(tree.ItemCount(), 2);
    EXPECT_EQ(tree.Distinct(), 2);
    EXPECT_EQ(tree.Comparisons(), nComparisons + 2);
    EXPECT_EQ(Items(tree), (std::vector<intptr_t>{10, 20}));
}

TEST(EqualityTreeTest, AbortOnAnEqualResultStillAborts)
{
    Tree tree;
    NumericContext ctx{10};
    InsertNumber(tree, 10, &ctx);
    ctx.nAbortAtCall = 1;
    bool bEqual = false;
    EXPECT_EQ(InsertNumber(tree, 11, &ctx, &bEqual), nullptr);
    EXPECT_TRUE(bEqual); // the flag reports the last comparison even when it aborted
    EXPECT_EQ(tree.Root()->m_Items, (std::vector<intptr_t>{10}));
    EXPECT_EQ(tree.ItemCount(), 1);
}

TEST(EqualityTreeTest, GetEquals)
{
    Tree tree;
    NumericContext ctx{10};
    for (intptr_t n : {11, 25, 12, 13})
        InsertNumber(tree, n, &ctx);
    Tree::ElementSet out{{99, 99}};
    EXPECT_TRUE(tree.GetEquals(12, out));
    EXPECT_EQ(out, (Tree::ElementSet{{11, 11}, {12, 12}, {13, 13}}));
    EXPECT_TRUE(tree.GetEquals(25, out));
    EXPECT_EQ(out, (Tree::ElementSet{{25, 25}}));

    Tree::ElementSet untouched{{7, 7}};
    EXPECT_FALSE(tree.GetEquals(40, untouched));
    EXPECT_EQ(untouched, (Tree::ElementSet{{7, 7}}));
}

TEST(EqualityTreeTest, RemoveOnlyElementEmptiesTree)
{
    Tree tree;
    InsertNumber(tree, 1);
    tree.Remove(1);
    EXPECT_EQ(tree.Root(), nullptr);
    EXPECT_EQ(tree.FindNode(1), nullptr);
    EXPECT_EQ(tree.Rebuilds(), 1);
    EXPECT_EQ(tree.ItemCount(), 1); // removals don't lower the counters
    EXPECT_EQ(tree.Distinct(), 1);
    Node *pNode = InsertNumber(tree, 2);
    EXPECT_EQ(tree.Root(), pNode);
    EXPECT_EQ(Items(tree), (std::vector<intptr_t>{2}));
}

TEST(EqualityTreeTest, RemoveFirstElementOfNodeHandsOverToTheNext)
{
    Tree tree;
    NumericContext ctx{10};
    for (intptr_t n : {10, 11, 12})
        InsertNumber(tree, n, &ctx);
    Node *pNode = tree.FindNode(10);
    tree.Remove(10);
    EXPECT_EQ(tree.FindNode(11), pNode);
    EXPECT_EQ(tree.FindNode(10), nullptr);
    EXPECT_EQ(pNode->m_Items, (std::vector<intptr_t>{11, 12}));
    EXPECT_EQ(tree.Rebuilds(), 0);

    // Later comparisons see 11 as the node's element.
    struct Seen {
        std::vector<intptr_t> nodeElements;
    } seen;
    bool bEqual = false;
    tree.Insert(
        [](intptr_t n, intptr_t nNode, bool *, void *p) -> int32_t {
            static_cast<Seen *>(p)->nodeElements.push_back(nNode);
            return n < nNode ? -1 : (n > nNode ? 1 : 0);
        },
        50, &bEqual, &seen);
    EXPECT_EQ(seen.nodeElements, (std::vector<intptr_t>{11}));
}

// The same once a rebuild has taken the node into the balanced part, where it is found by its element 0.
TEST(EqualityTreeTest, RemoveFirstElementOfARebuiltNodeHandsOverToTheNext)
{
    Tree tree;
    NumericContext ctx{10};
    for (intptr_t n : {10, 11})
        InsertNumber(tree, n, &ctx);
    for (intptr_t n = 20; n <= 400; n += 10)
        InsertNumber(tree, n, &ctx);
    ASSERT_GT(tree.Rebuilds(), 0);
    Node *pNode = tree.FindNode(10);
    tree.Remove(10);
    EXPECT_EQ(tree.FindNode(11), pNode);

    struct Seen {
        std::vector<intptr_t> nodeElements;
    } seen;
    bool bEqual = false;
    Node *pJoined = tree.Insert(
        [](intptr_t n, intptr_t nNode, bool *, void *p) -> int32_t {
            static_cast<Seen *>(p)->nodeElements.push_back(nNode);
            intptr_t a = n / 10, b = nNode / 10;
            return a < b ? -1 : (a > b ? 1 : 0);
        },
        15, &bEqual, &seen);
    EXPECT_TRUE(bEqual);
    EXPECT_EQ(pJoined, pNode);
    ASSERT_FALSE(seen.nodeElements.empty());
    EXPECT_EQ(seen.nodeElements.back(), 11);
    EXPECT_EQ(std::count(seen.nodeElements.begin(), seen.nodeElements.end(), 10), 0);
    EXPECT_EQ(pNode->m_Items, (std::vector<intptr_t>{11, 15}));
    std::vector<intptr_t> items = Items(tree);
    ASSERT_GE(items.size(), 3u);
    EXPECT_EQ(items[0], 11);
    EXPECT_EQ(items[1], 15);
    EXPECT_EQ(items[2], 20);
    EXPECT_TRUE(LinksMatchOrder(tree));
}

TEST(EqualityTreeTest, RemoveOfANodeRebuildsBalanced)
{
    Tree tree;
    for (intptr_t i = 1; i <= 7; i++)
        InsertNumber(tree, i); // a list: depth 7
    ASSERT_EQ(Depth(tree.Root()), 7);
    tree.Remove(4);
    EXPECT_EQ(tree.Rebuilds(), 1);
    EXPECT_EQ(tree.EfficiencyMean(), 100.0);
    EXPECT_EQ(Depth(tree.Root()), 3);
    EXPECT_EQ(Items(tree), (std::vector<intptr_t>{1, 2, 3, 5, 6, 7}));
    EXPECT_TRUE(LinksMatchOrder(tree));
    EXPECT_EQ(tree.FindNode(4), nullptr);
    EXPECT_NE(tree.FindNode(5), nullptr);
}

TEST(EqualityTreeTest, RemoveOfAbsentElementChangesNothing)
{
    Tree tree;
    for (intptr_t i = 1; i <= 3; i++)
        InsertNumber(tree, i);
    Node *pRoot = tree.Root();
    tree.Remove(42);
    EXPECT_EQ(tree.Root(), pRoot);
    EXPECT_EQ(tree.Rebuilds(), 0);
    EXPECT_EQ(Items(tree), (std::vector<intptr_t>{1, 2, 3}));
}

TEST(EqualityTreeTest, RebuildKeepsEarlierNodesValid)
{
    Tree tree;
    Node *pThree = InsertNumber(tree, 3);
    for (intptr_t i = 4; i <= 40; i++)
        InsertNumber(tree, i);
    ASSERT_GT(tree.Rebuilds(), 0);
    EXPECT_EQ(tree.FindNode(3), pThree);
    EXPECT_EQ(pThree->m_Items, (std::vector<intptr_t>{3}));
}

int32_t CompareNodesBySize(Node *pNew, Node *pNode, bool *, void *)
{
    size_t a = pNew->m_Items.size(), b = pNode->m_Items.size();
    return a < b ? -1 : (a > b ? 1 : 0);
}

TEST(EqualityTreeTest, SortNodesByAnotherOrder)
{
    Tree tree;
    NumericContext ctx{10};
    // Node 1x has three elements, 2x one, 3x two, 4x one.
    for (intptr_t n : {10, 11, 12, 20, 30, 31, 40})
        InsertNumber(tree, n, &ctx);
    std::vector<Node *> sorted;
    tree.SortNodes(sorted, CompareNodesBySize, nullptr);
    ASSERT_EQ(sorted.size(), 4u);
    // Equal sizes keep this tree's order: 2x before 4x.
    EXPECT_EQ(sorted[0]->m_Items[0], 20);
    EXPECT_EQ(sorted[1]->m_Items[0], 40);
    EXPECT_EQ(sorted[2]->m_Items[0], 30);
    EXPECT_EQ(sorted[3]->m_Items[0], 10);
    // The tree itself is unchanged.
    EXPECT_EQ(Items(tree), (std::vector<intptr_t>{10, 11, 12, 20, 30, 31, 40}));
}

TEST(EqualityTreeTest, PointerElementsAreOrderedByAddressInSets)
{
    int values[3] = {0, 0, 0};
    CEqualityTree<int *> tree;
    bool bEqual = false;
    auto fnAllEqual = [](int *, int *, bool *, void *) -> int32_t { return 0; };
    tree.Insert(fnAllEqual, &values[2], &bEqual, nullptr);
    tree.Insert(fnAllEqual, &values[0], &bEqual, nullptr);
    tree.Insert(fnAllEqual, &values[1], &bEqual, nullptr);
    CEqualityTree<int *>::ElementSet out;
    ASSERT_TRUE(tree.GetEquals(&values[1], out));
    std::vector<int *> keys;
    for (auto &kv : out) {
        EXPECT_EQ(kv.first, kv.second);
        keys.push_back(kv.first);
    }
    EXPECT_EQ(keys, (std::vector<int *>{&values[0], &values[1], &values[2]}));
}

} // namespace
