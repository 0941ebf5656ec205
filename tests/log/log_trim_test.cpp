#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "log/log.h"
#include "support/file_text.h"
#include "support/log_text.h"
#include "support/paths.h"

namespace {

using testsupport::WriteFileText;

using testsupport::ReadFileText;

constexpr size_t kErrorLimit = 0x20000;
constexpr size_t kFullLimit = 0xE0000;

// Numbered lines of 100 bytes each until the text has exactly nSize bytes (the last line may be cut).
std::string NumberedLines(size_t nSize) {
    std::string text;
    for (int i = 0; text.size() < nSize; ++i) {
        char szLine[101];
        std::snprintf(szLine, sizeof szLine, "%-99d\n", i);
        text += szLine;
    }
    text.resize(nSize);
    return text;
}

class LogTrim : public testing::Test {
protected:
    // Writes the error log, configures a CLog with it (level 1: no banner) and returns what the file holds then.
    std::string TrimErrorLog(const std::string &text) {
        WriteFileText(ErrorPath(), text);
        m_log.InitLog(ErrorPath().c_str(), nullptr, false, 1);
        m_log.CloseFiles();
        return ReadFileText(ErrorPath());
    }
    std::filesystem::path ErrorPath() const { return m_dir.path() / "error.err"; }
    std::filesystem::path FullPath() const { return m_dir.path() / "full.log"; }

    testsupport::TempDir m_dir;
    CLog m_log;
};

TEST_F(LogTrim, FileAtItsLimitIsLeftAlone) {
    const std::string text = NumberedLines(kErrorLimit);
    EXPECT_EQ(TrimErrorLog(text), text);
}

TEST_F(LogTrim, OneByteOverShrinksToHalfFromALineStart) {
    const std::string text = NumberedLines(kErrorLimit + 1);
    const size_t nCut = text.size() - kErrorLimit / 2;
    const size_t nStart = text.find('\n', nCut) + 1;
    const std::string trimmed = TrimErrorLog(text);
    EXPECT_EQ(trimmed, text.substr(nStart));
    EXPECT_LE(trimmed.size(), kErrorLimit / 2);
    EXPECT_GT(trimmed.size(), kErrorLimit / 2 - 100);
    EXPECT_EQ(text[nStart - 1], '\n');
    EXPECT_FALSE(std::filesystem::exists(m_dir.path() / "error.err1"));
}

TEST_F(LogTrim, CrLfIsPreferredToAnEarlierLf) {
    std::string text(kErrorLimit + 10, 'x');
    const size_t nCut = text.size() - kErrorLimit / 2;
    text[nCut + 5] = '\n';
    text[nCut + 50] = '\r';
    text[nCut + 51] = '\n';
    EXPECT_EQ(TrimErrorLog(text), text.substr(nCut + 52));
}

TEST_F(LogTrim, NoLineEndBehindTheCutLosesTheProbedBytes) {
    std::string text(kErrorLimit + 10, 'x');
    const size_t nCut = text.size() - kErrorLimit / 2;
    text[nCut + 4095] = '\n'; // just outside the 4095 bytes that are searched
    EXPECT_EQ(TrimErrorLog(text), text.substr(nCut + 4095));
}

TEST_F(LogTrim, FullLogHasItsOwnLimit) {
    const std::string atLimit = NumberedLines(kFullLimit);
    WriteFileText(FullPath(), atLimit);
    m_log.InitLog(nullptr, FullPath().c_str(), false, 1);
    m_log.CloseFiles();
    EXPECT_EQ(ReadFileText(FullPath()), atLimit);

    const std::string over = NumberedLines(kFullLimit + 1);
    WriteFileText(FullPath(), over);
    m_log.InitLog(nullptr, FullPath().c_str(), false, 1);
    m_log.CloseFiles();
    const size_t nStart = over.find('\n', over.size() - kFullLimit / 2) + 1;
    EXPECT_EQ(ReadFileText(FullPath()), over.substr(nStart));
}

TEST_F(LogTrim, LinesAfterTheTrimReachTheTrimmedFile) {
    const std::string text = NumberedLines(kErrorLimit + 1);
    WriteFileText(ErrorPath(), text);
    m_log.InitLog(ErrorPath().c_str(), nullptr, false, 1);
    m_log.Error("L", 0, "after the trim");
    const std::string trimmed = ReadFileText(ErrorPath());
    const size_t nStart = text.find('\n', text.size() - kErrorLimit / 2) + 1;
    ASSERT_GT(trimmed.size(), text.size() - nStart);
    EXPECT_EQ(trimmed.substr(0, text.size() - nStart), text.substr(nStart));
    EXPECT_NE(trimmed.find("Err in L: after the trim\n", text.size() - nStart), std::string::npos);
}

TEST_F(LogTrim, BlockedTemporaryNameLeavesTheLogAsItWas) {
    std::filesystem::create_directory(m_dir.path() / "error.err1");
    const std::string text = NumberedLines(kErrorLimit + 1);
    EXPECT_EQ(TrimErrorLog(text), text);
    EXPECT_TRUE(std::filesystem::is_directory(m_dir.path() / "error.err1"));
}

TEST_F(LogTrim, ADirectoryInPlaceOfTheLogIsNotTouched) {
    std::filesystem::create_directory(ErrorPath());
    m_log.InitLog(ErrorPath().c_str(), nullptr, false, 1);
    m_log.Error("L", 0, "goes nowhere");
    EXPECT_TRUE(std::filesystem::is_directory(ErrorPath()));
    EXPECT_FALSE(std::filesystem::exists(m_dir.path() / "error.err1"));
    EXPECT_FALSE(m_log.ReopenFiles());
}

} // namespace
