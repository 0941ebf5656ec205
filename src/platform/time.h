// Time on Linux in the platform's terms: FILETIME (100-ns ticks since 1601-01-01 UTC) and SYSTEMTIME, with local
// time by the TZ environment as libc has it.
#pragma once

#include <cstdint>
#include <ctime>

#include "platform/com.h"

// Seconds between 1601-01-01 and 1970-01-01.
inline constexpr int64_t kFileTimeUnixEpochSeconds = 11644473600LL;
inline constexpr int64_t kFileTimeTicksPerSecond = 10000000LL;

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
