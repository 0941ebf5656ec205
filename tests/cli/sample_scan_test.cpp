// Scans of the bundled samples: the groups their READMEs promise, in table and JSON form.
#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "support/paths.h"
#include "tool_runner.h"

namespace fs = std::filesystem;
using clitest::RunTool;

namespace {

// "title: original folder -> duplicate folders" for every group of a scan's JSON.
std::set<std::string> GroupLines(const nlohmann::json &doc, const char *pszTitle, const char *pszFolder) {
    std::set<std::string> lines;
    for (const auto &group : doc["groups"]) {
        std::string strLine = group["original"][pszTitle].get<std::string>() + ": " +
                              group["original"][pszFolder].get<std::string>() + " ->";
        for (const auto &dup : group["duplicates"]) strLine += " " + dup[pszFolder].get<std::string>();
        lines.insert(strLine);
    }
    return lines;
}

class SampleScan : public ::testing::Test {
protected:
    testsupport::TempDir m_tmp;
};

TEST_F(SampleScan, MailFindsTheGroupsOfItsReadme) {
    const fs::path store = clitest::CopySample("mail", m_tmp.path());
    const clitest::ToolRun run = RunTool({"--store", store.string(), "mail", "scan", "--json"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    const nlohmann::json doc = run.Json();
    EXPECT_EQ(GroupLines(doc, "subject", "folder"),
              (std::set<std::string>{"Quarterly report Q3: Inbox -> Archive", "Re: Lunch on Friday: Inbox -> Work",
                                     "Server maintenance window: Inbox -> Lists Work/Projects",
                                     "Invoice 2023-117: Inbox -> Inbox", "Budget proposal 2024: Lists -> Sent",
                                     ": Inbox -> Archive", "Photos from the trip: Archive -> Work"}));
    EXPECT_EQ(doc["summary"]["items"], 46);
    EXPECT_EQ(doc["summary"]["groups"], 7);
    EXPECT_EQ(doc["summary"]["duplicates"], 8);
    EXPECT_EQ(doc["summary"]["unreadable"], 0);
}

TEST_F(SampleScan, MailTableNamesEveryGroupAndTheSummary) {
    const fs::path store = clitest::CopySample("mail", m_tmp.path());
    const clitest::ToolRun run = RunTool({"--store", store.string(), "mail", "scan"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_NE(run.strOut.find("Group  Role"), std::string::npos) << run.strOut;
    EXPECT_NE(run.strOut.find("(no subject)"), std::string::npos);
    EXPECT_NE(run.strOut.find("Scanned 46 messages in 7 folders by subject,from,to,date,message-id,body: 7 groups, "
                              "8 duplicates."),
              std::string::npos)
        << run.strOut;
    // Nothing about progress when standard error is no terminal.
    EXPECT_EQ(run.strErr, "");
}

TEST_F(SampleScan, MailWithoutTheBodySameSubjectAndHeadersMakeAGroup) {
    const fs::path store = clitest::CopySample("mail", m_tmp.path());
    const clitest::ToolRun run =
        RunTool({"--store", store.string(), "mail", "scan", "--json", "--by", "subject,from,to,date,message-id"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    const std::set<std::string> lines = GroupLines(run.Json(), "subject", "folder");
    EXPECT_EQ(lines.count("Project plan: Work/Projects -> Work/Projects"), 1u);
    EXPECT_EQ(lines.size(), 8u);
}

TEST_F(SampleScan, MailOneFolderOnly) {
    const fs::path store = clitest::CopySample("mail", m_tmp.path());
    const clitest::ToolRun run = RunTool({"--store", store.string(), "mail", "scan", "--json", "--folder", "inbox"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    const nlohmann::json doc = run.Json();
    EXPECT_EQ(GroupLines(doc, "subject", "folder"), (std::set<std::string>{"Invoice 2023-117: Inbox -> Inbox"}));
    EXPECT_EQ(doc["folders"], nlohmann::json::array({"Inbox"}));
    EXPECT_EQ(doc["summary"]["items"], 15);
}

TEST_F(SampleScan, MailKeepRulesChooseTheOriginal) {
    const fs::path store = clitest::CopySample("mail", m_tmp.path());
    // The copy in Work carries two Received headers, so it is the larger one.
    clitest::ToolRun run = RunTool({"--store", store.string(), "mail", "scan", "--json", "--keep", "largest"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(GroupLines(run.Json(), "subject", "folder").count("Re: Lunch on Friday: Work -> Inbox"), 1u);
    // Only the list's copy has a List-Id header.
    run = RunTool({"--store", store.string(), "mail", "scan", "--json", "--keep", "field:headers=list-id"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    const std::set<std::string> lines = GroupLines(run.Json(), "subject", "folder");
    EXPECT_EQ(lines.count("Server maintenance window: Lists -> Inbox Work/Projects"), 1u);
    EXPECT_EQ(lines.count("Budget proposal 2024: Lists -> Sent"), 1u);
}

TEST_F(SampleScan, ContactsFindsTheGroupsOfItsReadme) {
    const fs::path book = clitest::CopySample("contacts", m_tmp.path());
    const clitest::ToolRun run = RunTool({"--book", book.string(), "contacts", "scan", "--json"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    const nlohmann::json doc = run.Json();
    EXPECT_EQ(GroupLines(doc, "name", "container"),
              (std::set<std::string>{"Anna Schmidt: Personal -> Work", "Bob Miller: Personal -> Personal",
                                     "Chen Wei: Personal -> Personal", "Fatima Khan: Personal -> Work Personal"}));
    EXPECT_EQ(doc["summary"]["items"], 36); // the group card is no contact to compare
    EXPECT_EQ(doc["summary"]["duplicates"], 5);
    // The fuller card is the original: the one with a telephone number.
    for (const auto &group : doc["groups"])
        if (group["original"]["name"] == "Chen Wei") {
            EXPECT_EQ(group["original"]["phone"], "+86 10 5555 0123");
        }
}

// Every member of every group of a scan as the store's listing (`list --json`) shows the same item.
void ExpectMembersAsListed(const std::vector<std::string> &store, const char *pszKind) {
    const clitest::ToolRun scan = RunTool({store[0], store[1], pszKind, "scan", "--json"});
    ASSERT_EQ(scan.nExit, 0) << scan.strErr;
    const nlohmann::json doc = scan.Json();
    std::map<std::string, nlohmann::json> listed;
    for (const auto &folder : doc["folders"]) {
        const clitest::ToolRun list = RunTool({store[0], store[1], pszKind, "list", folder.get<std::string>(), "--json"});
        ASSERT_EQ(list.nExit, 0) << list.strErr;
        const nlohmann::json items = list.Json()["items"];
        for (const auto &item : items) listed[item["entry"].get<std::string>()] = item;
    }
    size_t nMembers = 0;
    for (const auto &group : doc["groups"]) {
        std::vector<nlohmann::json> members{group["original"]};
        for (const auto &dup : group["duplicates"]) members.push_back(dup);
        for (const auto &member : members) {
            ++nMembers;
            ASSERT_TRUE(listed.count(member["entry"].get<std::string>())) << member.dump();
            EXPECT_EQ(member, listed[member["entry"].get<std::string>()]);
        }
    }
    EXPECT_GT(nMembers, 0u);
}

TEST_F(SampleScan, MembersAreShownAsTheListShowsThem) {
    const fs::path store = clitest::CopySample("mail", m_tmp.path());
    const fs::path book = clitest::CopySample("contacts", m_tmp.path());
    ExpectMembersAsListed({"--store", store.string()}, "mail");
    ExpectMembersAsListed({"--book", book.string()}, "contacts");
}

TEST_F(SampleScan, ScanningLeavesTheMessagesAndCardsAsTheyWere) {
    const fs::path store = clitest::CopySample("mail", m_tmp.path());
    const fs::path book = clitest::CopySample("contacts", m_tmp.path());
    auto snapshot = [](const fs::path &dir) {
        std::set<std::string> files;
        for (const auto &entry : fs::recursive_directory_iterator(dir))
            if (entry.is_regular_file() && entry.path().filename().string().rfind("tessel-", 0) != 0 &&
                entry.path().filename().string().rfind(".tessel-", 0) != 0)
                files.insert(fs::relative(entry.path(), dir).string() + ":" + std::to_string(entry.file_size()));
        return files;
    };
    const std::set<std::string> mailBefore = snapshot(store), bookBefore = snapshot(book);
    ASSERT_EQ(RunTool({"--store", store.string(), "mail", "scan"}).nExit, 0);
    ASSERT_EQ(RunTool({"--book", book.string(), "contacts", "scan"}).nExit, 0);
    EXPECT_EQ(snapshot(store), mailBefore);
    EXPECT_EQ(snapshot(book), bookBefore);
}

TEST_F(SampleScan, ProgressLineOnATerminal) {
    const fs::path store = clitest::CopySample("mail", m_tmp.path());
    const clitest::ToolRun run = clitest::RunToolOnTerminal({"--store", store.string(), "mail", "scan"});
    EXPECT_EQ(run.nExit, 0);
    EXPECT_NE(run.strOut.find("scanning messages: 1/46"), std::string::npos) << run.strOut;
    EXPECT_NE(run.strOut.find("\r\033[K"), std::string::npos); // the line is cleared before the groups
    EXPECT_NE(run.strOut.find("7 groups, 8 duplicates."), std::string::npos);
}

} // namespace
