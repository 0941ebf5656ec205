#include "support/fake_wab.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "platform/registry.h"

namespace testsupport {

ULONG RefCount(IUnknown *pUnknown) {
    pUnknown->AddRef();
    return pUnknown->Release();
}

// ---- FakeProp ----------------------------------------------------------------------------------------------------

FakeProp FakeProp::String(ULONG ulTag, const std::string &str) {
    FakeProp prop;
    prop.ulTag = ulTag;
    prop.str = str;
    return prop;
}

FakeProp FakeProp::Long(ULONG ulTag, LONG n) {
    FakeProp prop;
    prop.ulTag = ulTag;
    prop.value.l = n;
    return prop;
}

FakeProp FakeProp::Binary(ULONG ulTag, const std::vector<BYTE> &bytes) {
    FakeProp prop;
    prop.ulTag = ulTag;
    prop.bytes = bytes;
    return prop;
}

FakeProp FakeProp::Time(ULONG ulTag, uint64_t nTicks) {
    FakeProp prop;
    prop.ulTag = ulTag;
    prop.value.ft = FILETIME{static_cast<uint32_t>(nTicks), static_cast<uint32_t>(nTicks >> 32)};
    return prop;
}

FakeProp FakeProp::Error(ULONG ulTag, SCODE scode) {
    FakeProp prop;
    prop.ulTag = CHANGE_PROP_TYPE(ulTag, PT_ERROR);
    prop.value.err = scode;
    return prop;
}

FakeProp FakeProp::From(const SPropValue &value) {
    FakeProp prop;
    prop.ulTag = value.ulPropTag;
    switch (PROP_TYPE(value.ulPropTag)) {
    case PT_STRING8:
        prop.str = value.Value.lpszA ? value.Value.lpszA : "";
        break;
    case PT_UNICODE:
        prop.wstr = value.Value.lpszW ? value.Value.lpszW : u"";
        break;
    case PT_BINARY:
        prop.bytes.assign(value.Value.bin.lpb, value.Value.bin.lpb + value.Value.bin.cb);
        break;
    default:
        prop.value = value.Value;
        break;
    }
    return prop;
}

// ---- FakeWABObject -----------------------------------------------------------------------------------------------

HRESULT FakeWABObject::QueryInterface(REFIID riid, void **ppv) {
    *ppv = nullptr;
    return E_NOINTERFACE;
}

HRESULT FakeWABObject::AllocateBuffer(ULONG cbSize, LPVOID *lppBuffer) {
    *lppBuffer = nullptr;
    if (FAILED(hrAllocate)) return hrAllocate;
    void *p = std::calloc(1, cbSize ? cbSize : 1);
    if (!p) return MAPI_E_NOT_ENOUGH_MEMORY;
    m_blocks[p];
    *lppBuffer = p;
    return S_OK;
}

HRESULT FakeWABObject::AllocateMore(ULONG cbSize, LPVOID lpObject, LPVOID *lppBuffer) {
    *lppBuffer = nullptr;
    auto it = m_blocks.find(lpObject);
    if (it == m_blocks.end()) return MAPI_E_INVALID_PARAMETER;
    void *p = std::calloc(1, cbSize ? cbSize : 1);
    if (!p) return MAPI_E_NOT_ENOUGH_MEMORY;
    it->second.push_back(p);
    *lppBuffer = p;
    return S_OK;
}

HRESULT FakeWABObject::FreeBuffer(LPVOID lpBuffer) {
    ++cFreeCalls;
    auto it = m_blocks.find(lpBuffer);
    if (it == m_blocks.end()) return lpBuffer ? MAPI_E_INVALID_PARAMETER : S_OK;
    for (void *p : it->second)
        std::free(p);
    std::free(it->first);
    m_blocks.erase(it);
    return hrFree;
}

SPropValue *FakeWABObject::CopyProps(const std::vector<FakeProp> &props) {
    void *pBlock = nullptr;
    AllocateBuffer(static_cast<ULONG>(sizeof(SPropValue) * props.size()), &pBlock);
    SPropValue *pValues = static_cast<SPropValue *>(pBlock);
    for (size_t i = 0; i < props.size(); ++i) {
        const FakeProp &prop = props[i];
        pValues[i].ulPropTag = prop.ulTag;
        pValues[i].Value = prop.value;
        void *pMore = nullptr;
        switch (PROP_TYPE(prop.ulTag)) {
        case PT_STRING8:
            AllocateMore(static_cast<ULONG>(prop.str.size() + 1), pBlock, &pMore);
            std::memcpy(pMore, prop.str.c_str(), prop.str.size() + 1);
            pValues[i].Value.lpszA = static_cast<char *>(pMore);
            break;
        case PT_UNICODE:
            AllocateMore(static_cast<ULONG>((prop.wstr.size() + 1) * sizeof(char16_t)), pBlock, &pMore);
            std::memcpy(pMore, prop.wstr.c_str(), (prop.wstr.size() + 1) * sizeof(char16_t));
            pValues[i].Value.lpszW = static_cast<char16_t *>(pMore);
            break;
        case PT_BINARY:
            AllocateMore(static_cast<ULONG>(prop.bytes.size()), pBlock, &pMore);
            if (!prop.bytes.empty()) std::memcpy(pMore, prop.bytes.data(), prop.bytes.size());
            pValues[i].Value.bin.cb = static_cast<ULONG>(prop.bytes.size());
            pValues[i].Value.bin.lpb = static_cast<BYTE *>(pMore);
            break;
        default:
            break;
        }
    }
    return pValues;
}

// ---- FakePropObject ----------------------------------------------------------------------------------------------

template <class Base> HRESULT FakePropObject<Base>::QueryInterface(REFIID riid, void **ppv) {
    *ppv = nullptr;
    return E_NOINTERFACE;
}

template <class Base> HRESULT FakePropObject<Base>::SaveChanges(ULONG ulFlags) {
    saveFlags.push_back(ulFlags);
    return hrSave;
}

template <class Base> const FakeProp *FakePropObject<Base>::Find(ULONG ulTag) const {
    for (const FakeProp &prop : props)
        if (PROP_ID(prop.ulTag) == PROP_ID(ulTag)) return &prop;
    return nullptr;
}

template <class Base> void FakePropObject<Base>::Set(const FakeProp &prop) {
    for (FakeProp &existing : props)
        if (PROP_ID(existing.ulTag) == PROP_ID(prop.ulTag)) {
            existing = prop;
            return;
        }
    props.push_back(prop);
}

template <class Base>
HRESULT FakePropObject<Base>::GetProps(SPropTagArray *lpPropTagArray, ULONG ulFlags, ULONG *lpcValues,
                                       SPropValue **lppPropArray) {
    getPropsFlags.push_back(ulFlags);
    *lpcValues = 0;
    *lppPropArray = nullptr;
    if (FAILED(hrGetProps)) return hrGetProps;
    std::vector<FakeProp> values;
    bool bErrors = false;
    for (ULONG i = 0; i < lpPropTagArray->cValues; ++i) {
        ULONG ulTag = lpPropTagArray->aulPropTag[i];
        const FakeProp *pProp = Find(ulTag);
        if (pProp && PROP_TYPE(pProp->ulTag) != PT_ERROR) {
            values.push_back(*pProp);
        } else {
            values.push_back(FakeProp::Error(ulTag, pProp ? pProp->value.err : MAPI_E_NOT_FOUND));
            bErrors = true;
        }
    }
    *lppPropArray = m_pWab->CopyProps(values);
    *lpcValues = static_cast<ULONG>(values.size());
    return bErrors ? MAPI_W_ERRORS_RETURNED : hrGetProps;
}

template <class Base> HRESULT FakePropObject<Base>::GetPropList(ULONG ulFlags, SPropTagArray **lppPropTagArray) {
    void *p = nullptr;
    m_pWab->AllocateBuffer(static_cast<ULONG>(CbNewSPropTagArray(static_cast<ULONG>(props.size()))), &p);
    SPropTagArray *pTags = static_cast<SPropTagArray *>(p);
    pTags->cValues = static_cast<ULONG>(props.size());
    for (size_t i = 0; i < props.size(); ++i)
        pTags->aulPropTag[i] = props[i].ulTag;
    *lppPropTagArray = pTags;
    return S_OK;
}

template <class Base>
HRESULT FakePropObject<Base>::SetProps(ULONG cValues, SPropValue *lpPropArray, SPropProblemArray **lppProblems) {
    setPropsCounts.push_back(cValues);
    for (ULONG i = 0; i < cValues; ++i)
        Set(FakeProp::From(lpPropArray[i]));
    if (lppProblems && !problems.empty()) {
        void *p = nullptr;
        m_pWab->AllocateBuffer(static_cast<ULONG>(CbNewSPropProblemArray(static_cast<ULONG>(problems.size()))), &p);
        SPropProblemArray *pProblems = static_cast<SPropProblemArray *>(p);
        pProblems->cProblem = static_cast<ULONG>(problems.size());
        for (size_t i = 0; i < problems.size(); ++i)
            pProblems->aProblem[i] = problems[i];
        *lppProblems = pProblems;
    }
    return hrSetProps;
}

template <class Base>
HRESULT FakePropObject<Base>::DeleteProps(SPropTagArray *lpPropTagArray, SPropProblemArray **lppProblems) {
    return MAPI_E_NO_SUPPORT;
}

template <class Base>
HRESULT FakePropObject<Base>::GetNamesFromIDs(SPropTagArray **lppPropTags, GUID *lpPropSetGuid, ULONG ulFlags,
                                              ULONG *lpcPropNames, MAPINAMEID ***lpppPropNames) {
    return MAPI_E_NO_SUPPORT;
}

template <class Base>
HRESULT FakePropObject<Base>::GetIDsFromNames(ULONG cPropNames, MAPINAMEID **lppPropNames, ULONG ulFlags,
                                              SPropTagArray **lppPropTags) {
    *lppPropTags = nullptr;
    const MAPINAMEID *pName = lppPropNames[0];
    lastGuid = *pName->lpguid;
    lastKind = pName->ulKind;
    lastID = pName->ulKind == MNID_ID ? pName->Kind.lID : 0;
    lastName = pName->ulKind == MNID_STRING ? pName->Kind.lpwstrName : u"";
    lastNamesFlags = ulFlags;
    if (FAILED(hrGetIDs)) return hrGetIDs;
    void *p = nullptr;
    m_pWab->AllocateBuffer(static_cast<ULONG>(CbNewSPropTagArray(1)), &p);
    SPropTagArray *pTags = static_cast<SPropTagArray *>(p);
    pTags->cValues = 1;
    pTags->aulPropTag[0] = ulNamedTag;
    *lppPropTags = pTags;
    return hrGetIDs;
}

template class FakePropObject<IMailUser>;
template class FakePropObject<IABContainer>;
template class FakePropObject<IAddrBook>;

// ---- FakeTable ---------------------------------------------------------------------------------------------------

HRESULT FakeTable::QueryInterface(REFIID riid, void **ppv) {
    *ppv = nullptr;
    return E_NOINTERFACE;
}

HRESULT FakeTable::SetColumns(SPropTagArray *lpPropTagArray, ULONG ulFlags) {
    if (pCalls) ++pCalls->cSetColumns;
    return hrSetColumns;
}

HRESULT FakeTable::QueryColumns(ULONG ulFlags, SPropTagArray **lppPropTagArray) { return MAPI_E_NO_SUPPORT; }

HRESULT FakeTable::GetRowCount(ULONG ulFlags, ULONG *lpulCount) {
    if (FAILED(hrGetRowCount)) return hrGetRowCount;
    *lpulCount = static_cast<ULONG>(rows.size());
    return S_OK;
}

HRESULT FakeTable::SeekRow(BOOKMARK bkOrigin, LONG lRowCount, LONG *lplRowsSought) { return MAPI_E_NO_SUPPORT; }

HRESULT FakeTable::Restrict(SRestriction *lpRestriction, ULONG ulFlags) {
    if (pCalls && lpRestriction) pCalls->restrictions.push_back(*lpRestriction);
    return hrRestrict;
}

HRESULT FakeTable::SortTable(SSortOrderSet *lpSortCriteria, ULONG ulFlags) {
    if (pCalls && lpSortCriteria && lpSortCriteria->cSorts > 0) pCalls->sortKeys.push_back(lpSortCriteria->aSort[0]);
    return hrSort;
}

HRESULT FakeTable::QueryRows(LONG lRowCount, ULONG ulFlags, SRowSet **lppRows) {
    queryRowsCounts.push_back(lRowCount);
    *lppRows = nullptr;
    if (FAILED(hrQueryRows)) return hrQueryRows;
    ULONG cRows = static_cast<ULONG>(std::min<size_t>(rows.size(), static_cast<size_t>(std::max<LONG>(lRowCount, 0))));
    void *p = nullptr;
    m_pWab->AllocateBuffer(static_cast<ULONG>(CbNewSRowSet(cRows)), &p);
    SRowSet *pRows = static_cast<SRowSet *>(p);
    pRows->cRows = cRows;
    for (ULONG i = 0; i < cRows; ++i) {
        pRows->aRow[i].cValues = static_cast<ULONG>(rows[i].size());
        pRows->aRow[i].lpProps = m_pWab->CopyProps(rows[i]);
    }
    *lppRows = pRows;
    return S_OK;
}

// ---- FakeContainer -----------------------------------------------------------------------------------------------

HRESULT FakeContainer::GetContentsTable(ULONG ulFlags, IMAPITable **lppTable) {
    contentsFlags.push_back(ulFlags);
    *lppTable = nullptr;
    if (FAILED(hrContents)) return hrContents;
    FakeTable *pTable = new FakeTable(m_pWab);
    pTable->rows = rows;
    pTable->hrGetRowCount = hrGetRowCount;
    pTable->hrQueryRows = hrQueryRows;
    pTable->hrSetColumns = hrSetColumns;
    pTable->hrRestrict = hrRestrict;
    pTable->hrSort = hrSort;
    pTable->pCalls = &tableCalls;
    *lppTable = pTable;
    return S_OK;
}

HRESULT FakeContainer::GetHierarchyTable(ULONG ulFlags, IMAPITable **lppTable) { return MAPI_E_NO_SUPPORT; }

HRESULT FakeContainer::OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG ulFlags,
                                 ULONG *lpulObjType, LPUNKNOWN *lppUnk) {
    return MAPI_E_NO_SUPPORT;
}

FakeContainer::~FakeContainer() {
    if (created) created->Release();
}

HRESULT FakeContainer::CreateEntry(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulCreateFlags,
                                   IMAPIProp **lppMAPIPropEntry) {
    const BYTE *pb = reinterpret_cast<const BYTE *>(lpEntryID);
    createTemplates.emplace_back(pb, pb + (pb ? cbEntryID : 0));
    *lppMAPIPropEntry = nullptr;
    if (!created) return MAPI_E_NO_SUPPORT;
    if (FAILED(hrCreate)) return hrCreate;
    created->AddRef();
    *lppMAPIPropEntry = created;
    return hrCreate;
}

HRESULT FakeContainer::DeleteEntries(LPENTRYLIST lpEntries, ULONG ulFlags) {
    for (ULONG i = 0; lpEntries && i < lpEntries->cValues; ++i)
        deletedIds.emplace_back(lpEntries->lpbin[i].lpb, lpEntries->lpbin[i].lpb + lpEntries->lpbin[i].cb);
    return hrDelete;
}

// ---- FakeAddrBook ------------------------------------------------------------------------------------------------

FakeAddrBook::FakeAddrBook(FakeWABObject *pWab) : FakePropObject(pWab), root(new FakeContainer(pWab)) {}

FakeAddrBook::~FakeAddrBook() {
    for (auto &entry : m_entries)
        if (entry.second.pObject) entry.second.pObject->Release();
    root->Release();
}

void FakeAddrBook::AddEntry(const std::vector<BYTE> &id, IUnknown *pObject, ULONG ulType) {
    pObject->AddRef();
    m_entries[id] = Entry{pObject, ulType, S_OK};
}

void FakeAddrBook::FailEntry(const std::vector<BYTE> &id, HRESULT hr) { m_entries[id] = Entry{nullptr, 0, hr}; }

HRESULT FakeAddrBook::OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG ulFlags,
                                ULONG *lpulObjType, LPUNKNOWN *lppUnk) {
    const BYTE *pb = reinterpret_cast<const BYTE *>(lpEntryID);
    std::vector<BYTE> id(pb, pb + (pb ? cbEntryID : 0));
    openCalls.push_back({id, lpInterface, ulFlags});
    *lppUnk = nullptr;
    *lpulObjType = 0;
    auto it = m_entries.find(id);
    if (it != m_entries.end() && FAILED(it->second.hrOpen)) return it->second.hrOpen;
    if (id.empty()) {
        root->AddRef();
        *lppUnk = static_cast<IABContainer *>(root);
        *lpulObjType = MAPI_ABCONT;
        return S_OK;
    }
    if (it == m_entries.end()) return MAPI_E_UNKNOWN_ENTRYID;
    it->second.pObject->AddRef();
    *lppUnk = it->second.pObject;
    *lpulObjType = it->second.ulType;
    return S_OK;
}

HRESULT FakeAddrBook::CompareEntryIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2, LPENTRYID lpEntryID2,
                                      ULONG ulFlags, ULONG *lpulResult) {
    return MAPI_E_NO_SUPPORT;
}

HRESULT FakeAddrBook::Details(ULONG *lpulUIParam, LPFNDISMISS lpfnDismiss, LPVOID lpvDismissContext, ULONG cbEntryID,
                              LPENTRYID lpEntryID, LPFNBUTTON lpfButtonCallback, LPVOID lpvButtonContext,
                              LPSTR lpszButtonText, ULONG ulFlags) {
    const BYTE *pb = reinterpret_cast<const BYTE *>(lpEntryID);
    detailsCalls.push_back({lpulUIParam ? *lpulUIParam : 0xFFFFFFFF, std::vector<BYTE>(pb, pb + (pb ? cbEntryID : 0))});
    return hrDetails;
}

HRESULT FakeAddrBook::GetPAB(ULONG *lpcbEntryID, LPENTRYID *lppEntryID) {
    *lpcbEntryID = 0;
    *lppEntryID = nullptr;
    if (FAILED(hrGetPAB)) return hrGetPAB;
    void *p = nullptr;
    m_pWab->AllocateBuffer(static_cast<ULONG>(pabId.size() ? pabId.size() : 1), &p);
    std::copy(pabId.begin(), pabId.end(), static_cast<BYTE *>(p));
    *lpcbEntryID = static_cast<ULONG>(pabId.size());
    *lppEntryID = static_cast<LPENTRYID>(p);
    return hrGetPAB;
}

// ---- FakeWabModule -----------------------------------------------------------------------------------------------

void SetWabDllPath(const char *pszPath) {
    if (pszPath)
        RegSetKeyValueA(HKEY_LOCAL_MACHINE, kszWabDllPathKey, "", REG_SZ, pszPath,
                        static_cast<DWORD>(std::strlen(pszPath) + 1));
    else
        RegDeleteKeyA(HKEY_LOCAL_MACHINE, kszWabDllPathKey);
}

FakeWabModule::FakeWabModule(FakeAddrBook *pBook, FakeWABObject *pWab, const char *pszName, bool bWithEntryPoint)
    : m_strName(pszName), m_export{"WABOpen", reinterpret_cast<FARPROC>(&FakeWabModule::WABOpen)} {
    s_pBook = pBook;
    s_pWab = pWab;
    hrOpen = S_OK;
    bHandOutOnFailure = false;
    cOpens = 0;
    lastParam = WAB_PARAM{};
    lastFileName.clear();
    bNullFileName = false;
    AddBuiltinModule(m_strName.c_str(), &m_export, bWithEntryPoint ? 1 : 0);
    SetWabDllPath(m_strName.c_str());
}

FakeWabModule::~FakeWabModule() {
    RemoveBuiltinModule(m_strName.c_str());
    SetWabDllPath(kszVCardModuleName);
    s_pBook = nullptr;
    s_pWab = nullptr;
}

HRESULT FakeWabModule::WABOpen(IAddrBook **lppAdrBook, IWABObject **lppWABObject, WAB_PARAM *lpWP, DWORD Reserved2) {
    ++cOpens;
    lastParam = *lpWP;
    bNullFileName = lpWP->szFileName == nullptr;
    lastFileName = lpWP->szFileName ? lpWP->szFileName : "";
    if (SUCCEEDED(hrOpen) || bHandOutOnFailure) {
        if (s_pBook) s_pBook->AddRef();
        if (s_pWab) s_pWab->AddRef();
        *lppAdrBook = s_pBook;
        *lppWABObject = s_pWab;
    }
    return hrOpen;
}

} // namespace testsupport
