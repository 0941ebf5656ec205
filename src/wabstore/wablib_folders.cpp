// CWABLib: the list of containers, which the layers above call folders.
#include <cstdlib>

#include "log/log.h"
#include "oestore/hex.h"
#include "wabstore/wablib.h"
#include "wabstore/wabtext.h"

namespace {

// What GetFolders takes of one row of the root table.
struct ContainerRow {
    const SBinary *pEntryId = nullptr;
    const char *pszName = nullptr;
    ULONG ulFlags = 0;
};

ContainerRow ReadContainerRow(const SRow &row) {
    ContainerRow result;
    for (ULONG i = 0; row.lpProps && i < row.cValues; ++i) {
        const SPropValue &prop = row.lpProps[i];
        if (PROP_TYPE(prop.ulPropTag) == PT_ERROR) continue;
        if (prop.ulPropTag == PR_ENTRYID)
            result.pEntryId = &prop.Value.bin;
        else if (prop.ulPropTag == PR_DISPLAY_NAME)
            result.pszName = prop.Value.lpszA;
        else if (prop.ulPropTag == PR_CONTAINER_FLAGS)
            result.ulFlags = prop.Value.ul;
    }
    return result;
}

} // namespace

HRESULT CWABLib::GetFolders(WABFolders **ppFolders, bool bLocalOnly) {
    const char *const kszLabel = "CWABLib::GetFolders";
    g_Log.Assert(ppFolders != nullptr, kszLabel, 0);
    if (!ppFolders) return -1;
    *ppFolders = nullptr;
    if (!_CheckConnected(kszLabel)) return -1;

    ULONG ulType = 0;
    IUnknown *pUnknown = nullptr;
    HRESULT hr = m_lpAddrBook->OpenEntry(0, nullptr, nullptr, MAPI_BEST_ACCESS, &ulType, &pUnknown);
    if (FAILED(hr) || !pUnknown) {
        if (SUCCEEDED(hr)) hr = MAPI_E_CALL_FAILED;
        g_Log.Error(kszLabel, hr, "Open Root Container");
        return hr;
    }
    g_Log.Assert(ulType == MAPI_ABCONT, kszLabel, 1);
    if (ulType != MAPI_ABCONT) { // nothing to list in an object that is no container
        pUnknown->Release();
        return -1;
    }
    IABContainer *pRoot = static_cast<IABContainer *>(pUnknown);

    IMAPITable *pTable = nullptr;
    hr = pRoot->GetContentsTable(bLocalOnly ? WAB_LOCAL_CONTAINERS : 0, &pTable);
    if (FAILED(hr) || !pTable) {
        if (SUCCEEDED(hr)) hr = MAPI_E_CALL_FAILED;
        g_Log.Error(kszLabel, hr, "Open Root Container");
        pRoot->Release();
        return hr;
    }
    ULONG cRows = 0;
    hr = pTable->GetRowCount(0, &cRows);
    if (FAILED(hr)) {
        g_Log.Error(kszLabel, hr, "RootTable->GetRowCount");
        pTable->Release();
        pRoot->Release();
        return hr;
    }

    WABFolders *pFolders = static_cast<WABFolders *>(std::calloc(1, sizeof(WABFolders)));
    if (!pFolders) {
        pTable->Release();
        pRoot->Release();
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    *ppFolders = pFolders;

    SRowSet *pRows = nullptr;
    if (cRows > 0) hr = pTable->QueryRows(static_cast<LONG>(cRows), 0, &pRows);
    if (SUCCEEDED(hr) && pRows && pRows->cRows > 0) {
        pFolders->pFolders = static_cast<WABFolder *>(std::calloc(pRows->cRows, sizeof(WABFolder)));
        if (!pFolders->pFolders) hr = MAPI_E_NOT_ENOUGH_MEMORY;
        for (ULONG i = 0; i < pRows->cRows; ++i) {
            ContainerRow row = ReadContainerRow(pRows->aRow[i]);
            if (pFolders->pFolders && row.pEntryId && row.pEntryId->lpb && row.pEntryId->cb > 0) {
                WABFolder &folder = pFolders->pFolders[pFolders->cFolders++];
                folder.cbSize = sizeof(WABFolder);
                folder.szEntry = Bin2Hex(row.pEntryId->lpb, row.pEntryId->cb);
                folder.szName = WABCopyText(row.pszName);
                folder.ulContainerFlags = row.ulFlags;
                folder.nItems = _GetItemsCount(row.pEntryId->lpb, row.pEntryId->cb);
            }
            if (pRows->aRow[i].lpProps) m_lpWABObject->FreeBuffer(pRows->aRow[i].lpProps);
        }
    }

    if (pRows) m_lpWABObject->FreeBuffer(pRows);
    pTable->Release();
    pRoot->Release();
    return hr;
}

LONG CWABLib::_GetItemsCount(const BYTE *lpEntry, ULONG cbEntry) {
    const char *const kszLabel = "CWABLib::_GetItemsCount";
    if (!_CheckConnected(kszLabel)) return -1;

    ULONG ulType = 0;
    IUnknown *pUnknown = nullptr;
    HRESULT hr = m_lpAddrBook->OpenEntry(cbEntry, reinterpret_cast<LPENTRYID>(const_cast<BYTE *>(lpEntry)), nullptr,
                                         MAPI_BEST_ACCESS, &ulType, &pUnknown);
    if (FAILED(hr) || !pUnknown) {
        g_Log.Error(kszLabel, SUCCEEDED(hr) ? MAPI_E_CALL_FAILED : hr, "AddrBook->OpenEntry");
        return -1;
    }
    if (ulType != MAPI_ABCONT) {
        g_Log.Error(kszLabel, static_cast<int32_t>(ulType), "Object is not ABContainer");
        pUnknown->Release();
        return -1;
    }
    IABContainer *pContainer = static_cast<IABContainer *>(pUnknown);

    LONG nResult = -1;
    IMAPITable *pTable = nullptr;
    hr = pContainer->GetContentsTable(0, &pTable);
    if (hr == MAPI_E_NOT_FOUND) {
        nResult = 0; // an empty container has no table
    } else if (FAILED(hr) || !pTable) {
        g_Log.Error(kszLabel, SUCCEEDED(hr) ? MAPI_E_CALL_FAILED : hr, "Container->GetContentsTable");
    } else {
        ULONG cRows = 0;
        hr = pTable->GetRowCount(0, &cRows);
        if (FAILED(hr))
            g_Log.Error(kszLabel, hr, "Table->GetRowCount");
        else
            nResult = static_cast<LONG>(cRows);
    }
    if (pTable) pTable->Release();
    pContainer->Release();
    return nResult;
}

void WABFreeFolders(WABFolders *pFolders) {
    if (!pFolders) return;
    for (ULONG i = 0; pFolders->pFolders && i < pFolders->cFolders; ++i) {
        std::free(pFolders->pFolders[i].szEntry);
        std::free(pFolders->pFolders[i].szName);
    }
    std::free(pFolders->pFolders);
    std::free(pFolders);
}
