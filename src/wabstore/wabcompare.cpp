#include "wabstore/wabcompare.h"

#include <cstdlib>
#include <vector>

#include "log/log.h"

namespace {

// The book keeps no attachments: the attachment operations answer with this line.
void NoAttachments(const char *pszLabel) { g_Log.Error(pszLabel, 0, "Attachments not supported in WAB"); }

IMAPIProp *AsProp(HITEM hItem) { return static_cast<IMAPIProp *>(hItem); }

} // namespace

HRESULT CWABCompare::OpenFolder(const char *, HFOLDER *phFolder) {
    if (phFolder) *phFolder = nullptr;
    return S_OK;
}

void CWABCompare::CloseFolder(HFOLDER *phFolder) {
    if (phFolder) *phFolder = nullptr;
}

HRESULT CWABCompare::OpenItem(const char *pszEntry, HITEM *phItem, BOOL bModify) {
    if (!phItem) return -1;
    *phItem = nullptr;
    IMAPIProp *pItem = nullptr;
    ULONG nType = 0;
    HRESULT hr = m_Lib.OpenItem(pszEntry, &pItem, &nType, bModify != 0);
    if (FAILED(hr)) return hr;
    *phItem = pItem;
    if (nType == MAPI_MAILUSER) return S_OK;
    g_Log.Error("CWABCompare::OpenItem", static_cast<int32_t>(nType), "objType != IMailUser");
    CloseItem(phItem);
    return -1;
}

HRESULT CWABCompare::OpenFolderItem(HFOLDER, const char *pszEntry, HITEM *phItem, BOOL bModify) {
    return OpenItem(pszEntry, phItem, bModify);
}

void CWABCompare::CloseItem(HITEM *phItem) {
    if (!phItem || !*phItem) return;
    AsProp(*phItem)->Release();
    *phItem = nullptr;
}

HRESULT CWABCompare::GetIDFromName(HITEM hItem, ULONG *pTag, const char *pszGUID, LONG nID, const char16_t *sID,
                                  BOOL bCreate) {
    return m_Lib.GetIDFromName(AsProp(hItem), pTag, pszGUID, nID, sID, bCreate != 0);
}

HRESULT CWABCompare::GetItemProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppProps,
                                 BOOL bUnicode) {
    return m_Lib.GetItemProps(AsProp(hItem), lpTags, pcValues, ppProps, bUnicode != 0);
}

void CWABCompare::FreeItemProps(SPropValue *pProps) {
    HRESULT hr = m_Lib.FreeBuffer(pProps);
    if (hr != S_OK) g_Log.Error("CWABCompare::FreeItemProps", hr, "WABLib::FreeBuffer");
}

HRESULT CWABCompare::GetItemSize(HITEM hItem, ULONG *pnSize, BOOL bWhole) {
    const char *const kszLabel = "CWABCompare::GetItemSize";
    if (!hItem || !pnSize) return -1;

    struct {
        ULONG cValues = 2;
        ULONG aulPropTag[2] = {PR_DISPLAY_NAME, PR_COMMENT};
    } shown;
    SPropTagArray *pTags = reinterpret_cast<SPropTagArray *>(&shown);
    SPropTagArray *pAll = nullptr;
    HRESULT hr = S_OK;
    if (bWhole) {
        hr = AsProp(hItem)->GetPropList(0, &pAll);
        if (hr != S_OK && hr != MAPI_W_ERRORS_RETURNED) {
            g_Log.Error(kszLabel, hr, "GetPropList");
            if (pAll) m_Lib.FreeBuffer(pAll);
            return hr;
        }
        pTags = pAll;
    }

    ULONG nSize = 0;
    if (pTags && pTags->cValues > 0) {
        std::vector<ULONG> sizes(pTags->cValues, 0);
        ULONG nFilled = 0;
        hr = CountProps(hItem, pTags, &nFilled, sizes.data());
        if (FAILED(hr)) {
            g_Log.Error(kszLabel, hr, "CountProps");
        } else {
            for (ULONG n : sizes) nSize += n;
        }
    }
    if (SUCCEEDED(hr)) *pnSize = nSize;
    if (pAll) m_Lib.FreeBuffer(pAll);
    return hr;
}

HRESULT CWABCompare::GetAttachments(HITEM, ULONG **, ULONG *pcIDs) {
    if (pcIDs) *pcIDs = 0;
    return S_OK;
}

HRESULT CWABCompare::GetAttachProps(HITEM, ULONG, const SPropTagArray *, ULONG *, SPropValue **, ULONG) {
    NoAttachments("CWABCompare::GetAttachProps");
    return -1;
}

ULONG CWABCompare::GetAttachDisplayNameTag(ULONG) {
    NoAttachments("CWABCompare::GetAttachDisplayNameTag");
    return static_cast<ULONG>(-1);
}

BOOL CWABCompare::ValidAttachCmpProps(const SPropValue *, ULONG) {
    NoAttachments("CWABCompare::ValidAttachCmpProps");
    return false;
}

HRESULT CWABCompare::CmpAttachProps(const SPropValue *, ULONG, const SPropValue *, ULONG, LONG *) {
    NoAttachments("CWABCompare::CmpAttachProps");
    return -1;
}

void CWABCompare::FreeAttachProps(SPropValue *) { NoAttachments("CWABCompare::FreeAttachProps"); }

HRESULT CWABCompare::CmpAttachData(HITEM, ULONG, HITEM, ULONG, LONG *) {
    NoAttachments("CWABCompare::CmpAttachData");
    return -1;
}

HRESULT CWABCompare::OpenStreamProp(HITEM, ULONG, IStream **ppStream, ULONG) {
    if (ppStream) *ppStream = nullptr;
    g_Log.Error("CWABCompare::OpenStreamProp", 0, "no stream props in WAB");
    return -1;
}

HRESULT CWABCompare::AllocateBuffer(ULONG cb, void **ppBuffer) { return m_Lib.AllocateBuffer(cb, ppBuffer); }

HRESULT CWABCompare::FreeBuffer(void *pBuffer) { return m_Lib.FreeBuffer(pBuffer); }
