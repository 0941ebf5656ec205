// COECompare: the message store behind ICompare, the one the search and the matrix use for API_OE. It forwards
// to COELib; what is its own is the order among attachments (by name without regard to case, then by size) and
// the rule for an item's size (the whole message in both modes).
//
// Handles: hFolder is an IStoreFolder reference, hItem an OEOpenItem, an attachment identifier a body handle.
#pragma once

#include "compare/icompare.h"
#include "oestore/oelib.h"

class COECompare : public ICompare {
public:
    COECompare() = default;
    virtual ~COECompare() = default;
    COECompare(const COECompare &) = delete;
    COECompare &operator=(const COECompare &) = delete;

    HRESULT OpenFolder(const char *pszEntry, HFOLDER *phFolder) override;
    void CloseFolder(HFOLDER *phFolder) override;
    // bModify is dropped: an open message can always be edited in memory.
    HRESULT OpenItem(const char *pszEntry, HITEM *phItem, BOOL bModify) override;
    HRESULT OpenFolderItem(HFOLDER hFolder, const char *pszEntry, HITEM *phItem, BOOL bModify) override;
    void CloseItem(HITEM *phItem) override;
    // The store has only fixed tags: always -1 with the error "Not implemented!".
    HRESULT GetIDFromName(HITEM hItem, ULONG *pTag, const char *pszGUID, LONG nID, const char16_t *sID,
                          BOOL bCreate) override;
    HRESULT GetItemProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppProps,
                         BOOL bUnicode) override;
    void FreeItemProps(SPropValue *pProps) override;
    // PR_OE_SIZE in both modes; without bWhole a warning, once per process, that nothing finer is available.
    HRESULT GetItemSize(HITEM hItem, ULONG *pnSize, BOOL bWhole) override;
    // The body handles in list order, in a buffer from AllocateBuffer; none at all (outputs null and 0) when the
    // message has no attachment.
    HRESULT GetAttachments(HITEM hItem, ULONG **ppIDs, ULONG *pcIDs) override;
    HRESULT GetAttachProps(HITEM hItem, ULONG idAttach, const SPropTagArray *lpTags, ULONG *pcValues,
                           SPropValue **ppProps, ULONG nReserved) override;
    ULONG GetAttachDisplayNameTag(ULONG nReserved) override;
    // True with a name (PR_OE_ATTACH_NAME or PR_OE_ATTACH_DISPLAY_NAME) and a size among the values.
    BOOL ValidAttachCmpProps(const SPropValue *pProps, ULONG cValues) override;
    // By PR_OE_ATTACH_NAME if both have it, else by PR_OE_ATTACH_DISPLAY_NAME, without regard to case; equal
    // names are ordered by size. -1 when neither name tag is common to both (*pnResult then as it was).
    HRESULT CmpAttachProps(const SPropValue *pProps1, ULONG cValues1, const SPropValue *pProps2, ULONG cValues2,
                           LONG *pnResult) override;
    void FreeAttachProps(SPropValue *pProps) override;
    HRESULT CmpAttachData(HITEM hItem1, ULONG idAttach1, HITEM hItem2, ULONG idAttach2, LONG *pnResult) override;
    HRESULT OpenStreamProp(HITEM hItem, ULONG nTag, IStream **ppStream, ULONG nReserved) override;
    HRESULT AllocateBuffer(ULONG cb, void **ppBuffer) override;
    HRESULT FreeBuffer(void *pBuffer) override;

    COELib m_Lib;

private:
    // A caller that opens an item's body right after reading its properties (a scan that compares bodies) would
    // have the message file read twice: its header block for the properties, then the whole for the body. The
    // properties of the next item are then read from the whole message, read once up front. Learnt from the last
    // item whose properties were read, so a caller that stops opening bodies stops paying for them one item on.
    HITEM m_hPropsRead = nullptr; // that item, while it is open
    bool m_bBodyFollowed = false; // a body stream of it was opened after its properties were read
};
