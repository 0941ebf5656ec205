// The tree against a plain model of its rules: every rebuild lists all nodes by a full walk and links them anew,
// as simply as the rules can be written down. The tree's own rebuild takes shortcuts (it keeps the node order of
// the last rebuild, merges only the nodes made since and writes no links until asked), so after every insert and
// removal both must agree on the shape, the parent links, the contents of every node, where every element is
// found and all counters. Both ways of finding an element's node are run: hashed, and by the element's number.
#include "search/equalitytree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

struct NumberOf {
    size_t operator()(intptr_t n) const { return static_cast<size_t>(n); }
};
using Node = CEqualityTree<intptr_t>::Node;

// The comparator calls of one insert, in order: (new element, node's element).
using Calls = std::vector<std::pair<intptr_t, intptr_t>>;

int32_t CompareTens(intptr_t nNew, intptr_t nNode, bool *, void *pCalls)
{
    static_cast<Calls *>(pCalls)->emplace_back(nNew, nNode);
    intptr_t a = nNew / 10, b = nNode / 10; // 10..19 are equal, so nodes hold several elements
    return a < b ? -1 : (a > b ? 1 : 0);
}

class CModelTree {
public:
    struct ModelNode {
        ModelNode *pParent = nullptr;
        ModelNode *pLeft = nullptr;
        ModelNode *pRight = nullptr;
        std::vector<intptr_t> items;
    };

    void Insert(intptr_t element, Calls *pCalls)
    {
        if (m_nLastDepth >= 1 && m_nItems >= 8) {
            m_nSamples++;
            m_dSum += 100.0 * std::log2(static_cast<double>(m_nItems)) / m_nLastDepth;
            if (m_dSum / m_nSamples < 85.0)
                Rebuild();
        }
        m_nLastDepth = 0;
        bool bEqual = false;
        if (!m_pRoot) {
            m_pRoot = New(element, nullptr);
        } else {
            for (ModelNode *pNode = m_pRoot;;) {
                int32_t n = CompareTens(element, pNode->items[0], nullptr, pCalls);
                m_nLastDepth++;
                if (n == 0) {
                    pNode->items.push_back(element);
                    bEqual = true;
                    break;
                }
                ModelNode *&pChild = n < 0 ? pNode->pLeft : pNode->pRight;
                if (!pChild) {
                    pChild = New(element, pNode);
                    break;
                }
                pNode = pChild;
            }
        }
        m_nItems++;
        m_nDistinct += bEqual ? 0 : 1;
        m_nComparisons += m_nLastDepth;
    }

    void Remove(intptr_t element)
    {
        std::vector<ModelNode *> nodes;
        List(m_pRoot, nodes);
        for (size_t i = 0; i < nodes.size(); i++) {
            auto &items = nodes[i]->items;
            for (size_t j = 0; j < items.size(); j++) {
                if (items[j] != element)
                    continue;
                if (items.size() > 1) {
                    items.erase(items.begin() + static_cast<std::ptrdiff_t>(j));
                    return;
                }
                nodes.erase(nodes.begin() + static_cast<std::ptrdiff_t>(i));
                m_pRoot = Build(nodes, 0, static_cast<int32_t>(nodes.size()) - 1, nullptr);
                Reset();
                return;
            }
        }
    }

    ModelNode *Root() const { return m_pRoot; }
    std::vector<intptr_t> Items() const
    {
        std::vector<ModelNode *> nodes;
        List(m_pRoot, nodes);
        std::vector<intptr_t> items;
        for (ModelNode *pNode : nodes)
            items.insert(items.end(), pNode->items.begin(), pNode->items.end());
        return items;
    }
    int32_t m_nItems = 0, m_nDistinct = 0, m_nComparisons = 0, m_nLastDepth = 0, m_nRebuilds = 0, m_nSamples = 0;
    double m_dSum = 0.0;

private:
    ModelNode *New(intptr_t element, ModelNode *pParent)
    {
        m_Owned.push_back(std::make_unique<ModelNode>());
        ModelNode *pNode = m_Owned.back().get();
        pNode->pParent = pParent;
        pNode->items.push_back(element);
        return pNode;
    }
    static void List(ModelNode *pNode, std::vector<ModelNode *> &out)
    {
        if (!pNode)
            return;
        List(pNode->pLeft, out);
        out.push_back(pNode);
        List(pNode->pRight, out);
    }
    static ModelNode *Build(const std::vector<ModelNode *> &nodes, int32_t lo, int32_t hi, ModelNode *pParent)
    {
        if (lo > hi)
            return nullptr;
        int32_t mid = (lo + hi) / 2;
        ModelNode *pNode = nodes[static_cast<size_t>(mid)];
        pNode->pParent = pParent;
        pNode->pLeft = Build(nodes, lo, mid - 1, pNode);
        pNode->pRight = Build(nodes, mid + 1, hi, pNode);
        return pNode;
    }
    void Rebuild()
    {
        std::vector<ModelNode *> nodes;
        List(m_pRoot, nodes);
        m_pRoot = Build(nodes, 0, static_cast<int32_t>(nodes.size()) - 1, nullptr);
        Reset();
    }
    void Reset()
    {
        m_nRebuilds++;
        m_nSamples = 1;
        m_dSum = 100.0;
    }

    ModelNode *m_pRoot = nullptr;
    std::vector<std::unique_ptr<ModelNode>> m_Owned;
};

// Same shape, same elements in every node, and every element found in its node.
template <typename Tree> bool SameTree(const Tree &tree, Node *pNode, const CModelTree::ModelNode *pModel)
{
    if (!pNode || !pModel)
        return !pNode && !pModel;
    for (intptr_t n : pModel->items)
        if (tree.FindNode(n) != pNode)
            return false;
    return pNode->m_Items == pModel->items && SameTree(tree, pNode->m_pLeft, pModel->pLeft) &&
           SameTree(tree, pNode->m_pRight, pModel->pRight);
}

template <typename Tree> void ExpectSameCounters(const Tree &tree, const CModelTree &model, const std::string &strWhen)
{
    ASSERT_EQ(tree.Rebuilds(), model.m_nRebuilds) << strWhen;
    ASSERT_EQ(tree.Comparisons(), model.m_nComparisons) << strWhen;
    ASSERT_EQ(tree.LastDepth(), model.m_nLastDepth) << strWhen;
    ASSERT_EQ(tree.ItemCount(), model.m_nItems) << strWhen;
    ASSERT_EQ(tree.Distinct(), model.m_nDistinct) << strWhen;
    std::vector<intptr_t> items = model.Items();
    ASSERT_EQ(tree.Size(), std::set<intptr_t>(items.begin(), items.end()).size()) << strWhen; // repeats count once
}

template <typename Tree> void ExpectSame(const Tree &tree, const CModelTree &model, const std::string &strWhen)
{
    ASSERT_TRUE(SameTree(tree, tree.Root(), model.Root())) << strWhen;
    ExpectSameCounters(tree, model, strWhen);
}

// Feeds both the same elements and compares the comparator calls of every insert, and after it either the whole
// shape or only what the listings and counters show, which leaves the tree's links unasked.
template <typename Tree>
void Feed(Tree &tree, CModelTree &model, const std::vector<intptr_t> &elements, bool bShape = true)
{
    for (intptr_t n : elements) {
        bool bEqual = false;
        Calls treeCalls, modelCalls;
        ASSERT_NE(tree.Insert(CompareTens, n, &bEqual, &treeCalls), nullptr);
        model.Insert(n, &modelCalls);
        std::string strWhen = "after inserting " + std::to_string(n);
        ASSERT_EQ(treeCalls, modelCalls) << strWhen;
        if (bShape) {
            ExpectSame(tree, model, strWhen);
        } else {
            ExpectSameCounters(tree, model, strWhen);
            std::vector<intptr_t> items;
            tree.GetItems(items);
            ASSERT_EQ(items, model.Items()) << strWhen;
        }
    }
}

template <typename Tree> class EqualityTreeModelTest : public ::testing::Test {};
using TreeKinds = ::testing::Types<CEqualityTree<intptr_t>, CEqualityTree<intptr_t, NumberOf>>;
TYPED_TEST_SUITE(EqualityTreeModelTest, TreeKinds);

// Ascending runs that start at different places, as the dates of one folder after another do, with a few
// repeats that join existing nodes.
std::vector<intptr_t> SortedRuns()
{
    std::vector<intptr_t> elements;
    for (intptr_t nStart : {5000, 1000, 3000, 1500, 9000})
        for (intptr_t i = 0; i < 300; i++)
            elements.push_back(nStart + i * 7);
    for (intptr_t i = 0; i < 50; i++)
        elements.push_back(1000 + i * 7); // repeats
    return elements;
}

TYPED_TEST(EqualityTreeModelTest, SortedRunsInSeveralPlacesRebuildAsTheModelDoes)
{
    TypeParam tree;
    CModelTree model;
    Feed(tree, model, SortedRuns());
    EXPECT_GT(tree.Rebuilds(), 100);
}

TYPED_TEST(EqualityTreeModelTest, LinksAskedForOnlyNowAndThenAgreeWithTheModel)
{
    // Many rebuilds pass between two looks at the shape, and each look writes links that later rebuilds must not
    // be misled by.
    std::vector<intptr_t> elements = SortedRuns();
    TypeParam tree;
    CModelTree model;
    for (size_t nBegin = 0; nBegin < elements.size(); nBegin += 400) {
        size_t nEnd = std::min(elements.size(), nBegin + 400);
        Feed(tree, model, std::vector<intptr_t>(elements.begin() + static_cast<std::ptrdiff_t>(nBegin),
                                                elements.begin() + static_cast<std::ptrdiff_t>(nEnd)),
             false);
        ExpectSame(tree, model, "after " + std::to_string(nEnd) + " inserts");
    }
    EXPECT_GT(tree.Rebuilds(), 100);
}

TYPED_TEST(EqualityTreeModelTest, RandomAndDescendingInputRebuildAsTheModelDoes)
{
    std::mt19937 random(11);
    std::vector<intptr_t> elements;
    for (int i = 0; i < 1500; i++)
        elements.push_back(static_cast<intptr_t>(random() % 100000));
    for (intptr_t i = 0; i < 400; i++)
        elements.push_back(200000 - i * 3); // descending, left of everything before
    TypeParam tree;
    CModelTree model;
    Feed(tree, model, elements);
    EXPECT_GT(tree.Rebuilds(), 10);
}

TYPED_TEST(EqualityTreeModelTest, RemovalsBetweenInsertsRebuildAsTheModelDoes)
{
    TypeParam tree;
    CModelTree model;
    std::vector<intptr_t> first;
    for (intptr_t i = 0; i < 200; i++)
        first.push_back(i * 10);
    Feed(tree, model, first);
    for (intptr_t n : {0, 990, 500, 1990, 1000}) { // whole nodes: each removal rebuilds
        tree.Remove(n);
        model.Remove(n);
        ExpectSame(tree, model, "after removing " + std::to_string(n));
    }
    std::vector<intptr_t> more;
    for (intptr_t i = 0; i < 200; i++)
        more.push_back(5 + i * 10 + (i % 3)); // lands beside the survivors, some equal to them
    Feed(tree, model, more);
    // A node of one element, a later and two first elements of shared nodes, and one that isn't there.
    for (intptr_t n : {5, 16, 20, 300, 2}) {
        tree.Remove(n);
        model.Remove(n);
        ExpectSame(tree, model, "after removing " + std::to_string(n));
    }
    std::vector<intptr_t> after;
    for (intptr_t i = 0; i < 200; i++)
        after.push_back(100000 + i * 10); // ascending again after the removals' rebuilds
    Feed(tree, model, after, false);
    ExpectSame(tree, model, "after the last inserts");
}

TYPED_TEST(EqualityTreeModelTest, RemovingEverythingAndGrowingAgain)
{
    TypeParam tree;
    CModelTree model;
    std::vector<intptr_t> elements;
    for (intptr_t i = 0; i < 40; i++)
        elements.push_back(i * 10);
    Feed(tree, model, elements);
    for (intptr_t n : elements) {
        tree.Remove(n);
        model.Remove(n);
        ExpectSame(tree, model, "after removing " + std::to_string(n));
    }
    EXPECT_EQ(tree.Root(), nullptr);
    Feed(tree, model, elements);
}

} // namespace
