// The built command end to end on copies of the sample stores: dedupe --apply then undo gives back the same
// files; runs killed at random points are undone completely; the report opens in a headless browser.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <sstream>

#include "support/paths.h"

namespace fs = std::filesystem;

namespace {

// Every file of a store but the tool's own id files, as "folder\tcontent" (content compared whole).
std::multiset<std::string> Snapshot(const fs::path &root) {
    std::multiset<std::string> files;
    for (const auto &e : fs::recursive_directory_iterator(root)) {
        if (!e.is_regular_file()) continue;
        const std::string name = e.path().filename().string();
        if (name.rfind("tessel-", 0) == 0 || name.rfind(".tessel", 0) == 0 || name == ".keep") continue;
        std::ifstream in(e.path(), std::ios::binary);
        std::stringstream ss;
        ss << in.rdbuf();
        fs::path folder = fs::relative(e.path().parent_path(), root);
        if (folder.filename() == "cur" || folder.filename() == "new") folder = folder.parent_path();
        files.insert(folder.string() + "\t" + ss.str());
    }
    return files;
}

int Tool(const std::string &args) { return std::system((std::string(TESSEL_CLI) + " " + args + " >/dev/null 2>&1").c_str()); }

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
    ASSERT_EQ(Tool("--store " + store.string() + " mail dedupe"), 0);
    EXPECT_EQ(Snapshot(store), before); // a dry run changes nothing
    ASSERT_EQ(Tool("--store " + store.string() + " mail dedupe --apply"), 0);
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

TEST_F(DedupeRun, RunsKilledAtRandomPointsAreUndoneCompletely) {
    const char *pszRuns = std::getenv("TESSEL_DEDUPE_KILL_RUNS");
    const int nRuns = pszRuns ? std::atoi(pszRuns) : 50;
    std::mt19937 rng(1234);
    for (int n = 0; n < nRuns; ++n) {
        const fs::path store = m_tmp.path() / ("kill" + std::to_string(n));
        fs::copy(testsupport::SourceDir() / "samples" / "mail", store, fs::copy_options::recursive);
        const auto before = Snapshot(store);
        const pid_t pid = fork();
        if (pid == 0) {
            freopen("/dev/null", "w", stdout);
            freopen("/dev/null", "w", stderr);
            execl(TESSEL_CLI, TESSEL_CLI, "--store", store.c_str(), "mail", "dedupe", "--apply", (char *)nullptr);
            _exit(127);
        }
        usleep(std::uniform_int_distribution<int>(0, 150000)(rng));
        kill(pid, SIGKILL);
        int nStatus = 0;
        waitpid(pid, &nStatus, 0);
        Tool("undo");
        ASSERT_EQ(Snapshot(store), before) << "run " << n;
        fs::remove_all(store);
    }
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
