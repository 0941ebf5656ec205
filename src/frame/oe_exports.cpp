#include "frame/exports_internal.h"
#include "frame/time_conversion.h"

namespace {

// The store methods have no guard of their own: a store export on a store that is not connected stops here.
bool CheckConnected(CTessel *pLib, const char *pszExport) {
    if (pLib->oe.m_Lib.Initialized()) return true;
    g_Log.Error(pszExport, 0, "OE is not initialized");
    return false;
}

} // namespace

extern "C" int32_t OEInit(CTessel *pLib, HWND hwndOwner, int32_t bFlag) {
    g_Log.Info(3, "OEInit", "->");
    TS_AssertLib(pLib, 201);
    return pLib && pLib->oe.m_Lib.Init(hwndOwner, bFlag != 0);
}

extern "C" int32_t OEInitialized(CTessel *pLib) {
    TS_AssertLib(pLib, 202);
    return pLib && pLib->oe.m_Lib.Initialized();
}

extern "C" void OEGetFolders(CTessel *pLib, OEFolders **ppFolders) {
    TS_AssertLib(pLib, 203);
    if (!pLib) return;
    if (!CheckConnected(pLib, "OEGetFolders")) {
        if (ppFolders) *ppFolders = nullptr;
        return;
    }
    pLib->oe.m_Lib.GetFolders(ppFolders);
}

extern "C" void OEFreeFolders(CTessel *pLib, OEFolders *pFolders) {
    TS_AssertLib(pLib, 204);
    if (pLib) OEFreeFolders(pFolders);
}

extern "C" int32_t OEGetItems(CTessel *pLib, OEItems **ppItems, const char *pszFolderEntry, int32_t bFast,
                              const SYSTEMTIME *pSince, int32_t bSort, int32_t bDescending) {
    TS_AssertLib(pLib, 205);
    if (!pLib || !CheckConnected(pLib, "OEGetItems")) return -1;
    FILETIME ftSince{};
    if (pSince) {
        // The caller's time is taken as it is: no shift of time zone.
        int32_t nError = 0;
        if (!SystemTime2FileTime(pSince, &ftSince, false, &nError)) {
            g_Log.Error("OEGetItems", nError, "SystemTime2FileTime");
            return -2;
        }
    }
    return pLib->oe.m_Lib.GetItems(ppItems, pszFolderEntry, bFast != 0, pSince ? &ftSince : nullptr, bSort != 0,
                                   bDescending != 0);
}

extern "C" void OEFreeItems(CTessel *pLib, OEItems *pItems) {
    TS_AssertLib(pLib, 206);
    if (pLib) OEFreeItems(pItems);
}

extern "C" int32_t OEGetItem(CTessel *pLib, OEItem **ppItem, const char *pszItemEntry, int32_t bFast) {
    TS_AssertLib(pLib, 207);
    if (!pLib || !CheckConnected(pLib, "OEGetItem")) return -1;
    return pLib->oe.m_Lib.GetItem(ppItem, pszItemEntry, bFast != 0);
}

extern "C" void OEFreeItem(CTessel *pLib, OEItem *pItem) {
    TS_AssertLib(pLib, 208);
    if (pLib) OEFreeItem(pItem);
}

extern "C" int32_t OEMarkItem(CTessel *pLib, const char *pszItemEntry, uint32_t dwFlags) {
    TS_AssertLib(pLib, 209);
    if (!pLib || !CheckConnected(pLib, "OEMarkItem")) return -1;
    return pLib->oe.m_Lib.MarkItem(pszItemEntry, dwFlags);
}

extern "C" void OEDone(CTessel *pLib) {
    g_Log.Info(3, "OEDone", "->");
    TS_AssertLib(pLib, 210);
    if (pLib) pLib->oe.m_Lib.Done();
}
