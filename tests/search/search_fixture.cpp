#include "search_fixture.h"

#include <algorithm>

namespace searchtest {

std::vector<std::string> ChangeTexts(const CDuplicateSearch &search)
{
    std::vector<std::string> texts;
    for (int32_t i = 0;; i++) {
        int32_t nType = 0, nIndex = 0;
        const char *pszOriginal = nullptr, *pszOriginalFolder = nullptr, *pszDuplicate = nullptr,
                   *pszDuplicateFolder = nullptr;
        if (!search.GetBuildChange(i, &nType, &pszOriginal, &pszOriginalFolder, &pszDuplicate, &pszDuplicateFolder,
                                   &nIndex))
            break;
        std::string text = std::to_string(nType) + " " + (pszOriginal ? pszOriginal : "(null)");
        if (nType == CHANGE_DUPLICATE_ADDED || nType == CHANGE_DUPLICATE_REMOVED)
            text += std::string(" ") + (pszDuplicate ? pszDuplicate : "(null)");
        if (nType == CHANGE_DUPLICATE_ADDED)
            text += " " + std::to_string(nIndex);
        texts.push_back(text);
    }
    return texts;
}

std::vector<std::vector<std::string>> GroupTexts(const CDuplicateSearch &search)
{
    std::vector<std::vector<std::string>> groups;
    for (const auto &group : search.Groups()) {
        groups.emplace_back();
        for (const SearchItem *pItem : group)
            groups.back().push_back(pItem->ItemID);
    }
    return groups;
}

void SearchTest::TearDown()
{
    // Every item the search opened is closed after each call; folders, value arrays and buffers go back when it
    // goes.
    EXPECT_EQ(m_store.ItemsOpen(), 0);
    EXPECT_EQ(m_store.StreamsOpen(), 0);
    EXPECT_EQ(m_store.BuffersOut(), 0);
    m_pSearch.reset();
    EXPECT_EQ(m_store.FoldersOpen(), 0);
    EXPECT_EQ(m_store.PropArraysOut(), 0);
    EXPECT_EQ(m_store.ItemOpens(), m_store.ItemCloses());
    EXPECT_EQ(m_store.BadHandles(), 0);
}

void SearchTest::CreateSearch(const std::vector<PropDesc> &props, const OriginalDefinition &od)
{
    PropList list{static_cast<uint32_t>(props.size()), const_cast<PropDesc *>(props.data())};
    m_pSearch = std::make_unique<CDuplicateSearch>();
    m_pSearch->Create(&m_store, &list, &od);
}

testsupport::CMemoryStore::ItemBuilder SearchTest::Item(const std::string &szEntry, const std::string &p,
                                                        const std::string &q, const std::string &r)
{
    auto builder = m_store.AddItem(kFolder, szEntry);
    if (!p.empty())
        builder.Text(kTagP, p);
    if (!q.empty())
        builder.Text(kTagQ, q);
    if (!r.empty())
        builder.Text(kTagR, r);
    return builder;
}

int32_t SearchTest::Add(const std::string &szEntry, int32_t nPriority, int32_t *pbHas)
{
    if (pbHas)
        *pbHas = -1;
    return m_pSearch->Add(szEntry.c_str(), kFolder, pbHas, nPriority);
}

int32_t SearchTest::AddHas(const std::string &szEntry, int32_t nPriority)
{
    int32_t bHas = -1;
    return Add(szEntry, nPriority, &bHas) ? bHas : -1;
}

const ItemRank &SearchTest::Rank(const std::string &szEntry) const
{
    static const ItemRank none;
    SearchItem *pItem = Find(szEntry);
    if (!pItem) {
        ADD_FAILURE() << "no accepted item " << szEntry;
        return none;
    }
    return m_pSearch->RankOf(pItem);
}

SearchItem *SearchTest::Find(const std::string &szEntry) const
{
    for (SearchItem *pItem : m_pSearch->Items()) {
        if (pItem->ItemID == szEntry)
            return pItem;
    }
    return nullptr;
}

std::vector<std::string> SearchTest::EqualsOf(const std::string &szEntry) const
{
    std::vector<std::string> entries;
    if (const SearchItem *pItem = Find(szEntry)) {
        for (const SearchItem *pEqual : m_pSearch->EqualsOf(pItem))
            entries.push_back(pEqual->ItemID);
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

} // namespace searchtest
