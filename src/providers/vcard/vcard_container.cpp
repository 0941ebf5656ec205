// Address book containers over the book's files and directories.
#include "providers/vcard/vcard_container.h"

#include "providers/vcard/vcard_cardprops.h"
#include "providers/vcard/vcard_entry.h"
#include "providers/vcard/vcard_propsapi.h"
#include "providers/vcard/vcard_table.h"

namespace vcard {

namespace {

constexpr ULONG kContainerFlags = AB_RECIPIENTS | AB_MODIFIABLE;

// The properties of a container, as its own GetProps and as a row of the root's table give them.
HRESULT ReadContainerProp(const CBook &book, size_t n, ULONG ulTag, PropData *pData) {
    *pData = PropData();
    switch (PROP_ID(ulTag)) {
    case PROP_ID(PR_ENTRYID):
        pData->ulType = PT_BINARY;
        pData->sBytes = book.ContainerEntryId(n);
        return S_OK;
    case PROP_ID(PR_DISPLAY_NAME):
        pData->ulType = PT_STRING8;
        pData->sBytes = book.GetContainer(n).sName;
        return S_OK;
    case PROP_ID(PR_OBJECT_TYPE):
        pData->ulType = PT_LONG;
        pData->n = MAPI_ABCONT;
        return S_OK;
    case PROP_ID(PR_CONTAINER_FLAGS):
        pData->ulType = PT_LONG;
        pData->n = kContainerFlags;
        return S_OK;
    case PROP_ID(PR_DEF_CREATE_MAILUSER):
    case PROP_ID(PR_DEF_CREATE_DL):
        pData->ulType = PT_BINARY;
        pData->sBytes =
            book.TemplateEntryId(n, PROP_ID(ulTag) == PROP_ID(PR_DEF_CREATE_DL) ? MAPI_DISTLIST : MAPI_MAILUSER);
        return S_OK;
    default:
        return MAPI_E_NOT_FOUND;
    }
}

const std::vector<ULONG> kContainerTags = {PR_ENTRYID, PR_DISPLAY_NAME, PR_OBJECT_TYPE, PR_CONTAINER_FLAGS,
                                           PR_DEF_CREATE_MAILUSER, PR_DEF_CREATE_DL};

IMAPITable *ContainersTable(const std::shared_ptr<CBook> &book) {
    RowReader reader = [book](size_t nRow, ULONG ulTag, PropData *pData) {
        return ReadContainerProp(*book, nRow, ulTag, pData);
    };
    return new CVCardTable(book->ContainerCount(), reader,
                           {PR_ENTRYID, PR_DISPLAY_NAME, PR_CONTAINER_FLAGS, PR_OBJECT_TYPE});
}

// A snapshot of a container's cards: the table stays as it was when made, whatever happens to the book.
IMAPITable *CardsTable(const std::shared_ptr<CBook> &book, size_t nContainer) {
    book->Refresh(nContainer);
    struct Row {
        CardIdentity id;
        VCard card;
    };
    auto rows = std::make_shared<std::vector<Row>>();
    for (const std::string &sId : book->CardIds(nContainer)) {
        CardPos pos;
        book->FindCard(sId, &pos);
        const VCard &card = book->CardAt(pos);
        rows->push_back(Row{CardIdentity{sId, CardObjectType(card)}, card});
    }
    RowReader reader = [book, rows](size_t nRow, ULONG ulTag, PropData *pData) {
        const Row &row = (*rows)[nRow];
        return ReadCardProp(row.card, row.id, book->Names(), ulTag, pData);
    };
    return new CVCardTable(rows->size(), reader,
                           {PR_ENTRYID, PR_DISPLAY_NAME, PR_OBJECT_TYPE, PR_EMAIL_ADDRESS});
}

class CContainer : public CRefCounted<IABContainer> {
public:
    CContainer(std::shared_ptr<CBook> book, bool bRoot, size_t nContainer)
        : m_book(std::move(book)), m_bRoot(bRoot), m_nContainer(nContainer) {}

    HRESULT QueryInterface(REFIID riid, void **ppv) override {
        if (!ppv) return E_POINTER;
        if (riid == IID_IUnknown || riid == IID_IMAPIProp || riid == IID_IMAPIContainer || riid == IID_IABContainer) {
            AddRef();
            *ppv = static_cast<IABContainer *>(this);
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }

    // Containers are what the book's files and directories make them: nothing of theirs can be set.
    HRESULT SaveChanges(ULONG) override { return S_OK; }
    HRESULT SetProps(ULONG, SPropValue *, SPropProblemArray **) override { return MAPI_E_NO_ACCESS; }
    HRESULT DeleteProps(SPropTagArray *, SPropProblemArray **) override { return MAPI_E_NO_ACCESS; }

    HRESULT GetProps(SPropTagArray *lpPropTagArray, ULONG ulFlags, ULONG *lpcValues,
                     SPropValue **lppPropArray) override {
        PropReader reader = [this](ULONG ulTag, PropData *pData) {
            if (m_bRoot) {
                if (PROP_ID(ulTag) == PROP_ID(PR_ENTRYID)) {
                    *pData = PropData();
                    pData->ulType = PT_BINARY;
                    pData->sBytes = CBook::RootEntryId();
                    return S_OK;
                }
                if (PROP_ID(ulTag) == PROP_ID(PR_OBJECT_TYPE)) return ReadContainerProp(*m_book, 0, ulTag, pData);
                return MAPI_E_NOT_FOUND;
            }
            return ReadContainerProp(*m_book, m_nContainer, ulTag, pData);
        };
        std::vector<ULONG> all = m_bRoot ? std::vector<ULONG>{PR_ENTRYID, PR_OBJECT_TYPE} : kContainerTags;
        return GetPropsWith(reader, all, lpPropTagArray, ulFlags, lpcValues, lppPropArray);
    }

    HRESULT GetPropList(ULONG, SPropTagArray **lppPropTagArray) override {
        return NewTagArray(m_bRoot ? std::vector<ULONG>{PR_ENTRYID, PR_OBJECT_TYPE} : kContainerTags,
                           lppPropTagArray);
    }

    HRESULT GetNamesFromIDs(SPropTagArray **lppPropTags, GUID *, ULONG, ULONG *lpcPropNames,
                            MAPINAMEID ***lpppPropNames) override {
        return IdsToNames(m_book->Names(), lppPropTags, lpcPropNames, lpppPropNames);
    }

    HRESULT GetIDsFromNames(ULONG cPropNames, MAPINAMEID **lppPropNames, ULONG ulFlags,
                            SPropTagArray **lppPropTags) override {
        return NamesToIds(m_book->Names(), cPropNames, lppPropNames, ulFlags, lppPropTags);
    }

    HRESULT GetContentsTable(ULONG, IMAPITable **lppTable) override {
        if (!lppTable) return MAPI_E_INVALID_PARAMETER;
        *lppTable = m_bRoot ? ContainersTable(m_book) : CardsTable(m_book, m_nContainer);
        return S_OK;
    }

    HRESULT GetHierarchyTable(ULONG, IMAPITable **lppTable) override {
        if (!lppTable) return MAPI_E_INVALID_PARAMETER;
        // The containers form one flat list below the root.
        *lppTable = m_bRoot ? ContainersTable(m_book)
                            : new CVCardTable(0, [](size_t, ULONG, PropData *) { return MAPI_E_NOT_FOUND; },
                                              {PR_ENTRYID, PR_DISPLAY_NAME});
        return S_OK;
    }

    HRESULT OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface, ULONG, ULONG *lpulObjType,
                      LPUNKNOWN *lppUnk) override {
        return OpenBookEntry(m_book, cbEntryID, lpEntryID, lpInterface, lpulObjType, lppUnk);
    }

    HRESULT CreateEntry(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG, IMAPIProp **lppMAPIPropEntry) override {
        if (!lppMAPIPropEntry || !lpEntryID) return MAPI_E_INVALID_PARAMETER;
        *lppMAPIPropEntry = nullptr;
        if (m_bRoot) return MAPI_E_NO_SUPPORT;
        size_t nTemplate;
        ULONG ulType;
        if (!m_book->FindTemplate(std::string_view(reinterpret_cast<const char *>(lpEntryID), cbEntryID), &nTemplate,
                                  &ulType))
            return MAPI_E_INVALID_ENTRYID;
        // The new card goes into this container, whichever container's template named its type.
        return NewCard(m_book, m_nContainer, ulType, lppMAPIPropEntry);
    }

    // An entry is deleted wherever it lives, whichever container is asked.
    HRESULT DeleteEntries(LPENTRYLIST lpEntries, ULONG) override {
        if (!lpEntries || (lpEntries->cValues && !lpEntries->lpbin)) return MAPI_E_INVALID_PARAMETER;
        HRESULT hrLast = S_OK;
        ULONG cFailed = 0;
        for (ULONG i = 0; i < lpEntries->cValues; ++i) {
            const SBinary &b = lpEntries->lpbin[i];
            HRESULT hr = b.lpb ? m_book->DeleteCard(std::string_view(reinterpret_cast<const char *>(b.lpb), b.cb))
                               : MAPI_E_INVALID_ENTRYID;
            if (FAILED(hr)) {
                hrLast = hr;
                ++cFailed;
            }
        }
        if (cFailed == 0) return S_OK;
        if (lpEntries->cValues == 1) return hrLast;
        return static_cast<HRESULT>(0x00040680); // MAPI_W_PARTIAL_COMPLETION
    }

private:
    std::shared_ptr<CBook> m_book;
    bool m_bRoot;
    size_t m_nContainer;
};

bool InterfaceFits(LPCIID lpInterface, ULONG ulObjType) {
    if (!lpInterface) return true;
    const IID &iid = *lpInterface;
    if (iid == IID_IUnknown || iid == IID_IMAPIProp) return true;
    switch (ulObjType) {
    case MAPI_ABCONT: return iid == IID_IMAPIContainer || iid == IID_IABContainer;
    case MAPI_DISTLIST: return iid == IID_IMAPIContainer || iid == IID_IDistList;
    default: return iid == IID_IMailUser;
    }
}

} // namespace

IABContainer *NewContainer(const std::shared_ptr<CBook> &book, bool bRoot, size_t nContainer) {
    return new CContainer(book, bRoot, nContainer);
}

HRESULT OpenBookEntry(const std::shared_ptr<CBook> &book, ULONG cbEntryID, const ENTRYID *lpEntryID,
                      LPCIID lpInterface, ULONG *lpulObjType, LPUNKNOWN *lppUnk) {
    if (!lpulObjType || !lppUnk) return MAPI_E_INVALID_PARAMETER;
    *lppUnk = nullptr;
    *lpulObjType = 0;
    std::string_view sId = lpEntryID && cbEntryID ? std::string_view(reinterpret_cast<const char *>(lpEntryID), cbEntryID)
                                                  : std::string_view();
    IUnknown *pUnk = nullptr;
    ULONG ulType = MAPI_ABCONT;
    size_t n;
    if (sId.empty() || book->IsRootId(sId)) {
        pUnk = NewContainer(book, true, 0);
    } else if (book->FindContainer(sId, &n)) {
        pUnk = NewContainer(book, false, n);
    } else {
        HRESULT hr = OpenCard(book, sId, &ulType, &pUnk);
        if (FAILED(hr)) return hr;
    }
    if (!InterfaceFits(lpInterface, ulType)) {
        pUnk->Release();
        return E_NOINTERFACE;
    }
    *lpulObjType = ulType;
    *lppUnk = pUnk;
    return S_OK;
}

} // namespace vcard
