// Shared property calls.
#include "providers/vcard/vcard_propsapi.h"

#include <cstring>

#include "providers/vcard/mapi_alloc.h"

namespace vcard {

HRESULT GetPropsWith(const PropReader &reader, const std::vector<ULONG> &allTags, const SPropTagArray *lpTags,
                     ULONG ulFlags, ULONG *lpcValues, SPropValue **lppPropArray) {
    if (!lpcValues || !lppPropArray) return MAPI_E_INVALID_PARAMETER;
    *lpcValues = 0;
    *lppPropArray = nullptr;
    std::vector<ULONG> tags = lpTags ? std::vector<ULONG>(lpTags->aulPropTag, lpTags->aulPropTag + lpTags->cValues)
                                     : allTags;
    void *p = nullptr;
    HRESULT hr = MapiAllocateBuffer(static_cast<ULONG>(sizeof(SPropValue) * (tags.empty() ? 1 : tags.size())), &p);
    if (FAILED(hr)) return hr;
    SPropValue *pValues = static_cast<SPropValue *>(p);
    bool bMissing = false;
    for (size_t i = 0; i < tags.size(); ++i) {
        PropData data;
        HRESULT hrRead = reader(tags[i], &data);
        if (SUCCEEDED(hrRead)) hrRead = ToPropValue(data, tags[i], ulFlags, p, &pValues[i]);
        if (FAILED(hrRead)) {
            ErrorValue(tags[i], hrRead, &pValues[i]);
            bMissing = true;
        }
    }
    *lpcValues = static_cast<ULONG>(tags.size());
    *lppPropArray = pValues;
    return bMissing ? MAPI_W_ERRORS_RETURNED : S_OK;
}

HRESULT NewTagArray(const std::vector<ULONG> &tags, SPropTagArray **lppTags) {
    if (!lppTags) return MAPI_E_INVALID_PARAMETER;
    void *p = nullptr;
    HRESULT hr = MapiAllocateBuffer(static_cast<ULONG>(CbNewSPropTagArray(static_cast<ULONG>(tags.size()))), &p);
    if (FAILED(hr)) return hr;
    SPropTagArray *pTags = static_cast<SPropTagArray *>(p);
    pTags->cValues = static_cast<ULONG>(tags.size());
    for (size_t i = 0; i < tags.size(); ++i) pTags->aulPropTag[i] = tags[i];
    *lppTags = pTags;
    return S_OK;
}

HRESULT NewProblemArray(const std::vector<SPropProblem> &problems, SPropProblemArray **lppProblems) {
    *lppProblems = nullptr;
    if (problems.empty()) return S_OK;
    void *p = nullptr;
    HRESULT hr =
        MapiAllocateBuffer(static_cast<ULONG>(CbNewSPropProblemArray(static_cast<ULONG>(problems.size()))), &p);
    if (FAILED(hr)) return hr;
    SPropProblemArray *pArray = static_cast<SPropProblemArray *>(p);
    pArray->cProblem = static_cast<ULONG>(problems.size());
    for (size_t i = 0; i < problems.size(); ++i) pArray->aProblem[i] = problems[i];
    *lppProblems = pArray;
    return S_OK;
}

HRESULT NamesToIds(CNamedProps &names, ULONG cPropNames, MAPINAMEID **lppPropNames, ULONG ulFlags,
                   SPropTagArray **lppPropTags) {
    if (!lppPropTags || (cPropNames && !lppPropNames)) return MAPI_E_INVALID_PARAMETER;
    std::vector<ULONG> tags;
    bool bMissing = false;
    for (ULONG i = 0; i < cPropNames; ++i) {
        const MAPINAMEID *pName = lppPropNames[i];
        ULONG ulId = 0;
        if (pName && pName->lpguid && (pName->ulKind == MNID_ID || pName->Kind.lpwstrName)) {
            std::u16string_view sName = pName->ulKind == MNID_STRING ? pName->Kind.lpwstrName : u"";
            ulId = names.GetId(*pName->lpguid, pName->ulKind, pName->ulKind == MNID_ID ? pName->Kind.lID : 0, sName,
                               (ulFlags & MAPI_CREATE) != 0);
        }
        tags.push_back(ulId ? PROP_TAG(PT_UNSPECIFIED, ulId) : PROP_TAG(PT_ERROR, 0));
        if (!ulId) bMissing = true;
    }
    HRESULT hr = NewTagArray(tags, lppPropTags);
    if (FAILED(hr)) return hr;
    return bMissing ? MAPI_W_ERRORS_RETURNED : S_OK;
}

HRESULT IdsToNames(CNamedProps &names, SPropTagArray **lppPropTags, ULONG *lpcPropNames,
                   MAPINAMEID ***lpppPropNames) {
    if (!lppPropTags || !*lppPropTags || !lpcPropNames || !lpppPropNames) return MAPI_E_NO_SUPPORT;
    const SPropTagArray *pTags = *lppPropTags;
    void *p = nullptr;
    HRESULT hr =
        MapiAllocateBuffer(static_cast<ULONG>(sizeof(MAPINAMEID *) * (pTags->cValues ? pTags->cValues : 1)), &p);
    if (FAILED(hr)) return hr;
    MAPINAMEID **ppNames = static_cast<MAPINAMEID **>(p);
    bool bMissing = false;
    for (ULONG i = 0; i < pTags->cValues; ++i) {
        ppNames[i] = nullptr;
        const NamedProp *np = names.Find(PROP_ID(pTags->aulPropTag[i]));
        if (!np) {
            bMissing = true;
            continue;
        }
        void *pMem = nullptr;
        if (FAILED(MapiAllocateMore(sizeof(MAPINAMEID), p, &pMem))) {
            MapiFreeBuffer(p);
            return MAPI_E_NOT_ENOUGH_MEMORY;
        }
        MAPINAMEID *pName = static_cast<MAPINAMEID *>(pMem);
        pName->lpguid = static_cast<GUID *>(MapiCopyBytes(p, &np->guid, sizeof(GUID)));
        pName->ulKind = np->ulKind;
        if (np->ulKind == MNID_ID) pName->Kind.lID = np->lID;
        else pName->Kind.lpwstrName = MapiCopyWString(p, np->sName);
        ppNames[i] = pName;
    }
    *lpcPropNames = pTags->cValues;
    *lpppPropNames = ppNames;
    return bMissing ? MAPI_W_ERRORS_RETURNED : S_OK;
}

} // namespace vcard
