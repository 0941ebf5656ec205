// The message store as the store classes speak to it: a namespace of folders (IStoreNamespace) and the folders
// with their messages (IStoreFolder), with the published names, records and numbers. On Linux the store behind
// them is a Maildir (src/providers/maildir); it is created through CoCreateInstance (platform/cocreate.h).
//
// Contract common to both interfaces:
// - Folder ids and message ids are 32-bit and stable across runs. Message ids ascend in the order messages
//   arrived in a folder and are never reused; enumerations hand them out in ascending order.
// - Enumerations return S_OK with a filled record, S_FALSE at the end, a negative code on failure.
// - Every MESSAGEPROPS that a call filled is given back through IStoreFolder::FreeMessageProps.
#pragma once

#include "platform/com.h"

using STOREFOLDERID = DWORD;
using MESSAGEID = DWORD;
using HENUMSTORE = struct HENUMSTORE__ *; // an open enumeration; closed by its Close operation
using HBATCHLOCK = void *;                 // accepted and ignored: every write is flushed at once

inline constexpr STOREFOLDERID FOLDERID_ROOT = 0;
inline constexpr STOREFOLDERID FOLDERID_INVALID = 0xFFFFFFFF;
inline constexpr MESSAGEID MESSAGEID_INVALID = 0xFFFFFFFF;
inline constexpr MESSAGEID MESSAGEID_FIRST = 0xFFFFFFFF; // GetFirstMessage: start with the lowest id

// Special folders: the numbers FOLDER_INBOX (0), FOLDER_OUTBOX, FOLDER_SENT, FOLDER_DELETED, FOLDER_DRAFT (4) and
// FOLDER_OTHER (5, a folder that is none of these) of tessel.h.
using SPECIALFOLDER = int32_t;

// Message state flags.
inline constexpr DWORD MSG_DELETED = 0x0001;
inline constexpr DWORD MSG_UNREAD = 0x0002;
inline constexpr DWORD MSG_SUBMITTED = 0x0004;
inline constexpr DWORD MSG_UNSENT = 0x0008;
inline constexpr DWORD MSG_RECEIVED = 0x0010;
inline constexpr DWORD MSG_NEWSMSG = 0x0020;
inline constexpr DWORD MSG_NOSECUI = 0x0040;
inline constexpr DWORD MSG_VOICEMAIL = 0x0080;
inline constexpr DWORD MSG_REPLIED = 0x0100;
inline constexpr DWORD MSG_FORWARDED = 0x0200;
inline constexpr DWORD MSG_RCPTSENT = 0x0400;
inline constexpr DWORD MSG_FLAGGED = 0x0800;
inline constexpr DWORD MSG_ALLSTATES = 0x0FFF;

// GetFirstMessage / GetNextMessage / GetMessageProps: MSGPROPS_FAST fills only the id, language and state.
inline constexpr DWORD MSGPROPS_FAST = 0x00000001;

// CopyMoveMessages: without CMF_MOVE the messages are copied.
inline constexpr DWORD CMF_MOVE = 0x00000001;

// Message priority, as in the X-Priority header.
enum IMSGPRIORITY : int32_t {
    IMSG_PRI_LOW = 5,
    IMSG_PRI_NORMAL = 3,
    IMSG_PRI_HIGH = 1,
};

struct FOLDERPROPS {
    DWORD cbSize; // sizeof(FOLDERPROPS)
    STOREFOLDERID dwFolderId;
    int32_t cSubFolders; // direct children
    SPECIALFOLDER sfType;
    DWORD cUnread;
    DWORD cMessage;
    char szName[256]; // UTF-8, zero-terminated
};

struct MESSAGEPROPS {
    DWORD cbSize; // sizeof(MESSAGEPROPS)
    DWORD dwReserved;
    MESSAGEID dwMessageId;
    DWORD dwLanguage;
    DWORD dwState;   // MSG_* flags
    DWORD cbMessage; // size of the message file (low 32 bits)
    IMSGPRIORITY priority;
    FILETIME ftReceived;
    FILETIME ftSent;
    LPSTR pszSubject; // the texts are UTF-8, null where the header is absent; FreeMessageProps frees them
    LPSTR pszDisplayTo;
    LPSTR pszDisplayFrom;
    LPSTR pszNormalSubject;
    DWORD dwFlags;             // always 0 here
    IStream *pStmOffsetTable;  // always null here
};

struct MESSAGEIDLIST {
    DWORD cbSize; // sizeof(MESSAGEIDLIST)
    DWORD cMsgs;
    MESSAGEID *prgdwMsgId;
};

struct IProgressNotify; // accepted where the published signatures have it; always ignored
struct IMimeMessage;    // platform/mimeole.h
struct IStoreFolder;

// {E70C92A9-4BFD-11d1-8A95-00C04FB951F3}
inline constexpr CLSID CLSID_StoreNamespace{0xE70C92A9, 0x4BFD, 0x11d1, {0x8A, 0x95, 0x00, 0xC0, 0x4F, 0xB9, 0x51, 0xF3}};
// {E70C92AA-4BFD-11d1-8A95-00C04FB951F3}
inline constexpr IID IID_IStoreNamespace{0xE70C92AA, 0x4BFD, 0x11d1, {0x8A, 0x95, 0x00, 0xC0, 0x4F, 0xB9, 0x51, 0xF3}};
// {E70C92AC-4BFD-11d1-8A95-00C04FB951F3}
inline constexpr IID IID_IStoreFolder{0xE70C92AC, 0x4BFD, 0x11d1, {0x8A, 0x95, 0x00, 0xC0, 0x4F, 0xB9, 0x51, 0xF3}};

// The store as a whole: its folders, by id, by special type, and as a tree below FOLDERID_ROOT.
struct IStoreNamespace : IUnknown {
    // Connects to the store. dwReserved 0 creates a missing store; 1 makes a missing one a failure.
    virtual HRESULT Initialize(HWND hwndOwner, DWORD dwReserved) = 0;
    // The store's directory, zero-terminated; fails if it does not fit in cchMaxPath bytes.
    virtual HRESULT GetDirectory(LPSTR pszPath, DWORD cchMaxPath) = 0;
    // A special folder; Deleted Items, Outbox, Sent and Drafts are created when the store has none.
    virtual HRESULT OpenSpecialFolder(LONG sfType, DWORD dwReserved, IStoreFolder **ppFolder) = 0;
    virtual HRESULT OpenFolder(STOREFOLDERID dwFolderId, DWORD dwReserved, IStoreFolder **ppFolder) = 0;
    // A new folder below dwParentId (FOLDERID_ROOT for a top-level folder), in the store's layout.
    virtual HRESULT CreateFolder(STOREFOLDERID dwParentId, LPCSTR pszName, DWORD dwReserved,
                                 STOREFOLDERID *pdwFolderId) = 0;
    virtual HRESULT GetFolderProps(STOREFOLDERID dwFolderId, DWORD dwReserved, FOLDERPROPS *pProps) = 0;
    // Copies (or with CMF_MOVE moves) the listed messages of pSource to pDest. dwFlagsRemove is ignored.
    virtual HRESULT CopyMoveMessages(IStoreFolder *pSource, IStoreFolder *pDest, MESSAGEIDLIST *pMsgIdList,
                                     DWORD dwFlags, DWORD dwFlagsRemove, IProgressNotify *pProgress) = 0;
    // The children of a folder: the first, S_FALSE (and a null handle) if there is none.
    virtual HRESULT GetFirstSubFolder(STOREFOLDERID dwFolderId, FOLDERPROPS *pProps, HENUMSTORE *phEnum) = 0;
    virtual HRESULT GetNextSubFolder(HENUMSTORE hEnum, FOLDERPROPS *pProps) = 0;
    virtual HRESULT GetSubFolderClose(HENUMSTORE hEnum) = 0;

protected:
    ~IStoreNamespace() = default;
};

// One folder and its messages.
struct IStoreFolder : IUnknown {
    virtual HRESULT GetFolderProps(DWORD dwReserved, FOLDERPROPS *pProps) = 0;
    // In a normal folder the messages move to Deleted Items (created when missing) under new ids above all ids
    // there; in Deleted Items they are destroyed.
    virtual HRESULT DeleteMessages(MESSAGEIDLIST *pMsgIdList, DWORD dwReserved, IProgressNotify *pProgress) = 0;
    // Each listed message's state becomes (state AND NOT dwStatemask) OR (dwState AND dwStatemask); the new
    // states go to prgdwNewFlags (one per message) when it is not null.
    virtual HRESULT SetFlags(MESSAGEIDLIST *pMsgIdList, DWORD dwState, DWORD dwStatemask, DWORD *prgdwNewFlags) = 0;
    // riid IID_IStream: the message file's bytes, read-only. riid IID_IMimeMessage: the parsed message.
    virtual HRESULT OpenMessage(MESSAGEID dwMessageId, REFIID riid, void **ppvObject) = 0;
    // Writes a new message (from an IMimeMessage or an IStream) under a new id; nothing is ever overwritten.
    virtual HRESULT SaveMessage(REFIID riid, void *pvObject, DWORD dwMsgFlags, MESSAGEID *pdwMessageId) = 0;
    // A stream that CommitStream turns into message *pdwMessageId. Releasing it uncommitted drops it.
    virtual HRESULT CreateStream(HBATCHLOCK hBatchLock, DWORD dwReserved, IStream **ppStream,
                                 MESSAGEID *pdwMessageId) = 0;
    virtual HRESULT CommitStream(HBATCHLOCK hBatchLock, DWORD dwFlags, DWORD dwMsgFlags, IStream *pStream,
                                 MESSAGEID dwMessageId, IMimeMessage *pMessage) = 0;
    // Messages by ascending id from dwMsgIdFirst (MESSAGEID_FIRST: from the lowest). dwMsgFlags, when not 0,
    // keeps only messages whose state has all of its bits.
    virtual HRESULT GetFirstMessage(DWORD dwFlags, DWORD dwMsgFlags, MESSAGEID dwMsgIdFirst, MESSAGEPROPS *pProps,
                                    HENUMSTORE *phEnum) = 0;
    virtual HRESULT GetNextMessage(HENUMSTORE hEnum, DWORD dwFlags, MESSAGEPROPS *pProps) = 0;
    virtual HRESULT GetMessageClose(HENUMSTORE hEnum) = 0;
    virtual HRESULT GetMessageProps(MESSAGEID dwMessageId, DWORD dwFlags, MESSAGEPROPS *pProps) = 0;
    virtual HRESULT FreeMessageProps(MESSAGEPROPS *pProps) = 0;

protected:
    ~IStoreFolder() = default;
};
