#include "wabstore/wabcompare.h"

#include "log/log.h"

namespace {

constexpr HRESULT kUnavailable = -1;

HRESULT Unavailable(const char *pszLabel) {
    g_Log.Error(pszLabel, 0, "the address book is not available in this build");
    return kUnavailable;
}

template <class T>
HRESULT Unavailable(const char *pszLabel, T **ppOut) {
    if (ppOut) *ppOut = nullptr;
    return Unavailable(pszLabel);
}

} // namespace

HRESULT CWABCompare::OpenFolder(const char *pszEntry, HFOLDER *phFolder) {
    return Unavailable("CWABCompare::OpenFolder", phFolder);
}

void CWABCompare::CloseFolder(HFOLDER *phFolder) { Unavailable("CWABCompare::CloseFolder", phFolder); }

HRESULT CWABCompare::OpenItem(const char *pszEntry, HITEM *phItem, BOOL bModify) {
    return Unavailable("CWABCompare::OpenItem", phItem);
}

HRESULT CWABCompare::OpenFolderItem(HFOLDER hFolder, const char *pszEntry, HITEM *phItem, BOOL bModify) {
    return Unavailable("CWABCompare::OpenFolderItem", phItem);
}

void CWABCompare::CloseItem(HITEM *phItem) { Unavailable("CWABCompare::CloseItem", phItem); }

HRESULT CWABCompare::GetIDFromName(HITEM hItem, ULONG *pTag, const char *pszGUID, LONG nID, const char16_t *sID,
                                  BOOL bCreate) {
    return Unavailable("CWABCompare::GetIDFromName");
}

HRESULT CWABCompare::GetItemProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppProps,
                                 BOOL bUnicode) {
    if (pcValues) *pcValues = 0;
    return Unavailable("CWABCompare::GetItemProps", ppProps);
}

void CWABCompare::FreeItemProps(SPropValue *pProps) { Unavailable("CWABCompare::FreeItemProps"); }

HRESULT CWABCompare::GetItemSize(HITEM hItem, ULONG *pnSize, BOOL bWhole) {
    if (pnSize) *pnSize = 0;
    return Unavailable("CWABCompare::GetItemSize");
}

HRESULT CWABCompare::GetAttachments(HITEM hItem, ULONG **ppIDs, ULONG *pcIDs) {
    if (pcIDs) *pcIDs = 0;
    return Unavailable("CWABCompare::GetAttachments", ppIDs);
}

HRESULT CWABCompare::GetAttachProps(HITEM hItem, ULONG idAttach, const SPropTagArray *lpTags, ULONG *pcValues,
                                   SPropValue **ppProps, ULONG nReserved) {
    if (pcValues) *pcValues = 0;
    return Unavailable("CWABCompare::GetAttachProps", ppProps);
}

ULONG CWABCompare::GetAttachDisplayNameTag(ULONG nReserved) {
    Unavailable("CWABCompare::GetAttachDisplayNameTag");
    return 0;
}

BOOL CWABCompare::ValidAttachCmpProps(const SPropValue *pProps, ULONG cValues) {
    Unavailable("CWABCompare::ValidAttachCmpProps");
    return false;
}

HRESULT CWABCompare::CmpAttachProps(const SPropValue *pProps1, ULONG cValues1, const SPropValue *pProps2,
                                   ULONG cValues2, LONG *pnResult) {
    return Unavailable("CWABCompare::CmpAttachProps");
}

void CWABCompare::FreeAttachProps(SPropValue *pProps) { Unavailable("CWABCompare::FreeAttachProps"); }

HRESULT CWABCompare::CmpAttachData(HITEM hItem1, ULONG idAttach1, HITEM hItem2, ULONG idAttach2, LONG *pnResult) {
    return Unavailable("CWABCompare::CmpAttachData");
}

HRESULT CWABCompare::OpenStreamProp(HITEM hItem, ULONG nTag, IStream **ppStream, ULONG nReserved) {
    return Unavailable("CWABCompare::OpenStreamProp", ppStream);
}

HRESULT CWABCompare::AllocateBuffer(ULONG cb, void **ppBuffer) {
    return Unavailable("CWABCompare::AllocateBuffer", ppBuffer);
}

HRESULT CWABCompare::FreeBuffer(void *pBuffer) { return Unavailable("CWABCompare::FreeBuffer"); }
