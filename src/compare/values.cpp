// Emptiness and order of plain property values: what decides whether an item has a value and whether two items
// agree in it. Both stores share these rules.
#include <cstring>

#include "compare/icompare.h"
#include "log/log.h"
#include "platform/text.h"
#include "platform/time.h"

namespace {

constexpr const char *kIsEmptyLabel = "ICompare::IsEmptyValue";
constexpr const char *kCompareLabel = "ICompare::CompareValues";
// The message store's code for a date it could not convert: such a value is simply not compared, silently.
constexpr SCODE kMimeDateNotConverted = static_cast<SCODE>(0x800CCE2D);

template <class T>
LONG SignOf(T d) {
    return d == 0 ? 0 : (d > 0 ? 1 : -1);
}

// The sign of a 64-bit difference that wraps as the machine's subtraction does.
LONG SignOfWrappedDifference(int64_t a, int64_t b) {
    return SignOf(static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b)));
}

// Bytes as unsigned numbers up to the first difference.
LONG CompareBytes(const void *p1, const void *p2, size_t cb) {
    if (cb == 0 || p1 == p2) return 0;
    if (!p1 || !p2) return p1 ? 1 : -1;
    return SignOf(std::memcmp(p1, p2, cb));
}

// "Count first": different counts decide on their own, as count 1 minus count 2.
LONG CountDifference(ULONG c1, ULONG c2) { return static_cast<LONG>(c1 - c2); }

// Arrays of fixed-size elements: count first, then one block of bytes.
LONG CompareFixedArrays(ULONG c1, const void *p1, ULONG c2, const void *p2, size_t cbElement) {
    LONG n = CountDifference(c1, c2);
    if (n != 0) return n;
    return CompareBytes(p1, p2, static_cast<size_t>(c1) * cbElement);
}

LONG CompareFileTime(const FILETIME &ft1, const FILETIME &ft2) {
    uint64_t n1 = FileTimeToU64(ft1), n2 = FileTimeToU64(ft2);
    return n1 < n2 ? -1 : (n1 > n2 ? 1 : 0);
}

LONG CompareBinary(const SBinary &b1, const SBinary &b2) {
    LONG n = CountDifference(b1.cb, b2.cb);
    return n != 0 ? n : CompareBytes(b1.lpb, b2.lpb, b1.cb);
}

// Element by element at the same index; the first difference decides.
template <class Array, class Compare>
LONG CompareElements(const Array &a1, const Array &a2, Compare cmp) {
    LONG n = CountDifference(a1.cValues, a2.cValues);
    for (ULONG i = 0; n == 0 && i < a1.cValues; ++i) n = cmp(i);
    return n;
}

// An element of a multi-valued array; a missing array reads as null elements.
template <class T>
T At(T *p, ULONG i) {
    return p ? p[i] : T{};
}

template <class Char>
ULONG TextLength(const Char *psz) {
    ULONG n = 0;
    if (psz)
        while (psz[n]) ++n;
    return n;
}

} // namespace

BOOL ICompare::IsEmptyValue(const _PV *pValue, ULONG nTag, ULONG *pnSize) {
    ULONG nSize = 0;
    if (pValue) {
        const _PV &v = *pValue;
        switch (PROP_TYPE(nTag)) {
        case PT_ERROR:
            if (v.err != MAPI_E_NOT_FOUND) {
                g_Log.Warning(kIsEmptyLabel, v.err, "Type=PT_ERROR, Value(0x%x)!=MAPI_E_NOT_FOUND", v.err);
                nSize = 1;
            }
            break;
        case PT_I2: nSize = 2; break;
        case PT_LONG:
        case PT_R4: nSize = 4; break;
        case PT_DOUBLE:
        case PT_CURRENCY:
        case PT_APPTIME:
        case PT_I8:
        case PT_SYSTIME: nSize = 8; break;
        case PT_CLSID: nSize = 16; break;
        case PT_STRING8: nSize = TextLength(v.lpszA); break;
        case PT_UNICODE: nSize = TextLength(v.lpszW) * 2; break;
        case PT_BINARY: nSize = v.bin.cb; break;
        case PT_MV_I2: nSize = v.MVi.cValues * 2; break;
        case PT_MV_LONG:
        case PT_MV_R4: nSize = v.MVl.cValues * 4; break;
        case PT_MV_DOUBLE:
        case PT_MV_CURRENCY:
        case PT_MV_APPTIME:
        case PT_MV_I8:
        case PT_MV_SYSTIME: nSize = v.MVli.cValues * 8; break;
        case PT_MV_CLSID: nSize = v.MVguid.cValues * 16; break;
        case PT_MV_STRING8:
            if (v.MVszA.lppszA)
                for (ULONG i = 0; i < v.MVszA.cValues; ++i) nSize += TextLength(v.MVszA.lppszA[i]);
            break;
        case PT_MV_UNICODE:
            // Counted in characters, plus one for each string: a list of empty strings is a value.
            nSize = v.MVszW.cValues;
            if (v.MVszW.lppszW)
                for (ULONG i = 0; i < v.MVszW.cValues; ++i) nSize += TextLength(v.MVszW.lppszW[i]);
            break;
        case PT_MV_BINARY:
            if (v.MVbin.cValues > 0 && v.MVbin.lpbin) nSize = v.MVbin.cValues * v.MVbin.lpbin[0].cb;
            break;
        default: nSize = 1; break;
        }
    }
    if (pnSize) *pnSize = nSize;
    // Only the types whose size can be 0 can be empty; every fixed-size value has a size of at least 1.
    return nSize == 0;
}

BOOL ICompare::CompareValues(const SPropValue *pProp1, const SPropValue *pProp2, LONG *pnResult) {
    if (!pProp1 || !pProp2) {
        g_Log.Error(kCompareLabel, 0, "PropValue1 == NULL || PropValue2 == NULL");
        return false;
    }
    if (PROP_ID(pProp1->ulPropTag) != PROP_ID(pProp2->ulPropTag)) {
        g_Log.Error(kCompareLabel, 0, "PropValue1->Tag != PropValue2->Tag");
        return false;
    }
    ULONG nType1 = PROP_TYPE(pProp1->ulPropTag), nType2 = PROP_TYPE(pProp2->ulPropTag);
    if (nType1 == PT_ERROR || nType2 == PT_ERROR) {
        SCODE err = nType1 == PT_ERROR ? pProp1->Value.err : pProp2->Value.err;
        if (err != kMimeDateNotConverted) g_Log.Error(kCompareLabel, err, "PropType == PT_ERROR(0x%x)", err);
        return false;
    }
    if (nType1 != nType2) {
        g_Log.Warning(kCompareLabel, 0, "Prop1Type(0x%x) != Prop2Type(0x%x), Tag=0x%x\n", nType1, nType2,
                      pProp1->ulPropTag);
        *pnResult = nType1 > nType2 ? 1 : -1;
        return true;
    }

    const _PV &v1 = pProp1->Value, &v2 = pProp2->Value;
    LONG n = 0;
    switch (nType1) {
    case PT_I2: n = static_cast<LONG>(v1.i) - static_cast<LONG>(v2.i); break;
    case PT_LONG: n = static_cast<LONG>(v1.ul - v2.ul); break;
    // Floats are ordered like doubles, so that two different numbers never make two items duplicates.
    case PT_R4: n = SignOf(static_cast<double>(v1.flt) - static_cast<double>(v2.flt)); break;
    case PT_DOUBLE: n = SignOf(v1.dbl - v2.dbl); break;
    case PT_APPTIME: n = SignOf(v1.at - v2.at); break;
    case PT_CURRENCY: n = SignOfWrappedDifference(v1.cur, v2.cur); break;
    case PT_I8: n = SignOfWrappedDifference(v1.li, v2.li); break;
    case PT_BOOLEAN: n = static_cast<LONG>(v1.b != 0) - static_cast<LONG>(v2.b != 0); break;
    case PT_NULL:
        g_Log.Error(kCompareLabel, 0, "type is PT_NULL!");
        n = static_cast<LONG>(static_cast<ULONG>(v1.x) - static_cast<ULONG>(v2.x));
        break;
    case PT_STRING8: n = lstrcmpiA(v1.lpszA, v2.lpszA); break;
    case PT_UNICODE: n = lstrcmpiW(v1.lpszW, v2.lpszW); break;
    case PT_SYSTIME: n = CompareFileTime(v1.ft, v2.ft); break;
    case PT_CLSID: n = CompareBytes(v1.lpguid, v2.lpguid, sizeof(GUID)); break;
    case PT_BINARY: n = CompareBinary(v1.bin, v2.bin); break;
    case PT_MV_I2: n = CompareFixedArrays(v1.MVi.cValues, v1.MVi.lpi, v2.MVi.cValues, v2.MVi.lpi, 2); break;
    case PT_MV_LONG:
    case PT_MV_R4: n = CompareFixedArrays(v1.MVl.cValues, v1.MVl.lpl, v2.MVl.cValues, v2.MVl.lpl, 4); break;
    case PT_MV_DOUBLE:
    case PT_MV_CURRENCY:
    case PT_MV_APPTIME:
    case PT_MV_I8:
    case PT_MV_SYSTIME:
        n = CompareFixedArrays(v1.MVli.cValues, v1.MVli.lpli, v2.MVli.cValues, v2.MVli.lpli, 8);
        break;
    case PT_MV_CLSID:
        n = CompareFixedArrays(v1.MVguid.cValues, v1.MVguid.lpguid, v2.MVguid.cValues, v2.MVguid.lpguid, 16);
        break;
    case PT_MV_STRING8:
        n = CompareElements(v1.MVszA, v2.MVszA,
                            [&](ULONG i) { return lstrcmpiA(At(v1.MVszA.lppszA, i), At(v2.MVszA.lppszA, i)); });
        break;
    case PT_MV_UNICODE:
        n = CompareElements(v1.MVszW, v2.MVszW,
                            [&](ULONG i) { return lstrcmpiW(At(v1.MVszW.lppszW, i), At(v2.MVszW.lppszW, i)); });
        break;
    case PT_MV_BINARY:
        n = CompareElements(v1.MVbin, v2.MVbin,
                            [&](ULONG i) { return CompareBinary(At(v1.MVbin.lpbin, i), At(v2.MVbin.lpbin, i)); });
        break;
    default:
        g_Log.Error(kCompareLabel, 0, "Invalid type in tag(0x%x)\n", pProp1->ulPropTag);
        n = -1;
        break;
    }
    *pnResult = n;
    return true;
}
