#include "platform/text.h"

#include <cstdint>
#include <cstring>

namespace {

// Keys of units that are no valid text: above every code point, so that they sort after all characters and
// among themselves by their own value.
constexpr uint32_t kInvalidBase = 0x110000;
constexpr uint32_t kReplacement = 0xFFFD;

// Pairs of capital and small letter that sit next to each other, the capital first on an even code point.
bool InEvenPairRange(uint32_t c) {
    return (c >= 0x100 && c <= 0x12F) || (c >= 0x132 && c <= 0x137) || (c >= 0x14A && c <= 0x177) ||
           (c >= 0x3D8 && c <= 0x3EF) || (c >= 0x460 && c <= 0x481) || (c >= 0x48A && c <= 0x4BF) ||
           (c >= 0x4D0 && c <= 0x52F) || (c >= 0x1E00 && c <= 0x1E95) || (c >= 0x1EA0 && c <= 0x1EFF);
}

// The same with the capital on an odd code point.
bool InOddPairRange(uint32_t c) {
    return (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E) || (c >= 0x4C1 && c <= 0x4CE);
}

// Simple lower-case mapping of one code point for the scripts we cover.
uint32_t LowerCodePoint(uint32_t c) {
    if (c < 0x80) return (c >= 'A' && c <= 'Z') ? c + 0x20 : c;
    if (c < 0x100) return (c >= 0xC0 && c <= 0xDE && c != 0xD7) ? c + 0x20 : c;
    if (InEvenPairRange(c)) return c | 1;
    if (InOddPairRange(c)) return (c & 1) ? c + 1 : c;
    switch (c) {
    case 0x130: return 'i';    // capital I with dot above
    case 0x178: return 0xFF;   // capital Y with diaeresis
    case 0x370: case 0x372: case 0x376: case 0x3F7: case 0x3FA: return c + 1;
    case 0x37F: return 0x3F3;
    case 0x386: return 0x3AC;
    case 0x38C: return 0x3CC;
    case 0x3CF: return 0x3D7;
    case 0x3F4: return 0x3B8;
    case 0x3F9: return 0x3F2;
    case 0x4C0: return 0x4CF;
    case 0x1E9E: return 0xDF;  // capital sharp s
    default: break;
    }
    if (c >= 0x388 && c <= 0x38A) return c + 37;
    if (c == 0x38E || c == 0x38F) return c + 63;
    if ((c >= 0x391 && c <= 0x3A1) || (c >= 0x3A3 && c <= 0x3AB)) return c + 0x20;
    if (c >= 0x3FD && c <= 0x3FF) return c - 130;
    if (c >= 0x400 && c <= 0x40F) return c + 0x50;
    if (c >= 0x410 && c <= 0x42F) return c + 0x20;
    if (c >= 0x531 && c <= 0x556) return c + 0x30; // Armenian
    if (c >= 0xFF21 && c <= 0xFF3A) return c + 0x20; // full-width Latin
    return c;
}

// Simple case folding: the lower case, plus the small letters that have a second form of their own.
uint32_t FoldCodePoint(uint32_t c) {
    switch (c) {
    case 0xB5: return 0x3BC;   // micro sign
    case 0x17F: return 's';    // long s
    case 0x345: return 0x3B9;
    case 0x3C2: return 0x3C3;  // final sigma
    case 0x3D0: return 0x3B2;
    case 0x3D1: return 0x3B8;
    case 0x3D5: return 0x3C6;
    case 0x3D6: return 0x3C0;
    case 0x3F0: return 0x3BA;
    case 0x3F1: return 0x3C1;
    case 0x3F5: return 0x3B5;
    case 0x1E9B: return 0x1E61;
    default: return c >= kInvalidBase ? c : LowerCodePoint(c);
    }
}

// Decodes one character of UTF-8 text from p, of which at most nAvail bytes may be read (a zero byte ends a
// sequence as well, since it is never a continuation byte). An invalid byte comes back as kInvalidBase + byte,
// one byte long. *p must be readable.
size_t DecodeUtf8(const unsigned char *p, size_t nAvail, uint32_t *pc) {
    uint32_t b = p[0];
    if (b < 0x80) {
        *pc = b;
        return 1;
    }
    size_t n;
    uint32_t c, nMin;
    if (b >= 0xC2 && b <= 0xDF) {
        n = 2, c = b & 0x1F, nMin = 0x80;
    } else if (b >= 0xE0 && b <= 0xEF) {
        n = 3, c = b & 0x0F, nMin = 0x800;
    } else if (b >= 0xF0 && b <= 0xF4) {
        n = 4, c = b & 0x07, nMin = 0x10000;
    } else {
        *pc = kInvalidBase + b;
        return 1;
    }
    for (size_t i = 1; i < n; ++i) {
        if (i >= nAvail || (p[i] & 0xC0) != 0x80) {
            *pc = kInvalidBase + b;
            return 1;
        }
        c = (c << 6) | (p[i] & 0x3F);
    }
    if (c < nMin || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
        *pc = kInvalidBase + b;
        return 1;
    }
    *pc = c;
    return n;
}

size_t EncodeUtf8(uint32_t c, char *pOut) {
    if (c < 0x80) {
        pOut[0] = static_cast<char>(c);
        return 1;
    }
    if (c < 0x800) {
        pOut[0] = static_cast<char>(0xC0 | (c >> 6));
        pOut[1] = static_cast<char>(0x80 | (c & 0x3F));
        return 2;
    }
    if (c < 0x10000) {
        pOut[0] = static_cast<char>(0xE0 | (c >> 12));
        pOut[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        pOut[2] = static_cast<char>(0x80 | (c & 0x3F));
        return 3;
    }
    pOut[0] = static_cast<char>(0xF0 | (c >> 18));
    pOut[1] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    pOut[2] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    pOut[3] = static_cast<char>(0x80 | (c & 0x3F));
    return 4;
}

bool IsHighSurrogate(uint32_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool IsLowSurrogate(uint32_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

// Decodes one character of UTF-16 text; a lone surrogate comes back as kInvalidBase + unit. *p must be readable,
// and p[1] is read only when p[0] opens a pair (so never past a terminator).
size_t DecodeUtf16(const char16_t *p, size_t nAvail, uint32_t *pc) {
    uint32_t u = p[0];
    if (IsHighSurrogate(u) && nAvail > 1 && IsLowSurrogate(p[1])) {
        *pc = 0x10000 + ((u - 0xD800) << 10) + (static_cast<uint32_t>(p[1]) - 0xDC00);
        return 2;
    }
    *pc = (IsHighSurrogate(u) || IsLowSurrogate(u)) ? kInvalidBase + u : u;
    return 1;
}

int Sign(uint32_t c1, uint32_t c2) { return c1 < c2 ? -1 : (c1 > c2 ? 1 : 0); }

} // namespace

int lstrcmpiA(const char *psz1, const char *psz2) {
    if (!psz1 || !psz2) return psz1 ? 1 : (psz2 ? -1 : 0);
    auto p1 = reinterpret_cast<const unsigned char *>(psz1);
    auto p2 = reinterpret_cast<const unsigned char *>(psz2);
    for (;;) {
        if (!*p1 || !*p2) return Sign(*p1, *p2);
        uint32_t c1, c2;
        p1 += DecodeUtf8(p1, SIZE_MAX, &c1);
        p2 += DecodeUtf8(p2, SIZE_MAX, &c2);
        int n = Sign(FoldCodePoint(c1), FoldCodePoint(c2));
        if (n != 0) return n;
    }
}

int lstrcmpiW(const char16_t *psz1, const char16_t *psz2) {
    if (!psz1 || !psz2) return psz1 ? 1 : (psz2 ? -1 : 0);
    for (;;) {
        if (!*psz1 || !*psz2) return Sign(*psz1, *psz2);
        uint32_t c1, c2;
        psz1 += DecodeUtf16(psz1, SIZE_MAX, &c1);
        psz2 += DecodeUtf16(psz2, SIZE_MAX, &c2);
        int n = Sign(FoldCodePoint(c1), FoldCodePoint(c2));
        if (n != 0) return n;
    }
}

char *CharLowerA(char *psz) {
    if (!psz) return psz;
    auto pRead = reinterpret_cast<const unsigned char *>(psz);
    char *pWrite = psz;
    while (*pRead) {
        uint32_t c;
        size_t n = DecodeUtf8(pRead, SIZE_MAX, &c);
        char enc[4];
        size_t nEnc = 0;
        if (c < kInvalidBase) nEnc = EncodeUtf8(LowerCodePoint(c), enc);
        if (nEnc > 0 && nEnc <= n) {
            std::memcpy(pWrite, enc, nEnc);
            pWrite += nEnc;
        } else {
            std::memmove(pWrite, pRead, n);
            pWrite += n;
        }
        pRead += n;
    }
    *pWrite = '\0';
    return psz;
}

char16_t *CharLowerW(char16_t *psz) {
    if (!psz) return psz;
    for (char16_t *p = psz; *p;) {
        uint32_t c;
        size_t n = DecodeUtf16(p, SIZE_MAX, &c);
        // Every mapping we know stays within the basic plane, so a unit is replaced by a unit.
        if (n == 1 && c < 0x10000) *p = static_cast<char16_t>(LowerCodePoint(c));
        p += n;
    }
    return psz;
}

std::string GetListSeparator() { return ";"; }

std::u16string Utf8ToUtf16(std::string_view sz) {
    std::u16string out;
    out.reserve(sz.size());
    auto p = reinterpret_cast<const unsigned char *>(sz.data());
    size_t i = 0;
    while (i < sz.size()) {
        uint32_t c;
        i += DecodeUtf8(p + i, sz.size() - i, &c);
        if (c >= kInvalidBase) c = kReplacement;
        if (c >= 0x10000) {
            out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            out += static_cast<char16_t>(c);
        }
    }
    return out;
}

std::string Utf16ToUtf8(std::u16string_view sz) {
    std::string out;
    out.reserve(sz.size());
    size_t i = 0;
    while (i < sz.size()) {
        uint32_t c;
        i += DecodeUtf16(sz.data() + i, sz.size() - i, &c);
        if (c >= kInvalidBase) c = kReplacement;
        char enc[4];
        out.append(enc, EncodeUtf8(c, enc));
    }
    return out;
}
