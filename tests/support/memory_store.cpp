#include "support/memory_store.h"

#include <cstdlib>
#include <cstring>

#include "platform/text.h"

namespace testsupport {

namespace {

template <class Char>
size_t TextBytes(const Char *psz) {
    size_t n = 0;
    while (psz[n]) ++n;
    return (n + 1) * sizeof(Char);
}

// A stream handed out by the store: the bytes in memory, with the failures asked for, counted while alive.
class CTestStream : public CStreamBase {
public:
    CTestStream(IStream *pInner, const CMemoryStore::StreamFaults &faults, std::shared_ptr<int> pnOpen)
        : m_pInner(pInner), m_faults(faults), m_pnOpen(std::move(pnOpen)) {
        ++*m_pnOpen;
    }

    HRESULT Read(void *pv, ULONG cb, ULONG *pcbRead) override {
        if (m_faults.hrRead != S_OK && m_nReads >= m_faults.nGoodReads) {
            if (pcbRead) *pcbRead = 0;
            return m_faults.hrRead;
        }
        ++m_nReads;
        return m_pInner->Read(pv, cb, pcbRead);
    }
    HRESULT Write(const void *pv, ULONG cb, ULONG *pcbWritten) override { return m_pInner->Write(pv, cb, pcbWritten); }
    HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER *plibNewPosition) override {
        return m_pInner->Seek(dlibMove, dwOrigin, plibNewPosition);
    }
    HRESULT SetSize(ULARGE_INTEGER libNewSize) override { return m_pInner->SetSize(libNewSize); }
    HRESULT Commit(DWORD grfCommitFlags) override { return m_pInner->Commit(grfCommitFlags); }
    HRESULT Stat(STATSTG *pstatstg, DWORD grfStatFlag) override {
        if (m_faults.hrStat != S_OK) return m_faults.hrStat;
        return m_pInner->Stat(pstatstg, grfStatFlag);
    }

protected:
    ~CTestStream() override {
        m_pInner->Release();
        --*m_pnOpen;
    }

private:
    IStream *m_pInner;
    CMemoryStore::StreamFaults m_faults;
    std::shared_ptr<int> m_pnOpen;
    ULONG m_nReads = 0;
};

// The message store's name of an attachment: the display name without leading blanks, cut at its last "(",
// without the blanks in front of the cut.
std::string AttachNameFromDisplayName(std::string_view sz) {
    size_t nStart = sz.find_first_not_of(' ');
    std::string szName(nStart == std::string_view::npos ? std::string_view{} : sz.substr(nStart));
    size_t nCut = szName.rfind('(');
    if (nCut != std::string::npos) {
        while (nCut > 0 && szName[nCut - 1] == ' ') --nCut;
        szName.resize(nCut);
    }
    return szName;
}

SPropValue TextValue(ULONG nTag, const std::string &sz) {
    SPropValue v{};
    v.ulPropTag = CHANGE_PROP_TYPE(nTag, PT_STRING8);
    v.Value.lpszA = const_cast<char *>(sz.c_str());
    return v;
}

} // namespace

// ---- CValueArena, CValueList

void *CValueArena::Keep(const void *p, size_t cb) {
    if (!p) return nullptr;
    m_blocks.push_back(std::make_unique<unsigned char[]>(cb == 0 ? 1 : cb));
    if (cb > 0) std::memcpy(m_blocks.back().get(), p, cb);
    return m_blocks.back().get();
}

SPropValue CValueArena::Copy(const SPropValue &value) {
    SPropValue v = value;
    if (value.ulPropTag == kTagAttachSize) return v;
    _PV &pv = v.Value;
    switch (PROP_TYPE(value.ulPropTag)) {
    case PT_STRING8:
        if (pv.lpszA) pv.lpszA = static_cast<char *>(Keep(pv.lpszA, TextBytes(pv.lpszA)));
        break;
    case PT_UNICODE:
        if (pv.lpszW) pv.lpszW = static_cast<char16_t *>(Keep(pv.lpszW, TextBytes(pv.lpszW)));
        break;
    case PT_CLSID: pv.lpguid = static_cast<GUID *>(Keep(pv.lpguid, sizeof(GUID))); break;
    case PT_BINARY: pv.bin.lpb = static_cast<BYTE *>(Keep(pv.bin.lpb, pv.bin.cb)); break;
    case PT_MV_I2: pv.MVi.lpi = static_cast<int16_t *>(Keep(pv.MVi.lpi, pv.MVi.cValues * 2)); break;
    case PT_MV_LONG:
    case PT_MV_R4: pv.MVl.lpl = static_cast<LONG *>(Keep(pv.MVl.lpl, pv.MVl.cValues * 4)); break;
    case PT_MV_DOUBLE:
    case PT_MV_CURRENCY:
    case PT_MV_APPTIME:
    case PT_MV_I8:
    case PT_MV_SYSTIME: pv.MVli.lpli = static_cast<int64_t *>(Keep(pv.MVli.lpli, pv.MVli.cValues * 8)); break;
    case PT_MV_CLSID: pv.MVguid.lpguid = static_cast<GUID *>(Keep(pv.MVguid.lpguid, pv.MVguid.cValues * 16)); break;
    case PT_MV_STRING8:
        pv.MVszA.lppszA = static_cast<char **>(Keep(pv.MVszA.lppszA, pv.MVszA.cValues * sizeof(char *)));
        for (ULONG i = 0; pv.MVszA.lppszA && i < pv.MVszA.cValues; ++i)
            if (pv.MVszA.lppszA[i])
                pv.MVszA.lppszA[i] = static_cast<char *>(Keep(pv.MVszA.lppszA[i], TextBytes(pv.MVszA.lppszA[i])));
        break;
    case PT_MV_UNICODE:
        pv.MVszW.lppszW = static_cast<char16_t **>(Keep(pv.MVszW.lppszW, pv.MVszW.cValues * sizeof(char16_t *)));
        for (ULONG i = 0; pv.MVszW.lppszW && i < pv.MVszW.cValues; ++i)
            if (pv.MVszW.lppszW[i])
                pv.MVszW.lppszW[i] =
                    static_cast<char16_t *>(Keep(pv.MVszW.lppszW[i], TextBytes(pv.MVszW.lppszW[i])));
        break;
    case PT_MV_BINARY:
        pv.MVbin.lpbin = static_cast<SBinary *>(Keep(pv.MVbin.lpbin, pv.MVbin.cValues * sizeof(SBinary)));
        for (ULONG i = 0; pv.MVbin.lpbin && i < pv.MVbin.cValues; ++i)
            pv.MVbin.lpbin[i].lpb = static_cast<BYTE *>(Keep(pv.MVbin.lpbin[i].lpb, pv.MVbin.lpbin[i].cb));
        break;
    default: break;
    }
    return v;
}

void CValueList::Set(const SPropValue &value) {
    SPropValue copy = m_arena.Copy(value);
    for (SPropValue &v : m_values) {
        if (PROP_ID(v.ulPropTag) == PROP_ID(value.ulPropTag)) {
            v = copy;
            return;
        }
    }
    m_values.push_back(copy);
}

const SPropValue *CValueList::Find(ULONG nTag) const {
    return FindPropValue(m_values.data(), static_cast<ULONG>(m_values.size()), nTag, false);
}

// ---- ItemBuilder

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::Value(const SPropValue &value) {
    m_item.values.Set(value);
    return *this;
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::Text(ULONG nTag, std::string_view sz) {
    return Value(TextValue(nTag, std::string(sz)));
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::Wide(ULONG nTag, std::u16string_view sz) {
    std::u16string text(sz);
    SPropValue v{};
    v.ulPropTag = CHANGE_PROP_TYPE(nTag, PT_UNICODE);
    v.Value.lpszW = text.data();
    return Value(v);
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::Long(ULONG nTag, LONG n) {
    SPropValue v{};
    v.ulPropTag = CHANGE_PROP_TYPE(nTag, PT_LONG);
    v.Value.l = n;
    return Value(v);
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::Binary(ULONG nTag, std::string_view bytes) {
    std::string copy(bytes);
    SPropValue v{};
    v.ulPropTag = CHANGE_PROP_TYPE(nTag, PT_BINARY);
    v.Value.bin.cb = static_cast<ULONG>(copy.size());
    v.Value.bin.lpb = reinterpret_cast<BYTE *>(copy.data());
    return Value(v);
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::Time(ULONG nTag, FILETIME ft) {
    SPropValue v{};
    v.ulPropTag = CHANGE_PROP_TYPE(nTag, PT_SYSTIME);
    v.Value.ft = ft;
    return Value(v);
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::Stream(ULONG nTag, std::string_view bytes) {
    m_item.streams[PROP_ID(nTag)] = std::string(bytes);
    return *this;
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::Size(ULONG nWhole, ULONG nMain) {
    m_item.nWholeSize = nWhole;
    m_item.nMainSize = nMain;
    return *this;
}

CMemoryStore::Attachment &CMemoryStore::ItemBuilder::AttachmentById(ULONG id) {
    for (auto &pAttach : m_item.attachments)
        if (pAttach->id == id) return *pAttach;
    m_item.attachments.push_back(std::make_unique<Attachment>());
    m_item.attachments.back()->id = id;
    return *m_item.attachments.back();
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::Attach(ULONG id, std::string_view szDisplayName, ULONG nSize) {
    Attachment &attach = AttachmentById(id);
    attach.values.Set(TextValue(kTagAttachDisplayName, std::string(szDisplayName)));
    attach.values.Set(TextValue(kTagAttachName, AttachNameFromDisplayName(szDisplayName)));
    SPropValue size{};
    size.ulPropTag = kTagAttachSize;
    size.Value.ul = nSize;
    attach.values.Set(size);
    return *this;
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::AttachValue(ULONG id, const SPropValue &value) {
    AttachmentById(id).values.Set(value);
    return *this;
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::AttachPropError(ULONG id, ULONG nTag, SCODE err) {
    AttachmentById(id).errors[PROP_ID(nTag)] = err;
    return *this;
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::FailOpen(HRESULT hr) {
    m_item.hrOpen = hr;
    return *this;
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::FailGetProps(HRESULT hr) {
    m_item.hrGetProps = hr;
    return *this;
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::PropError(ULONG nTag, SCODE err) {
    m_item.errors[PROP_ID(nTag)] = err;
    return *this;
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::FailGetSize(HRESULT hr) {
    m_item.hrGetSize = hr;
    return *this;
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::FailOpenStream(ULONG nTag, HRESULT hr) {
    m_item.streamFaults[PROP_ID(nTag)].hrOpen = hr;
    return *this;
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::FailStreamStat(ULONG nTag, HRESULT hr) {
    m_item.streamFaults[PROP_ID(nTag)].hrStat = hr;
    return *this;
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::FailStreamRead(ULONG nTag, HRESULT hr, ULONG nGoodReads) {
    StreamFaults &faults = m_item.streamFaults[PROP_ID(nTag)];
    faults.hrRead = hr;
    faults.nGoodReads = nGoodReads;
    return *this;
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::FailGetAttachments(HRESULT hr) {
    m_item.hrGetAttachments = hr;
    return *this;
}

CMemoryStore::ItemBuilder &CMemoryStore::ItemBuilder::FailGetAttachProps(ULONG id, HRESULT hr) {
    AttachmentById(id).hrGetProps = hr;
    return *this;
}

// ---- CMemoryStore: building

CMemoryStore::~CMemoryStore() {
    for (void *p : m_buffers) std::free(p);
}

void CMemoryStore::AddFolder(std::string_view szFolder) { m_folders.try_emplace(std::string(szFolder), S_OK); }

void CMemoryStore::FailOpenFolder(std::string_view szFolder, HRESULT hr) { m_folders[std::string(szFolder)] = hr; }

CMemoryStore::ItemBuilder CMemoryStore::AddItem(std::string_view szFolder, std::string_view szEntry) {
    AddFolder(szFolder);
    auto [it, bNew] = m_items.try_emplace(std::string(szEntry));
    if (bNew) {
        it->second = std::make_unique<Item>();
        it->second->szEntry = szEntry;
        it->second->szFolder = szFolder;
    }
    return ItemBuilder(*it->second);
}

CMemoryStore::ItemBuilder CMemoryStore::ItemFor(std::string_view szEntry) {
    return ItemBuilder(*m_items.find(szEntry)->second);
}

void CMemoryStore::AddNamedProp(std::string_view szGUID, LONG nID, std::u16string_view sID, ULONG nTag) {
    m_namedProps.push_back({std::string(szGUID), nID, std::u16string(sID), nTag});
}

// ---- CMemoryStore: folders and items

HRESULT CMemoryStore::OpenFolder(const char *pszEntry, HFOLDER *phFolder) {
    *phFolder = nullptr;
    if (m_bNullFolders) {
        ++m_nFolderOpens;
        return S_OK;
    }
    auto it = pszEntry ? m_folders.find(std::string_view(pszEntry)) : m_folders.end();
    if (it == m_folders.end()) return MAPI_E_NOT_FOUND;
    if (it->second != S_OK) return it->second;
    auto pRecord = std::make_unique<OpenFolderRecord>(OpenFolderRecord{it->first});
    *phFolder = pRecord.get();
    m_openFolders.emplace(pRecord.get(), std::move(pRecord));
    ++m_nFolderOpens;
    return S_OK;
}

void CMemoryStore::CloseFolder(HFOLDER *phFolder) {
    if (!phFolder || !*phFolder) return;
    if (m_openFolders.erase(*phFolder) == 0) {
        ++m_nBadHandles;
    } else {
        ++m_nFolderCloses;
    }
    *phFolder = nullptr;
}

HRESULT CMemoryStore::OpenItem(const char *pszEntry, HITEM *phItem, BOOL bModify) {
    *phItem = nullptr;
    auto it = pszEntry ? m_items.find(std::string_view(pszEntry)) : m_items.end();
    if (it == m_items.end()) return MAPI_E_NOT_FOUND;
    if (it->second->hrOpen != S_OK) return it->second->hrOpen;
    auto pRecord = std::make_unique<OpenItemRecord>(OpenItemRecord{it->second.get(), bModify});
    *phItem = pRecord.get();
    m_openItems.emplace(pRecord.get(), std::move(pRecord));
    ++m_nItemOpens;
    return S_OK;
}

HRESULT CMemoryStore::OpenFolderItem(HFOLDER hFolder, const char *pszEntry, HITEM *phItem, BOOL bModify) {
    *phItem = nullptr;
    if (hFolder) {
        auto itFolder = m_openFolders.find(hFolder);
        if (itFolder == m_openFolders.end()) {
            ++m_nBadHandles;
            return MAPI_E_INVALID_PARAMETER;
        }
        auto itItem = pszEntry ? m_items.find(std::string_view(pszEntry)) : m_items.end();
        if (itItem == m_items.end() || itItem->second->szFolder != itFolder->second->szFolder)
            return MAPI_E_NOT_FOUND;
    }
    return OpenItem(pszEntry, phItem, bModify);
}

void CMemoryStore::CloseItem(HITEM *phItem) {
    if (!phItem || !*phItem) return;
    if (m_openItems.erase(*phItem) == 0) {
        ++m_nBadHandles;
    } else {
        ++m_nItemCloses;
    }
    *phItem = nullptr;
}

CMemoryStore::Item *CMemoryStore::ItemFromHandle(HITEM hItem) {
    auto it = m_openItems.find(hItem);
    if (it == m_openItems.end()) {
        ++m_nBadHandles;
        return nullptr;
    }
    return it->second->pItem;
}

HRESULT CMemoryStore::GetIDFromName(HITEM hItem, ULONG *pTag, const char *pszGUID, LONG nID, const char16_t *sID,
                                    BOOL bCreate) {
    if (!ItemFromHandle(hItem)) return MAPI_E_INVALID_PARAMETER;
    std::string szGUID = pszGUID ? pszGUID : "";
    std::u16string szName = sID ? sID : u"";
    for (const NamedProp &prop : m_namedProps) {
        bool bSameName = nID != 0 ? prop.nID == nID : (prop.nID == 0 && prop.sID == szName);
        if (bSameName && lstrcmpiA(prop.szGUID.c_str(), szGUID.c_str()) == 0) {
            *pTag = prop.nTag;
            return S_OK;
        }
    }
    if (!bCreate) return MAPI_E_NOT_FOUND;
    ULONG nTag = PROP_TAG(PT_UNSPECIFIED, 0x8000 + static_cast<ULONG>(m_namedProps.size()));
    m_namedProps.push_back({szGUID, nID, szName, nTag});
    *pTag = nTag;
    return S_OK;
}

// ---- CMemoryStore: values

HRESULT CMemoryStore::HandOutValues(const CValueList &values, const std::map<ULONG, SCODE> &errors,
                                    const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppProps) {
    if (!lpTags || lpTags->cValues == 0) return MAPI_E_INVALID_PARAMETER;
    auto pArray = std::make_unique<HandedOutArray>();
    pArray->pValues = std::make_unique<SPropValue[]>(lpTags->cValues);
    HRESULT hr = S_OK;
    for (ULONG i = 0; i < lpTags->cValues; ++i) {
        ULONG nTag = lpTags->aulPropTag[i];
        SPropValue &out = pArray->pValues[i];
        auto itError = errors.find(PROP_ID(nTag));
        const SPropValue *pValue = values.Find(nTag);
        if (itError == errors.end() && pValue) {
            out = pArray->arena.Copy(*pValue);
            continue;
        }
        out.ulPropTag = CHANGE_PROP_TYPE(nTag, PT_ERROR);
        out.Value.err = itError != errors.end() ? itError->second : MAPI_E_NOT_FOUND;
        hr = MAPI_W_ERRORS_RETURNED;
    }
    *pcValues = lpTags->cValues;
    *ppProps = pArray->pValues.get();
    m_propArrays.emplace(pArray->pValues.get(), std::move(pArray));
    return hr;
}

HRESULT CMemoryStore::GetItemProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **ppProps,
                                   BOOL) {
    *ppProps = nullptr;
    *pcValues = 0;
    Item *pItem = ItemFromHandle(hItem);
    if (!pItem) return MAPI_E_INVALID_PARAMETER;
    if (pItem->hrGetProps != S_OK) return pItem->hrGetProps;
    return HandOutValues(pItem->values, pItem->errors, lpTags, pcValues, ppProps);
}

void CMemoryStore::FreeItemProps(SPropValue *pProps) {
    if (pProps && m_propArrays.erase(pProps) == 0) ++m_nBadHandles;
}

HRESULT CMemoryStore::GetItemSize(HITEM hItem, ULONG *pnSize, BOOL bWhole) {
    Item *pItem = ItemFromHandle(hItem);
    if (!pItem) return MAPI_E_INVALID_PARAMETER;
    if (pItem->hrGetSize != S_OK) return pItem->hrGetSize;
    *pnSize = bWhole ? pItem->nWholeSize : pItem->nMainSize;
    return S_OK;
}

// ---- CMemoryStore: attachments

HRESULT CMemoryStore::GetAttachments(HITEM hItem, ULONG **ppIDs, ULONG *pcIDs) {
    Item *pItem = ItemFromHandle(hItem);
    if (!pItem) return MAPI_E_INVALID_PARAMETER;
    if (pItem->hrGetAttachments != S_OK) return pItem->hrGetAttachments;
    *ppIDs = nullptr;
    *pcIDs = 0;
    if (pItem->attachments.empty()) return S_OK;
    void *pBuffer = nullptr;
    HRESULT hr = AllocateBuffer(static_cast<ULONG>(pItem->attachments.size() * sizeof(ULONG)), &pBuffer);
    if (hr != S_OK) return hr;
    *ppIDs = static_cast<ULONG *>(pBuffer);
    for (const auto &pAttach : pItem->attachments) (*ppIDs)[(*pcIDs)++] = pAttach->id;
    return S_OK;
}

HRESULT CMemoryStore::GetAttachProps(HITEM hItem, ULONG idAttach, const SPropTagArray *lpTags, ULONG *pcValues,
                                     SPropValue **ppProps, ULONG) {
    *ppProps = nullptr;
    *pcValues = 0;
    Item *pItem = ItemFromHandle(hItem);
    if (!pItem) return MAPI_E_INVALID_PARAMETER;
    for (const auto &pAttach : pItem->attachments) {
        if (pAttach->id != idAttach) continue;
        if (pAttach->hrGetProps != S_OK) return pAttach->hrGetProps;
        return HandOutValues(pAttach->values, pAttach->errors, lpTags, pcValues, ppProps);
    }
    return MAPI_E_NOT_FOUND;
}

BOOL CMemoryStore::ValidAttachCmpProps(const SPropValue *pProps, ULONG cValues) {
    bool bName = FindPropValue(pProps, cValues, kTagAttachName, true) ||
                 FindPropValue(pProps, cValues, kTagAttachDisplayName, true);
    return bName && FindPropValue(pProps, cValues, kTagAttachSize, true);
}

HRESULT CMemoryStore::CmpAttachProps(const SPropValue *pProps1, ULONG cValues1, const SPropValue *pProps2,
                                     ULONG cValues2, LONG *pnResult) {
    const SPropValue *pSize1 = FindPropValue(pProps1, cValues1, kTagAttachSize, true);
    const SPropValue *pSize2 = FindPropValue(pProps2, cValues2, kTagAttachSize, true);
    const SPropValue *pName1 = FindPropValue(pProps1, cValues1, kTagAttachName, true);
    const SPropValue *pName2 = FindPropValue(pProps2, cValues2, kTagAttachName, true);
    const SPropValue *pDisplay1 = FindPropValue(pProps1, cValues1, kTagAttachDisplayName, true);
    const SPropValue *pDisplay2 = FindPropValue(pProps2, cValues2, kTagAttachDisplayName, true);
    HRESULT hr = -1;
    if (pName1 && pName2) {
        *pnResult = lstrcmpiA(pName1->Value.lpszA, pName2->Value.lpszA);
        hr = S_OK;
    } else if (pDisplay1 && pDisplay2) {
        *pnResult = lstrcmpiA(pDisplay1->Value.lpszA, pDisplay2->Value.lpszA);
        hr = S_OK;
    }
    if (*pnResult != 0 || !pSize1 || !pSize2) return hr;
    *pnResult = static_cast<LONG>(pSize1->Value.ul - pSize2->Value.ul);
    return S_OK;
}

HRESULT CMemoryStore::CmpAttachData(HITEM, ULONG, HITEM, ULONG, LONG *) { return MAPI_E_NO_SUPPORT; }

// ---- CMemoryStore: streams and buffers

HRESULT CMemoryStore::OpenStreamProp(HITEM hItem, ULONG nTag, IStream **ppStream, ULONG) {
    *ppStream = nullptr;
    Item *pItem = ItemFromHandle(hItem);
    if (!pItem) return MAPI_E_INVALID_PARAMETER;
    StreamFaults faults;
    if (auto it = pItem->streamFaults.find(PROP_ID(nTag)); it != pItem->streamFaults.end()) faults = it->second;
    if (faults.hrOpen != S_OK) return faults.hrOpen;
    auto it = pItem->streams.find(PROP_ID(nTag));
    if (it == pItem->streams.end()) return MAPI_E_NOT_FOUND;
    IStream *pInner = nullptr;
    HRESULT hr = CreateStreamOnBytes(it->second.data(), it->second.size(), &pInner);
    if (hr != S_OK) return hr;
    *ppStream = new CTestStream(pInner, faults, m_pnStreamsOpen);
    return S_OK;
}

HRESULT CMemoryStore::AllocateBuffer(ULONG cb, void **ppBuffer) {
    if (cb == 0 || !ppBuffer) return -1;
    if (m_hrAllocate != S_OK) return m_hrAllocate;
    void *p = std::malloc(cb);
    if (!p) return MAPI_E_NOT_ENOUGH_MEMORY;
    m_buffers.insert(p);
    *ppBuffer = p;
    return S_OK;
}

HRESULT CMemoryStore::FreeBuffer(void *pBuffer) {
    if (!pBuffer) return S_OK;
    if (m_buffers.erase(pBuffer) == 0) {
        ++m_nBadHandles;
        return MAPI_E_INVALID_PARAMETER;
    }
    std::free(pBuffer);
    return S_OK;
}

} // namespace testsupport
