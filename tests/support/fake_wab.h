// Fakes of the address book's interfaces (platform/wab.h) that record what they were asked and fail on demand,
// and a fake provider module that hands them out through WABOpen. Every buffer they hand out comes from a
// FakeWABObject, which follows the MAPI rule (FreeBuffer frees a block with all that AllocateMore hung on it) and
// counts what is still live, so that a test can check that the code under test gave everything back.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/loader.h"
#include "platform/wab.h"

namespace testsupport {

// The current reference count of an object (one AddRef and one Release).
ULONG RefCount(IUnknown *pUnknown);

// A property value that owns its text or bytes.
struct FakeProp {
    ULONG ulTag = 0;
    _PV value{};
    std::string str;         // PT_STRING8
    std::u16string wstr;     // PT_UNICODE
    std::vector<BYTE> bytes; // PT_BINARY

    static FakeProp String(ULONG ulTag, const std::string &str);
    static FakeProp Long(ULONG ulTag, LONG n);
    static FakeProp Binary(ULONG ulTag, const std::vector<BYTE> &bytes);
    static FakeProp Time(ULONG ulTag, uint64_t nTicks);
    static FakeProp Error(ULONG ulTag, SCODE scode);
    // A deep copy of a caller's value (the types above only).
    static FakeProp From(const SPropValue &prop);
};

class FakeWABObject : public CRefCounted<IWABObject> {
public:
    HRESULT QueryInterface(REFIID riid, void **ppv) override;
    HRESULT AllocateBuffer(ULONG cbSize, LPVOID *lppBuffer) override;
    HRESULT AllocateMore(ULONG cbSize, LPVOID lpObject, LPVOID *lppBuffer) override;
    HRESULT FreeBuffer(LPVOID lpBuffer) override;

    // Blocks from AllocateBuffer not yet freed.
    size_t LiveBuffers() const { return m_blocks.size(); }
    // A copy of the values in one buffer (strings and bytes hung on it with AllocateMore).
    SPropValue *CopyProps(const std::vector<FakeProp> &props);

    HRESULT hrAllocate = S_OK; // AllocateBuffer fails with this when set
    HRESULT hrFree = S_OK;     // FreeBuffer frees and then answers this
    int cFreeCalls = 0;

private:
    std::map<void *, std::vector<void *>> m_blocks; // block -> blocks hung on it
};

// Common to every fake with properties: a bag of values, with GetProps, SetProps, SaveChanges, GetPropList and
// GetIDsFromNames recorded and failing on demand.
template <class Base> class FakePropObject : public CRefCounted<Base> {
public:
    explicit FakePropObject(FakeWABObject *pWab) : m_pWab(pWab) { m_pWab->AddRef(); }

    HRESULT QueryInterface(REFIID riid, void **ppv) override;
    HRESULT SaveChanges(ULONG ulFlags) override;
    HRESULT GetProps(SPropTagArray *lpPropTagArray, ULONG ulFlags, ULONG *lpcValues,
                     SPropValue **lppPropArray) override;
    HRESULT GetPropList(ULONG ulFlags, SPropTagArray **lppPropTagArray) override;
    HRESULT SetProps(ULONG cValues, SPropValue *lpPropArray, SPropProblemArray **lppProblems) override;
    HRESULT DeleteProps(SPropTagArray *lpPropTagArray, SPropProblemArray **lppProblems) override;
    HRESULT GetNamesFromIDs(SPropTagArray **lppPropTags, GUID *lpPropSetGuid, ULONG ulFlags, ULONG *lpcPropNames,
                            MAPINAMEID ***lpppPropNames) override;
    HRESULT GetIDsFromNames(ULONG cPropNames, MAPINAMEID **lppPropNames, ULONG ulFlags,
                            SPropTagArray **lppPropTags) override;

    // The value of a property id, or null.
    const FakeProp *Find(ULONG ulTag) const;
    void Set(const FakeProp &prop);

    std::vector<FakeProp> props;
    HRESULT hrGetProps = S_OK; // a failure here hands out no values
    HRESULT hrSetProps = S_OK; // the values are stored all the same
    HRESULT hrSave = S_OK;
    HRESULT hrGetIDs = S_OK;
    std::vector<SPropProblem> problems; // SetProps hands these out when there are any
    ULONG ulNamedTag = 0x80010003;      // what GetIDsFromNames answers

    std::vector<ULONG> getPropsFlags;
    std::vector<ULONG> saveFlags;
    std::vector<ULONG> setPropsCounts;
    // The last name asked for.
    GUID lastGuid{};
    ULONG lastKind = 0xFFFFFFFF;
    LONG lastID = 0;
    std::u16string lastName;
    ULONG lastNamesFlags = 0;

protected:
    ~FakePropObject() override { m_pWab->Release(); }
    FakeWABObject *m_pWab;
};

class FakeMailUser : public FakePropObject<IMailUser> {
public:
    using FakePropObject::FakePropObject;
};

// What a container's tables were asked, across all tables it made.
struct FakeTableCalls {
    int cSetColumns = 0;
    std::vector<SRestriction> restrictions; // shallow copies: only rt and the top level are meaningful
    std::vector<SSortOrder> sortKeys;       // the first key of each SortTable
};

// A contents table over fixed rows. QueryRows hands out each row's values as a buffer of its own.
class FakeTable : public CRefCounted<IMAPITable> {
public:
    explicit FakeTable(FakeWABObject *pWab) : m_pWab(pWab) { m_pWab->AddRef(); }

    HRESULT QueryInterface(REFIID riid, void **ppv) override;
    HRESULT SetColumns(SPropTagArray *lpPropTagArray, ULONG ulFlags) override;
    HRESULT QueryColumns(ULONG ulFlags, SPropTagArray **lppPropTagArray) override;
    HRESULT GetRowCount(ULONG ulFlags, ULONG *lpulCount) override;
    HRESULT SeekRow(BOOKMARK bkOrigin, LONG lRowCount, LONG *lplRowsSought) override;
    HRESULT Restrict(SRestriction *lpRestriction, ULONG ulFlags) override;
    HRESULT SortTable(SSortOrderSet *lpSortCriteria, ULONG ulFlags) override;
    HRESULT QueryRows(LONG lRowCount, ULONG ulFlags, SRowSet **lppRows) override;

    std::vector<std::vector<FakeProp>> rows;
    HRESULT hrGetRowCount = S_OK;
    HRESULT hrQueryRows = S_OK;
    HRESULT hrSetColumns = S_OK;
    HRESULT hrRestrict = MAPI_E_NO_SUPPORT;
    HRESULT hrSort = MAPI_E_NO_SUPPORT;
    FakeTableCalls *pCalls = nullptr; // records SetColumns, Restrict and SortTable when set
    std::vector<LONG> queryRowsCounts;

protected:
    ~FakeTable() override { m_pWab->Release(); }

private:
    FakeWABObject *m_pWab;
};

// A container: its contents table is made afresh from `rows` on each GetContentsTable.
class FakeContainer : public FakePropObject<IABContainer> {
public:
    using FakePropObject::FakePropObject;

    HRESULT GetContentsTable(ULONG ulFlags, IMAPITable **lppTable) override;
    HRESULT GetHierarchyTable(ULONG ulFlags, IMAPITable **lppTable) override;
    HRESULT OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG ulFlags, ULONG *lpulObjType,
                      LPUNKNOWN *lppUnk) override;
    HRESULT CreateEntry(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulCreateFlags,
                        IMAPIProp **lppMAPIPropEntry) override;
    HRESULT DeleteEntries(LPENTRYLIST lpEntries, ULONG ulFlags) override;

    std::vector<std::vector<FakeProp>> rows;
    HRESULT hrContents = S_OK; // GetContentsTable fails with this (MAPI_E_NOT_FOUND: an empty container)
    HRESULT hrGetRowCount = S_OK;
    HRESULT hrQueryRows = S_OK;
    HRESULT hrSetColumns = S_OK;
    HRESULT hrRestrict = MAPI_E_NO_SUPPORT;
    HRESULT hrSort = MAPI_E_NO_SUPPORT;
    FakeTableCalls tableCalls;
    std::vector<ULONG> contentsFlags;

    // CreateEntry hands out a reference to `created` (with hrCreate as the result) when it is set.
    FakeMailUser *created = nullptr;
    HRESULT hrCreate = S_OK;
    std::vector<std::vector<BYTE>> createTemplates;
    // DeleteEntries records each id and answers hrDelete.
    std::vector<std::vector<BYTE>> deletedIds;
    HRESULT hrDelete = MAPI_E_NO_SUPPORT;

protected:
    ~FakeContainer() override;
};

// The address book: entries by their binary ids; no id opens `root`.
class FakeAddrBook : public FakePropObject<IAddrBook> {
public:
    explicit FakeAddrBook(FakeWABObject *pWab);

    HRESULT OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG ulFlags, ULONG *lpulObjType,
                      LPUNKNOWN *lppUnk) override;
    HRESULT CompareEntryIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2, LPENTRYID lpEntryID2,
                            ULONG ulFlags, ULONG *lpulResult) override;
    HRESULT Details(ULONG *lpulUIParam, LPFNDISMISS lpfnDismiss, LPVOID lpvDismissContext, ULONG cbEntryID,
                    LPENTRYID lpEntryID, LPFNBUTTON lpfButtonCallback, LPVOID lpvButtonContext, LPSTR lpszButtonText,
                    ULONG ulFlags) override;
    HRESULT GetPAB(ULONG *lpcbEntryID, LPENTRYID *lppEntryID) override;

    // Makes an object openable by id (the book takes a reference) and of the given type.
    void AddEntry(const std::vector<BYTE> &id, IUnknown *pObject, ULONG ulType);
    // A failure for one id: OpenEntry answers it and hands out nothing.
    void FailEntry(const std::vector<BYTE> &id, HRESULT hr);

    FakeContainer *root = nullptr;

    struct OpenCall {
        std::vector<BYTE> id;
        LPCIID lpInterface;
        ULONG ulFlags;
    };
    std::vector<OpenCall> openCalls;
    struct DetailsCall {
        ULONG ulUIParam;
        std::vector<BYTE> id;
    };
    std::vector<DetailsCall> detailsCalls;
    HRESULT hrDetails = S_OK;
    // GetPAB answers hrGetPAB and, on success, a copy of pabId.
    HRESULT hrGetPAB = MAPI_E_NO_SUPPORT;
    std::vector<BYTE> pabId;

protected:
    ~FakeAddrBook() override;

private:
    struct Entry {
        IUnknown *pObject;
        ULONG ulType;
        HRESULT hrOpen;
    };
    std::map<std::vector<BYTE>, Entry> m_entries;
};

// Installs a provider module whose WABOpen hands out a reference to the given book and allocator, and points the
// registry's provider path at it (by default under the name "fakewab"). The destructor withdraws the module and
// points the registry at the built-in provider again.
class FakeWabModule {
public:
    FakeWabModule(FakeAddrBook *pBook, FakeWABObject *pWab, const char *pszName = "fakewab",
                  bool bWithEntryPoint = true);
    ~FakeWabModule();
    FakeWabModule(const FakeWabModule &) = delete;
    FakeWabModule &operator=(const FakeWabModule &) = delete;

    // What WABOpen saw and answers.
    static inline HRESULT hrOpen = S_OK;
    static inline bool bHandOutOnFailure = false; // hand out both objects even when failing
    static inline int cOpens = 0;
    static inline WAB_PARAM lastParam{};
    static inline std::string lastFileName;
    static inline bool bNullFileName = false;

private:
    static HRESULT WABOpen(IAddrBook **lppAdrBook, IWABObject **lppWABObject, WAB_PARAM *lpWP, DWORD Reserved2);
    static inline FakeAddrBook *s_pBook = nullptr;
    static inline FakeWABObject *s_pWab = nullptr;

    std::string m_strName;
    BuiltinExport m_export;
};

// Points the registry's provider path at a text (null: removes the key).
void SetWabDllPath(const char *pszPath);

} // namespace testsupport
