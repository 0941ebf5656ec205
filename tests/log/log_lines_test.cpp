#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <regex>
#include <string>
#include <vector>

#include "log/log.h"
#include "support/log_text.h"
#include "support/paths.h"

namespace {

using testsupport::ReadFileText;
using testsupport::StripTimeStamps;

// A CLog of its own with both files in a temporary directory; InitLog at level 1 writes no banner.
class LogLines : public testing::Test {
protected:
    void Configure(int32_t nLevel) { m_log.InitLog(ErrorPath().c_str(), FullPath().c_str(), false, nLevel); }
    std::filesystem::path FullPath() const { return m_dir.path() / "full.log"; }
    std::filesystem::path ErrorPath() const { return m_dir.path() / "error.err"; }
    std::vector<std::string> FullLines() const { return StripTimeStamps(ReadFileText(FullPath())); }

    testsupport::TempDir m_dir;
    CLog m_log;
};

TEST_F(LogLines, NothingIsFormattedBeforeConfiguration) {
    // A pointer that would crash "%s" proves that the line is dropped before formatting.
    const char *pszBad = reinterpret_cast<const char *>(1);
    m_log.Error("CTest::Run", 1, "%s", pszBad);
    m_log.Warning("CTest::Run", 1, "%s", pszBad);
    m_log.Info(0, "CTest::Run", "%s", pszBad);
    m_log.Assert(false, "CTest::Run", 1);
    EXPECT_FALSE(std::filesystem::exists(FullPath()));
}

TEST_F(LogLines, HeadCarriesLocalDateAndTime) {
    const char *pszOldZone = std::getenv("TZ");
    const std::string oldZone = pszOldZone ? pszOldZone : "";
    const bool bHadZone = pszOldZone != nullptr;
    setenv("TZ", "JST-9", 1);
    tzset();
    Configure(1);
    const std::time_t before = std::time(nullptr);
    m_log.Error("ICompare::CountProps", static_cast<int32_t>(0x8004010F), "lpItem->GetProps");
    const std::time_t after = std::time(nullptr);
    if (bHadZone) setenv("TZ", oldZone.c_str(), 1); else unsetenv("TZ");
    tzset();

    auto stamp = [](std::time_t t) {
        const std::time_t tJapan = t + 9 * 3600;
        std::tm tm{};
        gmtime_r(&tJapan, &tm);
        char sz[64];
        std::snprintf(sz, sizeof sz, "%02d/%02d/%04d %02d:%02d:%02d ", tm.tm_mday, tm.tm_mon + 1, tm.tm_year + 1900,
                      tm.tm_hour, tm.tm_min, tm.tm_sec);
        return std::string(sz);
    };
    const std::string text = ReadFileText(FullPath());
    const std::string rest = "Err[0x8004010f] in ICompare::CountProps: lpItem->GetProps\n";
    EXPECT_TRUE(text == stamp(before) + rest || text == stamp(after) + rest) << text;
}

TEST_F(LogLines, KindsAndCodes) {
    Configure(1);
    m_log.Error("CLabel::Method", 0, "no code");
    m_log.Error("CLabel::Method", static_cast<int32_t>(0x80004005), "with code %d", 5);
    m_log.Warning("CLabel::Method", -1, "warning");
    m_log.Warning("CLabel::Method", 0, "warning without code");
    m_log.Info(1, "CLabel::Method", "info");
    EXPECT_EQ(FullLines(), (std::vector<std::string>{
                               "Err in CLabel::Method: no code",
                               "Err[0x80004005] in CLabel::Method: with code 5",
                               "War[0xffffffff] in CLabel::Method: warning",
                               "War in CLabel::Method: warning without code",
                               "Inf in CLabel::Method: info",
                           }));
}

TEST_F(LogLines, ErrorLogTakesWarningsAndErrorsBehindTheVersion) {
    Configure(1);
    m_log.Info(0, "A", "info");
    m_log.Warning("B", 0, "warning");
    m_log.Error("C", 2, "error");
    const std::string version = m_log.Version();
    EXPECT_TRUE(std::regex_match(version, std::regex(R"(\d+\.\d+\.\d+\.\d+)"))) << version;
    const std::regex line(version + R"( \d\d/\d\d/\d{4} \d\d:\d\d:\d\d (.*))");
    const std::string text = ReadFileText(ErrorPath());
    const size_t nBreak = text.find('\n');
    ASSERT_NE(nBreak, std::string::npos);
    const std::string first = text.substr(0, nBreak), second = text.substr(nBreak + 1);
    std::smatch match;
    ASSERT_TRUE(std::regex_match(first, match, line)) << first;
    EXPECT_EQ(match[1], "War in B: warning");
    ASSERT_TRUE(std::regex_match(second, match, std::regex(version + R"( \d\d/\d\d/\d{4} \d\d:\d\d:\d\d (.*)\n)")))
        << second;
    EXPECT_EQ(match[1], "Err[0x2] in C: error");
}

TEST_F(LogLines, AssertLogsOnlyWhenTheConditionFails) {
    Configure(1);
    m_log.Assert(true, "pLib != NULL", 12);
    m_log.Assert(false, "pLib != NULL", 42);
    m_log.Assert(false, "CDuplicateSearch::Add", 3);
    EXPECT_EQ(FullLines(), (std::vector<std::string>{"Err in pLib != NULL: ASSERT failed in line 42",
                                                     "Err in CDuplicateSearch::Add: ASSERT failed in line 3"}));
}

TEST_F(LogLines, InfoLevelsAtOne) {
    Configure(1);
    m_log.Info(0, "L", "zero");
    m_log.Info(1, "L", "one");
    m_log.Info(2, "L", "two");
    m_log.Info(3, "L", "three");
    EXPECT_EQ(FullLines(), (std::vector<std::string>{"Inf in L: zero", "Inf in L: one"}));
}

TEST_F(LogLines, InfoLevelsAtThree) {
    m_log.InitLog(nullptr, FullPath().c_str(), false, 3);
    m_log.Info(3, "L", "three");
    m_log.Info(4, "L", "four");
    EXPECT_EQ(FullLines(), (std::vector<std::string>{"Inf in L: three"})); // the banner went to g_Log
}

TEST_F(LogLines, LevelZeroKeepsOnlyLevelZero) {
    Configure(0);
    m_log.Info(0, "L", "zero");
    m_log.Info(1, "L", "one");
    EXPECT_EQ(FullLines(), (std::vector<std::string>{"Inf in L: zero"}));
}

TEST_F(LogLines, NegativeLevelSuppressesInfoButNotWarningsOrErrors) {
    Configure(-1);
    m_log.Info(0, "L", "zero");
    m_log.Warning("L", 0, "warning");
    m_log.Error("L", 0, "error");
    EXPECT_EQ(FullLines(), (std::vector<std::string>{"War in L: warning", "Err in L: error"}));
}

TEST_F(LogLines, MessageIsCutAt511Bytes) {
    Configure(1);
    const std::string longText(1000, 'm');
    m_log.Error("L", 0, "%s", longText.c_str());
    EXPECT_EQ(FullLines(), (std::vector<std::string>{"Err in L: " + std::string(511, 'm')}));
    EXPECT_EQ(ReadFileText(FullPath()).back(), '\n');
}

TEST_F(LogLines, HeadIsCutAt511Bytes) {
    Configure(1);
    const std::string longLabel(600, 'l');
    m_log.Error(longLabel.c_str(), 0, "message");
    const std::string text = ReadFileText(FullPath());
    // 20 bytes of time stamp and "Err in ", then as much of the label as fits 511 bytes of head.
    ASSERT_GT(text.size(), 20u);
    EXPECT_EQ(text.substr(20), "Err in " + std::string(511 - 20 - 7, 'l') + "message\n");
}

TEST_F(LogLines, MessageWithItsOwnLineEndLeavesAnEmptyLine) {
    Configure(1);
    m_log.Error("L", 0, "first\n");
    m_log.Error("L", 0, "second");
    EXPECT_EQ(FullLines(), (std::vector<std::string>{"Err in L: first", "", "Err in L: second"}));
}

TEST_F(LogLines, WideTextIsWrittenAsUtf8) {
    Configure(1);
    m_log.Error("CTest::Run", static_cast<int32_t>(0x8004010f), "name=%S key=%ls n=%d", u"Zoë 😀", u"k", 7);
    m_log.Error("CTest::Run", 0, "null=%S plain=%s", static_cast<const char16_t *>(nullptr), "ä");
    EXPECT_EQ(FullLines(), (std::vector<std::string>{"Err[0x8004010f] in CTest::Run: name=Zoë 😀 key=k n=7",
                                                     "Err in CTest::Run: null=(null) plain=ä"}));
}

TEST_F(LogLines, DebugOutputGoesToStandardErrorAlone) {
    m_log.InitLog(nullptr, nullptr, true, 1);
    testing::internal::CaptureStderr();
    m_log.Warning("L", 0x10, "to the debugger");
    const std::vector<std::string> lines = StripTimeStamps(testing::internal::GetCapturedStderr());
    EXPECT_EQ(lines, (std::vector<std::string>{"War[0x10] in L: to the debugger"}));
    EXPECT_FALSE(std::filesystem::exists(FullPath()));
}

TEST_F(LogLines, CloseFilesKeepsThePathsAndReopenFilesAppends) {
    Configure(1);
    m_log.Error("L", 0, "before");
    m_log.CloseFiles();
    m_log.Error("L", 0, "while closed");
    EXPECT_TRUE(m_log.ReopenFiles());
    m_log.Error("L", 0, "after");
    EXPECT_EQ(FullLines(), (std::vector<std::string>{"Err in L: before", "Err in L: after"}));
    EXPECT_EQ(StripTimeStamps(ReadFileText(ErrorPath())).size(), 2u);
}

TEST_F(LogLines, ReopenFilesWithNoPathsSucceeds) {
    m_log.InitLog(nullptr, nullptr, false, 1);
    EXPECT_TRUE(m_log.ReopenFiles()); // nothing tried, nothing failed
}

} // namespace
