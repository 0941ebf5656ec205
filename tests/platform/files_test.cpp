#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "platform/errors.h"
#include "platform/files.h"
#include "support/file_text.h"
#include "support/log_text.h"
#include "support/paths.h"

namespace {

using testsupport::WriteFileText;

namespace fs = std::filesystem;
using testsupport::ReadFileText;

// Sets TMPDIR for one test and restores it afterwards.
class ScopedTmpDir {
public:
    explicit ScopedTmpDir(const char *pszValue) {
        if (const char *old = std::getenv("TMPDIR")) m_old = old;
        if (pszValue) setenv("TMPDIR", pszValue, 1); else unsetenv("TMPDIR");
    }
    ~ScopedTmpDir() {
        if (m_old) setenv("TMPDIR", m_old->c_str(), 1); else unsetenv("TMPDIR");
    }

private:
    std::optional<std::string> m_old;
};

class Files : public testing::Test {
protected:
    fs::path Path(const char *pszName) const { return m_dir.path() / pszName; }
    testsupport::TempDir m_dir;
};

TEST_F(Files, TempPathFollowsTmpDirWithATrailingSlash) {
    ScopedTmpDir tmp(m_dir.path().c_str());
    char sz[MAX_PATH];
    const DWORD n = GetTempPathA(sizeof sz, sz);
    EXPECT_EQ(std::string(sz), m_dir.path().string() + "/");
    EXPECT_EQ(n, m_dir.path().string().size() + 1);
}

TEST_F(Files, TempPathFallsBackToTmp) {
    char sz[MAX_PATH];
    {
        ScopedTmpDir tmp(nullptr);
        EXPECT_EQ(GetTempPathA(sizeof sz, sz), 5u);
        EXPECT_STREQ(sz, "/tmp/");
    }
    ScopedTmpDir tmp(Path("missing").c_str());
    EXPECT_EQ(GetTempPathA(sizeof sz, sz), 5u);
    EXPECT_STREQ(sz, "/tmp/");
}

TEST_F(Files, TempPathTooLongForTheBufferGivesTheSizeNeeded) {
    ScopedTmpDir tmp(nullptr);
    char sz[5] = "keep";
    EXPECT_EQ(GetTempPathA(sizeof sz, sz), 6u);
    EXPECT_STREQ(sz, "keep");
}

TEST_F(Files, TempFileNameCreatesAFreshEmptyFile) {
    char szFirst[MAX_PATH], szSecond[MAX_PATH];
    const UINT nFirst = GetTempFileNameA(m_dir.path().c_str(), "tslog", 0, szFirst);
    const UINT nSecond = GetTempFileNameA((m_dir.path().string() + "/").c_str(), "tslog", 0, szSecond);
    ASSERT_NE(nFirst, 0u);
    ASSERT_NE(nSecond, 0u);
    EXPECT_NE(nFirst, nSecond);
    const std::regex pattern(m_dir.path().string() + "/tsl[0-9A-F]{1,4}\\.tmp");
    EXPECT_TRUE(std::regex_match(std::string(szFirst), pattern)) << szFirst;
    EXPECT_TRUE(std::regex_match(std::string(szSecond), pattern)) << szSecond;
    EXPECT_TRUE(fs::is_regular_file(szFirst));
    EXPECT_EQ(fs::file_size(szFirst), 0u);
}

TEST_F(Files, TempFileNameWithANumberOnlyBuildsTheName) {
    char sz[MAX_PATH];
    EXPECT_EQ(GetTempFileNameA(m_dir.path().c_str(), "ab", 0x1ABCD, sz), 0xABCDu);
    EXPECT_EQ(std::string(sz), m_dir.path().string() + "/abABCD.tmp");
    EXPECT_FALSE(fs::exists(sz));
}

TEST_F(Files, TempFileNameFailures) {
    char sz[MAX_PATH];
    const std::string longDir(300, 'd');
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(GetTempFileNameA(longDir.c_str(), "tsl", 0, sz), 0u);
    EXPECT_EQ(GetLastError(), ERROR_FILENAME_EXCED_RANGE);
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(GetTempFileNameA(Path("missing").c_str(), "tsl", 0, sz), 0u);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

TEST_F(Files, ListDirectoryByMaskSortedByName) {
    WriteFileText(Path("b.log"), "b");
    WriteFileText(Path("a.log"), "a");
    WriteFileText(Path("c.err"), "c");
    WriteFileText(Path(".hidden.log"), "h");
    fs::create_directory(Path("d.log"));
    std::vector<DirEntry> entries;
    ASSERT_TRUE(ListDirectory(m_dir.path().c_str(), "*.log", &entries));
    ASSERT_EQ(entries.size(), 4u);
    EXPECT_EQ(entries[0].strName, ".hidden.log");
    EXPECT_EQ(entries[1].strName, "a.log");
    EXPECT_EQ(entries[2].strName, "b.log");
    EXPECT_EQ(entries[3].strName, "d.log");
    EXPECT_FALSE(entries[1].bDirectory);
    EXPECT_TRUE(entries[3].bDirectory);
    ASSERT_TRUE(ListDirectory(m_dir.path().c_str(), "*.err", &entries));
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].strName, "c.err");
}

TEST_F(Files, ListDirectoryOfAMissingDirectoryFails) {
    std::vector<DirEntry> entries{DirEntry{"stale", false}};
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(ListDirectory(Path("missing").c_str(), "*", &entries));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_TRUE(entries.empty());
}

TEST_F(Files, CopyFileCopiesBytesAndPermissions) {
    std::string text(200000, '\0');
    for (size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(i * 7);
    WriteFileText(Path("source"), text);
    chmod(Path("source").c_str(), 0640);
    ASSERT_TRUE(CopyFileA(Path("source").c_str(), Path("copy").c_str(), true));
    EXPECT_EQ(ReadFileText(Path("copy")), text);
    struct stat st{};
    ASSERT_EQ(stat(Path("copy").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
}

TEST_F(Files, CopyFileRefusesToOverwrite) {
    WriteFileText(Path("source"), "new");
    WriteFileText(Path("target"), "old");
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(CopyFileA(Path("source").c_str(), Path("target").c_str(), true));
    EXPECT_EQ(GetLastError(), ERROR_FILE_EXISTS);
    EXPECT_EQ(ReadFileText(Path("target")), "old");
    EXPECT_TRUE(CopyFileA(Path("source").c_str(), Path("target").c_str(), false));
    EXPECT_EQ(ReadFileText(Path("target")), "new");
}

TEST_F(Files, CopyFileOntoItselfLeavesTheFileWhole) {
    WriteFileText(Path("source"), "keep me");
    fs::create_symlink(Path("source"), Path("alias"));
    for (BOOL bFailIfExists : {0, 1}) {
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(CopyFileA(Path("source").c_str(), Path("source").c_str(), bFailIfExists));
        EXPECT_FALSE(CopyFileA(Path("source").c_str(), Path("alias").c_str(), bFailIfExists));
        EXPECT_EQ(ReadFileText(Path("source")), "keep me");
    }
    EXPECT_FALSE(CopyFileA(Path("source").c_str(), Path("alias").c_str(), false));
    EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
}

TEST_F(Files, CopyFileFailures) {
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(CopyFileA(Path("missing").c_str(), Path("target").c_str(), true));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    fs::create_directory(Path("folder"));
    EXPECT_FALSE(CopyFileA(Path("folder").c_str(), Path("target").c_str(), true));
    EXPECT_EQ(GetLastError(), ERROR_DIRECTORY);
    EXPECT_FALSE(fs::exists(Path("target")));
}

TEST_F(Files, DeleteDirectoryFilesKeepsSubdirectories) {
    fs::create_directory(Path("work"));
    WriteFileText(Path("work/a.log"), "a");
    WriteFileText(Path("work/.b"), "b");
    fs::create_directory(Path("work/sub"));
    WriteFileText(Path("work/sub/c"), "c");
    DeleteDirectoryFiles(Path("work").c_str());
    EXPECT_FALSE(fs::exists(Path("work/a.log")));
    EXPECT_FALSE(fs::exists(Path("work/.b")));
    EXPECT_TRUE(fs::exists(Path("work/sub/c")));
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(RemoveDirectoryA(Path("work").c_str()));
    EXPECT_EQ(GetLastError(), ERROR_DIR_NOT_EMPTY);
}

TEST_F(Files, CreateDeleteAndRemove) {
    ASSERT_TRUE(CreateDirectoryA(Path("made").c_str()));
    EXPECT_FALSE(CreateDirectoryA(Path("made").c_str()));
    EXPECT_EQ(GetLastError(), ERROR_FILE_EXISTS);
    WriteFileText(Path("made/f"), "f");
    EXPECT_TRUE(DeleteFileA(Path("made/f").c_str()));
    EXPECT_FALSE(DeleteFileA(Path("made/f").c_str()));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_TRUE(RemoveDirectoryA(Path("made").c_str()));
    EXPECT_FALSE(fs::exists(Path("made")));
}

} // namespace
