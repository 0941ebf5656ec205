// The two property paths under the TS_ read and write exports: resolve the descriptor, then read through
// ICompare or write through the store class of nAPI.
#include "frame/item_exports_internal.h"

namespace {

// A named property (Tag 0) becomes a tag once, written back into the caller's descriptor with nType in its type
// half, so that the next call skips this. -2 after the error line if the store can't resolve the name.
HRESULT ResolveTag(ICompare *pCompare, HITEM hItem, PropDesc *pProp, const char *pszLabel) {
    if (pProp->Tag != 0) return S_OK;
    HRESULT hr = pCompare->GetIDFromName(hItem, &pProp->Tag, pProp->GUID, pProp->nID, pProp->sID, false);
    if (hr != S_OK) {
        g_Log.Error(pszLabel, hr, "GetIDFromName failed");
        return -2;
    }
    pProp->Tag |= pProp->nType;
    return S_OK;
}

} // namespace

HRESULT _TS_GetItemProp(CTessel *pLib, int32_t nAPI, HITEM hItem, PropDesc *pProp, SPropValue **ppValue) {
    ICompare *pCompare = _TS_GetCompare(pLib, nAPI, "_TS_GetItemProp");
    if (!pCompare) return -1;
    HRESULT hr = ResolveTag(pCompare, hItem, pProp, "_TS_GetItemProp");
    if (hr != S_OK) return hr;
    return pCompare->GetItemProp(hItem, pProp->Tag, ppValue, false);
}

HRESULT _TS_SetItemProp(CTessel *pLib, int32_t nAPI, HITEM hItem, PropDesc *pProp, SPropValue *pValue) {
    TS_AssertLib(pLib, kSetItemPropInternal);
    if (!pLib) return -1;
    ICompare *pCompare = _TS_GetCompare(pLib, nAPI, "_TS_SetItemProp");
    if (!pCompare) return -1;
    HRESULT hr = ResolveTag(pCompare, hItem, pProp, "_TS_SetItemProp");
    if (hr != S_OK) return hr;
    pValue->ulPropTag = pProp->Tag;
    if (nAPI == API_OE) return pLib->oe.m_Lib.SetItemProp(hItem, pValue);
    return pLib->wab.m_Lib.SetItemProp(static_cast<IMAPIProp *>(hItem), pValue);
}
