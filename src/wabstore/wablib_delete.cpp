// CWABLib: deleting an entry.
#include <cstdlib>

#include "log/log.h"
#include "oestore/hex.h"
#include "wabstore/wablib.h"

// The personal address book deletes an entry wherever it lives, so the caller need not know its container.
HRESULT CWABLib::DeleteItem(const char *szEntry) {
    const char *const kszLabel = "CWABLib::DeleteItem";
    g_Log.Assert(szEntry != nullptr, kszLabel, 0);
    if (!szEntry) return -1;
    if (!_CheckConnected(kszLabel)) return -1;

    ULONG cbPAB = 0;
    ENTRYID *pPAB = nullptr;
    HRESULT hr = _GetPABId(&cbPAB, &pPAB, kszLabel);
    if (FAILED(hr)) return hr;

    ULONG ulType = 0;
    IUnknown *pUnknown = nullptr;
    hr = m_lpAddrBook->OpenEntry(cbPAB, pPAB, nullptr, MAPI_BEST_ACCESS, &ulType, &pUnknown);
    if (FAILED(hr) || !pUnknown) {
        if (SUCCEEDED(hr)) hr = MAPI_E_CALL_FAILED;
        g_Log.Error(kszLabel, hr, "AddrBook->OpenEntry(PAB)");
        m_lpWABObject->FreeBuffer(pPAB);
        return hr;
    }
    g_Log.Assert(ulType == MAPI_ABCONT, kszLabel, 1);
    if (ulType == MAPI_ABCONT) {
        SBinary entry{};
        entry.lpb = Hex2Bin(szEntry, &entry.cb);
        ENTRYLIST list{1, &entry};
        hr = entry.lpb ? static_cast<IABContainer *>(pUnknown)->DeleteEntries(&list, 0) : MAPI_E_NOT_ENOUGH_MEMORY;
        std::free(entry.lpb);
    } else {
        hr = -1; // an object that is no container deletes nothing
    }
    pUnknown->Release();
    m_lpWABObject->FreeBuffer(pPAB);
    return hr;
}
