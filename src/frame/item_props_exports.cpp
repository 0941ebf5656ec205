// The six property exports: a caller's text, number or date on one side, an SPropValue on the other. Each refuses
// a type that does not suit it before it touches the store.
#include <cstring>

#include "frame/item_exports_internal.h"
#include "frame/multivalue_text.h"
#include "frame/time_conversion.h"
#include "platform/text.h"

namespace {

// The type check every property export starts with: "Invalid prop type" with the type as code, and -3.
bool TypeAccepted(uint32_t nType, std::initializer_list<uint32_t> accepted, const char *pszLabel) {
    for (uint32_t n : accepted)
        if (n == nType) return true;
    g_Log.Error(pszLabel, static_cast<int32_t>(nType), "Invalid prop type");
    return false;
}

// The store and its item behind the caller's handle, after the checks every property export shares: a usable
// store and a live handle of this record and API. Null after the log line of the failed check.
ICompare *OpenedItem(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, const char *pszLabel, int32_t nPlace,
                     HITEM *phStoreItem) {
    ICompare *pCompare = _TS_GetCompare(pLib, nAPI, pszLabel);
    if (!pCompare) return nullptr;
    *phStoreItem = TS_UnwrapItem(hItem, pLib, nAPI, pszLabel, nPlace);
    return *phStoreItem ? pCompare : nullptr;
}

// Reads the property and checks that the store gave a value of the type the export converts; the value (if any)
// is the caller's to give to FreeItemProps.
HRESULT ReadValue(CTessel *pLib, int32_t nAPI, HITEM hItem, PropDesc *pProp, uint32_t nType, const char *pszLabel,
                  SPropValue **ppValue) {
    HRESULT hr = _TS_GetItemProp(pLib, nAPI, hItem, pProp, ppValue);
    if (hr != S_OK) return hr;
    if (!*ppValue) return MAPI_E_NOT_FOUND;
    uint32_t nGot = PROP_TYPE((*ppValue)->ulPropTag);
    if (nGot == nType) return S_OK;
    g_Log.Error(pszLabel, static_cast<int32_t>(nGot), "Invalid prop type");
    return -3;
}

// The store's buffer with a copy of strText; the result of AllocateBuffer, logged if it fails.
HRESULT HandOutText(ICompare *pCompare, const std::string &strText, ULONG cb, char **ppszText, const char *pszLabel) {
    void *pBuffer = nullptr;
    HRESULT hr = pCompare->AllocateBuffer(cb, &pBuffer);
    if (hr != S_OK || !pBuffer) {
        g_Log.Error(pszLabel, hr, "AllocateBuffer");
        return hr != S_OK ? hr : MAPI_E_NOT_ENOUGH_MEMORY;
    }
    std::memcpy(pBuffer, strText.c_str(), strText.size() + 1);
    *ppszText = static_cast<char *>(pBuffer);
    return S_OK;
}

// The write exports check the store under the name of _TS_SetItemProp, which they end in, before they take the
// caller's handle apart.
HRESULT WriteValue(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, PropDesc *pProp, SPropValue *pValue,
                   const char *pszLabel, int32_t nPlace) {
    HITEM hStoreItem = nullptr;
    if (pLib) {
        if (!_TS_GetCompare(pLib, nAPI, "_TS_SetItemProp")) return -1;
        hStoreItem = TS_UnwrapItem(hItem, pLib, nAPI, pszLabel, nPlace);
        if (!hStoreItem) return -1;
    }
    return _TS_SetItemProp(pLib, nAPI, hStoreItem, pProp, pValue);
}

// The conversion flag of both date exports: local time is the address book's; the message store's dates are
// handed over as they are.
bool DateIsLocal(int32_t nAPI, int32_t bLocal) { return bLocal && nAPI == API_WAB; }

} // namespace

extern "C" int32_t TS_GetItemTextProp(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, PropDesc *pProp,
                                      char **ppszText) {
    const char *pszLabel = "TS_GetItemTextProp";
    if (!TS_CheckArg(ppszText, "ppszText != NULL", kGetItemTextProp)) return -1;
    *ppszText = nullptr;
    if (!TS_CheckArg(pProp, "pProp != NULL", kGetItemTextProp)) return -1;
    uint32_t nType = TS_PropType(pProp);
    if (!TypeAccepted(nType, {PT_STRING8, PT_MV_STRING8}, pszLabel)) return -3;
    HITEM hStoreItem = nullptr;
    ICompare *pCompare = OpenedItem(pLib, nAPI, hItem, pszLabel, kGetItemTextProp, &hStoreItem);
    if (!pCompare) return -1;

    SPropValue *pValue = nullptr;
    HRESULT hr = ReadValue(pLib, nAPI, hStoreItem, pProp, nType, pszLabel, &pValue);
    if (hr == S_OK) {
        if (nType == PT_STRING8) {
            std::string strText = pValue->Value.lpszA ? pValue->Value.lpszA : "";
            hr = HandOutText(pCompare, strText, static_cast<ULONG>(strText.size() + 1), ppszText, pszLabel);
        } else {
            const std::string strSeparator = GetListSeparator();
            hr = HandOutText(pCompare, JoinValues(pValue->Value.MVszA, strSeparator),
                             JoinedBufferSize(pValue->Value.MVszA, strSeparator), ppszText, pszLabel);
        }
    }
    if (pValue) pCompare->FreeItemProps(pValue);
    return hr;
}

extern "C" int32_t TS_GetItemNumProp(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, PropDesc *pProp,
                                     int32_t *pnValue) {
    const char *pszLabel = "TS_GetItemNumProp";
    if (!TS_CheckArg(pnValue, "pnValue != NULL", kGetItemNumProp)) return -1;
    *pnValue = 0;
    if (!TS_CheckArg(pProp, "pProp != NULL", kGetItemNumProp)) return -1;
    uint32_t nType = TS_PropType(pProp);
    if (!TypeAccepted(nType, {PT_BOOLEAN, PT_I2, PT_LONG}, pszLabel)) return -3;
    HITEM hStoreItem = nullptr;
    ICompare *pCompare = OpenedItem(pLib, nAPI, hItem, pszLabel, kGetItemNumProp, &hStoreItem);
    if (!pCompare) return -1;

    SPropValue *pValue = nullptr;
    HRESULT hr = ReadValue(pLib, nAPI, hStoreItem, pProp, nType, pszLabel, &pValue);
    if (hr == S_OK) {
        if (nType == PT_BOOLEAN)
            *pnValue = pValue->Value.b; // zero-extended
        else if (nType == PT_I2)
            *pnValue = pValue->Value.i; // sign-extended
        else
            *pnValue = pValue->Value.l;
    }
    if (pValue) pCompare->FreeItemProps(pValue);
    return hr;
}

extern "C" int32_t TS_GetItemDateProp(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, PropDesc *pProp,
                                      SYSTEMTIME *pST, int32_t bLocal) {
    const char *pszLabel = "TS_GetItemDateProp";
    if (!TS_CheckArg(pST, "pST != NULL", kGetItemDateProp)) return -1;
    *pST = SYSTEMTIME{};
    if (!TS_CheckArg(pProp, "pProp != NULL", kGetItemDateProp)) return -1;
    uint32_t nType = TS_PropType(pProp);
    if (!TypeAccepted(nType, {PT_SYSTIME}, pszLabel)) return -3;
    HITEM hStoreItem = nullptr;
    ICompare *pCompare = OpenedItem(pLib, nAPI, hItem, pszLabel, kGetItemDateProp, &hStoreItem);
    if (!pCompare) return -1;

    SPropValue *pValue = nullptr;
    HRESULT hr = ReadValue(pLib, nAPI, hStoreItem, pProp, nType, pszLabel, &pValue);
    if (hr == S_OK && !FileTime2SystemTime(&pValue->Value.ft, pST, DateIsLocal(nAPI, bLocal), nullptr)) {
        *pST = SYSTEMTIME{};
        hr = -4;
    }
    if (pValue) pCompare->FreeItemProps(pValue);
    return hr;
}

extern "C" int32_t TS_SetItemTextProp(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, PropDesc *pProp,
                                      const char *pszText) {
    const char *pszLabel = "TS_SetItemTextProp";
    if (!TS_CheckArg(pProp, "pProp != NULL", kSetItemTextProp)) return -1;
    uint32_t nType = TS_PropType(pProp);
    if (!TypeAccepted(nType, {PT_STRING8, PT_MV_STRING8}, pszLabel)) return -3;
    SPropValue value{};
    if (nType == PT_STRING8) {
        // A null text is written as the empty text: the stores take the value's pointer as it is.
        value.Value.lpszA = const_cast<char *>(pszText ? pszText : "");
        return WriteValue(pLib, nAPI, hItem, pProp, &value, pszLabel, kSetItemTextProp);
    }
    CSplitText split(pszText, GetListSeparator());
    value.Value.MVszA = split.Values();
    return WriteValue(pLib, nAPI, hItem, pProp, &value, pszLabel, kSetItemTextProp);
}

extern "C" int32_t TS_SetItemNumProp(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, PropDesc *pProp,
                                     int32_t nValue) {
    const char *pszLabel = "TS_SetItemNumProp";
    if (!TS_CheckArg(pProp, "pProp != NULL", kSetItemNumProp)) return -1;
    uint32_t nType = TS_PropType(pProp);
    if (!TypeAccepted(nType, {PT_BOOLEAN, PT_I2, PT_LONG}, pszLabel)) return -3;
    SPropValue value{};
    if (nType == PT_BOOLEAN)
        value.Value.b = nValue != 0;
    else if (nType == PT_I2)
        value.Value.i = static_cast<int16_t>(nValue); // the lower 16 bits
    else
        value.Value.l = nValue;
    return WriteValue(pLib, nAPI, hItem, pProp, &value, pszLabel, kSetItemNumProp);
}

extern "C" int32_t TS_SetItemDateProp(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, PropDesc *pProp,
                                      const SYSTEMTIME *pST, int32_t bLocal) {
    const char *pszLabel = "TS_SetItemDateProp";
    if (!TS_CheckArg(pProp, "pProp != NULL", kSetItemDateProp)) return -1;
    if (!TS_CheckArg(pST, "pST != NULL", kSetItemDateProp)) return -1;
    uint32_t nType = TS_PropType(pProp);
    if (!TypeAccepted(nType, {PT_SYSTIME}, pszLabel)) return -3;
    SPropValue value{};
    if (!SystemTime2FileTime(pST, &value.Value.ft, DateIsLocal(nAPI, bLocal), nullptr)) return -4;
    return WriteValue(pLib, nAPI, hItem, pProp, &value, pszLabel, kSetItemDateProp);
}
