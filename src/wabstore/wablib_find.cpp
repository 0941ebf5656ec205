// CWABLib: where things are: the personal address book, and the container that lists an entry.
#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "oestore/hex.h"
#include "wabstore/wablib.h"

HRESULT CWABLib::_HandOutText(const char *pszText, char **ppszOut, const char *pszLabel, const char *pszError) {
    size_t cb = std::strlen(pszText) + 1;
    void *p = nullptr;
    HRESULT hr = AllocateBuffer(static_cast<ULONG>(cb), &p);
    if (FAILED(hr) || !p) {
        if (SUCCEEDED(hr)) hr = MAPI_E_NOT_ENOUGH_MEMORY;
        g_Log.Error(pszLabel, hr, "%s", pszError);
        return hr;
    }
    std::memcpy(p, pszText, cb);
    *ppszOut = static_cast<char *>(p);
    return hr;
}

HRESULT CWABLib::GetPAB(char **ppszEntry) {
    const char *const kszLabel = "CWABLib::GetPAB";
    g_Log.Assert(ppszEntry != nullptr && Initialized(), kszLabel, 0);
    if (!ppszEntry) return -1;
    *ppszEntry = nullptr;
    if (!_CheckConnected(kszLabel)) return -1;

    ULONG cbPAB = 0;
    ENTRYID *pPAB = nullptr;
    HRESULT hr = _GetPABId(&cbPAB, &pPAB, kszLabel);
    if (FAILED(hr)) return hr;
    char *pszPAB = Bin2Hex(pPAB, cbPAB);
    hr = pszPAB ? _HandOutText(pszPAB, ppszEntry, kszLabel, "AllocateBuffer") : MAPI_E_NOT_ENOUGH_MEMORY;
    m_lpWABObject->FreeBuffer(pPAB);
    std::free(pszPAB);
    return hr;
}

HRESULT CWABLib::FindItemFolder(const char *szEntry, char **ppszFolderEntry, bool bLocalOnly) {
    const char *const kszLabel = "CWABLib::FindItemFolder";
    g_Log.Assert(szEntry != nullptr && ppszFolderEntry != nullptr, kszLabel, 0);
    if (!szEntry || !ppszFolderEntry) return -1;
    *ppszFolderEntry = nullptr;

    WABFolders *pFolders = nullptr;
    HRESULT hr = GetFolders(&pFolders, bLocalOnly);
    if (FAILED(hr)) {
        WABFreeFolders(pFolders);
        return hr;
    }

    SPropValue idValue{};
    idValue.ulPropTag = PR_ENTRYID;
    idValue.Value.bin.lpb = Hex2Bin(szEntry, &idValue.Value.bin.cb);
    struct {
        ULONG cValues = 2;
        ULONG aulPropTag[2] = {PR_ENTRYID, PR_OBJECT_TYPE};
    } columns;
    SRestriction restriction{};
    restriction.rt = RES_PROPERTY;
    restriction.res.resProperty = SPropertyRestriction{RELOP_EQ, PR_ENTRYID, &idValue};

    const char *pszFound = nullptr;
    WABItems *pItems = nullptr;
    for (ULONG i = 0; pFolders && i < pFolders->cFolders && !pszFound; ++i) {
        WABFreeItems(pItems);
        pItems = nullptr;
        hr = GetItemsEx(&pItems, pFolders->pFolders[i].szEntry, 0, reinterpret_cast<SPropTagArray *>(&columns),
                        &restriction, nullptr);
        if (FAILED(hr)) break;
        if (pItems && pItems->cItems > 0) pszFound = pFolders->pFolders[i].szEntry;
    }
    if (pszFound) hr = _HandOutText(pszFound, ppszFolderEntry, kszLabel, "AllocateBuffer");

    WABFreeItems(pItems);
    WABFreeFolders(pFolders);
    std::free(idValue.Value.bin.lpb);
    if (FAILED(hr)) return hr;
    return *ppszFolderEntry ? 0 : 1;
}
