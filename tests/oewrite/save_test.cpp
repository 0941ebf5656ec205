// Saving an edited item as a new message, the old one's fate by the flags, and new messages from a source text.
#include "oewrite/oewrite_fixture.h"

#include <unistd.h>

#include "platform/mapi.h"

namespace oewritetest {
namespace {

class SaveTest : public OEWriteTest {
protected:
    HITEM Open(const std::string &strEntry) {
        HITEM hItem = nullptr;
        EXPECT_EQ(m_lib.OpenItem(strEntry.c_str(), &hItem), S_OK);
        return hItem;
    }
    HRESULT SetText(HITEM hItem, ULONG ulTag, const char *psz) {
        SPropValue value{};
        value.ulPropTag = ulTag;
        value.Value.lpszA = const_cast<char *>(psz);
        return m_lib.SetItemProp(hItem, &value);
    }
    HRESULT SetNumber(HITEM hItem, ULONG ulTag, LONG n) {
        SPropValue value{};
        value.ulPropTag = ulTag;
        value.Value.l = n;
        return m_lib.SetItemProp(hItem, &value);
    }
    HRESULT SetBool(HITEM hItem, ULONG ulTag, bool b) {
        SPropValue value{};
        value.ulPropTag = ulTag;
        value.Value.b = b;
        return m_lib.SetItemProp(hItem, &value);
    }
    std::string Text(HITEM hItem, ULONG ulTag) {
        SPropValue *pValue = nullptr;
        std::string str = "<error>";
        if (m_lib.GetItemProp(hItem, ulTag, &pValue, false) == S_OK && pValue->Value.lpszA) str = pValue->Value.lpszA;
        m_lib.FreeItemProps(pValue);
        return str;
    }
    LONG Number(HITEM hItem, ULONG ulTag) {
        SPropValue *pValue = nullptr;
        LONG n = -12345;
        if (m_lib.GetItemProp(hItem, ulTag, &pValue, false) == S_OK) n = pValue->Value.l;
        m_lib.FreeItemProps(pValue);
        return n;
    }
    std::string EntryOf(HITEM hItem) {
        auto *pItem = static_cast<OEOpenItem *>(hItem);
        char *psz = COELib::ItemEntry2Str(pItem->dwFolderId, pItem->dwMessageId);
        std::string str = psz ? psz : "";
        m_lib.FreeBuffer(psz);
        return str;
    }
    // Edits every kind of writable value.
    void Edit(HITEM hItem) {
        EXPECT_EQ(SetText(hItem, PR_OE_SUBJECT, "Edited subject"), S_OK);
        EXPECT_EQ(SetText(hItem, PR_OE_TO, "Carol <carol@example.org>"), S_OK);
        EXPECT_EQ(SetText(hItem, PR_OE_CC, "dave@example.org"), S_OK);
        EXPECT_EQ(SetNumber(hItem, PR_OE_PRIORITY, 1), S_OK);
        EXPECT_EQ(SetBool(hItem, PR_OE_UNREAD, true), S_OK);
        EXPECT_EQ(SetBool(hItem, PR_OE_FLAGGED, true), S_OK);
        EXPECT_EQ(SetText(hItem, PR_OE_BODY, "The edited body.\n"), S_OK);
    }
    void ExpectEdited(HITEM hItem) {
        EXPECT_EQ(Text(hItem, PR_OE_SUBJECT), "Edited subject");
        EXPECT_EQ(Text(hItem, PR_OE_TO), "Carol <carol@example.org>");
        EXPECT_EQ(Text(hItem, PR_OE_CC), "dave@example.org");
        EXPECT_EQ(Text(hItem, PR_OE_MESSAGE_ID), "<edit@example.org>");
        EXPECT_EQ(Number(hItem, PR_OE_PRIORITY), 1);
        EXPECT_EQ(Text(hItem, PR_OE_TEXT_BODY), "The edited body.\n");
        DWORD dwState = static_cast<DWORD>(Number(hItem, PR_OE_STATE));
        EXPECT_EQ(dwState & (MSG_UNREAD | MSG_FLAGGED), MSG_UNREAD | MSG_FLAGGED);
    }
};

TEST_F(SaveTest, TheSavedMessageReadsBackAsWrittenAndTheOldGoesToDeletedItems) {
    Plant("Inbox", Message("Original subject", "<edit@example.org>", "Original body.\n"));
    std::string strOld = LastEntry("Inbox");
    std::string strOldBytes = List("Inbox")[0].strBytes;
    HITEM hItem = Open(strOld);
    Edit(hItem);
    ASSERT_EQ(m_lib.SaveItem(hItem, true, false), S_OK) << m_log.Text();
    std::string strNew = EntryOf(hItem);
    EXPECT_NE(strNew, strOld);
    EXPECT_EQ(strNew, LastEntry("Inbox"));
    EXPECT_EQ(static_cast<OEOpenItem *>(hItem)->dwSetMask, 0u);
    EXPECT_EQ(static_cast<OEOpenItem *>(hItem)->dwClearMask, 0u);
    ExpectEdited(hItem);
    m_lib.CloseItem(&hItem);

    // Read again from the store through a fresh connection.
    Connect();
    hItem = Open(strNew);
    ExpectEdited(hItem);
    m_lib.CloseItem(&hItem);
    ASSERT_EQ(List("Inbox").size(), 1u);
    std::vector<StoredMessage> trash = List("Trash");
    ASSERT_EQ(trash.size(), 1u);
    EXPECT_EQ(trash[0].strBytes, strOldBytes);
    EXPECT_TRUE(LogLines().empty()) << m_log.Text();
}

TEST_F(SaveTest, WithoutDeleteOldBothStay) {
    Plant("Inbox", Message("Original", "<keep@example.org>"));
    HITEM hItem = Open(LastEntry("Inbox"));
    EXPECT_EQ(SetText(hItem, PR_OE_SUBJECT, "Changed"), S_OK);
    ASSERT_EQ(m_lib.SaveItem(hItem, false, false), S_OK);
    std::vector<StoredMessage> inbox = List("Inbox");
    ASSERT_EQ(inbox.size(), 2u);
    EXPECT_EQ(EntryOf(hItem), ItemEntry("Inbox", inbox[1].id));
    EXPECT_NE(inbox[0].strBytes.find("Subject: Original"), std::string::npos);
    EXPECT_NE(inbox[1].strBytes.find("Subject: Changed"), std::string::npos);
    // A handle can be saved again: another new message.
    ASSERT_EQ(m_lib.SaveItem(hItem, false, false), S_OK);
    EXPECT_EQ(List("Inbox").size(), 3u);
    m_lib.CloseItem(&hItem);
    EXPECT_FALSE(fs::exists(Root() / ".Trash"));
}

TEST_F(SaveTest, PermanentlyDestroysTheOldMessage) {
    Plant("Inbox", Message("Original", "<gone@example.org>"));
    HITEM hItem = Open(LastEntry("Inbox"));
    EXPECT_EQ(SetText(hItem, PR_OE_SUBJECT, "Replacement"), S_OK);
    ASSERT_EQ(m_lib.SaveItem(hItem, true, true), S_OK);
    m_lib.CloseItem(&hItem);
    std::vector<StoredMessage> inbox = List("Inbox");
    ASSERT_EQ(inbox.size(), 1u);
    EXPECT_NE(inbox[0].strBytes.find("Subject: Replacement"), std::string::npos);
    EXPECT_TRUE(List("Trash").empty());
    EXPECT_EQ(CountByMessageId()["<gone@example.org>"], 1);
}

TEST_F(SaveTest, StateChangedInTheStoreSinceTheOpenSurvives) {
    Plant("Inbox", Message("Original", "<state@example.org>"));
    std::string strEntry = LastEntry("Inbox");
    HITEM hItem = Open(strEntry);
    ASSERT_EQ(m_lib.MarkItem(strEntry.c_str(), MSG_REPLIED), S_OK);
    EXPECT_EQ(SetBool(hItem, PR_OE_FLAGGED, true), S_OK);
    ASSERT_EQ(m_lib.SaveItem(hItem, true, true), S_OK);
    EXPECT_EQ(List("Inbox")[0].dwState & (MSG_REPLIED | MSG_FLAGGED), MSG_REPLIED | MSG_FLAGGED);
    m_lib.CloseItem(&hItem);
}

TEST_F(SaveTest, ASaveIntoAReadOnlyFolderFailsAndChangesNothing) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions do not bind root";
    Plant("Archive", Message("Original", "<ro@example.org>"));
    std::string strEntry = LastEntry("Archive");
    HITEM hItem = Open(strEntry);
    EXPECT_EQ(SetText(hItem, PR_OE_SUBJECT, "Changed"), S_OK);
    fs::path dir = FolderDir("Archive");
    for (const char *psz : {"tmp", "cur", "new"})
        fs::permissions(dir / psz, fs::perms::owner_write, fs::perm_options::remove);
    m_log.Clear();
    HRESULT hr = m_lib.SaveItem(hItem, true, false);
    for (const char *psz : {"tmp", "cur", "new"})
        fs::permissions(dir / psz, fs::perms::owner_write, fs::perm_options::add);
    EXPECT_LT(hr, 0);
    char szLine[128];
    std::snprintf(szLine, sizeof(szLine), "Err[0x%x] in COELib::SaveItem: Folder->SaveMessage", static_cast<unsigned>(hr));
    EXPECT_TRUE(Logged(szLine)) << m_log.Text();
    EXPECT_EQ(EntryOf(hItem), strEntry); // the handle is as it was
    m_lib.CloseItem(&hItem);
    std::vector<StoredMessage> archive = List("Archive");
    ASSERT_EQ(archive.size(), 1u);
    EXPECT_NE(archive[0].strBytes.find("Subject: Original"), std::string::npos);
    EXPECT_TRUE(fs::is_empty(dir / "tmp"));
}

TEST_F(SaveTest, CreateItemWithoutAFolderMakesADraft) {
    HITEM hItem = nullptr;
    std::string strSource = Message("A draft", "<draft@example.org>", "Draft text.\n");
    ASSERT_EQ(m_lib.CreateItem(&hItem, nullptr, strSource.c_str(), MSG_UNSENT), S_OK) << m_log.Text();
    ASSERT_NE(hItem, nullptr);
    EXPECT_EQ(Text(hItem, PR_OE_SUBJECT), "A draft");
    m_lib.CloseItem(&hItem);
    std::vector<StoredMessage> drafts = List("Drafts");
    ASSERT_EQ(drafts.size(), 1u);
    EXPECT_EQ(drafts[0].strBytes, strSource);
    EXPECT_EQ(drafts[0].dwState & MSG_UNSENT, MSG_UNSENT);
}

TEST_F(SaveTest, CreateItemInAFolderWithoutSourceMakesAnEmptyMessage) {
    HITEM hItem = nullptr;
    ASSERT_EQ(m_lib.CreateItem(&hItem, FolderEntry("Archive").c_str(), nullptr, 0), S_OK) << m_log.Text();
    m_lib.CloseItem(&hItem);
    std::vector<StoredMessage> archive = List("Archive");
    ASSERT_EQ(archive.size(), 1u);
    EXPECT_EQ(archive[0].strBytes, "");
    EXPECT_EQ(m_lib.CreateItem(&hItem, "XYZ", nullptr, 0), -1);
    EXPECT_EQ(hItem, nullptr);
    EXPECT_TRUE(Logged("Err in COELib::CreateItem: bad entry")) << m_log.Text();
}

} // namespace
} // namespace oewritetest
