#include "timetext.h"

#include <cstdio>
#include <ctime>

namespace {

bool IsZero(const FILETIME &ft) { return ft.dwLowDateTime == 0 && ft.dwHighDateTime == 0; }

} // namespace

bool ParseDate(const std::string &strText, SYSTEMTIME &st) {
    int nYear = 0, nMonth = 0, nDay = 0, nHour = 0, nMinute = 0, nSecond = 0;
    char chSep = 0, chExtra = 0;
    const int nRead = std::sscanf(strText.c_str(), "%4d-%2d-%2d%c%2d:%2d:%2d%c", &nYear, &nMonth, &nDay, &chSep,
                                  &nHour, &nMinute, &nSecond, &chExtra);
    if (nRead != 3 && nRead != 6 && nRead != 7) return false;
    if (nRead > 3 && chSep != ' ' && chSep != 'T') return false;
    if (nYear < 1601 || nMonth < 1 || nMonth > 12 || nDay < 1 || nDay > 31 || nHour > 23 || nMinute > 59 ||
        nSecond > 59 || nHour < 0 || nMinute < 0 || nSecond < 0)
        return false;
    st = SYSTEMTIME{};
    st.wYear = static_cast<uint16_t>(nYear);
    st.wMonth = static_cast<uint16_t>(nMonth);
    st.wDay = static_cast<uint16_t>(nDay);
    st.wHour = static_cast<uint16_t>(nHour);
    st.wMinute = static_cast<uint16_t>(nMinute);
    st.wSecond = static_cast<uint16_t>(nSecond);
    return true;
}

bool LocalToUtc(const SYSTEMTIME &stLocal, SYSTEMTIME &stUtc) {
    std::tm tmLocal{};
    tmLocal.tm_year = stLocal.wYear - 1900;
    tmLocal.tm_mon = stLocal.wMonth - 1;
    tmLocal.tm_mday = stLocal.wDay;
    tmLocal.tm_hour = stLocal.wHour;
    tmLocal.tm_min = stLocal.wMinute;
    tmLocal.tm_sec = stLocal.wSecond;
    tmLocal.tm_isdst = -1;
    const std::time_t t = std::mktime(&tmLocal);
    std::tm tmUtc{};
    if (t == static_cast<std::time_t>(-1) || !gmtime_r(&t, &tmUtc)) return false;
    stUtc = SYSTEMTIME{};
    stUtc.wYear = static_cast<uint16_t>(tmUtc.tm_year + 1900);
    stUtc.wMonth = static_cast<uint16_t>(tmUtc.tm_mon + 1);
    stUtc.wDay = static_cast<uint16_t>(tmUtc.tm_mday);
    stUtc.wDayOfWeek = static_cast<uint16_t>(tmUtc.tm_wday);
    stUtc.wHour = static_cast<uint16_t>(tmUtc.tm_hour);
    stUtc.wMinute = static_cast<uint16_t>(tmUtc.tm_min);
    stUtc.wSecond = static_cast<uint16_t>(tmUtc.tm_sec);
    return true;
}

std::string FormatLocal(const FILETIME &ft) {
    SYSTEMTIME st{};
    if (IsZero(ft) || !FileTime2SystemTime(&ft, &st, 1, nullptr)) return std::string();
    char sz[64];
    std::snprintf(sz, sizeof sz, "%04u-%02u-%02u %02u:%02u", st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute);
    return sz;
}

std::string FormatUtc(const FILETIME &ft) {
    SYSTEMTIME st{};
    if (IsZero(ft) || !FileTime2SystemTime(&ft, &st, 0, nullptr)) return std::string();
    char sz[64];
    std::snprintf(sz, sizeof sz, "%04u-%02u-%02uT%02u:%02u:%02uZ", st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute,
                  st.wSecond);
    return sz;
}
