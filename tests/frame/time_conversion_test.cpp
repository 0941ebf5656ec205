#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "frame/time_conversion.h"
#include "platform/errors.h"
#include "platform/time.h"
#include "support/log_capture.h"
#include "support/scoped_time_zone.h"
#include "support/system_time.h"
#include "tessel.h"

namespace {

using testsupport::CLogCapture;

using testsupport::MakeSystemTime;

using testsupport::ScopedTimeZone;

constexpr int32_t kInvalidParameter = 87;

TEST(FileTime2SystemTime, RoundTripWithBothFlagsOffKeepsMilliseconds) {
    CLogCapture capture;
    const SYSTEMTIME in = MakeSystemTime(2007, 3, 7, 14, 5, 9, 123);
    FILETIME ft{};
    ASSERT_TRUE(SystemTime2FileTime(&in, &ft, false, nullptr));
    SYSTEMTIME out{};
    int32_t nError = -5;
    ASSERT_TRUE(FileTime2SystemTime(&ft, &out, 0, &nError));
    EXPECT_EQ(nError, -5); // untouched on success
    EXPECT_EQ(out.wYear, 2007);
    EXPECT_EQ(out.wMonth, 3);
    EXPECT_EQ(out.wDay, 7);
    EXPECT_EQ(out.wDayOfWeek, 3);
    EXPECT_EQ(out.wHour, 14);
    EXPECT_EQ(out.wMinute, 5);
    EXPECT_EQ(out.wSecond, 9);
    EXPECT_EQ(out.wMilliseconds, 123);
    EXPECT_TRUE(capture.Lines().empty());
}

TEST(FileTime2SystemTime, AboveTheRangeFailsWithThePlatformCode) {
    CLogCapture capture;
    const FILETIME ft = U64ToFileTime(kFileTimeLimit);
    SYSTEMTIME st{};
    int32_t nError = 0;
    EXPECT_FALSE(FileTime2SystemTime(&ft, &st, 0, &nError));
    EXPECT_EQ(nError, kInvalidParameter);
    EXPECT_FALSE(FileTime2SystemTime(&ft, &st, 0, nullptr)); // logged all the same
    EXPECT_EQ(capture.Lines(), (std::vector<std::string>{"Err[0x57] in FileTime2SystemTime: FileTimeToSystemTime",
                                                         "Err[0x57] in FileTime2SystemTime: FileTimeToSystemTime"}));
}

TEST(FileTime2SystemTime, LocalShiftFailureIsItsOwnStep) {
    CLogCapture capture;
    const FILETIME ft = U64ToFileTime(kFileTimeLimit);
    SYSTEMTIME st{};
    int32_t nError = 0;
    EXPECT_FALSE(FileTime2SystemTime(&ft, &st, 1, &nError));
    EXPECT_EQ(nError, kInvalidParameter);
    EXPECT_EQ(capture.Lines(),
              std::vector<std::string>{"Err[0x57] in FileTime2SystemTime: FileTimeToLocalFileTime"});
}

TEST(FileTime2SystemTime, ToLocalFollowsTz) {
    ScopedTimeZone zone("JST-9");
    const SYSTEMTIME utc = MakeSystemTime(2021, 12, 31, 20, 30, 0, 5);
    FILETIME ft{};
    ASSERT_TRUE(SystemTime2FileTime(&utc, &ft, false, nullptr));
    SYSTEMTIME local{};
    ASSERT_TRUE(FileTime2SystemTime(&ft, &local, 7, nullptr)); // any non-zero flag
    EXPECT_EQ(local.wYear, 2022);
    EXPECT_EQ(local.wMonth, 1);
    EXPECT_EQ(local.wDay, 1);
    EXPECT_EQ(local.wHour, 5);
    EXPECT_EQ(local.wMilliseconds, 5);
}

TEST(SystemTime2FileTime, MonthThirteenFailsAtTheFirstStep) {
    CLogCapture capture;
    const SYSTEMTIME st = MakeSystemTime(2007, 13, 1, 0, 0, 0, 0);
    FILETIME ft{};
    int32_t nError = 0;
    EXPECT_FALSE(SystemTime2FileTime(&st, &ft, true, &nError));
    EXPECT_EQ(nError, kInvalidParameter);
    EXPECT_EQ(capture.Lines(), std::vector<std::string>{"Err[0x57] in SystemTime2FileTime: SystemTimeToFileTime"});
}

TEST(SystemTime2FileTime, FromLocalShiftsToUniversal) {
    ScopedTimeZone zone("EST5EDT,M3.2.0,M11.1.0");
    const SYSTEMTIME winter = MakeSystemTime(2021, 1, 15, 12, 0, 0, 0), summer = MakeSystemTime(2021, 7, 15, 12, 0, 0, 0);
    FILETIME ftLocal{}, ftUniversal{};
    ASSERT_TRUE(SystemTime2FileTime(&winter, &ftLocal, false, nullptr));
    ASSERT_TRUE(SystemTime2FileTime(&winter, &ftUniversal, true, nullptr));
    EXPECT_EQ(FileTimeToU64(ftUniversal) - FileTimeToU64(ftLocal), 5 * 3600 * 10000000ULL);
    ASSERT_TRUE(SystemTime2FileTime(&summer, &ftLocal, false, nullptr));
    ASSERT_TRUE(SystemTime2FileTime(&summer, &ftUniversal, true, nullptr));
    EXPECT_EQ(FileTimeToU64(ftUniversal) - FileTimeToU64(ftLocal), 4 * 3600 * 10000000ULL);
}

TEST(SystemTime2FileTime, LocalShiftFailureLeavesTheUnshiftedValue) {
    ScopedTimeZone zone("JST-9");
    CLogCapture capture;
    const SYSTEMTIME st = MakeSystemTime(1601, 1, 1, 3, 0, 0, 0); // nine hours back leave the range
    FILETIME ft{};
    int32_t nError = 0;
    EXPECT_FALSE(SystemTime2FileTime(&st, &ft, true, &nError));
    EXPECT_EQ(nError, kInvalidParameter);
    EXPECT_EQ(FileTimeToU64(ft), 3 * 3600 * 10000000ULL);
    EXPECT_EQ(capture.Lines(),
              std::vector<std::string>{"Err[0x57] in SystemTime2FileTime: LocalFileTimeToFileTime"});
}

} // namespace
