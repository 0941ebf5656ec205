// What the TS_ exports share: their assertion numbers, the way from nAPI to a store without the check that it is
// initialized, and the two internal property paths that deal in SPropValue.
#pragma once

#include <cstdint>

#include "frame/exports_internal.h"
#include "frame/item_handle.h"

// The handle checks name the export: 4xx, in the order of tessel.h; 419 is _TS_SetItemProp.
enum ItemPlace : int32_t {
    kFreeBuffer = 401,
    kGetProfileID,
    kDisplayItem,
    kDeleteItem,
    kMoveItem,
    kOpenItem,
    kCloseItem,
    kGetItemSize,
    kGetItemTextProp,
    kGetItemNumProp,
    kGetItemDateProp,
    kSetItemTextProp,
    kSetItemNumProp,
    kSetItemDateProp,
    kSaveItem,
    kGetItemID,
    kCopyAttachment,
    kFindAttachment,
    kSetItemPropInternal,
};

// The assertion on a pointer argument that must not be null: the failed condition is the label.
inline bool TS_CheckArg(const void *p, const char *pszCondition, int32_t nPlace) {
    g_Log.Assert(p != nullptr, pszCondition, nPlace);
    return p != nullptr;
}

// The checks of an export that routes by nAPI itself: pLib must be set (assertion nPlace) and nAPI be API_OE or
// API_WAB (assertion 3 under pszLabel). Whether the store is initialized is not asked.
inline bool TS_CheckRoute(const CTessel *pLib, int32_t nAPI, const char *pszLabel, int32_t nPlace) {
    TS_AssertLib(pLib, nPlace);
    if (!pLib) return false;
    if (nAPI == API_OE || nAPI == API_WAB) return true;
    g_Log.Assert(false, pszLabel, 3);
    return false;
}

// The property type an export works with: the lower half of Tag, or nType while that is 0.
inline uint32_t TS_PropType(const PropDesc *pProp) {
    uint32_t nType = pProp->Tag & 0xFFFF;
    return nType ? nType : pProp->nType;
}

// Reads the property pProp describes, resolving a named one first (the tag is written back into *pProp, with
// nType in its lower half). -1 if the store is not usable, -2 if the name does not resolve, else the result of
// ICompare::GetItemProp: a missing property is MAPI_E_NOT_FOUND. *ppValue, when set, goes to FreeItemProps.
HRESULT _TS_GetItemProp(CTessel *pLib, int32_t nAPI, HITEM hItem, PropDesc *pProp, SPropValue **ppValue);

// Writes pValue as the property pProp describes (resolved as above; pValue's tag is set here). The change lasts
// only after TS_SaveItem.
HRESULT _TS_SetItemProp(CTessel *pLib, int32_t nAPI, HITEM hItem, PropDesc *pProp, SPropValue *pValue);
