#include "oestore/oecompare.h"

#include "log/log.h"

namespace {

constexpr HRESULT kUnavailable = -1;

HRESULT Unavailable(const char *pszLabel) {
    g_Log.Error(pszLabel, 0, "the message store is not available in this build");
    return kUnavailable;
}

template <class T>
HRESULT Unavailable(const char *pszLabel, T **ppOut) {
    if (ppOut) *ppOut = nullptr;
    return Unavailable(pszLabel);
}

} // namespace

HRESULT COECompare::OpenFolder(const char *pszEntry, HFOLDER *phFolder) {
    return Unavailable("COECompare::OpenFolder", phFolder);
}

void COECompare::CloseFolder(HFOLDER *phFolder) { Unavailable("COECompare::CloseFolder", phFolder); }

HRESULT COECompare::OpenItem(const char *pszEntry, HITEM *phItem, BOOL bModify) {
    return Unavailable("COECompare::OpenItem", phItem);
}

HRESULT COECompare::OpenFolderItem(HFOLDER hFolder, const char *pszEntry, HITEM *phItem, BOOL bModify) {
    return Unavailable("COECompare::OpenFolderItem", phItem);
}

void COECompare::CloseItem(HITEM *phItem) { Unavailable("COECompare::CloseItem", phItem); }

HRESULT COECompare::GetIDFromName(HITEM hItem, ULONG *pTag, const char *pszGUID, LONG nID, const char16_t *sID,
                                  BOOL bCreate) {
    return Unavailable("COECompare::GetIDFromName");
}

HRESULT COECompare::GetItemProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppProps,
                                 BOOL bUnicode) {
    if (pcValues) *pcValues = 0;
    return Unavailable("COECompare::GetItemProps", ppProps);
}

void COECompare::FreeItemProps(SPropValue *pProps) { Unavailable("COECompare::FreeItemProps"); }

HRESULT COECompare::GetItemSize(HITEM hItem, ULONG *pnSize, BOOL bWhole) {
    if (pnSize) *pnSize = 0;
    return Unavailable("COECompare::GetItemSize");
}

HRESULT COECompare::GetAttachments(HITEM hItem, ULONG **ppIDs, ULONG *pcIDs) {
    if (pcIDs) *pcIDs = 0;
    return Unavailable("COECompare::GetAttachments", ppIDs);
}

HRESULT COECompare::GetAttachProps(HITEM hItem, ULONG idAttach, const SPropTagArray *lpTags, ULONG *pcValues,
                                   SPropValue **ppProps, ULONG nReserved) {
    if (pcValues) *pcValues = 0;
    return Unavailable("COECompare::GetAttachProps", ppProps);
}

ULONG COECompare::GetAttachDisplayNameTag(ULONG nReserved) {
    Unavailable("COECompare::GetAttachDisplayNameTag");
    return 0;
}

BOOL COECompare::ValidAttachCmpProps(const SPropValue *pProps, ULONG cValues) {
    Unavailable("COECompare::ValidAttachCmpProps");
    return false;
}

HRESULT COECompare::CmpAttachProps(const SPropValue *pProps1, ULONG cValues1, const SPropValue *pProps2,
                                   ULONG cValues2, LONG *pnResult) {
    return Unavailable("COECompare::CmpAttachProps");
}

void COECompare::FreeAttachProps(SPropValue *pProps) { Unavailable("COECompare::FreeAttachProps"); }

HRESULT COECompare::CmpAttachData(HITEM hItem1, ULONG idAttach1, HITEM hItem2, ULONG idAttach2, LONG *pnResult) {
    return Unavailable("COECompare::CmpAttachData");
}

HRESULT COECompare::OpenStreamProp(HITEM hItem, ULONG nTag, IStream **ppStream, ULONG nReserved) {
    return Unavailable("COECompare::OpenStreamProp", ppStream);
}

HRESULT COECompare::AllocateBuffer(ULONG cb, void **ppBuffer) {
    return Unavailable("COECompare::AllocateBuffer", ppBuffer);
}

HRESULT COECompare::FreeBuffer(void *pBuffer) { return Unavailable("COECompare::FreeBuffer"); }
