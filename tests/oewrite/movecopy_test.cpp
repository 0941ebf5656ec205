// Copying and moving messages between folders and within one.
#include "oewrite/oewrite_fixture.h"

#include <unistd.h>

namespace oewritetest {
namespace {

class MoveCopyTest : public OEWriteTest {
protected:
    std::string Run(HRESULT (COELib::*pfn)(const char *, const char *, char **), const std::string &strItem,
                    const std::string &strFolder, HRESULT hrExpected = S_OK) {
        char *pszNew = nullptr;
        EXPECT_EQ((m_lib.*pfn)(strItem.c_str(), strFolder.c_str(), &pszNew), hrExpected) << m_log.Text();
        std::string str = pszNew ? pszNew : "";
        m_lib.FreeBuffer(pszNew);
        return str;
    }
};

TEST_F(MoveCopyTest, CopyLeavesTheSourceAndMakesAByteForByteCopyWithItsState) {
    std::string strText = Message("copied", "<copied@example.org>", "Some body\nwith two lines\n");
    Plant("Inbox", strText, "FS");
    std::string strSource = LastEntry("Inbox");
    std::string strNew = Run(&COELib::CopyItem, strSource, FolderEntry("Archive"));
    std::vector<StoredMessage> archive = List("Archive");
    ASSERT_EQ(archive.size(), 1u);
    EXPECT_EQ(strNew, ItemEntry("Archive", archive[0].id));
    EXPECT_EQ(archive[0].strBytes, strText);
    EXPECT_EQ(archive[0].dwState, List("Inbox")[0].dwState);
    EXPECT_EQ(LastEntry("Inbox"), strSource);
    EXPECT_EQ(CountByMessageId()["<copied@example.org>"], 2);
}

TEST_F(MoveCopyTest, MoveToAnotherFolderKeepsTheBytesAndDestroysTheSource) {
    std::string strText = Message("moved", "<moved@example.org>");
    Plant("Inbox", strText, "S");
    std::string strNew = Run(&COELib::MoveItem, LastEntry("Inbox"), FolderEntry("Archive"));
    EXPECT_TRUE(List("Inbox").empty());
    EXPECT_EQ(strNew, LastEntry("Archive"));
    EXPECT_EQ(List("Archive")[0].strBytes, strText);
    EXPECT_TRUE(List("Trash").empty()); // destroyed for good, not kept in Deleted Items
    EXPECT_EQ(CountByMessageId()["<moved@example.org>"], 1);
}

TEST_F(MoveCopyTest, MoveIntoItsOwnFolderGivesANewEntry) {
    Plant("Inbox", Message("stay", "<stay@example.org>"));
    std::string strOld = LastEntry("Inbox");
    std::string strNew = Run(&COELib::MoveItem, strOld, FolderEntry("Inbox"));
    EXPECT_NE(strNew, strOld);
    EXPECT_EQ(strNew, LastEntry("Inbox"));
    EXPECT_EQ(List("Inbox").size(), 1u);
    EXPECT_EQ(CountByMessageId()["<stay@example.org>"], 1);
}

TEST_F(MoveCopyTest, MoveWithoutMessageIdIsFoundByHash) {
    Plant("Inbox", Message("anonymous", ""));
    Run(&COELib::MoveItem, LastEntry("Inbox"), FolderEntry("Archive"));
    EXPECT_TRUE(List("Inbox").empty());
    EXPECT_TRUE(List("Trash").empty());
    EXPECT_EQ(List("Archive").size(), 1u);
}

TEST_F(MoveCopyTest, EntriesThatNameNothingAreRefused) {
    Plant("Inbox", Message("x", "<x@example.org>"));
    std::string strItem = LastEntry("Inbox");
    EXPECT_EQ(Run(&COELib::CopyItem, "ABC", FolderEntry("Archive"), -1), "");
    EXPECT_TRUE(Logged("Err in COELib::CopyItem: Invalid szItemId(ABC)")) << m_log.Text();
    EXPECT_EQ(Run(&COELib::MoveItem, strItem, "0102", -1), "");
    EXPECT_TRUE(Logged("Err in COELib::CopyItem: Invalid szFolderId(0102)")) << m_log.Text();
    // A folder entry of another store: a well-formed id that names no folder here.
    char *pszNew = nullptr;
    HRESULT hr = m_lib.MoveItem(strItem.c_str(), "7F7F7F7F", &pszNew);
    EXPECT_LT(hr, 0);
    EXPECT_EQ(pszNew, nullptr);
    EXPECT_EQ(List("Inbox").size(), 1u);
    EXPECT_EQ(CountByMessageId()["<x@example.org>"], 1);
}

TEST_F(MoveCopyTest, AMoveIntoAReadOnlyFolderLeavesTheSource) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions do not bind root";
    Plant("Inbox", Message("x", "<ro@example.org>"));
    fs::path dir = FolderDir("Archive");
    for (const char *psz : {"tmp", "cur", "new"})
        fs::permissions(dir / psz, fs::perms::owner_write, fs::perm_options::remove);
    char *pszNew = nullptr;
    HRESULT hr = m_lib.MoveItem(LastEntry("Inbox").c_str(), FolderEntry("Archive").c_str(), &pszNew);
    for (const char *psz : {"tmp", "cur", "new"})
        fs::permissions(dir / psz, fs::perms::owner_write, fs::perm_options::add);
    EXPECT_LT(hr, 0);
    EXPECT_EQ(pszNew, nullptr);
    char szLine[128];
    std::snprintf(szLine, sizeof(szLine), "Err[0x%x] in COELib::CopyItem: SaveMessage", static_cast<unsigned>(hr));
    EXPECT_TRUE(Logged(szLine)) << m_log.Text();
    EXPECT_EQ(List("Inbox").size(), 1u);
    EXPECT_TRUE(List("Archive").empty());
}

} // namespace
} // namespace oewritetest
