// The read-ahead of message files on its own: what Take gives, what it drops, what it leaves to the caller.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

// Polls fnDone for a few seconds; false if it never held.
template <typename FnDone>
bool Soon(FnDone fnDone) {
    for (int i = 0; i < 5000; ++i) {
        if (fnDone()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

// The threads of this process.
size_t ThreadCount() {
    return static_cast<size_t>(std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator()));
}

// Named pipes that hold the worker reading one until the test lets it go on, so that what the workers are at
// shows: a pipe is caught once a worker opens it, and that worker then waits in its read until the pipe is fed.
class CPipes {
public:
    CPipes(CHeadReadAhead &ahead, const fs::path &dir, size_t n) : m_ahead(ahead), m_fds(n, -1) {
        for (size_t i = 0; i < n; ++i) {
            m_paths.push_back((dir / ("pipe" + std::to_string(i))).string());
            m_bMade = mkfifo(m_paths.back().c_str(), 0600) == 0 && m_bMade;
        }
    }
    // Lets every worker still in a pipe go, so that the read-ahead can be joined whatever the test got to.
    ~CPipes() {
        m_ahead.Clear();
        for (int fd : m_fds)
            if (fd >= 0) close(fd);
        for (int i = 0; i < 100; ++i) {
            for (const std::string &strPath : m_paths) {
                int fd = open(strPath.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
                if (fd >= 0) close(fd);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }
    bool Made() const { return m_bMade; }
    const std::vector<std::string> &Paths() const { return m_paths; }
    // A worker opened pipe i (now or before): it reads it until Feed.
    bool Caught(size_t i) {
        if (m_fds[i] < 0) m_fds[i] = open(m_paths[i].c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        return m_fds[i] >= 0;
    }
    // Gives the worker reading pipe i strText and the pipe's end.
    bool Feed(size_t i, const std::string &strText) {
        const auto cbText = static_cast<ssize_t>(strText.size());
        if (!Caught(i)) return false;
        bool bFed = write(m_fds[i], strText.data(), strText.size()) == cbText;
        close(m_fds[i]);
        m_fds[i] = -1;
        return bFed;
    }

private:
    CHeadReadAhead &m_ahead;
    std::vector<std::string> m_paths;
    std::vector<int> m_fds;
    bool m_bMade = true;
};

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

TEST_F(HeadReadAheadTest, WithManyWorkersTheNextFilesAreReadAtOnce) {
    std::string strAfter = File("after", "Subject: after\n\n");
    CHeadReadAhead ahead(true);
    CPipes pipes(ahead, m_temp.path(), 4);
    ASSERT_TRUE(pipes.Made());
    std::vector<std::string> paths = pipes.Paths();
    paths.push_back(strAfter);
    ahead.Ask(paths);
    // Each worker waits in the read of its pipe: all four pipes are open at once only if four workers read.
    ASSERT_TRUE(Soon([&] { return pipes.Caught(0) && pipes.Caught(1) && pipes.Caught(2) && pipes.Caught(3); }));
    for (size_t i = 4; i-- > 0;) ASSERT_TRUE(pipes.Feed(i, "Subject: " + std::to_string(i) + "\n\n"));
    std::string strOut;
    bool bWhole = false;
    for (size_t i = 0; i < 4; ++i) {
        ASSERT_TRUE(ahead.Take(paths[i], strOut, &bWhole)) << i; // each was begun: Take waits for it
        EXPECT_EQ(strOut, "Subject: " + std::to_string(i) + "\n\n");
    }
    ASSERT_TRUE(TakeSoon(ahead, strAfter, strOut, &bWhole));
    EXPECT_EQ(strOut, "Subject: after\n\n");
}

TEST_F(HeadReadAheadTest, FromThePageCacheOneWorkerReadsAtATime) {
    CHeadReadAhead ahead;
    CPipes pipes(ahead, m_temp.path(), 2);
    ASSERT_TRUE(pipes.Made());
    ahead.Ask(pipes.Paths());
    ASSERT_TRUE(Soon([&] { return pipes.Caught(0); }));
    LetItWork();
    EXPECT_FALSE(pipes.Caught(1)); // the one worker still reads the first pipe
    ASSERT_TRUE(pipes.Feed(0, "Subject: 0\n\n"));
    ASSERT_TRUE(Soon([&] { return pipes.Caught(1); }));
    ASSERT_TRUE(pipes.Feed(1, "Subject: 1\n\n"));
    std::string strOut;
    bool bWhole = false;
    ASSERT_TRUE(ahead.Take(pipes.Paths()[1], strOut, &bWhole));
    EXPECT_EQ(strOut, "Subject: 1\n\n");
}

TEST_F(HeadReadAheadTest, ManyWorkersReadEveryFileOnceAndTakeGivesThemInOrder) {
    std::vector<std::string> paths, texts;
    for (int i = 0; i < 300; ++i) {
        texts.push_back("Subject: " + std::to_string(i) + "\n\n" + std::string(static_cast<size_t>(i) * 7, 'b'));
        paths.push_back(File("m" + std::to_string(i), texts.back()));
    }
    testsupport::CFileWatch watch(m_temp.path());
    ASSERT_TRUE(watch.Valid());
    CHeadReadAhead ahead(true);
    ahead.ReadWhole(true);
    ahead.Ask(paths);
    // The files are begun in the order asked: once the last one is open, each is read or being read.
    std::map<std::string, int> counts;
    ASSERT_TRUE(watch.WaitForOpen("m299", counts));
    std::string strOut;
    bool bWhole = false;
    for (size_t i = 0; i < paths.size(); ++i) {
        ASSERT_TRUE(ahead.Take(paths[i], strOut, &bWhole)) << i;
        EXPECT_EQ(strOut, texts[i]) << i;
        EXPECT_TRUE(bWhole) << i;
    }
    for (const auto &[strFile, n] : watch.Take()) counts[strFile] += n;
    EXPECT_EQ(counts.size(), paths.size());
    for (const auto &[strFile, n] : counts) EXPECT_EQ(n, 1) << strFile;
}

TEST_F(HeadReadAheadTest, ManyWorkersHoldTheBound) {
    const std::string strMeg(1500000, 'm');
    std::vector<std::string> megs = {File("a", strMeg), File("b", strMeg), File("c", strMeg)};
    std::string strHuge = File("huge", std::string(5 << 20, 'h')), strSmall = File("small", "Subject: s\n\n");
    testsupport::CFileWatch watch(m_temp.path());
    ASSERT_TRUE(watch.Valid());
    CHeadReadAhead ahead(true);
    ahead.ReadWhole(true);
    ahead.Ask({megs[0], megs[1], megs[2], strHuge, strSmall});
    std::map<std::string, int> counts;
    ASSERT_TRUE(watch.WaitForOpen("small", counts));
    std::string strOut;
    bool bWhole = false;
    // Any two of the three fit within 4 MB, all three would not; the one left over was not even opened.
    int nGiven = 0;
    for (const std::string &strPath : megs) {
        if (!ahead.Take(strPath, strOut, &bWhole)) continue;
        ++nGiven;
        EXPECT_EQ(strOut, strMeg);
    }
    EXPECT_EQ(nGiven, 2);
    EXPECT_FALSE(ahead.Take(strHuge, strOut, &bWhole));
    EXPECT_TRUE(ahead.Take(strSmall, strOut, &bWhole));
    EXPECT_EQ(strOut, "Subject: s\n\n");
    for (const auto &[strFile, n] : watch.Take()) counts[strFile] += n;
    EXPECT_EQ(counts.size(), 3u);
    EXPECT_EQ(counts.count("huge"), 0u);
}

TEST_F(HeadReadAheadTest, AClearWhileWorkersReadDropsWhatTheyRead) {
    std::string strA = File("a", "Subject: a\n\n"), strB = File("b", "Subject: b\n\n");
    CHeadReadAhead ahead(true);
    CPipes pipes(ahead, m_temp.path(), 2);
    ASSERT_TRUE(pipes.Made());
    ahead.Ask(pipes.Paths());
    ASSERT_TRUE(Soon([&] { return pipes.Caught(0) && pipes.Caught(1); }));
    ahead.Clear();
    ahead.Ask({strA, strB});
    std::string strOut;
    bool bWhole = false;
    ASSERT_TRUE(TakeSoon(ahead, strA, strOut, &bWhole)); // the other workers go on while two are held
    EXPECT_EQ(strOut, "Subject: a\n\n");
    ASSERT_TRUE(pipes.Feed(0, "Subject: 0\n\n"));
    ASSERT_TRUE(pipes.Feed(1, "Subject: 1\n\n"));
    ASSERT_TRUE(TakeSoon(ahead, strB, strOut, &bWhole));
    EXPECT_EQ(strOut, "Subject: b\n\n");
    EXPECT_FALSE(ahead.Take(pipes.Paths()[0], strOut, &bWhole));
    EXPECT_FALSE(ahead.Take(pipes.Paths()[1], strOut, &bWhole));
}

TEST_F(HeadReadAheadTest, IdleWorkersEndAndNewOnesTakeOver) {
    std::vector<std::string> paths;
    for (int i = 0; i < 40; ++i)
        paths.push_back(File("m" + std::to_string(i), "Subject: " + std::to_string(i) + "\n\n"));
    const size_t nThreads = ThreadCount();
    CHeadReadAhead ahead(true);
    std::string strOut;
    bool bWhole = false;
    for (int nRound = 0; nRound < 2; ++nRound) {
        ahead.Ask(paths);
        for (const std::string &strPath : paths) {
            if (!ahead.Take(strPath, strOut, &bWhole)) {
                ASSERT_TRUE(TakeSoon(ahead, strPath, strOut, &bWhole));
            }
            EXPECT_EQ(strOut, "Subject: " + strPath.substr(strPath.rfind('m') + 1) + "\n\n");
        }
        EXPECT_TRUE(Soon([&] { return ThreadCount() == nThreads; })) << "round " << nRound;
    }
}

} // namespace
