// Where the equality tree looks up an element's node without a comparison. The general map hashes the element;
// elements that carry a small dense number of their own (the search's items are numbered by arrival) are looked
// up by that number in a paged table, which costs one pointer per number and no hashing.
#pragma once

#include <cstddef>
#include <memory>
#include <unordered_map>
#include <vector>

template <typename T, typename Node> class CHashNodeMap {
public:
    Node *Find(T element) const
    {
        auto it = m_Nodes.find(element);
        return it == m_Nodes.end() ? nullptr : it->second;
    }
    void Set(T element, Node *pNode) { m_Nodes[element] = pNode; }
    void Erase(T element) { m_Nodes.erase(element); }
    size_t Size() const { return m_Nodes.size(); }

private:
    std::unordered_map<T, Node *> m_Nodes;
};

// KeyOf()(element) gives the element's number; two elements in the tree at the same time must not share one.
// Pages, rather than one array, so that growing never copies and a tree of few high numbers stays small.
template <typename T, typename Node, typename KeyOf> class CDenseNodeMap {
public:
    Node *Find(T element) const
    {
        size_t nKey = KeyOf()(element);
        size_t nPage = nKey >> kPageBits;
        if (nPage >= m_Pages.size() || !m_Pages[nPage])
            return nullptr;
        return m_Pages[nPage][nKey & kPageMask];
    }

    void Set(T element, Node *pNode)
    {
        size_t nKey = KeyOf()(element);
        size_t nPage = nKey >> kPageBits;
        if (nPage >= m_Pages.size())
            m_Pages.resize(nPage + 1);
        if (!m_Pages[nPage])
            m_Pages[nPage] = std::make_unique<Node *[]>(kPageSize);
        Node *&pSlot = m_Pages[nPage][nKey & kPageMask];
        if (!pSlot)
            m_nSize++;
        pSlot = pNode;
    }

    void Erase(T element)
    {
        size_t nKey = KeyOf()(element);
        size_t nPage = nKey >> kPageBits;
        if (nPage >= m_Pages.size() || !m_Pages[nPage])
            return;
        Node *&pSlot = m_Pages[nPage][nKey & kPageMask];
        if (pSlot)
            m_nSize--;
        pSlot = nullptr;
    }

    size_t Size() const { return m_nSize; }

private:
    static constexpr size_t kPageBits = 10;
    static constexpr size_t kPageSize = size_t{1} << kPageBits;
    static constexpr size_t kPageMask = kPageSize - 1;

    std::vector<std::unique_ptr<Node *[]>> m_Pages; // a page is made on its first number
    size_t m_nSize = 0;
};
