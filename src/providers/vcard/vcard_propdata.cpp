// Conversions between card values and SPropValue.
#include "providers/vcard/vcard_propdata.h"

#include <cstring>

#include "providers/vcard/mapi_alloc.h"
#include "providers/vcard/vcard_value.h"

namespace vcard {

namespace {

bool IsText(ULONG t) { return t == PT_STRING8 || t == PT_UNICODE; }
bool IsInteger(ULONG t) { return t == PT_LONG || t == PT_I2 || t == PT_BOOLEAN || t == PT_I8 || t == PT_CURRENCY; }
bool IsReal(ULONG t) { return t == PT_DOUBLE || t == PT_R4 || t == PT_APPTIME; }

} // namespace

ULONG NaturalType(ULONG ulStored, ULONG ulFlags) {
    bool bWide = (ulFlags & MAPI_UNICODE) != 0;
    if (ulStored == PT_STRING8) return bWide ? PT_UNICODE : PT_STRING8;
    if (ulStored == PT_MV_STRING8) return bWide ? PT_MV_UNICODE : PT_MV_STRING8;
    return ulStored;
}

void ErrorValue(ULONG ulTag, SCODE sc, SPropValue *pOut) {
    std::memset(pOut, 0, sizeof *pOut);
    pOut->ulPropTag = CHANGE_PROP_TYPE(ulTag, PT_ERROR);
    pOut->Value.err = sc;
}

HRESULT ToPropValue(const PropData &data, ULONG ulTag, ULONG ulFlags, void *pParent, SPropValue *pOut) {
    ULONG ulType = PROP_TYPE(ulTag);
    if (ulType == PT_UNSPECIFIED) ulType = NaturalType(data.ulType, ulFlags);
    std::memset(pOut, 0, sizeof *pOut);
    pOut->ulPropTag = CHANGE_PROP_TYPE(ulTag, ulType);
    ULONG ulStored = data.ulType;
    bool bStoredText = ulStored == PT_STRING8 || ulStored == PT_BINARY;
    if (IsText(ulType) && bStoredText) {
        if (ulType == PT_STRING8) pOut->Value.lpszA = MapiCopyString(pParent, data.sBytes);
        else pOut->Value.lpszW = MapiCopyWString(pParent, Utf8ToUtf16(data.sBytes));
        return pOut->Value.lpszA || pOut->Value.lpszW ? S_OK : MAPI_E_NOT_ENOUGH_MEMORY;
    }
    if (ulType == PT_BINARY && bStoredText) {
        pOut->Value.bin.cb = static_cast<ULONG>(data.sBytes.size());
        pOut->Value.bin.lpb = static_cast<BYTE *>(MapiCopyBytes(pParent, data.sBytes.data(), data.sBytes.size()));
        return pOut->Value.bin.lpb ? S_OK : MAPI_E_NOT_ENOUGH_MEMORY;
    }
    if (ulType == PT_CLSID && ulStored == PT_BINARY && data.sBytes.size() == sizeof(GUID)) {
        pOut->Value.lpguid = static_cast<GUID *>(MapiCopyBytes(pParent, data.sBytes.data(), sizeof(GUID)));
        return pOut->Value.lpguid ? S_OK : MAPI_E_NOT_ENOUGH_MEMORY;
    }
    if (IsInteger(ulType) && IsInteger(ulStored)) {
        switch (ulType) {
        case PT_LONG: pOut->Value.l = static_cast<LONG>(data.n); break;
        case PT_I2: pOut->Value.i = static_cast<int16_t>(data.n); break;
        case PT_BOOLEAN: pOut->Value.b = data.n != 0; break;
        case PT_I8: pOut->Value.li = data.n; break;
        default: pOut->Value.cur = data.n; break;
        }
        return S_OK;
    }
    if (IsReal(ulType) && IsReal(ulStored)) {
        if (ulType == PT_R4) pOut->Value.flt = static_cast<float>(data.d);
        else pOut->Value.dbl = data.d;
        return S_OK;
    }
    if (ulType == PT_SYSTIME && ulStored == PT_SYSTIME) {
        pOut->Value.ft = FILETIME{static_cast<uint32_t>(static_cast<uint64_t>(data.n) & 0xFFFFFFFFu),
                                  static_cast<uint32_t>(static_cast<uint64_t>(data.n) >> 32)};
        return S_OK;
    }
    bool bStoredMv = ulStored == PT_MV_STRING8 || ulStored == PT_MV_BINARY;
    if ((ulType == PT_MV_STRING8 || ulType == PT_MV_UNICODE || ulType == PT_MV_BINARY) && bStoredMv) {
        ULONG c = static_cast<ULONG>(data.mv.size());
        void *pArray = nullptr;
        size_t cbElem = ulType == PT_MV_BINARY ? sizeof(SBinary) : sizeof(void *);
        if (FAILED(MapiAllocateMore(static_cast<ULONG>(cbElem * (c ? c : 1)), pParent, &pArray)))
            return MAPI_E_NOT_ENOUGH_MEMORY;
        for (ULONG i = 0; i < c; ++i) {
            const std::string &s = data.mv[i];
            if (ulType == PT_MV_STRING8) {
                static_cast<char **>(pArray)[i] = MapiCopyString(pParent, s);
            } else if (ulType == PT_MV_UNICODE) {
                static_cast<char16_t **>(pArray)[i] = MapiCopyWString(pParent, Utf8ToUtf16(s));
            } else {
                SBinary &b = static_cast<SBinary *>(pArray)[i];
                b.cb = static_cast<ULONG>(s.size());
                b.lpb = static_cast<BYTE *>(MapiCopyBytes(pParent, s.data(), s.size()));
            }
        }
        pOut->Value.MVszA.cValues = c;
        pOut->Value.MVszA.lppszA = static_cast<char **>(pArray); // the three arrays share this layout
        if (ulType == PT_MV_BINARY) pOut->Value.MVbin.lpbin = static_cast<SBinary *>(pArray);
        return S_OK;
    }
    ErrorValue(ulTag, MAPI_E_INVALID_TYPE, pOut);
    return MAPI_E_INVALID_TYPE;
}

HRESULT FromPropValue(const SPropValue &value, PropData *pData) {
    *pData = PropData();
    ULONG t = PROP_TYPE(value.ulPropTag);
    switch (t) {
    case PT_STRING8:
        pData->ulType = PT_STRING8;
        pData->sBytes = value.Value.lpszA ? value.Value.lpszA : "";
        return S_OK;
    case PT_UNICODE: {
        pData->ulType = PT_STRING8;
        std::u16string_view w = value.Value.lpszW ? value.Value.lpszW : u"";
        pData->sBytes = Utf16ToUtf8(w);
        return S_OK;
    }
    case PT_BINARY:
        pData->ulType = PT_BINARY;
        if (value.Value.bin.lpb) pData->sBytes.assign(reinterpret_cast<const char *>(value.Value.bin.lpb),
                                                       value.Value.bin.cb);
        return S_OK;
    case PT_CLSID:
        pData->ulType = PT_BINARY;
        if (value.Value.lpguid)
            pData->sBytes.assign(reinterpret_cast<const char *>(value.Value.lpguid), sizeof(GUID));
        return S_OK;
    case PT_LONG: pData->ulType = PT_LONG; pData->n = value.Value.l; return S_OK;
    case PT_I2: pData->ulType = PT_I2; pData->n = value.Value.i; return S_OK;
    case PT_BOOLEAN: pData->ulType = PT_BOOLEAN; pData->n = value.Value.b != 0; return S_OK;
    case PT_I8: pData->ulType = PT_I8; pData->n = value.Value.li; return S_OK;
    case PT_CURRENCY: pData->ulType = PT_CURRENCY; pData->n = value.Value.cur; return S_OK;
    case PT_DOUBLE: pData->ulType = PT_DOUBLE; pData->d = value.Value.dbl; return S_OK;
    case PT_APPTIME: pData->ulType = PT_APPTIME; pData->d = value.Value.at; return S_OK;
    case PT_R4: pData->ulType = PT_R4; pData->d = value.Value.flt; return S_OK;
    case PT_SYSTIME:
        pData->ulType = PT_SYSTIME;
        pData->n = static_cast<int64_t>((static_cast<uint64_t>(value.Value.ft.dwHighDateTime) << 32) |
                                        value.Value.ft.dwLowDateTime);
        return S_OK;
    case PT_MV_STRING8:
    case PT_MV_UNICODE:
        pData->ulType = PT_MV_STRING8;
        for (ULONG i = 0; i < value.Value.MVszA.cValues; ++i) {
            if (t == PT_MV_STRING8) {
                const char *p = value.Value.MVszA.lppszA ? value.Value.MVszA.lppszA[i] : nullptr;
                pData->mv.emplace_back(p ? p : "");
            } else {
                const char16_t *p = value.Value.MVszW.lppszW ? value.Value.MVszW.lppszW[i] : nullptr;
                pData->mv.push_back(Utf16ToUtf8(p ? p : u""));
            }
        }
        return S_OK;
    case PT_MV_BINARY:
        pData->ulType = PT_MV_BINARY;
        for (ULONG i = 0; i < value.Value.MVbin.cValues; ++i) {
            const SBinary *b = value.Value.MVbin.lpbin ? &value.Value.MVbin.lpbin[i] : nullptr;
            pData->mv.emplace_back(b && b->lpb ? std::string(reinterpret_cast<const char *>(b->lpb), b->cb)
                                               : std::string());
        }
        return S_OK;
    default:
        return MAPI_E_TYPE_NO_SUPPORT;
    }
}

} // namespace vcard
