// COELib: the message as MAPI-style properties. Each tag of oestore/oetags.h is translated into a read of its
// source: a header of the root body, the address table, a text body, the state flags or the message's size. A
// property that can't be read costs its own value only, as an error value.
#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "oestore/hex.h"
#include "oestore/oelib.h"
#include "oestore/oetags.h"
#include "oestore/oevalues.h"
#include "platform/text.h"

namespace {

constexpr const char *kszGetItemProps = "COELib::GetItemProps";
constexpr const char *kszFreeItemProps = "COELib::FreeItemProps";

// The tags that read a header of the root body as text.
struct HeaderTag {
    ULONG ulTag;
    const char *szHeader;
};
constexpr HeaderTag kHeaderTags[] = {
    {PR_OE_SUBJECT, "Subject"}, {PR_OE_REFERENCES, "References"}, {PR_OE_MESSAGE_ID, "Message-ID"},
    {PR_OE_FROM, "From"},       {PR_OE_BCC, "Bcc"},               {PR_OE_CC, "Cc"},
    {PR_OE_TO, "To"},           {PR_OE_SENDER, "Sender"},
};

// The tags that deliver one bit of the effective state flags.
struct FlagTag {
    ULONG ulTag;
    DWORD dwBit;
};
constexpr FlagTag kFlagTags[] = {
    {PR_OE_FLAGGED, MSG_FLAGGED},     {PR_OE_UNREAD, MSG_UNREAD},       {PR_OE_DELETED, MSG_DELETED},
    {PR_OE_SUBMITTED, MSG_SUBMITTED}, {PR_OE_UNSENT, MSG_UNSENT},       {PR_OE_RECEIVED_FLAG, MSG_RECEIVED},
    {PR_OE_NEWSMSG, MSG_NEWSMSG},     {PR_OE_NOSECUI, MSG_NOSECUI},     {PR_OE_VOICEMAIL, MSG_VOICEMAIL},
    {PR_OE_REPLIED, MSG_REPLIED},     {PR_OE_FORWARDED, MSG_FORWARDED}, {PR_OE_RCPTSENT, MSG_RCPTSENT},
};

// The tags that read the addresses of one kind in one form.
struct AddressTag {
    ULONG ulTag;
    DWORD dwAdrType;
    DWORD nFormat;
};
constexpr AddressTag kAddressTags[] = {
    {PR_OE_DISPLAY_BCC, IAT_BCC, AFT_DISPLAY_FRIENDLY},
    {PR_OE_DISPLAY_CC, IAT_CC, AFT_DISPLAY_FRIENDLY},
    {PR_OE_DISPLAY_TO, IAT_TO, AFT_DISPLAY_FRIENDLY},
    {PR_OE_DISPLAY_FROM, IAT_FROM, AFT_DISPLAY_FRIENDLY},
};

// Texts that many messages of a store hold alike (a thread's subject, a frequent sender or recipient).
bool RepeatsAcrossMessages(ULONG ulTag) {
    switch (ulTag) {
    case PR_OE_SUBJECT:
    case PR_OE_FROM:
    case PR_OE_BCC:
    case PR_OE_CC:
    case PR_OE_TO:
    case PR_OE_SENDER:
    case PR_OE_DISPLAY_BCC:
    case PR_OE_DISPLAY_CC:
    case PR_OE_DISPLAY_TO:
    case PR_OE_DISPLAY_FROM:
    case PR_OE_SENDER_EMAIL:
        return true;
    default:
        return false;
    }
}

bool NeverShared(ULONG) { return false; }

template <class T, size_t N>
const T *FindTag(const T (&table)[N], ULONG ulTag) {
    for (const T &row : table)
        if (row.ulTag == ulTag) return &row;
    return nullptr;
}

// The reads of one GetItemProps call: the message, its root body's headers and the flags taken once.
class CItemReader {
public:
    CItemReader(COELib &lib, OEOpenItem *pItem, IMimePropertySet *pPropSet, DWORD dwFlags)
        : m_lib(lib), m_pItem(pItem), m_pMessage(pItem->pMessage), m_pPropSet(pPropSet), m_dwFlags(dwFlags) {}

    // Fills the value for its tag; the source's code on failure (the value then holds no pointer).
    HRESULT Read(SPropValue *pValue) {
        ULONG ulTag = pValue->ulPropTag;
        if (const HeaderTag *pRow = FindTag(kHeaderTags, ulTag))
            return m_lib._GetTextProp(m_pPropSet, pRow->szHeader, &pValue->Value.lpszA, 0);
        if (const FlagTag *pRow = FindTag(kFlagTags, ulTag)) {
            pValue->Value.b = (m_dwFlags & pRow->dwBit) != 0 ? 1 : 0;
            return S_OK;
        }
        if (const AddressTag *pRow = FindTag(kAddressTags, ulTag))
            return m_lib._GetAddressFormat(m_pMessage, pRow->dwAdrType, pRow->nFormat, &pValue->Value.lpszA);
        switch (ulTag) {
        case PR_ENTRYID:
            return ReadEntryId(&pValue->Value.bin);
        case PR_OE_HASATTACH:
            pValue->Value.b = HasAttachments() ? 1 : 0;
            return S_OK;
        case PR_OE_BODY:
            return ReadPlainBody(&pValue->Value.lpszA);
        case PR_OE_SENDER_EMAIL:
            return ReadSenderEmail(&pValue->Value.lpszA);
        case PR_OE_HEADERS:
            return ReadHeaders(&pValue->Value.lpszA);
        case PR_OE_PRIORITY:
            return ReadPriority(&pValue->Value.l);
        case PR_OE_RECEIVED:
            return ReadReceived(&pValue->Value.ft);
        case PR_OE_SENT:
            return ReadSent(&pValue->Value.ft);
        case PR_OE_SIZE:
            return ReadSize(&pValue->Value.ul);
        case PR_OE_STATE:
            pValue->Value.ul = m_dwFlags;
            return S_OK;
        case PR_OE_HTML_BODY:
            return m_lib._GetTextBody(m_pMessage, &pValue->Value.lpszA, true);
        case PR_OE_TEXT_BODY:
            return m_lib._GetTextBody(m_pMessage, &pValue->Value.lpszA, false);
        default:
            g_Log.Error("PROCNAME", static_cast<int32_t>(ulTag), "Unknown tag");
            return -1;
        }
    }

private:
    HRESULT ReadEntryId(SBinary *pBin) {
        char *szEntry = COELib::ItemEntry2Str(m_pItem->dwFolderId, m_pItem->dwMessageId);
        if (!szEntry) return E_OUTOFMEMORY;
        ULONG cb = 0;
        BYTE *pb = Hex2Bin(szEntry, &cb);
        std::free(szEntry);
        if (!pb) return E_OUTOFMEMORY;
        pBin->cb = cb;
        pBin->lpb = pb;
        return S_OK;
    }

    bool HasAttachments() {
        DWORD dwFlags = 0;
        return m_pMessage->GetFlags(&dwFlags) == S_OK && (dwFlags & IMF_ATTACHMENTS) != 0;
    }

    // A success without text is no value.
    HRESULT ReadPlainBody(char **ppsz) {
        HRESULT hr = m_lib._ReadPlainBody(m_pMessage, ppsz, true, nullptr);
        if (hr == S_OK && *ppsz == nullptr) return MIME_E_NOT_FOUND;
        return hr;
    }

    HRESULT ReadSenderEmail(char **ppsz) {
        HRESULT hr = m_lib._GetAddressFormat(m_pMessage, IAT_SENDER, AFT_DISPLAY_EMAIL, ppsz);
        if (hr == MIME_E_NOT_FOUND) hr = m_lib._GetAddressFormat(m_pMessage, IAT_FROM, AFT_DISPLAY_EMAIL, ppsz);
        return hr;
    }

    // Every header row as the table delivers it, with nothing put between the rows.
    HRESULT ReadHeaders(char **ppsz) {
        IMimeHeaderTable *pTable = nullptr;
        HRESULT hr = m_pMessage->BindToObject(HBODY_ROOT, m_lib.IID_IMimeHeaderTable, reinterpret_cast<void **>(&pTable));
        if (hr != S_OK) return hr;
        FINDHEADER find{};
        HHEADERROW hRow = 0;
        hr = pTable->FindFirst(&find, &hRow);
        if (hr != S_OK) {
            pTable->Release();
            return hr;
        }
        char *pszAll = nullptr;
        size_t cbTotal = 0;
        do {
            char *pszRow = nullptr;
            ULONG cchRow = 0;
            if (pTable->GetRowData(hRow, HTF_NAMEINDATA, &pszRow, &cchRow) == S_OK && cchRow > 0) {
                auto *pszGrown = static_cast<char *>(std::malloc(cbTotal + cchRow + 1));
                if (pszGrown) {
                    if (pszAll) std::memcpy(pszGrown, pszAll, cbTotal);
                    std::memcpy(pszGrown + cbTotal, pszRow, cchRow);
                    pszGrown[cbTotal + cchRow] = '\0';
                    std::free(pszAll);
                    pszAll = pszGrown;
                    cbTotal += cchRow;
                }
            }
            if (pszRow) m_lib.m_pAllocator->Free(pszRow);
        } while (pTable->FindNext(&find, &hRow) == S_OK);
        pTable->Release();
        *ppsz = pszAll;
        return pszAll ? S_OK : MIME_E_NOT_FOUND;
    }

    HRESULT ReadPriority(LONG *pn) {
        HRESULT hr = m_lib.ReadLongProp(m_pPropSet, "X-Priority", pn);
        if (hr == S_OK) {
            if (*pn != 1 && *pn != 3 && *pn != 5) g_Log.Warning(kszGetItemProps, 0, "Non standard X-Priority:%d", *pn);
            return S_OK;
        }
        if (hr != MIME_E_NOT_FOUND) return hr;
        char *psz = nullptr;
        hr = m_lib._GetTextProp(m_pPropSet, "X-MSMail-Priority", &psz, 0);
        if (hr == S_OK) {
            if (lstrcmpiA(psz, "High") == 0)
                *pn = 1;
            else if (lstrcmpiA(psz, "Normal") == 0)
                *pn = 3;
            else if (lstrcmpiA(psz, "Low") == 0)
                *pn = 5;
            else {
                g_Log.Warning(kszGetItemProps, 0, "Non standard X-MSMail-Priority:%s", psz ? psz : "");
                hr = MIME_E_NOT_FOUND;
            }
            std::free(psz);
        }
        if (hr == MIME_E_NOT_FOUND) {
            *pn = 3;
            hr = S_OK;
        }
        return hr;
    }

    HRESULT ReadReceived(FILETIME *pft) {
        HRESULT hr = m_lib._GetFiletimeProp(m_pPropSet, "Received", pft, true);
        if (hr != MIME_E_INVALID_INET_DATE) return hr;
        // The date behind the last ";" of the header, read by the platform's date parser.
        int nStep = 1;
        char *psz = nullptr;
        hr = m_lib._GetTextProp(m_pPropSet, "Received", &psz, 0);
        if (hr == S_OK) {
            nStep = 2;
            const char *pszSemicolon = psz ? std::strrchr(psz, ';') : nullptr;
            if (pszSemicolon) {
                nStep = 3;
                hr = m_lib._InetDateToFileTime(pszSemicolon + 1, pft, true);
                if (hr == S_OK) nStep = 0;
            }
        }
        std::free(psz);
        if (nStep == 0) return S_OK;
        g_Log.Info(3, kszGetItemProps, "PR_OE_RECEIVED - Altrenative read failed on %d step, hr = 0x%x", nStep,
                   static_cast<unsigned>(hr));
        return MIME_E_NOT_FOUND;
    }

    HRESULT ReadSent(FILETIME *pft) {
        HRESULT hr = m_lib._GetFiletimeProp(m_pPropSet, "Date", pft, true);
        if (hr != MIME_E_INVALID_INET_DATE) return hr;
        // The store's own sending time, as it holds it.
        hr = m_lib._GetMessageProps(m_pItem, nullptr, pft);
        if (hr == S_OK) return S_OK;
        g_Log.Error(kszGetItemProps, hr, "PR_OE_SENT - Altrenative read failed");
        return MIME_E_NOT_FOUND;
    }

    HRESULT ReadSize(ULONG *pn) {
        ULARGE_INTEGER cb{};
        HRESULT hr = m_pMessage->GetSizeMax(&cb);
        if (hr == S_OK) *pn = static_cast<ULONG>(cb.QuadPart & 0xFFFFFFFFu);
        return hr;
    }

    COELib &m_lib;
    OEOpenItem *m_pItem;
    IMimeMessage *m_pMessage;
    IMimePropertySet *m_pPropSet;
    DWORD m_dwFlags;
};

} // namespace

HRESULT COELib::GetItemProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pcValues, SPropValue **lppProps,
                             bool bUnicode) {
    auto *pItem = static_cast<OEOpenItem *>(hItem);
    bool bValid = pItem != nullptr && pItem->pMessage != nullptr && lpTags != nullptr && lpTags->cValues > 0 &&
                  pcValues != nullptr && lppProps != nullptr;
    g_Log.Assert(bValid, kszGetItemProps, 0);
    if (!bValid) return -1;

    DWORD dwFlags = _GetStateFlags(hItem, true, false);
    IMimePropertySet *pPropSet = nullptr;
    HRESULT hr = pItem->pMessage->BindToObject(HBODY_ROOT, IID_IMimePropertySet, reinterpret_cast<void **>(&pPropSet));
    if (hr != S_OK) {
        g_Log.Error(kszGetItemProps, hr, "BindToObject");
        if (pPropSet) pPropSet->Release();
        return hr;
    }

    *pcValues = 0;
    *lppProps = nullptr;
    SPropValue *pValues = OEAllocValueArray(lpTags->cValues);
    if (!pValues) {
        pPropSet->Release();
        return E_OUTOFMEMORY;
    }
    CItemReader reader(*this, pItem, pPropSet, dwFlags);
    bool bErrors = false;
    for (ULONG i = 0; i < lpTags->cValues; ++i) {
        SPropValue *pValue = &pValues[i];
        pValue->ulPropTag = lpTags->aulPropTag[i];
        HRESULT hrRead = reader.Read(pValue);
        if (hrRead != S_OK) {
            // A failed read hands nothing over; a text or buffer that came with it anyway is dropped here.
            if (PROP_TYPE(pValue->ulPropTag) == PT_STRING8) std::free(pValue->Value.lpszA);
            if (PROP_TYPE(pValue->ulPropTag) == PT_BINARY) std::free(pValue->Value.bin.lpb);
            OESetErrorValue(pValue, hrRead == MIME_E_NOT_FOUND ? MAPI_E_NOT_FOUND : hrRead);
            bErrors = true;
        }
    }
    pPropSet->Release();
    // A scan keeps the values of every message: in one block from chunks they cost no allocation of their own,
    // and a repeated text is kept once. A read of one value (a caller's own look at a property, which it may
    // change in place) gets texts of its own.
    SPropValue *pPacked = OEPackValueArray(pValues, kszFreeItemProps, m_ValueChunks,
                                           lpTags->cValues > 1 ? RepeatsAcrossMessages : NeverShared);
    if (!pPacked) return E_OUTOFMEMORY;
    *pcValues = lpTags->cValues;
    *lppProps = pPacked;
    return bErrors ? MAPI_W_ERRORS_RETURNED : S_OK;
}

HRESULT COELib::GetItemProp(HITEM hItem, ULONG ulPropTag, SPropValue **lppProp, bool bUnicode) {
    SPropTagArray tags{1, {ulPropTag}};
    ULONG cValues = 0;
    HRESULT hr = GetItemProps(hItem, &tags, &cValues, lppProp, bUnicode);
    if (hr == MAPI_W_ERRORS_RETURNED) hr = (*lppProp)->Value.err;
    return hr;
}

void COELib::FreeItemProps(SPropValue *lpProps) { OEFreePackedValues(lpProps, &m_ValueChunks); }
