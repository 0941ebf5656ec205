#include "oestore/oebodyprefix.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

// Serves the known first block itself and hands everything else to the body's real stream, which it opens at the first
// read, seek or write that needs more than the block and its size.
class COEPrefixStream final : public CStreamBase {
public:
    COEPrefixStream(COEBodyPrefixes::CBlock *pPrefix, uint64_t cbSize, IMimeMessage *pMessage, DWORD dwTxtType)
        : m_pPrefix(pPrefix), m_cbSize(cbSize), m_pMessage(pMessage), m_dwTxtType(dwTxtType) {
        m_pPrefix->AddRef();
        m_pMessage->AddRef();
    }

    HRESULT Read(void *pv, ULONG cb, ULONG *pcbRead) override {
        if (m_pReal) return m_pReal->Read(pv, cb, pcbRead);
        if (pcbRead) *pcbRead = 0;
        if (!pv && cb) return E_POINTER;
        size_t nFromPrefix = m_nPos < m_pPrefix->Size() ? std::min<size_t>(cb, m_pPrefix->Size() - m_nPos) : 0;
        if (nFromPrefix) std::memcpy(pv, m_pPrefix->Data() + m_nPos, nFromPrefix);
        m_nPos += nFromPrefix;
        ULONG cbRest = cb - static_cast<ULONG>(nFromPrefix);
        ULONG cbRestRead = 0;
        if (cbRest && m_nPos < m_cbSize) {
            HRESULT hr = Real();
            if (FAILED(hr)) return hr;
            hr = m_pReal->Read(static_cast<char *>(pv) + nFromPrefix, cbRest, &cbRestRead);
            if (FAILED(hr)) return hr;
        }
        if (pcbRead) *pcbRead = static_cast<ULONG>(nFromPrefix) + cbRestRead;
        return S_OK;
    }

    HRESULT Write(const void *pv, ULONG cb, ULONG *pcbWritten) override {
        HRESULT hr = Real();
        return FAILED(hr) ? hr : m_pReal->Write(pv, cb, pcbWritten);
    }

    HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER *plibNewPosition) override {
        if (m_pReal) return m_pReal->Seek(dlibMove, dwOrigin, plibNewPosition);
        int64_t nBase = 0;
        switch (dwOrigin) {
        case STREAM_SEEK_SET: nBase = 0; break;
        case STREAM_SEEK_CUR: nBase = static_cast<int64_t>(m_nPos); break;
        case STREAM_SEEK_END: nBase = static_cast<int64_t>(m_cbSize); break;
        default: return E_INVALIDARG;
        }
        int64_t nPos = nBase + dlibMove.QuadPart;
        if (nPos < 0) return E_INVALIDARG;
        m_nPos = static_cast<uint64_t>(nPos);
        if (plibNewPosition) plibNewPosition->QuadPart = m_nPos;
        return S_OK;
    }

    HRESULT SetSize(ULARGE_INTEGER libNewSize) override {
        HRESULT hr = Real();
        return FAILED(hr) ? hr : m_pReal->SetSize(libNewSize);
    }

    HRESULT Commit(DWORD grfCommitFlags) override { return m_pReal ? m_pReal->Commit(grfCommitFlags) : S_OK; }

    HRESULT Stat(STATSTG *pstatstg, DWORD grfStatFlag) override {
        if (m_pReal) return m_pReal->Stat(pstatstg, grfStatFlag);
        if (!pstatstg) return E_POINTER;
        std::memset(pstatstg, 0, sizeof(*pstatstg));
        pstatstg->type = 2; // STGTY_STREAM, as the body's own stream says
        pstatstg->cbSize.QuadPart = m_cbSize;
        return S_OK;
    }

private:
    ~COEPrefixStream() override {
        SafeRelease(m_pReal);
        m_pMessage->Release();
        m_pPrefix->Release();
    }

    // The body's own stream, at the position reached here.
    HRESULT Real() {
        if (m_pReal) return S_OK;
        IStream *pReal = nullptr;
        HRESULT hr = m_pMessage->GetTextBody(m_dwTxtType, IET_BINARY, &pReal, nullptr);
        if (FAILED(hr)) {
            SafeRelease(pReal);
            return hr;
        }
        if (!pReal) return E_FAIL;
        LARGE_INTEGER pos{};
        pos.QuadPart = static_cast<int64_t>(m_nPos);
        hr = pReal->Seek(pos, STREAM_SEEK_SET, nullptr);
        if (FAILED(hr)) {
            pReal->Release();
            return hr;
        }
        m_pReal = pReal;
        return S_OK;
    }

    COEBodyPrefixes::CBlock *m_pPrefix; // one reference
    uint64_t m_cbSize;
    IMimeMessage *m_pMessage; // one reference
    DWORD m_dwTxtType;
    uint64_t m_nPos = 0;
    IStream *m_pReal = nullptr; // one reference, once opened
};

} // namespace

COEBodyPrefixes::CBlock *COEBodyPrefixes::CBlock::Make(const char *pb, uint32_t cb) {
    void *pv = std::malloc(sizeof(CBlock) + cb);
    if (!pv) return nullptr;
    auto *pBlock = new (pv) CBlock(cb);
    if (cb) std::memcpy(pBlock + 1, pb, cb);
    return pBlock;
}

bool COEBodyPrefixes::Open(STOREFOLDERID dwFolderId, MESSAGEID dwMessageId, ULONG nTag, IMimeMessage *pMessage,
                           IStream **ppStream) const {
    const Entry *pEntry = m_Entries.Find(COEBodyKey(dwFolderId, dwMessageId, nTag));
    if (!pEntry) return false;
    *ppStream = new (std::nothrow) COEPrefixStream(pEntry->pPrefix.get(), pEntry->cbSize, pMessage, pEntry->dwTxtType);
    return *ppStream != nullptr;
}

void COEBodyPrefixes::Learn(STOREFOLDERID dwFolderId, MESSAGEID dwMessageId, ULONG nTag, DWORD dwTxtType,
                            IStream *pStream) {
    if (m_Entries.Count() >= kMaxEntries) return;
    STATSTG stat{};
    if (pStream->Stat(&stat, STATFLAG_NONAME) != S_OK) return;
    char rgb[kPrefix];
    ULONG cbRead = 0;
    HRESULT hr = pStream->Read(rgb, kPrefix, &cbRead);
    LARGE_INTEGER start{};
    if (pStream->Seek(start, STREAM_SEEK_SET, nullptr) != S_OK || hr != S_OK) return;
    // A short first read must be the whole body, else the block is not what a comparison would read.
    if (cbRead < kPrefix && cbRead != stat.cbSize.QuadPart) return;
    Entry entry{BlockPtr(CBlock::Make(rgb, cbRead)), stat.cbSize.QuadPart, dwTxtType};
    if (entry.pPrefix) m_Entries.Insert(COEBodyKey(dwFolderId, dwMessageId, nTag), std::move(entry));
}
