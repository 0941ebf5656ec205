// An IStream over a growable block of memory: what the platform gives for a stream on a global memory handle.
#include <limits>
#include <new>
#include <vector>

#include "platform/com.h"

namespace {

constexpr HRESULT STG_E_INVALIDFUNCTION = static_cast<HRESULT>(0x80030001);
constexpr DWORD STGTY_STREAM = 2;
// A stream's size and position stay within what a 32-bit size word and a signed seek can name together.
constexpr uint64_t kMaxSize = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());

class CMemoryStream : public CStreamBase {
public:
    HRESULT Read(void *pv, ULONG cb, ULONG *pcbRead) override {
        if (pcbRead) *pcbRead = 0;
        if (!pv && cb > 0) return E_POINTER;
        uint64_t nLeft = m_nPos < m_data.size() ? m_data.size() - m_nPos : 0;
        ULONG n = nLeft < cb ? static_cast<ULONG>(nLeft) : cb;
        if (n > 0) std::memcpy(pv, m_data.data() + m_nPos, n);
        m_nPos += n;
        if (pcbRead) *pcbRead = n;
        return S_OK;
    }

    HRESULT Write(const void *pv, ULONG cb, ULONG *pcbWritten) override {
        if (pcbWritten) *pcbWritten = 0;
        if (!pv && cb > 0) return E_POINTER;
        if (cb == 0) return S_OK;
        if (m_nPos > kMaxSize - cb) return STG_E_MEDIUMFULL;
        uint64_t nEnd = m_nPos + cb;
        if (nEnd > m_data.size()) {
            HRESULT hr = Resize(nEnd);
            if (FAILED(hr)) return hr;
        }
        std::memcpy(m_data.data() + m_nPos, pv, cb);
        m_nPos = nEnd;
        if (pcbWritten) *pcbWritten = cb;
        return S_OK;
    }

    HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER *plibNewPosition) override {
        int64_t nBase;
        switch (dwOrigin) {
        case STREAM_SEEK_SET: nBase = 0; break;
        case STREAM_SEEK_CUR: nBase = static_cast<int64_t>(m_nPos); break;
        case STREAM_SEEK_END: nBase = static_cast<int64_t>(m_data.size()); break;
        default: return STG_E_INVALIDFUNCTION;
        }
        int64_t nMove = dlibMove.QuadPart;
        if ((nMove < 0 && nBase + nMove < 0) || (nMove > 0 && nBase > std::numeric_limits<int64_t>::max() - nMove))
            return STG_E_INVALIDFUNCTION;
        m_nPos = static_cast<uint64_t>(nBase + nMove);
        if (plibNewPosition) plibNewPosition->QuadPart = m_nPos;
        return S_OK;
    }

    HRESULT SetSize(ULARGE_INTEGER libNewSize) override {
        if (libNewSize.QuadPart > kMaxSize) return STG_E_MEDIUMFULL;
        return Resize(libNewSize.QuadPart);
    }

    HRESULT Commit(DWORD) override { return S_OK; }

    HRESULT Stat(STATSTG *pstatstg, DWORD) override {
        if (!pstatstg) return E_POINTER;
        std::memset(pstatstg, 0, sizeof *pstatstg);
        pstatstg->type = STGTY_STREAM;
        pstatstg->cbSize.QuadPart = m_data.size();
        return S_OK;
    }

private:
    HRESULT Resize(uint64_t cb) {
        if (cb > m_data.max_size()) return E_OUTOFMEMORY;
        try {
            m_data.resize(static_cast<size_t>(cb));
        } catch (const std::bad_alloc &) {
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }

    std::vector<uint8_t> m_data;
    uint64_t m_nPos = 0;
};

} // namespace

HRESULT CreateStreamOnHGlobal(void *hGlobal, BOOL, IStream **ppStream) {
    if (!ppStream) return E_INVALIDARG;
    *ppStream = nullptr;
    // There are no global memory handles here: the stream always owns fresh memory of its own.
    if (hGlobal) return E_INVALIDARG;
    auto *pStream = new (std::nothrow) CMemoryStream;
    if (!pStream) return E_OUTOFMEMORY;
    *ppStream = pStream;
    return S_OK;
}

HRESULT CreateStreamOnBytes(const void *pData, size_t cb, IStream **ppStream) {
    if (!ppStream) return E_INVALIDARG;
    *ppStream = nullptr;
    if (!pData && cb > 0) return E_INVALIDARG;
    if (cb > std::numeric_limits<ULONG>::max()) return STG_E_MEDIUMFULL;
    IStream *pStream = nullptr;
    HRESULT hr = CreateStreamOnHGlobal(nullptr, true, &pStream);
    if (FAILED(hr)) return hr;
    if (cb > 0) {
        hr = pStream->Write(pData, static_cast<ULONG>(cb), nullptr);
        LARGE_INTEGER zero{0};
        if (SUCCEEDED(hr)) hr = pStream->Seek(zero, STREAM_SEEK_SET, nullptr);
    }
    if (FAILED(hr)) {
        pStream->Release();
        return hr;
    }
    *ppStream = pStream;
    return S_OK;
}
