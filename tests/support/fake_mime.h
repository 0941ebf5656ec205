// Fakes of the MIME objects (platform/mimeole.h) that fail on demand. FaultyMessage wraps a real message of the
// MIME provider and forwards every call to it, unless the test set a failure code for that call; the property
// set and the streams it hands out are wrapped the same way. So a test starts from a real parsed message and
// breaks exactly the call it is about.
#pragma once

#include <map>
#include <string>

#include "platform/mimeole.h"

namespace testsupport {

// A real message parsed from its source text (null if the provider refuses it). The caller releases it.
IMimeMessage *ParseMessage(const std::string &strSource);

// A stream that forwards to another and fails Stat or Read on demand.
class FaultyStream : public CStreamBase {
public:
    explicit FaultyStream(IStream *pInner) : m_pInner(pInner) {}
    HRESULT Read(void *pv, ULONG cb, ULONG *pcbRead) override;
    HRESULT Write(const void *pv, ULONG cb, ULONG *pcbWritten) override;
    HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER *plibNewPosition) override;
    HRESULT SetSize(ULARGE_INTEGER libNewSize) override;
    HRESULT Commit(DWORD grfCommitFlags) override;
    HRESULT Stat(STATSTG *pstatstg, DWORD grfStatFlag) override;

    HRESULT hrStat = S_OK; // Stat answers this when set
    HRESULT hrRead = S_OK; // Read answers this when set
    ULONG cbShortRead = 0; // when set, Read delivers at most this many bytes

private:
    ~FaultyStream() override { m_pInner->Release(); }
    IStream *m_pInner; // owned
};

// What FaultyMessage breaks. Every code left at S_OK means: forward to the real message.
struct MessageFaults {
    HRESULT hrBindPropertySet = S_OK; // BindToObject(HBODY_ROOT, IID_IMimePropertySet)
    HRESULT hrBindHeaderTable = S_OK; // BindToObject(HBODY_ROOT, IID_IMimeHeaderTable)
    HRESULT hrBindBody = S_OK;        // BindToObject(any, IID_IMimeBody)
    HRESULT hrBindStream = S_OK;      // BindToObject(any, IID_IStream)
    HRESULT hrPlainBody = S_OK;       // GetTextBody(TXT_PLAIN)
    HRESULT hrHtmlBody = S_OK;        // GetTextBody(TXT_HTML)
    HRESULT hrStreamStat = S_OK;      // Stat of every stream handed out
    HRESULT hrStreamRead = S_OK;      // Read of every stream handed out
    HRESULT hrGetFlags = S_OK;
    HRESULT hrGetSizeMax = S_OK;
    HRESULT hrGetAttachments = S_OK;
    HRESULT hrAddressFormat = S_OK;      // GetAddressFormat, for every type
    std::map<std::string, HRESULT> props;     // GetProp of the root property set, by header name
    std::map<std::string, HRESULT> dateProps; // the same, only for reads as VT_FILETIME
};

class FaultyMessage : public CRefCounted<IMimeMessage> {
public:
    // Takes over the caller's reference to pInner.
    explicit FaultyMessage(IMimeMessage *pInner) : m_pInner(pInner) {}

    MessageFaults faults;
    int cGetTextBody = 0; // GetTextBody calls, of either kind
    int cHtmlBody = 0;    // GetTextBody(TXT_HTML) calls

    HRESULT QueryInterface(REFIID riid, void **ppv) override;
    HRESULT GetClassID(CLSID *pClassID) override;
    HRESULT IsDirty() override;
    HRESULT Load(IStream *pStm) override;
    HRESULT Save(IStream *pStm, BOOL fClearDirty) override;
    HRESULT GetSizeMax(ULARGE_INTEGER *pcbSize) override;
    HRESULT InitNew() override;
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

private:
    ~FaultyMessage() override { m_pInner->Release(); }
    // The stream wrapped when a stream fault is set.
    IStream *Wrap(IStream *pStream);
    IMimeMessage *m_pInner; // owned
};

} // namespace testsupport
