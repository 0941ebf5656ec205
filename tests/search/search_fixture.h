// What the tests of the duplicate search share: a memory store, a search over it, short ways to add items and to
// read groups and change records, and the check that every handle the search took was given back.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "search/duplicatesearch.h"
#include "support/log_capture.h"
#include "support/memory_store.h"

namespace searchtest {

// Three plain text properties and three text streams.
inline constexpr ULONG kTagP = PROP_TAG(PT_STRING8, 0x6001);
inline constexpr ULONG kTagQ = PROP_TAG(PT_STRING8, 0x6002);
inline constexpr ULONG kTagR = PROP_TAG(PT_STRING8, 0x6003);
inline constexpr ULONG kTagBody = PROP_TAG(PT_STRING8, 0x1000);
inline constexpr ULONG kTagS1 = PROP_TAG(PT_STRING8, 0x6101);
inline constexpr ULONG kTagS2 = PROP_TAG(PT_STRING8, 0x6102);
inline constexpr ULONG kTagS3 = PROP_TAG(PT_STRING8, 0x6103);
inline constexpr const char *kFolder = "F";

inline PropDesc Desc(ULONG nTag, const char16_t *pszKey, uint32_t nInterface = 0, int32_t bCompare = 1)
{
    PropDesc desc{};
    desc.Key = pszKey;
    desc.Name = pszKey;
    desc.Tag = nTag;
    desc.nInterface = nInterface;
    desc.bCompare = bCompare;
    return desc;
}

inline OriginalDefinition Definition(int32_t nDefinition)
{
    OriginalDefinition od{};
    od.nDefinition = nDefinition;
    return od;
}

// "1 A" (original added), "2 A" (original removed), "3 A B 0" (duplicate added at place 0), "4 A B" (removed).
std::vector<std::string> ChangeTexts(const CDuplicateSearch &search);
// Each group as its entries, original first.
std::vector<std::vector<std::string>> GroupTexts(const CDuplicateSearch &search);

class SearchTest : public ::testing::Test {
protected:
    void TearDown() override;

    void CreateSearch(const std::vector<PropDesc> &props, const OriginalDefinition &od = Definition(OD_FIRST_ADDED));

    // An item of the folder kFolder with text values under p, q (and r); an empty text means no value.
    testsupport::CMemoryStore::ItemBuilder Item(const std::string &szEntry, const std::string &p = "",
                                                const std::string &q = "", const std::string &r = "");
    // Adds the item to the search; the result of Add, with *pbHas the duplicate flag (-1 if not written).
    int32_t Add(const std::string &szEntry, int32_t nPriority = 0, int32_t *pbHas = nullptr);
    // Adds and returns the duplicate flag, -1 if the item was refused.
    int32_t AddHas(const std::string &szEntry, int32_t nPriority = 0);

    SearchItem *Find(const std::string &szEntry) const; // the accepted item with this entry, or null
    const ItemRank &Rank(const std::string &szEntry) const; // the ranking numbers of an accepted item
    std::vector<std::string> EqualsOf(const std::string &szEntry) const;

    testsupport::CMemoryStore m_store;
    std::unique_ptr<CDuplicateSearch> m_pSearch;
};

// A memory store whose reply to call number m_nShortCall of GetItemProps lacks its last value: a search then
// refuses the item after filing it under the properties before.
class CShortReplyStore : public testsupport::CMemoryStore {
public:
    HRESULT GetItemProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppProps,
                         BOOL bUnicode) override
    {
        HRESULT hr = CMemoryStore::GetItemProps(hItem, lpTags, pcValues, ppProps, bUnicode);
        if (++m_nCalls == m_nShortCall && *pcValues > 0)
            --*pcValues;
        return hr;
    }
    int m_nCalls = 0;
    int m_nShortCall = 0;
};

// The two properties p and q, both compared.
class TwoPropSearchTest : public SearchTest {
protected:
    void SetUp() override { CreateSearch({Desc(kTagP, u"p"), Desc(kTagQ, u"q")}); }
};

} // namespace searchtest
