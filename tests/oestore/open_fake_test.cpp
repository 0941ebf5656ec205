#include <string>

#include "oestore/oelib_fixture.h"

namespace {

using namespace oelibtest;
using testsupport::FakeMessage;
using testsupport::FakeStoreFolder;

class OpenItems : public FakeStoreTest {
protected:
    void SetUp() override {
        FakeStoreTest::SetUp();
        m_pFolder = m_pNs->AddFolder(FOLDERID_ROOT, "Inbox", FOLDER_INBOX);
        FakeMessage message;
        message.dwState = MSG_UNREAD | MSG_RECEIVED;
        message.ftSent = Ft(1234);
        message.ftReceived = Ft(5678);
        message.source = "Subject: hello\r\n\r\nbody\r\n";
        m_pFolder->Add(message);
    }
    OEOpenItem *Open(const char *szEntry = "0100000001000000") {
        HITEM hItem = nullptr;
        EXPECT_EQ(m_lib.OpenItem(szEntry, &hItem), S_OK);
        return static_cast<OEOpenItem *>(hItem);
    }
    FakeStoreFolder *m_pFolder = nullptr;
};

TEST_F(OpenItems, OpenReadsStateAndMessageThenCloses) {
    OEOpenItem *pItem = Open();
    ASSERT_NE(pItem, nullptr);
    EXPECT_NE(pItem->pMessage, nullptr);
    EXPECT_EQ(pItem->dwFolderId, 1u);
    EXPECT_EQ(pItem->dwMessageId, 1u);
    EXPECT_EQ(pItem->dwState, MSG_UNREAD | MSG_RECEIVED);
    EXPECT_EQ(pItem->dwSetMask, 0u);
    EXPECT_EQ(pItem->dwClearMask, 0u);
    EXPECT_EQ(m_pFolder->cLiveProps, 0);
    EXPECT_EQ(testsupport::RefCount(m_pFolder), 1u);
    HITEM hItem = pItem;
    m_lib.CloseItem(&hItem);
    EXPECT_EQ(hItem, nullptr);
    m_lib.CloseItem(&hItem);
    m_lib.CloseItem(nullptr);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(OpenItems, FailuresGiveTheCodeAndNoHandle) {
    HITEM hItem = reinterpret_cast<HITEM>(0x1);
    EXPECT_EQ(m_lib.OpenItem("01000000", &hItem), -1);
    EXPECT_EQ(hItem, nullptr);
    EXPECT_TRUE(HasLine(Lines(), "Err in COELib::OpenItem: Invalid ItemEntry=01000000"));

    EXPECT_EQ(m_lib.OpenItem("0100000002000000", &hItem), E_INVALIDARG); // message gone
    EXPECT_EQ(hItem, nullptr);
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80070057] in COELib::_OpenItem: GetMessageProps"));

    EXPECT_EQ(m_lib.OpenItem("0200000001000000", &hItem), E_INVALIDARG); // folder gone
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80070057] in COELib::_OpenItem: OpenFolder"));

    m_pFolder->hrOpenMessage = E_OUTOFMEMORY;
    EXPECT_EQ(m_lib.OpenItem("0100000001000000", &hItem), E_OUTOFMEMORY);
    EXPECT_EQ(hItem, nullptr);
    EXPECT_TRUE(HasLine(Lines(), "Err[0x8007000e] in COELib::_OpenItem: OpenMessage"));
    EXPECT_EQ(m_pFolder->cLiveProps, 0);
    EXPECT_EQ(testsupport::RefCount(m_pFolder), 1u);
}

TEST_F(OpenItems, OpenFolderItemTakesTheEntrysFolderAtFaceValue) {
    FakeStoreFolder *pOther = m_pNs->AddFolder(FOLDERID_ROOT, "Other");
    HITEM hItem = nullptr;
    // The entry names folder 1, the open folder is 2: the message is looked for in folder 2 and isn't there.
    EXPECT_EQ(m_lib.OpenFolderItem(pOther, "0100000001000000", &hItem), E_INVALIDARG);
    FakeMessage other;
    other.source = "Subject: other\r\n\r\nx\r\n";
    pOther->Add(other);
    ASSERT_EQ(m_lib.OpenFolderItem(pOther, "0100000001000000", &hItem), S_OK);
    EXPECT_EQ(static_cast<OEOpenItem *>(hItem)->dwFolderId, 1u);
    m_lib.CloseItem(&hItem);
    EXPECT_EQ(testsupport::RefCount(pOther), 1u);
}

TEST_F(OpenItems, EffectiveFlagsIncludePendingEdits) {
    OEOpenItem *pItem = Open();
    pItem->dwSetMask = MSG_FLAGGED;
    pItem->dwClearMask = MSG_UNREAD;
    EXPECT_EQ(m_lib._GetStateFlags(pItem, true, false), MSG_RECEIVED | MSG_FLAGGED);
    EXPECT_EQ(m_lib._GetStateFlags(pItem, true, true), MSG_UNREAD | MSG_RECEIVED);
    // Not cached: the store's state is read again first.
    m_pFolder->Find(1)->dwState = MSG_REPLIED | MSG_UNREAD;
    EXPECT_EQ(m_lib._GetStateFlags(pItem, true, true), MSG_UNREAD | MSG_RECEIVED);
    EXPECT_EQ(m_lib._GetStateFlags(pItem, false, false), MSG_REPLIED | MSG_FLAGGED);
    EXPECT_EQ(pItem->dwState, MSG_REPLIED | MSG_UNREAD);
    EXPECT_TRUE(Lines().empty());

    m_pFolder->hrGetMessageProps = E_FAIL;
    EXPECT_EQ(m_lib._GetStateFlags(pItem, false, true), MSG_REPLIED | MSG_UNREAD);
    EXPECT_TRUE(HasLine(Lines(), "War[0x80004005] in COELib::_GetStateFlags: Cant read message state flags"));
    HITEM hItem = pItem;
    m_lib.CloseItem(&hItem);
}

TEST_F(OpenItems, MessagePropsGiveTheStoresTimes) {
    OEOpenItem *pItem = Open();
    FILETIME ftReceived{}, ftSent{};
    EXPECT_EQ(m_lib._GetMessageProps(pItem, &ftReceived, &ftSent), S_OK);
    EXPECT_EQ(ftSent.dwLowDateTime, 1234u);
    EXPECT_EQ(ftReceived.dwLowDateTime, 5678u);
    EXPECT_EQ(m_lib._GetMessageProps(pItem, nullptr, nullptr), S_OK);
    m_pFolder->hrGetMessageProps = E_FAIL;
    EXPECT_EQ(m_lib._GetMessageProps(pItem, &ftReceived, nullptr), E_FAIL);
    EXPECT_TRUE(HasLine(Lines(), "War[0x80004005] in COELib::_GetMessageProps: Cant get message props"));
    EXPECT_EQ(m_pFolder->cLiveProps, 0);
    HITEM hItem = pItem;
    m_lib.CloseItem(&hItem);
}

TEST_F(OpenItems, MarkItemOnlySwitchesBitsOn) {
    ASSERT_EQ(m_lib.MarkItem("0100000001000000", MSG_FLAGGED | MSG_REPLIED), 0);
    EXPECT_EQ(m_pFolder->Find(1)->dwState, MSG_UNREAD | MSG_RECEIVED | MSG_FLAGGED | MSG_REPLIED);
    ASSERT_EQ(m_lib.MarkItem("0100000001000000", 0), 0);
    EXPECT_EQ(m_pFolder->Find(1)->dwState, MSG_UNREAD | MSG_RECEIVED | MSG_FLAGGED | MSG_REPLIED);
    EXPECT_TRUE(Lines().empty());

    EXPECT_EQ(m_lib.MarkItem("01", MSG_FLAGGED), -1);
    EXPECT_TRUE(HasLine(Lines(), "Err in COELib::MarkItem: Invalid EntryID=01"));
    EXPECT_EQ(m_lib.MarkItem("0300000001000000", MSG_FLAGGED), E_INVALIDARG);
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80070057] in COELib::MarkItem: OpenFolder"));
    m_pFolder->hrSetFlags = E_ACCESSDENIED;
    EXPECT_EQ(m_lib.MarkItem("0100000001000000", MSG_FLAGGED), E_ACCESSDENIED);
    EXPECT_TRUE(HasLine(Lines(), "Err[0x80070005] in COELib::MarkItem: SetFlags"));
    EXPECT_EQ(testsupport::RefCount(m_pFolder), 1u);
}

} // namespace
