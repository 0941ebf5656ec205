// The pending edit of an open item: headers and bodies change the message in memory, state flags go into the
// item's masks. Nothing reaches the store before SaveItem.
#include <algorithm>
#include <iterator>

#include "log/log.h"
#include "oestore/oelib.h"
#include "oestore/oetags.h"

namespace {

struct FlagTag {
    ULONG ulTag;
    DWORD dwBit;
};

const FlagTag kFlagTags[] = {
    {PR_OE_UNREAD, MSG_UNREAD},       {PR_OE_FLAGGED, MSG_FLAGGED},     {PR_OE_DELETED, MSG_DELETED},
    {PR_OE_SUBMITTED, MSG_SUBMITTED}, {PR_OE_UNSENT, MSG_UNSENT},       {PR_OE_RECEIVED_FLAG, MSG_RECEIVED},
    {PR_OE_NEWSMSG, MSG_NEWSMSG},     {PR_OE_NOSECUI, MSG_NOSECUI},     {PR_OE_VOICEMAIL, MSG_VOICEMAIL},
    {PR_OE_REPLIED, MSG_REPLIED},     {PR_OE_FORWARDED, MSG_FORWARDED}, {PR_OE_RCPTSENT, MSG_RCPTSENT},
};

struct HeaderTag {
    ULONG ulTag;
    const char *pszHeader;
};

const HeaderTag kHeaderTags[] = {
    {PR_OE_SUBJECT, "Subject"}, {PR_OE_REFERENCES, "References"}, {PR_OE_MESSAGE_ID, "Message-ID"},
    {PR_OE_FROM, "From"},       {PR_OE_BCC, "Bcc"},               {PR_OE_CC, "Cc"},
    {PR_OE_TO, "To"},           {PR_OE_SENDER, "Sender"},
};

const ULONG kReadOnlyTags[] = {
    PR_OE_HASATTACH, PR_OE_DISPLAY_BCC, PR_OE_DISPLAY_CC, PR_OE_DISPLAY_TO, PR_OE_SENDER_EMAIL,
    PR_OE_HEADERS,   PR_OE_RECEIVED,    PR_OE_DISPLAY_FROM, PR_OE_SENT,     PR_OE_SIZE,
};

const FlagTag *FindFlagTag(ULONG ulTag) {
    for (const FlagTag &flag : kFlagTags)
        if (flag.ulTag == ulTag) return &flag;
    return nullptr;
}

const char *FindHeader(ULONG ulTag) {
    for (const HeaderTag &header : kHeaderTags)
        if (header.ulTag == ulTag) return header.pszHeader;
    return nullptr;
}

bool IsReadOnly(ULONG ulTag) {
    return std::find(std::begin(kReadOnlyTags), std::end(kReadOnlyTags), ulTag) != std::end(kReadOnlyTags);
}

// Sets one bit as to be switched on (or off) at the next save; a bit is never in both masks.
void MarkBit(OEOpenItem *pItem, DWORD dwBit, bool bOn) {
    if (bOn) {
        pItem->dwSetMask |= dwBit;
        pItem->dwClearMask &= ~dwBit;
    } else {
        pItem->dwClearMask |= dwBit;
        pItem->dwSetMask &= ~dwBit;
    }
}

HRESULT SetTextHeader(IMimePropertySet *pPropSet, const char *pszHeader, const char *pszText) {
    PROPVARIANT var{};
    var.vt = VT_LPSTR;
    var.pszVal = const_cast<char *>(pszText);
    return pPropSet->SetProp(pszHeader, 0, &var);
}

// "X-Priority" as the number, and the matching "X-MSMail-Priority" for the three numbers that have a word.
HRESULT SetPriority(IMimePropertySet *pPropSet, LONG nPriority) {
    PROPVARIANT var{};
    var.vt = VT_I4;
    var.lVal = nPriority;
    HRESULT hr = pPropSet->SetProp("X-Priority", 0, &var);
    const char *pszWord = nPriority == IMSG_PRI_HIGH     ? "High"
                          : nPriority == IMSG_PRI_NORMAL ? "Normal"
                          : nPriority == IMSG_PRI_LOW    ? "Low"
                                                         : nullptr;
    if (pszWord) hr = SetTextHeader(pPropSet, "X-MSMail-Priority", pszWord);
    return hr;
}

} // namespace

HRESULT COELib::SetItemProps(HITEM hItem, ULONG cValues, const SPropValue *lpProps, SPropProblemArray **ppProblems) {
    g_Log.Assert(hItem && ppProblems && (lpProps || cValues == 0), "COELib::SetItemProps", __LINE__);
    if (!hItem || !ppProblems || (!lpProps && cValues)) return -1;
    *ppProblems = nullptr;
    auto *pItem = static_cast<OEOpenItem *>(hItem);
    pItem->bEdited = true;
    SPropProblemArray *pProblems = nullptr;
    HRESULT hr = AllocateBuffer(static_cast<ULONG>(CbNewSPropProblemArray(cValues)),
                                reinterpret_cast<void **>(&pProblems));
    if (FAILED(hr)) return hr;
    pProblems->cProblem = 0;

    IMimePropertySet *pPropSet = nullptr;
    for (ULONG i = 0; i < cValues; ++i) {
        const SPropValue &value = lpProps[i];
        if (!pPropSet) {
            hr = pItem->pMessage->BindToObject(HBODY_ROOT, IID_IMimePropertySet, reinterpret_cast<void **>(&pPropSet));
            if (hr != S_OK) {
                g_Log.Error("COELib::SetItemProps", hr, "BindToObject");
                FreeBuffer(pProblems);
                SafeRelease(pPropSet);
                return hr;
            }
        }
        HRESULT hrValue = S_OK;
        const ULONG ulTag = value.ulPropTag;
        if (const FlagTag *pFlag = FindFlagTag(ulTag)) {
            MarkBit(pItem, pFlag->dwBit, value.Value.b != 0);
        } else if (ulTag == PR_OE_STATE) {
            pItem->dwSetMask = value.Value.ul;
            pItem->dwClearMask = ~value.Value.ul;
        } else if (const char *pszHeader = FindHeader(ulTag)) {
            hrValue = SetTextHeader(pPropSet, pszHeader, value.Value.lpszA);
        } else if (ulTag == PR_OE_PRIORITY) {
            hrValue = SetPriority(pPropSet, value.Value.l);
        } else if (ulTag == PR_OE_BODY || ulTag == PR_OE_TEXT_BODY || ulTag == PR_OE_HTML_BODY) {
            bool bHtml = ulTag == PR_OE_HTML_BODY;
            hrValue = _SetTextBody(pItem->pMessage, value.Value.lpszA, bHtml, bHtml);
            SafeRelease(pPropSet); // the body tree changed: the next value binds afresh
        } else if (IsReadOnly(ulTag)) {
            g_Log.Error("COELib::SetItemProps", static_cast<int32_t>(ulTag), "is read only");
            hrValue = -1;
        } else {
            g_Log.Error("COELib::SetItemProps", static_cast<int32_t>(ulTag), "Unknown tag");
            hrValue = -1;
        }
        if (hrValue != S_OK) {
            SPropProblem &problem = pProblems->aProblem[pProblems->cProblem++];
            problem.ulIndex = i;
            problem.ulPropTag = ulTag;
            problem.scode = hrValue;
        }
    }
    SafeRelease(pPropSet);
    if (pProblems->cProblem == 0) {
        FreeBuffer(pProblems);
        return S_OK;
    }
    *ppProblems = pProblems;
    return MAPI_W_ERRORS_RETURNED;
}

HRESULT COELib::SetItemProp(HITEM hItem, const SPropValue *lpProp) {
    SPropProblemArray *pProblems = nullptr;
    HRESULT hr = SetItemProps(hItem, 1, lpProp, &pProblems);
    if (hr != S_OK && pProblems) {
        if (pProblems->cProblem) hr = pProblems->aProblem[0].scode;
        FreeBuffer(pProblems);
    }
    return hr;
}
