// COELib: the attachments of an open message, named by their body handles: listing, their three properties,
// finding one by name and size, and comparing two by content.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "oestore/heapcopy.h"
#include "oestore/oelib.h"
#include "oestore/oetags.h"
#include "oestore/oevalues.h"

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// The display name without leading blanks, cut at its last "(" together with the blanks in front of it: the
// platform may end a display name with a remark in parentheses such as the size.
char *AttachNameOf(const char *szDisplayName) {
    const char *pszStart = szDisplayName;
    while (IsBlank(*pszStart)) ++pszStart;
    char *pszName = HeapCopy(pszStart);
    if (!pszName) return nullptr;
    char *pszCut = std::strrchr(pszName, '(');
    if (pszCut) {
        *pszCut = '\0';
        for (char *p = pszCut - 1; p > pszName && IsBlank(*p); --p) *p = '\0';
    }
    return pszName;
}

// The size of the attachment's decoded content, low 32 bits.
HRESULT AttachSize(IMimeMessage *pMessage, HBODY hBody, ULONG *pcb) {
    IStream *pStream = nullptr;
    HRESULT hr = pMessage->BindToObject(hBody, IID_IStream, reinterpret_cast<void **>(&pStream));
    if (FAILED(hr)) return hr;
    STATSTG stat{};
    hr = pStream->Stat(&stat, STATFLAG_NONAME);
    pStream->Release();
    if (FAILED(hr)) return hr;
    *pcb = static_cast<ULONG>(stat.cbSize.QuadPart & 0xFFFFFFFFu);
    return S_OK;
}

OEOpenItem *ItemOf(HITEM hItem) { return static_cast<OEOpenItem *>(hItem); }

bool HasMessage(HITEM hItem) { return hItem != nullptr && ItemOf(hItem)->pMessage != nullptr; }

} // namespace

HRESULT COELib::GetAttachments(HITEM hItem, OEAttachments **ppList) {
    const char *const kszLabel = "COELib::GetAttachments";
    g_Log.Assert(HasMessage(hItem) && ppList != nullptr && m_pAllocator != nullptr, kszLabel, 0);
    if (!HasMessage(hItem) || !ppList || !m_pAllocator) return -1;
    *ppList = nullptr;
    IMimeMessage *pMessage = ItemOf(hItem)->pMessage;
    ULONG cBodies = 0;
    HBODY *prghBodies = nullptr;
    HRESULT hr = pMessage->GetAttachments(&cBodies, &prghBodies);
    if (FAILED(hr)) {
        g_Log.Error(kszLabel, hr, "GetAttachments");
        return hr;
    }
    auto *pList = static_cast<OEAttachments *>(std::calloc(1, sizeof(OEAttachments)));
    auto *pEntries =
        cBodies > 0 ? static_cast<OEAttachment *>(std::calloc(cBodies, sizeof(OEAttachment))) : nullptr;
    if (!pList || (cBodies > 0 && !pEntries)) {
        std::free(pList);
        std::free(pEntries);
        if (prghBodies) m_pAllocator->Free(prghBodies);
        return E_OUTOFMEMORY;
    }
    for (ULONG i = 0; i < cBodies; ++i) {
        HBODY hBody = prghBodies[i];
        // Inline bodies are no attachments and are left out without a word.
        if (pMessage->IsBodyType(hBody, IBT_ATTACHMENT) != S_OK) continue;
        IMimeBody *pBody = nullptr;
        hr = pMessage->BindToObject(hBody, IID_IMimeBody, reinterpret_cast<void **>(&pBody));
        if (FAILED(hr)) {
            g_Log.Error(kszLabel, hr, "BindToObject");
            continue;
        }
        char *pszDisplay = nullptr;
        hr = pBody->GetDisplayName(&pszDisplay);
        if (FAILED(hr)) {
            g_Log.Error(kszLabel, hr, "GetDisplayName");
        } else {
            OEAttachment &entry = pEntries[pList->cAttachments++];
            entry.hBody = hBody;
            entry.szName = HeapCopy(pszDisplay ? pszDisplay : "");
        }
        if (pszDisplay) m_pAllocator->Free(pszDisplay);
        pBody->Release();
    }
    if (pList->cAttachments > 0)
        pList->pAttachments = pEntries;
    else
        std::free(pEntries);
    if (prghBodies) m_pAllocator->Free(prghBodies);
    *ppList = pList;
    return S_OK;
}

void COELib::FreeAttachments(OEAttachments **ppList) {
    if (!ppList || !*ppList) return;
    OEAttachments *pList = *ppList;
    for (ULONG i = 0; i < pList->cAttachments; ++i) std::free(pList->pAttachments[i].szName);
    std::free(pList->pAttachments);
    std::free(pList);
    *ppList = nullptr;
}

HRESULT COELib::GetAttachmentProps(HITEM hItem, HBODY hBody, const SPropTagArray *lpTags, ULONG *pcValues,
                                   SPropValue **lppProps, ULONG nReserved) {
    const char *const kszLabel = "COELib::GetAttachmentProps";
    bool bValid = HasMessage(hItem) && lpTags != nullptr && lpTags->cValues > 0 && pcValues != nullptr &&
                  lppProps != nullptr && m_pAllocator != nullptr;
    g_Log.Assert(bValid, kszLabel, 0);
    if (!bValid) return -1;
    *pcValues = 0;
    *lppProps = nullptr;
    IMimeMessage *pMessage = ItemOf(hItem)->pMessage;

    IMimeBody *pBody = nullptr;
    HRESULT hr = pMessage->BindToObject(hBody, IID_IMimeBody, reinterpret_cast<void **>(&pBody));
    if (FAILED(hr)) {
        g_Log.Error(kszLabel, hr, "BindToObject");
        return hr;
    }
    char *pszDisplay = nullptr;
    hr = pBody->GetDisplayName(&pszDisplay);
    if (FAILED(hr)) {
        g_Log.Error(kszLabel, hr, "GetDisplayName");
        pBody->Release();
        return hr;
    }
    const char *szDisplay = pszDisplay ? pszDisplay : "";
    SPropValue *pValues = OEAllocValueArray(lpTags->cValues);
    if (!pValues) {
        m_pAllocator->Free(pszDisplay);
        pBody->Release();
        return E_OUTOFMEMORY;
    }
    hr = S_OK;
    for (ULONG i = 0; i < lpTags->cValues; ++i) {
        SPropValue *pValue = &pValues[i];
        pValue->ulPropTag = lpTags->aulPropTag[i];
        switch (pValue->ulPropTag) {
        case PR_OE_ATTACH_DISPLAY_NAME:
            pValue->Value.lpszA = HeapCopy(szDisplay);
            break;
        case PR_OE_ATTACH_NAME:
            pValue->Value.lpszA = AttachNameOf(szDisplay);
            break;
        case PR_OE_ATTACH_SIZE: {
            HRESULT hrSize = AttachSize(pMessage, hBody, &pValue->Value.ul);
            if (FAILED(hrSize)) {
                OESetErrorValue(pValue, hrSize);
                hr = MAPI_W_ERRORS_RETURNED;
            }
            break;
        }
        default:
            g_Log.Error(kszLabel, static_cast<int32_t>(pValue->ulPropTag), "Unknown tag");
            OESetErrorValue(pValue, -1);
            hr = MAPI_W_ERRORS_RETURNED;
            break;
        }
    }
    *pcValues = lpTags->cValues;
    *lppProps = pValues;
    if (pszDisplay) m_pAllocator->Free(pszDisplay);
    pBody->Release();
    return hr;
}

HRESULT COELib::GetAttachmentProp(HITEM hItem, HBODY hBody, ULONG ulPropTag, SPropValue **lppProp, ULONG nReserved) {
    SPropTagArray tags{1, {ulPropTag}};
    ULONG cValues = 0;
    return GetAttachmentProps(hItem, hBody, &tags, &cValues, lppProp, nReserved);
}

void COELib::FreeAttachProps(SPropValue *lpProps) {
    OEFreeValueArray(lpProps, "COELib::FreeAttachProps", PR_OE_ATTACH_SIZE);
}

HRESULT COELib::FindAttachment(HITEM hItem, HBODY *phBody, const char *szName, ULONG cbSize, ULONG nFirst) {
    const char *const kszLabel = "COELib::FindAttachment";
    g_Log.Assert(HasMessage(hItem) && phBody != nullptr && szName != nullptr, kszLabel, 0);
    if (!HasMessage(hItem) || !phBody || !szName) return -1;
    OEAttachments *pList = nullptr;
    HRESULT hr = GetAttachments(hItem, &pList);
    if (hr != S_OK) {
        g_Log.Error(kszLabel, hr, "GetAttachments");
        return hr;
    }
    *phBody = 0;
    hr = 1;
    for (ULONG i = nFirst; i < pList->cAttachments && hr == 1; ++i) {
        const OEAttachment &entry = pList->pAttachments[i];
        if (!entry.szName || std::strcmp(szName, entry.szName) != 0) continue;
        if (cbSize == 0) {
            *phBody = entry.hBody;
            hr = S_OK;
            break;
        }
        SPropValue *pSize = nullptr;
        HRESULT hrSize = GetAttachmentProp(hItem, entry.hBody, PR_OE_ATTACH_SIZE, &pSize, 0);
        if (hrSize != S_OK && hrSize != MAPI_W_ERRORS_RETURNED)
            g_Log.Warning(kszLabel, hrSize, "GetAttachmentProp(PR_OE_ATTACH_SIZE)");
        if (pSize && pSize->ulPropTag == PR_OE_ATTACH_SIZE && pSize->Value.ul == cbSize) {
            *phBody = entry.hBody;
            hr = S_OK;
        }
        FreeAttachProps(pSize);
    }
    FreeAttachments(&pList);
    return hr;
}

HRESULT COELib::CmpAttachment(HITEM hItem1, HBODY hBody1, HITEM hItem2, HBODY hBody2, LONG *pnResult) {
    const char *const kszLabel = "COELib::CmpAttachment";
    g_Log.Assert(HasMessage(hItem1) && HasMessage(hItem2) && pnResult != nullptr, kszLabel, 0);
    if (!HasMessage(hItem1) || !HasMessage(hItem2) || !pnResult) return -1;

    IStream *pStream1 = nullptr;
    IStream *pStream2 = nullptr;
    STATSTG stat1{}, stat2{};
    HRESULT hr = ItemOf(hItem1)->pMessage->BindToObject(hBody1, IID_IStream, reinterpret_cast<void **>(&pStream1));
    if (FAILED(hr)) {
        g_Log.Error(kszLabel, hr, "BindToObject1");
    } else if (hr = ItemOf(hItem2)->pMessage->BindToObject(hBody2, IID_IStream, reinterpret_cast<void **>(&pStream2));
               FAILED(hr)) {
        g_Log.Error(kszLabel, hr, "BindToObject2");
    } else if (hr = pStream1->Stat(&stat1, STATFLAG_NONAME); FAILED(hr)) {
        g_Log.Error(kszLabel, hr, "Stat1");
    } else if (hr = pStream2->Stat(&stat2, STATFLAG_NONAME); FAILED(hr)) {
        g_Log.Error(kszLabel, hr, "Stat2");
    } else {
        auto cb1 = static_cast<ULONG>(stat1.cbSize.QuadPart & 0xFFFFFFFFu);
        auto cb2 = static_cast<ULONG>(stat2.cbSize.QuadPart & 0xFFFFFFFFu);
        hr = S_OK;
        if (cb1 != cb2) {
            // The sizes decide before a byte is read.
            *pnResult = cb1 < cb2 ? -1 : 1;
        } else {
            *pnResult = 0;
            BYTE ab1[1024], ab2[1024];
            for (ULONG cbLeft = cb1; cbLeft > 0 && *pnResult == 0;) {
                ULONG cbBlock = std::min<ULONG>(cbLeft, sizeof(ab1));
                ULONG cbRead1 = 0, cbRead2 = 0;
                hr = pStream1->Read(ab1, cbBlock, &cbRead1);
                if (hr == S_OK) hr = pStream2->Read(ab2, cbBlock, &cbRead2);
                if (hr != S_OK) {
                    g_Log.Error(kszLabel, hr, "Stream->Read");
                    break;
                }
                g_Log.Assert(cbRead1 == cbBlock && cbRead2 == cbBlock, kszLabel, 1);
                int nCmp = std::memcmp(ab1, ab2, std::min(cbRead1, cbRead2));
                if (nCmp != 0) *pnResult = nCmp < 0 ? -1 : 1;
                cbLeft -= cbBlock;
            }
        }
    }
    SafeRelease(pStream1);
    SafeRelease(pStream2);
    return hr;
}
