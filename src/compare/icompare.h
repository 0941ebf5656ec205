// ICompare: the seam between the algorithms (search, matrix) and the stores. The stores' adaptors implement the
// pure operations; the value and stream semantics that decide what a duplicate is are implemented here, once.
#pragma once

#include "platform/mapi.h"

using HITEM = void *;   // an open item; only the adaptor that made it looks inside
using HFOLDER = void *; // an open folder; always null for the address book

class ICompare {
public:
    // The 23 virtual operations, in this order. ICompare has no virtual destructor: the adaptors are members
    // of the library record and are never deleted through this interface.
    virtual HRESULT OpenFolder(const char *pszEntry, HFOLDER *phFolder) = 0;
    virtual void CloseFolder(HFOLDER *phFolder) = 0;
    virtual HRESULT OpenItem(const char *pszEntry, HITEM *phItem, BOOL bModify) = 0;
    virtual HRESULT OpenFolderItem(HFOLDER hFolder, const char *pszEntry, HITEM *phItem, BOOL bModify) = 0;
    virtual void CloseItem(HITEM *phItem) = 0;
    virtual HRESULT GetIDFromName(HITEM hItem, ULONG *pTag, const char *pszGUID, LONG nID, const char16_t *sID,
                                  BOOL bCreate) = 0;
    virtual HRESULT GetItemProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppProps,
                                 BOOL bUnicode) = 0;
    virtual void FreeItemProps(SPropValue *pProps) = 0;
    virtual HRESULT GetItemSize(HITEM hItem, ULONG *pnSize, BOOL bWhole) = 0;
    virtual HRESULT GetAttachments(HITEM hItem, ULONG **ppIDs, ULONG *pcIDs) = 0;
    virtual HRESULT GetAttachProps(HITEM hItem, ULONG idAttach, const SPropTagArray *lpTags, ULONG *pcValues,
                                   SPropValue **ppProps, ULONG nReserved) = 0;
    virtual ULONG GetAttachDisplayNameTag(ULONG nReserved) = 0;
    virtual BOOL ValidAttachCmpProps(const SPropValue *pProps, ULONG cValues) = 0;
    virtual HRESULT CmpAttachProps(const SPropValue *pProps1, ULONG cValues1, const SPropValue *pProps2,
                                   ULONG cValues2, LONG *pnResult) = 0;
    virtual void FreeAttachProps(SPropValue *pProps) = 0;
    virtual HRESULT CmpAttachData(HITEM hItem1, ULONG idAttach1, HITEM hItem2, ULONG idAttach2, LONG *pnResult) = 0;
    virtual BOOL IsEmptyValue(const _PV *pValue, ULONG nTag, ULONG *pnSize);
    virtual BOOL CompareValues(const SPropValue *pProp1, const SPropValue *pProp2, LONG *pnResult);
    virtual HRESULT OpenStreamProp(HITEM hItem, ULONG nTag, IStream **ppStream, ULONG nReserved) = 0;
    virtual HRESULT StreamPropEmpty(HITEM hItem, ULONG nTag, BOOL *pbEmpty, ULONG *pnSize);
    virtual HRESULT CompareStreamProp(HITEM hItem1, HITEM hItem2, ULONG nTag, LONG *pnResult, uint8_t *pbCmpWritten);
    virtual HRESULT AllocateBuffer(ULONG cb, void **ppBuffer) = 0;
    virtual HRESULT FreeBuffer(void *pBuffer) = 0;

    // Built on the operations above, the same for both stores.
    HRESULT GetItemProp(HITEM hItem, ULONG nTag, SPropValue **ppProp, BOOL bUnicode);
    HRESULT CountProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pnFilled, ULONG *pSizes);
    HRESULT CountStreamProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pnFilled, ULONG *pSizes);
    HRESULT GetStreamPropValue(HITEM hItem, ULONG nTag, void **ppBuffer, ULONG *pcb, BOOL bTerminate);

protected:
    ICompare() = default;
    ~ICompare() = default;
};

// The first element of a value array that fits the tag, or null. With bExact the whole tag must be equal, else
// only the property identifier, so that a PT_ERROR answer is still found under the tag that was asked for.
SPropValue *FindPropValue(SPropValue *pProps, ULONG cValues, ULONG nTag, BOOL bExact);
const SPropValue *FindPropValue(const SPropValue *pProps, ULONG cValues, ULONG nTag, BOOL bExact);
