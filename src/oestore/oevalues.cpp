#include "oestore/oevalues.h"

#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "oestore/oesharedtexts.h"

SPropValue *OEAllocValueArray(ULONG cValues) {
    auto *pBlock = static_cast<SPropValue *>(std::calloc(static_cast<size_t>(cValues) + 1, sizeof(SPropValue)));
    if (!pBlock) return nullptr;
    pBlock->ulPropTag = cValues;
    return pBlock + 1;
}

void OEFreeValueArray(SPropValue *lpProps, const char *szLabel, ULONG ulNoPointerTag) {
    if (!lpProps) return;
    SPropValue *pBlock = lpProps - 1;
    ULONG cValues = pBlock->ulPropTag;
    for (ULONG i = 0; i < cValues; ++i) {
        SPropValue &value = lpProps[i];
        if (ulNoPointerTag != 0 && value.ulPropTag == ulNoPointerTag) continue;
        switch (PROP_TYPE(value.ulPropTag)) {
        case PT_STRING8:
            std::free(value.Value.lpszA);
            break;
        case PT_BINARY:
            std::free(value.Value.bin.lpb);
            break;
        case PT_LONG:
        case PT_ERROR:
        case PT_BOOLEAN:
        case PT_SYSTIME:
            break;
        default:
            g_Log.Error(szLabel, static_cast<int32_t>(PROP_TYPE(value.ulPropTag)), "Unsupported prop type");
            break;
        }
    }
    std::free(pBlock);
}

namespace {

// The bytes a value holds outside itself; null pointers hold none.
size_t PointedBytes(const SPropValue &value) {
    switch (PROP_TYPE(value.ulPropTag)) {
    case PT_STRING8:
        return value.Value.lpszA ? std::strlen(value.Value.lpszA) + 1 : 0;
    case PT_BINARY:
        return value.Value.bin.lpb ? value.Value.bin.cb : 0;
    default:
        return 0;
    }
}

// In an array of OEAllocValueArray being packed: the value's text is a shared one.
constexpr ULONG kSharedMark = 1;

bool IsText(const SPropValue &value) { return PROP_TYPE(value.ulPropTag) == PT_STRING8 && value.Value.lpszA; }

} // namespace

SPropValue *OEPackValueArray(SPropValue *lpProps, const char *szLabel, COEValueChunks &chunks,
                             bool (*fnShared)(ULONG ulTag)) {
    ULONG cValues = (lpProps - 1)->ulPropTag;
    // Shared copies first, in place of the heap texts (marked in the padding word): they need no room here.
    size_t cbData = 0;
    for (ULONG i = 0; i < cValues; ++i) {
        SPropValue &value = lpProps[i];
        if (IsText(value) && fnShared(value.ulPropTag)) {
            if (const char *pszShared = OEAcquireSharedText(value.Value.lpszA)) {
                std::free(value.Value.lpszA);
                value.Value.lpszA = const_cast<char *>(pszShared);
                value.dwAlignPad = kSharedMark;
                continue;
            }
        }
        cbData += PointedBytes(value);
    }
    auto *pPacked = static_cast<SPropValue *>(chunks.Allocate(cValues * sizeof(SPropValue) + cbData));
    BYTE *pData = pPacked ? reinterpret_cast<BYTE *>(pPacked + cValues) : nullptr;
    for (ULONG i = 0; i < cValues; ++i) {
        SPropValue &value = lpProps[i];
        if (value.dwAlignPad == kSharedMark) {
            if (pPacked) pPacked[i] = value;
            else OEReleaseSharedText(value.Value.lpszA);
            value.Value.lpszA = nullptr; // no longer the array's to free
            continue;
        }
        if (!pPacked) continue;
        pPacked[i] = value;
        size_t cb = PointedBytes(value);
        if (cb == 0) continue;
        if (PROP_TYPE(value.ulPropTag) == PT_STRING8) {
            std::memcpy(pData, value.Value.lpszA, cb);
            pPacked[i].Value.lpszA = reinterpret_cast<char *>(pData);
        } else {
            std::memcpy(pData, value.Value.bin.lpb, cb);
            pPacked[i].Value.bin.lpb = pData;
        }
        pData += cb;
    }
    if (pPacked) {
        for (ULONG i = 0; i < cValues; ++i) pPacked[i].dwAlignPad = 0;
        pPacked->dwAlignPad = cValues;
    }
    OEFreeValueArray(lpProps, szLabel, 0);
    return pPacked;
}

void OEFreePackedValues(SPropValue *lpProps, COEValueChunks *pChunks) {
    if (!lpProps) return;
    for (ULONG i = 0; i < lpProps->dwAlignPad; ++i)
        if (IsText(lpProps[i]) && !COEValueChunks::InChunkOf(lpProps, lpProps[i].Value.lpszA))
            OEReleaseSharedText(lpProps[i].Value.lpszA);
    if (pChunks) pChunks->ReleaseOwn(lpProps);
    else COEValueChunks::Release(lpProps);
}

void OESetErrorValue(SPropValue *pValue, HRESULT hr) {
    pValue->ulPropTag = CHANGE_PROP_TYPE(pValue->ulPropTag, PT_ERROR);
    pValue->Value.err = hr;
}
