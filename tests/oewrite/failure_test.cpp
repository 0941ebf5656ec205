// Writes that the store refuses (a full disk, a folder without write permission): the statuses and log lines,
// the store unchanged, and nothing half written left outside tmp/.
#include "oewrite/oewrite_fixture.h"

#include <cstdio>

#include "support/failing_store.h"

namespace oewritetest {
namespace {

using testsupport::StoreOp;

class FailureTest : public OEWriteTest {
protected:
    void SetUp() override {
        OEWriteTest::SetUp();
        MakeMaildir(Root() / ".Trash");
        Plant("Inbox", Message("Original", "<original@example.org>"));
        Plant("Inbox", Message("Anonymous", ""));
        Connect();
        m_inbox = List("Inbox");
        m_counts = CountByMessageId();
        IStoreNamespace *pFailing = testsupport::CreateFailingNamespace(m_lib.m_pNamespace, m_pFailures);
        m_lib.m_pNamespace->Release();
        m_lib.m_pNamespace = pFailing;
        m_log.Clear();
    }
    void Fail(std::initializer_list<StoreOp> ops, int nSkip = 0) {
        m_pFailures->ops = ops;
        m_pFailures->nSkip = nSkip;
    }
    std::string Line(const char *pszLabel, const char *pszText) {
        char sz[256];
        std::snprintf(sz, sizeof(sz), "Err[0x%x] in %s: %s", static_cast<unsigned>(m_pFailures->hr), pszLabel, pszText);
        return sz;
    }
    // The store holds what it held before, and no folder has a file left in tmp/.
    void ExpectUnchanged() {
        EXPECT_EQ(CountByMessageId(), m_counts);
        std::vector<StoredMessage> inbox = List("Inbox");
        ASSERT_EQ(inbox.size(), m_inbox.size());
        for (size_t i = 0; i < inbox.size(); ++i) EXPECT_EQ(inbox[i].strBytes, m_inbox[i].strBytes);
        for (const char *pszFolder : {"Inbox", "Archive", "Trash"})
            EXPECT_TRUE(fs::is_empty(FolderDir(pszFolder) / "tmp")) << pszFolder;
    }
    HITEM OpenEdited() {
        HITEM hItem = nullptr;
        EXPECT_EQ(m_lib.OpenItem(ItemEntry("Inbox", m_inbox[0].id).c_str(), &hItem), S_OK);
        SPropValue value{};
        value.ulPropTag = PR_OE_SUBJECT;
        value.Value.lpszA = const_cast<char *>("Changed");
        EXPECT_EQ(m_lib.SetItemProp(hItem, &value), S_OK);
        return hItem;
    }

    std::shared_ptr<testsupport::StoreFailures> m_pFailures = std::make_shared<testsupport::StoreFailures>();
    std::vector<StoredMessage> m_inbox;
    std::map<std::string, int> m_counts;
};

TEST_F(FailureTest, AFullDiskFailsTheSaveAndLeavesTheHandle) {
    HITEM hItem = OpenEdited();
    Fail({StoreOp::SaveMessage});
    EXPECT_EQ(m_lib.SaveItem(hItem, true, true), STG_E_MEDIUMFULL);
    EXPECT_EQ(LogLines(), std::vector<std::string>{Line("COELib::SaveItem", "Folder->SaveMessage")});
    EXPECT_EQ(static_cast<OEOpenItem *>(hItem)->dwMessageId, m_inbox[0].id);
    m_lib.CloseItem(&hItem);
    ExpectUnchanged();
}

TEST_F(FailureTest, AnOldMessageThatCantBeDeletedStaysBesideTheSavedOne) {
    HITEM hItem = OpenEdited();
    Fail({StoreOp::DeleteMessages});
    EXPECT_EQ(m_lib.SaveItem(hItem, true, false), S_OK);
    char szLine[128];
    std::snprintf(szLine, sizeof(szLine), "War[0x%x] in COELib::SaveItem: Cant delete old item",
                  static_cast<unsigned>(m_pFailures->hr));
    EXPECT_TRUE(Logged(szLine)) << m_log.Text();
    m_lib.CloseItem(&hItem);
    EXPECT_EQ(CountByMessageId()["<original@example.org>"], 2);
}

TEST_F(FailureTest, ARefusedCopyLeavesNothingBehind) {
    Fail({StoreOp::SaveMessage});
    char *pszNew = nullptr;
    EXPECT_EQ(m_lib.CopyItem(ItemEntry("Inbox", m_inbox[0].id).c_str(), FolderEntry("Archive").c_str(), &pszNew),
              STG_E_MEDIUMFULL);
    EXPECT_EQ(pszNew, nullptr);
    EXPECT_EQ(m_lib.MoveItem(ItemEntry("Inbox", m_inbox[0].id).c_str(), FolderEntry("Archive").c_str(), &pszNew),
              STG_E_MEDIUMFULL);
    EXPECT_EQ(pszNew, nullptr);
    EXPECT_EQ(LogLines(), (std::vector<std::string>{Line("COELib::CopyItem", "SaveMessage"),
                                                    Line("COELib::CopyItem", "SaveMessage")}));
    ExpectUnchanged();
    EXPECT_TRUE(List("Archive").empty());
}

TEST_F(FailureTest, AMoveWhoseSourceCantBeDestroyedKeepsBoth) {
    Fail({StoreOp::DeleteMessages});
    char *pszNew = nullptr;
    EXPECT_EQ(m_lib.MoveItem(ItemEntry("Inbox", m_inbox[0].id).c_str(), FolderEntry("Archive").c_str(), &pszNew), S_OK);
    EXPECT_EQ(pszNew, LastEntry("Archive"));
    m_lib.FreeBuffer(pszNew);
    EXPECT_EQ(LogLines(), (std::vector<std::string>{Line("COELib::DeleteItem", "DeleteMessages"),
                                                    Line("COELib::MoveItem", "DeleteItem")}));
    EXPECT_EQ(CountByMessageId()["<original@example.org>"], 2);
}

TEST_F(FailureTest, ARefusedDeleteLeavesTheMessageWhereItWas) {
    Fail({StoreOp::DeleteMessages});
    char *pszNew = nullptr;
    EXPECT_EQ(m_lib.DeleteItem(ItemEntry("Inbox", m_inbox[1].id).c_str(), &pszNew, false), STG_E_MEDIUMFULL);
    EXPECT_EQ(pszNew, nullptr);
    EXPECT_EQ(LogLines(), std::vector<std::string>{Line("COELib::DeleteItem", "DeleteMessages")});
    ExpectUnchanged();
    EXPECT_TRUE(List("Trash").empty());
}

TEST_F(FailureTest, APermanentDeleteWhoseCopyCantBeDestroyedStillSucceeds) {
    Fail({StoreOp::DeleteMessages}, 1);
    EXPECT_EQ(m_lib.DeleteItem(ItemEntry("Inbox", m_inbox[0].id).c_str(), nullptr, true), S_OK);
    EXPECT_EQ(LogLines(), std::vector<std::string>{Line("COELib::DeleteItem", "DeleteMessagePermanently")});
    std::vector<StoredMessage> trash = List("Trash");
    ASSERT_EQ(trash.size(), 1u);
    EXPECT_EQ(trash[0].strBytes, m_inbox[0].strBytes);
}

TEST_F(FailureTest, APermanentDeleteWithoutFingerprintLeavesTheMessageInDeletedItems) {
    Fail({StoreOp::OpenMessage});
    EXPECT_EQ(m_lib.DeleteItem(ItemEntry("Inbox", m_inbox[1].id).c_str(), nullptr, true), S_OK);
    std::vector<std::string> lines = LogLines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), Line("COELib::DeleteItem", "DeletePermanently/GetNewItemID failed on OpenItem"));
    m_pFailures->ops.clear();
    std::vector<StoredMessage> trash = List("Trash");
    ASSERT_EQ(trash.size(), 1u);
    EXPECT_EQ(trash[0].strBytes, m_inbox[1].strBytes);
}

TEST_F(FailureTest, ANewMessageThatCantBeWrittenLeavesNoFile) {
    HITEM hItem = nullptr;
    Fail({StoreOp::CommitStream});
    EXPECT_EQ(m_lib.CreateItem(&hItem, FolderEntry("Archive").c_str(), "Subject: x\n\nbody\n", 0), STG_E_MEDIUMFULL);
    EXPECT_EQ(hItem, nullptr);
    Fail({StoreOp::CreateStream});
    EXPECT_EQ(m_lib.CreateItem(&hItem, FolderEntry("Archive").c_str(), "Subject: x\n\nbody\n", 0), STG_E_MEDIUMFULL);
    EXPECT_EQ(LogLines(), (std::vector<std::string>{Line("COELib::CreateItem", "Folder->CommitStream"),
                                                    Line("COELib::CreateItem", "CreateStream")}));
    m_pFailures->ops.clear();
    EXPECT_TRUE(List("Archive").empty());
    ExpectUnchanged();
}

} // namespace
} // namespace oewritetest
