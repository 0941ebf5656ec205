// The address book's interfaces as published (MAPI and WAB names, method order, arguments and flags), for the
// operations the address book store uses. The provider in src/providers/vcard implements them over vCard files;
// tests may implement them with fakes. Every buffer an object hands out comes from IWABObject::AllocateBuffer and
// goes back through IWABObject::FreeBuffer, which frees a buffer together with everything hung on it with
// AllocateMore.
#pragma once

#include "platform/mapi.h"

using LPENTRYID = ENTRYID *;
using LPCIID = const IID *;
using LPUNKNOWN = IUnknown *;
using LPVOID = void *;
using BOOKMARK = ULONG;

// A list of entry ids, as DeleteEntries takes it.
using ENTRYLIST = SBinaryArray;
using LPENTRYLIST = ENTRYLIST *;

// Interface ids, {000203xx-0000-0000-C000-000000000046}.
inline constexpr IID IID_IMAPITable{0x00020301, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IMAPIProp{0x00020303, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IAddrBook{0x00020309, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IMailUser{0x0002030A, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IMAPIContainer{0x0002030B, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IABContainer{0x0002030D, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IDistList{0x0002030E, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// WABOpen flags (WAB_PARAM.ulFlags).
inline constexpr ULONG WAB_USE_OE_SENDMAIL = 0x00000001;
inline constexpr ULONG WAB_ENABLE_PROFILES = 0x00400000;
// GetContentsTable flags of the address book.
inline constexpr ULONG WAB_LOCAL_CONTAINERS = 0x00100000;
inline constexpr ULONG WAB_PROFILE_CONTENTS = 0x00200000;

// PR_CONTAINER_FLAGS bits.
inline constexpr ULONG AB_RECIPIENTS = 0x00000001;
inline constexpr ULONG AB_SUBCONTAINERS = 0x00000002;
inline constexpr ULONG AB_MODIFIABLE = 0x00000004;
inline constexpr ULONG AB_UNMODIFIABLE = 0x00000008;

// Table positions for SeekRow.
inline constexpr BOOKMARK BOOKMARK_BEGINNING = 0;
inline constexpr BOOKMARK BOOKMARK_CURRENT = 1;
inline constexpr BOOKMARK BOOKMARK_END = 2;

// GetHierarchyTable flag.
inline constexpr ULONG CONVENIENT_DEPTH = 0x00000001;

// Property tags of the address book beyond those of mapi.h.
inline constexpr ULONG PR_RECORD_KEY = 0x0FF90102;
inline constexpr ULONG PR_CREATION_TIME = 0x30070040;
inline constexpr ULONG PR_SEARCH_KEY = 0x300B0102;
inline constexpr ULONG PR_DEF_CREATE_DL = 0x36110102;
inline constexpr ULONG PR_DEF_CREATE_MAILUSER = 0x36120102;
inline constexpr ULONG PR_ADDRTYPE = 0x3002001E;
inline constexpr ULONG PR_DISPLAY_TYPE = 0x39000003;
inline constexpr ULONG PR_CONTACT_EMAIL_ADDRESSES = 0x3A56101E;
inline constexpr ULONG PR_ACCOUNT = 0x3A00001E;
inline constexpr ULONG PR_GENERATION = 0x3A05001E;
inline constexpr ULONG PR_GIVEN_NAME = 0x3A06001E;
inline constexpr ULONG PR_SURNAME = 0x3A11001E;
inline constexpr ULONG PR_MIDDLE_NAME = 0x3A44001E;
inline constexpr ULONG PR_DISPLAY_NAME_PREFIX = 0x3A45001E;
inline constexpr ULONG PR_NICKNAME = 0x3A4F001E;
inline constexpr ULONG PR_TITLE = 0x3A17001E;
inline constexpr ULONG PR_COMPANY_NAME = 0x3A16001E;
inline constexpr ULONG PR_DEPARTMENT_NAME = 0x3A18001E;
inline constexpr ULONG PR_BIRTHDAY = 0x3A420040;
inline constexpr ULONG PR_WEDDING_ANNIVERSARY = 0x3A410040;
inline constexpr ULONG PR_MOBILE_TELEPHONE_NUMBER = 0x3A1C001E;
inline constexpr ULONG PR_PAGER_TELEPHONE_NUMBER = 0x3A21001E;
inline constexpr ULONG PR_BUSINESS_FAX_NUMBER = 0x3A24001E;
inline constexpr ULONG PR_HOME_FAX_NUMBER = 0x3A25001E;
inline constexpr ULONG PR_PRIMARY_TELEPHONE_NUMBER = 0x3A1A001E;
inline constexpr ULONG PR_BUSINESS_HOME_PAGE = 0x3A51001E;
inline constexpr ULONG PR_PERSONAL_HOME_PAGE = 0x3A50001E;
inline constexpr ULONG PR_STREET_ADDRESS = 0x3A29001E;
inline constexpr ULONG PR_LOCALITY = 0x3A27001E;
inline constexpr ULONG PR_STATE_OR_PROVINCE = 0x3A28001E;
inline constexpr ULONG PR_POSTAL_CODE = 0x3A2A001E;
inline constexpr ULONG PR_COUNTRY = 0x3A26001E;
inline constexpr ULONG PR_POST_OFFICE_BOX = 0x3A2B001E;
inline constexpr ULONG PR_HOME_ADDRESS_STREET = 0x3A5D001E;
inline constexpr ULONG PR_HOME_ADDRESS_CITY = 0x3A59001E;
inline constexpr ULONG PR_HOME_ADDRESS_STATE_OR_PROVINCE = 0x3A5C001E;
inline constexpr ULONG PR_HOME_ADDRESS_POSTAL_CODE = 0x3A5B001E;
inline constexpr ULONG PR_HOME_ADDRESS_COUNTRY = 0x3A5A001E;
inline constexpr ULONG PR_HOME_ADDRESS_POST_OFFICE_BOX = 0x3A5E001E;

// The parent window of a dialog, and the callbacks Details takes (never called by our provider).
using LPFNDISMISS = void (*)(ULONG ulUIParam, LPVOID lpvContext);
using LPFNBUTTON = HRESULT (*)(ULONG ulUIParam, LPVOID lpvContext, ULONG cbEntryID, LPENTRYID lpSelection,
                               ULONG ulFlags);

// A table of rows: columns, restriction and sort order are set on it, then rows are read from the current
// position. Each row's lpProps is a buffer of its own; the row set is another; both go to FreeBuffer.
struct IMAPITable : IUnknown {
    virtual HRESULT SetColumns(SPropTagArray *lpPropTagArray, ULONG ulFlags) = 0;
    virtual HRESULT QueryColumns(ULONG ulFlags, SPropTagArray **lppPropTagArray) = 0;
    virtual HRESULT GetRowCount(ULONG ulFlags, ULONG *lpulCount) = 0;
    virtual HRESULT SeekRow(BOOKMARK bkOrigin, LONG lRowCount, LONG *lplRowsSought) = 0;
    virtual HRESULT Restrict(SRestriction *lpRestriction, ULONG ulFlags) = 0;
    virtual HRESULT SortTable(SSortOrderSet *lpSortCriteria, ULONG ulFlags) = 0;
    virtual HRESULT QueryRows(LONG lRowCount, ULONG ulFlags, SRowSet **lppRows) = 0;

protected:
    ~IMAPITable() = default;
};

// An object with properties: an address book entry, a container, the address book itself.
struct IMAPIProp : IUnknown {
    virtual HRESULT SaveChanges(ULONG ulFlags) = 0;
    virtual HRESULT GetProps(SPropTagArray *lpPropTagArray, ULONG ulFlags, ULONG *lpcValues,
                             SPropValue **lppPropArray) = 0;
    virtual HRESULT GetPropList(ULONG ulFlags, SPropTagArray **lppPropTagArray) = 0;
    virtual HRESULT SetProps(ULONG cValues, SPropValue *lpPropArray, SPropProblemArray **lppProblems) = 0;
    virtual HRESULT DeleteProps(SPropTagArray *lpPropTagArray, SPropProblemArray **lppProblems) = 0;
    virtual HRESULT GetNamesFromIDs(SPropTagArray **lppPropTags, GUID *lpPropSetGuid, ULONG ulFlags,
                                    ULONG *lpcPropNames, MAPINAMEID ***lpppPropNames) = 0;
    virtual HRESULT GetIDsFromNames(ULONG cPropNames, MAPINAMEID **lppPropNames, ULONG ulFlags,
                                    SPropTagArray **lppPropTags) = 0;

protected:
    ~IMAPIProp() = default;
};

// A contact.
struct IMailUser : IMAPIProp {
protected:
    ~IMailUser() = default;
};

struct IMAPIContainer : IMAPIProp {
    virtual HRESULT GetContentsTable(ULONG ulFlags, IMAPITable **lppTable) = 0;
    virtual HRESULT GetHierarchyTable(ULONG ulFlags, IMAPITable **lppTable) = 0;
    virtual HRESULT OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG ulFlags,
                              ULONG *lpulObjType, LPUNKNOWN *lppUnk) = 0;

protected:
    ~IMAPIContainer() = default;
};

// A container of entries. CreateEntry takes the id of a template (PR_DEF_CREATE_MAILUSER or PR_DEF_CREATE_DL of
// the container) and gives a new entry that exists once SaveChanges succeeds.
struct IABContainer : IMAPIContainer {
    virtual HRESULT CreateEntry(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulCreateFlags,
                                IMAPIProp **lppMAPIPropEntry) = 0;
    virtual HRESULT DeleteEntries(LPENTRYLIST lpEntries, ULONG ulFlags) = 0;

protected:
    ~IABContainer() = default;
};

// A distribution list: a contact-like entry that also contains members.
struct IDistList : IMAPIContainer {
    virtual HRESULT CreateEntry(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulCreateFlags,
                                IMAPIProp **lppMAPIPropEntry) = 0;
    virtual HRESULT DeleteEntries(LPENTRYLIST lpEntries, ULONG ulFlags) = 0;

protected:
    ~IDistList() = default;
};

// The address book: opens containers and entries by id. The IUnknown that OpenEntry hands out is the object's
// own IMAPIProp, IABContainer, IMailUser or IDistList (single inheritance), so a cast by the object type is enough.
// No id opens the root container, whose contents table lists the containers. GetPAB names the personal address
// book; Details shows an entry.
struct IAddrBook : IMAPIProp {
    virtual HRESULT OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG ulFlags,
                              ULONG *lpulObjType, LPUNKNOWN *lppUnk) = 0;
    virtual HRESULT CompareEntryIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2, LPENTRYID lpEntryID2,
                                    ULONG ulFlags, ULONG *lpulResult) = 0;
    virtual HRESULT Details(ULONG *lpulUIParam, LPFNDISMISS lpfnDismiss, LPVOID lpvDismissContext, ULONG cbEntryID,
                            LPENTRYID lpEntryID, LPFNBUTTON lpfButtonCallback, LPVOID lpvButtonContext,
                            LPSTR lpszButtonText, ULONG ulFlags) = 0;
    virtual HRESULT GetPAB(ULONG *lpcbEntryID, LPENTRYID *lppEntryID) = 0;

protected:
    ~IAddrBook() = default;
};

// The address book's allocator. AllocateMore hangs a buffer on one from AllocateBuffer; FreeBuffer of that one
// frees both.
struct IWABObject : IUnknown {
    virtual HRESULT AllocateBuffer(ULONG cbSize, LPVOID *lppBuffer) = 0;
    virtual HRESULT AllocateMore(ULONG cbSize, LPVOID lpObject, LPVOID *lppBuffer) = 0;
    virtual HRESULT FreeBuffer(LPVOID lpBuffer) = 0;

protected:
    ~IWABObject() = default;
};

struct WAB_PARAM {
    ULONG cbSize;     // sizeof(WAB_PARAM)
    HWND hwnd;        // never used: the provider shows no windows of its own
    LPSTR szFileName; // the book: a .vcf file or a directory; null for the default book
    ULONG ulFlags;    // WAB_ENABLE_PROFILES, WAB_USE_OE_SENDMAIL; accepted and without effect on vCard
};

// Opens the address book: an IAddrBook and an IWABObject, one reference each for the caller. Reserved2 is 0.
using LPWABOPEN = HRESULT (*)(IAddrBook **lppAdrBook, IWABObject **lppWABObject, WAB_PARAM *lpWP, DWORD Reserved2);
HRESULT WABOpen(IAddrBook **lppAdrBook, IWABObject **lppWABObject, WAB_PARAM *lpWP, DWORD Reserved2);
