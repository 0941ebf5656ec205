// CWABLib: reading, writing and saving the properties of an open entry, and resolving named properties.
#include <cstdio>
#include <string>

#include "log/log.h"
#include "oestore/hex.h"
#include "wabstore/wablib.h"

HRESULT CWABLib::GetItemProps(IMAPIProp *lpItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppValues,
                              bool bUnicode) {
    g_Log.Assert(lpItem != nullptr && lpTags != nullptr && pcValues != nullptr && ppValues != nullptr,
                 "CWABLib::GetItemProps", 0);
    if (!lpItem || !lpTags || !pcValues || !ppValues) return -1;
    *pcValues = 0;
    *ppValues = nullptr;
    return lpItem->GetProps(const_cast<SPropTagArray *>(lpTags), bUnicode ? MAPI_UNICODE : 0, pcValues, ppValues);
}

HRESULT CWABLib::GetIDFromName(IMAPIProp *lpItem, ULONG *pTag, const char *szGUID, LONG nID, const char16_t *sID,
                               bool bCreate) {
    const char *const kszLabel = "CWABLib::GetIDFromName";
    g_Log.Assert(lpItem != nullptr && pTag != nullptr && szGUID != nullptr, kszLabel, 0);
    g_Log.Assert(nID != 0 || sID != nullptr, kszLabel, 1);
    if (!lpItem || !pTag || !szGUID || (nID == 0 && !sID)) return -1;

    GUID guid{};
    Str2Guid(szGUID, &guid);
    MAPINAMEID name{};
    name.lpguid = &guid;
    if (nID != 0) {
        name.ulKind = MNID_ID;
        name.Kind.lID = nID;
    } else {
        name.ulKind = MNID_STRING;
        name.Kind.lpwstrName = const_cast<char16_t *>(sID);
    }
    MAPINAMEID *pName = &name;
    SPropTagArray *pTags = nullptr;
    HRESULT hr = lpItem->GetIDsFromNames(1, &pName, bCreate ? MAPI_CREATE : 0, &pTags);
    if (hr == S_OK && pTags && pTags->cValues > 0) *pTag = pTags->aulPropTag[0];
    if (pTags) FreeBuffer(pTags);
    return hr;
}

HRESULT CWABLib::SetItemProps(IMAPIProp *lpItem, ULONG cValues, SPropValue *lpValues, SPropProblemArray **ppProblems) {
    const char *const kszLabel = "CWABLib::SetItemProps";
    g_Log.Assert(lpItem != nullptr && lpValues != nullptr && ppProblems != nullptr, kszLabel, 0);
    if (ppProblems) *ppProblems = nullptr;
    if (!lpItem || !lpValues || !ppProblems) return -1;

    HRESULT hr = lpItem->SetProps(cValues, lpValues, ppProblems);
    const SPropProblemArray *pProblems = *ppProblems;
    if (pProblems && pProblems->cProblem > 0) {
        std::string strDump;
        for (ULONG i = 0; i < pProblems->cProblem; ++i) {
            char szProblem[64];
            std::snprintf(szProblem, sizeof(szProblem), "tag=0x%x err=0x%x", pProblems->aProblem[i].ulPropTag,
                          static_cast<unsigned>(pProblems->aProblem[i].scode));
            strDump += szProblem;
        }
        g_Log.Info(0, kszLabel, "Problems dumb:\n%s", strDump.c_str());
    }
    return hr;
}

HRESULT CWABLib::SetItemProp(IMAPIProp *lpItem, SPropValue *lpProp) {
    SPropProblemArray *pProblems = nullptr;
    HRESULT hr = SetItemProps(lpItem, 1, lpProp, &pProblems);
    if (pProblems) {
        if (hr != S_OK && pProblems->cProblem > 0) hr = pProblems->aProblem[0].scode;
        HRESULT hrFree = FreeBuffer(pProblems);
        if (FAILED(hrFree)) g_Log.Error("CWABLib::SetItemProp", hrFree, "FreeBuffer");
    }
    return hr;
}

HRESULT CWABLib::SaveItem(IMAPIProp *lpItem, bool bForce, bool bKeepOpenReadOnly, bool bKeepOpenReadWrite) {
    g_Log.Assert(lpItem != nullptr, "CWABLib::SaveItem", 0);
    if (!lpItem) return -1;
    ULONG ulFlags = (bForce ? FORCE_SAVE : 0) | (bKeepOpenReadOnly ? KEEP_OPEN_READONLY : 0) |
                    (bKeepOpenReadWrite ? KEEP_OPEN_READWRITE : 0);
    return lpItem->SaveChanges(ulFlags);
}
