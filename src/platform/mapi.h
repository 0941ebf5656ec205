// MAPI's property model as published: tags, typed values, tag arrays, rows, restrictions and sort orders. Both
// stores speak it, the message store included, so the search and the matrix see one kind of value.
#pragma once

#include "platform/com.h"

using SCODE = int32_t;

inline constexpr ULONG PROP_TYPE(ULONG ulTag) { return ulTag & 0xFFFFu; }
inline constexpr ULONG PROP_ID(ULONG ulTag) { return ulTag >> 16; }
inline constexpr ULONG PROP_TAG(ULONG ulType, ULONG ulId) { return (ulId << 16) | ulType; }
inline constexpr ULONG CHANGE_PROP_TYPE(ULONG ulTag, ULONG ulType) { return (ulTag & 0xFFFF0000u) | ulType; }

// Property types.
inline constexpr ULONG PT_UNSPECIFIED = 0x0000;
inline constexpr ULONG PT_NULL = 0x0001;
inline constexpr ULONG PT_I2 = 0x0002;
inline constexpr ULONG PT_LONG = 0x0003;
inline constexpr ULONG PT_R4 = 0x0004;
inline constexpr ULONG PT_DOUBLE = 0x0005;
inline constexpr ULONG PT_CURRENCY = 0x0006;
inline constexpr ULONG PT_APPTIME = 0x0007;
inline constexpr ULONG PT_ERROR = 0x000A;
inline constexpr ULONG PT_BOOLEAN = 0x000B;
inline constexpr ULONG PT_OBJECT = 0x000D;
inline constexpr ULONG PT_I8 = 0x0014;
inline constexpr ULONG PT_STRING8 = 0x001E;
inline constexpr ULONG PT_UNICODE = 0x001F;
inline constexpr ULONG PT_SYSTIME = 0x0040;
inline constexpr ULONG PT_CLSID = 0x0048;
inline constexpr ULONG PT_BINARY = 0x0102;
inline constexpr ULONG MV_FLAG = 0x1000;
inline constexpr ULONG PT_MV_I2 = 0x1002;
inline constexpr ULONG PT_MV_LONG = 0x1003;
inline constexpr ULONG PT_MV_R4 = 0x1004;
inline constexpr ULONG PT_MV_DOUBLE = 0x1005;
inline constexpr ULONG PT_MV_CURRENCY = 0x1006;
inline constexpr ULONG PT_MV_APPTIME = 0x1007;
inline constexpr ULONG PT_MV_I8 = 0x1014;
inline constexpr ULONG PT_MV_STRING8 = 0x101E;
inline constexpr ULONG PT_MV_UNICODE = 0x101F;
inline constexpr ULONG PT_MV_SYSTIME = 0x1040;
inline constexpr ULONG PT_MV_CLSID = 0x1048;
inline constexpr ULONG PT_MV_BINARY = 0x1102;

// Result codes.
inline constexpr HRESULT MAPI_E_CALL_FAILED = E_FAIL;
inline constexpr HRESULT MAPI_E_NOT_ENOUGH_MEMORY = E_OUTOFMEMORY;
inline constexpr HRESULT MAPI_E_INVALID_PARAMETER = E_INVALIDARG;
inline constexpr HRESULT MAPI_E_NO_ACCESS = E_ACCESSDENIED;
inline constexpr HRESULT MAPI_E_NO_SUPPORT = static_cast<HRESULT>(0x80040102);
inline constexpr HRESULT MAPI_E_BAD_CHARWIDTH = static_cast<HRESULT>(0x80040103);
inline constexpr HRESULT MAPI_E_STRING_TOO_LONG = static_cast<HRESULT>(0x80040105);
inline constexpr HRESULT MAPI_E_UNKNOWN_FLAGS = static_cast<HRESULT>(0x80040106);
inline constexpr HRESULT MAPI_E_INVALID_ENTRYID = static_cast<HRESULT>(0x80040107);
inline constexpr HRESULT MAPI_E_INVALID_OBJECT = static_cast<HRESULT>(0x80040108);
inline constexpr HRESULT MAPI_E_OBJECT_CHANGED = static_cast<HRESULT>(0x80040109);
inline constexpr HRESULT MAPI_E_OBJECT_DELETED = static_cast<HRESULT>(0x8004010A);
inline constexpr HRESULT MAPI_E_NOT_FOUND = static_cast<HRESULT>(0x8004010F);
inline constexpr HRESULT MAPI_E_COMPUTED = static_cast<HRESULT>(0x8004011A);
inline constexpr HRESULT MAPI_E_UNKNOWN_ENTRYID = static_cast<HRESULT>(0x80040201);
inline constexpr HRESULT MAPI_E_BAD_VALUE = static_cast<HRESULT>(0x80040301);
inline constexpr HRESULT MAPI_E_INVALID_TYPE = static_cast<HRESULT>(0x80040302);
inline constexpr HRESULT MAPI_E_TYPE_NO_SUPPORT = static_cast<HRESULT>(0x80040303);
inline constexpr HRESULT MAPI_E_UNEXPECTED_TYPE = static_cast<HRESULT>(0x80040304);
inline constexpr HRESULT MAPI_E_TOO_BIG = static_cast<HRESULT>(0x80040305);
inline constexpr HRESULT MAPI_E_COLLISION = static_cast<HRESULT>(0x80040604);
inline constexpr HRESULT MAPI_E_NOT_INITIALIZED = static_cast<HRESULT>(0x80040605);
inline constexpr HRESULT MAPI_W_ERRORS_RETURNED = static_cast<HRESULT>(0x00040380);

// Flags.
inline constexpr ULONG MAPI_MODIFY = 0x00000001;
inline constexpr ULONG MAPI_CREATE = 0x00000002;
inline constexpr ULONG MAPI_BEST_ACCESS = 0x00000010;
inline constexpr ULONG MAPI_DEFERRED_ERRORS = 0x00000008;
inline constexpr ULONG MAPI_UNICODE = 0x80000000;
inline constexpr ULONG KEEP_OPEN_READONLY = 0x00000001;
inline constexpr ULONG KEEP_OPEN_READWRITE = 0x00000002;
inline constexpr ULONG FORCE_SAVE = 0x00000004;
inline constexpr ULONG MNID_ID = 0;
inline constexpr ULONG MNID_STRING = 1;
inline constexpr ULONG TBL_BATCH = 0x00000002;
inline constexpr ULONG TABLE_SORT_ASCEND = 0x00000000;
inline constexpr ULONG TABLE_SORT_DESCEND = 0x00000001;

// Object types (MAPI_MAILUSER and MAPI_DISTLIST come from tessel.h).
inline constexpr ULONG MAPI_STORE = 1;
inline constexpr ULONG MAPI_ADDRBOOK = 2;
inline constexpr ULONG MAPI_FOLDER = 3;
inline constexpr ULONG MAPI_ABCONT = 4;
inline constexpr ULONG MAPI_MESSAGE = 5;

struct SBinary {
    ULONG cb;
    BYTE *lpb;
};

struct SShortArray {
    ULONG cValues;
    int16_t *lpi;
};
struct SLongArray {
    ULONG cValues;
    LONG *lpl;
};
struct SRealArray {
    ULONG cValues;
    float *lpflt;
};
struct SDoubleArray {
    ULONG cValues;
    double *lpdbl;
};
struct SLargeIntegerArray {
    ULONG cValues;
    int64_t *lpli;
};
struct SDateTimeArray {
    ULONG cValues;
    FILETIME *lpft;
};
struct SGuidArray {
    ULONG cValues;
    GUID *lpguid;
};
struct SLPSTRArray {
    ULONG cValues;
    char **lppszA;
};
struct SWStringArray {
    ULONG cValues;
    char16_t **lppszW;
};
struct SBinaryArray {
    ULONG cValues;
    SBinary *lpbin;
};

union _PV {
    int16_t i;       // PT_I2
    LONG l;          // PT_LONG
    ULONG ul;        // PT_LONG
    float flt;       // PT_R4
    double dbl;      // PT_DOUBLE
    uint16_t b;      // PT_BOOLEAN
    int64_t cur;     // PT_CURRENCY
    double at;       // PT_APPTIME
    FILETIME ft;     // PT_SYSTIME
    char *lpszA;     // PT_STRING8
    SBinary bin;     // PT_BINARY
    char16_t *lpszW; // PT_UNICODE
    GUID *lpguid;    // PT_CLSID
    int64_t li;      // PT_I8
    SShortArray MVi;
    SLongArray MVl;
    SRealArray MVflt;
    SDoubleArray MVdbl;
    SLargeIntegerArray MVcur;
    SDoubleArray MVat;
    SDateTimeArray MVft;
    SBinaryArray MVbin;
    SLPSTRArray MVszA;
    SWStringArray MVszW;
    SGuidArray MVguid;
    SLargeIntegerArray MVli;
    SCODE err; // PT_ERROR
    LONG x;    // PT_NULL, PT_OBJECT
};

struct SPropValue {
    ULONG ulPropTag;
    ULONG dwAlignPad;
    _PV Value;
};

// A counted tag list; allocate with CbNewSPropTagArray(n) bytes for n tags.
struct SPropTagArray {
    ULONG cValues;
    ULONG aulPropTag[1];
};
inline constexpr size_t CbNewSPropTagArray(ULONG n) {
    return offsetof(SPropTagArray, aulPropTag) + sizeof(ULONG) * (n == 0 ? 1 : n);
}

struct SPropProblem {
    ULONG ulIndex;
    ULONG ulPropTag;
    SCODE scode;
};
struct SPropProblemArray {
    ULONG cProblem;
    SPropProblem aProblem[1];
};
inline constexpr size_t CbNewSPropProblemArray(ULONG n) {
    return offsetof(SPropProblemArray, aProblem) + sizeof(SPropProblem) * (n == 0 ? 1 : n);
}

struct SRow {
    ULONG ulAdrEntryPad;
    ULONG cValues;
    SPropValue *lpProps;
};
struct SRowSet {
    ULONG cRows;
    SRow aRow[1];
};
inline constexpr size_t CbNewSRowSet(ULONG n) { return offsetof(SRowSet, aRow) + sizeof(SRow) * (n == 0 ? 1 : n); }

struct SSortOrder {
    ULONG ulPropTag;
    ULONG ulOrder;
};
struct SSortOrderSet {
    ULONG cSorts;
    ULONG cCategories;
    ULONG cExpanded;
    SSortOrder aSort[1];
};
inline constexpr size_t CbNewSSortOrderSet(ULONG n) {
    return offsetof(SSortOrderSet, aSort) + sizeof(SSortOrder) * (n == 0 ? 1 : n);
}

struct ENTRYID {
    BYTE abFlags[4];
    BYTE ab[1];
};

struct MAPINAMEID {
    GUID *lpguid;
    ULONG ulKind; // MNID_ID or MNID_STRING
    union {
        LONG lID;
        char16_t *lpwstrName;
    } Kind;
};

// Restrictions.
inline constexpr ULONG RES_AND = 0;
inline constexpr ULONG RES_OR = 1;
inline constexpr ULONG RES_NOT = 2;
inline constexpr ULONG RES_CONTENT = 3;
inline constexpr ULONG RES_PROPERTY = 4;
inline constexpr ULONG RES_COMPAREPROPS = 5;
inline constexpr ULONG RES_BITMASK = 6;
inline constexpr ULONG RES_SIZE = 7;
inline constexpr ULONG RES_EXIST = 8;
inline constexpr ULONG RES_SUBRESTRICTION = 9;
inline constexpr ULONG RES_COMMENT = 10;

inline constexpr ULONG RELOP_LT = 0;
inline constexpr ULONG RELOP_LE = 1;
inline constexpr ULONG RELOP_GT = 2;
inline constexpr ULONG RELOP_GE = 3;
inline constexpr ULONG RELOP_EQ = 4;
inline constexpr ULONG RELOP_NE = 5;
inline constexpr ULONG RELOP_RE = 6;

inline constexpr ULONG FL_FULLSTRING = 0x00000000;
inline constexpr ULONG FL_SUBSTRING = 0x00000001;
inline constexpr ULONG FL_PREFIX = 0x00000002;
inline constexpr ULONG FL_IGNORECASE = 0x00010000;

inline constexpr ULONG BMR_EQZ = 0;
inline constexpr ULONG BMR_NEZ = 1;

struct SRestriction;

struct SAndRestriction {
    ULONG cRes;
    SRestriction *lpRes;
};
struct SOrRestriction {
    ULONG cRes;
    SRestriction *lpRes;
};
struct SNotRestriction {
    ULONG ulReserved;
    SRestriction *lpRes;
};
struct SContentRestriction {
    ULONG ulFuzzyLevel;
    ULONG ulPropTag;
    SPropValue *lpProp;
};
struct SPropertyRestriction {
    ULONG relop;
    ULONG ulPropTag;
    SPropValue *lpProp;
};
struct SComparePropsRestriction {
    ULONG relop;
    ULONG ulPropTag1;
    ULONG ulPropTag2;
};
struct SBitMaskRestriction {
    ULONG relBMR;
    ULONG ulPropTag;
    ULONG ulMask;
};
struct SSizeRestriction {
    ULONG relop;
    ULONG ulPropTag;
    ULONG cb;
};
struct SExistRestriction {
    ULONG ulReserved1;
    ULONG ulPropTag;
    ULONG ulReserved2;
};
struct SSubRestriction {
    ULONG ulSubObject;
    SRestriction *lpRes;
};
struct SCommentRestriction {
    ULONG cValues;
    SRestriction *lpRes;
    SPropValue *lpProp;
};

struct SRestriction {
    ULONG rt;
    union {
        SComparePropsRestriction resCompareProps;
        SAndRestriction resAnd;
        SOrRestriction resOr;
        SNotRestriction resNot;
        SContentRestriction resContent;
        SPropertyRestriction resProperty;
        SBitMaskRestriction resBitMask;
        SSizeRestriction resSize;
        SExistRestriction resExist;
        SSubRestriction resSub;
        SCommentRestriction resComment;
    } res;
};

// Common tags.
inline constexpr ULONG PR_ENTRYID = 0x0FFF0102;
inline constexpr ULONG PR_OBJECT_TYPE = 0x0FFE0003;
inline constexpr ULONG PR_DISPLAY_NAME = 0x3001001E;
inline constexpr ULONG PR_EMAIL_ADDRESS = 0x3003001E;
inline constexpr ULONG PR_COMMENT = 0x3004001E;
inline constexpr ULONG PR_LAST_MODIFICATION_TIME = 0x30080040;
inline constexpr ULONG PR_BUSINESS_TELEPHONE_NUMBER = 0x3A08001E;
inline constexpr ULONG PR_HOME_TELEPHONE_NUMBER = 0x3A09001E;
inline constexpr ULONG PR_CONTAINER_FLAGS = 0x36000003;
