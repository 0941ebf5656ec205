// CDuplicateSearch::Add: reading an item's compared values, filing it in the index of every compared property,
// recording its equal items, and the rollback of a refused item.
#include <algorithm>
#include <functional>

#include "log/log.h"
#include "search/duplicatesearch.h"

namespace {

constexpr const char *kAddLabel = "CDuplicateSearch::Add";
constexpr const char *kCompareLabel = "CDuplicateSearch::fnCompare";
constexpr const char *kCantOpen = "cant open message, see prev errors in log";

// Definitions whose ranking needs numbers read from the store: MostFilled, LargestValues, LargestMessage,
// FieldValue. The others rank by arrival alone.
bool NeedsODProps(int32_t nDefinition)
{
    return nDefinition == 0 || nDefinition == 2 || nDefinition == 4 || nDefinition == 5;
}

void AppendTag(SPropTagArray *pTags, ULONG nTag) { pTags->aulPropTag[pTags->cValues++] = nTag; }

} // namespace

int32_t CDuplicateSearch::Add(const char *szItemID, const char *szFolderID, int32_t *pbHasDuplicates,
                              int32_t nPriority)
{
    SearchItem *pItem = &m_ItemStore.emplace_back();
    pItem->ItemID = m_ItemIDs.Keep(szItemID ? szItemID : "");
    pItem->FolderID = KeepFolderID(szFolderID ? szFolderID : "");
    pItem->nIndex = m_nAdded;
    if (nPriority != 0)
        MakeRank(pItem).nPriority = nPriority;

    HITEM hItem = nullptr;
    if (OpenItem(pItem, &hItem) != S_OK || !hItem) {
        g_Log.Error(kAddLabel, 0, kCantOpen);
        return RefuseItem(pItem, &hItem);
    }

    // The first accepted item fixes the compared properties for the whole search; a refused first item leaves
    // them to be prepared again with the next one.
    if (m_nAdded == 0 && !PrepareSearchProps(hItem))
        return RefuseItem(pItem, &hItem);

    if (!FileItem(pItem, hItem, pItem->ItemID))
        return RefuseItem(pItem, &hItem);

    m_Items.push_back(pItem);
    m_nAdded++;

    std::vector<SearchItem *> equals = FindDuplicates(pItem);
    if (equals.empty()) {
        if (pbHasDuplicates)
            *pbHasDuplicates = 0;
        CloseItem(&hItem);
        return 1;
    }
    if (pbHasDuplicates)
        *pbHasDuplicates = 1;
    for (SearchItem *k : equals) {
        AddEqual(k, pItem);
        AddEqual(pItem, k);
    }

    // Ranking numbers are read only for items that have something to be ranked against, and once for each.
    if (NeedsODProps(m_OD.nDefinition)) {
        CalcODProps(pItem, hItem);
        for (SearchItem *k : equals) {
            if (RankOf(k).nFilledProps == -1)
                CalcODProps(k, nullptr);
        }
    }
    CloseItem(&hItem);
    return 1;
}

// Files pEqual among pItem's equal items, in address order.
void CDuplicateSearch::AddEqual(SearchItem *pItem, SearchItem *pEqual)
{
    EqualItems &equals = MakeRank(pItem).Equals;
    if (equals.empty())
        m_WithEquals.push_back(pItem);
    auto itAt = std::upper_bound(equals.begin(), equals.end(), pEqual, std::less<SearchItem *>());
    equals.insert(static_cast<size_t>(itAt - equals.begin()), pEqual);
}

bool CDuplicateSearch::PrepareSearchProps(HITEM hItem)
{
    for (int32_t i = 0; i < m_nProps; i++) {
        PropDesc &desc = m_pProps[i];
        if (desc.Tag != 0)
            continue;
        ULONG nTag = 0;
        HRESULT hr = m_pCompare->GetIDFromName(hItem, &nTag, desc.GUID, desc.nID, desc.sID, 0);
        if (hr != S_OK) {
            g_Log.Error(kAddLabel, hr,
                        "GetIDFromName failed for Prop: Key=\"%S\", GUID=\"%s\", nID=%d, sID=\"%S\",nType=0x%x\n",
                        desc.Key, desc.GUID, desc.nID, desc.sID, desc.nType);
            continue;
        }
        desc.Tag = nTag;
    }

    m_lpInfoPropTags->cValues = 0;
    m_lpInfoStreamTags->cValues = 0;
    m_lpCmpPropTags->cValues = 0;
    m_lpCmpStreamTags->cValues = 0;
    DestroySearchProps();

    for (int32_t i = 0; i < m_nProps; i++) {
        PropDesc &desc = m_pProps[i];
        bool bStream = desc.nInterface == 1;
        if (!desc.bCompare) {
            AppendTag(bStream ? m_lpInfoStreamTags.get() : m_lpInfoPropTags.get(), desc.Tag);
        } else if (desc.Tag == 0) {
            g_Log.Error(kAddLabel, 0, "remove comparation by prop(key=%S,name=%S) from dublicate search\n",
                        desc.Key, desc.Name);
        } else {
            m_SearchProps.push_back(new SearchProp{{}, &desc});
            AppendTag(bStream ? m_lpCmpStreamTags.get() : m_lpCmpPropTags.get(), desc.Tag);
            g_Log.Info(3, kAddLabel, "Use comparation by prop(name=%S, key=%S)\n", desc.Name, desc.Key);
        }
    }

    if (m_SearchProps.empty()) {
        g_Log.Error(kAddLabel, 0, "Number of props to compare = 0");
        return false;
    }
    m_EmptySignatures.Reset(m_SearchProps.size());
    return true;
}

// Reads the compared plain values into the item and files it in every property's tree, and where it is empty
// among the empty signatures. False if the item must be refused; the trees it entered by then are left to the
// rollback, and it has no signature yet.
bool CDuplicateSearch::FileItem(SearchItem *pItem, HITEM hItem, const char *szItemID)
{
    if (m_lpCmpPropTags->cValues > 0) {
        HRESULT hr = m_pCompare->GetItemProps(hItem, m_lpCmpPropTags.get(), &pItem->cValues, &pItem->lpValues, 0);
        if (hr != S_OK && hr != MAPI_W_ERRORS_RETURNED) {
            g_Log.Error(kAddLabel, hr, "Tessel_GetPropValues(ItemID = %s)\n", szItemID);
            return false;
        }
    }

    CEmptySignatures::Bits empty = m_EmptySignatures.NewBits();
    for (size_t nProp = 0; nProp < m_SearchProps.size(); nProp++) {
        SearchProp *pSearchProp = m_SearchProps[nProp];
        PropDesc *pProp = pSearchProp->pProp;
        SearchContext context{this, pProp, nullptr, hItem};
        bool bEqual = false;
        if (pProp->nInterface == 0) {
            SPropValue *pValue = FindPropValue(pItem->lpValues, pItem->cValues, pProp->Tag, 0);
            if (!pValue) {
                g_Log.Error(kAddLabel, 0, "value for prop(%S) not found\n", pProp->Key);
                return false;
            }
            context.pPropValue = pValue;
            if (m_pCompare->IsEmptyValue(&pValue->Value, pValue->ulPropTag, nullptr))
                CEmptySignatures::Set(empty, nProp);
            else
                pSearchProp->Tree.Insert(fnCompareValue, pItem, &bEqual, &context);
        } else {
            BOOL bEmpty = 0;
            m_pCompare->StreamPropEmpty(hItem, pProp->Tag, &bEmpty, nullptr);
            if (bEmpty)
                CEmptySignatures::Set(empty, nProp);
            else
                pSearchProp->Tree.Insert(fnCompareStream, pItem, &bEqual, &context);
        }
    }
    m_EmptySignatures.Add(pItem, empty);
    return true;
}

int32_t CDuplicateSearch::RefuseItem(SearchItem *pItem, HITEM *phItem)
{
    RemoveItemFromSearch(pItem);
    ReleaseItemValues(m_pCompare, pItem);
    // A refused item has a ranking record only for its priority, made last.
    if (pItem->nRank != SearchItem::kNoRank)
        m_Ranks.pop_back();
    m_ItemStore.pop_back(); // the item being added is the newest record
    if (*phItem)
        CloseItem(phItem);
    return 0;
}

void CDuplicateSearch::DestroySearchProps()
{
    for (SearchProp *pSearchProp : m_SearchProps)
        delete pSearchProp;
    m_SearchProps.clear();
}

int32_t CDuplicateSearch::fnCompareValue(SearchItem *pItem1, SearchItem *pItem2, bool *pbAbort, void *pContext)
{
    auto *pCtx = static_cast<SearchContext *>(pContext);
    if (pCtx->pProp->nInterface != 0) {
        g_Log.Error(kCompareLabel, 0, "nInterface must be 0");
        *pbAbort = true;
        return -1;
    }
    if (!pCtx->pPropValue) {
        g_Log.Error(kCompareLabel, 0, "pContext->pPropValue must be not NULL");
        *pbAbort = true;
        return -1;
    }
    const SPropValue *pValue2 = FindPropValue(pItem2->lpValues, pItem2->cValues, pCtx->pPropValue->ulPropTag, 0);
    if (!pValue2) {
        g_Log.Error(kCompareLabel, 0, "PVal2 == NULL, PropKey=%S, EntryID=%s\n", pCtx->pProp->Key,
                    pItem2->ItemID);
        return 1;
    }
    LONG nResult = -1; // stands when the values can't be compared: they then count as different
    pCtx->pSearch->m_pCompare->CompareValues(pCtx->pPropValue, pValue2, &nResult);
    return nResult;
}

int32_t CDuplicateSearch::fnCompareStream(SearchItem *pItem1, SearchItem *pItem2, bool *pbAbort, void *pContext)
{
    auto *pCtx = static_cast<SearchContext *>(pContext);
    CDuplicateSearch *pSearch = pCtx->pSearch;
    if (pCtx->pProp->nInterface != 1) {
        g_Log.Error(kCompareLabel, 0, "nInterface must be 1");
        *pbAbort = true;
        return -1;
    }
    if (!pCtx->hItem) {
        g_Log.Error(kCompareLabel, 0, "pContext->hItem is NULL!");
        *pbAbort = true;
        return -1;
    }
    // Stream values are never kept: the earlier item is opened again for every comparison.
    HITEM hItem2 = nullptr;
    HRESULT hr = pSearch->OpenItem(pItem2, &hItem2);
    if (hr != S_OK || !hItem2) {
        g_Log.Error(kCompareLabel, hr, kCantOpen);
        *pbAbort = true;
        return 1;
    }
    LONG nResult = -1;
    uint8_t bCmpWritten = 0;
    pSearch->m_pCompare->CompareStreamProp(pCtx->hItem, hItem2, pCtx->pProp->Tag, &nResult, &bCmpWritten);
    if (!bCmpWritten)
        g_Log.Warning(kCompareLabel, 0, "bCmpWritten = false, PropKey=%S, EntryID1=%s, EntryID2=%s\n",
                      pCtx->pProp->Key, pItem1->ItemID, pItem2->ItemID);
    pSearch->CloseItem(&hItem2);
    return nResult;
}
