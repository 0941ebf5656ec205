// A process changing the store is killed at random moments; after each kill the store must hold every message
// exactly once and give consistent ids. Runs: TESSEL_CRASH_RUNS (default 50).
#include <csignal>
#include <cstdlib>
#include <map>
#include <poll.h>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

#include "log/log.h"
#include "maildir/maildir_fixture.h"

using namespace maildirtest;

namespace {

class CrashTest : public MaildirTest {
protected:
    static constexpr int kSeeds = 40;

    // The child's endless series of saves, deletes, moves and flag changes.
    [[noreturn]] void RunChild(unsigned nSeed, int fdDone) {
        g_Log.InitLog(nullptr, nullptr, false, 1);
        std::mt19937 rng(nSeed);
        IStoreNamespace *pNs = nullptr;
        if (!(pNs = Open())) _exit(2);
        STOREFOLDERID rgIds[3] = {FolderId(pNs, "Inbox"), FolderId(pNs, "Archive"), FolderId(pNs, "Trash")};
        for (unsigned k = 0;; ++k) {
            int nOp = static_cast<int>(rng() % 100);
            IStoreFolder *pFolder = OpenFolder(pNs, rgIds[rng() % 3]);
            if (!pFolder) _exit(3);
            std::vector<Listed> listed;
            MESSAGEPROPS props{};
            props.cbSize = sizeof(props);
            HENUMSTORE hEnum = nullptr;
            for (HRESULT hr = pFolder->GetFirstMessage(MSGPROPS_FAST, 0, MESSAGEID_FIRST, &props, &hEnum); hr == S_OK;
                 hr = pFolder->GetNextMessage(hEnum, MSGPROPS_FAST, &props))
                listed.push_back({props.dwMessageId, props.dwState, {}});
            if (hEnum) pFolder->GetMessageClose(hEnum);
            MESSAGEID id = listed.empty() ? 0 : listed[rng() % listed.size()].id;
            MESSAGEIDLIST list{sizeof(MESSAGEIDLIST), 1, &id};
            if (nOp < 35 || listed.empty()) {
                Save(pFolder, Message("new-" + std::to_string(nSeed) + "-" + std::to_string(k),
                                      std::string(rng() % 20000, 'b') + "\n"),
                     rng() % 2 ? MSG_UNREAD : MSG_SUBMITTED);
            } else if (nOp < 60) {
                // In the Trash a delete destroys: only messages made by the children may go for good.
                bool bSeed = Bytes(pFolder, id).find("Subject: seed-") != std::string::npos;
                if (!(bSeed && IsTrash(pFolder))) pFolder->DeleteMessages(&list, 0, nullptr);
            } else if (nOp < 90) {
                IStoreFolder *pDest = OpenFolder(pNs, rgIds[rng() % 2]);
                pNs->CopyMoveMessages(pFolder, pDest, &list, CMF_MOVE, 0, nullptr);
                pDest->Release();
            } else {
                DWORD dwBits = static_cast<DWORD>(rng()) & (MSG_UNREAD | MSG_FLAGGED | MSG_RECEIVED | MSG_REPLIED);
                pFolder->SetFlags(&list, dwBits, MSG_UNREAD | MSG_FLAGGED | MSG_RECEIVED | MSG_REPLIED, nullptr);
            }
            pFolder->Release();
            if (write(fdDone, "x", 1) != 1) _exit(4); // one operation done
        }
    }

    static bool IsTrash(IStoreFolder *pFolder) {
        FOLDERPROPS props{};
        props.cbSize = sizeof(props);
        return pFolder->GetFolderProps(0, &props) == S_OK && props.sfType == FOLDER_DELETED;
    }

    // Every seed exactly once, every other message at most once, and every folder's ids consistent and stable.
    void Check(int nRun) {
        std::map<std::string, int> counts;
        for (const char *psz : {"", ".Archive", ".Trash"})
            for (const fs::path &p : MessageFiles(Root() / psz)) ++counts[ReadFileText(p)];
        int nSeeds = 0;
        for (const auto &[strText, n] : counts) {
            bool bSeed = strText.find("Subject: seed-") != std::string::npos;
            nSeeds += bSeed;
            ASSERT_EQ(n, 1) << "run " << nRun << ": a message is there " << n << " times";
        }
        ASSERT_EQ(nSeeds, kSeeds) << "run " << nRun;

        IStoreNamespace *pNs = Open();
        for (const char *pszName : {"Inbox", "Archive", "Trash"}) {
            IStoreFolder *pFolder = OpenFolder(pNs, FolderId(pNs, pszName));
            std::vector<Listed> first = List(pFolder, MSGPROPS_FAST);
            for (size_t i = 1; i < first.size(); ++i) ASSERT_LT(first[i - 1].id, first[i].id) << "run " << nRun;
            std::map<std::string, int> listed;
            for (const Listed &l : first) ++listed[Bytes(pFolder, l.id)];
            fs::path dir = std::string(pszName) == "Inbox" ? Root() : Root() / ("." + std::string(pszName));
            ASSERT_EQ(first.size(), MessageFiles(dir).size()) << "run " << nRun << " " << pszName;
            ASSERT_EQ(listed.size(), first.size()) << "run " << nRun << " " << pszName;
            pFolder->Release();
            pFolder = OpenFolder(pNs, FolderId(pNs, pszName));
            std::vector<Listed> again = List(pFolder, MSGPROPS_FAST);
            ASSERT_EQ(again.size(), first.size());
            for (size_t i = 0; i < again.size(); ++i) ASSERT_EQ(again[i].id, first[i].id) << "run " << nRun;
            pFolder->Release();
        }
        pNs->Release();
        ASSERT_EQ(LogText().find("damaged"), std::string::npos) << "run " << nRun << "\n" << LogText();
    }
};

TEST_F(CrashTest, KilledAtRandomMomentsLosesAndDuplicatesNothing) {
    MakeMaildir(Root());
    MakeMaildir(Root() / ".Archive");
    MakeMaildir(Root() / ".Trash");
    for (int i = 0; i < kSeeds; ++i)
        WriteFileText(Root() / "cur" / (std::to_string(100 + i) + ".M1P1.seed:2,S"),
                  Message("seed-" + std::to_string(i), std::string(static_cast<size_t>(i) * 500, 's') + "\n"));
    int nRuns = 50;
    if (const char *psz = getenv("TESSEL_CRASH_RUNS"); psz && atoi(psz) > 0) nRuns = atoi(psz);
    std::mt19937 rng(12345);
    long nOps = 0;
    for (int nRun = 0; nRun < nRuns; ++nRun) {
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            close(fds[0]);
            RunChild(static_cast<unsigned>(nRun) * 7919u + 1, fds[1]);
        }
        close(fds[1]);
        // Kill at a random moment once the child is at work (its first operation done).
        char buf[4096];
        pollfd pfd{fds[0], POLLIN, 0};
        if (poll(&pfd, 1, 60000) == 1 && read(fds[0], buf, 1) == 1) ++nOps;
        usleep(rng() % 150000);
        kill(pid, SIGKILL);
        int nStatus = 0;
        waitpid(pid, &nStatus, 0);
        for (ssize_t n; (n = read(fds[0], buf, sizeof(buf))) > 0;) nOps += n;
        close(fds[0]);
        ASSERT_TRUE(WIFSIGNALED(nStatus)) << "the child stopped by itself: " << nStatus;
        Check(nRun);
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(nOps, nRuns) << "the children hardly worked";
    RecordProperty("operations", static_cast<int>(nOps));
}

} // namespace
