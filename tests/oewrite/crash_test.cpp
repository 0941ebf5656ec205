// A process that deletes, moves, copies, saves and creates messages through COELib is killed at random moments.
// After each kill every message is counted by its Message-ID across all folders: none may be lost, and none
// doubled but by an operation that finished (or the one the kill interrupted, where it may double by design:
// a copy, a save, the copy-then-destroy of a move). Runs: TESSEL_CRASH_RUNS (default 200).
#include "oewrite/oewrite_fixture.h"

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <random>
#include <set>
#include <sstream>

#include "log/log.h"
#include "platform/mapi.h"

namespace oewritetest {
namespace {

constexpr int kSeeds = 24;
constexpr const char *kTrailer = "END-OF-MESSAGE\n";
const char *const kFolders[] = {"Inbox", "Archive", "Trash"};

// What an operation may do to the number of copies of its message.
enum Op { OP_DELETE, OP_DELETE_IN_TRASH, OP_DELETE_PERMANENTLY, OP_MOVE, OP_COPY, OP_SAVE_KEEP, OP_SAVE_TO_TRASH,
          OP_SAVE_REPLACE, OP_CREATE };

// The change in copies once the operation finished, and the changes possible when it was interrupted.
int FinishedDelta(Op op) {
    switch (op) {
    case OP_DELETE_IN_TRASH:
    case OP_DELETE_PERMANENTLY: return -1;
    case OP_COPY:
    case OP_SAVE_KEEP:
    case OP_SAVE_TO_TRASH:
    case OP_CREATE: return 1;
    default: return 0;
    }
}
std::set<int> InterruptedDeltas(Op op) {
    switch (op) {
    case OP_DELETE: return {0};
    case OP_DELETE_IN_TRASH:
    case OP_DELETE_PERMANENTLY: return {0, -1};
    default: return {0, 1}; // a new message stands before the old one goes, never the other way round
    }
}

class CrashTest : public OEWriteTest {
protected:
    void SetUp() override {
        OEWriteTest::SetUp();
        MakeMaildir(Root() / ".Trash");
        for (int i = 0; i < kSeeds; ++i)
            Plant(i % 3 ? "Inbox" : "Archive",
                  Message("seed " + std::to_string(i), "<seed-" + std::to_string(i) + "@example.org>",
                          std::string(static_cast<size_t>(i) * 300, 's') + "\n" + kTrailer));
        m_lib.Done();
    }

    // The child: random operations until it is killed, each announced before ("B op id") and after ("E").
    [[noreturn]] void RunChild(unsigned nSeed, int fd) {
        g_Log.InitLog(nullptr, nullptr, false, 1);
        std::mt19937 rng(nSeed);
        COELib lib;
        if (!lib.Init(nullptr, false)) _exit(2);
        std::map<std::string, STOREFOLDERID> folderIds;
        for (const char *pszFolder : kFolders) folderIds[pszFolder] = FolderIdIn(lib, pszFolder);
        for (int k = 0;; ++k) {
            // The store as the child sees it: every message's folder, entry and Message-ID.
            struct Candidate { std::string strFolder, strEntry, strId; };
            std::vector<Candidate> candidates;
            std::map<std::string, int> counts = CountByMessageId();
            for (const char *pszFolder : kFolders) {
                for (const StoredMessage &msg : ListIn(lib, pszFolder)) {
                    char *pszEntry = COELib::ItemEntry2Str(folderIds[pszFolder], msg.id);
                    candidates.push_back({pszFolder, pszEntry, MessageIdOf(msg.strBytes)});
                    lib.FreeBuffer(pszEntry);
                }
            }
            if (candidates.empty()) _exit(3);
            const Candidate &c = candidates[rng() % candidates.size()];
            int nCount = counts[c.strId];
            int nPick = static_cast<int>(rng() % 100);
            Op op;
            if (nPick < 8) op = OP_CREATE;
            else if (nPick < 25) op = c.strFolder == "Trash" ? OP_DELETE_IN_TRASH : OP_DELETE;
            else if (nPick < 40) op = OP_DELETE_PERMANENTLY;
            else if (nPick < 58) op = OP_MOVE;
            else if (nPick < 70) op = OP_COPY;
            else if (nPick < 78) op = OP_SAVE_KEEP;
            else if (nPick < 86) op = OP_SAVE_TO_TRASH;
            else op = OP_SAVE_REPLACE;
            // Never the last copy of a message; and no more than three of one.
            if ((op == OP_DELETE_IN_TRASH || op == OP_DELETE_PERMANENTLY) && nCount < 2) op = OP_MOVE;
            if (FinishedDelta(op) > 0 && op != OP_CREATE && nCount >= 3) op = OP_MOVE;
            // In Deleted Items the old message of a save is destroyed, not kept.
            if (op == OP_SAVE_TO_TRASH && c.strFolder == "Trash") op = OP_SAVE_REPLACE;
            std::string strId = op == OP_CREATE ? "<new-" + std::to_string(nSeed) + "-" + std::to_string(k) + "@example.org>"
                                                : c.strId;
            Announce(fd, "B " + std::to_string(op) + " " + strId + "\n");
            Perform(lib, rng, op, c.strFolder, c.strEntry, strId);
            Announce(fd, "E\n");
        }
    }

    static void Announce(int fd, const std::string &str) {
        if (write(fd, str.data(), str.size()) != static_cast<ssize_t>(str.size())) _exit(4);
    }

    void Perform(COELib &lib, std::mt19937 &rng, Op op, const std::string &strFolder, const std::string &strEntry,
                 const std::string &strId) {
        char *pszNew = nullptr;
        std::string strTarget = FolderEntryIn(lib, kFolders[rng() % 2]);
        switch (op) {
        case OP_DELETE:
        case OP_DELETE_IN_TRASH: lib.DeleteItem(strEntry.c_str(), &pszNew, false); break;
        case OP_DELETE_PERMANENTLY: lib.DeleteItem(strEntry.c_str(), nullptr, true); break;
        case OP_MOVE: lib.MoveItem(strEntry.c_str(), strTarget.c_str(), &pszNew); break;
        case OP_COPY: lib.CopyItem(strEntry.c_str(), strTarget.c_str(), &pszNew); break;
        case OP_CREATE: {
            std::string strSource = Message("created", strId, "new\n" + std::string(kTrailer));
            HITEM hItem = nullptr;
            lib.CreateItem(&hItem, strTarget.c_str(), strSource.c_str(), MSG_UNREAD);
            lib.CloseItem(&hItem);
            break;
        }
        default: {
            HITEM hItem = nullptr;
            if (lib.OpenItem(strEntry.c_str(), &hItem) != S_OK) break;
            SPropValue values[2]{};
            values[0].ulPropTag = PR_OE_SUBJECT;
            std::string strSubject = "edited in " + strFolder;
            values[0].Value.lpszA = strSubject.data();
            values[1].ulPropTag = PR_OE_FLAGGED;
            values[1].Value.b = 1;
            std::string strBody = "edited body\n" + std::string(kTrailer);
            if (rng() % 2) {
                values[1].ulPropTag = PR_OE_BODY;
                values[1].Value.lpszA = strBody.data();
            }
            SPropProblemArray *pProblems = nullptr;
            lib.SetItemProps(hItem, 2, values, &pProblems);
            lib.FreeBuffer(pProblems);
            lib.SaveItem(hItem, op != OP_SAVE_KEEP, op == OP_SAVE_REPLACE);
            lib.CloseItem(&hItem);
        }
        }
        lib.FreeBuffer(pszNew);
    }

    // Every message file whole, and each folder listed with one id per file, after a fresh connection.
    void CheckStore(int nRun) {
        for (const char *pszFolder : kFolders) {
            for (const fs::path &file : MessageFiles(FolderDir(pszFolder))) {
                std::string strText = ReadFileText(file);
                ASSERT_GE(strText.size(), std::strlen(kTrailer)) << "run " << nRun << ": " << file;
                ASSERT_EQ(strText.substr(strText.size() - std::strlen(kTrailer)), kTrailer)
                    << "run " << nRun << ": a message cut short: " << file;
            }
        }
        m_log.Clear();
        Connect();
        for (const char *pszFolder : kFolders) {
            std::vector<StoredMessage> listed = List(pszFolder);
            ASSERT_EQ(listed.size(), MessageFiles(FolderDir(pszFolder)).size()) << "run " << nRun << " " << pszFolder;
            for (size_t i = 1; i < listed.size(); ++i) ASSERT_LT(listed[i - 1].id, listed[i].id);
        }
        m_lib.Done();
        ASSERT_EQ(m_log.Text().find("damaged"), std::string::npos) << "run " << nRun << "\n" << m_log.Text();
    }
};

TEST_F(CrashTest, KilledAtRandomMomentsLosesNothingAndDoublesOnlyByFinishedCopies) {
    int nRuns = 200;
    if (const char *psz = std::getenv("TESSEL_CRASH_RUNS"); psz && std::atoi(psz) > 0) nRuns = std::atoi(psz);
    std::map<std::string, int> expected = CountByMessageId();
    ASSERT_EQ(expected.size(), static_cast<size_t>(kSeeds));
    std::mt19937 rng(4242);
    long nFinished = 0, nInterrupted = 0;
    for (int nRun = 0; nRun < nRuns; ++nRun) {
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            close(fds[0]);
            RunChild(static_cast<unsigned>(nRun) * 7919u + 17u, fds[1]);
        }
        close(fds[1]);
        // Kill at a random moment once the child has finished its first operation.
        std::string strTrace;
        char buf[4096];
        pollfd pfd{fds[0], POLLIN, 0};
        while (strTrace.find("E\n") == std::string::npos && poll(&pfd, 1, 60000) == 1) {
            ssize_t n = read(fds[0], buf, sizeof(buf));
            if (n <= 0) break;
            strTrace.append(buf, static_cast<size_t>(n));
        }
        usleep(rng() % 200000);
        kill(pid, SIGKILL);
        int nStatus = 0;
        waitpid(pid, &nStatus, 0);
        for (ssize_t n; (n = read(fds[0], buf, sizeof(buf))) > 0;) strTrace.append(buf, static_cast<size_t>(n));
        close(fds[0]);
        ASSERT_TRUE(WIFSIGNALED(nStatus)) << "the child stopped by itself: " << nStatus;

        // Replay the trace: finished operations move the expected counts; the last one may be cut off.
        std::istringstream in(strTrace);
        std::string line;
        bool bOpen = false;
        Op op = OP_DELETE;
        std::string strId;
        while (std::getline(in, line)) {
            if (line.rfind("B ", 0) == 0) {
                std::istringstream fields(line.substr(2));
                int nOp = 0;
                fields >> nOp >> strId;
                op = static_cast<Op>(nOp);
                bOpen = true;
            } else if (line == "E" && bOpen) {
                expected[strId] += FinishedDelta(op);
                bOpen = false;
                ++nFinished;
            }
        }
        std::map<std::string, int> observed = CountByMessageId();
        for (const auto &[strKey, n] : observed) ASSERT_FALSE(strKey.empty()) << "run " << nRun << ": no Message-ID";
        std::set<std::string> ids;
        for (const auto &[strKey, n] : expected) ids.insert(strKey);
        for (const auto &[strKey, n] : observed) ids.insert(strKey);
        for (const std::string &strKey : ids) {
            int nDelta = observed[strKey] - expected[strKey];
            if (bOpen && strKey == strId) {
                ASSERT_TRUE(InterruptedDeltas(op).count(nDelta))
                    << "run " << nRun << ": " << strKey << " changed by " << nDelta << " in interrupted op " << op;
                expected[strKey] = observed[strKey];
            } else {
                ASSERT_EQ(nDelta, 0) << "run " << nRun << ": " << strKey << (nDelta < 0 ? " lost" : " doubled");
            }
            if (strKey.rfind("<seed-", 0) == 0) {
                ASSERT_GE(observed[strKey], 1) << "run " << nRun << ": lost " << strKey;
            }
        }
        nInterrupted += bOpen;
        CheckStore(nRun);
        if (HasFatalFailure()) return;
    }
    std::printf("crash runs: %d, operations finished: %ld, interrupted: %ld\n", nRuns, nFinished, nInterrupted);
    EXPECT_GT(nFinished, nRuns / 2) << "the children hardly worked";
}

} // namespace
} // namespace oewritetest
