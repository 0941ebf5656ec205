#include "oestore/oevalues.h"

#include <cstdlib>

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

void OESetErrorValue(SPropValue *pValue, HRESULT hr) {
    pValue->ulPropTag = CHANGE_PROP_TYPE(pValue->ulPropTag, PT_ERROR);
    pValue->Value.err = hr;
}
