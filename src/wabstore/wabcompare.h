// CWABCompare: the address book behind ICompare, the one the search and the matrix use for API_WAB. It forwards
// to CWABLib; only contacts open through it (a distribution list is an item that cannot be opened), and an
// item's size is the byte size of its properties. The book has no folders, attachments or stream properties:
// those operations keep the contract with an error line and a failure result.
#pragma once

#include "compare/icompare.h"
#include "wabstore/wablib.h"

class CWABCompare : public ICompare {
public:
    CWABCompare() = default;
    virtual ~CWABCompare() = default;
    CWABCompare(const CWABCompare &) = delete;
    CWABCompare &operator=(const CWABCompare &) = delete;

    HRESULT OpenFolder(const char *pszEntry, HFOLDER *phFolder) override;
    void CloseFolder(HFOLDER *phFolder) override;
    HRESULT OpenItem(const char *pszEntry, HITEM *phItem, BOOL bModify) override;
    HRESULT OpenFolderItem(HFOLDER hFolder, const char *pszEntry, HITEM *phItem, BOOL bModify) override;
    void CloseItem(HITEM *phItem) override;
    HRESULT GetIDFromName(HITEM hItem, ULONG *pTag, const char *pszGUID, LONG nID, const char16_t *sID,
                          BOOL bCreate) override;
    HRESULT GetItemProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppProps,
                         BOOL bUnicode) override;
    void FreeItemProps(SPropValue *pProps) override;
    // With bWhole the sum over every property of the entry, else over the display name and the comment.
    HRESULT GetItemSize(HITEM hItem, ULONG *pnSize, BOOL bWhole) override;
    HRESULT GetAttachments(HITEM hItem, ULONG **ppIDs, ULONG *pcIDs) override;
    HRESULT GetAttachProps(HITEM hItem, ULONG idAttach, const SPropTagArray *lpTags, ULONG *pcValues,
                           SPropValue **ppProps, ULONG nReserved) override;
    ULONG GetAttachDisplayNameTag(ULONG nReserved) override;
    BOOL ValidAttachCmpProps(const SPropValue *pProps, ULONG cValues) override;
    HRESULT CmpAttachProps(const SPropValue *pProps1, ULONG cValues1, const SPropValue *pProps2, ULONG cValues2,
                           LONG *pnResult) override;
    void FreeAttachProps(SPropValue *pProps) override;
    HRESULT CmpAttachData(HITEM hItem1, ULONG idAttach1, HITEM hItem2, ULONG idAttach2, LONG *pnResult) override;
    HRESULT OpenStreamProp(HITEM hItem, ULONG nTag, IStream **ppStream, ULONG nReserved) override;
    HRESULT AllocateBuffer(ULONG cb, void **ppBuffer) override;
    HRESULT FreeBuffer(void *pBuffer) override;

    CWABLib m_Lib;
};
