// The listing and comparing commands, their JSON, and the help and version texts.
#include <fstream>

#include <gtest/gtest.h>

#include "support/paths.h"
#include "tool_runner.h"

namespace fs = std::filesystem;
using clitest::RunTool;

namespace {

class ToolCommands : public ::testing::Test {
protected:
    void SetUp() override {
        m_store = clitest::CopySample("mail", m_tmp.path());
        m_book = clitest::CopySample("contacts", m_tmp.path());
    }
    testsupport::TempDir m_tmp;
    fs::path m_store, m_book;
};

TEST_F(ToolCommands, MailFoldersAsATreeWithCounts) {
    clitest::ToolRun run = RunTool({"--store", m_store.string(), "mail", "folders", "--json"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    const nlohmann::json doc = run.Json();
    ASSERT_EQ(doc["folders"].size(), 7u);
    EXPECT_EQ(doc["folders"][0]["name"], "Inbox");
    EXPECT_EQ(doc["folders"][0]["kind"], "inbox");
    EXPECT_EQ(doc["folders"][0]["messages"], 15);
    EXPECT_EQ(doc["folders"][0]["unread"], 4);
    EXPECT_EQ(doc["folders"][6]["path"], "Work/Projects");
    EXPECT_EQ(doc["folders"][6]["parentEntry"], doc["folders"][5]["entry"]);
    int nTotal = 0;
    for (const auto &folder : doc["folders"]) nTotal += folder["messages"].get<int>();
    EXPECT_EQ(nTotal, 46);

    run = RunTool({"--store", m_store.string(), "mail", "folders"});
    EXPECT_NE(run.strOut.find("\n  Projects  "), std::string::npos) << run.strOut; // indented below Work
}

TEST_F(ToolCommands, MailListSinceAndSorted) {
    const clitest::ToolRun run = RunTool(
        {"--store", m_store.string(), "mail", "list", "Work", "--since", "2023-10-10", "--sort", "newest", "--json"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    const nlohmann::json doc = run.Json();
    std::vector<std::string> dates;
    for (const auto &item : doc["items"]) dates.push_back(item["date"]);
    // Three weekly statuses and three unique messages of November; the older ones are left out.
    ASSERT_EQ(dates.size(), 6u);
    EXPECT_TRUE(std::is_sorted(dates.rbegin(), dates.rend()));
    EXPECT_GE(dates.back(), "2023-10-10");
}

TEST_F(ToolCommands, ContactsListByType) {
    clitest::ToolRun run = RunTool({"--book", m_book.string(), "contacts", "list", "--type", "group", "--json"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    nlohmann::json doc = run.Json();
    ASSERT_EQ(doc["items"].size(), 1u);
    EXPECT_EQ(doc["items"][0]["name"], "Book club");
    EXPECT_EQ(doc["items"][0]["type"], "group");

    run = RunTool({"--book", m_book.string(), "contacts", "list", "Work", "--json"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    doc = run.Json();
    EXPECT_EQ(doc["items"].size(), 14u);
    for (const auto &item : doc["items"]) EXPECT_EQ(item["container"], "Work");
}

TEST_F(ToolCommands, CompareAGroupMarksEqualValuesAlike) {
    const clitest::ToolRun run = RunTool({"--store", m_store.string(), "mail", "compare", "--group", "3", "--json"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    const nlohmann::json doc = run.Json();
    ASSERT_EQ(doc["items"].size(), 3u);
    EXPECT_EQ(doc["items"][0]["subject"], "Server maintenance window");
    ASSERT_EQ(doc["properties"].size(), 6u);
    for (const auto &prop : doc["properties"])
        for (const auto &cell : prop["cells"]) EXPECT_EQ(cell["mark"], "A") << prop["name"];
    EXPECT_TRUE(doc["attachments"].is_array());
}

TEST_F(ToolCommands, CompareEntriesShowsDifferences) {
    // The two project plans differ in their bodies only.
    const clitest::ToolRun scan = RunTool({"--store", m_store.string(), "mail", "list", "Work/Projects", "--json"});
    ASSERT_EQ(scan.nExit, 0) << scan.strErr;
    std::vector<std::string> entries;
    const nlohmann::json listed = scan.Json();
    for (const auto &item : listed["items"])
        if (item["subject"] == "Project plan") entries.push_back(item["entry"]);
    ASSERT_EQ(entries.size(), 2u);
    const clitest::ToolRun run =
        RunTool({"--store", m_store.string(), "mail", "compare", entries[0], entries[1], "--by", "subject,body"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_NE(run.strOut.find("Property  #1"), std::string::npos) << run.strOut;
    const clitest::ToolRun json = RunTool(
        {"--store", m_store.string(), "mail", "compare", entries[0], entries[1], "--by", "subject,body", "--json"});
    const nlohmann::json doc = json.Json();
    EXPECT_EQ(doc["properties"][0]["cells"][1]["mark"], "A");
    EXPECT_EQ(doc["properties"][1]["cells"][0]["mark"], "A");
    EXPECT_EQ(doc["properties"][1]["cells"][1]["mark"], "B");
}

TEST_F(ToolCommands, CompareContacts) {
    const clitest::ToolRun run = RunTool({"--book", m_book.string(), "contacts", "compare", "--group", "3", "--json"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    const nlohmann::json doc = run.Json();
    ASSERT_EQ(doc["items"].size(), 2u);
    EXPECT_EQ(doc["items"][0]["name"], "Chen Wei");
    EXPECT_FALSE(doc.contains("attachments"));
    // work-phone: only the original has one.
    EXPECT_EQ(doc["properties"][2]["name"], "work-phone");
    EXPECT_EQ(doc["properties"][2]["cells"][0]["mark"], "A");
    EXPECT_TRUE(doc["properties"][2]["cells"][1].is_null());
}

TEST_F(ToolCommands, HelpAndVersion) {
    clitest::ToolRun run = RunTool({"--help"});
    EXPECT_EQ(run.nExit, 0);
    for (const char *psz : {"mail", "contacts", "--store", "--book", "--log", "--verbose", "--version"})
        EXPECT_NE(run.strOut.find(psz), std::string::npos) << psz;
    run = RunTool({"mail", "scan", "--help"});
    EXPECT_EQ(run.nExit, 0);
    for (const char *psz : {"--folder", "--by", "--keep", "--json", "most-filled", "message-id", "body"})
        EXPECT_NE(run.strOut.find(psz), std::string::npos) << psz;
    run = RunTool({"contacts", "scan", "--help"});
    EXPECT_NE(run.strOut.find("name,email,phone"), std::string::npos) << run.strOut;
    run = RunTool({"--version"});
    EXPECT_EQ(run.nExit, 0);
    EXPECT_EQ(run.strOut.rfind("tessel ", 0), 0u) << run.strOut;
    EXPECT_NE(run.strOut.find("\nlibtessel "), std::string::npos);
}

TEST_F(ToolCommands, LogFileTakesTheLibrarysLines) {
    const fs::path log = m_tmp.path() / "tessel.log";
    const clitest::ToolRun run = RunTool({"--store", m_store.string(), "--log", log.string(), "mail", "folders"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    std::ifstream in(log);
    const std::string strLog((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_NE(strLog.find("Inf in OEInit: ->"), std::string::npos) << strLog;
    EXPECT_EQ(run.strErr, ""); // only --verbose shows the lines on standard error
}

} // namespace
