// Stream properties: emptiness, comparison block by block without holding either value, and reading one whole.
#include <cstring>

#include "compare/icompare.h"
#include "log/log.h"
#include "platform/text.h"

namespace {

// Both comparisons read blocks of this size; a text block gets a zero byte of its own behind it.
constexpr ULONG kBlockSize = 256;

// Opens a stream property; "no value" comes back as success with a null stream. Other failures are logged.
HRESULT OpenStream(ICompare &compare, const char *pszLabel, HITEM hItem, ULONG nTag, IStream **ppStream) {
    *ppStream = nullptr;
    HRESULT hr = compare.OpenStreamProp(hItem, nTag, ppStream, 0);
    if (hr == S_OK) return S_OK;
    SafeRelease(*ppStream);
    if (hr == MAPI_E_NOT_FOUND) return S_OK;
    g_Log.Error(pszLabel, hr, "OpenStreamProp");
    return hr;
}

// Reads the next block; a null stream has no bytes. The count never exceeds the block, whatever the stream says.
HRESULT ReadBlock(IStream *pStream, char *pBlock, ULONG *pcb) {
    *pcb = 0;
    if (!pStream) return S_OK;
    HRESULT hr = pStream->Read(pBlock, kBlockSize, pcb);
    if (*pcb > kBlockSize) *pcb = kBlockSize;
    return hr;
}

LONG CompareBytes(const char *p1, const char *p2, ULONG cb) {
    int n = std::memcmp(p1, p2, cb); // memcmp orders as unsigned bytes
    return n < 0 ? -1 : (n > 0 ? 1 : 0);
}

} // namespace

HRESULT ICompare::StreamPropEmpty(HITEM hItem, ULONG nTag, BOOL *pbEmpty, ULONG *pnSize) {
    constexpr const char *kLabel = "ICompare::StreamPropEmpty";
    *pbEmpty = 1;
    if (pnSize) *pnSize = 0;
    IStream *pStream = nullptr;
    HRESULT hr = OpenStream(*this, kLabel, hItem, nTag, &pStream);
    if (hr != S_OK || !pStream) return hr;
    if (pnSize) {
        STATSTG stat{};
        hr = pStream->Stat(&stat, STATFLAG_NONAME);
        if (hr != S_OK) {
            g_Log.Error(kLabel, hr, "lpStream->Stat");
            pStream->Release();
            return hr;
        }
        *pnSize = static_cast<ULONG>(stat.cbSize.QuadPart);
    }
    char block[kBlockSize + 1];
    ULONG cb = 0;
    hr = ReadBlock(pStream, block, &cb);
    if (hr != S_OK) {
        g_Log.Error(kLabel, hr, "lpStream->Read");
        pStream->Release();
        return hr;
    }
    if (PROP_TYPE(nTag) == PT_STRING8) {
        // Text ends at its first zero byte: a text stream that begins with one is empty, whatever its size.
        block[cb] = '\0';
        if (block[0] == '\0') {
            if (pnSize) *pnSize = 0;
        } else {
            *pbEmpty = 0;
        }
    } else if (cb > 0) {
        *pbEmpty = 0;
    }
    pStream->Release();
    return S_OK;
}

HRESULT ICompare::CompareStreamProp(HITEM hItem1, HITEM hItem2, ULONG nTag, LONG *pnResult, uint8_t *pbCmpWritten) {
    constexpr const char *kLabel = "ICompare::CompareStreamProp";
    *pbCmpWritten = false;
    IStream *pStream1 = nullptr, *pStream2 = nullptr;
    HRESULT hr = OpenStream(*this, kLabel, hItem1, nTag, &pStream1);
    if (hr == S_OK) hr = OpenStream(*this, kLabel, hItem2, nTag, &pStream2);
    const bool bText = PROP_TYPE(nTag) == PT_STRING8;
    char block1[kBlockSize + 1], block2[kBlockSize + 1];
    for (bool bFirstPass = true; hr == S_OK; bFirstPass = false) {
        ULONG c1 = 0, c2 = 0;
        hr = ReadBlock(pStream1, block1, &c1);
        if (hr != S_OK) {
            g_Log.Error(kLabel, hr, "lpStream1->Read");
            break;
        }
        hr = ReadBlock(pStream2, block2, &c2);
        if (hr != S_OK) {
            g_Log.Error(kLabel, hr, "lpStream2->Read");
            break;
        }
        if (bText) {
            block1[c1] = '\0';
            block2[c2] = '\0';
            // An empty property is never compared: the caller decides by its own rule.
            if (bFirstPass && (block1[0] == '\0' || block2[0] == '\0')) break;
            *pnResult = lstrcmpiA(block1, block2);
            *pbCmpWritten = true;
        } else {
            if (bFirstPass && (c1 == 0 || c2 == 0)) break;
            if (c1 == c2) {
                if (c1 != 0) {
                    *pnResult = CompareBytes(block1, block2, c1);
                    *pbCmpWritten = true;
                }
            } else {
                ULONG m = c1 < c2 ? c1 : c2;
                LONG n = m == 0 ? 0 : CompareBytes(block1, block2, m);
                *pnResult = n != 0 ? n : (c1 > c2 ? 1 : -1);
                *pbCmpWritten = true;
            }
        }
        if ((*pbCmpWritten && *pnResult != 0) || c1 == 0 || c2 == 0) break;
    }
    SafeRelease(pStream1);
    SafeRelease(pStream2);
    if (hr != S_OK) {
        // A stream that could not be read never makes two items equal.
        *pnResult = -1;
        *pbCmpWritten = true;
        return hr;
    }
    return S_OK;
}

HRESULT ICompare::CountStreamProps(HITEM hItem, const SPropTagArray *lpTags, ULONG *pnFilled, ULONG *pSizes) {
    *pnFilled = 0;
    for (ULONG i = 0; lpTags && i < lpTags->cValues; ++i) {
        BOOL bEmpty = 1;
        // A failure has been logged; the flag tells what is known.
        StreamPropEmpty(hItem, lpTags->aulPropTag[i], &bEmpty, pSizes ? &pSizes[i] : nullptr);
        if (!bEmpty) ++*pnFilled;
    }
    return S_OK;
}

HRESULT ICompare::GetStreamPropValue(HITEM hItem, ULONG nTag, void **ppBuffer, ULONG *pcb, BOOL bTerminate) {
    constexpr const char *kLabel = "ICompare::GetStreamPropValue";
    *ppBuffer = nullptr;
    *pcb = 0;
    IStream *pStream = nullptr;
    HRESULT hr = OpenStream(*this, kLabel, hItem, nTag, &pStream);
    if (hr != S_OK || !pStream) return hr;

    STATSTG stat{};
    hr = pStream->Stat(&stat, STATFLAG_NONAME);
    if (hr != S_OK) {
        g_Log.Error(kLabel, hr, "pStream->Stat returned 0x%x\n", hr);
        pStream->Release();
        return hr;
    }
    ULONG cbSize = static_cast<ULONG>(stat.cbSize.QuadPart);
    if (cbSize == 0) {
        pStream->Release();
        return S_OK;
    }
    const ULONG cbTerminator = bTerminate ? 2 : 0;
    char *pBuffer = nullptr;
    if (cbSize > UINT32_MAX - cbTerminator) {
        hr = MAPI_E_NOT_ENOUGH_MEMORY;
    } else {
        void *pAllocated = nullptr;
        hr = AllocateBuffer(cbSize + cbTerminator, &pAllocated);
        pBuffer = static_cast<char *>(pAllocated);
        if (hr == S_OK && !pBuffer) hr = MAPI_E_NOT_ENOUGH_MEMORY;
    }
    if (hr != S_OK) {
        g_Log.Error(kLabel, hr, "AllocateBuffer");
        pBuffer = nullptr;
    }
    ULONG cbRead = 0;
    if (hr == S_OK) {
        hr = pStream->Read(pBuffer, cbSize, &cbRead);
        if (hr != S_OK) g_Log.Error(kLabel, hr, "lpStream->Read");
    }
    pStream->Release();
    if (hr != S_OK) {
        if (pBuffer) FreeBuffer(pBuffer);
        return hr;
    }
    if (cbRead > cbSize) cbRead = cbSize;
    // The terminator follows what was read, so a short read still leaves text that ends.
    if (bTerminate) std::memset(pBuffer + cbRead, 0, cbSize + cbTerminator - cbRead);
    *ppBuffer = pBuffer;
    *pcb = cbRead;
    return S_OK;
}
