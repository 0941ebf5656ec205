// Deleting messages: into Deleted Items with the new entry found again by Message-ID or by hash, for good, and
// inside Deleted Items.
#include "oewrite/oewrite_fixture.h"

#include <cstdlib>

#include "oestore/sha1.h"
#include "platform/mapi.h"

namespace oewritetest {
namespace {

class DeleteTest : public OEWriteTest {
protected:
    // Deletes and hands back the new entry ("" if none came).
    std::string Delete(const std::string &strEntry, HRESULT hrExpected = S_OK) {
        char *pszNew = nullptr;
        EXPECT_EQ(m_lib.DeleteItem(strEntry.c_str(), &pszNew, false), hrExpected);
        std::string str = pszNew ? pszNew : "";
        m_lib.FreeBuffer(pszNew);
        return str;
    }
};

TEST_F(DeleteTest, FindsTheMessageInDeletedItemsByMessageId) {
    Plant("Inbox", Message("first", "<first@example.org>"));
    Plant("Inbox", Message("second", "<second@example.org>"));
    std::vector<StoredMessage> before = List("Inbox");
    ASSERT_EQ(before.size(), 2u);
    std::string strNew = Delete(ItemEntry("Inbox", before[0].id));

    // The store had no Deleted Items: it made one, and the message is there under the entry handed out.
    ASSERT_TRUE(fs::is_directory(Root() / ".Trash" / "cur"));
    std::vector<StoredMessage> trash = List("Trash");
    ASSERT_EQ(trash.size(), 1u);
    EXPECT_EQ(trash[0].strBytes, before[0].strBytes);
    EXPECT_EQ(strNew, ItemEntry("Trash", trash[0].id));
    ASSERT_EQ(List("Inbox").size(), 1u);
    EXPECT_EQ(List("Inbox")[0].strBytes, before[1].strBytes);
    EXPECT_TRUE(LogLines().empty()) << m_log.Text();
}

TEST_F(DeleteTest, FindsTheNewestCopyOfASharedMessageId) {
    Plant("Inbox", Message("one", "<same@example.org>", "first copy\n"));
    Plant("Inbox", Message("two", "<same@example.org>", "second copy\n"));
    std::vector<StoredMessage> inbox = List("Inbox");
    std::string strFirst = Delete(ItemEntry("Inbox", inbox[0].id));
    std::string strSecond = Delete(ItemEntry("Inbox", inbox[1].id));
    std::vector<StoredMessage> trash = List("Trash");
    ASSERT_EQ(trash.size(), 2u);
    // The older copy, with the same Message-ID, is at or below the last id noted before the second delete.
    EXPECT_EQ(strFirst, ItemEntry("Trash", trash[0].id));
    EXPECT_EQ(strSecond, ItemEntry("Trash", trash[1].id));
    EXPECT_EQ(trash[1].strBytes, inbox[1].strBytes);
}

TEST_F(DeleteTest, FindsAMessageWithoutMessageIdByItsHash) {
    MakeMaildir(Root() / ".Trash");
    Plant("Trash", Message("older", ""));
    Plant("Inbox", Message("no id", ""));
    Plant("Inbox", Message("empty id", "", "other body\n").insert(0, "Message-ID:\n"));
    std::vector<StoredMessage> inbox = List("Inbox");
    ASSERT_EQ(inbox.size(), 2u);
    for (const StoredMessage &msg : inbox) {
        std::string strNew = Delete(ItemEntry("Inbox", msg.id));
        std::vector<StoredMessage> trash = List("Trash");
        ASSERT_FALSE(strNew.empty()) << m_log.Text();
        EXPECT_EQ(strNew, ItemEntry("Trash", trash.back().id));
        EXPECT_EQ(trash.back().strBytes, msg.strBytes);
    }
}

TEST_F(DeleteTest, InsideDeletedItemsTheMessageIsGoneAndNoEntryComes) {
    MakeMaildir(Root() / ".Trash");
    Plant("Trash", Message("old", "<old@example.org>"));
    Connect();
    char szMarker[] = "untouched";
    char *pszNew = szMarker;
    EXPECT_EQ(m_lib.DeleteItem(LastEntry("Trash").c_str(), &pszNew, false), S_OK);
    EXPECT_EQ(pszNew, szMarker);
    EXPECT_TRUE(List("Trash").empty());
    EXPECT_TRUE(MessageFiles(Root() / ".Trash").empty());
    EXPECT_TRUE(LogLines().empty()) << m_log.Text();
}

TEST_F(DeleteTest, PermanentDeleteLeavesNothingAndLeavesTheOutputAlone) {
    MakeMaildir(Root() / ".Trash");
    Plant("Trash", Message("kept", "<kept@example.org>"));
    Plant("Inbox", Message("doomed", "<doomed@example.org>"));
    Connect();
    char szMarker[] = "untouched";
    char *pszNew = szMarker;
    EXPECT_EQ(m_lib.DeleteItem(LastEntry("Inbox").c_str(), &pszNew, true), S_OK);
    EXPECT_EQ(pszNew, szMarker);
    EXPECT_TRUE(List("Inbox").empty());
    std::vector<StoredMessage> trash = List("Trash");
    ASSERT_EQ(trash.size(), 1u);
    EXPECT_EQ(MessageIdOf(trash[0].strBytes), "<kept@example.org>");
}

TEST_F(DeleteTest, WithoutRelocationOnlyTheDeleteHappens) {
    Plant("Inbox", Message("plain", "<plain@example.org>"));
    EXPECT_EQ(m_lib.DeleteItem(LastEntry("Inbox").c_str(), nullptr, false), S_OK);
    EXPECT_TRUE(List("Inbox").empty());
    EXPECT_EQ(List("Trash").size(), 1u);
}

TEST_F(DeleteTest, AnEntryThatNamesNothingIsRefused) {
    Plant("Inbox", Message("stays", "<stays@example.org>"));
    EXPECT_EQ(Delete("12345", -1), "");
    EXPECT_TRUE(Logged("Err[0x2] in COELib::Str2ItemEntry: item entry not 8 bytes long")) << m_log.Text();
    EXPECT_TRUE(Logged("Err in COELib::DeleteItem: Invalid EntryID=12345")) << m_log.Text();
    EXPECT_EQ(List("Inbox").size(), 1u);
}

TEST_F(DeleteTest, AMessageThatVanishedFailsWithTheStoresCode) {
    Plant("Inbox", Message("vanishing", "<vanishing@example.org>"));
    std::string strEntry = LastEntry("Inbox");
    for (const fs::path &file : MessageFiles(Root())) fs::remove(file); // another program took it
    m_log.Clear();
    char *pszNew = nullptr;
    HRESULT hr = m_lib.DeleteItem(strEntry.c_str(), &pszNew, false);
    EXPECT_LT(hr, 0);
    EXPECT_EQ(pszNew, nullptr);
    char szLine[128];
    std::snprintf(szLine, sizeof(szLine), "Err[0x%x] in COELib::DeleteItem: DeleteMessages", static_cast<unsigned>(hr));
    EXPECT_TRUE(Logged(szLine)) << m_log.Text();
}

TEST_F(DeleteTest, DeletedItemsOfAnotherNameIsUsed) {
    MakeMaildir(Root() / ".Deleted Items");
    Plant("Inbox", Message("x", "<x@example.org>"));
    Connect();
    std::string strNew = Delete(LastEntry("Inbox"));
    EXPECT_FALSE(fs::exists(Root() / ".Trash"));
    EXPECT_EQ(strNew, LastEntry("Deleted Items"));
}

// The hash routine and the searches, directly.
class HashTest : public OEWriteTest {
protected:
    std::string Hash(const std::string &strBytes) {
        IStream *pStream = nullptr;
        EXPECT_EQ(CreateStreamOnBytes(strBytes.data(), strBytes.size(), &pStream), S_OK);
        char szHash[256] = "";
        EXPECT_EQ(m_lib._GetHashSHA1(pStream, szHash, sizeof(szHash)), S_OK);
        pStream->Release();
        return szHash;
    }
};

TEST_F(HashTest, IsTheSha1OfTheWholeStream) {
    EXPECT_EQ(Hash(""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_EQ(Hash("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
    std::string strBlock(16384, 'a'), strMore(16384 * 2 + 7, 'q');
    CSha1 sha;
    for (const std::string *p : {&strBlock, &strMore}) {
        uint8_t digest[CSha1::kDigestSize];
        char szHex[CSha1::kHexSize];
        sha.Start();
        sha.Feed(p->data(), p->size());
        sha.Finish(digest);
        CSha1::DigestToHex(digest, szHex);
        EXPECT_EQ(Hash(*p), szHex);
    }
}

TEST_F(HashTest, ABufferTooSmallIsRefused) {
    IStream *pStream = nullptr;
    ASSERT_EQ(CreateStreamOnBytes("abc", 3, &pStream), S_OK);
    char szHash[40];
    EXPECT_EQ(m_lib._GetHashSHA1(pStream, szHash, sizeof(szHash)), -1);
    pStream->Release();
}

TEST_F(HashTest, SearchesLookOnlyAboveTheGivenIdAndRespectCase) {
    Plant("Inbox", Message("a", "<Case@example.org>"));
    Plant("Inbox", Message("b", "<case@example.org>"));
    std::vector<StoredMessage> inbox = List("Inbox");
    IStoreFolder *pFolder = nullptr;
    ASSERT_EQ(m_lib._OpenFolder(FolderId("Inbox"), &pFolder), S_OK);
    EXPECT_EQ(m_lib._GetLastItemID(pFolder), inbox[1].id);
    EXPECT_EQ(m_lib._FindItem(pFolder, PR_OE_MESSAGE_ID, "<case@example.org>", false, MESSAGEID_INVALID), inbox[1].id);
    EXPECT_EQ(m_lib._FindItem(pFolder, PR_OE_MESSAGE_ID, "<case@example.org>", true, MESSAGEID_INVALID), inbox[0].id);
    EXPECT_EQ(m_lib._FindItem(pFolder, PR_OE_MESSAGE_ID, "<Case@example.org>", false, inbox[0].id), MESSAGEID_INVALID);
    EXPECT_EQ(m_lib._FindItemByHash(pFolder, Hash(inbox[1].strBytes).c_str(), MESSAGEID_INVALID), inbox[1].id);
    EXPECT_EQ(m_lib._FindItemByHash(pFolder, Hash(inbox[0].strBytes).c_str(), inbox[0].id), MESSAGEID_INVALID);
    pFolder->Release();
    MakeMaildir(Root() / ".Empty");
    Connect();
    ASSERT_EQ(m_lib._OpenFolder(FolderId("Empty"), &pFolder), S_OK);
    EXPECT_EQ(m_lib._GetLastItemID(pFolder), MESSAGEID_INVALID);
    pFolder->Release();
}

} // namespace
} // namespace oewritetest
