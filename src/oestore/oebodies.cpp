// COELib: the text bodies of a message, read whole as text or handed on as the platform's own stream, and
// written back. There is no conversion of HTML to plain text: _HTML2Plain refuses, and its callers are built
// around that refusal.
#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "oestore/oelib.h"
#include "oestore/oetags.h"

namespace {

DWORD TextType(bool bHtml) { return bHtml ? TXT_HTML : TXT_PLAIN; }

} // namespace

HRESULT COELib::_ReadStream(IStream *pStream, char **ppsz, ULONG *pcb) {
    const char *const kszLabel = "COELib::_ReadStream";
    g_Log.Assert(pStream != nullptr && ppsz != nullptr && pcb != nullptr, kszLabel, 0);
    if (!pStream || !ppsz || !pcb) return -1;
    *ppsz = nullptr;
    *pcb = 0;
    STATSTG stat{};
    HRESULT hr = pStream->Stat(&stat, STATFLAG_NONAME);
    if (hr != S_OK) {
        g_Log.Error(kszLabel, hr, "Stream->Stat");
        return hr;
    }
    auto cbSize = static_cast<ULONG>(stat.cbSize.QuadPart & 0xFFFFFFFFu);
    if (cbSize == 0) return S_OK;
    auto *psz = static_cast<char *>(std::malloc(static_cast<size_t>(cbSize) + 1));
    if (!psz) return E_OUTOFMEMORY;
    ULONG cbRead = 0;
    hr = pStream->Read(psz, cbSize, &cbRead);
    if (hr != S_OK) {
        g_Log.Error(kszLabel, hr, "Stream->Read");
        std::free(psz);
        return hr;
    }
    g_Log.Assert(cbRead == cbSize, kszLabel, 1);
    psz[cbRead] = '\0';
    *ppsz = psz;
    *pcb = cbRead;
    return S_OK;
}

HRESULT COELib::_GetTextBody(IMimeMessage *pMessage, char **ppsz, bool bHtml) {
    *ppsz = nullptr;
    IStream *pStream = nullptr;
    HRESULT hr = pMessage->GetTextBody(TextType(bHtml), IET_BINARY, &pStream, nullptr);
    if (hr != S_OK && hr != MIME_E_NOT_FOUND) g_Log.Error("COELib::_GetTextBody", hr, "GetTextBody");
    if (hr == S_OK) {
        ULONG cb = 0;
        hr = _ReadStream(pStream, ppsz, &cb);
    }
    SafeRelease(pStream);
    return hr;
}

HRESULT COELib::_ReadPlainBody(IMimeMessage *pMessage, char **ppsz, bool bAllowHtml, bool *pbConverted) {
    *ppsz = nullptr;
    if (pbConverted) *pbConverted = false;
    IStream *pStream = nullptr;
    bool bHtml = false;
    HRESULT hr = pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, &pStream, nullptr);
    if (bAllowHtml && hr == MIME_E_NOT_FOUND) {
        hr = pMessage->GetTextBody(TXT_HTML, IET_BINARY, &pStream, nullptr);
        bHtml = true;
    }
    if (hr == S_OK) {
        char *psz = nullptr;
        ULONG cb = 0;
        hr = _ReadStream(pStream, &psz, &cb);
        if (psz && !bHtml) {
            *ppsz = psz;
        } else if (psz) {
            *ppsz = _HTML2Plain(psz);
            std::free(psz);
            if (pbConverted) *pbConverted = true;
        }
    } else if (hr != MIME_E_NOT_FOUND) {
        g_Log.Error("COELib::_ReadPlainBody", hr, "GetTextBody");
    }
    SafeRelease(pStream);
    return hr;
}

HRESULT COELib::OpenStreamProp(HITEM hItem, ULONG ulPropTag, IStream **ppStream, ULONG nReserved) {
    const char *const kszLabel = "COELib::OpenStreamProp";
    auto *pItem = static_cast<OEOpenItem *>(hItem);
    g_Log.Assert(pItem != nullptr && pItem->pMessage != nullptr && ppStream != nullptr, kszLabel, 0);
    if (!pItem || !pItem->pMessage || !ppStream) return -1;
    *ppStream = nullptr;
    IMimeMessage *pMessage = pItem->pMessage;
    bool bText = ulPropTag == PR_OE_TEXT_BODY || ulPropTag == PR_OE_HTML_BODY;
    if (!bText && ulPropTag != PR_OE_BODY) {
        g_Log.Error(kszLabel, static_cast<int32_t>(ulPropTag), "invalid tag");
        return -1;
    }
    // A body as stored: what an earlier open of it learnt serves, so that a comparison that ends in the first
    // block reads no message.
    bool bStored = !pItem->bEdited && pMessage->IsDirty() == S_FALSE;
    if (bStored && m_BodyPrefixes.Open(pItem->dwFolderId, pItem->dwMessageId, ulPropTag, pMessage, ppStream))
        return S_OK;
    DWORD dwTxtType = TextType(ulPropTag == PR_OE_HTML_BODY);

    if (bText) {
        HRESULT hr = pMessage->GetTextBody(dwTxtType, IET_BINARY, ppStream, nullptr);
        if (hr == MIME_E_NOT_FOUND) return MAPI_E_NOT_FOUND;
        if (hr != S_OK) g_Log.Error(kszLabel, hr, "GetTextBody");
        if (hr == S_OK && bStored)
            m_BodyPrefixes.Learn(pItem->dwFolderId, pItem->dwMessageId, ulPropTag, dwTxtType, *ppStream);
        return hr;
    }

    // The plain body as it stands, else the HTML one through a conversion.
    HRESULT hr = pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, ppStream, nullptr);
    if (hr == S_OK && bStored)
        m_BodyPrefixes.Learn(pItem->dwFolderId, pItem->dwMessageId, ulPropTag, TXT_PLAIN, *ppStream);
    if (hr != MIME_E_NOT_FOUND) return hr;
    IStream *pHtml = nullptr;
    hr = pMessage->GetTextBody(TXT_HTML, IET_BINARY, &pHtml, nullptr);
    if (hr != S_OK) {
        g_Log.Error(kszLabel, hr, "GetTextBody");
        SafeRelease(pHtml);
        return hr == MIME_E_NOT_FOUND ? MAPI_E_NOT_FOUND : hr;
    }
    // Asked before a byte of the real body is read: is there a conversion at all? There is none, so the
    // HTML-only message has no plain stream to offer.
    char *pszProbe = _HTML2Plain("<html><body>test</body></html>");
    if (!pszProbe) g_Log.Error(kszLabel, 0, "HTML2Plain not implemented");
    std::free(pszProbe);
    SafeRelease(pHtml);
    return -2;
}

HRESULT COELib::_SetTextBody(IMimeMessage *pMessage, const char *szText, bool bHtml, bool bWithAlternative) {
    const char *const kszLabel = "COELib::_SetTextBody";
    g_Log.Assert(pMessage != nullptr, kszLabel, 0);
    if (!pMessage) return -1;
    DWORD dwKind = TextType(bHtml);
    DWORD dwOther = TextType(!bHtml);
    HBODY hAlternative = 0;

    IStream *pStream = nullptr;
    HRESULT hr = CreateStreamOnHGlobal(nullptr, true, &pStream);
    if (FAILED(hr)) {
        g_Log.Error(kszLabel, hr, "CreateStreamOnHGlobal");
        return hr;
    }
    size_t cchText = szText ? std::strlen(szText) : 0;
    if (cchText > 0) {
        hr = pStream->Write(szText, static_cast<ULONG>(cchText), nullptr);
        if (FAILED(hr)) {
            g_Log.Error(kszLabel, hr, "Stream->Write");
            SafeRelease(pStream);
            return hr;
        }
    }
    hr = pStream->Commit(STGC_DEFAULT);
    if (FAILED(hr)) {
        g_Log.Error(kszLabel, hr, "Stream->Commit");
        SafeRelease(pStream);
        return hr;
    }

    if (bWithAlternative) {
        // The old body of this kind goes; the body of the other kind becomes the new one's alternative.
        IStream *pOld = nullptr;
        HBODY hOld = 0;
        HRESULT hrOld = pMessage->GetTextBody(dwKind, IET_BINARY, &pOld, &hOld);
        if (hrOld == S_OK) {
            SafeRelease(pOld);
            hrOld = pMessage->DeleteBody(hOld, 0);
            if (FAILED(hrOld)) {
                g_Log.Warning(kszLabel, hrOld, "DeletePrevBody");
                SafeRelease(pStream);
                return hrOld;
            }
        } else if (hrOld != MIME_E_NOT_FOUND) {
            g_Log.Warning(kszLabel, hrOld, "GetTextBody(Aternative)");
        }
        SafeRelease(pOld);
        IStream *pOther = nullptr;
        HRESULT hrOther = pMessage->GetTextBody(dwOther, IET_BINARY, &pOther, &hAlternative);
        if (hrOther != S_OK) {
            if (hrOther != MIME_E_NOT_FOUND) g_Log.Warning(kszLabel, hrOther, "GetTextBody(Aternative)");
            hAlternative = 0;
        }
        SafeRelease(pOther);
    }

    HBODY hNew = 0;
    hr = pMessage->SetTextBody(dwKind, IET_BINARY, hAlternative, pStream, &hNew);
    if (FAILED(hr)) g_Log.Error(kszLabel, hr, "SetTextBody");
    SafeRelease(pStream);
    return hr;
}

char *COELib::_HTML2Plain(const char *szHtml) {
    g_Log.Error("COELib::_HTML2Plain", 0, "Not implemented");
    return nullptr;
}
