// TS_GetProfileID: which store this is, so that a host can keep one user's lists apart from another's. The
// message store names itself by the identity in braces in its path, if there is one; the address book by the entry
// of its personal address book, with that container's name as detail.
#include <cstring>
#include <string>

#include "frame/item_exports_internal.h"

namespace {

// The identity between the first "{" and the first "}" of the store's path; "DefaultIdentity" when the path
// holds none (no braces, or nothing between them). Platforms whose store paths never held an identity would
// warn here; Linux stores never do, so the default is no news.
std::string IdentityOfPath(const std::string &strPath) {
    size_t nOpen = strPath.find('{'), nClose = strPath.find('}');
    if (nOpen == std::string::npos || nClose == std::string::npos || nClose < nOpen + 2) return "DefaultIdentity";
    return strPath.substr(nOpen + 1, nClose - nOpen - 1);
}

// A copy of strText in a buffer of the store's allocator, or null.
char *CopyOut(ICompare *pCompare, const std::string &strText) {
    void *pBuffer = nullptr;
    if (pCompare->AllocateBuffer(static_cast<ULONG>(strText.size() + 1), &pBuffer) != S_OK || !pBuffer)
        return nullptr;
    return static_cast<char *>(std::memcpy(pBuffer, strText.c_str(), strText.size() + 1));
}

HRESULT MessageStoreProfile(CTessel *pLib, char **ppszProfile, char **ppszDetail) {
    g_Log.Assert(pLib->oe.m_Lib.Initialized(), "TS_GetProfileID", 10);
    char *pszDir = nullptr;
    HRESULT hr = pLib->oe.m_Lib.GetStoreDirectory(&pszDir);
    if (hr != S_OK) {
        pLib->oe.m_Lib.FreeBuffer(pszDir);
        return hr;
    }
    char *pszProfile = CopyOut(&pLib->oe, IdentityOfPath(pszDir ? pszDir : ""));
    if (!pszProfile) {
        pLib->oe.m_Lib.FreeBuffer(pszDir);
        return MAPI_E_NOT_ENOUGH_MEMORY;
    }
    *ppszProfile = pszProfile;
    *ppszDetail = pszDir;
    return S_OK;
}

HRESULT AddressBookProfile(CTessel *pLib, char **ppszProfile, char **ppszDetail) {
    CWABLib &lib = pLib->wab.m_Lib;
    g_Log.Assert(lib.Initialized(), "TS_GetProfileID", 20);
    char *pszPAB = nullptr;
    HRESULT hr = lib.GetPAB(&pszPAB);
    if (hr != S_OK) {
        if (pszPAB) lib.FreeBuffer(pszPAB);
        return hr;
    }
    WABFolders *pFolders = nullptr;
    hr = lib.GetFolders(&pFolders, true);
    if (hr != S_OK) {
        WABFreeFolders(pFolders);
        lib.FreeBuffer(pszPAB);
        return hr;
    }
    const char *pszName = nullptr;
    for (uint32_t i = 0; pFolders && i < pFolders->cFolders && !pszName; ++i)
        if (pFolders->pFolders[i].szEntry && std::strcmp(pFolders->pFolders[i].szEntry, pszPAB) == 0)
            pszName = pFolders->pFolders[i].szName ? pFolders->pFolders[i].szName : "";
    *ppszProfile = pszPAB;
    if (pszName && *pszName) {
        *ppszDetail = CopyOut(&pLib->wab, pszName);
        g_Log.Assert(*ppszDetail != nullptr, "TS_GetProfileID", 401);
    }
    WABFreeFolders(pFolders);
    return S_OK;
}

} // namespace

extern "C" int32_t TS_GetProfileID(CTessel *pLib, int32_t nAPI, char **ppszProfile, char **ppszDetail) {
    if (!pLib || !ppszProfile || !ppszDetail) {
        g_Log.Assert(false, "TS_GetProfileID", 0);
        return -1;
    }
    *ppszProfile = nullptr;
    *ppszDetail = nullptr;
    if (nAPI == API_OE) return MessageStoreProfile(pLib, ppszProfile, ppszDetail);
    if (nAPI == API_WAB) return AddressBookProfile(pLib, ppszProfile, ppszDetail);
    g_Log.Assert(false, "Invalid API", 0);
    return -2;
}
