#include "providers/mime/mimemessage.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "providers/mime/addresses.h"
#include "providers/mime/bodytree.h"
#include "providers/mime/bytestream.h"
#include "providers/mime/fileio.h"
#include "providers/mime/headersplice.h"
#include "providers/mime/headertable.h"
#include "providers/mime/messagelater.h"
#include "providers/mime/mimebody.h"
#include "providers/mime/plainasis.h"

namespace {

// The text with every line ending in CRLF, or in LF.
std::string WithLineEnds(const std::string &str, bool bCrLf) {
    std::string strOut;
    strOut.reserve(str.size() + 8);
    for (size_t i = 0; i < str.size(); i++) {
        if (str[i] == '\r' && i + 1 < str.size() && str[i + 1] == '\n') continue;
        if (str[i] == '\n' && bCrLf) strOut += '\r';
        strOut += str[i];
    }
    return strOut;
}

bool UsesCrLf(const std::string &str) {
    size_t nPos = str.find('\n');
    return nPos != std::string::npos && nPos > 0 && str[nPos - 1] == '\r';
}

// GMime's message of the bytes. Input that has no header block at all becomes a message whose plain body is the
// whole input, so that nothing of it is out of reach.
GMimeMessage *ParseMessage(const char *p, size_t cb, bool *pbHeaderless = nullptr) {
    GPtr<GMimeStream> pStream(g_mime_stream_mem_new_with_buffer(p, cb));
    GPtr<GMimeParser> pParser(g_mime_parser_new_with_stream(pStream.get()));
    g_mime_parser_set_format(pParser.get(), GMIME_FORMAT_MESSAGE);
    if (pbHeaderless) *pbHeaderless = false;
    if (GMimeMessage *pMessage = g_mime_parser_construct_message(pParser.get(), MimeParserOptions()))
        return pMessage;
    if (pbHeaderless) *pbHeaderless = true;
    GMimeMessage *pMessage = g_mime_message_new(FALSE);
    GPtr<GMimePart> pPart(g_mime_part_new_with_type("text", "plain"));
    GPtr<GMimeStream> pContent(g_mime_stream_mem_new_with_buffer(p, cb));
    GPtr<GMimeDataWrapper> pWrapper(
        g_mime_data_wrapper_new_with_stream(pContent.get(), GMIME_CONTENT_ENCODING_DEFAULT));
    g_mime_part_set_content(pPart.get(), pWrapper.get());
    g_mime_message_set_mime_part(pMessage, GMIME_OBJECT(pPart.get()));
    // No header rows of our making: the source had none.
    g_mime_object_remove_header(GMIME_OBJECT(pMessage), "MIME-Version");
    g_mime_header_list_clear(g_mime_object_get_header_list(GMIME_OBJECT(pPart.get())));
    return pMessage;
}

} // namespace

CMimeMessage::CMimeMessage() { MimeEnsureInit(); }

CMimeMessage::~CMimeMessage() { Reset(); }

void CMimeMessage::Reset() {
    m_pLater = nullptr;
    m_bHeadOnly = false;
    for (GMimeObject *pPart : m_rgBodies) g_object_unref(pPart);
    m_rgBodies.clear();
    for (GMimeMessage **pp : {&m_pHeaders, &m_pMessage}) {
        if (*pp) g_object_unref(*pp);
        *pp = nullptr;
    }
    if (m_pEmptyTop) g_object_unref(m_pEmptyTop);
    m_pEmptyTop = nullptr;
    m_source = {};
    m_index.Clear();
    m_rgEditedHeaders.clear();
    m_bDirty = false;
    m_bTreeEdited = false;
    m_bHeaderless = false;
    m_bCrLf = false;
    m_nPlainBodyAt = kNotAsked;
}

void CMimeMessage::MarkEdited(const MimeHeaderScope &scope, LPCSTR pszName) {
    m_bDirty = true;
    m_index.Clear(); // the source no longer tells the headers
    if (!scope.pMessage || !pszName) {
        m_bTreeEdited = true;
        return;
    }
    for (const std::string &strName : m_rgEditedHeaders)
        if (MimeEqualNoCase(strName, pszName)) return;
    m_rgEditedHeaders.emplace_back(pszName);
}

void CMimeMessage::LoadBytes(std::string strSource) {
    Reset();
    m_source = CMimeSharedBytes(std::move(strSource));
    m_bCrLf = UsesCrLf(m_source.Str());
    m_index.Build(m_source.Str(), MimeHeaderBlockEnd(m_source.Str()));
}

void CMimeMessage::LoadLater(std::unique_ptr<IMimeLaterReader> pReader) {
    Reset();
    m_pLater = std::move(pReader);
}

HRESULT CMimeMessage::Ready() {
    if (!m_pLater) return S_OK;
    std::string strSource;
    HRESULT hr = m_pLater->Read(strSource);
    if (FAILED(hr)) return hr; // a header block read before stays, and serves header reads meanwhile
    // Everything from the new bytes: nothing parsed or indexed from the header block alone outlives them.
    LoadBytes(std::move(strSource));
    return S_OK;
}

HRESULT CMimeMessage::ReadyHead() {
    if (m_bHeadOnly || !m_pLater) return S_OK;
    std::string strHead;
    bool bWhole = false;
    HRESULT hr = m_pLater->ReadHead(strHead, &bWhole);
    if (FAILED(hr)) return hr;
    std::unique_ptr<IMimeLaterReader> pLater = std::move(m_pLater);
    LoadBytes(std::move(strHead));
    if (!bWhole) {
        m_pLater = std::move(pLater);
        m_bHeadOnly = true;
    }
    return S_OK;
}

GMimeMessage *CMimeMessage::HeaderMessage() {
    if (m_pMessage) return m_pMessage;
    if (!m_pHeaders) m_pHeaders = ParseMessage(m_source.Str().data(), MimeHeaderBlockEnd(m_source.Str()));
    return m_pHeaders;
}

GMimeMessage *CMimeMessage::Tree() {
    if (!m_pMessage) {
        m_pMessage = ParseMessage(m_source.Str().data(), m_source.Str().size(), &m_bHeaderless);
        if (m_pHeaders) g_object_unref(m_pHeaders);
        m_pHeaders = nullptr;
    }
    return m_pMessage;
}

GMimeObject *CMimeMessage::TopPart() {
    GMimeObject *pTop = g_mime_message_get_mime_part(Tree());
    return pTop == m_pEmptyTop ? nullptr : pTop;
}

HBODY CMimeMessage::HandleOf(GMimeObject *pPart) {
    for (size_t i = 0; i < m_rgBodies.size(); i++)
        if (m_rgBodies[i] == pPart) return static_cast<HBODY>(i + 1);
    m_rgBodies.push_back(GMIME_OBJECT(g_object_ref(pPart)));
    return static_cast<HBODY>(m_rgBodies.size());
}

HRESULT CMimeMessage::ResolveBody(HBODY hBody, bool bNeedTree, MimeHeaderScope *pScope, GMimeObject **ppPart) {
    if (HRESULT hrReady = ReadyFor(hBody, bNeedTree); FAILED(hrReady)) return hrReady;
    *pScope = MimeHeaderScope{};
    if (ppPart) *ppPart = nullptr;
    if (hBody == HBODY_ROOT) {
        GMimeMessage *pMessage = bNeedTree ? Tree() : HeaderMessage();
        GMimeObject *pTop = g_mime_message_get_mime_part(pMessage);
        *pScope = MimeHeaderScope{GMIME_OBJECT(pMessage), pTop};
        if (ppPart) *ppPart = pTop == m_pEmptyTop ? nullptr : pTop;
        return S_OK;
    }
    // Numbered handles come from the parsed tree, and name a body only while it is in it.
    if (!m_pMessage || hBody == 0 || hBody > m_rgBodies.size()) return MIME_E_INVALID_HANDLE;
    GMimeObject *pPart = m_rgBodies[hBody - 1];
    GMimeObject *pTop = TopPart();
    if (!MimeTreeContains(pTop, pPart)) return MIME_E_INVALID_HANDLE;
    *pScope = MimeHeaderScope{pPart == pTop ? GMIME_OBJECT(m_pMessage) : nullptr, pPart};
    if (ppPart) *ppPart = pPart;
    return S_OK;
}

HRESULT CMimeMessage::Serialize(std::string &strOut) {
    if (!m_bDirty) {
        strOut = m_source.Str();
        return S_OK;
    }
    if (!m_bTreeEdited) {
        // Only headers of the top changed: their rows go into the source, everything else stays as it was.
        GMimeMessage *pMessage = Tree();
        std::vector<MimeHeaderRow> rgRows =
            MimeCollectHeaderRows(MimeHeaderScope{GMIME_OBJECT(pMessage), g_mime_message_get_mime_part(pMessage)});
        std::vector<MimeHeaderEdit> rgEdits;
        for (const std::string &strName : m_rgEditedHeaders) {
            MimeHeaderEdit edit{strName, {}};
            for (const MimeHeaderRow &row : rgRows)
                if (MimeEqualNoCase(row.strName, strName)) edit.rgRows.push_back(WithLineEnds(row.strRow, m_bCrLf));
            rgEdits.push_back(std::move(edit));
        }
        strOut = MimeSpliceHeaders(m_source.Str(), rgEdits, m_bHeaderless);
        return S_OK;
    }
    GPtr<GMimeStream> pStream(g_mime_stream_mem_new());
    if (g_mime_object_write_to_stream(GMIME_OBJECT(Tree()), MimeFormatOptions(m_bCrLf), pStream.get()) < 0)
        return E_FAIL;
    strOut = MimeReadGStream(pStream.get());
    return S_OK;
}

// ---- IUnknown, IPersistStreamInit --------------------------------------------------------------------------------

HRESULT CMimeMessage::QueryInterface(REFIID riid, void **ppv) {
    if (!ppv) return E_POINTER;
    if (riid == IID_IUnknown || riid == IID_IPersist || riid == IID_IPersistStreamInit || riid == IID_IMimeMessage) {
        AddRef();
        *ppv = static_cast<IMimeMessage *>(this);
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

HRESULT CMimeMessage::GetClassID(CLSID *pClassID) {
    if (!pClassID) return E_POINTER;
    *pClassID = CLSID_IMimeMessage;
    return S_OK;
}

HRESULT CMimeMessage::IsDirty() { return m_bDirty ? S_OK : S_FALSE; }

HRESULT CMimeMessage::Load(IStream *pStm) {
    if (!pStm) return E_INVALIDARG;
    std::string strSource;
    HRESULT hr = MimeReadStream(pStm, strSource);
    if (FAILED(hr)) return hr;
    LoadBytes(std::move(strSource));
    return S_OK;
}

HRESULT CMimeMessage::Save(IStream *pStm, BOOL fClearDirty) {
    if (HRESULT hrReady = Ready(); FAILED(hrReady)) return hrReady;
    if (!pStm) return E_INVALIDARG;
    std::string strOut;
    HRESULT hr = Serialize(strOut);
    if (FAILED(hr)) return hr;
    for (size_t nDone = 0; nDone < strOut.size();) {
        ULONG cbChunk = static_cast<ULONG>(std::min<size_t>(strOut.size() - nDone, 1u << 30));
        ULONG cbWritten = 0;
        hr = pStm->Write(strOut.data() + nDone, cbChunk, &cbWritten);
        if (FAILED(hr)) return hr;
        if (cbWritten == 0) return STG_E_WRITEFAULT;
        nDone += cbWritten;
    }
    if (fClearDirty && m_bDirty) {
        m_source = CMimeSharedBytes(std::move(strOut));
        m_nPlainBodyAt = kNotAsked;
        m_index.Build(m_source.Str(), MimeHeaderBlockEnd(m_source.Str()));
        m_rgEditedHeaders.clear();
        m_bDirty = false;
        m_bTreeEdited = false;
        m_bHeaderless = false;
    }
    return S_OK;
}

HRESULT CMimeMessage::GetSizeMax(ULARGE_INTEGER *pcbSize) {
    if (HRESULT hrReady = Ready(); FAILED(hrReady)) return hrReady;
    if (!pcbSize) return E_POINTER;
    pcbSize->QuadPart = 0;
    if (!m_bDirty) {
        pcbSize->QuadPart = m_source.Str().size();
        return S_OK;
    }
    std::string strOut;
    HRESULT hr = Serialize(strOut);
    if (SUCCEEDED(hr)) pcbSize->QuadPart = strOut.size();
    return hr;
}

HRESULT CMimeMessage::InitNew() {
    Reset();
    m_pMessage = g_mime_message_new(FALSE);
    m_bHeaderless = true; // headers set on it get a block of their own
    return S_OK;
}

// ---- IMimeMessage: reading ----------------------------------------------------------------------------------------

HRESULT CMimeMessage::GetMessageSource(IStream **ppStream, DWORD) {
    if (HRESULT hrReady = Ready(); FAILED(hrReady)) return hrReady;
    if (!ppStream) return E_POINTER;
    *ppStream = nullptr;
    std::string strOut;
    HRESULT hr = Serialize(strOut);
    return FAILED(hr) ? hr : MimeCreateByteStream(std::move(strOut), ppStream);
}

HRESULT CMimeMessage::GetFlags(DWORD *pdwFlags) {
    if (HRESULT hrReady = Ready(); FAILED(hrReady)) return hrReady;
    if (!pdwFlags) return E_POINTER;
    GMimeObject *pTop = TopPart();
    DWORD dwFlags = 0;
    if (!MimeListAttachments(pTop).empty()) dwFlags |= IMF_ATTACHMENTS;
    if (pTop && GMIME_IS_MULTIPART(pTop)) dwFlags |= IMF_MULTIPART;
    MimeWalkTree(pTop, [&](GMimeObject *pPart, GMimeMultipart *pParent, int) {
        if (pParent && GMIME_IS_MULTIPART(pPart)) dwFlags |= IMF_SUBMULTIPART;
    });
    if (g_mime_object_get_header(GMIME_OBJECT(m_pMessage), "MIME-Version")) dwFlags |= IMF_MIME;
    if (MimeFindTextBody(pTop, true)) dwFlags |= IMF_HTML;
    if (MimeFindTextBody(pTop, false)) dwFlags |= IMF_PLAIN;
    *pdwFlags = dwFlags;
    return S_OK;
}

HRESULT CMimeMessage::Commit(DWORD) { return S_OK; }

HRESULT CMimeMessage::BindToObject(const HBODY hBody, REFIID riid, void **ppvObject) {
    bool bNeedTree = riid == IID_IStream || riid == IID_IMimeBody;
    if (HRESULT hrReady = ReadyFor(hBody, bNeedTree); FAILED(hrReady)) return hrReady;
    if (!ppvObject) return E_INVALIDARG;
    *ppvObject = nullptr;
    bool bPropertySet = riid == IID_IMimePropertySet || riid == IID_IUnknown;
    MimeHeaderScope scope{};
    GMimeObject *pPart = nullptr;
    HRESULT hr = S_OK;
    // The property set of the top body resolves at each call: a message read through it by header alone is
    // never parsed by GMime.
    if (!(bPropertySet && hBody == HBODY_ROOT)) hr = ResolveBody(hBody, bNeedTree, &scope, &pPart);
    if (FAILED(hr)) return hr;

    if (bPropertySet || riid == IID_IMimeBody) {
        IMimeBody *pBody = nullptr;
        hr = MimeCreateBodyObject(this, hBody, &pBody);
        *ppvObject = pBody;
        return hr;
    }
    if (riid == IID_IMimeHeaderTable) {
        IMimeHeaderTable *pTable = nullptr;
        hr = MimeCreateHeaderTable(MimeCollectHeaderRows(scope), &pTable);
        *ppvObject = pTable;
        return hr;
    }
    if (riid == IID_IStream) {
        if (!pPart) return MIME_E_NOT_FOUND;
        std::string strData;
        if (GMIME_IS_MULTIPART(pPart)) {
            GPtr<GMimeStream> pStream(g_mime_stream_mem_new());
            g_mime_object_write_content_to_stream(pPart, MimeFormatOptions(m_bCrLf), pStream.get());
            strData = MimeReadGStream(pStream.get());
        } else {
            strData = MimeDecodedContent(pPart);
        }
        IStream *pStream = nullptr;
        hr = MimeCreateByteStream(std::move(strData), &pStream);
        *ppvObject = pStream;
        return hr;
    }
    return E_NOINTERFACE;
}

HRESULT CMimeMessage::IsBodyType(HBODY hBody, IMSGBODYTYPE bodytype) {
    if (HRESULT hrReady = Ready(); FAILED(hrReady)) return hrReady;
    MimeHeaderScope scope{};
    GMimeObject *pPart = nullptr;
    HRESULT hr = ResolveBody(hBody, true, &scope, &pPart);
    if (FAILED(hr)) return hr;
    bool bIs = false;
    switch (bodytype) {
    case IBT_ATTACHMENT: {
        auto rgAttachments = MimeListAttachments(TopPart());
        bIs = pPart && std::find(rgAttachments.begin(), rgAttachments.end(), pPart) != rgAttachments.end();
        break;
    }
    case IBT_EMPTY: bIs = !pPart || (!GMIME_IS_MULTIPART(pPart) && MimeDecodedContent(pPart).empty()); break;
    case IBT_SECURE:
        bIs = pPart && (GMIME_IS_MULTIPART_SIGNED(pPart) || GMIME_IS_MULTIPART_ENCRYPTED(pPart) ||
                        MimeIsType(pPart, "application", "pkcs7-mime"));
        break;
    case IBT_CSETTAGGED: bIs = pPart && g_mime_object_get_content_type_parameter(pPart, "charset"); break;
    case IBT_AUTOATTACH: bIs = false; break;
    default: return MIME_E_INVALID_BODYTYPE;
    }
    return bIs ? S_OK : S_FALSE;
}

HRESULT CMimeMessage::GetBodyProp(HBODY hBody, LPCSTR pszName, DWORD dwFlags, LPPROPVARIANT pValue) {
    if (HRESULT hrReady = ReadyFor(hBody, false); FAILED(hrReady)) return hrReady;
    // The top headers of an unedited message come from the source's fields, without building GMime's objects.
    if (hBody == HBODY_ROOT && m_index.Valid()) return MimeGetIndexedHeaderProp(m_index, pszName, dwFlags, pValue);
    MimeHeaderScope scope{};
    HRESULT hr = ResolveBody(hBody, false, &scope, nullptr);
    return FAILED(hr) ? hr : MimeGetHeaderProp(scope, pszName, dwFlags, pValue);
}

HRESULT CMimeMessage::SetBodyProp(HBODY hBody, LPCSTR pszName, DWORD dwFlags, LPCPROPVARIANT pValue) {
    if (HRESULT hrReady = Ready(); FAILED(hrReady)) return hrReady;
    MimeHeaderScope scope{};
    HRESULT hr = ResolveBody(hBody, true, &scope, nullptr);
    if (SUCCEEDED(hr)) hr = MimeSetHeaderProp(scope, pszName, dwFlags, pValue);
    if (SUCCEEDED(hr)) MarkEdited(scope, pszName);
    return hr;
}

HRESULT CMimeMessage::DeleteBodyProp(HBODY hBody, LPCSTR pszName) {
    if (HRESULT hrReady = Ready(); FAILED(hrReady)) return hrReady;
    MimeHeaderScope scope{};
    HRESULT hr = ResolveBody(hBody, true, &scope, nullptr);
    if (SUCCEEDED(hr)) hr = MimeDeleteHeaderProp(scope, pszName);
    if (SUCCEEDED(hr)) MarkEdited(scope, pszName);
    return hr;
}

HRESULT CMimeMessage::GetProp(LPCSTR pszName, DWORD dwFlags, LPPROPVARIANT pValue) {
    return GetBodyProp(HBODY_ROOT, pszName, dwFlags, pValue);
}

HRESULT CMimeMessage::SetProp(LPCSTR pszName, DWORD dwFlags, LPCPROPVARIANT pValue) {
    return SetBodyProp(HBODY_ROOT, pszName, dwFlags, pValue);
}

HRESULT CMimeMessage::DeleteProp(LPCSTR pszName) { return DeleteBodyProp(HBODY_ROOT, pszName); }

HRESULT CMimeMessage::GetTextBody(DWORD dwTxtType, ENCODINGTYPE, IStream **ppStream, LPHBODY phBody) {
    if (HRESULT hrReady = Ready(); FAILED(hrReady)) return hrReady;
    if (ppStream) *ppStream = nullptr;
    if (phBody) *phBody = 0;
    if (dwTxtType != TXT_PLAIN && dwTxtType != TXT_HTML) return MIME_E_INVALID_TEXT_TYPE;
    std::string_view svPlain;
    if (dwTxtType == TXT_PLAIN && !phBody && PlainBodyAsIs(&svPlain)) // a handle needs the tree
        return ppStream ? MimeCreateByteStream(m_source, svPlain, ppStream) : S_OK;
    GMimeObject *pPart = MimeFindTextBody(TopPart(), dwTxtType == TXT_HTML);
    if (!pPart) return MIME_E_NOT_FOUND;
    if (ppStream) {
        HRESULT hr = MimeCreateByteStream(MimeTextContent(pPart), ppStream);
        if (FAILED(hr)) return hr;
    }
    if (phBody) *phBody = HandleOf(pPart);
    return S_OK;
}

bool CMimeMessage::PlainBodyAsIs(std::string_view *psvBody) {
    // Only an unparsed, unedited message whose plain body GMime would hand out byte for byte: one text/plain part,
    // or the first part of a multipart/mixed, with no transfer encoding and text that is already UTF-8 and holds
    // no NUL. Anything else goes through GMime.
    if (m_pMessage || m_bDirty || !m_index.Valid() || m_index.Fields().empty()) return false;
    if (m_nPlainBodyAt == kNotAsked) {
        const std::string &strSource = m_source.Str();
        size_t nBody = MimeHeaderBlockEnd(strSource);
        std::string_view svPlain = MimeFindPlainBodyAsIs(m_index, std::string_view(strSource).substr(nBody));
        m_nPlainBodyAt = svPlain.data() ? static_cast<size_t>(svPlain.data() - strSource.data()) : std::string::npos;
        m_cbPlainBody = svPlain.size();
    }
    if (m_nPlainBodyAt == std::string::npos) return false;
    *psvBody = std::string_view(m_source.Str()).substr(m_nPlainBodyAt, m_cbPlainBody);
    return true;
}

HRESULT CMimeMessage::GetAttachments(ULONG *pcAttach, LPHBODY *pprghAttach) {
    if (HRESULT hrReady = Ready(); FAILED(hrReady)) return hrReady;
    if (!pcAttach || !pprghAttach) return E_INVALIDARG;
    *pcAttach = 0;
    *pprghAttach = nullptr;
    std::vector<GMimeObject *> rgParts = MimeListAttachments(TopPart());
    if (rgParts.empty()) return S_OK;
    auto *rgh = static_cast<HBODY *>(std::malloc(rgParts.size() * sizeof(HBODY)));
    if (!rgh) return E_OUTOFMEMORY;
    for (size_t i = 0; i < rgParts.size(); i++) rgh[i] = HandleOf(rgParts[i]);
    *pcAttach = static_cast<ULONG>(rgParts.size());
    *pprghAttach = rgh;
    return S_OK;
}

HRESULT CMimeMessage::GetAddressFormat(DWORD dwAdrType, ADDRESSFORMAT format, LPSTR *ppszFormat) {
    if (HRESULT hrReady = ReadyHead(); FAILED(hrReady)) return hrReady;
    if (!ppszFormat) return E_INVALIDARG;
    *ppszFormat = nullptr;
    if (format > AFT_DISPLAY_BOTH) return E_INVALIDARG;
    std::string str = MimeFormatAddresses(HeaderMessage(), dwAdrType, format);
    if (str.empty()) return MIME_E_NOT_FOUND;
    *ppszFormat = MimeDupText(str);
    return *ppszFormat ? S_OK : E_OUTOFMEMORY;
}

// ---- Entry points ---------------------------------------------------------------------------------------------------

HRESULT MimeOleCreateMessage(IUnknown *pUnkOuter, IMimeMessage **ppMessage) {
    if (!ppMessage) return E_POINTER;
    *ppMessage = nullptr;
    if (pUnkOuter) return E_INVALIDARG;
    auto *pMessage = new (std::nothrow) CMimeMessage();
    if (!pMessage) return E_OUTOFMEMORY;
    pMessage->InitNew();
    *ppMessage = pMessage;
    return S_OK;
}

HRESULT MimeOpenMessageLater(std::unique_ptr<IMimeLaterReader> pReader, IMimeMessage **ppMessage) {
    if (!ppMessage) return E_POINTER;
    auto *pMessage = new (std::nothrow) CMimeMessage();
    *ppMessage = pMessage;
    if (!pMessage) return E_OUTOFMEMORY;
    pMessage->LoadLater(std::move(pReader));
    return S_OK;
}

HRESULT MimeOleOpenMessageFile(LPCSTR pszPath, IMimeMessage **ppMessage) {
    if (!ppMessage) return E_POINTER;
    *ppMessage = nullptr;
    std::string strSource;
    HRESULT hr = MimeReadFile(pszPath, strSource);
    if (FAILED(hr)) return hr;
    auto *pMessage = new (std::nothrow) CMimeMessage();
    if (!pMessage) return E_OUTOFMEMORY;
    pMessage->LoadBytes(std::move(strSource));
    *ppMessage = pMessage;
    return S_OK;
}
