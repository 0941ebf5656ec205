// A property value between the card and MAPI: what the card holds, in its natural type, and its conversion into
// an SPropValue of the type the caller asked for (and back).
#pragma once

#include <string>
#include <vector>

#include "platform/wab.h"

namespace vcard {

struct PropData {
    ULONG ulType = PT_NULL;        // PT_STRING8 (UTF-8), PT_BINARY, PT_LONG, PT_I8, PT_DOUBLE, PT_SYSTIME, PT_MV_*
    std::string sBytes;            // text or binary
    int64_t n = 0;                 // PT_LONG, PT_I2, PT_BOOLEAN, PT_I8, PT_CURRENCY, PT_SYSTIME (FILETIME ticks)
    double d = 0;                  // PT_DOUBLE, PT_R4, PT_APPTIME
    std::vector<std::string> mv;   // PT_MV_STRING8 (UTF-8), PT_MV_BINARY
};

// The type a value of this natural type has when asked for with PT_UNSPECIFIED.
ULONG NaturalType(ULONG ulStored, ULONG ulFlags);

// Fills *pOut (tag ulTag, its type filled in if PT_UNSPECIFIED); buffers hung on pParent. An explicit PT_STRING8
// gives UTF-8 whatever the flags; PT_UNICODE, or PT_UNSPECIFIED with MAPI_UNICODE, gives UTF-16. A type that
// doesn't fit gives MAPI_E_INVALID_TYPE.
HRESULT ToPropValue(const PropData &data, ULONG ulTag, ULONG ulFlags, void *pParent, SPropValue *pOut);

// The value of an SPropValue; MAPI_E_TYPE_NO_SUPPORT for types the card can't hold.
HRESULT FromPropValue(const SPropValue &value, PropData *pData);

// Fills *pOut as PT_ERROR with that code.
void ErrorValue(ULONG ulTag, SCODE sc, SPropValue *pOut);

} // namespace vcard
