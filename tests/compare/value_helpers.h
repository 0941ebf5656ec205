// Small builders of SPropValue for the comparison tests. The values point into storage that the caller keeps.
#pragma once

#include <vector>

#include "platform/mapi.h"

namespace valuetest {

constexpr ULONG kId = 0x3001; // one property identifier for the values of a test

inline SPropValue Prop(ULONG nType) {
    SPropValue v{};
    v.ulPropTag = PROP_TAG(nType, kId);
    return v;
}
inline SPropValue Long(LONG n) {
    SPropValue v = Prop(PT_LONG);
    v.Value.l = n;
    return v;
}
inline SPropValue Text(const char *psz) {
    SPropValue v = Prop(PT_STRING8);
    v.Value.lpszA = const_cast<char *>(psz);
    return v;
}
inline SPropValue Wide(const char16_t *psz) {
    SPropValue v = Prop(PT_UNICODE);
    v.Value.lpszW = const_cast<char16_t *>(psz);
    return v;
}
inline SPropValue Binary(std::vector<BYTE> &bytes) {
    SPropValue v = Prop(PT_BINARY);
    v.Value.bin.cb = static_cast<ULONG>(bytes.size());
    v.Value.bin.lpb = bytes.data();
    return v;
}
inline SPropValue Error(SCODE err) {
    SPropValue v = Prop(PT_ERROR);
    v.Value.err = err;
    return v;
}
inline SPropValue TextList(std::vector<char *> &list) {
    SPropValue v = Prop(PT_MV_STRING8);
    v.Value.MVszA.cValues = static_cast<ULONG>(list.size());
    v.Value.MVszA.lppszA = list.data();
    return v;
}
inline SPropValue WideList(std::vector<char16_t *> &list) {
    SPropValue v = Prop(PT_MV_UNICODE);
    v.Value.MVszW.cValues = static_cast<ULONG>(list.size());
    v.Value.MVszW.lppszW = list.data();
    return v;
}
inline SPropValue BinaryList(std::vector<SBinary> &list) {
    SPropValue v = Prop(PT_MV_BINARY);
    v.Value.MVbin.cValues = static_cast<ULONG>(list.size());
    v.Value.MVbin.lpbin = list.data();
    return v;
}

} // namespace valuetest
