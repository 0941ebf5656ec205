// The built command end to end on copies of the sample stores and on a generated store: dedupe --apply (trash,
// move, mark) then undo gives back the same files, and a delete for good asks first; items changed under a run are
// skipped and the rest is done; a disk that fills up stops the run with its journal whole; runs killed at random
// points are undone completely; an undo goes on past an item that is gone; the report, also of a run, opens in a
// headless browser.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

#include "journal.h"
#include "support/paths.h"

namespace fs = std::filesystem;

namespace {

std::string ReadAll(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// The folder a message file is in: its Maildir folder without cur/ or new/.
fs::path FolderOf(const fs::path &file, const fs::path &root) {
    fs::path folder = fs::relative(file.parent_path(), root);
    if (folder.filename() == "cur" || folder.filename() == "new") folder = folder.parent_path();
    return folder;
}

// Every file of a store but the tool's own id files, as "folder\tcontent" (content compared whole); with bFlags
// also the Maildir flags of its name ("folder\tFS\tcontent").
std::multiset<std::string> Snapshot(const fs::path &root, bool bFlags = false) {
    std::multiset<std::string> files;
    for (const auto &e : fs::recursive_directory_iterator(root)) {
        if (!e.is_regular_file()) continue;
        const std::string name = e.path().filename().string();
        if (name.rfind("tessel-", 0) == 0 || name.rfind(".tessel", 0) == 0 || name == ".keep") continue;
        std::string key = FolderOf(e.path(), root).string() + "\t";
        if (bFlags) {
            const size_t nInfo = name.rfind(":2,");
            key += (nInfo == std::string::npos ? std::string() : name.substr(nInfo + 3)) + "\t";
        }
        files.insert(key + ReadAll(e.path()));
    }
    return files;
}

// Runs the tool (with environment assignments before it) and gives its exit code; its standard output goes to
// *pOut when asked for, else nowhere.
int Tool(const std::string &args, std::string *pOut = nullptr, const std::string &environment = "") {
    const std::string command = environment + " " + TESSEL_CLI + " " + args + " 2>/dev/null";
    FILE *pPipe = popen(command.c_str(), "r");
    if (!pPipe) return -1;
    std::string out;
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, pPipe)) > 0;) out.append(buffer, n);
    const int nStatus = pclose(pPipe);
    if (pOut) *pOut = out;
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

size_t CountFlagged(const std::multiset<std::string> &files) {
    size_t n = 0;
    for (const std::string &file : files) {
        const size_t nTab = file.find('\t');
        if (file.find('F', nTab) < file.find('\t', nTab + 1)) ++n;
    }
    return n;
}

size_t Count(const std::string &text, const std::string &what) {
    size_t n = 0;
    for (size_t nPos = text.find(what); nPos != std::string::npos; nPos = text.find(what, nPos + 1)) ++n;
    return n;
}

size_t CountLines(const std::string &text, const std::string &prefix) {
    return Count("\n" + text, "\n" + prefix);
}

// Runs the tool with its standard output into a pipe that is full already: the tool stalls at the line it prints
// after its first action, and onHold runs while it waits there (after the scan, before any further action). Then
// the pipe is drained; *pOut gets what the tool printed, and errors the file its standard error went to. The exit
// code, or -1.
int RunHeldAfterFirstAction(const std::vector<std::string> &args, const fs::path &journals,
                            const std::function<void()> &onHold, std::string *pOut,
                            const fs::path &errors = "/dev/null") {
    int fds[2];
    if (pipe(fds) != 0) return -1;
    fcntl(fds[1], F_SETFL, O_NONBLOCK);
    size_t nFill = 0;
    const std::string block(4096, '-');
    for (ssize_t n; (n = write(fds[1], block.data(), block.size())) > 0;) nFill += static_cast<size_t>(n);
    for (; write(fds[1], "-", 1) == 1;) ++nFill; // the last page too, byte by byte
    fcntl(fds[1], F_SETFL, 0);
    const size_t nJournals = tessel::ListJournals(journals).size();
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(fds[1], STDOUT_FILENO);
        freopen(errors.c_str(), "w", stderr);
        close(fds[0]);
        close(fds[1]);
        std::vector<char *> argv{const_cast<char *>(TESSEL_CLI)};
        for (const std::string &arg : args) argv.push_back(const_cast<char *>(arg.c_str()));
        argv.push_back(nullptr);
        execv(TESSEL_CLI, argv.data());
        _exit(127);
    }
    close(fds[1]);
    // Held once the journal has the first action's after line: the line printed next can't go out.
    bool bHeld = false;
    for (int nWait = 0; nWait < 6000 && !bHeld && waitpid(pid, nullptr, WNOHANG) == 0; ++nWait) {
        const auto all = tessel::ListJournals(journals);
        std::string strError;
        const auto journal = all.size() > nJournals ? tessel::ReadJournal(all.back(), &strError) : std::nullopt;
        bHeld = journal && !journal->actions.empty() && journal->actions.front().after.has_value();
        if (!bHeld) usleep(10000);
    }
    if (bHeld) onHold();
    std::string out;
    char buffer[4096];
    for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) > 0;) out.append(buffer, static_cast<size_t>(n));
    close(fds[0]);
    int nStatus = 0;
    waitpid(pid, &nStatus, 0);
    *pOut = out.size() >= nFill ? out.substr(nFill) : std::string();
    if (!bHeld) return -1;
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

class DedupeRun : public ::testing::Test {
protected:
    void SetUp() override { setenv("XDG_STATE_HOME", (m_tmp.path() / "state").c_str(), 1); }
    fs::path Copy(const char *pszSample) {
        const fs::path to = m_tmp.path() / pszSample;
        fs::copy(testsupport::SourceDir() / "samples" / pszSample, to, fs::copy_options::recursive);
        return to;
    }
    testsupport::TempDir m_tmp;
};

} // namespace

TEST_F(DedupeRun, MailTrashThenUndoGivesBackTheSameFiles) {
    const fs::path store = Copy("mail");
    const auto before = Snapshot(store);
    std::string out;
    ASSERT_EQ(Tool("--store " + store.string() + " mail dedupe", &out), 0);
    EXPECT_EQ(Snapshot(store), before); // a dry run changes nothing
    EXPECT_EQ(CountLines(out, "group "), 7u) << out;
    EXPECT_EQ(CountLines(out, "group 1: keep Inbox  \"Quarterly report Q3\"  Carol Diaz"), 1u) << out;
    EXPECT_EQ(CountLines(out, "  would move to Trash: "), 8u) << out;
    ASSERT_EQ(Tool("--store " + store.string() + " mail dedupe --apply", &out), 0);
    EXPECT_EQ(CountLines(out, "Undo with: tessel undo"), 1u) << out;
    EXPECT_NE(Snapshot(store), before);
    ASSERT_EQ(Tool("undo"), 0);
    EXPECT_EQ(Snapshot(store), before);
}

TEST_F(DedupeRun, ContactsTrashThenUndoGivesBackTheSameCards) {
    const fs::path book = Copy("contacts");
    const auto before = Snapshot(book);
    ASSERT_EQ(Tool("--book " + book.string() + " contacts dedupe --apply"), 0);
    EXPECT_LT(Snapshot(book).size(), before.size());
    ASSERT_EQ(Tool("undo"), 0);
    EXPECT_EQ(Snapshot(book), before);
}

TEST_F(DedupeRun, UndoReportsAnItemThatIsGoneAndRestoresTheRest) {
    const fs::path store = Copy("mail");
    ASSERT_EQ(Tool("--store " + store.string() + " mail dedupe --apply"), 0);
    // Another program empties one message out of Deleted Items.
    fs::path victim;
    for (const auto &e : fs::directory_iterator(store / ".Trash" / "cur"))
        if (e.path().filename().string().find("M2P4242") != std::string::npos) victim = e.path();
    ASSERT_FALSE(victim.empty());
    fs::remove(victim);
    std::string out;
    EXPECT_EQ(Tool("undo", &out), 1) << out;
    EXPECT_EQ(CountLines(out, "missing: Archive  \"Quarterly report Q3\""), 1u) << out;
    EXPECT_EQ(CountLines(out, "restored: "), 7u) << out;
    EXPECT_NE(out.find("Undo: 7 restored, 0 had nothing to undo, 1 missing"), std::string::npos) << out;
}

// Another program changes the store while the run is under way: one duplicate is gone, another got a flag. Both are
// skipped with their reason and counted, the others are done, and the undo restores what was done.
TEST_F(DedupeRun, ItemsChangedSinceTheScanAreSkippedAndTheRestGoesOn) {
    const fs::path store = Copy("mail"), expected = m_tmp.path() / "expected";
    fs::copy(store, expected, fs::copy_options::recursive);
    // What the other program does, to the store under way and to a copy that shows how the undo should leave it.
    const auto change = [](const fs::path &root) {
        fs::remove(root / ".Lists" / "cur" / "1709003000.M6P4242.sample:2,S");
        fs::rename(root / ".Sent" / "cur" / "1709006000.M13P4242.sample:2,S",
                   root / ".Sent" / "cur" / "1709006000.M13P4242.sample:2,FS");
    };
    change(expected);
    std::string out;
    const int nExit = RunHeldAfterFirstAction({"--store", store.string(), "mail", "dedupe", "--apply"},
                                              m_tmp.path() / "state" / "tessel", [&] { change(store); }, &out);
    ASSERT_EQ(nExit, 0) << out;
    EXPECT_EQ(CountLines(out, "skipped: Lists  \"Server maintenance window\"  Ops Team (it is gone)"), 1u) << out;
    EXPECT_EQ(CountLines(out, "skipped: Sent  \"Budget proposal 2024\"  Sam Sample (its flags changed)"), 1u) << out;
    EXPECT_EQ(CountLines(out, "moved to Trash: "), 6u) << out;
    EXPECT_NE(out.find("Dedupe: 7 groups, 8 duplicates: 6 moved to Trash, 2 skipped, 0 failed."), std::string::npos)
        << out;
    ASSERT_EQ(Tool("undo", &out), 0) << out;
    EXPECT_NE(out.find("Undo: 6 restored, 0 had nothing to undo, 0 missing"), std::string::npos) << out;
    EXPECT_EQ(Snapshot(store, true), Snapshot(expected, true));
}

// The disk fills up while the run is under way: the next action fails, the run stops at once with a message that
// says so, the journal reads back whole, and once there is room again the undo restores the store. The store and
// the journal live on a small tmpfs of their own, mounted in a private user and mount namespace.
TEST_F(DedupeRun, AFullDiskStopsTheRunAndTheJournalStaysWhole) {
    const fs::path mount = m_tmp.path() / "small", results = m_tmp.path() / "results";
    fs::create_directories(mount);
    const pid_t pid = fork();
    if (pid == 0) {
        // The namespace applies to this child only; it reports through files outside the mount.
        const std::string uid = "0 " + std::to_string(getuid()) + " 1", gid = "0 " + std::to_string(getgid()) + " 1";
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) _exit(77);
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << uid;
        std::ofstream("/proc/self/gid_map") << gid;
        if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("tessel-small", mount.c_str(), "tmpfs", 0, "size=4m") != 0)
            _exit(77);
        const fs::path store = mount / "mail", journals = mount / "state" / "tessel";
        setenv("XDG_STATE_HOME", (mount / "state").c_str(), 1);
        fs::copy(testsupport::SourceDir() / "samples" / "mail", store, fs::copy_options::recursive);
        const auto before = Snapshot(store);
        std::string out;
        const int nExit = RunHeldAfterFirstAction({"--store", store.string(), "mail", "dedupe", "--apply"}, journals,
                                                  [&] {
                                                      std::ofstream filler(mount / "filler", std::ios::binary);
                                                      const std::string block(65536, 'x');
                                                      while (filler.write(block.data(), block.size())) {}
                                                  },
                                                  &out, results / "errors.txt");
        std::ofstream(results / "dedupe.txt") << nExit << "\n" << out;
        std::string strError;
        const auto all = tessel::ListJournals(journals);
        const auto journal = all.empty() ? std::nullopt : tessel::ReadJournal(all.back(), &strError);
        std::ofstream(results / "journal.txt")
            << (journal ? std::to_string(journal->actions.size()) + " actions, " +
                              std::to_string(journal->nBadLines) + " bad lines, " + (journal->end ? "ended" : "no end")
                        : "unreadable: " + strError);
        fs::remove(mount / "filler");
        Tool("undo", &out);
        std::ofstream(results / "undo.txt") << out;
        // "same", or the folders of the files that differ.
        const auto after = Snapshot(store);
        std::string same = after == before ? "same" : "";
        for (const auto *pSide : {&before, &after})
            for (const std::string &file : *pSide)
                if ((pSide == &before ? after : before).count(file) < pSide->count(file))
                    same += (pSide == &before ? "lost: " : "new: ") + file.substr(0, file.find('\t')) + "\n";
        std::ofstream(results / "same.txt") << same;
        _exit(0);
    }
    fs::create_directories(results);
    int nStatus = 0;
    waitpid(pid, &nStatus, 0);
    if (WIFEXITED(nStatus) && WEXITSTATUS(nStatus) == 77)
        GTEST_SKIP() << "no private mount namespace here to fill a small disk in";
    ASSERT_TRUE(WIFEXITED(nStatus) && WEXITSTATUS(nStatus) == 0);
    const std::string dedupe = ReadAll(results / "dedupe.txt");
    EXPECT_EQ(dedupe.substr(0, 2), "1\n") << dedupe; // exit code 1
    EXPECT_EQ(CountLines(dedupe, "moved to Trash: "), 1u) << dedupe;
    EXPECT_EQ(CountLines(dedupe, "failed (0x80030070, the disk is full): Work  \"Re: Lunch on Friday\""), 1u) << dedupe;
    EXPECT_EQ(dedupe.find("Dedupe: "), std::string::npos) << dedupe; // stopped at once, no summary of a whole run
    const std::string errors = ReadAll(results / "errors.txt");
    EXPECT_NE(errors.find("tessel: the disk is full; stopped after 1 action, which is in the journal "),
              std::string::npos)
        << errors;
    EXPECT_EQ(ReadAll(results / "journal.txt"), "2 actions, 0 bad lines, no end");
    const std::string undo = ReadAll(results / "undo.txt");
    // The failed move got as far as Deleted Items (only the index could not be written): it comes back too.
    EXPECT_NE(undo.find("Undo: 2 restored, 0 had nothing to undo, 0 missing, 0 could not be undone, 0 failed."),
              std::string::npos)
        << undo;
    EXPECT_EQ(ReadAll(results / "same.txt"), "same");
}

TEST_F(DedupeRun, DeleteAsksForYesAndItsUndoSaysItCantThenStepsAside) {
    const fs::path book = Copy("contacts");
    const auto before = Snapshot(book);
    std::string out;
    EXPECT_EQ(Tool("--book " + book.string() + " contacts dedupe --action delete --apply", &out), 2) << out;
    EXPECT_EQ(Snapshot(book), before);
    ASSERT_EQ(Tool("--book " + book.string() + " contacts dedupe --action delete --yes --apply", &out), 0) << out;
    EXPECT_EQ(CountLines(out, "deleted for good: "), 5u) << out;
    EXPECT_EQ(CountLines(out, "A delete for good can't be undone."), 1u) << out;
    EXPECT_EQ(Snapshot(book).size(), before.size() - 5);
    ASSERT_EQ(Tool("undo", &out), 0) << out;
    EXPECT_NE(out.find("Undo: 0 restored, 0 had nothing to undo, 0 missing, 5 could not be undone, 0 failed."),
              std::string::npos)
        << out;
    ASSERT_EQ(Tool("undo", &out), 0) << out; // the next undo does not stop at that run again
    EXPECT_EQ(out.find("Nothing to undo"), 0u) << out;
}

TEST_F(DedupeRun, MovedItemsMoveBackOnUndo) {
    const fs::path store = Copy("mail"), book = Copy("contacts");
    const auto mailBefore = Snapshot(store), cardsBefore = Snapshot(book);
    std::string out;
    ASSERT_EQ(Tool("--store " + store.string() + " mail dedupe --action move:Archive --apply", &out), 0);
    EXPECT_EQ(CountLines(out, "moved to Archive: "), 6u) << out; // two of the eight are in Archive already
    ASSERT_EQ(Tool("undo", &out), 0) << out;
    EXPECT_EQ(Snapshot(store), mailBefore);

    ASSERT_EQ(Tool("--book " + book.string() + " contacts dedupe --action move:Work --apply", &out), 0);
    EXPECT_EQ(CountLines(out, "moved to Work: "), 3u) << out;
    EXPECT_NE(Snapshot(book), cardsBefore);
    ASSERT_EQ(Tool("undo", &out), 0) << out;
    EXPECT_EQ(Snapshot(book), cardsBefore); // the cards themselves, UID and all, not copies made by the move
}

TEST_F(DedupeRun, MailMarkFlagsTheDuplicatesAndUndoTakesTheFlagsOff) {
    const fs::path store = Copy("mail");
    // One duplicate carries the flag already: it is left alone, and so is its flag on undo.
    fs::rename(store / ".Sent" / "cur" / "1709006000.M13P4242.sample:2,S",
               store / ".Sent" / "cur" / "1709006000.M13P4242.sample:2,FS");
    const auto before = Snapshot(store, true);
    const auto files = Snapshot(store);
    std::string out;
    ASSERT_EQ(Tool("--store " + store.string() + " mail dedupe --action mark --apply", &out), 0);
    EXPECT_EQ(CountLines(out, "flagged: "), 7u) << out; // samples/mail: 7 groups, 8 duplicates
    EXPECT_EQ(CountLines(out, "skipped: Sent  \"Budget proposal 2024\"  Sam Sample (it is flagged already)"), 1u)
        << out;
    EXPECT_EQ(Snapshot(store), files); // the same files in the same folders, only flags differ
    EXPECT_EQ(CountFlagged(Snapshot(store, true)), CountFlagged(before) + 7);
    ASSERT_EQ(Tool("undo", &out), 0) << out;
    EXPECT_NE(out.find("Undo: 7 restored"), std::string::npos) << out;
    EXPECT_EQ(Snapshot(store, true), before);
}

TEST_F(DedupeRun, ContactsMarkPrefixesTheNamesAndUndoPutsThemBack) {
    const fs::path book = Copy("contacts");
    const auto before = Snapshot(book);
    std::string out;
    ASSERT_EQ(Tool("--book " + book.string() + " contacts dedupe --action mark --prefix 'DUP: ' --apply", &out), 0);
    const auto marked = Snapshot(book);
    ASSERT_EQ(marked.size(), before.size()); // no card is removed
    size_t nMarked = 0;
    for (const std::string &card : marked) nMarked += Count(card, "\nFN:DUP: ");
    EXPECT_GT(nMarked, 0u);
    EXPECT_EQ(nMarked, CountLines(out, "marked: ")) << out;
    ASSERT_EQ(Tool("undo", &out), 0) << out;
    EXPECT_EQ(Snapshot(book), before);
}

TEST_F(DedupeRun, ReportOfAContactsRunComparesTheCardsKeptInTheJournal) {
    const fs::path book = Copy("contacts");
    ASSERT_EQ(Tool("--book " + book.string() + " contacts dedupe --apply"), 0);
    const auto journals = tessel::ListJournals(m_tmp.path() / "state" / "tessel");
    ASSERT_EQ(journals.size(), 1u);
    const fs::path html = m_tmp.path() / "report.html";
    const fs::path scratch = m_tmp.path() / "tmp";
    fs::create_directory(scratch);
    std::string out;
    // From another directory: the journal names the book by its full path.
    ASSERT_EQ(Tool("report contacts --journal " + journals[0].string() + " --html " + html.string(), &out,
                   "TMPDIR=" + scratch.string()),
              0);
    EXPECT_NE(out.find("Report: 4 groups, 5 duplicates"), std::string::npos) << out;
    const std::string page = ReadAll(html);
    EXPECT_EQ(Count(page, "<details class=\"group\""), 4u);
    EXPECT_EQ(Count(page, "removed; the card is kept in the journal"), 5u);
    EXPECT_GE(Count(page, "same as the original"), 10u); // name and e-mail at least, for every removed card
    EXPECT_TRUE(fs::is_empty(scratch)); // the scratch copy of the removed cards is gone
}

TEST_F(DedupeRun, ContactsMarkUndoKeepsAnEditMadeSinceAndTakesOnlyTheMarkOff) {
    const fs::path book = Copy("contacts");
    ASSERT_EQ(Tool("--book " + book.string() + " contacts dedupe --action mark --prefix 'DUP: ' --apply"), 0);
    fs::path edited;
    for (const auto &e : fs::recursive_directory_iterator(book))
        if (e.is_regular_file() && edited.empty() && ReadAll(e.path()).find("\nFN:DUP: ") != std::string::npos)
            edited = e.path();
    ASSERT_FALSE(edited.empty());
    std::string text = ReadAll(edited);
    const size_t nAt = text.find("END:VCARD");
    text.insert(nAt, "NOTE:added after the dedupe\r\n");
    std::ofstream(edited, std::ios::binary | std::ios::trunc) << text;
    std::string out;
    ASSERT_EQ(Tool("undo", &out), 0) << out;
    const std::string after = ReadAll(edited);
    EXPECT_NE(after.find("NOTE:added after the dedupe"), std::string::npos) << after;
    EXPECT_EQ(after.find("DUP: "), std::string::npos) << after;
}

// A store made by the shared generator, whose truth file says which files are copies of one message: after the
// dedupe exactly one file of each message is left outside Deleted Items, and the undo gives back every file.
TEST_F(DedupeRun, GeneratedStoreKeepsOneMessageOfEachAndUndoGivesBackEveryFile) {
    const fs::path generator = testsupport::SharedDir().empty()
                                   ? fs::path()
                                   : testsupport::SharedDir() / "bench" / "gen-maildir.py";
    if (generator.empty() || !fs::exists(generator))
        GTEST_SKIP() << "no bench/gen-maildir.py in the shared directory (../shared or TESSEL_SHARED_DIR)";
    if (std::system("python3 -c '' >/dev/null 2>&1") != 0) GTEST_SKIP() << "no python3 to run the generator";
    const fs::path store = m_tmp.path() / "generated", list = m_tmp.path() / "files.tsv",
                   truthFile = m_tmp.path() / "truth.json";
    // Small bodies and a few hundred files keep the test at a few seconds; the mix of copies stays the same.
    ASSERT_EQ(std::system(("python3 " + generator.string() + " " + store.string() +
                           " 400 --seed 11 --collision-rate 0.05 --min-body 200 --max-body 2000 --truth " +
                           truthFile.string() + " --list " + list.string() + " >/dev/null")
                              .c_str()),
              0);
    const auto truth = nlohmann::json::parse(ReadAll(truthFile));
    ASSERT_GT(truth["content_groups"].get<int>(), 0);
    ASSERT_GT(truth["message_id_collisions"].get<int>(), 0); // the trap for a dedupe by Message-ID alone

    // Which message each content stands for: copies share their original's number.
    std::map<std::string, int> messageOf;
    std::set<int> messages;
    std::istringstream rows(ReadAll(list));
    std::string row;
    std::getline(rows, row); // the header
    while (std::getline(rows, row)) {
        const std::string path = row.substr(0, row.find('\t'));
        const int nMessage = std::stoi(row.substr(row.rfind('\t') + 1));
        messageOf[ReadAll(store / path)] = nMessage;
        messages.insert(nMessage);
    }
    ASSERT_EQ(messages.size(), truth["originals"].get<size_t>());

    const auto before = Snapshot(store);
    std::string out;
    ASSERT_EQ(Tool("--store " + store.string() + " mail dedupe --apply", &out), 0) << out;
    std::map<int, int> outside; // message -> its files outside Deleted Items
    size_t nTrashed = 0;
    for (const auto &e : fs::recursive_directory_iterator(store)) {
        const std::string name = e.path().filename().string();
        if (!e.is_regular_file() || name.rfind("tessel-", 0) == 0 || name == "maildirfolder") continue;
        const auto found = messageOf.find(ReadAll(e.path()));
        ASSERT_NE(found, messageOf.end()) << e.path() << " is no file the generator wrote";
        if (FolderOf(e.path(), store) == ".Trash") ++nTrashed;
        else ++outside[found->second];
    }
    EXPECT_EQ(nTrashed, truth["content_excess"].get<size_t>());
    EXPECT_EQ(outside.size(), messages.size());
    for (const auto &[nMessage, nFiles] : outside) EXPECT_EQ(nFiles, 1) << "message " << nMessage;

    ASSERT_EQ(Tool("undo", &out), 0) << out;
    EXPECT_EQ(Snapshot(store), before);
}

TEST_F(DedupeRun, RunsKilledAtRandomPointsAreUndoneCompletely) {
    const char *pszRuns = std::getenv("TESSEL_DEDUPE_KILL_RUNS");
    const int nRuns = pszRuns ? std::atoi(pszRuns) : 50;
    const fs::path journals = m_tmp.path() / "state" / "tessel";
    // How long a whole run takes here, and when its journal appears (the scan before it changes nothing): most
    // kills land between the two, the rest anywhere, whatever the build and the machine's load.
    const fs::path timed = Copy("mail");
    ASSERT_EQ(Tool("--store " + timed.string() + " mail dedupe"), 0); // a first run is slower: files not yet cached
    const auto tStart = std::chrono::steady_clock::now();
    const auto elapsedUs = [&] {
        return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - tStart)
            .count();
    };
    const pid_t timedPid = fork();
    if (timedPid == 0) {
        freopen("/dev/null", "w", stdout);
        freopen("/dev/null", "w", stderr);
        execl(TESSEL_CLI, TESSEL_CLI, "--store", timed.c_str(), "mail", "dedupe", "--apply", (char *)nullptr);
        _exit(127);
    }
    long nJournalUs = -1;
    while (waitpid(timedPid, nullptr, WNOHANG) == 0) {
        if (nJournalUs < 0 && !tessel::ListJournals(journals).empty()) nJournalUs = elapsedUs();
        usleep(200);
    }
    const long nSpanUs = elapsedUs();
    ASSERT_EQ(tessel::ListJournals(journals).size(), 1u);
    if (nJournalUs < 0) nJournalUs = 0;
    ASSERT_EQ(Tool("undo"), 0);
    std::mt19937 rng(1234);
    int nNoJournal = 0, nNoAction = 0, nMidway = 0, nInterruptedAction = 0, nFinished = 0;
    for (int n = 0; n < nRuns; ++n) {
        const fs::path store = m_tmp.path() / ("kill" + std::to_string(n));
        fs::copy(testsupport::SourceDir() / "samples" / "mail", store, fs::copy_options::recursive);
        const auto before = Snapshot(store);
        const size_t nJournals = tessel::ListJournals(journals).size();
        const pid_t pid = fork();
        if (pid == 0) {
            freopen("/dev/null", "w", stdout);
            freopen("/dev/null", "w", stderr);
            execl(TESSEL_CLI, TESSEL_CLI, "--store", store.c_str(), "mail", "dedupe", "--apply", (char *)nullptr);
            _exit(127);
        }
        const long nFrom = n % 4 == 0 ? 0 : nJournalUs, nTo = n % 4 == 0 ? nSpanUs * 11 / 10 : nSpanUs;
        usleep(static_cast<useconds_t>(std::uniform_int_distribution<long>(nFrom, nTo)(rng)));
        kill(pid, SIGKILL);
        int nStatus = 0;
        waitpid(pid, &nStatus, 0);
        // Where the kill landed, by the journal it left.
        const auto all = tessel::ListJournals(journals);
        std::string strError;
        const auto journal = all.size() > nJournals ? tessel::ReadJournal(all.back(), &strError) : std::nullopt;
        if (!journal) ++nNoJournal;
        else if (journal->end) ++nFinished;
        else if (journal->actions.empty()) ++nNoAction;
        else ++nMidway, nInterruptedAction += journal->actions.back().Interrupted();
        Tool("undo");
        ASSERT_EQ(Snapshot(store), before) << "run " << n;
        fs::remove_all(store);
    }
    std::printf("[ figures  ] %d runs killed within %.0f ms (journal at %.0f ms): %d before the journal, %d before the "
                "first action, %d midway (%d of them inside an action), %d after the end; all undone completely\n",
                nRuns, nSpanUs * 1.1 / 1000, nJournalUs / 1000.0, nNoJournal, nNoAction, nMidway, nInterruptedAction,
                nFinished);
}

TEST_F(DedupeRun, ReportOpensInAHeadlessBrowser) {
    if (!fs::exists("/usr/bin/chromium")) GTEST_SKIP() << "no /usr/bin/chromium: the report's browser check is skipped";
    const fs::path store = Copy("mail");
    const fs::path html = m_tmp.path() / "report.html";
    ASSERT_EQ(Tool("report mail --store " + store.string() + " --html " + html.string()), 0);
    const fs::path dom = m_tmp.path() / "dom.html";
    const std::string flags = " --headless --no-sandbox --disable-gpu --user-data-dir=" + (m_tmp.path() / "profile").string();
    ASSERT_EQ(std::system(("/usr/bin/chromium" + flags + " --dump-dom file://" + html.string() + " >" + dom.string() +
                           " 2>/dev/null").c_str()), 0);
    std::ifstream in(dom);
    std::stringstream ss;
    ss << in.rdbuf();
    const std::string text = ss.str();
    EXPECT_NE(text.find("7 of 7 groups shown"), std::string::npos); // the script ran
    EXPECT_NE(text.find("class=\"item original\""), std::string::npos);
    EXPECT_NE(text.find("class=\"cell eq1\" data-eq=\"1\""), std::string::npos);
    const fs::path shot = fs::path(TESSEL_BINARY_DIR) / "dedupe-report.png";
    std::system(("/usr/bin/chromium" + flags + " --window-size=1280,1000 --screenshot=" + shot.string() + " file://" +
                 html.string() + " >/dev/null 2>&1").c_str());
    EXPECT_TRUE(fs::exists(shot));
}
