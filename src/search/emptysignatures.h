// CEmptySignatures: for every item of a search, the set of compared properties in which its value is empty (its
// signature). Stores hold few such sets (most items are empty nowhere, a few miss one or two values), so each
// distinct set is kept once and an item carries only its number; "is k empty in p" is then a bit test, and the
// items empty in all of a given set of properties are found by walking the few signatures rather than the store.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "search/searchitem.h"

class CEmptySignatures {
public:
    using Bits = std::vector<uint64_t>; // bit p set: empty in property p

    // Forgets every item; signatures from now on are over nProps properties.
    void Reset(size_t nProps)
    {
        m_nWords = (nProps + 63) / 64;
        m_Words.clear();
        m_Index.clear();
        m_Members.clear();
        m_nItems = 0;
        Intern(NewBits()); // number 0: empty nowhere
    }

    // A set of properties with none in it, to be filled with Set.
    Bits NewBits() const { return Bits(m_nWords, 0); }
    static void Set(Bits &bits, size_t nProp) { bits[nProp / 64] |= uint64_t{1} << (nProp % 64); }

    // Files an item that is in none yet, as empty in exactly the properties of bits.
    void Add(SearchItem *pItem, const Bits &bits)
    {
        uint32_t nSignature = Intern(bits);
        pItem->nEmptySignature = nSignature;
        if (nSignature != 0)
            m_Members[nSignature].push_back(pItem);
        m_nItems++;
    }

    // Takes an item out; one that was never filed is left alone.
    void Remove(SearchItem *pItem)
    {
        uint32_t nSignature = pItem->nEmptySignature;
        if (nSignature == SearchItem::kNoSignature)
            return;
        pItem->nEmptySignature = SearchItem::kNoSignature;
        m_nItems--;
        if (nSignature == 0)
            return;
        std::vector<SearchItem *> &members = m_Members[nSignature];
        for (size_t i = members.size(); i-- > 0;) {
            if (members[i] == pItem) {
                members.erase(members.begin() + static_cast<std::ptrdiff_t>(i));
                break;
            }
        }
    }

    // False for an item that isn't filed.
    bool IsEmpty(const SearchItem *pItem, size_t nProp) const
    {
        uint32_t nSignature = pItem->nEmptySignature;
        return nSignature != SearchItem::kNoSignature && HasBit(nSignature, nProp);
    }

    // Whether signature nSignature holds every property of bits.
    bool Covers(uint32_t nSignature, const Bits &bits) const
    {
        const uint64_t *pWords = &m_Words[nSignature * m_nWords];
        for (size_t w = 0; w < m_nWords; w++)
            if ((pWords[w] & bits[w]) != bits[w])
                return false;
        return true;
    }

    bool HasBit(uint32_t nSignature, size_t nProp) const
    {
        return (m_Words[nSignature * m_nWords + nProp / 64] >> (nProp % 64)) & 1;
    }

    uint32_t SignatureCount() const { return static_cast<uint32_t>(m_Members.size()); }
    // The items of a signature other than 0, in no particular order; the items empty nowhere aren't listed.
    const std::vector<SearchItem *> &Members(uint32_t nSignature) const { return m_Members[nSignature]; }
    size_t ItemCount() const { return m_nItems; } // items filed now

    // How many items are empty in the property now.
    size_t EmptyCount(size_t nProp) const
    {
        size_t nCount = 0;
        for (uint32_t s = 1; s < SignatureCount(); s++)
            if (HasBit(s, nProp))
                nCount += m_Members[s].size();
        return nCount;
    }

private:
    uint32_t Intern(const Bits &bits)
    {
        auto it = m_Index.find(bits);
        if (it != m_Index.end())
            return it->second;
        uint32_t nSignature = SignatureCount();
        m_Index.emplace(bits, nSignature);
        m_Words.insert(m_Words.end(), bits.begin(), bits.end());
        m_Members.emplace_back();
        return nSignature;
    }

    size_t m_nWords = 0;
    std::vector<uint64_t> m_Words;         // m_nWords per signature, by number
    std::map<Bits, uint32_t> m_Index;      // each distinct signature's number
    std::vector<std::vector<SearchItem *>> m_Members;
    size_t m_nItems = 0;
};
