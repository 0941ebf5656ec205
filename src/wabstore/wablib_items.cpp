// CWABLib: the entries of one container as plain records, through a restricted and sorted contents table, and
// the record of one entry.
#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "oestore/hex.h"
#include "wabstore/wablib.h"
#include "wabstore/wabtext.h"

namespace {

// The columns of a listing, in the order GetItems asks for them.
struct ItemColumns {
    ULONG cValues = 7;
    ULONG aulPropTag[7] = {PR_ENTRYID,
                           PR_OBJECT_TYPE,
                           PR_DISPLAY_NAME,
                           PR_EMAIL_ADDRESS,
                           PR_LAST_MODIFICATION_TIME,
                           PR_BUSINESS_TELEPHONE_NUMBER,
                           PR_HOME_TELEPHONE_NUMBER};
    SPropTagArray *Get() { return reinterpret_cast<SPropTagArray *>(this); }
};

// What GetItem reads of an open entry.
struct ItemProps {
    ULONG cValues = 5;
    ULONG aulPropTag[5] = {PR_DISPLAY_NAME, PR_EMAIL_ADDRESS, PR_LAST_MODIFICATION_TIME, PR_BUSINESS_TELEPHONE_NUMBER,
                           PR_HOME_TELEPHONE_NUMBER};
    SPropTagArray *Get() { return reinterpret_cast<SPropTagArray *>(this); }
};

// Takes a value into its field of the record, by exact tag; errors and other tags are passed over. The id and
// the type go to *ppEntryId and *pnType when given.
void TakeValue(const SPropValue &prop, WABItem *pItem, const SBinary **ppEntryId, ULONG *pnType) {
    switch (prop.ulPropTag) {
    case PR_ENTRYID:
        if (ppEntryId) *ppEntryId = &prop.Value.bin;
        break;
    case PR_OBJECT_TYPE:
        if (pnType) *pnType = prop.Value.ul;
        break;
    case PR_DISPLAY_NAME: pItem->szDisplayName = WABCopyText(prop.Value.lpszA); break;
    case PR_EMAIL_ADDRESS: pItem->szEmailAddress = WABCopyText(prop.Value.lpszA); break;
    case PR_LAST_MODIFICATION_TIME: pItem->ftLastModification = prop.Value.ft; break;
    case PR_BUSINESS_TELEPHONE_NUMBER: pItem->szBusinessPhone = WABCopyText(prop.Value.lpszA); break;
    case PR_HOME_TELEPHONE_NUMBER: pItem->szHomePhone = WABCopyText(prop.Value.lpszA); break;
    default: break;
    }
}

void FreeItemTexts(WABItem *pItem) {
    std::free(pItem->szEntry);
    std::free(pItem->szDisplayName);
    std::free(pItem->szEmailAddress);
    std::free(pItem->szBusinessPhone);
    std::free(pItem->szHomePhone);
}

// Fills *pItem from one row, or leaves it zeroed and gives false for a row that is no listed entry.
bool FillFromRow(const SRow &row, WABItem *pItem) {
    const char *const kszLabel = "CWABLib::GetItemsEx";
    const SBinary *pEntryId = nullptr;
    ULONG nType = 0;
    WABItem item{};
    for (ULONG i = 0; row.lpProps && i < row.cValues; ++i)
        if (PROP_TYPE(row.lpProps[i].ulPropTag) != PT_ERROR) TakeValue(row.lpProps[i], &item, &pEntryId, &nType);
    bool bKeep = false;
    if (!pEntryId || !pEntryId->lpb || pEntryId->cb == 0) {
        // a row without an id cannot be named to anyone: left out without a word
    } else if (nType != MAPI_MAILUSER && nType != MAPI_DISTLIST) {
        g_Log.Error(kszLabel, static_cast<int32_t>(nType), "Skipping item with unknown type");
    } else {
        item.cbSize = sizeof(WABItem);
        item.szEntry = Bin2Hex(pEntryId->lpb, pEntryId->cb);
        item.nObjectType = nType;
        bKeep = item.szEntry != nullptr;
    }
    if (!bKeep) {
        FreeItemTexts(&item);
        return false;
    }
    *pItem = item;
    return true;
}

} // namespace

HRESULT CWABLib::_GetPABId(ULONG *pcbEntry, ENTRYID **ppEntry, const char *pszLabel) {
    *pcbEntry = 0;
    *ppEntry = nullptr;
    HRESULT hr = m_lpAddrBook->GetPAB(pcbEntry, ppEntry);
    if (FAILED(hr)) {
        g_Log.Error(pszLabel, hr, "AddrBook->GetPAB");
        if (*ppEntry) m_lpWABObject->FreeBuffer(*ppEntry);
        *ppEntry = nullptr;
        *pcbEntry = 0;
    }
    return hr;
}

HRESULT CWABLib::GetItems(WABItems **ppItems, const char *szFolderEntry, ULONG nObjectType, bool bProfile,
                          bool bLocal, const FILETIME *pftSince, bool bSort, bool bDescending) {
    g_Log.Assert(nObjectType == 0 || nObjectType == MAPI_MAILUSER || nObjectType == MAPI_DISTLIST,
                 "CWABLib::GetItems", 1);
    ItemColumns columns;

    SPropValue typeValue{};
    typeValue.ulPropTag = PR_OBJECT_TYPE;
    typeValue.Value.ul = nObjectType;
    SPropValue timeValue{};
    timeValue.ulPropTag = PR_LAST_MODIFICATION_TIME;
    if (pftSince) timeValue.Value.ft = *pftSince;

    SRestriction conditions[2]{};
    conditions[0].rt = RES_PROPERTY;
    conditions[0].res.resProperty = SPropertyRestriction{RELOP_EQ, PR_OBJECT_TYPE, &typeValue};
    conditions[1].rt = RES_PROPERTY;
    conditions[1].res.resProperty = SPropertyRestriction{RELOP_GE, PR_LAST_MODIFICATION_TIME, &timeValue};
    SRestriction both{};
    both.rt = RES_AND;
    both.res.resAnd.cRes = 2;
    both.res.resAnd.lpRes = conditions;

    SRestriction *pRestriction = nullptr;
    if (nObjectType != 0 && pftSince) pRestriction = &both;
    else if (nObjectType != 0) pRestriction = &conditions[0];
    else if (pftSince) pRestriction = &conditions[1];

    SSortOrderSet sortOrder{};
    sortOrder.cSorts = 1;
    sortOrder.aSort[0].ulPropTag = PR_LAST_MODIFICATION_TIME;
    sortOrder.aSort[0].ulOrder = bDescending ? TABLE_SORT_DESCEND : TABLE_SORT_ASCEND;

    ULONG ulTableFlags = 0;
    if (bProfile) ulTableFlags = WAB_PROFILE_CONTENTS | (bLocal ? WAB_LOCAL_CONTAINERS : 0);
    return GetItemsEx(ppItems, szFolderEntry, ulTableFlags, columns.Get(), pRestriction,
                      bSort ? &sortOrder : nullptr);
}

HRESULT CWABLib::GetItemsEx(WABItems **ppItems, const char *szFolderEntry, ULONG ulTableFlags,
                            SPropTagArray *lpColumns, SRestriction *lpRestriction, SSortOrderSet *lpSortOrder) {
    const char *const kszLabel = "CWABLib::GetItemsEx";
    g_Log.Assert(ppItems != nullptr, kszLabel, 0);
    if (!ppItems) return -1;
    *ppItems = nullptr;
    if (!_CheckConnected(kszLabel)) return -1;

    ULONG cbContainer = 0;
    BYTE *pbContainer = nullptr;
    if (szFolderEntry && *szFolderEntry && !(ulTableFlags & WAB_PROFILE_CONTENTS)) {
        pbContainer = Hex2Bin(szFolderEntry, &cbContainer);
    } else {
        ENTRYID *pPAB = nullptr;
        HRESULT hr = _GetPABId(&cbContainer, &pPAB, kszLabel);
        if (FAILED(hr)) return hr;
        pbContainer = static_cast<BYTE *>(std::malloc(cbContainer ? cbContainer : 1));
        if (pbContainer && cbContainer) std::memcpy(pbContainer, pPAB, cbContainer);
        m_lpWABObject->FreeBuffer(pPAB);
        if (!pbContainer) return MAPI_E_NOT_ENOUGH_MEMORY;
    }

    ULONG ulType = 0;
    IUnknown *pUnknown = nullptr;
    HRESULT hr = m_lpAddrBook->OpenEntry(cbContainer, reinterpret_cast<LPENTRYID>(pbContainer), nullptr,
                                         MAPI_BEST_ACCESS, &ulType, &pUnknown);
    std::free(pbContainer);
    if (FAILED(hr) || !pUnknown) {
        if (SUCCEEDED(hr)) hr = MAPI_E_CALL_FAILED;
        g_Log.Error(kszLabel, hr, "AddrBook->OpenEntry");
        return hr;
    }
    if (ulType != MAPI_ABCONT) {
        g_Log.Error(kszLabel, static_cast<int32_t>(ulType), "Object is not ABContainer");
        pUnknown->Release();
        return S_OK;
    }
    IABContainer *pContainer = static_cast<IABContainer *>(pUnknown);

    IMAPITable *pTable = nullptr;
    hr = pContainer->GetContentsTable(ulTableFlags, &pTable);
    if (hr != MAPI_E_NOT_FOUND && (FAILED(hr) || !pTable)) {
        if (SUCCEEDED(hr)) hr = MAPI_E_CALL_FAILED;
        g_Log.Error(kszLabel, hr, "Container->GetContentsTable");
        pContainer->Release();
        return hr;
    }

    WABItems *pItems = static_cast<WABItems *>(std::calloc(1, sizeof(WABItems)));
    if (!pItems) {
        if (pTable) pTable->Release();
        pContainer->Release();
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    *ppItems = pItems;
    if (hr == MAPI_E_NOT_FOUND) { // an empty container has no table
        if (pTable) pTable->Release();
        pContainer->Release();
        return S_OK;
    }

    ULONG cRows = 0;
    SRowSet *pRows = nullptr;
    if (FAILED(hr = pTable->SetColumns(lpColumns, 0))) {
        g_Log.Error(kszLabel, hr, "Table->SetColumns");
    } else if (lpRestriction && FAILED(hr = pTable->Restrict(lpRestriction, 0))) {
        g_Log.Error(kszLabel, hr, "lpTable->Restrict");
    } else if (lpSortOrder && FAILED(hr = pTable->SortTable(lpSortOrder, 0))) {
        g_Log.Error(kszLabel, hr, "lpTable->SortTable");
    } else if (FAILED(hr = pTable->GetRowCount(0, &cRows))) {
        g_Log.Error(kszLabel, hr, "Table->GetRowCount");
    } else if (cRows > 0 && FAILED(hr = pTable->QueryRows(static_cast<LONG>(cRows), 0, &pRows))) {
        g_Log.Error(kszLabel, hr, "Table->QueryRows");
    }

    if (pRows && pRows->cRows > 0) {
        pItems->pItems = static_cast<WABItem *>(std::calloc(pRows->cRows, sizeof(WABItem)));
        if (!pItems->pItems) hr = MAPI_E_NOT_ENOUGH_MEMORY;
        for (ULONG i = 0; i < pRows->cRows; ++i) {
            if (pItems->pItems && FillFromRow(pRows->aRow[i], &pItems->pItems[pItems->cItems])) ++pItems->cItems;
            if (pRows->aRow[i].lpProps) m_lpWABObject->FreeBuffer(pRows->aRow[i].lpProps);
        }
    }
    if (pRows) m_lpWABObject->FreeBuffer(pRows);
    pTable->Release();
    pContainer->Release();
    return hr;
}

HRESULT CWABLib::GetItem(WABItem **ppItem, const char *szEntry) {
    const char *const kszLabel = "CWABLib::GetItem";
    g_Log.Assert(ppItem != nullptr && szEntry != nullptr, kszLabel, 0);
    if (!ppItem || !szEntry) return -1;
    *ppItem = nullptr;

    IMAPIProp *pItem = nullptr;
    ULONG nType = 0;
    HRESULT hr = OpenItem(szEntry, &pItem, &nType, false);
    if (FAILED(hr)) {
        g_Log.Error(kszLabel, hr, "OpenItem");
        return hr;
    }
    ItemProps tags;
    ULONG cValues = 0;
    SPropValue *pValues = nullptr;
    hr = GetItemProps(pItem, tags.Get(), &cValues, &pValues, false);
    if (hr != S_OK && hr != MAPI_W_ERRORS_RETURNED) {
        g_Log.Error(kszLabel, hr, "GetItemProps");
    } else {
        WABItem *pRecord = static_cast<WABItem *>(std::calloc(1, sizeof(WABItem)));
        if (!pRecord) {
            hr = MAPI_E_NOT_ENOUGH_MEMORY;
        } else {
            pRecord->cbSize = sizeof(WABItem);
            pRecord->nObjectType = nType;
            pRecord->szEntry = WABCopyText(szEntry);
            for (ULONG i = 0; pValues && i < cValues; ++i)
                TakeValue(pValues[i], pRecord, nullptr, nullptr);
            *ppItem = pRecord;
            hr = S_OK;
        }
    }
    if (pValues) FreeBuffer(pValues);
    pItem->Release();
    return hr;
}

void WABFreeItems(WABItems *pItems) {
    if (!pItems) return;
    for (ULONG i = 0; pItems->pItems && i < pItems->cItems; ++i)
        FreeItemTexts(&pItems->pItems[i]);
    std::free(pItems->pItems);
    std::free(pItems);
}

void WABFreeItem(WABItem *pItem) {
    if (!pItem) return;
    FreeItemTexts(pItem);
    std::free(pItem);
}
