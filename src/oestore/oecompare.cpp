#include "oestore/oecompare.h"

#include "log/log.h"
#include "oestore/oetags.h"
#include "platform/text.h"

namespace {

// The warning of GetItemSize comes once per process, however many adaptors there are.
bool s_bItemSizeWarned = false;

// Has the stored message of the item read whole now, if it is not yet: its size needs all of it. A failure is
// left to the reads that follow, which meet it as they would have.
void ReadWhole(HITEM hItem) {
    auto *pItem = static_cast<OEOpenItem *>(hItem);
    if (!pItem || !pItem->pMessage || pItem->bEdited || pItem->pMessage->IsDirty() != S_FALSE) return;
    ULARGE_INTEGER cb{};
    pItem->pMessage->GetSizeMax(&cb);
}

} // namespace

HRESULT COECompare::OpenFolder(const char *pszEntry, HFOLDER *phFolder) {
    IStoreFolder *pFolder = nullptr;
    HRESULT hr = m_Lib.OpenFolder(pszEntry, &pFolder);
    if (phFolder) *phFolder = pFolder;
    return hr;
}

void COECompare::CloseFolder(HFOLDER *phFolder) {
    if (!phFolder || !*phFolder) return;
    static_cast<IStoreFolder *>(*phFolder)->Release();
    *phFolder = nullptr;
}

HRESULT COECompare::OpenItem(const char *pszEntry, HITEM *phItem, BOOL bModify) {
    return m_Lib.OpenItem(pszEntry, phItem);
}

HRESULT COECompare::OpenFolderItem(HFOLDER hFolder, const char *pszEntry, HITEM *phItem, BOOL bModify) {
    return m_Lib.OpenFolderItem(static_cast<IStoreFolder *>(hFolder), pszEntry, phItem);
}

void COECompare::CloseItem(HITEM *phItem) {
    if (phItem && *phItem == m_hPropsRead) m_hPropsRead = nullptr;
    m_Lib.CloseItem(phItem);
}

HRESULT COECompare::GetIDFromName(HITEM hItem, ULONG *pTag, const char *pszGUID, LONG nID, const char16_t *sID,
                                  BOOL bCreate) {
    g_Log.Error("COECompare::GetIDFromName", 0, "Not implemented!");
    return -1;
}

HRESULT COECompare::GetItemProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppProps,
                                 BOOL bUnicode) {
    if (m_bBodyFollowed) ReadWhole(hItem);
    m_hPropsRead = hItem;
    m_bBodyFollowed = false;
    return m_Lib.GetItemProps(hItem, lpTags, pcValues, ppProps, bUnicode != 0);
}

void COECompare::FreeItemProps(SPropValue *pProps) { m_Lib.FreeItemProps(pProps); }

HRESULT COECompare::GetItemSize(HITEM hItem, ULONG *pnSize, BOOL bWhole) {
    if (!bWhole && !s_bItemSizeWarned) {
        g_Log.Warning("COECompare::GetItemSize", 0,
                      "GetSize as Size(Attachments) + Size(Body) + Size(Subject) not implemeted");
        s_bItemSizeWarned = true;
    }
    SPropValue *pProp = nullptr;
    HRESULT hr = m_Lib.GetItemProp(hItem, PR_OE_SIZE, &pProp, false);
    if (hr == S_OK) *pnSize = pProp->Value.ul;
    m_Lib.FreeItemProps(pProp);
    return hr;
}

HRESULT COECompare::GetAttachments(HITEM hItem, ULONG **ppIDs, ULONG *pcIDs) {
    OEAttachments *pList = nullptr;
    HRESULT hr = m_Lib.GetAttachments(hItem, &pList);
    if (hr != S_OK) return hr;
    *ppIDs = nullptr;
    *pcIDs = 0;
    if (pList->cAttachments > 0) {
        void *pBuffer = nullptr;
        hr = AllocateBuffer(pList->cAttachments * static_cast<ULONG>(sizeof(ULONG)), &pBuffer);
        if (hr == S_OK) {
            *ppIDs = static_cast<ULONG *>(pBuffer);
            for (ULONG i = 0; i < pList->cAttachments; ++i) (*ppIDs)[(*pcIDs)++] = pList->pAttachments[i].hBody;
        }
    }
    m_Lib.FreeAttachments(&pList);
    return hr;
}

HRESULT COECompare::GetAttachProps(HITEM hItem, ULONG idAttach, const SPropTagArray *lpTags, ULONG *pcValues,
                                   SPropValue **ppProps, ULONG nReserved) {
    return m_Lib.GetAttachmentProps(hItem, idAttach, lpTags, pcValues, ppProps, nReserved);
}

ULONG COECompare::GetAttachDisplayNameTag(ULONG nReserved) { return PR_OE_ATTACH_DISPLAY_NAME; }

BOOL COECompare::ValidAttachCmpProps(const SPropValue *pProps, ULONG cValues) {
    bool bName = FindPropValue(pProps, cValues, PR_OE_ATTACH_NAME, true) != nullptr ||
                 FindPropValue(pProps, cValues, PR_OE_ATTACH_DISPLAY_NAME, true) != nullptr;
    return bName && FindPropValue(pProps, cValues, PR_OE_ATTACH_SIZE, true) != nullptr;
}

HRESULT COECompare::CmpAttachProps(const SPropValue *pProps1, ULONG cValues1, const SPropValue *pProps2,
                                   ULONG cValues2, LONG *pnResult) {
    const SPropValue *pSize1 = FindPropValue(pProps1, cValues1, PR_OE_ATTACH_SIZE, true);
    const SPropValue *pSize2 = FindPropValue(pProps2, cValues2, PR_OE_ATTACH_SIZE, true);
    const SPropValue *pDisplay1 = FindPropValue(pProps1, cValues1, PR_OE_ATTACH_DISPLAY_NAME, true);
    const SPropValue *pDisplay2 = FindPropValue(pProps2, cValues2, PR_OE_ATTACH_DISPLAY_NAME, true);
    const SPropValue *pName1 = FindPropValue(pProps1, cValues1, PR_OE_ATTACH_NAME, true);
    const SPropValue *pName2 = FindPropValue(pProps2, cValues2, PR_OE_ATTACH_NAME, true);
    HRESULT hr = -1;
    if (pName1 && pName2) {
        *pnResult = lstrcmpiA(pName1->Value.lpszA, pName2->Value.lpszA);
        hr = S_OK;
    } else if (pDisplay1 && pDisplay2) {
        *pnResult = lstrcmpiA(pDisplay1->Value.lpszA, pDisplay2->Value.lpszA);
        hr = S_OK;
    }
    if (*pnResult != 0 || !pSize1 || !pSize2) return hr;
    *pnResult = static_cast<LONG>(pSize1->Value.ul - pSize2->Value.ul);
    return S_OK;
}

void COECompare::FreeAttachProps(SPropValue *pProps) { m_Lib.FreeAttachProps(pProps); }

HRESULT COECompare::CmpAttachData(HITEM hItem1, ULONG idAttach1, HITEM hItem2, ULONG idAttach2, LONG *pnResult) {
    return m_Lib.CmpAttachment(hItem1, idAttach1, hItem2, idAttach2, pnResult);
}

HRESULT COECompare::OpenStreamProp(HITEM hItem, ULONG nTag, IStream **ppStream, ULONG nReserved) {
    if (hItem && hItem == m_hPropsRead) m_bBodyFollowed = true;
    return m_Lib.OpenStreamProp(hItem, nTag, ppStream, nReserved);
}

HRESULT COECompare::AllocateBuffer(ULONG cb, void **ppBuffer) { return m_Lib.AllocateBuffer(cb, ppBuffer); }

HRESULT COECompare::FreeBuffer(void *pBuffer) {
    m_Lib.FreeBuffer(pBuffer);
    return S_OK;
}
