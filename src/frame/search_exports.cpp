// The Search_* exports: a thin layer over CDuplicateSearch that chooses the store at creation and turns a null
// object into a harmless result.
#include <new>

#include "frame/exports_internal.h"
#include "search/duplicatesearch.h"

#define TS_ASSERT_SEARCH(pSearch, nPlace) TS_AssertHandle(pSearch, "pSearch != NULL", nPlace)

extern "C" CDuplicateSearch *Search_Create(CTessel *pLib, int32_t nAPI, const PropList *pProps,
                                           const OriginalDefinition *pOD)
{
    g_Log.Info(2, "Search_Create", "->");
    TS_AssertLib(pLib, 501);
    if (!pLib)
        return nullptr;

    // A store that is not initialized is only asserted: its operations fail on their own later.
    ICompare *pCompare = nullptr;
    if (nAPI == API_OE) {
        g_Log.Assert(pLib->oe.m_Lib.Initialized(), "Search_Create", 1);
        pCompare = &pLib->oe;
    } else if (nAPI == API_WAB) {
        g_Log.Assert(pLib->wab.m_Lib.Initialized(), "Search_Create", 2);
        pCompare = &pLib->wab;
    } else {
        g_Log.Assert(false, "Search_Create", 3);
        return nullptr;
    }

    auto *pSearch = new (std::nothrow) CDuplicateSearch;
    if (!pSearch)
        return nullptr;
    try {
        pSearch->Create(pCompare, pProps, pOD);
    } catch (const std::bad_alloc &) {
        delete pSearch;
        return nullptr;
    }
    return pSearch;
}

extern "C" int32_t Search_Add(CDuplicateSearch *pSearch, const char *pszItemID, const char *pszFolderID,
                              int32_t *pbHasDuplicates, int32_t nPriority)
{
    TS_ASSERT_SEARCH(pSearch, 502);
    if (!pSearch)
        return 0;
    return pSearch->Add(pszItemID, pszFolderID, pbHasDuplicates, nPriority);
}

extern "C" int32_t Search_Build(CDuplicateSearch *pSearch)
{
    TS_ASSERT_SEARCH(pSearch, 503);
    if (!pSearch)
        return 0;
    // The one guarded export: a failed build leaves the items and their equalities intact, and the next build
    // starts afresh.
    try {
        return pSearch->Build();
    } catch (...) {
        g_Log.Error("Search_Build", 0, "Exception");
        return 0;
    }
}

extern "C" int32_t Search_GetBuildChange(CDuplicateSearch *pSearch, int32_t nIndex, int32_t *pnType,
                                         const char **ppszOriginalID, const char **ppszOriginalFolderID,
                                         const char **ppszDuplicateID, const char **ppszDuplicateFolderID,
                                         int32_t *pnDuplicateIndex)
{
    TS_ASSERT_SEARCH(pSearch, 504);
    if (!pSearch)
        return 0;
    return pSearch->GetBuildChange(nIndex, pnType, ppszOriginalID, ppszOriginalFolderID, ppszDuplicateID,
                                   ppszDuplicateFolderID, pnDuplicateIndex)
               ? 1
               : 0;
}

extern "C" int32_t Search_GetOriginalCount(CDuplicateSearch *pSearch)
{
    TS_ASSERT_SEARCH(pSearch, 505);
    if (!pSearch)
        return 0;
    return pSearch->GetOriginalCount();
}

extern "C" void Search_GetOriginal(CDuplicateSearch *pSearch, int32_t nGroup, char *pszID, uint32_t *pnID,
                                   char *pszFolderID, uint32_t *pnFolderID)
{
    TS_ASSERT_SEARCH(pSearch, 506);
    if (pSearch)
        pSearch->GetOriginal(nGroup, pszID, pnID, pszFolderID, pnFolderID);
}

extern "C" int32_t Search_GetDuplicateCount(CDuplicateSearch *pSearch, int32_t nGroup)
{
    TS_ASSERT_SEARCH(pSearch, 507);
    if (!pSearch)
        return 0;
    return pSearch->GetDuplicateCount(nGroup);
}

extern "C" void Search_GetDuplicate(CDuplicateSearch *pSearch, int32_t nGroup, int32_t nDuplicate, char *pszID,
                                    uint32_t *pnID, char *pszFolderID, uint32_t *pnFolderID)
{
    TS_ASSERT_SEARCH(pSearch, 508);
    if (pSearch)
        pSearch->GetDuplicate(nGroup, nDuplicate, pszID, pnID, pszFolderID, pnFolderID);
}

extern "C" void Search_Delete(CDuplicateSearch *pSearch)
{
    g_Log.Info(2, "Search_Delete", "->");
    TS_ASSERT_SEARCH(pSearch, 509);
    delete pSearch;
}
