// Time on Linux in the platform's terms: FILETIME (100-ns ticks since 1601-01-01 UTC) and SYSTEMTIME, with local
// time by the TZ environment as libc has it.
//
// The conversions behave as the platform's calls of the same names: a FILETIME of 2^63 ticks or more is out of
// range, a SYSTEMTIME must name a real instant between 1601 and 30827 (wDayOfWeek is ignored on the way in), and a
// failure returns false with ERROR_INVALID_PARAMETER as the thread's last error (platform/errors.h). The local
// shift is the one that TZ gives for that very instant, daylight saving time included.
#pragma once

#include <cstdint>
#include <ctime>

#include "platform/com.h"

// Seconds between 1601-01-01 and 1970-01-01.
inline constexpr int64_t kFileTimeUnixEpochSeconds = 11644473600LL;
inline constexpr int64_t kFileTimeTicksPerSecond = 10000000LL;
// The first FILETIME that no longer converts.
inline constexpr uint64_t kFileTimeLimit = 0x8000000000000000ULL;

inline constexpr uint64_t FileTimeToU64(const FILETIME &ft) {
    return (static_cast<uint64_t>(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
}
inline constexpr FILETIME U64ToFileTime(uint64_t n) {
    return FILETIME{static_cast<uint32_t>(n & 0xFFFFFFFFu), static_cast<uint32_t>(n >> 32)};
}
// A Unix time (seconds, UTC) as FILETIME; times before 1601 give 0.
inline constexpr FILETIME FileTimeFromUnixSeconds(int64_t nSeconds) {
    int64_t s = nSeconds + kFileTimeUnixEpochSeconds;
    return U64ToFileTime(s < 0 ? 0 : static_cast<uint64_t>(s) * kFileTimeTicksPerSecond);
}
// A FILETIME as Unix seconds (rounded down).
inline constexpr int64_t UnixSecondsFromFileTime(const FILETIME &ft) {
    return static_cast<int64_t>(FileTimeToU64(ft) / kFileTimeTicksPerSecond) - kFileTimeUnixEpochSeconds;
}

// FILETIME to calendar fields, wDayOfWeek included (0 is Sunday).
BOOL FileTimeToSystemTime(const FILETIME *pFileTime, SYSTEMTIME *pSystemTime);
// Calendar fields to FILETIME; fails for a field out of range (month 13, 30 February, hour 24 ...).
BOOL SystemTimeToFileTime(const SYSTEMTIME *pSystemTime, FILETIME *pFileTime);
// Universal to local time and back, by the shift of TZ at that instant.
BOOL FileTimeToLocalFileTime(const FILETIME *pFileTime, FILETIME *pLocalFileTime);
BOOL LocalFileTimeToFileTime(const FILETIME *pLocalFileTime, FILETIME *pFileTime);
// -1, 0 or 1 as the first time is earlier than, equal to or later than the second.
LONG CompareFileTime(const FILETIME *pFileTime1, const FILETIME *pFileTime2);
// The current time, universal.
void GetSystemTimeAsFileTime(FILETIME *pFileTime);
