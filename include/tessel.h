/*
 * Tessel: find and remove duplicates in mail stores and address books.
 *
 * This is the whole public interface of libtessel: 63 C functions and the plain records that cross them.
 *
 * Conventions
 * - "32-bit" numbers are int32_t/uint32_t; true/false is a 32-bit int (any non-zero value is true).
 * - Handles (library, search, matrix, open item, window) and all pointers are native, pointer-sized.
 * - 8-bit text is UTF-8. Wide text (Key, Name and sID of a PropDesc) is UTF-16 (char16_t).
 * - Status results: 0 success; -1 a null handle, an unknown API number, a store that is not initialized, an entry
 *   text that does not parse, or a request the store does not support; -2 a name that could not be resolved, a
 *   date filter that could not be converted, or a missing entry point; -3 a property of the wrong type; -4 a date
 *   that could not be converted; anything else is the store's own HRESULT, unchanged.
 * - Ownership: every list a Get function hands out goes back through the Free function of the same kind; every
 *   text a TS_ function hands out goes back through TS_FreeBuffer with the same nAPI. Search and matrix objects are
 *   deleted with Search_Delete and CmpMatrix_Delete before the store's Done and before DeleteTessel.
 * - No call is thread-safe: a library handle and everything hanging from it is used from one thread at a time.
 */
#ifndef TESSEL_H
#define TESSEL_H

#include <stdint.h>
#ifndef __cplusplus
#include <uchar.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define TESSEL_API __attribute__((visibility("default")))
#else
#define TESSEL_API
#endif

/* ---- Plain platform records ------------------------------------------------------------------------------- */

#ifndef TESSEL_PLATFORM_TIME_DEFINED
#define TESSEL_PLATFORM_TIME_DEFINED
/* 100-nanosecond ticks since 1601-01-01 UTC, split in two 32-bit halves. */
typedef struct FILETIME {
    uint32_t dwLowDateTime;
    uint32_t dwHighDateTime;
} FILETIME;

/* A calendar time; wDayOfWeek is 0 for Sunday. */
typedef struct SYSTEMTIME {
    uint16_t wYear;
    uint16_t wMonth;
    uint16_t wDayOfWeek;
    uint16_t wDay;
    uint16_t wHour;
    uint16_t wMinute;
    uint16_t wSecond;
    uint16_t wMilliseconds;
} SYSTEMTIME;
#endif

typedef void *HWND;            /* a parent window; Tessel never draws one, any value is accepted */
typedef void *TS_HITEM;        /* an open item, from TS_OpenItem */
typedef uint32_t TS_HBODY;     /* a body (attachment) of an open message */

/* ---- Opaque objects ------------------------------------------------------------------------------------------ */

typedef struct CTessel CTessel;                   /* the library handle, "pLib" */
typedef struct CDuplicateSearch CDuplicateSearch; /* a duplicate search, "pSearch" */
typedef struct CCmpMatrix CCmpMatrix;             /* a comparison matrix, "pMatrix" */

/* ---- API numbers ---------------------------------------------------------------------------------------------- */

#define API_OE 0  /* the message store (Maildir) */
#define API_WAB 1 /* the address book (vCard) */

/* ---- Property descriptors --------------------------------------------------------------------------------------- */

/* How a property's value is read. */
#define TS_INTERFACE_VALUE 0  /* a plain value */
#define TS_INTERFACE_STREAM 1 /* a stream (a message body) */

/* The caller's description of one property. Tag 0 means a named property not yet resolved; resolving writes the
   tag back here. */
typedef struct PropDesc {
    const char16_t *Key;  /* the caller's identifier; only printed in log lines; may be null */
    const char16_t *Name; /* a name for humans; only printed; may be null */
    int32_t nUser;        /* the caller's own word; copied, never read */
    uint32_t Tag;         /* property tag: identifier in the upper 16 bits, PT_* type in the lower 16 */
    const char *GUID;     /* property set of a named property, "{...}" form; may be null */
    int32_t nID;          /* numeric name of a named property; non-zero selects it */
    const char16_t *sID;  /* string name of a named property, used when nID is 0; may be null */
    uint32_t nType;       /* PT_* type of a named property */
    uint32_t nInterface;  /* TS_INTERFACE_VALUE or TS_INTERFACE_STREAM; other values are ignored with a log line */
    int32_t bCompare;     /* search: non-zero, the property decides equality; 0, it only counts towards fullness */
} PropDesc;

typedef struct PropList {
    uint32_t nProps;
    PropDesc *pProps;
} PropList;

/* ---- Property types and tags ---------------------------------------------------------------------------------------- */

/* The PT_* types a caller meets in PropDesc.nType and in the lower half of a tag. */
#define TS_PT_I2 0x0002u        /* 16-bit number: TS_GetItemNumProp / TS_SetItemNumProp */
#define TS_PT_LONG 0x0003u      /* 32-bit number: likewise */
#define TS_PT_BOOLEAN 0x000Bu   /* true or false: likewise */
#define TS_PT_STRING8 0x001Eu   /* UTF-8 text: TS_GetItemTextProp / TS_SetItemTextProp */
#define TS_PT_SYSTIME 0x0040u   /* a date: TS_GetItemDateProp / TS_SetItemDateProp */
#define TS_PT_BINARY 0x0102u    /* bytes; only compared, never read through an export */
#define TS_PT_MV_STRING8 0x101Eu /* several texts, joined by the list separator ";" at the exports */

/* Both stores: the item's binary identity, whose hexadecimal form is the item's entry text (TS_GetItemID). */
#define TS_PR_ENTRYID 0x0FFF0102u

/* The message store's tags, a numbering of Tessel's own. Flags read as TS_PT_BOOLEAN, 0 or 1. */
#define TS_PR_OE_HASATTACH 0x8001000Bu     /* read only */
#define TS_PR_OE_DISPLAY_BCC 0x8002001Eu   /* display names of the Bcc recipients; read only */
#define TS_PR_OE_DISPLAY_CC 0x8003001Eu    /* read only */
#define TS_PR_OE_DISPLAY_TO 0x8004001Eu    /* read only */
#define TS_PR_OE_BODY 0x8005001Eu          /* the plain text of the message; also a stream */
#define TS_PR_OE_FLAGGED 0x8006000Bu
#define TS_PR_OE_SENDER_EMAIL 0x8007001Eu  /* address of Sender, else of From; read only */
#define TS_PR_OE_HEADERS 0x8008001Eu       /* the whole header block; read only */
#define TS_PR_OE_PRIORITY 0x800A0003u      /* 1 high, 3 normal, 5 low */
#define TS_PR_OE_UNREAD 0x800B000Bu
#define TS_PR_OE_RECEIVED 0x800C0040u      /* the date of a Received header; read only */
#define TS_PR_OE_DISPLAY_FROM 0x800D001Eu  /* read only */
#define TS_PR_OE_SENT 0x800E0040u          /* the Date header; read only */
#define TS_PR_OE_SIZE 0x800F0003u          /* read only */
#define TS_PR_OE_SUBJECT 0x8010001Eu
#define TS_PR_OE_REFERENCES 0x8011001Eu
#define TS_PR_OE_MESSAGE_ID 0x8012001Eu
#define TS_PR_OE_STATE 0x80130003u         /* all state flags as one number */
#define TS_PR_OE_DELETED 0x8014000Bu
#define TS_PR_OE_SUBMITTED 0x8015000Bu
#define TS_PR_OE_UNSENT 0x8016000Bu
#define TS_PR_OE_RECEIVED_FLAG 0x8017000Bu
#define TS_PR_OE_NEWSMSG 0x8018000Bu
#define TS_PR_OE_NOSECUI 0x8019000Bu
#define TS_PR_OE_VOICEMAIL 0x801A000Bu
#define TS_PR_OE_REPLIED 0x801B000Bu
#define TS_PR_OE_FORWARDED 0x801C000Bu
#define TS_PR_OE_RCPTSENT 0x801D000Bu
#define TS_PR_OE_FROM 0x801E001Eu          /* the From header as written */
#define TS_PR_OE_BCC 0x8020001Eu
#define TS_PR_OE_CC 0x8022001Eu
#define TS_PR_OE_TO 0x8024001Eu
#define TS_PR_OE_SENDER 0x8026001Eu
#define TS_PR_OE_HTML_BODY 0x8027001Eu     /* also a stream */
#define TS_PR_OE_TEXT_BODY 0x8028001Eu     /* also a stream */
/* Attachments (the comparison matrix's attachment table). */
#define TS_PR_OE_ATTACH_DISPLAY_NAME 0x8100001Eu
#define TS_PR_OE_ATTACH_NAME 0x8101001Eu   /* the display name without a trailing remark in parentheses */
#define TS_PR_OE_ATTACH_SIZE 0x8102001Eu   /* a number, although the type half says text */

/* The address book's common tags (vCard field in brackets). Any other field is a named property: Tag 0, GUID,
   sID or nID, and nType in the PropDesc. */
#define TS_PR_DISPLAY_NAME 0x3001001Eu           /* [FN] */
#define TS_PR_EMAIL_ADDRESS 0x3003001Eu          /* [EMAIL], the first one */
#define TS_PR_COMMENT 0x3004001Eu                /* [NOTE] */
#define TS_PR_LAST_MODIFICATION_TIME 0x30080040u /* [REV] */
#define TS_PR_BUSINESS_TELEPHONE_NUMBER 0x3A08001Eu /* [TEL;TYPE=WORK] */
#define TS_PR_HOME_TELEPHONE_NUMBER 0x3A09001Eu  /* [TEL;TYPE=HOME] */
#define TS_PR_MOBILE_TELEPHONE_NUMBER 0x3A1C001Eu /* [TEL;TYPE=CELL] */
#define TS_PR_BIRTHDAY 0x3A420040u               /* [BDAY] */

/* ---- Original definitions ---------------------------------------------------------------------------------------- */

#define OD_MOST_FILLED 0    /* more non-empty properties; then earlier arrival */
#define OD_FIRST_ADDED 1    /* earlier arrival */
#define OD_LARGEST_VALUES 2 /* larger in more compared properties; then as OD_MOST_FILLED */
#define OD_LARGEST_MESSAGE 4 /* the larger item; then as OD_MOST_FILLED */
#define OD_FIELD_VALUE 5    /* holding a given value in a given property; then as OD_MOST_FILLED */

typedef struct OriginalDefinition {
    int32_t nDefinition; /* one of OD_*; 3, 6 and 7 act as OD_FIRST_ADDED */
    int32_t nField;      /* OD_FIELD_VALUE: index of the tested property in the PropList */
    int32_t nFieldType;  /* OD_FIELD_VALUE: 2, 3, 5, 11, 30 or 64 (PT_I2, PT_LONG, PT_DOUBLE, PT_BOOLEAN,
                            PT_STRING8, PT_SYSTIME) */
    int32_t bValue;      /* wanted value for type 11 */
    int32_t nI2Value;    /* wanted value for type 2 */
    int32_t nLongValue;  /* wanted value for type 3 */
    double dValue;       /* wanted value for type 5 */
    SYSTEMTIME stValue;  /* wanted value for type 64 */
    const char *szValue; /* wanted value for type 30; must not be null then */
} OriginalDefinition;

/* ---- Build changes ------------------------------------------------------------------------------------------------ */

#define CHANGE_ORIGINAL_ADDED 1
#define CHANGE_ORIGINAL_REMOVED 2
#define CHANGE_DUPLICATE_ADDED 3
#define CHANGE_DUPLICATE_REMOVED 4

/* ---- Comparison matrix --------------------------------------------------------------------------------------------- */

/* One row of the attachment table. All pointers point into the matrix and live as long as it does. */
typedef struct AttachInfo {
    const char *szItemID;      /* entry of the item that first holds the attachment; "" if none */
    const char *szFolderID;    /* its folder entry; "" if none */
    uint32_t nAttachID;        /* the attachment's identifier within that item */
    uint32_t nIndex;           /* its place among that item's attachments */
    const char *szDisplayName; /* the attachment's display name, or null */
} AttachInfo;

/* ---- Message store records ------------------------------------------------------------------------------------------- */

/* Special folder numbers. */
#define FOLDER_INBOX 0
#define FOLDER_OUTBOX 1
#define FOLDER_SENT 2
#define FOLDER_DELETED 3
#define FOLDER_DRAFT 4
#define FOLDER_OTHER 5

typedef struct OEFolder {
    uint32_t cbSize;     /* sizeof(OEFolder) */
    char *szEntry;       /* the folder's entry text */
    char *szParentEntry; /* the parent's entry text; null directly below the store root */
    char *szName;
    int32_t sfType;      /* FOLDER_* */
    uint32_t cUnread;
    uint32_t cMessage;
    int32_t cSubFolders;
} OEFolder;

typedef struct OEFolders {
    uint32_t cFolders;
    OEFolder *pFolders; /* depth-first pre-order; null while empty */
} OEFolders;

/* State flags of a message (OEItem.dwState, TS_PR_OE_STATE, OEMarkItem). */
#define TS_MSG_DELETED 0x0001u
#define TS_MSG_UNREAD 0x0002u
#define TS_MSG_SUBMITTED 0x0004u
#define TS_MSG_UNSENT 0x0008u
#define TS_MSG_RECEIVED 0x0010u
#define TS_MSG_NEWSMSG 0x0020u
#define TS_MSG_NOSECUI 0x0040u
#define TS_MSG_VOICEMAIL 0x0080u
#define TS_MSG_REPLIED 0x0100u
#define TS_MSG_FORWARDED 0x0200u
#define TS_MSG_RCPTSENT 0x0400u
#define TS_MSG_FLAGGED 0x0800u

typedef struct OEItem {
    uint32_t cbSize; /* sizeof(OEItem) */
    char *szEntry;   /* the item's entry text */
    uint32_t dwLanguage;
    uint32_t dwState; /* TS_MSG_* state flags */
    uint32_t cbMessage;
    int32_t priority;
    FILETIME ftReceived;
    FILETIME ftSent;
    char *szSubject; /* may be null; this and the following are null in the fast form */
    char *szDisplayTo;
    char *szDisplayFrom;
    char *szNormalSubject;
} OEItem;

typedef struct OEItems {
    uint32_t cItems;
    OEItem *pItems; /* null when empty */
} OEItems;

/* ---- Address book records ----------------------------------------------------------------------------------------------- */

#define MAPI_MAILUSER 6
#define MAPI_DISTLIST 8

typedef struct WABFolder {
    uint32_t cbSize; /* sizeof(WABFolder) */
    char *szEntry;   /* the container's entry text */
    char *szName;    /* may be null */
    uint32_t ulContainerFlags;
    int32_t nItems;  /* entries in the container, -1 if unknown */
} WABFolder;

typedef struct WABFolders {
    uint32_t cFolders;
    WABFolder *pFolders; /* null while empty */
} WABFolders;

typedef struct WABItem {
    uint32_t cbSize; /* sizeof(WABItem) */
    char *szEntry;
    uint32_t nObjectType; /* MAPI_MAILUSER or MAPI_DISTLIST */
    char *szDisplayName;  /* this and the other texts may be null */
    char *szEmailAddress;
    FILETIME ftLastModification; /* 0 if the entry has none */
    char *szBusinessPhone;
    char *szHomePhone;
} WABItem;

typedef struct WABItems {
    uint32_t cItems;
    WABItem *pItems; /* null while empty */
} WABItems;

/* ==== Library and log ================================================================================================== */

/* Creates a library handle; writes null if memory runs out. Touches no store. */
TESSEL_API void CreateTessel(CTessel **ppLib);
/* Closes both stores (WABDone, OEDone) and frees the handle; null is ignored silently. */
TESSEL_API void DeleteTessel(CTessel *pLib);
/* Configures the log: error-log path, full-log path (either may be null), debug output to stderr, info level.
   May be called at any time, also before CreateTessel. */
TESSEL_API void ConfigLog(const char *pszErrorLog, const char *pszLog, int32_t bDebugOutput, int32_t nLevel);

/* ==== Message store ====================================================================================================== */

/* Opens the message store, the Maildir at $TESSEL_MAILDIR, else $MAILDIR, else ~/Maildir (re-opening it if open);
   bFlag non-zero creates a missing store. True on success. */
TESSEL_API int32_t OEInit(CTessel *pLib, HWND hwndOwner, int32_t bFlag);
/* True while the message store is open. */
TESSEL_API int32_t OEInitialized(CTessel *pLib);
/* Hands out the folder tree, depth-first; free with OEFreeFolders. */
TESSEL_API void OEGetFolders(CTessel *pLib, OEFolders **ppFolders);
/* Frees a list from OEGetFolders; null is ignored. */
TESSEL_API void OEFreeFolders(CTessel *pLib, OEFolders *pFolders);
/* Lists a folder's messages (short records if bFast), sent at or after pSince (UTC, may be null), optionally
   sorted by sending time; free with OEFreeItems. Status; -2 if pSince does not convert. */
TESSEL_API int32_t OEGetItems(CTessel *pLib, OEItems **ppItems, const char *pszFolderEntry, int32_t bFast,
                              const SYSTEMTIME *pSince, int32_t bSort, int32_t bDescending);
/* Frees a list from OEGetItems; null is ignored. */
TESSEL_API void OEFreeItems(CTessel *pLib, OEItems *pItems);
/* Reads one message's record; free with OEFreeItem. Status. */
TESSEL_API int32_t OEGetItem(CTessel *pLib, OEItem **ppItem, const char *pszItemEntry, int32_t bFast);
/* Frees a record from OEGetItem; null is ignored. */
TESSEL_API void OEFreeItem(CTessel *pLib, OEItem *pItem);
/* Switches on the TS_MSG_* flags of dwFlags on a message (it never clears one); the entry stays valid. Status. */
TESSEL_API int32_t OEMarkItem(CTessel *pLib, const char *pszItemEntry, uint32_t dwFlags);
/* Closes the message store; harmless when it is not open. */
TESSEL_API void OEDone(CTessel *pLib);

/* ==== Address book ========================================================================================================= */

/* Opens the address book named by pszFileName (a .vcf file or a directory; null for the default). True on success. */
TESSEL_API int32_t WABInit(CTessel *pLib, const char *pszFileName, int32_t bEnableProfiles, int32_t bUseOeSendMail);
/* True while the address book is open. */
TESSEL_API int32_t WABInitialized(CTessel *pLib);
/* Hands out the containers; free with WABFreeFolders. Status. */
TESSEL_API int32_t WABGetFolders(CTessel *pLib, WABFolders **ppFolders, int32_t bLocalOnly);
/* Frees a list from WABGetFolders; null is ignored. */
TESSEL_API void WABFreeFolders(CTessel *pLib, WABFolders *pFolders);
/* Lists a container's entries of one object type (0 for all), modified at or after pSince (local time, may be
   null), optionally sorted; free with WABFreeItems. Status; -2 if pSince does not convert. */
TESSEL_API int32_t WABGetItems(CTessel *pLib, WABItems **ppItems, const char *pszFolderEntry, uint32_t nObjectType,
                               int32_t bProfile, int32_t bLocal, const SYSTEMTIME *pSince, int32_t bSort,
                               int32_t bDescending);
/* Frees a list from WABGetItems; null is ignored. */
TESSEL_API void WABFreeItems(CTessel *pLib, WABItems *pItems);
/* Reads one entry's record; free with WABFreeItem. Status. */
TESSEL_API int32_t WABGetItem(CTessel *pLib, WABItem **ppItem, const char *pszEntry);
/* Finds the first container that holds an entry; the text goes back through TS_FreeBuffer(API_WAB). 0 found, 1 in
   no container (*ppszFolderEntry null), else a status. */
TESSEL_API int32_t WABFindItemFolder(CTessel *pLib, const char *pszEntry, char **ppszFolderEntry, int32_t bLocalOnly);
/* Frees a record from WABGetItem; null is ignored. */
TESSEL_API void WABFreeItem(CTessel *pLib, WABItem *pItem);
/* Puts pszPrefix in front of an entry's display name, once. Status. */
TESSEL_API int32_t WABMarkItem(CTessel *pLib, const char *pszEntry, const char *pszPrefix);
/* Closes the address book; harmless when it is not open. */
TESSEL_API void WABDone(CTessel *pLib);

/* ==== Items of either store ================================================================================================== */
/* nAPI is API_OE or API_WAB. An item handle comes from TS_OpenItem and is valid only with the pLib and nAPI it was
   opened with; TS_CloseItem ends it, before the store's Done. A PropDesc names one property: by Tag, or, with Tag 0,
   as a named property (GUID with nID or sID, and nType) that is resolved on first use and its tag written back
   into the PropDesc; the message store has no named properties (-2). The type an export works with is the lower
   half of Tag, or nType while Tag is 0. Changes made through an open item last only after TS_SaveItem. */

/* Frees a text that a TS_ function or WABFindItemFolder handed out for this nAPI; null is ignored. */
TESSEL_API void TS_FreeBuffer(CTessel *pLib, int32_t nAPI, void *pBuffer);
/* Tells which store this is, so a host can keep users apart. Message store: *ppszProfile is the identity between
   the first braces of the store's path ("DefaultIdentity" if it has none), *ppszDetail the path. Address book:
   *ppszProfile is the entry text of the personal address book, *ppszDetail its name or null. Free both with
   TS_FreeBuffer(nAPI). Status; -2 for an unknown nAPI. */
TESSEL_API int32_t TS_GetProfileID(CTessel *pLib, int32_t nAPI, char **ppszProfile, char **ppszDetail);
/* Shows an item: the message source, or the contact, in the program named by TESSEL_VIEWER. Status. */
TESSEL_API int32_t TS_DisplayItem(CTessel *pLib, int32_t nAPI, const char *pszEntry, HWND hwndParent);
/* Deletes an item. A message goes to Deleted Items (gone for good if bPermanently, or if it was there already);
   its entry there comes back in *ppszNewEntry when ppszNewEntry is given and the message is found again (set the
   variable to null first; free it with TS_FreeBuffer). A contact is deleted for good either way (an address book
   has no Deleted Items; without bPermanently that is logged as an error) and no new entry comes back. Status of
   the delete itself. */
TESSEL_API int32_t TS_DeleteItem(CTessel *pLib, int32_t nAPI, const char *pszEntry, int32_t bPermanently,
                                 char **ppszNewEntry);
/* Moves an item to the folder (container) pszFolderEntry: a copy there, then the original deleted for good. Its
   new entry comes back in *ppszNewEntry if that is not null (free with TS_FreeBuffer). Status; if only the
   delete failed the result is 0 and both copies remain. */
TESSEL_API int32_t TS_MoveItem(CTessel *pLib, int32_t nAPI, const char *pszEntry, const char *pszFolderEntry,
                               char **ppszNewEntry);
/* Opens an item by its entry, for changes if bModify; close it with TS_CloseItem. Status; *phItem null on
   failure, -1 if the store is not initialized. */
TESSEL_API int32_t TS_OpenItem(CTessel *pLib, int32_t nAPI, const char *pszEntry, TS_HITEM *phItem, int32_t bModify);
/* Closes an item from TS_OpenItem, dropping unsaved changes; the caller's variable is not changed. */
TESSEL_API void TS_CloseItem(CTessel *pLib, int32_t nAPI, TS_HITEM hItem);
/* Writes the size of the whole item in bytes. Status. */
TESSEL_API int32_t TS_GetItemSize(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, uint32_t *pnSize);
/* Reads a TS_PT_STRING8 text, or the values of a TS_PT_MV_STRING8 joined by ";"; free *ppszText with
   TS_FreeBuffer(nAPI). Status; *ppszText null on failure: 0x8004010F if the item has no such value, -2 if the name
   does not resolve, -3 for another type. */
TESSEL_API int32_t TS_GetItemTextProp(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, PropDesc *pProp, char **ppszText);
/* Reads a TS_PT_BOOLEAN (0 or 1), TS_PT_I2 (sign-extended) or TS_PT_LONG. Status as TS_GetItemTextProp; *pnValue
   0 on failure. */
TESSEL_API int32_t TS_GetItemNumProp(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, PropDesc *pProp, int32_t *pnValue);
/* Reads a TS_PT_SYSTIME date in UTC, or in local time if bLocal (address book only: the message store's dates are
   always handed over as stored). Status as TS_GetItemTextProp, -4 if it does not convert; *pST zero on failure. */
TESSEL_API int32_t TS_GetItemDateProp(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, PropDesc *pProp, SYSTEMTIME *pST,
                                      int32_t bLocal);
/* Writes a text property of an open item; for TS_PT_MV_STRING8 the text is cut at every ";" ("a;;b" is three
   values, "" none). Status; -2 if the name does not resolve, -3 for another type, else the store's result. */
TESSEL_API int32_t TS_SetItemTextProp(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, PropDesc *pProp,
                                      const char *pszText);
/* Writes a TS_PT_BOOLEAN (non-zero is 1), TS_PT_I2 (the lower 16 bits) or TS_PT_LONG property of an open item.
   Status as TS_SetItemTextProp. */
TESSEL_API int32_t TS_SetItemNumProp(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, PropDesc *pProp, int32_t nValue);
/* Writes a TS_PT_SYSTIME date given in UTC, or in local time if bLocal (address book only). Status as
   TS_SetItemTextProp; -4 if the date does not convert (month 13, say). */
TESSEL_API int32_t TS_SetItemDateProp(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, PropDesc *pProp,
                                      const SYSTEMTIME *pST, int32_t bLocal);
/* Saves the changes of an open item. Message store: the message is written anew (its entry changes: ask
   TS_GetItemID), bit 0 of nFlags drops the old one to Deleted Items, bit 1 destroys it instead; -1 means bit 0.
   Address book: bit 0 forces the save, bit 1 keeps the item open read-only, bit 2 read-write; -1 means bit 2.
   Status. */
TESSEL_API int32_t TS_SaveItem(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, int32_t nFlags);
/* Hands out the entry text of an open item, by which TS_OpenItem opens it again; free with TS_FreeBuffer. Status;
   0x8004010F if the item has no entry. */
TESSEL_API int32_t TS_GetItemID(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, char **ppszID);
/* Copies attachment hBody of hItemFrom into hItemTo (message store only; the address book gives -1); the new body
   comes back in *phNewBody if that is not null. The target changes in memory: TS_SaveItem makes it last. Status. */
TESSEL_API int32_t TS_CopyAttachment(CTessel *pLib, int32_t nAPI, TS_HITEM hItemTo, TS_HBODY *phNewBody,
                                     TS_HITEM hItemFrom, TS_HBODY hBody);
/* Finds an attachment by its display name (and size in bytes, unless cbSize is 0), from the nFirst-th on (message
   store only). 0 found, *phBody set; 1 not found, *phBody 0; else a status. */
TESSEL_API int32_t TS_FindAttachment(CTessel *pLib, int32_t nAPI, TS_HITEM hItem, TS_HBODY *phBody,
                                     const char *pszName, uint32_t cbSize, int32_t nFirst);

/* ==== Duplicate search ============================================================================================================ */

/* Creates a search over a store with deep copies of the property list and the original rule; delete it with
   Search_Delete. Null on a null pLib or an unknown nAPI. */
TESSEL_API CDuplicateSearch *Search_Create(CTessel *pLib, int32_t nAPI, const PropList *pProps,
                                           const OriginalDefinition *pOD);
/* Adds an item; 1 if accepted, 0 if refused. *pbHasDuplicates (may be null) tells whether it has equal items. */
TESSEL_API int32_t Search_Add(CDuplicateSearch *pSearch, const char *pszItemID, const char *pszFolderID,
                              int32_t *pbHasDuplicates, int32_t nPriority);
/* Cuts the groups and returns the number of change records since the previous build. */
TESSEL_API int32_t Search_Build(CDuplicateSearch *pSearch);
/* Reads change record nIndex; the texts belong to the search and live until the next build. 1 or 0. */
TESSEL_API int32_t Search_GetBuildChange(CDuplicateSearch *pSearch, int32_t nIndex, int32_t *pnType,
                                         const char **ppszOriginalID, const char **ppszOriginalFolderID,
                                         const char **ppszDuplicateID, const char **ppszDuplicateFolderID,
                                         int32_t *pnDuplicateIndex);
/* The number of groups of the last build. */
TESSEL_API int32_t Search_GetOriginalCount(CDuplicateSearch *pSearch);
/* Copies a group's original entries; *pnID and *pnFolderID give the buffer sizes and receive the sizes needed. */
TESSEL_API void Search_GetOriginal(CDuplicateSearch *pSearch, int32_t nGroup, char *pszID, uint32_t *pnID,
                                   char *pszFolderID, uint32_t *pnFolderID);
/* The number of duplicates of a group. */
TESSEL_API int32_t Search_GetDuplicateCount(CDuplicateSearch *pSearch, int32_t nGroup);
/* Copies a duplicate's entries with the size protocol of Search_GetOriginal. */
TESSEL_API void Search_GetDuplicate(CDuplicateSearch *pSearch, int32_t nGroup, int32_t nDuplicate, char *pszID,
                                    uint32_t *pnID, char *pszFolderID, uint32_t *pnFolderID);
/* Deletes a search. */
TESSEL_API void Search_Delete(CDuplicateSearch *pSearch);

/* ==== Comparison matrix ============================================================================================================= */

/* Creates a matrix over a store with one column per property; null for an empty list or an unknown nAPI. */
TESSEL_API CCmpMatrix *CmpMatrix_Create(CTessel *pLib, int32_t nAPI, const PropList *pProps);
/* Adds an item as the next row; 1 if accepted, 0 if refused. */
TESSEL_API int32_t CmpMatrix_Add(CCmpMatrix *pMatrix, const char *pszItemID, const char *pszFolderID);
/* Writes the number of rows and columns. */
TESSEL_API void CmpMatrix_Size(CCmpMatrix *pMatrix, int32_t *pnRows, int32_t *pnCols);
/* A cell's equality number: 0 no value, k > 0 the lowest row holding an equal value is k - 1. */
TESSEL_API int32_t CmpMatrix_Value(CCmpMatrix *pMatrix, int32_t nRow, int32_t nCol);
/* A cell's value size in bytes. */
TESSEL_API uint32_t CmpMatrix_ValueSize(CCmpMatrix *pMatrix, int32_t nRow, int32_t nCol);
/* Builds (or rebuilds) the attachment table of the rows added so far. */
TESSEL_API void CmpMatrix_BuildAttachMatrix(CCmpMatrix *pMatrix);
/* The number of attachment-table rows. */
TESSEL_API int32_t CmpMatrix_AttachCount(CCmpMatrix *pMatrix);
/* Describes attachment-table row nAttach. 1 or 0. */
TESSEL_API int32_t CmpMatrix_AttachInfo(CCmpMatrix *pMatrix, uint32_t nAttach, AttachInfo *pInfo);
/* The attachment-table cell of item row nRow: 0 absent, else 1 + the first row that holds the attachment. */
TESSEL_API uint32_t CmpMatrix_AttachValue(CCmpMatrix *pMatrix, int32_t nRow, uint32_t nAttach);
/* Deletes a matrix. */
TESSEL_API void CmpMatrix_Delete(CCmpMatrix *pMatrix);

/* ==== Others =============================================================================================================================== */

/* Converts a FILETIME to a SYSTEMTIME, to local time if bToLocal. False (and *pnError, if given) on failure. */
TESSEL_API int32_t FileTime2SystemTime(const FILETIME *pFileTime, SYSTEMTIME *pSystemTime, int32_t bToLocal,
                                       int32_t *pnError);
/* Makes a message in the Outbox addressed to pszTo with the *.err and *.log files of pszLogDir attached. Status. */
TESSEL_API int32_t CreateBugReport(CTessel *pLib, const char *pszTo, const char *pszSubject, const char *pszBody,
                                   const char *pszLogDir);

#ifdef __cplusplus
}
#endif

#endif /* TESSEL_H */
