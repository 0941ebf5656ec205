#include "providers/mime/bytestream.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

class CMimeByteStream final : public CStreamBase {
public:
    explicit CMimeByteStream(std::string strData) : m_strData(std::move(strData)) {}
    CMimeByteStream(std::shared_ptr<const std::string> pShared, std::string_view svShared)
        : m_pShared(std::move(pShared)), m_svShared(svShared) {}

    HRESULT Read(void *pv, ULONG cb, ULONG *pcbRead) override {
        if (pcbRead) *pcbRead = 0;
        if (!pv && cb) return E_POINTER;
        std::string_view svData = Data();
        size_t cbLeft = m_nPos < svData.size() ? svData.size() - m_nPos : 0;
        size_t n = std::min<size_t>(cb, cbLeft);
        if (n) std::memcpy(pv, svData.data() + m_nPos, n);
        m_nPos += n;
        if (pcbRead) *pcbRead = static_cast<ULONG>(n);
        return S_OK;
    }

    HRESULT Write(const void *pv, ULONG cb, ULONG *pcbWritten) override {
        if (pcbWritten) *pcbWritten = 0;
        if (!pv && cb) return E_POINTER;
        try {
            Own();
            if (m_strData.size() < m_nPos + cb) m_strData.resize(m_nPos + cb);
        } catch (const std::bad_alloc &) {
            return E_OUTOFMEMORY;
        }
        if (cb) std::memcpy(m_strData.data() + m_nPos, pv, cb);
        m_nPos += cb;
        if (pcbWritten) *pcbWritten = cb;
        return S_OK;
    }

    HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER *plibNewPosition) override {
        int64_t nBase = 0;
        switch (dwOrigin) {
        case STREAM_SEEK_SET: nBase = 0; break;
        case STREAM_SEEK_CUR: nBase = static_cast<int64_t>(m_nPos); break;
        case STREAM_SEEK_END: nBase = static_cast<int64_t>(Data().size()); break;
        default: return E_INVALIDARG;
        }
        int64_t nPos = nBase + dlibMove.QuadPart;
        if (nPos < 0) return E_INVALIDARG;
        m_nPos = static_cast<size_t>(nPos);
        if (plibNewPosition) plibNewPosition->QuadPart = m_nPos;
        return S_OK;
    }

    HRESULT SetSize(ULARGE_INTEGER libNewSize) override {
        try {
            Own();
            m_strData.resize(static_cast<size_t>(libNewSize.QuadPart));
        } catch (const std::exception &) {
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }

    HRESULT Commit(DWORD) override { return S_OK; }

    HRESULT Stat(STATSTG *pstatstg, DWORD) override {
        if (!pstatstg) return E_POINTER;
        std::memset(pstatstg, 0, sizeof(*pstatstg));
        pstatstg->type = 2; // STGTY_STREAM
        pstatstg->cbSize.QuadPart = Data().size();
        return S_OK;
    }

private:
    std::string_view Data() const { return m_pShared ? m_svShared : std::string_view(m_strData); }

    // From shared bytes to bytes of the stream's own, before they change.
    void Own() {
        if (!m_pShared) return;
        m_strData.assign(m_svShared);
        m_pShared.reset();
    }

    std::string m_strData;                        // the bytes, unless they are shared
    std::shared_ptr<const std::string> m_pShared; // kept alive while the stream reads m_svShared in them
    std::string_view m_svShared;
    size_t m_nPos = 0;
};

} // namespace

const std::string &CMimeSharedBytes::Str() const {
    static const std::string s_strNone;
    return m_pBytes ? *m_pBytes : s_strNone;
}

HRESULT MimeCreateByteStream(std::string strData, IStream **ppStream) {
    if (!ppStream) return E_POINTER;
    *ppStream = new (std::nothrow) CMimeByteStream(std::move(strData));
    return *ppStream ? S_OK : E_OUTOFMEMORY;
}

HRESULT MimeCreateByteStream(const CMimeSharedBytes &bytes, std::string_view svPart, IStream **ppStream) {
    if (!ppStream) return E_POINTER;
    *ppStream = bytes.m_pBytes ? new (std::nothrow) CMimeByteStream(bytes.m_pBytes, svPart)
                               : new (std::nothrow) CMimeByteStream(std::string(svPart));
    return *ppStream ? S_OK : E_OUTOFMEMORY;
}
