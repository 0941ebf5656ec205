// The edits of a message's body tree: text bodies, deletion, attachments.
#include <algorithm>
#include <cstring>

#include "providers/mime/bodytree.h"
#include "providers/mime/fileio.h"
#include "providers/mime/mimemessage.h"

namespace {

// A leaf part over the bytes, with the transfer encoding that suits them.
GPtr<GMimePart> NewPart(const char *pszType, const char *pszSubtype, const std::string &strData) {
    GPtr<GMimePart> pPart(GMIME_PART(g_mime_part_new_with_type(pszType, pszSubtype)));
    GPtr<GMimeStream> pStream(g_mime_stream_mem_new_with_buffer(strData.data(), strData.size()));
    GPtr<GMimeDataWrapper> pWrapper(
        g_mime_data_wrapper_new_with_stream(pStream.get(), GMIME_CONTENT_ENCODING_DEFAULT));
    g_mime_part_set_content(pPart.get(), pWrapper.get());
    g_mime_part_set_content_encoding(
        pPart.get(), g_mime_part_get_best_content_encoding(pPart.get(), GMIME_ENCODING_CONSTRAINT_7BIT));
    return pPart;
}

GPtr<GMimePart> NewTextPart(const std::string &strText, bool bHtml) {
    GPtr<GMimePart> pPart = NewPart("text", bHtml ? "html" : "plain", strText);
    g_mime_object_set_content_type_parameter(GMIME_OBJECT(pPart.get()), "charset", "utf-8");
    return pPart;
}

// The whole of a stream, from its start.
HRESULT ReadFromStart(IStream *pStream, std::string &strOut) {
    strOut.clear();
    if (!pStream) return S_OK;
    HRESULT hr = pStream->Seek(LARGE_INTEGER{0}, STREAM_SEEK_SET, nullptr);
    return FAILED(hr) ? hr : MimeReadStream(pStream, strOut);
}

const char *ContentTypeForFile(const std::string &strName) {
    static const struct {
        const char *pszExt;
        const char *pszType;
    } s_rgTable[] = {
        {".txt", "text/plain"}, {".log", "text/plain"},       {".err", "text/plain"},
        {".htm", "text/html"},  {".html", "text/html"},       {".pdf", "application/pdf"},
        {".png", "image/png"},  {".jpg", "image/jpeg"},       {".jpeg", "image/jpeg"},
        {".gif", "image/gif"},  {".zip", "application/zip"},  {".eml", "message/rfc822"},
    };
    size_t nDot = strName.rfind('.');
    if (nDot != std::string::npos)
        for (const auto &entry : s_rgTable)
            if (g_ascii_strcasecmp(strName.c_str() + nDot, entry.pszExt) == 0) return entry.pszType;
    return "application/octet-stream";
}

} // namespace

void CMimeMessage::SetTopPart(GMimeObject *pPart) {
    g_mime_message_set_mime_part(m_pMessage, pPart);
    if (!g_mime_object_get_header(GMIME_OBJECT(m_pMessage), "MIME-Version"))
        g_mime_object_set_header(GMIME_OBJECT(m_pMessage), "MIME-Version", "1.0", nullptr);
}

// Puts pNew where pOld stands; pOld leaves the tree.
void CMimeMessage::ReplacePart(GMimeObject *pOld, GMimeObject *pNew) {
    int nIndex = 0;
    if (GMimeMultipart *pParent = MimeFindParent(TopPart(), pOld, &nIndex)) {
        GPtr<GMimeObject> pReplaced(g_mime_multipart_replace(pParent, nIndex, pNew));
    } else {
        SetTopPart(pNew);
    }
}

// Adds a part to the message's multipart/mixed, making one around the present top part if there is none.
void CMimeMessage::AddToMixed(GMimeObject *pPart, bool bFirst) {
    GMimeObject *pTop = TopPart();
    if (!pTop) {
        SetTopPart(pPart);
        return;
    }
    GMimeMultipart *pMixed = nullptr;
    if (MimeIsType(pTop, "multipart", "mixed") && GMIME_IS_MULTIPART(pTop)) {
        pMixed = GMIME_MULTIPART(pTop);
    } else {
        GPtr<GMimeObject> pOldTop(GMIME_OBJECT(g_object_ref(pTop)));
        GPtr<GMimeMultipart> pNew(g_mime_multipart_new_with_subtype("mixed"));
        SetTopPart(GMIME_OBJECT(pNew.get()));
        g_mime_multipart_add(pNew.get(), pOldTop.get());
        pMixed = pNew.get();
    }
    if (bFirst) g_mime_multipart_insert(pMixed, 0, pPart);
    else g_mime_multipart_add(pMixed, pPart);
}

HRESULT CMimeMessage::SetTextBody(DWORD dwTxtType, ENCODINGTYPE, HBODY hAlternative, IStream *pStream,
                                  LPHBODY phBody) {
    if (HRESULT hrReady = Ready(); FAILED(hrReady)) return hrReady;
    if (phBody) *phBody = 0;
    if (dwTxtType != TXT_PLAIN && dwTxtType != TXT_HTML) return MIME_E_INVALID_TEXT_TYPE;
    bool bHtml = dwTxtType == TXT_HTML;
    std::string strText;
    HRESULT hr = ReadFromStart(pStream, strText);
    if (FAILED(hr)) return hr;

    Tree();
    GMimeObject *pAlternative = nullptr;
    if (hAlternative) {
        MimeHeaderScope scope{};
        hr = ResolveBody(hAlternative, true, &scope, &pAlternative);
        if (FAILED(hr)) return hr;
        if (!pAlternative) return MIME_E_INVALID_HANDLE;
    }

    GPtr<GMimePart> pNew = NewTextPart(strText, bHtml);
    GMimeObject *pNewPart = GMIME_OBJECT(pNew.get());
    GMimeObject *pExisting = MimeFindTextBody(TopPart(), bHtml);
    int nIndex = 0;
    GMimeMultipart *pAltParent = pAlternative ? MimeFindParent(TopPart(), pAlternative, &nIndex) : nullptr;

    if (pAlternative && pAltParent && MimeIsType(GMIME_OBJECT(pAltParent), "multipart", "alternative")) {
        // Already in an alternative: take the old body's place there, or stand beside the other kind (plain
        // first, as readers show the last one they understand).
        if (pExisting && MimeFindParent(TopPart(), pExisting, nullptr) == pAltParent)
            ReplacePart(pExisting, pNewPart);
        else
            g_mime_multipart_insert(pAltParent, bHtml ? nIndex + 1 : nIndex, pNewPart);
    } else if (pAlternative) {
        GPtr<GMimeObject> pKeep(GMIME_OBJECT(g_object_ref(pAlternative)));
        GPtr<GMimeMultipart> pGroup(g_mime_multipart_new_with_subtype("alternative"));
        ReplacePart(pAlternative, GMIME_OBJECT(pGroup.get()));
        g_mime_multipart_add(pGroup.get(), bHtml ? pKeep.get() : pNewPart);
        g_mime_multipart_add(pGroup.get(), bHtml ? pNewPart : pKeep.get());
    } else if (pExisting) {
        ReplacePart(pExisting, pNewPart);
    } else {
        AddToMixed(pNewPart, true);
    }
    MarkEdited(MimeHeaderScope{}, nullptr);
    if (phBody) *phBody = HandleOf(pNewPart);
    return S_OK;
}

HRESULT CMimeMessage::DeleteBody(HBODY hBody, DWORD) {
    if (HRESULT hrReady = Ready(); FAILED(hrReady)) return hrReady;
    MimeHeaderScope scope{};
    GMimeObject *pPart = nullptr;
    HRESULT hr = ResolveBody(hBody, true, &scope, &pPart);
    if (FAILED(hr)) return hr;
    if (!pPart) return MIME_E_NOT_FOUND;

    // Remove the part; a multipart left with one child gives way to it, one left empty goes as well.
    for (GMimeObject *pGone = pPart;;) {
        int nIndex = 0;
        GMimeMultipart *pParent = MimeFindParent(TopPart(), pGone, &nIndex);
        if (!pParent) {
            // The top body: GMime wants a part there, so an empty one stands in until a body is set.
            if (!m_pEmptyTop) m_pEmptyTop = GMIME_OBJECT(g_mime_part_new_with_type("text", "plain"));
            g_mime_message_set_mime_part(m_pMessage, m_pEmptyTop);
            break;
        }
        GPtr<GMimeObject> pRemoved(g_mime_multipart_remove_at(pParent, nIndex));
        int cLeft = g_mime_multipart_get_count(pParent);
        if (cLeft == 1) {
            GPtr<GMimeObject> pOnly(GMIME_OBJECT(g_object_ref(g_mime_multipart_get_part(pParent, 0))));
            g_mime_multipart_remove_at(pParent, 0);
            g_object_unref(pOnly.get()); // remove_at handed us the multipart's reference
            ReplacePart(GMIME_OBJECT(pParent), pOnly.get());
            break;
        }
        if (cLeft > 0) break;
        pGone = GMIME_OBJECT(pParent);
    }
    MarkEdited(MimeHeaderScope{}, nullptr);
    return S_OK;
}

HRESULT CMimeMessage::AddAttachment(std::string strData, const char *pszContentType, const char *pszFileName,
                                    LPHBODY phBody) {
    Tree();
    GPtr<GMimeContentType> pType(g_mime_content_type_parse(MimeParserOptions(), pszContentType));
    GPtr<GMimePart> pPart = NewPart(g_mime_content_type_get_media_type(pType.get()),
                                    g_mime_content_type_get_media_subtype(pType.get()), strData);
    g_mime_part_set_content_encoding(pPart.get(), GMIME_CONTENT_ENCODING_BASE64);
    g_mime_object_set_disposition(GMIME_OBJECT(pPart.get()), GMIME_DISPOSITION_ATTACHMENT);
    if (pszFileName && *pszFileName) g_mime_part_set_filename(pPart.get(), pszFileName);
    AddToMixed(GMIME_OBJECT(pPart.get()), false);
    MarkEdited(MimeHeaderScope{}, nullptr);
    if (phBody) *phBody = HandleOf(GMIME_OBJECT(pPart.get()));
    return S_OK;
}

HRESULT CMimeMessage::AttachObject(REFIID riid, void *pvObject, LPHBODY phBody) {
    if (HRESULT hrReady = Ready(); FAILED(hrReady)) return hrReady;
    if (phBody) *phBody = 0;
    if (riid != IID_IStream) return MIME_E_INVALID_OBJECT_IID;
    if (!pvObject) return E_INVALIDARG;
    std::string strData;
    HRESULT hr = ReadFromStart(static_cast<IStream *>(pvObject), strData);
    return FAILED(hr) ? hr : AddAttachment(std::move(strData), "application/octet-stream", nullptr, phBody);
}

HRESULT CMimeMessage::AttachFile(LPCSTR pszFilePath, IStream *pstmFile, LPHBODY phBody) {
    if (HRESULT hrReady = Ready(); FAILED(hrReady)) return hrReady;
    if (phBody) *phBody = 0;
    if (!pszFilePath || !*pszFilePath) return E_INVALIDARG;
    std::string strData;
    HRESULT hr = pstmFile ? ReadFromStart(pstmFile, strData) : MimeReadFile(pszFilePath, strData);
    if (FAILED(hr)) return hr;
    GCharPtr pBaseName(g_path_get_basename(pszFilePath));
    std::string strName = pBaseName ? pBaseName.get() : pszFilePath;
    return AddAttachment(std::move(strData), ContentTypeForFile(strName), strName.c_str(), phBody);
}
