// CEqualityTree: an ordered index under a caller's three-way comparator in which elements that compare equal
// share one node. It is a plain binary search tree that rebuilds itself perfectly balanced when the running mean
// of its insert depths drifts too far from log2 of its size; a rebuild calls no comparator, which matters because
// a comparison may cost a store access.
//
// Elements are opaque pointer-sized words (a pointer type or an integer); the tree never owns them. Only the
// comparator gives them meaning: negative sends the new element left, positive right, 0 means equal. As a map key
// an element is ordered by its numeric value.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

template <typename T> class CEqualityTree;

// One set of equal elements. Element 0 stands for the node in every comparison.
template <typename T> class CEqualityNode {
public:
    explicit CEqualityNode(CEqualityNode *pParent) : m_pParent(pParent) {}
    virtual ~CEqualityNode() = default;
    CEqualityNode(const CEqualityNode &) = delete;
    CEqualityNode &operator=(const CEqualityNode &) = delete;

    CEqualityNode *m_pParent;          // null at the root; nothing walks upward
    CEqualityNode *m_pLeft = nullptr;  // what compared negative
    CEqualityNode *m_pRight = nullptr; // what compared positive
    std::vector<T> m_Items;            // the equal elements in order of arrival; never empty inside a tree
};

template <typename T> class CEqualityTree {
    static_assert(std::is_pointer_v<T> || std::is_integral_v<T>, "elements are pointer-sized words");
    static_assert(sizeof(T) <= sizeof(void *), "elements are pointer-sized words");

public:
    using Node = CEqualityNode<T>;
    // Gets the element being inserted, the element standing for a node, an abort flag it may set, and the
    // caller's context, passed through untouched.
    using Comparator = int32_t (*)(T pNew, T pNode, bool *pbAbort, void *pContext);
    using NodeComparator = int32_t (*)(Node *pNew, Node *pNode, bool *pbAbort, void *pContext);
    // A set of elements, each mapped to itself, in the order of their numeric values.
    using ElementSet = std::map<T, T>;

    CEqualityTree() = default;
    virtual ~CEqualityTree()
    {
        std::vector<Node *> nodes;
        GetNodes(nodes);
        for (Node *pNode : nodes)
            delete pNode;
    }
    CEqualityTree(const CEqualityTree &) = delete;
    CEqualityTree &operator=(const CEqualityTree &) = delete;

    // Files the element; returns its node, or null if the comparator aborted (the element is then not in the
    // tree). *pbEqual tells whether it joined an existing node.
    Node *Insert(Comparator fnCompare, T element, bool *pbEqual, void *pContext)
    {
        if (NeedsRebalance())
            Rebalance();
        *pbEqual = false;
        m_nLastDepth = 0;

        Node *pResult = nullptr;
        if (!m_pRoot) {
            pResult = m_pRoot = NewNode(element, nullptr);
        } else {
            Node *pNode = m_pRoot;
            while (pNode) {
                bool bAbort = false;
                int32_t nResult = fnCompare(element, pNode->m_Items[0], &bAbort, pContext);
                *pbEqual = nResult == 0;
                m_nLastDepth++;
                if (bAbort)
                    break;
                if (nResult == 0) {
                    pNode->m_Items.push_back(element);
                    pResult = pNode;
                    break;
                }
                Node *&pChild = nResult < 0 ? pNode->m_pLeft : pNode->m_pRight;
                if (!pChild) {
                    pResult = pChild = NewNode(element, pNode);
                    break;
                }
                pNode = pChild;
            }
        }

        if (pResult) {
            m_nItems++;
            if (!*pbEqual)
                m_nDistinct++;
            m_ItemNodes[element] = pResult;
        }
        m_nComparisons += m_nLastDepth;
        return pResult;
    }

    // The element's node, or null; no comparator runs.
    Node *FindNode(T element) const
    {
        auto it = m_ItemNodes.find(element);
        return it == m_ItemNodes.end() ? nullptr : it->second;
    }

    // All elements of the element's node, itself included. False, with out untouched, if it isn't in the tree.
    bool GetEquals(T element, ElementSet &out) const
    {
        Node *pNode = FindNode(element);
        if (!pNode)
            return false;
        out.clear();
        for (T item : pNode->m_Items)
            out.emplace(item, item);
        return true;
    }

    // All nodes in ascending order.
    void GetNodes(std::vector<Node *> &out) const
    {
        out.clear();
        Walk(false, [&out](Node *pNode) { out.push_back(pNode); });
    }

    // All elements, nodes ascending, each node's elements in order of arrival.
    void GetItems(std::vector<T> &out) const
    {
        out.clear();
        Walk(false, [&out](Node *pNode) { out.insert(out.end(), pNode->m_Items.begin(), pNode->m_Items.end()); });
    }

    // All elements, nodes descending, each node's elements still in order of arrival.
    void GetItemsReverse(std::vector<T> &out) const
    {
        out.clear();
        Walk(true, [&out](Node *pNode) { out.insert(out.end(), pNode->m_Items.begin(), pNode->m_Items.end()); });
    }

    // The nodes sorted by another comparator, which receives node pointers; nodes that compare equal keep this
    // tree's order. This tree doesn't change.
    void SortNodes(std::vector<Node *> &out, NodeComparator fnCompare, void *pContext) const
    {
        std::vector<Node *> nodes;
        GetNodes(nodes);
        CEqualityTree<Node *> sorter;
        for (Node *pNode : nodes) {
            bool bEqual = false;
            sorter.Insert(fnCompare, pNode, &bEqual, pContext);
        }
        sorter.GetItems(out);
    }

    // Takes one element out. Removing a node's last element removes the node and rebuilds the whole tree.
    void Remove(T element)
    {
        Node *pNode = FindNode(element);
        if (!pNode)
            return;
        if (pNode->m_Items.size() == 1) {
            std::vector<Node *> nodes;
            GetNodes(nodes);
            size_t nPos = 0;
            for (size_t i = 0; i < nodes.size(); i++) {
                nodes[i]->m_pLeft = nodes[i]->m_pRight = nullptr;
                if (nodes[i] == pNode)
                    nPos = i;
            }
            for (T item : pNode->m_Items)
                m_ItemNodes.erase(item);
            nodes.erase(nodes.begin() + static_cast<std::ptrdiff_t>(nPos));
            delete pNode;
            m_Balanced = std::move(nodes);
            m_pRoot = BuildBalanced(m_Balanced, 0, static_cast<int32_t>(m_Balanced.size()) - 1, nullptr);
            ResetAfterRebuild();
            return;
        }
        auto &items = pNode->m_Items;
        for (auto it = items.begin(); it != items.end(); ++it) {
            if (*it == element) {
                items.erase(it);
                break;
            }
        }
        m_ItemNodes.erase(element);
    }

    Node *Root() const { return m_pRoot; }
    int32_t Distinct() const { return m_nDistinct; }    // inserts that found no equal element
    int32_t ItemCount() const { return m_nItems; }      // successful inserts; removals don't lower it
    int32_t Comparisons() const { return m_nComparisons; } // comparator calls over all inserts
    int32_t LastDepth() const { return m_nLastDepth; }  // comparator calls of the latest insert
    int32_t Rebuilds() const { return m_nRebuilds; }
    double Efficiency() const { return m_dEfficiency; }
    int32_t Samples() const { return m_nSamples; }
    double EfficiencyMean() const { return m_dEfficiencyMean; }
    size_t Size() const { return m_ItemNodes.size(); } // elements in the tree now

private:
    Node *NewNode(T element, Node *pParent)
    {
        Node *pNode = new Node(pParent);
        pNode->m_Items.push_back(element);
        m_Fresh.push_back(pNode);
        return pNode;
    }

    // In-order walk without recursion: before the first rebuild a tree fed sorted input is a list.
    template <typename Visit> void Walk(bool bReverse, Visit visit) const { WalkFrom(m_pRoot, bReverse, visit); }

    template <typename Visit> static void WalkFrom(Node *pNode, bool bReverse, Visit visit)
    {
        std::vector<Node *> stack;
        while (pNode || !stack.empty()) {
            while (pNode) {
                stack.push_back(pNode);
                pNode = bReverse ? pNode->m_pRight : pNode->m_pLeft;
            }
            pNode = stack.back();
            stack.pop_back();
            visit(pNode);
            pNode = bReverse ? pNode->m_pLeft : pNode->m_pRight;
        }
    }

    // Works on the state the previous insert left: the mean of depth samples since the last rebuild, each
    // measured against a perfect tree of the same number of elements.
    bool NeedsRebalance()
    {
        if (m_nLastDepth < 1 || m_nItems < 8)
            return false;
        m_nSamples++;
        m_dEfficiency = 100.0 * std::log2(static_cast<double>(m_nItems)) / m_nLastDepth;
        m_dEfficiencySum += m_dEfficiency;
        m_dEfficiencyMean = m_dEfficiencySum / m_nSamples;
        return m_dEfficiencyMean < 85.0;
    }

    // BuildBalanced sets both child links of every node, so the links need no clearing first.
    void Rebalance()
    {
        AbsorbFresh();
        m_pRoot = BuildBalanced(m_Balanced, 0, static_cast<int32_t>(m_Balanced.size()) - 1, nullptr);
        ResetAfterRebuild();
    }

    // Brings m_Balanced to all nodes in ascending order without walking the whole tree: input that arrives
    // sorted rebuilds every few inserts, and a walk chases a pointer per node, one cache miss after the other.
    // Since the last rebuild the tree is the balanced tree over m_Balanced with the fresh nodes hanging from its
    // empty child slots in small subtrees. Each such subtree fills the gap beside its old parent, whose place
    // follows from the turns of the path down to it, replayed on the index ranges that BuildBalanced used. The
    // merge runs from the back, so only the nodes behind the first gap move.
    void AbsorbFresh()
    {
        if (m_Balanced.empty()) {
            GetNodes(m_Balanced);
            return;
        }
        std::vector<Node *> fresh(m_Fresh);
        std::sort(fresh.begin(), fresh.end());
        std::vector<std::pair<size_t, Node *>> gaps; // (nodes of m_Balanced before the subtree, its root)
        for (Node *pNode : m_Fresh)
            if (!std::binary_search(fresh.begin(), fresh.end(), pNode->m_pParent))
                gaps.emplace_back(GapOf(pNode), pNode);
        std::sort(gaps.begin(), gaps.end());

        std::vector<Node *> added;  // the subtrees' nodes, gap after gap, each in ascending order
        std::vector<size_t> ends;   // where each subtree's nodes end in added
        for (auto &gap : gaps) {
            WalkFrom(gap.second, false, [&added](Node *pNode) { added.push_back(pNode); });
            ends.push_back(added.size());
        }
        size_t nOld = m_Balanced.size();
        m_Balanced.resize(nOld + added.size());
        auto at = [](std::vector<Node *> &nodes, size_t n) { return nodes.begin() + static_cast<std::ptrdiff_t>(n); };
        size_t nSrcEnd = nOld, nDst = m_Balanced.size();
        for (size_t g = gaps.size(); g-- > 0;) {
            size_t nGap = gaps[g].first, nBegin = g ? ends[g - 1] : 0;
            std::move_backward(at(m_Balanced, nGap), at(m_Balanced, nSrcEnd), at(m_Balanced, nDst));
            nDst -= nSrcEnd - nGap;
            nSrcEnd = nGap;
            std::copy_backward(at(added, nBegin), at(added, ends[g]), at(m_Balanced, nDst));
            nDst -= ends[g] - nBegin;
        }
    }

    // How many nodes of m_Balanced come before a fresh subtree whose parent is an old node. The path from the
    // root down to that parent runs through old nodes only, so it is at most as long as the balanced tree is deep.
    size_t GapOf(Node *pRoot) const
    {
        uint64_t nTurns = 0; // bit i: the path went right i steps above pRoot
        int nSteps = 0;
        Node *pChild = pRoot;
        for (Node *pNode = pRoot->m_pParent; pNode; pChild = pNode, pNode = pNode->m_pParent, nSteps++)
            if (pNode->m_pRight == pChild)
                nTurns |= uint64_t{1} << nSteps;
        int32_t lo = 0, hi = static_cast<int32_t>(m_Balanced.size()) - 1;
        for (int i = nSteps - 1; i >= 1; i--) {
            int32_t mid = (lo + hi) / 2;
            if (nTurns >> i & 1)
                lo = mid + 1;
            else
                hi = mid - 1;
        }
        int32_t nParent = (lo + hi) / 2;
        return static_cast<size_t>((nTurns & 1) ? nParent + 1 : nParent);
    }

    // Order and node contents stay as they are, so nodes handed out earlier remain valid.
    static Node *BuildBalanced(const std::vector<Node *> &nodes, int32_t lo, int32_t hi, Node *pParent)
    {
        if (lo > hi)
            return nullptr;
        int32_t mid = (lo + hi) / 2;
        Node *pNode = nodes[static_cast<size_t>(mid)];
        pNode->m_pParent = pParent;
        pNode->m_pLeft = BuildBalanced(nodes, lo, mid - 1, pNode);
        pNode->m_pRight = BuildBalanced(nodes, mid + 1, hi, pNode);
        return pNode;
    }

    void ResetAfterRebuild()
    {
        m_Fresh.clear();
        m_nRebuilds++;
        m_dEfficiency = m_dEfficiencySum = m_dEfficiencyMean = 100.0;
        m_nSamples = 1;
    }

    Node *m_pRoot = nullptr;
    int32_t m_nDistinct = 0;
    int32_t m_nItems = 0;
    int32_t m_nComparisons = 0;
    // Answers FindNode without a comparison. Hashed rather than ordered: nothing walks it in order, and a lookup
    // in an ordered map of a large tree is a chain of cache misses on every Add.
    std::unordered_map<T, Node *> m_ItemNodes;
    int32_t m_nLastDepth = 0;
    int32_t m_nRebuilds = 0;
    double m_dEfficiency = 0.0;
    int32_t m_nSamples = 0;
    double m_dEfficiencySum = 0.0;
    double m_dEfficiencyMean = 0.0;
    std::vector<Node *> m_Balanced; // the nodes in ascending order as of the last rebuild
    std::vector<Node *> m_Fresh;    // nodes made since the last rebuild, in order of creation
};
