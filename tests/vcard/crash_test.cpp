// A writer killed at any instant leaves a book that parses, with every card in it exactly once: a child process
// saves changes in a loop and is killed with SIGKILL at random points (TESSEL_CRASH_RUNS times, default 50).
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <random>

#include "providers/vcard/vcard_card.h"
#include "support/paths.h"
#include "vcard_test_util.h"

using vcardtest::Book;
using vcardtest::ReadText;
using vcardtest::WriteText;

namespace {

constexpr int kCards = 12;

int CrashRuns() {
    const char *psz = std::getenv("TESSEL_CRASH_RUNS");
    int n = psz ? std::atoi(psz) : 50;
    return n > 0 ? n : 50;
}

std::string CardText(int i) {
    return "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:crash-" + std::to_string(i) + "\r\nFN:Person " + std::to_string(i) +
           "\r\nNOTE:" + std::string(200, static_cast<char>('a' + i)) + "\r\nEND:VCARD\r\n";
}

// The child: opens the book, says so on fdReady, and saves one card after another, for ever.
[[noreturn]] void SaveForever(const std::filesystem::path &book, unsigned nSeed, int fdReady) {
    Book wab(book);
    if (FAILED(wab.hr)) _exit(2);
    std::vector<std::string> containers = wab.ContainerIds();
    std::mt19937 rng(nSeed);
    if (write(fdReady, "r", 1) != 1) _exit(3);
    for (unsigned n = 0;; ++n) {
        const std::string &sCont = containers[rng() % containers.size()];
        std::vector<std::string> ids = wab.CardIds(sCont);
        if (ids.empty()) continue;
        IMAPIProp *p = wab.Open(ids[rng() % ids.size()]);
        wab.SetString(p, PR_COMMENT, "changed " + std::to_string(n) + std::string(rng() % 3000, 'x'));
        p->SaveChanges(0);
        p->Release();
    }
}

// Every card's UID, counted over all .vcf files under root; *pcChanged gets the number of cards a child changed.
std::map<std::string, int> CountUids(const std::filesystem::path &root, int *pcChanged) {
    std::map<std::string, int> uids;
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_regular_file(root)) files.push_back(root);
    else
        for (auto &e : std::filesystem::recursive_directory_iterator(root))
            if (e.path().extension() == ".vcf" && e.path().filename().string()[0] != '.') files.push_back(e.path());
    for (const auto &f : files) {
        std::vector<vcard::VProblem> problems;
        vcard::VFile file = vcard::ParseFile(ReadText(f), &problems);
        EXPECT_TRUE(problems.empty()) << f;
        for (const vcard::VChunk &c : file.chunks) {
            if (!c.bCard) continue;
            ++uids[c.card.Uid()];
            const vcard::VProperty *note = c.card.Find("NOTE");
            if (note && note->sValue.rfind("changed", 0) == 0) ++*pcChanged;
        }
    }
    return uids;
}

void KillAtRandomPoints(const std::filesystem::path &book) {
    std::mt19937 rng(12345);
    int nRuns = CrashRuns();
    for (int nRun = 0; nRun < nRuns; ++nRun) {
        int fds[2];
        ASSERT_EQ(0, pipe(fds));
        pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) SaveForever(book, static_cast<unsigned>(nRun), fds[1]);
        // Wait until the child has the book open (slow under the sanitizers), then let it save for a while.
        char c;
        ASSERT_EQ(1, read(fds[0], &c, 1));
        close(fds[0]);
        close(fds[1]);
        usleep(rng() % 60000);
        kill(pid, SIGKILL);
        int nStatus = 0;
        waitpid(pid, &nStatus, 0);
        ASSERT_TRUE(WIFSIGNALED(nStatus)) << "the child stopped by itself, status " << nStatus;
        int cChanged = 0;
        std::map<std::string, int> uids = CountUids(book, &cChanged);
        if (nRun + 1 == nRuns) {
            EXPECT_GT(cChanged, 0) << "no child ever saved: the test proves nothing";
        }
        ASSERT_EQ(static_cast<size_t>(kCards), uids.size()) << "run " << nRun;
        for (const auto &[sUid, n] : uids) ASSERT_EQ(1, n) << sUid << " in run " << nRun;
    }
    // The book still opens and lists every card.
    Book wab(book);
    size_t cCards = 0;
    for (const std::string &sCont : wab.ContainerIds()) cCards += wab.CardIds(sCont).size();
    EXPECT_EQ(static_cast<size_t>(kCards), cCards);
}

} // namespace

TEST(VCardCrash, KilledWriterLeavesAFileBookWhole) {
    testsupport::TempDir dir;
    std::string sText;
    for (int i = 0; i < kCards; ++i) sText += CardText(i);
    WriteText(dir.path() / "book.vcf", sText);
    KillAtRandomPoints(dir.path() / "book.vcf");
}

TEST(VCardCrash, KilledWriterLeavesAVdirWhole) {
    testsupport::TempDir dir;
    for (int i = 0; i < kCards; ++i)
        WriteText(dir.path() / "book" / (i % 2 ? "work" : "home") / ("card" + std::to_string(i) + ".vcf"), CardText(i));
    KillAtRandomPoints(dir.path() / "book");
}
