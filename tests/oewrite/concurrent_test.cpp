// Deletes through COELib while another mail program delivers into new/ and renames files to change their flags,
// and while a second Tessel process deletes from another folder into the same Deleted Items. Nothing may be
// lost or doubled, every new entry handed out must name the deleted message, and the ids stay consistent.
#include "oewrite/oewrite_fixture.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <random>

#include "log/log.h"
#include "platform/mapi.h"

namespace oewritetest {
namespace {

constexpr int kRounds = 12;
constexpr int kDeletesPerProcess = 12;
constexpr int kDeliveries = 20;
constexpr int kReflags = 30;

class ConcurrentTest : public OEWriteTest {
protected:
    // Deletes random messages of one folder into Deleted Items and checks each new entry. Exits with the number of
    // deletes made, or 100 and more when something went wrong.
    [[noreturn]] void RunDeleter(const std::string &strFolder, unsigned nSeed) {
        g_Log.InitLog(nullptr, nullptr, false, 1);
        std::mt19937 rng(nSeed);
        COELib lib;
        if (!lib.Init(nullptr, false)) _exit(102);
        int nDeleted = 0;
        for (int i = 0; i < kDeletesPerProcess; ++i) {
            std::vector<StoredMessage> messages = ListIn(lib, strFolder);
            if (messages.empty()) {
                usleep(2000);
                continue;
            }
            const StoredMessage &msg = messages[rng() % messages.size()];
            std::string strEntry = ItemEntryIn(lib, strFolder, msg.id);
            char *pszNew = nullptr;
            HRESULT hr = lib.DeleteItem(strEntry.c_str(), &pszNew, false);
            if (hr == S_OK && pszNew) {
                // The entry handed out must name the same message in Deleted Items.
                HITEM hItem = nullptr;
                if (lib.OpenItem(pszNew, &hItem) != S_OK) _exit(105);
                SPropValue *pValue = nullptr;
                bool bSame = lib.GetItemProp(hItem, PR_OE_MESSAGE_ID, &pValue, false) == S_OK &&
                             pValue->Value.lpszA && MessageIdOf(msg.strBytes) == pValue->Value.lpszA;
                lib.FreeItemProps(pValue);
                lib.CloseItem(&hItem);
                if (!bSame) _exit(106);
            }
            if (hr == S_OK) ++nDeleted;
            lib.FreeBuffer(pszNew);
        }
        lib.Done();
        _exit(nDeleted);
    }

    // Another mail program: delivers through tmp/ into new/ and flips the flagged letter of files in cur/.
    [[noreturn]] void RunDeliverer(int nRound, unsigned nSeed) {
        std::mt19937 rng(nSeed);
        int nDelivered = 0, nReflagged = 0;
        while (nDelivered < kDeliveries || nReflagged < kReflags) {
            if (nDelivered < kDeliveries && rng() % 2) {
                std::string strName = "d" + std::to_string(nRound) + "-" + std::to_string(nDelivered) + ".M1P" +
                                      std::to_string(getpid()) + ".other";
                std::string strId = "<delivered-" + std::to_string(nRound) + "-" + std::to_string(nDelivered) +
                                    "@example.org>";
                fs::path dir = nDelivered % 2 ? Root() : FolderDir("Archive");
                WriteFileText(dir / "tmp" / strName, Message("delivered", strId));
                if (rename((dir / "tmp" / strName).c_str(), (dir / "new" / strName).c_str()) != 0) _exit(7);
                ++nDelivered;
            } else if (nReflagged < kReflags) {
                std::vector<fs::path> files = MessageFiles(nReflagged % 2 ? Root() : FolderDir("Archive"));
                ++nReflagged;
                if (files.empty()) continue;
                fs::path from = files[rng() % files.size()];
                if (from.parent_path().filename() != "cur") continue;
                std::string strName = from.filename().string();
                size_t nInfo = strName.find(":2,");
                if (nInfo == std::string::npos) continue;
                std::string strFlags = strName.substr(nInfo + 3);
                strFlags = strFlags.find('F') == std::string::npos ? "F" + strFlags : strFlags.substr(1);
                // The file may have been moved by Tessel meanwhile: then the rename just fails, as it would for
                // any mail program.
                std::rename(from.c_str(), (from.parent_path() / (strName.substr(0, nInfo + 3) + strFlags)).c_str());
            }
            usleep(rng() % 3000);
        }
        _exit(0);
    }

    static int Wait(pid_t pid) {
        int nStatus = 0;
        waitpid(pid, &nStatus, 0);
        return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : 100 + WTERMSIG(nStatus);
    }
};

TEST_F(ConcurrentTest, DeletesBesideADeliveringProgramAndASecondProcessLoseNothing) {
    MakeMaildir(Root() / ".Trash");
    for (int i = 0; i < 30; ++i) {
        std::string strId = "<seed-" + std::to_string(i) + "@example.org>";
        Plant(i % 2 ? "Inbox" : "Archive", Message("seed", strId), i % 3 ? "S" : "");
    }
    m_lib.Done();
    int nDeletes = 0;
    for (int nRound = 0; nRound < kRounds; ++nRound) {
        pid_t pidInbox = fork();
        if (pidInbox == 0) RunDeleter("Inbox", 100u + static_cast<unsigned>(nRound));
        pid_t pidArchive = fork();
        if (pidArchive == 0) RunDeleter("Archive", 200u + static_cast<unsigned>(nRound));
        pid_t pidOther = fork();
        if (pidOther == 0) RunDeliverer(nRound, 300u + static_cast<unsigned>(nRound));
        for (pid_t pid : {pidInbox, pidArchive}) {
            int nExit = Wait(pid);
            ASSERT_LE(nExit, kDeletesPerProcess) << "round " << nRound;
            nDeletes += nExit;
        }
        ASSERT_EQ(Wait(pidOther), 0) << "round " << nRound;

        std::map<std::string, int> counts = CountByMessageId();
        ASSERT_EQ(counts.size(), 30u + static_cast<size_t>(kDeliveries) * static_cast<size_t>(nRound + 1));
        for (const auto &[strId, n] : counts) ASSERT_EQ(n, 1) << "round " << nRound << ": " << strId;
        m_log.Clear();
        Connect();
        for (const char *pszFolder : {"Inbox", "Archive", "Trash"})
            ASSERT_EQ(List(pszFolder).size(), MessageFiles(FolderDir(pszFolder)).size()) << pszFolder;
        m_lib.Done();
        ASSERT_EQ(m_log.Text().find("damaged"), std::string::npos) << m_log.Text();
    }
    std::printf("concurrent rounds: %d, deletes: %d, deliveries: %d, re-flag attempts: %d\n", kRounds, nDeletes,
                kRounds * kDeliveries, kRounds * kReflags);
    EXPECT_GT(nDeletes, kRounds * kDeletesPerProcess) << "the deleting processes hardly worked";
}

} // namespace
} // namespace oewritetest
