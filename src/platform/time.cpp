#include "platform/time.h"

#include "platform/errors.h"

namespace {

constexpr int64_t kTicksPerMillisecond = 10000;
constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kTicksPerDay = kSecondsPerDay * kFileTimeTicksPerSecond;
constexpr int kFirstYear = 1601;
constexpr int kLastYear = 30827;

// Days from 1970-01-01 to a date of the proleptic Gregorian calendar (months 1 to 12).
constexpr int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

// The inverse of DaysFromCivil.
constexpr void CivilFromDays(int64_t z, int64_t *pYear, unsigned *pMonth, unsigned *pDay) {
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    *pDay = doy - (153 * mp + 2) / 5 + 1;
    *pMonth = mp < 10 ? mp + 3 : mp - 9;
    *pYear = static_cast<int64_t>(yoe) + era * 400 + (*pMonth <= 2);
}

constexpr int64_t kDaysFrom1970To1601 = DaysFromCivil(kFirstYear, 1, 1);
static_assert(-kDaysFrom1970To1601 * kSecondsPerDay == kFileTimeUnixEpochSeconds);

constexpr bool IsLeapYear(unsigned y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

constexpr unsigned DaysInMonth(unsigned y, unsigned m) {
    constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && IsLeapYear(y) ? 29 : kDays[m - 1];
}

BOOL Fail() {
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
}

// The local shift east of UTC, in seconds, that TZ gives for a Unix time.
bool LocalShiftAt(int64_t nUnixSeconds, int64_t *pnShift) {
    const std::time_t t = static_cast<std::time_t>(nUnixSeconds);
    std::tm local{};
    if (!localtime_r(&t, &local)) return false;
    *pnShift = local.tm_gmtoff;
    return true;
}

// Unix seconds of a tick count, rounded down.
int64_t UnixSecondsOfTicks(uint64_t nTicks) {
    return static_cast<int64_t>(nTicks / kFileTimeTicksPerSecond) - kFileTimeUnixEpochSeconds;
}

// Moves a tick count by a shift in seconds; false if the result leaves the convertible range.
bool ShiftTicks(uint64_t nTicks, int64_t nShiftSeconds, FILETIME *pResult) {
    // nTicks is below 2^63 and a shift is at most a day or so, so the sum cannot wrap in 64 unsigned bits.
    const uint64_t nShift = static_cast<uint64_t>(nShiftSeconds < 0 ? -nShiftSeconds : nShiftSeconds) *
                            static_cast<uint64_t>(kFileTimeTicksPerSecond);
    if (nShiftSeconds < 0 && nTicks < nShift) return false;
    const uint64_t nResult = nShiftSeconds < 0 ? nTicks - nShift : nTicks + nShift;
    if (nResult >= kFileTimeLimit) return false;
    *pResult = U64ToFileTime(nResult);
    return true;
}

} // namespace

BOOL FileTimeToSystemTime(const FILETIME *pFileTime, SYSTEMTIME *pSystemTime) {
    if (!pFileTime || !pSystemTime) return Fail();
    const uint64_t nTicks = FileTimeToU64(*pFileTime);
    if (nTicks >= kFileTimeLimit) return Fail();

    const int64_t nDays = static_cast<int64_t>(nTicks / kTicksPerDay);
    int64_t nRest = static_cast<int64_t>(nTicks % kTicksPerDay);
    int64_t nYear = 0;
    unsigned nMonth = 0, nDay = 0;
    CivilFromDays(nDays + kDaysFrom1970To1601, &nYear, &nMonth, &nDay);

    pSystemTime->wYear = static_cast<WORD>(nYear);
    pSystemTime->wMonth = static_cast<WORD>(nMonth);
    pSystemTime->wDay = static_cast<WORD>(nDay);
    pSystemTime->wDayOfWeek = static_cast<WORD>((nDays + 1) % 7); // 1601-01-01 was a Monday
    pSystemTime->wHour = static_cast<WORD>(nRest / (3600 * kFileTimeTicksPerSecond));
    nRest %= 3600 * kFileTimeTicksPerSecond;
    pSystemTime->wMinute = static_cast<WORD>(nRest / (60 * kFileTimeTicksPerSecond));
    nRest %= 60 * kFileTimeTicksPerSecond;
    pSystemTime->wSecond = static_cast<WORD>(nRest / kFileTimeTicksPerSecond);
    nRest %= kFileTimeTicksPerSecond;
    pSystemTime->wMilliseconds = static_cast<WORD>(nRest / kTicksPerMillisecond);
    return true;
}

BOOL SystemTimeToFileTime(const SYSTEMTIME *pSystemTime, FILETIME *pFileTime) {
    if (!pSystemTime || !pFileTime) return Fail();
    const SYSTEMTIME &st = *pSystemTime;
    if (st.wYear < kFirstYear || st.wYear > kLastYear || st.wMonth < 1 || st.wMonth > 12 || st.wDay < 1 ||
        st.wDay > DaysInMonth(st.wYear, st.wMonth) || st.wHour > 23 || st.wMinute > 59 || st.wSecond > 59 ||
        st.wMilliseconds > 999)
        return Fail();

    const int64_t nDays = DaysFromCivil(st.wYear, st.wMonth, st.wDay) - kDaysFrom1970To1601;
    const int64_t nSeconds = nDays * kSecondsPerDay + st.wHour * 3600 + st.wMinute * 60 + st.wSecond;
    *pFileTime = U64ToFileTime(static_cast<uint64_t>(nSeconds * kFileTimeTicksPerSecond +
                                                     st.wMilliseconds * kTicksPerMillisecond));
    return true;
}

BOOL FileTimeToLocalFileTime(const FILETIME *pFileTime, FILETIME *pLocalFileTime) {
    if (!pFileTime || !pLocalFileTime) return Fail();
    const uint64_t nTicks = FileTimeToU64(*pFileTime);
    if (nTicks >= kFileTimeLimit) return Fail();
    int64_t nShift = 0;
    if (!LocalShiftAt(UnixSecondsOfTicks(nTicks), &nShift)) return Fail();
    return ShiftTicks(nTicks, nShift, pLocalFileTime) ? true : Fail();
}

BOOL LocalFileTimeToFileTime(const FILETIME *pLocalFileTime, FILETIME *pFileTime) {
    if (!pLocalFileTime || !pFileTime) return Fail();
    const uint64_t nTicks = FileTimeToU64(*pLocalFileTime);
    if (nTicks >= kFileTimeLimit) return Fail();
    // The shift belongs to the universal instant we are looking for: guess it from the local reading, then take
    // the shift at the guessed instant, which settles it also next to a change of daylight saving time.
    const int64_t nLocalSeconds = UnixSecondsOfTicks(nTicks);
    int64_t nShift = 0;
    if (!LocalShiftAt(nLocalSeconds, &nShift) || !LocalShiftAt(nLocalSeconds - nShift, &nShift)) return Fail();
    return ShiftTicks(nTicks, -nShift, pFileTime) ? true : Fail();
}

LONG CompareFileTime(const FILETIME *pFileTime1, const FILETIME *pFileTime2) {
    const uint64_t a = FileTimeToU64(*pFileTime1);
    const uint64_t b = FileTimeToU64(*pFileTime2);
    return a < b ? -1 : (a > b ? 1 : 0);
}

void GetSystemTimeAsFileTime(FILETIME *pFileTime) {
    std::timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const int64_t nTicks = (static_cast<int64_t>(now.tv_sec) + kFileTimeUnixEpochSeconds) * kFileTimeTicksPerSecond +
                           now.tv_nsec / 100;
    *pFileTime = U64ToFileTime(nTicks < 0 ? 0 : static_cast<uint64_t>(nTicks));
}
