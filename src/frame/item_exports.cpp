// The TS_ exports that work on whole items: open, close, size, entry, save, delete, move, show, attachments, and
// the buffer they all hand out. Where the two stores share the operation it goes through ICompare; where they
// don't, the export picks the store class by nAPI.
#include <cstdlib>
#include <cstring>

#include "frame/item_exports_internal.h"
#include "oestore/hex.h"

namespace {

// The store of nAPI for the exports that do not ask whether it is initialized; TS_CheckRoute has passed.
ICompare *StoreOf(CTessel *pLib, int32_t nAPI) {
    return nAPI == API_OE ? static_cast<ICompare *>(&pLib->oe) : static_cast<ICompare *>(&pLib->wab);
}

// The attachment exports serve the message store only.
bool CheckAttachmentRoute(const CTessel *pLib, int32_t nAPI, const char *pszLabel, int32_t nPlace) {
    TS_AssertLib(pLib, nPlace);
    if (!pLib) return false;
    if (nAPI == API_OE) return true;
    g_Log.Error(pszLabel, nAPI, "Not supported for this API");
    return false;
}

} // namespace

extern "C" void TS_FreeBuffer(CTessel *pLib, int32_t nAPI, void *pBuffer) {
    if (!TS_CheckRoute(pLib, nAPI, "TS_FreeBuffer", kFreeBuffer) || !pBuffer) return;
    if (nAPI == API_OE) {
        pLib->oe.m_Lib.FreeBuffer(pBuffer);
        return;
    }
    HRESULT hr = pLib->wab.m_Lib.FreeBuffer(pBuffer);
    if (hr != S_OK) g_Log.Warning("TS_FreeBuffer", hr, "WABFreeBuffer");
}

extern "C" int32_t TS_DisplayItem(CTessel *pLib, int32_t nAPI, const char *pszEntry, HWND hwndParent) {
    if (!TS_CheckRoute(pLib, nAPI, "TS_DisplayItem", kDisplayItem)) return -1;
    if (!TS_CheckArg(pszEntry, "pszEntry != NULL", kDisplayItem)) return -1;
    if (nAPI == API_OE) return pLib->oe.m_Lib.DisplayItemSource(pszEntry, hwndParent);
    // The address book takes the parent window as a 32-bit number; Tessel draws no window of its own.
    return pLib->wab.m_Lib.DisplayItem(pszEntry, static_cast<ULONG>(reinterpret_cast<uintptr_t>(hwndParent)));
}

extern "C" int32_t TS_DeleteItem(CTessel *pLib, int32_t nAPI, const char *pszEntry, int32_t bPermanently,
                                 char **ppszNewEntry) {
    if (!TS_CheckRoute(pLib, nAPI, "TS_DeleteItem", kDeleteItem)) return -1;
    if (!TS_CheckArg(pszEntry, "pszEntry != NULL", kDeleteItem)) return -1;
    if (nAPI == API_OE) return pLib->oe.m_Lib.DeleteItem(pszEntry, ppszNewEntry, bPermanently != 0);
    // The address book has no Deleted Items: the entry is gone either way, and no new entry comes back.
    HRESULT hr = pLib->wab.m_Lib.DeleteItem(pszEntry);
    if (!bPermanently) g_Log.Error("TS_DeleteItem", 0, "WAB: Move to DeletedItems not supported");
    return hr;
}

extern "C" int32_t TS_MoveItem(CTessel *pLib, int32_t nAPI, const char *pszEntry, const char *pszFolderEntry,
                               char **ppszNewEntry) {
    if (!TS_CheckRoute(pLib, nAPI, "TS_MoveItem", kMoveItem)) return -1;
    if (!TS_CheckArg(pszEntry, "pszEntry != NULL", kMoveItem) ||
        !TS_CheckArg(pszFolderEntry, "pszFolderEntry != NULL", kMoveItem))
        return -1;
    // Both stores always hand out the new entry; a caller that does not want it gets it freed here.
    char *pszNewEntry = nullptr;
    HRESULT hr = nAPI == API_OE ? pLib->oe.m_Lib.MoveItem(pszEntry, pszFolderEntry, &pszNewEntry)
                                : pLib->wab.m_Lib.MoveItem(pszEntry, pszFolderEntry, &pszNewEntry);
    if (ppszNewEntry)
        *ppszNewEntry = pszNewEntry;
    else
        TS_FreeBuffer(pLib, nAPI, pszNewEntry);
    return hr;
}

extern "C" int32_t TS_OpenItem(CTessel *pLib, int32_t nAPI, const char *pszEntry, TS_HITEM *phItem,
                               int32_t bModify) {
    ICompare *pCompare = _TS_GetCompare(pLib, nAPI, "TS_OpenItem");
    if (!pCompare) return -1;
    if (!TS_CheckArg(phItem, "phItem != NULL", kOpenItem)) return -1;
    *phItem = nullptr;
    if (!TS_CheckArg(pszEntry, "pszEntry != NULL", kOpenItem)) return -1;
    HITEM hStoreItem = nullptr;
    HRESULT hr = pCompare->OpenItem(pszEntry, &hStoreItem, bModify);
    if (hr != S_OK) return hr;
    *phItem = TS_WrapItem(pLib, nAPI, hStoreItem);
    if (*phItem) return S_OK;
    pCompare->CloseItem(&hStoreItem);
    return MAPI_E_NOT_ENOUGH_MEMORY;
}

extern "C" void TS_CloseItem(CTessel *pLib, int32_t nAPI, TS_HITEM hItem) {
    ICompare *pCompare = _TS_GetCompare(pLib, nAPI, "TS_CloseItem");
    if (!pCompare) return;
    HITEM hStoreItem = TS_UnwrapItem(hItem, pLib, nAPI, "TS_CloseItem", kCloseItem);
    if (!hStoreItem) return;
    pCompare->CloseItem(&hStoreItem);
    TS_FreeItemWrapper(hItem);
}

extern "C" int32_t TS_GetItemSize(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, uint32_t *pnSize) {
    if (!TS_CheckRoute(pLib, nAPI, "TS_GetItemSize", kGetItemSize)) return -1;
    if (!TS_CheckArg(pnSize, "pnSize != NULL", kGetItemSize)) return -1;
    HITEM hStoreItem = TS_UnwrapItem(hItem, pLib, nAPI, "TS_GetItemSize", kGetItemSize);
    if (!hStoreItem) return -1;
    return StoreOf(pLib, nAPI)->GetItemSize(hStoreItem, pnSize, true);
}

extern "C" int32_t TS_SaveItem(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, int32_t nFlags) {
    if (!TS_CheckRoute(pLib, nAPI, "TS_SaveItem", kSaveItem)) return -1;
    HITEM hStoreItem = TS_UnwrapItem(hItem, pLib, nAPI, "TS_SaveItem", kSaveItem);
    if (!hStoreItem) return -1;
    // nFlags -1 is the store's default: the message store drops the old message to Deleted Items, the address
    // book keeps the entry open for more changes.
    const bool bDefault = nFlags == -1;
    if (nAPI == API_OE) {
        HRESULT hr = pLib->oe.m_Lib.SaveItem(hStoreItem, bDefault || (nFlags & 1), !bDefault && (nFlags & 2));
        if (hr != S_OK) g_Log.Warning("TS_SaveItem", hr, "OESaveItem");
        return hr;
    }
    HRESULT hr = pLib->wab.m_Lib.SaveItem(static_cast<IMAPIProp *>(hStoreItem), !bDefault && (nFlags & 1),
                                          !bDefault && (nFlags & 2), bDefault || (nFlags & 4));
    if (hr != S_OK) g_Log.Warning("TS_SaveItem", hr, "WABSaveItem");
    return hr;
}

extern "C" int32_t TS_GetItemID(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, char **ppszID) {
    if (!TS_CheckArg(ppszID, "ppszID != NULL", kGetItemID)) return -1;
    *ppszID = nullptr;
    ICompare *pCompare = _TS_GetCompare(pLib, nAPI, "TS_GetItemID");
    if (!pCompare) return -1;
    HITEM hStoreItem = TS_UnwrapItem(hItem, pLib, nAPI, "TS_GetItemID", kGetItemID);
    if (!hStoreItem) return -1;

    SPropValue *pValue = nullptr;
    HRESULT hr = pCompare->GetItemProp(hStoreItem, PR_ENTRYID, &pValue, false);
    char *pszHex = nullptr;
    if (hr == S_OK && (!pValue || pValue->Value.bin.cb == 0)) {
        hr = MAPI_E_NOT_FOUND;
    } else if (hr == S_OK) {
        pszHex = Bin2Hex(pValue->Value.bin.lpb, pValue->Value.bin.cb);
        void *pBuffer = nullptr;
        if (!pszHex)
            hr = MAPI_E_NOT_ENOUGH_MEMORY;
        else if ((hr = pCompare->AllocateBuffer(static_cast<ULONG>(std::strlen(pszHex) + 1), &pBuffer)) == S_OK &&
                 pBuffer)
            *ppszID = static_cast<char *>(std::memcpy(pBuffer, pszHex, std::strlen(pszHex) + 1));
        else if (hr == S_OK)
            hr = MAPI_E_NOT_ENOUGH_MEMORY;
    }
    if (pValue) pCompare->FreeItemProps(pValue);
    std::free(pszHex);
    return hr;
}

extern "C" int32_t TS_CopyAttachment(CTessel *pLib, int32_t nAPI, TS_HITEM hItemTo, TS_HBODY *phNewBody,
                                     TS_HITEM hItemFrom, TS_HBODY hBody) {
    if (!CheckAttachmentRoute(pLib, nAPI, "TS_CopyAttachment", kCopyAttachment)) return -1;
    HITEM hTo = TS_UnwrapItem(hItemTo, pLib, nAPI, "TS_CopyAttachment", kCopyAttachment);
    HITEM hFrom = TS_UnwrapItem(hItemFrom, pLib, nAPI, "TS_CopyAttachment", kCopyAttachment);
    if (!hTo || !hFrom) return -1;
    return pLib->oe.m_Lib.CopyAttachment(hTo, hFrom, hBody, phNewBody);
}

extern "C" int32_t TS_FindAttachment(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, TS_HBODY *phBody,
                                     const char *pszName, uint32_t cbSize, int32_t nFirst) {
    if (!CheckAttachmentRoute(pLib, nAPI, "TS_FindAttachment", kFindAttachment)) return -1;
    if (!TS_CheckArg(phBody, "phBody != NULL", kFindAttachment) ||
        !TS_CheckArg(pszName, "pszName != NULL", kFindAttachment))
        return -1;
    HITEM hStoreItem = TS_UnwrapItem(hItem, pLib, nAPI, "TS_FindAttachment", kFindAttachment);
    if (!hStoreItem) return -1;
    return pLib->oe.m_Lib.FindAttachment(hStoreItem, phBody, pszName, cbSize, static_cast<ULONG>(nFirst));
}
