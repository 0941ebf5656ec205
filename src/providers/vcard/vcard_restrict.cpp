// Evaluation of MAPI restrictions.
#include "providers/vcard/vcard_restrict.h"

#include <cstring>
#include <regex>

namespace vcard {

namespace {

bool IsBytes(ULONG t) { return t == PT_STRING8 || t == PT_BINARY; }
bool IsWhole(ULONG t) { return t == PT_LONG || t == PT_I2 || t == PT_BOOLEAN || t == PT_I8 || t == PT_CURRENCY; }
bool IsReal(ULONG t) { return t == PT_DOUBLE || t == PT_R4 || t == PT_APPTIME; }

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string LowerAscii(const std::string &s) {
    std::string r(s);
    for (char &c : r) c = Lower(c);
    return r;
}

template <class T>
int Three(T a, T b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

bool Relop(ULONG relop, int nCmp) {
    switch (relop) {
    case RELOP_LT: return nCmp < 0;
    case RELOP_LE: return nCmp <= 0;
    case RELOP_GT: return nCmp > 0;
    case RELOP_GE: return nCmp >= 0;
    case RELOP_EQ: return nCmp == 0;
    case RELOP_NE: return nCmp != 0;
    default: return false;
    }
}

bool MatchRegex(const std::string &sText, const std::string &sPattern) {
    // A pattern that doesn't compile matches nothing.
    try {
        return std::regex_search(sText, std::regex(sPattern));
    } catch (const std::exception &) {
        return false;
    }
}

bool Read(const RowReader &reader, size_t nRow, ULONG ulTag, PropData *pData) {
    return SUCCEEDED(reader(nRow, ulTag, pData));
}

size_t SizeOf(const PropData &d) {
    if (IsBytes(d.ulType)) return d.sBytes.size() + (d.ulType == PT_STRING8 ? 1 : 0);
    if (d.ulType == PT_I2 || d.ulType == PT_BOOLEAN) return 2;
    if (d.ulType == PT_LONG || d.ulType == PT_R4) return 4;
    return 8;
}

} // namespace

int ComparePropData(const PropData &a, const PropData &b, bool *pbComparable) {
    *pbComparable = true;
    if (IsBytes(a.ulType) && IsBytes(b.ulType)) {
        if (a.ulType == PT_STRING8 && b.ulType == PT_STRING8) {
            std::string x = LowerAscii(a.sBytes), y = LowerAscii(b.sBytes);
            return Three(x.compare(y), 0);
        }
        return Three(a.sBytes.compare(b.sBytes), 0);
    }
    if (IsWhole(a.ulType) && IsWhole(b.ulType)) return Three(a.n, b.n);
    if ((IsWhole(a.ulType) || IsReal(a.ulType)) && (IsWhole(b.ulType) || IsReal(b.ulType))) {
        double x = IsReal(a.ulType) ? a.d : static_cast<double>(a.n);
        double y = IsReal(b.ulType) ? b.d : static_cast<double>(b.n);
        return Three(x, y);
    }
    if (a.ulType == PT_SYSTIME && b.ulType == PT_SYSTIME)
        return Three(static_cast<uint64_t>(a.n), static_cast<uint64_t>(b.n));
    *pbComparable = false;
    return 0;
}

HRESULT CheckRestriction(const SRestriction &res) {
    switch (res.rt) {
    case RES_AND:
    case RES_OR:
        for (ULONG i = 0; i < res.res.resAnd.cRes; ++i) {
            if (!res.res.resAnd.lpRes) return MAPI_E_INVALID_PARAMETER;
            HRESULT hr = CheckRestriction(res.res.resAnd.lpRes[i]);
            if (FAILED(hr)) return hr;
        }
        return S_OK;
    case RES_NOT:
        return res.res.resNot.lpRes ? CheckRestriction(*res.res.resNot.lpRes) : MAPI_E_INVALID_PARAMETER;
    case RES_PROPERTY:
        if (res.res.resProperty.relop > RELOP_RE) return MAPI_E_INVALID_PARAMETER;
        return res.res.resProperty.lpProp ? S_OK : MAPI_E_INVALID_PARAMETER;
    case RES_CONTENT:
        return res.res.resContent.lpProp ? S_OK : MAPI_E_INVALID_PARAMETER;
    case RES_COMMENT:
        return res.res.resComment.lpRes ? CheckRestriction(*res.res.resComment.lpRes) : S_OK;
    case RES_EXIST:
    case RES_COMPAREPROPS:
    case RES_BITMASK:
    case RES_SIZE:
        return S_OK;
    default:
        return static_cast<HRESULT>(0x80040117); // MAPI_E_TOO_COMPLEX
    }
}

bool MatchRow(const SRestriction &res, const RowReader &reader, size_t nRow) {
    switch (res.rt) {
    case RES_AND:
        for (ULONG i = 0; i < res.res.resAnd.cRes; ++i)
            if (!MatchRow(res.res.resAnd.lpRes[i], reader, nRow)) return false;
        return true;
    case RES_OR:
        for (ULONG i = 0; i < res.res.resOr.cRes; ++i)
            if (MatchRow(res.res.resOr.lpRes[i], reader, nRow)) return true;
        return false;
    case RES_NOT:
        return !MatchRow(*res.res.resNot.lpRes, reader, nRow);
    case RES_EXIST: {
        PropData d;
        return Read(reader, nRow, res.res.resExist.ulPropTag, &d);
    }
    case RES_PROPERTY: {
        const SPropertyRestriction &r = res.res.resProperty;
        PropData row, want;
        if (!Read(reader, nRow, r.ulPropTag, &row) || FAILED(FromPropValue(*r.lpProp, &want))) return false;
        if (r.relop == RELOP_RE) return IsBytes(row.ulType) && IsBytes(want.ulType) && MatchRegex(row.sBytes, want.sBytes);
        bool bComparable;
        int nCmp = ComparePropData(row, want, &bComparable);
        return bComparable && Relop(r.relop, nCmp);
    }
    case RES_CONTENT: {
        const SContentRestriction &r = res.res.resContent;
        PropData row, want;
        if (!Read(reader, nRow, r.ulPropTag, &row) || FAILED(FromPropValue(*r.lpProp, &want))) return false;
        if (!IsBytes(row.ulType) || !IsBytes(want.ulType)) return false;
        std::string sRow = row.sBytes, sWant = want.sBytes;
        if (r.ulFuzzyLevel & FL_IGNORECASE) {
            sRow = LowerAscii(sRow);
            sWant = LowerAscii(sWant);
        }
        ULONG ulMode = r.ulFuzzyLevel & 0xFFFF;
        if (ulMode & FL_SUBSTRING) return sRow.find(sWant) != std::string::npos;
        if (ulMode & FL_PREFIX) return sRow.compare(0, sWant.size(), sWant) == 0;
        return sRow == sWant;
    }
    case RES_COMPAREPROPS: {
        const SComparePropsRestriction &r = res.res.resCompareProps;
        PropData a, b;
        if (!Read(reader, nRow, r.ulPropTag1, &a) || !Read(reader, nRow, r.ulPropTag2, &b)) return false;
        bool bComparable;
        int nCmp = ComparePropData(a, b, &bComparable);
        return bComparable && Relop(r.relop, nCmp);
    }
    case RES_BITMASK: {
        const SBitMaskRestriction &r = res.res.resBitMask;
        PropData d;
        if (!Read(reader, nRow, r.ulPropTag, &d) || !IsWhole(d.ulType)) return false;
        bool bZero = (static_cast<ULONG>(d.n) & r.ulMask) == 0;
        return r.relBMR == BMR_EQZ ? bZero : !bZero;
    }
    case RES_SIZE: {
        const SSizeRestriction &r = res.res.resSize;
        PropData d;
        if (!Read(reader, nRow, r.ulPropTag, &d)) return false;
        return Relop(r.relop, Three<size_t>(SizeOf(d), r.cb));
    }
    case RES_COMMENT:
        return !res.res.resComment.lpRes || MatchRow(*res.res.resComment.lpRes, reader, nRow);
    default:
        return false;
    }
}

} // namespace vcard
