// The WAB* exports: thin wrappers around CWABLib that check the handle and turn the caller's flags into booleans.
// The assertion numbers are 300 + the export's place in tessel.h.
#include "frame/exports_internal.h"
#include "frame/time_conversion.h"

extern "C" int32_t WABInit(CTessel *pLib, const char *pszFileName, int32_t bEnableProfiles, int32_t bUseOeSendMail) {
    g_Log.Info(3, "WABInit", "->");
    TS_AssertLib(pLib, 301);
    return pLib && pLib->wab.m_Lib.Init(pszFileName, bEnableProfiles != 0, bUseOeSendMail != 0);
}

extern "C" int32_t WABInitialized(CTessel *pLib) {
    TS_AssertLib(pLib, 302);
    return pLib && pLib->wab.m_Lib.Initialized();
}

extern "C" int32_t WABGetFolders(CTessel *pLib, WABFolders **ppFolders, int32_t bLocalOnly) {
    TS_AssertLib(pLib, 303);
    if (!pLib) return -1;
    return pLib->wab.m_Lib.GetFolders(ppFolders, bLocalOnly != 0);
}

extern "C" void WABFreeFolders(CTessel *pLib, WABFolders *pFolders) {
    TS_AssertLib(pLib, 304);
    if (pLib) WABFreeFolders(pFolders);
}

extern "C" int32_t WABGetItems(CTessel *pLib, WABItems **ppItems, const char *pszFolderEntry, uint32_t nObjectType,
                               int32_t bProfile, int32_t bLocal, const SYSTEMTIME *pSince, int32_t bSort,
                               int32_t bDescending) {
    TS_AssertLib(pLib, 305);
    if (!pLib) return -1;
    FILETIME ftSince{};
    if (pSince) {
        int32_t nError = 0;
        if (!SystemTime2FileTime(pSince, &ftSince, true, &nError)) {
            g_Log.Error("WABGetItems", nError, "SystemTime2FileTime");
            return -2;
        }
    }
    // Only the lowest byte of the two sort flags counts.
    return pLib->wab.m_Lib.GetItems(ppItems, pszFolderEntry, nObjectType, bProfile != 0, bLocal != 0,
                                    pSince ? &ftSince : nullptr, (bSort & 0xFF) != 0, (bDescending & 0xFF) != 0);
}

extern "C" void WABFreeItems(CTessel *pLib, WABItems *pItems) {
    TS_AssertLib(pLib, 306);
    if (pLib) WABFreeItems(pItems);
}

extern "C" int32_t WABGetItem(CTessel *pLib, WABItem **ppItem, const char *pszEntry) {
    TS_AssertLib(pLib, 307);
    if (!pLib) return -1;
    return pLib->wab.m_Lib.GetItem(ppItem, pszEntry);
}

extern "C" int32_t WABFindItemFolder(CTessel *pLib, const char *pszEntry, char **ppszFolderEntry, int32_t bLocalOnly) {
    TS_AssertLib(pLib, 308);
    if (!pLib) return -1;
    return pLib->wab.m_Lib.FindItemFolder(pszEntry, ppszFolderEntry, bLocalOnly != 0);
}

extern "C" void WABFreeItem(CTessel *pLib, WABItem *pItem) {
    TS_AssertLib(pLib, 309);
    if (pLib) WABFreeItem(pItem);
}

extern "C" int32_t WABMarkItem(CTessel *pLib, const char *pszEntry, const char *pszPrefix) {
    TS_AssertLib(pLib, 310);
    if (!pLib) return -1;
    return pLib->wab.m_Lib.MarkItemDisplayName(pszEntry, pszPrefix);
}

extern "C" void WABDone(CTessel *pLib) {
    g_Log.Info(3, "WABDone", "->");
    TS_AssertLib(pLib, 311);
    if (pLib) pLib->wab.m_Lib.Done();
}
