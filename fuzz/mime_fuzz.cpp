// Parses arbitrary bytes as a message and runs every read of the MIME objects on it, then a header edit and a
// body edit with a save and a second parse. Nothing may crash, leak or read outside a buffer.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/mimeole.h"
#include "providers/mime/bytestream.h"

namespace {

void Release(IUnknown *p) {
    if (p) p->Release();
}

void ReadHeaders(IMimeMessage *pMessage) {
    static const char *s_rgNames[] = {"Subject", "From", "Date", "Received", "X-Priority", "Content-Type",
                                      "Message-ID", "References"};
    for (const char *pszName : s_rgNames) {
        for (VARTYPE vt : {VT_LPSTR, VT_I4, VT_FILETIME}) {
            for (DWORD dwFlags : {0u, PDF_HEADERFORMAT | PDF_NAMEINDATA}) {
                PROPVARIANT value{};
                value.vt = vt;
                if (pMessage->GetProp(pszName, dwFlags, &value) == S_OK && vt == VT_LPSTR) std::free(value.pszVal);
            }
        }
    }
    IMimeHeaderTable *pTable = nullptr;
    if (pMessage->BindToObject(HBODY_ROOT, IID_IMimeHeaderTable, reinterpret_cast<void **>(&pTable)) == S_OK) {
        FINDHEADER find{};
        HHEADERROW hRow = 0;
        for (HRESULT hr = pTable->FindFirst(&find, &hRow); hr == S_OK; hr = pTable->FindNext(&find, &hRow)) {
            for (DWORD dwFlags : {0u, HTF_NAMEINDATA}) {
                LPSTR psz = nullptr;
                ULONG cch = 0;
                if (pTable->GetRowData(hRow, dwFlags, &psz, &cch) == S_OK) std::free(psz);
            }
        }
    }
    Release(pTable);
    for (ADDRESSFORMAT format : {AFT_DISPLAY_FRIENDLY, AFT_DISPLAY_EMAIL, AFT_DISPLAY_BOTH}) {
        LPSTR psz = nullptr;
        if (pMessage->GetAddressFormat(IAT_ALL, format, &psz) == S_OK) std::free(psz);
    }
}

std::string ReadStream(IStream *pStream) {
    std::string str;
    char buffer[4096];
    ULONG cb = 0;
    while (pStream->Read(buffer, sizeof(buffer), &cb) == S_OK && cb) str.append(buffer, cb);
    return str;
}

void ReadBodies(IMimeMessage *pMessage) {
    for (DWORD dwType : {TXT_PLAIN, TXT_HTML}) {
        IStream *pStream = nullptr;
        HBODY hBody = 0;
        if (pMessage->GetTextBody(dwType, IET_BINARY, &pStream, &hBody) == S_OK) ReadStream(pStream);
        Release(pStream);
    }
    DWORD dwFlags = 0;
    pMessage->GetFlags(&dwFlags);
    ULONG cAttach = 0;
    HBODY *rgh = nullptr;
    if (pMessage->GetAttachments(&cAttach, &rgh) != S_OK) return;
    for (ULONG i = 0; i < cAttach; i++) {
        for (IMSGBODYTYPE type : {IBT_SECURE, IBT_ATTACHMENT, IBT_EMPTY, IBT_CSETTAGGED, IBT_AUTOATTACH})
            pMessage->IsBodyType(rgh[i], type);
        IMimeBody *pBody = nullptr;
        if (pMessage->BindToObject(rgh[i], IID_IMimeBody, reinterpret_cast<void **>(&pBody)) == S_OK) {
            LPSTR psz = nullptr;
            if (pBody->GetDisplayName(&psz) == S_OK) std::free(psz);
            PROPVARIANT value{};
            value.vt = VT_LPSTR;
            if (pBody->GetProp("Content-Type", PDF_HEADERFORMAT, &value) == S_OK) std::free(value.pszVal);
        }
        Release(pBody);
        IStream *pStream = nullptr;
        if (pMessage->BindToObject(rgh[i], IID_IStream, reinterpret_cast<void **>(&pStream)) == S_OK) {
            STATSTG stat{};
            pStream->Stat(&stat, STATFLAG_NONAME);
            ReadStream(pStream);
        }
        Release(pStream);
    }
    std::free(rgh);
}

void SaveAndReparse(IMimeMessage *pMessage) {
    ULARGE_INTEGER cb{};
    pMessage->GetSizeMax(&cb);
    IStream *pOut = nullptr;
    if (MimeCreateByteStream(std::string(), &pOut) != S_OK) return;
    if (pMessage->Save(pOut, 1) == S_OK) {
        pOut->Seek(LARGE_INTEGER{0}, STREAM_SEEK_SET, nullptr);
        IMimeMessage *pCopy = nullptr;
        if (MimeOleCreateMessage(nullptr, &pCopy) == S_OK && pCopy->Load(pOut) == S_OK) ReadBodies(pCopy);
        Release(pCopy);
    }
    Release(pOut);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    IStream *pStream = nullptr;
    if (MimeCreateByteStream(std::string(reinterpret_cast<const char *>(data), size), &pStream) != S_OK) return 0;
    IMimeMessage *pMessage = nullptr;
    if (MimeOleCreateMessage(nullptr, &pMessage) == S_OK && pMessage->Load(pStream) == S_OK) {
        ReadHeaders(pMessage);
        ReadBodies(pMessage);

        PROPVARIANT value{};
        value.vt = VT_LPSTR;
        value.pszVal = const_cast<char *>("fuzz");
        pMessage->SetProp("Subject", 0, &value);
        SaveAndReparse(pMessage);

        HBODY hPlain = 0;
        pMessage->GetTextBody(TXT_PLAIN, IET_BINARY, nullptr, &hPlain);
        IStream *pText = nullptr;
        if (MimeCreateByteStream("<p>fuzz</p>", &pText) == S_OK) {
            HBODY hHtml = 0;
            if (pMessage->GetTextBody(TXT_HTML, IET_BINARY, nullptr, &hHtml) == S_OK) pMessage->DeleteBody(hHtml, 0);
            pMessage->SetTextBody(TXT_HTML, IET_BINARY, hPlain, pText, nullptr);
            pMessage->AttachObject(IID_IStream, pText, nullptr);
        }
        Release(pText);
        SaveAndReparse(pMessage);
    }
    Release(pMessage);
    Release(pStream);
    return 0;
}
