// IMimeMessage over a GMimeMessage.
//
// A loaded message keeps its source bytes. Header reads parse the header block alone; the whole tree is parsed
// when a body, an attachment, a flag or an edit needs it. A message read later may read its header block first and
// the whole file only when a call needs more than the top headers. A message that was not edited saves as the bytes it was
// loaded from; one whose top headers alone changed as those bytes with the changed header lines replaced; one
// whose bodies changed is written by GMime.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/mimeole.h"
#include "providers/mime/bytestream.h"
#include "providers/mime/gmimeutil.h"
#include "providers/mime/headerindex.h"
#include "providers/mime/headers.h"
#include "providers/mime/messagelater.h"

class CMimeMessage final : public CRefCounted<IMimeMessage> {
public:
    CMimeMessage();
    CMimeMessage(const CMimeMessage &) = delete;
    CMimeMessage &operator=(const CMimeMessage &) = delete;

    // Replaces the content with these bytes, unparsed.
    void LoadBytes(std::string strSource);
    // Replaces the content with the bytes pReader gives at the first call that needs them. A failed read fails
    // that call with its code and is tried again at the next. A call that needs only the top headers reads the
    // first bytes alone (ReadHead). The whole read that may follow replaces them: if the file changed in between,
    // every later call sees the file as it is then, its headers too, never its old headers with its new body.
    void LoadLater(std::unique_ptr<IMimeLaterReader> pReader);

    // IUnknown
    HRESULT QueryInterface(REFIID riid, void **ppv) override;

    // IPersistStreamInit
    HRESULT GetClassID(CLSID *pClassID) override;
    HRESULT IsDirty() override;
    HRESULT Load(IStream *pStm) override;
    HRESULT Save(IStream *pStm, BOOL fClearDirty) override;
    HRESULT GetSizeMax(ULARGE_INTEGER *pcbSize) override;
    HRESULT InitNew() override;

    // IMimeMessage
    HRESULT GetMessageSource(IStream **ppStream, DWORD dwFlags) override;
    HRESULT GetFlags(DWORD *pdwFlags) override;
    HRESULT Commit(DWORD dwFlags) override;
    HRESULT BindToObject(const HBODY hBody, REFIID riid, void **ppvObject) override;
    HRESULT DeleteBody(HBODY hBody, DWORD dwFlags) override;
    HRESULT IsBodyType(HBODY hBody, IMSGBODYTYPE bodytype) override;
    HRESULT GetBodyProp(HBODY hBody, LPCSTR pszName, DWORD dwFlags, LPPROPVARIANT pValue) override;
    HRESULT SetBodyProp(HBODY hBody, LPCSTR pszName, DWORD dwFlags, LPCPROPVARIANT pValue) override;
    HRESULT GetProp(LPCSTR pszName, DWORD dwFlags, LPPROPVARIANT pValue) override;
    HRESULT SetProp(LPCSTR pszName, DWORD dwFlags, LPCPROPVARIANT pValue) override;
    HRESULT DeleteProp(LPCSTR pszName) override;
    HRESULT GetTextBody(DWORD dwTxtType, ENCODINGTYPE ietEncoding, IStream **ppStream, LPHBODY phBody) override;
    HRESULT SetTextBody(DWORD dwTxtType, ENCODINGTYPE ietEncoding, HBODY hAlternative, IStream *pStream,
                        LPHBODY phBody) override;
    HRESULT AttachObject(REFIID riid, void *pvObject, LPHBODY phBody) override;
    HRESULT AttachFile(LPCSTR pszFilePath, IStream *pstmFile, LPHBODY phBody) override;
    HRESULT GetAttachments(ULONG *pcAttach, LPHBODY *pprghAttach) override;
    HRESULT GetAddressFormat(DWORD dwAdrType, ADDRESSFORMAT format, LPSTR *ppszFormat) override;

    // For the objects bound to a body: its headers, and with bNeedTree its part in the parsed tree.
    HRESULT ResolveBody(HBODY hBody, bool bNeedTree, MimeHeaderScope *pScope, GMimeObject **ppPart);
    HRESULT DeleteBodyProp(HBODY hBody, LPCSTR pszName);

private:
    ~CMimeMessage() override;

    void Reset();
    // Reads the bytes that LoadLater promised, if that is still to do.
    HRESULT Ready();
    // Reads at least the top header block that LoadLater promised, if that is still to do.
    HRESULT ReadyHead();
    // What a call on that body needs: the header block for the top headers, else everything.
    HRESULT ReadyFor(HBODY hBody, bool bNeedTree) { return hBody == HBODY_ROOT && !bNeedTree ? ReadyHead() : Ready(); }
    // The message whose headers are current: the parsed tree if there is one, else the header block alone.
    GMimeMessage *HeaderMessage();
    // The whole tree, parsed on first use.
    GMimeMessage *Tree();
    // The top part of the tree, or null for a message without a body.
    GMimeObject *TopPart();
    HBODY HandleOf(GMimeObject *pPart);
    // The plain body straight from the source (of a simple message, or the first part of a multipart/mixed),
    // where that is what GMime would give; false where only a parse can tell.
    bool PlainBodyAsIs(std::string_view *psvBody);
    // What Save writes.
    HRESULT Serialize(std::string &strOut);
    // Notes an edit: of the named header of the top body, or (scope without message) of the tree.
    void MarkEdited(const MimeHeaderScope &scope, LPCSTR pszName);

    // Body edits (bodyedit.cpp).
    void ReplacePart(GMimeObject *pOld, GMimeObject *pNew);
    void SetTopPart(GMimeObject *pPart);
    void AddToMixed(GMimeObject *pPart, bool bFirst);
    HRESULT AddAttachment(std::string strData, const char *pszContentType, const char *pszFileName,
                          LPHBODY phBody);

    std::unique_ptr<IMimeLaterReader> m_pLater; // where the bytes come from, until they are read
    // The bytes last loaded or saved; the first of them alone while m_bHeadOnly. Streams of the plain body share
    // them: they are replaced, never changed.
    CMimeSharedBytes m_source;
    bool m_bHeadOnly = false;            // m_source holds the header block, m_pLater the whole
    CMimeHeaderIndex m_index;            // the top header block of m_source while nothing was edited
    GMimeMessage *m_pHeaders = nullptr;  // the header block alone, until the tree is parsed
    GMimeMessage *m_pMessage = nullptr;  // the parsed tree
    GMimeObject *m_pEmptyTop = nullptr;  // stands in for a deleted top body (GMime needs one)
    std::vector<GMimeObject *> m_rgBodies; // handle n names m_rgBodies[n - 1]; one reference each
    std::vector<std::string> m_rgEditedHeaders; // headers of the top body changed since the last load or save
    bool m_bDirty = false;
    bool m_bTreeEdited = false; // bodies or their headers changed: GMime writes the whole message
    bool m_bHeaderless = false; // the source had no header block: all of it is the body
    bool m_bCrLf = false;
    // Where the plain body starts in m_source if PlainBodyAsIs holds, npos if it does not, unset until asked;
    // and its length.
    static constexpr size_t kNotAsked = static_cast<size_t>(-2);
    size_t m_nPlainBodyAt = kNotAsked;
    size_t m_cbPlainBody = 0;
};
