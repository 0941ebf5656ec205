// CWABLib: opening entries by their entry texts, and showing them.
#include <cstdlib>

#include "log/log.h"
#include "oestore/hex.h"
#include "wabstore/wablib.h"

HRESULT CWABLib::OpenEntry(const char *szEntry, IUnknown **ppObject, ULONG *pnObjType, bool bModify,
                           LPCIID lpInterface) {
    const char *const kszLabel = "CWABLib::OpenEntry";
    g_Log.Assert(szEntry != nullptr && ppObject != nullptr && pnObjType != nullptr, kszLabel, 0);
    if (ppObject) *ppObject = nullptr;
    if (pnObjType) *pnObjType = 0;
    if (!szEntry || !ppObject || !pnObjType) return -1;
    if (!_CheckConnected(kszLabel)) return -1;

    ULONG cbEntry = 0;
    BYTE *pbEntry = Hex2Bin(szEntry, &cbEntry);
    HRESULT hr = m_lpAddrBook->OpenEntry(cbEntry, reinterpret_cast<LPENTRYID>(pbEntry), lpInterface,
                                         bModify ? MAPI_MODIFY : MAPI_BEST_ACCESS, pnObjType, ppObject);
    std::free(pbEntry);
    if (FAILED(hr)) {
        SafeRelease(*ppObject); // a provider may leave an object behind a failure
        *pnObjType = 0;
    }
    return hr;
}

HRESULT CWABLib::OpenItem(const char *szEntry, IMAPIProp **ppItem, ULONG *pnObjType, bool bModify) {
    const char *const kszLabel = "CWABLib::OpenItem";
    g_Log.Assert(ppItem != nullptr && pnObjType != nullptr, kszLabel, 0);
    if (ppItem) *ppItem = nullptr;
    if (!ppItem || !pnObjType) return -1;

    IUnknown *pUnknown = nullptr;
    HRESULT hr = OpenEntry(szEntry, &pUnknown, pnObjType, bModify, nullptr);
    if (FAILED(hr)) return hr;
    if (!pUnknown) {
        *pnObjType = 0;
        return MAPI_E_CALL_FAILED;
    }
    if (*pnObjType == MAPI_MAILUSER || *pnObjType == MAPI_DISTLIST) {
        *ppItem = static_cast<IMAPIProp *>(pUnknown);
        return hr;
    }
    g_Log.Error(kszLabel, static_cast<int32_t>(*pnObjType), "This function opens only MailUser or DistList objects");
    pUnknown->Release();
    *pnObjType = 0;
    return -1;
}

HRESULT CWABLib::DisplayItem(const char *szEntry, ULONG ulUIParam) {
    const char *const kszLabel = "CWABLib::DisplayItem";
    g_Log.Assert(szEntry != nullptr && *szEntry != '\0', kszLabel, 0);
    if (!szEntry) return -1;
    if (!_CheckConnected(kszLabel)) return -1;

    ULONG cbEntry = 0;
    BYTE *pbEntry = Hex2Bin(szEntry, &cbEntry);
    HRESULT hr = m_lpAddrBook->Details(&ulUIParam, nullptr, nullptr, cbEntry, reinterpret_cast<LPENTRYID>(pbEntry),
                                       nullptr, nullptr, nullptr, 0);
    std::free(pbEntry);
    return hr;
}
