// Escapes, encodings and conversions of vCard values.
#include "providers/vcard/vcard_value.h"

#include <iconv.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <random>

namespace vcard {

std::string UpperAscii(std::string_view s) {
    std::string r(s);
    for (char &c : r) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return r;
}

bool EqualNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::toupper(static_cast<unsigned char>(a[i])) != std::toupper(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

std::string UnescapeText(std::string_view s) {
    std::string r;
    r.reserve(s.size());
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\\' && i + 1 < s.size()) {
            char c = s[++i];
            if (c == 'n' || c == 'N') r += '\n';
            else if (c == ',' || c == ';' || c == '\\' || c == ':') r += c;
            else {
                r += '\\';
                r += c;
            }
        } else {
            r += s[i];
        }
    }
    return r;
}

std::string EscapeText(std::string_view s, bool b21) {
    std::string r;
    r.reserve(s.size());
    for (size_t i = 0; i < s.size(); ++i) {
        char c = s[i];
        if (c == '\r' && i + 1 < s.size() && s[i + 1] == '\n') continue;
        if (b21) {
            // 2.1 carries line breaks through quoted-printable, not escapes.
            if (c == ';') r += '\\';
            r += c;
            continue;
        }
        if (c == '\n' || c == '\r') r += "\\n";
        else if (c == '\\' || c == ',' || c == ';') {
            r += '\\';
            r += c;
        } else r += c;
    }
    return r;
}

std::vector<std::string> SplitCompound(std::string_view s) {
    std::vector<std::string> parts;
    size_t nStart = 0;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\\') {
            ++i;
            continue;
        }
        if (s[i] == ';') {
            parts.push_back(UnescapeText(s.substr(nStart, i - nStart)));
            nStart = i + 1;
        }
    }
    parts.push_back(UnescapeText(s.substr(std::min(nStart, s.size()))));
    return parts;
}

std::string JoinCompound(const std::vector<std::string> &parts, bool b21) {
    std::string r;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i) r += ';';
        r += EscapeText(parts[i], b21);
    }
    return r;
}

namespace {
int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}
} // namespace

std::string DecodeQuotedPrintable(std::string_view s) {
    std::string r;
    r.reserve(s.size());
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '=') {
            int h = i + 1 < s.size() ? HexDigit(s[i + 1]) : -1;
            int l = i + 2 < s.size() ? HexDigit(s[i + 2]) : -1;
            if (h >= 0 && l >= 0) {
                r += static_cast<char>(h * 16 + l);
                i += 2;
                continue;
            }
        }
        r += s[i];
    }
    return r;
}

std::string EncodeQuotedPrintable(std::string_view s) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string r;
    for (size_t i = 0; i < s.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        if (c == '\n') {
            r += "=0D=0A";
        } else if (c == '\r') {
            if (i + 1 < s.size() && s[i + 1] == '\n') continue;
            r += "=0D=0A";
        } else if (c < 32 || c >= 127 || c == '=' || (c == ' ' && i + 1 == s.size())) {
            r += '=';
            r += kHex[c >> 4];
            r += kHex[c & 15];
        } else {
            r += static_cast<char>(c);
        }
    }
    return r;
}

bool IsValidUtf8(std::string_view s) {
    size_t i = 0;
    while (i < s.size()) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        size_t n = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : 9;
        if (n == 9 || i + n >= s.size()) return false;
        if (c >= 0x80 && c < 0xC2) return false;
        for (size_t k = 1; k <= n; ++k)
            if ((static_cast<unsigned char>(s[i + k]) >> 6) != 2) return false;
        i += n + 1;
    }
    return true;
}

namespace {
std::string Latin1ToUtf8(std::string_view s) {
    std::string r;
    for (char ch : s) {
        unsigned char c = static_cast<unsigned char>(ch);
        if (c < 0x80) r += static_cast<char>(c);
        else {
            r += static_cast<char>(0xC0 | (c >> 6));
            r += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return r;
}
} // namespace

std::string ToUtf8(std::string_view s, std::string_view sCharset) {
    std::string sSet = UpperAscii(sCharset);
    bool bAscii = true;
    for (char c : s)
        if (static_cast<unsigned char>(c) >= 0x80) bAscii = false;
    if (bAscii || sSet.empty() || sSet == "UTF-8" || sSet == "UTF8")
        return IsValidUtf8(s) ? std::string(s) : Latin1ToUtf8(s);
    iconv_t cd = iconv_open("UTF-8", sSet.c_str());
    if (cd == reinterpret_cast<iconv_t>(-1)) return IsValidUtf8(s) ? std::string(s) : Latin1ToUtf8(s);
    std::string r(s.size() * 4 + 16, '\0');
    char *pIn = const_cast<char *>(s.data());
    size_t nIn = s.size();
    char *pOut = r.data();
    size_t nOut = r.size();
    size_t n = iconv(cd, &pIn, &nIn, &pOut, &nOut);
    iconv_close(cd);
    if (n == static_cast<size_t>(-1)) return IsValidUtf8(s) ? std::string(s) : Latin1ToUtf8(s);
    r.resize(r.size() - nOut);
    return r;
}

std::u16string Utf8ToUtf16(std::string_view s) {
    std::u16string r;
    size_t i = 0;
    while (i < s.size()) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        uint32_t cp = 0xFFFD;
        size_t n = 1;
        if (c < 0x80) cp = c;
        else if ((c >> 5) == 6 && i + 1 < s.size()) {
            cp = ((c & 0x1Fu) << 6) | (static_cast<unsigned char>(s[i + 1]) & 0x3Fu);
            n = 2;
        } else if ((c >> 4) == 14 && i + 2 < s.size()) {
            cp = ((c & 0x0Fu) << 12) | ((static_cast<unsigned char>(s[i + 1]) & 0x3Fu) << 6) |
                 (static_cast<unsigned char>(s[i + 2]) & 0x3Fu);
            n = 3;
        } else if ((c >> 3) == 30 && i + 3 < s.size()) {
            cp = ((c & 0x07u) << 18) | ((static_cast<unsigned char>(s[i + 1]) & 0x3Fu) << 12) |
                 ((static_cast<unsigned char>(s[i + 2]) & 0x3Fu) << 6) |
                 (static_cast<unsigned char>(s[i + 3]) & 0x3Fu);
            n = 4;
        }
        if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) cp = 0xFFFD;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            r += static_cast<char16_t>(0xD800 + (cp >> 10));
            r += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        } else {
            r += static_cast<char16_t>(cp);
        }
        i += n;
    }
    return r;
}

std::string Utf16ToUtf8(std::u16string_view s) {
    std::string r;
    for (size_t i = 0; i < s.size(); ++i) {
        uint32_t cp = s[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < s.size() && s[i + 1] >= 0xDC00 && s[i + 1] <= 0xDFFF) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (s[i + 1] - 0xDC00);
            ++i;
        } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            cp = 0xFFFD;
        }
        if (cp < 0x80) r += static_cast<char>(cp);
        else if (cp < 0x800) {
            r += static_cast<char>(0xC0 | (cp >> 6));
            r += static_cast<char>(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            r += static_cast<char>(0xE0 | (cp >> 12));
            r += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            r += static_cast<char>(0x80 | (cp & 0x3F));
        } else {
            r += static_cast<char>(0xF0 | (cp >> 18));
            r += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
            r += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            r += static_cast<char>(0x80 | (cp & 0x3F));
        }
    }
    return r;
}

namespace {
const char kB64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
}

std::string Base64Encode(std::string_view s) {
    std::string r;
    size_t i = 0;
    for (; i + 2 < s.size(); i += 3) {
        uint32_t v = (static_cast<unsigned char>(s[i]) << 16) | (static_cast<unsigned char>(s[i + 1]) << 8) |
                     static_cast<unsigned char>(s[i + 2]);
        r += kB64[v >> 18];
        r += kB64[(v >> 12) & 63];
        r += kB64[(v >> 6) & 63];
        r += kB64[v & 63];
    }
    if (i < s.size()) {
        uint32_t v = static_cast<unsigned char>(s[i]) << 16;
        if (i + 1 < s.size()) v |= static_cast<unsigned char>(s[i + 1]) << 8;
        r += kB64[v >> 18];
        r += kB64[(v >> 12) & 63];
        r += i + 1 < s.size() ? kB64[(v >> 6) & 63] : '=';
        r += '=';
    }
    return r;
}

bool Base64Decode(std::string_view s, std::string *pOut) {
    pOut->clear();
    uint32_t v = 0;
    int nBits = 0;
    for (char c : s) {
        if (c == '=' || c == ' ' || c == '\t' || c == '\r' || c == '\n') continue;
        const char *p = nullptr;
        for (const char *q = kB64; *q; ++q)
            if (*q == c) p = q;
        if (!p) return false;
        v = (v << 6) | static_cast<uint32_t>(p - kB64);
        nBits += 6;
        if (nBits >= 8) {
            nBits -= 8;
            *pOut += static_cast<char>((v >> nBits) & 0xFF);
        }
    }
    return true;
}

namespace {
bool Digits(std::string_view s, size_t nPos, size_t nCount, int *pn) {
    if (nPos + nCount > s.size()) return false;
    int n = 0;
    for (size_t i = nPos; i < nPos + nCount; ++i) {
        if (!std::isdigit(static_cast<unsigned char>(s[i]))) return false;
        n = n * 10 + (s[i] - '0');
    }
    *pn = n;
    return true;
}

int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}
} // namespace

bool ParseTimestamp(std::string_view s, int64_t *pnSeconds) {
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    std::string t;
    // Drop the separators of the extended form; keep the offset's sign.
    size_t nT = s.find_first_of("Tt");
    for (size_t i = 0; i < s.size(); ++i) {
        char c = s[i];
        if (c == '-' && (nT == std::string_view::npos || i < nT)) continue;
        if (c == ':') continue;
        t += c;
    }
    int y, mo, d, h = 0, mi = 0, se = 0;
    if (!Digits(t, 0, 4, &y) || !Digits(t, 4, 2, &mo) || !Digits(t, 6, 2, &d)) return false;
    if (mo < 1 || mo > 12 || d < 1 || d > 31) return false;
    size_t n = 8;
    int64_t nOffset = 0;
    if (n < t.size() && (t[n] == 'T' || t[n] == 't')) {
        ++n;
        if (!Digits(t, n, 2, &h) || !Digits(t, n + 2, 2, &mi)) return false;
        n += 4;
        if (Digits(t, n, 2, &se)) n += 2;
        if (n < t.size() && (t[n] == '.' || t[n] == ',')) {
            ++n;
            while (n < t.size() && std::isdigit(static_cast<unsigned char>(t[n]))) ++n;
        }
        if (n < t.size() && (t[n] == 'Z' || t[n] == 'z')) {
            ++n;
        } else if (n < t.size() && (t[n] == '+' || t[n] == '-')) {
            int oh = 0, om = 0;
            if (!Digits(t, n + 1, 2, &oh)) return false;
            size_t nEnd = n + 3;
            if (Digits(t, n + 3, 2, &om)) nEnd += 2;
            nOffset = (oh * 3600 + om * 60) * (t[n] == '+' ? 1 : -1);
            n = nEnd;
        }
        if (h > 24 || mi > 59 || se > 60) return false;
    }
    if (n != t.size()) return false;
    *pnSeconds = DaysFromCivil(y, static_cast<unsigned>(mo), static_cast<unsigned>(d)) * 86400 + h * 3600 +
                 mi * 60 + se - nOffset;
    return true;
}

std::string FormatTimestamp(int64_t nSeconds, bool bDateOnly, bool bDashes) {
    time_t t = static_cast<time_t>(nSeconds);
    struct tm tmv {};
    gmtime_r(&t, &tmv);
    char sz[40];
    if (bDateOnly)
        std::snprintf(sz, sizeof sz, bDashes ? "%04d-%02d-%02d" : "%04d%02d%02d", tmv.tm_year + 1900, tmv.tm_mon + 1,
                      tmv.tm_mday);
    else
        std::snprintf(sz, sizeof sz, "%04d%02d%02dT%02d%02d%02dZ", tmv.tm_year + 1900, tmv.tm_mon + 1, tmv.tm_mday,
                      tmv.tm_hour, tmv.tm_min, tmv.tm_sec);
    return sz;
}

std::string NewUuid() {
    static std::random_device rd;
    static std::mt19937_64 gen(rd());
    uint64_t a = gen(), b = gen();
    a = (a & 0xFFFFFFFFFFFF0FFFull) | 0x0000000000004000ull;
    b = (b & 0x3FFFFFFFFFFFFFFFull) | 0x8000000000000000ull;
    char sz[40];
    std::snprintf(sz, sizeof sz, "%08x-%04x-%04x-%04x-%012llx", static_cast<unsigned>(a >> 32),
                  static_cast<unsigned>((a >> 16) & 0xFFFF), static_cast<unsigned>(a & 0xFFFF),
                  static_cast<unsigned>(b >> 48), static_cast<unsigned long long>(b & 0xFFFFFFFFFFFFull));
    return sz;
}

} // namespace vcard
