#include "oestore/oevalues.h"

#include <cstdlib>
#include <cstring>

#include "log/log.h"

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

} // namespace

SPropValue *OEPackValueArray(SPropValue *lpProps, const char *szLabel) {
    ULONG cValues = (lpProps - 1)->ulPropTag;
    size_t cbData = 0;
    for (ULONG i = 0; i < cValues; ++i) cbData += PointedBytes(lpProps[i]);
    auto *pPacked = static_cast<SPropValue *>(std::malloc(cValues * sizeof(SPropValue) + cbData));
    if (pPacked) {
        auto *pData = reinterpret_cast<BYTE *>(pPacked + cValues);
        for (ULONG i = 0; i < cValues; ++i) {
            SPropValue &value = pPacked[i];
            value = lpProps[i];
            size_t cb = PointedBytes(value);
            if (cb == 0) continue;
            if (PROP_TYPE(value.ulPropTag) == PT_STRING8) {
                std::memcpy(pData, value.Value.lpszA, cb);
                value.Value.lpszA = reinterpret_cast<char *>(pData);
            } else {
                std::memcpy(pData, value.Value.bin.lpb, cb);
                value.Value.bin.lpb = pData;
            }
            pData += cb;
        }
    }
    OEFreeValueArray(lpProps, szLabel, 0);
    return pPacked;
}

void OESetErrorValue(SPropValue *pValue, HRESULT hr) {
    pValue->ulPropTag = CHANGE_PROP_TYPE(pValue->ulPropTag, PT_ERROR);
    pValue->Value.err = hr;
}
