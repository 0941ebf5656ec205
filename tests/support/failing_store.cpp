#include "support/failing_store.h"

namespace testsupport {

namespace {

class CFailingFolder final : public CRefCounted<IStoreFolder> {
public:
    CFailingFolder(IStoreFolder *pReal, std::shared_ptr<StoreFailures> pFailures)
        : m_pReal(pReal), m_pFailures(std::move(pFailures)) {}
    ~CFailingFolder() override { m_pReal->Release(); }

    IStoreFolder *Real() const { return m_pReal; }

    HRESULT QueryInterface(REFIID riid, void **ppv) override {
        if (riid == IID_IUnknown || riid == IID_IStoreFolder) {
            *ppv = static_cast<IStoreFolder *>(this);
            AddRef();
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    HRESULT GetFolderProps(DWORD dw, FOLDERPROPS *p) override { return m_pReal->GetFolderProps(dw, p); }
    HRESULT DeleteMessages(MESSAGEIDLIST *pList, DWORD dw, IProgressNotify *pProgress) override {
        if (Fails(StoreOp::DeleteMessages)) return m_pFailures->hr;
        return m_pReal->DeleteMessages(pList, dw, pProgress);
    }
    HRESULT SetFlags(MESSAGEIDLIST *pList, DWORD dwState, DWORD dwMask, DWORD *prgdw) override {
        if (Fails(StoreOp::SetFlags)) return m_pFailures->hr;
        return m_pReal->SetFlags(pList, dwState, dwMask, prgdw);
    }
    HRESULT OpenMessage(MESSAGEID id, REFIID riid, void **ppv) override {
        if (Fails(StoreOp::OpenMessage)) return m_pFailures->hr;
        return m_pReal->OpenMessage(id, riid, ppv);
    }
    HRESULT SaveMessage(REFIID riid, void *pv, DWORD dwFlags, MESSAGEID *pid) override {
        if (Fails(StoreOp::SaveMessage)) return m_pFailures->hr;
        return m_pReal->SaveMessage(riid, pv, dwFlags, pid);
    }
    HRESULT CreateStream(HBATCHLOCK h, DWORD dw, IStream **pp, MESSAGEID *pid) override {
        if (Fails(StoreOp::CreateStream)) return m_pFailures->hr;
        return m_pReal->CreateStream(h, dw, pp, pid);
    }
    HRESULT CommitStream(HBATCHLOCK h, DWORD dwFlags, DWORD dwMsgFlags, IStream *p, MESSAGEID id,
                         IMimeMessage *pMessage) override {
        if (Fails(StoreOp::CommitStream)) return m_pFailures->hr;
        return m_pReal->CommitStream(h, dwFlags, dwMsgFlags, p, id, pMessage);
    }
    HRESULT GetFirstMessage(DWORD dwFlags, DWORD dwMsgFlags, MESSAGEID idFirst, MESSAGEPROPS *p,
                            HENUMSTORE *ph) override {
        return m_pReal->GetFirstMessage(dwFlags, dwMsgFlags, idFirst, p, ph);
    }
    HRESULT GetNextMessage(HENUMSTORE h, DWORD dwFlags, MESSAGEPROPS *p) override {
        return m_pReal->GetNextMessage(h, dwFlags, p);
    }
    HRESULT GetMessageClose(HENUMSTORE h) override { return m_pReal->GetMessageClose(h); }
    HRESULT GetMessageProps(MESSAGEID id, DWORD dwFlags, MESSAGEPROPS *p) override {
        return m_pReal->GetMessageProps(id, dwFlags, p);
    }
    HRESULT FreeMessageProps(MESSAGEPROPS *p) override { return m_pReal->FreeMessageProps(p); }

private:
    bool Fails(StoreOp op) {
        if (!m_pFailures->ops.count(op)) return false;
        if (m_pFailures->nSkip > 0) {
            --m_pFailures->nSkip;
            return false;
        }
        ++m_pFailures->nCalls;
        return true;
    }

    IStoreFolder *m_pReal;
    std::shared_ptr<StoreFailures> m_pFailures;
};

class CFailingNamespace final : public CRefCounted<IStoreNamespace> {
public:
    CFailingNamespace(IStoreNamespace *pReal, std::shared_ptr<StoreFailures> pFailures)
        : m_pReal(pReal), m_pFailures(std::move(pFailures)) {
        m_pReal->AddRef();
    }
    ~CFailingNamespace() override { m_pReal->Release(); }

    HRESULT QueryInterface(REFIID riid, void **ppv) override {
        if (riid == IID_IUnknown || riid == IID_IStoreNamespace) {
            *ppv = static_cast<IStoreNamespace *>(this);
            AddRef();
            return S_OK;
        }
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    HRESULT Initialize(HWND hwnd, DWORD dw) override { return m_pReal->Initialize(hwnd, dw); }
    HRESULT GetDirectory(LPSTR psz, DWORD cch) override { return m_pReal->GetDirectory(psz, cch); }
    HRESULT OpenSpecialFolder(LONG sfType, DWORD dw, IStoreFolder **pp) override {
        return Wrap(m_pReal->OpenSpecialFolder(sfType, dw, pp), pp);
    }
    HRESULT OpenFolder(STOREFOLDERID id, DWORD dw, IStoreFolder **pp) override {
        return Wrap(m_pReal->OpenFolder(id, dw, pp), pp);
    }
    HRESULT CreateFolder(STOREFOLDERID idParent, LPCSTR psz, DWORD dw, STOREFOLDERID *pid) override {
        return m_pReal->CreateFolder(idParent, psz, dw, pid);
    }
    HRESULT GetFolderProps(STOREFOLDERID id, DWORD dw, FOLDERPROPS *p) override {
        return m_pReal->GetFolderProps(id, dw, p);
    }
    HRESULT CopyMoveMessages(IStoreFolder *pSource, IStoreFolder *pDest, MESSAGEIDLIST *pList, DWORD dwFlags,
                             DWORD dwFlagsRemove, IProgressNotify *pProgress) override {
        // The real store needs its own folders.
        return m_pReal->CopyMoveMessages(static_cast<CFailingFolder *>(pSource)->Real(),
                                         static_cast<CFailingFolder *>(pDest)->Real(), pList, dwFlags, dwFlagsRemove,
                                         pProgress);
    }
    HRESULT GetFirstSubFolder(STOREFOLDERID id, FOLDERPROPS *p, HENUMSTORE *ph) override {
        return m_pReal->GetFirstSubFolder(id, p, ph);
    }
    HRESULT GetNextSubFolder(HENUMSTORE h, FOLDERPROPS *p) override { return m_pReal->GetNextSubFolder(h, p); }
    HRESULT GetSubFolderClose(HENUMSTORE h) override { return m_pReal->GetSubFolderClose(h); }

private:
    HRESULT Wrap(HRESULT hr, IStoreFolder **pp) {
        if (SUCCEEDED(hr) && pp && *pp) *pp = new CFailingFolder(*pp, m_pFailures);
        return hr;
    }

    IStoreNamespace *m_pReal;
    std::shared_ptr<StoreFailures> m_pFailures;
};

} // namespace

IStoreNamespace *CreateFailingNamespace(IStoreNamespace *pReal, const std::shared_ptr<StoreFailures> &pFailures) {
    return new CFailingNamespace(pReal, pFailures);
}

} // namespace testsupport
