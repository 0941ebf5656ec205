#include "providers/mime/gmimeutil.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <mutex>

void MimeEnsureInit() {
    static std::once_flag s_once;
    std::call_once(s_once, [] {
        g_mime_init();
        // glibc loads a charset's converter module on each iconv_open and unloads it on the last close, which
        // costs more than the parse. Holding one converter for each common charset keeps the modules loaded.
        static const char *s_rgCharsets[] = {"ISO-8859-1",   "ISO-8859-2",   "ISO-8859-15", "WINDOWS-1250",
                                             "WINDOWS-1251", "WINDOWS-1252", "KOI8-R",      "ISO-2022-JP",
                                             "SHIFT_JIS",    "EUC-JP",       "GB18030",     "BIG5",
                                             "EUC-KR",       "UTF-16",       "UTF-7"};
        static iconv_t s_rgHeld[std::size(s_rgCharsets)];
        for (size_t i = 0; i < std::size(s_rgCharsets); i++) s_rgHeld[i] = g_mime_iconv_open("UTF-8", s_rgCharsets[i]);
        std::atexit([] {
            for (iconv_t cd : s_rgHeld)
                if (cd != reinterpret_cast<iconv_t>(-1)) g_mime_iconv_close(cd);
        });
    });
}

GMimeParserOptions *MimeParserOptions() {
    static GMimeParserOptions *s_pOptions = [] {
        MimeEnsureInit();
        GMimeParserOptions *p = g_mime_parser_options_new();
        static const char *s_rgCharsets[] = {"UTF-8", "windows-1252", nullptr};
        g_mime_parser_options_set_fallback_charsets(p, s_rgCharsets);
        g_mime_parser_options_set_allow_addresses_without_domain(p, TRUE);
        return p;
    }();
    return s_pOptions;
}

GMimeFormatOptions *MimeFormatOptions(bool bCrLf) {
    static GMimeFormatOptions *s_rgOptions[2] = {};
    static std::once_flag s_once;
    std::call_once(s_once, [] {
        MimeEnsureInit();
        for (int i = 0; i < 2; i++) {
            s_rgOptions[i] = g_mime_format_options_new();
            g_mime_format_options_set_newline_format(s_rgOptions[i],
                                                     i ? GMIME_NEWLINE_FORMAT_DOS : GMIME_NEWLINE_FORMAT_UNIX);
        }
    });
    return s_rgOptions[bCrLf ? 1 : 0];
}

char *MimeDupText(std::string_view sv) {
    char *p = static_cast<char *>(std::malloc(sv.size() + 1));
    if (!p) return nullptr;
    if (!sv.empty()) std::memcpy(p, sv.data(), sv.size());
    p[sv.size()] = '\0';
    return p;
}

HRESULT MimeReadStream(IStream *pStream, std::string &strOut) {
    strOut.clear();
    if (!pStream) return E_POINTER;
    char buffer[65536];
    for (;;) {
        ULONG cbRead = 0;
        HRESULT hr = pStream->Read(buffer, sizeof(buffer), &cbRead);
        if (FAILED(hr)) return hr;
        if (cbRead == 0) return S_OK;
        strOut.append(buffer, cbRead);
    }
}

std::string MimeReadGStream(GMimeStream *pStream) {
    std::string str;
    if (!pStream) return str;
    g_mime_stream_reset(pStream);
    char buffer[16384];
    for (;;) {
        ssize_t n = g_mime_stream_read(pStream, buffer, sizeof(buffer));
        if (n <= 0) break;
        str.append(buffer, static_cast<size_t>(n));
    }
    return str;
}

namespace {

constexpr uint64_t kHigh = 0x8080808080808080ull, kLow7 = 0x7F7F7F7F7F7F7F7Full;

uint64_t Word(const unsigned char *p) {
    uint64_t w = 0;
    std::memcpy(&w, p, sizeof(w));
    return w;
}

// Whether the words hold ASCII other than NUL alone, given their OR and the AND of each plus kLow7: a byte below
// 0x80 plus 0x7F reaches 0x80 unless it is 0, and carries into no other byte.
bool AllAsciiNoNul(uint64_t wOr, uint64_t wAndPlus) { return (wOr & kHigh) == 0 && (wAndPlus & kHigh) == kHigh; }

} // namespace

bool MimeIsUtf8(std::string_view sv) {
    const auto *p = reinterpret_cast<const unsigned char *>(sv.data());
    const unsigned char *pEnd = p + sv.size();
    while (p < pEnd) {
        // Runs of ASCII 32 bytes at a time, then 8.
        while (pEnd - p >= 32) {
            uint64_t a = Word(p), b = Word(p + 8), c = Word(p + 16), d = Word(p + 24);
            if (!AllAsciiNoNul(a | b | c | d, (a + kLow7) & (b + kLow7) & (c + kLow7) & (d + kLow7))) break;
            p += 32;
        }
        while (pEnd - p >= 8) {
            uint64_t w = Word(p);
            if (!AllAsciiNoNul(w, w + kLow7)) break;
            p += 8;
        }
        if (p == pEnd) break;
        if (*p != 0 && *p < 0x80) {
            ++p;
            continue;
        }
        // One character as its lead byte announces it; GLib judges it, as it would inside the whole text.
        ptrdiff_t cb = *p >= 0xF0 ? 4 : *p >= 0xE0 ? 3 : *p >= 0xC0 ? 2 : 1;
        cb = std::min(cb, pEnd - p);
        if (!g_utf8_validate_len(reinterpret_cast<const gchar *>(p), static_cast<gsize>(cb), nullptr)) return false;
        p += cb;
    }
    return true;
}

bool MimeEqualNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && g_ascii_strncasecmp(a.data(), b.data(), a.size()) == 0;
}
