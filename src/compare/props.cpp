// Reading plain property values through a store: one value, the number of filled values, and finding a value
// in an array that a store returned.
#include <algorithm>

#include "compare/icompare.h"
#include "log/log.h"

HRESULT ICompare::GetItemProp(HITEM hItem, ULONG nTag, SPropValue **ppProp, BOOL bUnicode) {
    *ppProp = nullptr;
    SPropTagArray tags{1, {nTag}};
    ULONG cValues = 0;
    HRESULT hr = GetItemProps(hItem, &tags, &cValues, ppProp, bUnicode);
    // With a single tag, "some values are errors" means that this one is: hand on its own code, so that a
    // missing property reads as MAPI_E_NOT_FOUND.
    if (hr == MAPI_W_ERRORS_RETURNED && *ppProp && PROP_TYPE((*ppProp)->ulPropTag) == PT_ERROR)
        hr = (*ppProp)->Value.err;
    return hr;
}

HRESULT ICompare::CountProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pnFilled, ULONG *pSizes) {
    constexpr const char *kLabel = "ICompare::CountProps";
    *pnFilled = 0;
    ULONG cValues = 0;
    SPropValue *pProps = nullptr;
    HRESULT hr = GetItemProps(hItem, lpTags, &cValues, &pProps, false);
    if (hr != S_OK && hr != MAPI_W_ERRORS_RETURNED) {
        g_Log.Error(kLabel, hr, "lpItem->GetProps");
        if (pProps) FreeItemProps(pProps);
        return hr;
    }
    g_Log.Assert(lpTags && cValues == lpTags->cValues, kLabel, __LINE__);
    // pSizes has one word per requested tag: never look beyond either array.
    ULONG n = lpTags ? std::min(cValues, lpTags->cValues) : 0;
    for (ULONG i = 0; pProps && i < n; ++i) {
        const SPropValue &prop = pProps[i];
        if (PROP_TYPE(prop.ulPropTag) == PT_ERROR) {
            if (prop.Value.err == MAPI_E_NOT_FOUND) continue;
            if (prop.Value.err != 0) {
                g_Log.Warning(kLabel, prop.Value.err, "GetProp(0x%x)\n", prop.ulPropTag);
                continue;
            }
        }
        ULONG nSize = 0;
        if (!IsEmptyValue(&prop.Value, prop.ulPropTag, pSizes ? &nSize : nullptr)) {
            ++*pnFilled;
            if (pSizes) pSizes[i] = nSize;
        }
    }
    if (pProps) FreeItemProps(pProps);
    return S_OK;
}

const SPropValue *FindPropValue(const SPropValue *pProps, ULONG cValues, ULONG nTag, BOOL bExact) {
    if (!pProps) return nullptr;
    for (ULONG i = 0; i < cValues; ++i) {
        ULONG nHave = pProps[i].ulPropTag;
        if (bExact ? nHave == nTag : PROP_ID(nHave) == PROP_ID(nTag)) return &pProps[i];
    }
    return nullptr;
}

SPropValue *FindPropValue(SPropValue *pProps, ULONG cValues, ULONG nTag, BOOL bExact) {
    return const_cast<SPropValue *>(FindPropValue(static_cast<const SPropValue *>(pProps), cValues, nTag, bExact));
}
