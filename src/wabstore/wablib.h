// CWABLib: the one class through which the library touches the address book. It loads the provider module named
// in the registry, gets an IAddrBook and an IWABObject from its WABOpen, and speaks to the layers above in entry
// texts (Bin2Hex of binary entry ids), SPropValue arrays and plain records.
//
// Memory: what the address book hands out (rows, value arrays, entry ids) goes back through FreeBuffer of this
// class; the folder list of GetFolders is the library's own and goes back through WABFreeFolders. Every object
// opened here must be released before Done.
#pragma once

#include "platform/loader.h"
#include "platform/wab.h"
#include "tessel.h"

class CWABLib {
public:
    CWABLib();
    virtual ~CWABLib();
    CWABLib(const CWABLib &) = delete;
    CWABLib &operator=(const CWABLib &) = delete;

    // Connects to the book pszFileName names (null: the provider's default book). A second call drops the first
    // connection first. False if the provider cannot be loaded or opened; the log tells why.
    bool Init(const char *pszFileName, bool bEnableProfiles, bool bUseOeSendMail);
    // True while all four connection fields are set.
    bool Initialized() const;
    // Drops the connection; safe when not connected.
    void Done();

    // The address book's allocator: -1 for a null pointer, -2 when not connected, else the allocator's result.
    HRESULT FreeBuffer(void *p);
    HRESULT AllocateBuffer(ULONG cb, void **pp);

    // Lists the containers (only the local ones with bLocalOnly) into a new list that goes back through
    // WABFreeFolders. Once the root's rows are counted the caller has a list, whatever the result.
    HRESULT GetFolders(WABFolders **ppFolders, bool bLocalOnly);

    // Opens any object by its entry text, read-write with bModify, else with the best access granted. Logs
    // nothing; *ppObject is null and *pnObjType 0 on failure.
    HRESULT OpenEntry(const char *szEntry, IUnknown **ppObject, ULONG *pnObjType, bool bModify, LPCIID lpInterface);
    // As OpenEntry, for contacts and distribution lists only: any other object is released again and gives -1.
    HRESULT OpenItem(const char *szEntry, IMAPIProp **ppItem, ULONG *pnObjType, bool bModify);
    // Reads properties into an array that goes back through FreeBuffer; MAPI_W_ERRORS_RETURNED is success.
    HRESULT GetItemProps(IMAPIProp *lpItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppValues,
                         bool bUnicode);
    // Resolves a named property (by nID if it is not 0, else by sID) to a tag as the store gives it.
    HRESULT GetIDFromName(IMAPIProp *lpItem, ULONG *pTag, const char *szGUID, LONG nID, const char16_t *sID,
                          bool bCreate);
    // Writes one property; when the write fails the first problem's code is the result.
    HRESULT SetItemProp(IMAPIProp *lpItem, SPropValue *lpProp);
    // Writes properties and logs the problems; the problem array is the caller's to give to FreeBuffer.
    HRESULT SetItemProps(IMAPIProp *lpItem, ULONG cValues, SPropValue *lpValues, SPropProblemArray **ppProblems);
    // Commits the changes of an open entry.
    HRESULT SaveItem(IMAPIProp *lpItem, bool bForce, bool bKeepOpenReadOnly, bool bKeepOpenReadWrite);
    // Shows the entry's details with ulUIParam as the parent window.
    HRESULT DisplayItem(const char *szEntry, ULONG ulUIParam);

    // Lists a container's entries (szFolderEntry null or empty: the personal address book) of one object type (0:
    // all), modified at or after *pftSince if given, sorted by modification time with bSort. The list goes back
    // through WABFreeItems; once the table is open the caller has a list, whatever the result.
    HRESULT GetItems(WABItems **ppItems, const char *szFolderEntry, ULONG nObjectType, bool bProfile, bool bLocal,
                     const FILETIME *pftSince, bool bSort, bool bDescending);
    // The general listing: any columns, restriction and sort order (the last two may be null).
    HRESULT GetItemsEx(WABItems **ppItems, const char *szFolderEntry, ULONG ulTableFlags, SPropTagArray *lpColumns,
                       SRestriction *lpRestriction, SSortOrderSet *lpSortOrder);
    // The record of one contact or distribution list; it goes back through WABFreeItem.
    HRESULT GetItem(WABItem **ppItem, const char *szEntry);

    // Deletes an entry through the personal address book, whichever container lists it.
    HRESULT DeleteItem(const char *szEntry);
    // Copies an entry property by property into a container; *ppszNewEntry (from AllocateBuffer) names the copy.
    HRESULT CopyItem(const char *szEntry, const char *szFolderEntry, char **ppszNewEntry);
    // A copy and then a delete of the source; a failed delete leaves both and still gives 0.
    HRESULT MoveItem(const char *szEntry, const char *szFolderEntry, char **ppszNewEntry);
    // Puts szPrefix in front of the display name unless the name starts with it already.
    HRESULT MarkItemDisplayName(const char *szEntry, const char *szPrefix);
    // The entry text of the personal address book, from AllocateBuffer.
    HRESULT GetPAB(char **ppszEntry);
    // The first container of GetFolders that lists the entry: 0 and its text (from AllocateBuffer), 1 if none
    // does, else the failure.
    HRESULT FindItemFolder(const char *szEntry, char **ppszFolderEntry, bool bLocalOnly);

    // The number of entries in one container, or -1 if it cannot be found out.
    LONG _GetItemsCount(const BYTE *lpEntry, ULONG cbEntry);

private:
    // Logs "WAB is not initialized" under pszLabel and gives false when there is no connection.
    bool _CheckConnected(const char *pszLabel) const;
    // Hands a copy of pszText to the caller in a buffer from AllocateBuffer; an allocation failure is logged as
    // the error pszError under pszLabel and returned.
    HRESULT _HandOutText(const char *pszText, char **ppszOut, const char *pszLabel, const char *pszError);
    // The personal address book's id as the address book gives it (back through FreeBuffer), with the error
    // "AddrBook->GetPAB" under pszLabel on failure.
    HRESULT _GetPABId(ULONG *pcbEntry, ENTRYID **ppEntry, const char *pszLabel);

    HMODULE m_hWabDll;
    LPWABOPEN m_pfnWABOpen;
    IAddrBook *m_lpAddrBook;
    IWABObject *m_lpWABObject;
};

// Frees a list from CWABLib::GetFolders with all its texts; null is ignored.
void WABFreeFolders(WABFolders *pFolders);
// Free a list from CWABLib::GetItems or GetItemsEx, and a record from CWABLib::GetItem; null is ignored.
void WABFreeItems(WABItems *pItems);
void WABFreeItem(WABItem *pItem);
