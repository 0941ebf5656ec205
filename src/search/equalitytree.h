// CEqualityTree: an ordered index under a caller's three-way comparator in which elements that compare equal
// share one node. It is a plain binary search tree that rebuilds itself perfectly balanced when the running mean
// of its insert depths drifts too far from log2 of its size; a rebuild calls no comparator, which matters because
// a comparison may cost a store access.
//
// Elements are opaque pointer-sized words (a pointer type or an integer); the tree never owns them. Only the
// comparator gives them meaning: negative sends the new element left, positive right, 0 means equal. As a map key
// an element is ordered by its numeric value. KeyOf, if given, numbers the elements densely (see
// equalitynodemap.h) so that FindNode needs no hashing.
//
// Since the last rebuild the tree is the perfectly balanced tree over the sorted array m_Balanced, whose links
// follow from the indexes alone (the node at mid = (lo + hi) / 2 of a range has the mids of the two halves as its
// children), with the nodes made since hanging in small linked subtrees from its empty child slots. So a rebuild
// only merges the new nodes into the array; nothing else is written. The node links of the balanced part are
// written out only when someone asks for Root().
//
// The array holds each node's element 0, the one every comparison is made against, rather than the node: a probe
// of a large tree misses the cache at every level, and this saves the hop through the node. The node itself is
// looked up by that element only where a descent ends.
#pragma once

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "search/equalityitems.h"
#include "search/equalitynodemap.h"
#include "search/equalitynodepool.h"

// One set of equal elements. Element 0 stands for the node in every comparison.
template <typename T> class CEqualityNode {
public:
    explicit CEqualityNode(T first) : m_Items(first) {}
    CEqualityNode(const CEqualityNode &) = delete;
    CEqualityNode &operator=(const CEqualityNode &) = delete;

    // The links are current once CEqualityTree::Root() has been asked; until then only those of the nodes made
    // since the last rebuild are. There is no parent link: nothing walks upward.
    CEqualityNode *m_pLeft = nullptr;  // what compared negative
    CEqualityNode *m_pRight = nullptr; // what compared positive
    CEqualItems<T> m_Items;            // the equal elements in order of arrival; never empty inside a tree
};

template <typename T, typename KeyOf = void> class CEqualityTree {
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
    ~CEqualityTree()
    {
        std::vector<Node *> nodes;
        GetNodes(nodes);
        for (Node *pNode : nodes)
            std::destroy_at(pNode); // the pool frees their room
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

        uint32_t nNode = Descend(fnCompare, element, pbEqual, pContext);
        if (nNode != kNoNode) {
            m_nItems++;
            if (!*pbEqual)
                m_nDistinct++;
            m_ItemNodes.Set(element, nNode);
        }
        m_nComparisons += m_nLastDepth;
        return nNode == kNoNode ? nullptr : m_Nodes.At(nNode);
    }

    // The element's node, or null; no comparator runs.
    Node *FindNode(T element) const
    {
        uint32_t nNode = m_ItemNodes.Find(element);
        return nNode == kNoNode ? nullptr : m_Nodes.At(nNode);
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
        uint32_t nNode = m_ItemNodes.Find(element);
        if (nNode == kNoNode)
            return;
        Node *pNode = m_Nodes.At(nNode);
        if (pNode->m_Items.size() == 1) {
            std::vector<Node *> nodes;
            GetNodes(nodes);
            ClearLinks(nodes);
            m_ItemNodes.Erase(element);
            nodes.erase(std::find(nodes.begin(), nodes.end(), pNode));
            m_Nodes.Destroy(nNode);
            m_Balanced.clear();
            for (Node *pLeft : nodes)
                m_Balanced.push_back(pLeft->m_Items[0]);
            m_Gaps.clear();
            m_pRoot = nullptr;
            m_bLinked = false;
            ResetAfterRebuild();
            return;
        }
        bool bFirst = pNode->m_Items[0] == element;
        pNode->m_Items.erase(element);
        m_ItemNodes.Erase(element);
        // The node now stands in comparisons by its next element; a node made since the last rebuild isn't in
        // the array.
        if (bFirst) {
            auto it = std::find(m_Balanced.begin(), m_Balanced.end(), element);
            if (it != m_Balanced.end())
                *it = pNode->m_Items[0];
        }
    }

    // The root, with the links of every node brought up to date.
    Node *Root() const
    {
        if (m_Balanced.empty())
            return m_pRoot;
        m_bLinked = true;
        return Link(0, static_cast<int32_t>(m_Balanced.size()) - 1);
    }
    int32_t Distinct() const { return m_nDistinct; }    // inserts that found no equal element
    int32_t ItemCount() const { return m_nItems; }      // successful inserts; removals don't lower it
    int32_t Comparisons() const { return m_nComparisons; } // comparator calls over all inserts
    int32_t LastDepth() const { return m_nLastDepth; }  // comparator calls of the latest insert
    int32_t Rebuilds() const { return m_nRebuilds; }
    double Efficiency() const { return m_dEfficiency; }
    int32_t Samples() const { return m_nSamples; }
    double EfficiencyMean() const { return m_dEfficiencyMean; }
    size_t Size() const { return m_ItemNodes.Size(); } // elements in the tree now

private:
    using NodeMap = std::conditional_t<std::is_void_v<KeyOf>, CHashNodeMap<T>, CDenseNodeMap<T, KeyOf>>;

    // A subtree of nodes made since the last rebuild, hanging from an empty child slot of the balanced part: the
    // slot of pParent on the side bLeft tells, or m_pRoot before the first rebuild (pParent null).
    struct Gap {
        Node *pParent;
        uint32_t nAt; // how many nodes of m_Balanced come before it
        bool bLeft;
        bool operator<(const Gap &other) const { return nAt < other.nAt; }
    };

    Node *&GapRoot(const Gap &gap)
    {
        if (!gap.pParent)
            return m_pRoot;
        return gap.bLeft ? gap.pParent->m_pLeft : gap.pParent->m_pRight;
    }

    // Down the balanced part by index ranges, then down the links of the subtree hanging where the ranges end.
    // Returns the number of the element's node, kNoNode if the comparator aborted.
    uint32_t Descend(Comparator fnCompare, T element, bool *pbEqual, void *pContext)
    {
        Gap gap{nullptr, 0, false};
        int32_t nResult = 0;
        if (!m_Balanced.empty()) {
            int32_t lo = 0, hi = static_cast<int32_t>(m_Balanced.size()) - 1;
            for (;;) {
                int32_t mid = (lo + hi) / 2;
                T first = m_Balanced[static_cast<size_t>(mid)];
                PrefetchBelow(lo, mid, hi);
                if (!Compare(fnCompare, element, first, pbEqual, pContext, &nResult))
                    return kNoNode;
                if (nResult == 0) {
                    uint32_t nNode = m_ItemNodes.Find(first);
                    m_Nodes.At(nNode)->m_Items.push_back(element);
                    return nNode;
                }
                if (nResult < 0 && lo < mid) {
                    hi = mid - 1;
                } else if (nResult > 0 && mid < hi) {
                    lo = mid + 1;
                } else {
                    gap = Gap{BalancedNode(first), static_cast<uint32_t>(nResult < 0 ? mid : mid + 1), nResult < 0};
                    break;
                }
            }
        }
        uint32_t nNew = kNoNode;
        Node *&pGapRoot = GapRoot(gap);
        if (!pGapRoot) {
            pGapRoot = m_Nodes.Make(&nNew, element);
            m_Gaps.push_back(gap);
            return nNew;
        }
        for (Node *pNode = pGapRoot;;) {
            if (!Compare(fnCompare, element, pNode->m_Items[0], pbEqual, pContext, &nResult))
                return kNoNode;
            if (nResult == 0) {
                pNode->m_Items.push_back(element);
                return m_ItemNodes.Find(pNode->m_Items[0]);
            }
            Node *&pChild = nResult < 0 ? pNode->m_pLeft : pNode->m_pRight;
            if (!pChild) {
                pChild = m_Nodes.Make(&nNew, element);
                return nNew;
            }
            pNode = pChild;
        }
    }

    // One comparator call against a node's element 0; false if the comparator aborted.
    bool Compare(Comparator fnCompare, T element, T first, bool *pbEqual, void *pContext, int32_t *pnResult)
    {
        bool bAbort = false;
        *pnResult = fnCompare(element, first, &bAbort, pContext);
        *pbEqual = *pnResult == 0;
        m_nLastDepth++;
        return !bAbort;
    }

    // The node an element of m_Balanced stands for.
    Node *BalancedNode(T first) const
    {
        Node *pNode = FindNode(first);
        assert(pNode);
        return pNode;
    }

    // While the comparator works on the probe at mid of [lo, hi], asks for what the next probes will read: the
    // elements of both children (a comparator of pointers reads what they point to) and the array entries of
    // the four grandchildren, each on a cache line of its own once the ranges are wide. Only a hint; nothing
    // is read that the descent wouldn't read anyway, and nothing is compared.
    void PrefetchBelow(int32_t lo, int32_t mid, int32_t hi) const
    {
        auto child = [this](int32_t a, int32_t b) {
            int32_t c = (a + b) / 2;
            if constexpr (std::is_pointer_v<T>)
                __builtin_prefetch(static_cast<const void *>(m_Balanced[static_cast<size_t>(c)]));
            if (a < c)
                __builtin_prefetch(&m_Balanced[static_cast<size_t>((a + c - 1) / 2)]);
            if (c < b)
                __builtin_prefetch(&m_Balanced[static_cast<size_t>((c + 1 + b) / 2)]);
        };
        if (lo < mid)
            child(lo, mid - 1);
        if (mid < hi)
            child(mid + 1, hi);
    }

    // Writes the links of the balanced part over [lo, hi]; the subtrees hanging from its empty slots keep theirs.
    Node *Link(int32_t lo, int32_t hi) const
    {
        int32_t mid = (lo + hi) / 2;
        Node *pNode = BalancedNode(m_Balanced[static_cast<size_t>(mid)]);
        if (lo < mid)
            pNode->m_pLeft = Link(lo, mid - 1);
        if (mid < hi)
            pNode->m_pRight = Link(mid + 1, hi);
        return pNode;
    }

    static void ClearLinks(const std::vector<Node *> &nodes)
    {
        for (Node *pNode : nodes)
            pNode->m_pLeft = pNode->m_pRight = nullptr;
    }

    void ClearBalancedLinks() const
    {
        for (T first : m_Balanced) {
            Node *pNode = BalancedNode(first);
            pNode->m_pLeft = pNode->m_pRight = nullptr;
        }
    }

    // In-order walk of the balanced part by index ranges, and of the hanging subtrees by their links.
    template <typename Visit> void Walk(bool bReverse, Visit visit) const
    {
        if (m_Balanced.empty())
            WalkFrom(m_pRoot, bReverse, visit);
        else
            WalkRange(0, static_cast<int32_t>(m_Balanced.size()) - 1, bReverse, visit);
    }

    template <typename Visit> void WalkRange(int32_t lo, int32_t hi, bool bReverse, Visit &visit) const
    {
        int32_t mid = (lo + hi) / 2;
        Node *pNode = BalancedNode(m_Balanced[static_cast<size_t>(mid)]);
        auto side = [&](bool bLeft) {
            if (bLeft ? lo < mid : mid < hi)
                WalkRange(bLeft ? lo : mid + 1, bLeft ? mid - 1 : hi, bReverse, visit);
            else
                WalkFrom(bLeft ? pNode->m_pLeft : pNode->m_pRight, bReverse, visit);
        };
        side(!bReverse);
        visit(pNode);
        side(bReverse);
    }

    // Without recursion: before the first rebuild a tree fed sorted input is a list.
    template <typename Visit> static void WalkFrom(Node *pNode, bool bReverse, Visit &visit)
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

    // Merges the hanging subtrees into m_Balanced, gap by gap, from the back, so only the nodes behind the first
    // gap move; input that arrives sorted rebuilds every few inserts and fills gaps near the end. The links that
    // described the hanging subtrees are cleared, since the balanced part reads a link only at an empty slot.
    void Rebalance()
    {
        std::sort(m_Gaps.begin(), m_Gaps.end());
        std::vector<T> added;     // the subtrees' nodes by element 0, gap after gap, each in ascending order
        std::vector<size_t> ends; // where each subtree's nodes end in added
        std::vector<Node *> nodes;
        auto collect = [&nodes](Node *pNode) { nodes.push_back(pNode); };
        for (const Gap &gap : m_Gaps) {
            Node *&pGapRoot = GapRoot(gap);
            WalkFrom(pGapRoot, false, collect);
            ends.push_back(nodes.size());
            pGapRoot = nullptr;
        }
        // After the gaps' roots are read: the balanced part's links, once written, cover its empty slots too.
        if (m_bLinked)
            ClearBalancedLinks();
        m_bLinked = false;
        ClearLinks(nodes);
        for (Node *pNode : nodes)
            added.push_back(pNode->m_Items[0]);

        size_t nOld = m_Balanced.size();
        m_Balanced.resize(nOld + added.size());
        auto at = [](std::vector<T> &elements, size_t n) { return elements.begin() + static_cast<std::ptrdiff_t>(n); };
        size_t nSrcEnd = nOld, nDst = m_Balanced.size();
        for (size_t g = m_Gaps.size(); g-- > 0;) {
            size_t nGap = m_Gaps[g].nAt, nBegin = g ? ends[g - 1] : 0;
            std::move_backward(at(m_Balanced, nGap), at(m_Balanced, nSrcEnd), at(m_Balanced, nDst));
            nDst -= nSrcEnd - nGap;
            nSrcEnd = nGap;
            std::copy_backward(at(added, nBegin), at(added, ends[g]), at(m_Balanced, nDst));
            nDst -= ends[g] - nBegin;
        }
        m_Gaps.clear();
        m_pRoot = nullptr;
        ResetAfterRebuild();
    }

    void ResetAfterRebuild()
    {
        m_nRebuilds++;
        m_dEfficiency = m_dEfficiencySum = m_dEfficiencyMean = 100.0;
        m_nSamples = 1;
    }

    Node *m_pRoot = nullptr; // the linked root while m_Balanced is empty: before the first rebuild
    int32_t m_nDistinct = 0;
    int32_t m_nItems = 0;
    int32_t m_nComparisons = 0;
    NodeMap m_ItemNodes; // answers FindNode without a comparison, by the node's number in m_Nodes
    int32_t m_nLastDepth = 0;
    int32_t m_nRebuilds = 0;
    double m_dEfficiency = 0.0;
    int32_t m_nSamples = 0;
    double m_dEfficiencySum = 0.0;
    double m_dEfficiencyMean = 0.0;
    std::vector<T> m_Balanced;      // element 0 of each node, nodes ascending, as of the last rebuild
    std::vector<Gap> m_Gaps;        // the hanging subtrees, in order of creation
    CNodePool<Node> m_Nodes;        // every node of the tree lives here
    mutable bool m_bLinked = false; // Root() wrote the balanced part's links since the last rebuild
};
