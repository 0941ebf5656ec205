#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <thread>

#include "platform/errors.h"
#include "platform/time.h"
#include "support/scoped_time_zone.h"
#include "support/system_time.h"

namespace {

using testsupport::MakeSystemTime;

void ExpectSameTime(const SYSTEMTIME &a, const SYSTEMTIME &b) {
    EXPECT_EQ(a.wYear, b.wYear);
    EXPECT_EQ(a.wMonth, b.wMonth);
    EXPECT_EQ(a.wDay, b.wDay);
    EXPECT_EQ(a.wHour, b.wHour);
    EXPECT_EQ(a.wMinute, b.wMinute);
    EXPECT_EQ(a.wSecond, b.wSecond);
    EXPECT_EQ(a.wMilliseconds, b.wMilliseconds);
}

FILETIME FileTimeOf(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0) {
    SYSTEMTIME st = MakeSystemTime(y, mo, d, h, mi, s, ms);
    FILETIME ft{};
    EXPECT_TRUE(SystemTimeToFileTime(&st, &ft));
    return ft;
}

using testsupport::ScopedTimeZone;

constexpr int64_t kTicksPerHour = 3600 * kFileTimeTicksPerSecond;

TEST(FileTimeToSystemTime, StartOfTheRangeIsMonday1601) {
    FILETIME ft{0, 0};
    SYSTEMTIME st{};
    ASSERT_TRUE(FileTimeToSystemTime(&ft, &st));
    ExpectSameTime(st, MakeSystemTime(1601, 1, 1));
    EXPECT_EQ(st.wDayOfWeek, 1);
}

TEST(FileTimeToSystemTime, UnixEpochIsThursday) {
    FILETIME ft = U64ToFileTime(116444736000000000ULL);
    SYSTEMTIME st{};
    ASSERT_TRUE(FileTimeToSystemTime(&ft, &st));
    ExpectSameTime(st, MakeSystemTime(1970, 1, 1));
    EXPECT_EQ(st.wDayOfWeek, 4);
}

TEST(FileTimeToSystemTime, LastConvertibleTick) {
    FILETIME ft = U64ToFileTime(kFileTimeLimit - 1);
    SYSTEMTIME st{};
    ASSERT_TRUE(FileTimeToSystemTime(&ft, &st));
    ExpectSameTime(st, MakeSystemTime(30828, 9, 14, 2, 48, 5, 477));
}

TEST(FileTimeToSystemTime, AboveTheRangeFailsWithInvalidParameter) {
    for (uint64_t n : {kFileTimeLimit, kFileTimeLimit + 1, ~uint64_t{0}}) {
        SetLastError(ERROR_SUCCESS);
        FILETIME ft = U64ToFileTime(n);
        SYSTEMTIME st{};
        EXPECT_FALSE(FileTimeToSystemTime(&ft, &st)) << n;
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    }
}

TEST(SystemTimeToFileTime, KnownInstant) {
    FILETIME ft = FileTimeOf(2007, 3, 7, 14, 5, 9, 123);
    EXPECT_EQ(UnixSecondsFromFileTime(ft), 1173276309);
    EXPECT_EQ(FileTimeToU64(ft) % kFileTimeTicksPerSecond, 1230000u);
}

TEST(SystemTimeToFileTime, RoundTripKeepsMillisecondsAndGivesDayOfWeek) {
    const SYSTEMTIME samples[] = {
        MakeSystemTime(1601, 1, 1, 0, 0, 0, 1),     MakeSystemTime(1899, 12, 31, 23, 59, 59, 999),
        MakeSystemTime(2000, 2, 29, 12, 0, 0, 500), MakeSystemTime(2007, 3, 7, 14, 5, 9, 123),
        MakeSystemTime(2038, 1, 19, 3, 14, 8, 7),   MakeSystemTime(30827, 12, 31, 23, 59, 59, 999),
    };
    for (const SYSTEMTIME &in : samples) {
        FILETIME ft{};
        ASSERT_TRUE(SystemTimeToFileTime(&in, &ft));
        SYSTEMTIME out{};
        ASSERT_TRUE(FileTimeToSystemTime(&ft, &out));
        ExpectSameTime(out, in);
    }
    SYSTEMTIME st = MakeSystemTime(2007, 3, 7);
    FILETIME ft{};
    ASSERT_TRUE(SystemTimeToFileTime(&st, &ft));
    ASSERT_TRUE(FileTimeToSystemTime(&ft, &st));
    EXPECT_EQ(st.wDayOfWeek, 3); // a Wednesday
}

TEST(SystemTimeToFileTime, DayOfWeekIsIgnoredOnTheWayIn) {
    SYSTEMTIME a = MakeSystemTime(2020, 5, 17);
    SYSTEMTIME b = a;
    b.wDayOfWeek = 6;
    FILETIME fa{}, fb{};
    ASSERT_TRUE(SystemTimeToFileTime(&a, &fa));
    ASSERT_TRUE(SystemTimeToFileTime(&b, &fb));
    EXPECT_EQ(CompareFileTime(&fa, &fb), 0);
}

TEST(SystemTimeToFileTime, FieldsOutOfRangeFail) {
    const SYSTEMTIME bad[] = {
        MakeSystemTime(2007, 13, 1),           MakeSystemTime(2007, 0, 1),
        MakeSystemTime(2007, 2, 29),           MakeSystemTime(1900, 2, 29),
        MakeSystemTime(2007, 4, 31),           MakeSystemTime(2007, 1, 0),
        MakeSystemTime(2007, 1, 1, 24),        MakeSystemTime(2007, 1, 1, 0, 60),
        MakeSystemTime(2007, 1, 1, 0, 0, 60),  MakeSystemTime(2007, 1, 1, 0, 0, 0, 1000),
        MakeSystemTime(1600, 12, 31),          MakeSystemTime(30828, 1, 1),
    };
    for (const SYSTEMTIME &st : bad) {
        SetLastError(ERROR_SUCCESS);
        FILETIME ft{};
        EXPECT_FALSE(SystemTimeToFileTime(&st, &ft))
            << st.wYear << "-" << st.wMonth << "-" << st.wDay << " " << st.wHour << ":" << st.wMinute << ":"
            << st.wSecond << "." << st.wMilliseconds;
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    }
}

TEST(LocalFileTime, FollowsTzWithDaylightSavingTime) {
    ScopedTimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    FILETIME winter = FileTimeOf(2021, 1, 15, 12), summer = FileTimeOf(2021, 7, 15, 12);
    FILETIME local{};
    ASSERT_TRUE(FileTimeToLocalFileTime(&winter, &local));
    EXPECT_EQ(static_cast<int64_t>(FileTimeToU64(local) - FileTimeToU64(winter)), kTicksPerHour);
    ASSERT_TRUE(FileTimeToLocalFileTime(&summer, &local));
    EXPECT_EQ(static_cast<int64_t>(FileTimeToU64(local) - FileTimeToU64(summer)), 2 * kTicksPerHour);
}

TEST(LocalFileTime, WestOfGreenwichShiftsBack) {
    ScopedTimeZone zone("EST5EDT,M3.2.0,M11.1.0");
    FILETIME utc = FileTimeOf(2021, 1, 15, 3, 30, 0, 250);
    FILETIME local{};
    ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local));
    SYSTEMTIME st{};
    ASSERT_TRUE(FileTimeToSystemTime(&local, &st));
    ExpectSameTime(st, MakeSystemTime(2021, 1, 14, 22, 30, 0, 250));
}

TEST(LocalFileTime, RoundTripsInTwoZones) {
    for (const char *pszZone : {"CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0", "JST-9"}) {
        ScopedTimeZone zone(pszZone);
        // Every 7 hours through a year, which crosses both changes of daylight saving time.
        const uint64_t nStart = FileTimeToU64(FileTimeOf(2021, 1, 1, 0, 0, 0, 42));
        for (int i = 0; i < 365 * 24 / 7; ++i) {
            FILETIME utc = U64ToFileTime(nStart + static_cast<uint64_t>(i) * 7 * kTicksPerHour);
            FILETIME local{}, back{};
            ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local));
            ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
            EXPECT_EQ(FileTimeToU64(back), FileTimeToU64(utc)) << pszZone << " sample " << i;
        }
    }
}

TEST(LocalFileTime, AgreesWithLibcLocaltime) {
    ScopedTimeZone zone("EST5EDT,M3.2.0,M11.1.0");
    const std::time_t t = 1625140800; // 2021-07-01 12:00 UTC
    std::tm tmLocal{};
    ASSERT_TRUE(localtime_r(&t, &tmLocal));
    FILETIME utc = FileTimeFromUnixSeconds(t), local{};
    ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local));
    SYSTEMTIME st{};
    ASSERT_TRUE(FileTimeToSystemTime(&local, &st));
    EXPECT_EQ(st.wHour, tmLocal.tm_hour);
    EXPECT_EQ(st.wDay, tmLocal.tm_mday);
}

TEST(LocalFileTime, OutOfRangeFails) {
    ScopedTimeZone zone("JST-9");
    FILETIME tooLate = U64ToFileTime(kFileTimeLimit), out{};
    EXPECT_FALSE(FileTimeToLocalFileTime(&tooLate, &out));
    EXPECT_FALSE(LocalFileTimeToFileTime(&tooLate, &out));
    FILETIME nearEnd = U64ToFileTime(kFileTimeLimit - 1);
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(FileTimeToLocalFileTime(&nearEnd, &out)); // nine hours east leaves the range
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    FILETIME nearStart = U64ToFileTime(0);
    EXPECT_FALSE(LocalFileTimeToFileTime(&nearStart, &out)); // nine hours back leaves it too
}

TEST(CompareFileTime, OrdersByBothHalves) {
    FILETIME a = U64ToFileTime(0x00000001FFFFFFFFULL), b = U64ToFileTime(0x0000000200000000ULL);
    EXPECT_EQ(CompareFileTime(&a, &b), -1);
    EXPECT_EQ(CompareFileTime(&b, &a), 1);
    EXPECT_EQ(CompareFileTime(&a, &a), 0);
}

TEST(GetSystemTimeAsFileTime, AgreesWithTheClock) {
    const std::time_t before = std::time(nullptr);
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const std::time_t after = std::time(nullptr);
    EXPECT_GE(UnixSecondsFromFileTime(now), before);
    EXPECT_LE(UnixSecondsFromFileTime(now), after);
}

TEST(LastError, BelongsToTheThread) {
    SetLastError(ERROR_FILE_EXISTS);
    std::thread other([] {
        EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
        SetLastError(ERROR_DISK_FULL);
    });
    other.join();
    EXPECT_EQ(GetLastError(), ERROR_FILE_EXISTS);
}

} // namespace
