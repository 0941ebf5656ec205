// Wrong input gets a clear message on standard error and a non-zero exit code: 2 for a wrong command line, 1 for a
// store that can't be read.
#include <fstream>

#include <gtest/gtest.h>

#include "support/paths.h"
#include "tool_runner.h"

namespace fs = std::filesystem;
using clitest::RunTool;

namespace {

class ToolErrors : public ::testing::Test {
protected:
    void SetUp() override { m_store = clitest::CopySample("mail", m_tmp.path()); }
    testsupport::TempDir m_tmp;
    fs::path m_store;
};

TEST_F(ToolErrors, UnknownPropertyWord) {
    const clitest::ToolRun run = RunTool({"--store", m_store.string(), "mail", "scan", "--by", "subject,colour"});
    EXPECT_EQ(run.nExit, 2);
    EXPECT_NE(run.strErr.find("tessel: unknown property word 'colour' for mail; known words: subject, from,"),
              std::string::npos)
        << run.strErr;
    EXPECT_EQ(run.strOut, "");
}

TEST_F(ToolErrors, ContactWordsAreNotMailWords) {
    const clitest::ToolRun run = RunTool({"--store", m_store.string(), "mail", "scan", "--by", "email"});
    EXPECT_EQ(run.nExit, 2);
    EXPECT_NE(run.strErr.find("unknown property word 'email'"), std::string::npos) << run.strErr;
}

TEST_F(ToolErrors, UnknownKeepRule) {
    clitest::ToolRun run = RunTool({"--store", m_store.string(), "mail", "scan", "--keep", "newest"});
    EXPECT_EQ(run.nExit, 2);
    EXPECT_NE(run.strErr.find("unknown --keep rule 'newest'"), std::string::npos) << run.strErr;
    run = RunTool({"--store", m_store.string(), "mail", "scan", "--keep", "field:size=big"});
    EXPECT_EQ(run.nExit, 2);
    EXPECT_NE(run.strErr.find("--keep field:size= needs a number"), std::string::npos) << run.strErr;
}

TEST_F(ToolErrors, FolderThatDoesNotExist) {
    clitest::ToolRun run = RunTool({"--store", m_store.string(), "mail", "scan", "--folder", "Nope"});
    EXPECT_EQ(run.nExit, 2);
    EXPECT_NE(run.strErr.find("tessel: no folder 'Nope' in " + m_store.string() + " (see: tessel mail folders)"),
              std::string::npos)
        << run.strErr;
    run = RunTool({"--store", m_store.string(), "mail", "list", "Nope"});
    EXPECT_EQ(run.nExit, 2);
    EXPECT_NE(run.strErr.find("no folder 'Nope'"), std::string::npos);
}

TEST_F(ToolErrors, StoreThatIsNoMaildir) {
    const fs::path dir = m_tmp.path() / "notes";
    fs::create_directories(dir);
    std::ofstream(dir / "todo.txt") << "buy milk\n";
    const clitest::ToolRun run = RunTool({"--store", dir.string(), "mail", "scan"});
    EXPECT_EQ(run.nExit, 1);
    EXPECT_NE(run.strErr.find("tessel: " + dir.string() + " is not a Maildir"), std::string::npos) << run.strErr;
    EXPECT_FALSE(fs::exists(dir / "cur")); // never turned into a store
}

TEST_F(ToolErrors, StoreThatDoesNotExist) {
    const fs::path dir = m_tmp.path() / "missing";
    const clitest::ToolRun run = RunTool({"--store", dir.string(), "mail", "folders"});
    EXPECT_EQ(run.nExit, 1);
    EXPECT_NE(run.strErr.find("no mail store at " + dir.string()), std::string::npos) << run.strErr;
    EXPECT_FALSE(fs::exists(dir));
}

TEST_F(ToolErrors, AddressBookThatDoesNotExistIsNotCreated) {
    const fs::path book = m_tmp.path() / "contacts.vcf";
    const clitest::ToolRun run = RunTool({"--book", book.string(), "contacts", "scan"});
    EXPECT_EQ(run.nExit, 1);
    EXPECT_NE(run.strErr.find("no address book at " + book.string()), std::string::npos) << run.strErr;
    EXPECT_FALSE(fs::exists(book));
}

TEST_F(ToolErrors, WrongCommandLines) {
    EXPECT_EQ(RunTool({}).nExit, 2);
    EXPECT_EQ(RunTool({"mail"}).nExit, 2);
    EXPECT_EQ(RunTool({"mail", "scan", "--bogus"}).nExit, 2);
    const clitest::ToolRun run = RunTool({"--store", m_store.string(), "mail", "list", "Inbox", "--since", "May"});
    EXPECT_EQ(run.nExit, 2);
    EXPECT_NE(run.strErr.find("--since needs a date"), std::string::npos) << run.strErr;
}

TEST_F(ToolErrors, CompareNeedsEntriesOrAGroup) {
    clitest::ToolRun run = RunTool({"--store", m_store.string(), "mail", "compare"});
    EXPECT_EQ(run.nExit, 2);
    run = RunTool({"--store", m_store.string(), "mail", "compare", "--group", "99"});
    EXPECT_EQ(run.nExit, 2);
    EXPECT_NE(run.strErr.find("no group 99: the scan found 7 groups"), std::string::npos) << run.strErr;
    run = RunTool({"--store", m_store.string(), "mail", "compare", "FFFFFFFF01000000"});
    EXPECT_EQ(run.nExit, 2);
    EXPECT_NE(run.strErr.find("no message with the entry FFFFFFFF01000000"), std::string::npos) << run.strErr;
}

} // namespace
