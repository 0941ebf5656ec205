// Copying an attachment from one open message to another, with the headers that describe it.
#include <iterator>

#include "log/log.h"
#include "oestore/oeconnected.h"
#include "oestore/oelib.h"
#include "oestore/oetags.h"

namespace {

// The headers that travel with an attachment's bytes, in the order they are read and written.
const char *const kAttachHeaders[] = {"Content-Type", "Content-ID", "Content-Description", "Content-Base",
                                      "Content-Location"};
constexpr size_t kAttachHeaderCount = std::size(kAttachHeaders);

} // namespace

HRESULT COELib::CopyAttachment(HITEM hItemTo, HITEM hItemFrom, HBODY hBody, HBODY *phNewBody) {
    g_Log.Assert(hItemTo && hItemFrom, "COELib::CopyAttachment", __LINE__);
    if (!hItemTo || !hItemFrom) return -1;
    if (!OEConnected(m_pNamespace, "COELib::CopyAttachment")) return -1;
    IMimeMessage *pFrom = static_cast<OEOpenItem *>(hItemFrom)->pMessage;
    IMimeMessage *pTo = static_cast<OEOpenItem *>(hItemTo)->pMessage;
    static_cast<OEOpenItem *>(hItemTo)->bEdited = true;

    PROPVARIANT rgVar[kAttachHeaderCount]{};
    for (size_t i = 0; i < kAttachHeaderCount; ++i) {
        rgVar[i].vt = VT_LPSTR;
        HRESULT hr = pFrom->GetBodyProp(hBody, kAttachHeaders[i], PDF_HEADERFORMAT, &rgVar[i]);
        if (hr != S_OK) {
            if (hr != MIME_E_NOT_FOUND) g_Log.Warning("COELib::CopyAttachment", hr, "GetBodyProp(%s)", kAttachHeaders[i]);
            rgVar[i].vt = VT_EMPTY; // counts as absent
            rgVar[i].pszVal = nullptr;
        }
    }
    IStream *pStream = nullptr;
    HBODY hNewBody = 0;
    HRESULT hr = pFrom->BindToObject(hBody, IID_IStream, reinterpret_cast<void **>(&pStream));
    if (FAILED(hr)) {
        if (hr == MIME_E_INVALID_HANDLE) g_Log.Error("COELib::CopyAttachment", hr, "Cant open src attach: bad handle");
        else g_Log.Error("COELib::CopyAttachment", hr, "BindToObject");
    } else {
        hr = pTo->AttachObject(IID_IStream, pStream, &hNewBody);
        if (FAILED(hr)) g_Log.Error("COELib::CopyAttachment", hr, "AttachObject");
    }
    if (SUCCEEDED(hr)) {
        for (size_t i = 0; i < kAttachHeaderCount; ++i) {
            if (rgVar[i].vt != VT_LPSTR || !rgVar[i].pszVal) continue;
            HRESULT hrSet = pTo->SetBodyProp(hNewBody, kAttachHeaders[i], PDF_HEADERFORMAT, &rgVar[i]);
            if (hrSet != S_OK) g_Log.Warning("COELib::CopyAttachment", hrSet, "SetBodyProp(%s)", kAttachHeaders[i]);
        }
        if (phNewBody) *phNewBody = hNewBody;
        hr = S_OK;
    }
    for (PROPVARIANT &var : rgVar)
        if (var.vt == VT_LPSTR) m_pAllocator->PropVariantClear(&var);
    SafeRelease(pStream);
    return hr;
}
