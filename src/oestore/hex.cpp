#include "oestore/hex.h"

#include <cstdlib>
#include <cstring>

#include "platform/debugout.h"

namespace {

const char kUpperDigits[] = "0123456789ABCDEF";

// The value of a hexadecimal digit, or -1.
int DigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// Where the bytes of a GUID in registry form land in its memory form.
constexpr int kGuidByteOrder[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};

} // namespace

int32_t Hex2Dec(const char *p, int32_t nDigits) {
    // Unsigned arithmetic: eight digits may run into the sign bit, which is how "FFFFFFFF" reads as -1.
    uint32_t nValue = 0;
    for (int32_t i = 0; p && i < nDigits; ++i) {
        const int nDigit = DigitValue(p[i]);
        if (nDigit < 0) {
            OutputDebugStringA("Hex2DecError\n");
            nValue = static_cast<uint32_t>(-1);
            if (p[i] == '\0') break; // a text shorter than nDigits: never read behind its end
            continue;
        }
        nValue = nValue * 16 + static_cast<uint32_t>(nDigit);
    }
    return static_cast<int32_t>(nValue);
}

BYTE *Hex2Bin(const char *szHex, ULONG *pcb) {
    if (pcb) *pcb = 0;
    if (!szHex) return nullptr;
    const size_t cb = std::strlen(szHex) / 2;
    BYTE *pBytes = static_cast<BYTE *>(std::malloc(cb ? cb : 1));
    if (!pBytes) return nullptr;
    for (size_t i = 0; i < cb; ++i) pBytes[i] = static_cast<BYTE>(Hex2Dec(szHex + 2 * i, 2) & 0xFF);
    if (pcb) *pcb = static_cast<ULONG>(cb);
    return pBytes;
}

char *Bin2Hex(const void *p, ULONG cb) {
    char *pszHex = static_cast<char *>(std::malloc(2 * static_cast<size_t>(cb) + 1));
    if (!pszHex) return nullptr;
    const BYTE *pBytes = static_cast<const BYTE *>(p);
    for (ULONG i = 0; i < cb; ++i) {
        pszHex[2 * i] = kUpperDigits[pBytes[i] >> 4];
        pszHex[2 * i + 1] = kUpperDigits[pBytes[i] & 0x0F];
    }
    pszHex[2 * static_cast<size_t>(cb)] = '\0';
    return pszHex;
}

bool Str2Guid(const char *szGuid, GUID *pGuid) {
    if (!szGuid || !pGuid) return false;
    BYTE bytes[16] = {};
    int nDigits = 0;
    for (const char *p = szGuid; *p && nDigits < 32; ++p) {
        const int nDigit = DigitValue(*p);
        if (nDigit < 0) continue;
        BYTE &b = bytes[kGuidByteOrder[nDigits / 2]];
        b = static_cast<BYTE>(b * 16 + nDigit);
        ++nDigits;
    }
    if (nDigits < 32) return false;
    static_assert(sizeof(GUID) == sizeof bytes);
    std::memcpy(pGuid, bytes, sizeof bytes);
    return true;
}
