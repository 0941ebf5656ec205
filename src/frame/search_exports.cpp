// The Search_* exports: a thin layer over CDuplicateSearch that chooses the store at creation and turns a null
// object into a harmless result.
#include <new>

#include "frame/exports_internal.h"
#include "search/duplicatesearch.h"

namespace {

// The handle checks name the export: 5xx, in the order of tessel.h.
enum SearchPlace : int32_t {
    kCreate = 501,
    kAdd,
    kBuild,
    kGetBuildChange,
    kGetOriginalCount,
    kGetOriginal,
    kGetDuplicateCount,
    kGetDuplicate,
    kDelete,
};

void AssertSearch(const CDuplicateSearch *pSearch, SearchPlace nPlace)
{
    TS_AssertHandle(pSearch, "pSearch != NULL", nPlace);
}

} // namespace

extern "C" CDuplicateSearch *Search_Create(CTessel *pLib, int32_t nAPI, const PropList *pProps,
                                           const OriginalDefinition *pOD)
{
    g_Log.Info(2, "Search_Create", "->");
    TS_AssertLib(pLib, kCreate);
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
    AssertSearch(pSearch, kAdd);
    if (!pSearch)
        return 0;
    return pSearch->Add(pszItemID, pszFolderID, pbHasDuplicates, nPriority);
}

extern "C" int32_t Search_Build(CDuplicateSearch *pSearch)
{
    AssertSearch(pSearch, kBuild);
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
    AssertSearch(pSearch, kGetBuildChange);
    if (!pSearch)
        return 0;
    return pSearch->GetBuildChange(nIndex, pnType, ppszOriginalID, ppszOriginalFolderID, ppszDuplicateID,
                                   ppszDuplicateFolderID, pnDuplicateIndex)
               ? 1
               : 0;
}

extern "C" int32_t Search_GetOriginalCount(CDuplicateSearch *pSearch)
{
    AssertSearch(pSearch, kGetOriginalCount);
    if (!pSearch)
        return 0;
    return pSearch->GetOriginalCount();
}

extern "C" void Search_GetOriginal(CDuplicateSearch *pSearch, int32_t nGroup, char *pszID, uint32_t *pnID,
                                   char *pszFolderID, uint32_t *pnFolderID)
{
    AssertSearch(pSearch, kGetOriginal);
    if (pSearch)
        pSearch->GetOriginal(nGroup, pszID, pnID, pszFolderID, pnFolderID);
}

extern "C" int32_t Search_GetDuplicateCount(CDuplicateSearch *pSearch, int32_t nGroup)
{
    AssertSearch(pSearch, kGetDuplicateCount);
    if (!pSearch)
        return 0;
    return pSearch->GetDuplicateCount(nGroup);
}

extern "C" void Search_GetDuplicate(CDuplicateSearch *pSearch, int32_t nGroup, int32_t nDuplicate, char *pszID,
                                    uint32_t *pnID, char *pszFolderID, uint32_t *pnFolderID)
{
    AssertSearch(pSearch, kGetDuplicate);
    if (pSearch)
        pSearch->GetDuplicate(nGroup, nDuplicate, pszID, pnID, pszFolderID, pnFolderID);
}

extern "C" void Search_Delete(CDuplicateSearch *pSearch)
{
    g_Log.Info(2, "Search_Delete", "->");
    AssertSearch(pSearch, kDelete);
    delete pSearch;
}
