#include "providers/mime/inetdate.h"

#include "platform/time.h"
#include "providers/mime/gmimeutil.h"

namespace {

struct GDateTimeUnref {
    void operator()(GDateTime *p) const {
        if (p) g_date_time_unref(p);
    }
};
using GDateTimePtr = std::unique_ptr<GDateTime, GDateTimeUnref>;

} // namespace

HRESULT MimeParseInetDate(const char *pszDate, FILETIME *pft) {
    if (!pft) return E_POINTER;
    *pft = FILETIME{0, 0};
    if (!pszDate) return MIME_E_INVALID_INET_DATE;
    MimeEnsureInit();
    GDateTimePtr pDate(g_mime_utils_header_decode_date(pszDate));
    if (!pDate) {
        // ISO 8601 as some generators write it; without a zone it counts as UTC.
        GCharPtr pTrimmed(g_strstrip(g_strdup(pszDate)));
        GTimeZone *pUtc = g_time_zone_new_utc();
        pDate.reset(g_date_time_new_from_iso8601(pTrimmed.get(), pUtc));
        g_time_zone_unref(pUtc);
    }
    if (!pDate) return MIME_E_INVALID_INET_DATE;
    int64_t nSeconds = g_date_time_to_unix(pDate.get());
    if (nSeconds < -kFileTimeUnixEpochSeconds) return MIME_E_INVALID_INET_DATE;
    *pft = FileTimeFromUnixSeconds(nSeconds);
    return S_OK;
}

std::string MimeFormatInetDate(const FILETIME &ft) {
    uint64_t n = FileTimeToU64(ft);
    if (n >= (1ULL << 63)) return std::string();
    GDateTimePtr pDate(g_date_time_new_from_unix_utc(UnixSecondsFromFileTime(ft)));
    if (!pDate) return std::string();
    MimeEnsureInit();
    GCharPtr psz(g_mime_utils_header_format_date(pDate.get()));
    return psz ? std::string(psz.get()) : std::string();
}

HRESULT MimeOleInetDateToFileTime(LPCSTR pszDate, FILETIME *pft) { return MimeParseInetDate(pszDate, pft); }
