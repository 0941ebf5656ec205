#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "log/log.h"
#include "support/log_capture.h"
#include "support/log_text.h"
#include "support/paths.h"
#include "tessel_version.h"

namespace {

using testsupport::CLogCapture;
using testsupport::ReadFileText;
using testsupport::StripTimeStamps;

// The library's version as the banner and the error log write it; this program's package note carries the
// project's version too (see tests/CMakeLists.txt).
std::string ProjectVersion() {
    return std::to_string(TESSEL_VERSION_MAJOR) + "." + std::to_string(TESSEL_VERSION_MINOR) + "." +
           std::to_string(TESSEL_VERSION_PATCH) + "." + std::to_string(TESSEL_VERSION_BUILD);
}

// Leaves g_Log unconfigured after each test.
class GlobalLog : public testing::Test {
protected:
    ~GlobalLog() override { g_Log.InitLog(nullptr, nullptr, false, 1); }
    std::filesystem::path Path(const char *pszName) const { return m_dir.path() / pszName; }

    testsupport::TempDir m_dir;
};

TEST_F(GlobalLog, BannerAtLevelTwoNamesLibraryAndProgram) {
    g_Log.InitLog(nullptr, Path("full.log").c_str(), false, 2);
    const std::string text = ReadFileText(Path("full.log"));
    ASSERT_GT(text.size(), 20u);
    EXPECT_EQ(text.substr(20), "Inf in InitLog: \n\tDLL.Version = " + ProjectVersion() + "\n\tEXE.Version = " +
                                   ProjectVersion() + "\n\tEXE.Filename = test_log\n");
    EXPECT_EQ(std::string(g_Log.Version()), ProjectVersion());
}

TEST_F(GlobalLog, NoBannerAtLevelOne) {
    g_Log.InitLog(Path("error.err").c_str(), Path("full.log").c_str(), false, 1);
    EXPECT_EQ(ReadFileText(Path("full.log")), "");
    EXPECT_EQ(ReadFileText(Path("error.err")), "");
}

TEST_F(GlobalLog, BannerIsTakenLiterally) {
    // A program name with "%" must not be read as a format: the banner goes through "%s".
    g_Log.InitLog(nullptr, Path("full.log").c_str(), false, 2);
    EXPECT_EQ(ReadFileText(Path("full.log")).find("(null)"), std::string::npos);
}

TEST_F(GlobalLog, InitLogReplacesTheWholeConfiguration) {
    g_Log.InitLog(Path("first.err").c_str(), Path("first.log").c_str(), false, 1);
    g_Log.Error("L", 0, "one");
    g_Log.InitLog(nullptr, Path("second.log").c_str(), false, 1);
    g_Log.Error("L", 0, "two");
    EXPECT_EQ(StripTimeStamps(ReadFileText(Path("first.log"))), std::vector<std::string>{"Err in L: one"});
    EXPECT_EQ(StripTimeStamps(ReadFileText(Path("second.log"))), std::vector<std::string>{"Err in L: two"});
    EXPECT_EQ(StripTimeStamps(ReadFileText(Path("first.err"))).size(), 1u);
}

TEST(LogBanner, AnotherObjectWritesItsBannerToTheGlobalLog) {
    CLogCapture capture(2);
    const size_t nBefore = capture.Text().size();
    testsupport::TempDir dir;
    CLog other;
    other.InitLog(nullptr, (dir.path() / "other.log").c_str(), false, 2);
    EXPECT_EQ(ReadFileText(dir.path() / "other.log"), "");
    const std::vector<std::string> lines = StripTimeStamps(capture.Text().substr(nBefore));
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], "Inf in InitLog: ");
}

TEST(LogDestructor, WritesDoneLogToTheGlobalLogWhenItsFullLogIsOpen) {
    CLogCapture capture(2);
    testsupport::TempDir dir;
    auto *pLog = new CLog;
    pLog->InitLog(nullptr, (dir.path() / "private.log").c_str(), false, 3);
    const size_t nBefore = capture.Text().size();
    delete pLog;
    EXPECT_EQ(StripTimeStamps(capture.Text().substr(nBefore)), (std::vector<std::string>{"Inf in DoneLog: ", "", ""}));
    EXPECT_EQ(ReadFileText(dir.path() / "private.log"), "");
}

TEST(LogDestructor, NoDoneLogWithoutAnOpenFullLog) {
    CLogCapture capture(2);
    testsupport::TempDir dir;
    auto *pLog = new CLog;
    pLog->InitLog((dir.path() / "private.err").c_str(), nullptr, false, 3);
    const size_t nBefore = capture.Text().size();
    delete pLog;
    EXPECT_EQ(capture.Text().size(), nBefore);
}

TEST(LogDestructor, DoneLogRespectsTheGlobalLevel) {
    CLogCapture capture(1);
    testsupport::TempDir dir;
    auto *pLog = new CLog;
    pLog->InitLog(nullptr, (dir.path() / "private.log").c_str(), false, 3);
    const size_t nBefore = capture.Text().size();
    delete pLog;
    EXPECT_EQ(capture.Text().size(), nBefore);
}

} // namespace
