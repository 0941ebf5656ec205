// The read-ahead of message files on its own: what Take gives, what it drops, what it leaves to the caller.
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <thread>

#include "providers/maildir/headreadahead.h"
#include "providers/mime/fileio.h"
#include "support/file_text.h"
#include "support/file_watch.h"
#include "support/paths.h"

namespace {

namespace fs = std::filesystem;

// Takes strPath, asking for it again while a Take gives nothing (the worker may not have begun it at a Take);
// false if it never does. It asks only after a failed Take, so no second slot for strPath is left behind.
bool TakeSoon(CHeadReadAhead &ahead, const std::string &strPath, std::string &strOut, bool *pbWhole) {
    for (int i = 0; i < 5000; ++i) {
        if (ahead.Take(strPath, strOut, pbWhole)) return true;
        ahead.Ask({strPath});
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

// Gives the worker time to get to what was asked; the assertions hold however far it got.
void LetItWork() { std::this_thread::sleep_for(std::chrono::milliseconds(20)); }

class HeadReadAheadTest : public ::testing::Test {
protected:
    std::string File(const std::string &strName, const std::string &strText) {
        fs::path path = m_temp.path() / strName;
        testsupport::WriteFileText(path, strText);
        return path.string();
    }
    testsupport::TempDir m_temp;
};

TEST_F(HeadReadAheadTest, TakeGivesWhatAHeaderReadOfTheFileGives) {
    std::string strLongHeader = "X-Long: " + std::string(9000, 'x') + "\n";
    std::vector<std::string> paths = {
        File("plain", "Subject: a\n\nbody\n" + std::string(10000, 'b')),
        File("short", "Subject: no body, no blank line\n"),
        File("long", "Subject: c\n" + strLongHeader + "\nbody\n" + std::string(20000, 'b')),
        File("crlf", "Subject: d\r\n\r\nbody\r\n"),
    };
    CHeadReadAhead ahead;
    for (const std::string &strPath : paths) {
        std::string strWant, strGot = "left over";
        bool bWantWhole = false, bGotWhole = false;
        ASSERT_EQ(MimeReadFileHead(strPath.c_str(), strWant, &bWantWhole), S_OK);
        ASSERT_TRUE(TakeSoon(ahead, strPath, strGot, &bGotWhole)) << strPath;
        EXPECT_EQ(strGot, strWant) << strPath;
        EXPECT_EQ(bGotWhole, bWantWhole) << strPath;
    }
}

TEST_F(HeadReadAheadTest, InWholeReadsTakeGivesWhatAWholeReadOfTheFileGives) {
    std::vector<std::string> paths = {
        File("plain", "Subject: a\n\nbody\n" + std::string(100000, 'b')),
        File("short", "Subject: no body, no blank line\n"),
        File("crlf", "Subject: d\r\n\r\nbody\r\n"),
        File("empty", ""),
    };
    CHeadReadAhead ahead;
    ahead.ReadWhole(true);
    for (const std::string &strPath : paths) {
        std::string strWant, strGot = "left over";
        bool bGotWhole = false;
        ASSERT_EQ(MimeReadFile(strPath.c_str(), strWant), S_OK);
        ASSERT_TRUE(TakeSoon(ahead, strPath, strGot, &bGotWhole)) << strPath;
        EXPECT_EQ(strGot, strWant) << strPath;
        EXPECT_TRUE(bGotWhole) << strPath;
    }
}

TEST_F(HeadReadAheadTest, TheModeHoldsForTheFilesReadAfterIt) {
    std::string strBody = "Subject: a\n\n" + std::string(50000, 'b');
    std::string strA = File("a", strBody), strB = File("b", strBody), strC = File("c", strBody);
    CHeadReadAhead ahead;
    std::string strOut, strHead;
    bool bWhole = false;
    ahead.ReadWhole(true);
    ASSERT_TRUE(TakeSoon(ahead, strA, strOut, &bWhole));
    EXPECT_TRUE(bWhole);
    EXPECT_EQ(strOut, strBody);
    ahead.ReadWhole(false);
    ASSERT_TRUE(TakeSoon(ahead, strB, strOut, &bWhole));
    EXPECT_FALSE(bWhole);
    ASSERT_EQ(MimeReadFileHead(strB.c_str(), strHead, &bWhole), S_OK);
    EXPECT_EQ(strOut, strHead);
    ahead.ReadWhole(true);
    ASSERT_TRUE(TakeSoon(ahead, strC, strOut, &bWhole));
    EXPECT_TRUE(bWhole);
    EXPECT_EQ(strOut, strBody);
}

TEST_F(HeadReadAheadTest, AWholeFileThatWouldTakeTheBytesHeldBeyondTheBoundIsLeftToTheCaller) {
    const std::string strMeg(1500000, 'm');
    std::string strA = File("a", strMeg), strB = File("b", strMeg), strC = File("c", strMeg);
    std::string strHuge = File("huge", std::string(5 << 20, 'h')), strSmall = File("small", "Subject: s\n\n");
    testsupport::CFileWatch watch(m_temp.path());
    ASSERT_TRUE(watch.Valid());
    CHeadReadAhead ahead;
    ahead.ReadWhole(true);
    ahead.Ask({strA, strB, strC, strHuge, strSmall});
    // The worker reads in the order asked: once it opened the last file it has done with the others.
    std::map<std::string, int> counts;
    ASSERT_TRUE(watch.WaitForOpen("small", counts));
    EXPECT_EQ(counts, (std::map<std::string, int>{{"a", 1}, {"b", 1}, {"small", 1}}));
    std::string strOut;
    bool bWhole = false;
    EXPECT_TRUE(ahead.Take(strA, strOut, &bWhole));
    EXPECT_EQ(strOut, strMeg);
    EXPECT_TRUE(ahead.Take(strB, strOut, &bWhole));
    EXPECT_FALSE(ahead.Take(strC, strOut, &bWhole)); // it would have held 4.5 MB
    EXPECT_FALSE(ahead.Take(strHuge, strOut, &bWhole));
    EXPECT_TRUE(ahead.Take(strSmall, strOut, &bWhole));
    EXPECT_EQ(strOut, "Subject: s\n\n");
}

TEST_F(HeadReadAheadTest, TheFilesAskedBeforeTheTakenOneAreDropped) {
    std::string strA = File("a", "Subject: a\n\n"), strB = File("b", "Subject: b\n\n");
    CHeadReadAhead ahead;
    ahead.Ask({strA, strB});
    std::string strOut;
    bool bWhole = false;
    ASSERT_TRUE(TakeSoon(ahead, strB, strOut, &bWhole));
    EXPECT_FALSE(ahead.Take(strA, strOut, &bWhole));
    EXPECT_FALSE(ahead.Take(strB, strOut, &bWhole)); // taken once
}

TEST_F(HeadReadAheadTest, AFailedReadOrAClearedOneGivesNothing) {
    std::string strGone = (m_temp.path() / "gone").string(), strA = File("a", "Subject: a\n\n");
    CHeadReadAhead ahead;
    std::string strOut = "kept";
    bool bWhole = false;
    ahead.Ask({strGone});
    LetItWork();
    EXPECT_FALSE(ahead.Take(strGone, strOut, &bWhole)); // the caller reads it itself and gets its own error
    EXPECT_EQ(strOut, "kept");
    ahead.Ask({strA});
    LetItWork();
    ahead.Clear();
    EXPECT_FALSE(ahead.Take(strA, strOut, &bWhole));
    EXPECT_EQ(strOut, "kept");
}

TEST_F(HeadReadAheadTest, ANewWorkerTakesOverOnceAnIdleOneEnded) {
    std::string strA = File("a", "Subject: a\n\n"), strB = File("b", "Subject: b\n\n");
    CHeadReadAhead ahead;
    std::string strOut;
    bool bWhole = false;
    ASSERT_TRUE(TakeSoon(ahead, strA, strOut, &bWhole));
    std::this_thread::sleep_for(std::chrono::milliseconds(400)); // longer than a worker waits for more
    ASSERT_TRUE(TakeSoon(ahead, strB, strOut, &bWhole));
    EXPECT_EQ(strOut, "Subject: b\n\n");
}

} // namespace
