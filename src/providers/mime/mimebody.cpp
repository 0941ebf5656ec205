#include "providers/mime/mimebody.h"

#include <new>

#include "providers/mime/bodytree.h"

namespace {

class CMimeBodyObject final : public CRefCounted<IMimeBody> {
public:
    CMimeBodyObject(CMimeMessage *pMessage, HBODY hBody) : m_pMessage(pMessage), m_hBody(hBody) {
        m_pMessage->AddRef();
    }

    HRESULT QueryInterface(REFIID riid, void **ppv) override {
        if (!ppv) return E_POINTER;
        if (riid == IID_IUnknown || riid == IID_IMimePropertySet || riid == IID_IMimeBody) {
            AddRef();
            *ppv = static_cast<IMimeBody *>(this);
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }

    HRESULT GetProp(LPCSTR pszName, DWORD dwFlags, LPPROPVARIANT pValue) override {
        return m_pMessage->GetBodyProp(m_hBody, pszName, dwFlags, pValue);
    }
    HRESULT SetProp(LPCSTR pszName, DWORD dwFlags, LPCPROPVARIANT pValue) override {
        return m_pMessage->SetBodyProp(m_hBody, pszName, dwFlags, pValue);
    }
    HRESULT DeleteProp(LPCSTR pszName) override { return m_pMessage->DeleteBodyProp(m_hBody, pszName); }

    HRESULT GetDisplayName(LPSTR *ppszDisplay) override {
        if (!ppszDisplay) return E_INVALIDARG;
        *ppszDisplay = nullptr;
        MimeHeaderScope scope{};
        GMimeObject *pPart = nullptr;
        HRESULT hr = m_pMessage->ResolveBody(m_hBody, true, &scope, &pPart);
        if (FAILED(hr)) return hr;
        if (!pPart) return MIME_E_NOT_FOUND;
        *ppszDisplay = MimeDupText(MimeDisplayName(pPart));
        return *ppszDisplay ? S_OK : E_OUTOFMEMORY;
    }

    HRESULT IsType(IMSGBODYTYPE bodytype) override { return m_pMessage->IsBodyType(m_hBody, bodytype); }

    HRESULT GetHandle(LPHBODY phBody) override {
        if (!phBody) return E_INVALIDARG;
        *phBody = m_hBody;
        return S_OK;
    }

    HRESULT GetData(ENCODINGTYPE, IStream **ppStream) override {
        return m_pMessage->BindToObject(m_hBody, IID_IStream, reinterpret_cast<void **>(ppStream));
    }

    HRESULT GetEstimatedSize(ENCODINGTYPE, ULONG *pcbSize) override {
        if (!pcbSize) return E_INVALIDARG;
        *pcbSize = 0;
        MimeHeaderScope scope{};
        GMimeObject *pPart = nullptr;
        HRESULT hr = m_pMessage->ResolveBody(m_hBody, true, &scope, &pPart);
        if (FAILED(hr)) return hr;
        if (pPart) *pcbSize = static_cast<ULONG>(MimeDecodedContent(pPart).size());
        return S_OK;
    }

private:
    ~CMimeBodyObject() override { m_pMessage->Release(); }

    CMimeMessage *m_pMessage;
    HBODY m_hBody;
};

} // namespace

HRESULT MimeCreateBodyObject(CMimeMessage *pMessage, HBODY hBody, IMimeBody **ppBody) {
    if (!ppBody) return E_POINTER;
    *ppBody = new (std::nothrow) CMimeBodyObject(pMessage, hBody);
    return *ppBody ? S_OK : E_OUTOFMEMORY;
}
