// COELib: the one class through which the library touches the message store. It is a layer over the store's
// objects (IStoreNamespace, IStoreFolder) and the MIME objects (IMimeMessage and its kin): everything above it
// speaks in entry texts, SPropValue arrays and plain records, and sees a store object only as an opaque handle.
//
// Entry texts: a folder is named by 8 upper-case hexadecimal digits (its 32-bit id, low byte first), a message by
// 16 (the folder id, then the message id, both low byte first). An item entry dies with a save, a delete or a
// move of its message.
//
// Memory: every record, list, text and value array handed out here comes from the heap (std::malloc) and goes
// back through the matching Free routine of this header or FreeBuffer. Texts from the MIME objects go back at
// once through the connection's IMimeAllocator. Folders, open items and streams handed out hold their own
// references: the caller releases or closes them before Done.
#pragma once

#include "compare/icompare.h"
#include "oestore/oebodyprefix.h"
#include "oestore/oevaluechunks.h"
#include "platform/com.h"
#include "platform/mapi.h"
#include "platform/mimeole.h"
#include "platform/msgstore.h"
#include "tessel.h"

// What hItem points to for this store. The effective state flags are (dwState | dwSetMask) & ~dwClearMask; a bit
// is never in both masks. Reads see the effective flags, so an edit shows on the handle before it is saved.
struct OEOpenItem {
    IMimeMessage *pMessage; // owned: the message in memory, edits included
    MESSAGEID dwMessageId;  // the message this handle stands for
    STOREFOLDERID dwFolderId;
    DWORD dwState;     // state flags as last read from the store
    DWORD dwSetMask;   // bits to switch on at the next save
    DWORD dwClearMask; // bits to switch off at the next save
    bool bEdited;      // pMessage was changed through this handle: its bodies are no longer the stored ones
};

// One attachment of an open item: its body handle (valid while the item stays open and unsaved) and its display
// name (owned).
struct OEAttachment {
    HBODY hBody;
    char *szName;
};

// The attachments of an open item; goes back through COELib::FreeAttachments.
struct OEAttachments {
    ULONG cAttachments;
    OEAttachment *pAttachments; // null while empty
};

class COELib {
public:
    COELib();
    virtual ~COELib();
    COELib(const COELib &) = delete;
    COELib &operator=(const COELib &) = delete;

    // ---- Connection and folders ----

    // Connects to the store; a second call drops the old connection first. bFlag goes to the store inverted
    // (true: a missing store is created). False after an error line if the root or the allocator can't be had.
    bool Init(HWND hwndOwner, bool bFlag);
    // True while both the store root and the allocator are held.
    bool Initialized() const;
    // Drops the connection (the allocator first); safe when not connected.
    void Done();

    // The whole folder tree, depth-first pre-order, into a new list (never null after the call; a failing
    // enumeration only leaves it shorter). Free with OEFreeFolders.
    void GetFolders(OEFolders **ppFolders);
    // A folder by its entry text; the caller releases it. -1 for an entry that doesn't parse.
    HRESULT OpenFolder(const char *szFolderEntry, IStoreFolder **ppFolder);
    HRESULT _OpenFolder(STOREFOLDERID dwFolderId, IStoreFolder **ppFolder);
    // A special folder (FOLDER_*) and its id; the caller releases the folder.
    HRESULT _OpenSpecialFolder(SPECIALFOLDER sfType, IStoreFolder **ppFolder, STOREFOLDERID *pdwFolderId);
    // The entry text of a special folder; the caller frees it with FreeBuffer.
    HRESULT GetSpecialFolderEntry(SPECIALFOLDER sfType, char **ppszEntry);
    // The store's directory on disk; the caller frees it with FreeBuffer.
    HRESULT GetStoreDirectory(char **ppszDir);
    // The library's heap: -1 for a null ppv or a cb of 0.
    HRESULT AllocateBuffer(ULONG cb, void **ppv);
    void FreeBuffer(void *pv);

    // ---- Item listing ----

    // All messages of a folder into a new list (free with OEFreeItems). bFast: short records (entry, language,
    // state). pSince: only messages sent at or after it. bSort: by sending time, equal times in store order.
    HRESULT GetItems(OEItems **ppItems, const char *szFolderEntry, bool bFast, const FILETIME *pSince, bool bSort,
                     bool bDescending);
    // One message's record (free with OEFreeItem).
    HRESULT GetItem(OEItem **ppItem, const char *szItemEntry, bool bFast);
    void _FillOEItem(OEItem *pItem, STOREFOLDERID dwFolderId, const MESSAGEPROPS *pProps, bool bFast);

    // ---- Open items and state flags ----

    HRESULT OpenItem(const char *szItemEntry, HITEM *phItem);
    // As OpenItem with the folder already open; the folder id of the entry is taken at face value.
    HRESULT OpenFolderItem(IStoreFolder *pFolder, const char *szItemEntry, HITEM *phItem);
    // pFolder may be null (then the folder is opened here); dwState 0xFFFFFFFF: read it from the store.
    HRESULT _OpenItem(STOREFOLDERID dwFolderId, MESSAGEID dwMessageId, HITEM *phItem, IStoreFolder *pFolder,
                      DWORD dwState);
    // Releases the message and frees the handle; *phItem becomes null. Null pointers are ignored.
    void CloseItem(HITEM *phItem);
    // Switches the state bits dwFlags on in the stored message; the entry stays valid.
    HRESULT MarkItem(const char *szItemEntry, DWORD dwFlags);
    // The effective flags, or with bRaw only those last read; bCached false reads them from the store first.
    DWORD _GetStateFlags(HITEM hItem, bool bCached, bool bRaw);
    // The store's receiving and sending times of the open item's message (either pointer may be null).
    HRESULT _GetMessageProps(HITEM hItem, FILETIME *pftReceived, FILETIME *pftSent);

    // ---- Message properties (tags in oestore/oetags.h) ----

    // A value array with one value per tag, in order; an unreadable value is a PT_ERROR value and the result is
    // then MAPI_W_ERRORS_RETURNED. The values and their texts are one block (oestore/oevalues.h) that lives on
    // its own until FreeItemProps, also past the connection. The texts of a read of one value are the caller's
    // to change; those of a read of several may be shared with other blocks and are read-only. bUnicode is
    // ignored.
    HRESULT GetItemProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **lppProps,
                         bool bUnicode);
    // One tag; the result is the value's error code when it is an error value. The array is handed out in both
    // cases and goes back through FreeItemProps.
    HRESULT GetItemProp(HITEM hItem, ULONG ulPropTag, SPropValue **lppProp, bool bUnicode);
    void FreeItemProps(SPropValue *lpProps);
    HRESULT _GetTextProp(IMimePropertySet *pPropSet, const char *szName, char **ppsz, DWORD dwFlags);
    HRESULT ReadLongProp(IMimePropertySet *pPropSet, const char *szName, LONG *pn);
    HRESULT _GetFiletimeProp(IMimePropertySet *pPropSet, const char *szName, FILETIME *pft, bool bLocal);
    HRESULT _InetDateToFileTime(const char *szDate, FILETIME *pft, bool bLocal);
    HRESULT _GetAddressFormat(IMimeMessage *pMessage, DWORD dwAdrType, DWORD nFormat, char **ppsz);

    // ---- Bodies and streams ----

    // The whole stream as a zero-terminated heap text and its byte count; both zero for an empty stream.
    HRESULT _ReadStream(IStream *pStream, char **ppsz, ULONG *pcb);
    HRESULT _ReadPlainBody(IMimeMessage *pMessage, char **ppsz, bool bAllowHtml, bool *pbConverted);
    HRESULT _GetTextBody(IMimeMessage *pMessage, char **ppsz, bool bHtml);
    // A body property as a stream that the caller releases. nReserved is ignored.
    HRESULT OpenStreamProp(HITEM hItem, ULONG ulPropTag, IStream **ppStream, ULONG nReserved);
    HRESULT _SetTextBody(IMimeMessage *pMessage, const char *szText, bool bHtml, bool bWithAlternative);
    char *_HTML2Plain(const char *szHtml);

    // ---- Writing and saving ----

    HRESULT SetItemProps(HITEM hItem, ULONG cValues, const SPropValue *lpProps, SPropProblemArray **ppProblems);
    HRESULT SetItemProp(HITEM hItem, const SPropValue *lpProp);
    HRESULT SaveItem(HITEM hItem, bool bDeleteOld, bool bPermanently);
    HRESULT CreateItem(HITEM *phItem, const char *szFolderEntry, const char *szSource, DWORD dwMsgFlags);
    HRESULT DisplayItemSource(const char *szItemEntry, HWND hwndParent);

    // ---- Delete, move and copy ----

    // *ppszNewEntry (if given) is written only when the new entry is known; free it with FreeBuffer.
    HRESULT DeleteItem(const char *szItemEntry, char **ppszNewEntry, bool bPermanently);
    HRESULT CopyItem(const char *szItemId, const char *szFolderId, char **ppszNewEntry);
    HRESULT MoveItem(const char *szItemId, const char *szFolderId, char **ppszNewEntry);
    // MESSAGEID_INVALID if the folder is empty or can't be enumerated.
    MESSAGEID _GetLastItemID(IStoreFolder *pFolder);
    // The first message after dwAfter (MESSAGEID_INVALID: the whole folder) whose text property ulPropTag equals
    // szValue, or MESSAGEID_INVALID.
    MESSAGEID _FindItem(IStoreFolder *pFolder, ULONG ulPropTag, const char *szValue, bool bIgnoreCase,
                        MESSAGEID dwAfter);
    MESSAGEID _FindItemByHash(IStoreFolder *pFolder, const char *szHash, MESSAGEID dwAfter);
    HRESULT _GetHashSHA1(IStream *pStream, char *pszHash, ULONG cbHash);

    // ---- Attachments ----

    HRESULT GetAttachments(HITEM hItem, OEAttachments **ppList);
    // Frees the names, the array and the record, and nulls *ppList.
    void FreeAttachments(OEAttachments **ppList);
    HRESULT GetAttachmentProps(HITEM hItem, HBODY hBody, const SPropTagArray *lpTags, ULONG *pcValues,
                               SPropValue **lppProps, ULONG nReserved);
    HRESULT GetAttachmentProp(HITEM hItem, HBODY hBody, ULONG ulPropTag, SPropValue **lppProp, ULONG nReserved);
    void FreeAttachProps(SPropValue *lpProps);
    // 0 with *phBody set; 1 when no attachment from index nFirst on has the name (and size, unless cbSize is 0).
    HRESULT FindAttachment(HITEM hItem, HBODY *phBody, const char *szName, ULONG cbSize, ULONG nFirst);
    HRESULT CmpAttachment(HITEM hItem1, HBODY hBody1, HITEM hItem2, HBODY hBody2, LONG *pnResult);
    HRESULT CopyAttachment(HITEM hItemTo, HITEM hItemFrom, HBODY hBody, HBODY *phNewBody);

    // ---- Entry texts (heap texts; free with FreeBuffer) ----

    static char *Folder2Str(STOREFOLDERID dwFolderId);
    static char *ItemEntry2Str(STOREFOLDERID dwFolderId, MESSAGEID dwMessageId);
    // True if the text holds exactly 4 bytes; no log line.
    static bool Str2Folder(const char *szEntry, STOREFOLDERID *pdwFolderId);
    // True if the text holds exactly 8 bytes, else an error line.
    static bool Str2ItemEntry(const char *szEntry, STOREFOLDERID *pdwFolderId, MESSAGEID *pdwMessageId);

    COEBodyPrefixes m_BodyPrefixes; // of this connection; filled only where bodies are opened as streams
    COEValueChunks m_ValueChunks;   // where GetItemProps packs its values
    IStoreNamespace *m_pNamespace; // owned; null when not connected
    IMimeAllocator *m_pAllocator;  // owned; null when not connected
    GUID CLSID_StoreNamespace;
    GUID IID_IStoreNamespace;
    GUID IID_IStoreFolder;
    GUID CLSID_IMimeAllocator;
    GUID IID_IMimeAllocator;
    GUID IID_IMimePropertySet;
    GUID IID_IMimeBody;
    GUID IID_IMimeHeaderTable;
    GUID IID_IMimeMessage;
};

// Free a list or a record from GetFolders, GetItems or GetItem with all its texts; null is ignored.
void OEFreeFolders(OEFolders *pFolders);
void OEFreeItems(OEItems *pItems);
void OEFreeItem(OEItem *pItem);
