// CUndecidedItems: during one search for an item's equal items, the earlier items that were empty in every
// property where the new item had a value so far, so that they are neither equal nor different yet. The set is
// never written out: membership is a test of the item's empty signature, and its members are the members of the
// signatures that cover all those properties, of which a store has few.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "search/emptysignatures.h"

class CUndecidedItems {
public:
    explicit CUndecidedItems(const CEmptySignatures &signatures)
        : m_Signatures(signatures), m_Props(signatures.NewBits())
    {
    }

    // The items empty in the first property where the new item has a value.
    void Start(size_t nProp)
    {
        CEmptySignatures::Set(m_Props, nProp);
        m_Covering.clear();
        m_nSize = 0;
        for (uint32_t s = 1; s < m_Signatures.SignatureCount(); s++) {
            if (m_Signatures.HasBit(s, nProp) && !m_Signatures.Members(s).empty()) {
                m_Covering.push_back(s);
                m_nSize += m_Signatures.Members(s).size();
            }
        }
    }

    // Keeps those that are empty in this property too.
    void Narrow(size_t nProp)
    {
        CEmptySignatures::Set(m_Props, nProp);
        size_t nKept = 0;
        m_nSize = 0;
        for (uint32_t s : m_Covering) {
            if (m_Signatures.HasBit(s, nProp)) {
                m_Covering[nKept++] = s;
                m_nSize += m_Signatures.Members(s).size();
            }
        }
        m_Covering.resize(nKept);
    }

    bool Contains(const SearchItem *pItem) const
    {
        uint32_t nSignature = pItem->nEmptySignature;
        return nSignature != SearchItem::kNoSignature && m_Signatures.Covers(nSignature, m_Props);
    }
    size_t Size() const { return m_nSize; }
    bool Empty() const { return m_nSize == 0; }

    template <typename Visit> void ForEach(Visit visit) const
    {
        for (uint32_t s : m_Covering)
            for (SearchItem *pItem : m_Signatures.Members(s))
                visit(pItem);
    }

private:
    const CEmptySignatures &m_Signatures;
    CEmptySignatures::Bits m_Props;  // the properties where the new item had a value so far
    std::vector<uint32_t> m_Covering; // the signatures holding all of them that have members
    size_t m_nSize = 0;
};
