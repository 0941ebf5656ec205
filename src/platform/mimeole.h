// The MIME objects as the message store classes call them: a parsed message (IMimeMessage), the property set and
// header table of a body, a body of the tree (IMimeBody) and the allocator that frees what they hand out. Names,
// numbers and GUIDs are the published ones; the implementation lives in src/providers/mime over GMime.
//
// Contract, shared by every object here:
// - Texts handed out (LPSTR out-parameters, PROPVARIANT VT_LPSTR values, handle arrays) are UTF-8 and go back
//   through IMimeAllocator::Free or IMimeAllocator::PropVariantClear.
// - A body handle (HBODY) is a small number valid for the message that gave it, until that body is deleted;
//   HBODY_ROOT always names the top body. A handle that names nothing gives MIME_E_INVALID_HANDLE.
// - A header or body that is not there gives MIME_E_NOT_FOUND; a date that can't be read gives
//   MIME_E_INVALID_INET_DATE. No call throws.
// - The objects are not thread-safe: one thread at a time per message.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/com.h"

// ---- Handles and records ---------------------------------------------------------------------------------------

using HBODY = uint32_t;
using LPHBODY = HBODY *;
inline constexpr HBODY HBODY_ROOT = 0xFFFFFFFFu;

using HHEADERROW = uint32_t;
using LPHHEADERROW = HHEADERROW *;

// What IMimeHeaderTable::FindFirst looks for: rows of one header name (case-insensitive), or every row when
// pszHeader is null. dwReserved is the table's cursor between FindFirst and FindNext; start it at 0.
struct FINDHEADER {
    LPCSTR pszHeader;
    DWORD dwReserved;
};
using LPFINDHEADER = FINDHEADER *;

// ---- PROPVARIANT -----------------------------------------------------------------------------------------------

using VARTYPE = uint16_t;
inline constexpr VARTYPE VT_EMPTY = 0;
inline constexpr VARTYPE VT_I4 = 3;
inline constexpr VARTYPE VT_UI4 = 19;
inline constexpr VARTYPE VT_LPSTR = 30;
inline constexpr VARTYPE VT_FILETIME = 64;

// A typed value. The caller presets vt to the type it wants from a GetProp; the value comes back in that type.
struct PROPVARIANT {
    VARTYPE vt;
    uint16_t wReserved1;
    uint16_t wReserved2;
    uint16_t wReserved3;
    union {
        LONG lVal;
        ULONG ulVal;
        FILETIME filetime;
        LPSTR pszVal;
    };
};
using LPPROPVARIANT = PROPVARIANT *;
using LPCPROPVARIANT = const PROPVARIANT *;

// ---- Constants -------------------------------------------------------------------------------------------------

// Result codes of the MIME objects.
inline constexpr HRESULT MIME_E_NOT_FOUND = static_cast<HRESULT>(0x800CCE05);
inline constexpr HRESULT MIME_E_INVALID_HANDLE = static_cast<HRESULT>(0x800CCE09);
inline constexpr HRESULT MIME_E_NOT_MULTIPART = static_cast<HRESULT>(0x800CCE11);
inline constexpr HRESULT MIME_E_INVALID_HEADER_NAME = static_cast<HRESULT>(0x800CCE21);
inline constexpr HRESULT MIME_E_INVALID_ADDRESS_TYPE = static_cast<HRESULT>(0x800CCE27);
inline constexpr HRESULT MIME_E_INVALID_OBJECT_IID = static_cast<HRESULT>(0x800CCE28);
inline constexpr HRESULT MIME_E_INVALID_INET_DATE = static_cast<HRESULT>(0x800CCE2D);
inline constexpr HRESULT MIME_E_INVALID_BODYTYPE = static_cast<HRESULT>(0x800CCE2E);
inline constexpr HRESULT MIME_E_VARTYPE_NO_CONVERT = static_cast<HRESULT>(0x800CCE32);
inline constexpr HRESULT MIME_E_INVALID_VARTYPE = static_cast<HRESULT>(0x800CCE33);
inline constexpr HRESULT MIME_E_INVALID_TEXT_TYPE = static_cast<HRESULT>(0x800CCE38);
// The platform's "procedure not found": what MimeEditViewSource gives when no viewer is configured.
inline constexpr HRESULT MIME_E_NO_VIEWER = static_cast<HRESULT>(0x8007007F);

// IMimeMessage::GetFlags bits.
inline constexpr DWORD IMF_ATTACHMENTS = 0x00000001;
inline constexpr DWORD IMF_MULTIPART = 0x00000002;
inline constexpr DWORD IMF_SUBMULTIPART = 0x00000004;
inline constexpr DWORD IMF_MIME = 0x00000008;
inline constexpr DWORD IMF_HTML = 0x00000010;
inline constexpr DWORD IMF_PLAIN = 0x00000020;

// Text body kinds.
inline constexpr DWORD TXT_PLAIN = 1;
inline constexpr DWORD TXT_HTML = 2;

// Body encodings. IET_BINARY (IET_DECODED) is the decoded content; it is the only one the store classes use.
using ENCODINGTYPE = DWORD;
inline constexpr ENCODINGTYPE IET_BINARY = 0;
inline constexpr ENCODINGTYPE IET_DECODED = 0;
inline constexpr ENCODINGTYPE IET_BASE64 = 1;
inline constexpr ENCODINGTYPE IET_QP = 3;
inline constexpr ENCODINGTYPE IET_7BIT = 4;
inline constexpr ENCODINGTYPE IET_8BIT = 5;

// IMimeMessage::IsBodyType / IMimeBody::IsType kinds: S_OK when the body is of the kind, S_FALSE when not.
using IMSGBODYTYPE = DWORD;
inline constexpr IMSGBODYTYPE IBT_SECURE = 0;
inline constexpr IMSGBODYTYPE IBT_ATTACHMENT = 1;
inline constexpr IMSGBODYTYPE IBT_EMPTY = 2;
inline constexpr IMSGBODYTYPE IBT_CSETTAGGED = 3;
inline constexpr IMSGBODYTYPE IBT_AUTOATTACH = 4;

// Address types (a mask: several may be asked for at once).
inline constexpr DWORD IAT_FROM = 0x00000001;
inline constexpr DWORD IAT_SENDER = 0x00000002;
inline constexpr DWORD IAT_TO = 0x00000004;
inline constexpr DWORD IAT_CC = 0x00000008;
inline constexpr DWORD IAT_BCC = 0x00000010;
inline constexpr DWORD IAT_REPLYTO = 0x00000020;
inline constexpr DWORD IAT_RECIPS = IAT_TO | IAT_CC | IAT_BCC;
inline constexpr DWORD IAT_ALL = 0xFFFFFFFFu;

// Address formats: display names (the address where there is none), or the bare addresses; joined by "; ".
using ADDRESSFORMAT = DWORD;
inline constexpr ADDRESSFORMAT AFT_DISPLAY_FRIENDLY = 0;
inline constexpr ADDRESSFORMAT AFT_DISPLAY_EMAIL = 1;
inline constexpr ADDRESSFORMAT AFT_DISPLAY_BOTH = 2;

// Property flags of GetProp/SetProp/GetBodyProp/SetBodyProp. 0 is the decoded, unfolded text; PDF_ENCODED the
// value as it stands in the header (unfolded, not decoded); PDF_NAMEINDATA puts "Name: " in front.
// PDF_HEADERFORMAT (5) is how a header is copied from body to body.
inline constexpr DWORD PDF_ENCODED = 0x00000001;
inline constexpr DWORD PDF_NAMEINDATA = 0x00000002;
inline constexpr DWORD PDF_HEADERFORMAT = 0x00000004 | PDF_ENCODED;

// IMimeHeaderTable::GetRowData flag: the row as "Name: value" with its line end (else the value alone).
inline constexpr DWORD HTF_NAMEINDATA = 0x00000001;

// ---- GUIDs -----------------------------------------------------------------------------------------------------

// {FD853CDD-7F86-11d0-8252-00C04FD85AB4}
inline constexpr CLSID CLSID_IMimeAllocator{0xFD853CDD, 0x7F86, 0x11D0, {0x82, 0x52, 0x00, 0xC0, 0x4F, 0xD8, 0x5A, 0xB4}};
// {C5588351-7F86-11d0-8252-00C04FD85AB4}
inline constexpr IID IID_IMimeAllocator{0xC5588351, 0x7F86, 0x11D0, {0x82, 0x52, 0x00, 0xC0, 0x4F, 0xD8, 0x5A, 0xB4}};
// {FD853CD3-7F86-11d0-8252-00C04FD85AB4}
inline constexpr IID IID_IMimePropertySet{0xFD853CD3, 0x7F86, 0x11D0, {0x82, 0x52, 0x00, 0xC0, 0x4F, 0xD8, 0x5A, 0xB4}};
// {C558834C-7F86-11d0-8252-00C04FD85AB4}
inline constexpr IID IID_IMimeBody{0xC558834C, 0x7F86, 0x11D0, {0x82, 0x52, 0x00, 0xC0, 0x4F, 0xD8, 0x5A, 0xB4}};
// {FD853CD1-7F86-11d0-8252-00C04FD85AB4}
inline constexpr IID IID_IMimeHeaderTable{0xFD853CD1, 0x7F86, 0x11D0, {0x82, 0x52, 0x00, 0xC0, 0x4F, 0xD8, 0x5A, 0xB4}};
// {FD853CD5-7F86-11d0-8252-00C04FD85AB4}
inline constexpr IID IID_IMimeMessage{0xFD853CD5, 0x7F86, 0x11D0, {0x82, 0x52, 0x00, 0xC0, 0x4F, 0xD8, 0x5A, 0xB4}};
// {FD853CE3-7F86-11d0-8252-00C04FD85AB4}
inline constexpr CLSID CLSID_IMimeMessage{0xFD853CE3, 0x7F86, 0x11D0, {0x82, 0x52, 0x00, 0xC0, 0x4F, 0xD8, 0x5A, 0xB4}};
// {0000010C-0000-0000-C000-000000000046}
inline constexpr IID IID_IPersist{0x0000010C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
// {7FD52380-4E07-101B-AE2D-08002B2EC713}
inline constexpr IID IID_IPersistStreamInit{0x7FD52380, 0x4E07, 0x101B, {0xAE, 0x2D, 0x08, 0x00, 0x2B, 0x2E, 0xC7, 0x13}};

// ---- Interfaces ------------------------------------------------------------------------------------------------

struct IPersist : IUnknown {
    virtual HRESULT GetClassID(CLSID *pClassID) = 0;

protected:
    ~IPersist() = default;
};

// Loading from and saving to a stream.
struct IPersistStreamInit : IPersist {
    // S_OK when changed since the last Load/Save with fClearDirty, else S_FALSE.
    virtual HRESULT IsDirty() = 0;
    // Replaces the content with the bytes of pStm, read from its current position to its end.
    virtual HRESULT Load(IStream *pStm) = 0;
    // Writes the whole message at pStm's current position. An unedited message is written byte for byte as loaded;
    // one whose top headers alone were edited keeps every other byte.
    virtual HRESULT Save(IStream *pStm, BOOL fClearDirty) = 0;
    // The number of bytes Save would write.
    virtual HRESULT GetSizeMax(ULARGE_INTEGER *pcbSize) = 0;
    // Makes the object an empty message.
    virtual HRESULT InitNew() = 0;

protected:
    ~IPersistStreamInit() = default;
};

// Headers of one body by name. GetProp fills a PROPVARIANT of the type preset in vt: VT_LPSTR (the text,
// unfolded and decoded to UTF-8), VT_I4 (the leading number of the text), VT_FILETIME (the text as a date, UTC;
// for "Received" the date behind its last ";"). SetProp replaces every header of that name.
struct IMimePropertySet : IUnknown {
    virtual HRESULT GetProp(LPCSTR pszName, DWORD dwFlags, LPPROPVARIANT pValue) = 0;
    virtual HRESULT SetProp(LPCSTR pszName, DWORD dwFlags, LPCPROPVARIANT pValue) = 0;
    virtual HRESULT DeleteProp(LPCSTR pszName) = 0;

protected:
    ~IMimePropertySet() = default;
};

// One body of the tree; its property set is its own headers.
struct IMimeBody : IMimePropertySet {
    // The body's file name, or a name made from its content type where it has none.
    virtual HRESULT GetDisplayName(LPSTR *ppszDisplay) = 0;
    virtual HRESULT IsType(IMSGBODYTYPE bodytype) = 0;
    virtual HRESULT GetHandle(LPHBODY phBody) = 0;
    // The content as a new stream at position 0; IET_BINARY is the transfer-decoded bytes.
    virtual HRESULT GetData(ENCODINGTYPE ietEncoding, IStream **ppStream) = 0;
    virtual HRESULT GetEstimatedSize(ENCODINGTYPE ietEncoding, ULONG *pcbSize) = 0;

protected:
    ~IMimeBody() = default;
};

// The header rows of one body, in the order they stand.
struct IMimeHeaderTable : IUnknown {
    // The first row that matches; MIME_E_NOT_FOUND when there is none.
    virtual HRESULT FindFirst(LPFINDHEADER pFindHeader, LPHHEADERROW phRow) = 0;
    // The next row that matches; MIME_E_NOT_FOUND after the last.
    virtual HRESULT FindNext(LPFINDHEADER pFindHeader, LPHHEADERROW phRow) = 0;
    // With HTF_NAMEINDATA the row as "Name: value" and its line end, as it stands (folded, not decoded); without,
    // the value alone. *pcchData (may be null) is the length without terminator.
    virtual HRESULT GetRowData(HHEADERROW hRow, DWORD dwFlags, LPSTR *ppszData, ULONG *pcchData) = 0;

protected:
    ~IMimeHeaderTable() = default;
};

// A message: a tree of bodies under HBODY_ROOT. Parsed lazily: header reads cost only the header block.
struct IMimeMessage : IPersistStreamInit {
    // The message's bytes as Save would write them, in a new stream at position 0.
    virtual HRESULT GetMessageSource(IStream **ppStream, DWORD dwFlags) = 0;
    // IMF_* bits of the message.
    virtual HRESULT GetFlags(DWORD *pdwFlags) = 0;
    // Settles pending edits; nothing to do here, as edits apply at once.
    virtual HRESULT Commit(DWORD dwFlags) = 0;
    // A body as IID_IMimePropertySet, IID_IMimeHeaderTable, IID_IMimeBody or IID_IStream (its decoded content).
    virtual HRESULT BindToObject(const HBODY hBody, REFIID riid, void **ppvObject) = 0;
    // Removes a body and everything below it; a multipart left with one child is replaced by that child.
    virtual HRESULT DeleteBody(HBODY hBody, DWORD dwFlags) = 0;
    virtual HRESULT IsBodyType(HBODY hBody, IMSGBODYTYPE bodytype) = 0;
    virtual HRESULT GetBodyProp(HBODY hBody, LPCSTR pszName, DWORD dwFlags, LPPROPVARIANT pValue) = 0;
    virtual HRESULT SetBodyProp(HBODY hBody, LPCSTR pszName, DWORD dwFlags, LPCPROPVARIANT pValue) = 0;

    // The root body's headers, as IMimePropertySet has them.
    virtual HRESULT GetProp(LPCSTR pszName, DWORD dwFlags, LPPROPVARIANT pValue) = 0;
    virtual HRESULT SetProp(LPCSTR pszName, DWORD dwFlags, LPCPROPVARIANT pValue) = 0;
    virtual HRESULT DeleteProp(LPCSTR pszName) = 0;

    // The plain (TXT_PLAIN) or HTML (TXT_HTML) body: a new stream at position 0 over its content, transfer-decoded
    // and converted to UTF-8, and its handle. ppStream and phBody may be null. MIME_E_NOT_FOUND without one.
    virtual HRESULT GetTextBody(DWORD dwTxtType, ENCODINGTYPE ietEncoding, IStream **ppStream, LPHBODY phBody) = 0;
    // Sets the body of that kind to the stream's bytes from its start (UTF-8). With hAlternative (a body of the
    // other kind) the two stand in one multipart/alternative; without it an existing body of that kind is
    // replaced in place, or the new one is added beside the others.
    virtual HRESULT SetTextBody(DWORD dwTxtType, ENCODINGTYPE ietEncoding, HBODY hAlternative, IStream *pStream,
                                LPHBODY phBody) = 0;
    // Adds an attachment holding the stream's bytes (riid must be IID_IStream).
    virtual HRESULT AttachObject(REFIID riid, void *pvObject, LPHBODY phBody) = 0;
    // Adds the file as an attachment named after its base name; with pstmFile the bytes come from that stream.
    virtual HRESULT AttachFile(LPCSTR pszFilePath, IStream *pstmFile, LPHBODY phBody) = 0;
    // The attachments, depth-first in tree order, as an array freed by IMimeAllocator::Free (null when none).
    virtual HRESULT GetAttachments(ULONG *pcAttach, LPHBODY *pprghAttach) = 0;
    // The addresses of the given types (IAT_* mask) in the given format; MIME_E_NOT_FOUND when there is none.
    virtual HRESULT GetAddressFormat(DWORD dwAdrType, ADDRESSFORMAT format, LPSTR *ppszFormat) = 0;

protected:
    ~IMimeMessage() = default;
};

// Frees what the MIME objects hand out.
struct IMimeAllocator : IUnknown {
    virtual void *Alloc(size_t cb) = 0;
    virtual void Free(void *pv) = 0;
    // Frees a VT_LPSTR text and makes the variant VT_EMPTY; other types only become VT_EMPTY.
    virtual HRESULT PropVariantClear(LPPROPVARIANT pProp) = 0;

protected:
    ~IMimeAllocator() = default;
};

// ---- Entry points ----------------------------------------------------------------------------------------------

// An empty message. pUnkOuter must be null (no aggregation). Load parses one from a stream.
HRESULT MimeOleCreateMessage(IUnknown *pUnkOuter, IMimeMessage **ppMessage);
// A message parsed from a file; STG_E_FILENOTFOUND and the like when it can't be read.
HRESULT MimeOleOpenMessageFile(LPCSTR pszPath, IMimeMessage **ppMessage);
HRESULT MimeOleCreateAllocator(IMimeAllocator **ppAllocator);

// An Internet date (RFC 5322 and the common variants of real mail) as UTC; MIME_E_INVALID_INET_DATE when it
// can't be read.
HRESULT MimeOleInetDateToFileTime(LPCSTR pszDate, FILETIME *pft);
// Shows the message's source: runs the command in TESSEL_VIEWER with a temporary file that holds it and waits
// for it. Without TESSEL_VIEWER the entry point counts as missing: MIME_E_NO_VIEWER.
HRESULT MimeEditViewSource(HWND hwndParent, IMimeMessage *pMessage);

// The entry points found by name, as a store class looks them up at run time: "MimeOleInetDateToFileTime" or
// "MimeEditViewSource" (null while TESSEL_VIEWER is unset); null for any other name.
using PFNMIMEOLEINETDATETOFILETIME = HRESULT (*)(LPCSTR, FILETIME *);
using PFNMIMEEDITVIEWSOURCE = HRESULT (*)(HWND, IMimeMessage *);
void *MimeOleGetProcAddress(LPCSTR pszName);
