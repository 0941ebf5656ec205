// Where the equality tree looks up an element's node without a comparison: by the node's number in the tree's
// pool (equalitynodepool.h). The general map hashes the element; elements that carry a small dense number of
// their own (the search's items are numbered by arrival) are looked up by that number in a paged table, which
// costs four bytes per number and no hashing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

constexpr uint32_t kNoNode = UINT32_MAX; // what Find answers for an element without a node

template <typename T> class CHashNodeMap {
public:
    uint32_t Find(T element) const
    {
        auto it = m_Nodes.find(element);
        return it == m_Nodes.end() ? kNoNode : it->second;
    }
    void Set(T element, uint32_t nNode) { m_Nodes[element] = nNode; }
    void Erase(T element) { m_Nodes.erase(element); }
    size_t Size() const { return m_Nodes.size(); }

private:
    std::unordered_map<T, uint32_t> m_Nodes;
};

// KeyOf()(element) gives the element's number; two elements in the tree at the same time must not share one.
// Pages, rather than one array, so that growing never copies and a tree of few high numbers stays small. A slot
// holds the node's number plus one, so that a new page, all zero, holds no node.
template <typename T, typename KeyOf> class CDenseNodeMap {
public:
    uint32_t Find(T element) const
    {
        size_t nKey = KeyOf()(element);
        size_t nPage = nKey >> kPageBits;
        if (nPage >= m_Pages.size() || !m_Pages[nPage])
            return kNoNode;
        uint32_t nSlot = m_Pages[nPage][nKey & kPageMask];
        return nSlot == 0 ? kNoNode : nSlot - 1;
    }

    void Set(T element, uint32_t nNode)
    {
        size_t nKey = KeyOf()(element);
        size_t nPage = nKey >> kPageBits;
        if (nPage >= m_Pages.size())
            m_Pages.resize(nPage + 1);
        if (!m_Pages[nPage])
            m_Pages[nPage] = std::make_unique<uint32_t[]>(kPageSize);
        uint32_t &nSlot = m_Pages[nPage][nKey & kPageMask];
        if (nSlot == 0)
            m_nSize++;
        nSlot = nNode + 1;
    }

    void Erase(T element)
    {
        size_t nKey = KeyOf()(element);
        size_t nPage = nKey >> kPageBits;
        if (nPage >= m_Pages.size() || !m_Pages[nPage])
            return;
        uint32_t &nSlot = m_Pages[nPage][nKey & kPageMask];
        if (nSlot != 0)
            m_nSize--;
        nSlot = 0;
    }

    size_t Size() const { return m_nSize; }

private:
    static constexpr size_t kPageBits = 10;
    static constexpr size_t kPageSize = size_t{1} << kPageBits;
    static constexpr size_t kPageMask = kPageSize - 1;

    std::vector<std::unique_ptr<uint32_t[]>> m_Pages; // a page is made on its first number
    size_t m_nSize = 0;
};
