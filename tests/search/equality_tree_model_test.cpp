// The tree against a plain model of its rules: every rebuild lists all nodes by a full walk and links them anew,
// as simply as the rules can be written down. The tree's own rebuild takes shortcuts (it keeps the node order of
// the last rebuild and merges only the nodes made since), so after every insert and removal both must agree on the
// shape, the parent links, the contents of every node and all counters.
#include "search/equalitytree.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Tree = CEqualityTree<intptr_t>;
using Node = Tree::Node;

int32_t CompareTens(intptr_t nNew, intptr_t nNode, bool *, void *)
{
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

    void Insert(intptr_t element)
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
                int32_t n = CompareTens(element, pNode->items[0], nullptr, nullptr);
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

// Same shape, same parent links, same elements in every node.
bool SameTree(const Node *pNode, const Node *pParent, const CModelTree::ModelNode *pModel)
{
    if (!pNode || !pModel)
        return !pNode && !pModel;
    return pNode->m_pParent == pParent && pNode->m_Items == pModel->items &&
           SameTree(pNode->m_pLeft, pNode, pModel->pLeft) && SameTree(pNode->m_pRight, pNode, pModel->pRight);
}

void ExpectSame(const Tree &tree, const CModelTree &model, const std::string &strWhen)
{
    ASSERT_TRUE(SameTree(tree.Root(), nullptr, model.Root())) << strWhen;
    ASSERT_EQ(tree.Rebuilds(), model.m_nRebuilds) << strWhen;
    ASSERT_EQ(tree.Comparisons(), model.m_nComparisons) << strWhen;
    ASSERT_EQ(tree.LastDepth(), model.m_nLastDepth) << strWhen;
    ASSERT_EQ(tree.ItemCount(), model.m_nItems) << strWhen;
    ASSERT_EQ(tree.Distinct(), model.m_nDistinct) << strWhen;
}

// Feeds both the same elements and compares after every step.
void Feed(Tree &tree, CModelTree &model, const std::vector<intptr_t> &elements)
{
    for (intptr_t n : elements) {
        bool bEqual = false;
        ASSERT_NE(tree.Insert(CompareTens, n, &bEqual, nullptr), nullptr);
        model.Insert(n);
        ExpectSame(tree, model, "after inserting " + std::to_string(n));
    }
}

TEST(EqualityTreeModelTest, SortedRunsInSeveralPlacesRebuildAsTheModelDoes)
{
    // Ascending runs that start at different places, as the dates of one folder after another do, with a few
    // repeats that join existing nodes.
    std::vector<intptr_t> elements;
    for (intptr_t nStart : {5000, 1000, 3000, 1500, 9000})
        for (intptr_t i = 0; i < 300; i++)
            elements.push_back(nStart + i * 7);
    for (intptr_t i = 0; i < 50; i++)
        elements.push_back(1000 + i * 7); // repeats
    Tree tree;
    CModelTree model;
    Feed(tree, model, elements);
    EXPECT_GT(tree.Rebuilds(), 100);
}

TEST(EqualityTreeModelTest, RandomAndDescendingInputRebuildAsTheModelDoes)
{
    std::mt19937 random(11);
    std::vector<intptr_t> elements;
    for (int i = 0; i < 1500; i++)
        elements.push_back(static_cast<intptr_t>(random() % 100000));
    for (intptr_t i = 0; i < 400; i++)
        elements.push_back(200000 - i * 3); // descending, left of everything before
    Tree tree;
    CModelTree model;
    Feed(tree, model, elements);
    EXPECT_GT(tree.Rebuilds(), 10);
}

TEST(EqualityTreeModelTest, RemovalsBetweenInsertsRebuildAsTheModelDoes)
{
    Tree tree;
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
    std::vector<intptr_t> after;
    for (intptr_t i = 0; i < 200; i++)
        after.push_back(100000 + i * 10); // ascending again after the removals' rebuilds
    Feed(tree, model, after);
}

TEST(EqualityTreeModelTest, RemovingEverythingAndGrowingAgain)
{
    Tree tree;
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
