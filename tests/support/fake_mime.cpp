#include "support/fake_mime.h"

#include <algorithm>

namespace testsupport {

namespace {

// The fault set for a read of this header as this type, or S_OK.
HRESULT PropFault(const MessageFaults &faults, const char *pszName, VARTYPE vt) {
    auto it = faults.props.find(pszName);
    if (it != faults.props.end()) return it->second;
    if (vt != VT_FILETIME) return S_OK;
    it = faults.dateProps.find(pszName);
    return it != faults.dateProps.end() ? it->second : S_OK;
}

// A property set that forwards to the real one, but for the header names the test broke.
class FaultyPropertySet : public CRefCounted<IMimePropertySet> {
public:
    FaultyPropertySet(IMimePropertySet *pInner, const MessageFaults &faults) : m_pInner(pInner), m_faults(faults) {}
    HRESULT QueryInterface(REFIID riid, void **ppv) override { return m_pInner->QueryInterface(riid, ppv); }
    HRESULT GetProp(LPCSTR pszName, DWORD dwFlags, LPPROPVARIANT pValue) override {
        HRESULT hr = PropFault(m_faults, pszName, pValue->vt);
        return hr != S_OK ? hr : m_pInner->GetProp(pszName, dwFlags, pValue);
    }
    HRESULT SetProp(LPCSTR pszName, DWORD dwFlags, LPCPROPVARIANT pValue) override {
        return m_pInner->SetProp(pszName, dwFlags, pValue);
    }
    HRESULT DeleteProp(LPCSTR pszName) override { return m_pInner->DeleteProp(pszName); }

private:
    ~FaultyPropertySet() override { m_pInner->Release(); }
    IMimePropertySet *m_pInner;
    MessageFaults m_faults;
};

} // namespace

IMimeMessage *ParseMessage(const std::string &strSource) {
    IMimeMessage *pMessage = nullptr;
    if (FAILED(MimeOleCreateMessage(nullptr, &pMessage))) return nullptr;
    IStream *pStream = nullptr;
    if (FAILED(CreateStreamOnBytes(strSource.data(), strSource.size(), &pStream))) {
        pMessage->Release();
        return nullptr;
    }
    HRESULT hr = pMessage->Load(pStream);
    pStream->Release();
    if (FAILED(hr)) {
        pMessage->Release();
        return nullptr;
    }
    return pMessage;
}

// ---- FaultyStream ----------------------------------------------------------------------------------------------

HRESULT FaultyStream::Read(void *pv, ULONG cb, ULONG *pcbRead) {
    if (hrRead != S_OK) {
        if (pcbRead) *pcbRead = 0;
        return hrRead;
    }
    return m_pInner->Read(pv, cbShortRead ? std::min(cb, cbShortRead) : cb, pcbRead);
}

HRESULT FaultyStream::Write(const void *pv, ULONG cb, ULONG *pcbWritten) { return m_pInner->Write(pv, cb, pcbWritten); }

HRESULT FaultyStream::Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER *plibNewPosition) {
    return m_pInner->Seek(dlibMove, dwOrigin, plibNewPosition);
}

HRESULT FaultyStream::SetSize(ULARGE_INTEGER libNewSize) { return m_pInner->SetSize(libNewSize); }

HRESULT FaultyStream::Commit(DWORD grfCommitFlags) { return m_pInner->Commit(grfCommitFlags); }

HRESULT FaultyStream::Stat(STATSTG *pstatstg, DWORD grfStatFlag) {
    if (hrStat != S_OK) return hrStat;
    return m_pInner->Stat(pstatstg, grfStatFlag);
}

// ---- FaultyMessage ---------------------------------------------------------------------------------------------

IStream *FaultyMessage::Wrap(IStream *pStream) {
    if (!pStream || (faults.hrStreamStat == S_OK && faults.hrStreamRead == S_OK)) return pStream;
    auto *pFaulty = new FaultyStream(pStream);
    pFaulty->hrStat = faults.hrStreamStat;
    pFaulty->hrRead = faults.hrStreamRead;
    return pFaulty;
}

HRESULT FaultyMessage::QueryInterface(REFIID riid, void **ppv) {
    if (!ppv) return E_POINTER;
    if (riid == IID_IUnknown || riid == IID_IMimeMessage || riid == IID_IPersistStreamInit || riid == IID_IPersist) {
        AddRef();
        *ppv = static_cast<IMimeMessage *>(this);
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

HRESULT FaultyMessage::GetClassID(CLSID *pClassID) { return m_pInner->GetClassID(pClassID); }
HRESULT FaultyMessage::IsDirty() { return m_pInner->IsDirty(); }
HRESULT FaultyMessage::Load(IStream *pStm) { return m_pInner->Load(pStm); }
HRESULT FaultyMessage::Save(IStream *pStm, BOOL fClearDirty) { return m_pInner->Save(pStm, fClearDirty); }

HRESULT FaultyMessage::GetSizeMax(ULARGE_INTEGER *pcbSize) {
    if (faults.hrGetSizeMax != S_OK) return faults.hrGetSizeMax;
    return m_pInner->GetSizeMax(pcbSize);
}

HRESULT FaultyMessage::InitNew() { return m_pInner->InitNew(); }

HRESULT FaultyMessage::GetMessageSource(IStream **ppStream, DWORD dwFlags) {
    return m_pInner->GetMessageSource(ppStream, dwFlags);
}

HRESULT FaultyMessage::GetFlags(DWORD *pdwFlags) {
    if (faults.hrGetFlags != S_OK) return faults.hrGetFlags;
    return m_pInner->GetFlags(pdwFlags);
}

HRESULT FaultyMessage::Commit(DWORD dwFlags) { return m_pInner->Commit(dwFlags); }

HRESULT FaultyMessage::BindToObject(const HBODY hBody, REFIID riid, void **ppvObject) {
    HRESULT hrFault = S_OK;
    if (riid == IID_IMimePropertySet) hrFault = faults.hrBindPropertySet;
    if (riid == IID_IMimeHeaderTable) hrFault = faults.hrBindHeaderTable;
    if (riid == IID_IMimeBody) hrFault = faults.hrBindBody;
    if (riid == IID_IStream) hrFault = faults.hrBindStream;
    if (hrFault != S_OK) {
        if (ppvObject) *ppvObject = nullptr;
        return hrFault;
    }
    HRESULT hr = m_pInner->BindToObject(hBody, riid, ppvObject);
    if (hr != S_OK) return hr;
    if (riid == IID_IMimePropertySet && (!faults.props.empty() || !faults.dateProps.empty()))
        *ppvObject = static_cast<IMimePropertySet *>(
            new FaultyPropertySet(static_cast<IMimePropertySet *>(*ppvObject), faults));
    if (riid == IID_IStream) *ppvObject = Wrap(static_cast<IStream *>(*ppvObject));
    return hr;
}

HRESULT FaultyMessage::DeleteBody(HBODY hBody, DWORD dwFlags) { return m_pInner->DeleteBody(hBody, dwFlags); }

HRESULT FaultyMessage::IsBodyType(HBODY hBody, IMSGBODYTYPE bodytype) { return m_pInner->IsBodyType(hBody, bodytype); }

HRESULT FaultyMessage::GetBodyProp(HBODY hBody, LPCSTR pszName, DWORD dwFlags, LPPROPVARIANT pValue) {
    return m_pInner->GetBodyProp(hBody, pszName, dwFlags, pValue);
}

HRESULT FaultyMessage::SetBodyProp(HBODY hBody, LPCSTR pszName, DWORD dwFlags, LPCPROPVARIANT pValue) {
    return m_pInner->SetBodyProp(hBody, pszName, dwFlags, pValue);
}

HRESULT FaultyMessage::GetProp(LPCSTR pszName, DWORD dwFlags, LPPROPVARIANT pValue) {
    HRESULT hr = PropFault(faults, pszName, pValue->vt);
    return hr != S_OK ? hr : m_pInner->GetProp(pszName, dwFlags, pValue);
}

HRESULT FaultyMessage::SetProp(LPCSTR pszName, DWORD dwFlags, LPCPROPVARIANT pValue) {
    return m_pInner->SetProp(pszName, dwFlags, pValue);
}

HRESULT FaultyMessage::DeleteProp(LPCSTR pszName) { return m_pInner->DeleteProp(pszName); }

HRESULT FaultyMessage::GetTextBody(DWORD dwTxtType, ENCODINGTYPE ietEncoding, IStream **ppStream, LPHBODY phBody) {
    ++cGetTextBody;
    if (dwTxtType == TXT_HTML) ++cHtmlBody;
    HRESULT hrFault = dwTxtType == TXT_HTML ? faults.hrHtmlBody : faults.hrPlainBody;
    if (hrFault != S_OK) {
        if (ppStream) *ppStream = nullptr;
        return hrFault;
    }
    HRESULT hr = m_pInner->GetTextBody(dwTxtType, ietEncoding, ppStream, phBody);
    if (hr == S_OK && ppStream) *ppStream = Wrap(*ppStream);
    return hr;
}

HRESULT FaultyMessage::SetTextBody(DWORD dwTxtType, ENCODINGTYPE ietEncoding, HBODY hAlternative, IStream *pStream,
                                   LPHBODY phBody) {
    return m_pInner->SetTextBody(dwTxtType, ietEncoding, hAlternative, pStream, phBody);
}

HRESULT FaultyMessage::AttachObject(REFIID riid, void *pvObject, LPHBODY phBody) {
    return m_pInner->AttachObject(riid, pvObject, phBody);
}

HRESULT FaultyMessage::AttachFile(LPCSTR pszFilePath, IStream *pstmFile, LPHBODY phBody) {
    return m_pInner->AttachFile(pszFilePath, pstmFile, phBody);
}

HRESULT FaultyMessage::GetAttachments(ULONG *pcAttach, LPHBODY *pprghAttach) {
    if (faults.hrGetAttachments != S_OK) return faults.hrGetAttachments;
    return m_pInner->GetAttachments(pcAttach, pprghAttach);
}

HRESULT FaultyMessage::GetAddressFormat(DWORD dwAdrType, ADDRESSFORMAT format, LPSTR *ppszFormat) {
    if (faults.hrAddressFormat != S_OK) {
        if (ppszFormat) *ppszFormat = nullptr;
        return faults.hrAddressFormat;
    }
    return m_pInner->GetAddressFormat(dwAdrType, format, ppszFormat);
}

} // namespace testsupport
