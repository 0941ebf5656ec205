// Scans of stores built from the shared corpus of real messages and cards, malformed ones included: the tool
// finishes, counts what it could not read, and finds planted copies.
#include <fstream>
#include <set>

#include <gtest/gtest.h>

#include "support/paths.h"
#include "tool_runner.h"

namespace fs = std::filesystem;
using clitest::RunTool;

namespace {

std::vector<fs::path> FilesUnder(const fs::path &dir, const std::string &strExtension) {
    std::vector<fs::path> files;
    for (const auto &entry : fs::recursive_directory_iterator(dir))
        if (entry.is_regular_file() && (strExtension.empty() || entry.path().extension() == strExtension))
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

bool HasSubject(const fs::path &file) {
    std::ifstream in(file);
    std::string strLine;
    while (std::getline(in, strLine) && !strLine.empty() && strLine != "\r")
        if (strLine.rfind("Subject: ", 0) == 0 && strLine.size() > 12) return true;
    return false;
}

TEST(CorpusScan, MailStoreWithPlantedCopies) {
    SKIP_WITHOUT_SHARED_CORPUS();
    testsupport::TempDir tmp;
    const fs::path store = tmp.path() / "Maildir";
    clitest::MakeMaildirFolder(store);
    clitest::MakeMaildirFolder(store / ".Copies");
    const std::vector<fs::path> files = FilesUnder(testsupport::SharedDir() / "corpus" / "mail", "");
    ASSERT_FALSE(files.empty());
    size_t n = 0, nCopies = 0;
    for (const fs::path &file : files) {
        if (file.filename() == "MANIFEST.tsv" || file.extension() == ".md") continue;
        fs::copy_file(file, store / "cur" / ("1700000000." + std::to_string(n++) + ".corpus:2,S"));
        if (nCopies < 5 && file.string().find("malformed") == std::string::npos && HasSubject(file))
            fs::copy_file(file, store / ".Copies" / "cur" / ("1700000000." + std::to_string(n + 100000) + ".copy:2,S")),
                ++nCopies;
    }
    ASSERT_EQ(nCopies, 5u);

    const clitest::ToolRun run = RunTool({"--store", store.string(), "mail", "scan", "--json"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    const nlohmann::json doc = run.Json();
    EXPECT_EQ(doc["summary"]["items"].get<size_t>(), n + nCopies);
    EXPECT_EQ(doc["unreadable"].size(), doc["summary"]["unreadable"].get<size_t>());
    // Every planted copy is in a group.
    std::set<std::string> grouped;
    for (const auto &group : doc["groups"]) {
        grouped.insert(group["original"]["entry"].get<std::string>());
        for (const auto &dup : group["duplicates"]) grouped.insert(dup["entry"].get<std::string>());
    }
    const clitest::ToolRun copies = RunTool({"--store", store.string(), "mail", "list", "Copies", "--json"});
    ASSERT_EQ(copies.nExit, 0) << copies.strErr;
    const nlohmann::json listed = copies.Json();
    for (const auto &item : listed["items"]) EXPECT_EQ(grouped.count(item["entry"]), 1u) << item.dump();
}

TEST(CorpusScan, AddressBookOfEveryCorpusCard) {
    SKIP_WITHOUT_SHARED_CORPUS();
    testsupport::TempDir tmp;
    const fs::path book = tmp.path() / "book";
    fs::create_directories(book / "copies");
    size_t n = 0;
    for (const fs::path &file : FilesUnder(testsupport::SharedDir() / "corpus" / "contacts", ".vcf"))
        fs::copy_file(file, book / ("card" + std::to_string(n++) + ".vcf"));
    ASSERT_GT(n, 0u);
    const clitest::ToolRun run = RunTool({"--book", book.string(), "contacts", "scan", "--json"});
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    const nlohmann::json doc = run.Json();
    EXPECT_GT(doc["summary"]["items"].get<size_t>(), 0u);
    EXPECT_TRUE(doc["groups"].is_array());
    const clitest::ToolRun folders = RunTool({"--book", book.string(), "contacts", "folders", "--json"});
    EXPECT_EQ(folders.nExit, 0) << folders.strErr;
}

} // namespace
