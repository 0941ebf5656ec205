// Contacts and groups as MAPI property objects.
#include "providers/vcard/vcard_entry.h"

#include <ctime>

#include "log/log.h"
#include "platform/time.h"
#include "providers/vcard/vcard_cardprops.h"
#include "providers/vcard/vcard_propmap.h"
#include "providers/vcard/vcard_propsapi.h"
#include "providers/vcard/vcard_value.h"

namespace vcard {

namespace {

template <class Base>
class CEntry : public CRefCounted<Base> {
public:
    CEntry(std::shared_ptr<CBook> book, std::string sEntryId, size_t nContainer, VCard card, ULONG ulObjType)
        : m_book(std::move(book)), m_sEntryId(std::move(sEntryId)), m_nContainer(nContainer), m_original(card),
          m_card(std::move(card)), m_ulObjType(ulObjType), m_bNew(m_sEntryId.empty()) {}

    HRESULT QueryInterface(REFIID riid, void **ppv) override {
        if (!ppv) return E_POINTER;
        bool bOurs = riid == IID_IUnknown || riid == IID_IMAPIProp ||
                     (m_ulObjType == MAPI_MAILUSER ? riid == IID_IMailUser
                                                   : riid == IID_IDistList || riid == IID_IMAPIContainer);
        if (!bOurs) {
            *ppv = nullptr;
            return E_NOINTERFACE;
        }
        this->AddRef();
        *ppv = static_cast<Base *>(this);
        return S_OK;
    }

    HRESULT SaveChanges(ULONG ulFlags) override {
        if (!m_bDirty && !m_bNew) return S_OK;
        VCard card = m_card;
        PrepareForSave(&card);
        std::string sNewId;
        HRESULT hr = m_bNew ? m_book->AddCard(m_nContainer, card, &sNewId)
                            : m_book->SaveCard(m_sEntryId, m_original, card, &sNewId);
        if (FAILED(hr)) return hr;
        m_sEntryId = sNewId;
        CardPos pos;
        if (m_book->FindCard(m_sEntryId, &pos)) card = m_book->CardAt(pos);
        m_original = card;
        m_card = std::move(card);
        m_bDirty = false;
        m_bNew = false;
        m_bRevSet = false;
        return S_OK;
    }

    HRESULT GetProps(SPropTagArray *lpPropTagArray, ULONG ulFlags, ULONG *lpcValues,
                     SPropValue **lppPropArray) override {
        CardIdentity id = Identity();
        PropReader reader = [&](ULONG ulTag, PropData *pData) {
            return ReadCardProp(m_card, id, m_book->Names(), ulTag, pData);
        };
        std::vector<ULONG> all;
        if (!lpPropTagArray) all = CardPropTags(m_card, id, m_book->Names());
        return GetPropsWith(reader, all, lpPropTagArray, ulFlags, lpcValues, lppPropArray);
    }

    HRESULT GetPropList(ULONG ulFlags, SPropTagArray **lppPropTagArray) override {
        std::vector<ULONG> tags = CardPropTags(m_card, Identity(), m_book->Names());
        if (ulFlags & MAPI_UNICODE)
            for (ULONG &t : tags) t = CHANGE_PROP_TYPE(t, NaturalType(PROP_TYPE(t), MAPI_UNICODE));
        return NewTagArray(tags, lppPropTagArray);
    }

    HRESULT SetProps(ULONG cValues, SPropValue *lpPropArray, SPropProblemArray **lppProblems) override {
        if (cValues && !lpPropArray) return MAPI_E_INVALID_PARAMETER;
        std::vector<SPropProblem> problems;
        for (ULONG i = 0; i < cValues; ++i) {
            const SPropValue &v = lpPropArray[i];
            PropData data;
            HRESULT hr = FromPropValue(v, &data);
            if (SUCCEEDED(hr)) hr = WriteCardProp(&m_card, m_book->Names(), v.ulPropTag, data);
            if (FAILED(hr)) {
                problems.push_back(SPropProblem{i, v.ulPropTag, hr});
                continue;
            }
            m_bDirty = true;
            if (PROP_ID(v.ulPropTag) == PROP_ID(PR_LAST_MODIFICATION_TIME)) m_bRevSet = true;
        }
        if (lppProblems) return NewProblemArray(problems, lppProblems);
        return S_OK;
    }

    HRESULT DeleteProps(SPropTagArray *lpPropTagArray, SPropProblemArray **lppProblems) override {
        if (!lpPropTagArray) return MAPI_E_INVALID_PARAMETER;
        std::vector<SPropProblem> problems;
        for (ULONG i = 0; i < lpPropTagArray->cValues; ++i) {
            ULONG ulTag = lpPropTagArray->aulPropTag[i];
            HRESULT hr = DeleteCardProp(&m_card, m_book->Names(), ulTag);
            if (FAILED(hr)) problems.push_back(SPropProblem{i, ulTag, hr});
            else m_bDirty = true;
        }
        if (lppProblems) return NewProblemArray(problems, lppProblems);
        return S_OK;
    }

    HRESULT GetNamesFromIDs(SPropTagArray **lppPropTags, GUID *, ULONG, ULONG *lpcPropNames,
                            MAPINAMEID ***lpppPropNames) override {
        return IdsToNames(m_book->Names(), lppPropTags, lpcPropNames, lpppPropNames);
    }

    HRESULT GetIDsFromNames(ULONG cPropNames, MAPINAMEID **lppPropNames, ULONG ulFlags,
                            SPropTagArray **lppPropTags) override {
        return NamesToIds(m_book->Names(), cPropNames, lppPropNames, ulFlags, lppPropTags);
    }

protected:
    CardIdentity Identity() const { return CardIdentity{m_sEntryId, m_ulObjType}; }

    // A saved card has a UID (given on its first save), an FN where the version demands one, and the time of
    // this change in REV unless the caller set one.
    void PrepareForSave(VCard *pCard) const {
        if (pCard->Uid().empty()) {
            VProperty uid;
            uid.sName = "UID";
            uid.sValue = NewUuid();
            pCard->props.push_back(std::move(uid));
            Touch(pCard, nullptr);
        }
        if (pCard->sVersion != "2.1" && !pCard->Find("FN")) {
            VProperty fn;
            fn.sName = "FN";
            pCard->props.push_back(std::move(fn));
            Touch(pCard, nullptr);
        }
        if (!m_bRevSet) {
            PropData now;
            now.ulType = PT_SYSTIME;
            now.n = static_cast<int64_t>(FileTimeToU64(FileTimeFromUnixSeconds(std::time(nullptr))));
            WriteField(pCard, *FindFieldMap(PROP_ID(PR_LAST_MODIFICATION_TIME)), now);
        }
    }

    std::shared_ptr<CBook> m_book;
    std::string m_sEntryId; // empty until a new card is saved
    size_t m_nContainer;
    VCard m_original; // the card as read, to see whether another program changed it
    VCard m_card;     // with the caller's changes
    ULONG m_ulObjType;
    bool m_bNew;
    bool m_bDirty = false;
    bool m_bRevSet = false;
};

using CMailUser = CEntry<IMailUser>;

// A group. Its members are its MEMBER fields, readable as a named property; it has no tables of its own.
class CDistList : public CEntry<IDistList> {
public:
    using CEntry<IDistList>::CEntry;
    HRESULT GetContentsTable(ULONG, IMAPITable **) override { return MAPI_E_NO_SUPPORT; }
    HRESULT GetHierarchyTable(ULONG, IMAPITable **) override { return MAPI_E_NO_SUPPORT; }
    HRESULT OpenEntry(ULONG, LPENTRYID, LPCIID, ULONG, ULONG *, LPUNKNOWN *) override { return MAPI_E_NO_SUPPORT; }
    HRESULT CreateEntry(ULONG, LPENTRYID, ULONG, IMAPIProp **) override { return MAPI_E_NO_SUPPORT; }
    HRESULT DeleteEntries(LPENTRYLIST, ULONG) override { return MAPI_E_NO_SUPPORT; }
};

IMAPIProp *MakeEntry(const std::shared_ptr<CBook> &book, std::string sEntryId, size_t nContainer, VCard card,
                     ULONG ulObjType) {
    if (ulObjType == MAPI_DISTLIST) return new CDistList(book, std::move(sEntryId), nContainer, std::move(card), ulObjType);
    return new CMailUser(book, std::move(sEntryId), nContainer, std::move(card), ulObjType);
}

} // namespace

HRESULT OpenCard(const std::shared_ptr<CBook> &book, std::string_view sEntryId, ULONG *pulObjType,
                 IUnknown **ppUnk) {
    CardPos pos;
    if (!book->FindCard(sEntryId, &pos)) return MAPI_E_NOT_FOUND;
    const VCard &card = book->CardAt(pos);
    ULONG ulType = CardObjectType(card);
    *pulObjType = ulType;
    *ppUnk = MakeEntry(book, std::string(sEntryId), pos.nContainer, card, ulType);
    return S_OK;
}

HRESULT NewCard(const std::shared_ptr<CBook> &book, size_t nContainer, ULONG ulObjType, IMAPIProp **ppEntry) {
    VCard card;
    VProperty version;
    version.sName = "VERSION";
    version.sValue = "4.0";
    card.props.push_back(std::move(version));
    card.sVersion = "4.0";
    VProperty uid;
    uid.sName = "UID";
    uid.sValue = NewUuid();
    card.props.push_back(std::move(uid));
    if (ulObjType == MAPI_DISTLIST) {
        VProperty kind;
        kind.sName = "KIND";
        kind.sValue = "group";
        card.props.push_back(std::move(kind));
    }
    *ppEntry = MakeEntry(book, std::string(), nContainer, std::move(card), ulObjType);
    return S_OK;
}

} // namespace vcard
